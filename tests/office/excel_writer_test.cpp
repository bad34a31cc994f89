// The Excel writer's steps and result codes on our own workbooks, checked with
// openpyxl and LibreOffice.
#include "output/excel_writer.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "office_support.hpp"

namespace vantrove {
namespace {

using namespace testing_support;
using nlohmann::json;

bool Exists(const std::string& p) {
  struct stat st;
  return ::stat(p.c_str(), &st) == 0;
}

const office::FileTest kExists = [](const std::string& p) { return Exists(p); };

Variant Table() {
  return Variant(SafeArray::FromRows({{"Tag", "Value"}, {"A-101", 12.5}, {"B-7", int32_t{3}}}));
}

int16_t Write(office::Application& app, const Variant& v, int32_t row, int32_t col, const office::ExcelRequest& r) {
  try {
    return office::ArrayToExcel(app, v, row, col, r, kExists);
  } catch (...) {
    return 0;  // the method's error boundary
  }
}

office::ExcelRequest SaveTo(const std::string& file) {
  office::ExcelRequest r;
  r.choice.saveToFile = file;
  r.choice.closeWorkbook = true;
  return r;
}

TEST(ArrayToExcel, ResultCodesForBadArguments) {
  TempFolder tmp;
  office::Application app;
  const Variant t = Table();
  EXPECT_EQ(Write(app, t, 0, 1, {}), -1);
  EXPECT_EQ(Write(app, t, 1, 0, {}), -1);
  EXPECT_EQ(Write(app, t, 1, 257, {}), -1);
  EXPECT_EQ(Write(app, Variant("not an array"), 1, 1, {}), -2);
  office::ExcelRequest missing;
  missing.choice.workbook = tmp / "missing.xlsx";
  EXPECT_EQ(Write(app, t, 1, 1, missing), -4);
  EXPECT_EQ(app.workbook_count(), 0u) << "nothing was started for the failed calls";
  // The 256-column limit is about the top-left cell.
  EXPECT_EQ(Write(app, t, 1, 256, SaveTo(tmp / "edge.xlsx")), 1);
  // Errors after the workbook was reached give 0.
  office::ExcelRequest badName = SaveTo(tmp / "bad.xlsx");
  badName.choice.sheetName = "no/slashes";
  EXPECT_EQ(Write(app, t, 1, 1, badName), 0);
  EXPECT_FALSE(Exists(tmp / "bad.xlsx"));
  office::ExcelRequest noSheet = SaveTo(tmp / "nosheet.xlsx");
  noSheet.choice.worksheet = Variant(int32_t{5});
  EXPECT_EQ(Write(app, t, 1, 1, noSheet), 0);
  EXPECT_EQ(Write(app, Variant(SafeArray::Vector({1.0, 2.0})), 1, 1, SaveTo(tmp / "oned.xlsx")), 0);
  EXPECT_EQ(Write(app, t, 1, 1, SaveTo(tmp / "no-such-dir/x.xlsx")), 0);
}

TEST(ArrayToExcel, NewWorkbookSavedAsWithEveryOption) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  TempFolder tmp;
  office::Application app;
  office::ExcelRequest r = SaveTo(tmp / "out.xlsx");
  r.choice.sheetName = "Attributes";
  r.boldFirstRow = true;
  r.boldFirstColumn = true;
  r.freezeHeaders = true;
  r.formatAsText = false;
  r.transpose = false;
  ASSERT_EQ(Write(app, Table(), 3, 2, r), 1);
  EXPECT_EQ(app.workbook_count(), 0u) << "closed after saving";
  const json wb = ReadWith("read_xlsx.py", tmp / "out.xlsx");
  // A new workbook has its first sheet; the writer adds one after it.
  ASSERT_EQ(wb["sheets"].size(), 2u);
  const json& s = wb["sheets"][1];
  EXPECT_EQ(s["name"], "Attributes");
  EXPECT_EQ(wb["active"], "Attributes");
  EXPECT_EQ(s["cells"]["B3"], json({"Tag", "str", true, "General"}));
  EXPECT_EQ(s["cells"]["C3"], json({"Value", "str", true, "General"}));
  EXPECT_EQ(s["cells"]["B4"], json({"A-101", "str", true, "General"}));
  EXPECT_EQ(s["cells"]["C4"], json({12.5, "float", false, "General"}));
  EXPECT_EQ(s["cells"]["C5"][0], 3);
  EXPECT_EQ(s["freeze"], "A4");
  EXPECT_TRUE(s["widths"].contains("B"));
}

TEST(ArrayToExcel, TransposedTextIntoANamedSheetOfAnExistingWorkbook) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  TempFolder tmp;
  office::Application app;
  ASSERT_EQ(Write(app, Table(), 1, 1, SaveTo(tmp / "book.xlsx")), 1);
  office::ExcelRequest r;
  r.choice.workbook = tmp / "book.xlsx";
  r.choice.worksheet = Variant("sheet1");
  r.choice.closeWorkbook = true;
  r.transpose = true;
  ASSERT_EQ(Write(app, Table(), 10, 1, r), 1);
  const json wb = ReadWith("read_xlsx.py", tmp / "book.xlsx");
  ASSERT_EQ(wb["sheets"].size(), 2u);
  const json& s = wb["sheets"][0];
  EXPECT_EQ(s["cells"]["A10"], json({"Tag", "str", false, "@"}));
  EXPECT_EQ(s["cells"]["B10"], json({"A-101", "str", false, "@"}));
  EXPECT_EQ(s["cells"]["B11"], json({"12.5", "str", false, "@"}));
  EXPECT_EQ(s["cells"]["C11"], json({"3", "str", false, "@"}));
  EXPECT_EQ(wb["sheets"][1]["cells"]["A1"][0], "Tag") << "the first call's sheet is kept";
}

TEST(ArrayToExcel, WorkbooksLeftOpenStayInTheApplication) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  TempFolder tmp;
  office::Application app;
  office::ExcelRequest open;
  open.choice.useOpenWorkbook = true;  // nothing running: a new workbook
  {
    Variant first = Table();
    ASSERT_EQ(Write(app, first, 1, 1, open), 1);
  }  // the caller's array is gone; the workbook kept its own copy
  ASSERT_EQ(app.workbook_count(), 1u);
  office::ExcelRequest again = SaveTo(tmp / "kept.xlsx");
  again.choice.useOpenWorkbook = true;
  again.choice.worksheet = Variant(int32_t{2});
  ASSERT_EQ(Write(app, Table(), 5, 1, again), 1);
  EXPECT_EQ(app.workbook_count(), 0u);
  const json s = ReadWith("read_xlsx.py", tmp / "kept.xlsx")["sheets"][1];
  EXPECT_EQ(s["cells"]["A1"][0], "Tag");
  EXPECT_EQ(s["cells"]["A6"][0], "A-101");
}

TEST(ArrayToExcel, FailedSaveLeavesTheOriginalUntouched) {
  TempFolder tmp;
  office::Application app;
  ASSERT_EQ(Write(app, Table(), 1, 1, SaveTo(tmp / "orig.xlsx")), 1);
  const std::string before = Slurp(tmp / "orig.xlsx");
  office::ExcelRequest r;
  r.choice.workbook = tmp / "orig.xlsx";
  r.choice.closeWorkbook = true;
  r.choice.sheetName = "a:b";  // refused after the workbook was opened
  EXPECT_EQ(Write(app, Table(), 1, 1, r), 0);
  EXPECT_EQ(Slurp(tmp / "orig.xlsx"), before);
  Spit(tmp / "notzip.xlsx", "PK but not really");
  r.choice.workbook = tmp / "notzip.xlsx";
  r.choice.sheetName.clear();
  EXPECT_EQ(Write(app, Table(), 1, 1, r), 0);
  EXPECT_EQ(Slurp(tmp / "notzip.xlsx"), "PK but not really");
  EXPECT_EQ(tmp.Names(), (std::vector<std::string>{"notzip.xlsx", "orig.xlsx"})) << "no temporary files left";
}

// A workbook saved by LibreOffice, edited on one sheet: every other sheet, and
// every cell of the edited sheet outside the block, reads back the same.
TEST(ArrayToExcel, EditingALibreOfficeWorkbookKeepsEverythingElse) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  if (!HaveSoffice()) GTEST_SKIP() << "no LibreOffice (scripts/setup.sh installs it)";
  TempFolder tmp;
  int status = 0;
  RunShell(std::string(kPython) + " " + Quote(std::string(VANTROVE_OFFICE_TESTS) + "/make_styled_workbook.py") + " " +
          Quote(tmp / "styled.xlsx"),
      status);
  ASSERT_EQ(status, 0);
  std::string log;
  ASSERT_TRUE(ConvertTo(tmp, {tmp / "styled.xlsx"}, "xlsx", tmp / "lo", log)) << log;
  const std::string book = tmp / "lo/styled.xlsx";
  json before = ReadWith("snapshot_xlsx.py", book);
  office::Application app;
  office::ExcelRequest r;
  r.choice.workbook = book;
  r.choice.worksheet = Variant("Data");
  r.choice.closeWorkbook = true;
  r.boldFirstRow = true;
  r.formatAsText = false;
  ASSERT_EQ(Write(app, Table(), 2, 2, r), 1);
  json after = ReadWith("snapshot_xlsx.py", book);
  EXPECT_EQ(after["sheets"], before["sheets"]);
  EXPECT_EQ(after["names"], before["names"]);
  EXPECT_EQ(after["Summary"], before["Summary"]);
  EXPECT_EQ(after["Notes"], before["Notes"]);
  for (const char* ref : {"B2", "C2", "B3", "C3", "B4", "C4"}) {
    before["Data"]["cells"].erase(ref);
    after["Data"]["cells"].erase(ref);
  }
  EXPECT_EQ(after["Data"]["merged"], before["Data"]["merged"]);
  EXPECT_EQ(after["Data"]["cells"], before["Data"]["cells"]);
  const json written = ReadWith("read_xlsx.py", book);
  EXPECT_EQ(written["sheets"][1]["cells"]["B2"], json({"Tag", "str", true, "General"}));
  EXPECT_EQ(written["sheets"][1]["cells"]["C3"][0], 12.5);
}

TEST(ArrayToExcel, LibreOfficeRendersTheWorkbooks) {
  if (!HaveSoffice()) GTEST_SKIP() << "no LibreOffice (scripts/setup.sh installs it)";
  TempFolder tmp;
  office::Application app;
  office::ExcelRequest r = SaveTo(tmp / "rendered.xlsx");
  r.boldFirstRow = true;
  r.freezeHeaders = true;
  r.formatAsText = false;
  SafeArray big = SafeArray::Matrix(40, 6);
  for (int32_t i = 0; i < 40; ++i) {
    for (int32_t j = 0; j < 6; ++j) {
      big.at(i, j) = i == 0 ? Variant("Column " + std::to_string(j + 1))
                            : (j % 2 ? Variant(i * 1.5 + j) : Variant("Ünïcode ✓ <" + std::to_string(i) + ">"));
    }
  }
  ASSERT_EQ(Write(app, Variant(big), 1, 1, r), 1);
  std::string log;
  ASSERT_TRUE(ConvertTo(tmp, {tmp / "rendered.xlsx"}, "pdf", tmp / "pdf", log)) << log;
  EXPECT_TRUE(Exists(tmp / "pdf/rendered.pdf")) << log;
  EXPECT_EQ(log.find("Error"), std::string::npos) << log;
  KeepForInspection(tmp / "pdf/rendered.pdf");
}

}  // namespace
}  // namespace vantrove
