#include "dwg/writer_r2000.hpp"

#include <algorithm>
#include <cstring>

#include "dwg/bit_reader.hpp"
#include "dwg/bit_writer.hpp"
#include "dwg/checksum.hpp"
#include "dwg/le_bytes.hpp"
#include "dwg/source_sections.hpp"

namespace vantrove::engine::dwg {

namespace {

constexpr size_t kLocatorTable = 0x19;

void PutLe16(std::string& out, uint16_t v) {
  out.push_back(static_cast<char>(v & 0xFF));
  out.push_back(static_cast<char>(v >> 8));
}

struct Locator {
  uint32_t offset = 0, size = 0;
};

// The second file header, rebuilt with the file's new section addresses;
// the rest (version, code page, the handles of the tables) as the source
// had it.
bool RebuildSecondHeader(std::string_view source, uint32_t at, const Locator (&loc)[8], std::string& out) {
  if (source.size() < 16 + 4 + 16 + 10) return false;
  const auto* data = reinterpret_cast<const uint8_t*>(source.data());
  BitReader r(data, source.size() - 16);
  r.Seek(16 * 8);
  r.RL();
  r.BL();
  BitWriter w;
  const size_t sizeAt = w.position();
  w.RL(0);
  w.BL(at);
  for (int i = 0; i < 11 + 2; ++i) w.RC(r.RC());  // version text, zeros, maintenance, flag
  w.BS(r.BS());                                   // version number
  w.RS(r.RS());                                   // code page
  const uint16_t sections = r.BS();
  if (sections > 8) return false;
  w.BS(sections);
  for (uint16_t i = 0; i < sections; ++i) {
    const uint8_t nr = r.RC();
    const uint32_t oldAddress = r.BL();
    const uint32_t oldSize = r.BL();
    w.RC(nr);
    // Sections the source listed as absent stay absent.
    const bool listed = (oldAddress != 0 || oldSize != 0) && nr < 8;
    w.BL(listed ? loc[nr].offset : 0);
    w.BL(listed ? loc[nr].size : 0);
  }
  const uint16_t handles = r.BS();
  if (handles > 32) return false;
  w.BS(handles);
  for (uint16_t i = 0; i < handles; ++i) {
    const uint8_t size = r.RC();
    if (size > 8) return false;
    w.RC(size);
    w.RC(r.RC());
    for (uint8_t k = 0; k < size; ++k) w.RC(r.RC());
  }
  if (r.failed()) return false;
  w.AlignByte();
  // The size counts from after the start sentinel to the end sentinel:
  // these bits, the check value and eight bytes the source kept there.
  const size_t sourceTail = (r.position() + 7) / 8;
  if (sourceTail + 2 + 8 + 16 > source.size()) return false;
  w.PatchRL(sizeAt, static_cast<uint32_t>(w.bytes().size() + 2 + 8));
  const std::vector<uint8_t>& body = w.bytes();
  out.append(reinterpret_cast<const char*>(kSentinelSecondHeaderBegin), 16);
  out.append(reinterpret_cast<const char*>(body.data()), body.size());
  PutLe16(out, Crc16(0xC0C1, body.data(), body.size()));
  out.append(source.substr(sourceTail + 2, 8));
  out.append(reinterpret_cast<const char*>(kSentinelSecondHeaderEnd), 16);
  return true;
}

}  // namespace

namespace {

// Modular values of the object map, byte aligned.
void AppendUmc(std::string& out, uint64_t v) {
  do {
    auto b = static_cast<uint8_t>(v & 0x7F);
    v >>= 7;
    if (v != 0) b |= 0x80;
    out.push_back(static_cast<char>(b));
  } while (v != 0);
}

void AppendMc(std::string& out, int64_t v) {
  const bool negative = v < 0;
  uint64_t rest = negative ? uint64_t{0} - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
  while (rest >= 0x40) {
    out.push_back(static_cast<char>((rest & 0x7F) | 0x80));
    rest >>= 7;
  }
  out.push_back(static_cast<char>(rest | (negative ? 0x40 : 0)));
}

}  // namespace

std::string EncodeObjectMap(const std::vector<std::pair<uint64_t, uint64_t>>& offsets) {
  std::string out;
  out.reserve(offsets.size() * 4 + 64);
  // Each chunk: its size (big-endian, counting these two bytes), pairs of
  // handle and offset differences starting from 0 and 0, and a big-endian
  // check value over the chunk.
  auto closeChunk = [&](size_t start) {
    const size_t size = out.size() - start;
    out[start] = static_cast<char>(size >> 8);
    out[start + 1] = static_cast<char>(size & 0xFF);
    const uint16_t crc = Crc16(0xC0C1, reinterpret_cast<const uint8_t*>(out.data()) + start, size);
    out.push_back(static_cast<char>(crc >> 8));
    out.push_back(static_cast<char>(crc & 0xFF));
  };
  size_t i = 0;
  std::string pair;
  while (i < offsets.size()) {
    const size_t start = out.size();
    out.append(2, '\0');
    uint64_t handle = 0;
    int64_t offset = 0;
    while (i < offsets.size()) {
      pair.clear();
      AppendUmc(pair, offsets[i].first - handle);
      AppendMc(pair, static_cast<int64_t>(offsets[i].second) - offset);
      if (out.size() - start + pair.size() > kMapChunkLimit) break;
      out += pair;
      handle = offsets[i].first;
      offset = static_cast<int64_t>(offsets[i].second);
      ++i;
    }
    closeChunk(start);
  }
  // An empty chunk closes the map.
  const size_t start = out.size();
  out.append(2, '\0');
  closeChunk(start);
  return out;
}

bool AssembleR2000(const R2000Parts& parts, const std::vector<EncodedObject>& objects, std::string& out,
                   std::string& error) {
  const std::string_view prefix = parts.prefix;
  if (prefix.size() < kLocatorTable + 2 + 16) {
    error = "the source file header is missing";
    return false;
  }
  const uint32_t records = Le32(prefix.data() + 0x15);
  const size_t crcAt = kLocatorTable + size_t{records} * 9;
  if (records < 3 || records > 8 || crcAt + 2 + 16 > prefix.size()) {
    error = "the source file header has " + std::to_string(records) + " section records";
    return false;
  }
  Locator loc[8];
  for (uint32_t i = 0; i < records; ++i) {
    const char* r = prefix.data() + kLocatorTable + i * 9;
    const auto nr = static_cast<uint8_t>(r[0]);
    if (nr < 8) loc[nr] = {Le32(r + 1), Le32(r + 5)};
  }
  out.clear();
  size_t total = prefix.size() + 4096;
  for (const EncodedObject& o : objects) total += o.view().size();
  out.reserve(total + total / 64);
  out.append(prefix);

  std::vector<std::pair<uint64_t, uint64_t>> offsets;
  offsets.reserve(objects.size());
  for (const EncodedObject& o : objects) {
    offsets.emplace_back(o.handle, out.size());
    out.append(o.view());
  }
  // The map lists the objects by handle, wherever they lie in the file.
  std::sort(offsets.begin(), offsets.end());
  for (size_t i = 1; i < offsets.size(); ++i) {
    if (offsets[i].first == offsets[i - 1].first) {
      error = "two objects have handle " + std::to_string(offsets[i].first);
      return false;
    }
  }
  const std::string map = EncodeObjectMap(offsets);
  loc[2] = {static_cast<uint32_t>(out.size()), static_cast<uint32_t>(map.size())};
  out += map;

  loc[3] = {};
  if (parts.objFreeSpace.size() >= 24) {
    // Object count and where the objects begin are this file's.
    std::string free(parts.objFreeSpace);
    PutLe32(free.data() + 4, static_cast<uint32_t>(objects.size()));
    PutLe32(free.data() + 16, static_cast<uint32_t>(prefix.size()));
    loc[3] = {static_cast<uint32_t>(out.size()), static_cast<uint32_t>(free.size())};
    out += free;
  }
  std::string second;
  const auto secondAt = static_cast<uint32_t>(out.size());
  // The template follows the second header, which may list the template's
  // address: settle the two (an address of another byte length changes the
  // second header's size).
  loc[4] = {};
  if (!parts.templ.empty()) {
    std::string probe;
    if (!parts.secondHeader.empty() && RebuildSecondHeader(parts.secondHeader, secondAt, loc, probe)) {
      loc[4] = {static_cast<uint32_t>(secondAt + probe.size()), static_cast<uint32_t>(parts.templ.size())};
      // Addresses of different byte lengths change the size: settle it.
      for (int pass = 0; pass < 3; ++pass) {
        probe.clear();
        RebuildSecondHeader(parts.secondHeader, secondAt, loc, probe);
        loc[4].offset = static_cast<uint32_t>(secondAt + probe.size());
      }
    } else {
      loc[4] = {secondAt, static_cast<uint32_t>(parts.templ.size())};
    }
  }
  if (!parts.secondHeader.empty() && RebuildSecondHeader(parts.secondHeader, secondAt, loc, second)) out += second;
  if (!parts.templ.empty()) out.append(parts.templ);

  // The section locators and the file header's check value.
  for (uint32_t i = 0; i < records; ++i) {
    char* r = out.data() + kLocatorTable + i * 9;
    const auto nr = static_cast<uint8_t>(r[0]);
    if (nr >= 8) continue;
    PutLe32(r + 1, loc[nr].offset);
    PutLe32(r + 5, loc[nr].size);
  }
  static const uint16_t kXor[] = {0, 0, 0, 0xA598, 0x8101, 0x3CC4, 0x8461};
  uint16_t crc = Crc16(0, reinterpret_cast<const uint8_t*>(out.data()), crcAt);
  if (records < std::size(kXor)) crc ^= kXor[records];
  out[crcAt] = static_cast<char>(crc & 0xFF);
  out[crcAt + 1] = static_cast<char>(crc >> 8);
  return true;
}

}  // namespace vantrove::engine::dwg
