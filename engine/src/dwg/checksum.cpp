#include "dwg/checksum.hpp"

#include <array>

namespace vantrove::engine::dwg {

namespace {

constexpr std::array<uint16_t, 256> MakeCrc16Table() {
  std::array<uint16_t, 256> t{};
  for (unsigned i = 0; i < 256; ++i) {
    uint16_t c = static_cast<uint16_t>(i);
    for (int k = 0; k < 8; ++k) c = (c & 1) ? static_cast<uint16_t>((c >> 1) ^ 0xA001) : static_cast<uint16_t>(c >> 1);
    t[i] = c;
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

constexpr auto kCrc16Table = MakeCrc16Table();
constexpr auto kCrc32Table = MakeCrc32Table();

}  // namespace

uint16_t Crc16(uint16_t seed, const uint8_t* data, size_t size) {
  uint16_t crc = seed;
  for (size_t i = 0; i < size; ++i) crc = static_cast<uint16_t>((crc >> 8) ^ kCrc16Table[(crc ^ data[i]) & 0xFF]);
  return crc;
}

uint32_t Crc32(uint32_t seed, const uint8_t* data, size_t size) {
  uint32_t crc = ~seed;
  for (size_t i = 0; i < size; ++i) crc = (crc >> 8) ^ kCrc32Table[(crc ^ data[i]) & 0xFF];
  return ~crc;
}

}  // namespace vantrove::engine::dwg
