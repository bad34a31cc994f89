#include "session.hpp"

namespace vantrove::cli {

using nlohmann::json;

namespace {

json ErrorAnswer(const json& id, int32_t number, const std::string& description) {
  json out{{"error", {{"number", number}, {"description", description}}}};
  if (!id.is_null()) out["id"] = id;
  return out;
}

}  // namespace

json Session::CallObject(const std::string& verb, std::vector<Variant>& args) {
  if (verb == "$classes") {
    json names = json::array();
    for (const std::string& n : CreatableClassNames()) names.push_back(n);
    return names;
  }
  if (verb == "$create") {
    if (args.size() != 1) Raise(err::kWrongArgumentCount, "$create takes one class name");
    return ToJson(Variant(CreateObject(CStr(args[0]))), objects_);
  }
  if (args.empty() || !args[0].IsObject()) Raise(err::kObjectRequired, verb + " needs an object as its first parameter");
  const ObjectRef obj = args[0].object();
  if (verb == "$release") {
    const json ref = ToJson(args[0], objects_);
    objects_.Release(ref["object"].get<int64_t>());
    return nullptr;
  }
  if (args.size() < 2) Raise(err::kWrongArgumentCount, verb + " needs a member name");
  const std::string member = CStr(args[1]);
  std::vector<Variant> rest(args.begin() + 2, args.end());
  if (verb == "$call") return ToJson(CallMethod(obj, member, rest), objects_);
  if (verb == "$get") return ToJson(GetProperty(obj, member, rest), objects_);
  if (verb == "$set") {
    if (rest.empty()) Raise(err::kWrongArgumentCount, "$set needs a value");
    Variant value = rest.back();
    rest.pop_back();
    SetProperty(obj, member, value, rest);
    return nullptr;
  }
  Raise(err::kNoSuchMember, "unknown verb " + verb);
}

json Session::Handle(const json& request) {
  json id = request.is_object() && request.contains("id") ? request["id"] : json();
  try {
    if (!request.is_object()) return ErrorAnswer(id, err::kInvalidCall, "a request must be a JSON object");
    std::vector<Variant> args;
    if (request.contains("params")) {
      const json& params = request["params"];
      if (!params.is_array()) return ErrorAnswer(id, err::kInvalidCall, "\"params\" must be a list");
      for (const json& p : params) args.push_back(FromJson(p, objects_));
    }
    json out;
    if (!id.is_null()) out["id"] = id;
    if (request.contains("method") && request["method"].is_string() &&
        request["method"].get<std::string>().starts_with("$")) {
      out["result"] = CallObject(request["method"].get<std::string>(), args);
      return out;
    }
    InvokeResult r;
    if (request.contains("dispid") && request["dispid"].is_number_integer()) {
      r = object_.Invoke(static_cast<int32_t>(request["dispid"].get<int64_t>()), args);
    } else if (request.contains("method") && request["method"].is_string()) {
      r = object_.Invoke(request["method"].get<std::string>(), args);
    } else {
      return ErrorAnswer(id, err::kInvalidCall, "a request needs \"method\" (a name) or \"dispid\" (a number)");
    }
    if (!r.ok) return ErrorAnswer(id, r.error, r.description);
    out["result"] = ToJson(r.value, objects_);
    json after = json::array();
    for (const Variant& a : args) after.push_back(ToJson(a, objects_));
    out["params"] = std::move(after);
    return out;
  } catch (const RuntimeError& e) {
    return ErrorAnswer(id, e.number(), e.description());
  } catch (const json::exception& e) {
    return ErrorAnswer(id, err::kTypeMismatch, e.what());
  } catch (const std::exception& e) {
    return ErrorAnswer(id, err::kInvalidCall, e.what());
  }
}

}  // namespace vantrove::cli
