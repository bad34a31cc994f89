#pragma once
// Low-level JSON text for the command-line protocol: strings, numbers and
// parsed values appended to a growing buffer. The layout is the compact one
// the protocol has always used: no spaces, object keys in sorted order,
// doubles in their shortest round-trip digits with ".0" on whole numbers and
// an exponent only outside 1e-5 .. 1e15, invalid UTF-8 replaced by U+FFFD.

#include <cstdint>
#include <simdjson.h>
#include <string>
#include <string_view>

namespace vantrove::cli {

void AppendJsonString(std::string& out, std::string_view s);
void AppendJsonDouble(std::string& out, double d);
void AppendJsonInt(std::string& out, int64_t v);
// A parsed list or object (empty when `e` is something else).
inline simdjson::dom::array AsArray(simdjson::dom::element e) {
  simdjson::dom::array a;
  if (e.get_array().get(a) != simdjson::SUCCESS) return {};
  return a;
}
inline simdjson::dom::object AsObject(simdjson::dom::element e) {
  simdjson::dom::object o;
  if (e.get_object().get(o) != simdjson::SUCCESS) return {};
  return o;
}
// A parsed value written back (used for request ids, which are echoed).
void AppendJsonElement(std::string& out, simdjson::dom::element e);

}  // namespace vantrove::cli
