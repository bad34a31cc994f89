#pragma once
// Drawing code pages: the number stored in a DWG file header, its DXF name
// ($DWGCODEPAGE, e.g. "ANSI_1252") and conversion of 8-bit text to UTF-8.

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrove::engine::dwg {

// "ANSI_1252" for 30, "" for numbers we don't know.
std::string_view CodePageName(uint16_t number);

// Converts 8-bit text in one code page to UTF-8. Bytes that the code page
// cannot map become U+FFFD; ASCII-only text is passed through unchanged.
class TextDecoder {
 public:
  explicit TextDecoder(uint16_t codePage);
  ~TextDecoder();
  TextDecoder(const TextDecoder&) = delete;
  TextDecoder& operator=(const TextDecoder&) = delete;

  std::string ToUtf8(std::string_view bytes);
  uint16_t codePage() const { return codePage_; }

 private:
  uint16_t codePage_;
  void* handle_ = nullptr;  // iconv_t, or null when falling back to Latin-1
};

}  // namespace vantrove::engine::dwg
