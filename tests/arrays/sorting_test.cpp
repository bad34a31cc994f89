// Sorting one-dimensional arrays and the rows of two-dimensional ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "vantrove/component.hpp"

namespace vantrove {
namespace {

std::vector<std::string> Texts(const Variant& v) {
  std::vector<std::string> out;
  for (const Variant& x : v.array().data()) out.push_back(x.TypeName() + ":" + (x.IsNull() ? "" : CStr(x)));
  return out;
}

Variant Vec(std::vector<Variant> items, int32_t lower = 0) { return Variant(SafeArray::Vector(std::move(items), lower)); }

TEST(SortOneDArray, OrdersByTheVariantOrdering) {
  clsVantrove v;
  Variant a = Vec({"b", int32_t{3}, "B", 1.5, "a", int16_t{-2}, Variant(), "A"}, 4);
  EXPECT_EQ(v.SortOneDArray(a), 1);
  EXPECT_EQ(Texts(a), (std::vector<std::string>{"Integer:-2", "Empty:", "Double:1.5", "Long:3", "String:A",
                                                "String:B", "String:a", "String:b"}));
  EXPECT_EQ(a.array().LBound(), 4);

  EXPECT_EQ(v.SortOneDArray(a, dwgDescending), 1);
  EXPECT_EQ(Texts(a).front(), "String:b");
  EXPECT_EQ(v.SortOneDArray(a, static_cast<SortOrderType>(7)), 1);  // unknown order: ascending
  EXPECT_EQ(Texts(a).front(), "Integer:-2");
}

TEST(SortOneDArray, EqualValuesKeepTheirOrderAndDescendingIsItsExactReverse) {
  clsVantrove v;
  // 1 (Long) and 1.0 (Double) compare equal; the insertion sort keeps them in order.
  Variant a = Vec({1.0, int32_t{1}, int32_t{0}});
  EXPECT_EQ(v.SortOneDArray(a), 1);
  EXPECT_EQ(Texts(a), (std::vector<std::string>{"Long:0", "Double:1", "Long:1"}));
  a = Vec({1.0, int32_t{1}, int32_t{0}});
  EXPECT_EQ(v.SortOneDArray(a, dwgDescending), 1);
  EXPECT_EQ(Texts(a), (std::vector<std::string>{"Long:1", "Double:1", "Long:0"}));
}

TEST(SortOneDArray, LargeInputsMatchAReferenceSort) {
  clsVantrove v;
  std::mt19937 rng(7);
  for (int n : {6, 7, 100, 5000}) {
    std::vector<Variant> items;
    std::vector<std::string> expected;
    for (int i = 0; i < n; ++i) {
      std::string s = std::to_string(rng() % 500);  // many duplicates
      items.emplace_back(s);
      expected.push_back(s);
    }
    std::sort(expected.begin(), expected.end());
    Variant a = Vec(items);
    ASSERT_EQ(v.SortOneDArray(a), 1);
    for (int i = 0; i < n; ++i) ASSERT_EQ(a.array().data()[static_cast<size_t>(i)].str(), expected[static_cast<size_t>(i)]);
  }
}

TEST(SortOneDArray, BadInput) {
  clsVantrove v;
  Variant s("text");
  EXPECT_EQ(v.SortOneDArray(s), -1);
  Variant withNull = Vec({"c", "b", Variant::Null(), "a", "e", "f", "d"});
  EXPECT_EQ(v.SortOneDArray(withNull), 0);
  std::vector<std::string> kept = Texts(withNull);  // reordered perhaps, but nothing lost
  std::sort(kept.begin(), kept.end());
  EXPECT_EQ(kept, (std::vector<std::string>{"Null:", "String:a", "String:b", "String:c", "String:d", "String:e",
                                            "String:f"}));
  Variant grid(SafeArray::FromRows({{"b"}, {"a"}}));
  EXPECT_EQ(v.SortOneDArray(grid), 0);
  Variant unallocated{SafeArray()};
  EXPECT_EQ(v.SortOneDArray(unallocated), 0);
}

// Keys as a script passes them.
std::vector<Variant> Keys(std::initializer_list<Variant> k) { return std::vector<Variant>(k); }

std::vector<std::string> Column(const Variant& a, int32_t col) {
  std::vector<std::string> out;
  const SafeArray& s = a.array();
  for (int32_t r = s.LBound(1); r <= s.UBound(1); ++r) out.push_back(CStr(s.at(r, col)));
  return out;
}

TEST(SortTwoDArray, SortsByKeysInTurn) {
  clsVantrove v;
  Variant a(SafeArray::FromRows({{"p", "x", int32_t{1}}, {"q", "y", int32_t{2}}, {"r", "x", int32_t{2}},
                                 {"s", "y", int32_t{1}}, {"t", "x", int32_t{2}}}));
  auto keys = Keys({int32_t{2}, "dec", int32_t{0}, "asc"});
  EXPECT_EQ(v.SortTwoDArray(a, false, keys), 1);
  EXPECT_EQ(Column(a, 0), (std::vector<std::string>{"q", "r", "t", "p", "s"}));
  keys = Keys({"1", "asc", 0.0, "dec"});  // numbers given as text or Double work too
  EXPECT_EQ(v.Web_SortTwoDArray(a, Variant(false), keys), 1);
  EXPECT_EQ(Column(a, 0), (std::vector<std::string>{"t", "r", "p", "s", "q"}));
}

TEST(SortTwoDArray, RejectsBadKeyListsWithoutTouchingTheArray) {
  clsVantrove v;
  const Variant original(SafeArray::FromRows({{"b", int32_t{2}}, {"a", int32_t{1}}}));
  Variant a = original;
  struct Case {
    std::vector<Variant> keys;
    int16_t result;
  } cases[] = {
      {Keys({int32_t{1}, "DESC"}), -4}, {Keys({int32_t{1}, "desc"}), -4},    {Keys({"x", "asc"}), -2},
      {Keys({Variant::Null(), "asc"}), -2}, {Keys({int32_t{2}, "asc"}), -3}, {Keys({int32_t{-1}, "asc"}), -3},
      {Keys({int32_t{0}, "asc", "y", "asc"}), -2}, {Keys({int32_t{0}}), 0},
  };
  for (auto& c : cases) {
    EXPECT_EQ(v.SortTwoDArray(a, false, c.keys), c.result) << CStr(c.keys[0]);
    EXPECT_EQ(Column(a, 0), Column(original, 0));
  }
  Variant text("x");
  auto keys = Keys({int32_t{0}, "asc"});
  EXPECT_EQ(v.SortTwoDArray(text, false, keys), -1);
  Variant flat = Vec({"b", "a"});
  EXPECT_EQ(v.SortTwoDArray(flat, false, keys), 0);
}

TEST(SortTwoDArray, TheFirstRowFlagMeansRowOne) {
  clsVantrove v;
  auto keys = Keys({int32_t{0}, "asc"});
  Variant zeroBased(SafeArray::FromRows({{"name"}, {"c"}, {"a"}, {"b"}}));
  EXPECT_EQ(v.SortTwoDArray(zeroBased, true, keys), 1);
  EXPECT_EQ(Column(zeroBased, 0), (std::vector<std::string>{"name", "a", "b", "c"}));

  SafeArray oneBased({Bounds{1, 3}, Bounds{0, 0}});
  oneBased.at(1, 0) = Variant("z");
  oneBased.at(2, 0) = Variant("y");
  oneBased.at(3, 0) = Variant("x");
  Variant ob(oneBased);
  EXPECT_EQ(v.SortTwoDArray(ob, true, keys), 1);  // row 1 is sorted with the rest
  EXPECT_EQ(Column(ob, 0), (std::vector<std::string>{"x", "y", "z"}));

  Variant fromFive(SafeArray({Bounds{5, 7}, Bounds{0, 0}}));
  EXPECT_EQ(v.SortTwoDArray(fromFive, true, keys), 0);  // row 1 does not exist
}

TEST(SortTwoDArray, LargeTablesSortCorrectlyAndSixteenBitRowsOverflow) {
  clsVantrove v;
  std::mt19937 rng(11);
  const int rows = 3000;
  SafeArray s = SafeArray::Matrix(rows, 3);
  for (int r = 0; r < rows; ++r) {
    s.at(r, 0) = Variant(static_cast<int32_t>(rng() % 20));
    std::string key = std::to_string(rng() % 50);
    key.insert(key.begin(), 'k');
    s.at(r, 1) = Variant(key);
    s.at(r, 2) = Variant(static_cast<int32_t>(r));
  }
  Variant a(s);
  auto keys = Keys({int32_t{1}, "asc", int32_t{0}, "dec"});
  ASSERT_EQ(v.SortTwoDArray(a, false, keys), 1);
  std::vector<bool> seen(rows, false);
  for (int r = 0; r < rows; ++r) {
    seen[static_cast<size_t>(CLng(a.array().at(r, 2)))] = true;
    if (r == 0) continue;
    const int c1 = Compare(a.array().at(r - 1, 1), a.array().at(r, 1));
    ASSERT_LE(c1, 0);
    if (c1 == 0) {
      ASSERT_GE(CLng(a.array().at(r - 1, 0)), CLng(a.array().at(r, 0)));
    }
  }
  EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](bool b) { return b; }));

  Variant tooTall(SafeArray::Matrix(32769, 1));  // rows 0 .. 32768
  EXPECT_EQ(v.SortTwoDArray(tooTall, false, keys = Keys({int32_t{0}, "asc"})), 0);
}

}  // namespace
}  // namespace vantrove
