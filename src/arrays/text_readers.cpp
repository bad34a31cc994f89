// Delimited text into arrays: a text file into a two-dimensional array of
// strings; a file's lines, a delimited string or a text box's lines into a
// one-dimensional array.
//
// The splitting is deliberately simple: every delimiter ends a field, quotes
// protect nothing, and surrounding quotes go only on request. The delimiter
// is one character; a longer delimiter never matches. Files are UTF-8; a
// leading byte order mark is not part of the text.
//
// Results:
//   TextFileToArray, Web_TextFileToArray: 1 done, -1 the file cannot be
//     opened, -2 varArray holds no array, 0 a run-time error.
//   TextFileToOneDArray: 1, -1 cannot open, -2 not an array, 0.
//   MultiLineTextToOneDArray: 1, -1 not an array, 0.
//   TextBoxToOneDArray: 1, -1 tb is not a text box, -2 not an array, 0.
#include <algorithm>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "../component/boundary.hpp"
#include "text_scan.hpp"
#include "vantrove/component.hpp"
#include "vantrove/controls.hpp"
#include "vantrove/output.hpp"

namespace vantrove {

namespace {

// A delimiter compared one character (code point) at a time.
class CharDelimiter {
 public:
  explicit CharDelimiter(std::string_view d) : d_(d), matches_(Len(d) == 1), ascii_(d.size() == 1) {}

  // Byte offset of the next delimiter at or after `pos`, or npos.
  size_t Find(std::string_view s, size_t pos) const {
    if (!matches_) return std::string_view::npos;
    if (ascii_) return s.find(d_[0], pos);
    for (size_t i = pos; i < s.size();) {
      const size_t start = i;
      NextCodePoint(s, i);
      if (s.substr(start, i - start) == d_) return start;
    }
    return std::string_view::npos;
  }

  size_t Count(std::string_view s) const {
    if (ascii_) return static_cast<size_t>(std::count(s.begin(), s.end(), d_[0]));
    size_t n = 0;
    for (size_t p = Find(s, 0); p != std::string_view::npos; p = Find(s, p + d_.size())) ++n;
    return n;
  }

  // True when the last character of `s` is the delimiter.
  bool EndsText(std::string_view s) const {
    if (!matches_ || s.empty()) return false;
    if (ascii_) return s.back() == d_[0];
    return Right(s, 1) == d_;
  }

  size_t size() const { return d_.size(); }
  bool matches() const { return matches_; }

 private:
  std::string_view d_;
  bool matches_;
  bool ascii_;
};

// Calls `field(text)` for each field of `line`. The line is read as if it
// ended with the delimiter (one is added when its last character is another
// one), so the text after the last delimiter is a field too, and an empty
// line is one empty field. A delimiter that never matches ends no field.
template <class Fn>
void ForEachField(std::string_view line, const CharDelimiter& d, Fn&& field) {
  if (!d.matches()) return;
  size_t start = 0;
  for (size_t p = d.Find(line, 0); p != std::string_view::npos; p = d.Find(line, start)) {
    field(line.substr(start, p - start));
    start = p + d.size();
  }
  if (!d.EndsText(line)) field(line.substr(start));
}

// The array the file's table goes into: the one varArray holds when it
// already has the table's shape (its cells are overwritten, so its memory is
// reused), else a new one.
std::vector<Variant>& TableFor(Variant& varArray, int64_t lines, size_t most) {
  const std::vector<Bounds> shape{Bounds{0, static_cast<int32_t>(lines - 1)}, Bounds{0, static_cast<int32_t>(most)}};
  SafeArray& old = varArray.array();
  if (old.bounds() == shape && old.element_type() == VarType::Variant) return old.data();
  varArray = Variant(SafeArray(shape));
  return varArray.array().data();
}

// Stores a field's text in a cell, reusing the string the cell holds.
void Store(Variant& cell, std::string_view text) {
  // (The cell is ours to change; the accessor is only offered const.)
  if (auto* s = const_cast<std::string*>(std::as_const(cell).get_if<std::string>())) {
    s->assign(text);
  } else if (cell.IsEmpty()) {
    // The string goes straight into the cell: no temporary Variant to
    // move from and destroy.
    std::destroy_at(&cell);
    try {
      std::construct_at(&cell, text);
    } catch (...) {
      std::construct_at(&cell);
      throw;
    }
  } else {
    cell = Variant(text);
  }
}

// Surrounding double quotes go when the field's first and last characters
// are both one; a lone quote is both and leaves a negative length, which is
// an invalid call.
std::string_view Unquoted(std::string_view f) {
  if (f.empty() || f.front() != '"' || f.back() != '"') return f;
  if (f.size() < 2) Raise(err::kInvalidCall);
  return f.substr(1, f.size() - 2);
}

// Fills the table row by row and field by field: each field goes into the
// next cell of its row, and cells after a line's last field become Empty.
class TableFill {
 public:
  TableFill(std::vector<Variant>& cells, size_t width, bool removeQuotes)
      : cells_(cells), width_(width), removeQuotes_(removeQuotes) {}

  [[gnu::always_inline]] void Field(std::string_view field) {
    if (removeQuotes_) field = Unquoted(field);
    Variant* cell = cells_.data() + row_ + column_;
    // The cells are far more than the caches hold: ask for those a few rows on early.
    __builtin_prefetch(cell + 24, 1);
    Store(*cell, field);
    if (++column_ > static_cast<size_t>(std::numeric_limits<int16_t>::max())) Raise(err::kOverflow);  // a 16-bit counter
  }
  void EndRow() {
    ClearFrom(row_ + column_, row_ + width_);
    row_ += width_;
    column_ = 0;
  }
  // After a failure: the table holds what was read before it, Empty after.
  void ClearUnread() { ClearFrom(row_ + column_, cells_.size()); }

 private:
  void ClearFrom(size_t from, size_t to) {
    for (size_t i = from; i < to; ++i) {
      if (!cells_[i].IsEmpty()) cells_[i] = Variant();
    }
  }

  std::vector<Variant>& cells_;
  size_t width_;
  bool removeQuotes_;
  size_t row_ = 0;     // index of the row's first cell
  size_t column_ = 0;  // fields stored in the row so far
};

struct TableShape {
  int64_t lines = 0;
  size_t most = 0;  // the most delimiters on one line
};

// A delimiter of one byte other than CR and LF: the text is scanned a block
// at a time for delimiters and line feeds, with no pass per line.
bool ScansByBlock(std::string_view delimiter) {
  return delimiter.size() == 1 && delimiter[0] != '\n' && delimiter[0] != '\r';
}

TableShape ShapeByBlock(std::string_view text, char delimiter) {
  TableShape shape;
  const size_t last = detail::CountPerLine(text, delimiter, [&](size_t count) {
    ++shape.lines;
    shape.most = std::max(shape.most, count);
  });
  if (!text.empty() && text.back() != '\n') {
    ++shape.lines;
    shape.most = std::max(shape.most, last);
  }
  return shape;
}

// The lines as sequential line input reads them, and their fields as
// ForEachField gives them.
void FillByBlock(std::string_view text, char delimiter, TableFill& fill) {
  size_t start = 0, lineStart = 0;
  const auto endLine = [&](size_t end, size_t next) {
    // A line ending in the delimiter has no field after it.
    if (end != start || start == lineStart) fill.Field(text.substr(start, end - start));
    fill.EndRow();
    start = lineStart = next;
  };
  detail::ForEachBreak(text, delimiter, [&](size_t pos, bool lineFeed) {
    if (!lineFeed) {
      fill.Field(text.substr(start, pos - start));
      start = pos + 1;
    } else {
      endLine(pos > start && text[pos - 1] == '\r' ? pos - 1 : pos, pos + 1);
    }
  });
  if (lineStart < text.size()) endLine(text.size(), text.size());
}

TableShape ShapeByLine(std::string_view text, const CharDelimiter& d) {
  TableShape shape;
  ForEachLine(text, [&](std::string_view line) {
    ++shape.lines;
    shape.most = std::max(shape.most, d.Count(line));
  });
  return shape;
}

void FillByLine(std::string_view text, const CharDelimiter& d, TableFill& fill) {
  ForEachLine(text, [&](std::string_view line) {
    ForEachField(line, d, [&](std::string_view field) { fill.Field(field); });
    fill.EndRow();
  });
}

int16_t ReadDelimitedFile(const std::string& path, Variant& varArray, std::string delimiter, bool removeQuotes) {
  InputFile input;
  try {
    if (!input.Open(path)) return -1;
  } catch (...) {
    return 0;
  }
  if (delimiter.empty()) delimiter.push_back(',');
  if (!varArray.IsArray()) return -2;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const std::string_view text = WithoutByteOrderMark(input.bytes());
    const CharDelimiter d(delimiter);
    const bool byBlock = ScansByBlock(delimiter);
    // First pass: the number of lines and the most delimiters on one line.
    const TableShape shape = byBlock ? ShapeByBlock(text, delimiter[0]) : ShapeByLine(text, d);
    if (shape.lines > std::numeric_limits<int32_t>::max() ||
        shape.most > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
      Raise(err::kOutOfMemory);
    }
    // Second pass: one row per line, one column per field.
    TableFill fill(TableFor(varArray, shape.lines, shape.most), shape.most + 1, removeQuotes);
    try {
      if (byBlock) FillByBlock(text, delimiter[0], fill);
      else FillByLine(text, d, fill);
    } catch (...) {
      fill.ClearUnread();
      throw;
    }
    return 1;
  });
}

}  // namespace

int16_t clsVantrove::TextFileToArray(const std::string& strTextFile, Variant& varArray, const std::string& strDelimiter,
                                     bool blnRemoveQuotes) {
  return ReadDelimitedFile(strTextFile, varArray, strDelimiter, blnRemoveQuotes);
}

int16_t clsVantrove::Web_TextFileToArray(const Variant& strTextFile, Variant& varArray, const Variant& strDelimiter,
                                         const Variant& blnRemoveQuotes) {
  std::string path, delimiter;
  bool removeQuotes = false;
  try {
    path = CStr(strTextFile);
  } catch (...) {
    return -1;  // no usable path: nothing can be opened
  }
  try {
    delimiter = CStr(strDelimiter);
    removeQuotes = CBool(blnRemoveQuotes);
  } catch (...) {
    return 0;
  }
  return ReadDelimitedFile(path, varArray, delimiter, removeQuotes);
}

int16_t clsVantrove::TextFileToOneDArray(std::string& strTextFile, Variant& varArray) {
  InputFile input;
  try {
    if (!input.Open(strTextFile)) return -1;
  } catch (...) {
    return 0;
  }
  if (!varArray.IsArray()) return -2;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    std::vector<std::string_view> lines;
    ForEachLine(WithoutByteOrderMark(input.bytes()), [&](std::string_view line) { lines.push_back(line); });
    if (lines.empty()) return 1;
    if (lines.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) Raise(err::kOutOfMemory);
    SafeArray& a = varArray.array();
    // Each line is read into the caller's path variable, the array grows to
    // hold it (keeping what it holds), and the line is stored.
    strTextFile = std::string(lines[0]);
    a.ReDimPreserve({Bounds{0, 0}});
    int32_t i = 0;
    try {
      a.Set(std::span<const int32_t>(&i, 1), Variant(strTextFile));
      a.ReDimPreserve({Bounds{0, static_cast<int32_t>(lines.size() - 1)}});
      for (i = 1; i < static_cast<int32_t>(lines.size()); ++i) {
        a.Set(std::span<const int32_t>(&i, 1), Variant(std::string(lines[static_cast<size_t>(i)])));
      }
    } catch (...) {
      // As far as the failing line: the array ends there.
      strTextFile = std::string(lines[static_cast<size_t>(i)]);
      a.ReDimPreserve({Bounds{0, i}});
      throw;
    }
    strTextFile = std::string(lines.back());
    return 1;
  });
}

int16_t clsVantrove::MultiLineTextToOneDArray(const std::string& strText, Variant& varArray,
                                              const std::string& strDelimiter) {
  const std::string delimiter = strDelimiter.empty() ? std::string(",") : strDelimiter;
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const CharDelimiter d(delimiter);
    std::string text = strText;
    if (Right(text, 1) != delimiter) text += delimiter;
    const size_t n = d.Count(text);
    if (n > static_cast<size_t>(std::numeric_limits<int32_t>::max())) Raise(err::kOutOfMemory);
    varArray = Variant(SafeArray({Bounds{0, static_cast<int32_t>(n)}}));
    std::vector<Variant>& items = varArray.array().data();
    size_t next = 0, start = 0;
    for (size_t p = d.Find(text, 0); p != std::string::npos; p = d.Find(text, start)) {
      items[next++] = Variant(text.substr(start, p - start));
      start = p + d.size();
    }
    return 1;  // the last element stays Empty
  });
}

int16_t clsVantrove::TextBoxToOneDArray(const ObjectRef& tb, Variant& varArray) {
  auto* box = dynamic_cast<TextBox*>(tb.get());
  if (box == nullptr) return -1;
  if (!varArray.IsArray()) return -2;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    std::string text = box->Text();
    if (text.empty() || text.back() != '\n') text += '\n';
    size_t n = 0;
    for (char c : text) n += c == '\n';
    if (n > static_cast<size_t>(std::numeric_limits<int32_t>::max())) Raise(err::kOutOfMemory);
    varArray = Variant(SafeArray({Bounds{0, static_cast<int32_t>(n) - 1}}));
    std::vector<Variant>& items = varArray.array().data();
    size_t next = 0;
    std::string line;
    for (char c : text) {
      if (c == '\n') {
        items[next++] = Variant(std::move(line));
        line.clear();
      } else if (c != '\r') {
        line += c;
      }
    }
    return 1;
  });
}

}  // namespace vantrove
