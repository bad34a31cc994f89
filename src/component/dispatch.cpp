#include "vantrove/dispatch.hpp"

#include <map>
#include <stdexcept>

#include "member.hpp"
#include "vantrove/enums.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove {

namespace {

TypeRef ParseType(std::string_view name) {
  TypeRef t;
  t.name = std::string(name);
  if (name == "String") t.kind = TypeKind::String;
  else if (name == "Integer") t.kind = TypeKind::Integer;
  else if (name == "Long") t.kind = TypeKind::Long;
  else if (name == "Boolean") t.kind = TypeKind::Boolean;
  else if (name == "Variant") t.kind = TypeKind::Variant;
  else if (name == "Object") t.kind = TypeKind::Object;
  else if (name.empty()) t.kind = TypeKind::None;
  else if (IsEnumerationName(name)) t.kind = TypeKind::Enum;
  else throw std::logic_error("unknown type in the interface table: " + std::string(name));
  return t;
}

// A declared default: a number, a quoted string, True/False or an
// enumeration constant; typed to match the parameter.
Variant ParseDefault(std::string_view text, const TypeRef& type) {
  Variant v;
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    v = Variant(std::string(text.substr(1, text.size() - 2)));
  } else if (text == "True" || text == "False") {
    v = Variant(text == "True");
  } else if (auto n = ParseNumber(text)) {
    v = Variant(static_cast<int32_t>(*n));
  } else {
    bool found = false;
    for (const EnumInfo& e : Enumerations()) {
      for (const EnumConstant& c : e.constants) {
        if (c.name == text) {
          v = Variant(c.value);
          found = true;
        }
      }
    }
    if (!found) throw std::logic_error("unknown default in the interface table: " + std::string(text));
  }
  switch (type.kind) {
    case TypeKind::Integer: return Variant(CInt(v));
    case TypeKind::Long:
    case TypeKind::Enum: return Variant(CLng(v));
    case TypeKind::Boolean: return Variant(CBool(v));
    case TypeKind::String: return Variant(CStr(v));
    default:
      // Variant parameters keep the literal's own type; small whole numbers
      // are 16-bit as a script literal would be.
      if (const auto* l = v.get_if<int32_t>(); l && *l >= -32768 && *l <= 32767) return Variant(static_cast<int16_t>(*l));
      return v;
  }
}

ParamInfo MakeParam(const detail::DeclaredParam& d) {
  ParamInfo p;
  p.name = std::string(d.name);
  p.byRef = d.byRef;
  p.optional = d.optional;
  p.paramArray = d.paramArray;
  p.type = ParseType(d.type);
  if (!d.defaultText.empty()) p.declaredDefault = ParseDefault(d.defaultText, p.type);
  return p;
}

std::vector<MethodInfo> Build() {
  std::vector<MethodInfo> methods;
  for (const detail::MemberDecl* src : detail::MembersByPosition()) {
    MethodInfo m;
    m.position = src->position;
    m.dispid = kFirstDispId + src->position;
    m.name = std::string(src->name);
    m.result = ParseType(src->result);
    for (size_t i = 0, n = detail::DeclaredParamCount(src->params); i < n; ++i) {
      m.params.push_back(MakeParam(detail::ParseDeclaredParam(detail::DeclaredParamText(src->params, i))));
    }
    m.help = std::string(src->help);
    methods.push_back(std::move(m));
  }
  return methods;
}

std::string LiteralText(const Variant& v) {
  if (v.IsString()) return "\"" + v.str() + "\"";
  return CStr(v);
}

}  // namespace

const std::vector<MethodInfo>& InterfaceMethods() {
  static const std::vector<MethodInfo> methods = Build();
  return methods;
}

const MethodInfo* FindMethod(std::string_view name) {
  static const std::map<std::string, const MethodInfo*> byName = [] {
    std::map<std::string, const MethodInfo*> m;
    for (const MethodInfo& info : InterfaceMethods()) m[FoldCase(info.name)] = &info;
    return m;
  }();
  auto it = byName.find(FoldCase(name));
  return it == byName.end() ? nullptr : it->second;
}

const MethodInfo* FindMethod(int32_t dispid) {
  const auto& methods = InterfaceMethods();
  const int64_t pos = int64_t{dispid} - kFirstDispId;
  if (pos < 0 || pos >= static_cast<int64_t>(methods.size())) return nullptr;
  return &methods[static_cast<size_t>(pos)];
}

Variant OmittedValue(const ParamInfo& p) {
  if (p.declaredDefault) return *p.declaredDefault;
  switch (p.type.kind) {
    case TypeKind::String: return Variant(std::string());
    case TypeKind::Integer: return Variant(int16_t{0});
    case TypeKind::Long:
    case TypeKind::Enum: return Variant(int32_t{0});
    case TypeKind::Boolean: return Variant(false);
    case TypeKind::Object: return Variant(ObjectRef{});
    default: return Variant::Missing();
  }
}

std::string MethodInfo::Declaration() const {
  std::string out = result.kind == TypeKind::None ? "Sub " : "Function ";
  out += Signature();
  if (result.kind != TypeKind::None) out += " As " + result.name;
  return out;
}

std::string MethodInfo::Signature() const {
  std::string out = name + "(";
  for (size_t i = 0; i < params.size(); ++i) {
    const ParamInfo& p = params[i];
    if (i) out += ", ";
    if (p.paramArray) {
      out += "ParamArray " + p.name + "() As " + p.type.name;
      continue;
    }
    if (p.optional) out += "Optional ";
    out += p.byRef ? "ByRef " : "ByVal ";
    out += p.name + " As " + p.type.name;
    if (p.declaredDefault) out += " = " + LiteralText(*p.declaredDefault);
  }
  out += ")";
  return out;
}

}  // namespace vantrove
