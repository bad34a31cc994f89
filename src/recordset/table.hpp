#pragma once
// Internal storage of recordsets. A Table holds rows of 32-bit cells: text
// cells point into a string pool that keeps every distinct text once (XML
// tables repeat block, layer and layout names on every row), other values
// live in a side list, chapter cells point at child tables. A Schema holds
// the field definitions; child tables of one chapter field share theirs.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vantrove/runtime.hpp"

namespace vantrove::recordset_detail {

class StringPool {
 public:
  StringPool();
  // The id of `s`, adding it when new.
  uint32_t Intern(std::string_view s);
  std::string_view Get(uint32_t id) const {
    const Entry& e = entries_[id];
    return {e.p, e.len};
  }
  size_t size() const { return entries_.size(); }

 private:
  struct Entry {
    const char* p;
    uint32_t len;
    uint32_t hash;
  };
  const char* Store(std::string_view s);
  void Grow();

  std::vector<Entry> entries_;
  std::vector<uint32_t> slots_;  // id + 1; 0 is free
  std::vector<std::unique_ptr<char[]>> chunks_;
  size_t chunkUsed_ = 0;
  size_t chunkSize_ = 0;
};

struct Schema;

struct FieldDef {
  std::string name;
  int32_t type = 0;
  int32_t definedSize = 0;
  int32_t attributes = -1;
  std::shared_ptr<Schema> child;  // chapter fields
};

struct Schema {
  std::vector<FieldDef> fields;
  // XML tables end with the "$Text" field, kept after every other field.
  bool textField = false;

  int Count() const { return static_cast<int>(fields.size()) + (textField ? 1 : 0); }
  bool IsText(int index) const { return textField && index == static_cast<int>(fields.size()); }
  const FieldDef& At(int index) const;
  // Case-insensitive lookup; -1 when absent.
  int Find(std::string_view name) const;
  int Add(FieldDef def);
  void Remove(int index);

 private:
  // Folded name -> first field with it; built lazily.
  mutable std::unordered_map<std::string, int> byFolded_;
  mutable size_t indexed_ = 0;
};

class Table {
 public:
  Table(std::shared_ptr<Schema> schema, std::shared_ptr<StringPool> pool);

  const std::shared_ptr<Schema>& schema() const { return schema_; }
  const std::shared_ptr<StringPool>& pool() const { return pool_; }

  uint32_t RowCount() const { return static_cast<uint32_t>(rows_.size()); }
  bool Deleted(uint32_t row) const { return rows_[row].deleted != 0; }
  void MarkDeleted(uint32_t row, bool deleted) { rows_[row].deleted = deleted ? 1 : 0; }

  // Appends an empty row and returns its index.
  uint32_t AddRow();
  // Appends a row whose first cells are `cells` (already encoded).
  uint32_t AddRow(const uint32_t* cells, uint32_t count, uint32_t textCell);

  Variant Get(uint32_t row, int field) const;
  bool GetText(uint32_t row, int field, std::string_view& out) const;
  std::shared_ptr<Table> Child(uint32_t row, int field) const;
  // The child table a chapter cell points at.
  std::shared_ptr<Table> ChildAt(uint32_t cell) const { return children_[cell & ~kTagMask]; }
  void Set(uint32_t row, int field, const Variant& value);

  // Cell encoding.
  static constexpr uint32_t kEmpty = 0;
  static constexpr uint32_t kTagMask = 0xC0000000u;
  static constexpr uint32_t kTagText = 0x00000000u;
  static constexpr uint32_t kTagOther = 0x40000000u;
  static constexpr uint32_t kTagChild = 0x80000000u;
  uint32_t TextCell(std::string_view s) { return pool_->Intern(s) + 1; }
  uint32_t ChildCell(std::shared_ptr<Table> child);
  uint32_t OtherCell(Variant v);
  uint32_t Cell(uint32_t row, int field) const;

 private:
  struct RowRef {
    uint64_t start = 0;
    uint32_t count = 0;
    uint32_t deleted = 0;
  };
  Variant Decode(uint32_t cell) const;
  void SetCell(uint32_t row, int field, uint32_t cell);

  std::shared_ptr<Schema> schema_;
  std::shared_ptr<StringPool> pool_;
  std::vector<uint32_t> cells_;
  std::vector<RowRef> rows_;
  std::vector<uint32_t> text_;  // the "$Text" cell of each row
  std::vector<Variant> others_;
  std::vector<std::shared_ptr<Table>> children_;
};

}  // namespace vantrove::recordset_detail
