#include "vantrove/dispatch.hpp"

#include <map>
#include <stdexcept>

#include "interface_table.hpp"
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

std::string_view Strip(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

bool TakeWord(std::string_view& s, std::string_view word) {
  if (s.substr(0, word.size()) == word && s.size() > word.size() && s[word.size()] == ' ') {
    s = Strip(s.substr(word.size()));
    return true;
  }
  return false;
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

ParamInfo ParseParam(std::string_view decl) {
  ParamInfo p;
  decl = Strip(decl);
  if (TakeWord(decl, "Optional")) p.optional = true;
  if (TakeWord(decl, "ByVal")) p.byRef = false;
  else TakeWord(decl, "ByRef");
  if (TakeWord(decl, "ParamArray")) {
    p.paramArray = true;
    p.optional = true;
  }
  const size_t as = decl.find(" As ");
  if (as == std::string_view::npos) throw std::logic_error("parameter without type: " + std::string(decl));
  std::string_view name = decl.substr(0, as);
  if (name.size() > 2 && name.substr(name.size() - 2) == "()") name.remove_suffix(2);
  p.name = std::string(name);
  std::string_view rest = decl.substr(as + 4);
  const size_t eq = rest.find(" = ");
  p.type = ParseType(Strip(eq == std::string_view::npos ? rest : rest.substr(0, eq)));
  if (eq != std::string_view::npos) p.declaredDefault = ParseDefault(Strip(rest.substr(eq + 3)), p.type);
  return p;
}

std::vector<ParamInfo> ParseParams(std::string_view list) {
  std::vector<ParamInfo> params;
  // Commas never occur inside the declared defaults of this table except in
  // quoted strings, so split outside quotes.
  bool quoted = false;
  size_t start = 0;
  for (size_t i = 0; i <= list.size(); ++i) {
    if (i < list.size() && list[i] == '"') quoted = !quoted;
    if (i == list.size() || (list[i] == ',' && !quoted)) {
      std::string_view item = Strip(list.substr(start, i - start));
      if (!item.empty()) params.push_back(ParseParam(item));
      start = i + 1;
    }
  }
  return params;
}

std::vector<MethodInfo> Build() {
  std::vector<MethodInfo> methods;
  int position = 0;
  for (const detail::MethodSource& src : detail::MethodSources()) {
    MethodInfo m;
    m.position = position;
    m.dispid = kFirstDispId + position;
    m.name = std::string(src.name);
    m.result = ParseType(src.result);
    m.params = ParseParams(src.params);
    m.help = std::string(src.help);
    methods.push_back(std::move(m));
    ++position;
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
