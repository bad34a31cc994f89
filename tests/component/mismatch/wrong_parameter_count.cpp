// Must not compile: FileExists takes one parameter.
#include "component/member.hpp"

namespace vantrove::detail {

constexpr MemberDecl kWrong = VANTROVE_MEMBER(98, FileExists, "Boolean", "strFile As Variant, blnFolder As Boolean",
                                              "Method to test whether a file or folder exists.");

}  // namespace vantrove::detail
