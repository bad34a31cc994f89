#include "db_jobs.hpp"

#include <iostream>

#include "table_output.hpp"
#include "vantrove/component.hpp"
#include "vantrove/database.hpp"
#include "vantrove/output.hpp"

namespace vantrove::cli {


int WriteTableToDatabase(const Table& table, const std::string& connection, const std::string& tableName, bool quiet) {
  if (tableName.empty()) {
    std::cerr << "vantrove: --db needs --table NAME\n";
    return 2;
  }
  bool created = false;
  if (std::string why = database::EnsureTextTable(connection, tableName, table.header(), created); !why.empty()) {
    std::cerr << "vantrove: " << why << '\n';
    return 1;
  }
  if (table.empty()) {
    if (!quiet) std::cerr << "vantrove: nothing to write into " << tableName << '\n';
    return 0;
  }
  clsVantrove v;
  const int16_t result = v.TwoDArrayToDatabaseTable(Variant(table.ToArray(false)), connection, tableName);
  if (result != 1) {
    std::cerr << "vantrove: the rows could not be written into " << tableName << " (" << result
              << "): " << LastDatabaseDiagnostic() << '\n';
    return 1;
  }
  if (!quiet) {
    std::cerr << "vantrove: " << table.rows() << " rows written into " << (created ? "the new table " : "") << tableName
              << '\n';
  }
  return 0;
}

namespace {

struct SqlOptions {
  std::string connection, sql, user, password, format, output = "-";
  bool noHeadings = false;
};

int RunSql(const SqlOptions& o) {
  const std::string format = ResolveFormat("sql", o.format, o.output, "csv", {"csv", "html", "txt"});
  if (format.empty()) return 2;
  clsVantrove v;
  Variant result{SafeArray()};
  const int16_t code = v.DatabaseTableToArray(o.connection, o.sql, result, o.user, o.password, true);
  if (code != 1) {
    std::cerr << "vantrove sql: " << LastDatabaseDiagnostic() << '\n';
    return 1;
  }
  Table table;
  table.Append(result.array());
  const bool headings = !o.noHeadings;
  try {
    std::string text;
    if (format == "html") {
      SafeArray a = table.ToArray(headings);
      for (Variant& cell : a.data()) cell = Variant(HtmlEscape(CStr(cell)));
      v.TwoDArrayToHTMLTable(Variant(std::move(a)), text, dwgCenter, "", "", 1, "", 0, 2, 100, dwgLeft, true, headings);
      text = "<html><head><meta charset=\"utf-8\"><title>" + HtmlEscape(o.sql) + "</title></head><body>\r\n" + text +
             "\r\n</body></html>\r\n";
    } else {
      text = format == "txt" ? table.ToText(headings) : table.ToCsv(headings);
    }
    if (std::string failed = Deliver(o.output, text); !failed.empty()) {
      std::cerr << "vantrove sql: cannot write " << o.output << ": " << failed << '\n';
      return 1;
    }
  } catch (const RuntimeError& e) {
    std::cerr << "vantrove sql: cannot write " << o.output << ": " << e.description() << '\n';
    return 1;
  }
  return 0;
}

}  // namespace

void AddDatabaseJobs(CLI::App& app, const std::shared_ptr<std::function<int()>>& chosen) {
  auto o = std::make_shared<SqlOptions>();
  CLI::App* sql = app.add_subcommand("sql", "Run a query on a database (ODBC) and write its result to CSV, HTML or text.");
  sql->add_option("connection", o->connection,
                   "A data source name, or an ODBC connection string (anything holding \";\")")
      ->required();
  sql->add_option("query", o->sql, "The SELECT statement")->required();
  sql->add_option("--user,-u", o->user, "User name for a data source name");
  sql->add_option("--password,-p", o->password, "Password for a data source name");
  sql->add_flag("--no-headings", o->noHeadings, "Leave out the heading row");
  sql->add_option("--format,-f", o->format, "csv, html or txt (default: from the output name, else csv)")
      ->check(CLI::IsMember({"csv", "html", "txt"}));
  sql->add_option("--output,-o", o->output, "Output file (default and -: standard output)");
  sql->footer(
      "Examples:\n"
      "  vantrove sql \"Driver=SQLite3;Database=parts.db;\" \"SELECT * FROM titles\" -o titles.csv\n"
      "  vantrove sql PartsDSN -u me -p secret \"SELECT Tag, Value FROM bom\" -o bom.html");
  sql->callback([chosen, o] { *chosen = [o] { return RunSql(*o); }; });
}

}  // namespace vantrove::cli
