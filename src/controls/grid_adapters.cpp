// Flex grids and data grids to and from arrays.
#include "adapter_support.hpp"
#include "adapters.hpp"

namespace vantrove::adapters {

using namespace support;

int16_t FlexGridToArray(const ObjectRef& fg, Variant& varArray, int32_t lngStartRow, int16_t lngStartCol,
                        int32_t lngEndRow, int16_t lngEndCol) {
  if (!varArray.IsArray()) return -1;
  FlexGrid* grid = As<FlexGrid>(fg);
  if (grid == nullptr) return -2;
  return Trapped([&]() -> int16_t {
    const int32_t rows = grid->Rows(), cols = grid->Cols();
    const int64_t endRow = lngEndRow == 0 ? int64_t{rows} - 1 : lngEndRow;
    const int64_t endCol = lngEndCol == 0 ? int64_t{cols} - 1 : lngEndCol;
    // An empty block (end just before start) is allowed; anything outside is not.
    if (lngStartRow < 0 || lngStartCol < 0 || endRow >= rows || endCol >= cols || lngStartRow > endRow + 1 ||
        lngStartCol > endCol + 1) {
      return -3;
    }
    SafeArray out = Matrix(endRow - lngStartRow + 1, endCol - lngStartCol + 1);
    for (int64_t r = lngStartRow; r <= endRow; ++r) {
      for (int64_t c = lngStartCol; c <= endCol; ++c) {
        out.at(static_cast<int32_t>(r - lngStartRow), static_cast<int32_t>(c - lngStartCol)) =
            Variant(grid->TextArray(static_cast<int32_t>(r * cols + c)));
      }
    }
    varArray = Variant(std::move(out));
    return 1;
  });
}

int16_t TwoDArrayToFlexGrid(const Variant& varArray, const ObjectRef& fg) {
  if (!varArray.IsArray()) return -1;
  FlexGrid* grid = As<FlexGrid>(fg);
  if (grid == nullptr) return -2;
  const SafeArray& a = varArray.array();
  if (a.dims() != 2) return -3;
  return Trapped([&]() -> int16_t {
    const std::vector<std::string> cells = CellTexts(a);
    const int32_t rows = static_cast<int32_t>(a.bounds()[0].count());
    const int32_t cols = static_cast<int32_t>(a.bounds()[1].count());
    grid->SetRows(rows);
    grid->SetCols(cols);
    for (size_t i = 0; i < cells.size(); ++i) grid->SetTextArray(static_cast<int32_t>(i), cells[i]);
    return 1;
  });
}

int16_t DataGridToArray(const ObjectRef& dg, Variant& varArray, bool blnIncludeHeadings) {
  if (!varArray.IsArray()) return -1;
  DataGrid* grid = As<DataGrid>(dg);
  if (grid == nullptr) return -2;
  return Trapped([&]() -> int16_t {
    const int32_t cols = grid->ColumnCount();
    const int32_t count = grid->ApproxCount();
    const int32_t first = blnIncludeHeadings ? 1 : 0;
    SafeArray out = Matrix(int64_t{count} + first, cols);
    if (blnIncludeHeadings) {
      for (int32_t c = 0; c < cols; ++c) out.at(0, c) = Variant(grid->ColumnCaption(c));
    }
    const int32_t page = std::max(grid->VisibleRows(), 1);
    grid->Scroll(0, -count);  // back to the top, wherever the grid was
    for (int32_t top = 0; top < count; top += page) {
      if (top > 0) grid->Scroll(0, page);
      const int32_t n = std::min(page, count - top);
      for (int32_t r = 0; r < n; ++r) {
        grid->SetRow(r);
        for (int32_t c = 0; c < cols; ++c) out.at(first + top + r, c) = Variant(grid->ColumnText(c));
      }
    }
    grid->Scroll(0, -count);
    varArray = Variant(std::move(out));
    return 1;
  });
}

}  // namespace vantrove::adapters
