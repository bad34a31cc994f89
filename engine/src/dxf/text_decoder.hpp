#pragma once
// Turns DXF string values into UTF-8: legacy code pages through ICU, the
// \U+XXXX and \M+nXXXX escapes of drawings before 2007, and a fallback for
// bytes that are not what the file claims.

#include <string>
#include <string_view>

#include "vantrove/engine/groups.hpp"

struct UConverter;

namespace vantrove::engine::dxf {

class TextDecoder {
 public:
  TextDecoder();
  ~TextDecoder();
  TextDecoder(const TextDecoder&) = delete;
  TextDecoder& operator=(const TextDecoder&) = delete;

  // Files from 2007 on are UTF-8 and keep their escapes as written.
  void SetUtf8(bool utf8) { utf8_ = utf8; }
  // A $DWGCODEPAGE name ("ANSI_1252", "dos932", ...). Unknown names fall
  // back to Windows-1252. Returns false when the name was not recognised.
  bool SetCodepage(std::string_view dwg_name);

  // The value as UTF-8: `raw` itself when nothing changes, otherwise text
  // stored in `arena`.
  std::string_view Decode(std::string_view raw, TextArena& arena);

 private:
  std::string_view Convert(UConverter* converter, std::string_view raw, std::string& out);
  void ExpandEscapes(std::string_view in, std::string& out);
  UConverter* Fallback();
  UConverter* MultiByte(int index);

  bool utf8_ = false;
  bool explicit_codepage_ = false;
  UConverter* main_ = nullptr;
  UConverter* fallback_ = nullptr;
  UConverter* multibyte_[6] = {};
  std::string converted_;
  std::string expanded_;
};

// ICU converter name for a $DWGCODEPAGE value, "" when unknown.
std::string IcuCodepageName(std::string_view dwg_name);

bool IsValidUtf8(std::string_view text);

}  // namespace vantrove::engine::dxf
