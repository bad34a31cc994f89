#pragma once
// Internal: .xlsx workbooks read and written by ourselves (a zip package of
// XML parts), for the writers that put arrays and trees into worksheets.
//
//   auto wb = xlsx::Workbook::Open("/data/in.xlsx");    // or Workbook::Create()
//   xlsx::Sheet& ws = wb->AddSheet();                     // or SheetAt(1), FindSheet("Data")
//   ws.WriteBlock(1, 1, xlsx::ArrayBlock(array), {.asText = false});
//   ws.SetBold({1, 1, 1, 10});
//   ws.AutoFitColumns({1, 1, 1000, 10});
//   ws.FreezeAt(2, 1);                                    // rows above row 2 stay in view
//   wb->SaveAs("/data/out.xlsx");                         // or Save()
//
// Everything of an opened workbook that is not touched (other sheets, styles,
// shared strings, defined names, drawings, comments, headers and footers)
// goes back into the saved file unchanged. Cells are written when the
// workbook is saved, streamed row by row, so a block of a million cells costs
// the block's own values and no document tree. Failures raise RuntimeError:
// 53 for a missing file, 1004 for what the workbook refuses (a bad sheet
// name, a cell beyond the sheet, a file that is no workbook, a wrong
// password), and the file errors of OutputFile when saving.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vantrove/runtime.hpp"

namespace vantrove::xlsx {

inline constexpr int32_t kAppError = 1004;  // what the spreadsheet raises for refused work
inline constexpr int64_t kMaxRows = 1048576;
inline constexpr int32_t kMaxColumns = 16384;

// A block of values to be written: rows() x cols() cells read by value.
class CellSource {
 public:
  virtual ~CellSource() = default;
  virtual int64_t rows() const = 0;
  virtual int32_t cols() const = 0;
  // Cell (r, c), both from 0.
  virtual const Variant& at(int64_t r, int32_t c) const = 0;
  // From now on the source holds its own copy of the values.
  virtual void Keep() {}
};

// A one- or two-dimensional array as a block (a 1-D array is one row), read
// in place, or with rows and columns exchanged when `transpose`. The array
// must outlive the source; Sheet::WriteBlock keeps its own copy only when the
// workbook is told to (Workbook::KeepBlocks).
std::unique_ptr<CellSource> ArrayBlock(const SafeArray& a, bool transpose = false);

// An inclusive rectangle of 1-based worksheet coordinates.
struct Area {
  int64_t row1 = 1;
  int32_t col1 = 1;
  int64_t row2 = 1;
  int32_t col2 = 1;
};

struct BlockOptions {
  // True: every cell gets the number format "@" and its value as text (the
  // ordinary conversion), empty cells included. False: numbers, dates,
  // booleans and text become typed cells; text that reads as a number
  // becomes a number, as typing it would.
  bool asText = true;
};

class Workbook;
struct SheetState;
struct WorkbookState;

class Sheet {
 public:
  const std::string& name() const;
  // Renames the sheet; 1004 for a name the spreadsheet refuses (empty, over
  // 31 characters, one of []:*?/\, a leading or trailing apostrophe, or the
  // name of another sheet of the workbook, compared without case).
  void Rename(const std::string& name);

  // Writes `src` with its top-left cell at (row, col); cells written later
  // replace earlier ones. 1004 when the block would leave the sheet.
  void WriteBlock(int64_t row, int32_t col, std::unique_ptr<CellSource> src, const BlockOptions& options);
  // One cell (a 1x1 block).
  void SetCell(int64_t row, int32_t col, const Variant& value, bool asText = false);
  // Bold font on every cell of the area (written cells and existing ones).
  void SetBold(const Area& area);
  // Each column of the area as wide as its widest text within the area.
  void AutoFitColumns(const Area& area);
  // Rows above `row` and columns left of `col` stay in view when scrolling.
  void FreezeAt(int64_t row, int32_t col);

 private:
  friend class Workbook;
  friend struct SheetAccess;
  explicit Sheet(std::unique_ptr<SheetState> s);
  std::unique_ptr<SheetState> s_;

 public:
  ~Sheet();
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;
};

class Workbook {
 public:
  // A new workbook with one empty sheet "Sheet1".
  static std::unique_ptr<Workbook> Create();
  // Reads a workbook. `password` opens an encrypted one (1004 when it is
  // wrong or missing); `writeResPassword` must match the workbook's
  // write-reservation password, when it has one, for Save to be allowed.
  static std::unique_ptr<Workbook> Open(const std::string& path, const std::string& password = "",
                                        const std::string& writeResPassword = "");
  ~Workbook();

  // The file the workbook was opened from or last saved as; "" for a new one.
  const std::string& path() const;
  // Compared as the file system sees it (same file after following links).
  bool IsFile(const std::string& path) const;
  bool read_only() const;

  int SheetCount() const;
  // Sheet `index` (1-based), 9 when there is none.
  Sheet& SheetAt(int index);
  // The sheet of that name (without case), or nullptr.
  Sheet* FindSheet(const std::string& name);
  // A new empty sheet after the last one, named "SheetN" with the first free
  // N; it becomes the active sheet.
  Sheet& AddSheet();
  Sheet& ActiveSheet();
  void Activate(Sheet& sheet);

  // Writes to path() (1004 for a new workbook that has no file yet, or one
  // opened without its write-reservation password).
  void Save();
  // Writes to `path` and makes it the workbook's file. `password` encrypts
  // the package; `writeResPassword` sets (or with "" removes) the
  // write-reservation password.
  void SaveAs(const std::string& path, const std::string& password = "", const std::string& writeResPassword = "");

  // Blocks written so far borrow their arrays; call this before the arrays
  // go away while the workbook stays open.
  void KeepBlocks();

 private:
  Workbook();
  std::unique_ptr<WorkbookState> s_;
};

// The legacy 16-bit password verifier of spreadsheet write-reservation and
// sheet protection, as four upper-case hex digits.
std::string LegacyPasswordHash(const std::string& password);

}  // namespace vantrove::xlsx
