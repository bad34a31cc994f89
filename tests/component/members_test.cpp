// The member declarations: how a parameter list is read, and that the areas
// together declare every interface position exactly once.
#include <gtest/gtest.h>

#include <set>

#include "component/member.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::detail {
namespace {

constexpr std::string_view kList =
    "varArray As Variant, Optional ByVal strDelimiter As String = \",\", ParamArray SortOrder() As Variant";

// Read while compiling, as the member checks read them.
static_assert(DeclaredParamCount("") == 0);
static_assert(DeclaredParamCount(kList) == 3);
static_assert(ParseDeclaredParam(DeclaredParamText(kList, 1)).defaultText == "\",\"");
static_assert(!ParseDeclaredParam(DeclaredParamText(kList, 1)).byRef);
static_assert(ParseDeclaredParam(DeclaredParamText(kList, 2)).name == "SortOrder");

TEST(Members, ParametersReadWithTheirFlagsTypesAndDefaults) {
  const DeclaredParam first = ParseDeclaredParam(DeclaredParamText(kList, 0));
  EXPECT_EQ(first.name, "varArray");
  EXPECT_EQ(first.type, "Variant");
  EXPECT_TRUE(first.byRef);
  EXPECT_FALSE(first.optional);
  const DeclaredParam last = ParseDeclaredParam(DeclaredParamText(kList, 2));
  EXPECT_TRUE(last.paramArray);
  EXPECT_TRUE(last.optional);
  EXPECT_EQ(DeclaredParamText(kList, 3), "");
  EXPECT_THROW(ParseDeclaredParam("strFile String"), std::logic_error);
  EXPECT_THROW(ParseDeclaredParam("strFile As"), std::logic_error);
}

TEST(Members, EveryPositionDeclaredOnceUnderAUniqueName) {
  const auto members = MembersByPosition();
  ASSERT_EQ(members.size(), static_cast<size_t>(kMethodCount));
  std::set<std::string> names;
  for (size_t i = 0; i < members.size(); ++i) {
    ASSERT_NE(members[i], nullptr) << "position " << i;
    EXPECT_EQ(members[i]->position, static_cast<int>(i)) << members[i]->name;
    EXPECT_TRUE(names.insert(FoldCase(members[i]->name)).second) << members[i]->name << " declared twice";
    EXPECT_FALSE(members[i]->help.empty()) << members[i]->name;
  }
}

TEST(Members, EachAreaDeclaresItsOwn) {
  // A member answers 445 exactly when its declaration has no implementation.
  int implemented = 0;
  for (const MemberDecl* m : MembersByPosition()) {
    EXPECT_EQ(clsVantrove::IsImplemented(m->position), m->invoke != nullptr) << m->name;
    implemented += m->invoke != nullptr;
  }
  EXPECT_GE(implemented, 74);
  EXPECT_EQ(ComponentMembers().size(), 2u);
  EXPECT_EQ(DatabaseMembers().size() + OfficeMembers().size() + ControlsMembers().size() +
                RecordsetMembers().size() + DrawingMembers().size() + OutputMembers().size() +
                ArraysMembers().size() + ExtractMembers().size() + ComponentMembers().size(),
            static_cast<size_t>(kMethodCount));
}

}  // namespace
}  // namespace vantrove::detail
