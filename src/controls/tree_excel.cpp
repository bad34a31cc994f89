// A tree view into a worksheet: one row per node, in the order the tree shows
// them (each node before its children, children in the order they were
// added), the node's text in the column of its depth: top-level nodes in the
// first column, their children one column to the right, and so on. Cells are
// written as text. The workbook and sheet are chosen, saved and closed as the
// Excel writer does it.
#include "../output/excel_writer.hpp"
#include "adapter_support.hpp"
#include "tree_excel.hpp"

namespace vantrove::adapters {

using namespace support;

namespace {

// Nodes in display order with their depth.
std::vector<std::pair<int32_t, int32_t>> Outline(TreeView& tree) {
  const int32_t n = tree.NodeCount();
  std::vector<std::vector<int32_t>> children(static_cast<size_t>(n) + 1);
  for (int32_t i = 1; i <= n; ++i) {
    const int32_t parent = tree.NodeParent(i);
    children.at(static_cast<size_t>(parent >= 0 && parent <= n ? parent : 0)).push_back(i);
  }
  std::vector<std::pair<int32_t, int32_t>> out;
  std::vector<std::pair<int32_t, int32_t>> stack;  // (node, depth); no recursion for deep trees
  for (auto it = children[0].rbegin(); it != children[0].rend(); ++it) stack.emplace_back(*it, 0);
  while (!stack.empty()) {
    const auto [node, depth] = stack.back();
    stack.pop_back();
    out.emplace_back(node, depth);
    const auto& kids = children[static_cast<size_t>(node)];
    for (auto it = kids.rbegin(); it != kids.rend(); ++it) stack.emplace_back(*it, depth + 1);
  }
  return out;
}

}  // namespace

int16_t TreeViewToExcel(office::Application& app, const ObjectRef& tv, int32_t lngRow, int32_t lngCol,
                        const office::WorkbookChoice& choice, const office::FileTest& fileExists) {
  if (lngRow < 1 || lngCol < 1 || lngCol > 256) return -1;
  TreeView* tree = As<TreeView>(tv);
  if (tree == nullptr) return -2;
  return Trapped([&]() -> int16_t {
    const auto outline = Outline(*tree);
    int32_t depth = 0;
    for (const auto& [node, d] : outline) depth = std::max(depth, d);
    Variant cells(Matrix(static_cast<int64_t>(outline.size()), int64_t{depth} + 1));
    SafeArray& a = cells.array();
    for (size_t r = 0; r < outline.size(); ++r) {
      a.at(static_cast<int32_t>(r), outline[r].second) = Variant(tree->NodeText(outline[r].first));
    }
    office::ExcelTarget t;
    const int16_t rc = office::OpenExcelTarget(app, choice, fileExists, t);
    if (rc != 1) return rc;
    if (!outline.empty()) t.sheet->WriteBlock(lngRow, lngCol, xlsx::ArrayBlock(a), {.asText = true});
    t.workbook->KeepBlocks();  // the workbook may stay open after `cells` is gone
    office::FinishExcelTarget(app, choice, t);
    return 1;
  });
}

}  // namespace vantrove::adapters
