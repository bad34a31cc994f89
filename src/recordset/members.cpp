// The recordset transfer members: arrays to and from recordsets and
// recordsets to text files.
//
// One declaration per member (see docs/members.md).
#include "../component/member.hpp"

namespace vantrove::detail {

namespace {

constexpr MemberDecl kMembers[] = {
    VANTROVE_NOT_YET(69, TwoDArrayToRecordset, "Long", "varArray As Variant, objRecd As Object",
     "Method to copy a two dimensional array to a recordset. Note: Array schema must match recordset schema "
     "otherwise an error will occur."),
    VANTROVE_NOT_YET(70, Web_TwoDArrayToRecordset, "Long", "varArray As Variant, objRecd As Variant",
     "Web method to copy a two dimensional array to a recordset. Note: Array schema must match recordset schema "
     "otherwise an error will occur."),
    VANTROVE_NOT_YET(103, RecordsetToArray, "Integer", "objRecd As Object, varArray As Variant, Optional blnIncludeHeadings As Boolean",
     "Method to copy a recordset to a two dimensional array."),
    VANTROVE_NOT_YET(104, Web_RecordsetToArray, "Integer",
     "objRecd As Variant, varArray As Variant, Optional blnIncludeHeadings As Variant = False",
     "Web method to copy a recordset to a two dimensional array."),
    VANTROVE_NOT_YET(105, RecordsetToTextFile, "Integer",
     "objRecd As Object, strTextFile As String, Optional blnIncludeHeadings As Boolean, "
     "Optional ByVal strDelimiter As String, Optional blnQuotes As Boolean",
     "Method to copy a recordset to a text file."),
    VANTROVE_NOT_YET(106, Web_RecordsetToTextFile, "Integer",
     "objRecd As Variant, strTextFile As Variant, Optional blnIncludeHeadings As Variant = False, "
     "Optional ByVal strDelimiter As Variant = \"\", Optional blnQuotes As Variant = False",
     "Web method to copy a recordset to a text file."),
    VANTROVE_NOT_YET(126, CreateRecordsetFromArray, "Object", "varArray As Variant, Optional strFilter As String",
     "Method to create a recordset from a two dimensional array. Note: The first row of the array must contain the "
     "field names."),
};

}  // namespace

std::span<const MemberDecl> RecordsetMembers() { return kMembers; }

}  // namespace vantrove::detail
