// Recordset, Fields and Field: the members late-bound callers reach by name.
#include "vantrove/recordset.hpp"

#include "../runtime/text_compare.hpp"

namespace vantrove {

namespace {

bool Is(std::string_view member, std::string_view name) { return detail::EqualText(member, name); }

const Variant& Arg(const std::vector<Variant>& args, size_t i) {
  static const Variant missing = Variant::Missing();
  return i < args.size() ? args[i] : missing;
}

bool Given(const Variant& v) { return !v.IsMissing(); }

class FieldObject : public Object {
 public:
  FieldObject(RecordsetRef rs, int index) : rs_(std::move(rs)), index_(index) {}
  std::string ClassName() const override { return "Field"; }
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Value") || member.empty()) {
      if (kind == CallKind::PropertyPut) {
        rs_->SetValue(index_, args.back());
        return Variant();
      }
      return rs_->Value(index_);
    }
    if (kind == CallKind::PropertyPut) Raise(err::kNoSuchMember, "The field property " + std::string(member) + " cannot be set");
    if (Is(member, "Name")) return Variant(rs_->FieldName(index_));
    if (Is(member, "Type")) return Variant(rs_->FieldType(index_));
    if (Is(member, "DefinedSize")) return Variant(rs_->FieldDefinedSize(index_));
    if (Is(member, "Attributes")) return Variant(rs_->FieldAttributes(index_));
    if (Is(member, "OriginalValue") || Is(member, "UnderlyingValue")) return rs_->Value(index_);
    if (Is(member, "ActualSize")) {
      const Variant v = rs_->Value(index_);
      if (v.IsNull() || v.IsEmpty() || v.IsObject()) return Variant(int32_t{0});
      return Variant(static_cast<int32_t>(Len(CStr(v))));
    }
    return Object::Invoke(member, kind, args);
  }

 private:
  RecordsetRef rs_;
  int index_;
};

class FieldsObject : public Object {
 public:
  explicit FieldsObject(RecordsetRef rs) : rs_(std::move(rs)) {}
  std::string ClassName() const override { return "Fields"; }
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (Is(member, "Count")) return Variant(static_cast<int32_t>(rs_->FieldCount()));
    if (Is(member, "Item") || member.empty()) {
      if (args.empty() || args[0].IsMissing()) Raise(err::kArgumentNotOptional, "Fields.Item needs an index or a name");
      const int index = rs_->ResolveField(args[0]);
      if (kind == CallKind::PropertyPut) {
        rs_->SetValue(index, args.back());
        return Variant();
      }
      return Variant(ObjectRef(std::make_shared<FieldObject>(rs_, index)));
    }
    if (Is(member, "Append")) {
      if (args.size() < 2 || args[0].IsMissing() || args[1].IsMissing()) {
        Raise(err::kArgumentNotOptional, "Fields.Append needs a name and a type");
      }
      const int32_t size = Given(Arg(args, 2)) ? CLng(args[2]) : 0;
      const int32_t attributes = Given(Arg(args, 3)) ? CLng(args[3]) : -1;
      rs_->AppendField(CStr(args[0]), CLng(args[1]), size, attributes);
      return Variant();
    }
    if (Is(member, "Delete")) {
      if (args.empty()) Raise(err::kArgumentNotOptional, "Fields.Delete needs an index or a name");
      rs_->DeleteField(args[0]);
      return Variant();
    }
    if (Is(member, "Refresh")) return Variant();
    return Object::Invoke(member, kind, args);
  }

 private:
  RecordsetRef rs_;
};

}  // namespace

// ---- Late binding -------------------------------------------------------------------------

Variant Recordset::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  auto self = std::static_pointer_cast<Recordset>(shared_from_this());
  const bool put = kind == CallKind::PropertyPut;
  if (Is(member, "Fields")) {
    if (args.empty() || (put && args.size() == 1)) return Variant(ObjectRef(std::make_shared<FieldsObject>(self)));
    const int index = ResolveField(args[0]);
    if (put) {
      SetValue(index, args.back());
      return Variant();
    }
    return Variant(ObjectRef(std::make_shared<FieldObject>(self, index)));
  }
  if (Is(member, "Item") || member.empty() || Is(member, "Collect")) {
    if (args.empty() || args[0].IsMissing()) Raise(err::kArgumentNotOptional, "A field index or name is needed");
    const int index = ResolveField(args[0]);
    if (put) {
      SetValue(index, args.back());
      return Variant();
    }
    if (Is(member, "Collect")) return Value(index);
    return Variant(ObjectRef(std::make_shared<FieldObject>(self, index)));
  }
  if (Is(member, "Filter")) {
    if (put) {
      SetFilter(args.back());
      return Variant();
    }
    return filter_;
  }
  if (Is(member, "ActiveConnection")) {
    if (put) {
      SetActiveConnection(args.back());
      return Variant();
    }
    return connection_;
  }
  if (Is(member, "CursorType") || Is(member, "LockType") || Is(member, "CursorLocation")) {
    int32_t& slot = Is(member, "CursorType") ? cursorType_ : (Is(member, "LockType") ? lockType_ : cursorLocation_);
    if (put) {
      slot = CLng(args.back());
      return Variant();
    }
    return Variant(slot);
  }
  if (put) Raise(err::kNoSuchMember, "The recordset member " + std::string(member) + " cannot be set");
  if (Is(member, "RecordCount")) return Variant(static_cast<int32_t>(RecordCount()));
  if (Is(member, "BOF")) return Variant(IsBOF());
  if (Is(member, "EOF")) return Variant(IsEOF());
  if (Is(member, "State")) return Variant(State());
  if (Is(member, "AbsolutePosition")) return Variant(static_cast<int32_t>(AbsolutePosition()));
  if (Is(member, "MoveFirst")) return MoveFirst(), Variant();
  if (Is(member, "MoveNext")) return MoveNext(), Variant();
  if (Is(member, "MovePrevious")) return MovePrevious(), Variant();
  if (Is(member, "MoveLast")) return MoveLast(), Variant();
  if (Is(member, "Move")) {
    if (args.empty()) Raise(err::kArgumentNotOptional, "Move needs a number of records");
    Move(CLng(args[0]));
    return Variant();
  }
  if (Is(member, "AddNew")) {
    if (!Given(Arg(args, 0))) {
      AddNew();
    } else {
      AddNew(args[0], Arg(args, 1));
    }
    return Variant();
  }
  if (Is(member, "Update")) {
    if (!Given(Arg(args, 0))) {
      Update();
    } else {
      Update(args[0], Arg(args, 1));
    }
    return Variant();
  }
  if (Is(member, "UpdateBatch")) return UpdateBatch(), Variant();
  if (Is(member, "CancelUpdate") || Is(member, "CancelBatch")) return CancelUpdate(), Variant();
  if (Is(member, "Delete")) {
    if (Given(Arg(args, 0)) && CLng(args[0]) != 1) {
      Raise(aderr::kInvalidArgument, "Delete removes the current record only (AffectRecords 1)");
    }
    Delete();
    return Variant();
  }
  if (Is(member, "Open")) {
    const Variant& source = Arg(args, 0);
    const Variant& connection = Arg(args, 1);
    if (Given(Arg(args, 2))) cursorType_ = CLng(args[2]);
    if (Given(Arg(args, 3))) lockType_ = CLng(args[3]);
    Open(source, connection);
    return Variant();
  }
  if (Is(member, "Close")) return Close(), Variant();
  if (Is(member, "Clone")) return Variant(ObjectRef(Clone()));
  return Object::Invoke(member, kind, args);
}

}  // namespace vantrove
