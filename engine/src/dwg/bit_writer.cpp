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
  unsigned left = count;
  while (left > 0) {
    const size_t byte = pos_ >> 3;
    const unsigned used = static_cast<unsigned>(pos_ & 7);
    const unsigned room = 8 - used;
    const unsigned take = left < room ? left : room;
    const auto chunk = static_cast<uint8_t>((value >> (left - take)) & ((1u << take) - 1));
    buf_[byte] = static_cast<uint8_t>(buf_[byte] | (chunk << (room - take)));
    pos_ += take;
    left -= take;
  }
}

void BitWriter::B3(uint8_t v) {
  // The reader takes ones until a zero bit, at most three: 0, 10, 110, 111.
  unsigned ones = v == 0 ? 0 : v <= 2 ? 1 : v <= 6 ? 2 : 3;
  for (unsigned i = 0; i < ones; ++i) B(true);
  if (ones < 3) B(false);
}

void BitWriter::RS(uint16_t v) {
  RC(static_cast<uint8_t>(v & 0xFF));
  RC(static_cast<uint8_t>(v >> 8));
}

void BitWriter::RSBigEndian(uint16_t v) {
  RC(static_cast<uint8_t>(v >> 8));
  RC(static_cast<uint8_t>(v & 0xFF));
}

void BitWriter::RL(uint32_t v) {
  RS(static_cast<uint16_t>(v & 0xFFFF));
  RS(static_cast<uint16_t>(v >> 16));
}

void BitWriter::RLL(uint64_t v) {
  RL(static_cast<uint32_t>(v & 0xFFFFFFFFu));
  RL(static_cast<uint32_t>(v >> 32));
}

void BitWriter::RD(double v) { RLL(DoubleBits(v)); }

void BitWriter::BS(uint16_t v) {
  if (v == 0) {
    BB(2);
  } else if (v == 256) {
    BB(3);
  } else if (v < 256) {
    BB(1);
    RC(static_cast<uint8_t>(v));
  } else {
    BB(0);
    RS(v);
  }
}

void BitWriter::BL(uint32_t v) {
  if (v == 0) {
    BB(2);
  } else if (v < 256) {
    BB(1);
    RC(static_cast<uint8_t>(v));
  } else {
    BB(0);
    RL(v);
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
  for (size_t i = 0; i < size; ++i) RC(data[i]);
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
    const unsigned take = count >= 8 ? 8 : static_cast<unsigned>(count);
    uint64_t v = 0;
    for (unsigned i = 0; i < take; ++i, ++at) v = (v << 1) | ((data[at >> 3] >> (7 - (at & 7))) & 1u);
    Bits(v, take);
    count -= take;
  }
}

void BitWriter::AlignByte() {
  if ((pos_ & 7) != 0) Bits(0, 8 - static_cast<unsigned>(pos_ & 7));
}

void BitWriter::PatchRL(size_t at, uint32_t v) {
  for (int i = 0; i < 32; ++i) {
    const size_t bit = at + static_cast<size_t>(i);
    // RL is four bytes little-endian, each byte most significant bit first.
    const int byteIndex = i / 8;
    const int bitInByte = i % 8;
    const bool one = ((v >> (byteIndex * 8 + (7 - bitInByte))) & 1u) != 0;
    const auto mask = static_cast<uint8_t>(0x80u >> (bit & 7));
    if (one) {
      buf_[bit >> 3] = static_cast<uint8_t>(buf_[bit >> 3] | mask);
    } else {
      buf_[bit >> 3] = static_cast<uint8_t>(buf_[bit >> 3] & ~mask);
    }
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
