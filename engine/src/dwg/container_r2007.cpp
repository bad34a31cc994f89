// The 2007 (AC1021) container.
//
// The first 0x80 bytes are laid out as in 2004 (version, code page, security
// flags). Then come 0x3D8 bytes holding three interleaved Reed-Solomon
// codewords (239 data bytes each) and 0x28 bytes of check data. The
// codewords' data starts with check values and the length of the
// compressed file header, a block of 34 little-endian 64-bit values that
// locates the page map and the section map.
//
// Page addresses count from 0x480, the end of the header area. The page
// map lists (size, id) pairs in file order, so a page's address is the sum
// of the sizes before it; negative ids mark free space. The section map
// names each section and lists its pages: where the page's bytes go in the
// section, its page id, its compressed and its full size.
//
// System pages (the two maps) are written `correction` times over, then
// Reed-Solomon coded with 239 data bytes per codeword, and compressed when
// their compressed size is below their full size. Data pages are coded with
// 251 data bytes per codeword when their section says so (encoding 4).

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "dwg/bit_reader.hpp"
#include "dwg/container.hpp"
#include "dwg/decompress_r2007.hpp"
#include "dwg/reed_solomon.hpp"

namespace vantrove::engine::dwg {

namespace {

constexpr size_t kHeaderOffset = 0x80;
constexpr size_t kHeaderCodewords = 3;
constexpr size_t kHeaderArea = 0x3D8;
constexpr size_t kFileHeaderSize = 0x110;
constexpr uint64_t kPageBase = 0x480;
static_assert(kHeaderOffset + kHeaderArea + 0x28 == kPageBase, "pages follow the header area and its check data");
constexpr size_t kSystemData = 239;  // data bytes per codeword of system pages
constexpr size_t kPageData = 251;    // ... and of coded data pages
constexpr uint64_t kCodedEncoding = 4;
// System pages are small; this bounds a forged size.
constexpr uint64_t kMaxSystemPage = 64u << 20;
// The largest data page we accept; writers use 0x7400.
constexpr uint64_t kMaxPageSize = 0x100000;

uint64_t Le64(const uint8_t* p) {
  uint64_t v = 0;
  for (int i = 7; i >= 0; --i) v = (v << 8) | p[i];
  return v;
}

// The values of the decompressed file header that the reader uses, by
// their index among its 34 64-bit values.
enum HeaderField : size_t {
  kFileSize = 1,
  kPagesMapCorrection = 3,
  kPagesMapOffset = 7,
  kPagesMapSizeComp = 10,
  kPagesMapSizeUncomp = 11,
  kSectionsMapSizeComp = 22,
  kSectionsMapId = 24,
  kSectionsMapSizeUncomp = 25,
  kSectionsMapCorrection = 27,
};

struct Page {
  uint64_t address = 0;
  uint64_t size = 0;
};

struct SectionPage {
  uint64_t offset = 0;      // where its bytes go in the section
  uint64_t diskSize = 0;    // as the section map states it
  int64_t id = 0;
  uint64_t size = 0;        // full size
  uint64_t compSize = 0;
};

struct SectionInfo {
  uint64_t size = 0;
  uint64_t encrypted = 0;
  uint64_t encoding = 0;
  std::string name;
  std::vector<SectionPage> pages;
};

class Reader2007 {
 public:
  Reader2007(const std::vector<uint8_t>& file, Container& out, ReadError& error)
      : file_(file), out_(out), error_(error) {
    budget_ = std::min<uint64_t>(uint64_t{1} << 30, (uint64_t{64} << 20) + uint64_t{64} * file.size());
  }

  bool Run();

 private:
  bool Fail(int code, std::string message) {
    error_ = {code, std::move(message)};
    return false;
  }
  bool ReadFileHeader(uint64_t (&values)[kFileHeaderSize / 8]);
  bool ReadSystemPage(uint64_t address, uint64_t compSize, uint64_t size, uint64_t copies, const char* what,
                      std::vector<uint8_t>& out);
  bool ReadPageMap(const std::vector<uint8_t>& map);
  bool ReadSectionMap(const std::vector<uint8_t>& map, std::vector<SectionInfo>& sections);
  bool ReadSection(const SectionInfo& info, std::vector<uint8_t>& out);
  void Note(const RsReport& report);

  const std::vector<uint8_t>& file_;
  Container& out_;
  ReadError& error_;
  uint64_t budget_;
  std::unordered_map<int64_t, Page> pages_;
  std::unordered_set<int64_t> usedPages_;
  size_t repairedBytes_ = 0;
  size_t badCodewords_ = 0;
};

void Reader2007::Note(const RsReport& report) {
  repairedBytes_ += report.correctedBytes;
  badCodewords_ += report.badCount;
}

bool Reader2007::ReadFileHeader(uint64_t (&values)[kFileHeaderSize / 8]) {
  std::vector<uint8_t> data;
  RsReport report;
  DecodeInterleavedRs(file_.data() + kHeaderOffset, kHeaderCodewords, kRsHeaderCode, data, report);
  if (report.badCount > 0) out_.warnings.push_back("file header check value does not match");
  repairedBytes_ += report.correctedBytes;

  // Check values (three 64-bit), the compressed length (32-bit, signed), a
  // second length, then the header itself.
  const int32_t compressed = static_cast<int32_t>(Le64(data.data() + 24) & 0xFFFFFFFFu);
  const uint8_t* body = data.data() + 32;
  const size_t room = data.size() - 32;
  uint8_t header[kFileHeaderSize] = {};
  if (compressed > 0) {
    size_t produced = 0;
    if (static_cast<size_t>(compressed) > room ||
        !DecompressR2007(body, static_cast<size_t>(compressed), header, sizeof header, produced) ||
        produced != sizeof header)
      return Fail(kErrDamaged, "the DWG file header is damaged (it cannot be decompressed)");
  } else {
    std::memcpy(header, body, sizeof header);
  }
  for (size_t i = 0; i < kFileHeaderSize / 8; ++i) values[i] = Le64(header + 8 * i);
  return true;
}

bool Reader2007::ReadSystemPage(uint64_t address, uint64_t compSize, uint64_t size, uint64_t copies,
                                const char* what, std::vector<uint8_t>& out) {
  const uint64_t n = file_.size();
  const std::string name(what);
  if (address >= n) return Fail(kErrDamaged, "the " + name + " lies outside the file");
  if (size == 0 || compSize == 0 || copies == 0 || compSize > n || copies > n)
    return Fail(kErrDamaged, "the " + name + " declares an implausible size");
  if (size > kMaxSystemPage || size > budget_) return Fail(kErrTooLarge, "the " + name + " declares an implausible size");
  const uint64_t copyBytes = (compSize + 7) & ~uint64_t{7};
  const uint64_t codewords = (copyBytes * copies + kSystemData - 1) / kSystemData;
  if (codewords > (n - address) / kRsCodeword) return Fail(kErrDamaged, "the " + name + " is truncated");

  std::vector<uint8_t> data;
  RsReport report;
  DecodeInterleavedRs(file_.data() + address, static_cast<size_t>(codewords), kRsHeaderCode, data, report);
  Note(report);
  // The page is stored `copies` times over: take the first copy whose
  // codewords are all intact.
  uint64_t start = 0;
  for (uint64_t c = 0; c < copies && report.badCount > 0; ++c) {
    const uint64_t from = c * copyBytes, to = from + compSize - 1;
    bool intact = true;
    for (uint64_t w = from / kSystemData; w <= to / kSystemData && intact; ++w) intact = !report.bad[w];
    if (intact) {
      start = from;
      break;
    }
  }
  out.assign(static_cast<size_t>(size), 0);
  const uint8_t* src = data.data() + start;
  const size_t available = static_cast<size_t>(std::min<uint64_t>(compSize, data.size() - start));
  if (compSize < size) {
    size_t produced = 0;
    if (!DecompressR2007(src, available, out.data(), out.size(), produced))
      return Fail(kErrDamaged, "the " + name + " cannot be decompressed");
  } else {
    std::memcpy(out.data(), src, std::min<size_t>(available, out.size()));
  }
  return true;
}

bool Reader2007::ReadPageMap(const std::vector<uint8_t>& map) {
  const uint64_t n = file_.size();
  uint64_t address = kPageBase;
  for (size_t i = 0; i + 16 <= map.size(); i += 16) {
    const uint64_t size = Le64(map.data() + i);
    const int64_t id = static_cast<int64_t>(Le64(map.data() + i + 8));
    if (size > n - std::min(n, address)) break;  // pages from here on lie outside the file
    if (id > 0) pages_.emplace(id, Page{address, size});
    address += size;
  }
  if (pages_.empty()) return Fail(kErrDamaged, "the page map of the drawing is empty or damaged");
  return true;
}

bool Reader2007::ReadSectionMap(const std::vector<uint8_t>& map, std::vector<SectionInfo>& sections) {
  const uint8_t* p = map.data();
  const size_t len = map.size();
  size_t i = 0;
  while (len - i >= 64) {
    SectionInfo info;
    info.size = Le64(p + i);
    info.encrypted = Le64(p + i + 16);
    const uint64_t nameBytes = Le64(p + i + 32);
    info.encoding = Le64(p + i + 48);
    const uint64_t pageCount = Le64(p + i + 56);
    i += 64;
    if (nameBytes > len - i || nameBytes > 512) return Fail(kErrDamaged, "the section map is damaged");
    std::vector<uint16_t> units(static_cast<size_t>(nameBytes / 2));
    for (size_t k = 0; k < units.size(); ++k) units[k] = static_cast<uint16_t>(p[i + 2 * k] | (p[i + 2 * k + 1] << 8));
    while (!units.empty() && units.back() == 0) units.pop_back();
    info.name = Utf16ToUtf8(units.data(), units.size());
    i += static_cast<size_t>(nameBytes);
    if (pageCount > (len - i) / 56) return Fail(kErrDamaged, "the section map is truncated");
    for (uint64_t k = 0; k < pageCount; ++k, i += 56) {
      SectionPage sp;
      sp.offset = Le64(p + i);
      sp.diskSize = Le64(p + i + 8);
      sp.id = static_cast<int64_t>(Le64(p + i + 16));
      sp.size = Le64(p + i + 24);
      sp.compSize = Le64(p + i + 32);
      info.pages.push_back(sp);
    }
    sections.push_back(std::move(info));
  }
  return true;
}

bool Reader2007::ReadSection(const SectionInfo& info, std::vector<uint8_t>& out) {
  if (info.encrypted == 1)
    return Fail(kErrPassword, "the drawing is password-protected (section " + info.name + " is encrypted)");
  // A section holds no more than its pages can give.
  uint64_t size = 0;
  for (const SectionPage& sp : info.pages) {
    size += std::min(sp.size, kMaxPageSize);
    if (size >= info.size) break;
  }
  size = std::min(size, info.size);
  if (size > budget_) return Fail(kErrTooLarge, "section " + info.name + " is larger than the memory limit");
  budget_ -= size;
  out.assign(static_cast<size_t>(size), 0);
  std::vector<uint8_t> decoded;
  // Pages follow each other in the section and each file page serves once;
  // a damaged map that repeats or overlaps them must not multiply the work.
  uint64_t end = 0;
  bool skipped = false, missing = false;  // each named once per section
  for (const SectionPage& sp : info.pages) {
    if (sp.offset >= size) continue;
    auto it = pages_.find(sp.id);
    if (it == pages_.end()) {
      if (!missing) out_.warnings.push_back("section " + info.name + " refers to a missing page");
      missing = true;
      continue;
    }
    if (sp.offset < end || !usedPages_.insert(sp.id).second) {
      if (!skipped) out_.warnings.push_back("section " + info.name + " lists a page twice or out of order; it is skipped");
      skipped = true;
      continue;
    }
    end = sp.offset + std::min(size - sp.offset, sp.size);
    const Page& page = it->second;
    if (sp.compSize > page.size)
      return Fail(kErrDamaged, "a page of section " + info.name + " declares an implausible size");
    const uint8_t* data = file_.data() + page.address;
    size_t available = static_cast<size_t>(page.size);
    // Coded pages: as the section says, or recognisable by their size.
    const uint64_t codewords = (((sp.compSize + 7) & ~uint64_t{7}) + kPageData - 1) / kPageData;
    const uint64_t codedSize = (codewords * kRsCodeword + 31) & ~uint64_t{31};
    if (info.encoding == kCodedEncoding || page.size == codedSize) {
      if (codewords * kRsCodeword > page.size) return Fail(kErrDamaged, "a page of section " + info.name + " is truncated");
      RsReport report;
      DecodeInterleavedRs(data, static_cast<size_t>(codewords), kRsDataPageCode, decoded, report);
      Note(report);
      data = decoded.data();
      available = decoded.size();
    }
    const size_t room = static_cast<size_t>(std::min(size - sp.offset, sp.size));
    const size_t stored = static_cast<size_t>(std::min<uint64_t>(sp.compSize, available));
    if (sp.compSize < sp.size) {
      size_t produced = 0;
      if (!DecompressR2007(data, stored, out.data() + sp.offset, room, produced))
        return Fail(kErrDamaged, "a page of section " + info.name + " cannot be decompressed");
    } else {
      std::memcpy(out.data() + sp.offset, data, std::min(room, available));
    }
  }
  return true;
}

bool Reader2007::Run() {
  const uint8_t* f = file_.data();
  const size_t n = file_.size();
  if (n < kPageBase) return Fail(kErrDamaged, "the DWG file header is truncated");
  out_.maintVersion = f[0x0B];
  out_.codePage = static_cast<uint16_t>(f[0x13] | (f[0x14] << 8));
  out_.securityFlags = static_cast<uint32_t>(f[0x18] | (f[0x19] << 8) | (f[0x1A] << 16)) | (static_cast<uint32_t>(f[0x1B]) << 24);
  if (out_.securityFlags & 1u) return Fail(kErrPassword, "the drawing is password-protected (its data is encrypted)");

  uint64_t h[kFileHeaderSize / 8];
  if (!ReadFileHeader(h)) return false;
  if (h[kFileSize] > n) {
    out_.truncated = true;
    out_.warnings.push_back("the file is truncated: it has " + std::to_string(n) + " of the " +
                            std::to_string(h[kFileSize]) + " bytes its header gives");
  }

  if (h[kPagesMapOffset] > n) return Fail(kErrDamaged, "the page map lies outside the file");
  std::vector<uint8_t> pageMap;
  if (!ReadSystemPage(kPageBase + h[kPagesMapOffset], h[kPagesMapSizeComp], h[kPagesMapSizeUncomp],
                      h[kPagesMapCorrection], "page map", pageMap) ||
      !ReadPageMap(pageMap))
    return false;

  auto sm = pages_.find(static_cast<int64_t>(h[kSectionsMapId]));
  if (sm == pages_.end()) return Fail(kErrDamaged, "the section map page is missing from the page map");
  std::vector<uint8_t> sectionMap;
  if (!ReadSystemPage(sm->second.address, h[kSectionsMapSizeComp], h[kSectionsMapSizeUncomp],
                      h[kSectionsMapCorrection], "section map", sectionMap))
    return false;
  std::vector<SectionInfo> sections;
  if (!ReadSectionMap(sectionMap, sections)) return false;

  struct Wanted {
    const char* name;
    ByteView* view;
  } wanted[] = {{"AcDb:Header", &out_.header},
                {"AcDb:Classes", &out_.classes},
                {"AcDb:Handles", &out_.objectMap},
                {"AcDb:AcDbObjects", &out_.objects}};
  for (const auto& w : wanted) {
    auto it = std::find_if(sections.begin(), sections.end(), [&](const SectionInfo& s) { return s.name == w.name; });
    if (it == sections.end()) return Fail(kErrDamaged, std::string("the DWG file has no ") + w.name + " section");
    std::vector<uint8_t> buf;
    if (!ReadSection(*it, buf)) return false;
    out_.owned.push_back(std::move(buf));
    *w.view = {out_.owned.back().data(), out_.owned.back().size()};
  }
  if (repairedBytes_ > 0)
    out_.warnings.push_back("the error correction repaired " + std::to_string(repairedBytes_) + " damaged bytes");
  if (badCodewords_ > 0)
    out_.warnings.push_back(std::to_string(badCodewords_) + " blocks of the file are damaged beyond repair");
  return true;
}

}  // namespace

bool ReadContainerR2007(const std::vector<uint8_t>& file, Container& out, ReadError& error) {
  Reader2007 reader(file, out, error);
  return reader.Run();
}

}  // namespace vantrove::engine::dwg
