#include "line_io.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "vantrove/extract.hpp"
#include "vantrove/engine/utf8.hpp"

namespace vantrove::extract::detail {

namespace {
constexpr size_t kBlock = size_t{1} << 20;

}  // namespace

// ---- LineReader ------------------------------------------------------------------------

LineReader::~LineReader() {
  if (file_) std::fclose(file_);
}

bool LineReader::Open(const std::string& path) {
  if (file_) std::fclose(file_);
  file_ = std::fopen(path.c_str(), "rb");
  begin_ = end_ = 0;
  eof_ = failed_ = skipLf_ = false;
  if (file_ == nullptr) {
    failed_ = true;
    return false;
  }
  struct stat st {};
  if (::fstat(::fileno(file_), &st) == 0 && S_ISDIR(st.st_mode)) {
    std::fclose(file_);
    file_ = nullptr;
    failed_ = true;
    return false;
  }
  buf_.resize(kBlock);
  return true;
}

bool LineReader::Fill() {
  if (eof_ || file_ == nullptr) return false;
  if (begin_ > 0) {
    std::memmove(buf_.data(), buf_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == buf_.size()) buf_.resize(buf_.size() * 2);  // a line longer than the buffer
  const size_t got = std::fread(buf_.data() + end_, 1, buf_.size() - end_, file_);
  end_ += got;
  if (got == 0) {
    eof_ = true;
    if (std::ferror(file_)) failed_ = true;
    return false;
  }
  return true;
}

bool LineReader::Next(std::string_view& line) {
  if (file_ == nullptr) return false;
  size_t scanned = 0;  // bytes after begin_ known to hold no line end
  for (;;) {
    if (skipLf_ && begin_ < end_) {
      if (buf_[begin_] == '\n') ++begin_;
      skipLf_ = false;
    }
    const char* b = buf_.data() + begin_;
    const size_t n = end_ - begin_;
    if (!skipLf_ && n > scanned) {
      const char* from = b + scanned;
      const size_t rest = n - scanned;
      const char* lf = static_cast<const char*>(std::memchr(from, '\n', rest));
      const size_t span = lf ? static_cast<size_t>(lf - from) : rest;
      const char* cr = static_cast<const char*>(std::memchr(from, '\r', span));
      if (cr) {
        const size_t len = static_cast<size_t>(cr - b);
        line = std::string_view(b, len);
        begin_ += len + 1;
        if (begin_ < end_) {
          if (buf_[begin_] == '\n') ++begin_;
        } else {
          skipLf_ = true;
        }
        return true;
      }
      if (lf) {
        const size_t len = static_cast<size_t>(lf - b);
        line = std::string_view(b, len);
        begin_ += len + 1;
        return true;
      }
      scanned = n;
    }
    if (!Fill()) {
      if (end_ > begin_) {
        line = std::string_view(buf_.data() + begin_, end_ - begin_);
        begin_ = end_;
        return true;
      }
      return false;
    }
  }
}

bool NormalisedLines::Next(std::string_view& line) {
  if (next_ < pending_.size()) {
    line = pending_[next_++];
    return true;
  }
  std::string_view raw;
  if (!reader_.Next(raw)) return false;
  // Most lines hold no blank at all, and so nothing the normaliser changes.
  if (std::memchr(raw.data(), ' ', raw.size()) == nullptr ||
      (raw.find(" />") == std::string_view::npos && FindAsciiNoCase(raw, " name=") == std::string_view::npos)) {
    line = raw;
    return true;
  }
  pending_.clear();
  next_ = 0;
  FixLine(raw, pending_);
  line = pending_[next_++];
  return true;
}

// ---- LineWriter -------------------------------------------------------------------------

LineWriter::~LineWriter() { Abandon(); }

bool LineWriter::Open(const std::string& target) {
  Abandon();
  failed_ = !file_.Open(target).ok();
  open_ = !failed_;
  if (open_) buffer_.reserve(kBlock + 4096);
  return open_;
}

void LineWriter::Flush() {
  if (!open_ || buffer_.empty()) return;
  if (!file_.Write(buffer_)) failed_ = true;
  buffer_.clear();
}

void LineWriter::Write(std::string_view text) {
  if (!open_) {
    failed_ = true;
    return;
  }
  buffer_.append(text);
  if (buffer_.size() >= kBlock) Flush();
}

bool LineWriter::Commit() {
  if (!open_) return false;
  Flush();
  open_ = false;
  if (failed_ || !file_.Commit().ok()) {
    failed_ = true;
    Abandon();
    return false;
  }
  return true;
}

void LineWriter::Abandon() {
  file_.Discard();
  open_ = false;
  buffer_.clear();
}

// ---- Helpers -------------------------------------------------------------------------------

std::string_view TrimBlanks(std::string_view s) {
  size_t a = 0, b = s.size();
  while (a < b && s[a] == ' ') ++a;
  while (b > a && s[b - 1] == ' ') --b;
  return s.substr(a, b - a);
}

std::string ReplaceNoCase(std::string_view text, std::string_view find, std::string_view with) {
  std::string out;
  size_t at = 0;
  for (;;) {
    const size_t hit = FindAsciiNoCase(text, find, at);
    if (hit == std::string_view::npos) break;
    out.append(text.substr(at, hit - at));
    out.append(with);
    at = hit + find.size();
  }
  out.append(text.substr(at));
  return out;
}

bool FileExistsPlain(const std::string& path) {
  struct stat st {};
  return !path.empty() && ::stat(path.c_str(), &st) == 0;
}

bool DeclaresSingleByte(std::string_view firstLine) {
  const size_t at = FindAsciiNoCase(firstLine, "encoding");
  if (at == std::string_view::npos) return false;
  const size_t q = firstLine.find_first_of("\"'", at);
  if (q == std::string_view::npos) return false;
  const size_t close = firstLine.find(firstLine[q], q + 1);
  if (close == std::string_view::npos) return false;
  const std::string_view name = firstLine.substr(q + 1, close - q - 1);
  return !(FindAsciiNoCase(name, "utf-8") == 0 || FindAsciiNoCase(name, "utf8") == 0 || FindAsciiNoCase(name, "utf-16") == 0 ||
           name.empty());
}

}  // namespace vantrove::extract::detail

namespace vantrove::extract {

using detail::FindAsciiNoCase;

TempFile::~TempFile() {
  if (!path_.empty()) ::unlink(path_.c_str());
}

// ---- The normaliser ----------------------------------------------------------------------

void FixLine(std::string_view line, std::vector<std::string>& out) {
  const size_t selfClosing = line.find(" />");
  if (selfClosing != std::string_view::npos) {
    std::string tag;
    for (char c : line.substr(0, selfClosing)) {
      if (c != '<') tag.push_back(c);
    }
    out.push_back("<" + tag + "></" + tag + ">");
    return;
  }
  const size_t named = FindAsciiNoCase(line, " name=");
  if (named != std::string_view::npos) {
    std::string value;
    for (char c : line.substr(named + 6)) {
      if (c != '"' && c != '\'' && c != '>') value.push_back(c);
    }
    out.push_back(std::string(line.substr(0, named)) + ">");
    out.push_back("<Name>" + value + "</Name>");
    return;
  }
  out.emplace_back(line);
}

bool FixXmlFile(const std::string& path) {
  detail::LineReader in;
  if (!in.Open(path)) return false;
  detail::LineWriter out;
  if (!out.Open(path)) return false;
  std::vector<std::string> lines;
  std::string_view raw;
  while (in.Next(raw)) {
    lines.clear();
    FixLine(raw, lines);
    for (const std::string& l : lines) out.Line(l);
  }
  // The rewritten text is printed with a line break of its own, so the file
  // ends with one empty line more.
  out.Write("\r\n");
  if (in.failed()) return false;
  return out.Commit();
}

// ---- Text decoding ------------------------------------------------------------------------------

namespace {


bool Entity(std::string_view name, uint32_t& cp) {
  if (name == "amp") cp = '&';
  else if (name == "lt") cp = '<';
  else if (name == "gt") cp = '>';
  else if (name == "quot") cp = '"';
  else if (name == "apos") cp = '\'';
  else if (name.size() > 1 && name[0] == '#') {
    uint32_t v = 0;
    const bool hex = name[1] == 'x' || name[1] == 'X';
    const size_t start = hex ? 2 : 1;
    if (start >= name.size()) return false;
    for (size_t i = start; i < name.size(); ++i) {
      const char c = name[i];
      uint32_t d;
      if (c >= '0' && c <= '9') d = static_cast<uint32_t>(c - '0');
      else if (hex && c >= 'a' && c <= 'f') d = static_cast<uint32_t>(c - 'a' + 10);
      else if (hex && c >= 'A' && c <= 'F') d = static_cast<uint32_t>(c - 'A' + 10);
      else return false;
      v = v * (hex ? 16 : 10) + d;
      if (v > 0x10FFFF) return false;
    }
    if (v == 0 || (v >= 0xD800 && v <= 0xDFFF)) return false;
    cp = v;
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::string DecodeXmlText(std::string_view text, bool latin1) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '&') {
      const size_t semi = text.find(';', i + 1);
      uint32_t cp = 0;
      if (semi != std::string_view::npos && semi - i <= 10 && Entity(text.substr(i + 1, semi - i - 1), cp)) {
        engine::AppendUtf8(out, cp);
        i = semi;
        continue;
      }
    }
    const auto u = static_cast<unsigned char>(c);
    if (latin1 && u >= 0x80) {
      engine::AppendUtf8(out, u);
    } else {
      out.push_back(c);
    }
  }
  return out;
}

}  // namespace vantrove::extract
