#include "dwg/dwg_from_model.hpp"

#include <algorithm>

#include "dwg/model_encoder.hpp"
#include "dwg/record_data_encoder.hpp"
#include "dwg/records.hpp"
#include "dwg/table_records_r2000.hpp"

namespace vantrove::engine::dwg::encoding {

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


}  // namespace vantrove::engine::dwg::encoding
