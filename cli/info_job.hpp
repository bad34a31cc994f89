#pragma once
// The info job: what a drawing holds at a glance — version, code page,
// objects counted by type, layouts, and blocks with their attribute tags —
// as text or JSON.

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>

#include "vantrove/engine/document.hpp"

namespace vantrove::cli {

// Adds the `info` subcommand; choosing it sets `chosen`.
void AddInfoJob(CLI::App& app, const std::shared_ptr<std::function<int()>>& chosen);

// What `info --json` prints for one drawing.
nlohmann::ordered_json DrawingInfo(const engine::Document& doc);

// The same as text, one fact or item per line.
std::string DrawingInfoText(const nlohmann::ordered_json& info);

}  // namespace vantrove::cli
