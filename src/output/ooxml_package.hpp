#pragma once
// Internal: an Office Open XML package (a zip of XML parts) held in memory,
// with the content-type and relationship bookkeeping that every document
// kind shares. Parts nobody touches are written back byte for byte.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace vantrove::ooxml {

// Produces a part's bytes piece by piece while the package is written:
// each call appends the next piece to `out` and returns false after the last.
using PartGenerator = std::function<bool(std::string& out)>;

class Package {
 public:
  // Reads a zip; 1004 with a plain message when it is no zip, is damaged, or
  // has no [Content_Types].xml.
  static Package Read(std::string_view zipBytes);

  bool Has(const std::string& name) const;
  // The part's bytes; 1004 when it is missing.
  const std::string& Get(const std::string& name) const;
  void Put(const std::string& name, std::string bytes);
  // The part is produced while the package is written (large worksheets);
  // `last` parts are produced after all others.
  void PutGenerated(const std::string& name, PartGenerator gen, bool last = false);
  void Remove(const std::string& name);
  std::vector<std::string> Names() const;

  // The whole zip.
  std::string Write() const;

 private:
  struct Entry {
    std::string name;
    std::string bytes;
    PartGenerator gen;  // when set, it makes the bytes
    bool last = false;
  };
  const Entry* Find(const std::string& name) const;
  std::vector<Entry> entries_;
};

// ---- XML helpers ----------------------------------------------------------------

// Parses a part; 1004 naming the part when it is no well-formed XML.
void ParseXml(pugi::xml_document& doc, const std::string& bytes, const std::string& partName);
// The document as bytes: UTF-8 with the standalone declaration.
std::string XmlBytes(const pugi::xml_document& doc);

// The local part of an element name ("x:row" gives "row").
std::string_view LocalName(const pugi::xml_node& n);
// The first child with that local name, or an empty node.
pugi::xml_node ChildLocal(const pugi::xml_node& parent, std::string_view local);
// The element name prefix of `n` ("x:" or "").
std::string PrefixOf(const pugi::xml_node& n);

// Text escaped for XML character data and attribute values.
void AppendEscaped(std::string& out, std::string_view text);

// ---- Content types and relationships ----------------------------------------

inline constexpr const char* kRelNs = "http://schemas.openxmlformats.org/package/2006/relationships";
inline constexpr const char* kOfficeRelNs = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

// Adds or replaces the override for "/" + part.
void SetContentType(Package& pkg, const std::string& part, const std::string& contentType);
void RemoveContentType(Package& pkg, const std::string& part);

// "xl/_rels/workbook.xml.rels" for "xl/workbook.xml".
std::string RelsPartOf(const std::string& part);
// The part a relationship target names, seen from `sourcePart`.
std::string ResolveTarget(const std::string& sourcePart, const std::string& target);

struct Relationship {
  std::string id, type, target;  // target as written
  bool external = false;
};
std::vector<Relationship> ReadRelationships(const Package& pkg, const std::string& sourcePart);
// Adds a relationship and returns its new id.
std::string AddRelationship(Package& pkg, const std::string& sourcePart, const std::string& type,
                            const std::string& target);
void RemoveRelationshipsTo(Package& pkg, const std::string& sourcePart, const std::string& targetPart);
// The main part the package relationships name as the office document.
std::string MainPart(const Package& pkg);

}  // namespace vantrove::ooxml
