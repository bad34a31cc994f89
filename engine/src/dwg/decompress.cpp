#include "dwg/decompress.hpp"

namespace vantrove::engine::dwg {

namespace {

class Source {
 public:
  Source(const uint8_t* p, size_t n) : p_(p), n_(n) {}
  bool ok() const { return ok_; }
  bool atEnd() const { return i_ >= n_; }
  uint8_t Next() {
    if (i_ >= n_) {
      ok_ = false;
      return 0;
    }
    return p_[i_++];
  }
  const uint8_t* Take(size_t count) {
    if (count > n_ - i_) {
      ok_ = false;
      return nullptr;
    }
    const uint8_t* r = p_ + i_;
    i_ += count;
    return r;
  }

 private:
  const uint8_t* p_;
  size_t n_;
  size_t i_ = 0;
  bool ok_ = true;
};

// A run length that continues in extra bytes: each zero byte adds 0xFF, the
// first non-zero byte ends it.
size_t ExtendedLength(Source& s, size_t base) {
  size_t total = base;
  for (;;) {
    uint8_t b = s.Next();
    if (!s.ok()) return 0;
    if (b != 0) return total + b;
    total += 0xFF;
  }
}

// Literal run that follows a compressed block or starts the stream: returns
// its length, or 0 with `opcode` set when the byte is the next opcode.
size_t LiteralLength(Source& s, uint8_t& opcode) {
  opcode = 0;
  uint8_t b = s.Next();
  if (!s.ok()) return 0;
  if (b >= 0x01 && b <= 0x0F) return b + 3u;
  if (b == 0) return ExtendedLength(s, 0x0F) + 3;
  opcode = b;
  return 0;
}

}  // namespace

bool DecompressPage(const uint8_t* src, size_t srcSize, size_t maxOut, std::vector<uint8_t>& out) {
  out.clear();
  out.reserve(maxOut);
  Source s(src, srcSize);

  auto copyLiteral = [&](size_t n) -> bool {
    if (n > maxOut - out.size()) return false;
    const uint8_t* p = s.Take(n);
    if (p == nullptr) return false;
    out.insert(out.end(), p, p + n);
    return true;
  };

  uint8_t opcode = 0;
  size_t lit = LiteralLength(s, opcode);
  if (!s.ok() || !copyLiteral(lit)) return false;

  for (;;) {
    if (opcode == 0) {
      if (s.atEnd()) break;  // tolerate a stream without its end opcode
      opcode = s.Next();
    }
    size_t count = 0;
    size_t distance = 0;
    size_t litCount = 0;
    if (opcode == 0x11) break;
    if (opcode < 0x10) return false;
    if (opcode == 0x10 || (opcode >= 0x12 && opcode <= 0x1F) || (opcode >= 0x20 && opcode <= 0x3F)) {
      if (opcode == 0x10) {
        count = ExtendedLength(s, 0) + 9;
      } else if (opcode <= 0x1F) {
        count = (opcode & 0x0F) + 2u;
      } else if (opcode == 0x20) {
        count = ExtendedLength(s, 0) + 0x21;
      } else {
        count = opcode - 0x1Eu;
      }
      uint8_t b1 = s.Next();
      uint8_t b2 = s.Next();
      distance = (static_cast<size_t>(b1) >> 2) | (static_cast<size_t>(b2) << 6);
      if (opcode < 0x20) distance += 0x3FFF;
      litCount = b1 & 0x03u;
    } else {
      count = ((opcode & 0xF0u) >> 4) - 1;
      uint8_t b2 = s.Next();
      distance = (static_cast<size_t>(b2) << 2) | ((opcode & 0x0Cu) >> 2);
      litCount = opcode & 0x03u;
    }
    if (!s.ok()) return false;
    // Back-reference: distance counts back from the last byte produced.
    if (distance + 1 > out.size()) return false;
    if (count > maxOut - out.size()) return false;
    size_t from = out.size() - distance - 1;
    for (size_t i = 0; i < count; ++i) out.push_back(out[from + i]);

    opcode = 0;
    if (litCount == 0) litCount = LiteralLength(s, opcode);
    if (!s.ok() || !copyLiteral(litCount)) return false;
  }
  return true;
}

}  // namespace vantrove::engine::dwg
