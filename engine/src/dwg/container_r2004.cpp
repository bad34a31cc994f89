// The 2004+ container: encrypted file header, page map, section map and
// compressed data pages.

#include <algorithm>
#include <cstring>
#include <map>
#include <set>

#include "dwg/checksum.hpp"
#include "dwg/container.hpp"
#include "dwg/decompress.hpp"
#include "dwg/le_bytes.hpp"
#include "dwg/r2004_layout.hpp"

namespace vantrove::engine::dwg {

namespace {

constexpr uint32_t kPageMapType = kR2004PageMapPage;
constexpr uint32_t kSectionMapType = kR2004SectionMapPage;
constexpr uint32_t kDataPageType = kR2004DataPage;
constexpr size_t kHeaderBlockOffset = kR2004BlockOffset;
constexpr size_t kHeaderBlockSize = kR2004BlockSize;
// The largest page we accept; writers use 0x7400.
constexpr uint32_t kMaxPageSize = 0x100000;
// System pages (page map, section map) are small; this bounds a forged size.
constexpr uint32_t kMaxSystemPage = 64u << 20;


struct SectionPage {
  uint32_t number = 0;
  uint32_t dataSize = 0;
  uint64_t startOffset = 0;
};

struct SectionInfo {
  uint64_t size = 0;
  uint32_t maxPageSize = 0;
  uint32_t compressed = 0;
  uint32_t encrypted = 0;
  std::string name;
  std::vector<SectionPage> pages;
};

class Reader2004 {
 public:
  Reader2004(const std::vector<uint8_t>& file, Container& out, ReadError& error)
      : file_(file), out_(out), error_(error) {
    budget_ = std::min<uint64_t>(uint64_t{1} << 30, (uint64_t{64} << 20) + uint64_t{64} * file.size());
  }

  bool Run();

 private:
  bool Fail(int code, std::string message) {
    error_ = {code, std::move(message)};
    return false;
  }
  bool ReadSystemPage(uint64_t address, uint32_t expectedType, const char* what, std::vector<uint8_t>& out);
  bool ReadSection(const SectionInfo& info, std::vector<uint8_t>& out);
  void CheckDataPages();

  const std::vector<uint8_t>& file_;
  Container& out_;
  ReadError& error_;
  uint64_t budget_;
  std::map<uint32_t, uint64_t> pageAddress_;  // page number -> file offset
  std::set<uint32_t> usedPages_;               // data pages already read
};

bool Reader2004::ReadSystemPage(uint64_t address, uint32_t expectedType, const char* what,
                                std::vector<uint8_t>& out) {
  const uint64_t n = file_.size();
  if (address > n || n - address < 20) return Fail(kErrDamaged, std::string("the ") + what + " lies outside the file");
  const uint8_t* h = file_.data() + address;
  uint32_t type = Le32(h);
  uint32_t decompSize = Le32(h + 4);
  uint32_t compSize = Le32(h + 8);
  uint32_t compType = Le32(h + 12);
  if (type != expectedType) return Fail(kErrDamaged, std::string("the ") + what + " has a wrong page signature");
  if (compSize > n - address - 20) return Fail(kErrDamaged, std::string("the ") + what + " is truncated");
  if (decompSize > kMaxSystemPage || decompSize > budget_)
    return Fail(kErrTooLarge, std::string("the ") + what + " declares an implausible size");
  const uint8_t* data = h + 20;
  uint8_t head[20];
  std::memcpy(head, h, 20);
  std::memset(head + 16, 0, 4);
  if (R2004PageChecksum(R2004PageChecksum(0, head, 20), data, compSize) != Le32(h + 16))
    out_.warnings.push_back(std::string("the ") + what + " fails its check value");
  if (compType == 2) {
    if (!DecompressPage(data, compSize, decompSize, out))
      return Fail(kErrDamaged, std::string("the ") + what + " cannot be decompressed");
  } else {
    out.assign(data, data + std::min(compSize, decompSize));
  }
  return true;
}

// Every data page carries a check value of its data and one of its header:
// damage anywhere, in the sections read or in those kept as they are, is
// reported once.
void Reader2004::CheckDataPages() {
  const uint64_t n = file_.size();
  size_t failed = 0;
  for (const auto& [number, address] : pageAddress_) {
    if (address > n || n - address < 32) continue;
    uint32_t head[8];
    const uint32_t mask = 0x4164536Bu ^ static_cast<uint32_t>(address);
    for (int k = 0; k < 8; ++k) head[k] = Le32(file_.data() + address + 4 * k) ^ mask;
    if (head[0] != kDataPageType || head[2] > n - address - 32) continue;
    const uint32_t dataSum = R2004PageChecksum(0, file_.data() + address + 32, head[2]);
    const uint32_t headSum = head[6];
    head[6] = 0;
    uint8_t bytes[32];
    for (int k = 0; k < 32; ++k) bytes[k] = static_cast<uint8_t>(head[k / 4] >> (8 * (k % 4)));
    if (dataSum != head[7] || R2004PageChecksum(dataSum, bytes, 32) != headSum) ++failed;
  }
  if (failed > 0) out_.warnings.push_back(std::to_string(failed) + " data pages fail their check values");
}

bool Reader2004::ReadSection(const SectionInfo& info, std::vector<uint8_t>& out) {
  if (info.encrypted == 1)
    return Fail(kErrPassword, "the drawing is password-protected (section " + info.name + " is encrypted)");
  if (info.maxPageSize == 0 || info.maxPageSize > kMaxPageSize)
    return Fail(kErrDamaged, "section " + info.name + " declares an invalid page size");
  uint64_t capacity = static_cast<uint64_t>(info.pages.size()) * info.maxPageSize;
  uint64_t size = std::min(info.size, capacity);
  if (size > budget_) return Fail(kErrTooLarge, "section " + info.name + " is larger than the memory limit");
  budget_ -= size;
  out.assign(static_cast<size_t>(size), 0);
  std::vector<uint8_t> page;
  const uint64_t n = file_.size();
  // Pages follow each other in the section and each file page serves once;
  // a damaged map that repeats or overlaps them must not multiply the work.
  uint64_t end = 0;
  bool skipped = false, missing = false;
  for (const SectionPage& sp : info.pages) {
    auto it = pageAddress_.find(sp.number);
    if (it == pageAddress_.end()) {
      if (!missing) out_.warnings.push_back("section " + info.name + " refers to a missing page");
      missing = true;
      continue;
    }
    if (sp.startOffset >= size) continue;
    if (sp.startOffset < end || !usedPages_.insert(sp.number).second) {
      if (!skipped) out_.warnings.push_back("section " + info.name + " lists a page twice or out of order; it is skipped");
      skipped = true;
      continue;
    }
    uint64_t address = it->second;
    if (address > n || n - address < 32) return Fail(kErrDamaged, "a page of section " + info.name + " is truncated");
    uint32_t head[8];
    const uint32_t mask = 0x4164536Bu ^ static_cast<uint32_t>(address);
    for (int k = 0; k < 8; ++k) head[k] = Le32(file_.data() + address + 4 * k) ^ mask;
    if (head[0] != kDataPageType) return Fail(kErrDamaged, "a page of section " + info.name + " has a wrong signature");
    uint32_t dataSize = head[2];
    if (dataSize > n - address - 32) return Fail(kErrDamaged, "a page of section " + info.name + " is truncated");
    const uint8_t* data = file_.data() + address + 32;
    size_t room = static_cast<size_t>(std::min<uint64_t>(size - sp.startOffset, info.maxPageSize));
    if (info.compressed == 2) {
      if (!DecompressPage(data, dataSize, info.maxPageSize, page))
        return Fail(kErrDamaged, "a page of section " + info.name + " cannot be decompressed");
      std::memcpy(out.data() + sp.startOffset, page.data(), std::min(room, page.size()));
    } else {
      std::memcpy(out.data() + sp.startOffset, data, std::min<size_t>(room, dataSize));
    }
    end = sp.startOffset + 1;
  }
  return true;
}

bool Reader2004::Run() {
  const uint8_t* f = file_.data();
  const size_t n = file_.size();
  if (n < 0x100) return Fail(kErrDamaged, "the DWG file header is truncated");
  out_.maintVersion = f[0x0B];
  out_.codePage = static_cast<uint16_t>(f[0x13] | (f[0x14] << 8));
  out_.securityFlags = Le32(f + 0x18);

  uint8_t block[kHeaderBlockSize];
  std::memcpy(block, f + kHeaderBlockOffset, kHeaderBlockSize);
  DecryptR2004Header(block, kHeaderBlockSize);
  if (std::memcmp(block, "AcFssFcAJMB", 11) != 0) return Fail(kErrDamaged, "the encrypted DWG file header is damaged");
  uint32_t storedCrc = Le32(block + 0x68);
  std::memset(block + 0x68, 0, 4);
  if (Crc32(0, block, kHeaderBlockSize) != storedCrc) out_.warnings.push_back("file header check value does not match");

  if (out_.securityFlags & 1u) return Fail(kErrPassword, "the drawing is password-protected (its data is encrypted)");

  uint32_t sectionMapId = Le32(block + 0x5C);
  uint64_t pageMapAddress = Le64(block + 0x54) + 0x100;

  std::vector<uint8_t> pageMap;
  if (!ReadSystemPage(pageMapAddress, kPageMapType, "page map", pageMap)) return false;
  {
    uint64_t address = 0x100;
    size_t i = 0;
    while (i + 8 <= pageMap.size()) {
      int32_t number = static_cast<int32_t>(Le32(pageMap.data() + i));
      uint32_t size = Le32(pageMap.data() + i + 4);
      i += 8;
      if (number >= 0) {
        pageAddress_.emplace(static_cast<uint32_t>(number), address);
      } else {
        i += 16;  // a gap record carries four more longs
      }
      address += size;
      if (address > n) break;
    }
  }
  CheckDataPages();
  // The file ends with a copy of the encrypted header.
  const uint64_t secondHeader = Le64(block + 0x34);
  if (secondHeader > n || n - secondHeader < kHeaderBlockSize) {
    out_.truncated = true;
    out_.warnings.push_back("the file is truncated: the copy of its header at " + std::to_string(secondHeader) +
                            " is missing");
  }
  auto sm = pageAddress_.find(sectionMapId);
  if (sm == pageAddress_.end()) return Fail(kErrDamaged, "the section map page is missing from the page map");
  std::vector<uint8_t> sectionMap;
  if (!ReadSystemPage(sm->second, kSectionMapType, "section map", sectionMap)) return false;

  std::vector<SectionInfo> sections;
  {
    const uint8_t* p = sectionMap.data();
    size_t len = sectionMap.size();
    if (len < 20) return Fail(kErrDamaged, "the section map is truncated");
    uint32_t count = Le32(p);
    size_t i = 20;
    for (uint32_t s = 0; s < count; ++s) {
      if (len - i < 8 + 4 * 6 + 64) break;
      SectionInfo info;
      info.size = Le64(p + i);
      uint32_t pageCount = Le32(p + i + 8);
      info.maxPageSize = Le32(p + i + 12);
      info.compressed = Le32(p + i + 20);
      info.encrypted = Le32(p + i + 28);
      const char* name = reinterpret_cast<const char*>(p + i + 32);
      info.name.assign(name, strnlen(name, 64));
      i += 96;
      if (pageCount > (len - i) / 16) return Fail(kErrDamaged, "the section map is truncated");
      for (uint32_t k = 0; k < pageCount; ++k) {
        SectionPage sp;
        sp.number = Le32(p + i);
        sp.dataSize = Le32(p + i + 4);
        sp.startOffset = Le64(p + i + 8);
        info.pages.push_back(sp);
        i += 16;
      }
      sections.push_back(std::move(info));
    }
  }

  auto find = [&](const char* name) -> const SectionInfo* {
    for (const auto& s : sections)
      if (s.name == name) return &s;
    return nullptr;
  };
  struct Wanted {
    const char* name;
    ByteView* view;
  } wanted[] = {{"AcDb:Header", &out_.header},
                {"AcDb:Classes", &out_.classes},
                {"AcDb:Handles", &out_.objectMap},
                {"AcDb:AcDbObjects", &out_.objects}};
  for (const auto& w : wanted) {
    const SectionInfo* info = find(w.name);
    if (info == nullptr) return Fail(kErrDamaged, std::string("the DWG file has no ") + w.name + " section");
    std::vector<uint8_t> buf;
    if (!ReadSection(*info, buf)) return false;
    out_.owned.push_back(std::move(buf));
    *w.view = {out_.owned.back().data(), out_.owned.back().size()};
  }
  return true;
}

}  // namespace

void DecryptR2004Header(uint8_t* block, size_t size) {
  uint32_t seed = 1;
  for (size_t i = 0; i < size; ++i) {
    seed = seed * 0x343FDu + 0x269EC3u;
    block[i] ^= static_cast<uint8_t>(seed >> 16);
  }
}

bool ReadContainerR2004(const std::vector<uint8_t>& file, Container& out, ReadError& error) {
  Reader2004 reader(file, out, error);
  return reader.Run();
}

}  // namespace vantrove::engine::dwg
