#pragma once
// The Reed-Solomon code that protects the parts of a 2007 (AC1021) drawing.
//
// A codeword is 255 bytes over GF(256) with the generator 2. Byte i of a
// codeword is the coefficient of x^i; the data bytes come first, the parity
// bytes last, and the code's roots are 2^1 .. 2^p for p parity bytes. Two
// codes are in use: the file header has 239 data + 16 parity bytes over the
// field polynomial x^8 + x^6 + x^5 + x^4 + 1 (0x169), so up to 8 damaged
// bytes per codeword can be repaired; data pages have 251 + 4 over
// x^8 + x^4 + x^3 + x^2 + 1 (0x11D), up to 2 per codeword.
//
// Several codewords are stored interleaved: with `count` codewords, byte j
// of codeword i sits at offset j * count + i. A damaged run of bytes in the
// file is thus spread over many codewords, a few bytes each.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrove::engine::dwg {

// Bytes per codeword.
inline constexpr size_t kRsCodeword = 255;

struct RsCode {
  uint16_t fieldPolynomial;  // 0x169 or 0x11D
  uint8_t parityBytes;       // at most 16
  size_t dataBytes() const { return kRsCodeword - parityBytes; }
};
inline constexpr RsCode kRsHeaderCode{0x169, 16};
inline constexpr RsCode kRsDataPageCode{0x11D, 4};

// Repairs one codeword in place. Returns the number of bytes corrected (0
// for an intact codeword), or -1 when the damage is beyond what its parity
// can repair; the block is then left as it was.
int CorrectRsBlock(uint8_t* block, const RsCode& code);

// Computes the parity bytes of a codeword whose data bytes are filled in.
// The reader does not need it; it makes test data and serves a writer.
void EncodeRsBlock(uint8_t* block, const RsCode& code);

struct RsReport {
  size_t codewords = 0;
  size_t correctedBytes = 0;   // bytes repaired in total
  std::vector<bool> bad;       // per codeword: beyond repair
  size_t badCount = 0;
};

// Reads `count` interleaved codewords from `src` (which must hold
// count * 255 bytes), repairs them, and writes their data bytes in order
// (count * dataBytes of them) to `out`. Codewords beyond repair give their
// data bytes as stored and are flagged in `report`.
void DecodeInterleavedRs(const uint8_t* src, size_t count, const RsCode& code, std::vector<uint8_t>& out,
                         RsReport& report);

}  // namespace vantrove::engine::dwg
