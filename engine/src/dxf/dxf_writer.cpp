// The DXF writer proper: chooses how a drawing is written (its own family,
// the export to R12/R10, or the upgrade of an R12 drawing), writes the
// header and the sections of a same-family write from the records' source
// form, and reports what the target version could not hold.

#include "vantrove/engine/dxf_writer.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "dxf/emitter.hpp"
#include "io/replacing_file.hpp"

namespace vantrove::engine {

namespace dxf {

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

std::string_view OwnValue(GroupSpan groups, int32_t code, std::string_view fallback) {
  AppGroups app;
  for (const Group& g : groups) {
    if (g.code == 1001) break;
    if (app.Step(g)) continue;
    if (!app.inside() && g.code == code) return g.value();
  }
  return fallback;
}

double OwnReal(GroupSpan groups, int32_t code, double fallback) {
  const std::string_view v = OwnValue(groups, code);
  if (v.empty()) return fallback;
  const double d = Group(code, v).AsDouble(fallback);
  return std::isfinite(d) ? d : fallback;
}

bool IsR12HeaderCode(int32_t code) { return (code >= 1 && code <= 79) || (code >= 210 && code <= 239); }

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
        if (e->type_name == "LWPOLYLINE") budget += doc_.Groups(*e).size() + 2;
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
      for (const Object* c : doc_.classes) Raw(c->type_name, doc_.Groups(*c));
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
          Raw(o->type_name, doc_.Groups(*o));
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
    Raw(layout->type_name, doc_.Groups(*layout));
    return;
  }
  out_.Put(0, layout->type_name);
  bool in_layout_part = false;
  for (const Group& g : doc_.Groups(*layout)) {
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
      Raw(table.head->type_name, doc_.Groups(*table.head));
    } else {
      out_.Put(0, "TABLE");
      out_.Put(2, table.name);
      out_.PutInt(70, static_cast<int64_t>(table.records.size()));
    }
    for (const Object* record : table.records) {
      if (!Unwritable(record)) Raw(record->type_name, doc_.Groups(*record));
    }
    if (table.end != nullptr) {
      Raw("ENDTAB", doc_.Groups(*table.end));
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
    Raw(block->type_name, doc_.Groups(*block));
    for (const Entity* e : block->entities) {
      if (e->section == Section::kBlocks) PassEntity(e);
    }
    if (block->end != nullptr) {
      Raw(block->end->type_name, doc_.Groups(*block->end));
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
  if (entity->type_name == "ACAD_PROXY_ENTITY" && (source_rank_ >= 27) != (target_rank_ >= 27)) {
    ProxyEntity(entity);
    return;
  }
  Raw(entity->type_name, doc_.Groups(*entity));
}

// A proxy entity counts its graphics, unknown data and data bits in 92, 96
// and 93 before 2013 and in 160, 162 and 161 from 2013 on.
void Emitter::ProxyEntity(const Entity* entity) {
  const bool wide = target_rank_ >= 27;
  bool own = false;
  out_.Put(0, entity->type_name);
  for (const Group& g : doc_.Groups(*entity)) {
    int32_t code = g.code;
    if (code == 100) own = g.value() == "AcDbProxyEntity";
    if (own && wide && (code == 92 || code == 93 || code == 96)) code = code == 92 ? 160 : code == 93 ? 161 : 162;
    if (own && !wide && code >= 160 && code <= 162) code = code == 160 ? 92 : code == 161 ? 93 : 96;
    out_.Put(code, g.value());
  }
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
  AppGroups app;
  for (const Group& g : doc_.Groups(*attrib)) {
    if (skipping) {
      if (g.code != 1001) continue;
      skipping = false;
    }
    if (app.Step(g)) {
      out_.Put(g.code, g.value());
      continue;
    }
    if (!app.inside()) {
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

}  // namespace dxf

namespace {

using dxf::Emitter;
using dxf::GroupWriter;
using dxf::VersionRank;

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
