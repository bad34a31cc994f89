#pragma once
// Decompressor for the pages of 2007 (AC1021) drawings.
//
// A different LZ77 variant from the 2004 one: the stream alternates runs of
// literal bytes and back-references. An opcode's high nibble selects how its
// length and distance are packed in the bytes that follow, and its low three
// bits give the length of the literal run after it (0: the next opcode
// decides). Literal runs are stored in a shuffled byte order: each full
// 32-byte chunk has its four 8-byte groups reversed, and a shorter tail is
// cut into 1-, 4- and 8-byte pieces that come in reverse order.
//
// Every read and write is checked: malformed input makes the function
// return false and never reads or writes outside the given buffers.

#include <cstddef>
#include <cstdint>

namespace vantrove::engine::dwg {

// Decompresses `src[0..srcSize)` into `dst[0..dstSize)`. `produced`
// receives the number of bytes written. Returns false when the data is
// malformed or would need more than `dstSize` bytes.
bool DecompressR2007(const uint8_t* src, size_t srcSize, uint8_t* dst, size_t dstSize, size_t& produced);

}  // namespace vantrove::engine::dwg
