// Arrays to delimited text: as a string, on the clipboard, in a text file.
#include <algorithm>
#include <climits>
#include <cstring>
#include <limits>
#include <memory>

#include "../component/boundary.hpp"
#include "cells.hpp"
#include "vantrove/component.hpp"

namespace vantrove {

namespace {

constexpr std::string_view kQuote = "\"";
constexpr std::string_view kCrLf = "\r\n";

// A separator that is empty once spaces are trimmed takes its default; true
// when it was replaced.
bool DefaultWhenBlank(std::string& separator, std::string_view fallback) {
  if (!Trim(separator).empty()) return false;
  separator = std::string(fallback);
  return true;
}

// Rows from the lower to the upper bound of dimension 1; in each row the
// columns of dimension 2, each cell followed by the delimiter, or by the
// end-of-row text after the last column.
constexpr size_t kLongPiece = 15000;  // bytes; a piece this long may be cut by the builder

// TwoDText straight into one string, for the usual case where the builder
// would cut nothing: every piece shorter than its growth step and the whole
// text within its length limit. False (with `out` unspecified) otherwise.
bool TwoDTextDirect(const SafeArray& a, std::string_view delimiter, std::string_view endOfRow, bool quotes,
                    std::string& out) {
  if (a.dims() != 2 || delimiter.size() > kLongPiece || endOfRow.size() > kLongPiece) return false;
  const int64_t r0 = a.LBound(1), r1 = a.UBound(1), c0 = a.LBound(2), c1 = a.UBound(2);
  for (int64_t r = r0; r <= r1; ++r) {
    if (r == r0 + 64 && r < r1) {
      // Room for the whole text at the pace of the first rows, so that it
      // is not copied while it grows.
      const double perRow = static_cast<double>(out.size()) / 64.0;
      out.reserve(static_cast<size_t>(perRow * static_cast<double>(r1 - r0 + 1) * 1.05) + 64);
    }
    const Variant* cell = &detail::Cell(a, r, c0);
    for (int64_t c = c0; c <= c1; ++c, ++cell) {
      if (quotes) out += kQuote;
      const size_t before = out.size();
      detail::AppendCellText(out, *cell);
      if (out.size() - before > kLongPiece) return false;
      if (quotes) out += kQuote;
      out += c == c1 ? endOfRow : delimiter;
    }
    if (out.size() > static_cast<size_t>(INT32_MAX)) return false;
  }
  return true;
}

std::string TwoDText(const SafeArray& a, std::string_view delimiter, std::string_view endOfRow, bool quotes) {
  if (std::string direct; TwoDTextDirect(a, delimiter, endOfRow, quotes, direct)) return direct;
  clsConcat out;
  const int64_t r1 = a.UBound(1);
  for (int64_t r = a.LBound(1); r <= r1; ++r) {
    const int64_t c1 = a.UBound(2);
    for (int64_t c = a.LBound(2); c <= c1; ++c) {
      if (quotes) out.SConcat(kQuote);
      detail::AppendText(out, detail::Cell(a, r, c));
      if (quotes) out.SConcat(kQuote);
      out.SConcat(c == c1 ? endOfRow : delimiter);
    }
  }
  return out.GetString();
}

// Elements from the lower to the upper bound, each followed by the end-of-row
// text, the last one by the end-of-array text.
std::string OneDText(const SafeArray& a, std::string_view endOfRow, std::string_view endOfArray, bool quotes) {
  clsConcat out;
  const int64_t hi = a.UBound(1);
  for (int64_t i = a.LBound(1); i <= hi; ++i) {
    if (quotes) out.SConcat(kQuote);
    detail::AppendText(out, detail::Item(a, i));
    if (quotes) out.SConcat(kQuote);
    out.SConcat(i == hi ? endOfArray : endOfRow);
  }
  return out.GetString();
}

// Hands the text to the desktop clipboard; failures are quiet unless the
// host asked for diagnostics.
int16_t ToClipboard(const std::string& text) {
  std::string why;
  if (SetClipboardText(text, &why)) return 1;
  if (DiagnosticsWanted()) CurrentMessageSink().Show("Clipboard", why, kExclamationStyle);
  return 0;
}

// One line per row assembled by the string builder: the cells joined by the
// delimiter. The builder's rules matter only for pieces over 15000
// characters (see clsConcat); rows with such pieces are built by it.
void AppendRowByBuilder(std::string& out, const SafeArray& a, int64_t r, std::string_view delimiter, bool quotes) {
  clsConcat line;
  const int64_t c1 = a.UBound(2);
  for (int64_t c = a.LBound(2); c < c1; ++c) {
    if (quotes) line.SConcat(kQuote);
    detail::AppendText(line, detail::Cell(a, r, c));
    if (quotes) line.SConcat(kQuote);
    line.SConcat(delimiter);
  }
  if (quotes) line.SConcat(kQuote);
  detail::AppendText(line, detail::Cell(a, r, c1));
  if (quotes) line.SConcat(kQuote);
  out += line.GetString();
}

// A finite, non-zero Double as CStr writes it: 15 significant digits in
// "%G" style (trailing zeros dropped, an exponent below 1E-4 and from 1E+15).
// The shortest digits that read back as the same Double are the 15-digit
// rounding whenever there are at most 15 of them, and they are much cheaper
// to find; longer ones are rounded by the general formatter.
constexpr size_t kChunk = size_t{1} << 20;  // text handed to the file at a time

// Text for a file, gathered in one fixed block and handed to the file once
// the block holds kChunk bytes or a piece does not fit.
class FileText {
 public:
  explicit FileText(OutputFile& file) : file_(file), block_(std::make_unique_for_overwrite<char[]>(kBlock)) {}

  void Append(std::string_view s) {
    if (s.size() > kBlock - used_) {
      Flush();
      if (s.size() > kBlock) {
        file_.Write(s);
        return;
      }
    }
    std::memcpy(block_.get() + used_, s.data(), s.size());
    used_ += s.size();
  }
  void Append(char c) {
    if (used_ == kBlock) Flush();
    block_[used_++] = c;
  }
  void AppendCell(const Variant& v) {
    if (const std::string* s = v.get_if<std::string>()) {
      // A short string is copied as 16 bytes at once: its storage always
      // holds capacity() + 1 >= 16 of them.
      if (s->size() < 16 && s->capacity() >= 15 && kBlock - used_ >= 16) {
        std::memcpy(block_.get() + used_, s->data(), 16);
        used_ += s->size();
        return;
      }
      return Append(std::string_view(*s));
    }
    if (kBlock - used_ < detail::kNumberRoom) Flush();
    if (char* end = detail::NumberText(block_.get() + used_, v)) used_ = static_cast<size_t>(end - block_.get());
    else Append(std::string_view(CStr(v)));
  }
  // Hands the text over once a chunk's worth is gathered.
  void EndOfLine() {
    if (used_ >= kChunk) Flush();
  }
  void Flush() {
    file_.Write(std::string_view(block_.get(), used_));
    used_ = 0;
  }

 private:
  static constexpr size_t kBlock = kChunk + kChunk / 8;
  OutputFile& file_;
  std::unique_ptr<char[]> block_;
  size_t used_ = 0;
};

// True when row `r` is to be built by the string builder: a delimiter or a
// cell over its 15000-character step (which it may cut), or a line long
// enough to overflow its length.
bool RowNeedsBuilder(const SafeArray& a, int64_t r, std::string_view delimiter) {
  if (a.dims() != 2 || delimiter.size() > kLongPiece) return true;
  const int64_t c0 = a.LBound(2), c1 = a.UBound(2);
  if (c1 < c0) Raise(err::kSubscript);
  const Variant* cell = &detail::Cell(a, r, c0);
  const auto cells = static_cast<size_t>(c1 - c0 + 1);
  size_t length = cells * (detail::kNumberRoom + 2 + delimiter.size());
  for (size_t c = 0; c < cells; ++c) {
    if (!cell[c].IsString()) continue;
    const size_t n = cell[c].str().size();
    if (n > kLongPiece) return true;
    length += n;
  }
  return length > INT32_MAX / 2;
}

// One line per row: the cells joined by the delimiter, then CR LF.
void WriteTwoDTextFile(const SafeArray& a, const std::string& path, std::string_view delimiter, bool quotes,
                       bool append) {
  OutputFile file(path, append ? OutputFile::Mode::Append : OutputFile::Mode::Replace);
  FileText text(file);
  const int64_t r0 = a.LBound(1), r1 = a.UBound(1);
  const bool oneChar = delimiter.size() == 1;
  std::string line;
  for (int64_t r = r0; r <= r1; ++r) {
    if (RowNeedsBuilder(a, r, delimiter)) {
      line.clear();
      AppendRowByBuilder(line, a, r, delimiter, quotes);
      text.Append(std::string_view(line));
    } else {
      const int64_t c0 = a.LBound(2), c1 = a.UBound(2);
      const Variant* cell = &detail::Cell(a, r, c0);
      for (int64_t c = c0; c <= c1; ++c, ++cell) {
        if (quotes) text.Append('"');
        text.AppendCell(*cell);
        if (quotes) text.Append('"');
        if (c == c1) break;
        if (oneChar) text.Append(delimiter[0]);
        else text.Append(delimiter);
      }
    }
    text.Append(kCrLf);
    text.EndOfLine();
  }
  text.Flush();
  file.Commit();
}

// Variant separators as the web twins read them; written back only when
// replaced by their default.
std::string SeparatorFrom(Variant& v, std::string_view fallback) {
  std::string s = CStr(v);
  if (DefaultWhenBlank(s, fallback)) v = Variant(s);
  return s;
}

}  // namespace

int16_t clsVantrove::TwoDArrayToText(const Variant& varArray, std::string& strText, std::string& strDelimiter,
                                     std::string& strEndOfRowChar, bool blnQuotes) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    DefaultWhenBlank(strDelimiter, "\t");
    DefaultWhenBlank(strEndOfRowChar, kCrLf);
    strText = TwoDText(varArray.array(), strDelimiter, strEndOfRowChar, blnQuotes);
    return 1;
  });
}

int16_t clsVantrove::Web_TwoDArrayToText(const Variant& varArray, Variant& strText, Variant& strDelimiter,
                                         Variant& strEndOfRowChar, const Variant& blnQuotes) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const std::string delimiter = SeparatorFrom(strDelimiter, "\t");
    const std::string endOfRow = SeparatorFrom(strEndOfRowChar, kCrLf);
    strText = Variant(TwoDText(varArray.array(), delimiter, endOfRow, CBool(blnQuotes)));
    return 1;
  });
}

int16_t clsVantrove::TwoDArrayToClipboard(const Variant& varArray, std::string& strDelimiter,
                                          std::string& strEndOfRowChar, bool blnQuotes) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    DefaultWhenBlank(strDelimiter, "\t");
    DefaultWhenBlank(strEndOfRowChar, kCrLf);
    return ToClipboard(TwoDText(varArray.array(), strDelimiter, strEndOfRowChar, blnQuotes));
  });
}

int16_t clsVantrove::Web_TwoDArrayToClipboard(const Variant& varArray, Variant& strDelimiter,
                                              Variant& strEndOfRowChar, const Variant& blnQuotes) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const std::string delimiter = SeparatorFrom(strDelimiter, "\t");
    const std::string endOfRow = SeparatorFrom(strEndOfRowChar, kCrLf);
    return ToClipboard(TwoDText(varArray.array(), delimiter, endOfRow, CBool(blnQuotes)));
  });
}

int16_t clsVantrove::TwoDArrayToTextFile(const Variant& varArray, const std::string& strTextFile,
                                         const std::string& strDelimiter, bool blnQuotes, bool blnAppend) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    // Only an empty delimiter takes the default here; spaces are kept.
    WriteTwoDTextFile(varArray.array(), strTextFile, strDelimiter.empty() ? "," : strDelimiter, blnQuotes, blnAppend);
    return 1;
  });
}

int16_t clsVantrove::Web_TwoDArrayToTextFile(const Variant& varArray, const Variant& strTextFile,
                                             const Variant& strDelimiter, const Variant& blnQuotes) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const std::string delimiter = CStr(strDelimiter);
    WriteTwoDTextFile(varArray.array(), CStr(strTextFile), delimiter.empty() ? "," : delimiter, CBool(blnQuotes),
                      false);
    return 1;
  });
}

int16_t clsVantrove::OneDArrayToText(const Variant& varArray, std::string& strText, std::string& strEndOfRowChar,
                                     const std::string& strEndOfArrayChar, bool blnQuotes) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    DefaultWhenBlank(strEndOfRowChar, kCrLf);
    strText = OneDText(varArray.array(), strEndOfRowChar, strEndOfArrayChar, blnQuotes);
    return 1;
  });
}

int16_t clsVantrove::OneDArrayToClipboard(const Variant& varArray, std::string& strEndOfRowChar,
                                          const std::string& strEndOfArrayChar, bool blnQuotes) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    DefaultWhenBlank(strEndOfRowChar, kCrLf);
    return ToClipboard(OneDText(varArray.array(), strEndOfRowChar, strEndOfArrayChar, blnQuotes));
  });
}

int16_t clsVantrove::OneDArrayToTextFile(const Variant& varArray, const std::string& strTextFile, bool blnQuotes) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const SafeArray& a = varArray.array();
    OutputFile file(strTextFile);
    const int64_t hi = a.UBound(1);
    std::string chunk;
    for (int64_t i = a.LBound(1); i <= hi; ++i) {
      if (blnQuotes) chunk += kQuote;
      detail::AppendCellText(chunk, detail::Item(a, i));
      if (blnQuotes) chunk += kQuote;
      chunk += kCrLf;
      if (chunk.size() >= kChunk) {
        file.Write(chunk);
        chunk.clear();
      }
    }
    file.Write(chunk);
    file.Commit();
    return 1;
  });
}

}  // namespace vantrove
