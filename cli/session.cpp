#include "session.hpp"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <new>
#include <optional>

#include "json_text.hpp"

namespace vantrove::cli {

using simdjson::dom::element;
using simdjson::dom::element_type;

namespace {

Answer ErrorAnswer(const std::string& idText, int32_t number, const std::string& description) {
  Answer a;
  a.failed = true;
  a.number = number;
  a.description = description;
  a.text = "{\"error\":{\"description\":";
  AppendJsonString(a.text, description);
  a.text += ",\"number\":";
  AppendJsonInt(a.text, number);
  a.text += '}';
  if (!idText.empty()) {
    a.text += ",\"id\":";
    a.text += idText;
  }
  a.text += '}';
  return a;
}

// Same type and same content: strings byte for byte, numbers bit for bit,
// arrays element by element, objects by identity.
bool SameValue(const Variant& a, const Variant& b) {
  if (a.VarTypeNumber() != b.VarTypeNumber() || a.IsArray() != b.IsArray()) return false;
  if (a.IsArray()) {
    const SafeArray& x = a.array();
    const SafeArray& y = b.array();
    if (x.bounds() != y.bounds() || x.size() != y.size()) return false;
    for (size_t i = 0; i < x.size(); ++i) {
      if (!SameValue(x.data()[i], y.data()[i])) return false;
    }
    return true;
  }
  if (a.IsString()) return a.str() == b.str();
  if (a.IsObject()) return a.object() == b.object();
  if (a.IsMissing() || b.IsMissing()) return a.IsMissing() == b.IsMissing();
  std::string ta, tb;
  ObjectTable none;
  AppendJson(ta, a, none);
  AppendJson(tb, b, none);
  if (ta != tb) return false;
  if (const double* d = a.get_if<double>()) return std::memcmp(d, b.get_if<double>(), sizeof *d) == 0;
  if (const Date* d = a.get_if<Date>()) return std::memcmp(&d->serial, &b.get_if<Date>()->serial, sizeof(double)) == 0;
  return true;
}

const MethodInfo* MethodOf(element request) {
  int64_t dispid = 0;
  if (request["dispid"].get_int64().get(dispid) == simdjson::SUCCESS) {
    return FindMethod(static_cast<int32_t>(dispid));
  }
  std::string_view name;
  if (request["method"].get_string().get(name) == simdjson::SUCCESS) return FindMethod(name);
  return nullptr;
}

// Deepest nesting of lists and objects, strings skipped.
size_t NestingOf(std::string_view text) {
  size_t depth = 0, deepest = 0;
  bool inString = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') ++i;
      else if (c == '"') inString = false;
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      deepest = std::max(deepest, ++depth);
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return deepest;
}

// The fast parser refuses integers past 64 bits, which the protocol reads as
// Doubles: such rare requests are read by the general parser and written
// back in a form the fast one reads. Numbers past the range of a Double stay
// an error. Returns false when the text is not JSON at all.
bool Normalised(std::string_view request, std::string& out, std::string& why) {
  try {
    out = nlohmann::json::parse(request).dump();
    return true;
  } catch (const nlohmann::json::exception& e) {
    why = e.what();
    return false;
  }
}

bool IsByRef(const MethodInfo* m, size_t i) {
  if (m == nullptr || m->params.empty()) return true;
  if (i >= m->params.size()) return m->params.back().paramArray;
  return m->params[i].byRef;
}

}  // namespace

Session::Session() : parser_(kMaxRequestBytes) {
  // Sets the nesting limit; the buffers grow with the first larger request.
  if (parser_.allocate(simdjson::dom::MINIMAL_DOCUMENT_CAPACITY, kMaxNesting) != simdjson::SUCCESS) return;
}

Answer Session::Failure(int32_t number, const std::string& description) { return ErrorAnswer("", number, description); }

Variant Session::CallObject(const std::string& verb, std::vector<Variant>& args) {
  if (verb == "$classes") {
    std::vector<Variant> names;
    for (const std::string& n : CreatableClassNames()) names.emplace_back(n);
    return Variant(SafeArray::Vector(std::move(names)));
  }
  if (verb == "$create") {
    if (args.size() != 1) Raise(err::kWrongArgumentCount, "$create takes one class name");
    return Variant(CreateObject(CStr(args[0])));
  }
  if (args.empty() || !args[0].IsObject()) Raise(err::kObjectRequired, verb + " needs an object as its first parameter");
  const ObjectRef obj = args[0].object();
  if (verb == "$release") {
    if (obj) objects_.Release(objects_.Add(obj));
    return Variant::Null();
  }
  if (args.size() < 2) Raise(err::kWrongArgumentCount, verb + " needs a member name");
  const std::string member = CStr(args[1]);
  std::vector<Variant> rest(args.begin() + 2, args.end());
  if (verb == "$call") return CallMethod(obj, member, rest);
  if (verb == "$get") return GetProperty(obj, member, rest);
  if (verb == "$set") {
    if (rest.empty()) Raise(err::kWrongArgumentCount, "$set needs a value");
    Variant value = rest.back();
    rest.pop_back();
    SetProperty(obj, member, value, rest);
    return Variant::Null();
  }
  Raise(err::kNoSuchMember, "unknown verb " + verb);
}

Answer Session::HandleParsed(element request, std::string& idText) {
  if (request.type() != element_type::OBJECT) return ErrorAnswer(idText, err::kInvalidCall, "a request must be a JSON object");
  element field;
  if (request["id"].get(field) == simdjson::SUCCESS && field.type() != element_type::NULL_VALUE) {
    AppendJsonElement(idText, field);
  }
  std::vector<Variant> args;
  if (request["params"].get(field) == simdjson::SUCCESS) {
    if (field.type() != element_type::ARRAY) return ErrorAnswer(idText, err::kInvalidCall, "\"params\" must be a list");
    for (element p : AsArray(field)) args.push_back(FromJson(p, objects_));
  }
  Answer a;
  // Arguments usually come back about as large as they went in.
  a.text.reserve(request_size_ * 2 + 256);
  a.text.push_back('{');
  if (!idText.empty()) a.text += "\"id\":" + idText;
  std::string_view method;
  const bool named = request["method"].get_string().get(method) == simdjson::SUCCESS;
  if (allow_) {
    const MethodInfo* target = named ? nullptr : MethodOf(request);
    if (!allow_(named ? method : target != nullptr ? std::string_view(target->name) : std::string_view(), args)) {
      return ErrorAnswer(idText, err::kActionNotSupported, "this call is not allowed here");
    }
  }
  if (named && method.starts_with("$")) {
    const Variant result = CallObject(std::string(method), args);
    a.text += idText.empty() ? "\"result\":" : ",\"result\":";
    AppendJson(a.text, result, objects_);
    a.text += '}';
    return a;
  }
  bool onlyChanged = false;
  if (request["onlyChanged"].get(field) == simdjson::SUCCESS) onlyChanged = field.type() == element_type::BOOL && field.get_bool().value_unsafe();
  // Copies of the by-reference arguments, to tell afterwards which changed.
  const MethodInfo* info = onlyChanged ? MethodOf(request) : nullptr;
  std::vector<std::optional<Variant>> before(onlyChanged ? args.size() : 0);
  for (size_t i = 0; i < before.size(); ++i) {
    if (IsByRef(info, i)) before[i] = args[i];
  }
  InvokeResult r;
  int64_t dispid = 0;
  if (request["dispid"].get_int64().get(dispid) == simdjson::SUCCESS) {
    r = object_.Invoke(static_cast<int32_t>(dispid), args);
  } else if (named) {
    r = object_.Invoke(method, args);
  } else {
    return ErrorAnswer(idText, err::kInvalidCall, "a request needs \"method\" (a name) or \"dispid\" (a number)");
  }
  if (!r.ok) return ErrorAnswer(idText, r.error, r.description);
  if (onlyChanged) {
    // "changed" sorts before "id".
    a.text = "{\"changed\":{";
    bool first = true;
    for (size_t i = 0; i < args.size(); ++i) {
      if (!before[i] || SameValue(*before[i], args[i])) continue;
      a.text += first ? "\"" : ",\"";
      first = false;
      AppendJsonInt(a.text, static_cast<int64_t>(i));
      a.text += "\":";
      AppendJson(a.text, args[i], objects_);
    }
    a.text += '}';
    if (!idText.empty()) a.text += ",\"id\":" + idText;
  } else {
    a.text += idText.empty() ? "\"params\":[" : ",\"params\":[";
    for (size_t i = 0; i < args.size(); ++i) {
      if (i > 0) a.text += ',';
      AppendJson(a.text, args[i], objects_);
    }
    a.text += ']';
  }
  a.text += ",\"result\":";
  AppendJson(a.text, r.value, objects_);
  a.text += '}';
  return a;
}

Answer Session::Handle(std::string_view request) {
  std::string idText;
  std::string normal;
  try {
    if (request.size() > kMaxRequestBytes) {
      return ErrorAnswer(idText, err::kInvalidCall, "the request is larger than the limit of 256 MiB");
    }
    request_size_ = request.size();
    element doc;
    const auto error = parser_.parse(request.data(), request.size(), false).get(doc);
    if (error == simdjson::DEPTH_ERROR || (error != simdjson::SUCCESS && NestingOf(request) > kMaxNesting)) {
      return ErrorAnswer(idText, err::kInvalidCall, "the request nests lists or objects deeper than 64 levels");
    }
    if (error == simdjson::NUMBER_ERROR) {
      std::string why;
      if (!Normalised(request, normal, why)) return ErrorAnswer(idText, err::kInvalidCall, "malformed JSON: " + why);
      normal.append(simdjson::SIMDJSON_PADDING, ' ');
      if (parser_.parse(normal.data(), normal.size() - simdjson::SIMDJSON_PADDING, false).get(doc) == simdjson::SUCCESS) {
        return HandleParsed(doc, idText);
      }
    }
    if (error != simdjson::SUCCESS) {
      return ErrorAnswer(idText, err::kInvalidCall, std::string("malformed JSON: ") + simdjson::error_message(error));
    }
    return HandleParsed(doc, idText);
  } catch (const RuntimeError& e) {
    return ErrorAnswer(idText, e.number(), e.description());
  } catch (const std::bad_alloc&) {
    return ErrorAnswer(idText, err::kOutOfMemory, "Out of memory");
  } catch (const std::exception& e) {
    return ErrorAnswer(idText, err::kInvalidCall, e.what());
  }
}

}  // namespace vantrove::cli
