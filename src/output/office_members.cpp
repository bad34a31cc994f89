// The office document members: arrays to Word tables and Excel worksheets.
//
// One declaration per member (see docs/members.md).
#include "../component/member.hpp"

namespace vantrove::detail {

namespace {

// Parameter lists shared by several members.
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

constexpr MemberDecl kMembers[] = {
    VANTROVE_MEMBER(76, CloseExcelHiddenInstances, "", "Optional blnCloseBeforeDestroy As Boolean, Optional blnPromptBeforeClose As Boolean",
     "Method to close any open instances of Excel."),
    VANTROVE_MEMBER(77, Web_CloseExcelHiddenInstances, "",
     "Optional blnCloseBeforeDestroy As Variant = False, Optional blnPromptBeforeClose As Variant = False",
     "Web method to close any open instances of Excel."),
    VANTROVE_MEMBER(85, TwoDArrayToWord, "Integer", "varArray As Variant, " WORD_PARAMS,
     "Method to copy a two dimensional array to a Word table."),
    VANTROVE_MEMBER(86, Web_TwoDArrayToWord, "Integer", "varArray As Variant, " WEB_WORD_PARAMS,
     "Web method to copy a two dimensional array to a Word table."),
    VANTROVE_MEMBER(93, OneDArrayToWord, "Integer", "varArray As Variant, " WORD_PARAMS,
     "Method to create a Word table from a one dimensional array."),
    VANTROVE_MEMBER(95, ArrayToExcel, "Integer", EXCEL_PARAMS("Long", "String", "Boolean", "Boolean = True"),
     "Method to copy a two dimensional array to an Excel workbook's worksheet."),
    VANTROVE_MEMBER(96, Web_ArrayToExcel, "Integer",
     "varArray As Variant, lngRow As Variant, lngCol As Variant, Optional strWorkbook As Variant = \"\", "
     "Optional blnUseOpenWorkbook As Variant = False, Optional strSaveToFile As Variant = \"\", "
     "Optional varWorksheet As Variant, Optional strPassword As Variant = \"\", "
     "Optional strWriteResPassword As Variant = \"\", Optional blnCloseWorkbook As Variant = False, "
     "Optional blnTranspose As Variant = False, Optional blnSetColumnWidths As Variant = True, "
     "Optional blnBoldFirstRow As Variant = False, Optional blnBoldFirstColumn As Variant = False, "
     "Optional blnFreezeHeaders As Variant = False, Optional strSheetName As Variant = \"\", "
     "Optional blnFormatAsText As Variant = True",
     "Web method to copy a two dimensional array to an Excel workbook's worksheet."),
};

#undef WORD_PARAMS
#undef WEB_WORD_PARAMS
#undef EXCEL_PARAMS

}  // namespace

std::span<const MemberDecl> OfficeMembers() { return kMembers; }

}  // namespace vantrove::detail
