// Reed-Solomon repair of 2007 codewords: syndromes, the error locator by
// Berlekamp-Massey, its roots by trying every position (Chien search) and
// the error values by Forney's formula. A repair is accepted only when the
// repaired codeword has all-zero syndromes.

#include "dwg/reed_solomon.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace vantrove::engine::dwg {

namespace {

constexpr size_t kMaxParity = 16;

struct Field {
  std::array<uint8_t, 512> exp{};  // exp[i] = 2^i, twice over so sums of logs need no reduction
  std::array<uint8_t, 256> log{};
  constexpr explicit Field(unsigned polynomial) {
    unsigned x = 1;
    for (unsigned i = 0; i < 255; ++i) {
      exp[i] = static_cast<uint8_t>(x);
      log[x] = static_cast<uint8_t>(i);
      x <<= 1;
      if (x & 0x100) x ^= polynomial;
    }
    for (unsigned i = 255; i < 512; ++i) exp[i] = exp[i - 255];
  }
  uint8_t Mul(uint8_t a, uint8_t b) const { return a == 0 || b == 0 ? 0 : exp[log[a] + log[b]]; }
  uint8_t Div(uint8_t a, uint8_t b) const { return a == 0 ? 0 : exp[log[a] + 255 - log[b]]; }
  // 2^e for any e >= 0.
  uint8_t Pow2(size_t e) const { return exp[e % 255]; }
};
constexpr Field kField169(0x169);
constexpr Field kField11D(0x11D);

const Field& FieldOf(const RsCode& code) { return code.fieldPolynomial == 0x11D ? kField11D : kField169; }

using Poly = std::array<uint8_t, 2 * kMaxParity + 1>;  // coefficient i of x^i

// Value of the codeword polynomial at 2^power.
uint8_t EvaluateBlock(const Field& gf, const uint8_t* block, size_t power) {
  const unsigned logX = static_cast<unsigned>(power % 255);
  uint8_t y = 0;
  for (size_t i = kRsCodeword; i-- > 0;) {
    y = static_cast<uint8_t>((y == 0 ? 0 : gf.exp[gf.log[y] + logX]) ^ block[i]);
  }
  return y;
}

// Syndromes S[k] = c(2^(k+1)); true when all are zero.
bool Syndromes(const Field& gf, const uint8_t* block, size_t parity, Poly& s) {
  bool clean = true;
  for (size_t k = 0; k < parity; ++k) {
    s[k] = EvaluateBlock(gf, block, k + 1);
    clean = clean && s[k] == 0;
  }
  return clean;
}

uint8_t EvaluatePoly(const Field& gf, const Poly& p, size_t degree, uint8_t x) {
  uint8_t y = 0;
  for (size_t i = degree + 1; i-- > 0;) y = static_cast<uint8_t>(gf.Mul(y, x) ^ p[i]);
  return y;
}

// Berlekamp-Massey: the shortest error locator Lambda (Lambda[0] = 1) that
// generates the syndromes. Returns its degree (the number of errors).
size_t ErrorLocator(const Field& gf, const Poly& s, size_t parity, Poly& lambda) {
  Poly previous{};
  lambda.fill(0);
  lambda[0] = previous[0] = 1;
  size_t degree = 0, shift = 1;
  uint8_t lastDiscrepancy = 1;
  for (size_t n = 0; n < parity; ++n) {
    uint8_t d = s[n];
    for (size_t i = 1; i <= degree; ++i) d ^= gf.Mul(lambda[i], s[n - i]);
    if (d == 0) {
      ++shift;
      continue;
    }
    const uint8_t factor = gf.Div(d, lastDiscrepancy);
    Poly before = lambda;
    for (size_t i = 0; i + shift < lambda.size(); ++i) lambda[i + shift] ^= gf.Mul(factor, previous[i]);
    if (2 * degree <= n) {
      degree = n + 1 - degree;
      previous = before;
      lastDiscrepancy = d;
      shift = 1;
    } else {
      ++shift;
    }
  }
  return degree;
}

// The generator g(x) = (x - 2^1) ... (x - 2^p), monic, coefficient i of x^i.
Poly Generator(const Field& gf, size_t parity) {
  Poly g{};
  g[0] = 1;
  for (size_t r = 1; r <= parity; ++r) {
    const uint8_t root = gf.Pow2(r);
    for (size_t i = r; i > 0; --i) g[i] = static_cast<uint8_t>(g[i - 1] ^ gf.Mul(g[i], root));
    g[0] = gf.Mul(g[0], root);
  }
  return g;
}

// The remainder of a codeword polynomial modulo the generator, p bytes
// (coefficient k in byte k) in two 64-bit words. A codeword is intact
// exactly when its remainder is zero, which is much cheaper to find out
// than its syndromes: one table lookup per byte, like a CRC.
struct Remainder {
  uint64_t lo = 0, hi = 0;
  bool zero() const { return (lo | hi) == 0; }
};

class RemainderTable {
 public:
  RemainderTable(const Field& gf, size_t parity) : parity_(parity) {
    const Poly g = Generator(gf, parity);
    for (unsigned t = 0; t < 256; ++t) {
      for (size_t k = 0; k < parity; ++k) {
        const uint64_t v = gf.Mul(static_cast<uint8_t>(t), g[k]);
        if (k < 8) {
          table_[t].lo |= v << (8 * k);
        } else {
          table_[t].hi |= v << (8 * (k - 8));
        }
      }
    }
    maskLo_ = parity >= 8 ? ~uint64_t{0} : (uint64_t{1} << (8 * parity)) - 1;
    maskHi_ = parity >= 16 ? ~uint64_t{0} : parity <= 8 ? 0 : (uint64_t{1} << (8 * (parity - 8))) - 1;
  }
  // r(x) * x + c mod g(x) for every codeword of an interleaved row: the
  // next lower coefficient of each.
  void Step(Remainder* r, const uint8_t* row, size_t count) const {
    if (parity_ <= 8) {
      const unsigned shift = static_cast<unsigned>(8 * (parity_ - 1));
      for (size_t i = 0; i < count; ++i) {
        const uint64_t lo = r[i].lo;
        r[i].lo = ((lo << 8) & maskLo_) ^ table_[(lo >> shift) & 0xFFu].lo ^ row[i];
      }
      return;
    }
    const unsigned shift = static_cast<unsigned>(8 * (parity_ - 9));
    for (size_t i = 0; i < count; ++i) {
      const Remainder v = r[i];
      const Remainder& t = table_[(v.hi >> shift) & 0xFFu];
      r[i].hi = (((v.hi << 8) | (v.lo >> 56)) & maskHi_) ^ t.hi;
      r[i].lo = (v.lo << 8) ^ t.lo ^ row[i];
    }
  }

 private:
  size_t parity_;
  uint64_t maskLo_ = 0, maskHi_ = 0;
  std::array<Remainder, 256> table_{};
};

}  // namespace

int CorrectRsBlock(uint8_t* block, const RsCode& code) {
  const size_t parity = code.parityBytes;
  if (parity == 0 || parity > kMaxParity) return -1;
  const Field& gf = FieldOf(code);
  Poly s{};
  if (Syndromes(gf, block, parity, s)) return 0;

  Poly lambda{};
  const size_t errors = ErrorLocator(gf, s, parity, lambda);
  if (errors == 0 || 2 * errors > parity) return -1;

  // Omega = S * Lambda mod x^parity, the error evaluator.
  Poly omega{};
  for (size_t i = 0; i < parity; ++i) {
    for (size_t j = 0; j <= i && j <= errors; ++j) omega[i] ^= gf.Mul(lambda[j], s[i - j]);
  }

  // Positions i with Lambda(2^-i) = 0 are in error; Forney gives the value
  // Omega(X^-1) / Lambda'(X^-1) (the code's first root is 2^1).
  uint8_t original[kRsCodeword];
  std::memcpy(original, block, kRsCodeword);
  size_t found = 0;
  for (size_t i = 0; i < kRsCodeword && found <= errors; ++i) {
    const uint8_t xInverse = gf.Pow2(255 - i);
    if (EvaluatePoly(gf, lambda, errors, xInverse) != 0) continue;
    ++found;
    uint8_t derivative = 0;
    for (size_t k = 1; k <= errors; k += 2) derivative ^= gf.Mul(lambda[k], gf.Pow2((255 - i) * (k - 1)));
    if (derivative == 0) {
      found = errors + 1;
      break;
    }
    block[i] ^= gf.Div(EvaluatePoly(gf, omega, parity - 1, xInverse), derivative);
  }
  if (found != errors || !Syndromes(gf, block, parity, s)) {
    std::memcpy(block, original, kRsCodeword);
    return -1;
  }
  return static_cast<int>(errors);
}

void EncodeRsBlock(uint8_t* block, const RsCode& code) {
  const size_t parity = code.parityBytes;
  if (parity == 0 || parity > kMaxParity) return;
  const Field& gf = FieldOf(code);
  const size_t dataBytes = kRsCodeword - parity;
  // A codeword is a multiple of g(x) = (x - 2^1) ... (x - 2^p). With the
  // data d(x) in the low coefficients and the parity p(x) above them,
  // d(x) + x^k p(x) = 0 mod g(x) for k data bytes. As x^255 = 1 at every
  // root, x^-k = x^p there, so p(x) = d(x) * x^p mod g(x).
  Poly g{};
  g[0] = 1;
  for (size_t r = 1; r <= parity; ++r) {
    const uint8_t root = gf.Pow2(r);
    for (size_t i = r; i > 0; --i) g[i] = static_cast<uint8_t>(g[i - 1] ^ gf.Mul(g[i], root));
    g[0] = gf.Mul(g[0], root);
  }
  std::array<uint8_t, kRsCodeword + kMaxParity> work{};
  for (size_t i = 0; i < dataBytes; ++i) work[i + parity] = block[i];
  for (size_t top = dataBytes + parity; top-- > parity;) {
    const uint8_t lead = work[top];
    if (lead == 0) continue;
    for (size_t i = 0; i <= parity; ++i) work[top - parity + i] ^= gf.Mul(lead, g[i]);
  }
  for (size_t i = 0; i < parity; ++i) block[dataBytes + i] = work[i];
}

void DecodeInterleavedRs(const uint8_t* src, size_t count, const RsCode& code, std::vector<uint8_t>& out,
                         RsReport& report) {
  const size_t dataBytes = code.dataBytes();
  out.resize(count * dataBytes);
  report = RsReport{};
  report.codewords = count;
  report.bad.assign(count, false);
  if (code.parityBytes == 0 || code.parityBytes > kMaxParity) return;

  // Remainders of all codewords at once, reading the file bytes in order
  // (highest coefficients first), then the data bytes in codeword order.
  static const RemainderTable headerTable(kField169, kRsHeaderCode.parityBytes);
  static const RemainderTable pageTable(kField11D, kRsDataPageCode.parityBytes);
  const bool header = code.fieldPolynomial == kRsHeaderCode.fieldPolynomial && code.parityBytes == kRsHeaderCode.parityBytes;
  const bool page = code.fieldPolynomial == kRsDataPageCode.fieldPolynomial && code.parityBytes == kRsDataPageCode.parityBytes;
  const RemainderTable other = header || page ? RemainderTable(kField169, 1) : RemainderTable(FieldOf(code), code.parityBytes);
  const RemainderTable& table = header ? headerTable : page ? pageTable : other;
  std::vector<Remainder> remainder(count);
  for (size_t j = kRsCodeword; j-- > 0;) table.Step(remainder.data(), src + j * count, count);
  // The data bytes, transposed in strips of 16 codewords: 16 bytes read in
  // a row, each appended to its own codeword's run.
  uint8_t* data = out.data();
  constexpr size_t kStrip = 16;
  for (size_t first = 0; first < count; first += kStrip) {
    const size_t width = std::min(kStrip, count - first);
    uint8_t* to[kStrip];
    for (size_t k = 0; k < width; ++k) to[k] = data + (first + k) * dataBytes;
    for (size_t j = 0; j < dataBytes; ++j) {
      const uint8_t* row = src + j * count + first;
      for (size_t k = 0; k < width; ++k) to[k][j] = row[k];
    }
  }

  uint8_t block[kRsCodeword];
  for (size_t i = 0; i < count; ++i) {
    if (remainder[i].zero()) continue;
    for (size_t j = 0; j < kRsCodeword; ++j) block[j] = src[j * count + i];
    const int fixed = CorrectRsBlock(block, code);
    if (fixed < 0) {
      report.bad[i] = true;
      ++report.badCount;
      continue;
    }
    report.correctedBytes += static_cast<size_t>(fixed);
    std::memcpy(out.data() + i * dataBytes, block, dataBytes);
  }
}

}  // namespace vantrove::engine::dwg
