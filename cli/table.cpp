#include "table.hpp"

#include <algorithm>

namespace vantrove::cli {

size_t Table::Column(const std::string& name) {
  for (size_t i = 0; i < header_.size(); ++i) {
    if (header_[i] == name) return i;
  }
  header_.push_back(name);
  for (auto& row : rows_) row.resize(header_.size());
  return header_.size() - 1;
}

void Table::AddRow(std::vector<std::string> row) {
  row.resize(header_.size());
  rows_.push_back(std::move(row));
}

void Table::MoveColumnToEnd(const std::string& name) {
  for (size_t i = 0; i + 1 < header_.size(); ++i) {
    if (header_[i] != name) continue;
    std::rotate(header_.begin() + static_cast<std::ptrdiff_t>(i), header_.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                header_.end());
    for (auto& row : rows_) {
      row.resize(header_.size());
      std::rotate(row.begin() + static_cast<std::ptrdiff_t>(i), row.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                  row.end());
    }
    return;
  }
}

void Table::Append(const SafeArray& a, const std::vector<std::pair<std::string, std::string>>& leading) {
  if (!a.allocated() || a.dims() != 2 || a.UBound(1) < a.LBound(1)) return;
  std::vector<size_t> where;
  for (const auto& [name, value] : leading) where.push_back(Column(name));
  const int32_t top = a.LBound(1);
  // A column without a name carries nothing (attribute tables keep one
  // spare column at the end): it is left out.
  constexpr size_t kSkip = static_cast<size_t>(-1);
  std::vector<size_t> columns;
  for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) {
    const Variant& name = a.at(top, c);
    const std::string text = name.IsNull() || name.IsEmpty() ? std::string() : CStr(name);
    columns.push_back(text.empty() ? kSkip : Column(text));
  }
  for (int32_t r = top + 1; r <= a.UBound(1); ++r) {
    std::vector<std::string> row(header_.size());
    for (size_t i = 0; i < leading.size(); ++i) row[where[i]] = leading[i].second;
    for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) {
      const size_t column = columns[static_cast<size_t>(c - a.LBound(2))];
      if (column == kSkip) continue;
      const Variant& cell = a.at(r, c);
      row[column] = cell.IsNull() ? std::string() : CStr(cell);
    }
    rows_.push_back(std::move(row));
  }
}

SafeArray Table::ToArray(bool headings) const {
  const int32_t first = headings ? 1 : 0;
  SafeArray a = SafeArray::Matrix(static_cast<int32_t>(rows_.size()) + first, static_cast<int32_t>(header_.size()));
  for (size_t c = 0; c < header_.size(); ++c) {
    if (headings) a.at(0, static_cast<int32_t>(c)) = header_[c];
    for (size_t r = 0; r < rows_.size(); ++r) {
      a.at(static_cast<int32_t>(r) + first, static_cast<int32_t>(c)) =
          c < rows_[r].size() ? rows_[r][c] : std::string();
    }
  }
  return a;
}

namespace {

void CsvField(std::string& out, const std::string& v) {
  if (v.find_first_of(",\"\r\n") == std::string::npos) {
    out += v;
    return;
  }
  out += '"';
  for (char ch : v) {
    if (ch == '"') out += '"';
    out += ch;
  }
  out += '"';
}

template <class Cell>
std::string Join(const std::vector<std::string>& header, const std::vector<std::vector<std::string>>& rows,
                 bool headings, Cell cell, char separator) {
  std::string out;
  auto line = [&](const std::vector<std::string>& values) {
    for (size_t c = 0; c < header.size(); ++c) {
      if (c) out += separator;
      cell(out, c < values.size() ? values[c] : std::string());
    }
    out += "\r\n";
  };
  if (headings) line(header);
  for (const auto& row : rows) line(row);
  return out;
}

}  // namespace

std::string Table::ToCsv(bool headings) const { return Join(header_, rows_, headings, CsvField, ','); }

std::string Table::ToText(bool headings) const {
  return Join(
      header_, rows_, headings,
      [](std::string& out, const std::string& v) {
        for (char ch : v) out += (ch == '\t' || ch == '\r' || ch == '\n') ? ' ' : ch;
      },
      '\t');
}

}  // namespace vantrove::cli
