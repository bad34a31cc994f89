#include "vantrove/engine/dxf_writer.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <numbers>
#include <unordered_map>
#include <vector>

#include "dxf/group_writer.hpp"
#include "io/replacing_file.hpp"

namespace vantrove::engine {

namespace {

using dxf::GroupWriter;

constexpr double kPi = std::numbers::pi;

// "AC1032" -> 32; the families are R10/R12 (6, 9) and R13 to 2018 (12 ... 32).
int VersionRank(std::string_view acadver) {
  if (acadver.size() != 6 || acadver.substr(0, 4) != "AC10") return 9;
  const int tens = acadver[4] - '0';
  const int ones = acadver[5] - '0';
  if (tens < 0 || tens > 9 || ones < 0 || ones > 9) return 9;
  return tens * 10 + ones;
}

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
  }
  return true;
}

bool HasCode(GroupSpan groups, int32_t code) {
  for (const Group& g : groups) {
    if (g.code == code) return true;
  }
  return false;
}

// The first value of `code` among the record's own groups (outside
// application groups and before extended data).
std::string_view OwnValue(GroupSpan groups, int32_t code, std::string_view fallback = {}) {
  int depth = 0;
  for (const Group& g : groups) {
    if (g.code == 1001) break;
    if (g.code == 102) {
      const std::string_view v = g.value();
      if (!v.empty() && v.front() == '{') ++depth;
      if (!v.empty() && v.front() == '}' && depth > 0) --depth;
      continue;
    }
    if (depth == 0 && g.code == code) return g.value();
  }
  return fallback;
}

double OwnReal(GroupSpan groups, int32_t code, double fallback) {
  const std::string_view v = OwnValue(groups, code);
  if (v.empty()) return fallback;
  const double d = Group(code, v).AsDouble(fallback);
  return std::isfinite(d) ? d : fallback;
}

// Group codes an R12 entity may carry (5, the handle, is written apart).
bool IsR12EntityCode(int32_t code, bool with_xdata) {
  if (code >= 1000) return with_xdata && code <= 1071;
  return (code >= 1 && code <= 4) || (code >= 6 && code <= 47) || (code >= 49 && code <= 59) ||
         (code >= 62 && code <= 79) || (code >= 210 && code <= 239);
}

bool IsR12HeaderCode(int32_t code) { return (code >= 1 && code <= 79) || (code >= 210 && code <= 239); }

// What each R12 table keeps.
bool IsR12TableCode(std::string_view table, int32_t code) {
  static const std::vector<int32_t> kVport = {2,  70, 10, 20, 11, 21, 12, 22, 13, 23, 14, 24, 15, 25, 16, 26,
                                              36, 17, 27, 37, 40, 41, 42, 43, 44, 50, 51, 71, 72, 73, 74, 75,
                                              76, 77, 78};
  static const std::vector<int32_t> kLtype = {2, 70, 3, 72, 73, 40, 49};
  static const std::vector<int32_t> kLayer = {2, 70, 62, 6};
  static const std::vector<int32_t> kStyle = {2, 70, 40, 41, 50, 71, 42, 3, 4};
  static const std::vector<int32_t> kView = {2, 70, 40, 10, 20, 41, 11, 21, 31, 12, 22, 32, 42, 43, 44, 50, 71};
  static const std::vector<int32_t> kUcs = {2, 70, 10, 20, 30, 11, 21, 31, 12, 22, 32};
  static const std::vector<int32_t> kAppid = {2, 70};
  const std::vector<int32_t>* codes = nullptr;
  if (table == "VPORT") codes = &kVport;
  if (table == "LTYPE") codes = &kLtype;
  if (table == "LAYER") codes = &kLayer;
  if (table == "STYLE") codes = &kStyle;
  if (table == "VIEW") codes = &kView;
  if (table == "UCS") codes = &kUcs;
  if (table == "APPID") codes = &kAppid;
  if (table == "DIMSTYLE") {
    return code == 2 || code == 70 || code == 3 || code == 4 || (code >= 40 && code <= 48) ||
           (code >= 140 && code <= 147) || (code >= 71 && code <= 78) || (code >= 170 && code <= 178);
  }
  if (codes == nullptr) return false;
  return std::find(codes->begin(), codes->end(), code) != codes->end();
}

struct TableInfo {
  std::string_view name;
  std::string_view record_type;
  std::string_view subclass;
};

constexpr TableInfo kModernTables[] = {
    {"VPORT", "VPORT", "AcDbViewportTableRecord"},   {"LTYPE", "LTYPE", "AcDbLinetypeTableRecord"},
    {"LAYER", "LAYER", "AcDbLayerTableRecord"},      {"STYLE", "STYLE", "AcDbTextStyleTableRecord"},
    {"VIEW", "VIEW", "AcDbViewTableRecord"},         {"UCS", "UCS", "AcDbUCSTableRecord"},
    {"APPID", "APPID", "AcDbRegAppTableRecord"},     {"DIMSTYLE", "DIMSTYLE", "AcDbDimStyleTableRecord"},
    {"BLOCK_RECORD", "BLOCK_RECORD", "AcDbBlockTableRecord"},
};

// The subclass markers of an R12 entity written as R13 or later, and which
// of them holds each group code.
struct Subclasses {
  std::vector<std::string_view> names;
  int (*part_of)(int32_t code, int32_t flags) = nullptr;
};

int AllInLast(int32_t, int32_t) { return -1; }

Subclasses SubclassesOf(std::string_view type, int32_t flags) {
  Subclasses s;
  s.part_of = AllInLast;
  if (type == "LINE") {
    s.names = {"AcDbLine"};
  } else if (type == "POINT") {
    s.names = {"AcDbPoint"};
  } else if (type == "CIRCLE") {
    s.names = {"AcDbCircle"};
  } else if (type == "ARC") {
    s.names = {"AcDbCircle", "AcDbArc"};
    s.part_of = [](int32_t code, int32_t) { return code == 50 || code == 51 ? 1 : 0; };
  } else if (type == "TRACE" || type == "SOLID") {
    s.names = {"AcDbTrace"};
  } else if (type == "3DFACE") {
    s.names = {"AcDbFace"};
  } else if (type == "SHAPE") {
    s.names = {"AcDbShape"};
  } else if (type == "TEXT") {
    s.names = {"AcDbText", "AcDbText"};
    s.part_of = [](int32_t code, int32_t) { return code == 73 ? 1 : 0; };
  } else if (type == "ATTRIB") {
    s.names = {"AcDbText", "AcDbAttribute"};
    s.part_of = [](int32_t code, int32_t) { return code == 2 || code == 70 || code == 73 || code == 74 ? 1 : 0; };
  } else if (type == "ATTDEF") {
    s.names = {"AcDbText", "AcDbAttributeDefinition"};
    s.part_of = [](int32_t code, int32_t) {
      return code == 3 || code == 2 || code == 70 || code == 73 || code == 74 ? 1 : 0;
    };
  } else if (type == "INSERT") {
    s.names = {"AcDbBlockReference"};
  } else if (type == "POLYLINE") {
    if ((flags & 8) != 0) {
      s.names = {"AcDb3dPolyline"};
    } else if ((flags & 16) != 0) {
      s.names = {"AcDbPolygonMesh"};
    } else if ((flags & 64) != 0) {
      s.names = {"AcDbPolyFaceMesh"};
    } else {
      s.names = {"AcDb2dPolyline"};
    }
  } else if (type == "VERTEX") {
    if ((flags & 128) != 0 && (flags & 64) == 0) {
      s.names = {"AcDbFaceRecord"};
    } else if ((flags & 128) != 0) {
      s.names = {"AcDbVertex", "AcDbPolyFaceMeshVertex"};
    } else if ((flags & 32) != 0) {
      s.names = {"AcDbVertex", "AcDb3dPolylineVertex"};
    } else if ((flags & 64) != 0) {
      s.names = {"AcDbVertex", "AcDbPolygonMeshVertex"};
    } else {
      s.names = {"AcDbVertex", "AcDb2dVertex"};
    }
  } else if (type == "VIEWPORT") {
    s.names = {"AcDbViewport"};
  } else if (type == "DIMENSION") {
    switch (flags & 7) {
      case 0:
        s.names = {"AcDbDimension", "AcDbAlignedDimension", "AcDbRotatedDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return code == 12 || code == 22 || code == 32 || (code >= 13 && code <= 14) || code == 23 || code == 24 ||
                         code == 33 || code == 34 || code == 50 || code == 52
                     ? 1
                     : 0;
        };
        break;
      case 1:
        s.names = {"AcDbDimension", "AcDbAlignedDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return code == 12 || code == 22 || code == 32 || code == 13 || code == 14 || code == 23 || code == 24 ||
                         code == 33 || code == 34 || code == 50
                     ? 1
                     : 0;
        };
        break;
      case 2:
        s.names = {"AcDbDimension", "AcDb2LineAngularDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return (code >= 13 && code <= 16) || (code >= 23 && code <= 26) || (code >= 33 && code <= 36) ? 1 : 0;
        };
        break;
      case 3:
      case 4:
        s.names = {"AcDbDimension", (flags & 7) == 3 ? "AcDbDiametricDimension" : "AcDbRadialDimension"};
        s.part_of = [](int32_t code, int32_t) { return code == 15 || code == 25 || code == 35 || code == 40 ? 1 : 0; };
        break;
      case 5:
        s.names = {"AcDbDimension", "AcDb3PointAngularDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return (code >= 13 && code <= 15) || (code >= 23 && code <= 25) || (code >= 33 && code <= 35) ? 1 : 0;
        };
        break;
      default:
        s.names = {"AcDbDimension", "AcDbOrdinateDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return code == 13 || code == 14 || code == 23 || code == 24 || code == 33 || code == 34 ? 1 : 0;
        };
        break;
    }
  }
  return s;
}

// Codes that stand in the AcDbEntity part of an R13+ entity.
bool IsEntityCommonCode(int32_t code) {
  return code == 8 || code == 6 || code == 62 || code == 67 || code == 48 || code == 60 || code == 370 ||
         code == 420 || code == 430 || code == 440 || code == 390 || code == 284 || code == 347;
}

class Emitter {
 public:
  Emitter(const Document& doc, GroupWriter& out, int source_rank, int target_rank, std::string_view target_version,
          bool binary)
      : doc_(doc),
        out_(out),
        source_rank_(source_rank),
        target_rank_(target_rank),
        target_version_(target_version),
        binary_(binary) {}

  void Run();
  const std::map<std::string, size_t, std::less<>>& dropped() const { return dropped_; }

 private:
  enum class Mode { kPass, kToR12, kFromR12 };

  // --- shared ---
  Handle NewHandle() { return next_handle_++; }
  void Drop(std::string_view what, size_t count = 1) {
    auto it = dropped_.find(what);
    if (it == dropped_.end()) {
      dropped_.emplace(std::string(what), count);
    } else {
      it->second += count;
    }
  }
  // A record read from DWG whose type has no DXF form is left out and
  // counted (DWG-only bookkeeping records are not worth a mention).
  bool Unwritable(const Object* o) {
    if (doc_.format != DrawingFormat::kDwg || !o->groups.empty() || o->synthesized) return false;
    if (o->type_name != "VX" && o->type_name != "TABLE") Drop(o->type_name);
    return true;
  }
  void BeginSection(std::string_view name) {
    out_.Put(0, "SECTION");
    out_.Put(2, name);
  }
  void EndSection() { out_.Put(0, "ENDSEC"); }
  void Raw(std::string_view type, GroupSpan groups) {
    out_.Put(0, type);
    for (const Group& g : groups) out_.Put(g.code, g.value());
  }
  void LayoutObject(const Layout* layout);
  void PlanHandles();
  void Header();
  bool IsLayoutBlock(const Block* block) const;
  std::vector<const Entity*> SpaceEntities(const Block* space) const;

  // --- same family ---
  void PassSections();
  void PassTables();
  void PassBlocks();
  void PassEntity(const Entity* entity);
  void SingleLineAttrib(const Attrib* attrib);

  // --- R12 and R10 targets ---
  void R12Tables();
  void R12Blocks();
  void R12Entities();
  void R12Entity(const Entity* entity, bool paper);
  void R12Filtered(const Entity* entity, bool paper);
  void R12Common(const Entity* entity, bool paper);
  void R12LwPolyline(const Entity* entity, bool paper);
  void R12MText(const MText* mtext, bool paper);
  void R12Dimension(const Entity* entity, bool paper);

  // --- R12 drawings written as R13 and later ---
  void UpTables();
  void UpBlocks();
  void UpEntities();
  void UpObjects();
  void UpEntity(const Entity* entity, Handle owner, bool paper);
  void UpBlockBegin(const Block* block, Handle record, bool paper);
  void UpBlockEnd(const Block* block, Handle record, bool paper);
  std::string_view UpBlockName(const Block* block) const;

  const Document& doc_;
  GroupWriter& out_;
  int source_rank_;
  int target_rank_;
  std::string_view target_version_;
  bool binary_;
  Mode mode_ = Mode::kPass;
  Handle next_handle_ = 1;
  Handle seed_ = 1;
  std::map<std::string, size_t, std::less<>> dropped_;
  // R12 drawings written as R13+: the block record made for each block, and the layouts' handles.
  std::unordered_map<const Block*, Handle> records_;
  Handle block_record_table_ = kNoHandle;
  Handle root_dictionary_ = kNoHandle;
  Handle group_dictionary_ = kNoHandle;
  Handle layout_dictionary_ = kNoHandle;
  std::vector<std::pair<const Layout*, const Block*>> layouts_;
};

void Emitter::Run() {
  const bool source_r12 = source_rank_ <= 9;
  const bool target_r12 = target_rank_ <= 9;
  if (target_r12) {
    mode_ = source_r12 && source_rank_ == target_rank_ ? Mode::kPass : Mode::kToR12;
  } else {
    mode_ = source_r12 ? Mode::kFromR12 : Mode::kPass;
  }
  PlanHandles();
  out_.Begin();
  Header();
  switch (mode_) {
    case Mode::kPass:
      PassSections();
      break;
    case Mode::kToR12:
      R12Tables();
      R12Blocks();
      R12Entities();
      // CLASSES and OBJECTS only support what later versions hold; the
      // entities that needed them are counted where they were left out.
      for (const RawSection& raw : doc_.raw_sections) Drop(std::string(raw.name) + " section");
      break;
    case Mode::kFromR12:
      BeginSection("CLASSES");
      EndSection();
      UpTables();
      UpBlocks();
      UpEntities();
      UpObjects();
      break;
  }
  out_.Put(0, "EOF");
}

void Emitter::PlanHandles() {
  next_handle_ = std::max<Handle>(doc_.next_handle(), 1);
  // New records get handles from here on; the header's $HANDSEED must lie
  // above all of them, and it is written first, so count generously.
  uint64_t budget = 0;
  if (mode_ == Mode::kToR12) {
    auto count = [&](const std::vector<Entity*>& list) {
      for (const Entity* e : list) {
        if (e->type_name == "LWPOLYLINE") budget += e->groups.size() + 2;
        if (e->kind() == ObjectKind::kMText) budget += static_cast<const MText*>(e)->value.size() + 2;
      }
    };
    for (const Block* block : doc_.blocks) count(block->entities);
  } else if (mode_ == Mode::kFromR12) {
    budget = 64 + 2 * doc_.blocks.size();
  }
  seed_ = next_handle_ + budget;
}

void Emitter::Header() {
  BeginSection("HEADER");
  out_.Put(9, "$ACADVER");
  out_.Put(1, target_version_);
  const bool to_r12 = mode_ == Mode::kToR12;
  const bool handles_everywhere = mode_ != Mode::kPass || source_rank_ > 9;
  bool seed_written = false;
  bool handling_written = false;
  for (const HeaderVariable& variable : doc_.header) {
    if (SameName(variable.name, "$ACADVER")) continue;
    if (SameName(variable.name, "$HANDSEED")) {
      if (seed_written) continue;
      out_.Put(9, variable.name);
      out_.PutHandle(5, seed_);
      seed_written = true;
      continue;
    }
    if (to_r12) {
      bool fits = true;
      for (const Group& g : variable.values) fits = fits && IsR12HeaderCode(g.code);
      if (!fits) continue;
      if (SameName(variable.name, "$HANDLING")) {
        out_.Put(9, variable.name);
        out_.Put(70, "1");
        handling_written = true;
        continue;
      }
    }
    out_.Put(9, variable.name);
    for (const Group& g : variable.values) {
      if (to_r12 && (g.code == 2 || g.code == 6 || g.code == 7 || g.code == 8)) {
        out_.PutName(g.code, g.value());
      } else {
        out_.Put(g.code, g.value());
      }
    }
  }
  if (to_r12 && !handling_written) {
    out_.Put(9, "$HANDLING");
    out_.Put(70, "1");
  }
  if (!seed_written && handles_everywhere) {
    out_.Put(9, "$HANDSEED");
    out_.PutHandle(5, seed_);
  }
  EndSection();
}

bool Emitter::IsLayoutBlock(const Block* block) const {
  if (block == doc_.model_space() || block == doc_.paper_space()) return true;
  return block->record != nullptr && block->record->layout != nullptr;
}

std::vector<const Entity*> Emitter::SpaceEntities(const Block* space) const {
  std::vector<const Entity*> list;
  if (space == nullptr) return list;
  list.reserve(space->entities.size());
  for (const Entity* e : space->entities) {
    if (e->kind() != ObjectKind::kBlock && e->kind() != ObjectKind::kEndBlk) list.push_back(e);
  }
  return list;
}

// ---- same family --------------------------------------------------------------------

void Emitter::PassSections() {
  bool classes = false, tables = false, blocks = false, entities = false, objects = false;
  const bool modern = target_rank_ >= 12;
  for (std::string_view name : doc_.section_order) {
    if (name == "HEADER") continue;
    if (name == "CLASSES") {
      if (classes) continue;
      classes = true;
      BeginSection("CLASSES");
      for (const Object* c : doc_.classes) Raw(c->type_name, c->groups);
      EndSection();
    } else if (name == "TABLES") {
      if (tables) continue;
      tables = true;
      PassTables();
    } else if (name == "BLOCKS") {
      if (blocks) continue;
      blocks = true;
      PassBlocks();
    } else if (name == "ENTITIES") {
      if (entities) continue;
      entities = true;
      BeginSection("ENTITIES");
      for (const Entity* e : doc_.entities) PassEntity(e);
      EndSection();
    } else if (name == "OBJECTS") {
      if (objects) continue;
      objects = true;
      BeginSection("OBJECTS");
      for (const Object* o : doc_.objects_section) {
        if (Unwritable(o)) continue;
        if (o->kind() == ObjectKind::kLayout) {
          LayoutObject(static_cast<const Layout*>(o));
        } else {
          Raw(o->type_name, o->groups);
        }
      }
      EndSection();
    } else {
      for (const RawSection& raw : doc_.raw_sections) {
        if (raw.name != name) continue;
        const bool fits = !modern || name != "ACDSDATA" || target_rank_ >= 27;
        if (!fits || (name == "THUMBNAILIMAGE" && target_rank_ < 15)) {
          Drop(std::string(name) + " section");
          continue;
        }
        BeginSection(name);
        for (const Group& g : raw.groups) out_.Put(g.code, g.value());
        EndSection();
      }
    }
  }
  // A drawing whose ENTITIES section was missing still gets one.
  if (!entities) {
    BeginSection("ENTITIES");
    for (const Entity* e : doc_.entities) PassEntity(e);
    EndSection();
  }
}

// A layout whose link to its block record is broken gets the record the
// drawing links it to (through the record's own pointer to the layout).
void Emitter::LayoutObject(const Layout* layout) {
  const Handle wanted = layout->block_record != nullptr ? layout->block_record->handle : kNoHandle;
  if (wanted == kNoHandle || wanted == layout->block_record_handle || doc_.Find(layout->block_record_handle) != nullptr) {
    Raw(layout->type_name, layout->groups);
    return;
  }
  out_.Put(0, layout->type_name);
  bool in_layout_part = false;
  for (const Group& g : layout->groups) {
    if (g.code == 100) in_layout_part = g.value() == "AcDbLayout";
    if (in_layout_part && g.code == 330) {
      out_.PutHandle(330, wanted);
      continue;
    }
    out_.Put(g.code, g.value());
  }
}

void Emitter::PassTables() {
  BeginSection("TABLES");
  for (const Table& table : doc_.tables) {
    if (table.head != nullptr) {
      Raw(table.head->type_name, table.head->groups);
    } else {
      out_.Put(0, "TABLE");
      out_.Put(2, table.name);
      out_.PutInt(70, static_cast<int64_t>(table.records.size()));
    }
    for (const Object* record : table.records) {
      if (!Unwritable(record)) Raw(record->type_name, record->groups);
    }
    if (table.end != nullptr) {
      Raw("ENDTAB", table.end->groups);
    } else {
      out_.Put(0, "ENDTAB");
    }
  }
  EndSection();
}

void Emitter::PassBlocks() {
  BeginSection("BLOCKS");
  for (const Block* block : doc_.blocks) {
    if (block->synthesized) continue;
    Raw(block->type_name, block->groups);
    for (const Entity* e : block->entities) {
      if (e->section == Section::kBlocks) PassEntity(e);
    }
    if (block->end != nullptr) {
      Raw(block->end->type_name, block->end->groups);
    } else {
      out_.Put(0, "ENDBLK");
      if (target_rank_ >= 12) {
        out_.PutHandle(5, NewHandle());
        if (block->record != nullptr) out_.PutHandle(330, block->record->handle);
        out_.Put(100, "AcDbEntity");
      }
      out_.Put(8, block->layer.empty() ? std::string_view("0") : block->layer);
      if (target_rank_ >= 12) out_.Put(100, "AcDbBlockEnd");
    }
  }
  EndSection();
}

void Emitter::PassEntity(const Entity* entity) {
  if (Unwritable(entity)) return;
  if (target_rank_ < 32 && (entity->kind() == ObjectKind::kAttrib || entity->kind() == ObjectKind::kAttDef) &&
      static_cast<const Attrib*>(entity)->multiline) {
    SingleLineAttrib(static_cast<const Attrib*>(entity));
    return;
  }
  Raw(entity->type_name, entity->groups);
}

// Versions before 2018 have no multi-line attributes: the attribute keeps
// its readable text on one line and loses the embedded MTEXT.
void Emitter::SingleLineAttrib(const Attrib* attrib) {
  std::string flat = MTextPlainText(attrib->mtext_value);
  for (char& c : flat) {
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
  }
  out_.Put(0, attrib->type_name);
  bool in_attribute_part = false;
  bool value_done = false;
  bool skipping = false;
  int depth = 0;
  for (const Group& g : attrib->groups) {
    if (skipping) {
      if (g.code != 1001) continue;
      skipping = false;
    }
    if (g.code == 102) {
      const std::string_view v = g.value();
      if (!v.empty() && v.front() == '{') ++depth;
      if (!v.empty() && v.front() == '}' && depth > 0) --depth;
      out_.Put(g.code, v);
      continue;
    }
    if (depth == 0) {
      if (g.code == 100) in_attribute_part = g.value() == "AcDbAttribute" || g.value() == "AcDbAttributeDefinition";
      if (g.code == 101) {
        skipping = true;
        continue;
      }
      if (in_attribute_part && (g.code == 71 || g.code == 72 || g.code == 11 || g.code == 21 || g.code == 31)) continue;
      if (g.code == 1 && !value_done) {
        value_done = true;
        out_.Put(1, g.value().empty() ? std::string_view(flat) : g.value());
        continue;
      }
    }
    out_.Put(g.code, g.value());
  }
}

// ---- R12 and R10 targets --------------------------------------------------------------

void Emitter::R12Tables() {
  const bool r10 = target_rank_ < 9;
  BeginSection("TABLES");
  static constexpr std::string_view kOrder[] = {"VPORT", "LTYPE", "LAYER", "STYLE", "VIEW", "UCS", "APPID", "DIMSTYLE"};
  for (std::string_view name : kOrder) {
    if (r10 && (name == "APPID" || name == "DIMSTYLE")) continue;
    const Table* table = nullptr;
    for (const Table& t : doc_.tables) {
      if (SameName(t.name, name)) table = &t;
    }
    std::vector<const Object*> records;
    if (table != nullptr) {
      for (const Object* record : table->records) {
        if (Unwritable(record)) continue;
        const std::string_view record_name = OwnValue(record->groups, 2);
        if (name == "LTYPE" && (SameName(record_name, "BYBLOCK") || SameName(record_name, "BYLAYER"))) continue;
        records.push_back(record);
      }
    }
    const Layer* synthesized_layer = nullptr;
    if (name == "LAYER") {
      for (const Layer* layer : doc_.layers) {
        if (layer->synthesized) synthesized_layer = layer;
      }
    }
    out_.Put(0, "TABLE");
    out_.Put(2, name);
    out_.PutInt(70, static_cast<int64_t>(records.size() + (synthesized_layer != nullptr ? 1 : 0)));
    if (synthesized_layer != nullptr) {
      out_.Put(0, "LAYER");
      out_.PutHandle(5, synthesized_layer->handle);
      out_.PutName(2, synthesized_layer->name);
      out_.PutInt(70, synthesized_layer->flags & 0x77);
      out_.PutInt(62, synthesized_layer->color);
      out_.Put(6, "CONTINUOUS");
    }
    for (const Object* record : records) {
      out_.Put(0, name);
      out_.PutHandle(name == "DIMSTYLE" ? 105 : 5, record->handle);
      int depth = 0;
      for (const Group& g : record->groups) {
        if (g.code == 1001) {
          if (r10) break;
          // Extended data stays.
        }
        if (g.code == 102) {
          const std::string_view v = g.value();
          if (!v.empty() && v.front() == '{') ++depth;
          if (!v.empty() && v.front() == '}' && depth > 0) --depth;
          continue;
        }
        if (depth > 0) continue;
        if (g.code >= 1000) {
          if (!r10 && g.code <= 1071) out_.Put(g.code, g.value());
          continue;
        }
        if (!IsR12TableCode(name, g.code)) continue;
        if (name == "LAYER" && g.code == 70) {
          out_.PutInt(70, g.AsInt() & 0x77);
          continue;
        }
        if (g.code == 2 || (name == "LAYER" && g.code == 6)) {
          out_.PutName(g.code, g.value());
          continue;
        }
        out_.Put(g.code, g.value());
      }
    }
    out_.Put(0, "ENDTAB");
  }
  EndSection();
}

void Emitter::R12Blocks() {
  BeginSection("BLOCKS");
  for (int paper = 0; paper < 2; ++paper) {
    const std::string_view name = paper != 0 ? "$PAPER_SPACE" : "$MODEL_SPACE";
    out_.Put(0, "BLOCK");
    if (paper != 0) out_.Put(67, "1");
    out_.Put(8, "0");
    out_.Put(2, name);
    out_.Put(70, "0");
    out_.Put(10, "0.0");
    out_.Put(20, "0.0");
    out_.Put(30, "0.0");
    out_.Put(3, name);
    out_.Put(1, "");
    out_.Put(0, "ENDBLK");
    if (paper != 0) out_.Put(67, "1");
    out_.Put(8, "0");
  }
  for (const Block* block : doc_.blocks) {
    if (IsLayoutBlock(block)) {
      if (block != doc_.model_space() && block != doc_.paper_space() && !block->entities.empty()) {
        Drop("entity in another paper space layout", block->entities.size());
      }
      continue;
    }
    if (block->synthesized) continue;
    const std::string_view layer = block->layer.empty() ? std::string_view("0") : block->layer;
    out_.Put(0, "BLOCK");
    out_.PutName(8, layer);
    out_.PutName(2, block->name);
    out_.PutInt(70, block->flags & 0x77);
    out_.PutReal(10, block->base.x);
    out_.PutReal(20, block->base.y);
    out_.PutReal(30, block->base.z);
    out_.PutName(3, block->name);
    out_.Put(1, block->xref_path);
    for (const Entity* e : block->entities) R12Entity(e, false);
    out_.Put(0, "ENDBLK");
    out_.PutName(8, layer);
  }
  EndSection();
}

void Emitter::R12Entities() {
  BeginSection("ENTITIES");
  for (const Entity* e : SpaceEntities(doc_.model_space())) R12Entity(e, false);
  const std::vector<const Entity*> paper = SpaceEntities(doc_.paper_space());
  if (target_rank_ < 9) {
    if (!paper.empty()) Drop("paper space entity", paper.size());
  } else {
    for (const Entity* e : paper) R12Entity(e, true);
  }
  EndSection();
}

void Emitter::R12Entity(const Entity* entity, bool paper) {
  if (Unwritable(entity)) return;
  const std::string_view type = entity->type_name;
  static constexpr std::string_view kNative[] = {"LINE",   "POINT",  "CIRCLE", "ARC",      "TRACE",  "SOLID",
                                                 "3DFACE", "SHAPE",  "TEXT",   "INSERT",   "ATTRIB", "ATTDEF",
                                                 "POLYLINE", "VERTEX", "SEQEND"};
  for (std::string_view native : kNative) {
    if (type == native) {
      R12Filtered(entity, paper);
      return;
    }
  }
  if (type == "VIEWPORT" && source_rank_ <= 9 && target_rank_ >= 9) {
    R12Filtered(entity, paper);
    return;
  }
  if (type == "LWPOLYLINE") {
    R12LwPolyline(entity, paper);
  } else if (entity->kind() == ObjectKind::kMText) {
    R12MText(static_cast<const MText*>(entity), paper);
  } else if (type == "DIMENSION") {
    R12Dimension(entity, paper);
  } else if (entity->kind() != ObjectKind::kBlock && entity->kind() != ObjectKind::kEndBlk) {
    Drop(type);
  }
}

// An R12 entity: the groups R12 knows, without subclass markers, owners and
// application groups; the handle and the paper space flag written afresh.
void Emitter::R12Filtered(const Entity* entity, bool paper) {
  const bool xdata = target_rank_ >= 9;
  const bool attribute = entity->kind() == ObjectKind::kAttrib || entity->kind() == ObjectKind::kAttDef;
  const bool multiline = attribute && static_cast<const Attrib*>(entity)->multiline;
  std::string flat;
  if (multiline) {
    flat = MTextPlainText(static_cast<const Attrib*>(entity)->mtext_value);
    for (char& c : flat) {
      if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    }
  }
  out_.Put(0, entity->type_name);
  out_.PutHandle(5, entity->handle);
  if (paper) out_.Put(67, "1");
  if (entity->type_name == "POLYLINE") out_.Put(66, "1");
  bool in_attribute_part = false;
  bool skipping = false;
  bool value_done = false;
  int depth = 0;
  for (const Group& g : entity->groups) {
    if (skipping) {
      if (g.code != 1001) continue;
      skipping = false;
    }
    if (g.code == 102) {
      const std::string_view v = g.value();
      if (!v.empty() && v.front() == '{') ++depth;
      if (!v.empty() && v.front() == '}' && depth > 0) --depth;
      continue;
    }
    if (depth > 0) continue;
    if (g.code == 100) {
      in_attribute_part = g.value() == "AcDbAttribute" || g.value() == "AcDbAttributeDefinition";
      continue;
    }
    if (g.code == 101) {
      skipping = true;
      continue;
    }
    if (g.code == 67 || (g.code == 66 && entity->type_name == "POLYLINE")) continue;
    if (!IsR12EntityCode(g.code, xdata)) continue;
    if (multiline && in_attribute_part &&
        (g.code == 71 || g.code == 72 || g.code == 11 || g.code == 21 || g.code == 31)) {
      continue;
    }
    if (multiline && g.code == 1 && !value_done) {
      value_done = true;
      out_.Put(1, g.value().empty() ? std::string_view(flat) : g.value());
      continue;
    }
    if (g.code == 8 || g.code == 6 || g.code == 7 || (g.code == 2 && entity->kind() == ObjectKind::kInsert)) {
      out_.PutName(g.code, g.value());
      continue;
    }
    out_.Put(g.code, g.value());
  }
}

// Layer, line type and colour of an entity, for the entities made from it.
void Emitter::R12Common(const Entity* entity, bool paper) {
  if (paper) out_.Put(67, "1");
  out_.PutName(8, entity->layer.empty() ? std::string_view("0") : entity->layer);
  const std::string_view linetype = OwnValue(entity->groups, 6);
  if (!linetype.empty()) out_.PutName(6, linetype);
  const std::string_view color = OwnValue(entity->groups, 62);
  if (!color.empty()) out_.Put(62, color);
}

void Emitter::R12LwPolyline(const Entity* entity, bool paper) {
  struct Vertex {
    std::string_view x, y, start_width, end_width, bulge;
  };
  std::vector<Vertex> vertices;
  std::string_view elevation = "0.0", constant_width, flags_text = "0", thickness;
  std::string_view extrusion[3];
  int depth = 0;
  for (const Group& g : entity->groups) {
    if (g.code == 1001) break;
    if (g.code == 102) {
      const std::string_view v = g.value();
      if (!v.empty() && v.front() == '{') ++depth;
      if (!v.empty() && v.front() == '}' && depth > 0) --depth;
      continue;
    }
    if (depth > 0) continue;
    switch (g.code) {
      case 10: vertices.push_back({g.value(), {}, {}, {}, {}}); break;
      case 20: if (!vertices.empty()) vertices.back().y = g.value(); break;
      case 40: if (!vertices.empty()) vertices.back().start_width = g.value(); break;
      case 41: if (!vertices.empty()) vertices.back().end_width = g.value(); break;
      case 42: if (!vertices.empty()) vertices.back().bulge = g.value(); break;
      case 38: elevation = g.value(); break;
      case 39: thickness = g.value(); break;
      case 43: constant_width = g.value(); break;
      case 70: flags_text = g.value(); break;
      case 210: extrusion[0] = g.value(); break;
      case 220: extrusion[1] = g.value(); break;
      case 230: extrusion[2] = g.value(); break;
      default: break;
    }
  }
  const int64_t flags = Group(70, flags_text).AsInt() & (1 | 128);
  out_.Put(0, "POLYLINE");
  out_.PutHandle(5, entity->handle);
  R12Common(entity, paper);
  out_.Put(66, "1");
  out_.Put(10, "0.0");
  out_.Put(20, "0.0");
  out_.Put(30, elevation);
  if (!thickness.empty()) out_.Put(39, thickness);
  out_.PutInt(70, flags);
  if (!constant_width.empty()) {
    out_.Put(40, constant_width);
    out_.Put(41, constant_width);
  }
  if (!extrusion[2].empty()) {
    out_.Put(210, extrusion[0].empty() ? std::string_view("0.0") : extrusion[0]);
    out_.Put(220, extrusion[1].empty() ? std::string_view("0.0") : extrusion[1]);
    out_.Put(230, extrusion[2]);
  }
  for (const Vertex& v : vertices) {
    out_.Put(0, "VERTEX");
    out_.PutHandle(5, NewHandle());
    R12Common(entity, paper);
    out_.Put(10, v.x);
    out_.Put(20, v.y.empty() ? std::string_view("0.0") : v.y);
    out_.Put(30, elevation);
    if (!v.start_width.empty()) out_.Put(40, v.start_width);
    if (!v.end_width.empty()) out_.Put(41, v.end_width);
    if (!v.bulge.empty() && Group(42, v.bulge).AsDouble() != 0.0) out_.Put(42, v.bulge);
    out_.Put(70, "0");
  }
  out_.Put(0, "SEQEND");
  out_.PutHandle(5, NewHandle());
  R12Common(entity, paper);
}

// One TEXT per line of the MTEXT's readable text, stacked from the top of
// the text block as the attachment point places it.
void Emitter::R12MText(const MText* mtext, bool paper) {
  std::string plain = MTextPlainText(mtext->value);
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t i = 0; i <= plain.size(); ++i) {
    if (i == plain.size() || plain[i] == '\n') {
      std::string line = plain.substr(start, i - start);
      for (char& c : line) {
        if (static_cast<unsigned char>(c) < 0x20) c = ' ';
      }
      lines.push_back(std::move(line));
      start = i + 1;
    }
  }
  const double height = mtext->height > 0 ? mtext->height : 2.5;
  const double factor = OwnReal(mtext->groups, 44, 1.0);
  const double spacing = height * 5.0 / 3.0 * (factor > 0 ? factor : 1.0);
  double angle = OwnReal(mtext->groups, 50, 0.0);  // radians
  if (!OwnValue(mtext->groups, 11).empty()) {
    const double dx = OwnReal(mtext->groups, 11, 1.0);
    const double dy = OwnReal(mtext->groups, 21, 0.0);
    if (dx != 0.0 || dy != 0.0) angle = std::atan2(dy, dx);
  }
  int attachment = static_cast<int>(Group(71, OwnValue(mtext->groups, 71, "1")).AsInt(1));
  if (attachment < 1 || attachment > 9) attachment = 1;
  const int row = (attachment - 1) / 3;     // 0 top, 1 middle, 2 bottom
  const int column = (attachment - 1) % 3;  // 0 left, 1 centre, 2 right
  const double total = height + spacing * static_cast<double>(lines.size() - 1);
  const double offset = row == 0 ? 0.0 : (row == 1 ? total / 2 : total);
  // "Down" along the text's own frame.
  const double down_x = std::sin(angle);
  const double down_y = -std::cos(angle);
  const double top_x = mtext->point.x - down_x * offset;
  const double top_y = mtext->point.y - down_y * offset;
  const std::string_view style = mtext->style;
  std::string_view extrusion[3] = {OwnValue(mtext->groups, 210), OwnValue(mtext->groups, 220),
                                   OwnValue(mtext->groups, 230)};
  bool first = true;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].empty()) continue;
    const double x = top_x + down_x * spacing * static_cast<double>(i);
    const double y = top_y + down_y * spacing * static_cast<double>(i);
    out_.Put(0, "TEXT");
    out_.PutHandle(5, first ? mtext->handle : NewHandle());
    first = false;
    R12Common(mtext, paper);
    out_.PutReal(10, x);
    out_.PutReal(20, y);
    out_.PutReal(30, mtext->point.z);
    out_.PutReal(40, height);
    out_.Put(1, lines[i]);
    if (angle != 0.0) out_.PutReal(50, angle * 180.0 / kPi);
    if (!style.empty()) out_.PutName(7, style);
    if (column != 0) out_.PutInt(72, column);
    out_.PutReal(11, x);
    out_.PutReal(21, y);
    out_.PutReal(31, mtext->point.z);
    if (!extrusion[2].empty()) {
      out_.Put(210, extrusion[0].empty() ? std::string_view("0.0") : extrusion[0]);
      out_.Put(220, extrusion[1].empty() ? std::string_view("0.0") : extrusion[1]);
      out_.Put(230, extrusion[2]);
    }
    out_.Put(73, "3");
  }
}

// A dimension is shown by its block; R12 gets a reference to that block.
void Emitter::R12Dimension(const Entity* entity, bool paper) {
  const std::string_view block = OwnValue(entity->groups, 2);
  if (block.empty() || doc_.FindBlock(block) == nullptr) {
    Drop("DIMENSION without its block");
    return;
  }
  out_.Put(0, "INSERT");
  out_.PutHandle(5, entity->handle);
  R12Common(entity, paper);
  out_.PutName(2, block);
  out_.Put(10, "0.0");
  out_.Put(20, "0.0");
  out_.Put(30, "0.0");
  const std::string_view ez = OwnValue(entity->groups, 230);
  if (!ez.empty()) {
    out_.Put(210, OwnValue(entity->groups, 210, "0.0"));
    out_.Put(220, OwnValue(entity->groups, 220, "0.0"));
    out_.Put(230, ez);
  }
}

// ---- R12 drawings written as R13 and later --------------------------------------------

std::string_view Emitter::UpBlockName(const Block* block) const {
  if (block == doc_.model_space()) return "*Model_Space";
  if (block == doc_.paper_space()) return "*Paper_Space";
  return block->name;
}

void Emitter::UpTables() {
  // Block records first: their handles are needed by the blocks and layouts.
  block_record_table_ = NewHandle();
  std::vector<const Block*> ordered;
  ordered.push_back(doc_.model_space());
  ordered.push_back(doc_.paper_space());
  for (const Block* block : doc_.blocks) {
    if (block != doc_.model_space() && block != doc_.paper_space()) ordered.push_back(block);
  }
  for (const Block* block : ordered) records_[block] = NewHandle();
  if (target_rank_ >= 15) {
    for (const Layout* layout : doc_.layouts) {
      const Block* block = layout->block;
      if (block == nullptr) block = layout->is_model() ? doc_.model_space() : doc_.paper_space();
      layouts_.emplace_back(layout, block);
    }
  }

  BeginSection("TABLES");
  for (const TableInfo& info : kModernTables) {
    const Table* table = nullptr;
    for (const Table& t : doc_.tables) {
      if (SameName(t.name, info.name)) table = &t;
    }
    const bool is_block_records = info.name == "BLOCK_RECORD";
    const bool is_dimstyle = info.name == "DIMSTYLE";
    const Handle table_handle =
        is_block_records ? block_record_table_ : (table != nullptr && table->head != nullptr ? table->head->handle : NewHandle());

    // Entries every R13+ drawing has, added when the R12 file lacks them.
    std::vector<std::string_view> missing;
    auto has = [&](std::string_view name) {
      if (table == nullptr) return false;
      for (const Object* record : table->records) {
        if (SameName(OwnValue(record->groups, 2), name)) return true;
      }
      return false;
    };
    if (info.name == "LTYPE") {
      for (std::string_view name : {"ByBlock", "ByLayer", "Continuous"}) {
        if (!has(name)) missing.push_back(name);
      }
    }
    if (info.name == "APPID" && !has("ACAD")) missing.push_back("ACAD");
    if (info.name == "STYLE" && !has("Standard")) missing.push_back("Standard");
    if (is_dimstyle && !has("Standard")) missing.push_back("Standard");
    const Layer* synthesized_layer = nullptr;
    if (info.name == "LAYER") {
      for (const Layer* layer : doc_.layers) {
        if (layer->synthesized) synthesized_layer = layer;
      }
    }
    const size_t count = is_block_records ? ordered.size()
                                          : (table != nullptr ? table->records.size() : 0) + missing.size() +
                                                (synthesized_layer != nullptr ? 1 : 0);

    out_.Put(0, "TABLE");
    out_.Put(2, info.name);
    out_.PutHandle(5, table_handle);
    out_.Put(330, "0");
    out_.Put(100, "AcDbSymbolTable");
    out_.PutInt(70, static_cast<int64_t>(count));
    if (is_dimstyle) out_.Put(100, "AcDbDimStyleTable");

    auto record_head = [&](Handle handle) {
      out_.Put(0, info.record_type);
      out_.PutHandle(is_dimstyle ? 105 : 5, handle);
      out_.PutHandle(330, table_handle);
      out_.Put(100, "AcDbSymbolTableRecord");
      out_.Put(100, info.subclass);
    };
    if (is_block_records) {
      for (const Block* block : ordered) {
        record_head(records_[block]);
        out_.Put(2, UpBlockName(block));
        for (const auto& [layout, layout_block] : layouts_) {
          if (layout_block == block) out_.PutHandle(340, layout->handle);
        }
      }
    } else {
      if (synthesized_layer != nullptr) {
        record_head(synthesized_layer->handle);
        out_.Put(2, synthesized_layer->name);
        out_.PutInt(70, synthesized_layer->flags);
        out_.PutInt(62, synthesized_layer->color);
        out_.Put(6, "Continuous");
      }
      for (std::string_view name : missing) {
        record_head(NewHandle());
        out_.Put(2, name);
        out_.Put(70, "0");
        if (info.name == "LTYPE") {
          out_.Put(3, name == "Continuous" ? "Solid line" : "");
          out_.Put(72, "65");
          out_.Put(73, "0");
          out_.Put(40, "0.0");
        } else if (info.name == "STYLE") {
          out_.Put(40, "0.0");
          out_.Put(41, "1.0");
          out_.Put(50, "0.0");
          out_.Put(71, "0");
          out_.Put(42, "2.5");
          out_.Put(3, "txt");
          out_.Put(4, "");
        }
      }
      if (table != nullptr) {
        for (const Object* record : table->records) {
          record_head(record->handle);
          int depth = 0;
          for (const Group& g : record->groups) {
            if (g.code == 102) {
              const std::string_view v = g.value();
              if (!v.empty() && v.front() == '{') ++depth;
              if (!v.empty() && v.front() == '}' && depth > 0) --depth;
              continue;
            }
            if (depth > 0 || g.code == 100 || g.code == 330 || g.code == 105 || g.code == 5) continue;
            // R12 named the dimension arrow blocks with 5, 6 and 7; later versions point at block records.
            if (is_dimstyle && (g.code == 6 || g.code == 7)) continue;
            out_.Put(g.code, g.value());
          }
        }
      }
    }
    out_.Put(0, "ENDTAB");
  }
  EndSection();
}

void Emitter::UpBlockBegin(const Block* block, Handle record, bool paper) {
  out_.Put(0, "BLOCK");
  out_.PutHandle(5, block->handle);
  out_.PutHandle(330, record);
  out_.Put(100, "AcDbEntity");
  if (paper) out_.Put(67, "1");
  out_.Put(8, block->layer.empty() ? std::string_view("0") : block->layer);
  out_.Put(100, "AcDbBlockBegin");
  const std::string_view name = UpBlockName(block);
  out_.Put(2, name);
  out_.PutInt(70, block->flags);
  out_.PutReal(10, block->base.x);
  out_.PutReal(20, block->base.y);
  out_.PutReal(30, block->base.z);
  out_.Put(3, name);
  out_.Put(1, block->xref_path);
}

void Emitter::UpBlockEnd(const Block* block, Handle record, bool paper) {
  out_.Put(0, "ENDBLK");
  out_.PutHandle(5, block->end != nullptr ? block->end->handle : NewHandle());
  out_.PutHandle(330, record);
  out_.Put(100, "AcDbEntity");
  if (paper) out_.Put(67, "1");
  out_.Put(8, block->layer.empty() ? std::string_view("0") : block->layer);
  out_.Put(100, "AcDbBlockEnd");
}

void Emitter::UpBlocks() {
  BeginSection("BLOCKS");
  UpBlockBegin(doc_.model_space(), records_[doc_.model_space()], false);
  UpBlockEnd(doc_.model_space(), records_[doc_.model_space()], false);
  UpBlockBegin(doc_.paper_space(), records_[doc_.paper_space()], true);
  UpBlockEnd(doc_.paper_space(), records_[doc_.paper_space()], true);
  for (const Block* block : doc_.blocks) {
    if (block == doc_.model_space() || block == doc_.paper_space()) continue;
    const Handle record = records_[block];
    UpBlockBegin(block, record, false);
    for (const Entity* e : block->entities) UpEntity(e, record, false);
    UpBlockEnd(block, record, false);
  }
  EndSection();
}

void Emitter::UpEntities() {
  BeginSection("ENTITIES");
  for (const Entity* e : SpaceEntities(doc_.model_space())) UpEntity(e, records_[doc_.model_space()], false);
  for (const Entity* e : SpaceEntities(doc_.paper_space())) UpEntity(e, records_[doc_.paper_space()], true);
  EndSection();
}

void Emitter::UpEntity(const Entity* entity, Handle owner, bool paper) {
  if (entity->kind() == ObjectKind::kBlock || entity->kind() == ObjectKind::kEndBlk) return;
  if (HasCode(entity->groups, 100)) {
    // Already in the later form (some R12-labelled files are).
    out_.Put(0, entity->type_name);
    bool owner_written = false;
    bool handle_written = false;
    for (const Group& g : entity->groups) {
      if (g.code == 5) {
        if (handle_written) continue;
        handle_written = true;
        out_.PutHandle(5, entity->handle);
        continue;
      }
      if (g.code == 330 && !owner_written) {
        owner_written = true;
        out_.PutHandle(330, owner);
        continue;
      }
      if (g.code == 100 && !owner_written) {
        if (!handle_written) out_.PutHandle(5, entity->handle);
        handle_written = true;
        out_.PutHandle(330, owner);
        owner_written = true;
      }
      out_.Put(g.code, g.value());
    }
    return;
  }
  const int32_t flags = static_cast<int32_t>(Group(70, OwnValue(entity->groups, 70, "0")).AsInt());
  const Subclasses subclasses = SubclassesOf(entity->type_name, flags);
  size_t xdata = entity->groups.size();
  for (size_t i = 0; i < entity->groups.size(); ++i) {
    if (entity->groups[i].code == 1001) {
      xdata = i;
      break;
    }
  }
  const GroupSpan own = entity->groups.first(xdata);
  out_.Put(0, entity->type_name);
  out_.PutHandle(5, entity->handle);
  out_.PutHandle(330, owner);
  out_.Put(100, "AcDbEntity");
  if (paper && !HasCode(own, 67)) out_.Put(67, "1");
  bool layer = false;
  for (const Group& g : own) {
    if (IsEntityCommonCode(g.code)) {
      out_.Put(g.code, g.value());
      layer = layer || g.code == 8;
    }
  }
  if (!layer) out_.Put(8, "0");
  const int parts = static_cast<int>(subclasses.names.size());
  auto part_of = [&](int32_t code) {
    const int part = subclasses.part_of(code, flags);
    return part < 0 || part >= parts ? parts - 1 : part;
  };
  for (int part = 0; part < std::max(parts, 1); ++part) {
    if (parts > 0) out_.Put(100, subclasses.names[static_cast<size_t>(part)]);
    for (const Group& g : own) {
      if (g.code == 5 || g.code == 105 || g.code == 330 || g.code == 102 || IsEntityCommonCode(g.code)) continue;
      if (parts > 0 && part_of(g.code) != part) continue;
      out_.Put(g.code, g.value());
    }
  }
  for (const Group& g : entity->groups.subspan(xdata)) out_.Put(g.code, g.value());
}

void Emitter::UpObjects() {
  root_dictionary_ = NewHandle();
  group_dictionary_ = NewHandle();
  if (target_rank_ >= 15) layout_dictionary_ = NewHandle();
  BeginSection("OBJECTS");
  out_.Put(0, "DICTIONARY");
  out_.PutHandle(5, root_dictionary_);
  out_.Put(330, "0");
  out_.Put(100, "AcDbDictionary");
  out_.Put(281, "1");
  out_.Put(3, "ACAD_GROUP");
  out_.PutHandle(350, group_dictionary_);
  if (layout_dictionary_ != kNoHandle) {
    out_.Put(3, "ACAD_LAYOUT");
    out_.PutHandle(350, layout_dictionary_);
  }
  auto dictionary = [&](Handle handle) {
    out_.Put(0, "DICTIONARY");
    out_.PutHandle(5, handle);
    out_.Put(102, "{ACAD_REACTORS");
    out_.PutHandle(330, root_dictionary_);
    out_.Put(102, "}");
    out_.PutHandle(330, root_dictionary_);
    out_.Put(100, "AcDbDictionary");
    out_.Put(281, "1");
  };
  dictionary(group_dictionary_);
  if (layout_dictionary_ != kNoHandle) {
    dictionary(layout_dictionary_);
    for (const auto& [layout, block] : layouts_) {
      out_.Put(3, layout->name);
      out_.PutHandle(350, layout->handle);
    }
    for (const auto& [layout, block] : layouts_) {
      const bool model = block == doc_.model_space();
      out_.Put(0, "LAYOUT");
      out_.PutHandle(5, layout->handle);
      out_.Put(102, "{ACAD_REACTORS");
      out_.PutHandle(330, layout_dictionary_);
      out_.Put(102, "}");
      out_.PutHandle(330, layout_dictionary_);
      out_.Put(100, "AcDbPlotSettings");
      out_.Put(1, "");
      out_.Put(2, "none_device");
      out_.Put(4, "");
      out_.Put(6, "");
      for (int code = 40; code <= 49; ++code) out_.Put(code, "0.0");
      out_.Put(140, "0.0");
      out_.Put(141, "0.0");
      out_.Put(142, "1.0");
      out_.Put(143, "1.0");
      out_.Put(70, model ? "1712" : "688");
      out_.Put(72, "0");
      out_.Put(73, "0");
      out_.Put(74, "5");
      out_.Put(7, "");
      out_.Put(75, "16");
      out_.Put(147, "1.0");
      out_.Put(76, "0");
      out_.Put(77, "2");
      out_.Put(78, "300");
      out_.Put(148, "0.0");
      out_.Put(149, "0.0");
      out_.Put(100, "AcDbLayout");
      out_.Put(1, layout->name);
      out_.Put(70, "1");
      out_.PutInt(71, layout->tab_order);
      out_.Put(10, "0.0");
      out_.Put(20, "0.0");
      out_.Put(11, "12.0");
      out_.Put(21, "9.0");
      out_.Put(12, "0.0");
      out_.Put(22, "0.0");
      out_.Put(32, "0.0");
      out_.Put(14, "0.0");
      out_.Put(24, "0.0");
      out_.Put(34, "0.0");
      out_.Put(15, "0.0");
      out_.Put(25, "0.0");
      out_.Put(35, "0.0");
      out_.Put(146, "0.0");
      out_.Put(13, "0.0");
      out_.Put(23, "0.0");
      out_.Put(33, "0.0");
      out_.Put(16, "1.0");
      out_.Put(26, "0.0");
      out_.Put(36, "0.0");
      out_.Put(17, "0.0");
      out_.Put(27, "1.0");
      out_.Put(37, "0.0");
      out_.Put(76, "0");
      out_.PutHandle(330, records_[block]);
    }
  }
  EndSection();
}

class SinkAdapter : public dxf::ByteSink {
 public:
  explicit SinkAdapter(DxfSink& sink) : sink_(sink) {}
  bool Write(std::string_view bytes) override { return sink_.Write(bytes); }

 private:
  DxfSink& sink_;
};

std::string LossesText(const std::map<std::string, size_t, std::less<>>& dropped) {
  std::vector<std::pair<std::string, size_t>> items(dropped.begin(), dropped.end());
  std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string text;
  size_t shown = 0;
  size_t rest = 0;
  for (const auto& [what, count] : items) {
    if (shown == 8) {
      rest += count;
      continue;
    }
    if (!text.empty()) text += ", ";
    text += std::to_string(count) + " " + what;
    ++shown;
  }
  if (rest > 0) text += ", " + std::to_string(rest) + " more";
  return text;
}

std::string VersionName(int32_t version) {
  switch (version) {
    case 12: return "R12";
    case 11: return "R11";
    case 10: return "R10";
    case 14: return "R14";
    default: return std::to_string(version);
  }
}

}  // namespace

std::string_view AcadVersionOfCode(int32_t version) {
  switch (version) {
    case kVersion2018: return "AC1032";
    case kVersion2013: return "AC1027";
    case kVersion2010: return "AC1024";
    case kVersion2007: return "AC1021";
    case kVersion2004: return "AC1018";
    case kVersion2000: return "AC1015";
    case kVersionR14: return "AC1014";
    case kVersionR12:
    case kVersionR11: return "AC1009";
    case kVersionR10: return "AC1006";
    default: return {};
  }
}

bool IsWritableVersionCode(int32_t version) { return version == kVersionKeep || !AcadVersionOfCode(version).empty(); }

Status WriteDxf(const Document& document, const DxfWriteOptions& options, DxfSink& sink, const std::string& name) {
  if (!IsWritableVersionCode(options.version)) {
    return Status::Error(StatusCode::kUnknownVersion,
                         "Unknown DXF version code " + std::to_string(options.version) +
                             " (use 2018, 2013, 2010, 2007, 2004, 2000, 14, 12, 11, 10, or -1 for the drawing's own "
                             "version): " + name);
  }
  if (options.precision < 0 || options.precision > 16) {
    return Status::Error(StatusCode::kInvalidPrecision, "Invalid decimal precision " +
                                                            std::to_string(options.precision) + " (0 to 16): " + name);
  }
  std::string_view target = AcadVersionOfCode(options.version);
  const int source_rank = VersionRank(document.version);
  std::string keep_version;
  if (target.empty()) {
    // The drawing's own version; R13 files stay R13.
    keep_version = document.version.empty() ? std::string("AC1009") : document.version;
    target = keep_version;
  }
  const int target_rank = VersionRank(target);
  dxf::TextEncoder encoder;
  dxf::GroupFormat format;
  format.binary = options.binary;
  format.one_byte_codes = options.binary && target_rank <= 9;
  format.precision = options.precision;
  format.legacy_text = target_rank < 21;
  if (format.legacy_text) encoder.SetCodepage(document.codepage);
  SinkAdapter adapter(sink);
  GroupWriter out(adapter, format, &encoder);
  Emitter emitter(document, out, source_rank, target_rank, target, options.binary);
  try {
    emitter.Run();
  } catch (const std::bad_alloc&) {
    return Status::Error(StatusCode::kCannotWriteFile, "Not enough memory to write the drawing: " + name);
  }
  if (!out.Flush()) return Status::Error(StatusCode::kCannotWriteFile, "Cannot write the file: " + name);
  if (!emitter.dropped().empty()) {
    const std::string version = options.version == kVersionKeep ? std::string(target) : VersionName(options.version);
    return Status::Error(StatusCode::kWrittenWithLosses, "Written as DXF " + version + " without what it cannot hold (" +
                                                             LossesText(emitter.dropped()) + "): " + name);
  }
  return Status::Ok();
}

namespace {

class StringSink : public DxfSink {
 public:
  explicit StringSink(std::string& out) : out_(out) {}
  bool Write(std::string_view bytes) override {
    out_.append(bytes);
    return true;
  }

 private:
  std::string& out_;
};

class FileSink : public DxfSink {
 public:
  explicit FileSink(io::ReplacingFile& file) : file_(file) {}
  bool Write(std::string_view bytes) override { return file_.Write(bytes); }

 private:
  io::ReplacingFile& file_;
};

}  // namespace

Status WriteDxfToString(const Document& document, const DxfWriteOptions& options, std::string& out) {
  out.clear();
  StringSink sink(out);
  return WriteDxf(document, options, sink, "memory");
}

Status WriteDxfFile(const Document& document, const DxfWriteOptions& options, const std::string& path) {
  if (!IsWritableVersionCode(options.version) || options.precision < 0 || options.precision > 16) {
    std::string ignored;
    StringSink sink(ignored);
    return WriteDxf(document, options, sink, path);  // reports the bad option without touching the disk
  }
  io::ReplacingFile file;
  Status opened = file.Open(path);
  if (!opened.ok()) return opened;
  FileSink sink(file);
  Status written = WriteDxf(document, options, sink, path);
  if (written.code != StatusCode::kOk && written.code != StatusCode::kWrittenWithLosses) return written;
  Status committed = file.Commit();
  if (!committed.ok()) return committed;
  return written;
}

}  // namespace vantrove::engine
