#pragma once
// The interface of clsVantrove as data: every method in interface order with
// its dispatch identifier, return type, parameters and help string. Late
// binding (the command-line `call` and `rpc`, scripts, tests of interface
// order) goes through this table.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vantrove/runtime/variant.hpp"

namespace vantrove {

inline constexpr int32_t kFirstDispId = 0x60030000;
inline constexpr int kMethodCount = 127;

// How a parameter or result is typed. Enumerations are 32-bit integers that
// carry their enumeration's name.
enum class TypeKind { None, String, Integer, Long, Boolean, Variant, Object, Enum };

struct TypeRef {
  TypeKind kind = TypeKind::None;
  std::string name;  // "String", "Integer", "Long", "Boolean", "Variant", "Object", enum name, or "" for none
};

struct ParamInfo {
  std::string name;
  TypeRef type;
  bool byRef = true;
  bool optional = false;
  bool paramArray = false;            // a trailing variable argument list
  std::optional<Variant> declaredDefault;
};

struct MethodInfo {
  int position = 0;
  int32_t dispid = 0;
  std::string name;
  TypeRef result;
  std::vector<ParamInfo> params;
  std::string help;

  // The declaration as a script would write it, e.g.
  // "Function OpenDrawing(ByVal strFile As String, Optional strPassword As String) As String".
  std::string Declaration() const;
  // Name and parameter list only: "OpenDrawing(ByVal strFile As String, ...)".
  std::string Signature() const;
};

// All 127 methods in interface order.
const std::vector<MethodInfo>& InterfaceMethods();
// Lookup by name (case-insensitive) or by dispatch identifier; nullptr when unknown.
const MethodInfo* FindMethod(std::string_view name);
const MethodInfo* FindMethod(int32_t dispid);

// The value a left-out optional parameter takes: its declared default, else
// the zero of its type ("" / 0 / False), or the missing marker for a Variant.
Variant OmittedValue(const ParamInfo& p);

// Outcome of a late-bound call. On failure `error` holds the run-time error
// number and `description` says what went wrong.
struct InvokeResult {
  bool ok = false;
  Variant value;
  int32_t error = 0;
  std::string description;
};

}  // namespace vantrove
