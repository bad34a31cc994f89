#include <gtest/gtest.h>

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

TEST(Variant, KindsAndTypeNames) {
  EXPECT_EQ(Variant().type(), VarType::Empty);
  EXPECT_EQ(Variant::Null().type(), VarType::Null);
  EXPECT_EQ(Variant(int16_t{1}).TypeName(), "Integer");
  EXPECT_EQ(Variant(1).TypeName(), "Long");
  EXPECT_EQ(Variant(true).TypeName(), "Boolean");
  EXPECT_EQ(Variant("x").TypeName(), "String");
  EXPECT_EQ(Variant(ObjectRef{}).TypeName(), "Nothing");
  EXPECT_TRUE(Variant::Missing().IsMissing());
  EXPECT_FALSE(Variant(ErrorValue{5}).IsMissing());
  Variant arr(SafeArray::Vector({1, 2}));
  EXPECT_EQ(arr.VarTypeNumber(), 0x2000 + 12);
  EXPECT_EQ(arr.TypeName(), "Variant()");
  EXPECT_EQ(Variant(SafeArray(VarType::String)).TypeName(), "String()");
}

TEST(Variant, CopyingAnArrayCopiesItsElements) {
  Variant a(SafeArray::Vector({1, 2, 3}));
  Variant b = a;
  b.array().at(0) = Variant("changed");
  EXPECT_EQ(CLng(a.array().at(0)), 1);
  Variant c;
  c = b;
  EXPECT_EQ(CStr(c.array().at(0)), "changed");
  Variant moved = std::move(c);
  EXPECT_TRUE(moved.IsArray());
}

TEST(Variant, ExactAccessorsRaiseTypeMismatch) {
  EXPECT_EQ(ErrorOf([] { (void)Variant(1).str(); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([] { (void)Variant("a").array(); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([] { (void)Variant(1).object(); }), err::kObjectRequired);
}

TEST(SafeArray, UnallocatedIsAnArrayWithoutBounds) {
  Variant v{SafeArray()};
  EXPECT_TRUE(v.IsArray());
  EXPECT_FALSE(v.array().allocated());
  EXPECT_EQ(ErrorOf([&] { (void)v.array().UBound(1); }), err::kSubscript);
  EXPECT_EQ(ErrorOf([&] { (void)v.array().LBound(1); }), err::kSubscript);
  EXPECT_EQ(ErrorOf([&] { (void)v.array().at(0); }), err::kSubscript);
}

TEST(SafeArray, AnyLowerBoundsAndRowMajorStorage) {
  SafeArray a({Bounds{1, 2}, Bounds{-1, 1}});
  EXPECT_EQ(a.LBound(1), 1);
  EXPECT_EQ(a.UBound(1), 2);
  EXPECT_EQ(a.LBound(2), -1);
  EXPECT_EQ(a.UBound(2), 1);
  EXPECT_EQ(ErrorOf([&] { (void)a.UBound(3); }), err::kSubscript);
  a.at(1, -1) = 10;
  a.at(1, 1) = 12;
  a.at(2, -1) = 20;
  EXPECT_EQ(CLng(a.data()[0]), 10);
  EXPECT_EQ(CLng(a.data()[2]), 12);
  EXPECT_EQ(CLng(a.data()[3]), 20);
  EXPECT_EQ(ErrorOf([&] { (void)a.at(0, 0); }), err::kSubscript);
  EXPECT_EQ(ErrorOf([&] { (void)a.at(1); }), err::kSubscript);  // wrong number of indices
}

TEST(SafeArray, EmptyRangeIsAllowedButNegativeCountIsNot) {
  SafeArray a({Bounds{0, -1}});
  EXPECT_TRUE(a.allocated());
  EXPECT_EQ(a.UBound(1), -1);
  EXPECT_EQ(a.size(), 0u);
  EXPECT_EQ(ErrorOf([] { SafeArray b({Bounds{0, -2}}); }), err::kSubscript);
}

TEST(SafeArray, ReDimPreserveKeepsCellsAndOnlyGrowsTheLastDimension) {
  SafeArray a = SafeArray::FromRows({{"a", "b"}, {"c", "d"}});
  a.ReDimPreserve({Bounds{0, 1}, Bounds{0, 2}});
  EXPECT_EQ(CStr(a.at(0, 0)), "a");
  EXPECT_EQ(CStr(a.at(0, 1)), "b");
  EXPECT_TRUE(a.at(0, 2).IsEmpty());
  EXPECT_EQ(CStr(a.at(1, 0)), "c");
  EXPECT_EQ(CStr(a.at(1, 1)), "d");
  a.ReDimPreserve({Bounds{0, 1}, Bounds{0, 0}});
  EXPECT_EQ(CStr(a.at(1, 0)), "c");
  EXPECT_EQ(ErrorOf([&] { a.ReDimPreserve({Bounds{0, 2}, Bounds{0, 0}}); }), err::kSubscript);
  EXPECT_EQ(ErrorOf([&] { a.ReDimPreserve({Bounds{1, 1}, Bounds{0, 0}}); }), err::kSubscript);
  EXPECT_EQ(ErrorOf([&] { a.ReDimPreserve({Bounds{0, 1}}); }), err::kSubscript);

  SafeArray grow;  // unallocated: Preserve acts as a plain ReDim
  for (int32_t i = 0; i < 3; ++i) {
    grow.ReDimPreserve({Bounds{0, i}});
    grow.at(i) = i * 10;
  }
  EXPECT_EQ(CLng(grow.at(0)), 0);
  EXPECT_EQ(CLng(grow.at(2)), 20);
  grow.Erase();
  EXPECT_FALSE(grow.allocated());
}

TEST(SafeArray, TypedArraysConvertOnSet) {
  SafeArray s({Bounds{0, 1}}, VarType::String);
  EXPECT_TRUE(s.at(0).IsString());
  const int32_t i0[] = {0};
  s.Set(i0, Variant(2.5));
  EXPECT_EQ(s.at(0).str(), "2.5");
  SafeArray n({Bounds{0, 0}}, VarType::Integer);
  EXPECT_EQ(ErrorOf([&] { n.Set(i0, Variant(40000)); }), err::kOverflow);
}

TEST(SafeArray, AbsurdBoundsAreRefusedNotAllocated) {
  EXPECT_EQ(ErrorOf([] { SafeArray a({Bounds{0, 2000000000}, Bounds{0, 2000000000}}); }), err::kOutOfMemory);
}

class Counter : public Object {
 public:
  std::string ClassName() const override { return "Counter"; }
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override {
    if (StrComp(member, "Value", CompareMode::Text) == 0) {
      if (kind == CallKind::PropertyPut) value = CLng(args.back());
      return value;
    }
    return Object::Invoke(member, kind, args);
  }
  int32_t value = 0;
};

TEST(Object, LateBoundMembersAndCreatableClasses) {
  RegisterCreatableClass("Counter", [] { return std::make_shared<Counter>(); });
  ObjectRef c = CreateObject("counter");
  SetProperty(c, "VALUE", 7);
  EXPECT_EQ(CLng(GetProperty(c, "value")), 7);
  EXPECT_EQ(ErrorOf([&] { CallMethod(c, "Nope"); }), err::kNoSuchMember);
  EXPECT_EQ(ErrorOf([] { CallMethod(nullptr, "x"); }), err::kObjectNotSet);
  EXPECT_EQ(ErrorOf([] { CreateObject("No.Such.Class"); }), err::kCannotCreateObject);
  EXPECT_EQ(Variant(c).TypeName(), "Counter");
}

}  // namespace
}  // namespace vantrove
