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
Document::~Document() = default;

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
  for (const auto& object : all_) highest = std::max(highest, object->handle);
  if (auto seed = ParseHandle(HeaderText("$HANDSEED")); seed && *seed > highest && *seed < (Handle{1} << 62)) {
    highest = *seed - 1;
  }
  next_handle_ = highest + 1;

  handle_index_.clear();
  handle_index_.reserve(all_.size());
  for (const auto& object : all_) {
    if (object->handle != kNoHandle) handle_index_.emplace_back(object->handle, object->element_id);
  }
  std::sort(handle_index_.begin(), handle_index_.end());
  // A damaged file can repeat a handle: the first record keeps it, later
  // ones get fresh handles so that every handle names one record.
  bool changed = false;
  for (size_t i = 1; i < handle_index_.size(); ++i) {
    if (handle_index_[i].first == handle_index_[i - 1].first) {
      Object* later = all_[handle_index_[i].second].get();
      warnings.push_back("Handle " + FormatHandle(later->handle) + " was used twice; the second record got a new handle");
      later->handle = kNoHandle;
      changed = true;
    }
  }
  for (const auto& object : all_) {
    const bool needs_handle = object->handle == kNoHandle && object->section != Section::kClasses &&
                              object->section != Section::kNone && object->type_name != "ENDTAB";
    if (needs_handle) {
      AssignHandle(object.get());
      changed = true;
    }
  }
  if (changed) {
    handle_index_.clear();
    for (const auto& object : all_) {
      if (object->handle != kNoHandle) handle_index_.emplace_back(object->handle, object->element_id);
    }
    std::sort(handle_index_.begin(), handle_index_.end());
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
    auto block = std::make_unique<Block>();
    block->type_name = "BLOCK";
    block->name = name;
    block->synthesized = true;
    block->section = Section::kBlocks;
    Block* raw = Add(std::move(block));
    AssignHandle(raw);
    handle_index_.emplace_back(raw->handle, raw->element_id);  // highest handle: order kept
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
      auto layout = std::make_unique<Layout>();
      layout->type_name = "LAYOUT";
      layout->name = name;
      layout->tab_order = tab;
      layout->block = block;
      layout->block_record = block->record;
      layout->synthesized = true;
      layout->section = Section::kObjects;
      Layout* raw = Add(std::move(layout));
      AssignHandle(raw);
      handle_index_.emplace_back(raw->handle, raw->element_id);
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
    auto layer = std::make_unique<Layer>();
    layer->type_name = "LAYER";
    layer->name = "0";
    layer->synthesized = true;
    layer->section = Section::kTables;
    Layer* raw = Add(std::move(layer));
    AssignHandle(raw);
    handle_index_.emplace_back(raw->handle, raw->element_id);
    layers.insert(layers.begin(), raw);
  }
}

Object* Document::Find(Handle handle) const {
  if (handle == kNoHandle) return nullptr;
  auto it = std::lower_bound(handle_index_.begin(), handle_index_.end(), std::make_pair(handle, uint32_t{0}));
  if (it == handle_index_.end() || it->first != handle) return nullptr;
  Object* object = all_[it->second].get();
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
