#pragma once
// The extract job: tables of block attributes, or of another chapter of the
// description, from many drawings into one output or a database table.

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>

namespace vantrove::cli {

// Adds the `extract` subcommand; choosing it sets `chosen`.
void AddExtractJob(CLI::App& app, const std::shared_ptr<std::function<int()>>& chosen);

}  // namespace vantrove::cli
