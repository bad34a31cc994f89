// Recordsets read from databases: Open with a statement (or a table name)
// and a connection string or data source name reads the whole result into
// the recordset, as a static client-side cursor does, so that RecordCount is
// exact and the connection is closed again before Open returns.
#include <cctype>

#include "../recordset/table.hpp"
#include "transfer.hpp"
#include "vantrove/component.hpp"
#include "vantrove/recordset.hpp"

namespace vantrove::database {

namespace {

using recordset_detail::FieldDef;
using recordset_detail::Schema;
using recordset_detail::StringPool;
using recordset_detail::Table;

bool IsTableName(const std::string& source) {
  for (char c : source) {
    if (std::isspace(static_cast<unsigned char>(c))) return false;
  }
  return !source.empty();
}

void Check(const std::string& connection) {
  Environment env;
  const Translation t = Translate(connection, env.Drivers());
  if (!t.refusal.empty()) {
    Raise(aderr::kProviderNotFound, "Provider cannot be found. It may not be properly installed. (connection string \"" +
                                        connection + "\": " + t.refusal + ")");
  }
}

void Open(Recordset& rs, const std::string& source, const std::string& connection) {
  std::unique_ptr<Session> s = OpenSession(DsnOrConnectionString(connection, "", ""));
  if (!s) Raise(kOdbcErrorNumber, LastDatabaseDiagnostic());
  Statement st(s->conn);
  st.ReadTextAsUtf8(Utf8Driver(s->conn));
  const std::string sql = IsTableName(source) ? "SELECT * FROM " + source : source;
  if (!st.Execute(sql)) Raise(aderr::kObjectClosed, "The statement returned no records: " + sql);
  const std::vector<ColumnInfo> cols = st.Columns();
  auto schema = std::make_shared<Schema>();
  for (const ColumnInfo& c : cols) {
    FieldDef def;
    def.name = c.name;
    def.type = FieldTypeOf(c.sqlType);
    def.definedSize = static_cast<int32_t>(std::min<SQLULEN>(c.size, 0x7FFFFFFF));
    schema->Add(std::move(def));
  }
  auto table = std::make_shared<Table>(schema, std::make_shared<StringPool>());
  std::vector<uint32_t> cells(cols.size());
  while (st.Fetch()) {
    for (size_t i = 0; i < cols.size(); ++i) {
      Variant v = st.Get(static_cast<int>(i + 1), cols[i].sqlType);
      cells[i] = v.IsString() ? table->TextCell(v.str()) : table->OtherCell(std::move(v));
    }
    table->AddRow(cells.data(), static_cast<uint32_t>(cells.size()), Table::kEmpty);
  }
  rs.AdoptTable(std::move(table));
}

struct Installer {
  Installer() { SetDatabaseSource(DatabaseSource{&Check, &Open}); }
};
const Installer installer;

}  // namespace

}  // namespace vantrove::database
