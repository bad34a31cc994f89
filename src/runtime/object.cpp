#include "vantrove/runtime/object.hpp"

#include <map>
#include <mutex>

#include "vantrove/runtime/errors.hpp"
#include "vantrove/runtime/strings.hpp"

namespace vantrove {

Variant Object::Invoke(std::string_view, CallKind, std::vector<Variant>&) { Raise(err::kNoSuchMember); }

namespace {
const Object& Require(const ObjectRef& obj) {
  if (!obj) Raise(err::kObjectNotSet);
  return *obj;
}

struct Registry {
  std::mutex mu;
  std::map<std::string, std::pair<std::string, ObjectCreator>> classes;  // folded name -> (name, creator)
};
Registry& TheRegistry() {
  static Registry r;
  return r;
}
}  // namespace

Variant CallMethod(const ObjectRef& obj, std::string_view member, std::vector<Variant> args) {
  Require(obj);
  return obj->Invoke(member, CallKind::Method, args);
}

Variant GetProperty(const ObjectRef& obj, std::string_view member, std::vector<Variant> args) {
  Require(obj);
  return obj->Invoke(member, CallKind::PropertyGet, args);
}

void SetProperty(const ObjectRef& obj, std::string_view member, Variant value, std::vector<Variant> args) {
  Require(obj);
  args.push_back(std::move(value));
  obj->Invoke(member, CallKind::PropertyPut, args);
}

void RegisterCreatableClass(std::string name, ObjectCreator creator) {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mu);
  std::string key = FoldCase(name);
  r.classes[key] = {std::move(name), std::move(creator)};
}

ObjectRef CreateObject(std::string_view name) {
  Registry& r = TheRegistry();
  ObjectCreator creator;
  {
    std::lock_guard lock(r.mu);
    auto it = r.classes.find(FoldCase(name));
    if (it == r.classes.end()) Raise(err::kCannotCreateObject);
    creator = it->second.second;
  }
  return creator();
}

std::vector<std::string> CreatableClassNames() {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mu);
  std::vector<std::string> names;
  for (const auto& [key, entry] : r.classes) names.push_back(entry.first);
  return names;
}

}  // namespace vantrove
