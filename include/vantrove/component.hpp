#pragma once
// clsVantrove: the automation class. One instance owns one drawing component
// (the drawing engine) and at most one open drawing. Public methods never
// throw; they report through their results.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vantrove/dispatch.hpp"
#include "vantrove/enums.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::engine {
class DrawingComponent;
}
namespace vantrove::office {
class Application;
}

namespace vantrove {

// Where message boxes and questions go. The host sets one; the default
// writes one line to stderr and answers every question No.
class MessageSink {
 public:
  virtual ~MessageSink() = default;
  // A message box with an OK button; `style` uses the classic codes
  // (48 exclamation, 32 question, ...).
  virtual void Show(std::string_view title, std::string_view text, int style) = 0;
  // A yes/no question; true for Yes.
  virtual bool AskYesNo(std::string_view title, std::string_view text) {
    (void)title;
    (void)text;
    return false;
  }
};

void SetMessageSink(std::shared_ptr<MessageSink> sink);  // nullptr restores the default
MessageSink& CurrentMessageSink();

inline constexpr int kExclamationStyle = 48;

// Why the last database method of this thread failed ("" after success).
std::string LastDatabaseDiagnostic();

// Hooks that decide how construction finds and creates the drawing
// component. Hosts leave them alone; tests use them to make the component
// file missing or its creation fail.
struct ComponentEnvironment {
  // The folder the component file is looked for in; default: the folder of
  // the loaded engine module.
  std::optional<std::string> systemFolder;
  // Creates the component; may throw RuntimeError to report a failure.
  std::function<std::unique_ptr<engine::DrawingComponent>()> factory;
};
void SetComponentEnvironment(ComponentEnvironment env);
void ResetComponentEnvironment();

// The Linux meaning of a shell special folder (CSIDL number): 37, the system
// folder, is the folder of the drawing engine module; the others map to the
// XDG folders of the user (see docs/platform.md). "" when unknown.
std::string GetSpecialFolderPath(int32_t csidl);
// The text up to (not including) its first NUL, or all of it.
std::string StripAtNull(std::string_view text);
// major.minor.revision of a four-part version record.
std::string FormatVersionRecord(int major, int minor, int build, int revision);
// The file the component is looked for under in the system folder.
std::string ComponentFileName();

class clsVantrove {
 public:
  clsVantrove();
  ~clsVantrove();
  clsVantrove(const clsVantrove&) = delete;
  clsVantrove& operator=(const clsVantrove&) = delete;

  // ---- Late binding -------------------------------------------------------
  // Calls a method by name or dispatch identifier. Left-out optional
  // arguments (absent or the missing marker) get their declared defaults;
  // by-reference results are written back into `args`.
  InvokeResult Invoke(std::string_view name, std::vector<Variant>& args) noexcept;
  InvokeResult Invoke(int32_t dispid, std::vector<Variant>& args) noexcept;
  // True when the method's implementation is available in this build.
  static bool IsImplemented(int position);

  // ---- Component frame ----------------------------------------------------
  std::string Version();
  bool FileExists(Variant& strFile);

  // ---- Drawing lifecycle ----------------------------------------------------
  // Each answers "OK" when the component reports success, otherwise the
  // component's own status text (see docs/platform.md for the open checks).
  std::string OpenDrawing(std::string strFile, const std::string& strPassword = "");
  std::string Web_OpenDrawing(Variant strFile, Variant& strPassword);
  std::string CloseDrawing();
  std::string Web_CloseDrawing();
  std::string SaveDrawing(const std::string& strDWGfile, SaveAutoCADversionType lngVersion = dwgSaveAsDefault);
  std::string Web_SaveDrawing(Variant& strDWGfile, Variant& lngVersion);

  // ---- Drawing export -------------------------------------------------------
  std::string CreateDXF(const std::string& strDXFfile, int16_t intPrecision = 0,
                        AutoCADversionType lngVersion = dwgVersion2004);
  std::string Web_CreateDXF(Variant& strDXFfile, Variant intPrecision, Variant& lngVersion);
  std::string CreateXML(const std::string& strXMLFile, int16_t intBlocks = 0, int16_t intAttributeDefinitions = 0,
                        int16_t intExternalReferences = 0, int16_t intLayers = 0, int16_t intLayouts = 0,
                        int16_t intSystemVariables = 0, int16_t intImages = 0, int16_t intText = 0);
  std::string Web_CreateXML(Variant& strXMLFile, Variant& intBlocks, Variant& intAttributeDefinitions,
                            Variant& intExternalReferences, Variant& intLayers, Variant& intLayouts,
                            Variant& intSystemVariables, Variant& intImages, Variant& intText);

  // ---- Object edits by handle -------------------------------------------------
  std::string DeleteObject(const std::string& strTextHandle);
  std::string Web_DeleteObject(Variant& strTextHandle);
  std::string UpdateBlockAttribute(const std::string& strAttributeValue, const std::string& strAttributeHandle);
  std::string Web_UpdateBlockAttribute(Variant& strAttributeValue, Variant& strAttributeHandle);
  std::string UpdateText(const std::string& strTextValue, const std::string& strTextHandle);
  std::string Web_UpdateText(Variant& strTextValue, Variant& strTextHandle);
  std::string SetImagePath(const std::string& strImageFile, const std::string& strImageHandle);
  std::string Web_SetImagePath(Variant& strImageFile, Variant& strImageHandle);
  std::string SetLayerState(const std::string& strLayerName, LayerStateType lngState, LayerModeType lngMode);
  std::string Web_SetLayerState(Variant& strLayerName, Variant& lngState, Variant& lngMode);
  std::string SetReferenceFilePath(const std::string& strReferenceFilePath, const std::string& strReferenceName);
  std::string Web_SetReferenceFilePath(Variant& strReferenceFilePath, Variant& strReferenceName);

  // ---- Find and modify ------------------------------------------------------
  // Each describes one class of objects of the open drawing, selects the rows
  // whose search column matches (whole value or containment, with or without
  // case) and an optional filter, and edits or deletes every hit by handle.
  // Result: the number of edits the component answered "OK" to; -1 when no
  // description could be written (no drawing open); -2 on a run-time error.
  int32_t FindAndReplaceText(const std::string& strTextToFind, const std::string& strReplaceText,
                             TextType lngTextType = dwgSingleLine, bool blnFindWholeWordOnly = false,
                             bool blnReplaceWholeValue = false, bool blnMatchCase = false,
                             const std::string& strFilter = "");
  int32_t Web_FindAndReplaceText(Variant& strTextToFind, Variant& strReplaceText, Variant& lngTextType,
                                 Variant& blnFindWholeWordOnly, Variant& blnReplaceWholeValue, Variant& blnMatchCase,
                                 Variant& strFilter);
  int32_t FindAndDeleteAttributeDefObjects(const std::string& strTextToFind, bool blnFindWholeWordOnly = false,
                                           bool blnMatchCase = false, const std::string& strFilter = "");
  int32_t Web_FindAndDeleteAttributeDefObjects(Variant& strTextToFind, Variant& blnFindWholeWordOnly,
                                               Variant& blnMatchCase, Variant& strFilter);
  int32_t FindAndDeleteBlockObjects(const std::string& strTextToFind, bool blnFindWholeWordOnly = false,
                                    bool blnMatchCase = false, const std::string& strFilter = "");
  int32_t Web_FindAndDeleteBlockObjects(Variant& strTextToFind, Variant& blnFindWholeWordOnly, Variant& blnMatchCase,
                                        Variant& strFilter);
  int32_t FindAndDeleteTextObjects(const std::string& strTextToFind, TextType lngTextType = dwgSingleLine,
                                   bool blnFindWholeWordOnly = false, bool blnMatchCase = false,
                                   const std::string& strFilter = "");
  int32_t Web_FindAndDeleteTextObjects(Variant& strTextToFind, Variant& lngTextType, Variant& blnFindWholeWordOnly,
                                       Variant& blnMatchCase, Variant& strFilter);
  // `varAttributeHandles`, when it holds an array, receives the attribute
  // handle of every row the filter selected (before the re-test).
  int32_t FindAndReplaceBlockAttributes(const std::string& strTextToFind, const std::string& strReplaceText,
                                        bool blnFindTagName = false, bool blnFindWholeWordOnly = false,
                                        bool blnReplaceWholeValue = false, bool blnMatchCase = false,
                                        const std::string& strFilter = "", Variant* varAttributeHandles = nullptr);
  int32_t Web_FindAndReplaceBlockAttributes(Variant& strTextToFind, Variant& strReplaceText, Variant& blnFindTagName,
                                            Variant& blnFindWholeWordOnly, Variant& blnReplaceWholeValue,
                                            Variant& blnMatchCase, Variant& strFilter);
  int32_t FindAndDeleteBlockAttributeObjects(const std::string& strTextToFind, bool blnFindTagName = false,
                                             bool blnFindWholeWordOnly = false, bool blnMatchCase = false,
                                             const std::string& strFilter = "");
  int32_t Web_FindAndDeleteBlockAttributeObjects(Variant& strTextToFind, Variant& blnFindTagName,
                                                 Variant& blnFindWholeWordOnly, Variant& blnMatchCase,
                                                 Variant& strFilter);
  int32_t FindAndReplaceImagePaths(const std::string& strTextToFind, const std::string& strReplaceText,
                                   bool blnFindWholeWordOnly = false, bool blnReplaceWholeValue = false,
                                   bool blnMatchCase = false, const std::string& strFilter = "");
  int32_t Web_FindAndReplaceImagePaths(Variant& strTextToFind, Variant& strReplaceText, Variant& blnFindWholeWordOnly,
                                       Variant& blnReplaceWholeValue, Variant& blnMatchCase, Variant& strFilter);
  int32_t FindAndReplaceExternalRefPaths(const std::string& strTextToFind, const std::string& strReplaceText,
                                         bool blnFindWholeWordOnly = false, bool blnReplaceWholeValue = false,
                                         bool blnMatchCase = false, const std::string& strFilter = "");
  int32_t Web_FindAndReplaceExternalRefPaths(Variant& strTextToFind, Variant& strReplaceText,
                                             Variant& blnFindWholeWordOnly, Variant& blnReplaceWholeValue,
                                             Variant& blnMatchCase, Variant& strFilter);
  // ---- Output: text, clipboard, text files, HTML ---------------------------
  // Results: 1 done, -1 varArray holds no array, 0 a run-time error.
  int16_t TwoDArrayToText(const Variant& varArray, std::string& strText, std::string& strDelimiter,
                          std::string& strEndOfRowChar, bool blnQuotes = false);
  int16_t Web_TwoDArrayToText(const Variant& varArray, Variant& strText, Variant& strDelimiter,
                              Variant& strEndOfRowChar, const Variant& blnQuotes = Variant(false));
  int16_t TwoDArrayToClipboard(const Variant& varArray, std::string& strDelimiter, std::string& strEndOfRowChar,
                               bool blnQuotes = false);
  int16_t Web_TwoDArrayToClipboard(const Variant& varArray, Variant& strDelimiter, Variant& strEndOfRowChar,
                                   const Variant& blnQuotes = Variant(false));
  int16_t TwoDArrayToTextFile(const Variant& varArray, const std::string& strTextFile,
                              const std::string& strDelimiter = ",", bool blnQuotes = false, bool blnAppend = false);
  int16_t Web_TwoDArrayToTextFile(const Variant& varArray, const Variant& strTextFile,
                                  const Variant& strDelimiter = Variant(","), const Variant& blnQuotes = Variant(false));
  int16_t OneDArrayToText(const Variant& varArray, std::string& strText, std::string& strEndOfRowChar,
                          const std::string& strEndOfArrayChar = "", bool blnQuotes = false);
  int16_t OneDArrayToClipboard(const Variant& varArray, std::string& strEndOfRowChar,
                               const std::string& strEndOfArrayChar = "", bool blnQuotes = false);
  int16_t OneDArrayToTextFile(const Variant& varArray, const std::string& strTextFile, bool blnQuotes = false);

  int16_t TwoDArrayToHTMLTable(const Variant& varArray, std::string& strTable, TableAlignType lngTableAlign = dwgCenter,
                               const std::string& strBackground = "", const std::string& strBackgroundColor = "",
                               int16_t intBorder = 0, const std::string& strBorderColor = "",
                               int16_t intCellSpacing = 0, int16_t intCellPadding = 0, int16_t intWidthPct = 100,
                               TableAlignType lngTableCellAlign = dwgRight, bool blnWrapCellData = false,
                               bool blnBoldFirstRow = false, bool blnBoldFirstColumn = false);
  int16_t Web_TwoDArrayToHTMLTable(
      const Variant& varArray, Variant& strTable, const Variant& lngTableAlign = Variant(int16_t{1}),
      const Variant& strBackground = Variant(""), const Variant& strBackgroundColor = Variant(""),
      const Variant& intBorder = Variant(int16_t{0}), const Variant& strBorderColor = Variant(""),
      const Variant& intCellSpacing = Variant(int16_t{0}), const Variant& intCellPadding = Variant(int16_t{0}),
      const Variant& intWidthPct = Variant(int16_t{100}), const Variant& lngTableCellAlign = Variant(int16_t{2}),
      const Variant& blnWrapCellData = Variant(false), const Variant& blnBoldFirstRow = Variant(false),
      const Variant& blnBoldFirstColumn = Variant(false));
  int16_t TwoDArrayToHTMLFile(const Variant& varArray, const std::string& strHTMLFile,
                              const std::string& strPageHeading = "", const std::string& strPageTitle = "",
                              const std::string& strPageBackground = "", const std::string& strPageBackgroundColor = "",
                              TableAlignType lngTableAlign = dwgCenter, const std::string& strBackground = "",
                              const std::string& strBackgroundColor = "", int16_t intBorder = 0,
                              const std::string& strBorderColor = "", int16_t intCellSpacing = 0,
                              int16_t intCellPadding = 0, int16_t intWidthPct = 100,
                              TableAlignType lngTableCellAlign = dwgRight, bool blnWrapCellData = false,
                              bool blnBoldFirstRow = false, bool blnBoldFirstColumn = false);
  int16_t Web_TwoDArrayToHTMLFile(
      const Variant& varArray, const Variant& strHTMLFile, const Variant& strPageHeading = Variant(""),
      const Variant& strPageTitle = Variant(""), const Variant& strPageBackground = Variant(""),
      const Variant& strPageBackgroundColor = Variant(""), const Variant& lngTableAlign = Variant(int16_t{1}),
      const Variant& strBackground = Variant(""), const Variant& strBackgroundColor = Variant(""),
      const Variant& intBorder = Variant(int16_t{0}), const Variant& strBorderColor = Variant(""),
      const Variant& intCellSpacing = Variant(int16_t{0}), const Variant& intCellPadding = Variant(int16_t{0}),
      const Variant& intWidthPct = Variant(int16_t{100}), const Variant& lngTableCellAlign = Variant(int16_t{2}),
      const Variant& blnWrapCellData = Variant(false), const Variant& blnBoldFirstRow = Variant(false),
      const Variant& blnBoldFirstColumn = Variant(false));
  int16_t OneDArrayToHTMLTable(const Variant& varArray, std::string& strTable, TableAlignType lngTableAlign = dwgCenter,
                               const std::string& strBackground = "", const std::string& strBackgroundColor = "",
                               int16_t intBorder = 0, const std::string& strBorderColor = "",
                               int16_t intCellSpacing = 0, int16_t intCellPadding = 0, int16_t intWidthPct = 100,
                               TableAlignType lngTableCellAlign = dwgRight, bool blnWrapCellData = false,
                               bool blnBoldFirstRow = false);
  int16_t OneDArrayToHTMLFile(const Variant& varArray, const std::string& strHTMLFile,
                              const std::string& strPageHeading = "", const std::string& strPageTitle = "",
                              const std::string& strPageBackground = "", const std::string& strPageBackgroundColor = "",
                              TableAlignType lngTableAlign = dwgCenter, const std::string& strBackground = "",
                              const std::string& strBackgroundColor = "", int16_t intBorder = 0,
                              const std::string& strBorderColor = "", int16_t intCellSpacing = 0,
                              int16_t intCellPadding = 0, int16_t intWidthPct = 100,
                              TableAlignType lngTableCellAlign = dwgRight, bool blnWrapCellData = false,
                              bool blnBoldFirstRow = false);

  // ---- Arrays: sorting and delimited text ---------------------------------
  // Sorting: 1 sorted, -1 not an array, 0 a run-time error; SortTwoDArray also
  // -2 a key column that is not a number, -3 one outside the column bounds,
  // -4 an order word other than "asc" or "dec". SortOrder holds the key list.
  int16_t SortOneDArray(Variant& varArray, SortOrderType lngSortOrder = dwgAscending);
  int16_t SortTwoDArray(Variant& arrArray, bool blnDoNotIncludeFirstRow, std::span<Variant> SortOrder = {});
  int16_t Web_SortTwoDArray(Variant& arrArray, const Variant& blnDoNotIncludeFirstRow,
                            std::span<Variant> SortOrder = {});
  // Readers: see each one's result codes in src/arrays/text_readers.cpp.
  int16_t TextFileToArray(const std::string& strTextFile, Variant& varArray, const std::string& strDelimiter,
                          bool blnRemoveQuotes = false);
  int16_t Web_TextFileToArray(const Variant& strTextFile, Variant& varArray, const Variant& strDelimiter = Variant(""),
                              const Variant& blnRemoveQuotes = Variant(false));
  // Reads the lines into varArray, each one through strTextFile: afterwards
  // the caller's path variable holds the file's last line.
  int16_t TextFileToOneDArray(std::string& strTextFile, Variant& varArray);
  int16_t MultiLineTextToOneDArray(const std::string& strText, Variant& varArray, const std::string& strDelimiter = "");
  int16_t TextBoxToOneDArray(const ObjectRef& tb, Variant& varArray);

  // ---- Control adapters ------------------------------------------------------
  // Arrays to and from list views, tree views, grids, list boxes,
  // dictionaries and collections; result codes in src/controls/adapters.hpp.
  int16_t DictionaryToArray(const ObjectRef& dt, Variant& varArray, bool blnIncludeKeys = false);
  int16_t DirListBoxToOneDArray(const ObjectRef& dlb, Variant& varArray);
  int16_t DriveListBoxToOneDArray(const ObjectRef& dlb, Variant& varArray);
  int16_t DataGridToArray(const ObjectRef& dg, Variant& varArray, bool blnIncludeHeadings = false);
  int16_t TwoDArrayToListView(const Variant& varArray, const ObjectRef& lv,
                              const Variant& varSelectItems = Variant::Missing());
  int16_t TwoDArrayToTreeView(const Variant& varArray, const ObjectRef& tv, bool blnExpandAll = false);
  int16_t FlexGridToArray(const ObjectRef& fg, Variant& varArray, int32_t lngStartRow = 0, int16_t lngStartCol = 0,
                          int32_t lngEndRow = 0, int16_t lngEndCol = 0);
  int16_t TwoDArrayToFlexGrid(const Variant& varArray, const ObjectRef& fg);
  int16_t FileListBoxToOneDArray(const ObjectRef& flb, Variant& varArray, bool blnSelectedOnly = false);
  int16_t XMLFileToTreeView(const std::string& strXMLFile, const ObjectRef& tv, bool blnExpandAll = false);
  int16_t ComboBoxToOneDArray(const ObjectRef& cb, Variant& varArray);
  int16_t ListViewToArray(const ObjectRef& lv, Variant& varArray, bool blnSelectedOnly = false,
                          bool blnIncludeHeadings = false);
  int16_t ListBoxToOneDArray(const ObjectRef& lb, Variant& varArray, bool blnSelectedOnly = false);
  int16_t TreeViewToTwoDArray(const ObjectRef& tv, Variant& varArray, bool blnSuppressRows = false);
  // The tree as a worksheet: one row per node, each node before its children,
  // its text in column lngCol + its depth (docs/controls.md).
  int16_t TreeViewToExcel(const ObjectRef& tv, int32_t lngRow = 1, int32_t lngCol = 1,
                          const std::string& strWorkbook = "", bool blnUseOpenWorkbook = false,
                          const std::string& strSaveToFile = "", const Variant& varWorksheet = Variant::Missing(),
                          bool blnCloseWorkbook = false, const std::string& strSheetName = "");
  int16_t TwoDArrayToDictionary(const Variant& varArray, const ObjectRef& dt);
  int16_t TwoDArrayToCollection(const Variant& varArray, const ObjectRef& cl);

  // ---- Extraction: XML description, flattening, arrays and recordsets ------
  void FixXML(Variant& strFile);
  int16_t FlattenXMLfile(const std::string& strSourceXMLFile, const std::string& strTargetXMLFile,
                         ChapterType lngChapter, DrawingFieldType lngDrawingField = dwgNone);
  int16_t Web_FlattenXMLfile(Variant& strSourceXMLFile, Variant& strTargetXMLFile, Variant& lngChapter,
                             Variant& lngDrawingField);
  int16_t XMLfileToArray(const std::string& strXMLFile, ChapterType lngChapter, Variant& varArray,
                         bool blnIncludeHeadings = false, const std::string& strFilter = "",
                         const Variant& varFields = Variant::Missing(), DrawingFieldType lngDrawingField = dwgNone);
  int16_t Web_XMLfileToArray(Variant& strXMLFile, Variant& lngChapter, Variant& varArray, Variant& blnIncludeHeadings,
                             Variant& strFilter, Variant& varFields, Variant lngDrawingField);
  int16_t CreateBlockAttributeArray(Variant& vArr, DrawingSpaceType lngDrawingSpace = dwgBoth,
                                    const std::string& strLayout = "", const std::string& strBlock = "",
                                    const std::string& strLayer = "", DrawingFieldType lngDrawingField = dwgNone,
                                    bool blnIncludeHeadings = true, const Variant& varAttributeTags = Variant::Missing());
  int16_t Web_CreateBlockAttributeArray(Variant& vArr, Variant& strFilter, Variant lngDrawingField,
                                        Variant& blnIncludeHeadings);
  int16_t FlatXMLfileToArray(const std::string& strXMLFile, Variant& varArray, bool blnIncludeHeadings = false);
  int16_t Web_FlatXMLfileToArray(Variant& strXMLFile, Variant& varArray, Variant& blnIncludeHeadings);
  int32_t XMLFileToRecordset(const std::string& strXMLFile, const ObjectRef& objRecd);
  int32_t Web_XMLFileToRecordset(Variant& strXMLFile, Variant& objRecd);

  // ---- Word and Excel files (docs/office.md) ---------------------------------
  // 1 done, -2 no array, 0 an error; the document is a .docx of our own making.
  int16_t TwoDArrayToWord(const Variant& varArray, const std::string& strDocument = "", bool blnSave = false,
                          bool blnClose = false, TableType lngTableType = dwgFormatNone, bool blnBold = false,
                          const std::string& strFont = "Times New Roman", int16_t intSize = 12,
                          int16_t intSpaceAfter = 10, TableAlignType lngParagraphAlign = dwgLeft,
                          int16_t intColumnWidth = 0, bool blnBorders = false, bool blnShading = false,
                          bool blnFont = false, bool blnColor = false, bool blnHeadingRows = false,
                          bool blnLastRow = false, bool blnFirstColumn = false, bool blnLastColumn = false,
                          bool blnAutoFit = false, OrientationType lngPageOrientation = dwgPortrait);
  int16_t Web_TwoDArrayToWord(
      const Variant& varArray, const Variant& strDocument = Variant(""), const Variant& blnSave = Variant(false),
      const Variant& blnClose = Variant(false), const Variant& lngTableType = Variant(int16_t{0}),
      const Variant& blnBold = Variant(false), const Variant& strFont = Variant("Times New Roman"),
      const Variant& intSize = Variant(int16_t{12}), const Variant& intSpaceAfter = Variant(int16_t{10}),
      const Variant& lngParagraphAlign = Variant(int16_t{0}), const Variant& intColumnWidth = Variant(int16_t{0}),
      const Variant& blnBorders = Variant(false), const Variant& blnShading = Variant(false),
      const Variant& blnFont = Variant(false), const Variant& blnColor = Variant(false),
      const Variant& blnHeadingRows = Variant(false), const Variant& blnLastRow = Variant(false),
      const Variant& blnFirstColumn = Variant(false), const Variant& blnLastColumn = Variant(false),
      const Variant& blnAutoFit = Variant(false), const Variant& lngPageOrientation = Variant(int16_t{0}));
  int16_t OneDArrayToWord(const Variant& varArray, const std::string& strDocument = "", bool blnSave = false,
                          bool blnClose = false, TableType lngTableType = dwgFormatNone, bool blnBold = false,
                          const std::string& strFont = "Times New Roman", int16_t intSize = 12,
                          int16_t intSpaceAfter = 10, TableAlignType lngParagraphAlign = dwgLeft,
                          int16_t intColumnWidth = 0, bool blnBorders = false, bool blnShading = false,
                          bool blnFont = false, bool blnColor = false, bool blnHeadingRows = false,
                          bool blnLastRow = false, bool blnFirstColumn = false, bool blnLastColumn = false,
                          bool blnAutoFit = false, OrientationType lngPageOrientation = dwgPortrait);
  // 1 done; -1 lngRow below 1 or lngCol outside 1 to 256; -2 no array; -3
  // never (no program to reach); -4 strWorkbook does not exist; 0 an error.
  int16_t ArrayToExcel(const Variant& varArray, int32_t lngRow, int32_t lngCol, const std::string& strWorkbook = "",
                       bool blnUseOpenWorkbook = false, const std::string& strSaveToFile = "",
                       const Variant& varWorksheet = Variant::Missing(), const std::string& strPassword = "",
                       const std::string& strWriteResPassword = "", bool blnCloseWorkbook = false,
                       bool blnTranspose = false, bool blnSetColumnWidths = true, bool blnBoldFirstRow = false,
                       bool blnBoldFirstColumn = false, bool blnFreezeHeaders = false,
                       const std::string& strSheetName = "", bool blnFormatAsText = true);
  int16_t Web_ArrayToExcel(
      const Variant& varArray, const Variant& lngRow, const Variant& lngCol, const Variant& strWorkbook = Variant(""),
      const Variant& blnUseOpenWorkbook = Variant(false), const Variant& strSaveToFile = Variant(""),
      const Variant& varWorksheet = Variant::Missing(), const Variant& strPassword = Variant(""),
      const Variant& strWriteResPassword = Variant(""), const Variant& blnCloseWorkbook = Variant(false),
      const Variant& blnTranspose = Variant(false), const Variant& blnSetColumnWidths = Variant(true),
      const Variant& blnBoldFirstRow = Variant(false), const Variant& blnBoldFirstColumn = Variant(false),
      const Variant& blnFreezeHeaders = Variant(false), const Variant& strSheetName = Variant(""),
      const Variant& blnFormatAsText = Variant(true));
  // No spreadsheet window is ever opened, so there is none to close.
  void CloseExcelHiddenInstances(bool blnCloseBeforeDestroy = false, bool blnPromptBeforeClose = false);
  void Web_CloseExcelHiddenInstances(const Variant& blnCloseBeforeDestroy = Variant(false),
                                     const Variant& blnPromptBeforeClose = Variant(false));
  // The documents and workbooks this object holds open between calls.
  office::Application& office_application();

  // ---- Database transfer ------------------------------------------------------
  // Arrays and text files into tables, query results into arrays and text
  // files, recordsets to and from arrays, data source lists. Result codes in
  // src/database/*_methods.cpp and src/recordset/transfer_methods.cpp;
  // LastDatabaseDiagnostic() says why a call failed.
  int16_t TwoDArrayToAccessTable(const Variant& varArray, const std::string& strAccessMDB,
                                 const std::string& strAccessTable, const std::string& strPassword = "",
                                 const std::string& strQueryBeforeInsert = "", const std::string& strQueryAfterInsert = "",
                                 bool blnExclusivelyOpenMDB = false);
  int16_t Web_TwoDArrayToAccessTable(const Variant& varArray, const Variant& strAccessMDB, const Variant& strAccessTable,
                                     const Variant& strPassword, const Variant& strQueryBeforeInsert,
                                     const Variant& strQueryAfterInsert, const Variant& blnExclusivelyOpenMDB);
  int16_t TwoDArrayToVisualFoxproTable(const Variant& varArray, const std::string& strVisualFoxproDB,
                                       const std::string& strTable, const std::string& strQueryBeforeInsert = "",
                                       const std::string& strQueryAfterInsert = "");
  int16_t Web_TwoDArrayToVisualFoxproTable(const Variant& varArray, const Variant& strVisualFoxproDB,
                                           const Variant& strTable, const Variant& strQueryBeforeInsert,
                                           const Variant& strQueryAfterInsert);
  int16_t TwoDArrayToSQLServerTable(const Variant& varArray, const std::string& strServer,
                                    const std::string& strDatabase, const std::string& strTable,
                                    bool blnTrustedConnection = false, const std::string& strUserID = "",
                                    const std::string& strPassword = "", const std::string& strQueryBeforeInsert = "",
                                    const std::string& strQueryAfterInsert = "");
  int16_t Web_TwoDArrayToSQLServerTable(const Variant& varArray, const Variant& strServer, const Variant& strDatabase,
                                        const Variant& strTable, const Variant& blnTrustedConnection,
                                        const Variant& strUserID, const Variant& strPassword,
                                        const Variant& strQueryBeforeInsert, const Variant& strQueryAfterInsert);
  int16_t TwoDArrayToSybaseTable(const Variant& varArray, const std::string& strServer, const std::string& strDatabase,
                                 const std::string& strTable, const std::string& strUserID = "",
                                 const std::string& strPassword = "", const std::string& strQueryBeforeInsert = "",
                                 const std::string& strQueryAfterInsert = "");
  int16_t Web_TwoDArrayToSybaseTable(const Variant& varArray, const Variant& strServer, const Variant& strDatabase,
                                     const Variant& strTable, const Variant& strUserID, const Variant& strPassword,
                                     const Variant& strQueryBeforeInsert, const Variant& strQueryAfterInsert);
  int16_t TwoDArrayToMySQLTable(const Variant& varArray, const std::string& strMySQLDB, const std::string& strTable,
                                const std::string& strUserID = "", const std::string& strPassword = "",
                                const std::string& strQueryBeforeInsert = "",
                                const std::string& strQueryAfterInsert = "");
  int16_t Web_TwoDArrayToMySQLTable(const Variant& varArray, const Variant& strMySQLDB, const Variant& strTable,
                                    const Variant& strUserID, const Variant& strPassword,
                                    const Variant& strQueryBeforeInsert, const Variant& strQueryAfterInsert);
  int16_t TwoDArrayToOracleTable(const Variant& varArray, OracleProviderType lngProvider, const std::string& strOracleDB,
                                 const std::string& strTable, bool blnTrustedConnection = false,
                                 const std::string& strUserID = "", const std::string& strPassword = "",
                                 const std::string& strQueryBeforeInsert = "",
                                 const std::string& strQueryAfterInsert = "");
  int16_t Web_TwoDArrayToOracleTable(const Variant& varArray, Variant lngProvider, const Variant& strOracleDB,
                                     const Variant& strTable, const Variant& blnTrustedConnection,
                                     const Variant& strUserID, const Variant& strPassword,
                                     const Variant& strQueryBeforeInsert, const Variant& strQueryAfterInsert);
  int16_t TwoDArrayToDatabaseTable(const Variant& varArray, const std::string& strDSNorConnString,
                                   const std::string& strTable, const std::string& strUserID = "",
                                   const std::string& strPassword = "", bool blnOverwrite = false);
  int16_t Web_TwoDArrayToDatabaseTable(const Variant& varArray, const Variant& strDSNorConnString,
                                       const Variant& strTable, const Variant& strUserID, const Variant& strPassword,
                                       const Variant& blnOverwrite);
  int16_t TextFileToDatabaseTable(const std::string& strTextFile, const std::string& strDSNorConnString,
                                  const std::string& strTable, const std::string& strUserID = "",
                                  const std::string& strPassword = "", bool blnOverwrite = false,
                                  std::string strDelimiter = "", bool blnRemoveQuotes = false);
  int16_t Web_TextFileToDatabaseTable(const std::string& strTextFile, const std::string& strDSNorConnString,
                                      const std::string& strTable, const std::string& strUserID = "",
                                      const std::string& strPassword = "", bool blnOverwrite = false,
                                      std::string strDelimiter = "", bool blnRemoveQuotes = false);
  int16_t DatabaseTableToArray(const std::string& strDSNorConnString, const std::string& strSQL, Variant& varArray,
                               const std::string& strUserID = "", const std::string& strPassword = "",
                               bool blnIncludeHeadings = false);
  int16_t Web_DatabaseTableToArray(const Variant& strDSNorConnString, const Variant& strSQL, Variant& varArray,
                                   const Variant& strUserID, const Variant& strPassword,
                                   const Variant& blnIncludeHeadings);
  int16_t DatabaseTableToTextFile(const std::string& strDSNorConnString, const std::string& strSQL,
                                  const std::string& strTextFile, const std::string& strUserID = "",
                                  const std::string& strPassword = "", bool blnIncludeHeadings = false,
                                  std::string strDelimiter = "", bool blnQuotes = false);
  int16_t Web_DatabaseTableToTextFile(const Variant& strDSNorConnString, const Variant& strSQL,
                                      const Variant& strTextFile, const Variant& strUserID, const Variant& strPassword,
                                      const Variant& blnIncludeHeadings, Variant strDelimiter,
                                      const Variant& blnQuotes);
  Variant SystemDSNsToOneDArray();
  Variant AllDSNsToOneDArray();
  int16_t RecordsetToArray(const ObjectRef& objRecd, Variant& varArray, bool blnIncludeHeadings = false);
  int16_t Web_RecordsetToArray(const Variant& objRecd, Variant& varArray, const Variant& blnIncludeHeadings);
  int16_t RecordsetToTextFile(const ObjectRef& objRecd, const std::string& strTextFile, bool blnIncludeHeadings = false,
                              std::string strDelimiter = "", bool blnQuotes = false);
  int16_t Web_RecordsetToTextFile(const Variant& objRecd, const Variant& strTextFile, const Variant& blnIncludeHeadings,
                                  Variant strDelimiter, const Variant& blnQuotes);
  int32_t TwoDArrayToRecordset(const Variant& varArray, const ObjectRef& objRecd);
  int32_t Web_TwoDArrayToRecordset(const Variant& varArray, const Variant& objRecd);
  ObjectRef CreateRecordsetFromArray(const Variant& varArray, const std::string& strFilter = "");

  // ---- Instance state, for the drawing methods and tests -------------------
  bool drawing_open() const { return drawingOpen_; }
  bool component_missing() const { return componentMissing_; }
  engine::DrawingComponent* component() { return component_.get(); }

 private:
  // Runs one component operation with errors suppressed, then reports the
  // component's status: "OK", or its text.
  template <class Operation>
  std::string DrawingOperation(Operation&& op);
  std::string StatusStep();
  std::string OpenWith(const std::string& file, const std::string& password, bool web);
  struct FindRequest;
  int32_t FindAndModify(const FindRequest& request);

  std::unique_ptr<engine::DrawingComponent> component_;
  std::shared_ptr<office::Application> office_;  // made on first use
  bool drawingOpen_ = false;
  bool componentMissing_ = false;
};

}  // namespace vantrove
