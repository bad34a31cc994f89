// The bit codes, checksums and page decompression on small hand-made inputs.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "bit_writer.hpp"
#include "dwg/bit_reader.hpp"
#include "dwg/checksum.hpp"
#include "dwg/decompress.hpp"
#include "dwg/proxy_data.hpp"

namespace vantrove::engine::dwg {
namespace {

using test::BitWriter;

TEST(DwgBitReader, BitShortAndBitLongForms) {
  BitWriter w;
  w.Bits(0b00, 2);  // raw short
  w.Short(0x1234);
  w.Bits(0b01, 2);  // one byte
  w.Byte(0xAB);
  w.Bits(0b10, 2);  // zero
  w.Bits(0b11, 2);  // 256
  w.Bits(0b00, 2);  // raw long
  w.Long(0xDEADBEEF);
  w.Bits(0b01, 2);
  w.Byte(7);
  w.Bits(0b10, 2);
  BitReader r(w.bytes().data(), w.bytes().size());
  EXPECT_EQ(r.BS(), 0x1234);
  EXPECT_EQ(r.BS(), 0xAB);
  EXPECT_EQ(r.BS(), 0);
  EXPECT_EQ(r.BS(), 256);
  EXPECT_EQ(r.BL(), 0xDEADBEEFu);
  EXPECT_EQ(r.BL(), 7u);
  EXPECT_EQ(r.BL(), 0u);
  EXPECT_FALSE(r.failed());
}

TEST(DwgBitReader, DoublesWithDefaultsAndCompactForms) {
  BitWriter w;
  w.Bits(0b01, 2);        // BD 1.0
  w.Bits(0b10, 2);        // BD 0.0
  w.Bits(0b00, 2);        // BD raw
  w.Double(-2.5);
  w.Bits(0b00, 2);        // DD: the default
  w.Bits(0b01, 2);        // DD: replace the low four bytes
  double patched = 1.0;
  uint8_t raw[8];
  std::memcpy(raw, &patched, 8);
  for (int i = 0; i < 4; ++i) w.Byte(static_cast<uint8_t>(i + 1));
  w.Bit(true);            // BT: zero thickness
  w.Bit(true);            // BE: default extrusion
  BitReader r(w.bytes().data(), w.bytes().size());
  EXPECT_EQ(r.BD(), 1.0);
  EXPECT_EQ(r.BD(), 0.0);
  EXPECT_EQ(r.BD(), -2.5);
  EXPECT_EQ(r.DD(3.25), 3.25);
  double got = r.DD(1.0);
  uint8_t expected[8];
  std::memcpy(expected, raw, 8);
  for (int i = 0; i < 4; ++i) expected[i] = static_cast<uint8_t>(i + 1);
  double want;
  std::memcpy(&want, expected, 8);
  EXPECT_EQ(got, want);
  EXPECT_EQ(r.BT(true), 0.0);
  Point3 e = r.BE(true);
  EXPECT_EQ(e.z, 1.0);
  EXPECT_FALSE(r.failed());
}

TEST(DwgBitReader, ModularValuesAreLittleEndianGroups) {
  // 0x4A1 = 1185: low 7 bits 0x21 with continuation, then 0x09.
  const uint8_t umc[] = {0xA1, 0x09};
  BitReader a(umc, sizeof umc);
  EXPECT_EQ(a.UMC(), 0x4A1u);
  // Signed: the last byte's 0x40 bit is the sign.
  const uint8_t mc[] = {0x85, 0x4B};  // -(5 + (0x0B << 7))
  BitReader b(mc, sizeof mc);
  EXPECT_EQ(b.MC(), -(5 + (0x0B << 7)));
  // Modular short: 15-bit words, high bit continues.
  const uint8_t ms[] = {0x34, 0x92, 0x01, 0x00};
  BitReader c(ms, sizeof ms);
  EXPECT_EQ(c.MS(), (0x1234u) | (1u << 15));
  // A modular value that never ends fails instead of running on.
  const uint8_t endless[] = {0xFF, 0xFF, 0xFF};
  BitReader d(endless, sizeof endless);
  EXPECT_EQ(d.UMC(), 0u);
  EXPECT_TRUE(d.failed());
}

TEST(DwgBitReader, HandleReferencesResolveAgainstTheirObject) {
  BitWriter w;
  w.Byte(0x52);  // code 5, two bytes
  w.Byte(0x01);
  w.Byte(0xF3);
  w.Byte(0x60);  // code 6: own handle + 1
  w.Byte(0xC1);  // code C: own handle - value
  w.Byte(0x10);
  w.Byte(0x39);  // counter 9: too long
  BitReader r(w.bytes().data(), w.bytes().size());
  HandleRef h = r.H();
  EXPECT_EQ(h.code, 5);
  EXPECT_EQ(h.Resolve(0x100), 0x1F3u);
  EXPECT_EQ(r.H().Resolve(0x100), 0x101u);
  EXPECT_EQ(r.H().Resolve(0x100), 0xF0u);
  r.H();
  EXPECT_TRUE(r.failed());
}

TEST(DwgBitReader, TextInBothWidths) {
  BitWriter w;
  w.Bits(0b01, 2);
  w.Byte(4);
  for (char c : std::string("ab\xE9")) w.Byte(static_cast<uint8_t>(c));
  w.Byte(0);  // a trailing NUL is dropped
  w.Bits(0b01, 2);
  w.Byte(3);
  w.Short(0x00E9);  // é
  w.Short(0xD83D);  // U+1F600 as a surrogate pair
  w.Short(0xDE00);
  BitReader r(w.bytes().data(), w.bytes().size());
  EXPECT_EQ(r.TV(), std::string("ab\xE9"));
  EXPECT_EQ(r.TU(), "\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_FALSE(r.failed());
}

TEST(DwgBitReader, ReadsPastTheEndFailAndReturnZero) {
  const uint8_t data[] = {0xFF};
  BitReader r(data, sizeof data);
  EXPECT_EQ(r.RS(), 0);
  EXPECT_TRUE(r.failed());
  EXPECT_EQ(r.RC(), 0);  // stays failed
  // A length that claims more than the buffer holds reads nothing.
  BitWriter w;
  w.Bits(0b00, 2);
  w.Short(60000);
  BitReader t(w.bytes().data(), w.bytes().size());
  EXPECT_TRUE(t.TV().empty());
  EXPECT_TRUE(t.failed());
  BitReader c(data, sizeof data);
  EXPECT_FALSE(c.CanRead(uint64_t{1} << 40, 8));
  EXPECT_TRUE(c.failed());
  // Seeking past the limit fails too.
  BitReader s(data, sizeof data);
  s.Seek(9);
  EXPECT_TRUE(s.failed());
}

TEST(DwgChecksum, KnownCheckValues) {
  const char* digits = "123456789";
  auto* p = reinterpret_cast<const uint8_t*>(digits);
  EXPECT_EQ(Crc16(0, p, 9), 0xBB3D);       // the reflected 0xA001 polynomial
  EXPECT_EQ(Crc32(0, p, 9), 0xCBF43926u);  // the usual CRC-32
  // Seeds chain: two halves give the whole.
  EXPECT_EQ(Crc16(Crc16(0xC0C1, p, 4), p + 4, 5), Crc16(0xC0C1, p, 9));
  // Long runs, folded in eight bytes at a time, give what byte after byte gives.
  std::vector<uint8_t> data(1001);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 37 + (i >> 3));
  for (size_t length : {size_t{8}, size_t{15}, size_t{64}, size_t{1001}}) {
    uint16_t bytewise = 0xC0C1;
    for (size_t i = 0; i < length; ++i) bytewise = Crc16(bytewise, data.data() + i, 1);
    EXPECT_EQ(Crc16(0xC0C1, data.data(), length), bytewise) << length;
  }
}

TEST(DwgDecompress, LiteralsBackReferencesAndEnd) {
  // 0x02: five literals; 0x50 0x01: copy four bytes from five back with no
  // literals after; then the end opcode.
  const uint8_t src[] = {0x02, 'a', 'b', 'c', 'd', 'e', 0x50, 0x01, 0x11};
  std::vector<uint8_t> out;
  ASSERT_TRUE(DecompressPage(src, sizeof src, 64, out));
  EXPECT_EQ(std::string(out.begin(), out.end()), "abcdeabcd");
}

TEST(DwgDecompress, OverlappingCopyAndTwoByteOffset) {
  // One literal, then opcode 0x22 (count 4) with a two-byte offset of 0
  // and one literal after: the copy repeats the last byte.
  std::vector<uint8_t> src = {0x00, 0x01};
  src.insert(src.end(), 18, 'x');
  src.push_back('y');
  for (int b : {0x22, 0x01, 0x00, int{'z'}, 0x11}) src.push_back(static_cast<uint8_t>(b));
  std::vector<uint8_t> out;
  ASSERT_TRUE(DecompressPage(src.data(), src.size(), 64, out));
  // 0x00 0x01: an extended literal run of 0x0F + 1 + 3 = 19 bytes.
  EXPECT_EQ(std::string(out.begin(), out.end()), std::string(18, 'x') + "y" + "yyyy" + "z");
}

TEST(DwgDecompress, MalformedInputIsRejected) {
  std::vector<uint8_t> out;
  const uint8_t before[] = {0x01, 'a', 'b', 'c', 'd', 0x50, 0x09, 0x11};  // reaches before the start
  EXPECT_FALSE(DecompressPage(before, sizeof before, 64, out));
  const uint8_t big[] = {0x02, 'a', 'b', 'c', 'd', 'e', 0x50, 0x01, 0x11};
  EXPECT_FALSE(DecompressPage(big, sizeof big, 6, out));  // more than allowed
  const uint8_t cut[] = {0x0F, 'a', 'b'};                  // literals missing
  EXPECT_FALSE(DecompressPage(cut, sizeof cut, 64, out));
  const uint8_t lengthRun[] = {0x00, 0x00, 0x00};           // extended length never ends
  EXPECT_FALSE(DecompressPage(lengthRun, sizeof lengthRun, 64, out));
  const uint8_t badOpcode[] = {0x01, 'a', 'b', 'c', 'd', 0x05};  // literal length where an opcode belongs
  EXPECT_FALSE(DecompressPage(badOpcode, sizeof badOpcode, 64, out));
}

// A proxy keeps an unaligned run of data bits as whole bytes (zero-padded)
// and resolves the references after the common ones, ignoring the padding
// bits at the end of the handle stream.
TEST(DwgProxyData, UnalignedBitsAndReferences) {
  const uint8_t object[] = {0b10110011, 0b01011100, 0xFF, 0x41, 0x2A, 0x60, 0x00};
  ProxySpans spans;
  spans.dataBit = 3;
  spans.dataEndBit = 13;
  spans.idsBit = 24;
  spans.idsEndBit = 24 + 24 + 5;
  ProxyData proxy;
  ASSERT_TRUE(ReadProxyData(object, sizeof object, spans, 0x100, proxy));
  EXPECT_EQ(proxy.dataBits, 10u);
  EXPECT_EQ(proxy.data, (std::vector<uint8_t>{0b10011010, 0b11000000}));
  ASSERT_EQ(proxy.ids.size(), 2u);
  EXPECT_EQ(proxy.ids[0], (std::pair<uint8_t, uint64_t>{4, 0x2A}));   // soft pointer
  EXPECT_EQ(proxy.ids[1], (std::pair<uint8_t, uint64_t>{6, 0x101}));  // own handle + 1
  EXPECT_TRUE(proxy.graphics.empty());

  spans.graphicsBit = 8;
  spans.graphicsBytes = 2;
  ProxyData with_graphics;
  ASSERT_TRUE(ReadProxyData(object, sizeof object, spans, 0x100, with_graphics));
  EXPECT_EQ(with_graphics.graphics, (std::vector<uint8_t>{0b01011100, 0xFF}));

  spans.dataEndBit = 8 * sizeof object + 1;  // past the object: refused
  ProxyData refused;
  EXPECT_FALSE(ReadProxyData(object, sizeof object, spans, 0x100, refused));
}

}  // namespace
}  // namespace vantrove::engine::dwg
