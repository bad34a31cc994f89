#include "dwg/bit_writer.hpp"

#include <cmath>
#include <cstring>

#include "vantrove/engine/utf8.hpp"

namespace vantrove::engine::dwg {

namespace {

uint64_t DoubleBits(double v) {
  uint64_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  return bits;
}

// Positive zero only: a negative zero keeps its sign through the raw form.
bool IsPlusZero(double v) { return DoubleBits(v) == 0; }

}  // namespace

void BitWriter::Bits(uint64_t value, unsigned count) {
  if (count == 0) return;
  if (count < 64) value &= (uint64_t{1} << count) - 1;
  const size_t need = (pos_ + count + 7) / 8;
  if (buf_.size() < need) buf_.resize(need, 0);
  size_t byte = pos_ >> 3;
  const unsigned used = static_cast<unsigned>(pos_ & 7);
  pos_ += count;
  // The rest of a partly written byte first, then whole bytes, then the
  // leading bits of the last byte (the bytes past the position are zero).
  if (used != 0) {
    const unsigned room = 8 - used;
    if (count <= room) {
      buf_[byte] = static_cast<uint8_t>(buf_[byte] | (value << (room - count)));
      return;
    }
    count -= room;
    buf_[byte] = static_cast<uint8_t>(buf_[byte] | (value >> count));
    ++byte;
  }
  while (count >= 8) {
    count -= 8;
    buf_[byte++] = static_cast<uint8_t>(value >> count);
  }
  if (count > 0) buf_[byte] = static_cast<uint8_t>(value << (8 - count));
}

void BitWriter::B3(uint8_t v) {
  // The reader takes ones until a zero bit, at most three: 0, 10, 110, 111.
  unsigned ones = v == 0 ? 0 : v <= 2 ? 1 : v <= 6 ? 2 : 3;
  for (unsigned i = 0; i < ones; ++i) B(true);
  if (ones < 3) B(false);
}

// Raw values are little-endian: the low byte comes first in the stream.
void BitWriter::RS(uint16_t v) { Bits(__builtin_bswap16(v), 16); }

void BitWriter::RSBigEndian(uint16_t v) { Bits(v, 16); }

void BitWriter::RL(uint32_t v) { Bits(__builtin_bswap32(v), 32); }

void BitWriter::RLL(uint64_t v) { Bits(__builtin_bswap64(v), 64); }

void BitWriter::RD(double v) { RLL(DoubleBits(v)); }

// The two-bit code and the value in one write where they fit.
void BitWriter::BS(uint16_t v) {
  if (v == 0) {
    BB(2);
  } else if (v == 256) {
    BB(3);
  } else if (v < 256) {
    Bits(0x100u | v, 10);
  } else {
    Bits(__builtin_bswap16(v), 18);  // code 0, then the short
  }
}

void BitWriter::BL(uint32_t v) {
  if (v == 0) {
    BB(2);
  } else if (v < 256) {
    Bits(0x100u | v, 10);
  } else {
    Bits(__builtin_bswap32(v), 34);  // code 0, then the long
  }
}

void BitWriter::BLL(uint64_t v) {
  unsigned count = 0;
  for (uint64_t rest = v; rest != 0; rest >>= 8) ++count;
  // Three bits hold the byte count, so at most seven bytes are written.
  if (count > 7) count = 7;
  Bits(count, 3);
  for (unsigned i = 0; i < count; ++i) RC(static_cast<uint8_t>(v >> (8 * i)));
}

void BitWriter::BD(double v) {
  if (v == 1.0) {
    BB(1);
  } else if (IsPlusZero(v)) {
    BB(2);
  } else {
    BB(0);
    RD(v);
  }
}

void BitWriter::DD(double v, double defaultValue) {
  uint8_t raw[8], def[8];
  std::memcpy(raw, &v, 8);
  std::memcpy(def, &defaultValue, 8);
  if (std::memcmp(raw, def, 8) == 0) {
    BB(0);
  } else if (std::memcmp(raw + 4, def + 4, 4) == 0) {
    BB(1);
    for (int i = 0; i < 4; ++i) RC(raw[i]);
  } else if (std::memcmp(raw + 6, def + 6, 2) == 0) {
    BB(2);
    RC(raw[4]);
    RC(raw[5]);
    for (int i = 0; i < 4; ++i) RC(raw[i]);
  } else {
    BB(3);
    RD(v);
  }
}

void BitWriter::BT(double thickness, bool compactForm) {
  if (compactForm) {
    const bool zero = IsPlusZero(thickness);
    B(zero);
    if (zero) return;
  }
  BD(thickness);
}

void BitWriter::BE(const Point3& e, bool compactForm) {
  if (compactForm) {
    const bool standard = IsPlusZero(e.x) && IsPlusZero(e.y) && e.z == 1.0;
    B(standard);
    if (standard) return;
  }
  BD3(e);
}

void BitWriter::OT(uint16_t type) {
  if (type < 256) {
    BB(0);
    RC(static_cast<uint8_t>(type));
  } else if (type >= 0x1F0 && type < 0x1F0 + 256) {
    BB(1);
    RC(static_cast<uint8_t>(type - 0x1F0));
  } else {
    BB(2);
    RS(type);
  }
}

void BitWriter::RD2(const Point2& p) {
  RD(p.x);
  RD(p.y);
}

void BitWriter::RD3(const Point3& p) {
  RD(p.x);
  RD(p.y);
  RD(p.z);
}

void BitWriter::BD2(const Point2& p) {
  BD(p.x);
  BD(p.y);
}

void BitWriter::BD3(const Point3& p) {
  BD(p.x);
  BD(p.y);
  BD(p.z);
}

void BitWriter::UMC(uint64_t v) {
  do {
    auto b = static_cast<uint8_t>(v & 0x7F);
    v >>= 7;
    if (v != 0) b |= 0x80;
    RC(b);
  } while (v != 0);
}

void BitWriter::MC(int64_t v) {
  const bool negative = v < 0;
  uint64_t rest = negative ? uint64_t{0} - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
  // Full bytes carry seven bits; the last one six, and the sign in 0x40.
  while (rest >= 0x40) {
    RC(static_cast<uint8_t>((rest & 0x7F) | 0x80));
    rest >>= 7;
  }
  RC(static_cast<uint8_t>(rest | (negative ? 0x40 : 0)));
}

void BitWriter::MS(uint32_t v) {
  do {
    auto w = static_cast<uint16_t>(v & 0x7FFF);
    v >>= 15;
    if (v != 0) w |= 0x8000;
    RS(w);
  } while (v != 0);
}

void BitWriter::H(uint8_t code, uint64_t value) {
  unsigned count = 0;
  for (uint64_t rest = value; rest != 0; rest >>= 8) ++count;
  RC(static_cast<uint8_t>(((code & 0x0F) << 4) | count));
  for (unsigned i = count; i > 0; --i) RC(static_cast<uint8_t>(value >> (8 * (i - 1))));
}

void BitWriter::TV(std::string_view bytes, bool nulTerminated) {
  const size_t n = bytes.size() + (nulTerminated && !bytes.empty() ? 1 : 0);
  BS(static_cast<uint16_t>(n > 0xFFFF ? 0xFFFF : n));
  Bytes(bytes.substr(0, n > 0xFFFF ? 0xFFFF : bytes.size()));
  if (nulTerminated && !bytes.empty() && n <= 0xFFFF) RC(0);
}

void BitWriter::TU(std::string_view utf8, bool nulTerminated) {
  std::vector<uint16_t> units = Utf8ToUtf16(utf8);
  if (nulTerminated && !units.empty()) units.push_back(0);
  if (units.size() > 0xFFFF) units.resize(0xFFFF);
  BS(static_cast<uint16_t>(units.size()));
  for (uint16_t u : units) RS(u);
}

void BitWriter::Bytes(std::string_view bytes) {
  Bytes(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

void BitWriter::Bytes(const uint8_t* data, size_t size) {
  if (size == 0) return;
  if ((pos_ & 7) == 0) {
    buf_.resize(pos_ / 8);
    buf_.insert(buf_.end(), data, data + size);
    pos_ += size * 8;
    return;
  }
  // Seven bytes per step: one bit-level write for 56 bits.
  size_t i = 0;
  for (; i + 7 <= size; i += 7) {
    uint64_t v = 0;
    for (size_t k = 0; k < 7; ++k) v = (v << 8) | data[i + k];
    Bits(v, 56);
  }
  for (; i < size; ++i) RC(data[i]);
}

void BitWriter::Append(const BitWriter& other) { AppendBits(other.buf_.data(), 0, other.pos_); }

void BitWriter::AppendBits(const uint8_t* data, size_t from, size_t count) {
  size_t at = from;
  // Whole bytes at once when both sides are aligned.
  if ((at & 7) == 0 && (pos_ & 7) == 0 && count >= 8) {
    const size_t whole = count / 8;
    Bytes(data + at / 8, whole);
    at += whole * 8;
    count -= whole * 8;
  }
  while (count > 0) {
    // Up to 56 bits per step: the source bytes that hold them, shifted into place.
    const unsigned take = count >= 56 ? 56 : static_cast<unsigned>(count);
    const unsigned skip = static_cast<unsigned>(at & 7);
    const size_t first = at >> 3;
    const size_t last = (at + take - 1) >> 3;
    uint64_t window = 0;
    for (size_t b = first; b <= last; ++b) window = (window << 8) | data[b];
    const unsigned windowBits = static_cast<unsigned>((last - first + 1) * 8);
    Bits(window >> (windowBits - skip - take), take);
    at += take;
    count -= take;
  }
}

void BitWriter::AlignByte() {
  if ((pos_ & 7) != 0) Bits(0, 8 - static_cast<unsigned>(pos_ & 7));
}

void BitWriter::PatchRL(size_t at, uint32_t v) {
  // RL is four bytes little-endian, each byte most significant bit first:
  // each byte lands in the tail of one stored byte and the head of the next.
  const unsigned shift = static_cast<unsigned>(at & 7);
  for (size_t i = 0; i < 4; ++i) {
    const auto b = static_cast<uint8_t>(v >> (8 * i));
    const size_t byte = (at >> 3) + i;
    if (shift == 0) {
      buf_[byte] = b;
      continue;
    }
    const auto keepHead = static_cast<uint8_t>(0xFF << (8 - shift));
    buf_[byte] = static_cast<uint8_t>((buf_[byte] & keepHead) | (b >> shift));
    const auto keepTail = static_cast<uint8_t>(0xFF >> shift);
    buf_[byte + 1] = static_cast<uint8_t>((buf_[byte + 1] & keepTail) | (b << (8 - shift)));
  }
}

std::vector<uint16_t> Utf8ToUtf16(std::string_view utf8) {
  std::vector<uint16_t> out;
  out.reserve(utf8.size());
  size_t i = 0;
  while (i < utf8.size()) {
    uint32_t cp = 0;
    DecodeUtf8(utf8, i, cp);
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<uint16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<uint16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<uint16_t>(cp));
    }
  }
  return out;
}

}  // namespace vantrove::engine::dwg
