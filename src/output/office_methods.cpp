// The Word and Excel members of clsVantrove: arguments in, the writers' steps
// on the object's held documents, result codes out.
#include "../component/boundary.hpp"
#include "excel_writer.hpp"
#include "vantrove/component.hpp"
#include "word_writer.hpp"

namespace vantrove {

office::Application& clsVantrove::office_application() {
  if (!office_) office_ = std::make_shared<office::Application>();
  return *office_;
}

namespace {

office::FileTest FileTestOf(clsVantrove& v) {
  return [&v](const std::string& path) {
    Variant p(path);
    return v.FileExists(p);
  };
}

office::WordRequest WordRequestOf(const std::string& document, bool save, bool close, int32_t tableType, bool bold,
                                  const std::string& font, int16_t size, int16_t spaceAfter, int32_t align,
                                  int16_t columnWidth, docx::TableFlags flags, int32_t orientation) {
  office::WordRequest r;
  r.document = document;
  r.save = save;
  r.close = close;
  r.tableType = tableType;
  r.bold = bold;
  r.font = font;
  r.size = size;
  r.spaceAfter = spaceAfter;
  r.paragraphAlign = align;
  r.columnWidth = columnWidth;
  r.flags = flags;
  r.pageOrientation = orientation;
  return r;
}

}  // namespace

int16_t clsVantrove::TwoDArrayToWord(const Variant& varArray, const std::string& strDocument, bool blnSave,
                                     bool blnClose, TableType lngTableType, bool blnBold, const std::string& strFont,
                                     int16_t intSize, int16_t intSpaceAfter, TableAlignType lngParagraphAlign,
                                     int16_t intColumnWidth, bool blnBorders, bool blnShading, bool blnFont,
                                     bool blnColor, bool blnHeadingRows, bool blnLastRow, bool blnFirstColumn,
                                     bool blnLastColumn, bool blnAutoFit, OrientationType lngPageOrientation) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const auto r = WordRequestOf(strDocument, blnSave, blnClose, lngTableType, blnBold, strFont, intSize, intSpaceAfter,
                                 lngParagraphAlign, intColumnWidth,
                                 {blnBorders, blnShading, blnFont, blnColor, blnHeadingRows, blnLastRow, blnFirstColumn,
                                  blnLastColumn, blnAutoFit},
                                 lngPageOrientation);
    return office::ArrayToWord(office_application(), varArray, false, r, FileTestOf(*this));
  });
}

int16_t clsVantrove::OneDArrayToWord(const Variant& varArray, const std::string& strDocument, bool blnSave,
                                     bool blnClose, TableType lngTableType, bool blnBold, const std::string& strFont,
                                     int16_t intSize, int16_t intSpaceAfter, TableAlignType lngParagraphAlign,
                                     int16_t intColumnWidth, bool blnBorders, bool blnShading, bool blnFont,
                                     bool blnColor, bool blnHeadingRows, bool blnLastRow, bool blnFirstColumn,
                                     bool blnLastColumn, bool blnAutoFit, OrientationType lngPageOrientation) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const auto r = WordRequestOf(strDocument, blnSave, blnClose, lngTableType, blnBold, strFont, intSize, intSpaceAfter,
                                 lngParagraphAlign, intColumnWidth,
                                 {blnBorders, blnShading, blnFont, blnColor, blnHeadingRows, blnLastRow, blnFirstColumn,
                                  blnLastColumn, blnAutoFit},
                                 lngPageOrientation);
    return office::ArrayToWord(office_application(), varArray, true, r, FileTestOf(*this));
  });
}

int16_t clsVantrove::Web_TwoDArrayToWord(
    const Variant& varArray, const Variant& strDocument, const Variant& blnSave, const Variant& blnClose,
    const Variant& lngTableType, const Variant& blnBold, const Variant& strFont, const Variant& intSize,
    const Variant& intSpaceAfter, const Variant& lngParagraphAlign, const Variant& intColumnWidth,
    const Variant& blnBorders, const Variant& blnShading, const Variant& blnFont, const Variant& blnColor,
    const Variant& blnHeadingRows, const Variant& blnLastRow, const Variant& blnFirstColumn,
    const Variant& blnLastColumn, const Variant& blnAutoFit, const Variant& lngPageOrientation) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    if (!varArray.IsArray()) return -2;
    const auto r = WordRequestOf(CStr(strDocument), CBool(blnSave), CBool(blnClose), CLng(lngTableType), CBool(blnBold),
                                 CStr(strFont), CInt(intSize), CInt(intSpaceAfter), CLng(lngParagraphAlign),
                                 CInt(intColumnWidth),
                                 {CBool(blnBorders), CBool(blnShading), CBool(blnFont), CBool(blnColor),
                                  CBool(blnHeadingRows), CBool(blnLastRow), CBool(blnFirstColumn), CBool(blnLastColumn),
                                  CBool(blnAutoFit)},
                                 CLng(lngPageOrientation));
    return office::ArrayToWord(office_application(), varArray, false, r, FileTestOf(*this));
  });
}

int16_t clsVantrove::ArrayToExcel(const Variant& varArray, int32_t lngRow, int32_t lngCol,
                                  const std::string& strWorkbook, bool blnUseOpenWorkbook,
                                  const std::string& strSaveToFile, const Variant& varWorksheet,
                                  const std::string& strPassword, const std::string& strWriteResPassword,
                                  bool blnCloseWorkbook, bool blnTranspose, bool blnSetColumnWidths,
                                  bool blnBoldFirstRow, bool blnBoldFirstColumn, bool blnFreezeHeaders,
                                  const std::string& strSheetName, bool blnFormatAsText) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    office::ExcelRequest r;
    r.choice = {strWorkbook, blnUseOpenWorkbook, strSaveToFile, varWorksheet, strPassword, strWriteResPassword,
                blnCloseWorkbook, strSheetName};
    r.transpose = blnTranspose;
    r.setColumnWidths = blnSetColumnWidths;
    r.boldFirstRow = blnBoldFirstRow;
    r.boldFirstColumn = blnBoldFirstColumn;
    r.freezeHeaders = blnFreezeHeaders;
    r.formatAsText = blnFormatAsText;
    return office::ArrayToExcel(office_application(), varArray, lngRow, lngCol, r, FileTestOf(*this));
  });
}

int16_t clsVantrove::Web_ArrayToExcel(
    const Variant& varArray, const Variant& lngRow, const Variant& lngCol, const Variant& strWorkbook,
    const Variant& blnUseOpenWorkbook, const Variant& strSaveToFile, const Variant& varWorksheet,
    const Variant& strPassword, const Variant& strWriteResPassword, const Variant& blnCloseWorkbook,
    const Variant& blnTranspose, const Variant& blnSetColumnWidths, const Variant& blnBoldFirstRow,
    const Variant& blnBoldFirstColumn, const Variant& blnFreezeHeaders, const Variant& strSheetName,
    const Variant& blnFormatAsText) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const int32_t row = CLng(lngRow), col = CLng(lngCol);
    office::ExcelRequest r;
    r.choice = {CStr(strWorkbook), CBool(blnUseOpenWorkbook), CStr(strSaveToFile), varWorksheet, CStr(strPassword),
                CStr(strWriteResPassword), CBool(blnCloseWorkbook), CStr(strSheetName)};
    r.transpose = CBool(blnTranspose);
    r.setColumnWidths = CBool(blnSetColumnWidths);
    r.boldFirstRow = CBool(blnBoldFirstRow);
    r.boldFirstColumn = CBool(blnBoldFirstColumn);
    r.freezeHeaders = CBool(blnFreezeHeaders);
    r.formatAsText = CBool(blnFormatAsText);
    return office::ArrayToExcel(office_application(), varArray, row, col, r, FileTestOf(*this));
  });
}

void clsVantrove::CloseExcelHiddenInstances(bool blnCloseBeforeDestroy, bool blnPromptBeforeClose) {
  // The loop looks for spreadsheet main windows left behind by automation; on
  // this platform no program is started, so the first search finds none.
  (void)blnCloseBeforeDestroy;
  (void)blnPromptBeforeClose;
}

void clsVantrove::Web_CloseExcelHiddenInstances(const Variant& blnCloseBeforeDestroy,
                                                const Variant& blnPromptBeforeClose) {
  (void)blnCloseBeforeDestroy;
  (void)blnPromptBeforeClose;
}

}  // namespace vantrove
