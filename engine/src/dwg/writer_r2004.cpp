#include "dwg/writer_r2004.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "dwg/checksum.hpp"
#include "dwg/compress.hpp"
#include "dwg/container.hpp"
#include "dwg/decompress.hpp"
#include "dwg/le_bytes.hpp"
#include "dwg/r2004_parts.hpp"

namespace vantrove::engine::dwg {

namespace {

constexpr size_t kPageAlign = 0x20;
constexpr uint32_t kDefaultPageSize = 0x7400;
constexpr uint64_t kAddressBase = 0x100;

// The byte sequence the container pads with: the same generator that
// encrypts the file header, run from seed 1.
const std::array<uint8_t, 256>& PadBytes() {
  static const std::array<uint8_t, 256> bytes = [] {
    std::array<uint8_t, 256> b{};
    uint32_t seed = 1;
    for (auto& v : b) {
      seed = seed * 0x343FDu + 0x269EC3u;
      v = static_cast<uint8_t>(seed >> 16);
    }
    return b;
  }();
  return bytes;
}

const uint8_t* U8(const std::string& s) { return reinterpret_cast<const uint8_t*>(s.data()); }

class PageWriter {
 public:
  explicit PageWriter(std::string& out) : out_(out) {}

  // A data page: its header with both check values, masked by its address.
  void DataPage(uint32_t sectionId, uint64_t start, const std::string& data) {
    const size_t at = out_.size();
    const uint32_t total = static_cast<uint32_t>(Aligned(kR2004PageHeader + data.size()));
    uint32_t words[8] = {kR2004DataPage, sectionId, static_cast<uint32_t>(data.size()), total,
                         static_cast<uint32_t>(start), static_cast<uint32_t>(start >> 32), 0,
                         R2004PageChecksum(0, U8(data), data.size())};
    char head[kR2004PageHeader];
    for (size_t k = 0; k < 8; ++k) PutLe32(head + 4 * k, words[k]);
    words[6] = R2004PageChecksum(words[7], reinterpret_cast<const uint8_t*>(head), sizeof head);
    PutLe32(head + 24, words[6]);
    Place(at, std::string_view(head, sizeof head), data);
  }

  // A page kept from the source: header and data as stored, masked anew.
  void CopiedPage(std::string_view stored) {
    Place(out_.size(), stored.substr(0, kR2004PageHeader), stored.substr(kR2004PageHeader));
  }

  // A page map or section map page; `declared` reserves room beyond the data.
  void SystemPage(uint32_t type, const std::string& raw, size_t declared = 0) {
    const size_t at = out_.size();
    std::string data;
    CompressPage(U8(raw), raw.size(), data);
    char head[20];
    PutLe32(head, type);
    PutLe32(head + 4, static_cast<uint32_t>(raw.size()));
    PutLe32(head + 8, static_cast<uint32_t>(data.size()));
    PutLe32(head + 12, 2);
    PutLe32(head + 16, 0);
    const uint32_t sum = R2004PageChecksum(R2004PageChecksum(0, reinterpret_cast<const uint8_t*>(head), 20),
                                           U8(data), data.size());
    PutLe32(head + 16, sum);
    out_.append(head, 20);
    out_ += data;
    Pad(at, std::max(declared, Aligned(20 + data.size())));
    Record(at);
  }

  uint32_t nextNumber() const { return static_cast<uint32_t>(pages_.size() + 1); }
  const std::vector<std::pair<uint32_t, uint32_t>>& pages() const { return pages_; }
  static size_t Aligned(size_t n) { return (n + kPageAlign - 1) / kPageAlign * kPageAlign; }

 private:
  void Place(size_t at, std::string_view head, std::string_view data) {
    const uint32_t mask = 0x4164536Bu ^ static_cast<uint32_t>(at);
    for (size_t k = 0; k < 8; ++k) AppendLe32(out_, Le32(head.data() + 4 * k) ^ mask);
    out_.append(data);
    Pad(at, Aligned(kR2004PageHeader + data.size()));
    Record(at);
  }
  void Pad(size_t at, size_t size) {
    const auto& pad = PadBytes();
    for (size_t i = 0; out_.size() < at + size; ++i) out_.push_back(static_cast<char>(pad[i % pad.size()]));
  }
  void Record(size_t at) { pages_.emplace_back(nextNumber(), static_cast<uint32_t>(out_.size() - at)); }

  std::string& out_;
  std::vector<std::pair<uint32_t, uint32_t>> pages_;  // number, size, in file order
};

// A section's content, decompressed from its kept pages.
bool KeptContent(const R2004Section& section, const std::map<uint32_t, KeptPage>& kept, std::string& out) {
  out.assign(static_cast<size_t>(section.size), '\0');
  std::vector<uint8_t> page;
  for (const R2004SectionPage& p : section.pages) {
    const auto found = kept.find(p.number);
    if (found == kept.end() || p.start >= out.size()) return false;
    const std::string_view data = found->second.bytes.substr(kR2004PageHeader);
    const auto* src = reinterpret_cast<const uint8_t*>(data.data());
    if (section.compressed == 2) {
      if (!DecompressPage(src, data.size(), section.maxPageSize, page)) return false;
    } else {
      page.assign(src, src + data.size());
    }
    std::memcpy(out.data() + p.start, page.data(), std::min<size_t>(page.size(), out.size() - p.start));
  }
  return true;
}

struct Written {
  uint64_t size = 0;
  std::vector<R2004SectionPage> pages;
};

// Writes `content` as the pages of `section`.
void WriteContent(PageWriter& writer, const R2004Section& section, const std::string& content, Written& written) {
  const size_t max = section.maxPageSize != 0 ? section.maxPageSize : kDefaultPageSize;
  written.size = content.size();
  std::string chunk, data;
  for (size_t start = 0; start < content.size(); start += max) {
    chunk.assign(content, start, max);
    chunk.resize(max, '\0');  // the last page is filled to its full size
    data.clear();
    if (section.compressed == 2) {
      CompressPage(U8(chunk), chunk.size(), data);
    } else {
      data = chunk;
    }
    written.pages.push_back({writer.nextNumber(), static_cast<uint32_t>(data.size()), start});
    writer.DataPage(section.id, start, data);
  }
}

// The section map with the new pages and sizes.
std::string SectionMap(std::string_view source, const std::vector<R2004Section>& sections,
                       const std::vector<Written>& written) {
  std::string map(source.substr(0, 20));
  for (size_t i = 0; i < sections.size(); ++i) {
    std::string description(source.substr(sections[i].at, kR2004DescriptionSize));
    PutLe64(description.data(), written[i].size);
    PutLe32(description.data() + 8, static_cast<uint32_t>(written[i].pages.size()));
    map += description;
    for (const R2004SectionPage& p : written[i].pages) {
      AppendLe32(map, p.number);
      AppendLe32(map, p.dataSize);
      char start[8];
      PutLe64(start, p.start);
      map.append(start, 8);
    }
  }
  return map;
}

// The plain file header's page addresses (preview, summary, VBA project,
// application info) moved to where those pages now are.
void MoveHeadAddresses(std::string& out, const std::map<uint32_t, uint32_t>& moved) {
  for (size_t at : {size_t{0x0D}, size_t{0x20}, size_t{0x24}, size_t{0x2C}}) {
    const uint32_t old = Le32(out.data() + at);
    if (old == 0) continue;
    const auto found = old >= kR2004PageHeader ? moved.find(old - kR2004PageHeader) : moved.end();
    PutLe32(out.data() + at, found != moved.end() ? found->second + kR2004PageHeader : 0);
  }
}

}  // namespace

bool AssembleR2004(const R2004Parts& parts, const std::vector<EncodedObject>& objects, std::string& out,
                   std::string& error) {
  std::vector<R2004Section> sections;
  std::vector<KeptPage> keptList;
  if (parts.head.size() != kR2004HeadSize || !ParseR2004SectionMap(parts.sectionMap, sections) ||
      !ParseKeptPages(parts.pages, keptList)) {
    error = "the source file's section maps were not kept";
    return false;
  }
  std::map<uint32_t, KeptPage> kept;
  for (const KeptPage& page : keptList) kept.emplace(page.number, page);

  // The objects section and the object map.
  std::string objectData(parts.objectsPrefix);
  std::vector<std::pair<uint64_t, uint64_t>> offsets;
  offsets.reserve(objects.size());
  for (const EncodedObject& o : objects) {
    offsets.emplace_back(o.handle, objectData.size());
    objectData.append(o.view());
  }
  std::map<std::string, std::string, std::less<>> content;
  content["AcDb:AcDbObjects"] = std::move(objectData);
  content["AcDb:Handles"] = EncodeObjectMap(offsets);
  for (const R2004Section& section : sections) {
    if (section.name != "AcDb:ObjFreeSpace") continue;
    // The free-space record counts the objects.
    std::string free;
    if (KeptContent(section, kept, free) && free.size() >= 8 && Le32(free.data() + 4) != objects.size()) {
      PutLe32(free.data() + 4, static_cast<uint32_t>(objects.size()));
      content[section.name] = std::move(free);
    }
  }

  // Data pages, sections in the order of their first source page.
  std::vector<size_t> order(sections.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  auto firstPage = [&](size_t i) {
    uint32_t first = UINT32_MAX;
    for (const auto& p : sections[i].pages) first = std::min(first, p.number);
    return first;
  };
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return firstPage(a) < firstPage(b); });
  out.clear();
  out.reserve(parts.pages.size() + content["AcDb:AcDbObjects"].size() / 2 + 4096);
  out.append(parts.head);
  PageWriter writer(out);
  std::vector<Written> written(sections.size());
  std::map<uint32_t, uint32_t> moved;  // source page address -> new address
  for (size_t i : order) {
    const R2004Section& section = sections[i];
    const auto replaced = content.find(section.name);
    if (replaced != content.end()) {
      WriteContent(writer, section, replaced->second, written[i]);
      continue;
    }
    if (R2004SectionRebuilt(section.name)) continue;  // listed twice: the first one holds the data
    written[i].size = section.size;
    for (const R2004SectionPage& p : section.pages) {
      const auto found = kept.find(p.number);
      if (found == kept.end()) {
        error = "a page of section " + section.name + " was not kept";
        return false;
      }
      moved[found->second.address] = static_cast<uint32_t>(out.size());
      written[i].pages.push_back({writer.nextNumber(), p.dataSize, p.start});
      writer.CopiedPage(found->second.bytes);
    }
  }
  const uint32_t sectionMapId = writer.nextNumber();
  writer.SystemPage(kR2004SectionMapPage, SectionMap(parts.sectionMap, sections, written));

  // The page map lists itself: reserve its room before its size is known.
  const uint32_t pageMapId = writer.nextNumber();
  const size_t entries = writer.pages().size() + 1;
  const size_t declared = PageWriter::Aligned(20 + entries * 8 + entries + 64);
  std::string pageMap;
  for (const auto& [number, size] : writer.pages()) {
    AppendLe32(pageMap, number);
    AppendLe32(pageMap, size);
  }
  AppendLe32(pageMap, pageMapId);
  AppendLe32(pageMap, static_cast<uint32_t>(declared));
  const uint64_t pageMapAt = out.size();
  writer.SystemPage(kR2004PageMapPage, pageMap, declared);
  if (out.size() != pageMapAt + declared) {
    error = "the page map outgrew its room";
    return false;
  }

  // The encrypted file header, here and again at the end of the file.
  char block[kR2004BlockSize];
  std::memcpy(block, parts.head.data() + kR2004BlockOffset, kR2004BlockSize);
  DecryptR2004Header(reinterpret_cast<uint8_t*>(block), kR2004BlockSize);
  PutLe32(block + 0x28, pageMapId);
  PutLe64(block + 0x2C, out.size() - kAddressBase);
  PutLe64(block + 0x34, out.size());
  PutLe32(block + 0x3C, 0);
  PutLe32(block + 0x40, static_cast<uint32_t>(writer.pages().size()));
  PutLe32(block + 0x50, pageMapId);
  PutLe64(block + 0x54, pageMapAt - kAddressBase);
  PutLe32(block + 0x5C, sectionMapId);
  PutLe32(block + 0x60, pageMapId);
  PutLe32(block + 0x64, 0);
  PutLe32(block + 0x68, 0);
  PutLe32(block + 0x68, Crc32(0, reinterpret_cast<const uint8_t*>(block), kR2004BlockSize));
  DecryptR2004Header(reinterpret_cast<uint8_t*>(block), kR2004BlockSize);
  std::memcpy(out.data() + kR2004BlockOffset, block, kR2004BlockSize);
  out.append(block, kR2004BlockSize);
  MoveHeadAddresses(out, moved);
  return true;
}

}  // namespace vantrove::engine::dwg
