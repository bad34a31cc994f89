#include "dwg/decompress_r2007.hpp"

#include <cstring>

namespace vantrove::engine::dwg {

namespace {

// How a literal tail of 1 to 31 bytes is cut: the piece sizes from its first
// source byte upwards. The pieces are written last piece first, each with
// its bytes in order.
constexpr const char* kTailPieces[32] = {
    "",     "1",     "11",     "111",     "4",   "41",   "141",   "1411",   "8",    "81",    "181",
    "1811", "84",    "841",    "1841",    "18411", "88", "818",   "1881",   "88111", "884",  "8841",
    "88411", "884111", "888",  "8818",    "88181", "881811", "8884", "88841", "888411", "1188841"};

constexpr bool TailTableAddsUp() {
  for (size_t n = 0; n < 32; ++n) {
    size_t sum = 0;
    for (const char* p = kTailPieces[n]; *p != '\0'; ++p) sum += static_cast<size_t>(*p - '0');
    if (sum != n) return false;
  }
  return true;
}
static_assert(TailTableAddsUp(), "every literal tail must be cut into pieces that cover it exactly");

void CopyLiteral(const uint8_t* src, size_t n, uint8_t* dst) {
  while (n >= 32) {
    std::memcpy(dst, src + 24, 8);
    std::memcpy(dst + 8, src + 16, 8);
    std::memcpy(dst + 16, src + 8, 8);
    std::memcpy(dst + 24, src, 8);
    src += 32;
    dst += 32;
    n -= 32;
  }
  size_t start[8], size[8], pieces = 0, at = 0;
  for (const char* p = kTailPieces[n]; *p != '\0'; ++p) {
    start[pieces] = at;
    size[pieces] = static_cast<size_t>(*p - '0');
    at += size[pieces++];
  }
  while (pieces-- > 0) {
    std::memcpy(dst, src + start[pieces], size[pieces]);
    dst += size[pieces];
  }
}

class Input {
 public:
  Input(const uint8_t* p, size_t n) : p_(p), n_(n) {}
  bool more() const { return i_ < n_; }
  bool Has(size_t count) const { return count <= n_ - i_; }
  uint8_t Next() { return p_[i_++]; }  // callers check Has() first
  const uint8_t* Take(size_t count) {
    const uint8_t* r = p_ + i_;
    i_ += count;
    return r;
  }

 private:
  const uint8_t* p_;
  size_t n_;
  size_t i_ = 0;
};

// Length of a literal run announced by an opcode below 0x10: 8 to 0x16, or
// 0x17 plus extension bytes (one byte; when it is 0xFF, 16-bit words until
// one is not 0xFFFF).
bool LiteralLength(Input& in, uint8_t opcode, size_t& length) {
  length = static_cast<size_t>(opcode) + 8;
  if (length != 0x17) return true;
  if (!in.Has(1)) return false;
  size_t n = in.Next();
  length += n;
  if (n != 0xFF) return true;
  do {
    if (!in.Has(2)) return false;
    n = in.Next();
    n |= static_cast<size_t>(in.Next()) << 8;
    length += n;
  } while (n == 0xFFFF);
  return true;
}

// Decodes a back-reference from `opcode` and the bytes after it. `opcode`
// becomes the byte whose low three bits give the next literal run.
bool BackReference(Input& in, uint8_t& opcode, size_t& distance, size_t& length) {
  switch (opcode >> 4) {
    case 0:
      if (!in.Has(2)) return false;
      length = (opcode & 0x0Fu) + 0x13u;
      distance = in.Next();
      opcode = in.Next();
      length += (opcode >> 3) & 0x10u;
      distance += ((opcode & 0x78u) << 5) + 1;
      return true;
    case 1:
      if (!in.Has(2)) return false;
      length = (opcode & 0x0Fu) + 3u;
      distance = in.Next();
      opcode = in.Next();
      distance += ((opcode & 0xF8u) << 5) + 1;
      return true;
    case 2:
      if (!in.Has(3)) return false;
      distance = in.Next();
      distance |= static_cast<size_t>(in.Next()) << 8;
      length = opcode & 0x07u;
      if ((opcode & 0x08) == 0) {
        opcode = in.Next();
        length += opcode & 0xF8u;
      } else {
        if (!in.Has(2)) return false;
        ++distance;
        length += static_cast<size_t>(in.Next()) << 3;
        opcode = in.Next();
        length += (static_cast<size_t>(opcode & 0xF8u) << 8) + 0x100;
      }
      return true;
    default:
      if (!in.Has(1)) return false;
      length = opcode >> 4;
      distance = opcode & 0x0Fu;
      opcode = in.Next();
      distance += ((opcode & 0xF8u) << 1) + 1;
      return true;
  }
}

}  // namespace

bool DecompressR2007(const uint8_t* src, size_t srcSize, uint8_t* dst, size_t dstSize, size_t& produced) {
  produced = 0;
  if (srcSize == 0) return false;
  Input in(src, srcSize);
  size_t out = 0;

  uint8_t opcode = in.Next();
  size_t length = 0;
  if ((opcode & 0xF0) == 0x20) {
    if (!in.Has(3)) return false;
    in.Take(2);
    length = in.Next() & 0x07u;
    if (length == 0) return false;
  }
  while (in.more()) {
    if (length == 0 && !LiteralLength(in, opcode, length)) return false;
    if (!in.Has(length) || length > dstSize - out) return false;
    CopyLiteral(in.Take(length), length, dst + out);
    out += length;
    length = 0;
    if (!in.more()) break;

    opcode = in.Next();
    size_t distance = 0;
    if (!BackReference(in, opcode, distance, length)) return false;
    for (;;) {
      if (length > dstSize - out || (length > 0 && (distance == 0 || distance > out))) return false;
      uint8_t* to = dst + out;
      const uint8_t* from = to - distance;
      if (distance >= length) {
        std::memcpy(to, from, length);
      } else {
        for (size_t k = 0; k < length; ++k) to[k] = from[k];  // overlapping: repeats the last bytes
      }
      out += length;
      length = opcode & 0x07u;
      if (length != 0 || !in.more()) break;
      opcode = in.Next();
      if ((opcode >> 4) == 0) break;  // a literal run follows
      if ((opcode >> 4) == 0x0F) opcode &= 0x0F;
      if (!BackReference(in, opcode, distance, length)) return false;
    }
  }
  produced = out;
  return true;
}

}  // namespace vantrove::engine::dwg
