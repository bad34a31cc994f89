// The 2007 container on files built here: coded file header, page map,
// section map and pages, laid out as the format has them, then damaged or
// made inconsistent in the ways a reader has to survive.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "dwg/container.hpp"
#include "dwg/reed_solomon.hpp"

namespace vantrove::engine::dwg {
namespace {

void Put64(std::vector<uint8_t>& out, uint64_t v) {
  for (int i = 0; i < 8; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// `data` as interleaved codewords of `code`: as many as its size rounded up
// to 8 bytes needs, padded with zeros; the result rounded up to `align`.
std::vector<uint8_t> Coded(const std::vector<uint8_t>& data, const RsCode& code, size_t align) {
  const size_t k = code.dataBytes();
  const size_t count = ((data.size() + 7) / 8 * 8 + k - 1) / k;
  std::vector<uint8_t> disk((count * kRsCodeword + align - 1) / align * align, 0);
  for (size_t i = 0; i < count; ++i) {
    uint8_t block[kRsCodeword] = {};
    for (size_t j = 0; j < k && i * k + j < data.size(); ++j) block[j] = data[i * k + j];
    EncodeRsBlock(block, code);
    for (size_t j = 0; j < kRsCodeword; ++j) disk[j * count + i] = block[j];
  }
  return disk;
}

struct PageSpec {
  int64_t id;
  uint64_t offset;  // in the section
  std::vector<uint8_t> bytes;
};

struct SectionSpec {
  std::string name;
  uint64_t encoding = 4;
  uint64_t encrypted = 0;
  std::vector<PageSpec> pages;
};

// Builds a 2007 file: the data pages in order, then the section map and the
// page map (written `copies` times over), all pages stored uncompressed.
class File2007 {
 public:
  std::vector<SectionSpec> sections;
  uint64_t copies = 1;
  uint32_t securityFlags = 0;
  std::vector<int64_t> absent;  // page ids the section map lists but the file lacks

  std::vector<uint8_t> Build(size_t* mapAt = nullptr) const {
    std::vector<uint8_t> file(0x480, 0);
    file[0] = 'A', file[1] = 'C', file[2] = '1', file[3] = '0', file[4] = '2', file[5] = '1';
    file[0x0B] = 0x32;
    file[0x13] = 0x1E;
    for (int i = 0; i < 4; ++i) file[0x18 + i] = static_cast<uint8_t>(securityFlags >> (8 * i));
    std::vector<std::pair<uint64_t, int64_t>> map;  // (disk size, id) in file order
    std::vector<uint8_t> sectionMap;
    int64_t lastId = 0;
    for (const SectionSpec& s : sections) {
      uint64_t total = 0;
      for (const PageSpec& p : s.pages) total = std::max<uint64_t>(total, p.offset + p.bytes.size());
      for (uint64_t v : {total, uint64_t{0x7400}, s.encrypted, uint64_t{0}, 2 * s.name.size() + 2, uint64_t{0},
                         s.encoding, uint64_t{s.pages.size()}})
        Put64(sectionMap, v);
      for (char c : s.name) sectionMap.insert(sectionMap.end(), {static_cast<uint8_t>(c), 0});
      sectionMap.insert(sectionMap.end(), {0, 0});
      for (const PageSpec& p : s.pages) {
        std::vector<uint8_t> disk = s.encoding == 4 ? Coded(p.bytes, kRsDataPageCode, 32) : p.bytes;
        for (uint64_t v : {p.offset, uint64_t{disk.size()}, static_cast<uint64_t>(p.id), uint64_t{p.bytes.size()},
                           uint64_t{p.bytes.size()}, uint64_t{0}, uint64_t{0}})
          Put64(sectionMap, v);
        const bool known = std::find_if(map.begin(), map.end(), [&](const auto& e) { return e.second == p.id; }) != map.end();
        if (!known && std::find(absent.begin(), absent.end(), p.id) == absent.end()) {
          map.emplace_back(disk.size(), p.id);
          file.insert(file.end(), disk.begin(), disk.end());
        }
        lastId = std::max(lastId, p.id);
      }
    }
    const int64_t sectionMapId = lastId + 1, pageMapId = lastId + 2;
    std::vector<uint8_t> sectionDisk = SystemPage(sectionMap);
    map.emplace_back(sectionDisk.size(), sectionMapId);
    file.insert(file.end(), sectionDisk.begin(), sectionDisk.end());
    const uint64_t pageMapAt = file.size();
    std::vector<uint8_t> pageMap;
    // The page map lists itself last; its size is known once it is coded.
    const size_t entries = map.size() + 1;
    const size_t pageMapSize = SystemPage(std::vector<uint8_t>(16 * entries)).size();
    map.emplace_back(pageMapSize, pageMapId);
    for (const auto& [size, id] : map) {
      Put64(pageMap, size);
      Put64(pageMap, static_cast<uint64_t>(id));
    }
    std::vector<uint8_t> pageDisk = SystemPage(pageMap);
    file.insert(file.end(), pageDisk.begin(), pageDisk.end());
    if (mapAt != nullptr) *mapAt = pageMapAt;

    std::vector<uint64_t> h(34, 0);
    h[1] = file.size();
    h[3] = copies;
    h[7] = pageMapAt - 0x480;
    h[10] = h[11] = pageMap.size();
    h[22] = h[25] = sectionMap.size();
    h[24] = static_cast<uint64_t>(sectionMapId);
    h[27] = copies;
    std::vector<uint8_t> pre(32, 0);  // check values and lengths: the header is stored uncompressed
    for (uint64_t v : h) Put64(pre, v);
    pre.resize(712, 0);  // three codewords (717 data bytes), rounded down to 8
    std::vector<uint8_t> area = Coded(pre, kRsHeaderCode, 1);
    std::copy(area.begin(), area.end(), file.begin() + 0x80);
    return file;
  }

 private:
  std::vector<uint8_t> SystemPage(const std::vector<uint8_t>& data) const {
    std::vector<uint8_t> padded = data;
    padded.resize((data.size() + 7) / 8 * 8, 0);
    std::vector<uint8_t> repeated;
    for (uint64_t c = 0; c < copies; ++c) repeated.insert(repeated.end(), padded.begin(), padded.end());
    return Coded(repeated, kRsHeaderCode, 8);
  }
};

std::vector<uint8_t> Filled(size_t n, uint8_t seed) {
  std::vector<uint8_t> v(n);
  for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(seed + i * 7 + (i >> 5));
  return v;
}

File2007 Standard() {
  File2007 f;
  f.sections = {{"AcDb:Header", 4, 0, {{1, 0, Filled(300, 1)}}},
                {"AcDb:Classes", 1, 0, {{2, 0, Filled(64, 2)}}},
                {"AcDb:Handles", 4, 0, {{3, 0, Filled(100, 3)}}},
                {"AcDb:AcDbObjects", 4, 0, {{4, 0, Filled(700, 4)}, {5, 700, Filled(500, 5)}}}};
  return f;
}

bool Read(const std::vector<uint8_t>& file, Container& c, ReadError& error) { return ReadContainer(file, c, error); }

std::vector<uint8_t> Bytes(ByteView v) { return std::vector<uint8_t>(v.data, v.data + v.size); }

bool Warned(const Container& c, const std::string& part) {
  for (const auto& w : c.warnings)
    if (w.find(part) != std::string::npos) return true;
  return false;
}

TEST(Dwg2007Container, SectionsComeBackFromCodedAndPlainPages) {
  Container c;
  ReadError error;
  ASSERT_TRUE(Read(Standard().Build(), c, error)) << error.message;
  EXPECT_EQ(c.version, Version::kR2007);
  EXPECT_EQ(Bytes(c.header), Filled(300, 1));
  EXPECT_EQ(Bytes(c.classes), Filled(64, 2));  // stored without the code
  EXPECT_EQ(Bytes(c.objectMap), Filled(100, 3));
  std::vector<uint8_t> objects = Filled(700, 4), second = Filled(500, 5);
  objects.insert(objects.end(), second.begin(), second.end());
  EXPECT_EQ(Bytes(c.objects), objects);
  EXPECT_TRUE(c.warnings.empty());
}

TEST(Dwg2007Container, RepeatedSystemPagesReplaceACopyBeyondRepair) {
  File2007 f = Standard();
  f.copies = 6;
  size_t mapAt = 0;
  std::vector<uint8_t> file = f.Build(&mapAt);
  // The page map (7 entries, 112 bytes) six times over fills 3 codewords.
  // Ruin the first: the copies it holds are beyond repair, the fourth copy
  // lies wholly in the second codeword and is intact.
  const size_t count = 3;
  for (size_t j = 0; j < 60; ++j) file[mapAt + j * count] ^= 0x5A;
  Container c;
  ReadError error;
  ASSERT_TRUE(Read(file, c, error)) << error.message;
  EXPECT_EQ(Bytes(c.objectMap), Filled(100, 3));
  EXPECT_TRUE(Warned(c, "damaged beyond repair"));
}

TEST(Dwg2007Container, InconsistentMapsAreSurvivedWithWarnings) {
  // A page listed twice, and a page whose id the page map does not know.
  File2007 f = Standard();
  f.sections[2].pages.push_back({3, 50, Filled(100, 3)});
  f.sections[3].pages.push_back({99, 1200, Filled(10, 9)});
  f.absent = {99};
  Container c;
  ReadError error;
  std::vector<uint8_t> file = f.Build();
  ASSERT_TRUE(Read(file, c, error)) << error.message;
  EXPECT_EQ(Bytes(c.objectMap).size(), 150u);
  EXPECT_TRUE(Warned(c, "lists a page twice or out of order"));
  EXPECT_TRUE(Warned(c, "refers to a missing page"));
}

TEST(Dwg2007Container, RefusalsNameTheirCause) {
  struct Case {
    File2007 file;
    int code;
    std::string mentions;
  };
  std::vector<Case> cases;
  cases.push_back({Standard(), kErrPassword, "password"});
  cases.back().file.securityFlags = 1;
  cases.push_back({Standard(), kErrPassword, "AcDb:Handles is encrypted"});
  cases.back().file.sections[2].encrypted = 1;
  cases.push_back({Standard(), kErrDamaged, "no AcDb:Classes section"});
  cases.back().file.sections[1].name = "AcDb:Other";
  for (const Case& k : cases) {
    Container c;
    ReadError error;
    EXPECT_FALSE(Read(k.file.Build(), c, error)) << k.mentions;
    EXPECT_EQ(error.code, k.code) << k.mentions;
    EXPECT_NE(error.message.find(k.mentions), std::string::npos) << error.message;
  }

  // The page map address pointing outside the file, and a file cut in the
  // middle of its pages.
  std::vector<uint8_t> file = Standard().Build();
  std::vector<uint8_t> cut(file.begin(), file.begin() + 0x600);
  Container c;
  ReadError error;
  EXPECT_FALSE(Read(cut, c, error));
  EXPECT_EQ(error.code, kErrDamaged);
  EXPECT_NE(error.message.find("page map"), std::string::npos) << error.message;
}

}  // namespace
}  // namespace vantrove::engine::dwg
