// libFuzzer entry: any bytes through the DXF reader, and when they make a
// drawing, through the whole description writer and the decoding of every
// record's groups (done on demand otherwise) as well.

#include <cstdint>
#include <cstring>
#include <memory>

#include "vantrove/engine/description.hpp"
#include "vantrove/engine/dxf_reader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vantrove::engine;
  auto buffer = std::make_unique<char[]>(size + 1);
  if (size > 0) std::memcpy(buffer.get(), data, size);
  Document document;
  Status status = ReadDxfBuffer(std::move(buffer), size, "fuzz.dxf", document);
  if (status.ok()) {
    DescriptionSections all{true, true, true, true, true, true, true, true};
    std::string text = DescriptionText(document, all);
    if (text.empty()) __builtin_trap();
    for (const Object* object : document.all_objects()) document.Groups(*object);
  } else if (status.message.empty()) {
    __builtin_trap();
  }
  return 0;
}
