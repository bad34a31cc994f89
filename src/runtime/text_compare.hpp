#pragma once
// Case-insensitive text tests, kept here once for every area.
//
// The *Text functions follow the Text comparison of the runtime: plain ASCII
// takes a fast byte path, anything else goes through Unicode case folding.
// The Ascii* functions fold A-Z only, for names and markup that are ASCII by
// definition (XML tags, keywords, encoding names, member names).
#include <cstddef>
#include <string>
#include <string_view>

namespace vantrove::detail {

constexpr char AsciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c; }
std::string AsciiLowerCopy(std::string_view s);
bool EqualAsciiNoCase(std::string_view a, std::string_view b);
// Position of the first match at or after `from`; npos when absent.
size_t FindAsciiNoCase(std::string_view haystack, std::string_view needle, size_t from = 0);

bool IsAscii(std::string_view s);
// -1, 0 or 1, without case.
int CompareText(std::string_view a, std::string_view b);
bool EqualText(std::string_view a, std::string_view b);
bool ContainsText(std::string_view haystack, std::string_view needle);
bool StartsWithText(std::string_view s, std::string_view prefix);
bool EndsWithText(std::string_view s, std::string_view suffix);

}  // namespace vantrove::detail
