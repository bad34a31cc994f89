// Arrays into worksheets, step by step as the Excel writer goes, with the
// object's held workbooks standing in for the running spreadsheet program.
#include "excel_writer.hpp"

#include <algorithm>

namespace vantrove::office {

// ---- The application ----------------------------------------------------------

xlsx::Workbook* Application::HeldWorkbook(const std::string& path) {
  for (size_t i = 0; i < workbooks_.size(); ++i) {
    if (workbooks_[i]->IsFile(path)) {
      std::rotate(workbooks_.begin() + static_cast<std::ptrdiff_t>(i),
                  workbooks_.begin() + static_cast<std::ptrdiff_t>(i) + 1, workbooks_.end());
      return workbooks_.back().get();
    }
  }
  return nullptr;
}

xlsx::Workbook& Application::Hold(std::unique_ptr<xlsx::Workbook> wb) {
  workbooks_.push_back(std::move(wb));
  return *workbooks_.back();
}

void Application::Close(xlsx::Workbook* wb) {
  std::erase_if(workbooks_, [&](const auto& p) { return p.get() == wb; });
}

docx::Document* Application::HeldDocument(const std::string& path) {
  for (size_t i = 0; i < documents_.size(); ++i) {
    if (documents_[i]->IsFile(path)) {
      std::rotate(documents_.begin() + static_cast<std::ptrdiff_t>(i),
                  documents_.begin() + static_cast<std::ptrdiff_t>(i) + 1, documents_.end());
      return documents_.back().get();
    }
  }
  return nullptr;
}

docx::Document& Application::Hold(std::unique_ptr<docx::Document> doc) {
  documents_.push_back(std::move(doc));
  return *documents_.back();
}

// ---- Workbook and sheet ---------------------------------------------------------

namespace {

xlsx::Sheet& ChooseSheet(xlsx::Workbook& wb, const Variant& which) {
  if (which.IsMissing()) return wb.AddSheet();
  xlsx::Sheet* sheet = nullptr;
  if (which.IsString()) {
    sheet = wb.FindSheet(which.str());
  } else {
    const int32_t index = CLng(which);
    if (index >= 1 && index <= wb.SheetCount()) sheet = &wb.SheetAt(index);
  }
  if (!sheet) Raise(err::kSubscript, "The workbook has no sheet " + CStr(which));
  wb.Activate(*sheet);
  return *sheet;
}

}  // namespace

int16_t OpenExcelTarget(Application& app, const WorkbookChoice& choice, const FileTest& fileExists, ExcelTarget& t) {
  t.started = !app.ExcelRunning();
  if (!choice.workbook.empty()) {
    if (!fileExists(choice.workbook)) return -4;
    t.workbook = app.HeldWorkbook(choice.workbook);
    if (!t.workbook) {
      t.workbook = &app.Hold(xlsx::Workbook::Open(choice.workbook, choice.password, choice.writeResPassword));
    }
  } else if (choice.useOpenWorkbook && !t.started && app.ActiveWorkbook()) {
    t.workbook = app.ActiveWorkbook();
  } else {
    t.workbook = &app.Hold(xlsx::Workbook::Create());
  }
  t.sheet = &ChooseSheet(*t.workbook, choice.worksheet);
  if (!Trim(choice.sheetName).empty()) t.sheet->Rename(choice.sheetName);
  return 1;
}

void FinishExcelTarget(Application& app, const WorkbookChoice& choice, ExcelTarget& t) {
  if (!choice.closeWorkbook) {
    // Left open for the caller, as a visible workbook would be.
    t.workbook->KeepBlocks();
    return;
  }
  if (!choice.workbook.empty()) {
    t.workbook->Save();
  } else if (!choice.saveToFile.empty()) {
    t.workbook->SaveAs(choice.saveToFile, choice.password, choice.writeResPassword);
  }
  app.Close(t.workbook);
  t.workbook = nullptr;
  t.sheet = nullptr;
}

// ---- ArrayToExcel ------------------------------------------------------------------

int16_t ArrayToExcel(Application& app, const Variant& varArray, int32_t lngRow, int32_t lngCol,
                     const ExcelRequest& request, const FileTest& fileExists) {
  if (lngRow < 1 || lngCol < 1 || lngCol > 256) return -1;
  if (!varArray.IsArray()) return -2;
  ExcelTarget t;
  const int16_t rc = OpenExcelTarget(app, request.choice, fileExists, t);
  if (rc != 1) return rc;
  // Whatever happens below, a workbook left open keeps its own copy of the cells.
  struct Keep {
    ExcelTarget& t;
    ~Keep() {
      if (t.workbook) t.workbook->KeepBlocks();
    }
  } keep{t};

  const SafeArray& a = varArray.array();
  if (a.dims() != 2) Raise(err::kSubscript);  // the block's extent needs rows and columns
  auto block = xlsx::ArrayBlock(a, request.transpose);
  const int64_t rows = block->rows();
  const int32_t cols = block->cols();
  t.sheet->WriteBlock(lngRow, lngCol, std::move(block), {.asText = request.formatAsText});
  const xlsx::Area area{lngRow, lngCol, lngRow + rows - 1, lngCol + cols - 1};
  if (rows > 0 && cols > 0) {
    if (request.boldFirstRow) t.sheet->SetBold({area.row1, area.col1, area.row1, area.col2});
    if (request.boldFirstColumn) t.sheet->SetBold({area.row1, area.col1, area.row2, area.col1});
    if (request.setColumnWidths) t.sheet->AutoFitColumns(area);
  }
  // The rows down to the heading row stay in view; columns scroll freely.
  if (request.freezeHeaders) t.sheet->FreezeAt(std::min<int64_t>(int64_t{lngRow} + 1, xlsx::kMaxRows), 1);
  FinishExcelTarget(app, request.choice, t);
  return 1;
}

}  // namespace vantrove::office
