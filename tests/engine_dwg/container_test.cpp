// The container layer on hand-made and corpus-derived inputs: what is not a
// drawing, versions we refuse, damaged headers, encrypted drawings and the
// object map.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "dwg/checksum.hpp"
#include "dwg/container.hpp"
#include "dwg/decoder.hpp"
#include "dwg/sections.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace vantrove::engine::dwg {
namespace {

std::vector<uint8_t> Bytes(const std::string& s) { return std::vector<uint8_t>(s.begin(), s.end()); }

std::string CorpusFile(const std::string& name) { return std::string(VANTROVE_SHARED_DIR) + "/corpus/dwg/" + name; }

TEST(DwgContainer, RefusesWhatIsNotADrawingOrNotSupported) {
  struct Case {
    std::string bytes;
    int code;
    std::string mentions;
  } cases[] = {
      {"", kErrNotDwg, "not a DWG"},
      {"PK\x03\x04 zip archive", kErrNotDwg, "not a DWG"},
      {"AC1.50AC1INVALID", kErrNotDwg, "AC1.50"},
      {"AC1009" + std::string(200, '\0'), kErrVersion, "AC1009"},
      {"AC1099" + std::string(200, '\0'), kErrVersion, "AC1099"},
      {"AC1021" + std::string(200, '\0'), kErrDamaged, "truncated"},
      {"AC1015" + std::string(10, '\0'), kErrDamaged, "truncated"},
      {"AC1032" + std::string(40, '\0'), kErrDamaged, "truncated"},
  };
  for (const Case& c : cases) {
    Container out;
    ReadError error;
    EXPECT_FALSE(ReadContainer(Bytes(c.bytes), out, error)) << c.mentions;
    EXPECT_EQ(error.code, c.code) << c.mentions;
    EXPECT_NE(error.message.find(c.mentions), std::string::npos) << error.message;
  }
}

TEST(DwgContainer, LocatorTableOutsideTheFileIsDamage) {
  std::vector<uint8_t> f(0x19 + 3 * 9 + 2 + 16, 0);
  std::memcpy(f.data(), "AC1015", 6);
  f[0x15] = 3;  // three records
  for (int i = 0; i < 3; ++i) {
    uint8_t* r = f.data() + 0x19 + i * 9;
    r[0] = static_cast<uint8_t>(i);
    r[1] = 0xF0;  // offset 0xF0, far beyond this tiny file
    r[5] = 0x10;
  }
  Container out;
  ReadError error;
  EXPECT_FALSE(ReadContainer(f, out, error));
  EXPECT_EQ(error.code, kErrDamaged);
  EXPECT_NE(error.message.find("outside the file"), std::string::npos);
}

TEST(DwgContainer, HeaderEncryptionIsItsOwnInverse) {
  uint8_t block[0x6C];
  for (size_t i = 0; i < sizeof block; ++i) block[i] = static_cast<uint8_t>(i * 7);
  uint8_t copy[0x6C];
  std::memcpy(copy, block, sizeof block);
  DecryptR2004Header(block, sizeof block);
  EXPECT_NE(std::memcmp(block, copy, sizeof block), 0);
  DecryptR2004Header(block, sizeof block);
  EXPECT_EQ(std::memcmp(block, copy, sizeof block), 0);
}

TEST(DwgContainer, EncryptedDrawingReportsItsPassword) {
  const std::string path = CorpusFile("ldwg_example_2004.dwg");
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "corpus not available: " << path;
  std::vector<uint8_t> bytes;
  ReadError error;
  ASSERT_TRUE(ReadWholeFile(path, bytes, error));
  bytes[0x18] |= 1;  // the "data is encrypted" security flag
  Document doc;
  Status status = ReadDwgBuffer(bytes, "locked.dwg", doc);
  EXPECT_EQ(status.code, kStatusPasswordProtected);
  EXPECT_NE(status.message.find("password"), std::string::npos);
}

TEST(DwgContainer, DamagedPageMapGivesAStatus) {
  const std::string path = CorpusFile("ldwg_example_2013.dwg");
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "corpus not available: " << path;
  std::vector<uint8_t> bytes;
  ReadError error;
  ASSERT_TRUE(ReadWholeFile(path, bytes, error));
  // Flip the page map address inside the encrypted header.
  bytes[0x80 + 0x54] ^= 0x5A;
  bytes[0x80 + 0x56] ^= 0x33;
  Document doc;
  Status status = ReadDwgBuffer(bytes, "broken.dwg", doc);
  EXPECT_EQ(status.code, StatusCode::kDamaged);
  // Truncating the file anywhere never crashes and never succeeds oddly.
  for (size_t keep : {size_t{0x90}, size_t{0x120}, bytes.size() / 2}) {
    std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(keep));
    Document d2;
    EXPECT_FALSE(ReadDwgBuffer(cut, "cut.dwg", d2).ok()) << keep;
  }
}

// One object map chunk: big-endian size, handle/offset deltas, check value.
std::vector<uint8_t> MapChunk(const std::vector<uint8_t>& pairs) {
  size_t size = pairs.size() + 2;
  std::vector<uint8_t> chunk(size + 2, 0);
  chunk[0] = static_cast<uint8_t>(size >> 8);
  chunk[1] = static_cast<uint8_t>(size);
  for (size_t i = 0; i < pairs.size(); ++i) chunk[2 + i] = pairs[i];
  chunk.resize(size);
  uint16_t crc = Crc16(0xC0C1, chunk.data(), chunk.size());
  chunk.push_back(static_cast<uint8_t>(crc >> 8));
  chunk.push_back(static_cast<uint8_t>(crc));
  return chunk;
}

TEST(DwgObjectMap, DeltasRestartInEveryChunk) {
  std::vector<uint8_t> map;
  for (const auto& chunk : {MapChunk({0x01, 0x10, 0x02, 0x20, 0x03, 0x45}),  // +1/+16, +2/+32, +3/-5
                            MapChunk({0x0A, 0x08}), MapChunk({})}) {
    for (uint8_t b : chunk) map.push_back(b);
  }
  std::vector<MapEntry> out;
  std::vector<std::string> warnings;
  ParseObjectMap({map.data(), map.size()}, out, warnings);
  ASSERT_EQ(out.size(), 4u);
  EXPECT_EQ(out[0].handle, 1u);
  EXPECT_EQ(out[0].offset, 16);
  EXPECT_EQ(out[1].handle, 3u);
  EXPECT_EQ(out[1].offset, 48);
  EXPECT_EQ(out[2].handle, 6u);
  EXPECT_EQ(out[2].offset, 43);
  EXPECT_EQ(out[3].handle, 10u);
  EXPECT_EQ(out[3].offset, 8);
  EXPECT_TRUE(warnings.empty());

  // A chunk that claims more than there is ends the map with a warning.
  std::vector<uint8_t> bad = {0x07, 0xF0, 0x01, 0x02};
  out.clear();
  ParseObjectMap({bad.data(), bad.size()}, out, warnings);
  EXPECT_TRUE(out.empty());
  EXPECT_FALSE(warnings.empty());
}

}  // namespace
}  // namespace vantrove::engine::dwg
