#pragma once
// Internal: a thin layer over the ODBC driver manager (unixODBC). Handles
// are owned by small classes that free them; every failing call raises an
// OdbcError carrying the driver's diagnostic records, so that callers keep
// the classic "trap everything, return a code" shape.
//
// Text crosses the interface as UTF-8 and is handed to the drivers as
// UTF-16 through the wide entry points, so that names and values outside
// ASCII do not depend on the process locale.
//
// Timeouts: a connection attempt gives up after kLoginTimeoutSeconds, and
// every statement after kQueryTimeoutSeconds (the command timeout of the
// transfer algorithm), so that a server that stops answering ends the call
// instead of hanging it.
#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vantrove/runtime.hpp"

namespace vantrove::database {

inline constexpr int kLoginTimeoutSeconds = 10;
inline constexpr int kQueryTimeoutSeconds = 30;

// The error number an ODBC failure carries (the data-access library's
// "provider error" number, so that it reads like one).
inline constexpr int32_t kOdbcErrorNumber = -2147467259;  // 0x80004005

class OdbcError : public RuntimeError {
 public:
  OdbcError(std::string message, std::string sqlState)
      : RuntimeError(kOdbcErrorNumber, message), state_(std::move(sqlState)) {}
  const std::string& state() const noexcept { return state_; }

 private:
  std::string state_;
};

// UTF-8 <-> UTF-16 for the wide ODBC entry points.
std::u16string ToWide(std::string_view utf8);
std::string FromWide(const SQLWCHAR* text, size_t units);

// The diagnostic records of a handle as one line: "[state] message; ...".
std::string Diagnostics(SQLSMALLINT type, SQLHANDLE handle, std::string* firstState = nullptr);

class Environment {
 public:
  Environment();
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  SQLHENV get() const { return env_; }
  // Driver names registered with the driver manager (odbcinst.ini).
  std::vector<std::string> Drivers() const;

 private:
  SQLHENV env_ = SQL_NULL_HENV;
};

class Connection {
 public:
  explicit Connection(Environment& env);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Connects without prompting. Raises OdbcError with the driver's text.
  void Open(const std::string& connectionString);
  bool IsOpen() const { return open_; }
  void Close() noexcept;
  SQLHDBC get() const { return dbc_; }

  // Transactions: BeginTransaction turns autocommit off; Commit and Rollback
  // end the transaction and turn it back on.
  void BeginTransaction();
  void Commit();
  void Rollback() noexcept;
  bool InTransaction() const { return inTransaction_; }

  // SQL_DBMS_NAME ("SQLite", "PostgreSQL", "MariaDB", ...).
  std::string DbmsName();
  // The character that quotes identifiers ("" when the driver has none).
  std::string IdentifierQuote();

 private:
  SQLHDBC dbc_ = SQL_NULL_HDBC;
  bool open_ = false;
  bool inTransaction_ = false;
};

// One column of a result.
struct ColumnInfo {
  std::string name;
  SQLSMALLINT sqlType = 0;
  SQLULEN size = 0;
  SQLSMALLINT digits = 0;
};

class Statement {
 public:
  explicit Statement(Connection& c);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  SQLHSTMT get() const { return stmt_; }

  // Runs `sql` at once; true when it produced a result set.
  bool Execute(const std::string& sql);
  void Prepare(const std::string& sql);
  // Runs the prepared statement with the parameters bound so far.
  void ExecutePrepared();
  void CloseCursor() noexcept;

  int ColumnCount();
  std::vector<ColumnInfo> Columns();
  bool Fetch();
  // The value of column `col` (1-based) of the current row, converted to the
  // Variant a field of its SQL type holds; NULL gives Null.
  Variant Get(int col, SQLSMALLINT sqlType);
  // Raises OdbcError for a failing return code of a call on this statement.
  void Check(SQLRETURN rc, const char* what);
  // Reads text as UTF-8 bytes (SQL_C_CHAR) instead of UTF-16: for drivers
  // whose narrow text is UTF-8 whatever the locale (SQLite's, MariaDB's).
  void ReadTextAsUtf8(bool on) { utf8Text_ = on; }

 private:
  Variant GetUtf8(SQLUSMALLINT col);
  bool utf8Text_ = false;
  SQLHSTMT stmt_ = SQL_NULL_HSTMT;
  std::vector<SQLWCHAR> wide_;  // buffer for text values
  std::string narrow_;
};

// The classic field type code for an SQL type (200 for text, 3 for
// integers, 5 for reals, 7/135 for dates, ...).
int32_t FieldTypeOf(SQLSMALLINT sqlType);

}  // namespace vantrove::database
