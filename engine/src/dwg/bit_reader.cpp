#include "dwg/bit_reader.hpp"

#include <cstring>
#include <vector>
#include "vantrove/engine/utf8.hpp"

namespace vantrove::engine::dwg {

uint64_t HandleRef::Resolve(uint64_t ownHandle) const {
  switch (code) {
    case 0x6: return ownHandle + 1;
    case 0x8: return ownHandle - 1;
    case 0xA: return ownHandle + value;
    case 0xC: return ownHandle - value;
    default: return value;
  }
}

BitReader::BitReader(const uint8_t* data, size_t sizeBytes)
    : data_(data), size_(sizeBytes), pos_(0), limit_(sizeBytes * 8) {}

void BitReader::Seek(size_t bitPos) {
  if (bitPos > limit_) {
    failed_ = true;
    pos_ = limit_;
    return;
  }
  pos_ = bitPos;
}

void BitReader::SetLimit(size_t bitLimit) {
  if (bitLimit > size_ * 8) bitLimit = size_ * 8;
  limit_ = bitLimit;
  if (pos_ > limit_) {
    pos_ = limit_;
    failed_ = true;
  }
}

bool BitReader::CanRead(uint64_t count, size_t minBits) {
  if (failed_) return false;
  size_t rem = remaining();
  if (minBits == 0) minBits = 1;
  if (count > rem / minBits) {
    failed_ = true;
    return false;
  }
  return true;
}

uint64_t BitReader::ReadBits(unsigned n) {
  if (n == 0) return 0;
  if (failed_ || n > 64 || limit_ - pos_ < n || pos_ > limit_) {
    failed_ = true;
    pos_ = limit_;
    return 0;
  }
  uint64_t v = 0;
  unsigned left = n;
  while (left > 0) {
    size_t byte = pos_ >> 3;
    unsigned bit = static_cast<unsigned>(pos_ & 7);
    unsigned avail = 8 - bit;
    unsigned take = left < avail ? left : avail;
    unsigned shift = avail - take;
    uint8_t chunk = static_cast<uint8_t>((data_[byte] >> shift) & ((1u << take) - 1));
    v = (v << take) | chunk;
    pos_ += take;
    left -= take;
  }
  return v;
}

uint8_t BitReader::B3() {
  uint8_t v = 0;
  for (int i = 0; i < 3; ++i) {
    v = static_cast<uint8_t>(v << 1);
    if (!B()) return v;
    v |= 1;
  }
  return v;
}

// Multi-byte raw values are little-endian; a value cut short reads as 0.
uint16_t BitReader::RS() {
  uint16_t lo = RC();
  uint16_t hi = RC();
  return failed_ ? 0 : static_cast<uint16_t>(lo | (hi << 8));
}

uint16_t BitReader::RSBigEndian() {
  uint16_t hi = RC();
  uint16_t lo = RC();
  return failed_ ? 0 : static_cast<uint16_t>(lo | (hi << 8));
}

uint32_t BitReader::RL() {
  uint32_t lo = RS();
  uint32_t hi = RS();
  return failed_ ? 0 : lo | (hi << 16);
}

uint64_t BitReader::RLL() {
  uint64_t lo = RL();
  uint64_t hi = RL();
  return failed_ ? 0 : lo | (hi << 32);
}

double BitReader::RD() {
  uint64_t bits = RLL();
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}

uint16_t BitReader::BS() {
  switch (BB()) {
    case 0: return RS();
    case 1: return RC();
    case 2: return 0;
    default: return 256;
  }
}

uint32_t BitReader::BL() {
  switch (BB()) {
    case 0: return RL();
    case 1: return RC();
    case 2: return 0;
    default:
      // The fourth form is not used by writers; treat it as damage.
      failed_ = true;
      return 0;
  }
}

uint64_t BitReader::BLL() {
  unsigned count = static_cast<unsigned>(ReadBits(3));
  uint64_t v = 0;
  for (unsigned i = 0; i < count; ++i) v |= static_cast<uint64_t>(RC()) << (8 * i);
  return v;
}

double BitReader::BD() {
  switch (BB()) {
    case 0: return RD();
    case 1: return 1.0;
    case 2: return 0.0;
    default:
      failed_ = true;
      return 0.0;
  }
}

double BitReader::DD(double defaultValue) {
  uint8_t raw[8];
  std::memcpy(raw, &defaultValue, 8);
  switch (BB()) {
    case 0: return defaultValue;
    case 1:
      for (int i = 0; i < 4; ++i) raw[i] = RC();
      break;
    case 2:
      raw[4] = RC();
      raw[5] = RC();
      for (int i = 0; i < 4; ++i) raw[i] = RC();
      break;
    default: return RD();
  }
  double d;
  std::memcpy(&d, raw, 8);
  return d;
}

double BitReader::BT(bool compactForm) {
  if (compactForm && B()) return 0.0;
  return BD();
}

Point3 BitReader::BE(bool compactForm) {
  if (compactForm && B()) return Point3{0, 0, 1};
  return BD3();
}

uint16_t BitReader::OT() {
  switch (BB()) {
    case 0: return RC();
    case 1: return static_cast<uint16_t>(RC() + 0x1F0);
    default: return RS();
  }
}

Point2 BitReader::RD2() {
  Point2 p;
  p.x = RD();
  p.y = RD();
  return p;
}

Point3 BitReader::RD3() {
  Point3 p;
  p.x = RD();
  p.y = RD();
  p.z = RD();
  return p;
}

Point2 BitReader::BD2() {
  Point2 p;
  p.x = BD();
  p.y = BD();
  return p;
}

Point3 BitReader::BD3() {
  Point3 p;
  p.x = BD();
  p.y = BD();
  p.z = BD();
  return p;
}

uint64_t BitReader::UMC() {
  uint64_t v = 0;
  for (unsigned shift = 0; shift < 64; shift += 7) {
    uint8_t b = RC();
    if (failed_) return 0;
    v |= static_cast<uint64_t>(b & 0x7F) << shift;
    if ((b & 0x80) == 0) return v;
  }
  failed_ = true;
  return 0;
}

int64_t BitReader::MC() {
  uint64_t v = 0;
  for (unsigned shift = 0; shift < 63; shift += 7) {
    uint8_t b = RC();
    if (failed_) return 0;
    if ((b & 0x80) == 0) {
      // The last byte carries the sign in its 0x40 bit.
      bool negative = (b & 0x40) != 0;
      v |= static_cast<uint64_t>(b & 0x3F) << shift;
      int64_t s = static_cast<int64_t>(v);
      return negative ? -s : s;
    }
    v |= static_cast<uint64_t>(b & 0x7F) << shift;
  }
  failed_ = true;
  return 0;
}

uint32_t BitReader::MS() {
  uint32_t v = 0;
  for (unsigned shift = 0; shift < 32; shift += 15) {
    uint16_t w = RS();
    if (failed_) return 0;
    v |= static_cast<uint32_t>(w & 0x7FFF) << shift;
    if ((w & 0x8000) == 0) return v;
  }
  failed_ = true;
  return 0;
}

HandleRef BitReader::H() {
  HandleRef h;
  uint8_t head = RC();
  h.code = static_cast<uint8_t>(head >> 4);
  unsigned counter = head & 0x0F;
  if (counter > 8) {
    failed_ = true;
    return HandleRef{};
  }
  for (unsigned i = 0; i < counter; ++i) h.value = (h.value << 8) | RC();
  return h;
}

std::string BitReader::Bytes(size_t n) {
  if (!CanRead(n, 8)) return {};
  std::string s(n, '\0');
  if ((pos_ & 7) == 0) {
    std::memcpy(s.data(), data_ + (pos_ >> 3), n);
    pos_ += n * 8;
  } else {
    // Each byte straddles two: its high bits end one, its low bits start
    // the next (the last one lies within the limit CanRead checked).
    const unsigned shift = static_cast<unsigned>(pos_ & 7);
    const uint8_t* p = data_ + (pos_ >> 3);
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>((p[i] << shift) | (p[i + 1] >> (8 - shift)));
    pos_ += n * 8;
  }
  return s;
}

std::string BitReader::TV() {
  uint16_t len = BS();
  std::string s = Bytes(len);
  while (!s.empty() && s.back() == '\0') s.pop_back();
  return s;
}

std::string BitReader::TU() {
  uint16_t len = BS();
  if (!CanRead(len, 16)) return {};
  std::vector<uint16_t> units(len);
  for (size_t i = 0; i < len; ++i) units[i] = RS();
  while (!units.empty() && units.back() == 0) units.pop_back();
  return Utf16ToUtf8(units.data(), units.size());
}

std::string Utf16ToUtf8(const uint16_t* units, size_t count) {
  std::string out;
  out.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    uint32_t u = units[i];
    if (u >= 0xD800 && u <= 0xDBFF && i + 1 < count && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
      uint32_t cp = 0x10000 + ((u - 0xD800) << 10) + (units[i + 1] - 0xDC00);
      AppendUtf8(out, cp);
      ++i;
    } else if (u >= 0xD800 && u <= 0xDFFF) {
      AppendUtf8(out, 0xFFFD);
    } else {
      AppendUtf8(out, u);
    }
  }
  return out;
}

}  // namespace vantrove::engine::dwg
