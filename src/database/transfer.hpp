#pragma once
// Internal: the transfer algorithms shared by the database methods. Each
// returns the stage it stopped at; the methods map stages to their own
// result codes. Every failure leaves its reason in LastDatabaseDiagnostic().
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "odbc.hpp"
#include "providers.hpp"

namespace vantrove::database {

// Records why the last database call failed (also written to stderr when
// VANTROVE_DIAGNOSTICS is set); "" clears it.
void SetDiagnostic(const std::string& text);

// An open connection reached through a translated connection string.
struct Session {
  Environment env;
  Connection conn{env};
  Translation route;
};

// Opens `connection` (a provider string, an ODBC string or "DSN=..."). On
// failure: nullptr and the reason as the diagnostic.
std::unique_ptr<Session> OpenSession(const std::string& connection, bool exclusive = false);

enum class WriteStage { Done, NoArray, Connect, OpenTable, TooManyColumns, Runtime };

struct WriteRequest {
  std::string connection;
  std::string table;
  std::string queryBefore;  // run when the table held records (trimmed; "" for none)
  std::string queryAfter;   // run when the table holds records after the insertion
  bool overwrite = false;   // "DELETE FROM table" first when it held records
  bool exclusive = false;   // open a file database for this connection alone
};

// Appends the rows of the two-dimensional array in `array` to the table,
// columns to fields by position, in one transaction.
WriteStage WriteArrayToTable(const Variant& array, const WriteRequest& request);

// Inserts every row of `a` through "head VALUES (...)", where `head` is
// "INSERT INTO table (fields)" naming one field per column of `columns`: in
// batches of parameter arrays, or, when `rowParameters` is not 0, as
// statements of as many rows as keep their parameters within that number.
// Raises when the database refuses a row.
void InsertRows(Connection& c, const std::string& head, const std::vector<ColumnInfo>& columns, const SafeArray& a,
                size_t rowParameters);

// A query's whole result: columns and cells row by row.
struct ResultTable {
  std::vector<ColumnInfo> columns;
  std::vector<Variant> cells;
  size_t rows = 0;
};

// True for drivers whose narrow text is UTF-8 (reading it so skips a
// conversion to UTF-16 and back).
bool Utf8Driver(Connection& c);

enum class ReadStage { Done, Connect, OpenQuery, Runtime };

// Runs `sql` and reads its whole result into `out`.
ReadStage ReadQuery(const std::string& connection, const std::string& sql, ResultTable& out);

}  // namespace vantrove::database
