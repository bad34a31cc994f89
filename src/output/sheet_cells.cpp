// Cells of a worksheet as XML: references, typed values, text widths.
#include <charconv>
#include <cmath>

#include "sheet_cells.hpp"

namespace vantrove::xlsx {

std::string ColumnLetters(int32_t col) {
  std::string s;
  while (col > 0) {
    const int32_t d = (col - 1) % 26;
    s.insert(s.begin(), static_cast<char>('A' + d));
    col = (col - 1) / 26;
  }
  return s;
}

std::string CellRef(int64_t row, int32_t col) { return ColumnLetters(col) + std::to_string(row); }

bool ParseCellRef(std::string_view ref, int64_t& row, int32_t& col) {
  size_t i = 0;
  if (i < ref.size() && ref[i] == '$') ++i;
  int64_t c = 0;
  const size_t letters = i;
  while (i < ref.size() && ((ref[i] >= 'A' && ref[i] <= 'Z') || (ref[i] >= 'a' && ref[i] <= 'z'))) {
    c = c * 26 + ((ref[i] | 0x20) - 'a' + 1);
    if (c > kMaxColumns) return false;
    ++i;
  }
  if (i == letters) return false;
  if (i < ref.size() && ref[i] == '$') ++i;
  int64_t r = 0;
  const auto res = std::from_chars(ref.data() + i, ref.data() + ref.size(), r);
  if (res.ec != std::errc() || res.ptr != ref.data() + ref.size() || r < 1 || r > kMaxRows) return false;
  row = r;
  col = static_cast<int32_t>(c);
  return true;
}

namespace {

// A plain decimal number as typed into a cell: sign, digits, point, exponent.
std::optional<double> TypedNumber(const std::string& s) {
  if (s.empty() || s.size() > 40) return std::nullopt;
  bool digit = false;
  for (char ch : s) {
    if (ch >= '0' && ch <= '9') digit = true;
    else if (ch != '.' && ch != '-' && ch != '+' && ch != 'e' && ch != 'E') return std::nullopt;
  }
  if (!digit || s[0] == 'e' || s[0] == 'E') return std::nullopt;
  const char* b = s.data() + (s[0] == '+' ? 1 : 0);
  double d = 0;
  const auto r = std::from_chars(b, s.data() + s.size(), d);
  if (r.ec != std::errc() || r.ptr != s.data() + s.size() || !std::isfinite(d)) return std::nullopt;
  return d;
}

void AppendNumber(std::string& out, double d) {
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, d);
  out.append(buf, r.ptr);
}

}  // namespace

CellValue Classify(const Variant& v, bool asText) {
  CellValue c;
  if (v.IsEmpty() || v.IsNull() || v.IsError()) return c;
  if (asText) {
    c.kind = CellValue::Text;
    c.text = v.IsString() ? v.str() : CStr(v);
    return c;
  }
  switch (v.type()) {
    case VarType::String:
      if (auto d = TypedNumber(v.str())) {
        c.kind = CellValue::Number;
        c.number = *d;
      } else {
        c.kind = CellValue::Text;
        c.text = v.str();
      }
      return c;
    case VarType::Boolean:
      c.kind = CellValue::Bool;
      c.number = *v.get_if<bool>() ? 1 : 0;
      return c;
    case VarType::Date:
      c.kind = CellValue::DateTime;
      c.number = v.get_if<Date>()->serial;
      return c;
    default:
      c.kind = CellValue::Number;
      c.number = CDbl(v);
      if (!std::isfinite(c.number)) c.kind = CellValue::Error;
      return c;
  }
}

void AppendCellXml(std::string& out, std::string_view ref, const CellValue& c, uint32_t style) {
  out += "<c r=\"";
  out += ref;
  out += '"';
  if (style != 0) {
    out += " s=\"";
    out += std::to_string(style);
    out += '"';
  }
  switch (c.kind) {
    case CellValue::None:
      out += "/>";
      return;
    case CellValue::Number:
    case CellValue::DateTime:
      out += "><v>";
      AppendNumber(out, c.number);
      out += "</v></c>";
      return;
    case CellValue::Bool:
      out += " t=\"b\"><v>";
      out += c.number != 0 ? '1' : '0';
      out += "</v></c>";
      return;
    case CellValue::Error:
      out += " t=\"e\"><v>#NUM!</v></c>";
      return;
    case CellValue::Text: {
      const std::string& t = c.text;
      const bool keep = !t.empty() && (t.front() == ' ' || t.back() == ' ' || t.find_first_of("\t\n\r") != std::string::npos);
      out += keep ? " t=\"inlineStr\"><is><t xml:space=\"preserve\">" : " t=\"inlineStr\"><is><t>";
      ooxml::AppendEscaped(out, t);
      out += "</t></is></c>";
      return;
    }
  }
}

double DisplayWidth(const Variant& v, bool asText) {
  const CellValue c = Classify(v, asText);
  switch (c.kind) {
    case CellValue::None: return 0;
    case CellValue::Bool: return 5;
    case CellValue::Error: return 6;
    case CellValue::DateTime: return std::floor(c.number) == c.number ? 10 : 16;
    case CellValue::Number: {
      char buf[32];
      const auto r = std::to_chars(buf, buf + sizeof buf, c.number);
      return std::min<double>(11, static_cast<double>(r.ptr - buf));
    }
    case CellValue::Text: {
      // Wide characters (CJK and the like) take about two columns.
      double w = 0;
      for (size_t i = 0; i < c.text.size();) {
        const char32_t cp = NextCodePoint(c.text, i);
        w += cp >= 0x1100 ? 2 : 1;
      }
      return w;
    }
  }
  return 0;
}

}  // namespace vantrove::xlsx
