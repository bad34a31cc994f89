#include "dwg/sections.hpp"

#include <cstdint>
#include <cstring>

#include "dwg/checksum.hpp"

namespace vantrove::engine::dwg {

void ParseObjectMap(ByteView map, std::vector<MapEntry>& out, std::vector<std::string>& warnings) {
  size_t pos = 0;
  const uint8_t* d = map.data;
  // Each chunk: big-endian size (counting itself), pairs of modular handle
  // and offset deltas, then a big-endian check value over the chunk.
  while (pos + 2 <= map.size) {
    size_t chunk = (static_cast<size_t>(d[pos]) << 8) | d[pos + 1];
    if (chunk <= 2) break;
    if (chunk > 2040 || pos + chunk + 2 > map.size) {
      warnings.push_back("object map chunk at " + std::to_string(pos) + " is damaged; objects after it are lost");
      break;
    }
    uint16_t stored = static_cast<uint16_t>((d[pos + chunk] << 8) | d[pos + chunk + 1]);
    if (Crc16(0xC0C1, d + pos, chunk) != stored)
      warnings.push_back("object map chunk at " + std::to_string(pos) + " fails its check value");
    BitReader r(d + pos, chunk);
    r.Seek(16);
    uint64_t handle = 0;
    int64_t offset = 0;
    while (r.position() < chunk * 8 && !r.failed()) {
      uint64_t dh = r.UMC();
      int64_t doff = r.MC();
      if (r.failed()) break;
      handle += dh;
      offset += doff;
      out.push_back({handle, offset});
    }
    pos += chunk + 2;
  }
}

bool LocateStringStream(BitReader& str, size_t flagPos) {
  str.Seek(flagPos);
  if (str.failed() || !str.B()) return false;
  if (flagPos < 16) {
    str.Fail();
    return false;
  }
  size_t at = flagPos - 16;
  str.Seek(at);
  uint64_t size = str.RS();
  if (size & 0x8000) {
    if (at < 16) {
      str.Fail();
      return false;
    }
    at -= 16;
    str.Seek(at);
    uint64_t hi = str.RS();
    size = (size & 0x7FFF) | (hi << 15);
  }
  if (str.failed() || size > at) {
    str.Fail();
    return false;
  }
  str.Seek(at - size);
  str.SetLimit(at);
  return true;
}

bool ParseClasses(const Container& c, TextDecoder& text, std::vector<ClassInfo>& out,
                  std::vector<std::string>& warnings) {
  const ByteView s = c.classes;
  if (s.size < 16 + 4 + 2 || std::memcmp(s.data, kSentinelClassesBegin, 16) != 0) {
    warnings.push_back("the class section has no start marker; classes are unknown");
    return false;
  }
  BitReader r(s.data, s.size);
  r.Seek(16 * 8);
  uint32_t size = r.RL();
  if (size > s.size - 20) {
    warnings.push_back("the class section is truncated");
    size = static_cast<uint32_t>(s.size - 20);
  }
  const bool r2004 = c.version >= Version::kR2004;
  const bool r2007 = c.version >= Version::kR2007;
  const bool hasHiSize = (c.version >= Version::kR2010 && c.maintVersion > 3) || c.version >= Version::kR2018;
  BitReader str;
  bool haveStrings = false;
  size_t endBits = (20 + static_cast<size_t>(size)) * 8;
  size_t expected = SIZE_MAX;  // 2004+ states the number of classes
  if (r2004) {
    if (hasHiSize) r.RL();
    uint32_t bitSize = 0;
    if (r2007) bitSize = r.RL();
    uint16_t maxNumber = r.BS();
    r.RC();
    r.RC();
    r.B();
    if (maxNumber >= 500 && maxNumber <= 5000) expected = maxNumber - 499u;
    if (r2007) {
      str = BitReader(s.data, s.size);
      size_t flagPos = static_cast<size_t>(bitSize) + (hasHiSize ? 191 : 159);
      haveStrings = LocateStringStream(str, flagPos);
      endBits = flagPos;
    }
  }
  auto readText = [&](BitReader& from) -> std::string {
    if (r2007) return haveStrings ? str.TU() : std::string();
    return text.ToUtf8(from.TV());
  };
  while (!r.failed() && r.position() + 8 < endBits && out.size() < expected) {
    ClassInfo ci;
    ci.number = r.BS();
    ci.proxyFlags = r.BS();
    ci.appName = readText(r);
    ci.cppName = readText(r);
    ci.dxfName = readText(r);
    ci.wasZombie = r.B();
    uint16_t itemClass = r.BS();
    ci.isEntity = itemClass == 0x1F2;
    if (r2004) {
      // Instance count, drawing version, maintenance version, two unknowns.
      for (int i = 0; i < 5; ++i) r.BL();
    }
    if (r.failed()) break;
    if (ci.number < 500 || ci.number > 5000) {
      warnings.push_back("the class section holds an invalid class number");
      break;
    }
    out.push_back(std::move(ci));
    if (out.size() > 4500) break;
  }
  return true;
}

}  // namespace vantrove::engine::dwg
