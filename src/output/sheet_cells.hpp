#pragma once
// Internal: one cell's value as the worksheet stores it.

#include <string>

#include "workbook_internal.hpp"

namespace vantrove::xlsx {

struct CellValue {
  enum Kind { None, Number, DateTime, Bool, Text, Error } kind = None;
  double number = 0;
  std::string text;
};

// The stored form of a value: as text when `asText`, else typed.
CellValue Classify(const Variant& v, bool asText);
// <c r="B2" s="3" ...>...</c>
void AppendCellXml(std::string& out, std::string_view ref, const CellValue& c, uint32_t style);
std::string ColumnLetters(int32_t col);

}  // namespace vantrove::xlsx
