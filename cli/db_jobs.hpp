#pragma once
// The database jobs: `vantrove sql` reads a query's result into CSV, HTML or
// text, and the extract job's --db/--table write its table into a database.
#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

#include "table.hpp"

namespace vantrove::cli {

// Adds the `sql` subcommand; choosing it sets `chosen`.
void AddDatabaseJobs(CLI::App& app, const std::shared_ptr<std::function<int()>>& chosen);

// Writes `table` (its header as column names) into the database table
// `tableName`, creating it with text columns when it does not exist; rows are
// appended in one transaction. Returns the exit code (0 or 1) after saying
// what happened on stderr.
int WriteTableToDatabase(const Table& table, const std::string& connection, const std::string& tableName, bool quiet);

}  // namespace vantrove::cli
