// Keeps what a same-version writer of a 2004-family file needs from its
// source: the maps are read again from the file (the reader keeps only the
// four sections it decodes), and the pages of every section the engine
// does not interpret are kept as stored.

#include <algorithm>
#include <cstring>
#include <map>

#include "dwg/container.hpp"
#include "dwg/decompress.hpp"
#include "dwg/le_bytes.hpp"
#include "dwg/r2004_parts.hpp"

namespace vantrove::engine::dwg {

namespace {

// A page map or section map page, decompressed.
bool SystemPage(const std::vector<uint8_t>& file, uint64_t address, uint32_t type, std::vector<uint8_t>& out) {
  if (address > file.size() || file.size() - address < 20) return false;
  const uint8_t* h = file.data() + address;
  const uint32_t decompSize = Le32(h + 4), compSize = Le32(h + 8);
  if (Le32(h) != type || compSize > file.size() - address - 20 || decompSize > (16u << 20)) return false;
  return DecompressPage(h + 20, compSize, decompSize, out) && out.size() == decompSize;
}

}  // namespace

bool R2004SectionRebuilt(std::string_view name) { return name == "AcDb:AcDbObjects" || name == "AcDb:Handles"; }

bool ParseR2004SectionMap(std::string_view map, std::vector<R2004Section>& out) {
  out.clear();
  const auto* p = reinterpret_cast<const uint8_t*>(map.data());
  const size_t n = map.size();
  if (n < 20) return false;
  const uint32_t count = Le32(p);
  size_t i = 20;
  for (uint32_t s = 0; s < count; ++s) {
    if (n - i < kR2004DescriptionSize) return false;
    R2004Section section;
    section.at = i;
    section.size = Le32(p + i) | (uint64_t{Le32(p + i + 4)} << 32);
    const uint32_t pageCount = Le32(p + i + 8);
    section.maxPageSize = Le32(p + i + 12);
    section.compressed = Le32(p + i + 20);
    section.id = Le32(p + i + 24);
    const char* name = reinterpret_cast<const char*>(p + i + 32);
    section.name.assign(name, strnlen(name, 64));
    i += kR2004DescriptionSize;
    if (pageCount > (n - i) / 16) return false;
    for (uint32_t k = 0; k < pageCount; ++k, i += 16) {
      section.pages.push_back({Le32(p + i), Le32(p + i + 4), Le32(p + i + 8) | (uint64_t{Le32(p + i + 12)} << 32)});
    }
    out.push_back(std::move(section));
  }
  return true;
}

bool ParseKeptPages(std::string_view blob, std::vector<KeptPage>& out) {
  out.clear();
  const auto* p = reinterpret_cast<const uint8_t*>(blob.data());
  size_t i = 0;
  while (i < blob.size()) {
    if (blob.size() - i < 12) return false;
    KeptPage page;
    page.number = Le32(p + i);
    page.address = Le32(p + i + 4);
    const uint32_t length = Le32(p + i + 8);
    i += 12;
    if (length < kR2004PageHeader || length > blob.size() - i) return false;
    page.bytes = blob.substr(i, length);
    i += length;
    out.push_back(page);
  }
  return true;
}

void KeepSourceR2004(const std::vector<uint8_t>& file, const DecodedDrawing& decoded, Document& doc) {
  if (file.size() < kR2004HeadSize) return;
  uint8_t block[kR2004BlockSize];
  std::memcpy(block, file.data() + kR2004BlockOffset, kR2004BlockSize);
  DecryptR2004Header(block, kR2004BlockSize);
  if (std::memcmp(block, "AcFssFcAJMB", 11) != 0) return;
  const uint64_t pageMapAddress = (Le32(block + 0x54) | (uint64_t{Le32(block + 0x58)} << 32)) + 0x100;
  std::vector<uint8_t> pageMap, sectionMap;
  if (!SystemPage(file, pageMapAddress, kR2004PageMapPage, pageMap)) return;
  std::map<uint32_t, uint64_t> address;
  uint64_t at = 0x100;
  for (size_t i = 0; i + 8 <= pageMap.size() && at <= file.size();) {
    const auto number = static_cast<int32_t>(Le32(pageMap.data() + i));
    const uint32_t size = Le32(pageMap.data() + i + 4);
    i += number >= 0 ? 8 : 8 + 16;  // a gap record carries four more longs
    if (number >= 0) address.emplace(static_cast<uint32_t>(number), at);
    at += size;
  }
  const auto mapPage = address.find(Le32(block + 0x5C));
  if (mapPage == address.end() || !SystemPage(file, mapPage->second, kR2004SectionMapPage, sectionMap)) return;
  const std::string_view mapView(reinterpret_cast<const char*>(sectionMap.data()), sectionMap.size());
  std::vector<R2004Section> sections;
  if (!ParseR2004SectionMap(mapView, sections)) return;

  std::string pages;
  for (const R2004Section& section : sections) {
    if (R2004SectionRebuilt(section.name)) continue;
    for (const R2004SectionPage& page : section.pages) {
      const auto found = address.find(page.number);
      if (found == address.end() || found->second > file.size() - kR2004PageHeader) return;
      const uint64_t where = found->second;
      uint8_t head[kR2004PageHeader];
      const uint32_t mask = 0x4164536Bu ^ static_cast<uint32_t>(where);
      for (size_t k = 0; k < 8; ++k) {
        const uint32_t v = Le32(file.data() + where + 4 * k) ^ mask;
        for (size_t b = 0; b < 4; ++b) head[4 * k + b] = static_cast<uint8_t>(v >> (8 * b));
      }
      const uint32_t dataSize = Le32(head + 8);
      if (Le32(head) != kR2004DataPage || dataSize > file.size() - where - kR2004PageHeader) return;
      AppendLe32(pages, page.number);
      AppendLe32(pages, static_cast<uint32_t>(where));
      AppendLe32(pages, static_cast<uint32_t>(kR2004PageHeader + dataSize));
      pages.append(reinterpret_cast<const char*>(head), kR2004PageHeader);
      pages.append(reinterpret_cast<const char*>(file.data() + where + kR2004PageHeader), dataSize);
    }
  }

  // The objects section opens with a marker before its first object.
  size_t firstObject = SIZE_MAX;
  for (const ObjectRecord& rec : decoded.objects) firstObject = std::min(firstObject, rec.offset);
  const ByteView objects = decoded.container.objects;
  std::string_view prefix("\xCA\x0D\x00\x00", 4);
  if (firstObject != SIZE_MAX && firstObject <= 4096 && firstObject <= objects.size) {
    prefix = std::string_view(reinterpret_cast<const char*>(objects.data), firstObject);
  }

  auto keep = [&](std::string_view name, std::string_view bytes) {
    doc.dwg_sections.emplace_back(name, doc.StoreText(bytes));
  };
  keep(kR2004Head, std::string_view(reinterpret_cast<const char*>(file.data()), kR2004HeadSize));
  keep(kR2004SectionMap, mapView);
  keep(kR2004Pages, pages);
  keep(kR2004ObjectsPrefix, prefix);
  if (decoded.failedObjects > 0) keep(kR2004Lost, std::to_string(decoded.failedObjects));
}

}  // namespace vantrove::engine::dwg
