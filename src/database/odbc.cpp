// The ODBC layer: handles, diagnostics, connections, statements and the
// conversion of fetched values into Variants.
#include "odbc.hpp"

#include <sqlucode.h>

#include <cstring>

#include "vantrove/engine/utf8.hpp"
#include "vantrove/recordset.hpp"

namespace vantrove::database {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "unixODBC's SQLWCHAR is two bytes wide");

std::u16string ToWide(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size();) {
    const auto c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80) {
      out.push_back(c);
      ++i;
      continue;
    }
    uint32_t cp = 0;
    engine::DecodeUtf8(utf8, i, cp);
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

std::string FromWide(const SQLWCHAR* text, size_t units) {
  std::string out;
  out.reserve(units);
  for (size_t i = 0; i < units; ++i) {
    uint32_t cp = text[i];
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
      continue;
    }
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < units && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    }
    engine::AppendUtf8(out, cp);
  }
  return out;
}

namespace {

SQLWCHAR* W(std::u16string& s) { return reinterpret_cast<SQLWCHAR*>(s.data()); }

bool Ok(SQLRETURN rc) { return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO; }

}  // namespace

std::string Diagnostics(SQLSMALLINT type, SQLHANDLE handle, std::string* firstState) {
  std::string out;
  for (SQLSMALLINT rec = 1; rec <= 8; ++rec) {
    SQLWCHAR state[8] = {};
    SQLINTEGER native = 0;
    std::u16string text(1024, u'\0');
    SQLSMALLINT len = 0;
    const SQLRETURN rc = SQLGetDiagRecW(type, handle, rec, state, &native, W(text), 1024, &len);
    if (!Ok(rc)) break;
    const std::string st = FromWide(state, 5);
    if (firstState && firstState->empty()) *firstState = st;
    if (!out.empty()) out += "; ";
    out += "[" + st + "] " + FromWide(reinterpret_cast<const SQLWCHAR*>(text.data()),
                                        std::min<size_t>(static_cast<size_t>(std::max<SQLSMALLINT>(len, 0)), 1023));
  }
  return out;
}

// ---- Environment -------------------------------------------------------------------

Environment::Environment() {
  if (!Ok(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env_))) {
    env_ = SQL_NULL_HENV;
    throw OdbcError("The ODBC driver manager could not allocate an environment", "HY001");
  }
  SQLSetEnvAttr(env_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
}

Environment::~Environment() {
  if (env_ != SQL_NULL_HENV) SQLFreeHandle(SQL_HANDLE_ENV, env_);
}

std::vector<std::string> Environment::Drivers() const {
  std::vector<std::string> names;
  SQLCHAR name[512];
  SQLCHAR attrs[2048];
  SQLSMALLINT nameLen = 0, attrLen = 0;
  SQLUSMALLINT direction = SQL_FETCH_FIRST;
  while (Ok(SQLDrivers(env_, direction, name, sizeof name, &nameLen, attrs, sizeof attrs, &attrLen))) {
    names.emplace_back(reinterpret_cast<const char*>(name));
    direction = SQL_FETCH_NEXT;
  }
  return names;
}

// ---- Connection ----------------------------------------------------------------------

Connection::Connection(Environment& env) {
  if (!Ok(SQLAllocHandle(SQL_HANDLE_DBC, env.get(), &dbc_))) {
    dbc_ = SQL_NULL_HDBC;
    throw OdbcError("The ODBC driver manager could not allocate a connection: " +
                        Diagnostics(SQL_HANDLE_ENV, env.get()),
                    "HY001");
  }
}

Connection::~Connection() {
  Close();
  if (dbc_ != SQL_NULL_HDBC) SQLFreeHandle(SQL_HANDLE_DBC, dbc_);
}

void Connection::Open(const std::string& connectionString) {
  SQLSetConnectAttr(dbc_, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(SQLLEN{kLoginTimeoutSeconds}), 0);
  SQLSetConnectAttr(dbc_, SQL_ATTR_CONNECTION_TIMEOUT, reinterpret_cast<SQLPOINTER>(SQLLEN{kQueryTimeoutSeconds}), 0);
  std::u16string in = ToWide(connectionString);
  std::u16string out(2048, u'\0');
  SQLSMALLINT outLen = 0;
  const SQLRETURN rc = SQLDriverConnectW(dbc_, nullptr, W(in), SQL_NTS, W(out), 2048, &outLen,
                                         SQL_DRIVER_NOPROMPT);
  if (!Ok(rc)) {
    std::string state;
    std::string text = Diagnostics(SQL_HANDLE_DBC, dbc_, &state);
    if (text.empty()) text = "the driver manager gave no reason";
    throw OdbcError("The connection could not be opened: " + text, state);
  }
  open_ = true;
}

void Connection::Close() noexcept {
  if (!open_) return;
  if (inTransaction_) Rollback();
  SQLDisconnect(dbc_);
  open_ = false;
}

void Connection::BeginTransaction() {
  const SQLRETURN rc =
      SQLSetConnectAttr(dbc_, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0);
  if (!Ok(rc)) {
    std::string state;
    const std::string text = Diagnostics(SQL_HANDLE_DBC, dbc_, &state);
    throw OdbcError("A transaction could not be started: " + text, state);
  }
  inTransaction_ = true;
}

void Connection::Commit() {
  const SQLRETURN rc = SQLEndTran(SQL_HANDLE_DBC, dbc_, SQL_COMMIT);
  if (!Ok(rc)) {
    std::string state;
    const std::string text = Diagnostics(SQL_HANDLE_DBC, dbc_, &state);
    throw OdbcError("The transaction could not be committed: " + text, state);
  }
  inTransaction_ = false;
  SQLSetConnectAttr(dbc_, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0);
}

void Connection::Rollback() noexcept {
  if (!inTransaction_) return;
  SQLEndTran(SQL_HANDLE_DBC, dbc_, SQL_ROLLBACK);
  inTransaction_ = false;
  SQLSetConnectAttr(dbc_, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0);
}

std::string Connection::DbmsName() {
  SQLCHAR name[256] = {};
  SQLSMALLINT len = 0;
  if (!Ok(SQLGetInfo(dbc_, SQL_DBMS_NAME, name, sizeof name, &len))) return {};
  return std::string(reinterpret_cast<const char*>(name));
}

std::string Connection::IdentifierQuote() {
  SQLCHAR q[8] = {};
  SQLSMALLINT len = 0;
  if (!Ok(SQLGetInfo(dbc_, SQL_IDENTIFIER_QUOTE_CHAR, q, sizeof q, &len))) return "\"";
  std::string s(reinterpret_cast<const char*>(q));
  return s == " " ? std::string() : s;
}

// ---- Statement ----------------------------------------------------------------------------

Statement::Statement(Connection& c) {
  if (!Ok(SQLAllocHandle(SQL_HANDLE_STMT, c.get(), &stmt_))) {
    stmt_ = SQL_NULL_HSTMT;
    throw OdbcError("A statement could not be allocated: " + Diagnostics(SQL_HANDLE_DBC, c.get()), "HY001");
  }
  SQLSetStmtAttr(stmt_, SQL_ATTR_QUERY_TIMEOUT, reinterpret_cast<SQLPOINTER>(SQLLEN{kQueryTimeoutSeconds}), 0);
}

Statement::~Statement() {
  if (stmt_ != SQL_NULL_HSTMT) SQLFreeHandle(SQL_HANDLE_STMT, stmt_);
}

void Statement::Check(SQLRETURN rc, const char* what) {
  if (Ok(rc) || rc == SQL_NO_DATA) return;
  std::string state;
  std::string text = Diagnostics(SQL_HANDLE_STMT, stmt_, &state);
  if (text.empty()) text = "the driver gave no reason (return code " + std::to_string(rc) + ")";
  throw OdbcError(std::string(what) + ": " + text, state);
}

bool Statement::Execute(const std::string& sql) {
  std::u16string w = ToWide(sql);
  Check(SQLExecDirectW(stmt_, W(w), SQL_NTS), ("The statement failed (" + sql + ")").c_str());
  return ColumnCount() > 0;
}

void Statement::Prepare(const std::string& sql) {
  std::u16string w = ToWide(sql);
  Check(SQLPrepareW(stmt_, W(w), SQL_NTS), ("The statement could not be prepared (" + sql + ")").c_str());
}

void Statement::ExecutePrepared() { Check(SQLExecute(stmt_), "The insertion failed"); }

void Statement::CloseCursor() noexcept { SQLFreeStmt(stmt_, SQL_CLOSE); }

int Statement::ColumnCount() {
  SQLSMALLINT n = 0;
  Check(SQLNumResultCols(stmt_, &n), "The result's columns could not be counted");
  return n;
}

std::vector<ColumnInfo> Statement::Columns() {
  const int n = ColumnCount();
  std::vector<ColumnInfo> cols(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    SQLWCHAR name[512] = {};
    SQLSMALLINT len = 0, nullable = 0;
    ColumnInfo& c = cols[static_cast<size_t>(i)];
    Check(SQLDescribeColW(stmt_, static_cast<SQLUSMALLINT>(i + 1), name, 512, &len, &c.sqlType, &c.size, &c.digits,
                          &nullable),
          "A column could not be described");
    c.name = FromWide(name, static_cast<size_t>(std::min<SQLSMALLINT>(std::max<SQLSMALLINT>(len, 0), 511)));
  }
  return cols;
}

bool Statement::Fetch() {
  const SQLRETURN rc = SQLFetch(stmt_);
  if (rc == SQL_NO_DATA) return false;
  Check(rc, "A row could not be fetched");
  return true;
}

Variant Statement::Get(int col, SQLSMALLINT sqlType) {
  const auto c = static_cast<SQLUSMALLINT>(col);
  SQLLEN ind = 0;
  switch (sqlType) {
    case SQL_BIT: {
      unsigned char v = 0;
      Check(SQLGetData(stmt_, c, SQL_C_BIT, &v, sizeof v, &ind), "A value could not be read");
      return ind == SQL_NULL_DATA ? Variant::Null() : Variant(v != 0);
    }
    case SQL_TINYINT:
    case SQL_SMALLINT: {
      SQLSMALLINT v = 0;
      Check(SQLGetData(stmt_, c, SQL_C_SSHORT, &v, sizeof v, &ind), "A value could not be read");
      return ind == SQL_NULL_DATA ? Variant::Null() : Variant(static_cast<int16_t>(v));
    }
    case SQL_INTEGER:
    case SQL_BIGINT: {
      SQLBIGINT v = 0;
      Check(SQLGetData(stmt_, c, SQL_C_SBIGINT, &v, sizeof v, &ind), "A value could not be read");
      if (ind == SQL_NULL_DATA) return Variant::Null();
      if (v >= INT32_MIN && v <= INT32_MAX) return Variant(static_cast<int32_t>(v));
      return Variant(static_cast<double>(v));
    }
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_NUMERIC:
    case SQL_DECIMAL: {
      double v = 0;
      Check(SQLGetData(stmt_, c, SQL_C_DOUBLE, &v, sizeof v, &ind), "A value could not be read");
      return ind == SQL_NULL_DATA ? Variant::Null() : Variant(v);
    }
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIME:
    case SQL_TYPE_TIMESTAMP:
    case SQL_DATE:
    case SQL_TIMESTAMP: {
      SQL_TIMESTAMP_STRUCT t{};
      Check(SQLGetData(stmt_, c, SQL_C_TYPE_TIMESTAMP, &t, sizeof t, &ind), "A value could not be read");
      if (ind == SQL_NULL_DATA) return Variant::Null();
      if (sqlType == SQL_TYPE_TIME) return Variant(DateSerial(1899, 12, 30, t.hour, t.minute, t.second));
      return Variant(DateSerial(t.year, t.month, t.day, t.hour, t.minute, t.second + t.fraction / 1e9));
    }
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY: {
      std::vector<Variant> bytes;
      unsigned char buf[4096];
      for (;;) {
        const SQLRETURN rc = SQLGetData(stmt_, c, SQL_C_BINARY, buf, sizeof buf, &ind);
        if (rc == SQL_NO_DATA) break;
        Check(rc, "A value could not be read");
        if (ind == SQL_NULL_DATA) return Variant::Null();
        const size_t got = (ind == SQL_NO_TOTAL || ind > static_cast<SQLLEN>(sizeof buf)) ? sizeof buf
                                                                                         : static_cast<size_t>(ind);
        for (size_t i = 0; i < got; ++i) bytes.emplace_back(static_cast<uint8_t>(buf[i]));
        if (rc == SQL_SUCCESS) break;
      }
      return Variant(SafeArray::Vector(std::move(bytes)));
    }
    default: break;
  }
  // Everything else is read as text.
  if (utf8Text_) return GetUtf8(c);
  if (wide_.size() < 512) wide_.resize(512);
  narrow_.clear();
  size_t have = 0;  // code units gathered in wide_
  for (;;) {
    const SQLLEN room = static_cast<SQLLEN>((wide_.size() - have) * sizeof(SQLWCHAR));
    const SQLRETURN rc = SQLGetData(stmt_, c, SQL_C_WCHAR, wide_.data() + have, room, &ind);
    if (rc == SQL_NO_DATA) break;
    Check(rc, "A value could not be read");
    if (ind == SQL_NULL_DATA) return Variant::Null();
    const size_t roomUnits = wide_.size() - have - 1;  // the driver ends each piece with a NUL
    if (rc == SQL_SUCCESS) {
      have += (ind == SQL_NO_TOTAL) ? roomUnits : std::min(roomUnits, static_cast<size_t>(ind) / sizeof(SQLWCHAR));
      break;
    }
    have += roomUnits;
    const size_t total = (ind == SQL_NO_TOTAL) ? wide_.size() * 2 : have + static_cast<size_t>(ind) / sizeof(SQLWCHAR) + 1;
    wide_.resize(std::max(total, wide_.size() + 1));
  }
  return Variant(FromWide(wide_.data(), have));
}

Variant Statement::GetUtf8(SQLUSMALLINT c) {
  narrow_.resize(std::max<size_t>(narrow_.size(), 1024));
  size_t have = 0;
  SQLLEN ind = 0;
  for (;;) {
    const SQLRETURN rc =
        SQLGetData(stmt_, c, SQL_C_CHAR, narrow_.data() + have, static_cast<SQLLEN>(narrow_.size() - have), &ind);
    if (rc == SQL_NO_DATA) break;
    Check(rc, "A value could not be read");
    if (ind == SQL_NULL_DATA) return Variant::Null();
    const size_t room = narrow_.size() - have - 1;  // the driver ends each piece with a NUL
    if (rc == SQL_SUCCESS) {
      have += (ind == SQL_NO_TOTAL) ? room : std::min(room, static_cast<size_t>(ind));
      break;
    }
    have += room;
    const size_t total = (ind == SQL_NO_TOTAL) ? narrow_.size() * 2 : have + static_cast<size_t>(ind) + 1;
    narrow_.resize(std::max(total, narrow_.size() + 1));
  }
  return Variant(std::string_view(narrow_.data(), have));
}

int32_t FieldTypeOf(SQLSMALLINT sqlType) {
  switch (sqlType) {
    case SQL_BIT: return adtype::kBoolean;
    case SQL_TINYINT: return adtype::kTinyInt;
    case SQL_SMALLINT: return adtype::kSmallInt;
    case SQL_INTEGER: return adtype::kInteger;
    case SQL_BIGINT: return adtype::kBigInt;
    case SQL_REAL: return adtype::kSingle;
    case SQL_FLOAT:
    case SQL_DOUBLE: return adtype::kDouble;
    case SQL_NUMERIC:
    case SQL_DECIMAL: return adtype::kNumeric;
    case SQL_TYPE_DATE:
    case SQL_DATE: return adtype::kDBDate;
    case SQL_TYPE_TIME: return adtype::kDBTime;
    case SQL_TYPE_TIMESTAMP:
    case SQL_TIMESTAMP: return adtype::kDBTimeStamp;
    case SQL_WCHAR: return adtype::kWChar;
    case SQL_WVARCHAR: return adtype::kVarWChar;
    case SQL_WLONGVARCHAR: return adtype::kLongVarWChar;
    case SQL_CHAR: return adtype::kChar;
    case SQL_LONGVARCHAR: return adtype::kLongVarChar;
    case SQL_BINARY: return 128;
    case SQL_VARBINARY: return 204;
    case SQL_LONGVARBINARY: return 205;
    default: return adtype::kVarChar;
  }
}

}  // namespace vantrove::database
