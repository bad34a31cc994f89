#include "vantrove/engine/handle.hpp"

namespace vantrove::engine {

std::string FormatHandle(Handle handle) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  char buffer[16];
  int n = 0;
  do {
    buffer[n++] = kDigits[handle & 0xF];
    handle >>= 4;
  } while (handle != 0);
  std::string out;
  out.reserve(static_cast<size_t>(n));
  while (n > 0) out.push_back(buffer[--n]);
  return out;
}

std::optional<Handle> ParseHandle(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
  if (text.empty() || text.size() > 16) return std::nullopt;
  Handle value = 0;
  for (char c : text) {
    unsigned digit;
    if (c >= '0' && c <= '9') {
      digit = static_cast<unsigned>(c - '0');
    } else if (c >= 'A' && c <= 'F') {
      digit = static_cast<unsigned>(c - 'A' + 10);
    } else if (c >= 'a' && c <= 'f') {
      digit = static_cast<unsigned>(c - 'a' + 10);
    } else {
      return std::nullopt;
    }
    value = (value << 4) | digit;
  }
  return value;
}

void HandleIndex::Reset(Handle low, Handle high, size_t count) {
  spread_.clear();
  flat_.clear();
  low_ = low;
  // Flat when the range is at most a few times the count (a slot is 4
  // bytes, a hash entry several times that).
  if (count > 0 && high >= low && high - low < 4 * count + 4096) {
    flat_.assign(static_cast<size_t>(high - low + 1), kNone);
  }
}

bool HandleIndex::Add(Handle handle, uint32_t id) {
  if (handle >= low_ && handle - low_ < flat_.size()) {
    uint32_t& slot = flat_[handle - low_];
    if (slot != kNone || (!spread_.empty() && spread_.count(handle) != 0)) return false;
    slot = id;
    return true;
  }
  // Just past the table (records the engine adds later): grow it.
  if (!flat_.empty() && handle >= low_ && handle - low_ < flat_.size() + 4096 && spread_.count(handle) == 0) {
    flat_.resize(static_cast<size_t>(handle - low_ + 1), kNone);
    flat_.back() = id;
    return true;
  }
  return spread_.emplace(handle, id).second;
}

}  // namespace vantrove::engine
