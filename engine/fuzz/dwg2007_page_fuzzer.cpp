// libFuzzer entry point for the 2007 (AC1021) page layer. The first input
// byte picks what the rest feeds:
//   0  the 2007 decompressor (the next two bytes give the output room),
//   1  Reed-Solomon decoding of interleaved codewords (the next byte picks
//      the code and the number of codewords),
//   2+ a whole 2007 drawing: the rest follows a fixed 0x80-byte preamble, so
//      the fuzzer works on the coded file header, the page map, the section
//      map and the pages (seed it with real files minus their first 0x80
//      bytes; see run.sh).
// Any input must give a result or a status: no crash, no hang, no read or
// write outside a buffer, memory bounded by the reader's budget.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "dwg/decompress_r2007.hpp"
#include "dwg/reed_solomon.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace {

using namespace vantrove::engine;

void Decompress(const uint8_t* data, size_t size) {
  if (size < 2) return;
  const size_t room = static_cast<size_t>(data[0] | (data[1] << 8)) * 4;
  std::vector<uint8_t> out(room);
  size_t produced = 0;
  dwg::DecompressR2007(data + 2, size - 2, out.data(), out.size(), produced);
  if (produced > room) __builtin_trap();
}

void Codewords(const uint8_t* data, size_t size) {
  if (size < 1) return;
  const dwg::RsCode& code = (data[0] & 1) ? dwg::kRsDataPageCode : dwg::kRsHeaderCode;
  const size_t count = 1 + (data[0] >> 1) % 8;
  std::vector<uint8_t> words(count * dwg::kRsCodeword, 0);
  std::memcpy(words.data(), data + 1, std::min(words.size(), size - 1));
  std::vector<uint8_t> out;
  dwg::RsReport report;
  dwg::DecodeInterleavedRs(words.data(), count, code, out, report);
  if (out.size() != count * code.dataBytes()) __builtin_trap();
}

void Drawing(const uint8_t* data, size_t size) {
  // Version, maintenance version 0x32, code page 30 (ANSI_1252), no
  // security flags: as AutoCAD writes them.
  std::vector<uint8_t> bytes(0x80, 0);
  std::memcpy(bytes.data(), "AC1021", 6);
  bytes[0x0B] = 0x32;
  bytes[0x13] = 0x1E;
  bytes.insert(bytes.end(), data, data + size);
  Document document;
  (void)ReadDwgBuffer(bytes, "fuzz.dwg", document);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  switch (data[0]) {
    case 0: Decompress(data + 1, size - 1); break;
    case 1: Codewords(data + 1, size - 1); break;
    default: Drawing(data + 1, size - 1); break;
  }
  return 0;
}
