// QTreeWidget as a TreeView. Nodes are numbered in the order they were added;
// items already in the widget (or added to it by other code) get the next
// numbers in the order they appear. Each item keeps its number in its data.
#include <unordered_map>

#include "vantrove/qt/adapters.hpp"
#include "widget_ref.hpp"

namespace vantrove::qt {

namespace {

using detail::Q;
using detail::S;

constexpr int kNodeRole = Qt::UserRole + 0x5654;  // where an item keeps its node number

class TreeAdapter : public TreeView {
 public:
  explicit TreeAdapter(QTreeWidget* w) : tree_(w) {
    QAbstractItemModel* m = w->model();
    const auto dirty = [this] {
      if (!adding_) dirty_ = true;
    };
    connections_ = {QObject::connect(m, &QAbstractItemModel::rowsInserted, dirty),
                    QObject::connect(m, &QAbstractItemModel::rowsRemoved, dirty),
                    QObject::connect(m, &QAbstractItemModel::modelReset, dirty)};
  }
  ~TreeAdapter() override {
    for (const auto& c : connections_) QObject::disconnect(c);
  }

  std::string PathSeparator() override { return separator_; }
  void SetPathSeparator(const std::string& s) override { separator_ = s; }
  int32_t NodeCount() override { return static_cast<int32_t>(Sync().size()); }

  int32_t AddNode(int32_t relative, NodeRelationship relationship, const std::string& text) override {
    QTreeWidgetItem* parent = nullptr;
    if (relative != 0) {
      QTreeWidgetItem* rel = Node(relative);
      parent = relationship == NodeRelationship::Child ? rel : rel->parent();
    }
    Sync();
    adding_ = true;
    auto* item = new QTreeWidgetItem(QStringList{Q(text)});
    if (parent) parent->addChild(item);
    else tree_->addTopLevelItem(item);
    adding_ = false;
    order_.push_back(item);
    item->setData(0, kNodeRole, static_cast<int>(order_.size()));
    return static_cast<int32_t>(order_.size());
  }

  std::string NodeText(int32_t i) override { return S(Node(i)->text(0)); }
  std::string NodeFullPath(int32_t i) override {
    std::vector<QTreeWidgetItem*> chain;
    for (QTreeWidgetItem* n = Node(i); n; n = n->parent()) chain.push_back(n);
    std::string out;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
      if (it != chain.rbegin()) out += separator_;
      out += S((*it)->text(0));
    }
    return out;
  }
  int32_t NodeParent(int32_t i) override {
    QTreeWidgetItem* parent = Node(i)->parent();
    return parent ? parent->data(0, kNodeRole).toInt() : 0;
  }
  bool NodeSelected(int32_t i) override { return Node(i)->isSelected(); }
  void SetNodeSelected(int32_t i, bool s) override {
    QTreeWidgetItem* n = Node(i);
    if (s) tree_->setCurrentItem(n);
    else n->setSelected(false);
  }
  bool NodeExpanded(int32_t i) override { return Node(i)->isExpanded(); }
  void SetNodeExpanded(int32_t i, bool e) override { Node(i)->setExpanded(e); }
  void EnsureNodeVisible(int32_t i) override {
    QTreeWidgetItem* n = Node(i);
    for (QTreeWidgetItem* p = n->parent(); p; p = p->parent()) p->setExpanded(true);
    tree_->scrollToItem(n);
  }

 private:
  QTreeWidgetItem* Node(int32_t i) {
    const auto& order = Sync();
    detail::CheckItem(i, static_cast<int64_t>(order.size()));
    return order[static_cast<size_t>(i - 1)];
  }

  // The items in node order, rebuilt after other code changed the tree.
  const std::vector<QTreeWidgetItem*>& Sync() {
    QTreeWidget& tree = *tree_;
    if (!dirty_) return order_;
    std::vector<std::pair<int, QTreeWidgetItem*>> numbered;
    std::vector<QTreeWidgetItem*> fresh;
    std::vector<QTreeWidgetItem*> stack;
    for (int k = tree.topLevelItemCount() - 1; k >= 0; --k) stack.push_back(tree.topLevelItem(k));
    while (!stack.empty()) {
      QTreeWidgetItem* n = stack.back();
      stack.pop_back();
      bool ok = false;
      const int number = n->data(0, kNodeRole).toInt(&ok);
      if (ok && number > 0) numbered.emplace_back(number, n);
      else fresh.push_back(n);
      for (int k = n->childCount() - 1; k >= 0; --k) stack.push_back(n->child(k));
    }
    std::sort(numbered.begin(), numbered.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    order_.clear();
    for (const auto& [number, item] : numbered) order_.push_back(item);
    order_.insert(order_.end(), fresh.begin(), fresh.end());
    for (size_t k = 0; k < order_.size(); ++k) order_[k]->setData(0, kNodeRole, static_cast<int>(k + 1));
    dirty_ = false;
    return order_;
  }

  detail::WidgetRef<QTreeWidget> tree_;
  std::vector<QTreeWidgetItem*> order_;
  std::vector<QMetaObject::Connection> connections_;
  std::string separator_ = "\\";
  bool dirty_ = true, adding_ = false;
};

}  // namespace

std::shared_ptr<TreeView> Adapt(QTreeWidget* widget) { return std::make_shared<TreeAdapter>(widget); }

}  // namespace vantrove::qt
