#pragma once
// Checksums used by the DWG container.
//
// Crc16: the 16-bit cyclic check over sections and objects of every
// version (reflected polynomial 0xA001, table driven, with a caller-given
// seed: 0xC0C1 for sections and objects, 0 for the R13-R2000 file header).
// Crc32: the usual reflected CRC-32 (polynomial 0xEDB88320), used by the
// 2004+ file header.

#include <cstddef>
#include <cstdint>

namespace vantrove::engine::dwg {

uint16_t Crc16(uint16_t seed, const uint8_t* data, size_t size);
uint32_t Crc32(uint32_t seed, const uint8_t* data, size_t size);
// The page check of the 2004+ container: two running sums modulo 0xFFF1,
// as in Adler-32, with a caller-given seed.
uint32_t R2004PageChecksum(uint32_t seed, const uint8_t* data, size_t size);

}  // namespace vantrove::engine::dwg
