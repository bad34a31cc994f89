// vantrove: the command-line tool.
//   vantrove methods [--json]    the interface, in order
//   vantrove enums [--json]      the enumerations
//   vantrove call METHOD [ARG]   one call; each ARG is JSON
//   vantrove rpc                 one JSON request per line on stdin
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "jobs.hpp"
#include "json_text.hpp"
#include "line_reader.hpp"
#include "session.hpp"
#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"

namespace {

using nlohmann::json;
using namespace vantrove;

std::string Dump(const json& j) { return j.dump(-1, ' ', false, json::error_handler_t::replace); }

json ParamJson(const ParamInfo& p) {
  json j{{"name", p.name}, {"type", p.type.name}, {"byref", p.byRef}, {"optional", p.optional}};
  if (p.paramArray) j["paramarray"] = true;
  if (p.declaredDefault) {
    cli::ObjectTable none;
    j["default"] = json::parse(cli::ToJsonText(*p.declaredDefault, none));
  }
  return j;
}

int ListMethods(bool asJson) {
  json all = json::array();
  for (const MethodInfo& m : InterfaceMethods()) {
    const bool available = clsVantrove::IsImplemented(m.position);
    if (asJson) {
      json params = json::array();
      for (const ParamInfo& p : m.params) params.push_back(ParamJson(p));
      char dispid[16];
      std::snprintf(dispid, sizeof dispid, "0x%08X", static_cast<unsigned>(m.dispid));
      all.push_back({{"position", m.position},
                     {"dispid", dispid},
                     {"name", m.name},
                     {"returns", m.result.name},
                     {"params", params},
                     {"help", m.help},
                     {"available", available}});
    } else {
      std::printf("%3d  0x%08X  %-8s %s%s\n", m.position, static_cast<unsigned>(m.dispid),
                  m.result.kind == TypeKind::None ? "-" : m.result.name.c_str(), m.Signature().c_str(),
                  available ? "" : "  [not available in this build]");
    }
  }
  if (asJson) std::cout << Dump(all) << '\n';
  return 0;
}

int ListEnums(bool asJson) {
  json all = json::array();
  for (const EnumInfo& e : Enumerations()) {
    if (asJson) {
      json constants = json::array();
      for (const EnumConstant& c : e.constants) constants.push_back({{"name", c.name}, {"value", c.value}});
      all.push_back({{"name", e.name}, {"constants", constants}});
    } else {
      std::printf("Enum %s\n", std::string(e.name).c_str());
      for (const EnumConstant& c : e.constants) std::printf("  %s = %d\n", std::string(c.name).c_str(), c.value);
    }
  }
  if (asJson) std::cout << Dump(all) << '\n';
  return 0;
}

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

// Temporary descriptions are named by the second they are made in, which is
// unique within one process but not between two tools started side by side
// in the same folder. Each run of the tool therefore keeps its temporary
// files in a folder of its own, removed when it ends.
class PrivateTempFolder {
 public:
  PrivateTempFolder() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/vantrove-XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) {
      path_ = pattern;
      vantrove::extract::SetTempFolderOverride(path_);
    }
  }
  ~PrivateTempFolder() {
    if (path_.empty()) return;
    vantrove::extract::SetTempFolderOverride(std::nullopt);
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }

 private:
  std::string path_;
};

int main(int argc, char** argv) {
  const PrivateTempFolder temp;
  CLI::App app{"Vantrove: AutoCAD drawings and tabular data from the command line."};
  app.require_subcommand(1);
  bool json = false;

  auto* methods = app.add_subcommand("methods", "List the interface of clsVantrove: position, DISPID, result, name, parameters.");
  methods->add_flag("--json", json, "Print JSON instead of declarations");
  auto* enums = app.add_subcommand("enums", "List the public enumerations and their constants.");
  enums->add_flag("--json", json, "Print JSON instead of text");

  std::string method;
  auto* call = app.add_subcommand("call", "Call one method; every ARG is JSON. Prints the result and the arguments after the call.");
  call->add_option("method", method, "Method name, e.g. Version")->required();
  call->prefix_command();
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

  CLI11_PARSE(app, argc, argv);
  if (*methods) return ListMethods(json);
  if (*enums) return ListEnums(json);
  if (*call) return Call(method, call->remaining());
  if (*rpc) return Rpc();
  const int job = runJob();
  return job < 0 ? 2 : job;
}
