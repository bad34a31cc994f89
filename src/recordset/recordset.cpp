// Recordset: the typed API (fields, opening, cursor, values, filter). The
// members late-bound callers reach by name are in recordset_members.cpp.
#include "vantrove/recordset.hpp"

#include <algorithm>

#include "table.hpp"
#include "vantrove/recordset/filter.hpp"

namespace vantrove {

using recordset_detail::FieldDef;
using recordset_detail::Schema;
using recordset_detail::Table;

namespace {

constexpr const char* kClosedText = "Operation is not allowed when the object is closed.";
constexpr const char* kOpenText = "Operation is not allowed when the object is open.";
constexpr const char* kNoCurrentText =
    "Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a current "
    "record.";

bool Given(const Variant& v) { return !v.IsMissing(); }

// The value a field of `type` stores for `v`, converted as the field's type
// asks. Empty and Null stay as they are.
Variant CoerceToField(int32_t type, const Variant& v) {
  if (v.IsEmpty() || v.IsNull() || v.IsMissing()) return v.IsMissing() ? Variant() : v;
  switch (type) {
    case adtype::kBSTR:
    case adtype::kChar:
    case adtype::kWChar:
    case adtype::kVarChar:
    case adtype::kLongVarChar:
    case adtype::kVarWChar:
    case adtype::kLongVarWChar: return Variant(CStr(v));
    case adtype::kSmallInt: return Variant(CInt(v));
    case adtype::kInteger: return Variant(CLng(v));
    case adtype::kSingle: return Variant(CSng(v));
    case adtype::kDouble:
    case adtype::kBigInt:
    case adtype::kNumeric: return Variant(CDbl(v));
    case adtype::kCurrency: return Variant(CCur(v));
    case adtype::kDate:
    case adtype::kDBDate:
    case adtype::kDBTime:
    case adtype::kDBTimeStamp: return Variant(CDate(v));
    case adtype::kBoolean: return Variant(CBool(v));
    case adtype::kTinyInt: return Variant(CInt(v));
    case adtype::kUnsignedTinyInt: return Variant(CByte(v));
    default: return v;
  }
}

class RowCells : public filter::CellSource {
 public:
  RowCells(const Table& t, uint32_t row) : t_(t), row_(row) {}
  bool Text(int field, std::string_view& out) const override { return t_.GetText(row_, field, out); }
  Variant Value(int field) const override { return t_.Get(row_, field); }

 private:
  const Table& t_;
  uint32_t row_;
};

struct Registrar {
  Registrar() {
    RegisterCreatableClass("Recordset", [] { return ObjectRef(Recordset::Create()); });
    RegisterCreatableClass("ADODB.Recordset", [] { return ObjectRef(Recordset::Create()); });
  }
};
const Registrar registrar;

}  // namespace

namespace {
DatabaseSource& InstalledDatabaseSource() {
  static DatabaseSource source;
  return source;
}
}  // namespace

void SetDatabaseSource(DatabaseSource source) { InstalledDatabaseSource() = source; }

const std::vector<std::string>& XmlProviderConnectionStrings() {
  static const std::vector<std::string> strings = {
      "Provider=MSDAOSP; Data Source=MSXML2.DSOControl;",
      "Provider=MSDAOSP; Data Source=MSXML2.DSOControl.2.6;",
      "Provider=MSDAOSP; Data Source=MSXML2.DSOControl.3.0;",
      "Provider=MSDAOSP; Data Source=MSXML2.DSOControl.4.0;",
      "Provider=MSDAOSP; Data Source=MSXML2.DSOControl.5.0;",
  };
  return strings;
}

bool IsXmlProviderConnectionString(std::string_view text) {
  const auto& all = XmlProviderConnectionStrings();
  return std::find(all.begin(), all.end(), text) != all.end();
}

Recordset::Recordset() : schema_(std::make_shared<Schema>()) {}
Recordset::~Recordset() = default;

RecordsetRef Recordset::Create() { return std::make_shared<Recordset>(); }

// ---- Fields -------------------------------------------------------------------------

int Recordset::FieldCount() const { return schema_->Count(); }
const std::string& Recordset::FieldName(int index) const { return schema_->At(index).name; }
int32_t Recordset::FieldType(int index) const { return schema_->At(index).type; }
int32_t Recordset::FieldDefinedSize(int index) const { return schema_->At(index).definedSize; }
int32_t Recordset::FieldAttributes(int index) const { return schema_->At(index).attributes; }
int Recordset::FieldIndex(std::string_view name) const { return schema_->Find(name); }

int Recordset::ResolveField(const Variant& indexOrName) const {
  if (indexOrName.IsString()) {
    const int i = schema_->Find(indexOrName.str());
    if (i < 0) {
      Raise(aderr::kItemNotFound, "Item cannot be found in the collection corresponding to the requested name or "
                                  "ordinal: the recordset has no field named " + indexOrName.str());
    }
    return i;
  }
  if (indexOrName.IsNumberLike()) {
    const int32_t i = CLng(indexOrName);
    if (i < 0 || i >= schema_->Count()) {
      Raise(aderr::kItemNotFound, "Item cannot be found in the collection corresponding to the requested name or "
                                  "ordinal: the recordset has no field at position " + std::to_string(i));
    }
    return i;
  }
  Raise(aderr::kInvalidArgument, "A field is named by its position or its name, not by a " + indexOrName.TypeName());
}

void Recordset::AppendField(const std::string& name, int32_t type, int32_t definedSize, int32_t attributes) {
  if (open_) Raise(aderr::kIllegalOperation, "Fields can be appended only while the recordset is closed");
  if (!ownFields_) {
    schema_ = std::make_shared<Schema>();
    ownFields_ = true;
  }
  if (name.empty()) Raise(aderr::kInvalidArgument, "A field needs a name");
  if (schema_->Find(name) >= 0) {
    Raise(aderr::kObjectInCollection, "Object is already in collection. Cannot append: the field " + name);
  }
  FieldDef def;
  def.name = name;
  def.type = type;
  def.definedSize = definedSize;
  def.attributes = attributes;
  if (type == adtype::kChapter) def.child = std::make_shared<Schema>();
  schema_->Add(std::move(def));
}

void Recordset::DeleteField(const Variant& indexOrName) {
  if (open_) Raise(aderr::kIllegalOperation, "Fields can be deleted only while the recordset is closed");
  const int i = ResolveField(indexOrName);
  if (schema_->IsText(i)) Raise(aderr::kIllegalOperation, "The $Text field cannot be deleted");
  schema_->Remove(i);
}

// ---- Opening and closing ----------------------------------------------------------

void Recordset::RequireOpen() const {
  if (!open_) Raise(aderr::kObjectClosed, kClosedText);
}

void Recordset::RequireClosed() const {
  if (open_) Raise(aderr::kObjectOpen, kOpenText);
}

void Recordset::SetActiveConnection(const Variant& connection) {
  const bool none = connection.IsMissing() || connection.IsEmpty() || connection.IsNull() ||
                    (connection.IsObject() && !connection.object()) ||
                    (connection.IsString() && connection.str().empty());
  if (none) {
    connection_ = Variant();
    return;
  }
  RequireClosed();
  if (!connection.IsString()) {
    Raise(aderr::kInvalidArgument, "The connection must be given as a connection string, not a " + connection.TypeName());
  }
  const DatabaseSource& db = InstalledDatabaseSource();
  if (!IsXmlProviderConnectionString(connection.str()) && db.check) {
    db.check(connection.str());
  } else if (!IsXmlProviderConnectionString(connection.str())) {
    Raise(aderr::kProviderNotFound,
          "Provider cannot be found. It may not be properly installed. (connection string \"" + connection.str() +
              "\"; this recordset reaches XML files through \"" + XmlProviderConnectionStrings().front() + "\")");
  }
  connection_ = connection;
}

void Recordset::Open(const Variant& source, const Variant& connection) {
  RequireClosed();
  if (Given(connection)) SetActiveConnection(connection);
  const bool noSource = source.IsMissing() || source.IsEmpty() || source.IsNull() ||
                        (source.IsString() && source.str().empty());
  if (noSource) {
    // A fabricated recordset over the appended fields.
    if (!ownFields_) {
      schema_ = std::make_shared<Schema>();
      ownFields_ = true;
    }
    table_ = std::make_shared<Table>(schema_, nullptr);
    open_ = true;
    filter_ = Variant(std::string());
    ResetView();
    return;
  }
  if (!source.IsString()) {
    Raise(aderr::kInvalidArgument, "A recordset opens from a file name, not from a " + source.TypeName());
  }
  if (!connection_.IsString()) {
    Raise(aderr::kInvalidConnection,
          "The connection cannot be used to perform this operation. It is either closed or invalid in this context. "
          "(set ActiveConnection to an XML provider connection string before opening " + source.str() + ")");
  }
  const DatabaseSource& db = InstalledDatabaseSource();
  if (!IsXmlProviderConnectionString(connection_.str()) && db.open) {
    db.open(*this, source.str(), connection_.str());
    return;
  }
  OpenXmlFile(source.str());
}

void Recordset::OpenXmlFile(const std::string& path) {
  RequireClosed();
  RecordsetRef read = ReadXmlRecordset(path);
  AdoptTable(read->table_);
}

void Recordset::OpenXmlFile(const std::string& path, const std::vector<std::string>& keepFields) {
  RequireClosed();
  RecordsetRef read = ReadXmlRecordset(path, keepFields);
  AdoptTable(read->table_);
}

void Recordset::OpenXmlStream(std::FILE* stream, const std::string& name, const std::vector<std::string>* keepFields) {
  RequireClosed();
  RecordsetRef read = ReadXmlRecordset(stream, name, keepFields);
  AdoptTable(read->table_);
}

void Recordset::AdoptTable(std::shared_ptr<Table> table) {
  RequireClosed();
  table_ = std::move(table);
  schema_ = table_->schema();
  ownFields_ = false;
  open_ = true;
  filter_ = Variant(std::string());
  ResetView();
}

void Recordset::Close() {
  RequireOpen();
  table_.reset();
  view_.clear();
  view_.shrink_to_fit();
  open_ = false;
  editing_ = editingNew_ = currentDeleted_ = false;
  editSnapshot_.clear();
  filter_ = Variant(std::string());
  pos_ = 0;
  if (!ownFields_) {
    schema_ = std::make_shared<Schema>();
    ownFields_ = true;
  }
}

// ---- Cursor ----------------------------------------------------------------------------

void Recordset::ResetView() {
  view_.clear();
  const uint32_t n = table_ ? table_->RowCount() : 0;
  view_.reserve(n);
  for (uint32_t r = 0; r < n; ++r) {
    if (!table_->Deleted(r)) view_.push_back(r);
  }
  pos_ = 0;
  currentDeleted_ = false;
}

int64_t Recordset::RecordCount() const {
  RequireOpen();
  return static_cast<int64_t>(view_.size());
}

bool Recordset::IsBOF() const {
  RequireOpen();
  return view_.empty() || pos_ < 0;
}

bool Recordset::IsEOF() const {
  RequireOpen();
  return view_.empty() || pos_ >= static_cast<int64_t>(view_.size());
}

void Recordset::MoveFirst() {
  RequireOpen();
  if (editing_) Update();
  pos_ = 0;
  currentDeleted_ = false;
}

void Recordset::MoveLast() {
  RequireOpen();
  if (editing_) Update();
  pos_ = view_.empty() ? 0 : static_cast<int64_t>(view_.size()) - 1;
  currentDeleted_ = false;
}

void Recordset::MoveNext() {
  RequireOpen();
  if (editing_) Update();
  if (currentDeleted_) {
    currentDeleted_ = false;  // the cursor already stands on the next record
    return;
  }
  if (IsEOF()) Raise(aderr::kNoCurrentRecord, kNoCurrentText);
  ++pos_;
}

void Recordset::MovePrevious() {
  RequireOpen();
  if (editing_) Update();
  if (currentDeleted_) {
    currentDeleted_ = false;
    --pos_;
    return;
  }
  if (IsBOF()) Raise(aderr::kNoCurrentRecord, kNoCurrentText);
  --pos_;
}

void Recordset::Move(int64_t rows) {
  RequireOpen();
  if (editing_) Update();
  if (rows == 0) return;
  if ((rows > 0 && IsEOF()) || (rows < 0 && IsBOF())) Raise(aderr::kNoCurrentRecord, kNoCurrentText);
  int64_t p = pos_ + rows - (currentDeleted_ && rows > 0 ? 1 : 0);
  currentDeleted_ = false;
  pos_ = std::clamp<int64_t>(p, -1, static_cast<int64_t>(view_.size()));
}

int64_t Recordset::AbsolutePosition() const {
  RequireOpen();
  if (IsBOF()) return view_.empty() ? -3 : -2;
  if (IsEOF()) return -3;
  return pos_ + 1;
}

uint32_t Recordset::CurrentRow() const {
  RequireOpen();
  if (currentDeleted_ || view_.empty() || pos_ < 0 || pos_ >= static_cast<int64_t>(view_.size())) {
    Raise(aderr::kNoCurrentRecord, kNoCurrentText);
  }
  return view_[static_cast<size_t>(pos_)];
}

// ---- Values ------------------------------------------------------------------------------

Variant Recordset::Value(int field) const {
  const uint32_t row = CurrentRow();
  const FieldDef& def = schema_->At(field);
  if (def.type == adtype::kChapter) return Variant(ObjectRef(ChildRecordset(field)));
  return table_->Get(row, field);
}

bool Recordset::ValueText(int field, std::string_view& out) const {
  return table_->GetText(CurrentRow(), field, out);
}

RecordsetRef Recordset::ChildRecordset(int field) const {
  const uint32_t row = CurrentRow();
  const FieldDef& def = schema_->At(field);
  if (def.type != adtype::kChapter) Raise(aderr::kInvalidArgument, "The field " + def.name + " is not a chapter");
  std::shared_ptr<Table> child = table_->Child(row, field);
  if (!child) {
    if (!def.child) const_cast<FieldDef&>(def).child = std::make_shared<Schema>();
    child = std::make_shared<Table>(def.child, table_->pool());
  }
  RecordsetRef rs = Create();
  rs->AdoptTable(std::move(child));
  return rs;
}

void Recordset::BeginEdit() {
  if (editing_) return;
  const uint32_t row = CurrentRow();
  editSnapshot_.clear();
  for (int f = 0; f < schema_->Count(); ++f) editSnapshot_.push_back(table_->Get(row, f));
  editing_ = true;
  editingNew_ = false;
}

void Recordset::SetValue(int field, const Variant& value) {
  const uint32_t row = CurrentRow();
  const FieldDef& def = schema_->At(field);
  if (def.type == adtype::kChapter) Raise(aderr::kInvalidArgument, "The chapter field " + def.name + " cannot be set");
  Variant stored = CoerceToField(def.type, value);
  BeginEdit();
  table_->Set(row, field, stored);
}

void Recordset::AddNew() {
  RequireOpen();
  if (editing_) Update();
  positionBeforeAdd_ = pos_;
  const uint32_t row = table_->AddRow();
  view_.push_back(row);
  pos_ = static_cast<int64_t>(view_.size()) - 1;
  currentDeleted_ = false;
  editing_ = true;
  editingNew_ = true;
  editSnapshot_.clear();
}

void Recordset::StoreValues(const Variant& fields, const Variant& values) {
  if (fields.IsMissing()) return;
  if (fields.IsArray()) {
    const SafeArray& names = fields.array();
    if (!values.IsArray()) Raise(aderr::kInvalidArgument, "A list of fields needs a list of values");
    const SafeArray& vals = values.array();
    if (names.size() != vals.size()) {
      Raise(aderr::kInvalidArgument, "The list of fields has " + std::to_string(names.size()) +
                                         " names but the list of values " + std::to_string(vals.size()) + " values");
    }
    for (size_t i = 0; i < names.size(); ++i) SetValue(ResolveField(names.data()[i]), vals.data()[i]);
    return;
  }
  SetValue(ResolveField(fields), values);
}

void Recordset::AddNew(const Variant& fields, const Variant& values) {
  AddNew();
  if (fields.IsMissing()) return;
  StoreValues(fields, values);
  Update();
}

void Recordset::Update() {
  RequireOpen();
  editing_ = editingNew_ = false;
  editSnapshot_.clear();
}

void Recordset::Update(const Variant& fields, const Variant& values) {
  RequireOpen();
  StoreValues(fields, values);
  Update();
}

void Recordset::UpdateBatch() { Update(); }

void Recordset::CancelUpdate() {
  RequireOpen();
  if (editingNew_) {
    const uint32_t row = view_.back();
    table_->MarkDeleted(row, true);
    view_.pop_back();
    pos_ = positionBeforeAdd_;
  } else if (editing_) {
    const uint32_t row = CurrentRow();
    for (size_t f = 0; f < editSnapshot_.size(); ++f) table_->Set(row, static_cast<int>(f), editSnapshot_[f]);
  }
  editing_ = editingNew_ = false;
  editSnapshot_.clear();
}

void Recordset::Delete() {
  const uint32_t row = CurrentRow();
  table_->MarkDeleted(row, true);
  view_.erase(view_.begin() + pos_);
  currentDeleted_ = true;
  editing_ = editingNew_ = false;
  editSnapshot_.clear();
}

// ---- Filter ---------------------------------------------------------------------------------

void Recordset::SetFilter(const Variant& f) {
  RequireOpen();
  if (editing_) Update();
  std::string text;
  if (f.IsEmpty() || f.IsNull() || f.IsMissing()) {
    text.clear();
  } else if (f.IsString()) {
    text = Trim(f.str());
  } else if (f.IsNumberLike()) {
    if (CLng(f) != 0) Raise(aderr::kInvalidArgument, "Only the filter constant 0 (no filter) is supported");
    ResetView();
    filter_ = Variant(int32_t{0});
    return;
  } else {
    Raise(aderr::kInvalidArgument, "A filter is an expression string, not a " + f.TypeName());
  }
  if (text.empty()) {
    ResetView();
    filter_ = Variant(std::string());
    return;
  }
  filter::Expression e = filter::Expression::Parse(text);
  e.Bind([this](std::string_view name) { return schema_->Find(name); });
  std::vector<uint32_t> view;
  const uint32_t n = table_->RowCount();
  for (uint32_t r = 0; r < n; ++r) {
    if (table_->Deleted(r)) continue;
    if (e.Matches(RowCells(*table_, r))) view.push_back(r);
  }
  view_ = std::move(view);
  pos_ = 0;
  currentDeleted_ = false;
  filter_ = f;
}

RecordsetRef Recordset::Clone() const {
  RequireOpen();
  RecordsetRef rs = Create();
  rs->AdoptTable(table_);
  rs->ownFields_ = ownFields_;
  return rs;
}

}  // namespace vantrove
