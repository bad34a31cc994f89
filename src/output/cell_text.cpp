// The text of an array cell as the ordinary conversion gives it, for the
// writers of delimited text: numbers are formatted here, without a temporary
// string, and give the same digits as CStr.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include "cells.hpp"

namespace vantrove::detail {

namespace {

// A Double that is exactly the nearest Double to n / 10^k, with |n| below
// 10^15 and in the fixed-point range of "%G" (1E-4 up to 1E+15): most data
// (amounts, measures) is of this kind. Any decimal of at most 15 significant
// digits reads back from its nearest Double unchanged, so n / 10^k is the
// 15-digit rounding itself, written without trailing zeros. Null when `d`
// is no such Double.
char* WriteDecimal(char* out, bool negative, uint64_t n, int k) {
  char digits[24];
  const int len = static_cast<int>(std::to_chars(digits, digits + sizeof digits, n).ptr - digits);
  if (negative) *out++ = '-';
  if (k == 0) return std::copy(digits, digits + len, out);
  if (len <= k) {  // below 1: "0." and leading zeros
    *out++ = '0';
    *out++ = '.';
    out = std::fill_n(out, k - len, '0');
    return std::copy(digits, digits + len, out);
  }
  out = std::copy(digits, digits + len - k, out);
  *out++ = '.';
  return std::copy(digits + len - k, digits + len, out);
}

char* FormatShortDecimal(char* out, double d) {
  static constexpr double kPow10[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr double kLimit = 1e15;
  const double a = std::fabs(d);
  if (!(a >= 1e-4 && a < kLimit)) return nullptr;
  // The first scale that makes it a whole number, give or take a few units
  // in the last place, is the only candidate; the division checks it.
  for (int k = 0; k < static_cast<int>(std::size(kPow10)); ++k) {
    const double scaled = a * kPow10[k];
    if (scaled >= kLimit) return nullptr;
    const auto n = static_cast<uint64_t>(scaled + 0.5);
    const double whole = static_cast<double>(n);
    if (std::fabs(scaled - whole) > scaled * 0x1p-50) continue;
    // Both operands are exact, so the quotient is the nearest Double to n / 10^k.
    return whole / kPow10[k] == a ? WriteDecimal(out, d < 0, n, k) : nullptr;
  }
  return nullptr;
}

char* FormatG15(char* out, double d) {
  if (char* end = FormatShortDecimal(out, d)) return end;
  const auto general = [](char* at, double x) {
    char* last = std::to_chars(at, at + 40, x, std::chars_format::general, 15).ptr;
    std::replace(at, last, 'e', 'E');
    return last;
  };
  // Below the normal range a Double's spacing is coarse, and the shortest
  // digits are no longer its 15-digit rounding.
  if (std::fabs(d) < std::numeric_limits<double>::min()) return general(out, d);
  char sci[40];
  const char* end = std::to_chars(sci, sci + sizeof sci, d, std::chars_format::scientific).ptr;
  const char* p = sci;
  if (*p == '-') *out++ = *p++;
  const char* e = std::find(p, end, 'e');
  char digits[24];
  int k = 0;
  for (const char* q = p; q < e; ++q) {
    if (*q != '.') digits[k++] = *q;
  }
  if (k > 15) return general(out - (p - sci), d);
  int exp10 = 0;
  std::from_chars(e + 1 + (e[1] == '+' ? 1 : 0), end, exp10);
  if (exp10 < -4 || exp10 >= 15) {
    *out++ = digits[0];
    if (k > 1) {
      *out++ = '.';
      out = std::copy(digits + 1, digits + k, out);
    }
    *out++ = 'E';
    *out++ = exp10 < 0 ? '-' : '+';
    const int x = std::abs(exp10);
    if (x < 10) *out++ = '0';
    return std::to_chars(out, out + 4, x).ptr;
  }
  if (exp10 < 0) {
    *out++ = '0';
    *out++ = '.';
    out = std::fill_n(out, -exp10 - 1, '0');
    return std::copy(digits, digits + k, out);
  }
  const int whole = exp10 + 1;  // digits before the decimal point
  if (k <= whole) {
    out = std::copy(digits, digits + k, out);
    return std::fill_n(out, whole - k, '0');
  }
  out = std::copy(digits, digits + whole, out);
  *out++ = '.';
  return std::copy(digits + whole, digits + k, out);
}

}  // namespace

char* NumberText(char* out, const Variant& v) {
  if (const int32_t* l = v.get_if<int32_t>()) return std::to_chars(out, out + kNumberRoom, *l).ptr;
  if (const int16_t* i = v.get_if<int16_t>()) return std::to_chars(out, out + kNumberRoom, *i).ptr;
  if (const double* d = v.get_if<double>(); d != nullptr && std::isfinite(*d) && *d != 0) return FormatG15(out, *d);
  return nullptr;
}

void AppendCellText(std::string& out, const Variant& v) {
  if (v.IsString()) {
    out += v.str();
    return;
  }
  char buf[kNumberRoom];
  if (char* end = NumberText(buf, v)) out.append(buf, end);
  else out += CStr(v);
}

}  // namespace vantrove::detail
