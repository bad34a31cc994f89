#pragma once
// Case-insensitive text tests for the filter and field lookups: plain ASCII
// takes a fast byte path, anything else goes through Unicode case folding.
#include <string_view>

namespace vantrove::detail {

bool IsAscii(std::string_view s);
// -1, 0 or 1, without case.
int CompareText(std::string_view a, std::string_view b);
bool EqualText(std::string_view a, std::string_view b);
bool ContainsText(std::string_view haystack, std::string_view needle);
bool StartsWithText(std::string_view s, std::string_view prefix);
bool EndsWithText(std::string_view s, std::string_view suffix);

}  // namespace vantrove::detail
