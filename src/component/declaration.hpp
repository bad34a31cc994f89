#pragma once
// Internal: a member's parameter list as a script declares it, e.g.
// "varArray As Variant, Optional ByVal strDelimiter As String = \",\"",
// read one parameter at a time. Everything here is constexpr so that a
// member's declaration is checked against its C++ signature while compiling
// (member.hpp) and read again at run time for the interface table.

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace vantrove::detail {

struct DeclaredParam {
  std::string_view name;
  std::string_view type;         // "String", "Variant", an enumeration name, ...
  std::string_view defaultText;  // the text after " = ", or "" when none is declared
  bool byRef = true;             // parameters are by reference unless marked ByVal
  bool optional = false;
  bool paramArray = false;       // a trailing variable argument list (always optional)
};

constexpr std::string_view StripSpaces(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

// The parameter texts of a list, split at commas outside quoted defaults.
// `index` past the end gives "".
constexpr std::string_view DeclaredParamText(std::string_view list, size_t index) {
  bool quoted = false;
  size_t start = 0;
  size_t found = 0;
  for (size_t i = 0; i <= list.size(); ++i) {
    if (i < list.size() && list[i] == '"') quoted = !quoted;
    if (i == list.size() || (list[i] == ',' && !quoted)) {
      const std::string_view item = StripSpaces(list.substr(start, i - start));
      if (!item.empty() && found++ == index) return item;
      start = i + 1;
    }
  }
  return {};
}

constexpr size_t DeclaredParamCount(std::string_view list) {
  size_t n = 0;
  while (!DeclaredParamText(list, n).empty()) ++n;
  return n;
}

constexpr bool TakeDeclarationWord(std::string_view& s, std::string_view word) {
  if (s.size() > word.size() && s.substr(0, word.size()) == word && s[word.size()] == ' ') {
    s = StripSpaces(s.substr(word.size()));
    return true;
  }
  return false;
}

// One parameter: [Optional] [ByVal|ByRef] [ParamArray] name[()] As Type [= default].
constexpr DeclaredParam ParseDeclaredParam(std::string_view text) {
  DeclaredParam p;
  text = StripSpaces(text);
  if (TakeDeclarationWord(text, "Optional")) p.optional = true;
  if (TakeDeclarationWord(text, "ByVal")) p.byRef = false;
  else TakeDeclarationWord(text, "ByRef");
  if (TakeDeclarationWord(text, "ParamArray")) {
    p.paramArray = true;
    p.optional = true;
  }
  const size_t as = text.find(" As ");
  if (as == std::string_view::npos || as == 0) throw std::logic_error("declared parameter without a name or type");
  p.name = text.substr(0, as);
  if (p.name.size() > 2 && p.name.substr(p.name.size() - 2) == "()") p.name.remove_suffix(2);
  const std::string_view rest = text.substr(as + 4);
  const size_t eq = rest.find(" = ");
  p.type = StripSpaces(eq == std::string_view::npos ? rest : rest.substr(0, eq));
  if (eq != std::string_view::npos) p.defaultText = StripSpaces(rest.substr(eq + 3));
  if (p.type.empty() || p.type.find(' ') != std::string_view::npos) {
    throw std::logic_error("declared parameter with a malformed type");
  }
  return p;
}

}  // namespace vantrove::detail
