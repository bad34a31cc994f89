// The in-memory controls and their registration as creatable classes.
#include <algorithm>
#include <filesystem>

#include "member_names.hpp"
#include "vantrove/controls.hpp"

namespace vantrove {

namespace {

using detail::Expect;
using detail::Is;

constexpr int32_t kBadPropertyIndex = 381;  // "Invalid property array index"
constexpr int32_t kIndexOutOfBounds = 35600;
constexpr int32_t kDeviceUnavailable = 68;

template <class V>
decltype(auto) Checked(V& v, int32_t i, int32_t first, int32_t error, const char* what) {
  if (i < first || static_cast<int64_t>(i) - first >= static_cast<int64_t>(v.size())) Raise(error, what);
  return v[static_cast<size_t>(i - first)];
}

std::string CurrentFolder() {
  std::error_code ec;
  const auto p = std::filesystem::current_path(ec);
  return ec ? std::string("/") : p.string();
}

}  // namespace

// ---- List and combo boxes --------------------------------------------------------

const std::string& MemoryItems::At(int32_t i) const {
  return Checked(items_, i, 0, kBadPropertyIndex, "Invalid property array index");
}

std::vector<bool>::reference MemoryItems::SelectedAt(int32_t i) {
  if (i < 0 || i >= Count()) Raise(kBadPropertyIndex, "Invalid property array index");
  return selected_[static_cast<size_t>(i)];
}

bool MemoryItems::Invoke(std::string_view member, std::vector<Variant>& args) {
  if (Is(member, "AddItem")) {
    if (args.empty() || args.size() > 2) Raise(err::kWrongArgumentCount);
    AddItem(CStr(args[0]));
    return true;
  }
  if (Is(member, "Clear")) {
    Expect(args, 0);
    Clear();
    return true;
  }
  return false;
}

Variant MemoryListBox::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (kind != CallKind::PropertyPut && items_.Invoke(member, args)) return Variant();
  return ListBox::Invoke(member, kind, args);
}

Variant MemoryComboBox::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (kind != CallKind::PropertyPut && items_.Invoke(member, args)) return Variant();
  return ComboBox::Invoke(member, kind, args);
}

// ---- Folder, drive and file list boxes ---------------------------------------------

MemoryDirListBox::MemoryDirListBox() : path_(CurrentFolder()) {}

const std::vector<std::string>& MemoryDirListBox::Load() {
  if (!list_) list_ = file_lists::SubFolders(path_);
  return *list_;
}

int32_t MemoryDirListBox::ListCount() { return static_cast<int32_t>(Load().size()); }

std::string MemoryDirListBox::List(int32_t i) {
  return Checked(Load(), i, 0, kBadPropertyIndex, "Invalid property array index");
}

void MemoryDirListBox::SetPath(const std::string& path) {
  path_ = file_lists::CheckFolder(path);
  list_.reset();
}

const std::vector<std::string>& MemoryDriveListBox::Load() {
  if (!list_) list_ = file_lists::Drives();
  return *list_;
}

int32_t MemoryDriveListBox::ListCount() { return static_cast<int32_t>(Load().size()); }

std::string MemoryDriveListBox::List(int32_t i) {
  return Checked(Load(), i, 0, kBadPropertyIndex, "Invalid property array index");
}

void MemoryDriveListBox::SetDrive(const std::string& drive) {
  list_.reset();
  const auto& drives = Load();
  if (std::find(drives.begin(), drives.end(), drive) == drives.end()) {
    Raise(kDeviceUnavailable, "Device unavailable: " + drive);
  }
  drive_ = drive;
}

MemoryFileListBox::MemoryFileListBox() : path_(CurrentFolder()) {}

const std::vector<std::string>& MemoryFileListBox::Load() {
  if (!list_) {
    list_ = file_lists::Files(path_, pattern_);
    selected_.assign(list_->size(), false);
  }
  return *list_;
}

int32_t MemoryFileListBox::ListCount() { return static_cast<int32_t>(Load().size()); }

std::string MemoryFileListBox::List(int32_t i) {
  return Checked(Load(), i, 0, kBadPropertyIndex, "Invalid property array index");
}

bool MemoryFileListBox::Selected(int32_t i) {
  Load();
  return Checked(selected_, i, 0, kBadPropertyIndex, "Invalid property array index");
}

void MemoryFileListBox::SetSelected(int32_t i, bool s) {
  Load();
  Checked(selected_, i, 0, kBadPropertyIndex, "Invalid property array index") = s;
}

void MemoryFileListBox::SetPath(const std::string& path) {
  path_ = file_lists::CheckFolder(path);
  list_.reset();
}

void MemoryFileListBox::SetPattern(const std::string& pattern) {
  pattern_ = pattern;
  list_.reset();
}

// ---- List view ----------------------------------------------------------------------

MemoryListView::Entry& MemoryListView::Item(int32_t i) {
  return Checked(items_, i, 1, kIndexOutOfBounds, "Index out of bounds");
}

int32_t MemoryListView::AddListItem(const std::string& text) {
  items_.push_back({text, false, {}});
  return ListItemCount();
}

std::string MemoryListView::ListSubItem(int32_t i, int32_t sub) {
  const Entry& e = Item(i);
  if (sub < 1) Raise(380, "Invalid property value");
  return static_cast<size_t>(sub) <= e.subItems.size() ? e.subItems[static_cast<size_t>(sub - 1)] : std::string();
}

void MemoryListView::SetListSubItem(int32_t i, int32_t sub, const std::string& text) {
  Entry& e = Item(i);
  if (sub < 1) Raise(380, "Invalid property value");
  while (ColumnHeaderCount() <= sub) headers_.emplace_back();
  if (e.subItems.size() < static_cast<size_t>(sub)) e.subItems.resize(static_cast<size_t>(sub));
  e.subItems[static_cast<size_t>(sub - 1)] = text;
}

std::string MemoryListView::ColumnHeaderText(int32_t c) {
  return Checked(headers_, c, 1, kIndexOutOfBounds, "Index out of bounds");
}

// ---- Tree view ----------------------------------------------------------------------

MemoryTreeView::Node& MemoryTreeView::At(int32_t i) {
  return Checked(nodes_, i, 1, kIndexOutOfBounds, "Index out of bounds");
}

int32_t MemoryTreeView::AddNode(int32_t relative, NodeRelationship relationship, const std::string& text) {
  int32_t parent = 0;
  if (relative != 0) {
    At(relative);
    parent = relationship == NodeRelationship::Child ? relative : At(relative).parent;
  }
  nodes_.push_back({text, parent, false});
  return NodeCount();
}

std::string MemoryTreeView::NodeFullPath(int32_t i) {
  std::vector<int32_t> chain;
  for (int32_t n = i; n != 0; n = At(n).parent) chain.push_back(n);
  std::string out;
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    if (it != chain.rbegin()) out += separator_;
    out += At(*it).text;
  }
  return out;
}

void MemoryTreeView::SetNodeSelected(int32_t i, bool s) {
  At(i);
  if (s) selected_ = i;
  else if (selected_ == i) selected_ = 0;
}

void MemoryTreeView::EnsureNodeVisible(int32_t i) {
  for (int32_t n = At(i).parent; n != 0; n = At(n).parent) At(n).expanded = true;
}

// ---- Flex grid -------------------------------------------------------------------------

size_t MemoryFlexGrid::Index(int32_t index) const {
  if (index < 0 || static_cast<int64_t>(index) >= static_cast<int64_t>(cells_.size())) {
    Raise(kBadPropertyIndex, "Invalid property array index");
  }
  return static_cast<size_t>(index);
}

void MemoryFlexGrid::Resize(int32_t rows, int32_t cols) {
  if (rows < 0 || cols < 0) Raise(380, "Invalid property value");
  if (static_cast<int64_t>(rows) * cols > (int64_t{1} << 28)) Raise(err::kOutOfMemory);
  std::vector<std::string> cells(static_cast<size_t>(rows) * static_cast<size_t>(cols));
  for (int32_t r = 0; r < std::min(rows, rows_); ++r) {
    for (int32_t c = 0; c < std::min(cols, cols_); ++c) {
      cells[static_cast<size_t>(r) * cols + c] = std::move(cells_[static_cast<size_t>(r) * cols_ + c]);
    }
  }
  cells_ = std::move(cells);
  rows_ = rows;
  cols_ = cols;
}

void MemoryFlexGrid::SetRows(int32_t rows) { Resize(rows, cols_); }
void MemoryFlexGrid::SetCols(int32_t cols) { Resize(rows_, cols); }

// ---- Data grid ----------------------------------------------------------------------------

void MemoryDataGrid::Load(std::vector<std::string> captions, std::vector<std::vector<std::string>> rows) {
  for (auto& r : rows) r.resize(captions.size());
  captions_ = std::move(captions);
  rows_ = std::move(rows);
  top_ = row_ = 0;
}

std::string MemoryDataGrid::ColumnCaption(int32_t c) {
  return Checked(captions_, c, 0, err::kSubscript, "Subscript out of range");
}

std::string MemoryDataGrid::ColumnText(int32_t c) {
  const int32_t r = top_ + row_;
  if (r >= ApproxCount()) return std::string();  // the empty row under the last record
  return Checked(rows_[static_cast<size_t>(r)], c, 0, err::kSubscript, "Subscript out of range");
}

void MemoryDataGrid::Scroll(int32_t, int32_t rows) {
  const int64_t top = std::clamp<int64_t>(int64_t{top_} + rows, 0, std::max(0, ApproxCount() - 1));
  top_ = static_cast<int32_t>(top);
}

void MemoryDataGrid::SetRow(int32_t row) {
  if (row < 0 || row >= visible_) Raise(err::kInvalidCall, "The row is not on the screen");
  row_ = row;
}

Variant MemoryDataGrid::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "Load") && kind != CallKind::PropertyPut) {
    Expect(args, 1);
    const SafeArray& a = args[0].array();
    if (a.dims() != 2) Raise(err::kSubscript);
    std::vector<std::string> captions;
    std::vector<std::vector<std::string>> rows;
    for (int32_t r = a.LBound(1); r <= a.UBound(1); ++r) {
      std::vector<std::string> row;
      for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) row.push_back(CStr(a.at(r, c)));
      if (r == a.LBound(1)) captions = std::move(row);
      else rows.push_back(std::move(row));
    }
    Load(std::move(captions), std::move(rows));
    return Variant();
  }
  return DataGrid::Invoke(member, kind, args);
}

// ---- Creatable classes ----------------------------------------------------------------------

namespace {

template <class T>
void Creatable(const char* name) {
  RegisterCreatableClass(name, [] { return std::make_shared<T>(); });
}

const bool kRegistered = [] {
  Creatable<MemoryListBox>("ListBox");
  Creatable<MemoryComboBox>("ComboBox");
  Creatable<MemoryDirListBox>("DirListBox");
  Creatable<MemoryDriveListBox>("DriveListBox");
  Creatable<MemoryFileListBox>("FileListBox");
  Creatable<MemoryListView>("ListView");
  Creatable<MemoryTreeView>("TreeView");
  Creatable<MemoryFlexGrid>("FlexGrid");
  Creatable<MemoryDataGrid>("DataGrid");
  return true;
}();

}  // namespace

}  // namespace vantrove
