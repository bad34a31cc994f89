#include "table.hpp"

#include <cstring>
#include <functional>

#include "vantrove/recordset.hpp"

namespace vantrove::recordset_detail {

// ---- StringPool ------------------------------------------------------------------

namespace {
constexpr size_t kChunk = size_t{1} << 20;

uint32_t HashOf(std::string_view s) {
  const size_t h = std::hash<std::string_view>{}(s);
  return static_cast<uint32_t>(h ^ (h >> 32));
}
}  // namespace

StringPool::StringPool() : slots_(1024, 0) {}

const char* StringPool::Store(std::string_view s) {
  if (s.empty()) return "";
  if (s.size() > kChunk / 4) {
    // Long texts get a block of their own, so chunks stay well used.
    auto block = std::make_unique<char[]>(s.size());
    std::memcpy(block.get(), s.data(), s.size());
    const char* p = block.get();
    // Keep the current chunk last so that it goes on filling.
    chunks_.insert(chunks_.empty() ? chunks_.end() : chunks_.end() - 1, std::move(block));
    return p;
  }
  if (chunks_.empty() || chunkUsed_ + s.size() > chunkSize_) {
    chunks_.push_back(std::make_unique<char[]>(kChunk));
    chunkUsed_ = 0;
    chunkSize_ = kChunk;
  }
  char* p = chunks_.back().get() + chunkUsed_;
  std::memcpy(p, s.data(), s.size());
  chunkUsed_ += s.size();
  return p;
}

void StringPool::Grow() {
  std::vector<uint32_t> slots(slots_.size() * 2, 0);
  const size_t mask = slots.size() - 1;
  for (uint32_t id = 0; id < entries_.size(); ++id) {
    size_t i = entries_[id].hash & mask;
    while (slots[i] != 0) i = (i + 1) & mask;
    slots[i] = id + 1;
  }
  slots_ = std::move(slots);
}

uint32_t StringPool::Intern(std::string_view s) {
  if (s.size() > 0xFFFFFFFFu) Raise(err::kOutOfMemory);
  const uint32_t hash = HashOf(s);
  const size_t mask = slots_.size() - 1;
  size_t i = hash & mask;
  while (slots_[i] != 0) {
    const Entry& e = entries_[slots_[i] - 1];
    if (e.hash == hash && e.len == s.size() && std::memcmp(e.p, s.data(), s.size()) == 0) return slots_[i] - 1;
    i = (i + 1) & mask;
  }
  if (entries_.size() >= 0x3FFFFFFEu) Raise(err::kOutOfMemory);
  const auto id = static_cast<uint32_t>(entries_.size());
  entries_.push_back(Entry{Store(s), static_cast<uint32_t>(s.size()), hash});
  slots_[i] = id + 1;
  if (entries_.size() * 2 > slots_.size()) Grow();
  return id;
}

// ---- Schema ------------------------------------------------------------------------


const FieldDef& Schema::At(int index) const {
  static const FieldDef text{std::string(kTextFieldName), adtype::kVarWChar, 0, -1, nullptr};
  if (IsText(index)) return text;
  if (index < 0 || index >= static_cast<int>(fields.size())) {
    Raise(aderr::kItemNotFound, "The recordset has no field at position " + std::to_string(index));
  }
  return fields[static_cast<size_t>(index)];
}

int Schema::Find(std::string_view name) const {
  for (; indexed_ < fields.size(); ++indexed_) byFolded_.emplace(FoldCase(fields[indexed_].name), static_cast<int>(indexed_));
  // Most lookups are exact; fold only when that misses.
  for (size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].name == name) return static_cast<int>(i);
  }
  if (auto it = byFolded_.find(FoldCase(name)); it != byFolded_.end()) return it->second;
  if (textField && FoldCase(name) == FoldCase(kTextFieldName)) return static_cast<int>(fields.size());
  return -1;
}

int Schema::Add(FieldDef def) {
  const int i = static_cast<int>(fields.size());
  fields.push_back(std::move(def));
  return i;
}

void Schema::Remove(int index) {
  fields.erase(fields.begin() + index);
  byFolded_.clear();
  indexed_ = 0;
}

// ---- Table -------------------------------------------------------------------------

Table::Table(std::shared_ptr<Schema> schema, std::shared_ptr<StringPool> pool)
    : schema_(std::move(schema)), pool_(pool ? std::move(pool) : std::make_shared<StringPool>()) {}

uint32_t Table::AddRow() {
  if (rows_.size() >= 0xFFFFFFF0u) Raise(err::kOutOfMemory);
  rows_.push_back(RowRef{cells_.size(), 0, 0});
  if (schema_->textField) text_.push_back(kEmpty);
  return static_cast<uint32_t>(rows_.size() - 1);
}

uint32_t Table::AddRow(const uint32_t* cells, uint32_t count, uint32_t textCell) {
  if (rows_.size() >= 0xFFFFFFF0u) Raise(err::kOutOfMemory);
  rows_.push_back(RowRef{cells_.size(), count, 0});
  cells_.insert(cells_.end(), cells, cells + count);
  if (schema_->textField) text_.push_back(textCell);
  return static_cast<uint32_t>(rows_.size() - 1);
}

uint32_t Table::ChildCell(std::shared_ptr<Table> child) {
  if (children_.size() >= 0x3FFFFFFFu) Raise(err::kOutOfMemory);
  children_.push_back(std::move(child));
  return kTagChild | static_cast<uint32_t>(children_.size() - 1);
}

uint32_t Table::OtherCell(Variant v) {
  if (v.IsEmpty()) return kEmpty;
  if (v.IsString()) return TextCell(v.str());
  if (others_.size() >= 0x3FFFFFFFu) Raise(err::kOutOfMemory);
  others_.push_back(std::move(v));
  return kTagOther | static_cast<uint32_t>(others_.size() - 1);
}

uint32_t Table::Cell(uint32_t row, int field) const {
  if (schema_->IsText(field)) return text_[row];
  const RowRef& r = rows_[row];
  if (field < 0 || static_cast<uint32_t>(field) >= r.count) return kEmpty;
  return cells_[r.start + static_cast<uint32_t>(field)];
}

Variant Table::Decode(uint32_t cell) const {
  if (cell == kEmpty) return Variant();
  switch (cell & kTagMask) {
    case kTagText: return Variant(std::string(pool_->Get(cell - 1)));
    case kTagOther: return others_[cell & ~kTagMask];
    default: return Variant();
  }
}

Variant Table::Get(uint32_t row, int field) const { return Decode(Cell(row, field)); }

bool Table::GetText(uint32_t row, int field, std::string_view& out) const {
  const uint32_t cell = Cell(row, field);
  if (cell == kEmpty || (cell & kTagMask) != kTagText) return false;
  out = pool_->Get(cell - 1);
  return true;
}

std::shared_ptr<Table> Table::Child(uint32_t row, int field) const {
  const uint32_t cell = Cell(row, field);
  if ((cell & kTagMask) != kTagChild) return nullptr;
  return children_[cell & ~kTagMask];
}

void Table::SetCell(uint32_t row, int field, uint32_t cell) {
  if (schema_->IsText(field)) {
    text_[row] = cell;
    return;
  }
  RowRef& r = rows_[row];
  const auto f = static_cast<uint32_t>(field);
  if (f >= r.count) {
    const uint32_t wanted = static_cast<uint32_t>(schema_->fields.size());
    if (r.start + r.count == cells_.size()) {
      cells_.resize(r.start + wanted, kEmpty);  // the last row grows in place
    } else {
      // Move the row to the end with room for every field.
      const uint64_t start = cells_.size();
      cells_.resize(start + wanted, kEmpty);
      std::copy(cells_.begin() + static_cast<std::ptrdiff_t>(r.start),
                cells_.begin() + static_cast<std::ptrdiff_t>(r.start + r.count),
                cells_.begin() + static_cast<std::ptrdiff_t>(start));
      r.start = start;
    }
    r.count = wanted;
  }
  cells_[r.start + f] = cell;
}

void Table::Set(uint32_t row, int field, const Variant& value) {
  if (field < 0 || field >= schema_->Count()) {
    Raise(aderr::kItemNotFound, "The recordset has no field at position " + std::to_string(field));
  }
  SetCell(row, field, OtherCell(value));
}

}  // namespace vantrove::recordset_detail
