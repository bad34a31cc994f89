#include "vantrove/engine/groups.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <type_traits>

namespace vantrove::engine {

namespace {

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  return text;
}

constexpr size_t kTextChunk = size_t{1} << 20;
constexpr size_t kGroupChunk = size_t{1} << 16;

}  // namespace

double Group::AsDouble(double fallback) const {
  std::string_view text = TrimBlanks(value());
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double result = 0.0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (ec != std::errc() || end != text.data() + text.size() || text.empty()) return fallback;
  return result;
}

int64_t Group::AsInt(int64_t fallback) const {
  std::string_view text = TrimBlanks(value());
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  int64_t result = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (ec == std::errc() && end == text.data() + text.size() && !text.empty()) return result;
  // Some writers put integers as "1.0"; accept a number with an integral value.
  double d = 0.0;
  auto [dend, dec] = std::from_chars(text.data(), text.data() + text.size(), d);
  if (dec == std::errc() && dend == text.data() + text.size() && !text.empty() && d >= -9.2e18 && d <= 9.2e18 &&
      static_cast<double>(static_cast<int64_t>(d)) == d) {
    return static_cast<int64_t>(d);
  }
  return fallback;
}

GroupType GroupTypeOf(int32_t code) {
  if (code < 0) return GroupType::kString;
  if (code <= 9) return GroupType::kString;
  if (code <= 59) return GroupType::kDouble;
  if (code <= 79) return GroupType::kInt16;
  if (code <= 99) return GroupType::kInt32;
  if (code == 105) return GroupType::kHandle;
  if (code <= 109) return GroupType::kString;
  if (code <= 149) return GroupType::kDouble;
  if (code >= 160 && code <= 169) return GroupType::kInt64;
  if (code >= 170 && code <= 179) return GroupType::kInt16;
  if (code >= 210 && code <= 239) return GroupType::kDouble;
  if (code >= 270 && code <= 289) return GroupType::kInt16;
  if (code >= 290 && code <= 299) return GroupType::kBool;
  if (code >= 300 && code <= 309) return GroupType::kString;
  if (code >= 310 && code <= 319) return GroupType::kBinary;
  if (code >= 320 && code <= 369) return GroupType::kHandle;
  if (code >= 370 && code <= 389) return GroupType::kInt16;
  if (code >= 390 && code <= 399) return GroupType::kHandle;
  if (code >= 400 && code <= 409) return GroupType::kInt16;
  if (code >= 410 && code <= 419) return GroupType::kString;
  if (code >= 420 && code <= 429) return GroupType::kInt32;
  if (code >= 430 && code <= 439) return GroupType::kString;
  if (code >= 440 && code <= 459) return GroupType::kInt32;
  if (code >= 460 && code <= 469) return GroupType::kDouble;
  if (code >= 470 && code <= 479) return GroupType::kString;
  if (code >= 480 && code <= 481) return GroupType::kHandle;
  if (code == 999) return GroupType::kString;
  if (code == 1004) return GroupType::kBinary;
  if (code >= 1000 && code <= 1009) return GroupType::kString;
  if (code >= 1010 && code <= 1059) return GroupType::kDouble;
  if (code >= 1060 && code <= 1070) return GroupType::kInt16;
  if (code == 1071) return GroupType::kInt32;
  return GroupType::kString;
}

char* TextArena::Allocate(size_t size) {
  if (size > left_) {
    size_t chunk = size > kTextChunk / 4 ? size : kTextChunk;
    chunks_.push_back(std::make_unique_for_overwrite<char[]>(chunk));
    reserved_ += chunk;
    if (size > kTextChunk / 4) {
      // A big value gets a chunk of its own; the current chunk stays in use.
      return chunks_.back().get();
    }
    cursor_ = chunks_.back().get();
    left_ = chunk;
  }
  char* out = cursor_;
  cursor_ += size;
  left_ -= size;
  return out;
}

std::string_view TextArena::Store(std::string_view text) {
  if (text.empty()) return {};
  char* out = Allocate(text.size());
  std::memcpy(out, text.data(), text.size());
  return {out, text.size()};
}

void* ObjectArena::Allocate(size_t size, size_t alignment) {
  constexpr size_t kChunk = size_t{1} << 20;
  const size_t pad = (alignment - reinterpret_cast<uintptr_t>(cursor_) % alignment) % alignment;
  if (cursor_ == nullptr || size + pad > left_) {
    const size_t chunk = std::max(kChunk, size);
    chunks_.push_back(std::make_unique_for_overwrite<std::byte[]>(chunk));  // new[] aligns to max_align_t
    cursor_ = chunks_.back().get();
    left_ = chunk;
    return Allocate(size, alignment);
  }
  std::byte* out = cursor_ + pad;
  cursor_ = out + size;
  left_ -= size + pad;
  return out;
}

GroupSpan GroupPool::Store(GroupSpan groups) {
  static_assert(std::is_trivially_copyable_v<Group>);
  if (groups.empty()) return {};
  const size_t n = groups.size();
  auto fresh_chunk = [this](size_t count) {
    chunks_.push_back(std::make_unique_for_overwrite<std::byte[]>(count * sizeof(Group)));
    return reinterpret_cast<Group*>(chunks_.back().get());
  };
  Group* out;
  if (n > kGroupChunk / 4) {
    out = fresh_chunk(n);  // a long list gets a chunk of its own
  } else {
    if (n > left_) {
      cursor_ = fresh_chunk(kGroupChunk);
      left_ = kGroupChunk;
    }
    out = cursor_;
    cursor_ += n;
    left_ -= n;
  }
  std::memcpy(static_cast<void*>(out), groups.data(), n * sizeof(Group));
  stored_ += n;
  return {std::launder(out), n};
}

}  // namespace vantrove::engine
