#pragma once
// The source form of drawing records: DXF group codes with their values.
//
// A Group is 16 bytes: the code and a view of the value text. The text is
// UTF-8 and lives in storage owned by the Document (the file buffer itself
// when the bytes could be used as they were, otherwise the document's text
// arena), so a Group never owns memory and copying one is free. Values
// are kept as text exactly as they would be written to an ASCII DXF file:
// numbers from binary DXF are formatted in their shortest exact form and
// binary chunks as upper-case hex, so nothing is lost either way.

#include <cstddef>
#include <new>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace vantrove::engine {

struct Group {
  int32_t code = 0;
  uint32_t size = 0;
  const char* data = nullptr;

  Group() = default;
  Group(int32_t c, std::string_view v)
      : code(c), size(static_cast<uint32_t>(v.size())), data(v.data()) {}

  std::string_view value() const { return {data, size}; }
  // Numeric readings of the value; surrounding blanks are ignored. They
  // return the fallback when the text is not a number of that kind.
  double AsDouble(double fallback = 0.0) const;
  int64_t AsInt(int64_t fallback = 0) const;
};

using GroupSpan = std::span<const Group>;

// The kind of value a group code carries (the DXF code ranges).
enum class GroupType : uint8_t { kString, kDouble, kInt16, kInt32, kInt64, kBool, kBinary, kHandle };
GroupType GroupTypeOf(int32_t code);

// Append-only text storage: big chunks, views stay valid for the life of
// the arena. Used for every value that had to be converted or joined.
class TextArena {
 public:
  TextArena() = default;
  TextArena(const TextArena&) = delete;
  TextArena& operator=(const TextArena&) = delete;

  std::string_view Store(std::string_view text);
  // Uninitialised room for `size` bytes, to be filled by the caller.
  char* Allocate(size_t size);
  size_t bytes_reserved() const { return reserved_; }

 private:
  std::vector<std::unique_ptr<char[]>> chunks_;
  char* cursor_ = nullptr;
  size_t left_ = 0;
  size_t reserved_ = 0;
};

// Append-only raw storage for the drawing's records: big chunks, each
// allocation aligned as asked (at most alignof(max_align_t)). The owner
// destroys what it placed here; the arena only frees the chunks.
class ObjectArena {
 public:
  ObjectArena() = default;
  ObjectArena(const ObjectArena&) = delete;
  ObjectArena& operator=(const ObjectArena&) = delete;

  void* Allocate(size_t size, size_t alignment);

 private:
  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  std::byte* cursor_ = nullptr;
  size_t left_ = 0;
};

// Append-only storage of group lists. Each stored list is contiguous.
class GroupPool {
 public:
  GroupPool() = default;
  GroupPool(const GroupPool&) = delete;
  GroupPool& operator=(const GroupPool&) = delete;

  GroupSpan Store(GroupSpan groups);
  size_t groups_stored() const { return stored_; }

 private:
  // Raw storage: groups are trivially copyable and are copied in whole.
  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  Group* cursor_ = nullptr;
  size_t left_ = 0;
  size_t stored_ = 0;
};

}  // namespace vantrove::engine
