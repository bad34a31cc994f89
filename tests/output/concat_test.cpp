// The string builder: growth, hand-out, and its behaviour when reused
// without ReInit.
#include <gtest/gtest.h>

#include "vantrove/output.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove {
namespace {

TEST(Concat, ManySmallAppendsComeBackExactlyOnce) {
  clsConcat c;
  for (int i = 0; i < 20000; ++i) c.SConcat(i % 2 ? "b" : "a");
  const std::string text = c.GetString();
  ASSERT_EQ(text.size(), 20000u);
  EXPECT_EQ(text.substr(0, 4), "abab");
  EXPECT_EQ(text.find('\0'), std::string::npos);
  EXPECT_EQ(c.GetString(), "");  // handed out: the buffer is empty now
  EXPECT_EQ(c.used_length(), 20000);

  c.ReInit();
  c.SConcat("fresh");
  EXPECT_EQ(c.GetString(), "fresh");
}

TEST(Concat, AppendingAfterGetStringWritesBehindTheStaleLength) {
  clsConcat c;
  c.SConcat("abcde");
  ASSERT_EQ(c.GetString(), "abcde");
  c.SConcat("Z");
  EXPECT_EQ(c.GetString(), std::string(5, '\0') + "Z");

  clsConcat big;
  big.SConcat(std::string(15000, 'x'));
  big.GetString();
  try {
    big.SConcat("y");
    ADD_FAILURE() << "a stale length of 15000 leaves no room";
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), err::kInvalidCall);
  }
}

TEST(Concat, LengthsCountCharactersNotBytes) {
  clsConcat c;
  for (int i = 0; i < 10000; ++i) c.SConcat("\xC3\xA9");  // é: two bytes, one character
  EXPECT_EQ(c.used_length(), 10000);
  EXPECT_EQ(c.GetString().size(), 20000u);
  // 10000 characters of stale length is below the 15000 limit, whatever the bytes.
  c.SConcat("x");
  EXPECT_EQ(c.GetString(), std::string(10000, '\0') + "x");
}

TEST(Concat, ALongPieceInANearlyFullBufferIsCut) {
  clsConcat c;
  for (int i = 0; i < 29990; ++i) c.SConcat("a");
  ASSERT_EQ(c.buffer_length(), 30001);
  c.SConcat(std::string(16000, 'b'));  // grows by 15000 only: 15011 characters fit
  EXPECT_EQ(c.buffer_length(), 45001);
  EXPECT_EQ(c.used_length(), 45990);
  c.SConcat("c");
  const std::string text = c.GetString();
  EXPECT_EQ(text, std::string(29990, 'a') + std::string(15011, 'b') + std::string(989, '\0') + "c");
}

TEST(Concat, SetStringReplacesTheBufferButNotTheLength) {
  clsConcat c;
  c.SetString("hello");
  EXPECT_EQ(c.buffer_length(), 15005);
  c.SConcat("J");  // used length 0: writes over the first character
  EXPECT_EQ(c.GetString(), "J");
}

}  // namespace
}  // namespace vantrove
