#pragma once
// Decompressor for the LZ77-style pages of 2004+ drawings.
//
// The stream is a sequence of opcodes, each a back-reference (length and
// distance into the output produced so far) followed by a run of literal
// bytes copied from the input; opcode 0x11 ends the stream. Every read and
// write is checked: malformed input makes the function return false, never
// read or write outside the given buffers.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrove::engine::dwg {

// Decompresses `src[0..srcSize)` into `out`, which receives at most
// `maxOut` bytes. Returns false when the data is malformed or would produce
// more than `maxOut` bytes.
bool DecompressPage(const uint8_t* src, size_t srcSize, size_t maxOut, std::vector<uint8_t>& out);

}  // namespace vantrove::engine::dwg
