#pragma once
// Object handles. Inside the engine a handle is a 64-bit integer (0 means
// "no handle"); in every public text (API arguments, the XML description)
// it is upper-case hexadecimal without leading zeros.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrove::engine {

using Handle = uint64_t;
inline constexpr Handle kNoHandle = 0;

// "1F3" for 0x1F3; "0" for kNoHandle.
std::string FormatHandle(Handle handle);

// Parses hexadecimal text (either case, surrounding blanks ignored, at most
// 16 digits). Returns nullopt for empty text, a non-hex character or overflow.
std::optional<Handle> ParseHandle(std::string_view text);

// Handle -> record number. Handles are mostly dense, so the index is a flat
// table of 4-byte entries from the lowest handle up; handles far apart go
// to a hash map instead.
class HandleIndex {
 public:
  static constexpr uint32_t kNone = UINT32_MAX;

  // Starts over for `count` handles between `low` and `high`.
  void Reset(Handle low, Handle high, size_t count);
  // False (and nothing changes) when the handle is there already.
  bool Add(Handle handle, uint32_t id);
  uint32_t Find(Handle handle) const {
    if (handle >= low_ && handle - low_ < flat_.size() && flat_[handle - low_] != kNone) return flat_[handle - low_];
    if (spread_.empty()) return kNone;
    auto it = spread_.find(handle);
    return it == spread_.end() ? kNone : it->second;
  }

 private:
  Handle low_ = 0;
  std::vector<uint32_t> flat_;
  std::unordered_map<Handle, uint32_t> spread_;
};

}  // namespace vantrove::engine
