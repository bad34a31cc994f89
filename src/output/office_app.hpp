#pragma once
// Internal: the "application" that Word and Excel writers attach to. On
// Linux no office program runs: the application is the set of documents and
// workbooks one clsVantrove object holds open between calls. A writer told
// not to close its document leaves it here; "use the open workbook" takes the
// last one; destroying the object discards whatever was never saved, as
// quitting without saving does.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "docx_document.hpp"
#include "workbook.hpp"

namespace vantrove::office {

class Application {
 public:
  // Excel "is running" while it holds a workbook; Word while it holds a document.
  bool ExcelRunning() const { return !workbooks_.empty(); }
  bool WordRunning() const { return !documents_.empty(); }

  // The workbook most recently used (the active one), or nullptr.
  xlsx::Workbook* ActiveWorkbook() { return workbooks_.empty() ? nullptr : workbooks_.back().get(); }
  // The held workbook whose file is `path`, made active; nullptr if none.
  xlsx::Workbook* HeldWorkbook(const std::string& path);
  // Holds `wb` as the active workbook.
  xlsx::Workbook& Hold(std::unique_ptr<xlsx::Workbook> wb);
  // Closes a held workbook without saving.
  void Close(xlsx::Workbook* wb);

  docx::Document* HeldDocument(const std::string& path);
  docx::Document& Hold(std::unique_ptr<docx::Document> doc);
  // Saves every held document that has a file.
  void SaveDocuments() {
    for (auto& d : documents_) {
      if (!d->path().empty()) d->Save();
    }
  }
  // Word's quit: every document closed without saving.
  void QuitWord() { documents_.clear(); }

  size_t workbook_count() const { return workbooks_.size(); }
  size_t document_count() const { return documents_.size(); }

 private:
  std::vector<std::unique_ptr<xlsx::Workbook>> workbooks_;
  std::vector<std::unique_ptr<docx::Document>> documents_;
};

// The file-existence test the writers use (the class's FileExists).
using FileTest = std::function<bool(const std::string&)>;

}  // namespace vantrove::office
