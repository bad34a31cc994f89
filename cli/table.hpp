#pragma once
// A table the jobs collect from many drawings: rows of text under one
// header. Tables with other columns merge by column name, so drawings whose
// blocks carry different attribute tags still line up.

#include <string>
#include <vector>

#include "vantrove/runtime.hpp"

namespace vantrove::cli {

class Table {
 public:
  // Appends a 2-D array whose first row holds the column names. Extra
  // leading columns (e.g. the block name) can be given as name/value pairs.
  void Append(const SafeArray& withHeadings, const std::vector<std::pair<std::string, std::string>>& leading = {});
  // The index of the column `name`, added at the end when it is new.
  size_t Column(const std::string& name);
  // Appends one row (cells by column index; a short row is padded).
  void AddRow(std::vector<std::string> row);
  // Moves the column `name`, when there is one, to the end.
  void MoveColumnToEnd(const std::string& name);
  bool empty() const { return rows_.empty(); }
  size_t rows() const { return rows_.size(); }
  const std::vector<std::string>& header() const { return header_; }
  // The table as a 2-D array from 0, with the header as row 0 when asked.
  SafeArray ToArray(bool headings) const;
  // RFC 4180 CSV (quotes doubled where needed), CRLF line ends.
  std::string ToCsv(bool headings) const;
  // Tab-separated text, one row per line.
  std::string ToText(bool headings) const;

 private:
  std::vector<std::string> header_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace vantrove::cli
