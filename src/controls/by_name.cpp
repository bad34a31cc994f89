// The controls' members by their automation names, for late-bound callers
// (the rpc protocol, scripts). Collections and their items are small objects
// that hold the control and an index, so every implementation of an
// interface gets them without writing them again.
#include <memory>

#include "member_names.hpp"
#include "vantrove/controls.hpp"

namespace vantrove {

namespace {

using detail::ArgOr;
using detail::Expect;
using detail::Is;

bool Putting(CallKind kind) { return kind == CallKind::PropertyPut; }

template <class T>
std::shared_ptr<T> Self(T* self) {
  auto p = std::dynamic_pointer_cast<T>(self->weak_from_this().lock());
  if (!p) Raise(err::kObjectNotSet, "The control is not held by a shared reference");
  return p;
}

// A collection member's object: Count, Item (the default member), Add.
template <class Control>
class CollectionObject : public Object {
 public:
  CollectionObject(std::shared_ptr<Control> c, std::string name) : control_(std::move(c)), name_(std::move(name)) {}
  std::string ClassName() const override { return name_; }

 protected:
  std::shared_ptr<Control> control_;
  std::string name_;
};

// One element of a collection member: the control and the element's index.
template <class Control>
class ElementObject : public Object {
 public:
  ElementObject(std::shared_ptr<Control> c, int32_t index, std::string name)
      : control_(std::move(c)), index_(index), name_(std::move(name)) {}
  std::string ClassName() const override { return name_; }
  int32_t index() const { return index_; }

 protected:
  std::shared_ptr<Control> control_;
  int32_t index_;
  std::string name_;
};

// ---- ListView -----------------------------------------------------------------

class ListItemObject : public ElementObject<ListView> {
 public:
  ListItemObject(std::shared_ptr<ListView> v, int32_t i) : ElementObject(std::move(v), i, "ListItem") {}
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Text") || member.empty()) {
      Expect(args, 0);
      return Variant(control_->ListItemText(index_));
    }
    if (Is(member, "Index")) return Variant(index_);
    if (Is(member, "Selected")) {
      if (Putting(kind)) {
        Expect(args, 1);
        control_->SetListItemSelected(index_, CBool(args[0]));
        return Variant();
      }
      return Variant(control_->ListItemSelected(index_));
    }
    if (Is(member, "SubItems")) {
      if (Putting(kind)) {
        Expect(args, 2);
        control_->SetListSubItem(index_, CLng(args[0]), CStr(args[1]));
        return Variant();
      }
      Expect(args, 1);
      return Variant(control_->ListSubItem(index_, CLng(args[0])));
    }
    return Object::Invoke(member, kind, args);
  }
};

class ListItemsObject : public CollectionObject<ListView> {
 public:
  explicit ListItemsObject(std::shared_ptr<ListView> v) : CollectionObject(std::move(v), "ListItems") {}
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Count")) return Variant(control_->ListItemCount());
    if (Is(member, "Item") || member.empty()) {
      Expect(args, 1);
      const int32_t i = CLng(args[0]);
      if (i < 1 || i > control_->ListItemCount()) Raise(35600, "Index out of bounds");
      return Variant(ObjectRef(std::make_shared<ListItemObject>(control_, i)));
    }
    if (Is(member, "Add")) {  // Add([index], [key], [text])
      const int32_t i = control_->AddListItem(CStr(ArgOr(args, 2, Variant(""))));
      return Variant(ObjectRef(std::make_shared<ListItemObject>(control_, i)));
    }
    return Object::Invoke(member, kind, args);
  }
};

class ColumnHeaderObject : public ElementObject<ListView> {
 public:
  ColumnHeaderObject(std::shared_ptr<ListView> v, int32_t i) : ElementObject(std::move(v), i, "ColumnHeader") {}
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Text") || member.empty()) return Variant(control_->ColumnHeaderText(index_));
    if (Is(member, "Index")) return Variant(index_);
    return Object::Invoke(member, kind, args);
  }
};

class ColumnHeadersObject : public CollectionObject<ListView> {
 public:
  explicit ColumnHeadersObject(std::shared_ptr<ListView> v) : CollectionObject(std::move(v), "ColumnHeaders") {}
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Count")) return Variant(control_->ColumnHeaderCount());
    if (Is(member, "Item") || member.empty()) {
      Expect(args, 1);
      const int32_t i = CLng(args[0]);
      if (i < 1 || i > control_->ColumnHeaderCount()) Raise(35600, "Index out of bounds");
      return Variant(ObjectRef(std::make_shared<ColumnHeaderObject>(control_, i)));
    }
    if (Is(member, "Add")) {  // Add([index], [key], [text])
      control_->AddColumnHeader(CStr(ArgOr(args, 2, Variant(""))));
      return Variant(ObjectRef(std::make_shared<ColumnHeaderObject>(control_, control_->ColumnHeaderCount())));
    }
    return Object::Invoke(member, kind, args);
  }
};

// ---- TreeView -----------------------------------------------------------------

class NodeObject : public ElementObject<TreeView> {
 public:
  NodeObject(std::shared_ptr<TreeView> t, int32_t i) : ElementObject(std::move(t), i, "Node") {}
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Text") || member.empty()) return Variant(control_->NodeText(index_));
    if (Is(member, "Index")) return Variant(index_);
    if (Is(member, "FullPath")) return Variant(control_->NodeFullPath(index_));
    if (Is(member, "Parent")) {
      const int32_t parent = control_->NodeParent(index_);
      return Variant(parent == 0 ? ObjectRef() : ObjectRef(std::make_shared<NodeObject>(control_, parent)));
    }
    if (Is(member, "EnsureVisible")) {
      control_->EnsureNodeVisible(index_);
      return Variant(true);
    }
    if (Is(member, "Selected") || Is(member, "Expanded")) {
      const bool selected = Is(member, "Selected");
      if (Putting(kind)) {
        Expect(args, 1);
        if (selected) control_->SetNodeSelected(index_, CBool(args[0]));
        else control_->SetNodeExpanded(index_, CBool(args[0]));
        return Variant();
      }
      return Variant(selected ? control_->NodeSelected(index_) : control_->NodeExpanded(index_));
    }
    return Object::Invoke(member, kind, args);
  }
};

// A node named by a Node object or by its index.
int32_t NodeIndex(const Variant& v) {
  if (v.IsObject()) {
    auto* node = dynamic_cast<NodeObject*>(v.object().get());
    if (node == nullptr) Raise(err::kTypeMismatch);
    return node->index();
  }
  return CLng(v);
}

class NodesObject : public CollectionObject<TreeView> {
 public:
  explicit NodesObject(std::shared_ptr<TreeView> t) : CollectionObject(std::move(t), "Nodes") {}
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Count")) return Variant(control_->NodeCount());
    if (Is(member, "Item") || member.empty()) {
      Expect(args, 1);
      const int32_t i = CLng(args[0]);
      if (i < 1 || i > control_->NodeCount()) Raise(35600, "Index out of bounds");
      return Variant(ObjectRef(std::make_shared<NodeObject>(control_, i)));
    }
    if (Is(member, "Add")) {  // Add([relative], [relationship], [key], [text])
      const Variant relative = ArgOr(args, 0, Variant(int32_t{0}));
      const int32_t rel = CLng(ArgOr(args, 1, Variant(int32_t{1})));
      if (rel < 0 || rel > 4) Raise(err::kInvalidCall);
      const int32_t i = control_->AddNode(NodeIndex(relative), static_cast<NodeRelationship>(rel),
                                          CStr(ArgOr(args, 3, Variant(""))));
      return Variant(ObjectRef(std::make_shared<NodeObject>(control_, i)));
    }
    return Object::Invoke(member, kind, args);
  }
};

// ---- DataGrid ---------------------------------------------------------------------

class ColumnObject : public ElementObject<DataGrid> {
 public:
  ColumnObject(std::shared_ptr<DataGrid> g, int32_t i) : ElementObject(std::move(g), i, "Column") {}
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Caption")) return Variant(control_->ColumnCaption(index_));
    if (Is(member, "Text") || member.empty()) return Variant(control_->ColumnText(index_));
    return Object::Invoke(member, kind, args);
  }
};

class ColumnsObject : public CollectionObject<DataGrid> {
 public:
  explicit ColumnsObject(std::shared_ptr<DataGrid> g) : CollectionObject(std::move(g), "Columns") {}
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Count")) return Variant(control_->ColumnCount());
    if (Is(member, "Item") || member.empty()) {
      Expect(args, 1);
      const int32_t i = CLng(args[0]);
      if (i < 0 || i >= control_->ColumnCount()) Raise(err::kSubscript);
      return Variant(ObjectRef(std::make_shared<ColumnObject>(control_, i)));
    }
    return Object::Invoke(member, kind, args);
  }
};

// A read-only property: raises 438 on a write.
bool Reading(std::string_view member, std::string_view name, CallKind kind) {
  return Is(member, name) && !Putting(kind);
}

}  // namespace

// ---- The controls' own members ------------------------------------------------------

Variant ListControl::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Reading(member, "ListCount", kind)) return Variant(ListCount());
  if (Reading(member, "List", kind)) {
    Expect(args, 1);
    return Variant(List(CLng(args[0])));
  }
  return Object::Invoke(member, kind, args);
}

Variant ListBox::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "Selected")) {
    if (Putting(kind)) {
      Expect(args, 2);
      SetSelected(CLng(args[0]), CBool(args[1]));
      return Variant();
    }
    Expect(args, 1);
    return Variant(Selected(CLng(args[0])));
  }
  return ListControl::Invoke(member, kind, args);
}

Variant DirListBox::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "Path")) {
    if (!Putting(kind)) return Variant(Path());
    Expect(args, 1);
    SetPath(CStr(args[0]));
    return Variant();
  }
  return ListControl::Invoke(member, kind, args);
}

Variant DriveListBox::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "Drive")) {
    if (!Putting(kind)) return Variant(Drive());
    Expect(args, 1);
    SetDrive(CStr(args[0]));
    return Variant();
  }
  return ListControl::Invoke(member, kind, args);
}

Variant FileListBox::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "Selected")) {
    if (Putting(kind)) {
      Expect(args, 2);
      SetSelected(CLng(args[0]), CBool(args[1]));
      return Variant();
    }
    Expect(args, 1);
    return Variant(Selected(CLng(args[0])));
  }
  if (Is(member, "Path") || Is(member, "Pattern")) {
    const bool path = Is(member, "Path");
    if (!Putting(kind)) return Variant(path ? Path() : Pattern());
    Expect(args, 1);
    if (path) SetPath(CStr(args[0]));
    else SetPattern(CStr(args[0]));
    return Variant();
  }
  return ListControl::Invoke(member, kind, args);
}

Variant ListView::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Reading(member, "ListItems", kind)) {
    if (args.empty()) return Variant(ObjectRef(std::make_shared<ListItemsObject>(Self(this))));
    return ListItemsObject(Self(this)).Invoke("Item", CallKind::PropertyGet, args);
  }
  if (Reading(member, "ColumnHeaders", kind)) {
    if (args.empty()) return Variant(ObjectRef(std::make_shared<ColumnHeadersObject>(Self(this))));
    return ColumnHeadersObject(Self(this)).Invoke("Item", CallKind::PropertyGet, args);
  }
  if (Is(member, "SetFocus")) {
    SetFocus();
    return Variant();
  }
  return Object::Invoke(member, kind, args);
}

Variant TreeView::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "PathSeparator")) {
    if (!Putting(kind)) return Variant(PathSeparator());
    Expect(args, 1);
    SetPathSeparator(CStr(args[0]));
    return Variant();
  }
  if (Reading(member, "Nodes", kind)) {
    if (args.empty()) return Variant(ObjectRef(std::make_shared<NodesObject>(Self(this))));
    return NodesObject(Self(this)).Invoke("Item", CallKind::PropertyGet, args);
  }
  return Object::Invoke(member, kind, args);
}

Variant FlexGrid::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "Rows") || Is(member, "Cols")) {
    const bool rows = Is(member, "Rows");
    if (!Putting(kind)) return Variant(rows ? Rows() : Cols());
    Expect(args, 1);
    if (rows) SetRows(CLng(args[0]));
    else SetCols(CLng(args[0]));
    return Variant();
  }
  if (Is(member, "TextArray")) {
    if (Putting(kind)) {
      Expect(args, 2);
      SetTextArray(CLng(args[0]), CStr(args[1]));
      return Variant();
    }
    Expect(args, 1);
    return Variant(TextArray(CLng(args[0])));
  }
  return Object::Invoke(member, kind, args);
}

Variant DataGrid::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Reading(member, "Columns", kind)) {
    if (args.empty()) return Variant(ObjectRef(std::make_shared<ColumnsObject>(Self(this))));
    return ColumnsObject(Self(this)).Invoke("Item", CallKind::PropertyGet, args);
  }
  if (Reading(member, "ApproxCount", kind)) return Variant(ApproxCount());
  if (Reading(member, "VisibleRows", kind)) return Variant(VisibleRows());
  if (Is(member, "Scroll")) {
    Expect(args, 2);
    Scroll(CLng(args[0]), CLng(args[1]));
    return Variant();
  }
  if (Is(member, "Row")) {
    if (!Putting(kind)) return Variant(Row());
    Expect(args, 1);
    SetRow(CLng(args[0]));
    return Variant();
  }
  return Object::Invoke(member, kind, args);
}

}  // namespace vantrove
