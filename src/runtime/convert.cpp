#include "vantrove/runtime/convert.hpp"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "text_compare.hpp"
#include "vantrove/runtime/errors.hpp"
#include "vantrove/runtime/safearray.hpp"
#include "vantrove/runtime/strings.hpp"

namespace vantrove {

namespace {

// The date range of the classic runtime: 100-01-01 to 9999-12-31 23:59:59.
constexpr double kMinDate = -657434.0;
constexpr double kMaxDate = 2958465.999988426;
constexpr double kMaxCurrency = 922337203685477.5807;

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

using detail::EqualAsciiNoCase;

// Days since 1970-01-01 of a proleptic Gregorian date.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int& y, int& m, int& d) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  y = static_cast<int>(yoe + era * 400 + (m <= 2));
}

// 1899-12-30 is day 0 of the serial dates.
const int64_t kEpochDays = DaysFromCivil(1899, 12, 30);

int DaysInMonth(int y, int m) {
  static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (m == 2 && ((y % 4 == 0 && y % 100 != 0) || y % 400 == 0)) return 29;
  return days[m - 1];
}

double ToNumber(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty: return 0;
    case VarType::Null: Raise(err::kInvalidNull);
    case VarType::Integer: return *v.get_if<int16_t>();
    case VarType::Long: return *v.get_if<int32_t>();
    case VarType::Single: return *v.get_if<float>();
    case VarType::Double: return *v.get_if<double>();
    case VarType::Currency: return static_cast<double>(v.get_if<Currency>()->scaled) / 10000.0;
    case VarType::Date: return v.get_if<Date>()->serial;
    case VarType::Boolean: return *v.get_if<bool>() ? -1 : 0;
    case VarType::Byte: return *v.get_if<uint8_t>();
    case VarType::String: {
      if (auto d = ParseNumber(v.str())) return *d;
      Raise(err::kTypeMismatch);
    }
    default: Raise(err::kTypeMismatch);
  }
}

// Integer-valued kinds compare exactly as 64-bit integers.
bool ToExactInteger(const Variant& v, int64_t& out) {
  switch (v.type()) {
    case VarType::Empty: out = 0; return true;
    case VarType::Integer: out = *v.get_if<int16_t>(); return true;
    case VarType::Long: out = *v.get_if<int32_t>(); return true;
    case VarType::Boolean: out = *v.get_if<bool>() ? -1 : 0; return true;
    case VarType::Byte: out = *v.get_if<uint8_t>(); return true;
    default: return false;
  }
}

std::string FormatWithPrecision(double d, int precision) {
  if (d == 0) return "0";
  if (std::isnan(d)) return "NaN";
  if (std::isinf(d)) return d > 0 ? "Infinity" : "-Infinity";
  // The same text as printf's "%.*G" (to_chars is specified so), found
  // several times faster; only the exponent letter needs raising.
  char buf[64];
  const auto r = std::to_chars(buf, buf + sizeof buf, d, std::chars_format::general, precision);
  for (char* c = buf; c < r.ptr; ++c) {
    if (*c == 'e') *c = 'E';
  }
  return std::string(buf, r.ptr);
}

}  // namespace

double RoundHalfEven(double d) {
  const double r = std::round(d);
  if (std::fabs(d - std::trunc(d)) == 0.5) {
    // Exactly half way: go to the even neighbour.
    const double t = std::trunc(d);
    return std::fmod(t, 2.0) == 0 ? t : r;
  }
  return r;
}

std::string FormatDouble(double d) { return FormatWithPrecision(d, 15); }
std::string FormatSingle(float f) { return FormatWithPrecision(static_cast<double>(f), 7); }

std::string FormatCurrency(Currency c) {
  const bool neg = c.scaled < 0;
  // Work in unsigned to survive the most negative value.
  const uint64_t mag = neg ? 0 - static_cast<uint64_t>(c.scaled) : static_cast<uint64_t>(c.scaled);
  std::string s = std::to_string(mag / 10000);
  uint64_t frac = mag % 10000;
  if (frac != 0) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "%04u", static_cast<unsigned>(frac));
    std::string f = buf;
    while (!f.empty() && f.back() == '0') f.pop_back();
    s += "." + f;
  }
  return neg ? "-" + s : s;
}

Date DateSerial(int year, int month, int day, int hour, int minute, double second) {
  const int64_t days = DaysFromCivil(year, month, day) - kEpochDays;
  const double frac = (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
  // Before the epoch the time of day still counts forward from midnight,
  // which the serial encodes as a fraction moving away from zero.
  return Date{days < 0 ? static_cast<double>(days) - frac : static_cast<double>(days) + frac};
}

DateParts SplitDate(Date d) {
  double whole = std::trunc(d.serial);
  double frac = std::fabs(d.serial - whole);
  int64_t secs = static_cast<int64_t>(std::llround(frac * 86400.0));
  if (secs >= 86400) {
    secs -= 86400;
    whole += d.serial < 0 ? -1 : 1;
  }
  DateParts p{};
  CivilFromDays(static_cast<int64_t>(whole) + kEpochDays, p.year, p.month, p.day);
  p.hour = static_cast<int>(secs / 3600);
  p.minute = static_cast<int>(secs / 60 % 60);
  p.second = static_cast<int>(secs % 60);
  return p;
}

std::string FormatDate(Date d) {
  const DateParts p = SplitDate(d);
  const bool hasDate = std::trunc(d.serial) != 0;
  const bool hasTime = p.hour != 0 || p.minute != 0 || p.second != 0;
  char buf[64];
  std::string out;
  if (hasDate || !hasTime) {
    if (hasDate) {
      std::snprintf(buf, sizeof buf, "%d/%d/%d", p.month, p.day, p.year);
      out = buf;
    }
  }
  if (hasTime || !hasDate) {
    const int h12 = p.hour % 12 == 0 ? 12 : p.hour % 12;
    std::snprintf(buf, sizeof buf, "%d:%02d:%02d %s", h12, p.minute, p.second, p.hour < 12 ? "AM" : "PM");
    if (!out.empty()) out += ' ';
    out += buf;
  }
  return out;
}

std::optional<double> ParseNumber(std::string_view text) {
  std::string_view s = TrimBlanks(text);
  if (s.empty()) return std::nullopt;
  if (s.size() > 2 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h' || s[1] == 'O' || s[1] == 'o')) {
    const int base = (s[1] == 'H' || s[1] == 'h') ? 16 : 8;
    std::string_view digits = s.substr(2);
    if (digits.size() > (base == 16 ? 8u : 11u)) return std::nullopt;
    uint32_t value = 0;
    auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (ec != std::errc() || ptr != digits.data() + digits.size()) return std::nullopt;
    // Up to four hex digits is a 16-bit value, as with the classic literals.
    if (base == 16 && digits.size() <= 4) return static_cast<double>(static_cast<int16_t>(value));
    return static_cast<double>(static_cast<int32_t>(value));
  }
  std::string clean;
  clean.reserve(s.size());
  size_t i = 0;
  if (s[i] == '+' || s[i] == '-') clean += s[i++];
  bool digits = false, point = false;
  for (; i < s.size(); ++i) {
    const char c = s[i];
    if (c >= '0' && c <= '9') {
      clean += c;
      digits = true;
    } else if (c == ',' && !point && digits) {
      continue;  // thousands separator
    } else if (c == '.' && !point) {
      clean += c;
      point = true;
    } else {
      break;
    }
  }
  if (!digits) return std::nullopt;
  if (i < s.size() && (s[i] == 'E' || s[i] == 'e' || s[i] == 'D' || s[i] == 'd')) {
    size_t j = i + 1;
    std::string exp = "e";
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exp += s[j++];
    const size_t start = j;
    while (j < s.size() && s[j] >= '0' && s[j] <= '9') exp += s[j++];
    if (j == start) return std::nullopt;
    clean += exp;
    i = j;
  }
  if (i != s.size()) return std::nullopt;
  const char* b = clean.data();
  if (*b == '+') ++b;
  double value = 0;
  auto [ptr, ec] = std::from_chars(b, clean.data() + clean.size(), value);
  if (ec == std::errc::result_out_of_range) return std::nullopt;
  if (ec != std::errc() || ptr != clean.data() + clean.size()) return std::nullopt;
  return value;
}

namespace {

bool ReadInt(std::string_view& s, int& out, size_t maxDigits) {
  size_t n = 0;
  int v = 0;
  while (n < s.size() && n < maxDigits && s[n] >= '0' && s[n] <= '9') v = v * 10 + (s[n++] - '0');
  if (n == 0) return false;
  s.remove_prefix(n);
  out = v;
  return true;
}

bool Eat(std::string_view& s, char c) {
  if (!s.empty() && s.front() == c) {
    s.remove_prefix(1);
    return true;
  }
  return false;
}

bool ParseTime(std::string_view s, int& h, int& mi, int& sec) {
  s = TrimBlanks(s);
  sec = 0;
  if (!ReadInt(s, h, 2) || !Eat(s, ':') || !ReadInt(s, mi, 2)) return false;
  if (Eat(s, ':') && !ReadInt(s, sec, 2)) return false;
  s = TrimBlanks(s);
  if (!s.empty()) {
    const bool am = EqualAsciiNoCase(s, "AM"), pm = EqualAsciiNoCase(s, "PM");
    if (!am && !pm) return false;
    if (h < 1 || h > 12) return false;
    h = (h % 12) + (pm ? 12 : 0);
  }
  return h < 24 && mi < 60 && sec < 60;
}

}  // namespace

std::optional<Date> ParseDate(std::string_view text) {
  std::string_view s = TrimBlanks(text);
  int y = 0, m = 0, d = 0, h = 0, mi = 0, sec = 0;
  std::string_view rest;
  std::string_view probe = s;
  int a = 0;
  if (!ReadInt(probe, a, 4)) return std::nullopt;
  if (!probe.empty() && probe.front() == ':') {
    if (!ParseTime(s, h, mi, sec)) return std::nullopt;
    return DateSerial(1899, 12, 30, h, mi, sec);
  }
  if (Eat(probe, '-')) {  // yyyy-mm-dd
    y = a;
    if (!ReadInt(probe, m, 2) || !Eat(probe, '-') || !ReadInt(probe, d, 2)) return std::nullopt;
  } else if (Eat(probe, '/')) {  // m/d/yyyy
    m = a;
    if (!ReadInt(probe, d, 2) || !Eat(probe, '/') || !ReadInt(probe, y, 4)) return std::nullopt;
  } else {
    return std::nullopt;
  }
  if (!probe.empty() && (probe.front() == 'T' || probe.front() == ' ')) {
    probe.remove_prefix(1);
    if (!ParseTime(probe, h, mi, sec)) return std::nullopt;
  } else if (!TrimBlanks(probe).empty()) {
    return std::nullopt;
  }
  if (y < 100 || y > 9999 || m < 1 || m > 12 || d < 1 || d > DaysInMonth(y, m)) return std::nullopt;
  return DateSerial(y, m, d, h, mi, sec);
}

bool IsNumeric(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty: return true;
    case VarType::String: return ParseNumber(v.str()).has_value();
    case VarType::Date: return false;
    default: return v.IsNumberLike();
  }
}

std::string CStr(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty: return {};
    case VarType::Null: Raise(err::kInvalidNull);
    case VarType::Integer: return std::to_string(*v.get_if<int16_t>());
    case VarType::Long: return std::to_string(*v.get_if<int32_t>());
    case VarType::Byte: return std::to_string(*v.get_if<uint8_t>());
    case VarType::Single: return FormatSingle(*v.get_if<float>());
    case VarType::Double: return FormatDouble(*v.get_if<double>());
    case VarType::Currency: return FormatCurrency(*v.get_if<Currency>());
    case VarType::Date: return FormatDate(*v.get_if<Date>());
    case VarType::Boolean: return *v.get_if<bool>() ? "True" : "False";
    case VarType::String: return v.str();
    case VarType::Error: {
      const int32_t code = v.get_if<ErrorValue>()->scode;
      // Automation errors carry the run-time number in their low word.
      return "Error " + std::to_string(code < 0 ? (code & 0xFFFF) : code);
    }
    default: Raise(err::kTypeMismatch);
  }
}

int16_t CInt(const Variant& v) {
  const double r = RoundHalfEven(ToNumber(v));
  if (!(r >= -32768.0 && r <= 32767.0)) Raise(err::kOverflow);
  return static_cast<int16_t>(r);
}

int32_t CLng(const Variant& v) {
  const double r = RoundHalfEven(ToNumber(v));
  if (!(r >= -2147483648.0 && r <= 2147483647.0)) Raise(err::kOverflow);
  return static_cast<int32_t>(r);
}

uint8_t CByte(const Variant& v) {
  const double r = RoundHalfEven(ToNumber(v));
  if (!(r >= 0 && r <= 255.0)) Raise(err::kOverflow);
  return static_cast<uint8_t>(r);
}

double CDbl(const Variant& v) { return ToNumber(v); }

float CSng(const Variant& v) {
  const double d = ToNumber(v);
  if (std::isnan(d) || std::fabs(d) > FLT_MAX) Raise(err::kOverflow);
  return static_cast<float>(d);
}

Currency CCur(const Variant& v) {
  if (const auto* c = v.get_if<Currency>()) return *c;
  const double d = ToNumber(v);
  if (!(std::fabs(d) <= kMaxCurrency)) Raise(err::kOverflow);
  return Currency{static_cast<int64_t>(RoundHalfEven(d * 10000.0))};
}

Date CDate(const Variant& v) {
  if (const auto* d = v.get_if<Date>()) return *d;
  if (v.IsString()) {
    if (auto d = ParseDate(v.str())) return *d;
    if (auto n = ParseNumber(v.str())) {
      if (*n < kMinDate || *n > kMaxDate) Raise(err::kOverflow);
      return Date{*n};
    }
    Raise(err::kTypeMismatch);
  }
  const double n = ToNumber(v);
  if (!(n >= kMinDate && n <= kMaxDate)) Raise(err::kOverflow);
  return Date{n};
}

bool CBool(const Variant& v) {
  if (const auto* b = v.get_if<bool>()) return *b;
  if (v.IsString()) {
    const std::string_view s = TrimBlanks(v.str());
    if (EqualAsciiNoCase(s, "True")) return true;
    if (EqualAsciiNoCase(s, "False")) return false;
    if (auto n = ParseNumber(s)) return *n != 0;
    Raise(err::kTypeMismatch);
  }
  return ToNumber(v) != 0;
}

Variant ConvertTo(const Variant& v, VarType type) {
  switch (type) {
    case VarType::Variant: return v;
    case VarType::Empty: return Variant();
    case VarType::Null: return Variant::Null();
    case VarType::Integer: return Variant(CInt(v));
    case VarType::Long: return Variant(CLng(v));
    case VarType::Single: return Variant(CSng(v));
    case VarType::Double: return Variant(CDbl(v));
    case VarType::Currency: return Variant(CCur(v));
    case VarType::Date: return Variant(CDate(v));
    case VarType::String: return Variant(CStr(v));
    case VarType::Boolean: return Variant(CBool(v));
    case VarType::Byte: return Variant(CByte(v));
    case VarType::Object:
      if (v.IsObject()) return v;
      Raise(err::kTypeMismatch);
    default: Raise(err::kTypeMismatch);
  }
}

int Compare(const Variant& a, const Variant& b, CompareMode mode) {
  if (a.IsNull() || b.IsNull()) Raise(err::kInvalidNull);
  const auto kind = [](const Variant& v) {
    if (v.IsEmpty()) return 0;
    if (v.IsNumberLike()) return 1;
    if (v.IsString()) return 2;
    Raise(err::kTypeMismatch);
  };
  const int ka = kind(a), kb = kind(b);
  if (ka == 0 && kb == 0) return 0;
  if (ka == 2 || kb == 2) {
    if (ka == 1) return -1;  // any number sorts before any string
    if (kb == 1) return 1;
    const std::string_view sa = ka == 2 ? std::string_view(a.str()) : std::string_view();
    const std::string_view sb = kb == 2 ? std::string_view(b.str()) : std::string_view();
    return StrComp(sa, sb, mode);
  }
  int64_t ia = 0, ib = 0;
  if (ToExactInteger(a, ia) && ToExactInteger(b, ib)) return ia < ib ? -1 : (ia > ib ? 1 : 0);
  const Currency* ca = a.get_if<Currency>();
  const Currency* cb = b.get_if<Currency>();
  if (ca && cb) return ca->scaled < cb->scaled ? -1 : (ca->scaled > cb->scaled ? 1 : 0);
  const double x = ToNumber(a), y = ToNumber(b);
  return x < y ? -1 : (x > y ? 1 : 0);
}

}  // namespace vantrove
