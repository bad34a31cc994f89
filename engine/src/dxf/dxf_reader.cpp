#include "vantrove/engine/dxf_reader.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include "dxf/record_decoder.hpp"
#include "dxf/record_source.hpp"
#include "dxf/text_decoder.hpp"
#include "dxf/tokenizer.hpp"

namespace vantrove::engine {

namespace {

constexpr std::string_view kSupportedVersions[] = {"AC1006", "AC1009", "AC1012", "AC1014", "AC1015",
                                                   "AC1018", "AC1021", "AC1024", "AC1027", "AC1032"};

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

std::string Printable(std::string_view text) {
  std::string out;
  for (char c : text.substr(0, 40)) {
    unsigned char u = static_cast<unsigned char>(c);
    out.push_back(u >= 0x20 && u < 0x7F ? c : '?');
  }
  return out;
}

class Reader {
 public:
  Reader(Document& document, const char* data, size_t size, const std::string& name)
      : doc_(document), tokens_(data, size, document.text_arena()), name_(name) {
    auto source = std::make_unique<dxf::RecordSource>(data, tokens_.binary(), tokens_.one_byte_codes());
    source_ = source.get();
    doc_.SetSourceDecoder(std::move(source));
  }

  Status Run();

 private:
  bool Next(dxf::RawGroup& group);
  void PushBack(const dxf::RawGroup& group) {
    pending_ = group;
    has_pending_ = true;
  }
  std::string_view DecodeValue(const dxf::RawGroup& group);
  bool ReadBody(size_t& end);
  Status ReadSection(std::string_view name);
  Status ReadHeader();
  Status ReadRecords(Section section, std::string_view name);
  Status ReadRaw(std::string_view name);
  void Place(Object* object, Section section);
  // Decodes the records read so far before the text settings change.
  void SettleRecords() {
    if (!doc_.all_objects().empty()) dxf::RecordSource::MaterializeAll(doc_);
  }
  Status Damaged(const std::string& what) const {
    return Status::Error(StatusCode::kDamaged, "The drawing file is damaged (" + what + "): " + name_);
  }
  Status TokenFault() const {
    if (!seen_section_ && !tokens_.binary()) {  // the binary sentinel already says "DXF"
      return Status::Error(StatusCode::kNotADrawing,
                           "The file is not a DXF drawing (" + tokens_.error() + "): " + name_);
    }
    return Damaged(tokens_.error());
  }
  Status EndsInside(std::string_view section) const {
    return Damaged("the file ends inside the " + Printable(section) + " section, at " + tokens_.Position() +
                   ", without ENDSEC");
  }
  void Warn(std::string message) {
    if (doc_.warnings.size() < 100) doc_.warnings.push_back(std::move(message));
  }
  void SetVersion(std::string_view version);

  Document& doc_;
  dxf::Tokenizer tokens_;
  dxf::RecordSource* source_ = nullptr;  // owned by the document
  std::string name_;
  dxf::RawGroup pending_;
  bool has_pending_ = false;
  bool seen_section_ = false;
  bool version_seen_ = false;
  std::string version_error_;
  std::vector<Group> scratch_;
  // Placement state.
  int current_table_ = -1;
  Block* current_block_ = nullptr;
  Insert* open_insert_ = nullptr;
};

bool Reader::Next(dxf::RawGroup& group) {
  if (has_pending_) {
    group = pending_;
    has_pending_ = false;
    return true;
  }
  return tokens_.Next(group);
}

std::string_view Reader::DecodeValue(const dxf::RawGroup& group) {
  return source_->DecodeValue(group, doc_.text_arena());
}

// The groups of a record up to the next 0 group; `end` is where they end.
bool Reader::ReadBody(size_t& end) {
  scratch_.clear();
  dxf::RawGroup group;
  for (;;) {
    end = tokens_.offset();
    if (!Next(group)) break;
    if (group.code == 0) {
      PushBack(group);
      return true;
    }
    scratch_.emplace_back(group.code, DecodeValue(group));
  }
  return !tokens_.failed();
}

void Reader::SetVersion(std::string_view version) {
  version = Trim(version);
  doc_.version = std::string(version);
  version_seen_ = true;
  bool supported = false;
  for (std::string_view known : kSupportedVersions) supported = supported || known == version;
  if (!supported) {
    version_error_ = "Unsupported drawing version " + Printable(version) +
                     " (this engine reads DXF versions AC1006 to AC1032): " + name_;
  }
  SettleRecords();
  source_->text().SetUtf8(version >= std::string_view("AC1021"));
}

Status Reader::Run() {
  doc_.format = tokens_.binary() ? DrawingFormat::kDxfBinary : DrawingFormat::kDxfAscii;
  bool ended = false;
  bool junk_noted = false;
  dxf::RawGroup group;
  while (Next(group)) {
    if (group.code == 0) {
      std::string_view type = Trim(group.value);
      if (type == "EOF") {
        ended = true;
        break;
      }
      if (type == "SECTION") {
        dxf::RawGroup name;
        if (!Next(name)) return tokens_.failed() ? TokenFault() : Damaged("the file ends after SECTION");
        if (name.code != 2) {
          return Damaged("SECTION without a name at " + tokens_.Position());
        }
        seen_section_ = true;
        Status status = ReadSection(Trim(name.value));
        if (!status.ok()) return status;
        if (!version_error_.empty()) return Status::Error(StatusCode::kUnsupportedVersion, version_error_);
        continue;
      }
    }
    if (group.code == 999) continue;  // comment
    if (seen_section_ && !junk_noted) {
      Warn("Skipped groups outside any section from " + tokens_.Position());
      junk_noted = true;
    }
  }
  if (tokens_.failed()) return TokenFault();
  if (!seen_section_) {
    return Status::Error(StatusCode::kNotADrawing, "The file is not a DXF drawing (it has no SECTION): " + name_);
  }
  if (!version_seen_) SetVersion("AC1009");
  if (!version_error_.empty()) return Status::Error(StatusCode::kUnsupportedVersion, version_error_);
  doc_.Finish();
  if (!ended) {
    // Cut off at a section end: every section read is whole, but whatever
    // followed is gone. The drawing opens and the status says so.
    const std::string last = doc_.section_order.empty() ? std::string("?") : std::string(doc_.section_order.back());
    Warn("The file has no EOF marker");
    return Status::Error(StatusCode::kIncomplete, "The drawing is incomplete: the file ends after the " +
                                                      Printable(last) + " section, before its EOF marker: " + name_);
  }
  return Status::Ok();
}

Status Reader::ReadSection(std::string_view name) {
  doc_.section_order.push_back(name);
  if (name == "HEADER") return ReadHeader();
  if (name == "CLASSES") return ReadRecords(Section::kClasses, name);
  if (name == "TABLES") return ReadRecords(Section::kTables, name);
  if (name == "BLOCKS") return ReadRecords(Section::kBlocks, name);
  if (name == "ENTITIES") return ReadRecords(Section::kEntities, name);
  if (name == "OBJECTS") return ReadRecords(Section::kObjects, name);
  return ReadRaw(name);
}

Status Reader::ReadHeader() {
  std::string_view variable;
  bool have_variable = false;
  auto flush = [&]() {
    if (have_variable) doc_.header.push_back({variable, doc_.StoreGroups(scratch_)});
    scratch_.clear();
  };
  scratch_.clear();
  dxf::RawGroup group;
  while (Next(group)) {
    if (group.code == 0) {
      flush();
      std::string_view type = Trim(group.value);
      if (type == "ENDSEC") return Status::Ok();
      Warn("The HEADER section has no ENDSEC");
      PushBack(group);
      return Status::Ok();
    }
    if (group.code == 9) {
      flush();
      variable = Trim(group.value);
      have_variable = true;
      continue;
    }
    if (!have_variable) continue;
    std::string_view value = DecodeValue(group);
    if (scratch_.empty()) {
      if (variable == "$ACADVER") SetVersion(value);
      if (variable == "$DWGCODEPAGE") {
        doc_.codepage = std::string(Trim(value));
        SettleRecords();
        if (!source_->text().SetCodepage(doc_.codepage)) Warn("Unknown code page " + Printable(doc_.codepage));
      }
    }
    scratch_.emplace_back(group.code, value);
  }
  if (tokens_.failed()) return TokenFault();
  return EndsInside("HEADER");
}

Status Reader::ReadRaw(std::string_view name) {
  scratch_.clear();
  dxf::RawGroup group;
  while (Next(group)) {
    if (group.code == 0 && Trim(group.value) == "ENDSEC") {
      doc_.raw_sections.push_back({name, doc_.StoreGroups(scratch_)});
      return Status::Ok();
    }
    scratch_.emplace_back(group.code, DecodeValue(group));
  }
  if (tokens_.failed()) return TokenFault();
  return EndsInside(name);
}

Status Reader::ReadRecords(Section section, std::string_view name) {
  current_table_ = -1;
  current_block_ = nullptr;
  open_insert_ = nullptr;
  bool junk_noted = false;
  dxf::RawGroup group;
  while (Next(group)) {
    if (group.code != 0) {
      if (!junk_noted) {
        Warn("Skipped groups without a record in the " + Printable(name) + " section at " + tokens_.Position());
        junk_noted = true;
      }
      continue;
    }
    std::string_view type = Trim(group.value);
    if (type == "ENDSEC") {
      if (current_block_ != nullptr) Warn("Block " + Printable(current_block_->name) + " has no ENDBLK");
      return Status::Ok();
    }
    if (type == "SECTION" || type == "EOF") {
      Warn("The " + Printable(name) + " section has no ENDSEC");
      PushBack(group);
      return Status::Ok();
    }
    const size_t body = tokens_.offset();
    size_t body_end = body;
    if (!ReadBody(body_end)) return TokenFault();
    Object* made = dxf::MakeObject(doc_, type, section);
    made->type_name = type;
    // The groups are decoded again when needed (dxf::RecordSource); the
    // fields' views point into the file or the text arena, which stay.
    doc_.SetPendingForm(*made, static_cast<uint32_t>(body), static_cast<uint32_t>(body_end - body));
    dxf::DecodeFields(*made, scratch_, doc_.text_arena());
    Place(made, section);
  }
  if (tokens_.failed()) return TokenFault();
  return EndsInside(name);
}

void Reader::Place(Object* object, Section section) {
  switch (section) {
    case Section::kClasses:
      doc_.classes.push_back(object);
      return;
    case Section::kObjects:
      doc_.objects_section.push_back(object);
      return;
    case Section::kTables: {
      if (object->type_name == "TABLE") {
        Table table;
        for (const Group& g : scratch_) {  // the record just read
          if (g.code == 2) {
            table.name = Trim(g.value());
            break;
          }
        }
        table.head = object;
        doc_.tables.push_back(std::move(table));
        current_table_ = static_cast<int>(doc_.tables.size()) - 1;
        return;
      }
      if (object->type_name == "ENDTAB") {
        if (current_table_ >= 0) doc_.tables[static_cast<size_t>(current_table_)].end = object;
        current_table_ = -1;
        return;
      }
      if (current_table_ < 0) {
        Warn("Table entry " + Printable(object->type_name) + " outside a table");
        Table table;
        table.name = object->type_name;
        doc_.tables.push_back(std::move(table));
        current_table_ = static_cast<int>(doc_.tables.size()) - 1;
      }
      doc_.tables[static_cast<size_t>(current_table_)].records.push_back(object);
      return;
    }
    case Section::kBlocks:
    case Section::kEntities:
      break;
    case Section::kNone:
      return;
  }
  auto* entity = static_cast<Entity*>(object);
  if (section == Section::kBlocks) {
    if (object->kind() == ObjectKind::kBlock) {
      if (current_block_ != nullptr) Warn("Block " + Printable(current_block_->name) + " has no ENDBLK");
      current_block_ = static_cast<Block*>(object);
      doc_.blocks.push_back(current_block_);
      open_insert_ = nullptr;
      return;
    }
    if (object->kind() == ObjectKind::kEndBlk) {
      if (current_block_ != nullptr) {
        current_block_->end = object;
        entity->block = current_block_;
      } else {
        Warn("ENDBLK without BLOCK");
      }
      current_block_ = nullptr;
      open_insert_ = nullptr;
      return;
    }
    if (current_block_ != nullptr) {
      entity->block = current_block_;
      current_block_->entities.push_back(entity);
    } else {
      Warn("Entity " + Printable(object->type_name) + " outside a block definition");
      doc_.entities.push_back(entity);
    }
  } else {
    doc_.entities.push_back(entity);
  }
  // ATTRIBs follow their INSERT up to a SEQEND.
  switch (object->kind()) {
    case ObjectKind::kInsert: {
      auto* insert = static_cast<Insert*>(object);
      open_insert_ = insert->attributes_follow ? insert : nullptr;
      break;
    }
    case ObjectKind::kAttrib:
      if (open_insert_ != nullptr) {
        auto* attrib = static_cast<Attrib*>(object);
        attrib->insert = open_insert_;
        open_insert_->attribs.push_back(attrib);
      }
      break;
    case ObjectKind::kSeqEnd:
      if (open_insert_ != nullptr) open_insert_->seqend = object;
      open_insert_ = nullptr;
      break;
    default:
      open_insert_ = nullptr;
      break;
  }
}

}  // namespace

Status ReadDxfBuffer(std::unique_ptr<char[]> data, size_t size, const std::string& name, Document& document) {
  const char* bytes = data.get();
  document.AdoptBuffer(std::move(data));
  if (size == 0 || bytes == nullptr) {
    return Status::Error(StatusCode::kNotADrawing, "The file is not a DXF drawing (it is empty): " + name);
  }
  if (size > kMaxDxfFileSize) {
    return Status::Error(StatusCode::kFileTooLarge, "The file is too large to read (over 2 GiB): " + name);
  }
  try {
    Reader reader(document, bytes, size, name);
    return reader.Run();
  } catch (const std::bad_alloc&) {
    return Status::Error(StatusCode::kFileTooLarge, "Not enough memory to read the drawing: " + name);
  } catch (const std::exception& e) {
    return Status::Error(StatusCode::kDamaged, std::string("The drawing could not be read (") + e.what() + "): " + name);
  }
}

Status ReadDxfFile(const std::string& path, Document& document) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return Status::Error(StatusCode::kFileNotFound, "File not found: " + path);
    return Status::Error(StatusCode::kCannotReadFile,
                         std::string("Cannot read the file (") + std::strerror(errno) + "): " + path);
  }
  if (!S_ISREG(info.st_mode)) {
    return Status::Error(StatusCode::kCannotReadFile, "Cannot read the file (it is not a regular file): " + path);
  }
  const auto size = static_cast<size_t>(info.st_size);
  if (size > kMaxDxfFileSize) {
    return Status::Error(StatusCode::kFileTooLarge, "The file is too large to read (over 2 GiB): " + path);
  }
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    return Status::Error(StatusCode::kCannotReadFile,
                         std::string("Cannot read the file (") + std::strerror(errno) + "): " + path);
  }
  std::unique_ptr<char[]> data;
  try {
    data = std::make_unique_for_overwrite<char[]>(size == 0 ? 1 : size);
  } catch (const std::bad_alloc&) {
    std::fclose(file);
    return Status::Error(StatusCode::kFileTooLarge, "Not enough memory to read the drawing: " + path);
  }
  const size_t got = size == 0 ? 0 : std::fread(data.get(), 1, size, file);
  const bool read_error = std::ferror(file) != 0;
  std::fclose(file);
  if (read_error || got != size) {
    return Status::Error(StatusCode::kCannotReadFile, "Cannot read the file (read error): " + path);
  }
  document.source_path = path;
  return ReadDxfBuffer(std::move(data), size, path, document);
}

}  // namespace vantrove::engine
