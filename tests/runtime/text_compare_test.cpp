// The case-insensitive text tests every area shares.
#include <gtest/gtest.h>

#include "runtime/text_compare.hpp"

namespace vantrove::detail {
namespace {

TEST(TextCompare, AsciiFoldingTouchesLettersOnly) {
  EXPECT_TRUE(EqualAsciiNoCase("Encoding", "ENCODING"));
  EXPECT_FALSE(EqualAsciiNoCase("a[", "A{"));  // '[' and '{' are 32 apart but not letters
  EXPECT_FALSE(EqualAsciiNoCase("\xC3\xA4", "\xC3\x84"));  // no folding beyond ASCII
  EXPECT_EQ(AsciiLowerCopy("UTF-8 Ä"), "utf-8 \xC3\x84");
}

TEST(TextCompare, AsciiSearchFromAPosition) {
  EXPECT_EQ(FindAsciiNoCase("<Block NAME='a'><block", "<block"), 0u);
  EXPECT_EQ(FindAsciiNoCase("<Block NAME='a'><block", "<block", 1), 16u);
  EXPECT_EQ(FindAsciiNoCase("abc", "", 3), 3u);
  EXPECT_EQ(FindAsciiNoCase("abc", "", 4), std::string_view::npos);
  EXPECT_EQ(FindAsciiNoCase("ab", "abc"), std::string_view::npos);
}

TEST(TextCompare, TextModeFoldsUnicodeToo) {
  EXPECT_TRUE(EqualText("STRASSE", "strasse"));
  EXPECT_TRUE(EqualText("\xC3\x84RGER", "\xC3\xA4rger"));
  EXPECT_TRUE(ContainsText("Gr\xC3\x96SSE", "\xC3\xB6"));
  EXPECT_EQ(CompareText("apple", "Banana"), -1);
  EXPECT_TRUE(StartsWithText("Layer-1", "LAYER"));
  EXPECT_TRUE(EndsWithText("plan.DWG", ".dwg"));
}

}  // namespace
}  // namespace vantrove::detail
