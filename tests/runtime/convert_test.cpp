#include <gtest/gtest.h>

#include <cmath>

#include "vantrove/runtime.hpp"

namespace vantrove {
namespace {

int ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const RuntimeError& e) {
    return e.number();
  }
  return 0;
}

TEST(Convert, IntegersRoundHalfToEven) {
  EXPECT_EQ(CInt(Variant(2.5)), 2);
  EXPECT_EQ(CInt(Variant(3.5)), 4);
  EXPECT_EQ(CInt(Variant(-2.5)), -2);
  EXPECT_EQ(CInt(Variant(-3.5)), -4);
  EXPECT_EQ(CInt(Variant(2.5000001)), 3);
  EXPECT_EQ(CLng(Variant("0.5")), 0);
  EXPECT_EQ(CLng(Variant("1.5")), 2);
  EXPECT_EQ(CLng(Variant(Currency{25000})), 2);
  EXPECT_EQ(CByte(Variant(254.5)), 254);
}

TEST(Convert, SixteenAndThirtyTwoBitOverflow) {
  EXPECT_EQ(CInt(Variant(32767.4)), 32767);
  EXPECT_EQ(ErrorOf([] { CInt(Variant(32767.5)); }), err::kOverflow);
  EXPECT_EQ(CInt(Variant(-32768.5)), -32768);  // half to even stays in range
  EXPECT_EQ(ErrorOf([] { CInt(Variant(-32769)); }), err::kOverflow);
  EXPECT_EQ(CLng(Variant(2147483647.0)), 2147483647);
  EXPECT_EQ(ErrorOf([] { CLng(Variant(2147483647.5)); }), err::kOverflow);
  EXPECT_EQ(ErrorOf([] { CLng(Variant("1E10")); }), err::kOverflow);
  EXPECT_EQ(ErrorOf([] { CByte(Variant(-1)); }), err::kOverflow);
  EXPECT_EQ(ErrorOf([] { CSng(Variant(1e300)); }), err::kOverflow);
}

TEST(Convert, NullEmptyAndBooleans) {
  EXPECT_EQ(CStr(Variant()), "");
  EXPECT_EQ(CLng(Variant()), 0);
  EXPECT_FALSE(CBool(Variant()));
  EXPECT_EQ(ErrorOf([] { CStr(Variant::Null()); }), err::kInvalidNull);
  EXPECT_EQ(ErrorOf([] { CLng(Variant::Null()); }), err::kInvalidNull);
  EXPECT_EQ(CInt(Variant(true)), -1);
  EXPECT_EQ(CStr(Variant(true)), "True");
  EXPECT_EQ(CStr(Variant(false)), "False");
  EXPECT_TRUE(CBool(Variant(" true ")));
  EXPECT_FALSE(CBool(Variant("FALSE")));
  EXPECT_TRUE(CBool(Variant("-2")));
  EXPECT_EQ(ErrorOf([] { CBool(Variant("yes")); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([] { CDbl(Variant("True")); }), err::kTypeMismatch);
}

TEST(Convert, NumbersToTextInTheirShortestForm) {
  EXPECT_EQ(CStr(Variant(1e20)), "1E+20");
  EXPECT_EQ(CStr(Variant(1.5e-7)), "1.5E-07");
  EXPECT_EQ(CStr(Variant(0.0001)), "0.0001");
  EXPECT_EQ(CStr(Variant(0.00001)), "1E-05");
  EXPECT_EQ(CStr(Variant(1.0 / 3)), "0.333333333333333");
  EXPECT_EQ(CStr(Variant(123456789012345.0)), "123456789012345");
  EXPECT_EQ(CStr(Variant(1e15)), "1E+15");
  EXPECT_EQ(CStr(Variant(-2.5)), "-2.5");
  EXPECT_EQ(CStr(Variant(0.1 + 0.2)), "0.3");
  EXPECT_EQ(CStr(Variant(-0.0)), "0");
  EXPECT_EQ(CStr(Variant(3.0f)), "3");
  EXPECT_EQ(CStr(Variant(0.1f)), "0.1");
  EXPECT_EQ(CStr(Variant(Currency{-15000})), "-1.5");
  EXPECT_EQ(CStr(Variant(Currency{INT64_MIN})), "-922337203685477.5808");
  EXPECT_EQ(CStr(Variant(int16_t{-7})), "-7");
  EXPECT_EQ(CStr(Variant(ErrorValue{2042})), "Error 2042");
}

TEST(Convert, TextToNumbers) {
  EXPECT_DOUBLE_EQ(CDbl(Variant("  1,234.5 ")), 1234.5);
  EXPECT_DOUBLE_EQ(CDbl(Variant("-.5")), -0.5);
  EXPECT_DOUBLE_EQ(CDbl(Variant("1e3")), 1000);
  EXPECT_DOUBLE_EQ(CDbl(Variant("+2D2")), 200);
  EXPECT_DOUBLE_EQ(CDbl(Variant("&HFF")), 255);
  EXPECT_DOUBLE_EQ(CDbl(Variant("&HFFFF")), -1);
  EXPECT_DOUBLE_EQ(CDbl(Variant("&O17")), 15);
  for (const char* bad : {"", "abc", "1.2.3", "1e", "--1", "&HZZ", "1 2", ","}) {
    EXPECT_EQ(ErrorOf([&] { CDbl(Variant(bad)); }), err::kTypeMismatch) << bad;
    EXPECT_FALSE(IsNumeric(Variant(bad))) << bad;
  }
  EXPECT_TRUE(IsNumeric(Variant(" 12 ")));
  EXPECT_TRUE(IsNumeric(Variant()));
  EXPECT_EQ(CCur(Variant("1.23455")).scaled, 12346);  // half to even at the 4th decimal
  EXPECT_EQ(ErrorOf([] { CCur(Variant(1e16)); }), err::kOverflow);
}

TEST(Convert, Dates) {
  EXPECT_DOUBLE_EQ(DateSerial(1899, 12, 30).serial, 0);
  EXPECT_DOUBLE_EQ(DateSerial(1900, 1, 1).serial, 2);
  EXPECT_DOUBLE_EQ(DateSerial(2024, 2, 29).serial, 45351);
  EXPECT_DOUBLE_EQ(DateSerial(1899, 12, 29, 6).serial, -1.25);
  EXPECT_EQ(CStr(Variant(DateSerial(2003, 1, 2, 15, 4, 5))), "1/2/2003 3:04:05 PM");
  EXPECT_EQ(CStr(Variant(DateSerial(2003, 1, 2))), "1/2/2003");
  EXPECT_EQ(CStr(Variant(Date{0.5})), "12:00:00 PM");
  EXPECT_EQ(CStr(Variant(Date{0})), "12:00:00 AM");
  EXPECT_EQ(CStr(Variant(DateSerial(1899, 12, 29, 6))), "12/29/1899 6:00:00 AM");
  EXPECT_DOUBLE_EQ(CDate(Variant("2024-02-29")).serial, 45351);
  EXPECT_DOUBLE_EQ(CDate(Variant("2/29/2024 12:00 PM")).serial, 45351.5);
  EXPECT_DOUBLE_EQ(CDate(Variant("18:00")).serial, 0.75);
  EXPECT_EQ(ErrorOf([] { CDate(Variant("2023-02-29")); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([] { CDate(Variant(1e9)); }), err::kOverflow);
}

TEST(Compare, VariantOrdering) {
  EXPECT_EQ(Compare(Variant(1), Variant(2.5)), -1);
  EXPECT_EQ(Compare(Variant(int16_t{2}), Variant(2.0)), 0);
  EXPECT_EQ(Compare(Variant(true), Variant(0)), -1);  // True is -1
  EXPECT_EQ(Compare(Variant(Currency{10000}), Variant(1)), 0);
  EXPECT_EQ(Compare(Variant(DateSerial(2020, 1, 1)), Variant(43831)), 0);
  // Any number sorts before any string, even a numeric-looking one.
  EXPECT_EQ(Compare(Variant(1000), Variant("1")), -1);
  EXPECT_EQ(Compare(Variant("1"), Variant(1000)), 1);
  // Empty is 0 against numbers and "" against strings.
  EXPECT_EQ(Compare(Variant(), Variant(0)), 0);
  EXPECT_EQ(Compare(Variant(), Variant(-1)), 1);
  EXPECT_EQ(Compare(Variant(), Variant("")), 0);
  EXPECT_EQ(Compare(Variant(), Variant("a")), -1);
  EXPECT_EQ(Compare(Variant(), Variant()), 0);
  EXPECT_EQ(Compare(Variant("B"), Variant("a")), -1);
  EXPECT_EQ(Compare(Variant("B"), Variant("a"), CompareMode::Text), 1);
  EXPECT_EQ(Compare(Variant("ÄBC"), Variant("äbc"), CompareMode::Text), 0);
  EXPECT_EQ(ErrorOf([] { Compare(Variant::Null(), Variant(1)); }), err::kInvalidNull);
  EXPECT_EQ(ErrorOf([] { Compare(Variant(SafeArray()), Variant(1)); }), err::kTypeMismatch);
}

}  // namespace
}  // namespace vantrove
