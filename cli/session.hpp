#pragma once
// One clsVantrove object driven by JSON requests: the engine behind
// `vantrove call` (one request) and `vantrove rpc` (one per line).

#include <nlohmann/json.hpp>

#include "json_variant.hpp"
#include "vantrove/component.hpp"

namespace vantrove::cli {

class Session {
 public:
  // Answers one request. Never throws: failures become {"error": {...}}.
  //   {"method": "Name" | "dispid": N, "params": [...], "id": any}
  //   -> {"id": ..., "result": ..., "params": [... after the call ...]}
  // Objects: {"method": "$create", "params": ["Recordset"]},
  //          {"method": "$call" | "$get" | "$set", "params": [{"object": 1}, "Member", args...]},
  //          {"method": "$release", "params": [{"object": 1}]}, {"method": "$classes"}.
  nlohmann::json Handle(const nlohmann::json& request);

 private:
  nlohmann::json CallObject(const std::string& verb, std::vector<Variant>& args);

  clsVantrove object_;
  ObjectTable objects_;
};

}  // namespace vantrove::cli
