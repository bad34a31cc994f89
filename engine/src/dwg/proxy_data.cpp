#include "dwg/proxy_data.hpp"

namespace vantrove::engine::dwg {

namespace {

// A forged object cannot make us list more references than it has bytes.
constexpr size_t kMaxIds = size_t{1} << 20;

// Copies bits [from, to) of `data`, most significant first, into whole
// bytes (the last one padded with zero bits).
void CopyBits(const uint8_t* data, size_t from, size_t to, std::vector<uint8_t>& out) {
  const size_t bits = to - from;
  const size_t bytes = (bits + 7) / 8;
  const size_t first = from / 8;
  const unsigned shift = static_cast<unsigned>(from % 8);
  const size_t last = (to + 7) / 8;  // one past the last source byte in use
  out.resize(bytes);
  for (size_t i = 0; i < bytes; ++i) {
    unsigned value = static_cast<unsigned>(data[first + i]) << shift;
    if (shift != 0 && first + i + 1 < last) value |= data[first + i + 1] >> (8 - shift);
    out[i] = static_cast<uint8_t>(value);
  }
  if (bits % 8 != 0) out.back() &= static_cast<uint8_t>(0xFF00u >> (bits % 8));
}

}  // namespace

bool ReadProxyData(const uint8_t* object, size_t size, const ProxySpans& spans, uint64_t ownHandle, ProxyData& out) {
  const size_t bits = size * 8;
  if (spans.dataBit > spans.dataEndBit || spans.dataEndBit > bits || spans.idsBit > spans.idsEndBit ||
      spans.idsEndBit > bits || spans.graphicsBytes > size || spans.graphicsBit > bits - spans.graphicsBytes * 8) {
    return false;
  }
  if (spans.graphicsBytes > 0) {
    CopyBits(object, spans.graphicsBit, spans.graphicsBit + spans.graphicsBytes * 8, out.graphics);
  }
  CopyBits(object, spans.dataBit, spans.dataEndBit, out.data);
  out.dataBits = spans.dataEndBit - spans.dataBit;
  BitReader ids(object, size);
  ids.Seek(spans.idsBit);
  ids.SetLimit(spans.idsEndBit);
  // The handle stream may end in a few padding bits: a reference needs a
  // code byte at least.
  while (ids.remaining() >= 8 && out.ids.size() < kMaxIds) {
    const HandleRef ref = ids.H();
    if (ids.failed()) break;
    out.ids.emplace_back(ref.code, ref.Resolve(ownHandle));
  }
  return true;
}

}  // namespace vantrove::engine::dwg
