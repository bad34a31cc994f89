// The parts of a DWG 2000 file around its objects: the header variables'
// handles, the classes, the file header with its section locators, and the
// whole file put together.

#include <algorithm>

#include "dwg/container.hpp"
#include "dwg/dwg_from_model.hpp"
#include "dwg/header_vars_r2000.hpp"
#include "dwg/model_encoder.hpp"
#include "dwg/source_sections.hpp"
#include "dwg/writer_r2000.hpp"

namespace vantrove::engine::dwg {

namespace encoding {

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

static void PutLe32(std::string& s, size_t at, uint32_t v) {
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


}  // namespace encoding

bool EncodeModelR2000(const Document& doc, std::string& out, std::map<std::string, size_t, std::less<>>& dropped,
                      std::string& error) {
  return encoding::ModelEncoder(doc, dropped).Run(out, error);
}

}  // namespace vantrove::engine::dwg
