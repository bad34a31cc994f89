#pragma once
// Internal: arrays into worksheets, the way the Excel writer's steps go, on
// our own workbooks held by the object's office application.
//
// The steps shared with other writers into worksheets (TreeViewToExcel):
//   office::ExcelTarget t;
//   int16_t rc = office::OpenExcelTarget(app, choice, fileExists, t);   // 1, or -4
//   if (rc != 1) return rc;
//   ... t.sheet->WriteBlock(...) ...
//   office::FinishExcelTarget(app, choice, t);                          // save/close or keep open
// Both raise RuntimeError for what fails after the workbook is reached; the
// caller's error boundary turns that into 0.

#include <cstdint>
#include <string>

#include "office_app.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::office {

// Which workbook and sheet, and what happens to the workbook afterwards.
struct WorkbookChoice {
  std::string workbook;       // a file to open; "" for none
  bool useOpenWorkbook = false;
  std::string saveToFile;     // a new workbook's file when it is closed
  Variant worksheet = Variant::Missing();  // index or name; missing adds a sheet
  std::string password;       // opens and saves encrypted workbooks
  std::string writeResPassword;
  bool closeWorkbook = false;
  std::string sheetName;      // renames the sheet when not blank
};

struct ExcelTarget {
  xlsx::Workbook* workbook = nullptr;
  xlsx::Sheet* sheet = nullptr;
  bool started = false;  // the application held no workbook before this call
};

int16_t OpenExcelTarget(Application& app, const WorkbookChoice& choice, const FileTest& fileExists, ExcelTarget& t);
void FinishExcelTarget(Application& app, const WorkbookChoice& choice, ExcelTarget& t);

struct ExcelRequest {
  WorkbookChoice choice;
  bool transpose = false;
  bool setColumnWidths = true;
  bool boldFirstRow = false;
  bool boldFirstColumn = false;
  bool freezeHeaders = false;
  bool formatAsText = true;
};

// ArrayToExcel's work: 1 done; -1 row below 1 or column outside 1 to 256;
// -2 no array; -4 the workbook file does not exist. Raises for anything else.
int16_t ArrayToExcel(Application& app, const Variant& varArray, int32_t lngRow, int32_t lngCol,
                     const ExcelRequest& request, const FileTest& fileExists);

}  // namespace vantrove::office
