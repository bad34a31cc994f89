#include "dwg/extended_data.hpp"

#include <cstring>
#include <string>

#include "dwg/object_writer.hpp"

namespace vantrove::engine::dwg {

namespace {

int Nibble(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return 0;
}

// One item's bytes; false for a code extended data does not hold.
bool AppendItem(const Group& g, std::string& out) {
  const int32_t code = g.code;
  if (code < 1000 || code > 1071 || code == 1001) return false;
  out.push_back(static_cast<char>(code - 1000));
  switch (code) {
    case 1000: {
      std::string text = EscapedText(g.value());
      if (text.size() > 255) text.resize(255);
      out.push_back(static_cast<char>(text.size()));
      AppendLe(out, 30, 2);  // ANSI_1252, the code page the file is written in
      out += text;
      return true;
    }
    case 1002: out.push_back(g.value().find('}') != std::string_view::npos ? 1 : 0); return true;
    case 1003:
    case 1005: {
      uint64_t h = 0;
      for (char c : g.value()) h = (h << 4) | static_cast<uint64_t>(Nibble(c));
      AppendLe(out, h, 8);
      return true;
    }
    case 1004: {
      std::string bytes;
      const std::string_view hex = g.value();
      for (size_t i = 0; i + 1 < hex.size() && bytes.size() < 255; i += 2) {
        bytes.push_back(static_cast<char>(Nibble(hex[i]) << 4 | Nibble(hex[i + 1])));
      }
      out.push_back(static_cast<char>(bytes.size()));
      out += bytes;
      return true;
    }
    case 1070: AppendLe(out, static_cast<uint16_t>(g.AsInt()), 2); return true;
    case 1071: AppendLe(out, static_cast<uint32_t>(g.AsInt()), 4); return true;
    default: break;
  }
  if (code >= 1010 && code <= 1013) {
    AppendReal(out, g.AsDouble());
    return true;  // the y and z groups follow as their own doubles
  }
  if (code >= 1040 && code <= 1042) {
    AppendReal(out, g.AsDouble());
    return true;
  }
  out.pop_back();
  return false;
}

}  // namespace

size_t EncodeExtendedData(GroupSpan groups, const std::function<uint64_t(std::string_view)>& appid, BitWriter& out) {
  size_t blocks = 0;
  size_t i = 0;
  while (i < groups.size() && groups[i].code != 1001) ++i;
  while (i < groups.size()) {
    const uint64_t app = appid(groups[i].value());
    std::string data;
    for (++i; i < groups.size() && groups[i].code != 1001; ++i) {
      const int32_t code = groups[i].code;
      // A point's y and z come as groups of their own after its x.
      if ((code >= 1020 && code <= 1023) || (code >= 1030 && code <= 1033)) {
        AppendReal(data, groups[i].AsDouble());
        continue;
      }
      AppendItem(groups[i], data);
    }
    if (app == 0 || data.empty() || data.size() > 0x7FFF) continue;
    out.BS(static_cast<uint16_t>(data.size()));
    out.H(5, app);
    out.Bytes(data);
    ++blocks;
  }
  return blocks;
}

}  // namespace vantrove::engine::dwg
