#pragma once
// JSON <-> Variant for the command-line protocol.
//
// In: strings, numbers (32-bit integers become Long, others Double), true and
// false, null (Null), nested arrays (a list of lists is a 2-D array), and
// objects for what JSON cannot say directly:
//   {"missing": true}                 an omitted optional argument
//   {"empty": true}                   Empty
//   {"type": "Integer", "value": 5}   a value of a given type (Integer, Long,
//                                     Single, Double, Currency, Date, String,
//                                     Boolean, Byte)
//   {"array": [...], "lbound": [1,1]} an array with other lower bounds
//   {"unallocated": true}             an unallocated dynamic array
//   {"object": 3}                     an object created earlier in the session
// Out: the same forms; Dates as {"date": "2024-01-31T13:05:00"}, Currency as
// {"currency": "1.5"}, errors as {"error": scode}.
//
// Arrays go straight between the parsed text and SafeArray storage, and the
// answer is written as text directly, so large arrays cost one pass each way.

#include <map>
#include <simdjson.h>
#include <string>

#include "vantrove/runtime.hpp"

namespace vantrove::cli {

// Objects a session has handed out, by id.
class ObjectTable {
 public:
  int64_t Add(const ObjectRef& obj);
  ObjectRef Get(int64_t id) const;  // raises 91 for an unknown id
  void Release(int64_t id);
  size_t size() const { return byId_.size(); }

 private:
  std::map<int64_t, ObjectRef> byId_;
  int64_t next_ = 1;
};

Variant FromJson(simdjson::dom::element j, const ObjectTable& objects);
// Appends the JSON form of `v`; objects it holds get ids in `objects`.
void AppendJson(std::string& out, const Variant& v, ObjectTable& objects);
std::string ToJsonText(const Variant& v, ObjectTable& objects);

}  // namespace vantrove::cli
