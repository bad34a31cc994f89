#pragma once
// Objects that late-bound callers reach by member name: recordsets,
// dictionaries, collections, controls. Member names compare without case.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vantrove/runtime/variant.hpp"

namespace vantrove {

enum class CallKind { Method, PropertyGet, PropertyPut };

class Object : public std::enable_shared_from_this<Object> {
 public:
  virtual ~Object() = default;
  // The class name that TypeName reports ("Recordset", "Dictionary", ...).
  virtual std::string ClassName() const = 0;
  // Calls a member by name. For PropertyPut the new value is the last
  // argument. The default raises "Object doesn't support this property or
  // method" (438).
  virtual Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args);
};

// Late-bound helpers: raise 91 when `obj` is Nothing.
Variant CallMethod(const ObjectRef& obj, std::string_view member, std::vector<Variant> args = {});
Variant GetProperty(const ObjectRef& obj, std::string_view member, std::vector<Variant> args = {});
void SetProperty(const ObjectRef& obj, std::string_view member, Variant value, std::vector<Variant> args = {});

// Creatable classes, by name, for hosts that create objects late (the rpc
// protocol, scripts). Names compare without case.
using ObjectCreator = std::function<ObjectRef()>;
void RegisterCreatableClass(std::string name, ObjectCreator creator);
// Raises "ActiveX component can't create object" (429) for an unknown name.
ObjectRef CreateObject(std::string_view name);
std::vector<std::string> CreatableClassNames();

}  // namespace vantrove
