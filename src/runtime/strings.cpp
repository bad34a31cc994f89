#include "vantrove/runtime/strings.hpp"

#include <unicode/uchar.h>

#include <vector>

#include "vantrove/runtime/errors.hpp"

namespace vantrove {

char32_t NextCodePoint(std::string_view s, size_t& i) {
  const auto b0 = static_cast<unsigned char>(s[i]);
  auto raw = [&]() -> char32_t {
    ++i;
    return 0xDC00 + b0;  // lone byte: kept apart from every real character
  };
  if (b0 < 0x80) {
    ++i;
    return b0;
  }
  int len = 0;
  char32_t cp = 0;
  if ((b0 & 0xE0) == 0xC0) {
    len = 2;
    cp = b0 & 0x1F;
  } else if ((b0 & 0xF0) == 0xE0) {
    len = 3;
    cp = b0 & 0x0F;
  } else if ((b0 & 0xF8) == 0xF0) {
    len = 4;
    cp = b0 & 0x07;
  } else {
    return raw();
  }
  if (i + static_cast<size_t>(len) > s.size()) return raw();
  for (int k = 1; k < len; ++k) {
    const auto b = static_cast<unsigned char>(s[i + static_cast<size_t>(k)]);
    if ((b & 0xC0) != 0x80) return raw();
    cp = (cp << 6) | (b & 0x3F);
  }
  // Reject overlong forms, surrogates and values beyond Unicode.
  static const char32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
  if (cp < kMin[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return raw();
  i += static_cast<size_t>(len);
  return cp;
}

void AppendUtf8(std::string& out, char32_t cp) {
  if (cp >= 0xDC80 && cp <= 0xDCFF) {  // a raw byte from NextCodePoint
    out += static_cast<char>(cp - 0xDC00);
  } else if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

namespace {

bool IsAscii(std::string_view s) {
  for (char c : s) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

// Byte offset of the code point at 0-based position `n` (or s.size()).
size_t OffsetOf(std::string_view s, int64_t n) {
  if (IsAscii(s)) return static_cast<size_t>(std::min<int64_t>(n, static_cast<int64_t>(s.size())));
  size_t i = 0;
  for (int64_t k = 0; k < n && i < s.size(); ++k) NextCodePoint(s, i);
  return i;
}

template <class Map>
std::string MapCodePoints(std::string_view s, Map map) {
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    const char32_t cp = NextCodePoint(s, i);
    const bool raw = cp >= 0xDC80 && cp <= 0xDCFF;
    AppendUtf8(out, raw ? cp : static_cast<char32_t>(map(static_cast<UChar32>(cp))));
  }
  return out;
}

char32_t Fold(char32_t cp) {
  if (cp < 0x80) return (cp >= 'A' && cp <= 'Z') ? cp + 32 : cp;
  if (cp >= 0xDC80 && cp <= 0xDCFF) return cp;
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(cp), U_FOLD_CASE_DEFAULT));
}

// The string as code points, folded in text mode.
std::vector<char32_t> Decode(std::string_view s, CompareMode mode) {
  std::vector<char32_t> out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    const char32_t cp = NextCodePoint(s, i);
    out.push_back(mode == CompareMode::Text ? Fold(cp) : cp);
  }
  return out;
}

// 0-based index of `needle` in `hay` at or after `from`, or -1.
int64_t Find(const std::vector<char32_t>& hay, const std::vector<char32_t>& needle, size_t from) {
  if (needle.empty()) return from <= hay.size() ? static_cast<int64_t>(from) : -1;
  if (needle.size() > hay.size()) return -1;
  for (size_t i = from; i + needle.size() <= hay.size(); ++i) {
    if (hay[i] == needle[0] && std::equal(needle.begin() + 1, needle.end(), hay.begin() + static_cast<long>(i) + 1)) {
      return static_cast<int64_t>(i);
    }
  }
  return -1;
}

}  // namespace

int64_t Len(std::string_view s) {
  if (IsAscii(s)) return static_cast<int64_t>(s.size());
  int64_t n = 0;
  for (size_t i = 0; i < s.size(); ++n) NextCodePoint(s, i);
  return n;
}

std::string Left(std::string_view s, int64_t n) {
  if (n < 0) Raise(err::kInvalidCall);
  return std::string(s.substr(0, OffsetOf(s, n)));
}

std::string Right(std::string_view s, int64_t n) {
  if (n < 0) Raise(err::kInvalidCall);
  const int64_t len = Len(s);
  if (n >= len) return std::string(s);
  return std::string(s.substr(OffsetOf(s, len - n)));
}

std::string Mid(std::string_view s, int64_t start, int64_t length) {
  if (start < 1) Raise(err::kInvalidCall);
  if (length < -1) Raise(err::kInvalidCall);
  const size_t b = OffsetOf(s, start - 1);
  if (length == -1) return std::string(s.substr(b));
  const std::string_view rest = s.substr(b);
  return std::string(rest.substr(0, OffsetOf(rest, length)));
}

std::string LTrim(std::string_view s) {
  const size_t i = s.find_first_not_of(' ');
  return i == std::string_view::npos ? std::string() : std::string(s.substr(i));
}

std::string RTrim(std::string_view s) {
  const size_t i = s.find_last_not_of(' ');
  return i == std::string_view::npos ? std::string() : std::string(s.substr(0, i + 1));
}

std::string Trim(std::string_view s) { return LTrim(RTrim(s)); }

std::string UCase(std::string_view s) { return MapCodePoints(s, [](UChar32 c) { return u_toupper(c); }); }
std::string LCase(std::string_view s) { return MapCodePoints(s, [](UChar32 c) { return u_tolower(c); }); }
std::string FoldCase(std::string_view s) {
  return MapCodePoints(s, [](UChar32 c) { return static_cast<UChar32>(Fold(static_cast<char32_t>(c))); });
}

int64_t InStr(int64_t start, std::string_view haystack, std::string_view needle, CompareMode mode) {
  if (start < 1) Raise(err::kInvalidCall);
  // Nothing is found past the end, not even the empty string.
  if (start > Len(haystack)) return 0;
  if (needle.empty()) return start;
  if (mode == CompareMode::Binary) {
    // Byte search on UTF-8 finds only whole code points.
    const size_t from = OffsetOf(haystack, start - 1);
    const size_t at = haystack.find(needle, from);
    if (at == std::string_view::npos) return 0;
    return Len(haystack.substr(0, at)) + 1;
  }
  const auto hay = Decode(haystack, mode);
  const auto ndl = Decode(needle, mode);
  const int64_t at = Find(hay, ndl, static_cast<size_t>(start - 1));
  return at < 0 ? 0 : at + 1;
}

std::string Replace(std::string_view expr, std::string_view find, std::string_view with, int64_t start,
                    int64_t count, CompareMode mode) {
  if (start < 1 || count < -1) Raise(err::kInvalidCall);
  const std::string_view tail = expr.substr(OffsetOf(expr, start - 1));
  if (find.empty() || count == 0) return std::string(tail);
  std::string out;
  if (mode == CompareMode::Binary) {
    size_t pos = 0;
    int64_t done = 0;
    while (count < 0 || done < count) {
      const size_t at = tail.find(find, pos);
      if (at == std::string_view::npos) break;
      out.append(tail.substr(pos, at - pos)).append(with);
      pos = at + find.size();
      ++done;
    }
    out.append(tail.substr(pos));
    return out;
  }
  // Text mode: match on folded code points, copy the original bytes.
  std::vector<size_t> offsets;  // byte offset of each code point, plus the end
  std::vector<char32_t> folded;
  for (size_t i = 0; i < tail.size();) {
    offsets.push_back(i);
    folded.push_back(Fold(NextCodePoint(tail, i)));
  }
  offsets.push_back(tail.size());
  const auto ndl = Decode(find, CompareMode::Text);
  size_t pos = 0;
  int64_t done = 0;
  while (count < 0 || done < count) {
    const int64_t at = Find(folded, ndl, pos);
    if (at < 0) break;
    const auto a = static_cast<size_t>(at);
    out.append(tail.substr(offsets[pos], offsets[a] - offsets[pos])).append(with);
    pos = a + ndl.size();
    ++done;
  }
  out.append(tail.substr(offsets[pos]));
  return out;
}

int StrComp(std::string_view a, std::string_view b, CompareMode mode) {
  if (mode == CompareMode::Binary) {
    const int c = a.compare(b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
  }
  size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    const char32_t x = Fold(NextCodePoint(a, i));
    const char32_t y = Fold(NextCodePoint(b, j));
    if (x != y) return x < y ? -1 : 1;
  }
  if (i < a.size()) return 1;
  if (j < b.size()) return -1;
  return 0;
}

}  // namespace vantrove
