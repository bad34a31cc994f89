#include <gtest/gtest.h>

#include "vantrove/runtime.hpp"

namespace vantrove {
namespace {

TEST(Strings, PositionsCountCodePoints) {
  const std::string s = "Grüße ✓";
  EXPECT_EQ(Len(s), 7);
  EXPECT_EQ(Left(s, 3), "Grü");
  EXPECT_EQ(Right(s, 3), "e ✓");
  EXPECT_EQ(Mid(s, 3, 2), "üß");
  EXPECT_EQ(Mid(s, 6), " ✓");
  EXPECT_EQ(Mid(s, 20), "");
  EXPECT_EQ(Left(s, 100), s);
  EXPECT_THROW(Mid(s, 0), RuntimeError);
  EXPECT_THROW(Left(s, -1), RuntimeError);
}

TEST(Strings, InvalidUtf8BytesSurviveAndCountOneEach) {
  const std::string s = "a\xff" "b\xc3";  // a stray byte and a truncated sequence
  EXPECT_EQ(Len(s), 4);
  EXPECT_EQ(Mid(s, 2, 2), "\xff" "b");
  EXPECT_EQ(UCase(s), "A\xff" "B\xc3");
}

TEST(Strings, TrimRemovesSpacesOnly) {
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(Trim("\ta\t"), "\ta\t");
  EXPECT_EQ(LTrim("  x "), "x ");
  EXPECT_EQ(RTrim("  x "), "  x");
  EXPECT_EQ(Trim("   "), "");
}

TEST(Strings, CaseMappingAndFoldingBeyondAscii) {
  EXPECT_EQ(UCase("straße ärger ωμέγα"), "STRAßE ÄRGER ΩΜΈΓΑ");
  EXPECT_EQ(LCase("ÆØÅ ΣΊΣΥΦΟΣ"), "æøå σίσυφοσ");
  EXPECT_EQ(StrComp("ΣΊΣΥΦΟΣ", "σίσυφος", CompareMode::Text), 0);  // final sigma folds too
  EXPECT_NE(StrComp("ΣΊΣΥΦΟΣ", "σίσυφος", CompareMode::Binary), 0);
  EXPECT_EQ(StrComp("abc", "abd"), -1);
  EXPECT_EQ(StrComp("abc", "ab"), 1);
}

TEST(Strings, InStrInBothModes) {
  EXPECT_EQ(InStr("hello world", "o"), 5);
  EXPECT_EQ(InStr(6, "hello world", "o"), 8);
  EXPECT_EQ(InStr("hello", "L"), 0);
  EXPECT_EQ(InStr("hello", "L", CompareMode::Text), 3);
  EXPECT_EQ(InStr("Über über", "ÜBER", CompareMode::Text), 1);
  EXPECT_EQ(InStr(2, "Über über", "ÜBER", CompareMode::Text), 6);
  EXPECT_EQ(InStr("✓✓x", "x"), 3);  // a code point position, not a byte offset
  EXPECT_EQ(InStr("abc", ""), 1);
  EXPECT_EQ(InStr(3, "abc", ""), 3);
  EXPECT_EQ(InStr(4, "abc", ""), 0);
  EXPECT_EQ(InStr("", ""), 0);
}

TEST(Strings, ReplaceInBothModes) {
  EXPECT_EQ(Replace("old-old", "old", "new"), "new-new");
  EXPECT_EQ(Replace("Old-OLD-old", "old", "new", 1, -1, CompareMode::Text), "new-new-new");
  EXPECT_EQ(Replace("Old-OLD-old", "old", "new"), "Old-OLD-new");
  EXPECT_EQ(Replace("aaaa", "a", "b", 1, 2), "bbaa");
  EXPECT_EQ(Replace("abcabc", "b", "X", 3), "caXc");  // the result starts at `start`
  EXPECT_EQ(Replace("abc", "", "X"), "abc");
  EXPECT_EQ(Replace("Ärger ärger", "ÄR", "x", 1, -1, CompareMode::Text), "xger xger");
  EXPECT_EQ(Replace("aa", "a", "aa"), "aaaa");  // no rescanning of inserted text
}

}  // namespace
}  // namespace vantrove
