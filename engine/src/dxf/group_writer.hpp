#pragma once
// Puts DXF groups into an output buffer: ASCII (code line, value line,
// CR LF) or binary (the sentinel, then typed values). String values of
// drawings before 2007 are encoded in the drawing's code page, with \U+XXXX
// for characters it cannot hold; later drawings are UTF-8. Reals are
// written in their shortest exact form, or rounded to a number of decimals.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "vantrove/engine/groups.hpp"

struct UConverter;

namespace vantrove::engine::dxf {

// UTF-8 to a legacy code page; what the page cannot hold becomes \U+XXXX.
class TextEncoder {
 public:
  TextEncoder() = default;
  ~TextEncoder();
  TextEncoder(const TextEncoder&) = delete;
  TextEncoder& operator=(const TextEncoder&) = delete;

  // A $DWGCODEPAGE name; unknown names fall back to Windows-1252.
  void SetCodepage(std::string_view dwg_name);
  // Appends the encoded form of `utf8` to `out`. In a symbol name (R12
  // allows no escapes there) a character the page cannot hold becomes '_'.
  void Encode(std::string_view utf8, std::string& out, bool name = false);
  // True when the page holds every character of `utf8`.
  bool Holds(std::string_view utf8);

 private:
  struct Encoded {
    std::string bytes;
    bool held = false;
  };
  const Encoded& EncodeOne(uint32_t code_point);

  UConverter* converter_ = nullptr;
  std::unordered_map<uint32_t, Encoded> cache_;
};

// Receives the written bytes in large pieces.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual bool Write(std::string_view bytes) = 0;
};

struct GroupFormat {
  bool binary = false;
  bool one_byte_codes = false;  // binary files of R12 and before
  int precision = 0;            // 0: shortest exact form; 1..16 decimals
  bool legacy_text = false;     // encode strings with `encoder`
};

class GroupWriter {
 public:
  GroupWriter(ByteSink& sink, const GroupFormat& format, TextEncoder* encoder);
  ~GroupWriter();
  GroupWriter(const GroupWriter&) = delete;
  GroupWriter& operator=(const GroupWriter&) = delete;

  void Begin();  // the binary sentinel
  // One group; the value is text as the model keeps it (UTF-8, numbers as text).
  void Put(int32_t code, std::string_view value);
  // A symbol name (layer, line type, style, block) in an R12 file.
  void PutName(int32_t code, std::string_view value);
  void PutInt(int32_t code, int64_t value);
  void PutReal(int32_t code, double value);
  void PutHandle(int32_t code, uint64_t handle);
  // Flushes what is buffered; false when the sink refused bytes.
  bool Flush();
  bool failed() const { return failed_; }
  uint64_t bytes_written() const { return written_ + buffer_.size(); }

 private:
  void PutCode(int32_t code);
  void PutAsciiString(std::string_view value, bool name);
  void PutBinaryValue(int32_t code, std::string_view value, bool name);
  void Raw(std::string_view bytes) {
    buffer_.append(bytes);
    if (buffer_.size() >= kFlushAt) Flush();
  }

  static constexpr size_t kFlushAt = size_t{1} << 20;
  ByteSink& sink_;
  GroupFormat format_;
  TextEncoder* encoder_;
  std::string buffer_;
  std::string scratch_;
  uint64_t written_ = 0;
  bool failed_ = false;
};

// Shortest exact text of a real ("1.0", "0.125", "1.5E-07"), or rounded to
// `precision` decimals (1..16) with trailing zeros dropped.
std::string_view FormatReal(double value, int precision, char (&buffer)[400]);

}  // namespace vantrove::engine::dxf
