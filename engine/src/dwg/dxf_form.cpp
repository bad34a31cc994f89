#include "dwg/dxf_form.hpp"

#include <algorithm>
#include <span>
#include <string>
#include <unordered_set>

#include "dwg/codepage.hpp"
#include "dwg/xrecord.hpp"
#include "model/record_encoder.hpp"
#include "model/type_table.hpp"

namespace vantrove::engine::dwg {

namespace {

using types::FieldValues;

// The format a proxy's data is in: the file's release number (low word)
// and maintenance version (high word).
uint32_t DrawingFormatCode(const Container& c) {
  uint32_t release = 23;
  switch (c.version) {
    case Version::kR13: release = 19; break;
    case Version::kR14: release = 21; break;
    case Version::kR2000: release = 23; break;
    case Version::kR2004: release = 25; break;
    case Version::kR2007: release = 27; break;
    case Version::kR2010: release = 29; break;
    case Version::kR2013: release = 31; break;
    case Version::kR2018: release = 33; break;
  }
  return release | (uint32_t{c.maintVersion} << 16);
}

int VersionRankOf(std::string_view acadver) {
  if (acadver.size() != 6 || acadver.substr(0, 4) != "AC10") return 15;
  return (acadver[4] - '0') * 10 + (acadver[5] - '0');
}

class FormBuilder {
 public:
  FormBuilder(const DecodedDrawing& d, Document& doc, const std::unordered_map<uint64_t, Object*>& made,
              const std::unordered_map<uint64_t, std::string_view>& names)
      // R13 and R14 records get the 2000 form: the later versions' readers
      // need the layouts' links to their block records.
      : d_(d), doc_(doc), made_(made), names_(names), rank_(std::max(VersionRankOf(doc.version), 15)) {}

  void Run();

 private:
  const types::TypeDesc* DescOf(const ObjectRecord& rec, const Object& object) const;
  void ChooseKnown();
  Handle LayoutRecord(const ObjectRecord& rec) const;
  bool Known(uint64_t handle) const { return known_.count(handle) != 0; }
  std::string_view Name(uint64_t handle) const {
    auto it = names_.find(handle);
    return it == names_.end() ? std::string_view() : it->second;
  }
  Object* Made(uint64_t handle) const {
    auto it = made_.find(handle);
    return it == made_.end() ? nullptr : it->second;
  }
  void EntityValues(const ObjectRecord& rec, const Object& object, FieldValues& v) const;
  void TypeValues(const ObjectRecord& rec, const Object& object, FieldValues& v) const;
  void TextValues(const TextData& t, const Object& object, FieldValues& v) const;
  void ProxyBody(const ProxyData& p, std::vector<Group>& out) const;

  const DecodedDrawing& d_;
  Document& doc_;
  const std::unordered_map<uint64_t, Object*>& made_;
  const std::unordered_map<uint64_t, std::string_view>& names_;
  int rank_;
  uint32_t format_ = DrawingFormatCode(d_.container);
  TextDecoder text_{d_.container.codePage};  // text in XRECORD items
  std::unordered_map<uint64_t, const types::TypeDesc*> descs_;
  std::unordered_set<uint64_t> known_;
  mutable std::unordered_map<Handle, int> viewports_;  // viewports numbered so far, by layout block
};

const types::TypeDesc* FormBuilder::DescOf(const ObjectRecord& rec, const Object& object) const {
  if (object.section == Section::kNone) return nullptr;  // in no block, table or section
  if (std::holds_alternative<ProxyData>(rec.payload)) {
    return types::FindType(rec.isEntity ? "ACAD_PROXY_ENTITY" : "ACAD_PROXY_OBJECT");
  }
  const types::TypeDesc* desc = rec.type < 500 ? types::FindDwgType(rec.type) : nullptr;
  if (desc == nullptr) desc = types::FindType(object.type_name);
  if (desc == nullptr) return nullptr;
  // A proxy stored as such in the file: its own layout is not decoded.
  if (desc->dxf_name.starts_with("ACAD_PROXY_")) return nullptr;
  const bool bare = rec.type == kTypeEndblk || rec.type == kTypeSeqend || rec.type == kTypeBlock;
  if (!rec.dataOk && !bare) return nullptr;
  if (desc->dxf_name == "TABLE") {
    for (const Table& table : doc_.tables) {
      if (table.head == &object) return desc;
    }
    return nullptr;  // a control object DXF has no table for
  }
  return desc;
}

// The objects that get a DXF form: a known type, and an owner that has one
// (or none at all); an unknown entity takes its attributes, vertices and
// extension dictionary along.
void FormBuilder::ChooseKnown() {
  for (const ObjectRecord& rec : d_.objects) {
    const Object* object = Made(rec.handle);
    if (object == nullptr) continue;
    // A layout shows a block: one without is no layout to a DXF reader.
    if (object->kind() == ObjectKind::kLayout && LayoutRecord(rec) == kNoHandle) continue;
    if (const types::TypeDesc* desc = DescOf(rec, *object)) {
      descs_[rec.handle] = desc;
      known_.insert(rec.handle);
    }
  }
  for (bool changed = true; changed;) {
    changed = false;
    for (const ObjectRecord& rec : d_.objects) {
      if (!Known(rec.handle)) continue;
      const Object* object = Made(rec.handle);
      const Handle owner = object->owner;
      if (owner == kNoHandle || Known(owner) || Made(owner) == nullptr) continue;
      known_.erase(rec.handle);
      changed = true;
    }
  }
}

// The block record a layout shows: its own link, else the record that
// links to it.
Handle FormBuilder::LayoutRecord(const ObjectRecord& rec) const {
  const auto* lo = std::get_if<LayoutData>(&rec.payload);
  if (lo == nullptr) return kNoHandle;
  if (const Object* own = Made(lo->blockRecord); own != nullptr && own->kind() == ObjectKind::kBlockRecord) {
    return lo->blockRecord;
  }
  for (const ObjectRecord& other : d_.objects) {
    const auto* bh = std::get_if<BlockHeaderData>(&other.payload);
    if (bh != nullptr && bh->layout == rec.handle) return other.handle;
  }
  return kNoHandle;
}

void FormBuilder::EntityValues(const ObjectRecord& rec, const Object& object, FieldValues& v) const {
  const auto& entity = static_cast<const Entity&>(object);
  if (entity.paper_space) v.Int("paper_space", 1);
  v.Text("layer", entity.layer.empty() ? std::string_view("0") : entity.layer);
  if (rec.color >= 0 && rec.color < 256) v.Int("color", rec.color);
}

void FormBuilder::TextValues(const TextData& t, const Object& object, FieldValues& v) const {
  const auto& te = static_cast<const TextEntity&>(object);
  std::string_view value = te.value;
  std::string flat;
  if (object.kind() == ObjectKind::kAttrib || object.kind() == ObjectKind::kAttDef) {
    const auto& a = static_cast<const Attrib&>(object);
    if (a.multiline && value.empty()) {
      // Written as a single-line attribute with the readable text.
      flat = MTextPlainText(a.mtext_value);
      for (char& c : flat) {
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
      }
      value = flat;
    }
    v.Text("tag", a.tag);
    v.Int("flags", a.flags);
    if (t.lockPosition) v.Int("lock_position", 1);
    if (object.kind() == ObjectKind::kAttDef) v.Text("prompt", static_cast<const AttDef&>(object).prompt);
  }
  v.Point("insertion", t.insertion.x, t.insertion.y, t.insertion.z);
  v.Real("height", t.height);
  v.Text("value", value);
  if (t.rotation != 0.0) v.Angle("rotation", t.rotation);
  if (t.widthFactor != 1.0) v.Real("width_factor", t.widthFactor);
  if (t.oblique != 0.0) v.Angle("oblique", t.oblique);
  v.Text("style", te.style.empty() ? std::string_view("Standard") : te.style);
  if (t.generation != 0) v.Int("generation", t.generation);
  if (t.horizontalAlign != 0) v.Int("horizontal_align", t.horizontalAlign);
  if (t.horizontalAlign != 0 || t.verticalAlign != 0) v.Point("alignment", t.alignment.x, t.alignment.y, t.alignment.z);
  if (t.verticalAlign != 0) v.Int("vertical_align", t.verticalAlign);
}

// The proxy body of an object of an undecoded class: graphics (entities),
// the data bits, the references and the format they are in. Written
// straight into the document's storage: proxies can be large.
void FormBuilder::ProxyBody(const ProxyData& p, std::vector<Group>& out) const {
  TextArena& arena = doc_.text_arena();
  // DXF 2013 and later count graphics and data in 160 and 161.
  const bool wide = rank_ >= 27;
  auto put = [&](int32_t code, std::string_view text) { out.emplace_back(code, arena.Store(text)); };
  auto hex = [&](std::span<const uint8_t> bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    constexpr size_t kChunk = 127;
    for (size_t at = 0; at < bytes.size(); at += kChunk) {
      const size_t n = std::min(kChunk, bytes.size() - at);
      char* text = arena.Allocate(2 * n);
      for (size_t i = 0; i < n; ++i) {
        text[2 * i] = kDigits[bytes[at + i] >> 4];
        text[2 * i + 1] = kDigits[bytes[at + i] & 15];
      }
      out.emplace_back(310, std::string_view(text, 2 * n));
    }
  };
  if (!p.graphics.empty()) {
    put(wide ? 160 : 92, std::to_string(p.graphics.size()));
    hex(p.graphics);
  }
  put(wide ? 161 : 93, std::to_string(p.dataBits));
  hex(p.data);
  for (const auto& [code, handle] : p.ids) {
    // Soft and hard owners and pointers as DXF names them; relative
    // references (next and previous) are soft pointers.
    put(code == 2 ? 350 : code == 3 ? 360 : code == 5 ? 340 : 330, FormatHandle(handle));
  }
  put(94, "0");
  put(95, std::to_string(format_));
  put(70, "0");
}

void FormBuilder::TypeValues(const ObjectRecord& rec, const Object& object, FieldValues& v) const {
  if (const auto* proxy = std::get_if<ProxyData>(&rec.payload)) {
    v.Int("class_id", proxy->classId);  // the body follows (ProxyBody)
  } else if (const auto* x = std::get_if<XrecordData>(&rec.payload)) {
    if (x->hasCloning) v.Int("cloning", x->cloning);  // the items follow (Run)
  } else if (const auto* f = std::get_if<FieldData>(&rec.payload)) {
    v = f->values;
    if (object.type_name == "VIEWPORT") {
      // Numbered in each layout from 1 (the layout's own view), in handle
      // order; DWG stores no number.
      const int number = ++viewports_[object.owner];
      v.Int("id", number);
      v.Int("status", number);
    }
    for (const FieldData::Ref& ref : f->refs) {
      if (ref.slot >= 0 && !ref.byName) {
        if (Known(ref.handle)) v.SetGroupText(ref.field, static_cast<size_t>(ref.slot), FormatHandle(ref.handle));
      } else if (ref.slot >= 0) {
        if (std::string_view name = Name(ref.handle); !name.empty()) {
          v.SetGroupText(ref.field, static_cast<size_t>(ref.slot), name);
        }
      } else if (ref.code != 0) {
        if (Known(ref.handle)) v.Append(ref.field, ref.code, FormatHandle(ref.handle));
      } else if (!ref.byName) {
        if (Known(ref.handle)) v.Ref(ref.field, ref.handle);
      } else if (std::string_view name = Name(ref.handle); !name.empty()) {
        v.Text(ref.field, name);
      }
    }
  } else if (const auto* t = std::get_if<TextData>(&rec.payload)) {
    TextValues(*t, object, v);
  } else if (const auto* m = std::get_if<MTextData>(&rec.payload)) {
    const auto& mt = static_cast<const MText&>(object);
    v.Point("insertion", m->insertion.x, m->insertion.y, m->insertion.z);
    v.Real("height", m->textHeight);
    v.Real("width", m->rectWidth);
    if (m->attachment >= 1 && m->attachment <= 9) v.Int("attachment", m->attachment);
    if (m->drawingDirection >= 1 && m->drawingDirection <= 5) v.Int("direction", m->drawingDirection);
    v.Text("value", mt.value);
    v.Text("style", mt.style.empty() ? std::string_view("Standard") : mt.style);
    v.Point("x_axis", m->xAxis.x, m->xAxis.y, m->xAxis.z);
  } else if (const auto* in = std::get_if<InsertData>(&rec.payload)) {
    const auto& ins = static_cast<const Insert&>(object);
    if (!ins.attribs.empty()) v.Int("attributes_follow", 1);
    v.Text("block", ins.block_name);
    v.Point("insertion", in->insertion.x, in->insertion.y, in->insertion.z);
    if (in->scale.x != 1.0) v.Real("scale_x", in->scale.x);
    if (in->scale.y != 1.0) v.Real("scale_y", in->scale.y);
    if (in->scale.z != 1.0) v.Real("scale_z", in->scale.z);
    if (in->rotation != 0.0) v.Angle("rotation", in->rotation);
    if (rec.type == kTypeMinsert) {
      v.Int("columns", in->columns);
      v.Int("rows", in->rows);
      v.Real("column_spacing", in->columnSpacing);
      v.Real("row_spacing", in->rowSpacing);
    }
    if (in->extrusion.x != 0.0 || in->extrusion.y != 0.0 || in->extrusion.z != 1.0) {
      v.Point("extrusion", in->extrusion.x, in->extrusion.y, in->extrusion.z);
    }
  } else if (const auto* img = std::get_if<ImageData>(&rec.payload)) {
    v.Point("origin", img->origin.x, img->origin.y, img->origin.z);
    v.Point("u_vector", img->uVector.x, img->uVector.y, img->uVector.z);
    v.Point("v_vector", img->vVector.x, img->vVector.y, img->vVector.z);
    v.Point("size", img->size.x, img->size.y);
    if (Known(img->imageDef)) v.Ref("image_def", img->imageDef);
    v.Int("display", img->displayProperties);
    v.Int("clipping", img->clipping ? 1 : 0);
    v.Int("brightness", img->brightness);
    v.Int("contrast", img->contrast);
    v.Int("fade", img->fade);
    if (Known(img->imageDefReactor)) v.Ref("reactor", img->imageDefReactor);
    // The whole image as its clip boundary (pixel corners).
    v.Append("clip_boundary", 71, "1");
    v.Append("clip_boundary", 91, "2");
    v.Append("clip_boundary", 14, "-0.5");
    v.Append("clip_boundary", 24, "-0.5");
    v.Append("clip_boundary", 14, types::RealText(img->size.x - 0.5));
    v.Append("clip_boundary", 24, types::RealText(img->size.y - 0.5));
  } else if (const auto* def = std::get_if<ImageDefData>(&rec.payload)) {
    v.Text("path", static_cast<const ImageDef&>(object).path);
    v.Point("size", def->size.x, def->size.y);
    v.Point("pixel_size", def->pixelSize.x, def->pixelSize.y);
    v.Int("loaded", def->loaded ? 1 : 0);
    v.Int("units", def->resolutionUnits);
  } else if (std::holds_alternative<LayerData>(rec.payload)) {
    const auto& layer = static_cast<const Layer&>(object);
    v.Text("name", layer.name);
    v.Int("flags", layer.flags);
    v.Int("color", layer.color);
    v.Text("linetype", layer.linetype.empty() ? std::string_view("Continuous") : layer.linetype);
    v.Int("plot", layer.plot ? 1 : 0);
    v.Int("lineweight", layer.lineweight);
  } else if (const auto* te = std::get_if<TableEntryData>(&rec.payload)) {
    v.Text("name", te->name);
    v.Int("flags", te->xrefDependent ? 16 : 0);
  } else if (const auto* bh = std::get_if<BlockHeaderData>(&rec.payload)) {
    v.Text("name", Name(rec.handle));
    if (Known(bh->layout)) v.Ref("layout", bh->layout);
  } else if (const auto* dict = std::get_if<DictionaryData>(&rec.payload)) {
    v.Int("hard_owner", dict->hardOwner & 1);
    v.Int("cloning", dict->cloning);
    const int32_t code = (dict->hardOwner & 1) != 0 ? 360 : 350;
    for (const auto& [name, handle] : dict->entries) {
      if (!Known(handle)) continue;
      v.Append("entries", 3, name);
      v.Append("entries", code, FormatHandle(handle));
    }
    if (Known(dict->defaultEntry)) v.Ref("default", dict->defaultEntry);
  } else if (const auto* lo = std::get_if<LayoutData>(&rec.payload)) {
    v.Text("page_setup", lo->pageSetupName);
    if (!lo->plotConfig.empty()) v.Text("plot_config", lo->plotConfig);
    v.Text("paper_size", lo->paperSize);
    v.Text("name", lo->name);
    v.Int("flags", lo->flags);
    v.Int("tab_order", lo->tabOrder);
    v.Ref("block_record", LayoutRecord(rec));
  } else if (object.kind() == ObjectKind::kBlock) {
    const auto& block = static_cast<const Block&>(object);
    v.Text("name", block.name);
    v.Int("flags", block.flags);
    v.Point("base", block.base.x, block.base.y, block.base.z);
    v.Text("name_again", block.name);
    v.Text("xref_path", block.xref_path);
    if (!block.description.empty()) v.Text("description", block.description);
  }
  if (object.type_name == "TABLE") {
    for (const Table& table : doc_.tables) {
      if (table.head != &object) continue;
      v.Text("table", table.name);
      size_t count = 0;
      for (const Object* record : table.records) count += Known(record->handle) ? 1 : 0;
      v.Int("count", static_cast<int64_t>(count));
    }
  }
}

void FormBuilder::Run() {
  ChooseKnown();
  for (const ObjectRecord& rec : d_.objects) {
    if (!Known(rec.handle)) continue;
    Object* object = Made(rec.handle);
    const types::TypeDesc& desc = *descs_.at(rec.handle);
    types::RecordHead head;
    head.handle = rec.handle;
    head.owner = object->owner;
    for (uint64_t r : rec.reactors) {
      if (Known(r)) head.reactors.push_back(r);
    }
    if (Known(rec.xdictionary)) head.xdictionary = rec.xdictionary;
    FieldValues values;
    TypeValues(rec, *object, values);
    if (desc.entity) EntityValues(rec, *object, values);
    std::vector<Group> groups = types::EncodeRecord(desc, head, values, rank_, doc_.text_arena());
    if (const auto* proxy = std::get_if<ProxyData>(&rec.payload)) {
      ProxyBody(*proxy, groups);  // the last field of the proxy types
      object->type_name = desc.dxf_name;
    } else if (const auto* x = std::get_if<XrecordData>(&rec.payload)) {
      groups.reserve(groups.size() + x->data.size() / 8);
      AppendXrecordItems(x->data, x->utf16, text_, doc_.text_arena(), groups);  // the last field
    }
    doc_.SetGroups(*object, groups);
  }
}

}  // namespace

void BuildDxfForms(const DecodedDrawing& decoded, Document& doc, const std::unordered_map<uint64_t, Object*>& made,
                   const std::unordered_map<uint64_t, std::string_view>& names) {
  FormBuilder(decoded, doc, made, names).Run();
}

}  // namespace vantrove::engine::dwg
