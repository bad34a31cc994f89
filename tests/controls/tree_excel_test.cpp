// A tree view into a worksheet, read back by openpyxl.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "../../src/controls/tree_excel.hpp"
#include "vantrove/component.hpp"
#include "adapter_test_support.hpp"

namespace vantrove {
namespace {

// The non-empty cells of the first sheet as "A1=text;..." in row order, or
// "" when openpyxl is not there.
std::string CellsOf(const std::string& file) {
  const std::string cmd =
      "/usr/bin/python3 -c \"import sys, openpyxl\n"
      "ws = openpyxl.load_workbook(sys.argv[1]).worksheets[-1]\n"
      "print(';'.join(c.coordinate + '=' + str(c.value) for r in ws.iter_rows() for c in r if c.value is not None))\" '" +
      file + "' 2>/dev/null";
  std::string out;
  if (FILE* p = popen(cmd.c_str(), "r")) {
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    pclose(p);
  }
  while (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

TEST(TreeViewToExcel, OneRowPerNodeIndentedByDepth) {
  TempFolder dir;
  auto tv = std::make_shared<MemoryTreeView>();
  const int32_t drawing = tv->AddNode(0, NodeRelationship::Last, "Drawing");
  const int32_t layers = tv->AddNode(drawing, NodeRelationship::Child, "Layers");
  tv->AddNode(0, NodeRelationship::Last, "Other");
  tv->AddNode(layers, NodeRelationship::Child, "WALLS");
  tv->AddNode(drawing, NodeRelationship::Child, "Blocks");

  office::Application app;
  const office::FileTest exists = [](const std::string& p) { return std::filesystem::exists(p); };
  office::WorkbookChoice choice;
  choice.saveToFile = (dir.path / "tree.xlsx").string();
  choice.closeWorkbook = true;
  ASSERT_EQ(adapters::TreeViewToExcel(app, tv, 2, 3, choice, exists), 1);
  ASSERT_TRUE(std::filesystem::exists(choice.saveToFile));
  EXPECT_EQ(app.workbook_count(), 0u);
  const std::string cells = CellsOf(choice.saveToFile);
  if (cells.empty()) GTEST_SKIP() << "no openpyxl for /usr/bin/python3 (scripts/setup.sh installs it)";
  EXPECT_EQ(cells, "C2=Drawing;D3=Layers;E4=WALLS;D5=Blocks;C6=Other");
}

TEST(TreeViewToExcel, BadInput) {
  TempFolder dir;
  office::Application app;
  const office::FileTest exists = [](const std::string& p) { return std::filesystem::exists(p); };
  office::WorkbookChoice choice;
  auto tv = std::make_shared<MemoryTreeView>();
  EXPECT_EQ(adapters::TreeViewToExcel(app, tv, 0, 1, choice, exists), -1);
  EXPECT_EQ(adapters::TreeViewToExcel(app, tv, 1, 257, choice, exists), -1);
  EXPECT_EQ(adapters::TreeViewToExcel(app, std::make_shared<MemoryListView>(), 1, 1, choice, exists), -2);
  choice.workbook = (dir.path / "missing.xlsx").string();
  EXPECT_EQ(adapters::TreeViewToExcel(app, tv, 1, 1, choice, exists), -4);
  EXPECT_EQ(app.workbook_count(), 0u);
}

// Through the class, late-bound as scripts call it: the workbook is saved to
// the given file and nothing stays open.
TEST(TreeViewToExcel, ThroughTheClass) {
  TempFolder dir;
  auto tv = std::make_shared<MemoryTreeView>();
  tv->AddNode(tv->AddNode(0, NodeRelationship::Last, "Drawing"), NodeRelationship::Child, "Layers");
  clsVantrove v;
  const std::string file = (dir.path / "tree.xlsx").string();
  std::vector<Variant> args{Variant(ObjectRef(tv)), Variant(int32_t{1}), Variant(int32_t{1}), Variant(""),
                            Variant(false), Variant(file), Variant::Missing(), Variant(true)};
  const InvokeResult done = v.Invoke("TreeViewToExcel", args);
  ASSERT_TRUE(done.ok) << done.description;
  EXPECT_EQ(CLng(done.value), 1);
  EXPECT_TRUE(std::filesystem::exists(file));
  std::vector<Variant> wrong{Variant(ObjectRef(std::make_shared<MemoryListView>()))};
  EXPECT_EQ(CLng(v.Invoke("TreeViewToExcel", wrong).value), -2);
}

}  // namespace
}  // namespace vantrove
