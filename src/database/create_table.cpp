// Tables made for exported data: text columns named after the headings.
#include "transfer.hpp"
#include "vantrove/component.hpp"
#include "vantrove/database.hpp"

namespace vantrove::database {

namespace {

std::string QuotedName(const std::string& name, const std::string& quote) {
  if (quote.empty()) return name;
  std::string out = quote;
  for (char c : name) {
    out.push_back(c);
    if (quote.size() == 1 && c == quote[0]) out.push_back(c);
  }
  return out + quote;
}

// The type of a text column of any length on this database.
std::string TextType(const std::string& dbms) {
  if (dbms.find("SQL Server") != std::string::npos || dbms.find("Adaptive Server") != std::string::npos) {
    return "NVARCHAR(4000)";
  }
  if (dbms.find("Oracle") != std::string::npos) return "VARCHAR2(4000)";
  return "TEXT";
}

}  // namespace

std::string EnsureTextTable(const std::string& connection, const std::string& table,
                            const std::vector<std::string>& columns, bool& created) {
  created = false;
  std::unique_ptr<Session> s = OpenSession(DsnOrConnectionString(connection, "", ""));
  if (!s) return LastDatabaseDiagnostic();
  try {
    Statement probe(s->conn);
    probe.Execute("SELECT * FROM " + table + " WHERE 1=0");
    return "";  // it exists
  } catch (const RuntimeError&) {
  }
  if (columns.empty()) return "no columns to create the table " + table + " with";
  try {
    const std::string quote = s->conn.IdentifierQuote();
    const std::string type = TextType(s->conn.DbmsName());
    std::string sql = "CREATE TABLE " + table + " (";
    for (size_t i = 0; i < columns.size(); ++i) {
      sql += (i ? ", " : "") + QuotedName(columns[i].empty() ? "Column" + std::to_string(i + 1) : columns[i], quote) +
             " " + type;
    }
    Statement create(s->conn);
    create.Execute(sql + ")");
    created = true;
    return "";
  } catch (const RuntimeError& e) {
    return "The table " + table + " could not be created: " + e.description();
  }
}

}  // namespace vantrove::database
