// Every bit code the DWG writer emits reads back through the reader's
// BitReader unchanged, in its shortest form, at any bit alignment.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "dwg/bit_reader.hpp"
#include "dwg/bit_writer.hpp"
#include "dwg/checksum.hpp"

namespace vantrove::engine::dwg {
namespace {

// Writes `lead` filler bits first so each value is also tried off the byte
// boundary.
class RoundTrip : public ::testing::TestWithParam<unsigned> {
 protected:
  void SetUp() override { w.Bits(0x5A, GetParam()); }
  BitReader Reader() {
    r = BitReader(w.bytes().data(), w.bytes().size());
    r.ReadBits(GetParam());
    return r;
  }
  BitWriter w;
  BitReader r;
};

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST_P(RoundTrip, RawValues) {
  w.B(true);
  w.BB(2);
  w.B3(0);
  w.B3(2);
  w.B3(6);
  w.B3(7);
  w.RC(0xFE);
  w.RS(0xBEEF);
  w.RL(0x89ABCDEFu);
  w.RLL(0x0123456789ABCDEFull);
  w.RD(-1234.5678);
  w.RSBigEndian(0x1234);
  BitReader rd = Reader();
  EXPECT_TRUE(rd.B());
  EXPECT_EQ(rd.BB(), 2);
  EXPECT_EQ(rd.B3(), 0);
  EXPECT_EQ(rd.B3(), 2);
  EXPECT_EQ(rd.B3(), 6);
  EXPECT_EQ(rd.B3(), 7);
  EXPECT_EQ(rd.RC(), 0xFE);
  EXPECT_EQ(rd.RS(), 0xBEEF);
  EXPECT_EQ(rd.RL(), 0x89ABCDEFu);
  EXPECT_EQ(rd.RLL(), 0x0123456789ABCDEFull);
  EXPECT_EQ(rd.RD(), -1234.5678);
  EXPECT_EQ(rd.RSBigEndian(), 0x1234);
  EXPECT_FALSE(rd.failed());
}

TEST_P(RoundTrip, BitShortsLongsAndObjectTypes) {
  const uint16_t shorts[] = {0, 1, 255, 256, 257, 0x7FFF, 0xFFFF};
  const uint32_t longs[] = {0, 1, 255, 256, 0x10000, 0xFFFFFFFFu};
  const uint64_t longLongs[] = {0, 1, 0xFF, 0x100, 0x00FFFFFFFFFFFFFFull};
  const uint16_t types[] = {0, 0x2C, 0xFF, 0x1F2, 0x1F3, 0x2EF, 0x2F0, 500, 0x7FFF};
  for (uint16_t v : shorts) w.BS(v);
  for (uint32_t v : longs) w.BL(v);
  for (uint64_t v : longLongs) w.BLL(v);
  for (uint16_t v : types) w.OT(v);
  BitReader rd = Reader();
  for (uint16_t v : shorts) EXPECT_EQ(rd.BS(), v);
  for (uint32_t v : longs) EXPECT_EQ(rd.BL(), v);
  for (uint64_t v : longLongs) EXPECT_EQ(rd.BLL(), v);
  for (uint16_t v : types) EXPECT_EQ(rd.OT(), v);
  EXPECT_FALSE(rd.failed());
}

TEST_P(RoundTrip, DoublesKeepEveryBit) {
  const double values[] = {0.0, -0.0, 1.0, -1.0, 0.1, 1e300, -std::numeric_limits<double>::denorm_min(),
                           std::numeric_limits<double>::infinity()};
  for (double v : values) w.BD(v);
  BitReader rd = Reader();
  for (double v : values) EXPECT_TRUE(SameBits(rd.BD(), v)) << v;
  EXPECT_FALSE(rd.failed());
}

TEST_P(RoundTrip, DefaultedDoublesUseTheShortestForm) {
  // Against a default of 10.0: equal, low half differs, six bytes differ, all differ.
  const double def = 10.0;
  double lowHalf = def, sixBytes = def;
  uint8_t raw[8];
  std::memcpy(raw, &lowHalf, 8);
  raw[0] ^= 0x11;
  std::memcpy(&lowHalf, raw, 8);
  std::memcpy(raw, &sixBytes, 8);
  raw[5] ^= 0x01;
  raw[1] ^= 0x80;
  std::memcpy(&sixBytes, raw, 8);
  const double values[] = {def, lowHalf, sixBytes, -3.75e-12};
  size_t before = w.position();
  w.DD(def, def);
  EXPECT_EQ(w.position() - before, 2u);
  before = w.position();
  w.DD(lowHalf, def);
  EXPECT_EQ(w.position() - before, 2u + 32u);
  before = w.position();
  w.DD(sixBytes, def);
  EXPECT_EQ(w.position() - before, 2u + 48u);
  w.DD(values[3], def);
  BitReader rd = Reader();
  for (double v : values) EXPECT_TRUE(SameBits(rd.DD(def), v)) << v;
  EXPECT_FALSE(rd.failed());
}

TEST_P(RoundTrip, ThicknessAndExtrusionInBothForms) {
  w.BT(0.0, true);
  w.BT(2.5, true);
  w.BT(0.0, false);
  w.BT(-1.0, false);
  w.BE(Point3{0, 0, 1}, true);
  w.BE(Point3{0, 0, -1}, true);
  w.BE(Point3{0.6, 0, 0.8}, false);
  BitReader rd = Reader();
  EXPECT_EQ(rd.BT(true), 0.0);
  EXPECT_EQ(rd.BT(true), 2.5);
  EXPECT_EQ(rd.BT(false), 0.0);
  EXPECT_EQ(rd.BT(false), -1.0);
  EXPECT_EQ(rd.BE(true).z, 1.0);
  EXPECT_EQ(rd.BE(true).z, -1.0);
  const Point3 e = rd.BE(false);
  EXPECT_EQ(e.x, 0.6);
  EXPECT_EQ(e.z, 0.8);
  EXPECT_FALSE(rd.failed());
}

TEST_P(RoundTrip, PointsAndModularValues) {
  w.RD2(Point2{1.5, -2.5});
  w.RD3(Point3{1, 2, 3});
  w.BD2(Point2{0, 1});
  w.BD3(Point3{7, 0, 1});
  w.AlignByte();  // modular values sit on byte boundaries in sections
  const uint64_t unsignedValues[] = {0, 0x7F, 0x80, 0x3FFF, 0x4000, 0xFFFFFFFFFFull};
  const int64_t signedValues[] = {0, 1, -1, 0x3F, 0x40, -0x40, 1000000, -1000000, 0x123456789LL};
  const uint32_t shortsModular[] = {0, 0x7FFF, 0x8000, 0x3FFFFFFF};
  for (uint64_t v : unsignedValues) w.UMC(v);
  for (int64_t v : signedValues) w.MC(v);
  for (uint32_t v : shortsModular) w.MS(v);
  BitReader rd = Reader();
  const Point2 a = rd.RD2();
  EXPECT_EQ(a.y, -2.5);
  EXPECT_EQ(rd.RD3().z, 3.0);
  EXPECT_EQ(rd.BD2().y, 1.0);
  EXPECT_EQ(rd.BD3().x, 7.0);
  rd.Seek((rd.position() + 7) / 8 * 8);
  for (uint64_t v : unsignedValues) EXPECT_EQ(rd.UMC(), v);
  for (int64_t v : signedValues) EXPECT_EQ(rd.MC(), v);
  for (uint32_t v : shortsModular) EXPECT_EQ(rd.MS(), v);
  EXPECT_FALSE(rd.failed());
}

TEST_P(RoundTrip, HandleReferencesKeepOnlySignificantBytes) {
  size_t before = w.position();
  w.H(5, 0);
  EXPECT_EQ(w.position() - before, 8u);
  before = w.position();
  w.H(4, 0x1F);
  EXPECT_EQ(w.position() - before, 16u);
  w.H(3, 0x12345678ABull);
  w.H(HandleRef{0xC, 0x100});
  BitReader rd = Reader();
  HandleRef h = rd.H();
  EXPECT_EQ(h.code, 5);
  EXPECT_EQ(h.value, 0u);
  h = rd.H();
  EXPECT_EQ(h.code, 4);
  EXPECT_EQ(h.value, 0x1Fu);
  EXPECT_EQ(rd.H().value, 0x12345678ABull);
  h = rd.H();
  EXPECT_EQ(h.code, 0xC);
  EXPECT_EQ(h.Resolve(0x500), 0x400u);
  EXPECT_FALSE(rd.failed());
}

TEST_P(RoundTrip, TextInCodePageBytesAndUtf16) {
  const std::string latin = "Stra\xDF" "e";      // bytes as the code page holds them
  const std::string utf8 = "Gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80 \xE6\x97\xA5";  // with a surrogate pair
  w.TV(latin, true);
  w.TV("", true);
  w.TV("plain", false);
  w.TU(utf8);
  w.TU("");
  BitReader rd = Reader();
  EXPECT_EQ(rd.TV(), latin);
  EXPECT_EQ(rd.TV(), "");
  EXPECT_EQ(rd.TV(), "plain");
  EXPECT_EQ(rd.TU(), utf8);
  EXPECT_EQ(rd.TU(), "");
  EXPECT_FALSE(rd.failed());
}

INSTANTIATE_TEST_SUITE_P(Alignments, RoundTrip, ::testing::Values(0u, 1u, 3u, 7u));

TEST(DwgBitWriter, AppendsForeignBitsAndPatchesLongs) {
  BitWriter source;
  source.Bits(0b101, 3);
  source.RL(0xCAFEBABE);
  source.B(true);
  BitWriter w;
  w.Bits(0b11, 2);
  const size_t at = w.position();
  w.RL(0);
  w.AppendBits(source.bytes().data(), 3, 33);
  w.PatchRL(at, 0x01020304u);
  BitReader rd(w.bytes().data(), w.bytes().size());
  EXPECT_EQ(rd.BB(), 3);
  EXPECT_EQ(rd.RL(), 0x01020304u);
  EXPECT_EQ(rd.RL(), 0xCAFEBABEu);
  EXPECT_TRUE(rd.B());
  EXPECT_FALSE(rd.failed());
}

TEST(DwgBitWriter, CheckValueFollowsTheBytesItCovers) {
  // An object is its size, its bits and a 16-bit check over both: writing
  // the check value after byte alignment lets the reader's check agree.
  BitWriter w;
  w.MS(3);
  w.BS(0x13);
  w.B(true);
  w.AlignByte();
  const uint16_t crc = Crc16(0xC0C1, w.bytes().data(), w.bytes().size());
  w.RS(crc);
  const auto& b = w.bytes();
  ASSERT_EQ(b.size(), 6u);
  EXPECT_EQ(Crc16(0xC0C1, b.data(), 4), static_cast<uint16_t>(b[4] | (b[5] << 8)));
}

}  // namespace
}  // namespace vantrove::engine::dwg
