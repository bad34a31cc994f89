#include "dwg/dwg_from_model.hpp"

#include <algorithm>
#include <memory>
#include <cctype>
#include <unordered_map>
#include <unordered_set>

#include "dwg/checksum.hpp"
#include "dwg/container.hpp"
#include "dwg/entity_encoder.hpp"
#include "dwg/extended_data.hpp"
#include "dwg/header_vars_r2000.hpp"
#include "dwg/record_data_encoder.hpp"
#include "dwg/records.hpp"
#include "dwg/source_sections.hpp"
#include "dwg/table_records_r2000.hpp"
#include "dwg/writer_r2000.hpp"

namespace vantrove::engine::dwg {

namespace {

// "TABLE:lower-case name", the key of a table entry by name.
std::string EntryKey(std::string_view table, std::string_view name) {
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
const ClassDef kBuiltinClasses[] = {
    {"IMAGE", "AcDbRasterImage", "ISM", 127, false, true},
    {"IMAGEDEF", "AcDbRasterImageDef", "ISM", 0, false, false},
    {"IMAGEDEF_REACTOR", "AcDbRasterImageDefReactor", "ISM", 1, false, false},
    {"ACDBPLACEHOLDER", "AcDbPlaceHolder", "ObjectDBX Classes", 0, false, false},
    {"DICTIONARYVAR", "AcDbDictionaryVar", "ObjectDBX Classes", 0, false, false},
    {"RASTERVARIABLES", "AcDbRasterVariables", "ISM", 0, false, false},
};

bool WrittenObjectType(std::string_view type) {
  return type == "DICTIONARY" || type == "ACDBDICTIONARYWDFLT" || type == "LAYOUT" || type == "IMAGEDEF" ||
         type == "IMAGEDEF_REACTOR" || type == "ACDBPLACEHOLDER" || type == "XRECORD" || type == "DICTIONARYVAR" ||
         type == "RASTERVARIABLES" || type == "GROUP" || type == "MLINESTYLE";
}

bool WrittenEntryType(std::string_view type) {
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

std::vector<uint64_t> ModelEncoder::Bracketed(const Object& o, std::string_view bracket, int32_t code) const {
  std::vector<uint64_t> out;
  bool inside = false;
  for (const Group& g : SourceGroups(doc_, o)) {
    if (g.code == 102) {
      inside = g.value() == bracket;
    } else if (inside && g.code == code) {
      const uint64_t h = ParseHandle(g.value()).value_or(0);
      if (written_.count(h) != 0) out.push_back(h);
    }
  }
  return out;
}

// Decides what is written and gives the tables' control objects and
// entries their handles.
void ModelEncoder::Plan() {
  for (const Object* c : doc_.classes) {
    const GroupView g = G(*c);
    classes_.push_back({std::string(g.Text(1)), std::string(g.Text(2)), std::string(g.Text(3)),
                        static_cast<uint16_t>(g.Int(90, 0)), g.Int(280, 0) != 0, g.Int(281, 0) != 0});
  }
  for (const ClassDef& builtin : kBuiltinClasses) {
    if (ClassNumber(builtin.dxf) == 0) classes_.push_back(builtin);
  }
  for (const ControlKind& kind : kControls) {
    uint64_t handle = 0;
    for (const Table& t : doc_.tables) {
      if (t.name == kind.table && t.head != nullptr && t.head->handle != kNoHandle) handle = t.head->handle;
    }
    controls_[kind.table] = handle != 0 ? handle : NewHandle();
    written_.insert(controls_[kind.table]);
  }
  for (const Table& t : doc_.tables) {
    for (const Object* record : t.records) {
      if (record->erased) continue;
      std::string_view name = record->kind() == ObjectKind::kBlockRecord
                                  ? static_cast<const BlockRecord*>(record)->name
                                  : record->kind() == ObjectKind::kLayer ? static_cast<const Layer*>(record)->name
                                                                         : G(*record).Text(2);
      names_.emplace(EntryKey(t.name, name), record->handle);
      if (WrittenEntryType(record->type_name)) written_.insert(record->handle);
    }
  }
  // Blocks whose record the BLOCK_RECORD table does not list (a DXF R12
  // file has no such table) get one.
  std::unordered_set<const Object*> listed;
  for (const Table& t : doc_.tables) {
    if (t.name == "BLOCK_RECORD") listed.insert(t.records.begin(), t.records.end());
  }
  for (Block* block : doc_.blocks) {
    if (block->erased || (block->record != nullptr && listed.count(block->record) != 0)) continue;
    auto record = std::make_unique<BlockRecord>();
    record->name = block == doc_.model_space()   ? "*Model_Space"
                   : block == doc_.paper_space() ? "*Paper_Space"
                                                 : block->name;
    const bool ownHandle = block->record != nullptr && block->record->handle != kNoHandle &&
                           written_.count(block->record->handle) == 0;
    record->handle = ownHandle ? block->record->handle : NewHandle();
    if (block->record != nullptr) record->layout = block->record->layout;
    record->block = block;
    record->type_name = "BLOCK_RECORD";
    names_.emplace(EntryKey("BLOCK_RECORD", record->name), record->handle);
    written_.insert(record->handle);
    madeRecords_.push_back(std::move(record));
  }
  // The line types every drawing has.
  for (std::string_view name : {"ByBlock", "ByLayer", "Continuous"}) {
    if (Named("LTYPE", name) != 0) continue;
    const uint64_t h = NewHandle();
    names_.emplace(EntryKey("LTYPE", name), h);
    written_.insert(h);
    madeLtypes_.push_back({h, name});
  }
  for (const auto& object : doc_.all_objects()) {
    const Object& o = *object;
    if (o.erased) continue;
    if (o.is_entity()) {
      if (EntityTypeNumber(static_cast<const Entity&>(o), G(o), [&](std::string_view n) { return ClassNumber(n); }) != 0)
        written_.insert(o.handle);
    } else if (o.section == Section::kObjects && WrittenObjectType(o.type_name)) {
      written_.insert(o.handle);
      if (o.kind() == ObjectKind::kDictionary && o.owner == kNoHandle && rootDict_ == nullptr) {
        rootDict_ = static_cast<const Dictionary*>(&o);
        root_ = o.handle;
      }
    }
  }
}

void ModelEncoder::WriteTables() {
  for (const ControlKind& kind : kControls) {
    std::vector<uint64_t> entries;
    const Table* table = nullptr;
    for (const Table& t : doc_.tables) {
      if (t.name == kind.table) table = &t;
    }
    std::vector<const Object*> records;
    if (table != nullptr) records.assign(table->records.begin(), table->records.end());
    if (kind.type == kTypeBlockControl) {
      for (const auto& made : madeRecords_) records.push_back(made.get());
    }
    for (const Object* record : records) {
      if (record->erased) continue;
      if (written_.count(record->handle) == 0) {
        ++dropped_[std::string(record->type_name)];
        continue;
      }
      const Block* block = record->kind() == ObjectKind::kBlockRecord ? static_cast<const BlockRecord*>(record)->block
                                                                      : nullptr;
      if (block != nullptr && block == doc_.model_space()) {
        modelSpace_ = record->handle;
      } else if (block != nullptr && block == doc_.paper_space()) {
        paperSpace_ = record->handle;
      } else if (kind.type != kTypeLtypeControl || (record->handle != Named("LTYPE", "ByLayer") &&
                                                    record->handle != Named("LTYPE", "ByBlock"))) {
        entries.push_back(record->handle);
      }
    }
    if (kind.type == kTypeLtypeControl) {
      for (const auto& [handle, name] : madeLtypes_) {
        if (name == "Continuous") entries.push_back(handle);
      }
    }
    ObjectWriter w(kind.type, controls_[kind.table], nullptr, &buffers_);
    w.BeginObject(0, {}, 0);
    w.data().BL(static_cast<uint32_t>(entries.size()));
    for (uint64_t h : entries) w.Ref(2, h);
    // The block table ends with the two layout blocks, the line type table
    // with the line types that stand for "by layer" and "by block".
    if (kind.type == kTypeBlockControl) {
      w.Ref(3, modelSpace_);
      w.Ref(3, paperSpace_);
    } else if (kind.type == kTypeLtypeControl) {
      w.Ref(3, Named("LTYPE", "ByLayer"));
      w.Ref(3, Named("LTYPE", "ByBlock"));
    }
    Emit(controls_[kind.table], w);
    if (kind.type == kTypeLtypeControl) {
      for (const auto& [handle, name] : madeLtypes_) {
        const Group named[] = {{2, name}};
        ObjectWriter e(kind.type + 1, handle, nullptr, &buffers_);
        e.BeginObject(controls_[kind.table], {}, 0);
        WriteLtype(e, GroupView(GroupSpan(named, 1)));
        Emit(handle, e);
      }
    }
    for (const Object* record : records) {
      if (record->erased || written_.count(record->handle) == 0) continue;
      const GroupView g = G(*record);
      if (record->kind() == ObjectKind::kBlockRecord) {
        const auto* br = static_cast<const BlockRecord*>(record);
        if (br->block != nullptr) WriteBlock(*br, *br->block);
        continue;
      }
      const uint16_t type = kind.type + 1;
      const BitWriter eed = Eed(*record);
      ObjectWriter e(type, record->handle, &eed, &buffers_);
      e.BeginObject(controls_[kind.table], Reactors(*record), XDictionary(*record));
      if (record->kind() == ObjectKind::kLayer) {
        const auto* layer = static_cast<const Layer*>(record);
        WriteLayer(e, *layer, Named("LTYPE", layer->linetype.empty() ? "Continuous" : layer->linetype));
      } else if (kind.table == "LTYPE") {
        WriteLtype(e, g);
      } else if (kind.table == "STYLE") {
        WriteStyle(e, g);
      } else if (kind.table == "VPORT") {
        WriteEntryFields(e, g, VportFieldsR2000(), [](int16_t, std::string_view) { return uint64_t{0}; });
      } else if (kind.table == "DIMSTYLE") {
        WriteEntryFields(e, g, DimstyleFieldsR2000(), [this](int16_t, std::string_view value) {
          const uint64_t h = ParseHandle(value).value_or(0);
          return written_.count(h) != 0 ? h : 0;
        });
      } else {
        WriteAppid(e, g);
      }
      Emit(record->handle, e);
    }
  }
}

void ModelEncoder::WriteBlock(const BlockRecord& record, const Block& block) {
  const uint16_t mode = &block == doc_.model_space() ? 2 : &block == doc_.paper_space() ? 1 : 0;
  std::vector<const Entity*> chain;
  const Entity* polyline = nullptr;  // the POLYLINE whose vertices follow
  for (const Entity* e : block.entities) {
    if (e->erased || e->kind() == ObjectKind::kAttrib) continue;
    if (e->type_name == "VERTEX" || e->kind() == ObjectKind::kSeqEnd) {
      if (polyline == nullptr) continue;
      if (e->kind() == ObjectKind::kSeqEnd) {
        followers_[polyline->handle].seqend = e;
        polyline = nullptr;
      } else if (written_.count(e->handle) != 0) {
        followers_[polyline->handle].owned.push_back(e);
      }
      continue;
    }
    if (e->type_name == "POLYLINE") polyline = e;
    if (written_.count(e->handle) == 0) {
      ++dropped_[std::string(e->type_name)];
      continue;
    }
    chain.push_back(e);
  }
  const uint64_t endblk = block.end != nullptr ? block.end->handle : NewHandle();
  const bool xref = block.is_xref() || block.is_overlay();
  const BitWriter eed = Eed(record);
  ObjectWriter w(kTypeBlockHeader, record.handle, &eed, &buffers_);
  w.BeginObject(controls_["BLOCK_RECORD"], Reactors(record), XDictionary(record));
  WriteEntryStart(w, record.name, block.flags);
  BitWriter& d = w.data();
  d.B(block.anonymous());
  d.B((block.flags & 2) != 0);
  d.B(block.is_xref());
  d.B(block.is_overlay());
  d.B(block.xref_resolved());
  d.BD3({block.base.x, block.base.y, block.base.z});
  w.Text(block.xref_path);
  d.RC(0);  // no inserts listed
  w.Text(block.description);
  d.BL(0);  // no preview
  w.Ref(5, 0);
  w.Ref(3, block.handle);
  if (!xref) {
    w.Ref(4, chain.empty() ? 0 : chain.front()->handle);
    w.Ref(4, chain.empty() ? 0 : chain.back()->handle);
  }
  w.Ref(3, endblk);
  uint64_t layout = record.layout_handle;
  if (record.layout != nullptr) layout = record.layout->handle;
  w.Ref(5, written_.count(layout) != 0 ? layout : 0);
  Emit(record.handle, w);

  EntityCommon owned;
  owned.mode = 0;
  owned.owner = record.handle;
  owned.layer = Named("LAYER", block.layer.empty() ? "0" : block.layer);
  EncoderLinks blockLinks;
  blockLinks.blockName = record.name;
  WriteEntity(block, owned, blockLinks);
  for (size_t i = 0; i < chain.size(); ++i) {
    EntityCommon c;
    c.mode = static_cast<uint8_t>(mode);
    c.owner = record.handle;
    c.prev = i > 0 ? chain[i - 1]->handle : 0;
    c.next = i + 1 < chain.size() ? chain[i + 1]->handle : 0;
    WriteEntity(*chain[i], c, {});
  }
  if (block.end != nullptr && block.end->is_entity()) {
    WriteEntity(static_cast<const Entity&>(*block.end), owned, {});
  } else {
    ObjectWriter end(kTypeEndblk, endblk, nullptr, &buffers_);
    owned.layer = Named("LAYER", "0");
    end.BeginEntity(owned, {}, 0);
    Emit(endblk, end);
  }
}

void ModelEncoder::WriteEntity(const Entity& e, EntityCommon common, EncoderLinks links) {
  const GroupView g = G(e);
  const uint16_t type = EntityTypeNumber(e, g, [&](std::string_view n) { return ClassNumber(n); });
  common.layer = NamedCached("LAYER", e.layer.empty() ? "0" : e.layer);
  common.color = static_cast<int16_t>(g.Int(62, 256));
  common.linetypeScale = g.Real(48, 1.0);
  common.invisible = g.Int(60, 0) != 0;
  common.lineweight = LineweightIndex(g.Int(370, -1));
  if (const Group* linetype = g.Find(6)) {
    const uint64_t h = NamedCached("LTYPE", linetype->value());
    if (h != 0 && h == NamedCached("LTYPE", "ByBlock")) {
      common.linetypeFlags = 1;
    } else if (h != 0 && h != NamedCached("LTYPE", "ByLayer")) {
      common.linetype = h;
      common.linetypeFlags = 3;
    }
  }
  links.style = [&](std::string_view name) { return NamedCached("STYLE", name.empty() ? "Standard" : name); };
  links.blockRecord = [&](std::string_view name) { return NamedCached("BLOCK_RECORD", name); };
  std::vector<const Entity*> subs;
  const Object* seqend = nullptr;
  if (e.kind() == ObjectKind::kInsert) {
    const auto& in = static_cast<const Insert&>(e);
    for (const Attrib* a : in.attribs) {
      if (!a->erased && written_.count(a->handle) != 0) subs.push_back(a);
    }
    seqend = in.seqend;
  } else if (auto it = followers_.find(e.handle); it != followers_.end()) {
    subs = it->second.owned;
    seqend = it->second.seqend;
  }
  if (!subs.empty()) {
    links.firstOwned = subs.front()->handle;
    links.lastOwned = subs.back()->handle;
    links.seqend = seqend != nullptr && !seqend->erased ? seqend->handle : NewHandle();
  } else if (e.kind() == ObjectKind::kImage) {
    const auto& image = static_cast<const Image&>(e);
    links.imageDef = written_.count(image.image_def) != 0 ? image.image_def : 0;
    links.imageDefReactor = written_.count(image.image_def_reactor) != 0 ? image.image_def_reactor : 0;
  }
  const BitWriter eed = Eed(e);
  ObjectWriter w(type, e.handle, &eed, &buffers_);
  w.BeginEntity(common, Reactors(e), XDictionary(e));
  if (!EncodeEntityData(w, e, g, links)) {
    ++dropped_[std::string(e.type_name)];
    return;
  }
  Emit(e.handle, w);
  if (subs.empty()) return;
  EntityCommon owned;
  owned.mode = 0;
  owned.owner = e.handle;
  for (size_t i = 0; i < subs.size(); ++i) {
    owned.prev = i > 0 ? subs[i - 1]->handle : 0;
    owned.next = i + 1 < subs.size() ? subs[i + 1]->handle : 0;
    WriteEntity(*subs[i], owned, {});
  }
  owned.prev = owned.next = 0;
  owned.layer = common.layer;
  if (seqend != nullptr && !seqend->erased && seqend->is_entity()) {
    WriteEntity(static_cast<const Entity&>(*seqend), owned, {});
  } else {
    ObjectWriter end(kTypeSeqend, links.seqend, nullptr, &buffers_);
    end.BeginEntity(owned, {}, 0);
    Emit(links.seqend, end);
  }
}

void ModelEncoder::WriteObjects() {
  for (const Object* o : doc_.objects_section) {
    if (o->erased) continue;
    if (written_.count(o->handle) == 0) {
      ++dropped_[std::string(o->type_name)];
      continue;
    }
    const GroupView g = G(*o);
    const std::string_view type = o->type_name;
    uint16_t number = 0;
    if (o->kind() == ObjectKind::kDictionary) {
      number = kTypeDictionary;
    } else if (o->kind() == ObjectKind::kLayout) {
      number = kTypeLayout;
    } else if (type == "XRECORD") {
      number = kTypeXrecord;
    } else if (type == "GROUP") {
      number = 0x48;
    } else if (type == "MLINESTYLE") {
      number = 0x49;
    } else {
      number = ClassNumber(type);
    }
    const BitWriter eed = Eed(*o);
    ObjectWriter w(number, o->handle, &eed, &buffers_);
    w.BeginObject(o == rootDict_ ? 0 : o->owner, Reactors(*o), XDictionary(*o));
    if (o->kind() == ObjectKind::kDictionary) {
      WriteDictionary(w, static_cast<const Dictionary&>(*o), g, written_);
    } else if (o->kind() == ObjectKind::kLayout) {
      const auto& layout = static_cast<const Layout&>(*o);
      uint64_t record = layout.block_record != nullptr ? layout.block_record->handle : layout.block_record_handle;
      WriteLayout(w, layout, g, record);
    } else if (type == "XRECORD") {
      WriteXrecord(w, g);
    } else if (type == "DICTIONARYVAR") {
      WriteDictionaryVar(w, g);
    } else if (type == "RASTERVARIABLES") {
      WriteRasterVariables(w, g);
    } else if (type == "GROUP") {
      WriteGroup(w, g, written_);
    } else if (type == "MLINESTYLE") {
      WriteMlineStyle(w, g);
    } else if (type == "IMAGEDEF") {
      WriteImageDef(w, g);
    } else if (type == "IMAGEDEF_REACTOR") {
      w.data().BL(static_cast<uint32_t>(g.Int(90, 2)));
    }
    Emit(o->handle, w);
  }
}

uint64_t ModelEncoder::HeaderHandle(std::string_view name) const {
  for (const ControlKind& kind : kControls) {
    if (name.size() > 8 && name.substr(name.size() - 8) == "_CONTROL" &&
        name.substr(0, name.size() - 8) == (kind.table == "BLOCK_RECORD" ? "BLOCK" : kind.table)) {
      return controls_.at(kind.table);
    }
  }
  auto dictionaryEntry = [&](std::string_view key) -> uint64_t {
    if (rootDict_ == nullptr) return 0;
    const uint64_t h = rootDict_->Find(key);
    return written_.count(h) != 0 ? h : 0;
  };
  auto var = [&](std::string_view v, std::string_view fallback) {
    std::string key = "$";
    key.append(v);
    const std::string_view text = doc_.HeaderText(key);
    return text.empty() ? fallback : text;
  };
  if (name == "NAMED_OBJECTS") return root_;
  if (name == "CMLSTYLE") return dictionaryEntry("ACAD_MLINESTYLE") != 0 ? MlineStyle(var("CMLSTYLE", "Standard")) : 0;
  if (name.starts_with("ACAD_")) return dictionaryEntry(name);
  if (name == "CLAYER") return Named("LAYER", var("CLAYER", "0"));
  if (name == "DIMSTYLE") return Named("DIMSTYLE", var("DIMSTYLE", "Standard"));
  if (name == "TEXTSTYLE" || name == "DIMTXSTY") return Named("STYLE", var(name, "Standard"));
  if (name == "CELTYPE") return Named("LTYPE", var("CELTYPE", "ByLayer"));
  if (name == "MODEL_SPACE") return modelSpace_;
  if (name == "PAPER_SPACE") return paperSpace_;
  if (name == "BYLAYER" || name == "BYBLOCK" || name == "CONTINUOUS") return Named("LTYPE", name);
  return 0;
}

uint64_t ModelEncoder::MlineStyle(std::string_view name) const {
  if (rootDict_ == nullptr) return 0;
  for (const Object* o : doc_.objects_section) {
    if (o->kind() != ObjectKind::kDictionary || o->handle != rootDict_->Find("ACAD_MLINESTYLE")) continue;
    for (const Dictionary::Entry& e : static_cast<const Dictionary*>(o)->entries) {
      if (EntryKey("", e.name) == EntryKey("", name) && written_.count(e.handle) != 0) return e.handle;
    }
  }
  return 0;
}

std::string ModelEncoder::ClassesSection() const {
  BitWriter w;
  w.RL(0);
  for (size_t i = 0; i < classes_.size(); ++i) {
    const ClassDef& c = classes_[i];
    w.BS(static_cast<uint16_t>(500 + i));
    w.BS(c.proxy);
    w.TV(EscapedText(c.app), !c.app.empty());
    w.TV(EscapedText(c.cpp), !c.cpp.empty());
    w.TV(EscapedText(c.dxf), !c.dxf.empty());
    w.B(c.zombie);
    w.BS(c.entity ? 0x1F2 : 0x1F3);
  }
  return FramedSection(kSentinelClassesBegin, w);
}

void PutLe32(std::string& s, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) s[at + static_cast<size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
}

// The file header with five section records (header variables, classes,
// object map, free space, template), the header variables and the classes.
std::string ModelEncoder::FilePrefix() const {
  // Text is written as ANSI_1252 with escapes for what lies outside it.
  const uint16_t codePage = 30;
  std::string out("AC1015", 6);
  out += std::string("\0\0\0\0\0\x0f\x01", 7);
  out.append(4, '\0');  // no preview image
  out.append(2, '\0');
  out.push_back(static_cast<char>(codePage & 0xFF));
  out.push_back(static_cast<char>(codePage >> 8));
  constexpr uint32_t kRecords = 5;
  out += std::string("\x05\0\0\0", 4);
  for (uint32_t i = 0; i < kRecords; ++i) {
    out.push_back(static_cast<char>(i));
    out.append(8, '\0');
  }
  out.append(2, '\0');  // check value, set when the file is assembled
  out.append(reinterpret_cast<const char*>(kSentinelFileHeaderEnd), 16);
  const std::string header =
      EncodeHeaderR2000(doc_, [this](std::string_view n) { return HeaderHandle(n); }, next_);
  PutLe32(out, 0x19 + 1, static_cast<uint32_t>(out.size()));
  PutLe32(out, 0x19 + 5, static_cast<uint32_t>(header.size()));
  out += header;
  const std::string classes = ClassesSection();
  PutLe32(out, 0x19 + 9 + 1, static_cast<uint32_t>(out.size()));
  PutLe32(out, 0x19 + 9 + 5, static_cast<uint32_t>(classes.size()));
  out += classes;
  return out;
}

bool ModelEncoder::Run(std::string& out, std::string& error) {
  placed_.reserve(doc_.all_objects().size() + 64);
  Plan();
  WriteTables();
  WriteObjects();
  std::vector<EncodedObject> objects(placed_.size());
  for (size_t i = 0; i < placed_.size(); ++i) {
    objects[i].handle = placed_[i].handle;
    objects[i].bytes = std::string_view(stored_[placed_[i].chunk]).substr(placed_[i].at, placed_[i].size);
  }
  R2000Parts parts;
  const std::string prefix = FilePrefix();
  parts.prefix = prefix;
  return AssembleR2000(parts, objects, out, error);
}

}  // namespace

bool EncodeModelR2000(const Document& doc, std::string& out, std::map<std::string, size_t, std::less<>>& dropped,
                      std::string& error) {
  return ModelEncoder(doc, dropped).Run(out, error);
}

}  // namespace vantrove::engine::dwg
