// The component frame: the version and the file test.
//
// One declaration per member (see docs/members.md).
#include "member.hpp"

namespace vantrove::detail {

namespace {

constexpr MemberDecl kMembers[] = {
    VANTROVE_MEMBER(0, Version, "String", "", "Method to return the version of the library (major.minor.revision)."),
    VANTROVE_MEMBER(98, FileExists, "Boolean", "strFile As Variant", "Method to test whether a file or folder exists."),
};

}  // namespace

std::span<const MemberDecl> ComponentMembers() { return kMembers; }

}  // namespace vantrove::detail
