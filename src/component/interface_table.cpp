// The interface of clsVantrove in interface order. Each entry is the method's
// name, result type, parameter list written as a script declares it, and the
// help string. Parameters are by reference unless marked ByVal.
#include <array>

#include "interface_table.hpp"

namespace vantrove::detail {

namespace {

// Parameter lists shared by several members.
#define HTML_TABLE_PARAMS                                                                                  \
  "Optional lngTableAlign As TableAlignType = dwgCenter, Optional strBackground As String, "              \
  "Optional strBackgroundColor As String, Optional intBorder As Integer, Optional strBorderColor As String, " \
  "Optional intCellSpacing As Integer, Optional intCellPadding As Integer, Optional intWidthPct As Integer = 100, " \
  "Optional lngTableCellAlign As TableAlignType = dwgRight, Optional blnWrapCellData As Boolean, "        \
  "Optional blnBoldFirstRow As Boolean"
#define WEB_HTML_TABLE_PARAMS                                                                              \
  "Optional lngTableAlign As Variant = 1, Optional strBackground As Variant = \"\", "                     \
  "Optional strBackgroundColor As Variant = \"\", Optional intBorder As Variant = 0, "                   \
  "Optional strBorderColor As Variant = \"\", Optional intCellSpacing As Variant = 0, "                  \
  "Optional intCellPadding As Variant = 0, Optional intWidthPct As Variant = 100, "                      \
  "Optional lngTableCellAlign As Variant = 2, Optional blnWrapCellData As Variant = False, "             \
  "Optional blnBoldFirstRow As Variant = False"
#define HTML_PAGE_PARAMS                                                                                   \
  "Optional strPageHeading As String, Optional strPageTitle As String, Optional strPageBackground As String, " \
  "Optional strPageBackgroundColor As String, "
#define WEB_HTML_PAGE_PARAMS                                                                               \
  "Optional strPageHeading As Variant = \"\", Optional strPageTitle As Variant = \"\", "                  \
  "Optional strPageBackground As Variant = \"\", Optional strPageBackgroundColor As Variant = \"\", "
#define WORD_PARAMS                                                                                        \
  "Optional strDocument As String, Optional blnSave As Boolean, Optional blnClose As Boolean, "           \
  "Optional lngTableType As TableType, Optional blnBold As Boolean, "                                     \
  "Optional strFont As String = \"Times New Roman\", Optional intSize As Integer = 12, "                  \
  "Optional intSpaceAfter As Integer = 10, Optional lngParagraphAlign As TableAlignType, "                \
  "Optional intColumnWidth As Integer, Optional blnBorders As Boolean, Optional blnShading As Boolean, "   \
  "Optional blnFont As Boolean, Optional blnColor As Boolean, Optional blnHeadingRows As Boolean, "       \
  "Optional blnLastRow As Boolean, Optional blnFirstColumn As Boolean, Optional blnLastColumn As Boolean, " \
  "Optional blnAutoFit As Boolean, Optional lngPageOrientation As OrientationType"
#define WEB_WORD_PARAMS                                                                                    \
  "Optional strDocument As Variant = \"\", Optional blnSave As Variant = False, "                         \
  "Optional blnClose As Variant = False, Optional lngTableType As Variant = 0, "                          \
  "Optional blnBold As Variant = False, Optional strFont As Variant = \"Times New Roman\", "              \
  "Optional intSize As Variant = 12, Optional intSpaceAfter As Variant = 10, "                            \
  "Optional lngParagraphAlign As Variant = 0, Optional intColumnWidth As Variant = 0, "                   \
  "Optional blnBorders As Variant = False, Optional blnShading As Variant = False, "                      \
  "Optional blnFont As Variant = False, Optional blnColor As Variant = False, "                           \
  "Optional blnHeadingRows As Variant = False, Optional blnLastRow As Variant = False, "                  \
  "Optional blnFirstColumn As Variant = False, Optional blnLastColumn As Variant = False, "               \
  "Optional blnAutoFit As Variant = False, Optional lngPageOrientation As Variant = 0"
#define EXCEL_PARAMS(T, S, B, BT)                                                                         \
  "varArray As Variant, lngRow As " T ", lngCol As " T ", Optional strWorkbook As " S                     \
  ", Optional blnUseOpenWorkbook As " B ", Optional strSaveToFile As " S                                  \
  ", Optional varWorksheet As Variant, Optional strPassword As " S ", Optional strWriteResPassword As " S  \
  ", Optional blnCloseWorkbook As " B ", Optional blnTranspose As " B ", Optional blnSetColumnWidths As " BT \
  ", Optional blnBoldFirstRow As " B ", Optional blnBoldFirstColumn As " B ", Optional blnFreezeHeaders As " B \
  ", Optional strSheetName As " S ", Optional blnFormatAsText As " BT

constexpr std::array<MethodSource, 127> kMethods = {{
    {"Version", "String", "", "Method to return the version of the library (major.minor.revision)."},
    {"OpenDrawing", "String", "ByVal strFile As String, Optional strPassword As String",
     "Method to open an AutoCAD drawing (DWG) file or DXF file."},
    {"TwoDArrayToAccessTable", "Integer",
     "varArray As Variant, strAccessMDB As String, strAccessTable As String, Optional strPassword As String, "
     "Optional strQueryBeforeInsert As String, Optional strQueryAfterInsert As String, "
     "Optional blnExclusivelyOpenMDB As Boolean",
     "Method to copy a two dimensional array to an Access table."},
    {"Web_TwoDArrayToAccessTable", "Integer",
     "varArray As Variant, strAccessMDB As Variant, strAccessTable As Variant, Optional strPassword As Variant = \"\", "
     "Optional strQueryBeforeInsert As Variant = \"\", Optional strQueryAfterInsert As Variant = \"\", "
     "Optional blnExclusivelyOpenMDB As Variant = False",
     "Web method to copy a two dimensional array to an Access table."},
    {"TwoDArrayToVisualFoxproTable", "Integer",
     "varArray As Variant, strVisualFoxproDB As String, strTable As String, Optional strQueryBeforeInsert As String, "
     "Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to a Visual FoxPro table."},
    {"Web_TwoDArrayToVisualFoxproTable", "Integer",
     "varArray As Variant, strVisualFoxproDB As Variant, strTable As Variant, "
     "Optional strQueryBeforeInsert As Variant = \"\", Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to a Visual FoxPro table."},
    {"TwoDArrayToSQLServerTable", "Integer",
     "varArray As Variant, strServer As String, strDatabase As String, strTable As String, "
     "Optional blnTrustedConnection As Boolean, Optional strUserID As String, Optional strPassword As String, "
     "Optional strQueryBeforeInsert As String, Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to a SQL Server table."},
    {"Web_TwoDArrayToSQLServerTable", "Integer",
     "varArray As Variant, strServer As Variant, strDatabase As Variant, strTable As Variant, "
     "Optional blnTrustedConnection As Variant = False, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional strQueryBeforeInsert As Variant = \"\", "
     "Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to a SQL Server table."},
    {"TwoDArrayToSybaseTable", "Integer",
     "varArray As Variant, strServer As String, strDatabase As String, strTable As String, "
     "Optional strUserID As String, Optional strPassword As String, Optional strQueryBeforeInsert As String, "
     "Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to a Sybase table."},
    {"Web_TwoDArrayToSybaseTable", "Integer",
     "varArray As Variant, strServer As Variant, strDatabase As Variant, strTable As Variant, "
     "Optional strUserID As Variant = \"\", Optional strPassword As Variant = \"\", "
     "Optional strQueryBeforeInsert As Variant = \"\", Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to a Sybase table."},
    {"TwoDArrayToMySQLTable", "Integer",
     "varArray As Variant, strMySQLDB As String, strTable As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional strQueryBeforeInsert As String, Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to a MySQL table."},
    {"Web_TwoDArrayToMySQLTable", "Integer",
     "varArray As Variant, strMySQLDB As Variant, strTable As Variant, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional strQueryBeforeInsert As Variant = \"\", "
     "Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to a MySQL table."},
    {"TwoDArrayToOracleTable", "Integer",
     "varArray As Variant, ByVal lngProvider As OracleProviderType, strOracleDB As String, strTable As String, "
     "Optional blnTrustedConnection As Boolean, Optional strUserID As String, Optional strPassword As String, "
     "Optional strQueryBeforeInsert As String, Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to an Oracle table."},
    {"Web_TwoDArrayToOracleTable", "Integer",
     "varArray As Variant, ByVal lngProvider As Variant, strOracleDB As Variant, strTable As Variant, "
     "Optional blnTrustedConnection As Variant = False, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional strQueryBeforeInsert As Variant = \"\", "
     "Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to an Oracle table."},
    {"CreateBlockAttributeArray", "Integer",
     "vArr As Variant, Optional lngDrawingSpace As DrawingSpaceType, Optional strLayout As String, "
     "Optional strBlock As String, Optional strLayer As String, Optional ByVal lngDrawingField As DrawingFieldType, "
     "Optional blnIncludeHeadings As Boolean = True, Optional varAttributeTags As Variant",
     "Method to extract block attribute tags and values and store them in a two dimensional array. Note: Since "
     "multiple blocks can be used pass a value to the strFilter parameter to specify specific blocks, layers, etc. "},
    {"Web_CreateBlockAttributeArray", "Integer",
     "vArr As Variant, Optional strFilter As Variant = \"\", Optional ByVal lngDrawingField As Variant = 0, "
     "Optional blnIncludeHeadings As Variant = True",
     "Web method to extract block attribute tags and values and store them in a two dimensional array. Note: Since "
     "multiple blocks can be used pass a value to the strFilter parameter to specify specific blocks, layers, etc. "},
    {"Web_OpenDrawing", "String", "ByVal strFile As Variant, Optional strPassword As Variant = \"\"",
     "Web method to open an AutoCAD drawing (DWG) file or DXF file."},
    {"CloseDrawing", "String", "", "Method to close the active drawing."},
    {"Web_CloseDrawing", "String", "", "Web method to close the active drawing."},
    {"TwoDArrayToDatabaseTable", "Integer",
     "varArray As Variant, strDSNorConnString As String, strTable As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnOverwrite As Boolean",
     "Method to copy a two dimensional array to a database table through an ODBC data source or connection string."},
    {"Web_TwoDArrayToDatabaseTable", "Integer",
     "varArray As Variant, strDSNorConnString As Variant, strTable As Variant, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional blnOverwrite As Variant = False",
     "Web method to copy a two dimensional array to a database table through an ODBC data source or connection "
     "string."},
    {"TextFileToDatabaseTable", "Integer",
     "strTextFile As String, strDSNorConnString As String, strTable As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnOverwrite As Boolean, Optional ByVal strDelimiter As String, "
     "Optional blnRemoveQuotes As Boolean",
     "Method to copy a delimited text file to a database table through an ODBC data source or connection string."},
    {"Web_TextFileToDatabaseTable", "Integer",
     "strTextFile As String, strDSNorConnString As String, strTable As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnOverwrite As Boolean, Optional ByVal strDelimiter As String, "
     "Optional blnRemoveQuotes As Boolean",
     "Web method to copy a delimited text file to a database table through an ODBC data source or connection "
     "string."},
    {"SystemDSNsToOneDArray", "Variant", "", "Method to list the system ODBC data source names in a one dimensional array."},
    {"AllDSNsToOneDArray", "Variant", "",
     "Method to list all user and system ODBC data source names in a one dimensional array."},
    {"CreateDXF", "String",
     "strDXFfile As String, Optional ByVal intPrecision As Integer, "
     "Optional lngVersion As AutoCADversionType = dwgVersion2004",
     "Method to create a DXF file from a drawing (DWG) file."},
    {"Web_CreateDXF", "String",
     "strDXFfile As Variant, Optional ByVal intPrecision As Variant = 0, Optional lngVersion As Variant = 2004",
     "Web method to create a DXF file from a drawing (DWG) file."},
    {"CreateXML", "String",
     "strXMLFile As String, Optional intBlocks As Integer, Optional intAttributeDefinitions As Integer, "
     "Optional intExternalReferences As Integer, Optional intLayers As Integer, Optional intLayouts As Integer, "
     "Optional intSystemVariables As Integer, Optional intImages As Integer, Optional intText As Integer",
     "Method to create an XML file from a drawing (DWG) file."},
    {"Web_CreateXML", "String",
     "strXMLFile As Variant, Optional intBlocks As Variant = 0, Optional intAttributeDefinitions As Variant = 0, "
     "Optional intExternalReferences As Variant = 0, Optional intLayers As Variant = 0, "
     "Optional intLayouts As Variant = 0, Optional intSystemVariables As Variant = 0, "
     "Optional intImages As Variant = 0, Optional intText As Variant = 0",
     "Web method to create an XML file from a drawing (DWG) file."},
    {"DictionaryToArray", "Integer", "dt As Object, varArray As Variant, Optional blnIncludeKeys As Boolean",
     "Method to copy Dictionary items to an array."},
    {"DirListBoxToOneDArray", "Integer", "dlb As Object, varArray As Variant",
     "Method to copy DirListBox items to a one dimensional array."},
    {"DriveListBoxToOneDArray", "Integer", "dlb As Object, varArray As Variant",
     "Method to copy DriveListBox items to a one dimensional array."},
    {"DataGridToArray", "Integer", "dg As Object, varArray As Variant, Optional blnIncludeHeadings As Boolean",
     "Method to copy DataGrid rows to a two dimensional array."},
    {"DeleteObject", "String", "strTextHandle As String", "Method to delete an object in a drawing."},
    {"Web_DeleteObject", "String", "strTextHandle As Variant", "Web method to delete an object in a drawing."},
    {"UpdateBlockAttribute", "String", "strAttributeValue As String, strAttributeHandle As String",
     "Method to set the value of a block attribute in a drawing."},
    {"Web_UpdateBlockAttribute", "String", "strAttributeValue As Variant, strAttributeHandle As Variant",
     "Web method to set the value of a block attribute in a drawing."},
    {"FindAndReplaceText", "Long",
     "strTextToFind As String, strReplaceText As String, Optional lngTextType As TextType, "
     "Optional blnFindWholeWordOnly As Boolean, Optional blnReplaceWholeValue As Boolean, "
     "Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and replace text in a drawing."},
    {"Web_FindAndReplaceText", "Long",
     "strTextToFind As Variant, strReplaceText As Variant, Optional lngTextType As Variant = 0, "
     "Optional blnFindWholeWordOnly As Variant = False, Optional blnReplaceWholeValue As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and replace text in a drawing."},
    {"FindAndDeleteAttributeDefObjects", "Long",
     "strTextToFind As String, Optional blnFindWholeWordOnly As Boolean, Optional blnMatchCase As Boolean, "
     "Optional strFilter As String",
     "Method to find and delete attribute definitions in a drawing."},
    {"Web_FindAndDeleteAttributeDefObjects", "Long",
     "strTextToFind As Variant, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and delete attribute definitions in a drawing."},
    {"FindAndDeleteBlockObjects", "Long",
     "strTextToFind As String, Optional blnFindWholeWordOnly As Boolean, Optional blnMatchCase As Boolean, "
     "Optional strFilter As String",
     "Method to find and delete block references in a drawing."},
    {"Web_FindAndDeleteBlockObjects", "Long",
     "strTextToFind As Variant, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and delete block references in a drawing."},
    {"FindAndDeleteTextObjects", "Long",
     "strTextToFind As String, Optional lngTextType As TextType, Optional blnFindWholeWordOnly As Boolean, "
     "Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and delete text in a drawing."},
    {"Web_FindAndDeleteTextObjects", "Long",
     "strTextToFind As Variant, Optional lngTextType As Variant = 0, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and delete text in a drawing."},
    {"FindAndReplaceBlockAttributes", "Long",
     "strTextToFind As String, strReplaceText As String, Optional blnFindTagName As Boolean, "
     "Optional blnFindWholeWordOnly As Boolean, Optional blnReplaceWholeValue As Boolean, "
     "Optional blnMatchCase As Boolean, Optional strFilter As String, Optional varAttributeHandles As Variant",
     "Method to find and replace block attribute values in a drawing."},
    {"Web_FindAndReplaceBlockAttributes", "Long",
     "strTextToFind As Variant, strReplaceText As Variant, Optional blnFindTagName As Variant = False, "
     "Optional blnFindWholeWordOnly As Variant = False, Optional blnReplaceWholeValue As Variant = False, "
     "Optional blnMatchCase As Variant = False, Optional strFilter As Variant = \"\"",
     "Web method to find and replace block attribute values in a drawing."},
    {"FindAndDeleteBlockAttributeObjects", "Long",
     "strTextToFind As String, Optional blnFindTagName As Boolean, Optional blnFindWholeWordOnly As Boolean, "
     "Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and delete block attributes in a drawing."},
    {"Web_FindAndDeleteBlockAttributeObjects", "Long",
     "strTextToFind As Variant, Optional blnFindTagName As Variant = False, "
     "Optional blnFindWholeWordOnly As Variant = False, Optional blnMatchCase As Variant = False, "
     "Optional strFilter As Variant = \"\"",
     "Web method to find and delete block attributes in a drawing."},
    {"FindAndReplaceImagePaths", "Long",
     "strTextToFind As String, strReplaceText As String, Optional blnFindWholeWordOnly As Boolean, "
     "Optional blnReplaceWholeValue As Boolean, Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and replace image file paths in a drawing."},
    {"Web_FindAndReplaceImagePaths", "Long",
     "strTextToFind As Variant, strReplaceText As Variant, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnReplaceWholeValue As Variant = False, Optional blnMatchCase As Variant = False, "
     "Optional strFilter As Variant = \"\"",
     "Web method to find and replace image file paths in a drawing."},
    {"FindAndReplaceExternalRefPaths", "Long",
     "strTextToFind As String, strReplaceText As String, Optional blnFindWholeWordOnly As Boolean, "
     "Optional blnReplaceWholeValue As Boolean, Optional blnMatchCase As Boolean, Optional strFilter As String",
     "Method to find and replace external reference file paths in a drawing."},
    {"Web_FindAndReplaceExternalRefPaths", "Long",
     "strTextToFind As Variant, strReplaceText As Variant, Optional blnFindWholeWordOnly As Variant = False, "
     "Optional blnReplaceWholeValue As Variant = False, Optional blnMatchCase As Variant = False, "
     "Optional strFilter As Variant = \"\"",
     "Web method to find and replace external reference file paths in a drawing."},
    {"UpdateText", "String", "strTextValue As String, strTextHandle As String",
     "Method to set the value of text in a drawing."},
    {"Web_UpdateText", "String", "strTextValue As Variant, strTextHandle As Variant",
     "Web method to set the value of text in a drawing."},
    {"SetImagePath", "String", "strImageFile As String, strImageHandle As String",
     "Method to set the file path for an image in a drawing (DWG) file."},
    {"Web_SetImagePath", "String", "strImageFile As Variant, strImageHandle As Variant",
     "Web method to set the file path for an image in a drawing (DWG) file."},
    {"SetLayerState", "String", "strLayerName As String, lngState As LayerStateType, lngMode As LayerModeType",
     "Method to set a layer's status (on/off, frozen/unfrozen) in a drawing (DWG) file."},
    {"Web_SetLayerState", "String", "strLayerName As Variant, lngState As Variant, lngMode As Variant",
     "Web method to set a layer's status (on/off, frozen/unfrozen) in a drawing (DWG) file."},
    {"SetReferenceFilePath", "String", "strReferenceFilePath As String, strReferenceName As String",
     "Method to set the file path for an external reference a drawing (DWG) file."},
    {"Web_SetReferenceFilePath", "String", "strReferenceFilePath As Variant, strReferenceName As Variant",
     "Web method to set the file path for an external reference a drawing (DWG) file."},
    {"SaveDrawing", "String", "strDWGfile As String, Optional lngVersion As SaveAutoCADversionType = dwgSaveAsDefault",
     "Method to save an AutoCAD drawing (DWG) file in a specified format."},
    {"Web_SaveDrawing", "String", "strDWGfile As Variant, Optional lngVersion As Variant = -1",
     "Web method to save an AutoCAD drawing (DWG) file in a specified format."},
    {"FlattenXMLfile", "Integer",
     "strSourceXMLFile As String, strTargetXMLFile As String, lngChapter As ChapterType, "
     "Optional lngDrawingField As DrawingFieldType",
     "Method to flatten one chapter of a drawing's XML description into flat records."},
    {"Web_FlattenXMLfile", "Integer",
     "strSourceXMLFile As Variant, strTargetXMLFile As Variant, lngChapter As Variant, "
     "Optional lngDrawingField As Variant = 0",
     "Web method to flatten one chapter of a drawing's XML description into flat records."},
    {"XMLfileToArray", "Integer",
     "strXMLFile As String, lngChapter As ChapterType, varArray As Variant, Optional blnIncludeHeadings As Boolean, "
     "Optional strFilter As String, Optional varFields As Variant, Optional ByVal lngDrawingField As DrawingFieldType",
     "Method to copy one chapter of a drawing's XML description to a two dimensional array."},
    {"Web_XMLfileToArray", "Integer",
     "strXMLFile As Variant, lngChapter As Variant, varArray As Variant, Optional blnIncludeHeadings As Variant = False, "
     "Optional strFilter As Variant = \"\", Optional varFields As Variant, Optional ByVal lngDrawingField As Variant = 0",
     "Web method to copy one chapter of a drawing's XML description to a two dimensional array."},
    {"XMLFileToRecordset", "Long", "strXMLFile As String, objRecd As Object",
     "Method to open an XML file as a recordset."},
    {"Web_XMLFileToRecordset", "Long", "strXMLFile As Variant, objRecd As Variant",
     "Web method to open an XML file as a recordset."},
    {"TwoDArrayToRecordset", "Long", "varArray As Variant, objRecd As Object",
     "Method to copy a two dimensional array to a recordset. Note: Array schema must match recordset schema "
     "otherwise an error will occur."},
    {"Web_TwoDArrayToRecordset", "Long", "varArray As Variant, objRecd As Variant",
     "Web method to copy a two dimensional array to a recordset. Note: Array schema must match recordset schema "
     "otherwise an error will occur."},
    {"TwoDArrayToHTMLFile", "Integer",
     "varArray As Variant, strHTMLFile As String, " HTML_PAGE_PARAMS HTML_TABLE_PARAMS
     ", Optional blnBoldFirstColumn As Boolean",
     "Method to copy a two dimensional array to an HTML file."},
    {"Web_TwoDArrayToHTMLFile", "Integer",
     "varArray As Variant, strHTMLFile As Variant, " WEB_HTML_PAGE_PARAMS WEB_HTML_TABLE_PARAMS
     ", Optional blnBoldFirstColumn As Variant = False",
     "Web method to copy a two dimensional array to an HTML file."},
    {"TwoDArrayToHTMLTable", "Integer",
     "varArray As Variant, strTable As String, " HTML_TABLE_PARAMS ", Optional blnBoldFirstColumn As Boolean",
     "Method to copy a two dimensional array to an HTML table."},
    {"Web_TwoDArrayToHTMLTable", "Integer",
     "varArray As Variant, strTable As Variant, " WEB_HTML_TABLE_PARAMS ", Optional blnBoldFirstColumn As Variant = False",
     "Web method to copy a two dimensional array to an HTML table."},
    {"TwoDArrayToListView", "Integer", "varArray As Variant, lv As Object, Optional varSelectItems As Variant",
     "Method to copy a two dimensional array to a ListView."},
    {"CloseExcelHiddenInstances", "", "Optional blnCloseBeforeDestroy As Boolean, Optional blnPromptBeforeClose As Boolean",
     "Method to close any open instances of Excel."},
    {"Web_CloseExcelHiddenInstances", "",
     "Optional blnCloseBeforeDestroy As Variant = False, Optional blnPromptBeforeClose As Variant = False",
     "Web method to close any open instances of Excel."},
    {"TwoDArrayToText", "Integer",
     "varArray As Variant, strText As String, strDelimiter As String, strEndOfRowChar As String, "
     "Optional blnQuotes As Boolean",
     "Method to copy a two dimensional array to a string variable."},
    {"Web_TwoDArrayToText", "Integer",
     "varArray As Variant, strText As Variant, strDelimiter As Variant, strEndOfRowChar As Variant, "
     "Optional blnQuotes As Variant = False",
     "Web method to copy a two dimensional array to a string variable."},
    {"TwoDArrayToClipboard", "Integer",
     "varArray As Variant, strDelimiter As String, strEndOfRowChar As String, Optional blnQuotes As Boolean",
     "Method to copy a two dimensional array to Window's Clipboard."},
    {"Web_TwoDArrayToClipboard", "Integer",
     "varArray As Variant, strDelimiter As Variant, strEndOfRowChar As Variant, Optional blnQuotes As Variant = False",
     "Web method to copy a two dimensional array to Window's Clipboard."},
    {"TwoDArrayToTextFile", "Integer",
     "varArray As Variant, strTextFile As String, Optional ByVal strDelimiter As String = \",\", "
     "Optional blnQuotes As Boolean, Optional blnAppend As Boolean",
     "Method to copy a two dimensional array to a text file."},
    {"Web_TwoDArrayToTextFile", "Integer",
     "varArray As Variant, strTextFile As Variant, Optional ByVal strDelimiter As Variant = \",\", "
     "Optional blnQuotes As Variant = False",
     "Web method to copy a two dimensional array to a text file."},
    {"TwoDArrayToTreeView", "Integer", "varArray As Variant, tv As Object, Optional blnExpandAll As Boolean",
     "Method to copy a two dimensional array to a TreeView."},
    {"TwoDArrayToWord", "Integer", "varArray As Variant, " WORD_PARAMS,
     "Method to copy a two dimensional array to a Word table."},
    {"Web_TwoDArrayToWord", "Integer", "varArray As Variant, " WEB_WORD_PARAMS,
     "Web method to copy a two dimensional array to a Word table."},
    {"OneDArrayToHTMLFile", "Integer", "varArray As Variant, strHTMLFile As String, " HTML_PAGE_PARAMS HTML_TABLE_PARAMS,
     "Method to create an HTML file from a one dimensional array."},
    {"OneDArrayToHTMLTable", "Integer", "varArray As Variant, strTable As String, " HTML_TABLE_PARAMS,
     "Method to create an HTML table from a one dimensional array."},
    {"OneDArrayToText", "Integer",
     "varArray As Variant, strText As String, strEndOfRowChar As String, Optional strEndOfArrayChar As String, "
     "Optional blnQuotes As Boolean",
     "Method to create a string variable from a one dimensional array."},
    {"OneDArrayToClipboard", "Integer",
     "varArray As Variant, strEndOfRowChar As String, Optional strEndOfArrayChar As String, "
     "Optional blnQuotes As Boolean",
     "Method to copy a one dimensional array to Window's Clipboard."},
    {"OneDArrayToTextFile", "Integer", "varArray As Variant, strTextFile As String, Optional blnQuotes As Boolean",
     "Method to create a text file from a one dimensional array."},
    {"FlexGridToArray", "Integer",
     "fg As Object, varArray As Variant, Optional lngStartRow As Long, Optional lngStartCol As Integer, "
     "Optional ByVal lngEndRow As Long, Optional ByVal lngEndCol As Integer",
     "Method to copy FlexGrid cells to a two dimensional array."},
    {"OneDArrayToWord", "Integer", "varArray As Variant, " WORD_PARAMS,
     "Method to create a Word table from a one dimensional array."},
    {"TwoDArrayToFlexGrid", "Integer", "varArray As Variant, fg As Object",
     "Method to copy a two dimensional array to a FlexGrid."},
    {"ArrayToExcel", "Integer", EXCEL_PARAMS("Long", "String", "Boolean", "Boolean = True"),
     "Method to copy a two dimensional array to an Excel workbook's worksheet."},
    {"Web_ArrayToExcel", "Integer",
     "varArray As Variant, lngRow As Variant, lngCol As Variant, Optional strWorkbook As Variant = \"\", "
     "Optional blnUseOpenWorkbook As Variant = False, Optional strSaveToFile As Variant = \"\", "
     "Optional varWorksheet As Variant, Optional strPassword As Variant = \"\", "
     "Optional strWriteResPassword As Variant = \"\", Optional blnCloseWorkbook As Variant = False, "
     "Optional blnTranspose As Variant = False, Optional blnSetColumnWidths As Variant = True, "
     "Optional blnBoldFirstRow As Variant = False, Optional blnBoldFirstColumn As Variant = False, "
     "Optional blnFreezeHeaders As Variant = False, Optional strSheetName As Variant = \"\", "
     "Optional blnFormatAsText As Variant = True",
     "Web method to copy a two dimensional array to an Excel workbook's worksheet."},
    {"FixXML", "", "strFile As Variant", "Method to normalise a drawing's XML description for reading."},
    {"FileExists", "Boolean", "strFile As Variant", "Method to test whether a file or folder exists."},
    {"FileListBoxToOneDArray", "Integer", "flb As Object, varArray As Variant, Optional blnSelectedOnly As Boolean",
     "Method to copy FileListBox items to a one dimensional array."},
    {"XMLFileToTreeView", "Integer", "strXMLFile As String, tv As Object, Optional blnExpandAll As Boolean",
     "Method to copy an XML file to a TreeView."},
    {"TreeViewToExcel", "Integer",
     "tv As Object, Optional lngRow As Long = 1, Optional lngCol As Long = 1, Optional strWorkbook As String, "
     "Optional blnUseOpenWorkbook As Boolean, Optional strSaveToFile As String, Optional varWorksheet As Variant, "
     "Optional blnCloseWorkbook As Boolean, Optional strSheetName As String",
     "Method to copy a TreeView to an Excel workbook's worksheet."},
    {"ComboBoxToOneDArray", "Integer", "cb As Object, varArray As Variant",
     "Method to copy ComboBox items to a one dimensional array."},
    {"RecordsetToArray", "Integer", "objRecd As Object, varArray As Variant, Optional blnIncludeHeadings As Boolean",
     "Method to copy a recordset to a two dimensional array."},
    {"Web_RecordsetToArray", "Integer",
     "objRecd As Variant, varArray As Variant, Optional blnIncludeHeadings As Variant = False",
     "Web method to copy a recordset to a two dimensional array."},
    {"RecordsetToTextFile", "Integer",
     "objRecd As Object, strTextFile As String, Optional blnIncludeHeadings As Boolean, "
     "Optional ByVal strDelimiter As String, Optional blnQuotes As Boolean",
     "Method to copy a recordset to a text file."},
    {"Web_RecordsetToTextFile", "Integer",
     "objRecd As Variant, strTextFile As Variant, Optional blnIncludeHeadings As Variant = False, "
     "Optional ByVal strDelimiter As Variant = \"\", Optional blnQuotes As Variant = False",
     "Web method to copy a recordset to a text file."},
    {"DatabaseTableToArray", "Integer",
     "strDSNorConnString As String, strSQL As String, varArray As Variant, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnIncludeHeadings As Boolean",
     "Method to copy the result of a database query to a two dimensional array."},
    {"Web_DatabaseTableToArray", "Integer",
     "strDSNorConnString As Variant, strSQL As Variant, varArray As Variant, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional blnIncludeHeadings As Variant = False",
     "Web method to copy the result of a database query to a two dimensional array."},
    {"DatabaseTableToTextFile", "Integer",
     "strDSNorConnString As String, strSQL As String, strTextFile As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnIncludeHeadings As Boolean, Optional ByVal strDelimiter As String, "
     "Optional blnQuotes As Boolean",
     "Method to copy the result of a database query to a text file."},
    {"Web_DatabaseTableToTextFile", "Integer",
     "strDSNorConnString As Variant, strSQL As Variant, strTextFile As Variant, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional blnIncludeHeadings As Variant = False, "
     "Optional ByVal strDelimiter As Variant = \"\", Optional blnQuotes As Variant = False",
     "Web method to copy the result of a database query to a text file."},
    {"ListViewToArray", "Integer",
     "lv As Object, varArray As Variant, Optional blnSelectedOnly As Boolean, Optional blnIncludeHeadings As Boolean",
     "Method to copy ListView items to a two dimensional array."},
    {"MultiLineTextToOneDArray", "Integer",
     "ByVal strText As String, varArray As Variant, Optional ByVal strDelimiter As String",
     "Method to copy multiple line text to a one dimensional array."},
    {"ListBoxToOneDArray", "Integer", "lb As Object, varArray As Variant, Optional blnSelectedOnly As Boolean",
     "Method to copy ListBox items to a one dimensional array."},
    {"TreeViewToTwoDArray", "Integer", "tv As Object, varArray As Variant, Optional blnSuppressRows As Boolean",
     "Method to copy a TreeView to a two dimensional array."},
    {"TwoDArrayToDictionary", "Integer", "varArray As Variant, dt As Object",
     "Method to copy a two dimensional array to a Dictionary."},
    {"TwoDArrayToCollection", "Integer", "varArray As Variant, cl As Object",
     "Method to copy a two dimensional array to a Collection."},
    {"SortOneDArray", "Integer", "varArray As Variant, Optional ByVal lngSortOrder As SortOrderType",
     "Method to sort a one dimensional array."},
    {"TextFileToOneDArray", "Integer", "strTextFile As String, varArray As Variant",
     "Method to copy a TextBox to a one dimensional array."},
    {"TextFileToArray", "Integer",
     "strTextFile As String, varArray As Variant, ByVal strDelimiter As String, Optional blnRemoveQuotes As Boolean",
     "Method to copy a text file to a two dimensional array."},
    {"Web_TextFileToArray", "Integer",
     "strTextFile As Variant, varArray As Variant, Optional ByVal strDelimiter As Variant = \"\", "
     "Optional blnRemoveQuotes As Variant = False",
     "Web method to copy a text file to a two dimensional array."},
    {"TextBoxToOneDArray", "Integer", "tb As Object, varArray As Variant",
     "Method to copy a TextBox to a one dimensional array."},
    {"SortTwoDArray", "Integer",
     "arrArray As Variant, blnDoNotIncludeFirstRow As Boolean, ParamArray SortOrder() As Variant",
     "Method to sort a two dimensional array."},
    {"Web_SortTwoDArray", "Integer",
     "arrArray As Variant, blnDoNotIncludeFirstRow As Variant, ParamArray SortOrder() As Variant",
     "Web method to sort a two dimensional array."},
    {"FlatXMLfileToArray", "Integer",
     "strXMLFile As String, varArray As Variant, Optional blnIncludeHeadings As Boolean",
     "Method to copy a flat XML file to a two dimensional array."},
    {"Web_FlatXMLfileToArray", "Integer",
     "strXMLFile As Variant, varArray As Variant, Optional blnIncludeHeadings As Variant = False",
     "Web method to copy a flat XML file to a two dimensional array."},
    {"CreateRecordsetFromArray", "Object", "varArray As Variant, Optional strFilter As String",
     "Method to create a recordset from a two dimensional array. Note: The first row of the array must contain the "
     "field names."},
}};

}  // namespace

std::span<const MethodSource> MethodSources() { return kMethods; }

}  // namespace vantrove::detail
