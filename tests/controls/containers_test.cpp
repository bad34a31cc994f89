// Dictionary, Collection and the in-memory text box, typed and by name.
#include <gtest/gtest.h>

#include "vantrove/controls.hpp"

namespace vantrove {
namespace {

int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const RuntimeError& e) {
    return e.number();
  }
  return 0;
}

TEST(Dictionary, KeysAreBinaryByDefaultAndNumbersMatchByValue) {
  Dictionary d;
  d.Add(Variant("a"), Variant(int32_t{1}));
  d.Add(Variant("A"), Variant(int32_t{2}));
  d.Add(Variant(int16_t{1}), Variant("one"));
  EXPECT_EQ(d.Count(), 3);
  EXPECT_TRUE(d.Exists(Variant(1.0)));
  EXPECT_FALSE(d.Exists(Variant("1")));
  EXPECT_EQ(CStr(d.Item(Variant(int32_t{1}))), "one");
  EXPECT_EQ(ErrorOf([&] { d.Add(Variant("a"), Variant()); }), 457);

  EXPECT_TRUE(d.Item(Variant("new")).IsEmpty());  // reading a missing key adds it
  EXPECT_EQ(d.Count(), 4);
  d.Remove(Variant("A"));
  EXPECT_EQ(ErrorOf([&] { d.Remove(Variant("A")); }), 32811);
  d.RenameKey(Variant("a"), Variant("z"));
  const SafeArray keys = d.Keys().array();
  ASSERT_EQ(keys.size(), 3u);
  EXPECT_EQ(CStr(keys.at(0)), "z");
  EXPECT_EQ(CStr(d.Items().array().at(1)), "one");

  EXPECT_EQ(ErrorOf([&] { d.set_compare_mode(CompareMode::Text); }), 5);
  d.RemoveAll();
  d.set_compare_mode(CompareMode::Text);
  d.Add(Variant("Key"), Variant(int32_t{1}));
  EXPECT_TRUE(d.Exists(Variant("KEY")));
}

TEST(Dictionary, MembersByName) {
  const ObjectRef d = CreateObject("Scripting.Dictionary");
  CallMethod(d, "add", {Variant("k"), Variant("v")});
  SetProperty(d, "Item", Variant("w"), {Variant("k2")});
  EXPECT_EQ(CLng(GetProperty(d, "Count")), 2);
  EXPECT_EQ(CStr(GetProperty(d, "Item", {Variant("k2")})), "w");
  EXPECT_TRUE(CBool(CallMethod(d, "Exists", {Variant("k")})));
  EXPECT_EQ(CallMethod(d, "Keys").array().size(), 2u);
  EXPECT_EQ(ErrorOf([&] { CallMethod(d, "Frobnicate"); }), 438);
  EXPECT_EQ(ErrorOf([&] { CallMethod(d, "Add", {Variant("only key")}); }), 450);
}

TEST(Collection, NumbersFromOneKeysWithoutCase) {
  Collection c;
  c.Add(Variant("first"), Variant("K1"));
  c.Add(Variant("third"));
  c.Add(Variant("second"), Variant("k2"), Variant(int32_t{2}));
  c.Add(Variant("fourth"), Variant::Missing(), Variant::Missing(), Variant("K2"));
  ASSERT_EQ(c.Count(), 4);
  EXPECT_EQ(CStr(c.Item(Variant(int32_t{1}))), "first");
  EXPECT_EQ(CStr(c.Item(Variant(int32_t{2}))), "second");
  EXPECT_EQ(CStr(c.Item(Variant(int32_t{3}))), "fourth");
  EXPECT_EQ(CStr(c.Item(Variant("k1"))), "first");
  EXPECT_EQ(ErrorOf([&] { c.Item(Variant(int32_t{5})); }), 9);
  EXPECT_EQ(ErrorOf([&] { c.Item(Variant("nope")); }), 5);
  EXPECT_EQ(ErrorOf([&] { c.Add(Variant("x"), Variant("K2")); }), 457);
  c.Remove(Variant("k1"));
  EXPECT_EQ(CStr(c.Item(Variant(int32_t{1}))), "second");

  const ObjectRef byName = CreateObject("Collection");
  CallMethod(byName, "Add", {Variant("a"), Variant("key")});
  EXPECT_EQ(CStr(GetProperty(byName, "Item", {Variant("KEY")})), "a");
  EXPECT_EQ(CLng(GetProperty(byName, "Count")), 1);
}

TEST(TextBox, TextByName) {
  const ObjectRef box = CreateObject("TextBox");
  EXPECT_EQ(box->ClassName(), "TextBox");
  SetProperty(box, "text", Variant("line 1\r\nline 2"));
  EXPECT_EQ(CStr(GetProperty(box, "Text")), "line 1\r\nline 2");
  EXPECT_EQ(dynamic_cast<TextBox&>(*box).Text(), "line 1\r\nline 2");
}

}  // namespace
}  // namespace vantrove
