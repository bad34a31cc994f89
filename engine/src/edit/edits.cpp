#include "vantrove/engine/edits.hpp"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vantrove::engine {

namespace {

constexpr size_t kNone = static_cast<size_t>(-1);
// The longest piece of an MTEXT value in one group.
constexpr size_t kMTextChunk = 250;

std::string Printable(std::string_view text) {
  std::string out;
  for (char c : text.substr(0, 60)) {
    const auto u = static_cast<unsigned char>(c);
    out.push_back(u < 0x20 ? '?' : c);
  }
  if (text.size() > 60) out += "...";
  return out;
}

Status ParseObjectHandle(std::string_view text, Handle& handle) {
  if (text.empty()) return Status::Error(StatusCode::kInvalidHandle, "The handle is empty");
  auto parsed = ParseHandle(text);
  if (!parsed || *parsed == kNoHandle) {
    return Status::Error(StatusCode::kInvalidHandle,
                         "Invalid handle \"" + Printable(text) + "\" (a handle is 1 to 16 hexadecimal digits)");
  }
  handle = *parsed;
  return Status::Ok();
}

// Group positions of a record's own data: outside application groups
// ({ACAD_REACTORS ... }) and before extended data.
bool IsOpening(const Group& g) { return g.code == 102 && !g.value().empty() && g.value().front() == '{'; }
bool IsClosing(const Group& g) { return g.code == 102 && !g.value().empty() && g.value().front() == '}'; }

size_t FindOwn(const std::vector<Group>& groups, int32_t code, size_t from = 0, size_t until = kNone) {
  int depth = 0;
  const size_t end = std::min(until, groups.size());
  for (size_t i = 0; i < end; ++i) {
    const Group& g = groups[i];
    if (g.code == 1001) return kNone;
    if (IsOpening(g)) {
      ++depth;
      continue;
    }
    if (IsClosing(g)) {
      if (depth > 0) --depth;
      continue;
    }
    if (depth == 0 && i >= from && g.code == code) return i;
  }
  return kNone;
}

size_t XdataStart(const std::vector<Group>& groups) {
  for (size_t i = 0; i < groups.size(); ++i) {
    if (groups[i].code == 1001) return i;
  }
  return groups.size();
}

// Sets the first own group `code` to `value`, or inserts it after the
// first own group `after` (before extended data when there is none).
void SetOwn(std::vector<Group>& groups, int32_t code, std::string_view value, int32_t after) {
  const size_t at = FindOwn(groups, code);
  if (at != kNone) {
    groups[at] = Group(code, value);
    return;
  }
  size_t position = XdataStart(groups);
  if (const size_t anchor = FindOwn(groups, after); anchor != kNone) position = anchor + 1;
  groups.insert(groups.begin() + static_cast<std::ptrdiff_t>(position), Group(code, value));
}

std::string OneLine(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      if (i + 1 < text.size() && text[i + 1] == '\n') continue;
      out.push_back(' ');
    } else if (c == '\n' || c == '\t') {
      out.push_back(' ');
    } else {
      out.push_back(c);
    }
  }
  return out;
}

bool TakesParameter(char c) {
  switch (c) {
    case 'A': case 'C': case 'c': case 'F': case 'f': case 'H': case 'Q': case 'T': case 'W': case 'p':
      return true;
    default:
      return false;
  }
}

// The formatting that opens an MTEXT value: braces and codes up to the first
// character of text, e.g. "{\fArial|b1;\C1;".
std::string_view LeadingFormat(std::string_view value) {
  size_t i = 0;
  while (i < value.size()) {
    if (value[i] == '{') {
      ++i;
      continue;
    }
    if (value[i] == '\\' && i + 1 < value.size()) {
      const char code = value[i + 1];
      if (TakesParameter(code)) {
        const size_t end = value.find(';', i + 2);
        if (end == std::string_view::npos) break;
        i = end + 1;
        continue;
      }
      if (code == 'L' || code == 'l' || code == 'O' || code == 'o' || code == 'K' || code == 'k') {
        i += 2;
        continue;
      }
    }
    break;
  }
  return value.substr(0, i);
}

// The MTEXT value for a caller's text.
std::string MTextValue(std::string_view text, std::string_view old_value) {
  std::string body;
  body.reserve(text.size() + 8);
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      if (i + 1 < text.size() && text[i + 1] == '\n') continue;
      body += "\\P";
    } else if (c == '\n') {
      body += "\\P";
    } else {
      body.push_back(c);
    }
  }
  const bool markup = text.find_first_of("\\{}") != std::string_view::npos;
  if (markup) return body;
  const std::string_view prefix = LeadingFormat(old_value);
  if (prefix.empty()) return body;
  int open = 0;
  for (char c : prefix) open += c == '{' ? 1 : 0;
  std::string out(prefix);
  out += body;
  out.append(static_cast<size_t>(open), '}');
  return out;
}

// Splits an MTEXT value into 3 groups of at most 250 bytes and a final 1
// group, never inside a UTF-8 sequence.
std::vector<Group> MTextGroups(std::string_view value) {
  std::vector<Group> out;
  while (value.size() > kMTextChunk) {
    size_t cut = kMTextChunk;
    while (cut > 0 && (static_cast<unsigned char>(value[cut]) & 0xC0) == 0x80) --cut;
    if (cut == 0) cut = kMTextChunk;
    out.emplace_back(3, value.substr(0, cut));
    value.remove_prefix(cut);
  }
  out.emplace_back(1, value);
  return out;
}

// Replaces the text groups (3s and the final 1) in [from, until) with `text`.
void ReplaceTextGroups(std::vector<Group>& groups, size_t from, size_t until, std::string_view text) {
  size_t first = kNone;
  std::vector<Group> kept;
  kept.reserve(groups.size());
  int depth = 0;
  for (size_t i = 0; i < groups.size(); ++i) {
    const Group& g = groups[i];
    if (IsOpening(g)) ++depth;
    if (IsClosing(g) && depth > 0) --depth;
    const bool in_range = i >= from && i < until && depth == 0;
    if (in_range && (g.code == 1 || g.code == 3) && g.code != 102) {
      if (first == kNone) first = kept.size();
      continue;
    }
    kept.push_back(g);
  }
  if (first == kNone) first = std::min(until, kept.size());
  const std::vector<Group> pieces = MTextGroups(text);
  kept.insert(kept.begin() + static_cast<std::ptrdiff_t>(first), pieces.begin(), pieces.end());
  groups = std::move(kept);
}

std::string KindText(const Object* object) { return Printable(object->type_name); }

}  // namespace

// Who names whom: for each handle, the records whose reactors, dictionary
// entries, group lists or draw-order tables mention it. Built on the first
// deletion; entries may go stale (a record rewritten since), which only
// costs a look at a record that no longer names the handle.
struct DrawingEditor::References {
  std::unordered_map<Handle, std::vector<Object*>> by_target;

  explicit References(const Document& document) {
    for (Object* object : document.all_objects()) {
      if (object->erased) continue;
      const bool objects_section = object->section == Section::kObjects;
      int depth = 0;
      bool reactors = false;
      for (const Group& g : document.Groups(*object)) {
        if (g.code == 1001) break;
        if (IsOpening(g)) {
          ++depth;
          reactors = g.value() == "{ACAD_REACTORS";
          continue;
        }
        if (IsClosing(g)) {
          if (depth > 0) --depth;
          reactors = false;
          continue;
        }
        const bool candidate = (depth > 0 && reactors && g.code == 330) ||
                               (depth == 0 && objects_section && (g.code == 350 || g.code == 360 || g.code == 340 ||
                                                                  g.code == 331));
        if (!candidate) continue;
        if (auto h = ParseHandle(g.value()); h && *h != kNoHandle) by_target[*h].push_back(object);
      }
    }
  }
};

DrawingEditor::DrawingEditor(Document& document) : doc_(document) {}
DrawingEditor::~DrawingEditor() = default;

Status DrawingEditor::SetTextValue(std::string_view text, std::string_view handle_text) {
  doc_.SettleSourceForms();  // forms made from fields are built before a field changes
  Handle handle = kNoHandle;
  if (Status s = ParseObjectHandle(handle_text, handle); !s.ok()) return s;
  Object* object = doc_.Find(handle);
  if (object == nullptr) {
    return Status::Error(StatusCode::kHandleNotFound, "No object has the handle " + FormatHandle(handle));
  }
  const GroupSpan source = doc_.Groups(*object);
  std::vector<Group> groups(source.begin(), source.end());
  if (object->kind() == ObjectKind::kText) {
    auto* t = static_cast<Text*>(object);
    t->value = doc_.StoreText(OneLine(text));
    SetOwn(groups, 1, t->value, 7);
    doc_.SetGroups(*object, groups);
    return Status::Ok();
  }
  if (object->kind() == ObjectKind::kMText) {
    auto* m = static_cast<MText*>(object);
    const std::string value = MTextValue(text, m->value);
    m->value = doc_.StoreText(value);
    size_t until = groups.size();
    for (size_t i = 0; i < groups.size(); ++i) {
      if (groups[i].code == 101 || groups[i].code == 1001) {
        until = i;
        break;
      }
    }
    // The text goes where the old text stood, else after the subclass part's opening.
    size_t from = 0;
    for (size_t i = 0; i < until; ++i) {
      if (groups[i].code == 100 && groups[i].value() == "AcDbMText") from = i + 1;
    }
    if (FindOwn(groups, 1, from, until) == kNone && FindOwn(groups, 3, from, until) == kNone) {
      // No text yet: put it after the reference point and height.
      size_t anchor = FindOwn(groups, 41, from, until);
      if (anchor == kNone) anchor = FindOwn(groups, 40, from, until);
      until = anchor == kNone ? until : anchor + 1;
      from = until;
    }
    ReplaceTextGroups(groups, from, until, m->value);
    doc_.SetGroups(*object, groups);
    return Status::Ok();
  }
  return Status::Error(StatusCode::kWrongObjectKind, "The object with the handle " + FormatHandle(handle) + " is a " +
                                                         KindText(object) + ", not a TEXT or MTEXT");
}

Status DrawingEditor::SetAttributeValue(std::string_view value, std::string_view handle_text) {
  doc_.SettleSourceForms();  // forms made from fields are built before a field changes
  Handle handle = kNoHandle;
  if (Status s = ParseObjectHandle(handle_text, handle); !s.ok()) return s;
  Object* object = doc_.Find(handle);
  if (object == nullptr) {
    return Status::Error(StatusCode::kHandleNotFound, "No object has the handle " + FormatHandle(handle));
  }
  if (object->kind() != ObjectKind::kAttrib) {
    return Status::Error(StatusCode::kWrongObjectKind, "The object with the handle " + FormatHandle(handle) + " is a " +
                                                           KindText(object) + ", not an ATTRIB");
  }
  auto* attrib = static_cast<Attrib*>(object);
  const GroupSpan source = doc_.Groups(*object);
  std::vector<Group> groups(source.begin(), source.end());
  if (attrib->multiline) {
    size_t embedded = kNone;
    for (size_t i = 0; i < groups.size(); ++i) {
      if (groups[i].code == 1001) break;
      if (groups[i].code == 101) {
        embedded = i;
        break;
      }
    }
    if (embedded != kNone) {
      const std::string mtext = MTextValue(value, attrib->mtext_value);
      attrib->mtext_value = doc_.StoreText(mtext);
      ReplaceTextGroups(groups, embedded + 1, XdataStart(groups), attrib->mtext_value);
      if (!attrib->value.empty()) {
        attrib->value = doc_.StoreText(OneLine(MTextPlainText(mtext)));
        SetOwn(groups, 1, attrib->value, 40);
      }
      doc_.SetGroups(*object, groups);
      return Status::Ok();
    }
  }
  attrib->value = doc_.StoreText(OneLine(value));
  SetOwn(groups, 1, attrib->value, 40);
  doc_.SetGroups(*object, groups);
  return Status::Ok();
}

Status DrawingEditor::DeleteObject(std::string_view handle_text) {
  doc_.SettleSourceForms();  // forms made from fields are built before a field changes
  Handle handle = kNoHandle;
  if (Status s = ParseObjectHandle(handle_text, handle); !s.ok()) return s;
  Object* object = doc_.Find(handle);
  if (object == nullptr) {
    return Status::Error(StatusCode::kHandleNotFound, "No object has the handle " + FormatHandle(handle));
  }
  const std::string name = "The object with the handle " + FormatHandle(handle) + " is a " + KindText(object);
  if (!object->is_entity()) {
    return Status::Error(StatusCode::kWrongObjectKind, name + ", not an entity; only entities can be deleted");
  }
  auto* entity = static_cast<Entity*>(object);
  if (entity->kind() == ObjectKind::kBlock || entity->kind() == ObjectKind::kEndBlk ||
      entity->kind() == ObjectKind::kSeqEnd || entity->type_name == "VERTEX") {
    return Status::Error(StatusCode::kCannotDelete, name + ", a part of another object that cannot be deleted alone");
  }

  std::vector<Object*> doomed{entity};
  std::vector<Entity*>* list = entity->block != nullptr ? &entity->block->entities : &doc_.entities;
  if (entity->kind() == ObjectKind::kInsert) {
    auto* insert = static_cast<Insert*>(entity);
    for (Attrib* a : insert->attribs) doomed.push_back(a);
    if (insert->seqend != nullptr) doomed.push_back(insert->seqend);
  } else if (entity->type_name == "POLYLINE") {
    auto it = std::find(list->begin(), list->end(), entity);
    if (it != list->end()) {
      for (++it; it != list->end(); ++it) {
        Entity* next = *it;
        if (next->type_name != "VERTEX" && next->kind() != ObjectKind::kSeqEnd) break;
        doomed.push_back(next);
        if (next->kind() == ObjectKind::kSeqEnd) break;
      }
    }
  } else if (entity->kind() == ObjectKind::kAttrib) {
    auto* attrib = static_cast<Attrib*>(entity);
    if (Insert* insert = attrib->insert; insert != nullptr) {
      std::erase(insert->attribs, attrib);
      if (insert->attribs.empty()) {
        // No attributes left: the reference no longer announces any.
        if (insert->seqend != nullptr) doomed.push_back(insert->seqend);
        insert->seqend = nullptr;
        insert->attributes_follow = false;
        const GroupSpan source = doc_.Groups(*insert);
        std::vector<Group> groups(source.begin(), source.end());
        if (const size_t at = FindOwn(groups, 66); at != kNone) groups.erase(groups.begin() + static_cast<std::ptrdiff_t>(at));
        doc_.SetGroups(*insert, groups);
      }
    }
  }

  // What the doomed records own goes with them: extension dictionaries,
  // image reactors, and the entries of those dictionaries.
  for (size_t i = 0; i < doomed.size(); ++i) {
    const Object* owner = doomed[i];
    for (const Group& g : doc_.Groups(*owner)) {
      const bool owning = g.code == 360 || (owner->kind() == ObjectKind::kDictionary && g.code == 350);
      if (!owning) continue;
      auto target_handle = ParseHandle(g.value());
      if (!target_handle) continue;
      Object* target = doc_.Find(*target_handle);
      if (target == nullptr || target->is_entity() || target->owner != owner->handle) continue;
      if (std::find(doomed.begin(), doomed.end(), target) == doomed.end()) doomed.push_back(target);
    }
  }

  std::unordered_set<const Object*> gone(doomed.begin(), doomed.end());
  std::unordered_set<Handle> gone_handles;
  for (Object* o : doomed) {
    o->erased = true;
    if (o->handle != kNoHandle) gone_handles.insert(o->handle);
  }
  auto is_gone = [&](const Object* o) { return gone.count(o) != 0; };
  std::erase_if(*list, is_gone);
  if (list != &doc_.entities && entity->section == Section::kEntities) std::erase_if(doc_.entities, is_gone);
  std::erase_if(doc_.objects_section, is_gone);

  // Records that name a removed one: reactors, dictionary entries, groups,
  // draw-order tables.
  if (!references_) references_ = std::make_unique<References>(doc_);
  std::unordered_set<Object*> touched;
  for (Handle h : gone_handles) {
    auto it = references_->by_target.find(h);
    if (it == references_->by_target.end()) continue;
    for (Object* o : it->second) {
      if (!o->erased) touched.insert(o);
    }
  }
  auto names_gone = [&](const Group& g) {
    auto h = ParseHandle(g.value());
    return h && gone_handles.count(*h) != 0;
  };
  for (Object* o : touched) {
    std::vector<Group> kept;
    kept.reserve(doc_.Groups(*o).size());
    int depth = 0;
    bool reactors = false;
    bool changed = false;
    bool xdata = false;
    const GroupSpan groups = doc_.Groups(*o);
    for (size_t i = 0; i < groups.size(); ++i) {
      const Group& g = groups[i];
      if (g.code == 1001) xdata = true;
      if (!xdata && IsOpening(g)) {
        ++depth;
        reactors = g.value() == "{ACAD_REACTORS";
      } else if (!xdata && IsClosing(g)) {
        if (depth > 0) --depth;
        reactors = false;
      } else if (!xdata && depth > 0 && reactors && g.code == 330 && names_gone(g)) {
        changed = true;
        continue;
      } else if (!xdata && depth == 0 && o->section == Section::kObjects) {
        if ((g.code == 350 || g.code == 360) && names_gone(g)) {
          // A dictionary entry: its name (3) went just before.
          if (!kept.empty() && kept.back().code == 3) kept.pop_back();
          changed = true;
          continue;
        }
        if (g.code == 340 && o->type_name == "GROUP" && names_gone(g)) {
          changed = true;
          continue;
        }
        if (g.code == 331 && o->type_name == "SORTENTSTABLE" && names_gone(g)) {
          // Entity handle and its sort handle go in pairs.
          if (i + 1 < groups.size() && groups[i + 1].code == 5) ++i;
          changed = true;
          continue;
        }
      }
      kept.push_back(g);
    }
    if (!changed) continue;
    doc_.SetGroups(*o, kept);
    if (o->kind() == ObjectKind::kDictionary) {
      auto* dictionary = static_cast<Dictionary*>(o);
      std::erase_if(dictionary->entries, [&](const Dictionary::Entry& e) { return gone_handles.count(e.handle) != 0; });
    }
  }
  return Status::Ok();
}

Status DrawingEditor::SetImagePath(std::string_view path, std::string_view handle_text) {
  doc_.SettleSourceForms();  // forms made from fields are built before a field changes
  Handle handle = kNoHandle;
  if (Status s = ParseObjectHandle(handle_text, handle); !s.ok()) return s;
  Object* object = doc_.Find(handle);
  if (object == nullptr) {
    return Status::Error(StatusCode::kHandleNotFound, "No object has the handle " + FormatHandle(handle));
  }
  ImageDef* def = nullptr;
  if (object->kind() == ObjectKind::kImageDef) {
    def = static_cast<ImageDef*>(object);
  } else if (object->kind() == ObjectKind::kImage) {
    Object* target = doc_.Find(static_cast<Image*>(object)->image_def);
    if (target == nullptr || target->kind() != ObjectKind::kImageDef) {
      return Status::Error(StatusCode::kHandleNotFound,
                           "The image with the handle " + FormatHandle(handle) + " has no image definition");
    }
    def = static_cast<ImageDef*>(target);
  } else {
    return Status::Error(StatusCode::kWrongObjectKind, "The object with the handle " + FormatHandle(handle) + " is a " +
                                                           KindText(object) + ", not an IMAGE");
  }
  const GroupSpan source = doc_.Groups(*def);
  std::vector<Group> groups(source.begin(), source.end());
  def->path = doc_.StoreText(OneLine(path));
  SetOwn(groups, 1, def->path, 100);
  doc_.SetGroups(*def, groups);
  return Status::Ok();
}

Status DrawingEditor::SetXrefPath(std::string_view path, std::string_view name) {
  doc_.SettleSourceForms();  // forms made from fields are built before a field changes
  Block* block = doc_.FindBlock(name);
  if (block == nullptr || block->erased) {
    return Status::Error(StatusCode::kXrefNotFound, "No external reference is named \"" + Printable(name) + "\"");
  }
  if (!block->is_xref()) {
    return Status::Error(StatusCode::kWrongObjectKind,
                         "The block \"" + Printable(name) + "\" is not an external reference");
  }
  const GroupSpan source = doc_.Groups(*block);
  std::vector<Group> groups(source.begin(), source.end());
  block->xref_path = doc_.StoreText(OneLine(path));
  SetOwn(groups, 1, block->xref_path, 3);
  doc_.SetGroups(*block, groups);
  return Status::Ok();
}

Status DrawingEditor::SetLayerState(std::string_view name, int32_t state, int32_t mode) {
  doc_.SettleSourceForms();  // forms made from fields are built before a field changes
  if (state != 1 && state != 2) {
    return Status::Error(StatusCode::kInvalidLayerState,
                         "Invalid layer state " + std::to_string(state) + " (1 turns on or thaws, 2 turns off or freezes)");
  }
  if (mode != 1 && mode != 2) {
    return Status::Error(StatusCode::kInvalidLayerMode,
                         "Invalid layer mode " + std::to_string(mode) + " (1 switches on/off, 2 freezes/thaws)");
  }
  Layer* layer = doc_.FindLayer(name);
  if (layer == nullptr || layer->erased) {
    return Status::Error(StatusCode::kLayerNotFound, "No layer is named \"" + Printable(name) + "\"");
  }
  const GroupSpan source = doc_.Groups(*layer);
  std::vector<Group> groups(source.begin(), source.end());
  if (mode == 1) {
    int32_t magnitude = layer->color == INT32_MIN ? 7 : std::abs(layer->color);
    if (magnitude == 0) magnitude = 7;
    layer->color = state == 1 ? magnitude : -magnitude;
    SetOwn(groups, 62, doc_.StoreText(std::to_string(layer->color)), 70);
  } else {
    layer->flags = state == 1 ? (layer->flags & ~1) : (layer->flags | 1);
    SetOwn(groups, 70, doc_.StoreText(std::to_string(layer->flags)), 2);
  }
  if (!layer->synthesized) doc_.SetGroups(*layer, groups);
  return Status::Ok();
}

}  // namespace vantrove::engine
