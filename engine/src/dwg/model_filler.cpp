// Fills the drawing model from the decoded DWG records: tables, blocks with
// their entities, layouts, dictionaries, images, and the structure a DXF
// file of the same drawing would have (which entities are in the ENTITIES
// section, which ATTRIBs follow which INSERT).

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <unordered_map>
#include <unordered_set>

#include "dwg/codepage.hpp"
#include "dwg/decoder.hpp"
#include "dwg/dxf_form.hpp"
#include "dwg/source_sections.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace vantrove::engine {

namespace {

using dwg::ObjectRecord;

// A model object that also carries its DWG source form.
template <class T>
class Sourced final : public T, public DwgSource {
 public:
  using T::T;
};

double Degrees(double radians) { return radians * 180.0 / std::numbers::pi; }

Point3 ToPoint(const dwg::Point3& p) { return Point3{p.x, p.y, p.z}; }

// DXF record name of a DWG object type.
std::string_view DxfTypeName(const ObjectRecord& rec) {
  // Objects of classes the reader cannot decode travel as proxies.
  if (std::holds_alternative<dwg::ProxyData>(rec.payload)) return rec.isEntity ? "ACAD_PROXY_ENTITY" : "ACAD_PROXY_OBJECT";
  std::string_view n = rec.dxfName;
  if (n.starts_with("VERTEX")) return "VERTEX";
  if (n.starts_with("POLYLINE")) return "POLYLINE";
  if (n.starts_with("DIMENSION")) return "DIMENSION";
  if (n == "MINSERT") return "INSERT";  // DXF tells the two apart by rows and columns
  if (n == "BLOCK_HEADER") return "BLOCK_RECORD";
  if (n.ends_with("_CONTROL")) return "TABLE";
  if (n == "VX_TABLE_RECORD") return "VX";
  if (n.empty()) return rec.isEntity ? "ACAD_PROXY_ENTITY" : "ACAD_PROXY_OBJECT";
  return n;
}

// Table name of a control object type, in the order DXF writes tables.
struct TableKind {
  uint16_t controlType;
  const char* name;
};
constexpr TableKind kTables[] = {{0x40, "VPORT"}, {0x38, "LTYPE"},  {0x32, "LAYER"},    {0x34, "STYLE"},
                                 {0x3C, "VIEW"},  {0x3E, "UCS"},    {0x42, "APPID"},    {0x44, "DIMSTYLE"},
                                 {0x30, "BLOCK_RECORD"}};

// Line weight index of a DWG layer -> DXF value (hundredths of mm).
int32_t LineWeight(int16_t index) {
  static const int32_t kWeights[] = {0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                     53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
  if (index >= 0 && index < 24) return kWeights[index];
  if (index == 29) return -1;
  if (index == 30) return -2;
  return -3;
}

class Filler {
 public:
  Filler(const dwg::DecodedDrawing& d, Document& doc) : d_(d), doc_(doc) {}
  void Run();
  // What the DXF forms are built from, handed over after Run.
  std::unordered_map<uint64_t, Object*> TakeMade() { return std::move(made_); }
  std::unordered_map<uint64_t, std::string_view> TakeNames() { return std::move(names_); }

 private:
  template <class T, class... Args>
  T* Make(const ObjectRecord& rec, Args... args);
  Object* Create(const ObjectRecord& rec);
  void FillFields(const ObjectRecord& rec, Object* object);
  void BuildTables();
  void BuildBlocks();
  std::vector<uint64_t> BlockEntityHandles(const dwg::BlockHeaderData& bh);
  void PlaceEntity(const ObjectRecord& rec, Block* block, bool entitiesSection, Handle recordHandle,
                   std::unordered_set<uint64_t>& placed);
  std::string_view Name(uint64_t handle) const;
  Object* Made(uint64_t handle) const {
    auto it = made_.find(handle);
    return it == made_.end() ? nullptr : it->second;
  }

  const dwg::DecodedDrawing& d_;
  Document& doc_;
  std::unordered_map<uint64_t, Object*> made_;
  std::unordered_map<uint64_t, std::string_view> names_;            // table entry and block names
  std::unordered_map<uint64_t, std::vector<uint64_t>> children_;    // entity -> owned sub-entities
  uint64_t modelSpace_ = 0, paperSpace_ = 0;                         // block header handles
};

template <class T, class... Args>
T* Filler::Make(const ObjectRecord& rec, Args... args) {
  auto* object = doc_.New<Sourced<T>>(args...);
  doc_.SetPendingForm(*object, 0, 0);  // built on demand (DxfForms below)
  object->bits = doc_.StoreText(std::string_view(reinterpret_cast<const char*>(rec.raw.data()), rec.raw.size()));
  object->type = rec.type;
  object->decoded = rec.dataOk;
  object->type_name = doc_.StoreText(DxfTypeName(rec));
  object->handle = rec.handle;
  object->owner = rec.owner;
  return object;
}

Object* Filler::Create(const ObjectRecord& rec) {
  using dwg::ObjectType;
  if (std::holds_alternative<dwg::LayerData>(rec.payload)) return Make<Layer>(rec);
  if (std::holds_alternative<dwg::BlockHeaderData>(rec.payload)) return Make<BlockRecord>(rec);
  if (std::holds_alternative<dwg::LayoutData>(rec.payload)) return Make<Layout>(rec);
  if (std::holds_alternative<dwg::DictionaryData>(rec.payload)) return Make<Dictionary>(rec);
  if (std::holds_alternative<dwg::ImageDefData>(rec.payload)) return Make<ImageDef>(rec);
  if (!rec.isEntity) return Make<Object>(rec, ObjectKind::kOther);
  switch (rec.type) {
    case dwg::kTypeText:
      if (rec.dataOk) return Make<Text>(rec);
      break;
    case dwg::kTypeAttrib: return Make<Attrib>(rec);
    case dwg::kTypeAttdef: return Make<AttDef>(rec);
    case dwg::kTypeBlock: return Make<Block>(rec);
    case dwg::kTypeInsert:
    case dwg::kTypeMinsert:
      if (rec.dataOk) return Make<Insert>(rec);
      break;
    case dwg::kTypeMText:
      if (rec.dataOk) return Make<MText>(rec);
      break;
    case dwg::kTypeEndblk: return Make<Entity>(rec, ObjectKind::kEndBlk);
    case dwg::kTypeSeqend: return Make<Entity>(rec, ObjectKind::kSeqEnd);
    default:
      break;
  }
  if (std::holds_alternative<dwg::ImageData>(rec.payload)) return Make<Image>(rec);
  return Make<Entity>(rec, ObjectKind::kOther);
}

std::string_view Filler::Name(uint64_t handle) const {
  auto it = names_.find(handle);
  return it == names_.end() ? std::string_view() : it->second;
}

void Filler::FillFields(const ObjectRecord& rec, Object* object) {
  if (auto* entity = dynamic_cast<Entity*>(object)) {
    entity->layer = Name(rec.layer);
    entity->paper_space = rec.entityMode == 1;
  }
  if (const auto* t = std::get_if<dwg::TextData>(&rec.payload)) {
    if (auto* te = dynamic_cast<TextEntity*>(object)) {
      te->value = doc_.StoreText(t->value);
      te->point = ToPoint(t->insertion);
      te->height = t->height;
      te->rotation = Degrees(t->rotation);
      te->style = Name(t->style);
    }
    if (auto* a = dynamic_cast<Attrib*>(object)) {
      a->tag = doc_.StoreText(t->tag);
      a->flags = t->flags;
      a->multiline = t->attribType > 1;
      if (a->multiline) a->mtext_value = doc_.StoreText(t->mtextValue);
    }
    if (auto* def = dynamic_cast<AttDef*>(object)) def->prompt = doc_.StoreText(t->prompt);
  } else if (const auto* m = std::get_if<dwg::MTextData>(&rec.payload)) {
    if (auto* mt = dynamic_cast<MText*>(object)) {
      mt->value = doc_.StoreText(m->text);
      mt->point = ToPoint(m->insertion);
      mt->height = m->textHeight;
      mt->width = m->rectWidth;
      mt->style = Name(m->style);
    }
  } else if (const auto* in = std::get_if<dwg::InsertData>(&rec.payload)) {
    if (auto* ins = dynamic_cast<Insert*>(object)) {
      ins->block_name = Name(in->blockHeader);
      ins->point = ToPoint(in->insertion);
      ins->scale = ToPoint(in->scale);
      ins->rotation = Degrees(in->rotation);
      ins->columns = in->columns;
      ins->rows = in->rows;
      ins->column_spacing = in->columnSpacing;
      ins->row_spacing = in->rowSpacing;
      ins->attributes_follow = in->hasAttribs;
    }
  } else if (const auto* img = std::get_if<dwg::ImageData>(&rec.payload)) {
    if (auto* im = dynamic_cast<Image*>(object)) {
      im->point = ToPoint(img->origin);
      im->image_def = img->imageDef;
      im->image_def_reactor = img->imageDefReactor;
      im->width_pixels = img->size.x;
      im->height_pixels = img->size.y;
      im->display_flags = img->displayProperties;
    }
  } else if (const auto* def = std::get_if<dwg::ImageDefData>(&rec.payload)) {
    auto* id = static_cast<ImageDef*>(object);
    id->path = doc_.StoreText(def->filePath);
    id->width_pixels = def->size.x;
    id->height_pixels = def->size.y;
    id->loaded = def->loaded;
  } else if (const auto* l = std::get_if<dwg::LayerData>(&rec.payload)) {
    auto* layer = static_cast<Layer*>(object);
    layer->name = Name(rec.handle);
    layer->color = l->on ? l->color : -l->color;
    layer->flags = (l->frozen ? 1 : 0) | (l->frozenInNew ? 2 : 0) | (l->locked ? 4 : 0) | (l->xrefDependent ? 16 : 0);
    layer->linetype = Name(l->lineType);
    layer->lineweight = d_.container.version >= dwg::Version::kR2000 ? LineWeight(l->lineWeight) : -3;
    layer->plot = l->plot;
  } else if (const auto* lo = std::get_if<dwg::LayoutData>(&rec.payload)) {
    auto* layout = static_cast<Layout*>(object);
    layout->name = doc_.StoreText(lo->name);
    layout->flags = lo->flags;
    layout->tab_order = lo->tabOrder;
    layout->block_record_handle = lo->blockRecord;
  } else if (const auto* dict = std::get_if<dwg::DictionaryData>(&rec.payload)) {
    auto* dictionary = static_cast<Dictionary*>(object);
    for (const auto& [name, handle] : dict->entries) {
      dictionary->entries.push_back({doc_.StoreText(name), handle, (dict->hardOwner & 1) != 0});
    }
  } else if (std::holds_alternative<dwg::BlockHeaderData>(rec.payload)) {
    auto* record = static_cast<BlockRecord*>(object);
    record->name = Name(rec.handle);
    record->layout_handle = std::get<dwg::BlockHeaderData>(rec.payload).layout;
  }
}

std::vector<uint64_t> Filler::BlockEntityHandles(const dwg::BlockHeaderData& bh) {
  if (d_.container.version >= dwg::Version::kR2004) return bh.entities;
  // R13-R2000: a chain from the first to the last entity through each
  // entity's "next" link; entities without links follow in handle order.
  std::vector<uint64_t> out;
  std::unordered_set<uint64_t> seen;
  uint64_t current = bh.firstEntity;
  while (current != 0 && seen.insert(current).second) {
    const ObjectRecord* rec = d_.Find(current);
    if (rec == nullptr || !rec->isEntity) {
      doc_.warnings.push_back("Block " + std::string(bh.name) + " links to a missing entity " + FormatHandle(current));
      break;
    }
    out.push_back(current);
    if (current == bh.lastEntity) break;
    if (!rec->noLinks) {
      current = rec->nextEntity;
      continue;
    }
    current = 0;
    for (size_t i = rec->index + 1; i < d_.objects.size(); ++i) {
      const ObjectRecord& next = d_.objects[i];
      if (next.isEntity && next.entityMode == rec->entityMode && (next.entityMode != 0 || next.owner == rec->owner)) {
        current = next.handle;
        break;
      }
    }
  }
  return out;
}

void Filler::PlaceEntity(const ObjectRecord& rec, Block* block, bool entitiesSection, Handle recordHandle,
                         std::unordered_set<uint64_t>& placed) {
  Object* object = Made(rec.handle);
  auto* entity = dynamic_cast<Entity*>(object);
  if (entity == nullptr || !placed.insert(rec.handle).second) return;
  auto place = [&](Entity* e) {
    if (entitiesSection) {
      e->section = Section::kEntities;
      if (e->owner == kNoHandle) e->owner = recordHandle;
      doc_.entities.push_back(e);
    } else {
      e->section = Section::kBlocks;
      e->block = block;
      if (e->owner == kNoHandle) e->owner = recordHandle;
      block->entities.push_back(e);
    }
  };
  place(entity);
  // Sub-entities follow their owner as they would in a DXF file.
  auto it = children_.find(rec.handle);
  if (it == children_.end()) return;
  auto* insert = dynamic_cast<Insert*>(entity);
  for (uint64_t child : it->second) {
    auto* sub = dynamic_cast<Entity*>(Made(child));
    if (sub == nullptr || !placed.insert(child).second) continue;
    sub->paper_space = entity->paper_space;
    place(sub);
    if (insert != nullptr) {
      if (auto* attrib = dynamic_cast<Attrib*>(sub); attrib != nullptr && sub->kind() == ObjectKind::kAttrib) {
        attrib->insert = insert;
        insert->attribs.push_back(attrib);
      } else if (sub->kind() == ObjectKind::kSeqEnd) {
        insert->seqend = sub;
      }
    }
  }
}

void Filler::BuildTables() {
  for (const TableKind& kind : kTables) {
    const ObjectRecord* control = nullptr;
    for (const ObjectRecord& rec : d_.objects) {
      if (rec.type == kind.controlType) {
        control = &rec;
        break;
      }
    }
    if (control == nullptr) continue;
    Table table;
    table.name = kind.name;
    table.head = Made(control->handle);
    if (table.head != nullptr) table.head->section = Section::kTables;
    std::vector<uint64_t> entries;
    if (const auto* cd = std::get_if<dwg::ControlData>(&control->payload)) {
      if (kind.controlType == dwg::kTypeBlockControl) {
        if (cd->modelSpace != 0) entries.push_back(cd->modelSpace);
        if (cd->paperSpace != 0) entries.push_back(cd->paperSpace);
      }
      entries.insert(entries.end(), cd->entries.begin(), cd->entries.end());
    }
    std::unordered_set<uint64_t> listed;
    for (uint64_t h : entries) {
      Object* record = Made(h);
      if (record == nullptr || !listed.insert(h).second) continue;
      record->section = Section::kTables;
      table.records.push_back(record);
    }
    // Entries the control object does not list still belong to the table.
    const uint16_t entryType = kind.controlType + 1;
    for (const ObjectRecord& rec : d_.objects) {
      if (rec.type != entryType || listed.count(rec.handle) != 0) continue;
      if (Object* record = Made(rec.handle)) {
        record->section = Section::kTables;
        table.records.push_back(record);
      }
    }
    doc_.tables.push_back(std::move(table));
  }
}

void Filler::BuildBlocks() {
  // Owned sub-entities (ATTRIB, VERTEX, SEQEND) by their owner entity.
  for (const ObjectRecord& rec : d_.objects) {
    if (!rec.isEntity || rec.entityMode != 0 || rec.owner == 0) continue;
    const ObjectRecord* owner = d_.Find(rec.owner);
    if (owner != nullptr && owner->isEntity) children_[rec.owner].push_back(rec.handle);
  }
  for (auto& [owner, list] : children_) {
    // Keep the stored order of an INSERT's attributes (2004+), SEQEND last.
    const ObjectRecord* ownerRec = d_.Find(owner);
    std::unordered_map<uint64_t, size_t> rank;
    if (ownerRec != nullptr) {
      if (const auto* in = std::get_if<dwg::InsertData>(&ownerRec->payload)) {
        for (size_t i = 0; i < in->attribs.size(); ++i) rank.emplace(in->attribs[i], i);
      }
    }
    auto key = [&](uint64_t h) {
      const ObjectRecord* r = d_.Find(h);
      bool last = r != nullptr && r->type == dwg::kTypeSeqend;
      auto it = rank.find(h);
      return std::make_tuple(last, it == rank.end() ? size_t{0} : it->second, h);
    };
    std::stable_sort(list.begin(), list.end(), [&](uint64_t a, uint64_t b) { return key(a) < key(b); });
  }

  std::vector<uint64_t> order;
  if (modelSpace_ != 0) order.push_back(modelSpace_);
  if (paperSpace_ != 0) order.push_back(paperSpace_);
  for (const Table& table : doc_.tables) {
    if (table.name != "BLOCK_RECORD") continue;
    for (const Object* record : table.records) order.push_back(record->handle);
  }
  std::unordered_set<uint64_t> done;
  std::unordered_set<uint64_t> placed;
  for (uint64_t headerHandle : order) {
    if (!done.insert(headerHandle).second) continue;
    const ObjectRecord* rec = d_.Find(headerHandle);
    if (rec == nullptr) continue;
    const auto* bh = std::get_if<dwg::BlockHeaderData>(&rec->payload);
    if (bh == nullptr) continue;
    auto* block = dynamic_cast<Block*>(Made(bh->blockEntity));
    if (block == nullptr) {
      doc_.warnings.push_back("Block record " + FormatHandle(headerHandle) + " has no BLOCK entity");
      continue;
    }
    block->name = Name(headerHandle);
    block->flags = (bh->anonymous ? 1 : 0) | (bh->hasAttribs ? 2 : 0) | (bh->isXref ? 4 : 0) |
                   (bh->isOverlay ? 8 : 0) | (bh->xrefDependent ? 16 : 0) |
                   ((bh->isXref || bh->isOverlay) && bh->loaded ? 32 : 0);
    block->base = ToPoint(bh->basePoint);
    block->xref_path = doc_.StoreText(bh->xrefPath);
    block->description = doc_.StoreText(bh->description);
    block->section = Section::kBlocks;
    block->owner = headerHandle;
    doc_.blocks.push_back(block);
    placed.insert(bh->blockEntity);
    const bool entitiesSection = headerHandle == modelSpace_ || headerHandle == paperSpace_;
    for (uint64_t h : BlockEntityHandles(*bh)) {
      const ObjectRecord* e = d_.Find(h);
      if (e == nullptr || e->type == dwg::kTypeBlock || e->type == dwg::kTypeEndblk) continue;
      PlaceEntity(*e, block, entitiesSection, headerHandle, placed);
    }
    if (Object* end = Made(bh->endblkEntity)) {
      end->section = Section::kBlocks;
      if (auto* e = dynamic_cast<Entity*>(end)) e->block = block;
      block->end = end;
      placed.insert(bh->endblkEntity);
    }
  }
  size_t orphans = 0;
  for (const ObjectRecord& rec : d_.objects) {
    if (rec.isEntity && placed.count(rec.handle) == 0) ++orphans;
  }
  if (orphans > 0) doc_.warnings.push_back(std::to_string(orphans) + " entities belong to no block");
}

void Filler::Run() {
  const dwg::Container& c = d_.container;
  doc_.format = DrawingFormat::kDwg;
  doc_.version = c.versionId;
  doc_.codepage = std::string(dwg::CodePageName(c.codePage));
  for (const std::string& w : d_.warnings) doc_.warnings.push_back(w);

  // The header variables that describe the file itself.
  auto header = [&](std::string_view name, int32_t code, std::string_view value) {
    Group g(code, doc_.StoreText(value));
    doc_.header.push_back({name, doc_.StoreGroups(GroupSpan(&g, 1))});
  };
  header("$ACADVER", 1, c.versionId);
  if (!doc_.codepage.empty()) header("$DWGCODEPAGE", 3, doc_.codepage);

  // Classes, with the groups a DXF file would give them.
  for (const dwg::ClassInfo& ci : d_.classes) {
    auto* object = doc_.New<Object>(ObjectKind::kOther);
    object->type_name = "CLASS";
    object->section = Section::kClasses;
    const std::string proxy = std::to_string(ci.proxyFlags);
    Group groups[] = {{1, doc_.StoreText(ci.dxfName)},          {2, doc_.StoreText(ci.cppName)},
                      {3, doc_.StoreText(ci.appName)},          {90, doc_.StoreText(proxy)},
                      {280, ci.wasZombie ? "1" : "0"},          {281, ci.isEntity ? "1" : "0"}};
    doc_.SetGroups(*object, GroupSpan(groups, std::size(groups)));
    doc_.classes.push_back(object);
  }

  // Names of table entries; blocks take the name of their BLOCK entity,
  // which holds the full name of anonymous blocks ("*D3" where the record
  // says "*D").
  for (const ObjectRecord& rec : d_.objects) {
    if (const auto* l = std::get_if<dwg::LayerData>(&rec.payload)) names_[rec.handle] = doc_.StoreText(l->name);
    if (const auto* t = std::get_if<dwg::TableEntryData>(&rec.payload)) names_[rec.handle] = doc_.StoreText(t->name);
    if (const auto* b = std::get_if<dwg::BlockHeaderData>(&rec.payload)) {
      std::string_view name = b->name;
      if (const ObjectRecord* be = d_.Find(b->blockEntity)) {
        if (const auto* bd = std::get_if<dwg::BlockData>(&be->payload); bd != nullptr && !bd->name.empty())
          name = bd->name;
      }
      names_[rec.handle] = doc_.StoreText(name);
    }
    if (const auto* cd = std::get_if<dwg::ControlData>(&rec.payload); cd != nullptr && rec.type == dwg::kTypeBlockControl) {
      modelSpace_ = cd->modelSpace;
      paperSpace_ = cd->paperSpace;
    }
  }

  for (const ObjectRecord& rec : d_.objects) made_[rec.handle] = Create(rec);
  for (const ObjectRecord& rec : d_.objects) FillFields(rec, made_[rec.handle]);

  BuildTables();
  BuildBlocks();

  for (const ObjectRecord& rec : d_.objects) {
    Object* object = made_[rec.handle];
    if (!rec.isEntity && object->section == Section::kNone) {
      object->section = Section::kObjects;
      doc_.objects_section.push_back(object);
    }
  }
  // The root dictionary (owned by nothing) opens the OBJECTS section, as
  // readers of DXF files expect.
  auto root = std::find_if(doc_.objects_section.begin(), doc_.objects_section.end(), [](const Object* o) {
    return o->kind() == ObjectKind::kDictionary && o->owner == kNoHandle;
  });
  if (root != doc_.objects_section.end()) std::rotate(doc_.objects_section.begin(), root, root + 1);
  static constexpr std::string_view kSections[] = {"HEADER", "CLASSES", "TABLES", "BLOCKS", "ENTITIES", "OBJECTS"};
  doc_.section_order.assign(std::begin(kSections), std::end(kSections));
  doc_.Finish();
}

// The DXF forms of a drawing read from DWG, built from the decoded records
// the first time any object's groups are asked for, or before an edit
// changes a field they are made from: opening, describing and extracting
// never need them. The records, the objects made for them and the names
// stay until then.
class DxfForms final : public Document::SourceDecoder {
 public:
  DxfForms(dwg::DecodedDrawing decoded, std::unordered_map<uint64_t, Object*> made,
           std::unordered_map<uint64_t, std::string_view> names)
      : decoded_(std::move(decoded)), made_(std::move(made)), names_(std::move(names)) {
    // What pointed into the file's bytes or the decompressed sections goes:
    // the forms are made from the decoded values alone.
    decoded_.container.header = decoded_.container.classes = {};
    decoded_.container.objectMap = decoded_.container.objects = {};
    for (dwg::ObjectRecord& rec : decoded_.objects) rec.raw = {};
    decoded_.container.owned.clear();
    decoded_.container.owned.shrink_to_fit();
  }

  GroupSpan Decode(Document& doc, const Object&, uint32_t, uint32_t) override {
    Settle(doc);
    return {};  // the object has no DXF form if the build gave it none
  }

  void Settle(Document& doc) override {
    if (built_) return;
    built_ = true;
    dwg::BuildDxfForms(decoded_, doc, made_, names_);
    // A writer re-encodes an object whose groups are no longer these.
    for (Object* object : doc.all_objects()) {
      if (auto* source = const_cast<DwgSource*>(DwgSourceOf(*object))) source->groups_as_read = doc.Groups(*object);
    }
    decoded_ = dwg::DecodedDrawing();
    made_.clear();
    names_.clear();
  }

 private:
  dwg::DecodedDrawing decoded_;
  std::unordered_map<uint64_t, Object*> made_;
  std::unordered_map<uint64_t, std::string_view> names_;
  bool built_ = false;
};

Status FromError(const dwg::ReadError& e, const std::string& name) {
  switch (e.code) {
    case dwg::kErrFileOpen: return Status::Error(StatusCode::kCannotReadFile, "The file cannot be read (" + e.message + "): " + name);
    case dwg::kErrNotDwg: return Status::Error(StatusCode::kNotADrawing, "The file is not a DWG drawing (" + e.message + "): " + name);
    case dwg::kErrVersion: return Status::Error(StatusCode::kUnsupportedVersion, "The drawing cannot be read: " + e.message + ": " + name);
    case dwg::kErrPassword: return Status::Error(kStatusPasswordProtected, "The drawing is password-protected and cannot be read: " + name);
    case dwg::kErrTooLarge: return Status::Error(StatusCode::kFileTooLarge, "The drawing is too large to read (" + e.message + "): " + name);
    default: return Status::Error(StatusCode::kDamaged, "The drawing file is damaged (" + e.message + "): " + name);
  }
}

}  // namespace

Status ReadDwgBuffer(const std::vector<uint8_t>& bytes, const std::string& name, Document& document) {
  try {
    dwg::DecodedDrawing decoded;
    dwg::ReadError error;
    if (!dwg::DecodeDrawing(bytes, decoded, error)) return FromError(error, name);
    document.source_path = name;
    Filler filler(decoded, document);
    filler.Run();
    dwg::KeepSourceSections(bytes, decoded, document);
    const bool truncated = decoded.container.truncated;
    const size_t past_end = decoded.objectsPastEnd;
    document.SetSourceDecoder(std::make_unique<DxfForms>(std::move(decoded), filler.TakeMade(), filler.TakeNames()));
    // Data that runs short loses what lay beyond it: the drawing opens, and
    // its status says it is incomplete.
    if (truncated || past_end > 0) {
      std::string lost = past_end > 0 ? std::to_string(past_end) + " objects lie beyond the end of the data"
                                      : std::string("the file is shorter than its header says");
      return Status::Error(StatusCode::kIncomplete, "The drawing is incomplete (" + lost + "): " + name);
    }
    return Status::Ok();
  } catch (const std::bad_alloc&) {
    return Status::Error(StatusCode::kFileTooLarge, "Not enough memory to read the drawing: " + name);
  }
}

Status ReadDwgFile(const std::string& path, Document& document) {
  std::vector<uint8_t> bytes;
  dwg::ReadError error;
  if (!dwg::ReadWholeFile(path, bytes, error)) return FromError(error, path);
  return ReadDwgBuffer(bytes, path, document);
}

const DwgSource* DwgSourceOf(const Object& object) { return dynamic_cast<const DwgSource*>(&object); }

}  // namespace vantrove::engine
