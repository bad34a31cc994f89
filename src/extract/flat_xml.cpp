// FlatXMLfileToArray: a flat file read positionally, line by line, with no
// XML reader. The file is passed over four times (header, columns, record
// count, values), each time streaming.
#include "../component/boundary.hpp"
#include "line_io.hpp"
#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"

namespace vantrove {

using extract::detail::FindNoCase;
using extract::detail::LineReader;
using extract::detail::TrimBlanks;

namespace {

// A reader that starts after the header's H lines.
struct Pass {
  LineReader reader;
  Pass(const std::string& file, int skip) {
    if (!reader.Open(file)) Raise(err::kFileNotFound, "The file " + file + " cannot be opened");
    std::string_view line;
    for (int i = 0; i < skip; ++i) reader.Next(line);
  }
  bool Next(std::string_view& line) { return reader.Next(line); }
  // The next line that is not empty after trimming; raises at the end of
  // the file, as reading past it does.
  std::string_view NextFilled() {
    std::string_view line;
    while (reader.Next(line)) {
      line = TrimBlanks(line);
      if (!line.empty()) return line;
    }
    Raise(err::kInputPastEnd);
  }
};

// The value of a field line: empty for <X></X> and <X />, else the text
// after the first ">" up to the next "</".
std::string FieldValue(std::string_view line, bool latin1) {
  if (line.find("></", 1) != std::string_view::npos || line.find(" />", 1) != std::string_view::npos) return {};
  const size_t gt = line.find('>');
  if (gt == std::string_view::npos) Raise(err::kInvalidCall, "A field line has no \">\": " + std::string(line));
  const std::string_view rest = line.substr(gt + 1);
  const size_t close = rest.find("</", 1);
  if (close == std::string_view::npos) Raise(err::kInvalidCall, "A field line is not closed: " + std::string(line));
  return extract::DecodeXmlText(rest.substr(0, close), latin1);
}

int16_t ReadFlatFile(const std::string& file, Variant& varArray, bool headings) {
  // Header: the declaration line and the empty line after it.
  int header = 0;
  bool latin1 = false;
  {
    Pass pass(file, 0);
    std::string_view line;
    std::string first = pass.Next(line) ? std::string(TrimBlanks(line)) : std::string();
    if (FindNoCase(first, "<?xml version=") != std::string_view::npos) {
      header = 1;
      latin1 = extract::detail::DeclaresSingleByte(first);
    }
    const std::string_view second = pass.Next(line) ? TrimBlanks(line) : std::string_view();
    if (second.empty()) ++header;
  }
  {
    Pass pass(file, header);
    std::string_view line;
    int count = 0;
    while (count < 3 && pass.Next(line)) ++count;
    if (count < 3) return -2;
  }
  // The record's opening and closing lines.
  std::string opening, closing;
  std::vector<std::string> names;
  bool single = false;
  {
    Pass pass(file, header);
    std::string_view line;
    if (!pass.Next(line)) Raise(err::kInputPastEnd);
    const std::string root(TrimBlanks(line));
    single = root == "<DrawingInformation>";
    if (single) {
      opening = root;
    } else {
      if (!pass.Next(line)) Raise(err::kInputPastEnd);
      opening = std::string(TrimBlanks(line));
    }
    for (char c : opening) {
      if (c == '<') closing += "</";
      else closing.push_back(c);
    }
    while (pass.Next(line)) {
      const std::string_view t = TrimBlanks(line);
      if (t == closing) break;
      if (t.empty()) continue;
      const size_t gt = t.find('>');
      if (gt == std::string_view::npos || gt < 1) Raise(err::kInvalidCall, "A field line has no name: " + std::string(t));
      names.emplace_back(t.substr(1, gt - 1));
    }
  }
  int64_t records = 1;
  if (!single) {
    records = 0;
    Pass pass(file, header);
    std::string_view line;
    while (pass.Next(line)) {
      if (line == closing) ++records;
    }
  }
  if (records > INT32_MAX - 1) Raise(err::kOutOfMemory);
  const auto columns = static_cast<int32_t>(names.size());
  const auto rows = static_cast<int32_t>(records);
  varArray = Variant(SafeArray({Bounds{0, rows - (headings ? 0 : 1)}, Bounds{0, columns - 1}}));
  SafeArray& arr = varArray.array();
  if (headings) {
    for (int32_t c = 0; c < columns; ++c) arr.at(0, c) = Variant(names[static_cast<size_t>(c)]);
  }
  Pass pass(file, header + (single ? 0 : 1));
  for (int32_t r = 0; r < rows; ++r) {
    pass.NextFilled();  // the record's opening line
    const int32_t row = r + (headings ? 1 : 0);
    for (int32_t c = 0; c < columns; ++c) arr.at(row, c) = Variant(FieldValue(pass.NextFilled(), latin1));
    pass.NextFilled();  // its closing line
  }
  return 1;
}

}  // namespace

int16_t clsVantrove::FlatXMLfileToArray(const std::string& strXMLFile, Variant& varArray, bool blnIncludeHeadings) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    Variant path(strXMLFile);
    if (!FileExists(path)) return -1;
    return ReadFlatFile(strXMLFile, varArray, blnIncludeHeadings);
  });
}

int16_t clsVantrove::Web_FlatXMLfileToArray(Variant& strXMLFile, Variant& varArray, Variant& blnIncludeHeadings) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const std::string file = CStr(strXMLFile);
    const bool headings = blnIncludeHeadings.IsMissing() ? false : CBool(blnIncludeHeadings);
    return FlatXMLfileToArray(file, varArray, headings);
  });
}

}  // namespace vantrove
