// Must not compile: TextFileToOneDArray writes strTextFile back to the caller,
// so its declaration cannot take it ByVal.
#include "component/member.hpp"

namespace vantrove::detail {

constexpr MemberDecl kWrong = VANTROVE_MEMBER(118, TextFileToOneDArray, "Integer",
                                              "ByVal strTextFile As String, varArray As Variant",
                                              "Method to copy a TextBox to a one dimensional array.");

}  // namespace vantrove::detail
