// Arrays to HTML tables and pages. The markup is old-style upper-case HTML,
// written exactly as callers that embed it expect; values go in unescaped.
#include <optional>

#include "../component/boundary.hpp"
#include "cells.hpp"
#include "vantrove/component.hpp"

namespace vantrove {

namespace {

constexpr std::string_view kCrLf = "\r\n";

struct TableOptions {
  std::string align;                     // the table's alignment word; "" when out of range
  std::optional<std::string> cellAlign;  // the rows' alignment word; none when out of range
  std::string background, backgroundColor, borderColor;
  std::string border, cellSpacing, cellPadding, widthPct;  // as written
  bool wrap = false;
  bool boldFirstRow = false;
  bool boldFirstColumn = false;
};

struct PageOptions {
  std::string heading, title, background, backgroundColor;
};

std::optional<std::string> AlignWord(double value) {
  if (value == static_cast<double>(dwgLeft)) return "LEFT";
  if (value == static_cast<double>(dwgCenter)) return "CENTER";
  if (value == static_cast<double>(dwgRight)) return "RIGHT";
  return std::nullopt;
}

// An alignment given as a variant: a number picks the word; Null or text
// that is no number picks none.
std::optional<std::string> AlignWord(const Variant& v) {
  if (v.IsNull() || (v.IsString() && !IsNumeric(v))) return std::nullopt;
  return AlignWord(CDbl(v));
}

bool Blank(const std::string& s) { return Trim(s).empty(); }

TableOptions TypedOptions(TableAlignType align, const std::string& background, const std::string& backgroundColor,
                          int16_t border, const std::string& borderColor, int16_t cellSpacing, int16_t cellPadding,
                          int16_t widthPct, TableAlignType cellAlign, bool wrap, bool boldFirstRow,
                          bool boldFirstColumn) {
  TableOptions o;
  o.align = AlignWord(static_cast<double>(align)).value_or("");
  o.cellAlign = AlignWord(static_cast<double>(cellAlign));
  o.background = background;
  o.backgroundColor = backgroundColor;
  o.borderColor = borderColor;
  o.border = std::to_string(border);
  o.cellSpacing = std::to_string(cellSpacing);
  o.cellPadding = std::to_string(cellPadding);
  o.widthPct = std::to_string(widthPct);
  o.wrap = wrap;
  o.boldFirstRow = boldFirstRow;
  o.boldFirstColumn = boldFirstColumn;
  return o;
}

// The web twins join their variants into the markup as they are.
TableOptions VariantOptions(const Variant& align, const Variant& background, const Variant& backgroundColor,
                            const Variant& border, const Variant& borderColor, const Variant& cellSpacing,
                            const Variant& cellPadding, const Variant& widthPct, const Variant& cellAlign,
                            const Variant& wrap, const Variant& boldFirstRow, const Variant& boldFirstColumn) {
  TableOptions o;
  o.align = AlignWord(align).value_or("");
  o.cellAlign = AlignWord(cellAlign);
  o.background = detail::JoinedText(background);
  o.backgroundColor = detail::JoinedText(backgroundColor);
  o.borderColor = detail::JoinedText(borderColor);
  o.border = detail::JoinedText(border);
  o.cellSpacing = detail::JoinedText(cellSpacing);
  o.cellPadding = detail::JoinedText(cellPadding);
  o.widthPct = detail::JoinedText(widthPct);
  o.wrap = CBool(wrap);
  o.boldFirstRow = CBool(boldFirstRow);
  o.boldFirstColumn = CBool(boldFirstColumn);
  return o;
}

std::string OpeningLine(const TableOptions& o) {
  std::string s = "<TABLE ALIGN=" + o.align + " BORDER=" + o.border + " CELLSPACING=" + o.cellSpacing +
                  " CELLPADDING=" + o.cellPadding + " WIDTH='" + o.widthPct + "%'";
  if (!Blank(o.background)) s += " BACKGROUND='" + o.background + "'";
  if (!Blank(o.backgroundColor)) s += " BGCOLOR='" + o.backgroundColor + "'";
  if (!Blank(o.borderColor)) s += " BORDERCOLOR='" + o.borderColor + "'";
  s += "><TBODY>";
  s += kCrLf;
  return s;
}

// The row opener. An out-of-range row alignment leaves the whole opening
// line where the word would be.
std::string RowOpener(const TableOptions& o, const std::string& openingLine) {
  return "<TR ALIGN=" + o.cellAlign.value_or(openingLine) + (o.wrap ? "" : " NOWRAP") + ">";
}

void AppendCell(clsConcat& out, const Variant& value, bool wrap, bool bold) {
  out.SConcat("<TD");
  if (!wrap) out.SConcat(" NOWRAP");
  out.SConcat(bold ? "><STRONG>" : ">");
  detail::AppendText(out, value);
  out.SConcat(bold ? "</STRONG></TD>" : "</TD>");
}

std::string TwoDTable(const SafeArray& a, const TableOptions& o) {
  clsConcat out;
  const std::string opening = OpeningLine(o);
  out.SConcat(opening);
  const std::string row = RowOpener(o, opening);
  const int64_t r0 = a.LBound(1), r1 = a.UBound(1);
  for (int64_t r = r0; r <= r1; ++r) {
    out.SConcat(row);
    const int64_t c0 = a.LBound(2), c1 = a.UBound(2);
    for (int64_t c = c0; c <= c1; ++c) {
      const bool bold = (o.boldFirstRow && r == r0) || (o.boldFirstColumn && c == c0);
      AppendCell(out, detail::Cell(a, r, c), o.wrap, bold);
    }
    out.SConcat("</TR>");
    out.SConcat(kCrLf);
  }
  out.SConcat("</TBODY></TABLE>");
  return out.GetString();
}

std::string OneDTable(const SafeArray& a, const TableOptions& o) {
  clsConcat out;
  const std::string opening = OpeningLine(o);
  out.SConcat(opening);
  const std::string row = RowOpener(o, opening);
  const int64_t lo = a.LBound(1), hi = a.UBound(1);
  for (int64_t i = lo; i <= hi; ++i) {
    out.SConcat(row);
    AppendCell(out, detail::Item(a, i), o.wrap, o.boldFirstRow && i == lo);
    out.SConcat("</TR>");
    out.SConcat(kCrLf);
  }
  out.SConcat("</TBODY></TABLE>");
  return out.GetString();
}

std::string Page(const PageOptions& p, const std::string& table) {
  clsConcat out;
  out.SConcat("<HTML>\r\n<HEAD>\r\n");
  if (!Blank(p.heading)) {
    out.SConcat("<STRONG><CENTER>");
    out.SConcat(p.heading);
    out.SConcat("</CENTER></STRONG><BR>\r\n");
  }
  out.SConcat("<TITLE>\r\n");
  if (!Blank(p.title)) {
    out.SConcat(p.title);
    out.SConcat(kCrLf);
  }
  out.SConcat("</TITLE>\r\n</HEAD>\r\n<BODY ");
  if (!Blank(p.backgroundColor)) {
    out.SConcat(" BGCOLOR='");
    out.SConcat(p.backgroundColor);
    out.SConcat("'");
  }
  if (!Blank(p.background)) {
    out.SConcat(" BACKGROUND='");
    out.SConcat(p.background);
    out.SConcat("'");
  }
  out.SConcat(">\r\n");
  out.SConcat(table);
  out.SConcat("\r\n</BODY>\r\n</HTML>\r\n");
  return out.GetString();
}

// Writes the page and one more line break. A page with characters beyond
// ASCII starts with the UTF-8 byte order mark, so that browsers read it as
// UTF-8 although the markup names no character set; plain ASCII pages are
// written byte for byte.
void WritePage(const std::string& path, const std::string& page) {
  bool ascii = true;
  for (char c : page) {
    if (static_cast<unsigned char>(c) >= 0x80) {
      ascii = false;
      break;
    }
  }
  OutputFile file(path);
  if (!ascii) file.Write("\xEF\xBB\xBF");
  file.Write(page);
  file.Write(kCrLf);
  file.Commit();
}

PageOptions VariantPage(const Variant& heading, const Variant& title, const Variant& background,
                        const Variant& backgroundColor) {
  return {detail::JoinedText(heading), detail::JoinedText(title), detail::JoinedText(background),
          detail::JoinedText(backgroundColor)};
}

}  // namespace

int16_t clsVantrove::TwoDArrayToHTMLTable(const Variant& varArray, std::string& strTable, TableAlignType lngTableAlign,
                                          const std::string& strBackground, const std::string& strBackgroundColor,
                                          int16_t intBorder, const std::string& strBorderColor, int16_t intCellSpacing,
                                          int16_t intCellPadding, int16_t intWidthPct, TableAlignType lngTableCellAlign,
                                          bool blnWrapCellData, bool blnBoldFirstRow, bool blnBoldFirstColumn) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    strTable = TwoDTable(varArray.array(),
                         TypedOptions(lngTableAlign, strBackground, strBackgroundColor, intBorder, strBorderColor,
                                      intCellSpacing, intCellPadding, intWidthPct, lngTableCellAlign, blnWrapCellData,
                                      blnBoldFirstRow, blnBoldFirstColumn));
    return 1;
  });
}

int16_t clsVantrove::Web_TwoDArrayToHTMLTable(const Variant& varArray, Variant& strTable, const Variant& lngTableAlign,
                                              const Variant& strBackground, const Variant& strBackgroundColor,
                                              const Variant& intBorder, const Variant& strBorderColor,
                                              const Variant& intCellSpacing, const Variant& intCellPadding,
                                              const Variant& intWidthPct, const Variant& lngTableCellAlign,
                                              const Variant& blnWrapCellData, const Variant& blnBoldFirstRow,
                                              const Variant& blnBoldFirstColumn) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    strTable = Variant(TwoDTable(varArray.array(),
                                 VariantOptions(lngTableAlign, strBackground, strBackgroundColor, intBorder,
                                                strBorderColor, intCellSpacing, intCellPadding, intWidthPct,
                                                lngTableCellAlign, blnWrapCellData, blnBoldFirstRow,
                                                blnBoldFirstColumn)));
    return 1;
  });
}

int16_t clsVantrove::OneDArrayToHTMLTable(const Variant& varArray, std::string& strTable, TableAlignType lngTableAlign,
                                          const std::string& strBackground, const std::string& strBackgroundColor,
                                          int16_t intBorder, const std::string& strBorderColor, int16_t intCellSpacing,
                                          int16_t intCellPadding, int16_t intWidthPct, TableAlignType lngTableCellAlign,
                                          bool blnWrapCellData, bool blnBoldFirstRow) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    strTable = OneDTable(varArray.array(),
                         TypedOptions(lngTableAlign, strBackground, strBackgroundColor, intBorder, strBorderColor,
                                      intCellSpacing, intCellPadding, intWidthPct, lngTableCellAlign, blnWrapCellData,
                                      blnBoldFirstRow, false));
    return 1;
  });
}

// The page methods build their table with the table method first; a table
// that fails ends the page method with 0 and no file is written.
int16_t clsVantrove::TwoDArrayToHTMLFile(const Variant& varArray, const std::string& strHTMLFile,
                                         const std::string& strPageHeading, const std::string& strPageTitle,
                                         const std::string& strPageBackground,
                                         const std::string& strPageBackgroundColor, TableAlignType lngTableAlign,
                                         const std::string& strBackground, const std::string& strBackgroundColor,
                                         int16_t intBorder, const std::string& strBorderColor, int16_t intCellSpacing,
                                         int16_t intCellPadding, int16_t intWidthPct, TableAlignType lngTableCellAlign,
                                         bool blnWrapCellData, bool blnBoldFirstRow, bool blnBoldFirstColumn) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    std::string table;
    if (TwoDArrayToHTMLTable(varArray, table, lngTableAlign, strBackground, strBackgroundColor, intBorder,
                             strBorderColor, intCellSpacing, intCellPadding, intWidthPct, lngTableCellAlign,
                             blnWrapCellData, blnBoldFirstRow, blnBoldFirstColumn) != 1) {
      return 0;
    }
    WritePage(strHTMLFile,
              Page({strPageHeading, strPageTitle, strPageBackground, strPageBackgroundColor}, table));
    return 1;
  });
}

int16_t clsVantrove::Web_TwoDArrayToHTMLFile(
    const Variant& varArray, const Variant& strHTMLFile, const Variant& strPageHeading, const Variant& strPageTitle,
    const Variant& strPageBackground, const Variant& strPageBackgroundColor, const Variant& lngTableAlign,
    const Variant& strBackground, const Variant& strBackgroundColor, const Variant& intBorder,
    const Variant& strBorderColor, const Variant& intCellSpacing, const Variant& intCellPadding,
    const Variant& intWidthPct, const Variant& lngTableCellAlign, const Variant& blnWrapCellData,
    const Variant& blnBoldFirstRow, const Variant& blnBoldFirstColumn) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    Variant table;
    if (Web_TwoDArrayToHTMLTable(varArray, table, lngTableAlign, strBackground, strBackgroundColor, intBorder,
                                 strBorderColor, intCellSpacing, intCellPadding, intWidthPct, lngTableCellAlign,
                                 blnWrapCellData, blnBoldFirstRow, blnBoldFirstColumn) != 1) {
      return 0;
    }
    WritePage(CStr(strHTMLFile),
              Page(VariantPage(strPageHeading, strPageTitle, strPageBackground, strPageBackgroundColor), table.str()));
    return 1;
  });
}

int16_t clsVantrove::OneDArrayToHTMLFile(const Variant& varArray, const std::string& strHTMLFile,
                                         const std::string& strPageHeading, const std::string& strPageTitle,
                                         const std::string& strPageBackground,
                                         const std::string& strPageBackgroundColor, TableAlignType lngTableAlign,
                                         const std::string& strBackground, const std::string& strBackgroundColor,
                                         int16_t intBorder, const std::string& strBorderColor, int16_t intCellSpacing,
                                         int16_t intCellPadding, int16_t intWidthPct, TableAlignType lngTableCellAlign,
                                         bool blnWrapCellData, bool blnBoldFirstRow) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    std::string table;
    if (OneDArrayToHTMLTable(varArray, table, lngTableAlign, strBackground, strBackgroundColor, intBorder,
                             strBorderColor, intCellSpacing, intCellPadding, intWidthPct, lngTableCellAlign,
                             blnWrapCellData, blnBoldFirstRow) != 1) {
      return 0;
    }
    WritePage(strHTMLFile,
              Page({strPageHeading, strPageTitle, strPageBackground, strPageBackgroundColor}, table));
    return 1;
  });
}

}  // namespace vantrove
