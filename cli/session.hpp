#pragma once
// One clsVantrove object driven by JSON requests: the engine behind
// `vantrove call` (one request) and `vantrove rpc` (one per line).

#include <functional>
#include <simdjson.h>
#include <string>
#include <string_view>

#include "json_variant.hpp"
#include "vantrove/component.hpp"

namespace vantrove::cli {

// Limits on one request; past them the request gets an error answer and the
// session goes on. Memory stays proportional to the request.
inline constexpr size_t kMaxRequestBytes = size_t{256} << 20;  // 256 MiB of JSON text
inline constexpr size_t kMaxNesting = 64;                      // nested lists and objects

struct Answer {
  std::string text;  // one line of JSON, without the newline
  bool failed = false;
  int32_t number = 0;        // when failed: the run-time error number
  std::string description;   // when failed: its description
};

class Session {
 public:
  Session();

  // Answers one request. Never throws: failures become {"error": {...}}.
  //   {"method": "Name" | "dispid": N, "params": [...], "id": any}
  //   -> {"id": ..., "params": [... after the call ...], "result": ...}
  // With "onlyChanged": true the answer carries, instead of "params",
  //   "changed": {"INDEX": value, ...}: only the by-reference arguments the
  //   method changed, by zero-based position.
  // Objects: {"method": "$create", "params": ["Recordset"]},
  //          {"method": "$call" | "$get" | "$set", "params": [{"object": 1}, "Member", args...]},
  //          {"method": "$release", "params": [{"object": 1}]}, {"method": "$classes"}.
  // `request` must be readable for simdjson::SIMDJSON_PADDING bytes past its end.
  Answer Handle(std::string_view request);
  // An error answer for a request that could not be read at all.
  static Answer Failure(int32_t number, const std::string& description);

  // Limits which calls run: a method name (or $ verb) and its arguments that
  // `allow` refuses are answered with error 445 instead. Used where requests
  // come from an untrusted generator (the request reader's fuzz target).
  using CallFilter = std::function<bool(std::string_view method, const std::vector<Variant>& args)>;
  void Restrict(CallFilter allow) { allow_ = std::move(allow); }

 private:
  Answer HandleParsed(simdjson::dom::element request, std::string& idText);
  Variant CallObject(const std::string& verb, std::vector<Variant>& args);

  simdjson::dom::parser parser_;
  size_t request_size_ = 0;
  clsVantrove object_;
  ObjectTable objects_;
  CallFilter allow_;
};

}  // namespace vantrove::cli
