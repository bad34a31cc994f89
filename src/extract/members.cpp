// The extraction members: FixXML, flattening, XML files to arrays and
// recordsets (xml_methods.cpp), block attributes (block_attributes.cpp).
//
// One declaration per member (see docs/members.md).
#include "../component/member.hpp"

namespace vantrove::detail {

namespace {

constexpr MemberDecl kMembers[] = {
    VANTROVE_MEMBER(14, CreateBlockAttributeArray, "Integer",
     "vArr As Variant, Optional lngDrawingSpace As DrawingSpaceType, Optional strLayout As String, "
     "Optional strBlock As String, Optional strLayer As String, Optional ByVal lngDrawingField As DrawingFieldType, "
     "Optional blnIncludeHeadings As Boolean = True, Optional varAttributeTags As Variant",
     "Method to extract block attribute tags and values and store them in a two dimensional array. Note: Since "
     "multiple blocks can be used pass a value to the strFilter parameter to specify specific blocks, layers, etc. "),
    VANTROVE_MEMBER(15, Web_CreateBlockAttributeArray, "Integer",
     "vArr As Variant, Optional strFilter As Variant = \"\", Optional ByVal lngDrawingField As Variant = 0, "
     "Optional blnIncludeHeadings As Variant = True",
     "Web method to extract block attribute tags and values and store them in a two dimensional array. Note: Since "
     "multiple blocks can be used pass a value to the strFilter parameter to specify specific blocks, layers, etc. "),
    VANTROVE_MEMBER(63, FlattenXMLfile, "Integer",
     "strSourceXMLFile As String, strTargetXMLFile As String, lngChapter As ChapterType, "
     "Optional lngDrawingField As DrawingFieldType",
     "Method to flatten one chapter of a drawing's XML description into flat records."),
    VANTROVE_MEMBER(64, Web_FlattenXMLfile, "Integer",
     "strSourceXMLFile As Variant, strTargetXMLFile As Variant, lngChapter As Variant, "
     "Optional lngDrawingField As Variant = 0",
     "Web method to flatten one chapter of a drawing's XML description into flat records."),
    VANTROVE_MEMBER(65, XMLfileToArray, "Integer",
     "strXMLFile As String, lngChapter As ChapterType, varArray As Variant, Optional blnIncludeHeadings As Boolean, "
     "Optional strFilter As String, Optional varFields As Variant, Optional ByVal lngDrawingField As DrawingFieldType",
     "Method to copy one chapter of a drawing's XML description to a two dimensional array."),
    VANTROVE_MEMBER(66, Web_XMLfileToArray, "Integer",
     "strXMLFile As Variant, lngChapter As Variant, varArray As Variant, Optional blnIncludeHeadings As Variant = False, "
     "Optional strFilter As Variant = \"\", Optional varFields As Variant, Optional ByVal lngDrawingField As Variant = 0",
     "Web method to copy one chapter of a drawing's XML description to a two dimensional array."),
    VANTROVE_MEMBER(67, XMLFileToRecordset, "Long", "strXMLFile As String, objRecd As Object",
     "Method to open an XML file as a recordset."),
    VANTROVE_MEMBER(68, Web_XMLFileToRecordset, "Long", "strXMLFile As Variant, objRecd As Variant",
     "Web method to open an XML file as a recordset."),
    VANTROVE_MEMBER(97, FixXML, "", "strFile As Variant", "Method to normalise a drawing's XML description for reading."),
    VANTROVE_MEMBER(124, FlatXMLfileToArray, "Integer",
     "strXMLFile As String, varArray As Variant, Optional blnIncludeHeadings As Boolean",
     "Method to copy a flat XML file to a two dimensional array."),
    VANTROVE_MEMBER(125, Web_FlatXMLfileToArray, "Integer",
     "strXMLFile As Variant, varArray As Variant, Optional blnIncludeHeadings As Variant = False",
     "Web method to copy a flat XML file to a two dimensional array."),
};

}  // namespace

std::span<const MemberDecl> ExtractMembers() { return kMembers; }

}  // namespace vantrove::detail
