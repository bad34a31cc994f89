#pragma once
// Recordset: rows of named fields with a cursor, a row filter and member
// access by name for late-bound callers. One type serves the XML table
// reader, fabricated in-memory recordsets and database results.
//
// Late-bound members (names compare without case):
//   Recordset: Fields, Fields(i), Fields("name"), Item / default member,
//     Collect, RecordCount, BOF, EOF, AbsolutePosition, MoveFirst,
//     MoveNext, MovePrevious, MoveLast, Move, AddNew [fields, values],
//     Update [fields, values], UpdateBatch, CancelUpdate, Delete,
//     Open [source, connection, cursor, lock, options], Close, State,
//     Filter, ActiveConnection, CursorType, LockType, CursorLocation.
//   Fields: Count, Item(i | "name") / default member, Append(name, type,
//     [definedSize], [attributes], [value]), Delete(i | "name"), Refresh.
//   Field: Name, Value / default member, Type, DefinedSize, ActualSize,
//     Attributes, OriginalValue.
//
// Errors are RuntimeErrors with the data-access numbers below and a
// description that says what was wrong.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vantrove/runtime.hpp"

namespace vantrove {

// Field type codes, numbered as the classic data-access library numbers them.
namespace adtype {
inline constexpr int32_t kEmpty = 0;
inline constexpr int32_t kSmallInt = 2;
inline constexpr int32_t kInteger = 3;
inline constexpr int32_t kSingle = 4;
inline constexpr int32_t kDouble = 5;
inline constexpr int32_t kCurrency = 6;
inline constexpr int32_t kDate = 7;
inline constexpr int32_t kBSTR = 8;
inline constexpr int32_t kBoolean = 11;
inline constexpr int32_t kVariant = 12;
inline constexpr int32_t kTinyInt = 16;
inline constexpr int32_t kUnsignedTinyInt = 17;
inline constexpr int32_t kBigInt = 20;
inline constexpr int32_t kChar = 129;
inline constexpr int32_t kWChar = 130;
inline constexpr int32_t kNumeric = 131;
inline constexpr int32_t kDBDate = 133;
inline constexpr int32_t kDBTime = 134;
inline constexpr int32_t kDBTimeStamp = 135;
inline constexpr int32_t kChapter = 136;
inline constexpr int32_t kVarChar = 200;
inline constexpr int32_t kLongVarChar = 201;
inline constexpr int32_t kVarWChar = 202;
inline constexpr int32_t kLongVarWChar = 203;
}  // namespace adtype

// Error numbers of the data-access library.
namespace aderr {
inline constexpr int32_t kInvalidArgument = 3001;  // bad argument, bad filter
inline constexpr int32_t kOpeningFile = 3002;      // file could not be opened
inline constexpr int32_t kReadFile = 3003;         // file could not be read (malformed XML)
inline constexpr int32_t kNoCurrentRecord = 3021;  // BOF or EOF, or the record was deleted
inline constexpr int32_t kIllegalOperation = 3219;
inline constexpr int32_t kItemNotFound = 3265;     // no such field
inline constexpr int32_t kObjectInCollection = 3367;
inline constexpr int32_t kObjectClosed = 3704;
inline constexpr int32_t kObjectOpen = 3705;
inline constexpr int32_t kProviderNotFound = 3706;
inline constexpr int32_t kInvalidConnection = 3709;
}  // namespace aderr

inline constexpr int32_t kStateClosed = 0;
inline constexpr int32_t kStateOpen = 1;

// The connection strings that reach the XML table reader, in the order
// callers try them.
const std::vector<std::string>& XmlProviderConnectionStrings();
bool IsXmlProviderConnectionString(std::string_view text);

class Recordset;

// Database recordsets: the database area installs these when it is built
// in. `check` raises 3706 for a connection string no driver can serve;
// `open` fills a closed recordset with the rows of `source` (a statement or
// a table name) read through `connection` (a connection string or a data
// source name).
struct DatabaseSource {
  void (*check)(const std::string& connection) = nullptr;
  void (*open)(Recordset& rs, const std::string& source, const std::string& connection) = nullptr;
};
void SetDatabaseSource(DatabaseSource source);

// The name of the column that holds a row's own text.
inline constexpr std::string_view kTextFieldName = "$Text";

namespace recordset_detail {
class Table;
struct Schema;
}  // namespace recordset_detail

class Recordset;
using RecordsetRef = std::shared_ptr<Recordset>;

class Recordset : public Object {
 public:
  Recordset();
  ~Recordset() override;
  static RecordsetRef Create();

  std::string ClassName() const override { return "Recordset"; }
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;

  // ---- Fields -------------------------------------------------------------
  int FieldCount() const;
  const std::string& FieldName(int index) const;
  int32_t FieldType(int index) const;
  int32_t FieldDefinedSize(int index) const;
  int32_t FieldAttributes(int index) const;
  // Index of the named field (case-insensitive), or -1.
  int FieldIndex(std::string_view name) const;
  // Index from a number or a name; raises 3265 when there is no such field.
  int ResolveField(const Variant& indexOrName) const;
  // Adds a field to a closed recordset (3705 when open, 3367 for a name in use).
  void AppendField(const std::string& name, int32_t type, int32_t definedSize = 0, int32_t attributes = -1);
  void DeleteField(const Variant& indexOrName);

  // ---- Opening and closing -----------------------------------------------
  // The connection: one of the XML provider strings, a database connection
  // string or data source name (when the database area is built in), or
  // Empty for none. Anything else raises 3706.
  void SetActiveConnection(const Variant& connection);
  const Variant& ActiveConnection() const { return connection_; }
  // Without a source: opens the appended fields as an empty, updatable
  // in-memory recordset. With a source and an XML provider string: the path
  // of an XML file, read by the XML table reader. With a source and a
  // database connection: a statement or table name, read whole through ODBC.
  void Open(const Variant& source = Variant::Missing(), const Variant& connection = Variant::Missing());
  // Reads an XML file regardless of the connection; with `keepFields`, each
  // row keeps only those fields (see ReadXmlRecordset).
  void OpenXmlFile(const std::string& path);
  void OpenXmlFile(const std::string& path, const std::vector<std::string>& keepFields);
  void OpenXmlStream(std::FILE* stream, const std::string& name, const std::vector<std::string>* keepFields);
  void Close();
  bool IsOpen() const { return open_; }
  int32_t State() const { return open_ ? kStateOpen : kStateClosed; }

  // ---- Cursor ---------------------------------------------------------------
  int64_t RecordCount() const;
  bool IsBOF() const;  // BOF (EOF is a macro of <cstdio>)
  bool IsEOF() const;
  void MoveFirst();
  void MoveNext();
  void MovePrevious();
  void MoveLast();
  void Move(int64_t rows);
  // 1-based position in the current view; -2 at BOF, -3 at EOF.
  int64_t AbsolutePosition() const;

  // ---- Values of the current record ----------------------------------------
  Variant Value(int field) const;
  Variant Value(std::string_view name) const { return Value(ResolveField(Variant(name))); }
  void SetValue(int field, const Variant& value);
  // True when the current record's cell of `field` holds a string (then
  // `out` views it; valid until the recordset changes). Cheap access for
  // readers that walk large recordsets.
  bool ValueText(int field, std::string_view& out) const;
  // A new recordset over the rows of a chapter field of the current record.
  RecordsetRef ChildRecordset(int field) const;

  // ---- Changes ----------------------------------------------------------------
  void AddNew();
  // Adds a record with `values` for `fields` (each a name, an index, or an
  // array of them) and stores it at once.
  void AddNew(const Variant& fields, const Variant& values);
  void Update();
  void Update(const Variant& fields, const Variant& values);
  void UpdateBatch();
  void CancelUpdate();
  void Delete();

  // ---- Filter -------------------------------------------------------------------
  // A filter expression (see filter.hpp), or "" / 0 to show every record.
  void SetFilter(const Variant& filter);
  const Variant& Filter() const { return filter_; }

  // A recordset over the same rows with its own cursor and filter.
  RecordsetRef Clone() const;

  // For the XML table reader: adopts a filled table and opens over it.
  void AdoptTable(std::shared_ptr<recordset_detail::Table> table);
  const recordset_detail::Table* table() const { return table_.get(); }

 private:
  void RequireOpen() const;
  void RequireClosed() const;
  uint32_t CurrentRow() const;  // raises 3021 without a current record
  void ResetView();
  void BeginEdit();
  void StoreValues(const Variant& fields, const Variant& values);

  std::shared_ptr<recordset_detail::Table> table_;
  std::shared_ptr<recordset_detail::Schema> schema_;  // kept while closed, for appended fields
  bool open_ = false;
  bool ownFields_ = true;  // fields appended by the caller survive Close
  std::vector<uint32_t> view_;
  int64_t pos_ = 0;
  bool currentDeleted_ = false;
  bool editing_ = false;
  bool editingNew_ = false;
  int64_t positionBeforeAdd_ = 0;
  std::vector<Variant> editSnapshot_;
  Variant connection_;
  Variant filter_ = Variant(std::string());
  int32_t cursorType_ = -1;
  int32_t lockType_ = -1;
  int32_t cursorLocation_ = 2;
};

// Reads an XML file into a new open recordset: the root's element children
// are the rows, a row's attributes and leaf children are its fields (in the
// order first seen in the document), a child element with children of its
// own is a chapter field holding a recordset of those children, and the
// last field, "$Text", holds the text directly inside the row element. A
// root whose children are all leaves with distinct names is one row whose
// fields are those leaves. Files declared ISO-8859-1 (or another single-byte
// encoding) are read as Latin-1; UTF-8 and UTF-16 are recognised.
// External entities and document type definitions are never resolved.
// Raises 3002 when the file cannot be opened and 3003 when it is not
// well-formed XML.
RecordsetRef ReadXmlRecordset(const std::string& path);
// The same, storing only the named fields of each row (names compared
// without case; the others are passed over as they are read): for readers
// that need a few columns of a large file.
RecordsetRef ReadXmlRecordset(const std::string& path, const std::vector<std::string>& keepFields);
// The same from an open stream (8-bit encodings only); `name` names it in
// messages. The stream stays open.
RecordsetRef ReadXmlRecordset(std::FILE* stream, const std::string& name,
                              const std::vector<std::string>* keepFields = nullptr);
// The same from text in memory (for tests and small documents).
RecordsetRef ReadXmlRecordsetFromText(std::string_view xml);

}  // namespace vantrove
