// Saving a workbook, and the worksheet operations that record what a save
// writes.
#include <algorithm>
#include <cmath>

#include "office_crypto.hpp"
#include "sheet_cells.hpp"
#include "vantrove/output.hpp"
#include "workbook_internal.hpp"

namespace vantrove::xlsx {

namespace {

constexpr const char* kCalcChainRel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/calcChain";
constexpr int64_t kMaxCellText = 32767;

pugi::xml_attribute RelIdAttr(pugi::xml_node sheet) {
  for (pugi::xml_attribute a : sheet.attributes()) {
    std::string_view n = a.name();
    if (n.size() > 3 && n.substr(n.size() - 3) == ":id") return a;
  }
  return {};
}

// Marks the tabs: only the active sheet's is selected. An untouched sheet is
// rewritten only when its tab was selected.
void MarkTabs(WorkbookState& wb) {
  for (size_t i = 0; i < wb.sheets.size(); ++i) {
    SheetState& s = SheetAccess::Of(*wb.sheets[i]);
    s.selectTab = static_cast<int>(i) == wb.active;
    s.unselectTab = !s.selectTab;
    if (s.dirty || s.fresh) continue;
    const std::string& bytes = s.original ? *s.original : wb.pkg.Get(s.part);
    const size_t data = bytes.find("sheetData");
    const std::string_view head = std::string_view(bytes).substr(0, data);
    const bool selected = head.find("tabSelected=\"1\"") != std::string_view::npos ||
                          head.find("tabSelected=\"true\"") != std::string_view::npos;
    if (selected != s.selectTab) s.dirty = true;
  }
}

void DropCalcChain(WorkbookState& wb) {
  for (const ooxml::Relationship& r : ooxml::ReadRelationships(wb.pkg, wb.workbookPart)) {
    if (r.type != kCalcChainRel) continue;
    const std::string part = ooxml::ResolveTarget(wb.workbookPart, r.target);
    ooxml::RemoveRelationshipsTo(wb.pkg, wb.workbookPart, part);
    ooxml::RemoveContentType(wb.pkg, part);
    wb.pkg.Remove(part);
  }
}

void UpdateWorkbookPart(WorkbookState& wb, const std::optional<std::string>& writeRes, bool cellsChanged) {
  pugi::xml_document doc;
  ooxml::ParseXml(doc, wb.pkg.Get(wb.workbookPart), wb.workbookPart);
  pugi::xml_node root = doc.document_element();
  const std::string p = ooxml::PrefixOf(root);
  if (writeRes) {
    if (pugi::xml_node old = ooxml::ChildLocal(root, "fileSharing")) root.remove_child(old);
    if (!writeRes->empty()) {
      pugi::xml_node version = ooxml::ChildLocal(root, "fileVersion");
      pugi::xml_node share = version ? root.insert_child_after((p + "fileSharing").c_str(), version)
                                     : root.prepend_child((p + "fileSharing").c_str());
      share.append_attribute("reservationPassword") = LegacyPasswordHash(*writeRes).c_str();
    }
  }
  // The active sheet's position among all sheets, chart sheets included.
  std::map<std::string, std::string> partOf;
  for (const ooxml::Relationship& r : ooxml::ReadRelationships(wb.pkg, wb.workbookPart)) {
    partOf[r.id] = ooxml::ResolveTarget(wb.workbookPart, r.target);
  }
  const std::string activePart = wb.sheets.empty() ? "" : SheetAccess::Of(*wb.sheets[static_cast<size_t>(wb.active)]).part;
  int position = 0, activeTab = 0;
  for (pugi::xml_node s : ooxml::ChildLocal(root, "sheets").children()) {
    if (ooxml::LocalName(s) != "sheet") continue;
    if (partOf[RelIdAttr(s).value()] == activePart) activeTab = position;
    ++position;
  }
  pugi::xml_node views = ooxml::ChildLocal(root, "bookViews");
  if (pugi::xml_node view = ooxml::ChildLocal(views, "workbookView")) {
    if (!view.attribute("activeTab")) view.append_attribute("activeTab");
    view.attribute("activeTab").set_value(activeTab);
    if (view.attribute("firstSheet").as_int() > activeTab) view.attribute("firstSheet").set_value(activeTab);
  }
  if (cellsChanged) {
    // Formulas that depend on the new values are worked out again on opening.
    pugi::xml_node calc = ooxml::ChildLocal(root, "calcPr");
    if (!calc) {
      pugi::xml_node sheets = ooxml::ChildLocal(root, "sheets");
      pugi::xml_node after = ooxml::ChildLocal(root, "definedNames") ? ooxml::ChildLocal(root, "definedNames") : sheets;
      calc = root.insert_child_after((p + "calcPr").c_str(), after);
    }
    if (!calc.attribute("fullCalcOnLoad")) calc.append_attribute("fullCalcOnLoad");
    calc.attribute("fullCalcOnLoad").set_value("1");
  }
  wb.pkg.Put(wb.workbookPart, ooxml::XmlBytes(doc));
}

}  // namespace

void SaveTo(WorkbookState& wb, const std::string& path, const std::string& password,
            const std::optional<std::string>& writeRes) {
  MarkTabs(wb);
  bool cellsChanged = false;
  for (auto& sh : wb.sheets) cellsChanged = cellsChanged || !SheetAccess::Of(*sh).blocks.empty();
  if (cellsChanged) DropCalcChain(wb);
  UpdateWorkbookPart(wb, writeRes, cellsChanged);
  for (auto& sh : wb.sheets) {
    SheetState& s = SheetAccess::Of(*sh);
    if (s.dirty || s.fresh) StoreSheet(s);
  }
  wb.styles.Store(wb.pkg);
  std::string bytes = wb.pkg.Write();
  if (!password.empty()) bytes = office::EncryptPackage(bytes, password);
  WriteWholeFile(path, bytes);
  wb.path = path;
  wb.password = password;
  wb.readOnly = false;
}

std::string LegacyPasswordHash(const std::string& password) {
  // Each character rotated left by its position within 15 bits, all folded
  // together with the length and a fixed key.
  uint32_t hash = 0;
  uint32_t count = 0;
  for (size_t i = 0; i < password.size();) {
    const char32_t cp = NextCodePoint(password, i);
    ++count;
    uint32_t value = (static_cast<uint32_t>(cp) & 0xFF) << count;
    const uint32_t rotated = (value >> 15) & 0x7FFF;
    value &= 0x7FFF;
    hash ^= value | rotated;
  }
  hash ^= count;
  hash ^= 0xCE4B;
  char buf[8];
  std::snprintf(buf, sizeof buf, "%04X", hash & 0xFFFF);
  return buf;
}

// ---- Sheet ------------------------------------------------------------------------

Sheet::Sheet(std::unique_ptr<SheetState> s) : s_(std::move(s)) {}
Sheet::~Sheet() = default;

const std::string& Sheet::name() const { return s_->name; }

void Sheet::Rename(const std::string& name) {
  static constexpr std::string_view kBad = "[]:*?/\\";
  if (name.empty() || Len(name) > 31 || name.find_first_of(kBad) != std::string::npos || name.front() == '\'' ||
      name.back() == '\'') {
    Raise(kAppError, "Excel refuses the sheet name '" + name +
                         "': it must have 1 to 31 characters, none of []:*?/\\, and no apostrophe at either end");
  }
  WorkbookState& wb = *s_->wb;
  for (auto& other : wb.sheets) {
    if (other.get() != this && FoldCase(other->name()) == FoldCase(name)) {
      Raise(kAppError, "The workbook already has a sheet named '" + other->name() + "'");
    }
  }
  pugi::xml_document doc;
  ooxml::ParseXml(doc, wb.pkg.Get(wb.workbookPart), wb.workbookPart);
  for (pugi::xml_node s : ooxml::ChildLocal(doc.document_element(), "sheets").children()) {
    if (s.attribute("name").value() == s_->name) s.attribute("name").set_value(name.c_str());
  }
  wb.pkg.Put(wb.workbookPart, ooxml::XmlBytes(doc));
  s_->name = name;
}

void Sheet::WriteBlock(int64_t row, int32_t col, std::unique_ptr<CellSource> src, const BlockOptions& options) {
  const int64_t rows = src->rows();
  const int32_t cols = src->cols();
  if (rows == 0 || cols == 0) return;
  if (row < 1 || col < 1 || row + rows - 1 > kMaxRows || int64_t{col} + cols - 1 > kMaxColumns) {
    Raise(kAppError, "The block of " + std::to_string(rows) + " x " + std::to_string(cols) + " cells at " +
                         CellRef(std::max<int64_t>(row, 1), std::max(col, 1)) + " does not fit on the sheet");
  }
  for (int64_t r = 0; r < rows; ++r) {
    for (int32_t c = 0; c < cols; ++c) {
      const Variant& v = src->at(r, c);
      if (v.IsObject() || v.IsArray()) Raise(err::kTypeMismatch);
      if (v.IsString() && static_cast<int64_t>(v.str().size()) > kMaxCellText && Len(v.str()) > kMaxCellText) {
        Raise(kAppError, "A cell holds at most 32767 characters; the value for " + CellRef(row + r, col + c) + " is longer");
      }
    }
  }
  if (s_->wb->keepBlocks) src->Keep();
  s_->blocks.push_back({row, col, std::move(src), options.asText});
  s_->dirty = true;
}

namespace {

class OneCell : public CellSource {
 public:
  explicit OneCell(Variant v) : v_(std::move(v)) {}
  int64_t rows() const override { return 1; }
  int32_t cols() const override { return 1; }
  const Variant& at(int64_t, int32_t) const override { return v_; }

 private:
  Variant v_;
};

}  // namespace

void Sheet::SetCell(int64_t row, int32_t col, const Variant& value, bool asText) {
  WriteBlock(row, col, std::make_unique<OneCell>(value), {asText});
}

void Sheet::SetBold(const Area& area) {
  s_->bold.push_back(area);
  s_->dirty = true;
}

void Sheet::AutoFitColumns(const Area& area) {
  std::map<int32_t, double> widest;
  for (const Block& b : s_->blocks) {
    const int64_t r1 = std::max(area.row1, b.row), r2 = std::min(area.row2, b.lastRow());
    const int32_t c1 = std::max(area.col1, b.col), c2 = std::min(area.col2, b.lastCol());
    for (int32_t c = c1; c <= c2; ++c) {
      double w = 0;
      for (int64_t r = r1; r <= r2; ++r) {
        double cw = DisplayWidth(b.src->at(r - b.row, c - b.col), b.asText);
        for (const Area& a : s_->bold) {
          if (r >= a.row1 && r <= a.row2 && c >= a.col1 && c <= a.col2) cw *= 1.1;
        }
        w = std::max(w, cw);
      }
      widest[c] = std::max(widest[c], w);
    }
  }
  for (const auto& [c, w] : widest) {
    // Characters of the default font plus the cell's margins, capped as
    // the spreadsheet caps column widths.
    if (w > 0) s_->widths[c] = std::min(255.0, std::ceil((w + 0.72) * 100) / 100);
  }
  s_->dirty = true;
}

void Sheet::FreezeAt(int64_t row, int32_t col) {
  if (row < 1 || row > kMaxRows || col < 1 || col > kMaxColumns) Raise(kAppError, "No such cell to freeze at");
  s_->freeze = std::make_pair(row, col);
  s_->dirty = true;
}

// ---- Blocks from arrays ---------------------------------------------------------

namespace {

class ArraySource : public CellSource {
 public:
  ArraySource(const SafeArray& a, bool transpose) : a_(&a), transpose_(transpose) {
    if (a.dims() == 1) {
      n1_ = 1;
      n2_ = a.bounds()[0].count();
    } else if (a.dims() == 2) {
      n1_ = a.bounds()[0].count();
      n2_ = a.bounds()[1].count();
    } else {
      Raise(err::kSubscript);
    }
  }
  int64_t rows() const override { return transpose_ ? n2_ : n1_; }
  int32_t cols() const override { return static_cast<int32_t>(std::min<int64_t>(transpose_ ? n1_ : n2_, INT32_MAX)); }
  const Variant& at(int64_t r, int32_t c) const override {
    const int64_t i = transpose_ ? c : r, j = transpose_ ? r : c;
    return a_->data()[static_cast<size_t>(i * n2_ + j)];
  }
  void Keep() override {
    if (own_) return;
    own_ = std::make_unique<SafeArray>(*a_);
    a_ = own_.get();
  }

 private:
  const SafeArray* a_;
  std::unique_ptr<SafeArray> own_;
  bool transpose_;
  int64_t n1_ = 0, n2_ = 0;
};

}  // namespace

std::unique_ptr<CellSource> ArrayBlock(const SafeArray& a, bool transpose) {
  return std::make_unique<ArraySource>(a, transpose);
}

}  // namespace vantrove::xlsx
