// Workbooks written by ourselves, read back by openpyxl.
#include "output/workbook.hpp"

#include <gtest/gtest.h>

#include "office_support.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove {
namespace {

using namespace testing_support;
using nlohmann::json;

SafeArray Sample() {
  SafeArray a = SafeArray::FromRows({{"Tag", "Value", "When", "Ok"},
                                     {"A-101", 12.5, Date{45322.5}, true},
                                     {"<&>\"", int32_t{7}, Date{45322}, false},
                                     {" padded ", "0042", Variant(), "x"}});
  return a;
}

const json& SheetNamed(const json& wb, const std::string& name) {
  for (const json& s : wb["sheets"]) {
    if (s["name"] == name) return s;
  }
  static json none;
  ADD_FAILURE() << "no sheet " << name;
  return none;
}

TEST(Workbook, NewWorkbookTypedCellsReadBackByOpenpyxl) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  TempFolder tmp;
  SafeArray a = Sample();
  auto wb = xlsx::Workbook::Create();
  xlsx::Sheet& ws = wb->ActiveSheet();
  ws.Rename("Data");
  ws.WriteBlock(2, 3, xlsx::ArrayBlock(a), {.asText = false});
  ws.SetBold({2, 3, 2, 6});
  ws.AutoFitColumns({2, 3, 5, 6});
  ws.FreezeAt(3, 1);
  wb->SaveAs(tmp / "typed.xlsx");

  const json r = ReadWith("read_xlsx.py", tmp / "typed.xlsx");
  ASSERT_EQ(r["sheets"].size(), 1u);
  const json& s = SheetNamed(r, "Data");
  EXPECT_EQ(s["cells"]["C2"], json({"Tag", "str", true, "General"}));
  EXPECT_EQ(s["cells"]["D3"][0], 12.5);
  EXPECT_EQ(s["cells"]["E3"][0], "2024-01-31T12:00:00");
  EXPECT_EQ(s["cells"]["E4"][1], "date");
  EXPECT_EQ(s["cells"]["F3"], json({true, "bool", false, "General"}));
  EXPECT_EQ(s["cells"]["C4"][0], "<&>\"");
  EXPECT_EQ(s["cells"]["D4"][0], 7);
  EXPECT_EQ(s["cells"]["C5"][0], " padded ");
  EXPECT_EQ(s["cells"]["D5"][0], 42) << "text that reads as a number becomes one, as typed";
  EXPECT_FALSE(s["cells"].contains("E5"));
  EXPECT_EQ(s["freeze"], "A3");
  EXPECT_GT(s["widths"]["C"].get<double>(), 8.0);
}

TEST(Workbook, AsTextKeepsEveryValueAsText) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  TempFolder tmp;
  SafeArray a = Sample();
  auto wb = xlsx::Workbook::Create();
  wb->ActiveSheet().WriteBlock(1, 1, xlsx::ArrayBlock(a, true), {.asText = true});
  wb->SaveAs(tmp / "text.xlsx");
  const json s = ReadWith("read_xlsx.py", tmp / "text.xlsx")["sheets"][0];
  // Transposed: the first column holds the headings.
  EXPECT_EQ(s["cells"]["A2"], json({"Value", "str", false, "@"}));
  EXPECT_EQ(s["cells"]["B2"], json({"12.5", "str", false, "@"}));
  EXPECT_EQ(s["cells"]["B4"][0], "True");
  EXPECT_EQ(s["cells"]["D2"][0], "0042");
  EXPECT_EQ(s["cells"]["D3"], json({nullptr, "NoneType", false, "@"})) << "empty cells get the text format too";
}

TEST(Workbook, SheetsByIndexNameAndAdded) {
  TempFolder tmp;
  auto wb = xlsx::Workbook::Create();
  EXPECT_EQ(wb->SheetCount(), 1);
  xlsx::Sheet& two = wb->AddSheet();
  EXPECT_EQ(two.name(), "Sheet2");
  EXPECT_EQ(&wb->ActiveSheet(), &two);
  EXPECT_EQ(wb->FindSheet("sheet2"), &two);
  EXPECT_EQ(&wb->SheetAt(2), &two);
  EXPECT_THROW(wb->SheetAt(3), RuntimeError);
  for (const char* bad : {"", "a[b", "x:y", "q?", "s/t", "b\\s", "star*", "'quoted'",
                          "a name that is much too long for a tab"}) {
    try {
      two.Rename(bad);
      ADD_FAILURE() << "accepted " << bad;
    } catch (const RuntimeError& e) {
      EXPECT_EQ(e.number(), xlsx::kAppError);
    }
  }
  EXPECT_THROW(two.Rename("SHEET1"), RuntimeError);
  two.Rename("Sheet2");
  EXPECT_NO_THROW(two.Rename("Ünïcode ✓"));
  EXPECT_EQ(wb->FindSheet("ünïcode ✓"), &two);
}

TEST(Workbook, BlocksMustFitOnTheSheet) {
  auto wb = xlsx::Workbook::Create();
  SafeArray a = SafeArray::Matrix(2, 2);
  EXPECT_THROW(wb->ActiveSheet().WriteBlock(xlsx::kMaxRows, 1, xlsx::ArrayBlock(a), {}), RuntimeError);
  EXPECT_THROW(wb->ActiveSheet().WriteBlock(1, xlsx::kMaxColumns, xlsx::ArrayBlock(a), {}), RuntimeError);
  EXPECT_NO_THROW(wb->ActiveSheet().WriteBlock(xlsx::kMaxRows - 1, xlsx::kMaxColumns - 1, xlsx::ArrayBlock(a), {}));
}

TEST(Workbook, ReopenedWorkbookKeepsItsSheetsAndTakesMoreCells) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  TempFolder tmp;
  SafeArray a = Sample();
  {
    auto wb = xlsx::Workbook::Create();
    wb->ActiveSheet().WriteBlock(1, 1, xlsx::ArrayBlock(a), {.asText = false});
    wb->ActiveSheet().SetBold({1, 1, 1, 4});
    wb->SaveAs(tmp / "twice.xlsx");
  }
  auto wb = xlsx::Workbook::Open(tmp / "twice.xlsx");
  EXPECT_EQ(wb->SheetCount(), 1);
  SafeArray b = SafeArray::FromRows({{"new", 1.0}});
  wb->SheetAt(1).WriteBlock(2, 1, xlsx::ArrayBlock(b), {.asText = false});
  xlsx::Sheet& more = wb->AddSheet();
  more.SetCell(1, 1, "second sheet");
  wb->Save();
  const json r = ReadWith("read_xlsx.py", tmp / "twice.xlsx");
  ASSERT_EQ(r["sheets"].size(), 2u);
  const json& s = r["sheets"][0];
  EXPECT_EQ(s["cells"]["A1"], json({"Tag", "str", true, "General"}));
  EXPECT_EQ(s["cells"]["A2"][0], "new");
  EXPECT_EQ(s["cells"]["B2"][0], 1);
  EXPECT_EQ(s["cells"]["C2"][0], "2024-01-31T12:00:00");
  EXPECT_EQ(s["cells"]["D2"][0], true);
  EXPECT_EQ(s["cells"]["A3"][0], "<&>\"");
  EXPECT_EQ(r["sheets"][1]["cells"]["A1"][0], "second sheet");
  EXPECT_EQ(r["active"], "Sheet2");
}

TEST(Workbook, BadFilesGiveClearErrors) {
  TempFolder tmp;
  try {
    xlsx::Workbook::Open(tmp / "missing.xlsx");
    ADD_FAILURE();
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), err::kFileNotFound);
  }
  Spit(tmp / "text.xlsx", "just some text, no zip");
  Spit(tmp / "empty.xlsx", "");
  {
    auto wb = xlsx::Workbook::Create();
    wb->SaveAs(tmp / "good.xlsx");
  }
  std::string good = Slurp(tmp / "good.xlsx");
  Spit(tmp / "cut.xlsx", good.substr(0, good.size() / 2));
  std::string flipped = good;
  for (size_t i = 200; i < flipped.size() / 2; i += 7) flipped[i] = static_cast<char>(flipped[i] ^ 0x5A);
  Spit(tmp / "damaged.xlsx", flipped);
  for (const char* name : {"text.xlsx", "empty.xlsx", "cut.xlsx", "damaged.xlsx"}) {
    try {
      xlsx::Workbook::Open(tmp / name);
      ADD_FAILURE() << name << " opened";
    } catch (const RuntimeError& e) {
      EXPECT_EQ(e.number(), xlsx::kAppError) << name << ": " << e.what();
    }
  }
}

TEST(Workbook, WriteReservationMakesTheWorkbookReadOnlyWithoutItsPassword) {
  TempFolder tmp;
  EXPECT_EQ(xlsx::LegacyPasswordHash("test"), "CBEB");
  {
    auto wb = xlsx::Workbook::Create();
    wb->SaveAs(tmp / "reserved.xlsx", "", "test");
  }
  const std::string before = Slurp(tmp / "reserved.xlsx");
  auto ro = xlsx::Workbook::Open(tmp / "reserved.xlsx");
  EXPECT_TRUE(ro->read_only());
  ro->ActiveSheet().SetCell(1, 1, "change");
  EXPECT_THROW(ro->Save(), RuntimeError);
  EXPECT_EQ(Slurp(tmp / "reserved.xlsx"), before);
  EXPECT_NO_THROW(ro->SaveAs(tmp / "copy.xlsx"));
  auto rw = xlsx::Workbook::Open(tmp / "reserved.xlsx", "", "test");
  EXPECT_FALSE(rw->read_only());
  EXPECT_NO_THROW(rw->Save());
}

}  // namespace
}  // namespace vantrove
