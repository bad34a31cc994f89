// Tree views to and from arrays, and XML files into tree views.
#include <pugixml.hpp>

#include <map>
#include <set>

#include "adapter_support.hpp"
#include "adapters.hpp"

namespace vantrove::adapters {

using namespace support;

namespace {

std::vector<std::string> Split(const std::string& text, const std::string& separator) {
  std::vector<std::string> parts;
  if (separator.empty()) return {text};
  size_t start = 0;
  for (size_t p = text.find(separator); p != std::string::npos; p = text.find(separator, start)) {
    parts.push_back(text.substr(start, p - start));
    start = p + separator.size();
  }
  parts.push_back(text.substr(start));
  return parts;
}

// One tree node to add: its parent among the nodes added before it (-1 for
// the top level) and its text.
struct PlannedNode {
  int64_t parent;
  std::string text;
};

// The XML document as a list of nodes in document order, parents first.
std::vector<PlannedNode> PlanXml(const pugi::xml_document& doc) {
  std::vector<PlannedNode> plan;
  const pugi::xml_node root = doc.document_element();
  if (!root) return plan;
  // Depth first without recursion: a deeply nested file must not exhaust the stack.
  std::vector<std::pair<pugi::xml_node, int64_t>> stack{{root, -1}};
  while (!stack.empty()) {
    const auto [node, parent] = stack.back();
    stack.pop_back();
    const bool text = node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
    plan.push_back({parent, text ? node.value() : node.name()});
    if (text) continue;
    const int64_t self = static_cast<int64_t>(plan.size()) - 1;
    std::vector<pugi::xml_node> children;
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
      const auto t = c.type();
      if (t == pugi::node_element || t == pugi::node_pcdata || t == pugi::node_cdata) children.push_back(c);
    }
    for (auto it = children.rbegin(); it != children.rend(); ++it) stack.emplace_back(*it, self);
  }
  return plan;
}

// Adds the planned nodes; their indexes in the tree, in plan order.
std::vector<int32_t> AddPlanned(TreeView& tree, const std::vector<PlannedNode>& plan) {
  std::vector<int32_t> index(plan.size());
  for (size_t i = 0; i < plan.size(); ++i) {
    const PlannedNode& p = plan[i];
    index[i] = p.parent < 0 ? tree.AddNode(0, NodeRelationship::Last, p.text)
                            : tree.AddNode(index[static_cast<size_t>(p.parent)], NodeRelationship::Child, p.text);
  }
  return index;
}

}  // namespace

int16_t TwoDArrayToTreeView(const Variant& varArray, const ObjectRef& tv, bool blnExpandAll) {
  if (!varArray.IsArray()) return -1;
  TreeView* tree = As<TreeView>(tv);
  if (tree == nullptr) return -2;
  const SafeArray& a = varArray.array();
  if (a.dims() != 2) return -3;
  return Trapped([&]() -> int16_t {
    const std::vector<std::string> cells = CellTexts(a);
    const size_t cols = static_cast<size_t>(a.bounds()[1].count());
    // Plan first: nodes are keyed by the path of texts that leads to them.
    std::map<std::vector<std::string>, int64_t> known;
    std::vector<PlannedNode> plan;
    for (size_t row = 0; cols > 0 && row < cells.size() / cols; ++row) {
      std::vector<std::string> path;
      int64_t parent = -1;
      for (size_t c = 0; c < cols; ++c) {
        const std::string& text = cells[row * cols + c];
        if (text.empty()) break;
        path.push_back(text);
        auto [it, added] = known.emplace(path, static_cast<int64_t>(plan.size()));
        if (added) plan.push_back({parent, text});
        parent = it->second;
      }
    }
    const std::vector<int32_t> index = AddPlanned(*tree, plan);
    if (blnExpandAll) {
      for (int32_t i : index) tree->EnsureNodeVisible(i);
    }
    if (!index.empty()) tree->SetNodeSelected(index[0], true);
    return 1;
  });
}

int16_t TreeViewToTwoDArray(const ObjectRef& tv, Variant& varArray, bool blnSuppressRows) {
  if (!varArray.IsArray()) return -1;
  TreeView* tree = As<TreeView>(tv);
  if (tree == nullptr) return -2;
  return Trapped([&]() -> int16_t {
    const std::string separator = tree->PathSeparator();
    const int32_t n = tree->NodeCount();
    std::vector<std::string> paths;
    paths.reserve(static_cast<size_t>(n));
    for (int32_t i = 1; i <= n; ++i) paths.push_back(tree->NodeFullPath(i));
    // A node has children when another node's path continues its own.
    std::set<std::string> parents;
    if (blnSuppressRows && !separator.empty()) {
      for (const std::string& p : paths) {
        for (size_t at = p.find(separator); at != std::string::npos; at = p.find(separator, at + separator.size())) {
          parents.insert(p.substr(0, at));
        }
      }
    }
    std::vector<std::vector<std::string>> rows;
    size_t cols = 1;
    for (const std::string& p : paths) {
      if (parents.count(p)) continue;
      rows.push_back(Split(p, separator));
      cols = std::max(cols, rows.back().size());
    }
    SafeArray out = Matrix(static_cast<int64_t>(rows.size()), static_cast<int64_t>(cols));
    for (size_t r = 0; r < rows.size(); ++r) {
      for (size_t c = 0; c < rows[r].size(); ++c) {
        out.at(static_cast<int32_t>(r), static_cast<int32_t>(c)) = Variant(std::move(rows[r][c]));
      }
    }
    varArray = Variant(std::move(out));
    return 1;
  });
}

int16_t XMLFileToTreeView(const std::string& strXMLFile, const ObjectRef& tv, bool blnExpandAll) {
  TreeView* tree = As<TreeView>(tv);
  if (tree == nullptr) return -2;
  return Trapped([&]() -> int16_t {
    pugi::xml_document doc;
    // The default options: no DOCTYPE node, only the predefined and numeric
    // character references are expanded, so nothing outside the file is read.
    const unsigned options = pugi::parse_default & ~pugi::parse_doctype;
    if (!doc.load_file(strXMLFile.c_str(), options)) return -1;
    for (int32_t i : AddPlanned(*tree, PlanXml(doc))) {
      if (blnExpandAll) tree->SetNodeExpanded(i, true);
    }
    return 1;
  });
}

}  // namespace vantrove::adapters
