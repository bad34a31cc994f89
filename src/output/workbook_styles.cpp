// The workbook's cell formats: bold and number-format variants of existing
// formats, added to styles.xml once each.
#include "workbook_internal.hpp"

namespace vantrove::xlsx {

namespace {

constexpr const char* kStylesRel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles";
constexpr const char* kStylesType = "application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml";

constexpr const char* kDefaultStyles =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
    "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
    "<fonts count=\"1\"><font><sz val=\"11\"/><color theme=\"1\"/><name val=\"Calibri\"/><family val=\"2\"/>"
    "<scheme val=\"minor\"/></font></fonts>"
    "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill><fill><patternFill patternType=\"gray125\"/>"
    "</fill></fills>"
    "<borders count=\"1\"><border><left/><right/><top/><bottom/><diagonal/></border></borders>"
    "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>"
    "<cellXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/></cellXfs>"
    "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles>"
    "<dxfs count=\"0\"/><tableStyles count=\"0\"/>"
    "</styleSheet>";

pugi::xml_node Nth(pugi::xml_node list, std::string_view local, uint32_t n) {
  uint32_t i = 0;
  for (pugi::xml_node c : list.children()) {
    if (c.type() != pugi::node_element || ooxml::LocalName(c) != local) continue;
    if (i++ == n) return c;
  }
  return {};
}

uint32_t CountOf(pugi::xml_node list, std::string_view local) {
  uint32_t i = 0;
  for (pugi::xml_node c : list.children()) i += c.type() == pugi::node_element && ooxml::LocalName(c) == local;
  return i;
}

void SetCount(pugi::xml_node list, uint32_t n) {
  pugi::xml_attribute a = list.attribute("count");
  if (!a) a = list.append_attribute("count");
  a.set_value(n);
}

void SetAttr(pugi::xml_node n, const char* name, uint32_t value) {
  pugi::xml_attribute a = n.attribute(name);
  if (!a) a = n.append_attribute(name);
  a.set_value(value);
}

}  // namespace

void StyleBook::Load(ooxml::Package& pkg, const std::string& workbookPart) {
  for (const ooxml::Relationship& r : ooxml::ReadRelationships(pkg, workbookPart)) {
    if (r.type == kStylesRel && !r.external) part_ = ooxml::ResolveTarget(workbookPart, r.target);
  }
  if (part_.empty() || !pkg.Has(part_)) {
    // A workbook without styles gets the default ones.
    part_ = workbookPart.substr(0, workbookPart.rfind('/') + 1) + "styles.xml";
    pkg.Put(part_, kDefaultStyles);
    ooxml::AddRelationship(pkg, workbookPart, kStylesRel, "styles.xml");
    ooxml::SetContentType(pkg, part_, kStylesType);
  }
  ooxml::ParseXml(doc_, pkg.Get(part_), part_);
  derived_.clear();
  dirty_ = false;
}

int StyleBook::NumberFormatOf(uint32_t xf) const {
  pugi::xml_node x = Nth(ooxml::ChildLocal(doc_.document_element(), "cellXfs"), "xf", xf);
  return x ? x.attribute("numFmtId").as_int() : 0;
}

uint32_t StyleBook::Derive(uint32_t xf, bool bold, int numFmt) {
  const auto key = std::make_tuple(xf, bold, numFmt);
  if (auto it = derived_.find(key); it != derived_.end()) return it->second;
  pugi::xml_node root = doc_.document_element();
  const std::string p = ooxml::PrefixOf(root);
  pugi::xml_node cellXfs = ooxml::ChildLocal(root, "cellXfs");
  if (!cellXfs) Raise(kAppError, "The workbook's styles have no cell formats");
  pugi::xml_node base = Nth(cellXfs, "xf", xf);
  if (!base) base = Nth(cellXfs, "xf", 0);
  pugi::xml_node x = base ? cellXfs.append_copy(base) : cellXfs.append_child((p + "xf").c_str());
  if (bold) {
    pugi::xml_node fonts = ooxml::ChildLocal(root, "fonts");
    if (!fonts) Raise(kAppError, "The workbook's styles have no fonts");
    pugi::xml_node font = Nth(fonts, "font", x.attribute("fontId").as_uint());
    pugi::xml_node f = font ? fonts.append_copy(font) : fonts.append_child((p + "font").c_str());
    if (!ooxml::ChildLocal(f, "b")) f.prepend_child((p + "b").c_str());
    SetAttr(x, "fontId", CountOf(fonts, "font") - 1);
    SetAttr(x, "applyFont", 1);
    SetCount(fonts, CountOf(fonts, "font"));
  }
  if (numFmt >= 0) {
    SetAttr(x, "numFmtId", static_cast<uint32_t>(numFmt));
    SetAttr(x, "applyNumberFormat", 1);
  }
  const uint32_t id = CountOf(cellXfs, "xf") - 1;
  SetCount(cellXfs, id + 1);
  derived_[key] = id;
  dirty_ = true;
  return id;
}

void StyleBook::Store(ooxml::Package& pkg) {
  // Written after the worksheets, whose cells may still add formats.
  pkg.PutGenerated(part_, [this](std::string& out) {
    out += ooxml::XmlBytes(doc_);
    return false;
  }, true);
}

}  // namespace vantrove::xlsx
