#include "dxf/group_writer.hpp"

#include <unicode/ucnv.h>

#include <charconv>
#include <cmath>
#include <cstring>

#include "dxf/text_decoder.hpp"
#include "vantrove/engine/utf8.hpp"

namespace vantrove::engine::dxf {

namespace {

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

bool ParseReal(std::string_view text, double& value) {
  text = Trim(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return false;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && end == text.data() + text.size();
}

bool ParseInt(std::string_view text, int64_t& value) {
  text = Trim(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return false;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec == std::errc() && end == text.data() + text.size()) return true;
  double d = 0;
  if (ParseReal(text, d) && std::isfinite(d) && std::fabs(d) < 9.2e18) {
    value = static_cast<int64_t>(std::llround(d));
    return true;
  }
  return false;
}

// Decodes one UTF-8 sequence at `i`; invalid bytes give U+FFFD.
uint32_t NextCodePoint(std::string_view s, size_t& i) {
  uint32_t cp = 0;
  DecodeUtf8(s, i, cp);
  return cp;
}

void AppendEscape(std::string& out, uint32_t unit) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  out += "\\U+";
  out.push_back(kHex[(unit >> 12) & 0xF]);
  out.push_back(kHex[(unit >> 8) & 0xF]);
  out.push_back(kHex[(unit >> 4) & 0xF]);
  out.push_back(kHex[unit & 0xF]);
}

}  // namespace

// ---- TextEncoder ------------------------------------------------------------------

TextEncoder::~TextEncoder() {
  if (converter_ != nullptr) ucnv_close(converter_);
}

void TextEncoder::SetCodepage(std::string_view dwg_name) {
  if (converter_ != nullptr) ucnv_close(converter_);
  converter_ = nullptr;
  cache_.clear();
  std::string name = IcuCodepageName(dwg_name);
  if (name.empty() || name == "UTF-8") name = "windows-1252";
  UErrorCode error = U_ZERO_ERROR;
  converter_ = ucnv_open(name.c_str(), &error);
  if (U_FAILURE(error)) {
    if (converter_ != nullptr) ucnv_close(converter_);
    error = U_ZERO_ERROR;
    converter_ = ucnv_open("windows-1252", &error);
    if (U_FAILURE(error)) converter_ = nullptr;
  }
  if (converter_ != nullptr) {
    error = U_ZERO_ERROR;
    ucnv_setFromUCallBack(converter_, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    ucnv_setFallback(converter_, false);
  }
}

const TextEncoder::Encoded& TextEncoder::EncodeOne(uint32_t cp) {
  auto it = cache_.find(cp);
  if (it != cache_.end()) return it->second;
  Encoded encoded;
  std::string& out = encoded.bytes;
  bool done = false;
  if (converter_ != nullptr && cp != 0xFFFD) {
    UChar units[2];
    int32_t count = 0;
    if (cp >= 0x10000) {
      units[0] = static_cast<UChar>(0xD800 + ((cp - 0x10000) >> 10));
      units[1] = static_cast<UChar>(0xDC00 + ((cp - 0x10000) & 0x3FF));
      count = 2;
    } else {
      units[0] = static_cast<UChar>(cp);
      count = 1;
    }
    char bytes[16];
    UErrorCode error = U_ZERO_ERROR;
    ucnv_reset(converter_);
    const int32_t n = ucnv_fromUChars(converter_, bytes, sizeof(bytes), units, count, &error);
    if (U_SUCCESS(error) && n > 0) {
      out.assign(bytes, static_cast<size_t>(n));
      done = true;
    }
  }
  encoded.held = done;
  if (!done) {
    if (cp >= 0x10000) {
      AppendEscape(out, 0xD800 + ((cp - 0x10000) >> 10));
      AppendEscape(out, 0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      AppendEscape(out, cp);
    }
  }
  return cache_.emplace(cp, std::move(encoded)).first->second;
}

void TextEncoder::Encode(std::string_view utf8, std::string& out, bool name) {
  size_t i = 0;
  while (i < utf8.size()) {
    if (static_cast<unsigned char>(utf8[i]) < 0x80) {
      out.push_back(utf8[i]);
      ++i;
      continue;
    }
    const Encoded& encoded = EncodeOne(NextCodePoint(utf8, i));
    if (name && !encoded.held) {
      out.push_back('_');
    } else {
      out += encoded.bytes;
    }
  }
}

bool TextEncoder::Holds(std::string_view utf8) {
  size_t i = 0;
  while (i < utf8.size()) {
    if (static_cast<unsigned char>(utf8[i]) < 0x80) {
      ++i;
      continue;
    }
    if (!EncodeOne(NextCodePoint(utf8, i)).held) return false;
  }
  return true;
}

// ---- numbers -----------------------------------------------------------------------

std::string_view FormatReal(double value, int precision, char (&buffer)[400]) {
  char* const begin = buffer;
  char* end;
  if (precision >= 1 && precision <= 16 && std::isfinite(value) && std::fabs(value) < 1e15) {
    end = std::to_chars(begin, begin + 380, value, std::chars_format::fixed, precision).ptr;
    char* dot = static_cast<char*>(std::memchr(begin, '.', static_cast<size_t>(end - begin)));
    if (dot != nullptr) {
      while (end > dot + 2 && end[-1] == '0') --end;
    }
    // Rounding a small negative number to zero keeps no sign worth writing.
    if (end - begin >= 2 && begin[0] == '-') {
      bool zero = true;
      for (char* p = begin + 1; p < end; ++p) zero = zero && (*p == '0' || *p == '.');
      if (zero) return {begin + 1, static_cast<size_t>(end - begin - 1)};
    }
    return {begin, static_cast<size_t>(end - begin)};
  }
  end = std::to_chars(begin, begin + 380, value).ptr;
  std::string_view text(begin, static_cast<size_t>(end - begin));
  if (!std::isfinite(value)) return text;
  const size_t e = text.find('e');
  const bool has_dot = text.find('.') != std::string_view::npos;
  if (e == std::string_view::npos) {
    if (!has_dot) {
      end[0] = '.';
      end[1] = '0';
      end += 2;
    }
    return {begin, static_cast<size_t>(end - begin)};
  }
  // 1e-07 -> 1.0E-07
  char exponent[16];
  const size_t exponent_size = text.size() - e - 1;
  std::memcpy(exponent, begin + e + 1, exponent_size);
  char* out = begin + e;
  if (!has_dot) {
    *out++ = '.';
    *out++ = '0';
  }
  *out++ = 'E';
  std::memcpy(out, exponent, exponent_size);
  out += exponent_size;
  return {begin, static_cast<size_t>(out - begin)};
}

// ---- GroupWriter -------------------------------------------------------------------

GroupWriter::GroupWriter(ByteSink& sink, const GroupFormat& format, TextEncoder* encoder)
    : sink_(sink), format_(format), encoder_(encoder) {
  buffer_.reserve(kFlushAt + 65536);
}

GroupWriter::~GroupWriter() = default;

bool GroupWriter::Flush() {
  if (!buffer_.empty() && !failed_) {
    if (!sink_.Write(buffer_)) failed_ = true;
    written_ += buffer_.size();
  }
  buffer_.clear();
  return !failed_;
}

void GroupWriter::Begin() {
  if (format_.binary) Raw(std::string_view("AutoCAD Binary DXF\r\n\x1a\0", 22));
}

void GroupWriter::PutCode(int32_t code) {
  if (format_.binary) {
    if (format_.one_byte_codes) {
      if (code >= 0 && code < 255) {
        buffer_.push_back(static_cast<char>(code));
        return;
      }
      buffer_.push_back(static_cast<char>(255));
    }
    const auto c = static_cast<int16_t>(code);
    char bytes[2];
    std::memcpy(bytes, &c, 2);
    buffer_.append(bytes, 2);
    return;
  }
  char text[16];
  char* end = std::to_chars(text, text + sizeof(text), code).ptr;
  const auto n = static_cast<size_t>(end - text);
  if (n < 3) buffer_.append(3 - n, ' ');
  buffer_.append(text, n);
  buffer_ += "\r\n";
}

void GroupWriter::PutAsciiString(std::string_view value, bool name) {
  bool plain = true;
  for (size_t i = 0; i < value.size() && plain; ++i) {
    const auto u = static_cast<unsigned char>(value[i]);
    plain = !(u < 0x20 || (u >= 0x80 && format_.legacy_text) || u == '^');
  }
  if (plain) {
    buffer_.append(value);
    return;
  }
  scratch_.clear();
  if (format_.legacy_text && encoder_ != nullptr) {
    encoder_->Encode(value, scratch_, name);
  } else {
    scratch_.assign(value);
  }
  // Control characters cannot stand in a line of their own: caret form; a
  // caret itself is "^ ", so that no reader takes it for a caret code.
  for (size_t i = 0; i < scratch_.size(); ++i) {
    const char c = scratch_[i];
    const auto u = static_cast<unsigned char>(c);
    if (c == '^') {
      buffer_.append("^ ");
    } else if (u < 0x20) {
      if (u == 0 || u == '\r') continue;
      buffer_.push_back('^');
      buffer_.push_back(static_cast<char>(u + 0x40));
    } else {
      buffer_.push_back(c);
    }
  }
}

void GroupWriter::PutBinaryValue(int32_t code, std::string_view value, bool name) {
  auto put = [&](auto number) {
    char bytes[sizeof(number)];
    std::memcpy(bytes, &number, sizeof(number));
    buffer_.append(bytes, sizeof(number));
  };
  switch (GroupTypeOf(code)) {
    case GroupType::kString:
    case GroupType::kHandle: {
      std::string_view text = value;
      if (format_.legacy_text && encoder_ != nullptr) {
        bool ascii = true;
        for (char c : value) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
        if (!ascii) {
          scratch_.clear();
          encoder_->Encode(value, scratch_, name);
          text = scratch_;
        }
      }
      for (char c : text) {
        if (c != '\0') buffer_.push_back(c);
      }
      buffer_.push_back('\0');
      return;
    }
    case GroupType::kDouble: {
      double d = 0;
      ParseReal(value, d);
      if (format_.precision >= 1 && format_.precision <= 16 && std::isfinite(d)) {
        char text[400];
        std::string_view rounded = FormatReal(d, format_.precision, text);
        ParseReal(rounded, d);
      }
      put(d);
      return;
    }
    case GroupType::kInt16: {
      int64_t v = 0;
      ParseInt(value, v);
      put(static_cast<int16_t>(v));
      return;
    }
    case GroupType::kInt32: {
      int64_t v = 0;
      ParseInt(value, v);
      put(static_cast<int32_t>(v));
      return;
    }
    case GroupType::kInt64: {
      int64_t v = 0;
      ParseInt(value, v);
      put(v);
      return;
    }
    case GroupType::kBool: {
      int64_t v = 0;
      ParseInt(value, v);
      buffer_.push_back(static_cast<char>(v != 0 ? 1 : 0));
      return;
    }
    case GroupType::kBinary: {
      std::string_view hex = Trim(value);
      const size_t length = std::min<size_t>(hex.size() / 2, 255);
      buffer_.push_back(static_cast<char>(length));
      auto nibble = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return 0;
      };
      for (size_t k = 0; k < length; ++k) {
        buffer_.push_back(static_cast<char>((nibble(hex[2 * k]) << 4) | nibble(hex[2 * k + 1])));
      }
      return;
    }
  }
}

void GroupWriter::Put(int32_t code, std::string_view value) {
  PutCode(code);
  if (format_.binary) {
    PutBinaryValue(code, value, false);
  } else {
    const GroupType type = GroupTypeOf(code);
    if (type == GroupType::kDouble) {
      double d = 0;
      if (ParseReal(value, d)) {
        char text[400];
        buffer_.append(FormatReal(d, format_.precision, text));
      } else {
        buffer_.append(Trim(value));
      }
    } else if (type == GroupType::kString || type == GroupType::kHandle) {
      PutAsciiString(value, false);
    } else {
      buffer_.append(value);
    }
    buffer_ += "\r\n";
  }
  if (buffer_.size() >= kFlushAt) Flush();
}

void GroupWriter::PutName(int32_t code, std::string_view value) {
  PutCode(code);
  if (format_.binary) {
    PutBinaryValue(code, value, true);
  } else {
    PutAsciiString(value, true);
    buffer_ += "\r\n";
  }
  if (buffer_.size() >= kFlushAt) Flush();
}

void GroupWriter::PutInt(int32_t code, int64_t value) {
  char text[32];
  char* end = std::to_chars(text, text + sizeof(text), value).ptr;
  Put(code, std::string_view(text, static_cast<size_t>(end - text)));
}

void GroupWriter::PutReal(int32_t code, double value) {
  char text[400];
  Put(code, FormatReal(value, 0, text));
}

void GroupWriter::PutHandle(int32_t code, uint64_t handle) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  char text[16];
  int n = 16;
  do {
    text[--n] = kDigits[handle & 0xF];
    handle >>= 4;
  } while (handle != 0);
  Put(code, std::string_view(text + n, static_cast<size_t>(16 - n)));
}

}  // namespace vantrove::engine::dxf
