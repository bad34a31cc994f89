#pragma once
// The attribute table of the extract job, read straight from the engine's
// model of the open drawing in one pass: one row per block reference that
// carries attributes, one column per tag.
//
// Rows come in the order the drawing's description lists the references
// (layouts in tab order, then block definitions), grouped by block name in
// the order each block is first met. Without a tag list a block's columns
// are its first reference's tags in their order; a reference with other
// tags adds columns of its own and every value lands under its own tag.
// Names and values read exactly as the description gives them.

#include <string>
#include <string_view>
#include <vector>

#include "table.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/enums.hpp"
#include "vantrove/recordset/filter.hpp"

namespace vantrove::cli {

enum class Space { kBoth, kModel, kPaper };

struct AttributeSelection {
  std::string block, layout, layer;  // "" takes any; names compare without case
  Space space = Space::kBoth;        // model: the Model layout; paper: every other layout
  // Only these tags, as columns in this order (compared without case); a
  // reference that holds none of them gives no row.
  std::vector<std::string> tags;
  // Keeps the references of which at least one attribute record matches
  // (bound to the fields of AttributeRecordFields(), in that order).
  const filter::Expression* filter = nullptr;
  DrawingFieldType drawingField = dwgNone;  // dwgDrawingName or dwgDrawingFullName add a "Drawing" column
  bool blockColumn = true;                  // a leading "Block" column
  bool layoutColumn = true;                 // a "Layout" column (the job moves it to the end)
};

// The fields an attribute filter can name: the flat attribute record's.
const std::vector<std::string>& AttributeRecordFields();

// Appends the attribute rows of `doc` to `table`; gives the number of rows.
size_t AppendAttributeTable(const engine::Document& doc, const AttributeSelection& selection, Table& table);

// A name or value as the description carries it to a reader: text that the
// description cannot hold (control characters, malformed UTF-8) reads as
// U+FFFD.
std::string DescribedText(std::string_view text);

// The drawing's path as the description names it (absolute, normalised).
std::string DescribedPath(const engine::Document& doc);

}  // namespace vantrove::cli
