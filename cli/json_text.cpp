#include "json_text.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace vantrove::cli {

namespace {

bool PlainByte(unsigned char c) { return c >= 0x20 && c != '"' && c != '\\' && c < 0x80; }

void AppendEscaped(std::string& out, unsigned char c) {
  static constexpr char kHex[] = "0123456789abcdef";
  switch (c) {
    case '"': out += "\\\""; return;
    case '\\': out += "\\\\"; return;
    case '\b': out += "\\b"; return;
    case '\f': out += "\\f"; return;
    case '\n': out += "\\n"; return;
    case '\r': out += "\\r"; return;
    case '\t': out += "\\t"; return;
    default: break;
  }
  const char esc[6] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 15]};
  out.append(esc, sizeof esc);
}

// Exponent of at least two digits with its sign, as in 1e+20 and 1.5e-05.
void AppendExponent(std::string& out, int e) {
  out += 'e';
  out += e < 0 ? '-' : '+';
  e = std::abs(e);
  if (e < 10) out += '0';
  char buf[8];
  const auto r = std::to_chars(buf, buf + sizeof buf, e);
  out.append(buf, r.ptr);
}

}  // namespace

namespace {

// True when none of the 8 bytes at `p` needs escaping or is outside ASCII.
inline bool PlainWord(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, 8);
  constexpr uint64_t kOnes = 0x0101010101010101ull, kHigh = 0x8080808080808080ull;
  const uint64_t control = (w - kOnes * 0x20) & ~w;                   // bytes below 0x20, or high
  const uint64_t quote = ((w ^ (kOnes * '"')) - kOnes) & ~(w ^ (kOnes * '"'));
  const uint64_t slash = ((w ^ (kOnes * '\\')) - kOnes) & ~(w ^ (kOnes * '\\'));
  return ((control | quote | slash | w) & kHigh) == 0;
}

}  // namespace

// One pass: plain runs are copied whole, the bytes JSON must escape are
// escaped, and bytes beyond ASCII pass as they are. When there were any, the
// string is checked for valid UTF-8 afterwards, and an invalid one is written
// again by the reference writer, which decides where each bad sequence ends.
void AppendJsonString(std::string& out, std::string_view s) {
  const size_t start = out.size();
  out += '"';
  const char* p = s.data();
  const char* const end = p + s.size();
  const char* run = p;
  bool high = false;
  while (p < end) {
    while (end - p >= 8 && PlainWord(p)) p += 8;
    while (p < end && PlainByte(static_cast<unsigned char>(*p))) ++p;
    if (p == end) break;
    const auto c = static_cast<unsigned char>(*p);
    if (c >= 0x80) {
      high = true;
      ++p;
      continue;
    }
    out.append(run, static_cast<size_t>(p - run));
    AppendEscaped(out, c);
    run = ++p;
  }
  out.append(run, static_cast<size_t>(end - run));
  out += '"';
  if (high && !simdjson::validate_utf8(s.data(), s.size())) {
    out.resize(start);
    out += nlohmann::json(std::string(s)).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  }
}

void AppendJsonInt(std::string& out, int64_t v) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  out.append(buf, r.ptr);
}

void AppendJsonDouble(std::string& out, double d) {
  if (d == 0) {
    out += std::signbit(d) ? "-0.0" : "0.0";
    return;
  }
  // The shortest round-trip digits and their decimal exponent.
  char sci[40];
  const auto r = std::to_chars(sci, sci + sizeof sci, d, std::chars_format::scientific);
  const char* p = sci;
  if (*p == '-') {
    out += '-';
    ++p;
  }
  char digits[24];
  int k = 0;
  const char* e = std::find(p, static_cast<const char*>(r.ptr), 'e');
  for (const char* q = p; q < e; ++q) {
    if (*q != '.') digits[k++] = *q;
  }
  int exp10 = 0;
  std::from_chars(e + 1 + (e[1] == '+' ? 1 : 0), r.ptr, exp10);
  const int n = exp10 + 1;  // position of the decimal point after the first n digits
  if (k <= n && n <= 15) {
    out.append(digits, k);
    out.append(static_cast<size_t>(n - k), '0');
    out += ".0";
  } else if (0 < n && n <= 15) {
    out.append(digits, n);
    out += '.';
    out.append(digits + n, k - n);
  } else if (-4 < n && n <= 0) {
    out += "0.";
    out.append(static_cast<size_t>(-n), '0');
    out.append(digits, k);
  } else {
    out += digits[0];
    if (k > 1) {
      out += '.';
      out.append(digits + 1, k - 1);
    }
    AppendExponent(out, n - 1);
  }
}

void AppendJsonElement(std::string& out, simdjson::dom::element e) {
  using simdjson::dom::element_type;
  switch (e.type()) {
    case element_type::NULL_VALUE: out += "null"; return;
    case element_type::BOOL: out += e.get_bool().value_unsafe() ? "true" : "false"; return;
    case element_type::INT64: AppendJsonInt(out, e.get_int64().value_unsafe()); return;
    case element_type::UINT64: out += std::to_string(e.get_uint64().value_unsafe()); return;
    case element_type::DOUBLE: AppendJsonDouble(out, e.get_double().value_unsafe()); return;
    case element_type::STRING: AppendJsonString(out, e.get_string().value_unsafe()); return;
    case element_type::ARRAY: {
      out += '[';
      bool first = true;
      for (simdjson::dom::element x : AsArray(e)) {
        if (!first) out += ',';
        first = false;
        AppendJsonElement(out, x);
      }
      out += ']';
      return;
    }
    case element_type::OBJECT: {
      // Sorted keys; a repeated key keeps its last value.
      std::vector<std::pair<std::string_view, simdjson::dom::element>> fields;
      for (simdjson::dom::key_value_pair kv : AsObject(e)) fields.emplace_back(kv.key, kv.value);
      std::stable_sort(fields.begin(), fields.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
      out += '{';
      for (size_t i = 0; i < fields.size(); ++i) {
        if (i + 1 < fields.size() && fields[i + 1].first == fields[i].first) continue;
        if (out.back() != '{') out += ',';
        AppendJsonString(out, fields[i].first);
        out += ':';
        AppendJsonElement(out, fields[i].second);
      }
      out += '}';
      return;
    }
  }
}

}  // namespace vantrove::cli
