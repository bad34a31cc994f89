#include "dwg/proxy_data.hpp"

namespace vantrove::engine::dwg {

namespace {

// A forged object cannot make us list more references than it has bytes.
constexpr size_t kMaxIds = size_t{1} << 20;

void CopyBits(BitReader reader, size_t from, size_t to, std::vector<uint8_t>& out) {
  reader.Seek(from);
  size_t left = to - from;
  out.reserve(out.size() + (left + 7) / 8);
  while (left >= 8) {
    out.push_back(reader.RC());
    left -= 8;
  }
  if (left > 0) {
    const auto tail = static_cast<unsigned>(left);
    out.push_back(static_cast<uint8_t>(reader.ReadBits(tail) << (8 - tail)));
  }
}

}  // namespace

bool ReadProxyData(const uint8_t* object, size_t size, const ProxySpans& spans, uint64_t ownHandle, ProxyData& out) {
  const size_t bits = size * 8;
  if (spans.dataBit > spans.dataEndBit || spans.dataEndBit > bits || spans.idsBit > spans.idsEndBit ||
      spans.idsEndBit > bits || spans.graphicsBytes > size || spans.graphicsBit > bits - spans.graphicsBytes * 8) {
    return false;
  }
  const BitReader whole(object, size);
  if (spans.graphicsBytes > 0) {
    CopyBits(whole, spans.graphicsBit, spans.graphicsBit + spans.graphicsBytes * 8, out.graphics);
  }
  CopyBits(whole, spans.dataBit, spans.dataEndBit, out.data);
  out.dataBits = spans.dataEndBit - spans.dataBit;
  BitReader ids = whole;
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
