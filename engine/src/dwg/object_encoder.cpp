#include "dwg/object_encoder.hpp"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "dwg/object_patch.hpp"
#include "dxf/group_writer.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace vantrove::engine::dwg {

namespace {

struct Item {
  const Object* object = nullptr;
  const DwgSource* source = nullptr;
};

bool Edited(const Item& item) {
  const GroupSpan now = item.object->groups;
  const GroupSpan read = item.source->groups_as_read;
  return now.data() != read.data() || now.size() != read.size();
}

class Encoder {
 public:
  Encoder(const Document& doc, Version version) : doc_(doc), version_(version) {
    text_.SetCodepage(doc.codepage);
  }
  bool Run(std::vector<EncodedObject>& out, EncodeReport& report, std::string& error);

 private:
  ObjectPatch* Patch(uint64_t handle);
  void RelinkAroundErased();
  void SetBlockEnds(uint64_t header, uint64_t erased, uint64_t replacement, bool first);
  bool EncodeEdit(const Item& item, ObjectPatch& patch);
  BitWriter Text(std::string_view utf8);
  bool r2000() const { return version_ >= Version::kR2000; }

  // Typed edits: each finds its field in the stored data and replaces it.
  bool SkipTextPart(BitReader& d);
  bool ReplaceTextValue(ObjectPatch& patch, std::string_view value);
  bool ReplaceMTextValue(ObjectPatch& patch, std::string_view value);
  bool ReplaceLayerState(ObjectPatch& patch, const Layer& layer);
  bool ReplaceImagePath(ObjectPatch& patch, std::string_view path);
  bool ReplaceXrefPath(ObjectPatch& patch, std::string_view path);
  bool ReplaceDictionary(ObjectPatch& patch, const Dictionary& dict);

  const Document& doc_;
  Version version_;
  dxf::TextEncoder text_;
  std::unordered_map<uint64_t, Item> items_;
  std::unordered_set<uint64_t> erased_;
  std::map<uint64_t, ObjectPatch> patches_;   // objects that change
  std::unordered_set<uint64_t> failed_;       // objects whose stored form did not parse
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
  std::string bytes;
  text_.Encode(utf8, bytes);
  BitWriter w;
  w.TV(bytes, true);
  return w;
}

// The entity links of R13-2000 run through every entity of a block; a
// deleted entity's neighbours are linked to each other instead, and the
// block record's first and last entity move past it.
void Encoder::RelinkAroundErased() {
  auto parsedLinks = [&](uint64_t h, uint64_t& prev, uint64_t& next) {
    ObjectPatch* p = Patch(h);
    if (p == nullptr) return false;
    prev = p->prev();
    next = p->next();
    return true;
  };
  for (uint64_t gone : erased_) {
    const Item& item = items_[gone];
    if (!item.object->is_entity()) continue;
    uint64_t prev = 0, next = 0;
    if (!parsedLinks(gone, prev, next)) continue;
    // Walk past neighbours that are deleted too.
    uint64_t towardPrev = gone, towardNext = gone;
    for (int guard = 0; erased_.count(prev) != 0 && guard < 1 << 20; ++guard) {
      uint64_t p2 = 0, n2 = 0;
      towardPrev = prev;
      if (!parsedLinks(prev, p2, n2)) break;
      prev = p2;
    }
    for (int guard = 0; erased_.count(next) != 0 && guard < 1 << 20; ++guard) {
      uint64_t p2 = 0, n2 = 0;
      towardNext = next;
      if (!parsedLinks(next, p2, n2)) break;
      next = n2;
    }
    // Only neighbours that really link to the deleted run are changed.
    ObjectPatch* p = items_.count(prev) && erased_.count(prev) == 0 ? Patch(prev) : nullptr;
    ObjectPatch* n = items_.count(next) && erased_.count(next) == 0 ? Patch(next) : nullptr;
    const bool prevLinks = p != nullptr && p->isEntity() && p->next() == towardPrev;
    const bool nextLinks = n != nullptr && n->isEntity() && n->prev() == towardNext;
    if (prevLinks) p->SetLinks(p->prev(), nextLinks ? next : 0);
    if (nextLinks) n->SetLinks(prevLinks ? prev : 0, n->next());
    // The block record of the entity's block.
    const auto* entity = static_cast<const Entity*>(item.object);
    if (entity->block != nullptr && entity->block->record != nullptr) {
      const uint64_t header = entity->block->record->handle;
      SetBlockEnds(header, gone, nextLinks ? next : 0, true);
      SetBlockEnds(header, gone, prevLinks ? prev : 0, false);
    }
  }
}

void Encoder::SetBlockEnds(uint64_t header, uint64_t erased, uint64_t replacement, bool first) {
  ObjectPatch* patch = Patch(header);
  if (patch == nullptr || patch->type() != 0x31) return;
  // External references hold no entity chain.
  BitReader data = patch->TypedData();
  data.TV();
  data.B();
  data.BS();
  data.B();
  data.B();
  data.B();
  const bool xref = data.B();
  const bool overlay = data.B();
  if (data.failed() || xref || overlay) return;
  BitReader h = patch->TypedHandles();
  const HandleRef block = h.H();
  HandleRef firstRef = h.H();
  HandleRef lastRef = h.H();
  if (h.failed()) return;
  const uint64_t own = patch->handle();
  uint64_t firstH = firstRef.Resolve(own), lastH = lastRef.Resolve(own);
  if (first && firstH == erased) firstH = replacement;
  if (!first && lastH == erased) lastH = replacement;
  if (firstH == firstRef.Resolve(own) && lastH == lastRef.Resolve(own)) return;
  BitWriter w;
  w.H(block);
  w.H(4, firstH);
  w.H(4, lastH);
  w.AppendBits(h.data(), h.position(), h.sizeBytes() * 8 - h.position());
  patch->ReplaceTypedHandles(w);
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
  BitReader d = patch.TypedData();
  if (!SkipTextPart(d)) return false;
  const size_t from = d.position();
  d.TV();
  if (d.failed()) return false;
  patch.ReplaceData(from, d.position(), Text(value));
  return true;
}

bool Encoder::ReplaceMTextValue(ObjectPatch& patch, std::string_view value) {
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
  d.TV();
  d.B();
  d.BS();
  d.B();
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
  d.BS();
  if (d.failed()) return false;
  w.BS(static_cast<uint16_t>(off ? -index : index));
  patch.ReplaceData(from, d.position(), w);
  return true;
}

bool Encoder::ReplaceImagePath(ObjectPatch& patch, std::string_view path) {
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
    default:
      // Only the reactors are known to change for other types.
      return reactorsCleaned;
  }
}

bool Encoder::Run(std::vector<EncodedObject>& out, EncodeReport& report, std::string& error) {
  for (const auto& object : doc_.all_objects()) {
    const DwgSource* source = DwgSourceOf(*object);
    if (source == nullptr || source->bits.empty()) continue;
    items_[object->handle] = {object.get(), source};
    if (object->erased) erased_.insert(object->handle);
  }
  RelinkAroundErased();
  std::map<std::string, size_t> unchanged;
  for (const auto& [handle, item] : items_) {
    if (item.object->erased || !Edited(item)) continue;
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

bool EncodeObjectsSameVersion(const Document& doc, Version version, std::vector<EncodedObject>& out,
                              EncodeReport& report, std::string& error) {
  return Encoder(doc, version).Run(out, report, error);
}

}  // namespace vantrove::engine::dwg
