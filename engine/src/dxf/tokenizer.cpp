#include "dxf/tokenizer.hpp"

#include <charconv>
#include <cstdint>
#include <cstring>

namespace vantrove::engine::dxf {

namespace {

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

// A short printable excerpt for messages.
std::string Excerpt(std::string_view text) {
  std::string out;
  for (char c : text.substr(0, 40)) {
    unsigned char u = static_cast<unsigned char>(c);
    out.push_back(u >= 0x20 && u < 0x7F ? c : '?');
  }
  if (text.size() > 40) out += "...";
  return out;
}

template <class T>
T Load(const char* p) {
  T value;
  std::memcpy(&value, p, sizeof(T));
  return value;
}

}  // namespace

Tokenizer::Tokenizer(const char* data, size_t size, TextArena& arena) : data_(data), size_(size), arena_(arena) {
  if (size_ >= kBinarySentinel.size() && std::memcmp(data_, kBinarySentinel.data(), kBinarySentinel.size()) == 0) {
    binary_ = true;
    pos_ = kBinarySentinel.size();
    // The first group is (0, "SECTION"): one code byte in R12 files, two later.
    one_byte_codes_ = pos_ + 1 < size_ && data_[pos_] == 0 && data_[pos_ + 1] != 0;
  } else if (size_ >= 3 && std::memcmp(data_, "\xEF\xBB\xBF", 3) == 0) {
    pos_ = 3;  // a UTF-8 byte order mark some writers put first
  }
}

Tokenizer::Tokenizer(const char* data, size_t begin, size_t end, TextArena& arena, bool binary, bool one_byte_codes)
    : data_(data), size_(end), pos_(begin), arena_(arena), binary_(binary), one_byte_codes_(one_byte_codes),
      next_report_(SIZE_MAX) {}

std::string Tokenizer::Position() const {
  if (binary_) return "byte offset " + std::to_string(group_offset_);
  return "line " + std::to_string(group_line_);
}

bool Tokenizer::Fail(std::string message) {
  error_ = std::move(message);
  pos_ = size_;
  return false;
}

bool Tokenizer::Next(RawGroup& out) {
  if (!error_.empty() || pos_ >= size_) return false;
  if (pos_ >= next_report_) {
    ReportReadProgress(pos_, size_);
    next_report_ = pos_ + kReadProgressStep;
  }
  return binary_ ? NextBinary(out) : NextAscii(out);
}

// A text line cannot hold control characters: ASCII DXF writes them as a
// caret and the character 0x40 above ("^J" a line feed, "^I" a tab) and a
// caret itself, where it could be read as such a pair, as "^ ". Binary DXF
// and DWG hold the characters themselves, and so does the model.
std::string_view DecodeCarets(std::string_view value, TextArena& arena) {
  std::string out;
  out.reserve(value.size());
  bool changed = false;
  for (size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (c == '^' && i + 1 < value.size()) {
      const auto next = static_cast<unsigned char>(value[i + 1]);
      if (next == ' ') {
        out.push_back('^');
        ++i;
        changed = true;
        continue;
      }
      if (next >= 0x40 && next <= 0x5F) {
        out.push_back(static_cast<char>(next - 0x40));
        ++i;
        changed = true;
        continue;
      }
    }
    out.push_back(c);
  }
  return changed ? arena.Store(out) : value;
}

bool Tokenizer::NextAscii(RawGroup& out) {
  // Group code line.
  const char* start = data_ + pos_;
  const char* eol = static_cast<const char*>(std::memchr(start, '\n', size_ - pos_));
  const char* code_end = eol != nullptr ? eol : data_ + size_;
  ++line_;
  group_line_ = line_;
  std::string_view code_text = Trim(std::string_view(start, static_cast<size_t>(code_end - start)));
  if (eol == nullptr && code_text.empty()) {
    pos_ = size_;
    return false;  // blank last line
  }
  int32_t code = 0;
  auto [end, ec] = std::from_chars(code_text.data(), code_text.data() + code_text.size(), code);
  if (code_text.empty() || ec != std::errc() || end != code_text.data() + code_text.size() || code < -32768 ||
      code > 32767) {
    return Fail("invalid group code \"" + Excerpt(code_text) + "\" at line " + std::to_string(group_line_));
  }
  if (eol == nullptr) {
    return Fail("the file ends after group code " + std::to_string(code) + " at line " + std::to_string(group_line_));
  }
  pos_ = static_cast<size_t>(eol - data_) + 1;
  // Value line.
  start = data_ + pos_;
  eol = pos_ < size_ ? static_cast<const char*>(std::memchr(start, '\n', size_ - pos_)) : nullptr;
  const char* value_end = eol != nullptr ? eol : data_ + size_;
  ++line_;
  std::string_view value(start, static_cast<size_t>(value_end - start));
  while (!value.empty() && value.back() == '\r') value.remove_suffix(1);
  pos_ = eol != nullptr ? static_cast<size_t>(eol - data_) + 1 : size_;
  out.code = code;
  out.value = value;
  if (value.find('^') != std::string_view::npos && GroupTypeOf(code) == GroupType::kString) {
    out.value = DecodeCarets(value, arena_);
  }
  return true;
}

bool Tokenizer::NextBinary(RawGroup& out) {
  group_offset_ = pos_;
  auto need = [&](size_t n) { return size_ - pos_ >= n; };
  int32_t code;
  if (one_byte_codes_) {
    if (!need(1)) return false;
    code = static_cast<unsigned char>(data_[pos_++]);
    if (code == 255) {
      if (!need(2)) return Fail("the file ends inside a group code at byte offset " + std::to_string(group_offset_));
      code = Load<int16_t>(data_ + pos_);
      pos_ += 2;
    }
  } else {
    if (!need(2)) return Fail("the file ends inside a group code at byte offset " + std::to_string(group_offset_));
    code = Load<int16_t>(data_ + pos_);
    pos_ += 2;
  }
  out.code = code;
  auto truncated = [&]() {
    return Fail("the value of group " + std::to_string(code) + " at byte offset " + std::to_string(group_offset_) +
                " runs past the end of the file");
  };
  char buffer[40];
  auto store_number = [&](auto value) {
    auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    out.value = arena_.Store(std::string_view(buffer, static_cast<size_t>(result.ptr - buffer)));
  };
  switch (GroupTypeOf(code)) {
    case GroupType::kString:
    case GroupType::kHandle: {
      const char* nul = static_cast<const char*>(std::memchr(data_ + pos_, '\0', size_ - pos_));
      if (nul == nullptr) return truncated();
      out.value = std::string_view(data_ + pos_, static_cast<size_t>(nul - (data_ + pos_)));
      pos_ = static_cast<size_t>(nul - data_) + 1;
      return true;
    }
    case GroupType::kDouble:
      if (!need(8)) return truncated();
      store_number(Load<double>(data_ + pos_));
      pos_ += 8;
      return true;
    case GroupType::kInt16:
      if (!need(2)) return truncated();
      store_number(static_cast<int>(Load<int16_t>(data_ + pos_)));
      pos_ += 2;
      return true;
    case GroupType::kInt32:
      if (!need(4)) return truncated();
      store_number(Load<int32_t>(data_ + pos_));
      pos_ += 4;
      return true;
    case GroupType::kInt64:
      if (!need(8)) return truncated();
      store_number(Load<int64_t>(data_ + pos_));
      pos_ += 8;
      return true;
    case GroupType::kBool:
      if (!need(1)) return truncated();
      store_number(static_cast<int>(static_cast<unsigned char>(data_[pos_])));
      pos_ += 1;
      return true;
    case GroupType::kBinary: {
      if (!need(1)) return truncated();
      const size_t length = static_cast<unsigned char>(data_[pos_]);
      ++pos_;
      if (!need(length)) return truncated();
      static constexpr char kHex[] = "0123456789ABCDEF";
      char* text = arena_.Allocate(length * 2);
      for (size_t k = 0; k < length; ++k) {
        const auto byte = static_cast<unsigned char>(data_[pos_ + k]);
        text[2 * k] = kHex[byte >> 4];
        text[2 * k + 1] = kHex[byte & 0xF];
      }
      out.value = std::string_view(text, length * 2);
      pos_ += length;
      return true;
    }
  }
  return Fail("unknown value type");
}

}  // namespace vantrove::engine::dxf
