// Must not compile: SortOneDArray's first parameter is a Variant, not a
// String. The component tests compile this file and expect the declaration
// check to name what does not fit.
#include "component/member.hpp"

namespace vantrove::detail {

constexpr MemberDecl kWrong = VANTROVE_MEMBER(117, SortOneDArray, "Integer",
                                              "varArray As String, Optional ByVal lngSortOrder As SortOrderType",
                                              "Method to sort a one dimensional array.");

}  // namespace vantrove::detail
