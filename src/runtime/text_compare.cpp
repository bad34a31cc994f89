#include "text_compare.hpp"

#include <string>

#include "vantrove/runtime/strings.hpp"

namespace vantrove::detail {

std::string AsciiLowerCopy(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = AsciiLower(c);
  return out;
}

bool EqualAsciiNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  }
  return true;
}

size_t FindAsciiNoCase(std::string_view haystack, std::string_view needle, size_t from) {
  if (needle.empty()) return from <= haystack.size() ? from : std::string_view::npos;
  if (needle.size() > haystack.size()) return std::string_view::npos;
  const char first = AsciiLower(needle[0]);
  const size_t last = haystack.size() - needle.size();
  for (size_t i = from; i <= last; ++i) {
    if (AsciiLower(haystack[i]) != first) continue;
    size_t k = 1;
    while (k < needle.size() && AsciiLower(haystack[i + k]) == AsciiLower(needle[k])) ++k;
    if (k == needle.size()) return i;
  }
  return std::string_view::npos;
}

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
      const auto x = static_cast<unsigned char>(AsciiLower(a[i]));
      const auto y = static_cast<unsigned char>(AsciiLower(b[i]));
      if (x != y) return x < y ? -1 : 1;
    }
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
  }
  return StrComp(a, b, CompareMode::Text);
}

bool EqualText(std::string_view a, std::string_view b) {
  if (IsAscii(a) && IsAscii(b)) return EqualAsciiNoCase(a, b);
  return StrComp(a, b, CompareMode::Text) == 0;
}

bool ContainsText(std::string_view haystack, std::string_view needle) {
  if (needle.empty()) return true;
  if (IsAscii(haystack) && IsAscii(needle)) return FindAsciiNoCase(haystack, needle) != std::string_view::npos;
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
