#include "vantrove/engine/document.hpp"

#include <algorithm>
#include <cctype>

namespace vantrove::engine {

namespace {

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

bool IsModelSpaceName(std::string_view name) {
  return SameName(name, "*Model_Space") || SameName(name, "$MODEL_SPACE");
}

bool IsPaperSpaceName(std::string_view name) {
  return SameName(name, "*Paper_Space") || SameName(name, "$PAPER_SPACE");
}

std::string Lower(std::string_view name) {
  std::string out(name);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

}  // namespace

Document::Document() = default;

Document::~Document() {
  for (Object* object : all_) {
    if (object->in_arena_) {
      object->~Object();
    } else {
      delete object;
    }
  }
}

void Document::Materialize(const Object& object) const {
  // The decoder may store this form itself (and others with it).
  auto* self = const_cast<Document*>(this);  // a Document is never made const; only its users are
  const GroupSpan decoded =
      decoder_ ? decoder_->Decode(*self, object, object.form_.offset, object.form_size_) : GroupSpan();
  if (object.form_pending_) Store(object, decoded);
}

void Document::Store(const Object& object, GroupSpan groups) const {
  const GroupSpan stored = groups_.Store(groups);
  object.form_.groups = stored.data();
  object.form_size_ = static_cast<uint32_t>(stored.size());
  object.form_pending_ = false;
}

void Document::Finish() {
  layers.clear();
  block_records.clear();
  layouts.clear();
  image_defs.clear();
  for (Table& table : tables) {
    for (Object* record : table.records) {
      if (record->kind() == ObjectKind::kLayer) layers.push_back(static_cast<Layer*>(record));
      if (record->kind() == ObjectKind::kBlockRecord) block_records.push_back(static_cast<BlockRecord*>(record));
    }
  }
  for (Object* object : objects_section) {
    if (object->kind() == ObjectKind::kLayout) layouts.push_back(static_cast<Layout*>(object));
    if (object->kind() == ObjectKind::kImageDef) image_defs.push_back(static_cast<ImageDef*>(object));
  }
  IndexHandles();
  LinkBlocks();
  LinkLayouts();
  AddMissingDefaults();
}

void Document::IndexHandles() {
  Handle highest = 0;
  Handle lowest = ~Handle{0};
  size_t count = 0;
  for (const Object* object : all_) {
    if (object->handle == kNoHandle) continue;
    highest = std::max(highest, object->handle);
    lowest = std::min(lowest, object->handle);
    ++count;
  }
  const Handle highest_used = highest;
  if (auto seed = ParseHandle(HeaderText("$HANDSEED")); seed && *seed > highest && *seed < (Handle{1} << 62)) {
    highest = *seed - 1;
  }
  next_handle_ = highest + 1;

  handle_index_.Reset(lowest, highest_used, count);
  // A damaged file can repeat a handle: the first record keeps it, later
  // ones get fresh handles so that every handle names one record.
  for (Object* object : all_) {
    if (object->handle == kNoHandle || handle_index_.Add(object->handle, object->element_id)) continue;
    warnings.push_back("Handle " + FormatHandle(object->handle) + " was used twice; the second record got a new handle");
    object->handle = kNoHandle;
  }
  for (Object* object : all_) {
    const bool needs_handle = object->handle == kNoHandle && object->section != Section::kClasses &&
                              object->section != Section::kNone && object->type_name != "ENDTAB";
    if (needs_handle) handle_index_.Add(AssignHandle(object), object->element_id);
  }
}

Handle Document::AssignHandle(Object* object) {
  object->handle = next_handle_++;
  object->handle_assigned = true;
  return object->handle;
}

void Document::LinkBlocks() {
  // A BLOCK names its record by owner handle; the name is the fallback for
  // files without handles (and for damaged links).
  blocks_by_name_.clear();
  for (Block* block : blocks) {
    Object* owner = Find(block->owner);
    if (owner != nullptr && owner->kind() == ObjectKind::kBlockRecord) {
      auto* record = static_cast<BlockRecord*>(owner);
      if (record->block == nullptr) {
        record->block = block;
        block->record = record;
      }
    }
  }
  for (BlockRecord* record : block_records) {
    if (record->block != nullptr) continue;
    Block* block = FindBlock(record->name);
    if (block != nullptr && block->record == nullptr) {
      record->block = block;
      block->record = record;
    }
  }

  model_space_ = nullptr;
  paper_space_ = nullptr;
  for (Block* block : blocks) {
    if (model_space_ == nullptr && IsModelSpaceName(block->name)) model_space_ = block;
    if (paper_space_ == nullptr && IsPaperSpaceName(block->name)) paper_space_ = block;
  }
  // Some writers give the layout blocks other names; the owners of the
  // ENTITIES section then tell which blocks they are.
  for (Entity* entity : entities) {
    Block*& space = entity->paper_space ? paper_space_ : model_space_;
    if (space != nullptr) continue;
    Object* owner = Find(entity->owner);
    if (owner != nullptr && owner->kind() == ObjectKind::kBlockRecord) space = static_cast<BlockRecord*>(owner)->block;
  }
  auto synthesize = [this](std::string_view name) {
    Block* raw = New<Block>();
    raw->type_name = "BLOCK";
    raw->name = name;
    raw->synthesized = true;
    raw->section = Section::kBlocks;
    handle_index_.Add(AssignHandle(raw), raw->element_id);
    blocks.push_back(raw);
    return raw;
  };
  if (model_space_ == nullptr) model_space_ = synthesize("*Model_Space");
  if (paper_space_ == nullptr) paper_space_ = synthesize("*Paper_Space");
  for (Block* block : blocks) blocks_by_name_.emplace(Lower(block->name), block);

  for (Entity* entity : entities) {
    Block* owner_block = nullptr;
    if (Object* owner = Find(entity->owner); owner != nullptr && owner->kind() == ObjectKind::kBlockRecord) {
      owner_block = static_cast<BlockRecord*>(owner)->block;
    }
    if (owner_block == nullptr) owner_block = entity->paper_space ? paper_space_ : model_space_;
    entity->block = owner_block;
    owner_block->entities.push_back(entity);
  }
}

void Document::LinkLayouts() {
  for (Layout* layout : layouts) {
    Object* target = Find(layout->block_record_handle);
    if (target != nullptr && target->kind() == ObjectKind::kBlockRecord) {
      layout->block_record = static_cast<BlockRecord*>(target);
    } else {
      for (BlockRecord* record : block_records) {
        if (record->layout_handle == layout->handle && layout->handle != kNoHandle) layout->block_record = record;
      }
    }
    if (layout->block_record != nullptr) {
      layout->block = layout->block_record->block;
      if (layout->block_record->layout == nullptr) layout->block_record->layout = layout;
    }
  }
  if (layouts.empty()) {
    auto make = [this](std::string_view name, int tab, Block* block) {
      Layout* raw = New<Layout>();
      raw->type_name = "LAYOUT";
      raw->name = name;
      raw->tab_order = tab;
      raw->block = block;
      raw->block_record = block->record;
      raw->synthesized = true;
      raw->section = Section::kObjects;
      handle_index_.Add(AssignHandle(raw), raw->element_id);
      if (block->record != nullptr && block->record->layout == nullptr) block->record->layout = raw;
      layouts.push_back(raw);
    };
    make("Model", 0, model_space_);
    make("Layout1", 1, paper_space_);
  }
  std::stable_sort(layouts.begin(), layouts.end(),
                   [](const Layout* a, const Layout* b) { return a->tab_order < b->tab_order; });
}

void Document::AddMissingDefaults() {
  if (FindLayer("0") == nullptr) {
    Layer* raw = New<Layer>();
    raw->type_name = "LAYER";
    raw->name = "0";
    raw->synthesized = true;
    raw->section = Section::kTables;
    handle_index_.Add(AssignHandle(raw), raw->element_id);
    layers.insert(layers.begin(), raw);
  }
}

Object* Document::Find(Handle handle) const {
  if (handle == kNoHandle) return nullptr;
  const uint32_t id = handle_index_.Find(handle);
  if (id == HandleIndex::kNone) return nullptr;
  Object* object = all_[id];
  return object->erased ? nullptr : object;
}

Object* Document::Find(std::string_view hex_handle) const {
  auto handle = ParseHandle(hex_handle);
  return handle ? Find(*handle) : nullptr;
}

const HeaderVariable* Document::FindHeader(std::string_view name) const {
  for (const HeaderVariable& variable : header) {
    if (SameName(variable.name, name)) return &variable;
  }
  return nullptr;
}

std::string_view Document::HeaderText(std::string_view name) const {
  const HeaderVariable* variable = FindHeader(name);
  if (variable == nullptr || variable->values.empty()) return {};
  return variable->values.front().value();
}

Layer* Document::FindLayer(std::string_view name) const {
  for (Layer* layer : layers) {
    if (SameName(layer->name, name)) return layer;
  }
  return nullptr;
}

Block* Document::FindBlock(std::string_view name) const {
  if (!blocks_by_name_.empty()) {
    auto it = blocks_by_name_.find(Lower(name));
    return it == blocks_by_name_.end() ? nullptr : it->second;
  }
  for (Block* block : blocks) {
    if (SameName(block->name, name)) return block;
  }
  return nullptr;
}

Layout* Document::LayoutOf(const Block* block) const {
  if (block == nullptr) return nullptr;
  if (block->record != nullptr && block->record->layout != nullptr) return block->record->layout;
  for (Layout* layout : layouts) {
    if (layout->block == block) return layout;
  }
  return nullptr;
}

}  // namespace vantrove::engine
