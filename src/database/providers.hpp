#pragma once
// Internal: the connection strings of the provider writers, built exactly as
// the classic providers take them, and their translation into ODBC
// connection strings for the drivers that play those roles here (see
// docs/database.md).
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrove::database {

// "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=...;Jet OLEDB:Database Password=...;"
// (the 3.51 engine only for a data-access library of version "2.0"; ours
// reports a later one).
std::string AccessConnectionString(const std::string& mdb, const std::string& password);
std::string VisualFoxproConnectionString(const std::string& db);
std::string SqlServerConnectionString(const std::string& server, const std::string& database, bool trusted,
                                      const std::string& user, const std::string& password);
std::string SybaseConnectionString(const std::string& server, const std::string& database, const std::string& user,
                                   const std::string& password);
std::string MySqlConnectionString(const std::string& db, const std::string& user, const std::string& password);
// lngProvider 0 (dwgMicrosoft) gives MSDAORA, 1 (dwgOracle) OraOLEDB.Oracle.
std::string OracleConnectionString(int32_t provider, const std::string& db, bool trusted, const std::string& user,
                                   const std::string& password);

// The ODBC connection rule: a string holding ";" is a whole connection
// string, anything else a data source name.
std::string DsnOrConnectionString(const std::string& dsnOrConn, const std::string& user, const std::string& password);

// Splits "key=value;key=value" into pairs (keys trimmed, values as they
// stand; a value in braces may hold ";").
std::vector<std::pair<std::string, std::string>> SplitConnectionString(std::string_view text);

// The outcome of translating a connection string for the driver manager.
struct Translation {
  std::string odbc;         // what SQLDriverConnect receives
  std::string refusal;      // when not empty, the connection fails with this diagnostic
  bool exclusive = false;   // open the file database for this connection alone
  std::string dbmsFile;     // the file database, when the role is played by one
};

// Translates `connection`: strings naming an OLE DB provider become the
// matching ODBC connection string; anything else is an ODBC connection
// string already and passes unchanged. `drivers` lists the installed ODBC
// drivers (for the Oracle role). `exclusive` asks for share-exclusive mode.
Translation Translate(const std::string& connection, const std::vector<std::string>& drivers, bool exclusive = false);

}  // namespace vantrove::database
