#pragma once
// Appends one Unicode code point to UTF-8 text. Values that are not
// characters (surrogates, beyond U+10FFFF) become U+FFFD, so decoders that
// turn escapes and character references into text always produce valid UTF-8.

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrove::engine {

inline void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

// Decodes the UTF-8 sequence at byte `i` into `cp` and moves `i` past it.
// A malformed sequence (a stray or truncated byte, an overlong form, a
// surrogate, a value beyond U+10FFFF) gives U+FFFD, moves one byte on and
// returns false.
inline bool DecodeUtf8(std::string_view s, size_t& i, uint32_t& cp) {
  const auto c = static_cast<unsigned char>(s[i]);
  if (c < 0x80) {
    cp = c;
    ++i;
    return true;
  }
  size_t extra = 0;
  if (c >= 0xC2 && c <= 0xDF) {
    extra = 1;
    cp = c & 0x1F;
  } else if (c >= 0xE0 && c <= 0xEF) {
    extra = 2;
    cp = c & 0x0F;
  } else if (c >= 0xF0 && c <= 0xF4) {
    extra = 3;
    cp = c & 0x07;
  }
  bool valid = extra != 0 && s.size() - i > extra;
  for (size_t k = 1; valid && k <= extra; ++k) {
    const auto b = static_cast<unsigned char>(s[i + k]);
    valid = (b & 0xC0) == 0x80;
    cp = (cp << 6) | (b & 0x3F);
  }
  if (valid && ((extra == 2 && (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF))) ||
                (extra == 3 && (cp < 0x10000 || cp > 0x10FFFF)))) {
    valid = false;
  }
  if (!valid) {
    cp = 0xFFFD;
    ++i;
    return false;
  }
  i += extra + 1;
  return true;
}

}  // namespace vantrove::engine
