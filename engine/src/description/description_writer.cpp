#include "vantrove/engine/description.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <unordered_set>
#include <vector>

#include "vantrove/engine/replacing_file.hpp"
#include "vantrove/engine/utf8.hpp"

namespace vantrove::engine {

namespace {

constexpr std::string_view kEol = "\r\n";

void AppendReference(std::string& out, uint32_t cp) {
  char buffer[16];
  auto result = std::to_chars(buffer, buffer + sizeof(buffer), cp);
  out += "&#";
  out.append(buffer, result.ptr);
  out.push_back(';');
}

void AppendEscaped(std::string& out, std::string_view text) {
  const auto* begin = reinterpret_cast<const unsigned char*>(text.data());
  const auto* p = begin;
  const auto* end = p + text.size();
  while (p < end) {
    const unsigned char c = *p;
    if (c < 0x80) {
      ++p;
      switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&apos;"; break;
        case '=': out += "&#61;"; break;
        case '\r': out += "&#13;"; break;
        case '\n': out += "&#10;"; break;
        case '\t': out += "&#9;"; break;
        case 0x7F: out += "&#127;"; break;
        default:
          if (c < 0x20) {
            out += "&#65533;";  // not representable in XML 1.0
          } else {
            out.push_back(static_cast<char>(c));
          }
      }
      continue;
    }
    // Decode one UTF-8 sequence; malformed bytes become U+FFFD.
    size_t at = static_cast<size_t>(p - begin);
    uint32_t cp = 0;
    const bool valid = DecodeUtf8(text, at, cp);
    p = begin + at;
    if (!valid) {
      out += "&#65533;";
      continue;
    }
    if (cp <= 0x9F || cp > 0xFF) {
      AppendReference(out, cp);  // C1 controls and everything beyond Latin-1
    } else {
      out.push_back(static_cast<char>(cp));
    }
  }
}

std::string FormatNumber(double value) {
  if (!std::isfinite(value)) return "0";
  if (value == 0.0) return "0";
  char buffer[64];
  auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  return std::string(buffer, result.ptr);
}

class Writer {
 public:
  Writer(const Document& document, DescriptionSink& sink) : doc_(document), sink_(sink) {}

  void Run(const DescriptionSections& sections) {
    Raw("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>");
    Raw("");
    Raw("<Drawing>");
    DrawingInformation();
    if (sections.layers) Layers();
    if (sections.layouts) Layouts();
    if (sections.blocks) Attributes();
    if (sections.attribute_definitions) AttributeDefinitions();
    if (sections.external_references) ExternalReferences();
    if (sections.system_variables) SystemVariables();
    if (sections.images) Images();
    if (sections.text) TextLiterals();
    Raw("</Drawing>");
    Flush();
  }

 private:
  void Flush() {
    if (!buffer_.empty()) sink_.Write(buffer_);
    buffer_.clear();
  }
  void Raw(std::string_view line) {
    buffer_ += line;
    buffer_ += kEol;
    if (buffer_.size() > (1u << 20)) Flush();
  }
  void Leaf(std::string_view tag, std::string_view value) {
    buffer_.push_back('<');
    buffer_ += tag;
    buffer_.push_back('>');
    AppendEscaped(buffer_, value);
    buffer_ += "</";
    buffer_ += tag;
    buffer_.push_back('>');
    buffer_ += kEol;
    if (buffer_.size() > (1u << 20)) Flush();
  }
  void Leaf(std::string_view tag, bool value) { Leaf(tag, value ? std::string_view("True") : std::string_view("False")); }
  void Leaf(std::string_view tag, int64_t value) { Leaf(tag, std::string_view(std::to_string(value))); }
  void Leaf(std::string_view tag, int32_t value) { Leaf(tag, static_cast<int64_t>(value)); }
  void Leaf(std::string_view tag, uint32_t value) { Leaf(tag, static_cast<int64_t>(value)); }
  void Leaf(std::string_view tag, size_t value) { Leaf(tag, static_cast<int64_t>(value)); }
  void LeafNumber(std::string_view tag, double value) { Leaf(tag, std::string_view(FormatNumber(value))); }
  void LeafHandle(std::string_view tag, Handle handle) { Leaf(tag, std::string_view(FormatHandle(handle))); }
  // <Tag name='value'>
  void Named(std::string_view tag, std::string_view name) {
    buffer_.push_back('<');
    buffer_ += tag;
    buffer_ += " name='";
    AppendEscaped(buffer_, name);
    buffer_ += "'>";
    buffer_ += kEol;
  }

  std::string_view LayoutName(const Layout* layout) const { return layout->name; }

  void DrawingInformation();
  void Layers();
  void Layouts();
  void Attributes();
  void InsertElement(const Insert& insert);
  // Constant attribute definitions of a block (they have no ATTRIB in references).
  size_t ConstantAttributes(std::string_view block_name) {
    auto it = constants_.find(block_name);
    if (it != constants_.end()) return it->second;
    size_t count = 0;
    if (const Block* block = doc_.FindBlock(block_name); block != nullptr) {
      for (const Entity* entity : block->entities) {
        if (entity->kind() == ObjectKind::kAttDef && static_cast<const AttDef*>(entity)->constant()) ++count;
      }
    }
    constants_.emplace(block_name, count);
    return count;
  }
  void AttributeDefinitions();
  void ExternalReferences();
  void SystemVariables();
  void Images();
  void TextLiterals();
  // Layout blocks first (in tab order), then block definitions, each with
  // the entities that `wanted` accepts; writes nothing for blocks without any.
  template <class Wanted, class Emit>
  void ByLayoutAndBlock(Wanted&& wanted, Emit&& emit, bool all_layouts);

  const Document& doc_;
  DescriptionSink& sink_;
  std::string buffer_;
  std::map<std::string_view, size_t> constants_;
};

void Writer::DrawingInformation() {
  Raw("<DrawingInformation>");
  std::string path = doc_.source_path;
  if (!path.empty()) {
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error);
    if (!error) path = absolute.lexically_normal().string();
  }
  Leaf("DatabaseFilename", std::string_view(path));
  Leaf("FileVersion", std::string_view(doc_.version));
  std::string_view format = "DXF";
  if (doc_.format == DrawingFormat::kDxfBinary) format = "Binary DXF";
  if (doc_.format == DrawingFormat::kDwg) format = "DWG";
  Leaf("FileFormat", format);
  Leaf("CodePage", std::string_view(doc_.codepage));
  // Integer header values keep their ASCII DXF padding in the model.
  std::string_view maintenance = doc_.HeaderText("$ACADMAINTVER");
  while (!maintenance.empty() && maintenance.front() == ' ') maintenance.remove_prefix(1);
  while (!maintenance.empty() && maintenance.back() == ' ') maintenance.remove_suffix(1);
  Leaf("MaintenanceVersion", maintenance);
  Leaf("LastSavedBy", doc_.HeaderText("$LASTSAVEDBY"));
  Leaf("NumberOfLayers", doc_.layers.size());
  Leaf("NumberOfLayouts", doc_.layouts.size());
  Leaf("NumberOfBlocks", doc_.blocks.size());
  Leaf("NumberOfObjects", doc_.all_objects().size());
  Raw("</DrawingInformation>");
}

void Writer::Layers() {
  Raw("<Layers>");
  for (const Layer* layer : doc_.layers) {
    Raw("<Layer>");
    Leaf("LayerName", layer->name);
    LeafHandle("Handle", layer->handle);
    Leaf("Color", layer->color < 0 ? -static_cast<int64_t>(layer->color) : static_cast<int64_t>(layer->color));
    Leaf("On", layer->on());
    Leaf("Frozen", layer->frozen());
    Leaf("Locked", layer->locked());
    Leaf("Linetype", layer->linetype);
    Leaf("Lineweight", layer->lineweight);
    Leaf("Plot", layer->plot);
    Leaf("ElementId", layer->element_id);
    Raw("</Layer>");
  }
  Raw("</Layers>");
}

void Writer::Layouts() {
  Raw("<Layouts>");
  for (const Layout* layout : doc_.layouts) {
    Raw("<Layout>");
    Leaf("LayoutName", layout->name);
    LeafHandle("Handle", layout->handle);
    Leaf("TabOrder", layout->tab_order);
    Leaf("BlockName", layout->block != nullptr ? layout->block->name : std::string_view());
    Leaf("ModelSpace", layout->is_model());
    Leaf("ElementId", layout->element_id);
    Raw("</Layout>");
  }
  Raw("</Layouts>");
}

template <class Wanted, class Emit>
void Writer::ByLayoutAndBlock(Wanted&& wanted, Emit&& emit, bool all_layouts) {
  auto has_any = [&](const Block* block) {
    if (block == nullptr) return false;
    for (const Entity* entity : block->entities) {
      if (wanted(*entity)) return true;
    }
    return false;
  };
  auto emit_block = [&](const Block* block) {
    Named("Block", block->name);
    for (const Entity* entity : block->entities) {
      if (wanted(*entity)) emit(*entity);
    }
    Raw("</Block>");
  };
  std::vector<const Block*> layout_blocks;
  for (const Layout* layout : doc_.layouts) {
    const Block* block = layout->block;
    if (!all_layouts && !has_any(block)) continue;
    Named("LayoutName", layout->name);
    if (has_any(block)) emit_block(block);
    Raw("</LayoutName>");
    if (block != nullptr) layout_blocks.push_back(block);
  }
  bool opened = false;
  for (const Block* block : doc_.blocks) {
    bool is_layout_block = false;
    for (const Block* used : layout_blocks) is_layout_block = is_layout_block || used == block;
    if (is_layout_block || doc_.LayoutOf(block) != nullptr || !has_any(block)) continue;
    if (!opened) {
      Named("LayoutName", "");
      opened = true;
    }
    emit_block(block);
  }
  if (opened) Raw("</LayoutName>");
}

void Writer::InsertElement(const Insert& insert) {
  Raw("<Insert>");
  Leaf("Name", insert.block_name);
  LeafHandle("Handle", insert.handle);
  Leaf("ElementId", insert.element_id);
  Leaf("LayerName", insert.layer);
  Raw("<InsertionPoint>");
  LeafNumber("X", insert.point.x);
  LeafNumber("Y", insert.point.y);
  LeafNumber("Z", insert.point.z);
  Raw("</InsertionPoint>");
  Leaf("NumberAttributes", insert.attribs.size());
  Leaf("NumberConstantAttributes", ConstantAttributes(insert.block_name));
  Leaf("Rows", insert.rows);
  Leaf("Columns", insert.columns);
  for (const Attrib* attrib : insert.attribs) {
    Raw("<Attribute>");
    LeafHandle("Handle", attrib->handle);
    Leaf("ElementId", attrib->element_id);
    Leaf("AttributeTag", attrib->tag);
    Leaf("AttributeValue", attrib->display_value());
    Raw("</Attribute>");
  }
  Raw("</Insert>");
}

void Writer::Attributes() {
  Raw("<Attributes>");
  ByLayoutAndBlock([](const Entity& e) { return e.kind() == ObjectKind::kInsert; },
                   [this](const Entity& e) { InsertElement(static_cast<const Insert&>(e)); }, true);
  Raw("</Attributes>");
}

void Writer::AttributeDefinitions() {
  Raw("<AttributeDefinitions>");
  for (const Block* block : doc_.blocks) {
    if (doc_.LayoutOf(block) != nullptr) continue;  // definitions belong to block definitions
    bool opened = false;
    for (const Entity* entity : block->entities) {
      if (entity->kind() != ObjectKind::kAttDef) continue;
      const auto& def = static_cast<const AttDef&>(*entity);
      if (!opened) {
        Named("Block", block->name);
        opened = true;
      }
      Raw("<AttributeDefinition>");
      LeafHandle("Handle", def.handle);
      Leaf("AttributeTag", def.tag);
      Leaf("AttributePrompt", def.prompt);
      Leaf("AttributeValue", def.display_value());
      Leaf("Constant", def.constant());
      Leaf("Invisible", def.invisible());
      Leaf("Verify", def.verify());
      Leaf("Preset", def.preset());
      Leaf("MultiLine", def.multiline);
      Leaf("ElementId", def.element_id);
      Leaf("LayerName", def.layer);
      Raw("</AttributeDefinition>");
    }
    if (opened) Raw("</Block>");
  }
  Raw("</AttributeDefinitions>");
}

void Writer::ExternalReferences() {
  Raw("<ExternalReferences>");
  for (const Block* block : doc_.blocks) {
    // Xrefs nested in an xref come as "outer|inner" and belong to the outer
    // one; some writers also mark a plain xref as dependent, so the name decides.
    if (!block->is_xref() || (block->xref_dependent() && block->name.find('|') != std::string_view::npos)) continue;
    Raw("<Reference>");
    Leaf("Name", block->name);
    Leaf("PathName", block->xref_path);
    Leaf("Loaded", block->xref_resolved());
    Leaf("Status", std::string_view(block->xref_resolved() ? "Resolved" : "Unresolved"));
    Leaf("Overlay", block->is_overlay());
    LeafHandle("Handle", block->record != nullptr ? block->record->handle : block->handle);
    Leaf("ElementId", block->element_id);
    Raw("</Reference>");
  }
  Raw("</ExternalReferences>");
}

void Writer::SystemVariables() {
  Raw("<SystemVariables>");
  for (const HeaderVariable& variable : doc_.header) {
    std::string tag;
    for (char c : variable.name) {
      if (c == '$') continue;
      const bool ok = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
      tag.push_back(ok ? c : '_');
    }
    if (tag.empty() || (tag[0] >= '0' && tag[0] <= '9')) tag.insert(tag.begin(), '_');
    std::string value;
    for (size_t i = 0; i < variable.values.size(); ++i) {
      if (i > 0) value.push_back(',');
      value += variable.values[i].value();
    }
    Leaf(tag, std::string_view(value));
  }
  Raw("</SystemVariables>");
}

void Writer::Images() {
  Raw("<Images>");
  std::vector<const Block*> order;
  std::unordered_set<const Block*> listed;
  for (const Layout* layout : doc_.layouts) {
    if (layout->block != nullptr && listed.insert(layout->block).second) order.push_back(layout->block);
  }
  for (const Block* block : doc_.blocks) {
    if (listed.insert(block).second) order.push_back(block);
  }
  for (const Block* block : order) {
    bool opened = false;
    for (const Entity* entity : block->entities) {
      if (entity->kind() != ObjectKind::kImage) continue;
      const auto& image = static_cast<const Image&>(*entity);
      if (!opened) {
        Named("Block", block->name);
        opened = true;
      }
      const Object* def = doc_.Find(image.image_def);
      std::string_view path;
      if (def != nullptr && def->kind() == ObjectKind::kImageDef) path = static_cast<const ImageDef*>(def)->path;
      Raw("<Image>");
      LeafHandle("Handle", image.handle);
      Leaf("ElementId", image.element_id);
      Leaf("PathName", path);
      Leaf("LayerName", image.layer);
      LeafHandle("ImageDefinitionHandle", image.image_def);
      LeafNumber("X", image.point.x);
      LeafNumber("Y", image.point.y);
      LeafNumber("Z", image.point.z);
      Raw("</Image>");
    }
    if (opened) Raw("</Block>");
  }
  Raw("</Images>");
}

void Writer::TextLiterals() {
  Raw("<TextLiterals>");
  ByLayoutAndBlock(
      [](const Entity& e) { return e.kind() == ObjectKind::kText || e.kind() == ObjectKind::kMText; },
      [this](const Entity& e) {
        if (e.kind() == ObjectKind::kText) {
          const auto& text = static_cast<const Text&>(e);
          Raw("<Text>");
          Leaf("Value", text.value);
          LeafHandle("Handle", text.handle);
          Leaf("ElementId", text.element_id);
          Leaf("LayerName", text.layer);
          LeafNumber("X", text.point.x);
          LeafNumber("Y", text.point.y);
          LeafNumber("Z", text.point.z);
          LeafNumber("Height", text.height);
          Raw("</Text>");
        } else {
          const auto& mtext = static_cast<const MText&>(e);
          Raw("<MText>");
          Leaf("Value", mtext.value);
          LeafHandle("Handle", mtext.handle);
          Leaf("PlainText", std::string_view(mtext.PlainText()));
          Leaf("ElementId", mtext.element_id);
          Leaf("LayerName", mtext.layer);
          LeafNumber("X", mtext.point.x);
          LeafNumber("Y", mtext.point.y);
          LeafNumber("Z", mtext.point.z);
          LeafNumber("Height", mtext.height);
          Raw("</MText>");
        }
      },
      true);
  Raw("</TextLiterals>");
}

class StringSink : public DescriptionSink {
 public:
  void Write(std::string_view bytes) override { text.append(bytes); }
  std::string text;
};

// Collects the many small pieces of the description into large writes.
class FileSink : public DescriptionSink {
 public:
  explicit FileSink(io::ReplacingFile& file) : file_(file) { buffer_.reserve(kBlock + 4096); }
  void Write(std::string_view bytes) override {
    buffer_.append(bytes);
    if (buffer_.size() >= kBlock) Flush();
  }
  bool Flush() {
    const bool ok = file_.Write(buffer_);
    buffer_.clear();
    return ok;
  }

 private:
  static constexpr size_t kBlock = size_t{1} << 20;
  io::ReplacingFile& file_;
  std::string buffer_;
};

}  // namespace

std::string EscapeDescriptionValue(std::string_view utf8) {
  std::string out;
  AppendEscaped(out, utf8);
  return out;
}

void WriteDescription(const Document& document, const DescriptionSections& sections, DescriptionSink& sink) {
  Writer(document, sink).Run(sections);
}

std::string DescriptionText(const Document& document, const DescriptionSections& sections) {
  StringSink sink;
  WriteDescription(document, sections, sink);
  return std::move(sink.text);
}

Status WriteDescriptionFile(const Document& document, const DescriptionSections& sections, const std::string& path) {
  io::ReplacingFile file;
  Status opened = file.Open(path);
  if (!opened.ok()) return opened;
  FileSink sink(file);
  try {
    WriteDescription(document, sections, sink);
  } catch (const std::exception& e) {
    return Status::Error(StatusCode::kCannotWriteFile, std::string("Cannot write the file (") + e.what() + "): " + path);
  }
  sink.Flush();
  return file.Commit();
}

}  // namespace vantrove::engine
