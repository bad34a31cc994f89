#include "dxf/text_decoder.hpp"

#include <unicode/ucnv.h>

#include <cctype>
#include <cstring>
#include "vantrove/engine/utf8.hpp"

namespace vantrove::engine::dxf {

namespace {

UConverter* Open(const std::string& name) {
  if (name.empty()) return nullptr;
  UErrorCode error = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(name.c_str(), &error);
  if (U_FAILURE(error)) {
    if (converter != nullptr) ucnv_close(converter);
    return nullptr;
  }
  return converter;
}

int Hex(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

bool Hex4(std::string_view s, size_t at, uint32_t& value) {
  if (at + 4 > s.size()) return false;
  value = 0;
  for (size_t k = 0; k < 4; ++k) {
    int d = Hex(s[at + k]);
    if (d < 0) return false;
    value = value * 16 + static_cast<uint32_t>(d);
  }
  return true;
}


// The code pages that \M+n escapes name.
constexpr const char* kMultiByteNames[6] = {"", "windows-932", "windows-950", "windows-949", "ibm-1363",
                                            "windows-936"};

}  // namespace

bool IsValidUtf8(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    uint32_t cp = 0;
    if (!DecodeUtf8(text, i, cp)) return false;
  }
  return true;
}

std::string IcuCodepageName(std::string_view dwg_name) {
  std::string upper;
  for (char c : dwg_name) {
    if (c == ' ' || c == '\t' || c == '\r') continue;
    upper.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
  }
  auto digits_after = [&](std::string_view prefix) -> std::string {
    if (upper.size() <= prefix.size() || upper.compare(0, prefix.size(), prefix) != 0) return {};
    std::string rest = upper.substr(prefix.size());
    for (char c : rest) {
      if (c < '0' || c > '9') return {};
    }
    return rest;
  };
  if (std::string n = digits_after("ANSI_"); !n.empty()) {
    if (n == "1361") return "ibm-1363";
    return "windows-" + n;
  }
  if (std::string n = digits_after("DOS"); !n.empty()) {
    if (n == "932" || n == "936" || n == "949" || n == "950") return "windows-" + n;
    return "ibm-" + n;
  }
  if (std::string n = digits_after("ISO8859-"); !n.empty()) return "ISO-8859-" + n;
  if (upper == "MACINTOSH" || upper == "MAC-ROMAN") return "macintosh";
  if (upper == "UTF-8" || upper == "UTF8") return "UTF-8";
  if (upper == "BIG5") return "windows-950";
  if (upper == "GB2312") return "windows-936";
  if (upper == "KSC5601") return "windows-949";
  if (upper == "JOHAB") return "ibm-1363";
  return {};
}

TextDecoder::TextDecoder() = default;

TextDecoder::~TextDecoder() {
  if (main_ != nullptr) ucnv_close(main_);
  if (fallback_ != nullptr) ucnv_close(fallback_);
  for (UConverter* converter : multibyte_) {
    if (converter != nullptr) ucnv_close(converter);
  }
}

bool TextDecoder::SetCodepage(std::string_view dwg_name) {
  UConverter* converter = Open(IcuCodepageName(dwg_name));
  if (main_ != nullptr) ucnv_close(main_);
  main_ = converter;
  explicit_codepage_ = converter != nullptr;
  return converter != nullptr;
}

UConverter* TextDecoder::Fallback() {
  if (fallback_ == nullptr) fallback_ = Open("windows-1252");
  return fallback_;
}

UConverter* TextDecoder::MultiByte(int index) {
  if (index < 1 || index > 5) return nullptr;
  if (multibyte_[index] == nullptr) multibyte_[index] = Open(kMultiByteNames[index]);
  return multibyte_[index];
}

std::string_view TextDecoder::Convert(UConverter* converter, std::string_view raw, std::string& out) {
  out.clear();
  if (converter == nullptr) {
    // No converter at all (ICU without data): keep ASCII, replace the rest.
    for (char c : raw) {
      if (static_cast<unsigned char>(c) < 0x80) {
        out.push_back(c);
      } else {
        out += "\xEF\xBF\xBD";
      }
    }
    return out;
  }
  out.resize(raw.size() * 4 + 4);
  UErrorCode error = U_ZERO_ERROR;
  ucnv_reset(converter);
  int32_t n = ucnv_toAlgorithmic(UCNV_UTF8, converter, out.data(), static_cast<int32_t>(out.size()), raw.data(),
                                 static_cast<int32_t>(raw.size()), &error);
  if (U_FAILURE(error) || n < 0) {
    out.clear();
    return out;
  }
  out.resize(static_cast<size_t>(n));
  return out;
}

void TextDecoder::ExpandEscapes(std::string_view in, std::string& out) {
  out.clear();
  out.reserve(in.size());
  size_t i = 0;
  while (i < in.size()) {
    if (in[i] == '\\' && i + 2 < in.size() && in[i + 2] == '+') {
      const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(in[i + 1])));
      uint32_t value = 0;
      if (kind == 'U' && Hex4(in, i + 3, value)) {
        size_t used = 7;
        if (value >= 0xD800 && value <= 0xDBFF && i + 14 <= in.size() && in.compare(i + 7, 3, "\\U+") == 0) {
          uint32_t low = 0;
          if (Hex4(in, i + 10, low) && low >= 0xDC00 && low <= 0xDFFF) {
            value = 0x10000 + ((value - 0xD800) << 10) + (low - 0xDC00);
            used = 14;
          }
        }
        AppendUtf8(out, value);
        i += used;
        continue;
      }
      if (kind == 'M' && i + 3 < in.size() && in[i + 3] >= '1' && in[i + 3] <= '5' && Hex4(in, i + 4, value)) {
        const char bytes[2] = {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
        const std::string_view code = bytes[0] == 0 ? std::string_view(bytes + 1, 1) : std::string_view(bytes, 2);
        std::string piece;
        out += Convert(MultiByte(in[i + 3] - '0'), code, piece);
        i += 8;
        continue;
      }
    }
    out.push_back(in[i]);
    ++i;
  }
}

std::string_view TextDecoder::Decode(std::string_view raw, TextArena& arena) {
  bool high = false;
  bool escape = false;
  for (char c : raw) {
    if (static_cast<unsigned char>(c) >= 0x80) high = true;
    if (c == '\\') escape = true;
  }
  if (utf8_) {
    if (!high || IsValidUtf8(raw)) return raw;
    return arena.Store(Convert(main_ != nullptr ? main_ : Fallback(), raw, converted_));
  }
  if (!high && !escape) return raw;
  std::string_view text = raw;
  if (high) {
    if (!explicit_codepage_ && IsValidUtf8(raw)) {
      text = raw;  // no code page declared and the bytes are UTF-8: take them as they are
    } else {
      text = Convert(main_ != nullptr ? main_ : Fallback(), raw, converted_);
    }
  }
  if (text.find("+") != std::string_view::npos && text.find('\\') != std::string_view::npos) {
    ExpandEscapes(text, expanded_);
    return arena.Store(expanded_);
  }
  if (text.data() == raw.data()) return raw;
  return arena.Store(text);
}

}  // namespace vantrove::engine::dxf
