// Opening connections, the array-to-table transfer and reading query results.
//
// The table is "opened" the way a static client-side recordset opens one:
// its fields are those of "SELECT * FROM table", and its record count is the
// count at opening. That count decides whether the query before insertion
// (or the overwrite deletion) runs; after the insertion it has grown by the
// rows added, which decides whether the query after insertion runs.
#include "transfer.hpp"

#include <cstdio>

#include "vantrove/output.hpp"

namespace vantrove::database {

namespace {
thread_local std::string lastDiagnostic;
}  // namespace

void SetDiagnostic(const std::string& text) {
  lastDiagnostic = text;
  if (!text.empty() && DiagnosticsWanted()) std::fprintf(stderr, "vantrove: %s\n", text.c_str());
}

}  // namespace vantrove::database

namespace vantrove {
std::string LastDatabaseDiagnostic() { return database::lastDiagnostic; }
}  // namespace vantrove

namespace vantrove::database {

std::unique_ptr<Session> OpenSession(const std::string& connection, bool exclusive) {
  try {
    auto s = std::make_unique<Session>();
    s->route = Translate(connection, s->env.Drivers(), exclusive);
    if (!s->route.refusal.empty()) {
      SetDiagnostic(s->route.refusal);
      return nullptr;
    }
    s->conn.Open(s->route.odbc);
    if (s->route.exclusive) {
      // A file database held for this connection alone until it closes.
      Statement st(s->conn);
      st.Execute("PRAGMA locking_mode=EXCLUSIVE");
      st.CloseCursor();
      Statement lock(s->conn);
      lock.Execute("BEGIN EXCLUSIVE");
      lock.Execute("COMMIT");
    }
    return s;
  } catch (const RuntimeError& e) {
    SetDiagnostic(e.description());
  } catch (const std::exception& e) {
    SetDiagnostic(e.what());
  }
  return nullptr;
}

namespace {

int64_t CountRecords(Connection& c, const std::string& table) {
  Statement st(c);
  st.Execute("SELECT COUNT(*) FROM " + table);
  if (!st.Fetch()) return 0;
  return static_cast<int64_t>(CDbl(st.Get(1, SQL_DOUBLE)));
}

void RunCommand(Connection& c, const std::string& sql) {
  Statement st(c);
  st.Execute(sql);
}

std::string Quoted(const std::string& name, const std::string& quote) {
  if (quote.empty()) return name;
  std::string out = quote;
  for (char ch : name) {
    out.push_back(ch);
    if (std::string(1, ch) == quote) out.push_back(ch);
  }
  return out + quote;
}

}  // namespace

WriteStage WriteArrayToTable(const Variant& array, const WriteRequest& request) {
  SetDiagnostic("");
  if (!array.IsArray()) {
    SetDiagnostic("The data is not an array (it is a " + array.TypeName() + ")");
    return WriteStage::NoArray;
  }
  std::unique_ptr<Session> s = OpenSession(request.connection, request.exclusive);
  if (!s) return WriteStage::Connect;
  Connection& c = s->conn;
  std::vector<ColumnInfo> fields;
  try {
    Statement st(c);
    st.Execute("SELECT * FROM " + request.table + " WHERE 1=0");
    fields = st.Columns();
  } catch (const RuntimeError& e) {
    SetDiagnostic("The table " + request.table + " could not be opened: " + e.description());
    return WriteStage::OpenTable;
  }
  const bool needCount =
      request.overwrite || !Trim(request.queryBefore).empty() || !Trim(request.queryAfter).empty();
  try {
    const int64_t records = needCount ? CountRecords(c, request.table) : 0;
    c.BeginTransaction();
    const std::string before = Trim(request.queryBefore);
    if (!before.empty() && records >= 1) RunCommand(c, before);
    if (request.overwrite && records > 0) RunCommand(c, "DELETE FROM " + request.table);
    const SafeArray& a = array.array();
    const int64_t columns = int64_t{a.UBound(2)} + 1;  // whatever the lower bound is
    if (columns > static_cast<int64_t>(fields.size())) {
      c.Rollback();
      SetDiagnostic("The array has " + std::to_string(columns) + " columns (upper bound " +
                    std::to_string(a.UBound(2)) + " + 1) but the table " + request.table + " has " +
                    std::to_string(fields.size()) + " fields; nothing was written");
      return WriteStage::TooManyColumns;
    }
    const int64_t rows = a.bounds()[0].count();
    const int64_t width = a.bounds()[1].count();
    if (rows > 0 && width > 0) {
      std::vector<ColumnInfo> used(fields.begin(), fields.begin() + width);
      const std::string quote = c.IdentifierQuote();
      std::string head = "INSERT INTO " + request.table + " (";
      for (size_t k = 0; k < used.size(); ++k) head += (k ? ", " : "") + Quoted(used[k].name, quote);
      head += ")";
      // PostgreSQL's driver runs parameter arrays a row at a time, and the
      // SQLite driver parses its statement again for every row: both take
      // many rows per statement instead.
      const std::string dbms = c.DbmsName();
      const size_t rowParameters = dbms == "PostgreSQL" ? 4000 : (dbms == "SQLite" ? 30000 : 0);
      InsertRows(c, head, used, a, rowParameters);
    }
    const std::string after = Trim(request.queryAfter);
    if (!after.empty() && records + rows >= 1) RunCommand(c, after);
    c.Commit();
    return WriteStage::Done;
  } catch (const RuntimeError& e) {
    c.Rollback();
    SetDiagnostic("The transfer into " + request.table + " was rolled back: " +
                  (e.description().empty() ? std::string(ErrorDescription(e.number())) : e.description()));
  } catch (const std::exception& e) {
    c.Rollback();
    SetDiagnostic(std::string("The transfer into ") + request.table + " was rolled back: " + e.what());
  }
  return WriteStage::Runtime;
}

bool Utf8Driver(Connection& c) {
  const std::string dbms = c.DbmsName();
  return dbms == "SQLite" || dbms == "MariaDB" || dbms == "MySQL";
}

ReadStage ReadQuery(const std::string& connection, const std::string& sql, ResultTable& out) {
  SetDiagnostic("");
  out = ResultTable{};
  std::unique_ptr<Session> s = OpenSession(connection);
  if (!s) return ReadStage::Connect;
  std::unique_ptr<Statement> st;
  try {
    st = std::make_unique<Statement>(s->conn);
    st->ReadTextAsUtf8(Utf8Driver(s->conn));
    if (!st->Execute(sql)) {
      SetDiagnostic("The statement returned no records: " + sql);
      return ReadStage::Runtime;
    }
    out.columns = st->Columns();
  } catch (const RuntimeError& e) {
    SetDiagnostic(e.description());
    return ReadStage::OpenQuery;
  }
  try {
    const int n = static_cast<int>(out.columns.size());
    while (st->Fetch()) {
      for (int i = 0; i < n; ++i) out.cells.push_back(st->Get(i + 1, out.columns[static_cast<size_t>(i)].sqlType));
      ++out.rows;
    }
    return ReadStage::Done;
  } catch (const RuntimeError& e) {
    SetDiagnostic(e.description());
  } catch (const std::exception& e) {
    SetDiagnostic(e.what());
  }
  return ReadStage::Runtime;
}

}  // namespace vantrove::database
