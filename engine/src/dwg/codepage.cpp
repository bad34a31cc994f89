#include "dwg/codepage.hpp"

#include <array>

#include "dxf/text_decoder.hpp"
#include "vantrove/engine/groups.hpp"

namespace vantrove::engine::dwg {

namespace {

struct CodePageInfo {
  const char* dxfName;
};

constexpr std::array<CodePageInfo, 45> kCodePages = {{
    {""},              // 0: not set
    {"ASCII"},         // 1
    {"ISO8859-1"},     // 2
    {"ISO8859-2"},     // 3
    {"ISO8859-3"},     // 4
    {"ISO8859-4"},     // 5
    {"ISO8859-5"},     // 6
    {"ISO8859-6"},     // 7
    {"ISO8859-7"},     // 8
    {"ISO8859-8"},     // 9
    {"ISO8859-9"},     // 10
    {"DOS437"},        // 11
    {"DOS850"},        // 12
    {"DOS852"},        // 13
    {"DOS855"},        // 14
    {"DOS857"},        // 15
    {"DOS860"},        // 16
    {"DOS861"},        // 17
    {"DOS863"},        // 18
    {"DOS864"},        // 19
    {"DOS865"},        // 20
    {"DOS869"},        // 21
    {"DOS932"},        // 22
    {"MACINTOSH"},     // 23
    {"BIG5"},          // 24
    {"KSC5601"},       // 25
    {"JOHAB"},         // 26
    {"DOS866"},        // 27
    {"ANSI_1250"},     // 28
    {"ANSI_1251"},     // 29
    {"ANSI_1252"},     // 30
    {"GB2312"},        // 31
    {"ANSI_1253"},     // 32
    {"ANSI_1254"},     // 33
    {"ANSI_1255"},     // 34
    {"ANSI_1256"},     // 35
    {"ANSI_1257"},     // 36
    {"ANSI_874"},      // 37
    {"ANSI_932"},      // 38
    {"ANSI_936"},      // 39
    {"ANSI_949"},      // 40
    {"ANSI_950"},      // 41
    {"ANSI_1361"},     // 42
    {"ANSI_1200"},     // 43
    {"ANSI_1258"},     // 44
}};

}  // namespace

std::string_view CodePageName(uint16_t number) {
  if (number < kCodePages.size()) return kCodePages[number].dxfName;
  return {};
}

struct TextDecoder::Impl {
  dxf::TextDecoder decoder;
  TextArena arena;
};

TextDecoder::TextDecoder(uint16_t codePage) : codePage_(codePage), impl_(std::make_unique<Impl>()) {
  std::string_view name = CodePageName(codePage);
  impl_->decoder.SetCodepage(name.empty() ? std::string_view("ANSI_1252") : name);
}

TextDecoder::~TextDecoder() = default;

std::string TextDecoder::ToUtf8(std::string_view bytes) {
  bool plain = true;
  for (unsigned char c : bytes) {
    if (c >= 0x80 || c == '\\') {
      plain = false;
      break;
    }
  }
  if (plain) return std::string(bytes);
  return std::string(impl_->decoder.Decode(bytes, impl_->arena));
}

}  // namespace vantrove::engine::dwg
