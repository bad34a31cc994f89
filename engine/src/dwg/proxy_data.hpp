#pragma once
// What a proxy record carries of an object whose class the reader has no
// decoder for: the bits of its data stream after the common part, the
// references of its handle stream after the common ones, and an entity's
// graphics. A DXF writer gives them to ACAD_PROXY_ENTITY and
// ACAD_PROXY_OBJECT records, so the object survives a DXF round.

#include <cstddef>
#include <cstdint>

#include "dwg/bit_reader.hpp"
#include "dwg/records.hpp"

namespace vantrove::engine::dwg {

// Where the parts of one object lie, in bits from the start of its data
// (just after the size prefix).
struct ProxySpans {
  size_t graphicsBit = 0;    // entity graphics (byte count 0: none)
  size_t graphicsBytes = 0;
  size_t dataBit = 0;        // the class's own data ...
  size_t dataEndBit = 0;     // ... up to the handle stream
  size_t idsBit = 0;         // the class's own references ...
  size_t idsEndBit = 0;      // ... up to the end of the object
};

// Reads the proxy form of the object whose data starts at `object` (`size`
// bytes). Returns false when the spans do not fit the object.
bool ReadProxyData(const uint8_t* object, size_t size, const ProxySpans& spans, uint64_t ownHandle, ProxyData& out);

}  // namespace vantrove::engine::dwg
