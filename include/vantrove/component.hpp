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
  bool drawingOpen_ = false;
  bool componentMissing_ = false;
};

}  // namespace vantrove
