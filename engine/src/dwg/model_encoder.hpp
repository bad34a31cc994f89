#pragma once
// The encoder of a whole DWG 2000 file from the drawing model, shared by
// its two halves: dwg_from_model.cpp writes the records (tables, blocks,
// entities, objects), model_file_parts.cpp the header, the classes and the
// file around them.

#include <cctype>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "dwg/bit_writer.hpp"
#include "dwg/entity_encoder.hpp"
#include "dwg/extended_data.hpp"
#include "dwg/model_groups.hpp"
#include "dwg/object_writer.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dwg::encoding {

// "TABLE:lower-case name", the key of a table entry by name.
inline std::string EntryKey(std::string_view table, std::string_view name) {
  std::string key;
  key.reserve(table.size() + 1 + name.size());
  key.append(table);
  key.push_back(':');
  for (char c : name) key.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
  return key;
}

// Control object type of each table, in the order the header lists them.
struct ControlKind {
  std::string_view table;
  uint16_t type;
};
constexpr uint16_t kTypeLtypeControl = 0x38;
constexpr ControlKind kControls[] = {{"BLOCK_RECORD", 0x30}, {"LAYER", 0x32}, {"STYLE", 0x34},
                                     {"LTYPE", 0x38},        {"VIEW", 0x3C},  {"UCS", 0x3E},
                                     {"VPORT", 0x40},        {"APPID", 0x42}, {"DIMSTYLE", 0x44},
                                     {"VX", 0x46}};

struct ClassDef {
  std::string dxf, cpp, app;
  uint16_t proxy = 0;
  bool zombie = false, entity = false;
};

// Classes the encoder writes objects of, for drawings that do not list them.
inline const ClassDef kBuiltinClasses[] = {
    {"IMAGE", "AcDbRasterImage", "ISM", 127, false, true},
    {"IMAGEDEF", "AcDbRasterImageDef", "ISM", 0, false, false},
    {"IMAGEDEF_REACTOR", "AcDbRasterImageDefReactor", "ISM", 1, false, false},
    {"ACDBPLACEHOLDER", "AcDbPlaceHolder", "ObjectDBX Classes", 0, false, false},
    {"DICTIONARYVAR", "AcDbDictionaryVar", "ObjectDBX Classes", 0, false, false},
    {"RASTERVARIABLES", "AcDbRasterVariables", "ISM", 0, false, false},
};

inline bool WrittenObjectType(std::string_view type) {
  return type == "DICTIONARY" || type == "ACDBDICTIONARYWDFLT" || type == "LAYOUT" || type == "IMAGEDEF" ||
         type == "IMAGEDEF_REACTOR" || type == "ACDBPLACEHOLDER" || type == "XRECORD" || type == "DICTIONARYVAR" ||
         type == "RASTERVARIABLES" || type == "GROUP" || type == "MLINESTYLE";
}

inline bool WrittenEntryType(std::string_view type) {
  return type == "LAYER" || type == "LTYPE" || type == "STYLE" || type == "APPID" || type == "BLOCK_RECORD" ||
         type == "VPORT" || type == "DIMSTYLE";
}

class ModelEncoder {
 public:
  ModelEncoder(const Document& doc, std::map<std::string, size_t, std::less<>>& dropped)
      : doc_(doc), dropped_(dropped), next_(doc.next_handle()) {}
  bool Run(std::string& out, std::string& error);

 private:
  GroupView G(const Object& o) const { return GroupView(SourceGroups(doc_, o)); }
  uint64_t NewHandle() { return next_++; }
  void Emit(uint64_t handle, ObjectWriter& w) {
    // Chunks of bounded size: growing the store never copies what it holds.
    if (stored_.empty() || stored_.back().size() > kChunk - 4096) {
      stored_.emplace_back();
      stored_.back().reserve(kChunk);
    }
    std::string& chunk = stored_.back();
    const size_t at = chunk.size();
    w.FinishInto(chunk);
    placed_.push_back({handle, stored_.size() - 1, at, chunk.size() - at});
  }
  uint64_t Named(std::string_view table, std::string_view name) const {
    auto it = names_.find(EntryKey(table, name));
    return it == names_.end() ? 0 : it->second;
  }
  // The same for names held by the drawing (their text stays where it is):
  // remembered by the view, as most entities repeat a few names.
  uint64_t NamedCached(std::string_view table, std::string_view name) {
    auto& cache = cached_[table];
    auto it = cache.find(name);
    if (it != cache.end()) return it->second;
    const uint64_t h = Named(table, name);
    cache.emplace(name, h);
    return h;
  }
  uint16_t ClassNumber(std::string_view dxf) const {
    for (size_t i = 0; i < classes_.size(); ++i) {
      if (classes_[i].dxf == dxf) return static_cast<uint16_t>(500 + i);
    }
    return 0;
  }
  // The written handles of groups `code` inside the 102 bracket `bracket`.
  std::vector<uint64_t> Bracketed(const Object& o, std::string_view bracket, int32_t code) const;
  std::vector<uint64_t> Reactors(const Object& o) const { return Bracketed(o, "{ACAD_REACTORS", 330); }
  uint64_t XDictionary(const Object& o) const {
    const std::vector<uint64_t> found = Bracketed(o, "{ACAD_XDICTIONARY", 360);
    return found.empty() ? 0 : found.front();
  }
  // The extended data of `o` for its object writer.
  BitWriter Eed(const Object& o) const {
    BitWriter w;
    EncodeExtendedData(SourceGroups(doc_, o), [this](std::string_view app) { return Named("APPID", app); }, w);
    return w;
  }
  void Plan();
  void WriteTables();
  void WriteBlock(const BlockRecord& record, const Block& block);
  void WriteEntity(const Entity& e, EntityCommon common, EncoderLinks links);
  void WriteObjects();
  uint64_t HeaderHandle(std::string_view name) const;
  // The written MLINESTYLE named `name` in the ACAD_MLINESTYLE dictionary.
  uint64_t MlineStyle(std::string_view name) const;
  std::string ClassesSection() const;
  std::string FilePrefix() const;

  const Document& doc_;
  std::map<std::string, size_t, std::less<>>& dropped_;
  uint64_t next_;
  // Every object's stored form, one after the other, and where each lies.
  static constexpr size_t kChunk = size_t{8} << 20;
  std::vector<std::string> stored_;
  WriterBuffers buffers_;
  struct Placed {
    uint64_t handle;
    size_t chunk, at, size;
  };
  std::vector<Placed> placed_;
  std::vector<ClassDef> classes_;
  std::unordered_map<std::string, uint64_t> names_;  // "TABLE:lower-case name" -> handle
  std::unordered_map<std::string_view, uint64_t> controls_;
  std::unordered_map<std::string_view, std::unordered_map<std::string_view, uint64_t>> cached_;
  std::unordered_set<uint64_t> written_;
  // The vertices and closing SEQEND of each POLYLINE, by its handle.
  struct Followers {
    std::vector<const Entity*> owned;
    const Entity* seqend = nullptr;
  };
  std::unordered_map<uint64_t, Followers> followers_;
  // Block records for blocks that came without one (DXF R12).
  std::vector<std::unique_ptr<BlockRecord>> madeRecords_;
  // Line types added because the drawing lacks them: handle and name.
  std::vector<std::pair<uint64_t, std::string_view>> madeLtypes_;
  uint64_t modelSpace_ = 0, paperSpace_ = 0;  // their block records
  uint64_t root_ = 0;
  const Dictionary* rootDict_ = nullptr;
};

}  // namespace vantrove::engine::dwg::encoding
