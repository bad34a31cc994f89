#include "dwg/compress.hpp"

#include <algorithm>
#include <vector>

namespace vantrove::engine::dwg {

namespace {

constexpr size_t kMinMatch = 3;
constexpr size_t kMaxOffset = 0x3FFF;  // stored distance minus one
constexpr size_t kHashBits = 14;
// The stream opens with a literal run of at least four bytes.
constexpr size_t kFirstLiteral = 4;
// After 2^kSkipShift positions without a match, every other one is tried,
// and so on.
constexpr size_t kSkipShift = 5;

uint32_t Hash3(const uint8_t* p) {
  const uint32_t v = static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16);
  return (v * 2654435761u) >> (32 - kHashBits);
}

class Emitter {
 public:
  Emitter(const uint8_t* src, std::string& out) : src_(src), out_(out) {}

  // A count beyond what the opcode holds: zero bytes of 0xFF each, then the
  // rest (never zero).
  void Extended(size_t value) {
    while (value > 0xFF) {
      out_.push_back('\0');
      value -= 0xFF;
    }
    out_.push_back(static_cast<char>(value));
  }

  // A literal run of four bytes or more, announced by its own length byte.
  void LongLiteral(size_t from, size_t length) {
    if (length - 3 <= 0x0F) {
      out_.push_back(static_cast<char>(length - 3));
    } else {
      out_.push_back('\0');
      Extended(length - 3 - 0x0F);
    }
    Bytes(from, length);
  }

  // A back-reference followed by the literal run [litFrom, litFrom+litLength).
  void Match(size_t count, size_t offset, size_t litFrom, size_t litLength) {
    const unsigned low = litLength <= 3 ? static_cast<unsigned>(litLength) : 0u;
    if (count <= 14 && offset <= 0x3FF) {
      out_.push_back(static_cast<char>(((count + 1) << 4) | ((offset & 3) << 2) | low));
      out_.push_back(static_cast<char>(offset >> 2));
    } else {
      if (count <= 0x21) {
        out_.push_back(static_cast<char>(count + 0x1E));
      } else {
        out_.push_back(0x20);
        Extended(count - 0x21);
      }
      out_.push_back(static_cast<char>(((offset & 0x3F) << 2) | low));
      out_.push_back(static_cast<char>(offset >> 6));
    }
    if (litLength == 0) return;
    if (litLength <= 3) {
      Bytes(litFrom, litLength);
    } else {
      LongLiteral(litFrom, litLength);
    }
  }

  void Bytes(size_t from, size_t length) { out_.append(reinterpret_cast<const char*>(src_) + from, length); }

 private:
  const uint8_t* src_;
  std::string& out_;
};

}  // namespace

void CompressPage(const uint8_t* src, size_t size, std::string& out) {
  if (size < kFirstLiteral) {
    uint8_t padded[kFirstLiteral] = {0, 0, 0, 0};
    std::copy(src, src + size, padded);
    CompressPage(padded, kFirstLiteral, out);
    return;
  }
  out.reserve(out.size() + size / 2 + 16);
  Emitter emit(src, out);
  std::vector<uint32_t> head(size_t{1} << kHashBits, 0);  // position + 1, 0 when none
  size_t i = kFirstLiteral;
  for (size_t k = 0; k < kFirstLiteral && k + kMinMatch <= size; ++k) head[Hash3(src + k)] = static_cast<uint32_t>(k + 1);
  size_t litStart = 0;
  bool first = true;
  size_t pendingCount = 0, pendingOffset = 0;
  size_t misses = 0;
  while (i + kMinMatch <= size) {
    const uint32_t h = Hash3(src + i);
    const size_t candidate = head[h];
    head[h] = static_cast<uint32_t>(i + 1);
    size_t length = 0;
    if (candidate != 0 && i - (candidate - 1) - 1 <= kMaxOffset) {
      const size_t from = candidate - 1;
      const size_t limit = size - i;
      while (length < limit && src[from + length] == src[i + length]) ++length;
    }
    if (length < kMinMatch) {
      // Data that does not repeat is crossed in growing steps.
      i += 1 + (++misses >> kSkipShift);
      continue;
    }
    misses = 0;
    const size_t offset = i - (candidate - 1) - 1;
    if (first) {
      emit.LongLiteral(0, i);
      first = false;
    } else {
      emit.Match(pendingCount, pendingOffset, litStart, i - litStart);
    }
    pendingCount = length;
    pendingOffset = offset;
    const size_t end = i + length;
    for (size_t k = i + 1; k < end && k + kMinMatch <= size; ++k) head[Hash3(src + k)] = static_cast<uint32_t>(k + 1);
    i = end;
    litStart = end;
  }
  if (first) {
    emit.LongLiteral(0, size);
  } else {
    emit.Match(pendingCount, pendingOffset, litStart, size - litStart);
  }
  out.push_back(0x11);
}

}  // namespace vantrove::engine::dwg
