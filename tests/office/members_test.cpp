// The Word and Excel members of clsVantrove: argument conversion, result
// codes, and documents held by the object between calls.
#include <gtest/gtest.h>

#include "office_support.hpp"
#include "output/office_app.hpp"
#include "vantrove/component.hpp"

namespace vantrove {
namespace {

using namespace testing_support;
using nlohmann::json;

Variant Table() { return Variant(SafeArray::FromRows({{"Tag", "Value"}, {"A-101", 12.5}})); }

TEST(OfficeMembers, ExcelResultCodesAndTwins) {
  TempFolder tmp;
  clsVantrove v;
  EXPECT_EQ(v.ArrayToExcel(Table(), 0, 1), -1);
  EXPECT_EQ(v.ArrayToExcel(Table(), 1, 257), -1);
  EXPECT_EQ(v.ArrayToExcel(Variant(int32_t{5}), 1, 1), -2);
  EXPECT_EQ(v.ArrayToExcel(Table(), 1, 1, tmp / "none.xlsx"), -4);
  EXPECT_EQ(v.Web_ArrayToExcel(Table(), Variant("x"), Variant(int32_t{1})), 0) << "a row that is no number";
  EXPECT_EQ(v.Web_ArrayToExcel(Table(), Variant("2"), Variant(int16_t{256}), Variant(""), Variant(false),
                               Variant(tmp / "web.xlsx"), Variant::Missing(), Variant(""), Variant(""), Variant(true)),
            1);
  EXPECT_EQ(v.Web_ArrayToExcel(Table(), Variant(int32_t{1}), Variant(int32_t{257})), -1);
  EXPECT_EQ(v.office_application().workbook_count(), 0u);
  // Left open, then used again and saved.
  EXPECT_EQ(v.ArrayToExcel(Table(), 1, 1), 1);
  EXPECT_EQ(v.office_application().workbook_count(), 1u);
  EXPECT_EQ(v.ArrayToExcel(Table(), 5, 1, "", true, tmp / "later.xlsx", Variant(int32_t{2}), "", "", true), 1);
  EXPECT_EQ(v.office_application().workbook_count(), 0u);
  v.CloseExcelHiddenInstances(true, true);
  v.Web_CloseExcelHiddenInstances();
  if (!PythonHas("openpyxl")) GTEST_SKIP() << "no openpyxl for /usr/bin/python3";
  const json wb = ReadWith("read_xlsx.py", tmp / "later.xlsx");
  EXPECT_EQ(wb["sheets"][1]["cells"]["A1"], json({"Tag", "str", false, "@"}));
  EXPECT_EQ(wb["sheets"][1]["cells"]["B6"][0], "12.5");
  EXPECT_EQ(ReadWith("read_xlsx.py", tmp / "web.xlsx")["sheets"][1]["cells"]["IV2"][0], "Tag");
}

TEST(OfficeMembers, WordTwinsAndDiscardOnDestruction) {
  TempFolder tmp;
  {
    clsVantrove v;
    EXPECT_EQ(v.TwoDArrayToWord(Variant("no")), -2);
    EXPECT_EQ(v.Web_TwoDArrayToWord(Variant("no")), -2);
    EXPECT_EQ(v.TwoDArrayToWord(Table(), tmp / "kept.docx", false, false, dwgFormatGrid3), 1);
    EXPECT_EQ(v.office_application().document_count(), 1u);
  }  // never saved: nothing written
  EXPECT_EQ(tmp.Names(), std::vector<std::string>{});
  clsVantrove v;
  EXPECT_EQ(v.Web_TwoDArrayToWord(Table(), Variant(tmp / "web.docx"), Variant(true), Variant(true),
                                  Variant(int32_t{37}), Variant(false), Variant("DejaVu Sans"), Variant("11")),
            1);
  EXPECT_EQ(v.OneDArrayToWord(Variant(SafeArray::Vector({"a", "b"})), tmp / "one.docx", true, true), 1);
  EXPECT_EQ(v.Web_TwoDArrayToWord(Table(), Variant(tmp / "x.docx"), Variant(true), Variant(true), Variant("grid")),
            0);
  if (!PythonHas("docx")) GTEST_SKIP() << "no python-docx for /usr/bin/python3";
  EXPECT_EQ(ReadWith("read_docx.py", tmp / "web.docx")["tables"][0]["style"], "Table Professional");
  EXPECT_EQ(ReadWith("read_docx.py", tmp / "one.docx")["tables"][0]["cells"], json({{"a"}, {"b"}}));
}

}  // namespace
}  // namespace vantrove
