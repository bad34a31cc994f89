#pragma once
// The control interfaces: one per kind of control, each with only the members
// the array adapters use. Toolkit adapters (vantrove-qt) and the in-memory
// controls implement them; the adapters of clsVantrove tell the kinds apart
// by these types.
//
// The C++ members are the automation members written flat: a member path
// such as ListItems(i).SubItems(j) is one call, ListSubItem(i, j). Late-bound
// callers reach the same members by their automation names through Invoke
// (ListItems, ColumnHeaders, Nodes and Columns give collection objects).
//
// Numbering as the classic controls: List(i) and TextArray(i) from 0,
// ListItems, ColumnHeaders and Nodes from 1, DataGrid Columns from 0.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vantrove/runtime.hpp"

namespace vantrove {

// A list of texts: ListCount, List(i).
class ListControl : public Object {
 public:
  virtual int32_t ListCount() = 0;
  virtual std::string List(int32_t index) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// ListBox: ListCount, List(i), Selected(i).
class ListBox : public ListControl {
 public:
  std::string ClassName() const override { return "ListBox"; }
  virtual bool Selected(int32_t index) = 0;
  virtual void SetSelected(int32_t index, bool selected) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// ComboBox: ListCount, List(i).
class ComboBox : public ListControl {
 public:
  std::string ClassName() const override { return "ComboBox"; }
};

// DirListBox: the sub-folders of Path, as full paths.
class DirListBox : public ListControl {
 public:
  std::string ClassName() const override { return "DirListBox"; }
  virtual std::string Path() = 0;
  // Raises "Path not found" (76) for a folder that does not exist.
  virtual void SetPath(const std::string& path) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// DriveListBox: the mounted file systems, as their mount points.
class DriveListBox : public ListControl {
 public:
  std::string ClassName() const override { return "DriveListBox"; }
  virtual std::string Drive() = 0;
  // Raises "Device unavailable" (68) for a path that is not a listed drive.
  virtual void SetDrive(const std::string& drive) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// FileListBox: the names of the files in Path that match Pattern.
class FileListBox : public ListControl {
 public:
  std::string ClassName() const override { return "FileListBox"; }
  virtual bool Selected(int32_t index) = 0;
  virtual void SetSelected(int32_t index, bool selected) = 0;
  virtual std::string Path() = 0;
  virtual void SetPath(const std::string& path) = 0;  // 76 for a missing folder
  virtual std::string Pattern() = 0;
  virtual void SetPattern(const std::string& pattern) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// ListView: ListItems (Count, Add, item: Text, Selected, SubItems),
// ColumnHeaders (Count, item: Text), SetFocus.
class ListView : public Object {
 public:
  std::string ClassName() const override { return "ListView"; }
  virtual int32_t ListItemCount() = 0;
  // ListItems.Add(, , text): the new item's index.
  virtual int32_t AddListItem(const std::string& text) = 0;
  virtual std::string ListItemText(int32_t item) = 0;
  virtual bool ListItemSelected(int32_t item) = 0;
  virtual void SetListItemSelected(int32_t item, bool selected) = 0;
  virtual std::string ListSubItem(int32_t item, int32_t sub) = 0;
  // Writing a sub-item past the last column adds columns without headings,
  // so that what is written can be seen and read back.
  virtual void SetListSubItem(int32_t item, int32_t sub, const std::string& text) = 0;
  virtual int32_t ColumnHeaderCount() = 0;
  virtual std::string ColumnHeaderText(int32_t column) = 0;
  // ColumnHeaders.Add(, , text), for callers that build a view.
  virtual void AddColumnHeader(const std::string& text) = 0;
  virtual void SetFocus() = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// Node relationships of Nodes.Add.
enum class NodeRelationship : int32_t { First = 0, Last = 1, Next = 2, Previous = 3, Child = 4 };

// TreeView: PathSeparator, Nodes (Count, Add, item: Text, FullPath, Parent,
// Selected, Expanded, EnsureVisible). Nodes are numbered in the order they
// were added.
class TreeView : public Object {
 public:
  std::string ClassName() const override { return "TreeView"; }
  virtual std::string PathSeparator() = 0;
  virtual void SetPathSeparator(const std::string& separator) = 0;
  virtual int32_t NodeCount() = 0;
  // Nodes.Add(relative, relationship, , text): `relative` 0 adds at the top
  // level. The new node's index.
  virtual int32_t AddNode(int32_t relative, NodeRelationship relationship, const std::string& text) = 0;
  virtual std::string NodeText(int32_t node) = 0;
  virtual std::string NodeFullPath(int32_t node) = 0;
  // Node(i).Parent.Index; 0 for a top-level node. The tree's own shape, for
  // writers that lay it out (TreeViewToExcel).
  virtual int32_t NodeParent(int32_t node) = 0;
  virtual bool NodeSelected(int32_t node) = 0;
  virtual void SetNodeSelected(int32_t node, bool selected) = 0;
  virtual bool NodeExpanded(int32_t node) = 0;
  virtual void SetNodeExpanded(int32_t node, bool expanded) = 0;
  // Expands the node's ancestors and scrolls it into view.
  virtual void EnsureNodeVisible(int32_t node) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// FlexGrid: Rows, Cols, TextArray(row * Cols + col).
class FlexGrid : public Object {
 public:
  std::string ClassName() const override { return "FlexGrid"; }
  virtual int32_t Rows() = 0;
  virtual void SetRows(int32_t rows) = 0;
  virtual int32_t Cols() = 0;
  virtual void SetCols(int32_t cols) = 0;
  virtual std::string TextArray(int32_t index) = 0;
  virtual void SetTextArray(int32_t index, const std::string& text) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// DataGrid: Columns (Count, item: Caption, Text), ApproxCount, VisibleRows,
// Scroll, Row. The grid shows VisibleRows rows from its first visible row;
// Row picks one of them (0 .. VisibleRows - 1) and a column's Text is its
// cell in that row. Scroll(cols, rows) moves the first visible row, which
// stays between 0 and ApproxCount - 1.
class DataGrid : public Object {
 public:
  std::string ClassName() const override { return "DataGrid"; }
  virtual int32_t ColumnCount() = 0;
  virtual std::string ColumnCaption(int32_t column) = 0;
  virtual std::string ColumnText(int32_t column) = 0;
  virtual int32_t ApproxCount() = 0;
  virtual int32_t VisibleRows() = 0;
  virtual void Scroll(int32_t cols, int32_t rows) = 0;
  virtual int32_t Row() = 0;
  // Raises "Invalid procedure call" (5) outside the visible rows.
  virtual void SetRow(int32_t row) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

}  // namespace vantrove
