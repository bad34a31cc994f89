// The array members: sorting (sorting.cpp) and delimited text into arrays
// (text_readers.cpp).
//
// One declaration per member (see docs/members.md).
#include "../component/member.hpp"

namespace vantrove::detail {

namespace {

constexpr MemberDecl kMembers[] = {
    VANTROVE_MEMBER(112, MultiLineTextToOneDArray, "Integer",
     "ByVal strText As String, varArray As Variant, Optional ByVal strDelimiter As String",
     "Method to copy multiple line text to a one dimensional array."),
    VANTROVE_MEMBER(117, SortOneDArray, "Integer", "varArray As Variant, Optional ByVal lngSortOrder As SortOrderType",
     "Method to sort a one dimensional array."),
    VANTROVE_MEMBER(118, TextFileToOneDArray, "Integer", "strTextFile As String, varArray As Variant",
     "Method to copy a TextBox to a one dimensional array."),
    VANTROVE_MEMBER(119, TextFileToArray, "Integer",
     "strTextFile As String, varArray As Variant, ByVal strDelimiter As String, Optional blnRemoveQuotes As Boolean",
     "Method to copy a text file to a two dimensional array."),
    VANTROVE_MEMBER(120, Web_TextFileToArray, "Integer",
     "strTextFile As Variant, varArray As Variant, Optional ByVal strDelimiter As Variant = \"\", "
     "Optional blnRemoveQuotes As Variant = False",
     "Web method to copy a text file to a two dimensional array."),
    VANTROVE_MEMBER(121, TextBoxToOneDArray, "Integer", "tb As Object, varArray As Variant",
     "Method to copy a TextBox to a one dimensional array."),
    VANTROVE_MEMBER(122, SortTwoDArray, "Integer",
     "arrArray As Variant, blnDoNotIncludeFirstRow As Boolean, ParamArray SortOrder() As Variant",
     "Method to sort a two dimensional array."),
    VANTROVE_MEMBER(123, Web_SortTwoDArray, "Integer",
     "arrArray As Variant, blnDoNotIncludeFirstRow As Variant, ParamArray SortOrder() As Variant",
     "Web method to sort a two dimensional array."),
};

}  // namespace

std::span<const MemberDecl> ArraysMembers() { return kMembers; }

}  // namespace vantrove::detail
