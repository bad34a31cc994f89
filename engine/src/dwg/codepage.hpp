#pragma once
// Drawing code pages: the number stored in a DWG file header, its DXF name
// ($DWGCODEPAGE, e.g. "ANSI_1252") and conversion of 8-bit text to UTF-8.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vantrove::engine::dwg {

// "ANSI_1252" for 30, "" for numbers we don't know.
std::string_view CodePageName(uint16_t number);

// Converts 8-bit text of drawings before 2007 to UTF-8, exactly as the DXF
// reader converts the same text: the drawing's code page, then the
// \U+XXXX and \M+nXXXX escapes that stand for characters outside it.
class TextDecoder {
 public:
  explicit TextDecoder(uint16_t codePage);
  ~TextDecoder();
  TextDecoder(const TextDecoder&) = delete;
  TextDecoder& operator=(const TextDecoder&) = delete;

  std::string ToUtf8(std::string_view bytes);
  uint16_t codePage() const { return codePage_; }

 private:
  struct Impl;
  uint16_t codePage_;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vantrove::engine::dwg
