#pragma once
// String helpers on UTF-8 text. Positions and lengths count code points;
// positions are 1-based as in the classic runtime. Text compare mode folds
// case per code point (Unicode simple case folding), so positions found in
// text mode are positions in the original string.

#include <cstdint>
#include <string>
#include <string_view>

#include "vantrove/runtime/convert.hpp"

namespace vantrove {

int64_t Len(std::string_view s);
std::string Left(std::string_view s, int64_t n);
std::string Right(std::string_view s, int64_t n);
// Mid(s, start) and Mid(s, start, length); start < 1 or length < 0 raise 5.
std::string Mid(std::string_view s, int64_t start, int64_t length = -1);

// Trim removes spaces (U+0020) only, as the classic functions do.
std::string Trim(std::string_view s);
std::string LTrim(std::string_view s);
std::string RTrim(std::string_view s);

std::string UCase(std::string_view s);
std::string LCase(std::string_view s);
// Simple case folding of every code point.
std::string FoldCase(std::string_view s);

// InStr(start, haystack, needle, mode): 1-based position or 0. Nothing is
// found when start > Len(haystack); an empty needle is found at `start`.
int64_t InStr(int64_t start, std::string_view haystack, std::string_view needle,
              CompareMode mode = CompareMode::Binary);
inline int64_t InStr(std::string_view haystack, std::string_view needle,
                     CompareMode mode = CompareMode::Binary) {
  return InStr(1, haystack, needle, mode);
}

// Replace(expr, find, with, start, count, mode): the result starts at
// `start`, as the classic function's does; count -1 replaces all.
std::string Replace(std::string_view expr, std::string_view find, std::string_view with,
                    int64_t start = 1, int64_t count = -1, CompareMode mode = CompareMode::Binary);

// StrComp: -1, 0 or 1.
int StrComp(std::string_view a, std::string_view b, CompareMode mode = CompareMode::Binary);

// Decodes the code point at byte offset `i` (advancing `i`). Bytes that are
// not valid UTF-8 come back one at a time as U+FFFD-free raw values
// 0xDC80..0xDCFF, so that every byte survives a round trip.
char32_t NextCodePoint(std::string_view s, size_t& i);
void AppendUtf8(std::string& out, char32_t cp);

}  // namespace vantrove
