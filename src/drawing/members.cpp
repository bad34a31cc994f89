// The drawing members: open, close, save, export, edits by handle (drawing.cpp)
// and find-and-modify (find_modify.cpp).
//
// One declaration per member (see docs/members.md).
#include "../component/member.hpp"

namespace vantrove::detail {

namespace {

constexpr MemberDecl kMembers[] = {
    VANTROVE_MEMBER(1, OpenDrawing, "String", "ByVal strFile As String, Optional strPassword As String",
     "Method to open an AutoCAD drawing (DWG) file or DXF file."),
    VANTROVE_MEMBER(16, Web_OpenDrawing, "String", "ByVal strFile As Variant, Optional strPassword As Variant = \"\"",
     "Web method to open an AutoCAD drawing (DWG) file or DXF file."),
    VANTROVE_MEMBER(17, CloseDrawing, "String", "", "Method to close the active drawing."),
    VANTROVE_MEMBER(18, Web_CloseDrawing, "String", "", "Web method to close the active drawing."),
    VANTROVE_MEMBER(25, CreateDXF, "String",
     "strDXFfile As String, Optional ByVal intPrecision As Integer, "
     "Optional lngVersion As AutoCADversionType = dwgVersion2004",
     "Method to create a DXF file from a drawing (DWG) file."),
    VANTROVE_MEMBER(26, Web_CreateDXF, "String",
     "strDXFfile As Variant, Optional ByVal intPrecision As Variant = 0, Optional lngVersion As Variant = 2004",
     "Web method to create a DXF file from a drawing (DWG) file."),
    VANTROVE_MEMBER(27, CreateXML, "String",
     "strXMLFile As String, Optional intBlocks As Integer, Optional intAttributeDefinitions As Integer, "
     "Optional intExternalReferences As Integer, Optional intLayers As Integer, Optional intLayouts As Integer, "
     "Optional intSystemVariables As Integer, Optional intImages As Integer, Optional intText As Integer",
     "Method to create an XML file from a drawing (DWG) file."),
    VANTROVE_MEMBER(28, Web_CreateXML, "String",
     "strXMLFile As Variant, Optional intBlocks As Variant = 0, Optional intAttributeDefinitions As Variant = 0, "
     "Optional intExternalReferences As Variant = 0, Optional intLayers As Variant = 0, "
     "Optional intLayouts As Variant = 0, Optional intSystemVariables As Variant = 0, "
     "Optional intImages As Variant = 0, Optional intText As Variant = 0",
     "Web method to create an XML file from a drawing (DWG) file."),
    VANTROVE_MEMBER(33, DeleteObject, "String", "strTextHandle As String", "Method to delete an object in a drawing."),
    VANTROVE_MEMBER(34, Web_DeleteObject, "String", "strTextHandle As Variant", "Web method to delete an object in a drawing."),
    VANTROVE_MEMBER(35, UpdateBlockAttribute, "String", "strAttributeValue As String, strAttributeHandle As String",
     "Method to set the value of a block attribute in a drawing."),
    VANTROVE_MEMBER(36, Web_UpdateBlockAttribute, "String", "strAttributeValue As Variant, strAttributeHandle As Variant",
     "Web method to set the value of a block attribute in a drawing."),
    VANTROVE_MEMBER(37, FindAndReplaceText, "Long",
     "strTextToFind As String, strReplaceText As String, Optional lngTextType As TextType, "
     "Optional blnFindWholeWordOnly As Boolean, Optional blnReplaceWholeValue As Boolean, "
     "Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and replace text in a drawing."),
    VANTROVE_MEMBER(38, Web_FindAndReplaceText, "Long",
     "strTextToFind As Variant, strReplaceText As Variant, Optional lngTextType As Variant = 0, "
     "Optional blnFindWholeWordOnly As Variant = False, Optional blnReplaceWholeValue As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and replace text in a drawing."),
    VANTROVE_MEMBER(39, FindAndDeleteAttributeDefObjects, "Long",
     "strTextToFind As String, Optional blnFindWholeWordOnly As Boolean, Optional blnMatchCase As Boolean, "
     "Optional strFilter As String",
     "Method to find and delete attribute definitions in a drawing."),
    VANTROVE_MEMBER(40, Web_FindAndDeleteAttributeDefObjects, "Long",
     "strTextToFind As Variant, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and delete attribute definitions in a drawing."),
    VANTROVE_MEMBER(41, FindAndDeleteBlockObjects, "Long",
     "strTextToFind As String, Optional blnFindWholeWordOnly As Boolean, Optional blnMatchCase As Boolean, "
     "Optional strFilter As String",
     "Method to find and delete block references in a drawing."),
    VANTROVE_MEMBER(42, Web_FindAndDeleteBlockObjects, "Long",
     "strTextToFind As Variant, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and delete block references in a drawing."),
    VANTROVE_MEMBER(43, FindAndDeleteTextObjects, "Long",
     "strTextToFind As String, Optional lngTextType As TextType, Optional blnFindWholeWordOnly As Boolean, "
     "Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and delete text in a drawing."),
    VANTROVE_MEMBER(44, Web_FindAndDeleteTextObjects, "Long",
     "strTextToFind As Variant, Optional lngTextType As Variant = 0, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and delete text in a drawing."),
    VANTROVE_MEMBER(45, FindAndReplaceBlockAttributes, "Long",
     "strTextToFind As String, strReplaceText As String, Optional blnFindTagName As Boolean, "
     "Optional blnFindWholeWordOnly As Boolean, Optional blnReplaceWholeValue As Boolean, "
     "Optional blnMatchCase As Boolean, Optional strFilter As String, Optional varAttributeHandles As Variant",
     "Method to find and replace block attribute values in a drawing."),
    VANTROVE_MEMBER(46, Web_FindAndReplaceBlockAttributes, "Long",
     "strTextToFind As Variant, strReplaceText As Variant, Optional blnFindTagName As Variant = False, "
     "Optional blnFindWholeWordOnly As Variant = False, Optional blnReplaceWholeValue As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and replace block attribute values in a drawing."),
    VANTROVE_MEMBER(47, FindAndDeleteBlockAttributeObjects, "Long",
     "strTextToFind As String, Optional blnFindTagName As Boolean, Optional blnFindWholeWordOnly As Boolean, "
     "Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and delete block attributes in a drawing."),
    VANTROVE_MEMBER(48, Web_FindAndDeleteBlockAttributeObjects, "Long",
     "strTextToFind As Variant, Optional blnFindTagName As Variant = False, "
     "Optional blnFindWholeWordOnly As Variant = False, Optional blnMatchCase As Variant = False, "
     "Optional strFilter As Variant = \"\"",
     "Web method to find and delete block attributes in a drawing."),
    VANTROVE_MEMBER(49, FindAndReplaceImagePaths, "Long",
     "strTextToFind As String, strReplaceText As String, Optional blnFindWholeWordOnly As Boolean, "
     "Optional blnReplaceWholeValue As Boolean, Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and replace image file paths in a drawing."),
    VANTROVE_MEMBER(50, Web_FindAndReplaceImagePaths, "Long",
     "strTextToFind As Variant, strReplaceText As Variant, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnReplaceWholeValue As Variant = False, Optional blnMatchCase As Variant = False, "
     "Optional strFilter As Variant = \"\"",
     "Web method to find and replace image file paths in a drawing."),
    VANTROVE_MEMBER(51, FindAndReplaceExternalRefPaths, "Long",
     "strTextToFind As String, strReplaceText As String, Optional blnFindWholeWordOnly As Boolean, "
     "Optional blnReplaceWholeValue As Boolean, Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and replace external reference file paths in a drawing."),
    VANTROVE_MEMBER(52, Web_FindAndReplaceExternalRefPaths, "Long",
     "strTextToFind As Variant, strReplaceText As Variant, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnReplaceWholeValue As Variant = False, Optional blnMatchCase As Variant = False, "
     "Optional strFilter As Variant = \"\"",
     "Web method to find and replace external reference file paths in a drawing."),
    VANTROVE_MEMBER(53, UpdateText, "String", "strTextValue As String, strTextHandle As String",
     "Method to set the value of text in a drawing."),
    VANTROVE_MEMBER(54, Web_UpdateText, "String", "strTextValue As Variant, strTextHandle As Variant",
     "Web method to set the value of text in a drawing."),
    VANTROVE_MEMBER(55, SetImagePath, "String", "strImageFile As String, strImageHandle As String",
     "Method to set the file path for an image in a drawing (DWG) file."),
    VANTROVE_MEMBER(56, Web_SetImagePath, "String", "strImageFile As Variant, strImageHandle As Variant",
     "Web method to set the file path for an image in a drawing (DWG) file."),
    VANTROVE_MEMBER(57, SetLayerState, "String", "strLayerName As String, lngState As LayerStateType, lngMode As LayerModeType",
     "Method to set a layer's status (on/off, frozen/unfrozen) in a drawing (DWG) file."),
    VANTROVE_MEMBER(58, Web_SetLayerState, "String", "strLayerName As Variant, lngState As Variant, lngMode As Variant",
     "Web method to set a layer's status (on/off, frozen/unfrozen) in a drawing (DWG) file."),
    VANTROVE_MEMBER(59, SetReferenceFilePath, "String", "strReferenceFilePath As String, strReferenceName As String",
     "Method to set the file path for an external reference a drawing (DWG) file."),
    VANTROVE_MEMBER(60, Web_SetReferenceFilePath, "String", "strReferenceFilePath As Variant, strReferenceName As Variant",
     "Web method to set the file path for an external reference a drawing (DWG) file."),
    VANTROVE_MEMBER(61, SaveDrawing, "String", "strDWGfile As String, Optional lngVersion As SaveAutoCADversionType = dwgSaveAsDefault",
     "Method to save an AutoCAD drawing (DWG) file in a specified format."),
    VANTROVE_MEMBER(62, Web_SaveDrawing, "String", "strDWGfile As Variant, Optional lngVersion As Variant = -1",
     "Web method to save an AutoCAD drawing (DWG) file in a specified format."),
};

}  // namespace

std::span<const MemberDecl> DrawingMembers() { return kMembers; }

}  // namespace vantrove::detail
