#pragma once
// In-memory controls: each holds only what its interface shows. They are
// creatable by their kind's name ("ListView", "TreeView", "FlexGrid",
// "DataGrid", "ListBox", "ComboBox", "DirListBox", "DriveListBox",
// "FileListBox", "TextBox") and, besides the interface, take the members a
// caller needs to fill them: AddItem and Clear on the list and combo boxes,
// ListItems.Add and ColumnHeaders.Add on the list view, Nodes.Add on the tree
// view, Load on the data grid.

#include <optional>
#include <string>
#include <vector>

#include "vantrove/controls/interfaces.hpp"

namespace vantrove {

// The items of a list or combo box, with the by-name AddItem and Clear.
class MemoryItems {
 public:
  void AddItem(std::string text) {
    items_.push_back(std::move(text));
    selected_.push_back(false);
  }
  void Clear() {
    items_.clear();
    selected_.clear();
  }
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  const std::string& At(int32_t i) const;          // 381 outside the list
  std::vector<bool>::reference SelectedAt(int32_t i);  // 381 outside the list
  // Handles AddItem(text) and Clear; false for another member.
  bool Invoke(std::string_view member, std::vector<Variant>& args);

 private:
  std::vector<std::string> items_;
  std::vector<bool> selected_;
};

class MemoryListBox : public ListBox {
 public:
  MemoryItems& items() { return items_; }
  int32_t ListCount() override { return items_.Count(); }
  std::string List(int32_t i) override { return items_.At(i); }
  bool Selected(int32_t i) override { return items_.SelectedAt(i); }
  void SetSelected(int32_t i, bool s) override { items_.SelectedAt(i) = s; }
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;

 private:
  MemoryItems items_;
};

class MemoryComboBox : public ComboBox {
 public:
  MemoryItems& items() { return items_; }
  int32_t ListCount() override { return items_.Count(); }
  std::string List(int32_t i) override { return items_.At(i); }
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;

 private:
  MemoryItems items_;
};

// Path starts as the current folder. The folder is read when the list is
// first asked for after Path changes (or after Refresh).
class MemoryDirListBox : public DirListBox {
 public:
  MemoryDirListBox();
  int32_t ListCount() override;
  std::string List(int32_t i) override;
  std::string Path() override { return path_; }
  void SetPath(const std::string& path) override;
  void Refresh() { list_.reset(); }

 private:
  const std::vector<std::string>& Load();
  std::string path_;
  std::optional<std::vector<std::string>> list_;
};

// Drive starts as "/".
class MemoryDriveListBox : public DriveListBox {
 public:
  int32_t ListCount() override;
  std::string List(int32_t i) override;
  std::string Drive() override { return drive_; }
  void SetDrive(const std::string& drive) override;

 private:
  const std::vector<std::string>& Load();
  std::string drive_ = "/";
  std::optional<std::vector<std::string>> list_;
};

// Path starts as the current folder, Pattern as "*.*".
class MemoryFileListBox : public FileListBox {
 public:
  MemoryFileListBox();
  int32_t ListCount() override;
  std::string List(int32_t i) override;
  bool Selected(int32_t i) override;
  void SetSelected(int32_t i, bool s) override;
  std::string Path() override { return path_; }
  void SetPath(const std::string& path) override;
  std::string Pattern() override { return pattern_; }
  void SetPattern(const std::string& pattern) override;
  void Refresh() { list_.reset(); }

 private:
  const std::vector<std::string>& Load();
  std::string path_, pattern_ = "*.*";
  std::optional<std::vector<std::string>> list_;
  std::vector<bool> selected_;
};

class MemoryListView : public ListView {
 public:
  int32_t ListItemCount() override { return static_cast<int32_t>(items_.size()); }
  int32_t AddListItem(const std::string& text) override;
  std::string ListItemText(int32_t i) override { return Item(i).text; }
  bool ListItemSelected(int32_t i) override { return Item(i).selected; }
  void SetListItemSelected(int32_t i, bool s) override { Item(i).selected = s; }
  std::string ListSubItem(int32_t i, int32_t sub) override;
  void SetListSubItem(int32_t i, int32_t sub, const std::string& text) override;
  int32_t ColumnHeaderCount() override { return static_cast<int32_t>(headers_.size()); }
  std::string ColumnHeaderText(int32_t c) override;
  void AddColumnHeader(const std::string& text) override { headers_.push_back(text); }
  void SetFocus() override { focused_ = true; }
  bool focused() const { return focused_; }

 private:
  struct Entry {
    std::string text;
    bool selected = false;
    std::vector<std::string> subItems;  // from SubItems(1)
  };
  Entry& Item(int32_t i);  // 35600 outside 1 .. Count
  std::vector<Entry> items_;
  std::vector<std::string> headers_;
  bool focused_ = false;
};

class MemoryTreeView : public TreeView {
 public:
  std::string PathSeparator() override { return separator_; }
  void SetPathSeparator(const std::string& s) override { separator_ = s; }
  int32_t NodeCount() override { return static_cast<int32_t>(nodes_.size()); }
  int32_t AddNode(int32_t relative, NodeRelationship relationship, const std::string& text) override;
  std::string NodeText(int32_t i) override { return At(i).text; }
  std::string NodeFullPath(int32_t i) override;
  bool NodeSelected(int32_t i) override { return selected_ == i && i >= 1 && i <= NodeCount(); }
  void SetNodeSelected(int32_t i, bool s) override;
  bool NodeExpanded(int32_t i) override { return At(i).expanded; }
  void SetNodeExpanded(int32_t i, bool e) override { At(i).expanded = e; }
  void EnsureNodeVisible(int32_t i) override;
  int32_t NodeParent(int32_t i) override { return At(i).parent; }

 private:
  struct Node {
    std::string text;
    int32_t parent = 0;
    bool expanded = false;
  };
  Node& At(int32_t i);  // 35600 outside 1 .. Count
  std::vector<Node> nodes_;
  std::string separator_ = "\\";
  int32_t selected_ = 0;  // one node at a time
};

// Rows and Cols start at 2, as a new grid's do.
class MemoryFlexGrid : public FlexGrid {
 public:
  int32_t Rows() override { return rows_; }
  void SetRows(int32_t rows) override;
  int32_t Cols() override { return cols_; }
  void SetCols(int32_t cols) override;
  std::string TextArray(int32_t index) override { return cells_.at(Index(index)); }
  void SetTextArray(int32_t index, const std::string& text) override { cells_.at(Index(index)) = text; }

 private:
  size_t Index(int32_t index) const;  // 381 outside the grid
  void Resize(int32_t rows, int32_t cols);
  int32_t rows_ = 2, cols_ = 2;
  std::vector<std::string> cells_ = std::vector<std::string>(4);
};

// VisibleRows starts at 10.
class MemoryDataGrid : public DataGrid {
 public:
  // Shows `captions` as the columns and `rows` (each as long as captions)
  // as the records, from the top.
  void Load(std::vector<std::string> captions, std::vector<std::vector<std::string>> rows);
  void set_visible_rows(int32_t n) { visible_ = n < 1 ? 1 : n; }
  int32_t first_row() const { return top_; }

  int32_t ColumnCount() override { return static_cast<int32_t>(captions_.size()); }
  std::string ColumnCaption(int32_t c) override;
  std::string ColumnText(int32_t c) override;
  int32_t ApproxCount() override { return static_cast<int32_t>(rows_.size()); }
  int32_t VisibleRows() override { return visible_; }
  void Scroll(int32_t cols, int32_t rows) override;
  int32_t Row() override { return row_; }
  void SetRow(int32_t row) override;
  // Besides the interface: Load(varArray), the first row being the captions.
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;

 private:
  std::vector<std::string> captions_;
  std::vector<std::vector<std::string>> rows_;
  int32_t visible_ = 10, top_ = 0, row_ = 0;
};

}  // namespace vantrove
