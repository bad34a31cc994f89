// TextBox's late-bound members, Dictionary and Collection, and their
// registration as creatable classes.
#include "member_names.hpp"
#include "vantrove/controls.hpp"

namespace vantrove {

namespace {

using detail::Expect;
using detail::Is;

bool IsReading(CallKind kind) { return kind != CallKind::PropertyPut; }

}  // namespace

// ---- TextBox -----------------------------------------------------------------

Variant TextBox::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "Text") || member.empty()) {
    if (kind == CallKind::PropertyPut) {
      Expect(args, 1);
      SetText(CStr(args[0]));
      return Variant();
    }
    Expect(args, 0);
    return Variant(Text());
  }
  return Object::Invoke(member, kind, args);
}

// ---- Dictionary ----------------------------------------------------------------

std::string Dictionary::Canonical(const Variant& key) const {
  // A tag for the kind of key, then its value.
  std::string out;
  const auto bytes = [&out](char tag, const void* p, size_t n) {
    out.reserve(n + 1);
    out.push_back(tag);
    out.append(static_cast<const char*>(p), n);
  };
  if (key.IsEmpty()) {
    out.push_back('e');
  } else if (key.IsNull()) {
    out.push_back('z');
  } else if (key.IsString()) {
    const std::string s = mode_ == CompareMode::Text ? FoldCase(key.str()) : key.str();
    bytes('s', s.data(), s.size());
  } else if (key.IsNumberLike()) {
    double d = CDbl(key);
    if (d == 0) d = 0;  // -0 and 0 are one key
    bytes('n', &d, sizeof d);
  } else if (key.IsObject()) {
    const void* p = key.object().get();
    bytes('o', &p, sizeof p);
  } else if (key.IsError()) {
    const int32_t code = key.get_if<ErrorValue>()->scode;
    bytes('x', &code, sizeof code);
  } else {
    Raise(err::kTypeMismatch);
  }
  return out;
}

void Dictionary::Reindex() {
  index_.clear();
  for (size_t i = 0; i < entries_.size(); ++i) index_.emplace(Canonical(entries_[i].key), i);
}

void Dictionary::Add(const Variant& key, const Variant& item) {
  std::string k = Canonical(key);
  if (index_.count(k)) Raise(kDuplicateKey, "This key is already associated with an element of this collection");
  entries_.push_back({key, item});
  index_.emplace(std::move(k), entries_.size() - 1);
}

Variant& Dictionary::Item(const Variant& key) {
  std::string k = Canonical(key);
  auto it = index_.find(k);
  if (it == index_.end()) {
    entries_.push_back({key, Variant()});
    it = index_.emplace(std::move(k), entries_.size() - 1).first;
  }
  return entries_[it->second].item;
}

void Dictionary::SetItem(const Variant& key, const Variant& item) { Item(key) = item; }

bool Dictionary::Exists(const Variant& key) const { return index_.count(Canonical(key)) != 0; }

Variant Dictionary::Keys() const {
  std::vector<Variant> out;
  out.reserve(entries_.size());
  for (const Entry& e : entries_) out.push_back(e.key);
  return Variant(SafeArray::Vector(std::move(out)));
}

Variant Dictionary::Items() const {
  std::vector<Variant> out;
  out.reserve(entries_.size());
  for (const Entry& e : entries_) out.push_back(e.item);
  return Variant(SafeArray::Vector(std::move(out)));
}

void Dictionary::Remove(const Variant& key) {
  auto it = index_.find(Canonical(key));
  if (it == index_.end()) Raise(kElementNotFound, "Element not found");
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(it->second));
  Reindex();
}

void Dictionary::RemoveAll() {
  entries_.clear();
  index_.clear();
}

void Dictionary::RenameKey(const Variant& key, const Variant& newKey) {
  auto it = index_.find(Canonical(key));
  if (it == index_.end()) Raise(kElementNotFound, "Element not found");
  std::string k = Canonical(newKey);
  if (index_.count(k)) Raise(kDuplicateKey, "This key is already associated with an element of this collection");
  const size_t pos = it->second;
  index_.erase(it);
  entries_[pos].key = newKey;
  index_.emplace(std::move(k), pos);
}

void Dictionary::set_compare_mode(CompareMode mode) {
  if (!entries_.empty()) Raise(err::kInvalidCall);
  mode_ = mode;
}

Variant Dictionary::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (Is(member, "Item") || member.empty()) {
    if (kind == CallKind::PropertyPut) {
      Expect(args, 2);
      SetItem(args[0], args[1]);
      return Variant();
    }
    Expect(args, 1);
    return Item(args[0]);
  }
  if (Is(member, "Key") && kind == CallKind::PropertyPut) {
    Expect(args, 2);
    RenameKey(args[0], args[1]);
    return Variant();
  }
  if (Is(member, "CompareMode")) {
    if (kind == CallKind::PropertyPut) {
      Expect(args, 1);
      const int32_t m = CLng(args[0]);
      if (m < 0) Raise(err::kInvalidCall);
      set_compare_mode(m == 0 ? CompareMode::Binary : CompareMode::Text);
      return Variant();
    }
    Expect(args, 0);
    return Variant(static_cast<int32_t>(mode_));
  }
  if (!IsReading(kind)) return Object::Invoke(member, kind, args);
  if (Is(member, "Add")) {
    Expect(args, 2);
    Add(args[0], args[1]);
    return Variant();
  }
  if (Is(member, "Exists")) {
    Expect(args, 1);
    return Variant(Exists(args[0]));
  }
  if (Is(member, "Keys")) {
    Expect(args, 0);
    return Keys();
  }
  if (Is(member, "Items")) {
    Expect(args, 0);
    return Items();
  }
  if (Is(member, "Count")) {
    Expect(args, 0);
    return Variant(Count());
  }
  if (Is(member, "Remove")) {
    Expect(args, 1);
    Remove(args[0]);
    return Variant();
  }
  if (Is(member, "RemoveAll")) {
    Expect(args, 0);
    RemoveAll();
    return Variant();
  }
  return Object::Invoke(member, kind, args);
}

// ---- Collection ----------------------------------------------------------------

size_t Collection::Position(const Variant& indexOrKey) const {
  if (indexOrKey.IsString()) {
    const std::string key = FoldCase(indexOrKey.str());
    for (size_t i = 0; i < items_.size(); ++i) {
      if (items_[i].keyed && items_[i].key == key) return i;
    }
    Raise(err::kInvalidCall);
  }
  const int32_t n = CLng(indexOrKey);
  if (n < 1 || n > Count()) Raise(err::kSubscript);
  return static_cast<size_t>(n - 1);
}

void Collection::Add(const Variant& item, const Variant& key, const Variant& before, const Variant& after) {
  Entry e{item, {}, false};
  if (!key.IsMissing()) {
    if (!key.IsString()) Raise(err::kTypeMismatch);
    e.key = FoldCase(key.str());
    e.keyed = true;
    for (const Entry& x : items_) {
      if (x.keyed && x.key == e.key) Raise(kDuplicateKey, "This key is already associated with an element of this collection");
    }
  }
  size_t at = items_.size();
  if (!before.IsMissing() && !after.IsMissing()) Raise(err::kInvalidCall);
  if (!before.IsMissing()) at = Position(before);
  if (!after.IsMissing()) at = Position(after) + 1;
  items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), std::move(e));
}

const Variant& Collection::Item(const Variant& indexOrKey) const { return items_[Position(indexOrKey)].item; }

bool Collection::HasKey(std::string_view key) const {
  const std::string folded = FoldCase(key);
  for (const Entry& e : items_) {
    if (e.keyed && e.key == folded) return true;
  }
  return false;
}

void Collection::Remove(const Variant& indexOrKey) {
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(Position(indexOrKey)));
}

Variant Collection::Invoke(std::string_view member, CallKind kind, std::vector<Variant>& args) {
  if (!IsReading(kind)) return Object::Invoke(member, kind, args);
  if (Is(member, "Item") || member.empty()) {
    Expect(args, 1);
    return Item(args[0]);
  }
  if (Is(member, "Count")) {
    Expect(args, 0);
    return Variant(Count());
  }
  if (Is(member, "Add")) {
    if (args.empty() || args.size() > 4) Raise(err::kWrongArgumentCount);
    args.resize(4, Variant::Missing());
    Add(args[0], args[1], args[2], args[3]);
    return Variant();
  }
  if (Is(member, "Remove")) {
    Expect(args, 1);
    Remove(args[0]);
    return Variant();
  }
  return Object::Invoke(member, kind, args);
}

// ---- Creatable classes -------------------------------------------------------------

namespace {

const bool kRegistered = [] {
  RegisterCreatableClass("TextBox", [] { return std::make_shared<MemoryTextBox>(); });
  RegisterCreatableClass("Dictionary", [] { return std::make_shared<Dictionary>(); });
  RegisterCreatableClass("Scripting.Dictionary", [] { return std::make_shared<Dictionary>(); });
  RegisterCreatableClass("Collection", [] { return std::make_shared<Collection>(); });
  return true;
}();

}  // namespace

}  // namespace vantrove
