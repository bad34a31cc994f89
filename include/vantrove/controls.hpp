#pragma once
// Control interfaces (see controls/interfaces.hpp), the in-memory controls
// (controls/memory.hpp) and the small container classes the control adapters
// use. Each is an Object, so late-bound callers reach its members by name;
// the in-memory ones are creatable by class name ("TextBox", "Dictionary",
// "Collection"). Toolkit adapters implement the same interfaces.

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vantrove/controls/file_system.hpp"
#include "vantrove/controls/interfaces.hpp"
#include "vantrove/controls/memory.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove {

// A text box. Members by name: Text (property, read and write).
class TextBox : public Object {
 public:
  std::string ClassName() const override { return "TextBox"; }
  virtual std::string Text() const = 0;
  virtual void SetText(std::string text) = 0;
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;
};

// A text box that is only its text.
class MemoryTextBox : public TextBox {
 public:
  MemoryTextBox() = default;
  explicit MemoryTextBox(std::string text) : text_(std::move(text)) {}
  std::string Text() const override { return text_; }
  void SetText(std::string text) override { text_ = std::move(text); }

 private:
  std::string text_;
};

// Keys and items in the order they were added. Keys of different kinds never
// match: numbers match by value whatever their type (1, 1.0 and True's -1
// are numbers), strings by CompareMode (binary by default, case-folded in
// text mode), objects by identity. Members by name: Add, Item (the default
// member; reading a missing key adds it with an Empty item), Exists, Keys,
// Items, Count, Remove, RemoveAll, CompareMode, Key (write: renames a key).
// Errors: 457 a key that is already there, 32811 removing a missing key,
// 5 changing CompareMode of a dictionary that holds entries.
class Dictionary : public Object {
 public:
  static constexpr int32_t kDuplicateKey = 457;
  static constexpr int32_t kElementNotFound = 32811;

  std::string ClassName() const override { return "Dictionary"; }
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;

  void Add(const Variant& key, const Variant& item);
  // The item of `key`; a missing key is added with an Empty item.
  Variant& Item(const Variant& key);
  void SetItem(const Variant& key, const Variant& item);
  bool Exists(const Variant& key) const;
  Variant Keys() const;   // a 1-D array from 0
  Variant Items() const;  // a 1-D array from 0
  int32_t Count() const { return static_cast<int32_t>(entries_.size()); }
  void Remove(const Variant& key);
  void RemoveAll();
  void RenameKey(const Variant& key, const Variant& newKey);
  CompareMode compare_mode() const { return mode_; }
  void set_compare_mode(CompareMode mode);

 private:
  std::string Canonical(const Variant& key) const;
  void Reindex();

  struct Entry {
    Variant key, item;
  };
  std::vector<Entry> entries_;
  std::unordered_map<std::string, size_t> index_;
  CompareMode mode_ = CompareMode::Binary;
};

// Items in order, numbered from 1, with optional string keys that match
// without regard to case. Members by name: Add(item, [key], [before],
// [after]), Item (the default member; by number or key), Count, Remove.
// Errors: 457 a key already used, 9 a number out of range, 5 an unknown key
// or both before and after given.
class Collection : public Object {
 public:
  static constexpr int32_t kDuplicateKey = 457;

  std::string ClassName() const override { return "Collection"; }
  Variant Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) override;

  void Add(const Variant& item, const Variant& key = Variant::Missing(), const Variant& before = Variant::Missing(),
           const Variant& after = Variant::Missing());
  const Variant& Item(const Variant& indexOrKey) const;
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  void Remove(const Variant& indexOrKey);
  // True when an item has this key (compared without case).
  bool HasKey(std::string_view key) const;

 private:
  size_t Position(const Variant& indexOrKey) const;  // 0-based

  struct Entry {
    Variant item;
    std::string key;  // folded; "" when none
    bool keyed = false;
  };
  std::vector<Entry> items_;
};

}  // namespace vantrove
