#pragma once
// vantrove-qt: Qt 6 widgets presented through the control interfaces, so that
// the class's control adapters fill and read them.
//
//   auto tree = vantrove::qt::Adapt(ui->treeWidget);       // a TreeView
//   clsVantrove v;
//   v.XMLFileToTreeView("plan.xml", tree, true);
//
// An adapter holds the widget by a guarded pointer and does not own it; once
// the widget is gone every member raises "Object variable not set" (91).
// QTableWidget serves as ListView (rows are items, column 0 the text),
// FlexGrid and DataGrid; QListWidget as ListBox and the folder, drive and file
// lists; QLineEdit and QPlainTextEdit as TextBox.

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTableWidget>
#include <QTreeWidget>
#include <memory>

#include "vantrove/component.hpp"
#include "vantrove/controls.hpp"

namespace vantrove::qt {

std::shared_ptr<TreeView> Adapt(QTreeWidget* widget);
std::shared_ptr<ListView> AdaptListView(QTableWidget* widget);
std::shared_ptr<FlexGrid> AdaptFlexGrid(QTableWidget* widget);
std::shared_ptr<DataGrid> AdaptDataGrid(QTableWidget* widget);
std::shared_ptr<ListBox> Adapt(QListWidget* widget);
std::shared_ptr<ComboBox> Adapt(QComboBox* widget);
// The folder, drive and file lists fill the widget from the file system
// when their Path, Drive or Pattern is set (and the drive list at once).
std::shared_ptr<DirListBox> AdaptDirListBox(QListWidget* widget, const std::string& path = ".");
std::shared_ptr<DriveListBox> AdaptDriveListBox(QListWidget* widget);
std::shared_ptr<FileListBox> AdaptFileListBox(QListWidget* widget, const std::string& path = ".",
                                              const std::string& pattern = "*.*");
std::shared_ptr<TextBox> Adapt(QLineEdit* widget);
std::shared_ptr<TextBox> Adapt(QPlainTextEdit* widget);

// Message boxes as QMessageBox, with the icon the style asks for (16 stop,
// 32 question, 48 exclamation, 64 information); questions answer Yes or No.
class QtMessageSink : public MessageSink {
 public:
  explicit QtMessageSink(QWidget* parent = nullptr) : parent_(parent) {}
  void Show(std::string_view title, std::string_view text, int style) override;
  bool AskYesNo(std::string_view title, std::string_view text) override;

 private:
  QPointer<QWidget> parent_;
};

}  // namespace vantrove::qt
