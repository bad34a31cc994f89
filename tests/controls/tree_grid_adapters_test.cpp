// Grids and tree views to and from arrays, XML files into tree views, and the
// controls created and driven by name.
#include <gtest/gtest.h>

#include <fstream>

#include "adapter_test_support.hpp"

namespace vantrove {
namespace {

using Table = std::vector<std::vector<std::string>>;

TEST(GridAdapters, FlexGridRoundTripAndBlocks) {
  clsVantrove v;
  auto fg = std::make_shared<MemoryFlexGrid>();
  const Variant a(SafeArray::FromRows({{"a", "b", "c"}, {int32_t{1}, 2.5, Variant::Null()}, {"x", "y", "z"}}));
  ASSERT_EQ(v.TwoDArrayToFlexGrid(a, fg), 1);
  EXPECT_EQ(fg->Rows(), 3);
  EXPECT_EQ(fg->Cols(), 3);
  Variant out = EmptyArray();
  ASSERT_EQ(v.FlexGridToArray(fg, out), 1);
  EXPECT_EQ(Rows(out), (Table{{"a", "b", "c"}, {"1", "2.5", ""}, {"x", "y", "z"}}));
  ASSERT_EQ(v.FlexGridToArray(fg, out, 1, 1, 2, 0), 1);  // end column 0: the last
  EXPECT_EQ(Rows(out), (Table{{"2.5", ""}, {"y", "z"}}));
  EXPECT_EQ(v.FlexGridToArray(fg, out, 0, 0, 3, 0), -3);
  EXPECT_EQ(v.FlexGridToArray(fg, out, -1, 0, 0, 0), -3);

  SafeArray bad = SafeArray::FromRows({{"only"}});
  bad.at(0, 0) = Variant(SafeArray::Vector({Variant("nested")}));
  EXPECT_EQ(v.TwoDArrayToFlexGrid(Variant(bad), fg), 0);
  EXPECT_EQ(fg->Rows(), 3);  // untouched
  EXPECT_EQ(v.TwoDArrayToFlexGrid(Variant(SafeArray::Vector({Variant("a")})), fg), -3);
  Variant notArray;
  EXPECT_EQ(v.FlexGridToArray(fg, notArray), -1);
  EXPECT_EQ(v.FlexGridToArray(std::make_shared<MemoryListView>(), out), -2);
  EXPECT_EQ(v.TwoDArrayToFlexGrid(a, std::make_shared<MemoryDataGrid>()), -2);
}

TEST(GridAdapters, DataGridLargerThanOneScreenIsReadThroughScroll) {
  clsVantrove v;
  auto dg = std::make_shared<MemoryDataGrid>();
  std::vector<std::vector<std::string>> records;
  for (int i = 0; i < 35; ++i) records.push_back({std::to_string(i) + "r", std::to_string(i * i)});
  dg->Load({"Name", "Square"}, records);
  dg->set_visible_rows(10);
  dg->Scroll(0, 17);  // wherever the user left it
  Variant out = EmptyArray();
  ASSERT_EQ(v.DataGridToArray(dg, out, true), 1);
  const Table rows = Rows(out);
  ASSERT_EQ(rows.size(), 36u);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"Name", "Square"}));
  for (int i = 0; i < 35; ++i) EXPECT_EQ(rows[static_cast<size_t>(i) + 1][1], std::to_string(i * i));
  EXPECT_EQ(dg->first_row(), 0);
  ASSERT_EQ(v.DataGridToArray(dg, out), 1);
  EXPECT_EQ(Rows(out).size(), 35u);
  EXPECT_EQ(v.DataGridToArray(std::make_shared<MemoryFlexGrid>(), out), -2);
}

TEST(TreeAdapters, RowsToTreeAndBackWithANonDefaultSeparator) {
  clsVantrove v;
  auto tv = std::make_shared<MemoryTreeView>();
  tv->SetPathSeparator("/");
  const Variant rows(SafeArray::FromRows(
      {{"Drawing", "Layers", "WALLS"}, {"Drawing", "Layers", "DOORS\\A"}, {"Drawing", "Blocks", ""}, {"Other", "", ""}}));
  ASSERT_EQ(v.TwoDArrayToTreeView(rows, tv, true), 1);
  ASSERT_EQ(tv->NodeCount(), 6);  // Drawing, Layers, WALLS, DOORS\A, Blocks, Other
  EXPECT_TRUE(tv->NodeSelected(1));
  EXPECT_TRUE(tv->NodeExpanded(2));  // made visible: its parents are open
  EXPECT_EQ(tv->NodeFullPath(4), "Drawing/Layers/DOORS\\A");

  Variant out = EmptyArray();
  ASSERT_EQ(v.TreeViewToTwoDArray(tv, out, true), 1);
  EXPECT_EQ(Rows(out), (Table{{"Drawing", "Layers", "WALLS"},
                              {"Drawing", "Layers", "DOORS\\A"},
                              {"Drawing", "Blocks", ""},
                              {"Other", "", ""}}));
  ASSERT_EQ(v.TreeViewToTwoDArray(tv, out, false), 1);
  EXPECT_EQ(Rows(out).size(), 6u);
  EXPECT_EQ(Rows(out)[1], (std::vector<std::string>{"Drawing", "Layers", ""}));

  tv->SetPathSeparator("\\");  // the default: the backslash in a node's text now splits it
  ASSERT_EQ(v.TreeViewToTwoDArray(tv, out, true), 1);
  EXPECT_EQ(Rows(out)[1], (std::vector<std::string>{"Drawing", "Layers", "DOORS", "A"}));

  Variant notArray;
  EXPECT_EQ(v.TreeViewToTwoDArray(tv, notArray), -1);
  EXPECT_EQ(v.TreeViewToTwoDArray(std::make_shared<MemoryListView>(), out), -2);
  EXPECT_EQ(v.TwoDArrayToTreeView(Variant(SafeArray::Vector({Variant("a")})), tv), -3);
  EXPECT_EQ(tv->NodeCount(), 6);
}

class XmlTree : public ::testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& text) {
    const auto p = dir_.path / name;
    std::ofstream(p, std::ios::binary) << text;
    return p.string();
  }
  static std::vector<std::string> Paths(MemoryTreeView& tv) {
    std::vector<std::string> out;
    for (int32_t i = 1; i <= tv.NodeCount(); ++i) out.push_back(tv.NodeFullPath(i));
    return out;
  }
  TempFolder dir_;
  clsVantrove v_;
};

TEST_F(XmlTree, ElementsAndTextsBecomeNodes) {
  const std::string file = Write("d.xml",
                                 "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n\r\n<Drawing>\r\n<Layers>\r\n"
                                 "<Layer a='1'><LayerName>Grundri\xdf</LayerName><!-- note --></Layer>\r\n"
                                 "</Layers>\r\n<Info><![CDATA[x<y]]></Info>\r\n</Drawing>\r\n");
  auto tv = std::make_shared<MemoryTreeView>();
  ASSERT_EQ(v_.XMLFileToTreeView(file, tv, true), 1);
  EXPECT_EQ(Paths(*tv), (std::vector<std::string>{"Drawing", "Drawing\\Layers", "Drawing\\Layers\\Layer",
                                                   "Drawing\\Layers\\Layer\\LayerName",
                                                   "Drawing\\Layers\\Layer\\LayerName\\Grundriß", "Drawing\\Info",
                                                   "Drawing\\Info\\x<y"}));
  EXPECT_TRUE(tv->NodeExpanded(3));
}

TEST_F(XmlTree, BadFilesLeaveTheTreeAloneAndEntitiesAreNeverRead) {
  auto tv = std::make_shared<MemoryTreeView>();
  tv->AddNode(0, NodeRelationship::Last, "kept");
  EXPECT_EQ(v_.XMLFileToTreeView(Write("bad.xml", "<a><b></a>"), tv), -1);
  EXPECT_EQ(v_.XMLFileToTreeView((dir_.path / "missing.xml").string(), tv), -1);
  EXPECT_EQ(v_.XMLFileToTreeView(Write("empty.xml", ""), tv), -1);
  EXPECT_EQ(tv->NodeCount(), 1);
  EXPECT_EQ(v_.XMLFileToTreeView(Write("ok.xml", "<a/>"), std::make_shared<MemoryListView>()), -2);

  const std::string secret = Write("secret.txt", "TOPSECRET");
  std::string doc = "<!DOCTYPE a [<!ENTITY e SYSTEM \"file://";
  doc += secret;
  doc += "\"><!ENTITY b \"BOOM\">]><a>&e;&b;</a>";
  const std::string xxe = Write("xxe.xml", doc);
  const int16_t r = v_.XMLFileToTreeView(xxe, tv);
  EXPECT_TRUE(r == 1 || r == -1);
  for (const std::string& p : Paths(*tv)) {
    EXPECT_EQ(p.find("TOPSECRET"), std::string::npos);
    EXPECT_EQ(p.find("BOOM"), std::string::npos);
  }

  std::string deep;  // far deeper than any stack would allow by recursion
  for (int i = 0; i < 200000; ++i) deep += "<n>";
  for (int i = 0; i < 200000; ++i) deep += "</n>";
  auto big = std::make_shared<MemoryTreeView>();
  ASSERT_EQ(v_.XMLFileToTreeView(Write("deep.xml", deep), big), 1);
  EXPECT_EQ(big->NodeCount(), 200000);
}

TEST(ControlsByName, EveryControlIsCreatableAndDrivenLateBound) {
  for (const char* name : {"ListView", "TreeView", "FlexGrid", "DataGrid", "ListBox", "ComboBox", "DirListBox",
                           "DriveListBox", "FileListBox", "TextBox", "Dictionary", "Collection"}) {
    const ObjectRef o = CreateObject(name);
    ASSERT_TRUE(o) << name;
    EXPECT_EQ(o->ClassName(), name);
  }
  clsVantrove v;
  const ObjectRef lv = CreateObject("ListView");
  CallMethod(GetProperty(lv, "ColumnHeaders").object(), "Add", {Variant::Missing(), Variant::Missing(), Variant("H1")});
  const ObjectRef item =
      CallMethod(GetProperty(lv, "ListItems").object(), "Add", {Variant::Missing(), Variant::Missing(), Variant("t")})
          .object();
  SetProperty(item, "SubItems", Variant("s1"), {Variant(int32_t{1})});
  SetProperty(item, "Selected", Variant(true));
  std::vector<Variant> args{Variant(lv), EmptyArray(), Variant(true), Variant(true)};
  const InvokeResult r = v.Invoke("ListViewToArray", args);
  ASSERT_TRUE(r.ok) << r.description;
  EXPECT_EQ(CLng(r.value), 1);
  EXPECT_EQ(Rows(args[1]), (Table{{"H1", ""}, {"t", "s1"}}));
  EXPECT_EQ(CStr(GetProperty(GetProperty(lv, "ListItems", {Variant(int32_t{1})}).object(), "SubItems",
                             {Variant(int32_t{1})})),
            "s1");
  EXPECT_EQ(ErrorOf([&] { GetProperty(lv, "ListItems", {Variant(int32_t{2})}); }), 35600);

  const ObjectRef tv = CreateObject("TreeView");
  const ObjectRef nodes = GetProperty(tv, "Nodes").object();
  const ObjectRef root = CallMethod(nodes, "Add", {Variant::Missing(), Variant::Missing(), Variant(""), Variant("r")}).object();
  CallMethod(nodes, "Add", {Variant(root), Variant(int32_t{4}), Variant(""), Variant("c")});
  EXPECT_EQ(CStr(GetProperty(GetProperty(nodes, "Item", {Variant(int32_t{2})}).object(), "FullPath")), "r\\c");

  const ObjectRef dg = CreateObject("DataGrid");
  CallMethod(dg, "Load", {Variant(SafeArray::FromRows({{"A", "B"}, {"1", "2"}}))});
  EXPECT_EQ(CStr(GetProperty(GetProperty(dg, "Columns", {Variant(int32_t{1})}).object(), "Caption")), "B");
  EXPECT_EQ(CLng(GetProperty(dg, "ApproxCount")), 1);

  const ObjectRef lb = CreateObject("ListBox");
  CallMethod(lb, "AddItem", {Variant("x")});
  SetProperty(lb, "Selected", Variant(true), {Variant(int32_t{0})});
  EXPECT_TRUE(CBool(GetProperty(lb, "Selected", {Variant(int32_t{0})})));
  EXPECT_EQ(ErrorOf([&] { GetProperty(lb, "List", {Variant(int32_t{5})}); }), 381);
}

}  // namespace
}  // namespace vantrove
