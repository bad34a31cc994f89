// The 2007 building blocks on made-up data: Reed-Solomon repair up to what
// the parity allows (and refusal beyond it), interleaved codewords, and the
// 2007 decompressor's literal order, back-references and malformed input.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "dwg/decompress_r2007.hpp"
#include "dwg/reed_solomon.hpp"

namespace vantrove::engine::dwg {
namespace {

std::vector<uint8_t> RandomCodeword(std::mt19937& rng, const RsCode& code) {
  std::vector<uint8_t> block(kRsCodeword);
  for (size_t i = 0; i < code.dataBytes(); ++i) block[i] = static_cast<uint8_t>(rng());
  EncodeRsBlock(block.data(), code);
  return block;
}

// Damages `errors` distinct bytes of `block`.
void Damage(std::mt19937& rng, std::vector<uint8_t>& block, size_t errors) {
  std::set<size_t> at;
  while (at.size() < errors) at.insert(rng() % block.size());
  for (size_t i : at) block[i] ^= static_cast<uint8_t>(1 + rng() % 255);
}

TEST(DwgReedSolomon, RepairsUpToHalfTheParityInBothCodes) {
  std::mt19937 rng(2007);
  for (const RsCode& code : {kRsHeaderCode, kRsDataPageCode}) {
    const size_t repairable = code.parityBytes / 2u;
    for (int trial = 0; trial < 50; ++trial) {
      const std::vector<uint8_t> good = RandomCodeword(rng, code);
      std::vector<uint8_t> block = good;
      EXPECT_EQ(CorrectRsBlock(block.data(), code), 0);  // an encoded block is a codeword
      const size_t errors = 1 + static_cast<size_t>(trial) % repairable;
      Damage(rng, block, errors);
      EXPECT_EQ(CorrectRsBlock(block.data(), code), static_cast<int>(errors)) << trial;
      EXPECT_EQ(block, good) << trial;
    }
  }
}

TEST(DwgReedSolomon, DamageBeyondTheParityIsNeverPassedOffAsRepaired) {
  std::mt19937 rng(21);
  int refused = 0;
  for (const RsCode& code : {kRsHeaderCode, kRsDataPageCode}) {
    for (int trial = 0; trial < 60; ++trial) {
      const std::vector<uint8_t> good = RandomCodeword(rng, code);
      std::vector<uint8_t> block = good;
      Damage(rng, block, code.parityBytes / 2u + 1 + static_cast<size_t>(trial) % 4);
      const std::vector<uint8_t> damaged = block;
      const int fixed = CorrectRsBlock(block.data(), code);
      if (fixed < 0) {
        ++refused;
        EXPECT_EQ(block, damaged);  // left as it was
      } else {
        // Only possible by landing on another codeword; never on the original.
        EXPECT_NE(block, good);
        EXPECT_EQ(CorrectRsBlock(block.data(), code), 0);
      }
    }
  }
  EXPECT_GT(refused, 60);  // the strong header code refuses essentially always
}

TEST(DwgReedSolomon, InterleavedCodewordsSurviveABurst) {
  std::mt19937 rng(7);
  const size_t count = 5;
  std::vector<std::vector<uint8_t>> words;
  std::vector<uint8_t> file(count * kRsCodeword), expected;
  for (size_t i = 0; i < count; ++i) {
    words.push_back(RandomCodeword(rng, kRsHeaderCode));
    expected.insert(expected.end(), words[i].begin(), words[i].begin() + 239);
    for (size_t j = 0; j < kRsCodeword; ++j) file[j * count + i] = words[i][j];
  }
  // 40 consecutive bytes: 8 per codeword, the most each can take.
  for (size_t k = 300; k < 340; ++k) file[k] = static_cast<uint8_t>(~file[k]);
  std::vector<uint8_t> out;
  RsReport report;
  DecodeInterleavedRs(file.data(), count, kRsHeaderCode, out, report);
  EXPECT_EQ(out, expected);
  EXPECT_EQ(report.correctedBytes, 40u);
  EXPECT_EQ(report.badCount, 0u);

  // One byte more in the burst and the codeword it lands in is beyond repair:
  // it is flagged and gives its bytes as stored.
  file[340] ^= 0x55;
  DecodeInterleavedRs(file.data(), count, kRsHeaderCode, out, report);
  EXPECT_EQ(report.badCount, 1u);
  EXPECT_TRUE(report.bad[340 % count]);
}

std::vector<uint8_t> Sequence(size_t n, uint8_t first = 0) {
  std::vector<uint8_t> v(n);
  for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(first + i);
  return v;
}

// Opcode bytes followed by literal bytes.
std::vector<uint8_t> Stream(std::vector<uint8_t> head, const std::vector<uint8_t>& tail) {
  head.reserve(head.size() + tail.size());
  for (uint8_t b : tail) head.push_back(b);
  return head;
}

bool Decompress(const std::vector<uint8_t>& src, std::vector<uint8_t>& out, size_t room = 4096) {
  out.assign(room, 0);
  size_t produced = 0;
  const bool ok = DecompressR2007(src.data(), src.size(), out.data(), out.size(), produced);
  out.resize(produced);
  return ok;
}

TEST(DwgDecompress2007, LiteralRunsComeInShuffledOrder) {
  std::vector<uint8_t> out;
  // Opcode 0x00 announces 8 literal bytes: an 8-byte piece keeps its order.
  auto eight = Sequence(8, 1);
  ASSERT_TRUE(Decompress(Stream({0x00}, eight), out));
  EXPECT_EQ(out, eight);

  // 16 bytes (opcode 0x08): its two 8-byte halves swap.
  auto sixteen = Sequence(16);
  ASSERT_TRUE(Decompress(Stream({0x08}, sixteen), out));
  std::vector<uint8_t> want(sixteen.begin() + 8, sixteen.end());
  want.insert(want.end(), sixteen.begin(), sixteen.begin() + 8);
  EXPECT_EQ(out, want);

  // 10 bytes (opcode 0x02): the last byte, the middle eight, the first byte.
  ASSERT_TRUE(Decompress(Stream({0x02}, Sequence(10)), out));
  EXPECT_EQ(out, (std::vector<uint8_t>{9, 1, 2, 3, 4, 5, 6, 7, 8, 0}));

  // 35 bytes (opcode 0x0F, extension 35 - 0x17): a 32-byte chunk with its
  // 8-byte groups reversed, then a 3-byte tail reversed.
  auto many = Sequence(35);
  ASSERT_TRUE(Decompress(Stream({0x0F, 35 - 0x17}, many), out));
  want.clear();
  for (int group = 3; group >= 0; --group) want.insert(want.end(), many.begin() + group * 8, many.begin() + group * 8 + 8);
  want.insert(want.end(), {34, 33, 32});
  EXPECT_EQ(out, want);
}

TEST(DwgDecompress2007, BackReferencesRepeatWhatWasWritten) {
  std::vector<uint8_t> out;
  // Eight literals; opcode 0x40 copies 4 bytes from the distance its next
  // byte gives (((b & 0xF8) << 1) + 1), whose low bits announce the next
  // literal run (none: another back-reference follows).
  const std::vector<uint8_t> src = {0x00, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h',
                                    0x40, 0x00,            // 4 bytes from distance 1: "hhhh"
                                    0x32, 0x02, 'y', 'z'};  // 3 bytes from distance 3, then 2 literals
  ASSERT_TRUE(Decompress(src, out));
  // The two literals after a back-reference form a 2-byte piece: reversed.
  EXPECT_EQ(std::string(out.begin(), out.end()), "abcdefghhhhhhhhzy");
}

TEST(DwgDecompress2007, MalformedStreamsAreRefused) {
  std::vector<uint8_t> out;
  // A back-reference reaching before the start of the output.
  EXPECT_FALSE(Decompress({0x00, 1, 2, 3, 4, 5, 6, 7, 8, 0x40, 0xF8}, out));
  // Literals announced but missing.
  EXPECT_FALSE(Decompress({0x05, 1, 2, 3}, out));
  // An extended literal length cut short.
  EXPECT_FALSE(Decompress({0x0F, 0xFF, 0x01}, out));
  // More output than there is room for.
  EXPECT_FALSE(Decompress({0x08, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, out, 10));
  // A back-reference opcode with its operand bytes missing.
  EXPECT_FALSE(Decompress({0x00, 1, 2, 3, 4, 5, 6, 7, 8, 0x10}, out));
  EXPECT_FALSE(Decompress({}, out));

  // Random input never reads or writes out of bounds (the sanitizer build
  // checks that) and never claims more output than the room it had.
  std::mt19937 rng(99);
  for (int trial = 0; trial < 2000; ++trial) {
    std::vector<uint8_t> junk(1 + rng() % 300);
    for (uint8_t& b : junk) b = static_cast<uint8_t>(rng());
    const size_t room = rng() % 600;
    std::vector<uint8_t> dst(room + 1, 0xEE);
    size_t produced = 0;
    DecompressR2007(junk.data(), junk.size(), dst.data(), room, produced);
    EXPECT_LE(produced, room);
    EXPECT_EQ(dst[room], 0xEE);
  }
}

}  // namespace
}  // namespace vantrove::engine::dwg
