#include "vantrove/engine/objects.hpp"

#include <cctype>
#include "vantrove/engine/utf8.hpp"

namespace vantrove::engine {

namespace {


int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Codes that take a parameter ending at ';'.
bool TakesParameter(char c) {
  switch (c) {
    case 'A': case 'C': case 'c': case 'F': case 'f': case 'H': case 'Q':
    case 'T': case 'W': case 'p':
      return true;
    default:
      return false;
  }
}

}  // namespace

std::string MTextPlainText(std::string_view v) {
  std::string out;
  out.reserve(v.size());
  size_t i = 0;
  const size_t n = v.size();
  while (i < n) {
    char c = v[i];
    if (c == '\\' && i + 1 < n) {
      char code = v[i + 1];
      i += 2;
      switch (code) {
        case 'P':
        case 'N':
          out.push_back('\n');
          break;
        case '~':
          out += "\xC2\xA0";
          break;
        case '\\':
        case '{':
        case '}':
          out.push_back(code);
          break;
        case 'L': case 'l': case 'O': case 'o': case 'K': case 'k': case 'X':
          break;
        case 'U':
          if (i + 5 <= n && v[i] == '+') {
            uint32_t cp = 0;
            bool ok = true;
            for (size_t k = 1; k <= 4; ++k) {
              int d = HexDigit(v[i + k]);
              if (d < 0) ok = false;
              cp = cp * 16 + static_cast<uint32_t>(d < 0 ? 0 : d);
            }
            if (ok) {
              AppendUtf8(out, cp);
              i += 5;
              break;
            }
          }
          out.push_back('U');
          break;
        case 'S': {
          // Stacked text up to the closing ';': shown as written ("1/2",
          // "1#2"), the tolerance form "1^ 2" as "1^2".
          while (i < n && v[i] != ';') {
            if (v[i] == '\\' && i + 1 < n) {
              out.push_back(v[i + 1]);
              i += 2;
              continue;
            }
            out.push_back(v[i]);
            i += (v[i] == '^' && i + 1 < n && v[i + 1] == ' ') ? 2 : 1;
          }
          if (i < n) ++i;
          break;
        }
        default:
          if (TakesParameter(code)) {
            while (i < n && v[i] != ';') ++i;
            if (i < n) ++i;
          } else {
            out.push_back(code);
          }
          break;
      }
      continue;
    }
    if (c == '{' || c == '}') {
      ++i;
      continue;
    }
    if (c == '^' && i + 1 < n) {
      char next = v[i + 1];
      if (next == ' ') {
        out.push_back('^');
        i += 2;
        continue;
      }
      if (next >= '@' && next <= '_') {
        out.push_back(static_cast<char>(next - '@'));
        i += 2;
        continue;
      }
    }
    if (c == '%' && i + 2 < n && v[i + 1] == '%') {
      char s = static_cast<char>(std::tolower(static_cast<unsigned char>(v[i + 2])));
      if (s == 'c') { out += "\xC3\x98"; i += 3; continue; }
      if (s == 'd') { out += "\xC2\xB0"; i += 3; continue; }
      if (s == 'p') { out += "\xC2\xB1"; i += 3; continue; }
      if (s == '%') { out.push_back('%'); i += 3; continue; }
    }
    out.push_back(c);
    ++i;
  }
  return out;
}

std::string MText::PlainText() const { return MTextPlainText(value); }

bool Layout::is_model() const {
  if (block_record != nullptr) {
    std::string_view n = block_record->name;
    if (n.size() == 12) {
      static constexpr std::string_view kModel = "*model_space";
      bool same = true;
      for (size_t i = 0; i < n.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(n[i])) != kModel[i]) same = false;
      }
      if (same) return true;
    }
  }
  return name == "Model";
}

Handle Dictionary::Find(std::string_view name) const {
  for (const Entry& e : entries) {
    if (e.name == name) return e.handle;
  }
  return kNoHandle;
}

}  // namespace vantrove::engine
