#include "text_compare.hpp"

#include <string>

#include "vantrove/runtime/strings.hpp"

namespace vantrove::detail {

namespace {
inline unsigned char Lower(unsigned char c) { return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + 32) : c; }
}  // namespace

bool IsAscii(std::string_view s) {
  for (char c : s) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

int CompareText(std::string_view a, std::string_view b) {
  if (IsAscii(a) && IsAscii(b)) {
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
      const unsigned char x = Lower(static_cast<unsigned char>(a[i]));
      const unsigned char y = Lower(static_cast<unsigned char>(b[i]));
      if (x != y) return x < y ? -1 : 1;
    }
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
  }
  return StrComp(a, b, CompareMode::Text);
}

bool EqualText(std::string_view a, std::string_view b) {
  if (IsAscii(a) && IsAscii(b)) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
      if (Lower(static_cast<unsigned char>(a[i])) != Lower(static_cast<unsigned char>(b[i]))) return false;
    }
    return true;
  }
  return StrComp(a, b, CompareMode::Text) == 0;
}

bool ContainsText(std::string_view haystack, std::string_view needle) {
  if (needle.empty()) return true;
  if (IsAscii(haystack) && IsAscii(needle)) {
    if (needle.size() > haystack.size()) return false;
    const unsigned char first = Lower(static_cast<unsigned char>(needle[0]));
    for (size_t i = 0; i + needle.size() <= haystack.size(); ++i) {
      if (Lower(static_cast<unsigned char>(haystack[i])) != first) continue;
      size_t k = 1;
      while (k < needle.size() &&
             Lower(static_cast<unsigned char>(haystack[i + k])) == Lower(static_cast<unsigned char>(needle[k]))) {
        ++k;
      }
      if (k == needle.size()) return true;
    }
    return false;
  }
  return FoldCase(haystack).find(FoldCase(needle)) != std::string::npos;
}

bool StartsWithText(std::string_view s, std::string_view prefix) {
  if (IsAscii(s) && IsAscii(prefix)) return prefix.size() <= s.size() && EqualText(s.substr(0, prefix.size()), prefix);
  const std::string a = FoldCase(s), b = FoldCase(prefix);
  return a.compare(0, b.size(), b) == 0;
}

bool EndsWithText(std::string_view s, std::string_view suffix) {
  if (IsAscii(s) && IsAscii(suffix)) {
    return suffix.size() <= s.size() && EqualText(s.substr(s.size() - suffix.size()), suffix);
  }
  const std::string a = FoldCase(s), b = FoldCase(suffix);
  return a.size() >= b.size() && a.compare(a.size() - b.size(), b.size(), b) == 0;
}

}  // namespace vantrove::detail
