#pragma once
// Internal: the 43 automatic table formats as data, and the formatting each
// gives a cell once the caller's format flags are applied.

#include <cstdint>
#include <string>

#include "docx_document.hpp"

namespace vantrove::docx {

struct Line {
  const char* val = "nil";  // single, double, thick, dotted, inset, outset, nil
  int size = 0;             // eighths of a point
  const char* color = "000000";
};

// One region of a format: the heading row, the body, a band, the last row...
struct Region {
  const char* fill = nullptr;   // shading, none when null
  const char* color = nullptr;  // text colour, automatic when null
  bool bold = false;
  bool italic = false;
};

struct TableFormat {
  int32_t type = 0;
  const char* name = "";  // as the format is known ("Table Grid 3")
  Line outer = {}, insideH = {}, insideV = {};
  bool sides = true;  // the outer line also runs down the left and right
  Line headingBelow = {};  // the line under the heading row
  Region heading = {}, body = {}, band = {}, firstColumn = {}, lastRow = {}, lastColumn = {};
  Line lastRowAbove = {};
  bool bandColumns = false;  // the band alternates columns, not rows
  int cellSpacing = 0;       // twips, for the web formats
};

// The format of `type`; nullptr for an unknown value.
const TableFormat* FindTableFormat(int32_t type);

// What one cell shows.
struct CellLook {
  std::string fill;   // "" for none
  std::string color;  // "" for automatic
  bool bold = false, italic = false;
  Line top, bottom, left, right;
};

CellLook LookOf(const TableFormat& f, const TableFlags& flags, int64_t row, int64_t col, int64_t rows, int64_t cols);

// The <w:style> element of a format, with prefix `w` ("w:").
std::string TableStyleXml(const TableFormat& f, const std::string& styleId, const std::string& w);

}  // namespace vantrove::docx
