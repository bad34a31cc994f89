#include "dwg/codepage.hpp"

#include <iconv.h>

#include <array>
#include <cerrno>

namespace vantrove::engine::dwg {

namespace {

struct CodePageInfo {
  const char* dxfName;
  const char* iconvName;
};

// Indexed by the code page number stored in the file header.
constexpr std::array<CodePageInfo, 45> kCodePages = {{
    {"", "CP1252"},                  // 0: not set
    {"ASCII", "US-ASCII"},           // 1
    {"ISO8859-1", "ISO-8859-1"},     // 2
    {"ISO8859-2", "ISO-8859-2"},     // 3
    {"ISO8859-3", "ISO-8859-3"},     // 4
    {"ISO8859-4", "ISO-8859-4"},     // 5
    {"ISO8859-5", "ISO-8859-5"},     // 6
    {"ISO8859-6", "ISO-8859-6"},     // 7
    {"ISO8859-7", "ISO-8859-7"},     // 8
    {"ISO8859-8", "ISO-8859-8"},     // 9
    {"ISO8859-9", "ISO-8859-9"},     // 10
    {"DOS437", "CP437"},             // 11
    {"DOS850", "CP850"},             // 12
    {"DOS852", "CP852"},             // 13
    {"DOS855", "CP855"},             // 14
    {"DOS857", "CP857"},             // 15
    {"DOS860", "CP860"},             // 16
    {"DOS861", "CP861"},             // 17
    {"DOS863", "CP863"},             // 18
    {"DOS864", "CP864"},             // 19
    {"DOS865", "CP865"},             // 20
    {"DOS869", "CP869"},             // 21
    {"DOS932", "CP932"},             // 22
    {"MACINTOSH", "MACINTOSH"},      // 23
    {"BIG5", "BIG5"},                // 24
    {"KSC5601", "CP949"},            // 25
    {"JOHAB", "JOHAB"},              // 26
    {"DOS866", "CP866"},             // 27
    {"ANSI_1250", "CP1250"},         // 28
    {"ANSI_1251", "CP1251"},         // 29
    {"ANSI_1252", "CP1252"},         // 30
    {"GB2312", "GBK"},               // 31
    {"ANSI_1253", "CP1253"},         // 32
    {"ANSI_1254", "CP1254"},         // 33
    {"ANSI_1255", "CP1255"},         // 34
    {"ANSI_1256", "CP1256"},         // 35
    {"ANSI_1257", "CP1257"},         // 36
    {"ANSI_874", "CP874"},           // 37
    {"ANSI_932", "CP932"},           // 38
    {"ANSI_936", "GBK"},             // 39
    {"ANSI_949", "CP949"},           // 40
    {"ANSI_950", "BIG5"},            // 41
    {"ANSI_1361", "JOHAB"},          // 42
    {"ANSI_1200", "UTF-16LE"},       // 43
    {"ANSI_1258", "CP1258"},         // 44
}};

void AppendLatin1(std::string& out, unsigned char c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

}  // namespace

std::string_view CodePageName(uint16_t number) {
  if (number < kCodePages.size()) return kCodePages[number].dxfName;
  return {};
}

TextDecoder::TextDecoder(uint16_t codePage) : codePage_(codePage) {
  const char* name = codePage < kCodePages.size() ? kCodePages[codePage].iconvName : "CP1252";
  iconv_t cd = iconv_open("UTF-8", name);
  if (cd != reinterpret_cast<iconv_t>(-1)) handle_ = cd;
}

TextDecoder::~TextDecoder() {
  if (handle_ != nullptr) iconv_close(static_cast<iconv_t>(handle_));
}

std::string TextDecoder::ToUtf8(std::string_view bytes) {
  bool ascii = true;
  for (unsigned char c : bytes) {
    if (c >= 0x80) {
      ascii = false;
      break;
    }
  }
  if (ascii) return std::string(bytes);
  std::string out;
  if (handle_ == nullptr) {
    for (unsigned char c : bytes) AppendLatin1(out, c);
    return out;
  }
  iconv_t cd = static_cast<iconv_t>(handle_);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  std::string buf(bytes.size() * 4 + 16, '\0');
  char* in = const_cast<char*>(bytes.data());
  size_t inLeft = bytes.size();
  while (inLeft > 0) {
    char* outPtr = buf.data();
    size_t outLeft = buf.size();
    size_t r = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
    out.append(buf.data(), static_cast<size_t>(outPtr - buf.data()));
    if (r != static_cast<size_t>(-1)) break;
    if (errno == E2BIG) continue;
    // Invalid or incomplete sequence: replace one byte and go on.
    out.append("\xEF\xBF\xBD");
    ++in;
    --inLeft;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
  }
  return out;
}

}  // namespace vantrove::engine::dwg
