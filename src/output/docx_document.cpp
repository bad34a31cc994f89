// Word documents: opening or creating a .docx, appending a formatted table,
// page orientation, saving.
#include "docx_document.hpp"

#include <sys/stat.h>

#include <cmath>

#include "docx_formats.hpp"
#include "ooxml_package.hpp"
#include "vantrove/output.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::docx {

namespace {

constexpr const char* kWordNs = "http://schemas.openxmlformats.org/wordprocessingml/2006/main";
constexpr const char* kStylesRel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles";
constexpr const char* kStylesType = "application/vnd.openxmlformats-officedocument.wordprocessingml.styles+xml";
constexpr const char* kOfficeDocRel =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument";

constexpr const char* kNewContentTypes =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
    "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
    "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
    "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
    "<Override PartName=\"/word/document.xml\" "
    "ContentType=\"application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml\"/>"
    "</Types>";

// Letter paper with one-inch margins; one empty paragraph.
constexpr const char* kNewDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
    "<w:document xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\"><w:body><w:p/>"
    "<w:sectPr><w:pgSz w:w=\"12240\" w:h=\"15840\"/><w:pgMar w:top=\"1440\" w:right=\"1440\" w:bottom=\"1440\" "
    "w:left=\"1440\" w:header=\"720\" w:footer=\"720\" w:gutter=\"0\"/></w:sectPr></w:body></w:document>";

constexpr const char* kNewStyles =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
    "<w:styles xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\">"
    "<w:docDefaults><w:rPrDefault><w:rPr><w:rFonts w:ascii=\"Times New Roman\" w:hAnsi=\"Times New Roman\" "
    "w:cs=\"Times New Roman\"/><w:sz w:val=\"24\"/><w:szCs w:val=\"24\"/></w:rPr></w:rPrDefault>"
    "<w:pPrDefault/></w:docDefaults>"
    "<w:style w:type=\"paragraph\" w:default=\"1\" w:styleId=\"Normal\"><w:name w:val=\"Normal\"/><w:qFormat/></w:style>"
    "<w:style w:type=\"table\" w:default=\"1\" w:styleId=\"TableNormal\"><w:name w:val=\"Normal Table\"/>"
    "<w:uiPriority w:val=\"99\"/><w:semiHidden/><w:tblPr><w:tblInd w:w=\"0\" w:type=\"dxa\"/><w:tblCellMar>"
    "<w:top w:w=\"0\" w:type=\"dxa\"/><w:left w:w=\"108\" w:type=\"dxa\"/><w:bottom w:w=\"0\" w:type=\"dxa\"/>"
    "<w:right w:w=\"108\" w:type=\"dxa\"/></w:tblCellMar></w:tblPr></w:style>"
    "</w:styles>";

// The prefix the document binds to the word-processing namespace ("w:").
std::string WordPrefix(const pugi::xml_node& root) {
  for (pugi::xml_attribute a : root.attributes()) {
    std::string_view n = a.name();
    if (n.starts_with("xmlns:") && std::string_view(a.value()) == kWordNs) return std::string(n.substr(6)) + ":";
  }
  return ooxml::PrefixOf(root);
}

std::string Twips(double points) { return std::to_string(static_cast<int64_t>(std::lround(points * 20))); }

}  // namespace

struct Document::State {
  ooxml::Package pkg;
  std::string path;
  std::string mainPart;
  std::string stylesPart;
  pugi::xml_document doc;
  pugi::xml_document styles;
  std::string w;  // the namespace prefix
};

Document::Document() : s_(std::make_unique<State>()) {}
Document::~Document() = default;

namespace {

void LoadStyles(ooxml::Package& pkg, const std::string& mainPart, std::string& stylesPart, pugi::xml_document& styles) {
  for (const ooxml::Relationship& r : ooxml::ReadRelationships(pkg, mainPart)) {
    if (r.type == kStylesRel && !r.external) stylesPart = ooxml::ResolveTarget(mainPart, r.target);
  }
  if (stylesPart.empty() || !pkg.Has(stylesPart)) {
    stylesPart = mainPart.substr(0, mainPart.rfind('/') + 1) + "styles.xml";
    pkg.Put(stylesPart, kNewStyles);
    ooxml::AddRelationship(pkg, mainPart, kStylesRel, "styles.xml");
    ooxml::SetContentType(pkg, stylesPart, kStylesType);
  }
  ooxml::ParseXml(styles, pkg.Get(stylesPart), stylesPart);
}

}  // namespace

std::unique_ptr<Document> Document::Create() {
  std::unique_ptr<Document> d(new Document());
  State& s = *d->s_;
  s.pkg.Put("[Content_Types].xml", kNewContentTypes);
  s.pkg.Put("word/document.xml", kNewDocument);
  ooxml::AddRelationship(s.pkg, "", kOfficeDocRel, "word/document.xml");
  s.mainPart = "word/document.xml";
  ooxml::ParseXml(s.doc, s.pkg.Get(s.mainPart), s.mainPart);
  LoadStyles(s.pkg, s.mainPart, s.stylesPart, s.styles);
  s.w = "w:";
  return d;
}

std::unique_ptr<Document> Document::Open(const std::string& path) {
  InputFile in;
  if (!in.Open(path)) Raise(err::kFileNotFound, "File not found: " + path);
  std::unique_ptr<Document> d(new Document());
  State& s = *d->s_;
  s.pkg = ooxml::Package::Read(in.bytes());
  s.mainPart = ooxml::MainPart(s.pkg);
  ooxml::ParseXml(s.doc, s.pkg.Get(s.mainPart), s.mainPart);
  if (ooxml::LocalName(s.doc.document_element()) != "document" ||
      !ooxml::ChildLocal(s.doc.document_element(), "body")) {
    Raise(kAppError, "The file is an Office document but not a Word document: " + path);
  }
  s.w = WordPrefix(s.doc.document_element());
  LoadStyles(s.pkg, s.mainPart, s.stylesPart, s.styles);
  s.path = path;
  return d;
}

const std::string& Document::path() const { return s_->path; }

bool Document::IsFile(const std::string& path) const {
  if (s_->path.empty()) return false;
  struct stat a, b;
  if (::stat(path.c_str(), &a) != 0 || ::stat(s_->path.c_str(), &b) != 0) return path == s_->path;
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

void Document::SetLandscape(bool landscape) {
  const std::string& w = s_->w;
  // Every section of the document, as the page setup of the whole document.
  for (pugi::xpath_node n : s_->doc.select_nodes(("//" + w + "sectPr").c_str())) {
    pugi::xml_node sect = n.node();
    pugi::xml_node size = sect.child((w + "pgSz").c_str());
    if (!size) size = sect.prepend_child((w + "pgSz").c_str());
    pugi::xml_attribute width = size.attribute((w + "w").c_str());
    pugi::xml_attribute height = size.attribute((w + "h").c_str());
    if (!width) width = size.append_attribute((w + "w").c_str()) = 12240;
    if (!height) height = size.append_attribute((w + "h").c_str()) = 15840;
    const int64_t a = width.as_llong(), b = height.as_llong();
    if ((landscape && a < b) || (!landscape && a > b)) {
      width.set_value(b);
      height.set_value(a);
    }
    pugi::xml_attribute orient = size.attribute((w + "orient").c_str());
    if (!orient) orient = size.append_attribute((w + "orient").c_str());
    orient.set_value(landscape ? "landscape" : "portrait");
  }
}

namespace {

void AppendRuns(std::string& out, const std::string& w, const std::string& rpr, const std::string& text) {
  out += "<" + w + "r>" + rpr;
  std::string piece;
  auto flush = [&] {
    if (piece.empty()) return;
    out += "<" + w + "t xml:space=\"preserve\">";
    ooxml::AppendEscaped(out, piece);
    out += "</" + w + "t>";
    piece.clear();
  };
  for (char c : text) {
    if (c == '\n') {
      flush();
      out += "<" + w + "br/>";
    } else if (c == '\t') {
      flush();
      out += "<" + w + "tab/>";
    } else if (c != '\r') {
      piece += c;
    }
  }
  flush();
  out += "</" + w + "r>";
}

std::string BorderXml(const std::string& w, const char* side, const Line& l) {
  std::string s = "<" + w + side + " " + w + "val=\"" + l.val + "\"";
  if (std::string_view(l.val) != "nil") {
    s += " " + w + "sz=\"" + std::to_string(l.size) + "\" " + w + "space=\"0\" " + w + "color=\"" + l.color + "\"";
  }
  return s + "/>";
}

std::string StyleIdOf(const std::string& name) {
  std::string id;
  for (char c : name) {
    if (c != ' ') id += c;
  }
  return id;
}

// The style of `f` in the document's styles: the document's own when it has
// one of that name, else ours, added once.
std::string EnsureTableStyle(pugi::xml_document& styles, const TableFormat& f) {
  pugi::xml_node root = styles.document_element();
  const std::string w = WordPrefix(root);
  const std::string id = StyleIdOf(f.name);
  for (pugi::xml_node st : root.children()) {
    if (ooxml::LocalName(st) != "style") continue;
    const std::string sid = st.attribute((w + "styleId").c_str()).value();
    const std::string name = st.child((w + "name").c_str()).attribute((w + "val").c_str()).value();
    if (sid == id || FoldCase(name) == FoldCase(f.name)) return sid;
  }
  pugi::xml_document frag;
  const std::string xml = TableStyleXml(f, id, w);
  frag.load_buffer(xml.data(), xml.size(), pugi::parse_default | pugi::parse_fragment);
  root.append_copy(frag.first_child());
  return id;
}

// <w:tbl> up to its grid: style, width, spacing, layout and which parts of
// the format apply.
std::string TableStartXml(const TableRequest& request, const TableFormat& format, const std::string& styleId,
                          const std::string& w, int64_t colWidth, int64_t cols) {
  const TableFlags& fl = request.flags;
  std::string x = "<" + w + "tbl><" + w + "tblPr>";
  if (!styleId.empty()) x += "<" + w + "tblStyle " + w + "val=\"" + styleId + "\"/>";
  x += fl.autoFit ? "<" + w + "tblW " + w + "w=\"0\" " + w + "type=\"auto\"/>"
                  : "<" + w + "tblW " + w + "w=\"" + std::to_string(colWidth * cols) + "\" " + w + "type=\"dxa\"/>";
  if (format.cellSpacing && fl.borders) {
    x += "<" + w + "tblCellSpacing " + w + "w=\"" + std::to_string(format.cellSpacing) + "\" " + w + "type=\"dxa\"/>";
  }
  if (!fl.autoFit) x += "<" + w + "tblLayout " + w + "type=\"fixed\"/>";
  unsigned look = (fl.headingRows ? 0x20 : 0) | (fl.lastRow ? 0x40 : 0) | (fl.firstColumn ? 0x80 : 0) | (fl.lastColumn ? 0x100 : 0);
  char lookHex[8];
  std::snprintf(lookHex, sizeof lookHex, "%04X", look);
  x += "<" + w + "tblLook " + w + "val=\"" + lookHex + "\" " + w + "firstRow=\"" + (fl.headingRows ? "1" : "0") + "\" " + w +
       "lastRow=\"" + (fl.lastRow ? "1" : "0") + "\" " + w + "firstColumn=\"" + (fl.firstColumn ? "1" : "0") + "\" " + w +
       "lastColumn=\"" + (fl.lastColumn ? "1" : "0") + "\" " + w + "noHBand=\"0\" " + w + "noVBand=\"0\"/>";
  x += "</" + w + "tblPr><" + w + "tblGrid>";
  for (int64_t c = 0; c < cols; ++c) x += "<" + w + "gridCol " + w + "w=\"" + std::to_string(colWidth) + "\"/>";
  x += "</" + w + "tblGrid>";
  return x;
}

// The rows: every cell with the look the format and flags give it.
void AppendRowsXml(std::string& x, const TableRequest& request, const TableFormat& format, const std::string& w,
                   int64_t colWidth, int64_t rows, int64_t cols) {
  const TableFlags& fl = request.flags;
  static constexpr const char* kAlign[] = {"left", "center", "right", "both"};
  std::string ppr = "<" + w + "pPr><" + w + "spacing " + w + "after=\"" + Twips(request.spaceAfter) + "\"/>";
  if (request.align >= 0 && request.align <= 3) ppr += "<" + w + "jc " + w + "val=\"" + kAlign[request.align] + "\"/>";
  ppr += "</" + w + "pPr>";
  std::string fontXml;
  fontXml += "<" + w + "rFonts " + w + "ascii=\"";
  ooxml::AppendEscaped(fontXml, request.font);
  fontXml += "\" " + w + "hAnsi=\"";
  ooxml::AppendEscaped(fontXml, request.font);
  fontXml += "\" " + w + "cs=\"";
  ooxml::AppendEscaped(fontXml, request.font);
  fontXml += "\"/>";
  const std::string size = std::to_string(static_cast<int64_t>(std::lround(request.size * 2)));
  for (int64_t r = 0; r < rows; ++r) {
    x += "<" + w + "tr>";
    if (r == 0 && fl.headingRows) x += "<" + w + "trPr><" + w + "tblHeader/></" + w + "trPr>";
    for (int64_t c = 0; c < cols; ++c) {
      const CellLook lk = LookOf(format, fl, r, c, rows, cols);
      x += "<" + w + "tc><" + w + "tcPr><" + w + "tcW " + w + "w=\"" + std::to_string(colWidth) + "\" " + w + "type=\"dxa\"/>";
      x += "<" + w + "tcBorders>" + BorderXml(w, "top", lk.top) + BorderXml(w, "left", lk.left) +
           BorderXml(w, "bottom", lk.bottom) + BorderXml(w, "right", lk.right) + "</" + w + "tcBorders>";
      x += "<" + w + "shd " + w + "val=\"clear\" " + w + "color=\"auto\" " + w + "fill=\"" + (lk.fill.empty() ? "auto" : lk.fill) + "\"/>";
      x += "</" + w + "tcPr><" + w + "p>" + ppr;
      std::string rpr = "<" + w + "rPr>" + fontXml;
      rpr += request.bold || lk.bold ? "<" + w + "b/>" : "<" + w + "b " + w + "val=\"0\"/>";
      rpr += lk.italic ? "<" + w + "i/>" : "<" + w + "i " + w + "val=\"0\"/>";
      rpr += "<" + w + "color " + w + "val=\"" + (lk.color.empty() ? "auto" : lk.color) + "\"/>";
      rpr += "<" + w + "sz " + w + "val=\"" + size + "\"/><" + w + "szCs " + w + "val=\"" + size + "\"/></" + w + "rPr>";
      const std::string& text = c < static_cast<int64_t>(request.rows[static_cast<size_t>(r)].size()) ? request.rows[static_cast<size_t>(r)][static_cast<size_t>(c)] : std::string();
      if (!text.empty()) AppendRuns(x, w, rpr, text);
      x += "</" + w + "p></" + w + "tc>";
    }
    x += "</" + w + "tr>";
  }
}

}  // namespace

void Document::AppendTable(const TableRequest& request) {
  State& s = *s_;
  const std::string& w = s.w;
  pugi::xml_node body = ooxml::ChildLocal(s.doc.document_element(), "body");
  pugi::xml_node sect = body.last_child();
  while (sect && sect.type() != pugi::node_element) sect = sect.previous_sibling();
  if (sect && ooxml::LocalName(sect) != "sectPr") sect = pugi::xml_node();
  const TableFormat* format = FindTableFormat(request.tableType);
  if (!format) Raise(err::kInvalidCall, "No table format " + std::to_string(request.tableType));
  const int64_t rows = static_cast<int64_t>(request.rows.size());
  const int64_t cols = rows ? static_cast<int64_t>(request.rows[0].size()) : 0;
  if (rows == 0 || cols == 0) Raise(err::kInvalidCall, "A table needs at least one row and one column");

  // The text width of the last section shares the columns unless a width is given.
  pugi::xml_node lastSect = sect ? sect : pugi::xml_node();
  double textWidth = 9360;
  if (lastSect) {
    const double pw = lastSect.child((w + "pgSz").c_str()).attribute((w + "w").c_str()).as_double(12240);
    pugi::xml_node mar = lastSect.child((w + "pgMar").c_str());
    textWidth = pw - mar.attribute((w + "left").c_str()).as_double(1440) - mar.attribute((w + "right").c_str()).as_double(1440);
  }
  const int64_t colWidth = request.columnWidth > 0 ? std::lround(request.columnWidth * 20)
                                                : static_cast<int64_t>(std::max(textWidth, 1440.0) / static_cast<double>(cols));
  const std::string styleId = format->type == 0 ? std::string() : EnsureTableStyle(s.styles, *format);

  std::string x = TableStartXml(request, *format, styleId, w, colWidth, cols);
  AppendRowsXml(x, request, *format, w, colWidth, rows, cols);
  x += "</" + w + "tbl>";

  // The paragraph after the table keeps the formatting of the document's last one.
  pugi::xml_node lastPara;
  for (pugi::xml_node n = sect ? sect.previous_sibling() : body.last_child(); n; n = n.previous_sibling()) {
    if (n.type() != pugi::node_element) continue;
    if (ooxml::LocalName(n) == "p") lastPara = n;
    break;
  }
  pugi::xml_document frag;
  if (!frag.load_buffer(x.data(), x.size(), pugi::parse_default | pugi::parse_fragment)) {
    Raise(kAppError, "The table could not be built");
  }
  pugi::xml_node table = sect ? body.insert_copy_before(frag.first_child(), sect) : body.append_copy(frag.first_child());
  pugi::xml_node after = body.insert_child_after((w + "p").c_str(), table);
  if (lastPara) {
    if (pugi::xml_node ppr0 = lastPara.child((w + "pPr").c_str())) {
      pugi::xml_node copy = after.append_copy(ppr0);
      if (pugi::xml_node inner = copy.child((w + "sectPr").c_str())) copy.remove_child(inner);
    }
  }
}

void Document::Save() {
  if (s_->path.empty()) Raise(kAppError, "The document has no file yet: save it under a name first");
  SaveAs(s_->path);
}

void Document::SaveAs(const std::string& path) {
  s_->pkg.Put(s_->mainPart, ooxml::XmlBytes(s_->doc));
  s_->pkg.Put(s_->stylesPart, ooxml::XmlBytes(s_->styles));
  s_->pkg.WriteFile(path);
  s_->path = path;
}

}  // namespace vantrove::docx
