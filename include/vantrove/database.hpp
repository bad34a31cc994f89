#pragma once
// Database helpers for tools built on the library (the command-line jobs).
// The class members that move data to and from databases are in
// component.hpp; LastDatabaseDiagnostic() says why one of them failed.
#include <string>
#include <vector>

namespace vantrove::database {

// Creates `table` with one text column per name in `columns` unless a table
// of that name exists already. `connection` follows the members' rule: a
// string holding ";" is a connection string (ODBC or one of the provider
// strings), anything else a data source name. Returns "" on success, else
// what went wrong; `created` tells whether the table was made.
std::string EnsureTextTable(const std::string& connection, const std::string& table,
                            const std::vector<std::string>& columns, bool& created);

}  // namespace vantrove::database
