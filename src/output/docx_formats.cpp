// The automatic table formats: lines, shading and fonts of each, as data.
#include "docx_formats.hpp"

#include <cstdio>
#include <iterator>

namespace vantrove::docx {

namespace {

constexpr Line None{};
constexpr Line Thin{"single", 4, "000000"};
constexpr Line Mid{"single", 8, "000000"};
constexpr Line Thick{"single", 12, "000000"};
constexpr Line Double{"double", 4, "000000"};
constexpr Line Thin_(const char* color) { return {"single", 4, color}; }
constexpr Line Thick_(const char* color) { return {"single", 12, color}; }

constexpr Region Plain{};
constexpr Region Bold{nullptr, nullptr, true, false};
constexpr Region Italic{nullptr, nullptr, false, true};
constexpr Region BoldItalic{nullptr, nullptr, true, true};
constexpr Region Fill(const char* fill) { return {fill, nullptr, false, false}; }
constexpr Region Banner(const char* fill, const char* color, bool italic = false) { return {fill, color, true, italic}; }

// Ordered by value. The look of each follows the word processor's format of
// the same name: its lines, its heading, its bands and its emphasis.
constexpr TableFormat kFormats[] = {
    {.type = 0, .name = ""},
    {.type = 1, .name = "Table Simple 1", .outer = Mid, .sides = false, .headingBelow = Thin, .lastRowAbove = Thin},
    {.type = 2, .name = "Table Simple 2", .insideV = Thin, .sides = false, .headingBelow = Thick, .heading = Bold,
     .firstColumn = Bold, .lastRow = Bold, .lastRowAbove = Thin},
    {.type = 3, .name = "Table Simple 3", .outer = Thin, .headingBelow = Thin, .heading = Banner("000000", "FFFFFF")},
    {.type = 4, .name = "Table Classic 1", .outer = Thick, .sides = false, .headingBelow = Thin, .heading = Italic,
     .lastRowAbove = Thin},
    {.type = 5, .name = "Table Classic 2", .outer = Thick, .sides = false, .headingBelow = Thin,
     .heading = Banner("800080", "FFFFFF"), .firstColumn = Bold},
    {.type = 6, .name = "Table Classic 3", .outer = Thick, .heading = Banner("000080", "FFFFFF", true),
     .body = Fill("C0C0C0"), .firstColumn = {nullptr, "000080", true, false}},
    {.type = 7, .name = "Table Classic 4", .outer = Thick, .sides = false, .headingBelow = Thin,
     .heading = {"C0C0C0", nullptr, true, true}},
    {.type = 8, .name = "Table Colorful 1", .outer = Thick, .heading = Banner("000000", "FFFFFF", true),
     .body = {"008080", "FFFFFF", false, false}, .firstColumn = Bold},
    {.type = 9, .name = "Table Colorful 2", .outer = Thick, .sides = false, .headingBelow = Thin,
     .heading = {"FFFF00", nullptr, true, true}, .body = Fill("FFFFCC")},
    {.type = 10, .name = "Table Colorful 3", .outer = Thick_("008080"), .insideH = Thin_("008080"),
     .heading = Banner("008080", "FFFFFF"), .body = Fill("CCFFFF")},
    {.type = 11, .name = "Table Columns 1", .headingBelow = Thin, .heading = BoldItalic, .band = Fill("FFFF99"),
     .bandColumns = true},
    {.type = 12, .name = "Table Columns 2", .heading = Banner("808080", "FFFFFF"), .band = Fill("C0C0C0"),
     .bandColumns = true},
    {.type = 13, .name = "Table Columns 3", .outer = Thin, .heading = Banner("000080", "FFFFFF"), .band = Fill("CCCCFF"),
     .bandColumns = true},
    {.type = 14, .name = "Table Columns 4", .insideV = Thin, .heading = Bold, .band = Fill("C0C0C0"), .firstColumn = Bold,
     .bandColumns = true},
    {.type = 15, .name = "Table Columns 5", .outer = Thick, .insideV = Thin_("008080"), .heading = BoldItalic,
     .band = Fill("E0E0E0"), .bandColumns = true},
    {.type = 16, .name = "Table Grid 1", .outer = Thin, .insideH = Thin, .insideV = Thin, .lastRowAbove = Thick},
    {.type = 17, .name = "Table Grid 2", .insideH = Thin, .insideV = Thin, .headingBelow = Thick, .heading = Bold},
    {.type = 18, .name = "Table Grid 3", .outer = Thin, .insideH = Thin, .insideV = Thin, .headingBelow = Thick,
     .heading = Bold, .firstColumn = Bold},
    {.type = 19, .name = "Table Grid 4", .outer = Thick, .insideH = Thin, .insideV = Thin, .heading = Bold,
     .firstColumn = Bold, .lastRowAbove = Thick},
    {.type = 20, .name = "Table Grid 5", .outer = Thick, .insideH = Thin, .insideV = Thin, .headingBelow = Thick,
     .heading = Bold},
    {.type = 21, .name = "Table Grid 6", .outer = Thin_("000080"), .insideH = Thin_("000080"), .insideV = Thin_("000080"),
     .heading = {nullptr, "000080", true, false}, .firstColumn = Bold},
    {.type = 22, .name = "Table Grid 7", .outer = Thick, .insideH = Thin, .insideV = Thin,
     .heading = Banner("808080", "FFFFFF"), .firstColumn = Bold},
    {.type = 23, .name = "Table Grid 8", .outer = Thin_("000080"), .insideH = Thin_("000080"), .insideV = Thin_("000080"),
     .heading = Banner("000080", "FFFFFF")},
    {.type = 24, .name = "Table List 1", .outer = Thick, .sides = false, .heading = Bold, .band = Fill("CCFFCC")},
    {.type = 25, .name = "Table List 2", .outer = Thick, .sides = false, .heading = Banner("008000", "FFFFFF"),
     .band = Fill("CCFFCC")},
    {.type = 26, .name = "Table List 3", .outer = Thick_("000080"), .insideH = Thin_("000080"), .sides = false,
     .heading = Banner("000080", "FFFFFF")},
    {.type = 27, .name = "Table List 4", .outer = Thin, .heading = Banner("808080", "FFFFFF"), .band = Fill("C0C0C0")},
    {.type = 28, .name = "Table List 5", .outer = Thick, .insideV = Thin, .headingBelow = Thick, .heading = Bold,
     .firstColumn = Bold},
    {.type = 29, .name = "Table List 6", .outer = Thick, .sides = false, .heading = Banner("000000", "FFFFFF"),
     .band = Fill("E0E0E0")},
    {.type = 30, .name = "Table List 7", .heading = Banner("808000", "FFFFFF"), .band = Fill("FFFFCC")},
    {.type = 31, .name = "Table List 8", .outer = Thick, .sides = false, .heading = Banner("000080", "FFFF00"),
     .band = Fill("CCFFFF")},
    {.type = 32, .name = "Table 3D effects 1", .outer = Thin_("808080"), .insideH = Thin_("FFFFFF"),
     .insideV = Thin_("FFFFFF"), .heading = Bold, .body = Fill("C0C0C0")},
    {.type = 33, .name = "Table 3D effects 2", .outer = Thin_("808080"), .insideH = Thin_("808080"), .heading = Bold,
     .body = Fill("C0C0C0"), .firstColumn = Bold},
    {.type = 34, .name = "Table 3D effects 3", .outer = Thick_("808080"), .insideH = Thin_("FFFFFF"),
     .insideV = Thin_("FFFFFF"), .heading = Banner("808080", "FFFFFF"), .body = Fill("C0C0C0")},
    {.type = 35, .name = "Table Contemporary", .insideH = Thick_("FFFFFF"), .insideV = Thick_("FFFFFF"),
     .heading = Banner("000000", "FFFFFF"), .body = Fill("F2F2F2"), .band = Fill("E0E0E0")},
    {.type = 36, .name = "Table Elegant", .outer = Double, .insideV = Thin, .headingBelow = Thin, .heading = Italic},
    {.type = 37, .name = "Table Professional", .outer = Thin, .insideH = Thin, .insideV = Thin,
     .heading = Banner("000000", "FFFFFF")},
    {.type = 38, .name = "Table Subtle 1", .headingBelow = Thin_("008000"), .heading = Bold, .band = Fill("EAF1DD"),
     .lastRowAbove = Thin_("008000")},
    {.type = 39, .name = "Table Subtle 2", .headingBelow = Thin_("800080"), .heading = Bold, .firstColumn = Fill("E0E0FF")},
    {.type = 40, .name = "Table Web 1", .outer = {"outset", 6, "000000"}, .insideH = {"inset", 6, "000000"},
     .insideV = {"inset", 6, "000000"}, .cellSpacing = 20},
    {.type = 41, .name = "Table Web 2", .outer = {"outset", 12, "808080"}, .insideH = {"inset", 6, "808080"},
     .insideV = {"inset", 6, "808080"}, .cellSpacing = 20},
    {.type = 42, .name = "Table Web 3", .outer = {"outset", 24, "000000"}, .insideH = {"inset", 6, "000000"},
     .insideV = {"inset", 6, "000000"}, .heading = Bold, .cellSpacing = 20},
};
static_assert(std::size(kFormats) == 43);

// Merges a region over what lies below it.
void Apply(CellLook& look, const Region& r) {
  if (r.fill) look.fill = r.fill;
  if (r.color) look.color = r.color;
  look.bold = look.bold || r.bold;
  look.italic = look.italic || r.italic;
}

bool Has(const Line& l) { return std::string_view(l.val) != "nil"; }

// The grey of the same lightness, for formats applied without their colours.
std::string Grey(const std::string& hex) {
  unsigned rgb = 0;
  if (std::sscanf(hex.c_str(), "%6x", &rgb) != 1) return hex;
  const unsigned y = (((rgb >> 16) & 0xFF) * 299 + ((rgb >> 8) & 0xFF) * 587 + (rgb & 0xFF) * 114) / 1000;
  char buf[8];
  std::snprintf(buf, sizeof buf, "%02X%02X%02X", y, y, y);
  return buf;
}

}  // namespace

const TableFormat* FindTableFormat(int32_t type) {
  if (type < 0 || type >= static_cast<int32_t>(std::size(kFormats))) return nullptr;
  return &kFormats[type];
}

std::string TableFormatName(int32_t type) {
  const TableFormat* f = FindTableFormat(type);
  return f ? f->name : "";
}

CellLook LookOf(const TableFormat& f, const TableFlags& flags, int64_t row, int64_t col, int64_t rows, int64_t cols) {
  CellLook look;
  const bool heading = flags.headingRows && row == 0;
  const bool last = flags.lastRow && row == rows - 1 && rows > 1;
  Apply(look, f.body);
  const int64_t bodyRow = row - (flags.headingRows ? 1 : 0);
  if (f.bandColumns ? col % 2 == 1 : bodyRow % 2 == 1) Apply(look, f.band);
  if (flags.firstColumn && col == 0) Apply(look, f.firstColumn);
  if (flags.lastColumn && col == cols - 1 && cols > 1) Apply(look, f.lastColumn.bold || f.lastColumn.fill ? f.lastColumn : f.firstColumn);
  if (last) Apply(look, f.lastRow.bold || f.lastRow.fill ? f.lastRow : Bold);
  if (heading) {
    look.fill.clear();
    look.color.clear();
    look.bold = look.italic = false;
    Apply(look, f.heading);
  }
  look.top = row == 0 ? f.outer : f.insideH;
  look.bottom = row == rows - 1 ? f.outer : f.insideH;
  look.left = col == 0 ? (f.sides ? f.outer : None) : f.insideV;
  look.right = col == cols - 1 ? (f.sides ? f.outer : None) : f.insideV;
  if (flags.headingRows && Has(f.headingBelow)) {
    if (row == 0 && rows > 1) look.bottom = f.headingBelow;
    if (row == 1) look.top = f.headingBelow;
  }
  if (flags.lastRow && Has(f.lastRowAbove) && rows > 1) {
    if (row == rows - 1) look.top = f.lastRowAbove;
    if (row == rows - 2) look.bottom = f.lastRowAbove;
  }
  if (!flags.borders) look.top = look.bottom = look.left = look.right = None;
  if (!flags.shading) look.fill.clear();
  if (!flags.font) look.bold = look.italic = false;
  if (!flags.color) {
    look.color.clear();
    if (!look.fill.empty()) look.fill = Grey(look.fill);
    for (Line* l : {&look.top, &look.bottom, &look.left, &look.right}) {
      if (Has(*l)) l->color = "000000";
    }
  }
  return look;
}

namespace {

std::string LineXml(const std::string& w, const char* side, const Line& l) {
  std::string s = "<" + w + side + " " + w + "val=\"" + l.val + "\"";
  if (Has(l)) {
    s += " " + w + "sz=\"" + std::to_string(l.size) + "\" " + w + "space=\"0\" " + w + "color=\"" + l.color + "\"";
  }
  return s + "/>";
}

std::string RegionXml(const std::string& w, const char* type, const Region& r, const Line* below, const Line* above) {
  std::string rpr, tcpr, borders;
  if (r.bold) rpr += "<" + w + "b/>";
  if (r.italic) rpr += "<" + w + "i/>";
  if (r.color) rpr += "<" + w + "color " + w + "val=\"" + r.color + "\"/>";
  if (above && Has(*above)) borders += LineXml(w, "top", *above);
  if (below && Has(*below)) borders += LineXml(w, "bottom", *below);
  if (!borders.empty()) tcpr += "<" + w + "tcBorders>" + borders + "</" + w + "tcBorders>";
  if (r.fill) tcpr += "<" + w + "shd " + w + "val=\"clear\" " + w + "color=\"auto\" " + w + "fill=\"" + r.fill + "\"/>";
  if (rpr.empty() && tcpr.empty()) return "";
  std::string s = "<" + w + "tblStylePr " + w + "type=\"" + type + "\">";
  if (!rpr.empty()) s += "<" + w + "rPr>" + rpr + "</" + w + "rPr>";
  if (!tcpr.empty()) s += "<" + w + "tcPr>" + tcpr + "</" + w + "tcPr>";
  return s + "</" + w + "tblStylePr>";
}

}  // namespace

std::string TableStyleXml(const TableFormat& f, const std::string& styleId, const std::string& w) {
  std::string s = "<" + w + "style " + w + "type=\"table\" " + w + "customStyle=\"1\" " + w + "styleId=\"" + styleId + "\">";
  s += "<" + w + "name " + w + "val=\"" + f.name + "\"/>";
  s += "<" + w + "uiPriority " + w + "val=\"99\"/>";
  s += "<" + w + "tblPr>";
  if (f.cellSpacing) s += "<" + w + "tblCellSpacing " + w + "w=\"" + std::to_string(f.cellSpacing) + "\" " + w + "type=\"dxa\"/>";
  s += "<" + w + "tblBorders>" + LineXml(w, "top", f.outer) + LineXml(w, "left", f.sides ? f.outer : None) +
       LineXml(w, "bottom", f.outer) + LineXml(w, "right", f.sides ? f.outer : None) + LineXml(w, "insideH", f.insideH) +
       LineXml(w, "insideV", f.insideV) + "</" + w + "tblBorders>";
  s += "</" + w + "tblPr>";
  if (f.body.fill) {
    s += "<" + w + "tcPr><" + w + "shd " + w + "val=\"clear\" " + w + "color=\"auto\" " + w + "fill=\"" + f.body.fill +
         "\"/></" + w + "tcPr>";
  }
  s += RegionXml(w, "firstRow", f.heading, &f.headingBelow, nullptr);
  s += RegionXml(w, "lastRow", f.lastRow, nullptr, &f.lastRowAbove);
  s += RegionXml(w, "firstCol", f.firstColumn, nullptr, nullptr);
  s += RegionXml(w, "lastCol", f.lastColumn, nullptr, nullptr);
  s += RegionXml(w, f.bandColumns ? "band1Vert" : "band1Horz", f.band, nullptr, nullptr);
  return s + "</" + w + "style>";
}

}  // namespace vantrove::docx
