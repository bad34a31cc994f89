// The control adapters on real Qt 6 widgets (offscreen).
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <filesystem>
#include <fstream>

#include "../controls/adapter_test_support.hpp"
#include "vantrove/qt/adapters.hpp"

namespace vantrove {
namespace {

using Table = std::vector<std::vector<std::string>>;

TEST(QtTree, RowsToTreeWidgetAndBack) {
  clsVantrove v;
  QTreeWidget w;
  auto tv = qt::Adapt(&w);
  tv->SetPathSeparator("/");
  const Variant rows(SafeArray::FromRows({{"Drawing", "Layers", "WALLS"}, {"Drawing", "Blocks", ""}, {"Other", "", ""}}));
  ASSERT_EQ(v.TwoDArrayToTreeView(rows, tv, true), 1);
  ASSERT_EQ(w.topLevelItemCount(), 2);
  EXPECT_EQ(w.topLevelItem(0)->child(0)->child(0)->text(0), "WALLS");
  EXPECT_TRUE(w.topLevelItem(0)->isExpanded());
  EXPECT_EQ(w.currentItem(), w.topLevelItem(0));

  Variant out = EmptyArray();
  ASSERT_EQ(v.TreeViewToTwoDArray(tv, out, true), 1);
  EXPECT_EQ(Rows(out), (Table{{"Drawing", "Layers", "WALLS"}, {"Drawing", "Blocks", ""}, {"Other", "", ""}}));

  // Items that other code adds get the next numbers.
  w.topLevelItem(1)->addChild(new QTreeWidgetItem(QStringList{"late"}));
  EXPECT_EQ(tv->NodeCount(), 6);
  EXPECT_EQ(tv->NodeFullPath(6), "Other/late");
  ASSERT_EQ(v.TreeViewToTwoDArray(tv, out, false), 1);
  EXPECT_EQ(Rows(out).size(), 6u);
}

TEST(QtTree, XmlFileIntoTreeWidget) {
  TempFolder dir;
  const std::string file = (dir.path / "a.xml").string();
  std::ofstream(file) << "<Drawing><Layer><Name>WALLS</Name></Layer><Layer/></Drawing>";
  clsVantrove v;
  QTreeWidget w;
  ASSERT_EQ(v.XMLFileToTreeView(file, qt::Adapt(&w), true), 1);
  ASSERT_EQ(w.topLevelItemCount(), 1);
  QTreeWidgetItem* root = w.topLevelItem(0);
  EXPECT_EQ(root->text(0), "Drawing");
  EXPECT_EQ(root->childCount(), 2);
  EXPECT_EQ(root->child(0)->child(0)->child(0)->text(0), "WALLS");
  EXPECT_TRUE(root->child(0)->isExpanded());
}

TEST(QtTable, ListViewRoundTripWithHeadingsAndSelection) {
  clsVantrove v;
  QTableWidget w;
  auto lv = qt::AdaptListView(&w);
  lv->AddColumnHeader("Tag");
  lv->AddColumnHeader("Value");
  const Variant rows(SafeArray::FromRows({{"DWGNO", "A-101"}, {"TITLE", "Plan"}, {"REV", "C"}}));
  ASSERT_EQ(v.TwoDArrayToListView(rows, lv, Variant(SafeArray::Vector({Variant("title"), Variant("rev")}))), 1);
  EXPECT_EQ(w.rowCount(), 3);
  EXPECT_EQ(w.item(1, 1)->text(), "Plan");
  Variant out = EmptyArray();
  ASSERT_EQ(v.ListViewToArray(lv, out, false, true), 1);
  EXPECT_EQ(Rows(out), (Table{{"Tag", "Value"}, {"DWGNO", "A-101"}, {"TITLE", "Plan"}, {"REV", "C"}}));
  ASSERT_EQ(v.ListViewToArray(lv, out, true, false), 1);
  EXPECT_EQ(Rows(out), (Table{{"TITLE", "Plan"}, {"REV", "C"}}));
}

TEST(QtTable, FlexGridRoundTripAndDataGridThroughScroll) {
  clsVantrove v;
  QTableWidget w;
  const Variant a(SafeArray::FromRows({{"a", "b"}, {int32_t{1}, "Müller"}}));
  ASSERT_EQ(v.TwoDArrayToFlexGrid(a, qt::AdaptFlexGrid(&w)), 1);
  EXPECT_EQ(w.item(1, 1)->text(), QString::fromUtf8("Müller"));
  Variant out = EmptyArray();
  ASSERT_EQ(v.FlexGridToArray(qt::AdaptFlexGrid(&w), out), 1);
  EXPECT_EQ(Rows(out), (Table{{"a", "b"}, {"1", "Müller"}}));

  QTableWidget grid(500, 2);
  grid.setHorizontalHeaderLabels({"N", "Square"});
  for (int r = 0; r < 500; ++r) {
    grid.setItem(r, 0, new QTableWidgetItem(QString::number(r)));
    grid.setItem(r, 1, new QTableWidgetItem(QString::number(r * r)));
  }
  grid.resize(300, 240);
  grid.show();
  auto dg = qt::AdaptDataGrid(&grid);
  ASSERT_LT(dg->VisibleRows(), 100);  // far fewer than the rows: several screens
  ASSERT_EQ(v.DataGridToArray(dg, out, true), 1);
  const Table rows = Rows(out);
  ASSERT_EQ(rows.size(), 501u);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"N", "Square"}));
  for (int r = 0; r < 500; ++r) EXPECT_EQ(rows[static_cast<size_t>(r) + 1][1], std::to_string(r * r));
}

TEST(QtLists, ListComboFolderFileAndDriveLists) {
  TempFolder dir;
  std::filesystem::create_directories(dir.path / "sub");
  for (const char* f : {"a.dwg", "b.DXF", "c.txt"}) std::ofstream(dir.path / f) << "x";
  clsVantrove v;
  Variant out = EmptyArray();

  QListWidget list;
  list.setSelectionMode(QAbstractItemView::MultiSelection);
  list.addItems({"one", "two", "three"});
  list.item(2)->setSelected(true);
  ASSERT_EQ(v.ListBoxToOneDArray(qt::Adapt(&list), out, true), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"three"}));

  QComboBox combo;
  combo.addItems({"x", "y"});
  ASSERT_EQ(v.ComboBoxToOneDArray(qt::Adapt(&combo), out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"x", "y"}));
  EXPECT_EQ(v.ListBoxToOneDArray(qt::Adapt(&combo), out), -1);

  QListWidget dirs, files, drives;
  ASSERT_EQ(v.DirListBoxToOneDArray(qt::AdaptDirListBox(&dirs, dir.path.string()), out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{(dir.path / "sub").string()}));
  auto flb = qt::AdaptFileListBox(&files, dir.path.string(), "*.dwg;*.dxf");
  EXPECT_EQ(files.count(), 2);
  files.item(1)->setSelected(true);
  ASSERT_EQ(v.FileListBoxToOneDArray(flb, out, true), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"b.DXF"}));
  EXPECT_EQ(ErrorOf([&] { flb->SetPath((dir.path / "none").string()); }), 76);
  EXPECT_EQ(files.count(), 2);  // a refused path leaves the list
  ASSERT_EQ(v.DriveListBoxToOneDArray(qt::AdaptDriveListBox(&drives), out), 1);
  EXPECT_EQ(Texts(out).front(), "/");
}

TEST(QtText, LineAndPlainTextEditsAsTextBoxes) {
  clsVantrove v;
  QPlainTextEdit edit;
  edit.setPlainText("first\nsecond");
  Variant out = EmptyArray();
  ASSERT_EQ(v.TextBoxToOneDArray(qt::Adapt(&edit), out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"first", "second"}));
  QLineEdit line;
  auto box = qt::Adapt(&line);
  box->SetText("Grundriß");
  EXPECT_EQ(line.text(), QString::fromUtf8("Grundriß"));
  ASSERT_EQ(v.TextBoxToOneDArray(box, out), 1);
  EXPECT_EQ(Texts(out), (std::vector<std::string>{"Grundriß"}));
}

TEST(QtAdapters, AWidgetThatIsGoneIsARunTimeError) {
  clsVantrove v;
  auto* w = new QTableWidget;
  auto grid = qt::AdaptFlexGrid(w);
  delete w;
  EXPECT_EQ(v.TwoDArrayToFlexGrid(Variant(SafeArray::FromRows({{"a"}})), grid), 0);
  Variant out = EmptyArray();
  EXPECT_EQ(v.FlexGridToArray(grid, out), 0);
}

// Presses `button` on the message box that comes up next.
void PressOnNextBox(QMessageBox::StandardButton button, QString* text) {
  QTimer::singleShot(0, [=] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    *text = box->text() + "|" + box->windowTitle() + "|" + QString::number(box->icon());
    box->button(button)->click();
  });
}

TEST(QtMessages, MessageBoxesAndQuestions) {
  qt::QtMessageSink sink;
  QString seen;
  PressOnNextBox(QMessageBox::Ok, &seen);
  sink.Show("Missing DLL File", "File not found.", kExclamationStyle);
  EXPECT_EQ(seen, QString("File not found.|Missing DLL File|%1").arg(QMessageBox::Warning));
  PressOnNextBox(QMessageBox::Yes, &seen);
  EXPECT_TRUE(sink.AskYesNo("Close Excel", "Close 'Book1'?"));
  PressOnNextBox(QMessageBox::No, &seen);
  EXPECT_FALSE(sink.AskYesNo("Close Excel", "Close 'Book1'?"));
}

}  // namespace
}  // namespace vantrove

// Memory that Qt's platform and font machinery keeps until the process ends
// is not a leak of ours (read by the leak checker of sanitizer builds).
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig\nleak:libQt6Gui\nleak:libQt6Core\nleak:libQt6Widgets\nleak:libglib-2.0\n";
}

// The tests and their discovery run without a display unless one is asked for.
int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
