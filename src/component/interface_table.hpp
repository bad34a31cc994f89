#pragma once
// Internal: the interface written as declarations, parsed once into
// MethodInfo records.

#include <span>
#include <string_view>

namespace vantrove::detail {

struct MethodSource {
  std::string_view name;
  std::string_view result;  // "" for a method that returns nothing
  std::string_view params;  // "ByVal strFile As String, Optional strPassword As String = \"\""
  std::string_view help;
};

std::span<const MethodSource> MethodSources();

}  // namespace vantrove::detail
