// vantrove: the command-line tool.
//   vantrove methods [NAME] [--json]  the interface, in order, or one method
//   vantrove enums [--json]           the enumerations
//   vantrove call METHOD [ARG]        one call; each ARG is JSON
//   vantrove rpc                      one JSON request per line on stdin
//   vantrove extract|describe|dxf|replace|layers|layer|sql ...   the jobs
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "interface_listing.hpp"
#include "job_runner.hpp"
#include "jobs.hpp"
#include "json_text.hpp"
#include "line_reader.hpp"
#include "session.hpp"
#include "temp_folder.hpp"
#include "vantrove/component.hpp"

namespace {

using namespace vantrove;

// The footer of the tool's --help, a section of its own (the man page and
// the completion are made from the help text).
constexpr const char* kConventions =
    "Conventions:\n"
    "  Exit codes: 0 done, 1 some drawings failed or an output could not be written (the\n"
    "  others were still processed), 2 usage (a bad option, an output kind that cannot be\n"
    "  written, nothing to work on).\n"
    "  Every job: -q only errors, -v more detail, -o - writes to standard output, -r looks\n"
    "  in sub-folders. Outputs are replaced through a temporary file (links followed, owner\n"
    "  and mode kept; devices and pipes written straight through); a run that produced\n"
    "  nothing leaves the old output. In-place jobs lock each drawing while it is edited,\n"
    "  leave drawings they did not change untouched and refuse incomplete drawings unless\n"
    "  given --force. vantrove methods NAME describes one method; vantrove JOB --help shows\n"
    "  examples.";

int Call(const std::string& method, const std::vector<std::string>& rawArgs) {
  std::string request = "{\"method\":";
  cli::AppendJsonString(request, method);
  request += ",\"params\":[";
  simdjson::dom::parser check;
  for (size_t i = 0; i < rawArgs.size(); ++i) {
    simdjson::dom::element ignored;
    if (check.parse(rawArgs[i]).get(ignored) != simdjson::SUCCESS) {
      std::cerr << "vantrove call: argument " << (i + 1) << " is not JSON: " << rawArgs[i]
                << " (strings need quotes, e.g. '\"text\"')\n";
      return 2;
    }
    if (i > 0) request += ',';
    request += rawArgs[i];
  }
  request += "]}";
  cli::Session session;
  const simdjson::padded_string padded(request);
  const cli::Answer answer = session.Handle(padded);
  if (answer.failed) {
    std::cerr << "vantrove call: " << method << ": error " << answer.number << ": " << answer.description << '\n';
    return 1;
  }
  std::cout << answer.text << '\n';
  return 0;
}

int Rpc() {
  cli::Session session;
  cli::LineReader lines(0, cli::kMaxRequestBytes);
  std::string_view line;
  for (;;) {
    const auto status = lines.Next(line);
    if (status == cli::LineReader::Status::kEnd) break;
    cli::Answer answer;
    if (status == cli::LineReader::Status::kTooLong) {
      answer = cli::Session::Failure(5, "the request is larger than the limit of 256 MiB");
    } else if (line.find_first_not_of(" \t\r") == std::string_view::npos) {
      continue;
    } else {
      answer = session.Handle(line);
    }
    answer.text += '\n';
    std::fwrite(answer.text.data(), 1, answer.text.size(), stdout);
    std::fflush(stdout);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const cli::PrivateTempFolder temp;
  CLI::App app{"Vantrove: AutoCAD drawings and tabular data from the command line."};
  app.require_subcommand(1);
  app.set_version_flag("--version", clsVantrove().Version(), "Print the version and exit");
  app.footer(kConventions);
  // -q and -v may come before or after the job's name.
  app.fallthrough();
  bool quiet = false, verbose = false;
  app.add_flag("-q,--quiet", quiet, "Say nothing but errors (no progress, no notes, no summary)");
  app.add_flag("-v,--verbose", verbose, "Say more: each drawing with its time, the reader's repair notes");
  bool json = false;

  std::string methodName;
  auto* methods = app.add_subcommand("methods", "List the interface of clsVantrove, or describe one method.");
  methods->add_option("name", methodName, "One method: its parameters, defaults, help and result");
  methods->add_flag("--json", json, "Print JSON instead of declarations");
  methods->footer("Examples:\n  vantrove methods\n  vantrove methods OpenDrawing\n  vantrove methods SortTwoDArray --json");
  auto* enums = app.add_subcommand("enums", "List the public enumerations and their constants.");
  enums->add_flag("--json", json, "Print JSON instead of text");

  std::string method;
  auto* call = app.add_subcommand("call", "Call one method; every ARG is JSON. Prints the result and the arguments after the call.");
  call->add_option("method", method, "Method name, e.g. Version")->required();
  call->prefix_command();
  call->fallthrough(false);  // everything after the method name is its arguments
  call->footer(
      "Examples:\n"
      "  vantrove call Version\n"
      "  vantrove call FileExists '\"/tmp\"'\n"
      "  vantrove call TwoDArrayToText '[[\"a\",\"b\"],[\"c\",\"d\"]]' '\"\"' '\",\"' '\";\"' true\n"
      "JSON forms: null is Null, {\"missing\":true} leaves an optional argument out, nested lists are 2-D arrays.");

  auto* rpc = app.add_subcommand("rpc", "Serve one object: read one JSON request per line on stdin, answer one line each.");
  rpc->footer(
      "Request: {\"id\":1,\"method\":\"FileExists\",\"params\":[\"/tmp\"]}\n"
      "Answer:  {\"id\":1,\"result\":true,\"params\":[\"/tmp\"]}\n"
      "Objects: {\"method\":\"$create\",\"params\":[\"Dictionary\"]} answers {\"result\":{\"object\":1,...}};\n"
      "         pass {\"object\":1} as a parameter; $call/$get/$set/$release work on it.");

  const auto runJob = vantrove::cli::AddJobs(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    // --help and --version end here with 0; every usage error is 2.
    return app.exit(e) == 0 ? 0 : 2;
  }
  if (quiet && verbose) {
    std::cerr << "vantrove: -q and -v cannot be given together\n";
    return 2;
  }
  cli::SetVerbosity(quiet ? cli::Verbosity::kQuiet : verbose ? cli::Verbosity::kVerbose : cli::Verbosity::kNormal);
  if (*methods) return methodName.empty() ? cli::ListMethods(json) : cli::ShowMethod(methodName, json);
  if (*enums) return cli::ListEnums(json);
  if (*call) return Call(method, call->remaining());
  if (*rpc) return Rpc();
  const int job = runJob();
  return job < 0 ? 2 : job;
}
