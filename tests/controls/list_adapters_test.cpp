// Lists, list views, dictionaries and collections to and from arrays, on the
// in-memory controls and the real file system.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "adapter_test_support.hpp"

namespace vantrove {
namespace {

namespace fs = std::filesystem;

TEST(ListAdapters, ListBoxAllOrSelectedAndTheWrongKind) {
  clsVantrove v;
  auto lb = std::make_shared<MemoryListBox>();
  for (const char* s : {"Grundriß", "Б-202", "c"}) lb->items().AddItem(s);
  lb->SetSelected(2, true);
  Variant out = EmptyArray();
  ASSERT_EQ(v.ListBoxToOneDArray(lb, out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"Grundriß", "Б-202", "c"}));
  ASSERT_EQ(v.ListBoxToOneDArray(lb, out, true), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"c"}));
  EXPECT_EQ(out.array().LBound(), 0);

  Variant notArray("keep");
  EXPECT_EQ(v.ListBoxToOneDArray(lb, notArray), -2);
  EXPECT_EQ(notArray.str(), "keep");
  auto combo = std::make_shared<MemoryComboBox>();
  combo->items().AddItem("x");
  EXPECT_EQ(v.ListBoxToOneDArray(combo, out), -1);  // a combo box is not a list box
  EXPECT_EQ(v.ComboBoxToOneDArray(lb, out), -1);
  EXPECT_EQ(v.ListBoxToOneDArray(nullptr, out), -1);
  ASSERT_EQ(v.ComboBoxToOneDArray(combo, out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"x"}));

  lb->items().Clear();
  ASSERT_EQ(v.ListBoxToOneDArray(lb, out), 1);  // an empty list gives an empty array
  EXPECT_EQ(out.array().UBound(), -1);
}

TEST(ListAdapters, FolderAndFileListsReadTheFileSystem) {
  TempFolder dir;
  fs::create_directories(dir.path / "beta");
  fs::create_directories(dir.path / "alpha");
  fs::create_directories(dir.path / ".hidden");
  for (const char* f : {"plan.DWG", "site.dxf", "notes.txt", ".old.dwg"}) std::ofstream(dir.path / f) << "x";
  clsVantrove v;
  auto dirs = std::make_shared<MemoryDirListBox>();
  dirs->SetPath(dir.path.string() + "/");
  Variant out = EmptyArray();
  ASSERT_EQ(v.DirListBoxToOneDArray(dirs, out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{(dir.path / "alpha").string(), (dir.path / "beta").string()}));

  auto files = std::make_shared<MemoryFileListBox>();
  files->SetPath(dir.path.string());
  files->SetPattern("*.dwg;*.dxf");
  ASSERT_EQ(v.FileListBoxToOneDArray(files, out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"plan.DWG", "site.dxf"}));
  files->SetSelected(1, true);
  ASSERT_EQ(v.FileListBoxToOneDArray(files, out, true), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"site.dxf"}));
  files->SetPattern("*.*");
  ASSERT_EQ(v.FileListBoxToOneDArray(files, out), 1);
  EXPECT_EQ(out.array().size(), 3u);
  EXPECT_EQ(v.FileListBoxToOneDArray(dirs, out), -1);
  EXPECT_EQ(v.DirListBoxToOneDArray(files, out), -1);

  EXPECT_EQ(ErrorOf([&] { dirs->SetPath((dir.path / "missing").string()); }), 76);
  // A folder that goes away after it was chosen: a run-time error, and the
  // caller's array stays as it was.
  fs::remove_all(dir.path / "beta");
  auto gone = std::make_shared<MemoryDirListBox>();
  fs::create_directories(dir.path / "beta" / "inner");
  gone->SetPath((dir.path / "beta").string());
  fs::remove_all(dir.path / "beta");
  Variant kept = Variant(SafeArray::Vector({Variant("old")}));
  EXPECT_EQ(v.DirListBoxToOneDArray(gone, kept), 0);
  EXPECT_EQ(Texts(kept), (std::vector<std::string>{"old"}));
}

TEST(ListAdapters, DrivesAreTheMountPoints) {
  clsVantrove v;
  auto drives = std::make_shared<MemoryDriveListBox>();
  Variant out = EmptyArray();
  ASSERT_EQ(v.DriveListBoxToOneDArray(drives, out), 1);
  const auto list = Texts(out);
  ASSERT_FALSE(list.empty());
  EXPECT_EQ(list[0], "/");
  EXPECT_EQ(std::count(list.begin(), list.end(), "/proc"), 0);
  EXPECT_EQ(ErrorOf([&] { drives->SetDrive("/no/such/mount"); }), 68);
  drives->SetDrive("/");
  EXPECT_EQ(drives->Drive(), "/");
}

TEST(ListAdapters, ListViewRoundTripWithHeadingsAndSelection) {
  clsVantrove v;
  auto lv = std::make_shared<MemoryListView>();
  for (const char* h : {"Tag", "Value", "Layer"}) lv->AddColumnHeader(h);
  const Variant rows(SafeArray::FromRows({{"DWGNO", "A-101", "0"}, {"TITLE", "Plan", "TB"}, {"rev", "B", Variant::Null()}}));
  ASSERT_EQ(v.TwoDArrayToListView(rows, lv, Variant("dwgno")), 1);
  EXPECT_TRUE(lv->focused());
  EXPECT_TRUE(lv->ListItemSelected(1));  // selected by name after the view's own first selection was cleared
  EXPECT_FALSE(lv->ListItemSelected(2));

  Variant out = EmptyArray();
  ASSERT_EQ(v.ListViewToArray(lv, out, false, true), 1);
  EXPECT_EQ(Rows(out), (std::vector<std::vector<std::string>>{
                           {"Tag", "Value", "Layer"}, {"DWGNO", "A-101", "0"}, {"TITLE", "Plan", "TB"}, {"rev", "B", ""}}));
  ASSERT_EQ(v.ListViewToArray(lv, out, true, false), 1);
  EXPECT_EQ(Rows(out), (std::vector<std::vector<std::string>>{{"DWGNO", "A-101", "0"}}));
}

TEST(ListAdapters, TheFormsOfVarSelectItems) {
  clsVantrove v;
  const Variant rows(SafeArray::FromRows({{"Alpha"}, {"beta"}, {"Gamma"}, {"42"}}));
  const auto selected = [&](const Variant& select) {
    auto lv = std::make_shared<MemoryListView>();
    EXPECT_EQ(v.TwoDArrayToListView(rows, lv, select), 1);
    std::string s;
    for (int32_t i = 1; i <= lv->ListItemCount(); ++i) s += lv->ListItemSelected(i) ? '1' : '0';
    return s;
  };
  EXPECT_EQ(selected(Variant(SafeArray::Vector({Variant("ALPHA"), Variant("gamma"), Variant::Null()}))), "1010");
  EXPECT_EQ(selected(Variant("Beta")), "0100");
  EXPECT_EQ(selected(Variant(int32_t{42})), "0000");  // neither an array nor a string
  SafeArray typed({Bounds{0, 0}}, VarType::String);
  typed.at(0) = Variant("alpha");
  EXPECT_EQ(selected(Variant(typed)), "0000");  // a typed array is not an array of variants
  EXPECT_EQ(selected(Variant::Missing()), "0000");
}

TEST(ListAdapters, ListViewBadInputLeavesTheViewAlone) {
  clsVantrove v;
  auto lv = std::make_shared<MemoryListView>();
  Variant notArray(int32_t{1});
  EXPECT_EQ(v.TwoDArrayToListView(notArray, lv), -1);
  EXPECT_EQ(v.TwoDArrayToListView(Variant(SafeArray::Vector({Variant("a")})), lv), -3);
  EXPECT_EQ(v.TwoDArrayToListView(Variant(SafeArray::FromRows({{"a"}})), std::make_shared<MemoryTreeView>()), -2);
  SafeArray withObject = SafeArray::FromRows({{"a"}, {"b"}});
  withObject.at(1, 0) = Variant(ObjectRef(std::make_shared<Dictionary>()));
  EXPECT_EQ(v.TwoDArrayToListView(Variant(withObject), lv), 0);
  EXPECT_EQ(lv->ListItemCount(), 0);
  Variant out = EmptyArray();
  EXPECT_EQ(v.ListViewToArray(lv, notArray), -1);
  EXPECT_EQ(v.ListViewToArray(std::make_shared<MemoryListBox>(), out), -2);
}

TEST(ListAdapters, DictionaryBothWays) {
  clsVantrove v;
  auto d = std::make_shared<Dictionary>();
  const Variant pairs(SafeArray::FromRows({{int32_t{1}, "one"}, {"b", 2.5}}));
  ASSERT_EQ(v.TwoDArrayToDictionary(pairs, d), 1);
  EXPECT_TRUE(d->Exists(Variant("1")));  // keys become text
  Variant out = EmptyArray();
  ASSERT_EQ(v.DictionaryToArray(d, out, true), 1);
  EXPECT_EQ(Rows(out), (std::vector<std::vector<std::string>>{{"1", "one"}, {"b", "2.5"}}));
  ASSERT_EQ(v.DictionaryToArray(d, out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"one", "2.5"}));

  auto wide = std::make_shared<Dictionary>();
  ASSERT_EQ(v.TwoDArrayToDictionary(Variant(SafeArray::FromRows({{"k", "x", "y"}})), wide), 1);
  EXPECT_EQ(Texts(wide->Item(Variant("k"))), (std::vector<std::string>{"x", "y"}));
  ASSERT_EQ(v.TwoDArrayToDictionary(Variant(SafeArray::FromRows({{"only"}})), wide), 1);
  EXPECT_TRUE(wide->Item(Variant("only")).IsEmpty());

  // A key already there, or twice in the array: nothing is added.
  EXPECT_EQ(v.TwoDArrayToDictionary(Variant(SafeArray::FromRows({{"new", 1}, {"b", 2}})), d), 0);
  EXPECT_EQ(v.TwoDArrayToDictionary(Variant(SafeArray::FromRows({{"n1", 1}, {"n1", 2}})), d), 0);
  EXPECT_EQ(d->Count(), 2);
  Variant notArray("x");
  EXPECT_EQ(v.DictionaryToArray(d, notArray), -1);
  EXPECT_EQ(v.TwoDArrayToDictionary(notArray, d), -1);
  EXPECT_EQ(v.TwoDArrayToDictionary(Variant(SafeArray::Vector({Variant("k")})), d), -3);
  EXPECT_EQ(v.TwoDArrayToDictionary(pairs, std::make_shared<Collection>()), -2);
  EXPECT_EQ(v.DictionaryToArray(std::make_shared<Collection>(), out), -2);
}

TEST(ListAdapters, CollectionWithAndWithoutKeys) {
  clsVantrove v;
  auto c = std::make_shared<Collection>();
  ASSERT_EQ(v.TwoDArrayToCollection(Variant(SafeArray::FromRows({{"a"}, {int32_t{2}}})), c), 1);
  ASSERT_EQ(v.TwoDArrayToCollection(Variant(SafeArray::FromRows({{"K1", "v1"}, {"", "v2"}})), c), 1);
  ASSERT_EQ(c->Count(), 4);
  EXPECT_EQ(CLng(c->Item(Variant(int32_t{2}))), 2);
  EXPECT_EQ(CStr(c->Item(Variant("k1"))), "v1");
  EXPECT_EQ(CStr(c->Item(Variant(int32_t{4}))), "v2");
  EXPECT_EQ(v.TwoDArrayToCollection(Variant(SafeArray::FromRows({{"k9", 1}, {"K1", 2}})), c), 0);
  EXPECT_EQ(c->Count(), 4);
  Variant notArray;
  EXPECT_EQ(v.TwoDArrayToCollection(notArray, c), -1);
  EXPECT_EQ(v.TwoDArrayToCollection(Variant(SafeArray::FromRows({{"a"}})), std::make_shared<Dictionary>()), -2);
  EXPECT_EQ(v.TwoDArrayToCollection(Variant(SafeArray::Vector({Variant("k")})), c), -3);
}

}  // namespace
}  // namespace vantrove
