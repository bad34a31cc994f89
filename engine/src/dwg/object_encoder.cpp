#include "dwg/object_encoder.hpp"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "dwg/object_patch.hpp"
#include "dwg/owned_lists.hpp"
#include "dxf/group_writer.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace vantrove::engine::dwg {

namespace {

struct Item {
  const Object* object = nullptr;
  const DwgSource* source = nullptr;
};

bool Edited(const Document& doc, const Item& item) { return EditedSinceRead(doc, *item.object, *item.source); }

// What an entity is chained under: its block reference (attributes) or its
// block.
const Object* ChainOf(const Object& object) {
  if (object.kind() == ObjectKind::kAttrib) {
    const Insert* insert = static_cast<const Attrib&>(object).insert;
    if (insert != nullptr) return insert;
  }
  return static_cast<const Entity&>(object).block;
}

class Encoder {
 public:
  Encoder(const Document& doc, Version version) : doc_(doc), version_(version) {
    text_.SetCodepage(doc.codepage);
  }
  bool Run(std::vector<EncodedObject>& out, EncodeReport& report, std::string& error);

 private:
  ObjectPatch* Patch(uint64_t handle);
  // The ends of an entity chain: a block record's first and last entity, or
  // a block reference's first and last attribute.
  struct BlockEnds {
    HandleRef xrefBlock, block, seqend;
    uint64_t first = 0, last = 0;
    size_t restAt = 0;  // the owner's handles after these
    bool valid = false, changed = false;
    bool insert = false;
    size_t hasAttribsAt = 0;  // INSERT: the "attributes follow" bit
  };
  BlockEnds* Ends(uint64_t owner);
  BlockEnds* InsertEnds(uint64_t insert, BlockEnds& ends);
  void WriteBlockEnds();
  void RelinkAroundErased();
  bool EncodeEdit(const Item& item, ObjectPatch& patch);
  BitWriter Text(std::string_view utf8);
  bool r2000() const { return version_ >= Version::kR2000; }
  // 2007 on: strings live in a stream of their own, in UTF-16.
  bool strings() const { return version_ >= Version::kR2007; }

  // Typed edits: each finds its field in the stored data and replaces it.
  bool SkipTextPart(BitReader& d);
  bool ReplaceTextValue(ObjectPatch& patch, std::string_view value);
  bool ReplaceMTextValue(ObjectPatch& patch, std::string_view value);
  bool ReplaceLayerState(ObjectPatch& patch, const Layer& layer);
  bool ReplaceImagePath(ObjectPatch& patch, std::string_view path);
  bool ReplaceXrefPath(ObjectPatch& patch, std::string_view path);
  bool ReplaceDictionary(ObjectPatch& patch, const Dictionary& dict);
  // Groups and draw-order tables have no DXF form, so edits cannot clean
  // them: the references to deleted entities are taken out here.
  void CleanGroupsAndSortTables();
  void CleanGroup(uint64_t handle);
  void CleanSortTable(uint64_t handle);

  const Document& doc_;
  Version version_;
  dxf::TextEncoder text_;
  std::unordered_map<uint64_t, Item> items_;
  std::unordered_set<uint64_t> erased_;
  std::map<uint64_t, ObjectPatch> patches_;   // objects that change
  std::unordered_set<uint64_t> failed_;       // objects whose stored form did not parse
  std::map<uint64_t, BlockEnds> ends_;        // block records by handle
};

ObjectPatch* Encoder::Patch(uint64_t handle) {
  auto found = patches_.find(handle);
  if (found != patches_.end()) return &found->second;
  auto item = items_.find(handle);
  if (item == items_.end() || failed_.count(handle) != 0) return nullptr;
  ObjectPatch patch;
  if (!patch.Parse(item->second.source->bits, version_, item->second.object->is_entity())) {
    failed_.insert(handle);
    return nullptr;
  }
  return &patches_.emplace(handle, std::move(patch)).first->second;
}

BitWriter Encoder::Text(std::string_view utf8) {
  BitWriter w;
  if (strings()) {
    w.TU(utf8);
    return w;
  }
  std::string bytes;
  text_.Encode(utf8, bytes);
  w.TV(bytes, true);
  return w;
}

// The first and last entity a block record names; the records of external
// references have none.
Encoder::BlockEnds* Encoder::Ends(uint64_t header) {
  auto found = ends_.find(header);
  if (found != ends_.end()) return found->second.valid ? &found->second : nullptr;
  BlockEnds& ends = ends_[header];
  ObjectPatch* patch = Patch(header);
  if (patch != nullptr && (patch->type() == 0x07 || patch->type() == 0x08)) return InsertEnds(header, ends);
  if (patch == nullptr || patch->type() != 0x31) return nullptr;
  BitReader data = patch->TypedData();
  data.TV();
  data.B();
  data.BS();
  data.B();
  data.B();
  data.B();
  const bool xref = data.B();
  const bool overlay = data.B();
  if (data.failed() || xref || overlay) return nullptr;
  // Table entries begin their handles with the external reference block.
  BitReader h = patch->TypedHandles();
  ends.xrefBlock = h.H();
  ends.block = h.H();
  ends.first = h.H().Resolve(header);
  ends.last = h.H().Resolve(header);
  ends.restAt = h.position();
  ends.valid = !h.failed();
  return ends.valid ? &ends : nullptr;
}

// INSERT and MINSERT: point, scale, rotation, extrusion, the "attributes
// follow" bit (MINSERT's rows and columns come after it); the block record,
// then with attributes the first, the last and the SEQEND.
Encoder::BlockEnds* Encoder::InsertEnds(uint64_t insert, BlockEnds& ends) {
  ObjectPatch* patch = Patch(insert);
  BitReader d = patch->TypedData();
  SkipInsertPlacement(d, r2000());
  ends.hasAttribsAt = d.position();
  if (!d.B() || d.failed()) return nullptr;
  BitReader h = patch->TypedHandles();
  ends.insert = true;
  ends.block = h.H();
  ends.first = h.H().Resolve(insert);
  ends.last = h.H().Resolve(insert);
  ends.seqend = h.H();
  ends.restAt = h.position();
  ends.valid = !h.failed();
  return ends.valid ? &ends : nullptr;
}

void Encoder::WriteBlockEnds() {
  for (auto& [owner, ends] : ends_) {
    if (!ends.valid || !ends.changed) continue;
    ObjectPatch* patch = Patch(owner);
    BitReader h = patch->TypedHandles();
    BitWriter w;
    if (!ends.insert) w.H(ends.xrefBlock);
    w.H(ends.block);
    if (ends.insert && ends.first == 0) {
      // The last attribute went: no attributes follow, no SEQEND is named.
      BitWriter no;
      no.B(false);
      patch->ReplaceData(ends.hasAttribsAt, ends.hasAttribsAt + 1, no);
    } else {
      w.H(4, ends.first);
      w.H(4, ends.last);
      if (ends.insert) w.H(ends.seqend);
    }
    w.AppendBits(h.data(), ends.restAt, h.sizeBytes() * 8 - ends.restAt);
    patch->ReplaceTypedHandles(w);
  }
}

// The entity links of R13-2000 run through the entities of a block, from
// the first to the last its block record names. A deleted entity's
// predecessor is linked to its successor instead (the chain is followed
// forwards), the successor back to the predecessor when it linked back to
// the deleted one, and the block record's ends move past it.
void Encoder::RelinkAroundErased() {
  std::vector<uint64_t> gone(erased_.begin(), erased_.end());
  std::sort(gone.begin(), gone.end());
  std::set<uint64_t> listOwners;  // 2004 on: block records and references that list their entities
  for (uint64_t handle : gone) {
    const Item& item = items_[handle];
    if (!item.object->is_entity()) continue;
    // Attributes are chained under their block reference, other entities
    // under their block.
    const Object* chain = ChainOf(*item.object);
    uint64_t owner = 0;
    if (chain != nullptr && chain->kind() == ObjectKind::kInsert) {
      owner = chain->handle;
    } else if (chain != nullptr && static_cast<const Block*>(chain)->record != nullptr) {
      owner = static_cast<const Block*>(chain)->record->handle;
    }
    if (owner == 0 || erased_.count(owner) != 0) continue;
    if (version_ >= Version::kR2004) {
      listOwners.insert(owner);
      continue;
    }
    BlockEnds* ends = Ends(owner);
    ObjectPatch* self = Patch(handle);
    if (ends == nullptr || self == nullptr) continue;
    auto liveInBlock = [&](uint64_t h) -> ObjectPatch* {
      auto it = items_.find(h);
      if (h == 0 || erased_.count(h) != 0 || it == items_.end() || !it->second.object->is_entity()) return nullptr;
      if (ChainOf(*it->second.object) != chain) return nullptr;
      return Patch(h);
    };
    // Past the neighbours that are deleted too, not past the block's ends.
    uint64_t towardPrev = handle, prev = handle == ends->first ? 0 : self->prev();
    for (int guard = 0; prev != 0 && erased_.count(prev) != 0 && guard < 1 << 20; ++guard) {
      ObjectPatch* q = Patch(prev);
      towardPrev = prev;
      prev = q == nullptr || prev == ends->first ? 0 : q->prev();
    }
    uint64_t towardNext = handle, next = handle == ends->last ? 0 : self->next();
    for (int guard = 0; next != 0 && erased_.count(next) != 0 && guard < 1 << 20; ++guard) {
      ObjectPatch* q = Patch(next);
      towardNext = next;
      next = q == nullptr || next == ends->last ? 0 : q->next();
    }
    ObjectPatch* p = liveInBlock(prev);
    if (p != nullptr && p->next() != towardPrev) p = nullptr;
    ObjectPatch* n = liveInBlock(next);
    if (p != nullptr) p->SetLinks(p->prev(), n != nullptr ? next : 0);
    if (n != nullptr && n->prev() == towardNext) n->SetLinks(p != nullptr ? prev : 0, n->next());
    if (ends->first == handle) {
      ends->first = n != nullptr ? next : 0;
      ends->changed = true;
    }
    if (ends->last == handle) {
      ends->last = p != nullptr ? prev : 0;
      ends->changed = true;
    }
  }
  DropErasedFromOwnedLists(listOwners, erased_, [this](uint64_t h) { return Patch(h); });
  WriteBlockEnds();
}

bool Encoder::SkipTextPart(BitReader& d) {
  if (!r2000()) {
    d.BD();
    d.RD2();
    d.RD2();
    d.BD3();
    for (int i = 0; i < 5; ++i) d.BD();
    return !d.failed();
  }
  const uint8_t flags = d.RC();
  if (!(flags & 0x01)) d.RD();
  d.RD2();
  if (!(flags & 0x02)) {
    d.DD(0);
    d.DD(0);
  }
  d.BE(true);
  d.BT(true);
  if (!(flags & 0x04)) d.RD();
  if (!(flags & 0x08)) d.RD();
  d.RD();
  if (!(flags & 0x10)) d.RD();
  return !d.failed();
}

bool Encoder::ReplaceTextValue(ObjectPatch& patch, std::string_view value) {
  if (strings()) return patch.ReplaceString(0, Text(value));  // the value is the first string
  BitReader d = patch.TypedData();
  if (!SkipTextPart(d)) return false;
  const size_t from = d.position();
  d.TV();
  if (d.failed()) return false;
  patch.ReplaceData(from, d.position(), Text(value));
  return true;
}

bool Encoder::ReplaceMTextValue(ObjectPatch& patch, std::string_view value) {
  if (strings()) return patch.ReplaceString(0, Text(value));
  BitReader d = patch.TypedData();
  d.BD3();
  d.BD3();
  d.BD3();
  d.BD();
  d.BD();
  d.BS();
  d.BS();
  d.BD();
  d.BD();
  const size_t from = d.position();
  d.TV();
  if (d.failed()) return false;
  patch.ReplaceData(from, d.position(), Text(value));
  return true;
}

bool Encoder::ReplaceLayerState(ObjectPatch& patch, const Layer& layer) {
  BitReader d = patch.TypedData();
  if (strings()) {
    d.BS();  // 2007 on, the table entry's own part is one number
  } else {
    d.TV();
    d.B();
    d.BS();
    d.B();
  }
  const size_t from = d.position();
  const bool off = layer.color < 0;
  const auto index = static_cast<int16_t>(std::abs(layer.color == 0 ? 7 : layer.color));
  BitWriter w;
  if (r2000()) {
    const uint16_t flags = d.BS();
    w.BS(static_cast<uint16_t>((flags & ~0x0Fu) | (layer.frozen() ? 1 : 0) | (off ? 2 : 0) |
                               ((layer.flags & 2) ? 4 : 0) | (layer.locked() ? 8 : 0)));
  } else {
    d.B();
    const bool on = d.B();
    d.B();
    d.B();
    w.B(layer.frozen());
    w.B(on);
    w.B((layer.flags & 2) != 0);
    w.B(layer.locked());
  }
  // 2004 keeps the colour in its true-colour value; the flags say "off".
  const size_t flagsEnd = d.position();
  d.BS();
  if (d.failed()) return false;
  if (version_ >= Version::kR2004) {
    patch.ReplaceData(from, flagsEnd, w);
    return true;
  }
  w.BS(static_cast<uint16_t>(off ? -index : index));
  patch.ReplaceData(from, d.position(), w);
  return true;
}

bool Encoder::ReplaceImagePath(ObjectPatch& patch, std::string_view path) {
  if (strings()) return patch.ReplaceString(0, Text(path));
  BitReader d = patch.TypedData();
  d.BL();
  d.RD2();
  const size_t from = d.position();
  d.TV();
  if (d.failed()) return false;
  patch.ReplaceData(from, d.position(), Text(path));
  return true;
}

bool Encoder::ReplaceXrefPath(ObjectPatch& patch, std::string_view path) {
  if (strings()) return patch.ReplaceString(1, Text(path));  // after the block's name
  BitReader d = patch.TypedData();
  d.TV();
  d.B();
  d.BS();
  for (int i = 0; i < 5; ++i) d.B();
  if (r2000()) d.B();
  d.BD3();
  const size_t from = d.position();
  d.TV();
  if (d.failed()) return false;
  patch.ReplaceData(from, d.position(), Text(path));
  return true;
}

bool Encoder::ReplaceDictionary(ObjectPatch& patch, const Dictionary& dict) {
  if (strings()) return false;  // entry names in the string stream: not rebuilt yet
  BitReader d = patch.TypedData();
  const size_t countAt = d.position();
  const uint32_t count = d.BL();
  const size_t countEnd = d.position();
  if (version_ == Version::kR14) d.RC();
  if (r2000()) {
    d.BS();
    d.RC();
  }
  const size_t namesAt = d.position();
  for (uint32_t i = 0; i < count && !d.failed(); ++i) d.TV();
  if (d.failed()) return false;
  const size_t namesEnd = d.position();
  BitReader h = patch.TypedHandles();
  std::unordered_map<uint64_t, HandleRef> codes;
  for (uint32_t i = 0; i < count; ++i) {
    const HandleRef r = h.H();
    codes.emplace(r.Resolve(patch.handle()), r);
  }
  if (h.failed()) return false;
  BitWriter countBits, names, items;
  uint32_t kept = 0;
  for (const Dictionary::Entry& e : dict.entries) {
    if (erased_.count(e.handle) != 0) continue;
    ++kept;
    names.Append(Text(e.name));
    auto code = codes.find(e.handle);
    if (code != codes.end()) {
      items.H(code->second);
    } else {
      items.H(e.hard_owner ? 3 : 2, e.handle);
    }
  }
  countBits.BL(kept);
  patch.ReplaceData(countAt, countEnd, countBits);
  patch.ReplaceData(namesAt, namesEnd, names);
  items.AppendBits(h.data(), h.position(), h.sizeBytes() * 8 - h.position());
  patch.ReplaceTypedHandles(items);
  return true;
}

void Encoder::CleanGroupsAndSortTables() {
  if (erased_.empty()) return;
  for (const auto& [handle, item] : items_) {
    if (item.object->erased) continue;
    if (item.object->type_name == "GROUP") CleanGroup(handle);
    if (item.object->type_name == "SORTENTSTABLE") CleanSortTable(handle);
  }
}

// GROUP: description, unnamed and selectable flags, then the count of its
// entities, which are listed in the handle stream.
void Encoder::CleanGroup(uint64_t handle) {
  ObjectPatch* patch = Patch(handle);
  if (patch == nullptr) return;
  BitReader d = patch->TypedData();
  if (!strings()) d.TV();
  d.BS();
  d.BS();
  const size_t countAt = d.position();
  const uint32_t count = d.BL();
  const size_t countEnd = d.position();
  BitReader h = patch->TypedHandles();
  if (d.failed() || !h.CanRead(count, 8)) return;
  BitWriter kept;
  uint32_t keptCount = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const HandleRef ref = h.H();
    if (erased_.count(ref.Resolve(handle)) != 0) continue;
    kept.H(ref);
    ++keptCount;
  }
  if (h.failed() || keptCount == count) return;
  BitWriter countBits;
  countBits.BL(keptCount);
  patch->ReplaceData(countAt, countEnd, countBits);
  kept.AppendBits(h.data(), h.position(), h.sizeBytes() * 8 - h.position());
  patch->ReplaceTypedHandles(kept);
}

// SORTENTSTABLE: the count and the sort handles in the data stream; the
// block and the entities in the handle stream, pair by pair.
void Encoder::CleanSortTable(uint64_t handle) {
  ObjectPatch* patch = Patch(handle);
  if (patch == nullptr) return;
  BitReader d = patch->TypedData();
  const size_t from = d.position();
  const uint32_t count = d.BL();
  BitReader h = patch->TypedHandles();
  if (d.failed() || !d.CanRead(count, 8) || !h.CanRead(count, 8)) return;
  std::vector<HandleRef> sorts(count);
  for (HandleRef& r : sorts) r = d.H();
  const size_t to = d.position();
  const HandleRef block = h.H();
  BitWriter data, handles;
  handles.H(block);
  uint32_t kept = 0;
  BitWriter keptSorts;
  for (uint32_t i = 0; i < count; ++i) {
    const HandleRef entity = h.H();
    if (erased_.count(entity.Resolve(handle)) != 0) continue;
    keptSorts.H(sorts[i]);
    handles.H(entity);
    ++kept;
  }
  if (d.failed() || h.failed() || kept == count) return;
  data.BL(kept);
  data.Append(keptSorts);
  patch->ReplaceData(from, to, data);
  handles.AppendBits(h.data(), h.position(), h.sizeBytes() * 8 - h.position());
  patch->ReplaceTypedHandles(handles);
}

bool Encoder::EncodeEdit(const Item& item, ObjectPatch& patch) {
  const Object& o = *item.object;
  std::vector<uint64_t> reactors;
  for (uint64_t r : patch.reactors()) {
    if (erased_.count(r) == 0) reactors.push_back(r);
  }
  const bool reactorsCleaned = reactors.size() != patch.reactors().size();
  patch.SetReactors(std::move(reactors));
  switch (o.kind()) {
    case ObjectKind::kText:
    case ObjectKind::kAttrib:
    case ObjectKind::kAttDef:
      return ReplaceTextValue(patch, static_cast<const TextEntity&>(o).value);
    case ObjectKind::kMText: return ReplaceMTextValue(patch, static_cast<const MText&>(o).value);
    case ObjectKind::kLayer: return ReplaceLayerState(patch, static_cast<const Layer&>(o));
    case ObjectKind::kImageDef: return ReplaceImagePath(patch, static_cast<const ImageDef&>(o).path);
    case ObjectKind::kDictionary: return ReplaceDictionary(patch, static_cast<const Dictionary&>(o));
    case ObjectKind::kBlock: {
      // The path of an external reference lives in its block record.
      const auto& block = static_cast<const Block&>(o);
      if (block.record == nullptr) return false;
      ObjectPatch* record = Patch(block.record->handle);
      return record != nullptr && ReplaceXrefPath(*record, block.xref_path);
    }
    case ObjectKind::kInsert: {
      // Deleted attributes: the chain's ends (or, from 2004, the list) were
      // changed above.
      auto ends = ends_.find(o.handle);
      return reactorsCleaned || patch.changed() || (ends != ends_.end() && ends->second.changed);
    }
    default:
      // A group or draw-order table changes only when entities it lists are
      // deleted, which CleanGroupsAndSortTables has carried; only the
      // reactors are known to change for other types.
      if (o.type_name == "GROUP" || o.type_name == "SORTENTSTABLE") return true;
      return reactorsCleaned;
  }
}

bool Encoder::Run(std::vector<EncodedObject>& out, EncodeReport& report, std::string& error) {
  for (const auto& object : doc_.all_objects()) {
    const DwgSource* source = DwgSourceOf(*object);
    if (source == nullptr || source->bits.empty()) continue;
    items_[object->handle] = {object, source};
    if (object->erased) erased_.insert(object->handle);
  }
  RelinkAroundErased();
  CleanGroupsAndSortTables();
  std::map<std::string, size_t> unchanged;
  for (const auto& [handle, item] : items_) {
    if (item.object->erased || !Edited(doc_, item)) continue;
    ObjectPatch* patch = Patch(handle);
    if (patch == nullptr) {
      error = "the stored form of object " + FormatHandle(handle) + " (" + std::string(item.object->type_name) +
              ") cannot be taken apart";
      return false;
    }
    if (!EncodeEdit(item, *patch)) ++unchanged[std::string(item.object->type_name)];
  }
  out.clear();
  out.reserve(items_.size());
  for (const auto& [handle, item] : items_) {
    if (item.object->erased) continue;
    EncodedObject e;
    e.handle = handle;
    auto patch = patches_.find(handle);
    if (patch != patches_.end() && patch->second.changed()) {
      e.owned = patch->second.Rebuild();
      ++report.rebuilt;
    } else {
      e.bytes = item.source->bits;
      ++report.copied;
    }
    out.push_back(std::move(e));
  }
  std::sort(out.begin(), out.end(), [](const EncodedObject& a, const EncodedObject& b) { return a.handle < b.handle; });
  for (const auto& [name, count] : unchanged) report.unchanged.push_back(std::to_string(count) + " " + name);
  return true;
}

}  // namespace

bool EditedSinceRead(const Document& doc, const Object& object, const DwgSource& source) {
  const GroupSpan now = doc.Groups(object);  // first: building the forms sets groups_as_read
  const GroupSpan read = source.groups_as_read;
  return now.data() != read.data() || now.size() != read.size();
}

bool EncodeObjectsSameVersion(const Document& doc, Version version, std::vector<EncodedObject>& out,
                              EncodeReport& report, std::string& error) {
  return Encoder(doc, version).Run(out, report, error);
}

}  // namespace vantrove::engine::dwg
