// vantrove extract ... -o table.xlsx / table.docx, read back independently.
#include <gtest/gtest.h>

#include "office_support.hpp"

namespace vantrove {
namespace {

using namespace testing_support;
using nlohmann::json;

const std::string kSample = std::string(VANTROVE_SOURCE_DIR) + "/samples/title-blocks.dxf";

int Extract(const std::string& out) {
  int status = 0;
  RunShell(Quote(VANTROVE_CLI) + " extract " + Quote(kSample) + " --block TITLE -o " + Quote(out) + " 2>&1", status);
  return status;
}

TEST(ExtractJob, WritesWorkbooksAndDocumentsReplacingTheOldOnes) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  REQUIRE_PYTHON_MODULE("docx");
  TempFolder tmp;
  ASSERT_EQ(Extract(tmp / "titles.xlsx"), 0);
  ASSERT_EQ(Extract(tmp / "titles.xlsx"), 0) << "a second run replaces the workbook";
  const json wb = ReadWith("read_xlsx.py", tmp / "titles.xlsx");
  ASSERT_EQ(wb["sheets"].size(), 1u);
  const json& s = wb["sheets"][0];
  EXPECT_EQ(s["cells"]["A1"], json({"DWGNO", "str", true, "@"}));
  EXPECT_EQ(s["cells"]["A2"][0], "A-101");
  EXPECT_EQ(s["freeze"], "A2");
  ASSERT_EQ(Extract(tmp / "titles.docx"), 0);
  ASSERT_EQ(Extract(tmp / "titles.docx"), 0) << "a second run replaces the document, no second table";
  const json d = ReadWith("read_docx.py", tmp / "titles.docx");
  ASSERT_EQ(d["tables"].size(), 1u);
  EXPECT_EQ(d["tables"][0]["cells"][0][0], "DWGNO");
  EXPECT_EQ(d["tables"][0]["cells"][1][0], "A-101");
  EXPECT_TRUE(d["tables"][0]["bold"][0][0]);
  EXPECT_EQ(tmp.Names(), (std::vector<std::string>{"titles.docx", "titles.xlsx"})) << "no temporary files left";
  EXPECT_NE(Extract(tmp / "no-such-folder/t.xlsx"), 0);
}

}  // namespace
}  // namespace vantrove
