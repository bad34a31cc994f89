#pragma once
// Compressor for the LZ77-style pages of 2004+ drawings, the inverse of
// DecompressPage: greedy matching through a hash of the next three bytes,
// back-references of up to 0x4000 bytes, literal runs between them and the
// closing opcode 0x11.

#include <cstddef>
#include <cstdint>
#include <string>

namespace vantrove::engine::dwg {

// Appends the compressed form of `src[0..size)` to `out`. A stream must
// begin with at least four literal bytes, so input shorter than that is
// compressed as if padded with zeros to four bytes.
void CompressPage(const uint8_t* src, size_t size, std::string& out);

}  // namespace vantrove::engine::dwg
