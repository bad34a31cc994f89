// Arrays to delimited text: as a string, on the clipboard, in a text file.
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
std::string TwoDText(const SafeArray& a, std::string_view delimiter, std::string_view endOfRow, bool quotes) {
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

// One line per row: the cells joined by the delimiter, then CR LF.
void WriteTwoDTextFile(const SafeArray& a, const std::string& path, std::string_view delimiter, bool quotes,
                       bool append) {
  OutputFile file(path, append ? OutputFile::Mode::Append : OutputFile::Mode::Replace);
  clsConcat line;
  const int64_t r1 = a.UBound(1);
  for (int64_t r = a.LBound(1); r <= r1; ++r) {
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
    file.Write(line.GetString());
    file.Write(kCrLf);
    line.ReInit();
  }
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
    for (int64_t i = a.LBound(1); i <= hi; ++i) {
      const Variant& v = detail::Item(a, i);
      if (blnQuotes) file.Write(kQuote);
      if (v.IsString()) file.Write(v.str());
      else file.Write(CStr(v));
      if (blnQuotes) file.Write(kQuote);
      file.Write(kCrLf);
    }
    file.Commit();
    return 1;
  });
}

}  // namespace vantrove
