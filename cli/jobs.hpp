#pragma once
// The jobs people run from the command line: extract tables from drawings,
// write DXF or the description, find and replace text, list and switch
// layers — over one drawing or many (globs and folders), with a progress bar
// on a terminal and a summary at the end.

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace vantrove::cli {

// Adds the job subcommands to `app`; the returned function runs whichever
// was chosen and gives the exit code (0 all done, 1 some drawing failed,
// 2 bad input), or -1 when no job was chosen.
std::function<int()> AddJobs(CLI::App& app);

}  // namespace vantrove::cli
