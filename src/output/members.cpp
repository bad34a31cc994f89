// The output members: arrays to text (text_writers.cpp), the clipboard
// (clipboard.cpp), text files (text_writers.cpp) and HTML (html_writers.cpp).
//
// One declaration per member (see docs/members.md).
#include "../component/member.hpp"

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

constexpr MemberDecl kMembers[] = {
    VANTROVE_MEMBER(71, TwoDArrayToHTMLFile, "Integer",
     "varArray As Variant, strHTMLFile As String, " HTML_PAGE_PARAMS HTML_TABLE_PARAMS
     ", Optional blnBoldFirstColumn As Boolean",
     "Method to copy a two dimensional array to an HTML file."),
    VANTROVE_MEMBER(72, Web_TwoDArrayToHTMLFile, "Integer",
     "varArray As Variant, strHTMLFile As Variant, " WEB_HTML_PAGE_PARAMS WEB_HTML_TABLE_PARAMS
     ", Optional blnBoldFirstColumn As Variant = False",
     "Web method to copy a two dimensional array to an HTML file."),
    VANTROVE_MEMBER(73, TwoDArrayToHTMLTable, "Integer",
     "varArray As Variant, strTable As String, " HTML_TABLE_PARAMS ", Optional blnBoldFirstColumn As Boolean",
     "Method to copy a two dimensional array to an HTML table."),
    VANTROVE_MEMBER(74, Web_TwoDArrayToHTMLTable, "Integer",
     "varArray As Variant, strTable As Variant, " WEB_HTML_TABLE_PARAMS ", Optional blnBoldFirstColumn As Variant = False",
     "Web method to copy a two dimensional array to an HTML table."),
    VANTROVE_MEMBER(78, TwoDArrayToText, "Integer",
     "varArray As Variant, strText As String, strDelimiter As String, strEndOfRowChar As String, "
     "Optional blnQuotes As Boolean",
     "Method to copy a two dimensional array to a string variable."),
    VANTROVE_MEMBER(79, Web_TwoDArrayToText, "Integer",
     "varArray As Variant, strText As Variant, strDelimiter As Variant, strEndOfRowChar As Variant, "
     "Optional blnQuotes As Variant = False",
     "Web method to copy a two dimensional array to a string variable."),
    VANTROVE_MEMBER(80, TwoDArrayToClipboard, "Integer",
     "varArray As Variant, strDelimiter As String, strEndOfRowChar As String, Optional blnQuotes As Boolean",
     "Method to copy a two dimensional array to Window's Clipboard."),
    VANTROVE_MEMBER(81, Web_TwoDArrayToClipboard, "Integer",
     "varArray As Variant, strDelimiter As Variant, strEndOfRowChar As Variant, Optional blnQuotes As Variant = False",
     "Web method to copy a two dimensional array to Window's Clipboard."),
    VANTROVE_MEMBER(82, TwoDArrayToTextFile, "Integer",
     "varArray As Variant, strTextFile As String, Optional ByVal strDelimiter As String = \",\", "
     "Optional blnQuotes As Boolean, Optional blnAppend As Boolean",
     "Method to copy a two dimensional array to a text file."),
    VANTROVE_MEMBER(83, Web_TwoDArrayToTextFile, "Integer",
     "varArray As Variant, strTextFile As Variant, Optional ByVal strDelimiter As Variant = \",\", "
     "Optional blnQuotes As Variant = False",
     "Web method to copy a two dimensional array to a text file."),
    VANTROVE_MEMBER(87, OneDArrayToHTMLFile, "Integer", "varArray As Variant, strHTMLFile As String, " HTML_PAGE_PARAMS HTML_TABLE_PARAMS,
     "Method to create an HTML file from a one dimensional array."),
    VANTROVE_MEMBER(88, OneDArrayToHTMLTable, "Integer", "varArray As Variant, strTable As String, " HTML_TABLE_PARAMS,
     "Method to create an HTML table from a one dimensional array."),
    VANTROVE_MEMBER(89, OneDArrayToText, "Integer",
     "varArray As Variant, strText As String, strEndOfRowChar As String, Optional strEndOfArrayChar As String, "
     "Optional blnQuotes As Boolean",
     "Method to create a string variable from a one dimensional array."),
    VANTROVE_MEMBER(90, OneDArrayToClipboard, "Integer",
     "varArray As Variant, strEndOfRowChar As String, Optional strEndOfArrayChar As String, "
     "Optional blnQuotes As Boolean",
     "Method to copy a one dimensional array to Window's Clipboard."),
    VANTROVE_MEMBER(91, OneDArrayToTextFile, "Integer", "varArray As Variant, strTextFile As String, Optional blnQuotes As Boolean",
     "Method to create a text file from a one dimensional array."),
};

#undef HTML_TABLE_PARAMS
#undef WEB_HTML_TABLE_PARAMS
#undef HTML_PAGE_PARAMS
#undef WEB_HTML_PAGE_PARAMS

}  // namespace

std::span<const MemberDecl> OutputMembers() { return kMembers; }

}  // namespace vantrove::detail
