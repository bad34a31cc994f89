#include "dwg/source_sections.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "dwg/r2004_parts.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace vantrove::engine::dwg {

const uint8_t kSentinelSecondHeaderBegin[16] = {0xD4, 0x7B, 0x21, 0xCE, 0x28, 0x93, 0x9F, 0xBF,
                                                0x53, 0x24, 0x40, 0x09, 0x12, 0x3C, 0xAA, 0x01};
const uint8_t kSentinelSecondHeaderEnd[16] = {0x2B, 0x84, 0xDE, 0x31, 0xD7, 0x6C, 0x60, 0x40,
                                              0xAC, 0xDB, 0xBF, 0xF6, 0xED, 0xC3, 0x55, 0xFE};
const uint8_t kSentinelFileHeaderEnd[16] = {0x95, 0xA0, 0x4E, 0x28, 0x99, 0x82, 0x1A, 0xE5,
                                            0x5E, 0x41, 0xE0, 0x5F, 0x9D, 0x3A, 0x4D, 0x00};

namespace {

uint32_t Le32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
         (static_cast<uint32_t>(p[3]) << 24);
}

struct Range {
  size_t offset = 0, size = 0;
  bool present = false;
};

// The section locator records of an R13-2000 file header, by number.
std::vector<Range> Locators(const std::vector<uint8_t>& file) {
  std::vector<Range> out(8);
  if (file.size() < 0x19) return out;
  const uint32_t records = Le32(file.data() + 0x15);
  if (records > 8 || 0x19 + size_t{records} * 9 > file.size()) return out;
  for (uint32_t i = 0; i < records; ++i) {
    const uint8_t* r = file.data() + 0x19 + i * 9;
    const size_t off = Le32(r + 1), size = Le32(r + 5);
    if (r[0] < out.size() && size > 0 && off < file.size() && size <= file.size() - off) out[r[0]] = {off, size, true};
  }
  return out;
}

// Where the object data begins: right after the structure sections, with
// the gap the source had (AutoCAD's four-byte marker, or padding).
std::string Prefix(const std::vector<uint8_t>& file, const DecodedDrawing& decoded, const std::vector<Range>& loc) {
  const uint32_t records = Le32(file.data() + 0x15);
  size_t end = 0x19 + size_t{records} * 9 + 2 + 16;
  for (int i : {0, 1, 5}) {
    if (loc[i].present) end = std::max(end, loc[i].offset + loc[i].size);
  }
  size_t firstObject = SIZE_MAX;
  for (const ObjectRecord& rec : decoded.objects) firstObject = std::min(firstObject, rec.offset);
  std::string prefix(reinterpret_cast<const char*>(file.data()), std::min(end, file.size()));
  if (firstObject != SIZE_MAX && firstObject >= end && firstObject - end <= 4096 && firstObject <= file.size()) {
    prefix.append(reinterpret_cast<const char*>(file.data()) + end, firstObject - end);
  } else {
    prefix.append("\xCA\x0D\x00\x00", 4);
  }
  // A preview that lies outside the kept part is left out.
  const size_t preview = Le32(file.data() + 0x0D);
  bool previewInside = preview != 0 && preview + 20 <= prefix.size();
  if (previewInside) {
    const size_t size = Le32(file.data() + preview + 16);
    previewInside = size <= prefix.size() && preview + 20 + size + 16 <= prefix.size();
  }
  if (!previewInside) std::memset(prefix.data() + 0x0D, 0, 4);
  return prefix;
}

// The second file header: from its start sentinel to the end of its end
// sentinel, searched after the object map.
std::string SecondHeader(const std::vector<uint8_t>& file, const std::vector<Range>& loc) {
  const size_t from = loc[2].present ? loc[2].offset + loc[2].size : 0;
  const auto begin = std::search(file.begin() + static_cast<std::ptrdiff_t>(std::min(from, file.size())), file.end(),
                                 std::begin(kSentinelSecondHeaderBegin), std::end(kSentinelSecondHeaderBegin));
  if (begin == file.end()) return {};
  const auto end = std::search(begin, file.end(), std::begin(kSentinelSecondHeaderEnd), std::end(kSentinelSecondHeaderEnd));
  if (end == file.end() || end - begin > 2048) return {};
  return std::string(begin, end + 16);
}

}  // namespace

void KeepSourceSections(const std::vector<uint8_t>& file, const DecodedDrawing& decoded, Document& doc) {
  if (decoded.container.version == Version::kR2007) return;
  if (decoded.container.version > Version::kR2000) {
    KeepSourceR2004(file, decoded, doc);
    return;
  }
  const std::vector<Range> loc = Locators(file);
  if (!loc[0].present || !loc[1].present || !loc[2].present) return;
  auto keep = [&](std::string_view name, std::string_view bytes) {
    if (!bytes.empty()) doc.dwg_sections.emplace_back(name, doc.StoreText(bytes));
  };
  auto part = [&](const Range& r) {
    return r.present ? std::string_view(reinterpret_cast<const char*>(file.data()) + r.offset, r.size)
                     : std::string_view();
  };
  keep("PREFIX", Prefix(file, decoded, loc));
  keep("OBJFREESPACE", part(loc[3]));
  keep("TEMPLATE", part(loc[4]));
  keep("SECONDHEADER", SecondHeader(file, loc));
}

}  // namespace vantrove::engine::dwg
