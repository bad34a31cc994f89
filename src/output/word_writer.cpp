// Arrays into Word tables, step by step as the Word writer goes, with the
// object's held documents standing in for the running word processor.
#include "word_writer.hpp"

#include "cells.hpp"

namespace vantrove::office {

namespace {

// The cells' text: rows of a 2-D array, or one row per element of a 1-D one.
std::vector<std::vector<std::string>> Rows(const SafeArray& a, bool oneDimensional) {
  std::vector<std::vector<std::string>> rows;
  auto text = [](const Variant& v) { return v.IsString() ? v.str() : CStr(v); };
  if (oneDimensional) {
    if (a.dims() != 1) Raise(err::kSubscript);
    const Bounds& b = a.bounds()[0];
    for (int64_t i = b.lower; i <= b.upper; ++i) rows.push_back({text(detail::Item(a, i))});
    return rows;
  }
  if (a.dims() != 2) Raise(err::kSubscript);
  const Bounds& r = a.bounds()[0];
  const Bounds& c = a.bounds()[1];
  for (int64_t i = r.lower; i <= r.upper; ++i) {
    std::vector<std::string>& row = rows.emplace_back();
    for (int64_t j = c.lower; j <= c.upper; ++j) row.push_back(text(detail::Cell(a, i, j)));
  }
  return rows;
}

}  // namespace

int16_t ArrayToWord(Application& app, const Variant& varArray, bool oneDimensional, const WordRequest& request,
                    const FileTest& fileExists) {
  if (!varArray.IsArray()) return -2;
  const SafeArray& a = varArray.array();
  if (!a.allocated()) Raise(err::kSubscript);
  docx::TableRequest tableRequest;
  tableRequest.rows = Rows(a, oneDimensional);
  docx::Document* doc = nullptr;
  const bool existing = !request.document.empty() && fileExists(request.document);
  if (existing) {
    doc = app.HeldDocument(request.document);
    if (!doc) doc = &app.Hold(docx::Document::Open(request.document));
  } else {
    doc = &app.Hold(docx::Document::Create());
  }
  doc->SetLandscape(request.pageOrientation == 1);
  tableRequest.font = request.font;
  tableRequest.size = request.size;
  tableRequest.bold = request.bold;
  tableRequest.spaceAfter = request.spaceAfter;
  tableRequest.align = request.paragraphAlign;
  tableRequest.columnWidth = request.columnWidth;
  tableRequest.tableType = request.tableType;
  tableRequest.flags = request.flags;
  doc->AppendTable(tableRequest);
  if (request.save) {
    // Saving every document: a new one goes to the file the caller named.
    if (!existing && !request.document.empty()) doc->SaveAs(request.document);
    app.SaveDocuments();
  }
  if (request.close) app.QuitWord();
  return 1;
}

}  // namespace vantrove::office
