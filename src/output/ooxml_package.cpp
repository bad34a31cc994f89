// Office Open XML packages: zip reading and writing through libzip, and the
// content-type and relationship parts.
#include "ooxml_package.hpp"

#include <zip.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <sstream>

#include "vantrove/runtime.hpp"

namespace vantrove::ooxml {

namespace {

constexpr int32_t kAppError = 1004;
constexpr uint64_t kMaxPartSize = uint64_t{1} << 31;  // 2 GiB: anything larger is no document of ours
constexpr const char* kContentTypes = "[Content_Types].xml";

[[noreturn]] void Refuse(const std::string& what) { Raise(kAppError, what); }

struct ZipCloser {
  void operator()(zip_t* z) const noexcept {
    if (z) zip_discard(z);
  }
};

std::string ReadEntry(zip_t* z, zip_uint64_t index, const char* name) {
  zip_stat_t st;
  zip_stat_init(&st);
  if (zip_stat_index(z, index, 0, &st) != 0 || !(st.valid & ZIP_STAT_SIZE)) {
    Refuse(std::string("The package is damaged: cannot read the entry ") + name);
  }
  if (st.size > kMaxPartSize) Refuse(std::string("The package entry is too large: ") + name);
  std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> f(zip_fopen_index(z, index, 0), zip_fclose);
  if (!f) Refuse(std::string("The package is damaged: cannot open the entry ") + name);
  std::string bytes(static_cast<size_t>(st.size), '\0');
  zip_int64_t got = bytes.empty() ? 0 : zip_fread(f.get(), bytes.data(), st.size);
  if (got < 0 || static_cast<zip_uint64_t>(got) != st.size) {
    Refuse(std::string("The package is damaged: the entry does not read back whole: ") + name);
  }
  return bytes;
}

// A part made while the zip is written: libzip pulls the bytes through this.
struct GeneratedSource {
  const PartGenerator* gen;
  std::string chunk;
  size_t offset = 0;
  bool done = false;
  zip_error_t error;
};

zip_int64_t GeneratedCallback(void* userdata, void* data, zip_uint64_t len, zip_source_cmd_t cmd) {
  auto* s = static_cast<GeneratedSource*>(userdata);
  switch (cmd) {
    case ZIP_SOURCE_OPEN:
      s->chunk.clear();
      s->offset = 0;
      s->done = false;
      return 0;
    case ZIP_SOURCE_READ: {
      zip_uint64_t copied = 0;
      auto* outp = static_cast<char*>(data);
      while (copied < len) {
        if (s->offset == s->chunk.size()) {
          if (s->done) break;
          s->chunk.clear();
          s->offset = 0;
          try {
            s->done = !(*s->gen)(s->chunk);
          } catch (...) {
            zip_error_set(&s->error, ZIP_ER_READ, 0);
            return -1;
          }
          continue;
        }
        const size_t n = std::min<size_t>(len - copied, s->chunk.size() - s->offset);
        std::memcpy(outp + copied, s->chunk.data() + s->offset, n);
        s->offset += n;
        copied += n;
      }
      return static_cast<zip_int64_t>(copied);
    }
    case ZIP_SOURCE_CLOSE:
      return 0;
    case ZIP_SOURCE_STAT: {
      auto* st = static_cast<zip_stat_t*>(data);
      zip_stat_init(st);
      return 0;
    }
    case ZIP_SOURCE_ERROR:
      return zip_error_to_data(&s->error, data, len);
    case ZIP_SOURCE_FREE:
      zip_error_fini(&s->error);
      delete s;
      return 0;
    case ZIP_SOURCE_SUPPORTS:
      return ZIP_SOURCE_SUPPORTS_READABLE;
    default:
      zip_error_set(&s->error, ZIP_ER_OPNOTSUPP, 0);
      return -1;
  }
}

}  // namespace

Package Package::Read(std::string_view zipBytes) {
  zip_error_t err;
  zip_error_init(&err);
  zip_source_t* src = zip_source_buffer_create(zipBytes.data(), zipBytes.size(), 0, &err);
  if (!src) Refuse("Out of memory reading the package");
  std::unique_ptr<zip_t, ZipCloser> z(zip_open_from_source(src, ZIP_RDONLY, &err));
  if (!z) {
    zip_source_free(src);
    zip_error_fini(&err);
    Refuse("The file is not a zip package (not an Office Open XML document), or it is damaged");
  }
  Package pkg;
  const zip_int64_t count = zip_get_num_entries(z.get(), 0);
  for (zip_int64_t i = 0; i < count; ++i) {
    const char* name = zip_get_name(z.get(), static_cast<zip_uint64_t>(i), 0);
    if (!name) Refuse("The package is damaged: an entry has no name");
    std::string n(name);
    if (!n.empty() && n.back() == '/') continue;  // folder entries carry nothing
    if (pkg.Has(n)) Refuse("The package is damaged: the entry " + n + " occurs twice");
    pkg.entries_.push_back({n, ReadEntry(z.get(), static_cast<zip_uint64_t>(i), name), {}, false});
  }
  if (!pkg.Has(kContentTypes)) Refuse("The zip file is not an Office Open XML document: it has no [Content_Types].xml");
  return pkg;
}

const Package::Entry* Package::Find(const std::string& name) const {
  for (const Entry& e : entries_) {
    if (e.name == name) return &e;
  }
  return nullptr;
}

bool Package::Has(const std::string& name) const { return Find(name) != nullptr; }

const std::string& Package::Get(const std::string& name) const {
  const Entry* e = Find(name);
  if (!e || e->gen) Refuse("The package has no part " + name);
  return e->bytes;
}

void Package::Put(const std::string& name, std::string bytes) {
  for (Entry& e : entries_) {
    if (e.name == name) {
      e.bytes = std::move(bytes);
      e.gen = nullptr;
      e.last = false;
      return;
    }
  }
  entries_.push_back({name, std::move(bytes), {}, false});
}

void Package::PutGenerated(const std::string& name, PartGenerator gen, bool last) {
  Put(name, {});
  for (Entry& e : entries_) {
    if (e.name == name) {
      e.gen = std::move(gen);
      e.last = last;
    }
  }
}

void Package::Remove(const std::string& name) {
  std::erase_if(entries_, [&](const Entry& e) { return e.name == name; });
}

std::vector<std::string> Package::Names() const {
  std::vector<std::string> out;
  for (const Entry& e : entries_) out.push_back(e.name);
  return out;
}

std::string Package::Write() const {
  zip_error_t err;
  zip_error_init(&err);
  zip_source_t* buf = zip_source_buffer_create(nullptr, 0, 0, &err);
  if (!buf) Refuse("Out of memory writing the package");
  zip_t* z = zip_open_from_source(buf, ZIP_TRUNCATE, &err);
  if (!z) {
    zip_source_free(buf);
    Refuse("Cannot start writing the package");
  }
  zip_source_keep(buf);
  std::unique_ptr<zip_source_t, void (*)(zip_source_t*)> keep(buf, zip_source_free);
  auto fail = [&](const std::string& what) {
    zip_discard(z);
    Refuse(what);
  };
  // [Content_Types].xml goes first, as readers that stream the zip expect.
  std::vector<const Entry*> order;
  if (const Entry* ct = Find(kContentTypes)) order.push_back(ct);
  for (const Entry& e : entries_) {
    if (e.name != kContentTypes && !e.last) order.push_back(&e);
  }
  for (const Entry& e : entries_) {
    if (e.name != kContentTypes && e.last) order.push_back(&e);
  }
  for (const Entry* e : order) {
    zip_source_t* s = nullptr;
    if (e->gen) {
      auto* state = new GeneratedSource{&e->gen, {}, 0, false, {}};
      zip_error_init(&state->error);
      s = zip_source_function(z, GeneratedCallback, state);
      if (!s) {
        zip_error_fini(&state->error);
        delete state;
      }
    } else {
      s = zip_source_buffer(z, e->bytes.data(), e->bytes.size(), 0);
    }
    if (!s) fail("Out of memory writing the package");
    const zip_int64_t idx = zip_file_add(z, e->name.c_str(), s, ZIP_FL_ENC_UTF_8);
    if (idx < 0) {
      zip_source_free(s);
      fail("Cannot add " + e->name + " to the package");
    }
    zip_set_file_compression(z, static_cast<zip_uint64_t>(idx), ZIP_CM_DEFLATE, 1);
  }
  if (zip_close(z) != 0) {
    std::string why = zip_error_strerror(zip_get_error(z));
    zip_discard(z);
    Refuse("Cannot write the package: " + why);
  }
  zip_stat_t st;
  zip_stat_init(&st);
  if (zip_source_stat(buf, &st) != 0 || zip_source_open(buf) != 0) Refuse("Cannot read the written package");
  std::string out(static_cast<size_t>(st.size), '\0');
  const zip_int64_t got = out.empty() ? 0 : zip_source_read(buf, out.data(), st.size);
  zip_source_close(buf);
  if (got < 0 || static_cast<zip_uint64_t>(got) != st.size) Refuse("Cannot read the written package");
  return out;
}

// ---- XML helpers ----------------------------------------------------------------

void ParseXml(pugi::xml_document& doc, const std::string& bytes, const std::string& partName) {
  const auto r = doc.load_buffer(bytes.data(), bytes.size(), pugi::parse_default | pugi::parse_declaration,
                                 pugi::encoding_auto);
  if (!r || !doc.document_element()) Refuse("The part " + partName + " is not well-formed XML: " + r.description());
}

std::string XmlBytes(const pugi::xml_document& doc) {
  std::ostringstream os;
  pugi::xml_node decl = doc.first_child();
  if (decl.type() != pugi::node_declaration) {
    os << "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";
  }
  doc.save(os, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  std::string s = os.str();
  if (decl.type() == pugi::node_declaration) {
    std::ostringstream d;
    decl.print(d, "", pugi::format_raw);
    s = d.str() + "\r\n" + s.substr(s.find('>') + 1);
  }
  return s;
}

std::string_view LocalName(const pugi::xml_node& n) {
  std::string_view name = n.name();
  const size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node ChildLocal(const pugi::xml_node& parent, std::string_view local) {
  for (pugi::xml_node c = parent.first_child(); c; c = c.next_sibling()) {
    if (c.type() == pugi::node_element && LocalName(c) == local) return c;
  }
  return {};
}

std::string PrefixOf(const pugi::xml_node& n) {
  std::string_view name = n.name();
  const size_t colon = name.find(':');
  return colon == std::string_view::npos ? std::string() : std::string(name.substr(0, colon + 1));
}

void AppendEscaped(std::string& out, std::string_view text) {
  size_t start = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const char* rep = nullptr;
    switch (c) {
      case '&': rep = "&amp;"; break;
      case '<': rep = "&lt;"; break;
      case '>': rep = "&gt;"; break;
      case '"': rep = "&quot;"; break;
      case '\r': rep = "&#13;"; break;
      default:
        // Control characters other than tab and line feed cannot stand in XML 1.0.
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') rep = "";
    }
    if (rep) {
      out.append(text.substr(start, i - start));
      out.append(rep);
      start = i + 1;
    }
  }
  out.append(text.substr(start));
}

// ---- Content types and relationships ----------------------------------------

namespace {

pugi::xml_document LoadPart(const Package& pkg, const std::string& part) {
  pugi::xml_document doc;
  ParseXml(doc, pkg.Get(part), part);
  return doc;
}

}  // namespace

void SetContentType(Package& pkg, const std::string& part, const std::string& contentType) {
  pugi::xml_document doc = LoadPart(pkg, kContentTypes);
  pugi::xml_node types = doc.document_element();
  const std::string partName = "/" + part;
  for (pugi::xml_node o : types.children()) {
    if (LocalName(o) == "Override" && o.attribute("PartName").value() == partName) {
      o.attribute("ContentType").set_value(contentType.c_str());
      pkg.Put(kContentTypes, XmlBytes(doc));
      return;
    }
  }
  pugi::xml_node o = types.append_child((PrefixOf(types) + "Override").c_str());
  o.append_attribute("PartName") = partName.c_str();
  o.append_attribute("ContentType") = contentType.c_str();
  pkg.Put(kContentTypes, XmlBytes(doc));
}

void RemoveContentType(Package& pkg, const std::string& part) {
  pugi::xml_document doc = LoadPart(pkg, kContentTypes);
  pugi::xml_node types = doc.document_element();
  const std::string partName = "/" + part;
  for (pugi::xml_node o = types.first_child(); o;) {
    pugi::xml_node next = o.next_sibling();
    if (LocalName(o) == "Override" && o.attribute("PartName").value() == partName) types.remove_child(o);
    o = next;
  }
  pkg.Put(kContentTypes, XmlBytes(doc));
}

std::string RelsPartOf(const std::string& part) {
  const size_t slash = part.rfind('/');
  if (slash == std::string::npos) return "_rels/" + part + ".rels";
  return part.substr(0, slash) + "/_rels/" + part.substr(slash + 1) + ".rels";
}

std::string ResolveTarget(const std::string& sourcePart, const std::string& target) {
  std::vector<std::string> parts;
  std::string base;
  if (!target.empty() && target[0] == '/') {
    base = target.substr(1);
  } else {
    const size_t slash = sourcePart.rfind('/');
    base = (slash == std::string::npos ? std::string() : sourcePart.substr(0, slash + 1)) + target;
  }
  std::string seg;
  std::istringstream is(base);
  while (std::getline(is, seg, '/')) {
    if (seg.empty() || seg == ".") continue;
    if (seg == "..") {
      if (!parts.empty()) parts.pop_back();
    } else {
      parts.push_back(seg);
    }
  }
  std::string out;
  for (const std::string& p : parts) out += (out.empty() ? "" : "/") + p;
  return out;
}

std::vector<Relationship> ReadRelationships(const Package& pkg, const std::string& sourcePart) {
  std::vector<Relationship> out;
  const std::string rels = RelsPartOf(sourcePart);
  if (!pkg.Has(rels)) return out;
  pugi::xml_document doc = LoadPart(pkg, rels);
  for (pugi::xml_node r : doc.document_element().children()) {
    if (LocalName(r) != "Relationship") continue;
    out.push_back({r.attribute("Id").value(), r.attribute("Type").value(), r.attribute("Target").value(),
                   std::string_view(r.attribute("TargetMode").value()) == "External"});
  }
  return out;
}

std::string AddRelationship(Package& pkg, const std::string& sourcePart, const std::string& type,
                            const std::string& target) {
  const std::string rels = RelsPartOf(sourcePart);
  pugi::xml_document doc;
  if (pkg.Has(rels)) {
    ParseXml(doc, pkg.Get(rels), rels);
  } else {
    doc.append_child("Relationships").append_attribute("xmlns") = kRelNs;
  }
  pugi::xml_node root = doc.document_element();
  int n = 1;
  std::string id;
  for (;; ++n) {
    id = "rId" + std::to_string(n);
    bool used = false;
    for (pugi::xml_node r : root.children()) used = used || id == r.attribute("Id").value();
    if (!used) break;
  }
  pugi::xml_node r = root.append_child((PrefixOf(root) + "Relationship").c_str());
  r.append_attribute("Id") = id.c_str();
  r.append_attribute("Type") = type.c_str();
  r.append_attribute("Target") = target.c_str();
  pkg.Put(rels, XmlBytes(doc));
  return id;
}

void RemoveRelationshipsTo(Package& pkg, const std::string& sourcePart, const std::string& targetPart) {
  const std::string rels = RelsPartOf(sourcePart);
  if (!pkg.Has(rels)) return;
  pugi::xml_document doc = LoadPart(pkg, rels);
  pugi::xml_node root = doc.document_element();
  for (pugi::xml_node r = root.first_child(); r;) {
    pugi::xml_node next = r.next_sibling();
    if (std::string_view(r.attribute("TargetMode").value()) != "External" &&
        ResolveTarget(sourcePart, r.attribute("Target").value()) == targetPart) {
      root.remove_child(r);
    }
    r = next;
  }
  pkg.Put(rels, XmlBytes(doc));
}

std::string MainPart(const Package& pkg) {
  for (const Relationship& r : ReadRelationships(pkg, "")) {
    if (r.type.ends_with("/officeDocument")) return ResolveTarget("", r.target);
  }
  Refuse("The package names no main document part");
}

}  // namespace vantrove::ooxml
