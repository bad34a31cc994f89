#pragma once
// Internal: .docx documents read and written by ourselves, for the writer that
// appends an array as a formatted table at the end of a document.
//
// Everything of an opened document that the table does not need (headers and
// footers, images, numbering, comments, other styles) goes back into the saved
// file unchanged. Failures raise RuntimeError as the workbook does: 53 for a
// missing file, 1004 for a file that is no Word document or is damaged.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vantrove::docx {

inline constexpr int32_t kAppError = 1004;

struct TableFlags {
  bool borders = false, shading = false, font = false, color = false;
  bool headingRows = false, lastRow = false, firstColumn = false, lastColumn = false, autoFit = false;
};

struct TableRequest {
  std::vector<std::vector<std::string>> rows;  // the cells' text, every row as long as the first
  std::string font = "Times New Roman";
  double size = 12;       // points
  bool bold = false;
  double spaceAfter = 10; // points
  int32_t align = 0;      // 0 left, 1 centre, 2 right, 3 justified (Word's paragraph codes)
  double columnWidth = 0; // points; 0 lets the table share the text width
  int32_t tableType = 0;  // one of the 43 automatic formats (0 none)
  TableFlags flags;
};

class Document {
 public:
  static std::unique_ptr<Document> Create();
  static std::unique_ptr<Document> Open(const std::string& path);
  ~Document();

  // Portrait or landscape for the document's last section.
  void SetLandscape(bool landscape);
  // Adds the table after everything in the document, followed by an empty
  // paragraph in the formatting the document's last paragraph had.
  void AppendTable(const TableRequest& request);

  const std::string& path() const;
  bool IsFile(const std::string& path) const;
  // 1004 for a new document without a file.
  void Save();
  void SaveAs(const std::string& path);

 private:
  struct State;
  Document();
  std::unique_ptr<State> s_;
};

// The name of automatic table format `type` ("Table Grid 3", ...); "" for
// none or an unknown value.
std::string TableFormatName(int32_t type);

}  // namespace vantrove::docx
