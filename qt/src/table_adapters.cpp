// QTableWidget as ListView, FlexGrid and DataGrid.
#include <QHeaderView>
#include <QScrollBar>
#include <algorithm>

#include "vantrove/qt/adapters.hpp"
#include "widget_ref.hpp"

namespace vantrove::qt {

namespace {

using detail::Q;
using detail::S;

std::string CellText(QTableWidget& t, int row, int col) {
  const QTableWidgetItem* item = t.item(row, col);
  return item ? S(item->text()) : std::string();
}

void SetCellText(QTableWidget& t, int row, int col, const std::string& text) {
  if (QTableWidgetItem* item = t.item(row, col)) item->setText(Q(text));
  else t.setItem(row, col, new QTableWidgetItem(Q(text)));
}

std::string HeaderText(QTableWidget& t, int col) {
  const QTableWidgetItem* h = t.horizontalHeaderItem(col);
  return h ? S(h->text()) : std::string();
}

// Rows are the list items (from 1), column 0 their text, column j SubItems(j).
class ListViewAdapter : public ListView {
 public:
  explicit ListViewAdapter(QTableWidget* w) : t_(w) {}
  int32_t ListItemCount() override { return t_->rowCount(); }
  int32_t AddListItem(const std::string& text) override {
    QTableWidget& t = *t_;
    if (t.columnCount() == 0) t.setColumnCount(1);
    const int row = t.rowCount();
    t.insertRow(row);
    SetCellText(t, row, 0, text);
    return row + 1;
  }
  std::string ListItemText(int32_t i) override { return CellText(*t_, Row(i), 0); }
  bool ListItemSelected(int32_t i) override {
    const int row = Row(i);
    return t_->selectionModel()->isRowSelected(row, QModelIndex());
  }
  void SetListItemSelected(int32_t i, bool s) override {
    const int row = Row(i);
    QTableWidget& t = *t_;
    const auto flags = (s ? QItemSelectionModel::Select : QItemSelectionModel::Deselect) | QItemSelectionModel::Rows;
    t.selectionModel()->select(t.model()->index(row, 0), flags);
  }
  std::string ListSubItem(int32_t i, int32_t sub) override {
    const int row = Row(i);
    if (sub < 1) Raise(380, "Invalid property value");
    return sub < t_->columnCount() ? CellText(*t_, row, sub) : std::string();
  }
  void SetListSubItem(int32_t i, int32_t sub, const std::string& text) override {
    const int row = Row(i);
    if (sub < 1) Raise(380, "Invalid property value");
    QTableWidget& t = *t_;
    if (t.columnCount() <= sub) t.setColumnCount(sub + 1);
    SetCellText(t, row, sub, text);
  }
  int32_t ColumnHeaderCount() override { return t_->columnCount(); }
  std::string ColumnHeaderText(int32_t c) override {
    detail::CheckItem(c, t_->columnCount());
    return HeaderText(*t_, c - 1);
  }
  void AddColumnHeader(const std::string& text) override {
    QTableWidget& t = *t_;
    const int c = t.columnCount();
    t.setColumnCount(c + 1);
    t.setHorizontalHeaderItem(c, new QTableWidgetItem(Q(text)));
  }
  void SetFocus() override { t_->setFocus(); }

 private:
  int Row(int32_t i) {
    detail::CheckItem(i, t_->rowCount());
    return i - 1;
  }
  detail::WidgetRef<QTableWidget> t_;
};

class FlexGridAdapter : public FlexGrid {
 public:
  explicit FlexGridAdapter(QTableWidget* w) : t_(w) {}
  int32_t Rows() override { return t_->rowCount(); }
  void SetRows(int32_t rows) override {
    if (rows < 0) Raise(380, "Invalid property value");
    t_->setRowCount(rows);
  }
  int32_t Cols() override { return t_->columnCount(); }
  void SetCols(int32_t cols) override {
    if (cols < 0) Raise(380, "Invalid property value");
    t_->setColumnCount(cols);
  }
  std::string TextArray(int32_t index) override {
    const auto [r, c] = Cell(index);
    return CellText(*t_, r, c);
  }
  void SetTextArray(int32_t index, const std::string& text) override {
    const auto [r, c] = Cell(index);
    SetCellText(*t_, r, c, text);
  }

 private:
  std::pair<int, int> Cell(int32_t index) {
    QTableWidget& t = *t_;
    detail::CheckIndex(index, int64_t{t.rowCount()} * t.columnCount());
    return {index / t.columnCount(), index % t.columnCount()};
  }
  detail::WidgetRef<QTableWidget> t_;
};

// The grid's first visible row is kept here and shown by scrolling the view.
class DataGridAdapter : public DataGrid {
 public:
  explicit DataGridAdapter(QTableWidget* w) : t_(w) {}
  int32_t ColumnCount() override { return t_->columnCount(); }
  std::string ColumnCaption(int32_t c) override {
    detail::CheckIndex(c, t_->columnCount());
    return HeaderText(*t_, c);
  }
  std::string ColumnText(int32_t c) override {
    QTableWidget& t = *t_;
    detail::CheckIndex(c, t.columnCount());
    const int row = top_ + row_;
    return row < t.rowCount() ? CellText(t, row, c) : std::string();
  }
  int32_t ApproxCount() override { return t_->rowCount(); }
  // The rows that fit the viewport (at least one).
  int32_t VisibleRows() override {
    QTableWidget& t = *t_;
    const int height = t.verticalHeader()->defaultSectionSize();
    return std::max(1, height > 0 ? t.viewport()->height() / height : 1);
  }
  void Scroll(int32_t, int32_t rows) override {
    QTableWidget& t = *t_;
    top_ = static_cast<int32_t>(std::clamp<int64_t>(int64_t{top_} + rows, 0, std::max(0, t.rowCount() - 1)));
    if (t.rowCount() > 0) t.scrollToItem(t.item(top_, 0), QAbstractItemView::PositionAtTop);
  }
  int32_t Row() override { return row_; }
  void SetRow(int32_t row) override {
    if (row < 0 || row >= VisibleRows()) Raise(err::kInvalidCall, "The row is not on the screen");
    row_ = row;
  }

 private:
  detail::WidgetRef<QTableWidget> t_;
  int32_t top_ = 0, row_ = 0;
};

}  // namespace

std::shared_ptr<ListView> AdaptListView(QTableWidget* widget) { return std::make_shared<ListViewAdapter>(widget); }
std::shared_ptr<FlexGrid> AdaptFlexGrid(QTableWidget* widget) { return std::make_shared<FlexGridAdapter>(widget); }
std::shared_ptr<DataGrid> AdaptDataGrid(QTableWidget* widget) { return std::make_shared<DataGridAdapter>(widget); }

}  // namespace vantrove::qt
