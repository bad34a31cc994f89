#pragma once
// Internal to the workbook: the state behind Workbook and Sheet, the cell
// styles, and the worksheet writer.

#include <map>
#include <optional>
#include <tuple>

#include "ooxml_package.hpp"
#include "workbook.hpp"

namespace vantrove::xlsx {

inline constexpr const char* kMainNs = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
inline constexpr const char* kSheetType =
    "application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml";
inline constexpr const char* kSheetRel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet";
inline constexpr int kTextFormat = 49;  // the built-in number format "@"

// The workbook's cell formats (styles.xml): derived formats are added once
// and shared.
class StyleBook {
 public:
  void Load(ooxml::Package& pkg, const std::string& workbookPart);
  // The format `xf` with a bold font and/or another number format (-1 keeps it).
  uint32_t Derive(uint32_t xf, bool bold, int numFmt);
  int NumberFormatOf(uint32_t xf) const;
  void Store(ooxml::Package& pkg);

 private:
  pugi::xml_document doc_;
  std::string part_;
  bool dirty_ = false;
  std::map<std::tuple<uint32_t, bool, int>, uint32_t> derived_;
};

struct Block {
  int64_t row;  // top-left, 1-based
  int32_t col;
  std::unique_ptr<CellSource> src;
  bool asText;
  int64_t lastRow() const { return row + src->rows() - 1; }
  int32_t lastCol() const { return col + src->cols() - 1; }
};

struct WorkbookState;

struct SheetState {
  WorkbookState* wb = nullptr;
  std::string name;
  std::string part;    // e.g. xl/worksheets/sheet1.xml
  bool fresh = false;  // made by us: starts from an empty sheet
  std::optional<std::string> original;  // the part as read, once it has been rewritten
  bool dirty = false;
  std::vector<Block> blocks;
  std::vector<Area> bold;
  std::map<int32_t, double> widths;  // column -> width in characters
  std::optional<std::pair<int64_t, int32_t>> freeze;
  bool selectTab = false;  // write the tab as selected (the active sheet)
  bool unselectTab = false;
};

struct WorkbookState {
  ooxml::Package pkg;
  std::string path;
  std::string workbookPart;
  bool readOnly = false;
  std::string password;  // the package is encrypted with it when saved
  StyleBook styles;
  std::vector<std::unique_ptr<Sheet>> sheets;
  int active = 0;  // index into sheets
  bool keepBlocks = false;
};

// Reaches the state behind a Sheet.
struct SheetAccess {
  static SheetState& Of(Sheet& s) { return *s.s_; }
  static std::unique_ptr<Sheet> Make(std::unique_ptr<SheetState> st) { return std::unique_ptr<Sheet>(new Sheet(std::move(st))); }
};

// Writes the workbook to `path`: encrypted when `password` is not empty;
// `writeRes` sets or removes the write-reservation password (nullopt keeps it).
void SaveTo(WorkbookState& wb, const std::string& path, const std::string& password,
            const std::optional<std::string>& writeRes);

// Writes the worksheet part of `sheet` into the package: its own XML with the
// written cells merged in, produced row by row while the zip is written.
void StoreSheet(SheetState& sheet);

// Text of a cell value as written (typed or as text) and its display width in
// characters, for fitting columns.
double DisplayWidth(const Variant& v, bool asText);

// "A1" style reference.
std::string CellRef(int64_t row, int32_t col);
// Parses "B12" (or "$B$12"); false when it is none.
bool ParseCellRef(std::string_view ref, int64_t& row, int32_t& col);

}  // namespace vantrove::xlsx
