#pragma once
// Internal: matching member names and argument counts in the late-bound
// Invoke of the controls and containers.

#include <cctype>
#include <string_view>
#include <vector>

#include "vantrove/runtime.hpp"

namespace vantrove::detail {

// Member names compare without regard to (ASCII) case.
inline bool Is(std::string_view member, std::string_view name) {
  if (member.size() != name.size()) return false;
  for (size_t i = 0; i < name.size(); ++i) {
    const auto a = static_cast<unsigned char>(member[i]);
    const auto b = static_cast<unsigned char>(name[i]);
    if (std::tolower(a) != std::tolower(b)) return false;
  }
  return true;
}

// "Wrong number of arguments" (450) unless there are exactly `n`.
inline void Expect(const std::vector<Variant>& args, size_t n) {
  if (args.size() != n) Raise(err::kWrongArgumentCount);
}

// The argument at `i`, or `fallback` when it was left out.
inline Variant ArgOr(const std::vector<Variant>& args, size_t i, Variant fallback) {
  return i < args.size() && !args[i].IsMissing() ? args[i] : fallback;
}

}  // namespace vantrove::detail
