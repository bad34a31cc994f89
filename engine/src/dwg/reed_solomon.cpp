// Reed-Solomon repair of 2007 codewords: syndromes, the error locator by
// Berlekamp-Massey, its roots by trying every position (Chien search) and
// the error values by Forney's formula. A repair is accepted only when the
// repaired codeword has all-zero syndromes.

#include "dwg/reed_solomon.hpp"

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
  const size_t dataBytes = kRsCodeword - code.parityBytes;
  out.resize(count * dataBytes);
  report = RsReport{};
  report.codewords = count;
  report.bad.assign(count, false);
  uint8_t block[kRsCodeword];
  for (size_t i = 0; i < count; ++i) {
    for (size_t j = 0; j < kRsCodeword; ++j) block[j] = src[j * count + i];
    const int fixed = CorrectRsBlock(block, code);
    if (fixed < 0) {
      report.bad[i] = true;
      ++report.badCount;
    } else {
      report.correctedBytes += static_cast<size_t>(fixed);
    }
    std::memcpy(out.data() + i * dataBytes, block, dataBytes);
  }
}

}  // namespace vantrove::engine::dwg
