// Workbooks: opening, creating, sheets, saving.
#include "workbook.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <optional>

#include "office_crypto.hpp"
#include "sheet_cells.hpp"
#include "vantrove/output.hpp"
#include "workbook_internal.hpp"

namespace vantrove::xlsx {

namespace {

constexpr const char* kOfficeDocRel =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument";

const char* kNewContentTypes =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
    "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
    "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
    "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
    "<Override PartName=\"/xl/workbook.xml\" "
    "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
    "</Types>";

const char* kNewWorkbook =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
    "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
    "<bookViews><workbookView activeTab=\"0\"/></bookViews><sheets/><calcPr calcId=\"0\"/></workbook>";

// The bytes of a workbook file; 53 when it cannot be read.
std::string ReadFileBytes(const std::string& path) {
  InputFile in;
  if (!in.Open(path)) Raise(err::kFileNotFound, "File not found: " + path);
  return std::string(in.bytes());
}

// The r:id attribute of a <sheet> element, whatever its prefix.
pugi::xml_attribute RelIdAttr(pugi::xml_node sheet) {
  for (pugi::xml_attribute a : sheet.attributes()) {
    std::string_view n = a.name();
    if (n.size() > 3 && n.substr(n.size() - 3) == ":id") return a;
  }
  return {};
}

}  // namespace


// ---- Workbook -------------------------------------------------------------------

namespace {

pugi::xml_node SheetsNode(pugi::xml_document& wb) {
  pugi::xml_node sheets = ooxml::ChildLocal(wb.document_element(), "sheets");
  if (!sheets) Raise(kAppError, "The workbook lists no sheets");
  return sheets;
}

void LoadSheets(WorkbookState& st, pugi::xml_document& wbDoc) {
  std::map<std::string, std::string> worksheetParts;  // relationship id -> part
  for (const ooxml::Relationship& r : ooxml::ReadRelationships(st.pkg, st.workbookPart)) {
    if (r.type == kSheetRel && !r.external) worksheetParts[r.id] = ooxml::ResolveTarget(st.workbookPart, r.target);
  }
  int position = 0;
  for (pugi::xml_node s : SheetsNode(wbDoc).children()) {
    if (ooxml::LocalName(s) != "sheet") continue;
    ++position;
    auto it = worksheetParts.find(RelIdAttr(s).value());
    if (it == worksheetParts.end()) continue;  // a chart sheet or a dangling entry: not a worksheet
    if (!st.pkg.Has(it->second)) Raise(kAppError, "The workbook's sheet " + std::string(s.attribute("name").value()) + " is missing");
    auto ss = std::make_unique<SheetState>();
    ss->wb = &st;
    ss->name = s.attribute("name").value();
    ss->part = it->second;
    st.sheets.push_back(SheetAccess::Make(std::move(ss)));
  }
}

}  // namespace

Workbook::Workbook() : s_(std::make_unique<WorkbookState>()) {}
Workbook::~Workbook() = default;

std::unique_ptr<Workbook> Workbook::Create() {
  std::unique_ptr<Workbook> wb(new Workbook());
  WorkbookState& st = *wb->s_;
  st.pkg.Put("[Content_Types].xml", kNewContentTypes);
  st.pkg.Put("xl/workbook.xml", kNewWorkbook);
  ooxml::AddRelationship(st.pkg, "", kOfficeDocRel, "xl/workbook.xml");
  st.workbookPart = "xl/workbook.xml";
  st.styles.Load(st.pkg, st.workbookPart);
  wb->AddSheet();
  return wb;
}

std::unique_ptr<Workbook> Workbook::Open(const std::string& path, const std::string& password,
                                         const std::string& writeResPassword) {
  std::string bytes = ReadFileBytes(path);
  std::unique_ptr<Workbook> wb(new Workbook());
  WorkbookState& st = *wb->s_;
  if (office::IsEncryptedPackage(bytes)) {
    bytes = office::DecryptPackage(bytes, password);
    st.password = password;
  }
  st.pkg = ooxml::Package::Read(bytes);
  bytes.clear();
  st.workbookPart = ooxml::MainPart(st.pkg);
  pugi::xml_document wbDoc;
  ooxml::ParseXml(wbDoc, st.pkg.Get(st.workbookPart), st.workbookPart);
  if (ooxml::LocalName(wbDoc.document_element()) != "workbook") {
    Raise(kAppError, "The file is an Office document but not a workbook: " + path);
  }
  LoadSheets(st, wbDoc);
  st.styles.Load(st.pkg, st.workbookPart);
  if (pugi::xml_node share = ooxml::ChildLocal(wbDoc.document_element(), "fileSharing")) {
    st.readOnly = !office::ReservationMatches(share, writeResPassword);
  }
  if (pugi::xml_node view = ooxml::ChildLocal(ooxml::ChildLocal(wbDoc.document_element(), "bookViews"), "workbookView")) {
    const int tab = view.attribute("activeTab").as_int();
    st.active = std::clamp(tab, 0, std::max(0, static_cast<int>(st.sheets.size()) - 1));
  }
  st.path = path;
  return wb;
}

const std::string& Workbook::path() const { return s_->path; }
bool Workbook::read_only() const { return s_->readOnly; }

bool Workbook::IsFile(const std::string& path) const {
  if (s_->path.empty()) return false;
  struct stat a, b;
  if (::stat(path.c_str(), &a) != 0 || ::stat(s_->path.c_str(), &b) != 0) return path == s_->path;
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int Workbook::SheetCount() const { return static_cast<int>(s_->sheets.size()); }

Sheet& Workbook::SheetAt(int index) {
  if (index < 1 || index > SheetCount()) Raise(err::kSubscript);
  return *s_->sheets[static_cast<size_t>(index - 1)];
}

Sheet* Workbook::FindSheet(const std::string& name) {
  const std::string folded = FoldCase(name);
  for (auto& s : s_->sheets) {
    if (FoldCase(s->name()) == folded) return s.get();
  }
  return nullptr;
}

Sheet& Workbook::AddSheet() {
  WorkbookState& st = *s_;
  int n = SheetCount() + 1;
  while (FindSheet("Sheet" + std::to_string(n))) ++n;
  std::string part;
  for (int i = 1;; ++i) {
    part = "xl/worksheets/sheet" + std::to_string(i) + ".xml";
    if (!st.pkg.Has(part)) break;
  }
  st.pkg.Put(part, {});
  auto ss = std::make_unique<SheetState>();
  ss->wb = &st;
  ss->name = "Sheet" + std::to_string(n);
  ss->part = part;
  ss->fresh = true;
  ss->dirty = true;
  // The workbook lists it after the last sheet.
  pugi::xml_document wbDoc;
  ooxml::ParseXml(wbDoc, st.pkg.Get(st.workbookPart), st.workbookPart);
  const std::string folder = st.workbookPart.substr(0, st.workbookPart.rfind('/') + 1);
  const std::string target = part.starts_with(folder) ? part.substr(folder.size()) : "/" + part;
  const std::string rid = ooxml::AddRelationship(st.pkg, st.workbookPart, kSheetRel, target);
  pugi::xml_node sheets = SheetsNode(wbDoc);
  uint32_t maxId = 0;
  for (pugi::xml_node s : sheets.children()) maxId = std::max(maxId, s.attribute("sheetId").as_uint());
  pugi::xml_node el = sheets.append_child((ooxml::PrefixOf(sheets) + "sheet").c_str());
  el.append_attribute("name") = ss->name.c_str();
  el.append_attribute("sheetId") = maxId + 1;
  el.append_attribute("r:id") = rid.c_str();
  if (!wbDoc.document_element().attribute("xmlns:r")) {
    wbDoc.document_element().append_attribute("xmlns:r") = ooxml::kOfficeRelNs;
  }
  st.pkg.Put(st.workbookPart, ooxml::XmlBytes(wbDoc));
  ooxml::SetContentType(st.pkg, part, kSheetType);
  st.sheets.push_back(SheetAccess::Make(std::move(ss)));
  st.active = SheetCount() - 1;
  return *st.sheets.back();
}

Sheet& Workbook::ActiveSheet() {
  if (s_->sheets.empty()) Raise(kAppError, "The workbook has no worksheet");
  return *s_->sheets[static_cast<size_t>(s_->active)];
}

void Workbook::Activate(Sheet& sheet) {
  for (size_t i = 0; i < s_->sheets.size(); ++i) {
    if (s_->sheets[i].get() == &sheet) s_->active = static_cast<int>(i);
  }
}

void Workbook::KeepBlocks() {
  s_->keepBlocks = true;
  for (auto& sh : s_->sheets) {
    for (Block& b : SheetAccess::Of(*sh).blocks) b.src->Keep();
  }
}

void Workbook::Save() {
  if (s_->path.empty()) Raise(kAppError, "The workbook has no file yet: save it under a name first");
  if (s_->readOnly) Raise(kAppError, "The workbook is reserved for writing by its owner: it is read-only without the password");
  SaveTo(*s_, s_->path, s_->password, std::nullopt);
}

void Workbook::SaveAs(const std::string& path, const std::string& password, const std::string& writeResPassword) {
  if (s_->readOnly && IsFile(path)) {
    Raise(kAppError, "The workbook is reserved for writing by its owner: it is read-only without the password");
  }
  SaveTo(*s_, path, password, writeResPassword);
}

}  // namespace vantrove::xlsx
