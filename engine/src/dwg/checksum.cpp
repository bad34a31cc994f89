#include "dwg/checksum.hpp"

#include <algorithm>
#include <array>

namespace vantrove::engine::dwg {

namespace {

// Table k gives the effect of a byte followed by k zero bytes, so that
// eight bytes are folded in at once ("slicing by eight").
using Crc16Tables = std::array<std::array<uint16_t, 256>, 8>;

constexpr Crc16Tables MakeCrc16Tables() {
  Crc16Tables t{};
  for (unsigned i = 0; i < 256; ++i) {
    uint16_t c = static_cast<uint16_t>(i);
    for (int k = 0; k < 8; ++k) c = (c & 1) ? static_cast<uint16_t>((c >> 1) ^ 0xA001) : static_cast<uint16_t>(c >> 1);
    t[0][i] = c;
  }
  for (size_t k = 1; k < 8; ++k) {
    for (unsigned i = 0; i < 256; ++i) {
      const uint16_t prev = t[k - 1][i];
      t[k][i] = static_cast<uint16_t>((prev >> 8) ^ t[0][prev & 0xFF]);
    }
  }
  return t;
}

constexpr std::array<uint32_t, 256> MakeCrc32Table() {
  std::array<uint32_t, 256> t{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
    t[i] = c;
  }
  return t;
}

constexpr auto kCrc16 = MakeCrc16Tables();
constexpr auto kCrc32Table = MakeCrc32Table();

}  // namespace

uint16_t Crc16(uint16_t seed, const uint8_t* data, size_t size) {
  uint16_t crc = seed;
  size_t i = 0;
  for (; i + 8 <= size; i += 8) {
    const uint8_t* d = data + i;
    crc = static_cast<uint16_t>(kCrc16[7][(d[0] ^ crc) & 0xFF] ^ kCrc16[6][(d[1] ^ (crc >> 8)) & 0xFF] ^
                                kCrc16[5][d[2]] ^ kCrc16[4][d[3]] ^ kCrc16[3][d[4]] ^ kCrc16[2][d[5]] ^
                                kCrc16[1][d[6]] ^ kCrc16[0][d[7]]);
  }
  for (; i < size; ++i) crc = static_cast<uint16_t>((crc >> 8) ^ kCrc16[0][(crc ^ data[i]) & 0xFF]);
  return crc;
}

uint32_t Crc32(uint32_t seed, const uint8_t* data, size_t size) {
  uint32_t crc = ~seed;
  for (size_t i = 0; i < size; ++i) crc = (crc >> 8) ^ kCrc32Table[(crc ^ data[i]) & 0xFF];
  return ~crc;
}

uint32_t R2004PageChecksum(uint32_t seed, const uint8_t* data, size_t size) {
  uint32_t sum1 = seed & 0xFFFF, sum2 = seed >> 16;
  while (size != 0) {
    const size_t chunk = std::min<size_t>(0x15B0, size);
    size -= chunk;
    for (size_t i = 0; i < chunk; ++i) {
      sum1 += *data++;
      sum2 += sum1;
    }
    sum1 %= 0xFFF1;
    sum2 %= 0xFFF1;
  }
  return (sum2 << 16) | (sum1 & 0xFFFF);
}

}  // namespace vantrove::engine::dwg
