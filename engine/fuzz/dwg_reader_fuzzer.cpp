// libFuzzer entry point for the DWG reader: any byte string must give a
// status or a document, never a crash, a hang or unbounded memory.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vantrove/engine/dwg_reader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<uint8_t> bytes(data, data + size);
  vantrove::engine::Document document;
  (void)vantrove::engine::ReadDwgBuffer(bytes, "fuzz.dwg", document);
  return 0;
}
