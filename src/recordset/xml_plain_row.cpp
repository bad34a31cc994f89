#include "xml_plain_row.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "vantrove/engine/utf8.hpp"

namespace vantrove::recordset_detail {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool NameChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
         c == '.' || c == ':';
}

// <name> or <name/> with optional blanks before the end; no attributes.
PlainRow::Result StartTag(const char*& p, const char* limit, std::string_view& name, bool* empty = nullptr) {
  if (limit - p < 2) return PlainRow::Result::NeedMore;
  if (*p != '<') return PlainRow::Result::No;
  const char* n = ++p;
  if (!((*p >= 'a' && *p <= 'z') || (*p >= 'A' && *p <= 'Z') || *p == '_')) return PlainRow::Result::No;
  while (p < limit && NameChar(*p)) ++p;
  name = std::string_view(n, static_cast<size_t>(p - n));
  while (p < limit && IsBlank(*p)) ++p;
  if (p < limit && *p == '/' && empty != nullptr) {
    ++p;
    *empty = true;
  }
  if (p >= limit) return PlainRow::Result::NeedMore;
  if (*p != '>') return PlainRow::Result::No;
  ++p;
  return PlainRow::Result::Ok;
}

PlainRow::Result EndTag(const char*& p, const char* limit, std::string_view name) {
  const size_t have = static_cast<size_t>(limit - p);
  const size_t want = name.size() + 2;
  const size_t check = std::min(have, want);
  if (check >= 1 && p[0] != '<') return PlainRow::Result::No;
  if (check >= 2 && p[1] != '/') return PlainRow::Result::No;
  if (check > 2 && std::memcmp(p + 2, name.data(), check - 2) != 0) return PlainRow::Result::No;
  if (have < want) return PlainRow::Result::NeedMore;
  p += want;
  while (p < limit && IsBlank(*p)) ++p;
  if (p >= limit) return PlainRow::Result::NeedMore;
  if (*p != '>') return PlainRow::Result::No;
  ++p;
  return PlainRow::Result::Ok;
}

}  // namespace

PlainRow::Result PlainRow::Parse(const char* p, const char* limit, bool latin1, const char*& rowEnd) {
  leaves_.clear();
  decoded_.clear();
  pending_.clear();
  Result r = StartTag(p, limit, row_);
  if (r != Result::Ok) return r;
  for (;;) {
    while (p < limit && IsBlank(*p)) ++p;
    if (limit - p < 2) return Result::NeedMore;
    if (*p != '<') return Result::No;
    if (p[1] == '/') break;
    std::string_view name;
    bool empty = false;
    r = StartTag(p, limit, name, &empty);
    if (r != Result::Ok) return r;
    Pending leaf{name, 0, 0, nullptr};
    if (!empty) {
      const char* text = p;
      const void* lt = std::memchr(p, '<', static_cast<size_t>(limit - p));
      if (lt == nullptr) return Result::NeedMore;
      p = static_cast<const char*>(lt);
      if (!Text(text, p, latin1, leaf)) return Result::No;
      r = EndTag(p, limit, name);
      if (r != Result::Ok) return r;
    }
    pending_.push_back(leaf);
  }
  r = EndTag(p, limit, row_);
  if (r != Result::Ok) return r;
  if (pending_.empty()) return Result::No;
  for (const Pending& l : pending_) {
    leaves_.push_back(Leaf{l.name, l.direct ? std::string_view(l.direct, l.length)
                                            : std::string_view(decoded_.data() + l.offset, l.length)});
  }
  rowEnd = p;
  return Result::Ok;
}

// Leaf text: entities and references resolved, Latin-1 turned to UTF-8.
// Line ends and unknown entities are left to pugixml.
bool PlainRow::Text(const char* p, const char* end, bool latin1, Pending& leaf) {
  bool plain = true;
  for (const char* q = p; q < end; ++q) {
    const auto c = static_cast<unsigned char>(*q);
    if (c == '\r') return false;
    if (c == '&' || (latin1 && c >= 0x80)) plain = false;
  }
  if (plain) {
    leaf.direct = p;
    leaf.length = static_cast<size_t>(end - p);
    return true;
  }
  leaf.offset = decoded_.size();
  for (const char* q = p; q < end; ++q) {
    const auto c = static_cast<unsigned char>(*q);
    if (c != '&') {
      if (latin1 && c >= 0x80) {
        engine::AppendUtf8(decoded_, c);
      } else {
        decoded_.push_back(static_cast<char>(c));
      }
      continue;
    }
    const char* semi = static_cast<const char*>(std::memchr(q, ';', static_cast<size_t>(std::min<std::ptrdiff_t>(end - q, 12))));
    if (semi == nullptr) return false;
    const std::string_view ref(q + 1, static_cast<size_t>(semi - q - 1));
    if (ref == "amp") decoded_.push_back('&');
    else if (ref == "lt") decoded_.push_back('<');
    else if (ref == "gt") decoded_.push_back('>');
    else if (ref == "quot") decoded_.push_back('"');
    else if (ref == "apos") decoded_.push_back('\'');
    else if (ref.size() >= 2 && ref[0] == '#') {
      const bool hex = ref[1] == 'x';
      uint32_t cp = 0;
      size_t i = hex ? 2 : 1;
      if (i >= ref.size()) return false;
      for (; i < ref.size(); ++i) {
        const char d = ref[i];
        uint32_t v;
        if (d >= '0' && d <= '9') v = static_cast<uint32_t>(d - '0');
        else if (hex && d >= 'a' && d <= 'f') v = static_cast<uint32_t>(d - 'a' + 10);
        else if (hex && d >= 'A' && d <= 'F') v = static_cast<uint32_t>(d - 'A' + 10);
        else return false;
        cp = cp * (hex ? 16 : 10) + v;
        if (cp > 0x10FFFF) return false;
      }
      if (cp == 0 || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
      engine::AppendUtf8(decoded_, cp);
    } else {
      return false;
    }
    q = semi;
  }
  leaf.length = decoded_.size() - leaf.offset;
  return true;
}


}  // namespace vantrove::recordset_detail
