#pragma once
// Splits DXF bytes into groups: code and value text. ASCII files give views
// of their own lines; binary files have their numbers formatted as text
// (shortest exact form) and binary chunks as hex, stored in the arena.
// Every read is bounds-checked; a fault stops the tokenizer with a message
// and the position (line or byte offset) where it happened.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "vantrove/engine/groups.hpp"
#include "vantrove/engine/progress.hpp"

namespace vantrove::engine::dxf {

struct RawGroup {
  int32_t code = 0;
  std::string_view value;
};

inline constexpr std::string_view kBinarySentinel{"AutoCAD Binary DXF\r\n\x1a\0", 22};

// The value of an ASCII string group with its caret codes decoded ("^J" a
// line feed, "^ " a caret); the text itself when it has none.
std::string_view DecodeCarets(std::string_view value, TextArena& arena);

class Tokenizer {
 public:
  Tokenizer(const char* data, size_t size, TextArena& arena);
  // Reads the groups of bytes [begin, end) of a file the first constructor
  // has seen (its binary() and one_byte_codes()), without progress reports.
  Tokenizer(const char* data, size_t begin, size_t end, TextArena& arena, bool binary, bool one_byte_codes);

  bool binary() const { return binary_; }
  bool one_byte_codes() const { return one_byte_codes_; }
  // Where the next group starts.
  size_t offset() const { return pos_; }
  // Next group; false at the end of the data or on a fault (see failed()).
  bool Next(RawGroup& out);
  bool failed() const { return !error_.empty(); }
  const std::string& error() const { return error_; }
  // Where the last group started: "line N" or "byte offset N".
  std::string Position() const;

 private:
  bool NextAscii(RawGroup& out);
  bool NextBinary(RawGroup& out);
  bool Fail(std::string message);

  const char* data_;
  size_t size_;
  size_t pos_ = 0;
  TextArena& arena_;
  bool binary_ = false;
  bool one_byte_codes_ = false;
  size_t line_ = 0;        // lines consumed so far (ASCII)
  size_t group_line_ = 0;  // line of the last code (ASCII)
  size_t group_offset_ = 0;
  size_t next_report_ = kReadProgressStep;  // where progress is reported next
  std::string error_;
};

}  // namespace vantrove::engine::dxf
