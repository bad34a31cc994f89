#pragma once
// What the extract job's selectors (--block, --layout, --layer, --space and
// --filter) need beyond the attribute table: the fields each chapter's rows
// carry, the filter text for the chapters read through the description, and
// the names a run met, to say which ones come close to a misspelt name.

#include <set>
#include <string>
#include <vector>

#include "vantrove/engine/document.hpp"
#include "vantrove/enums.hpp"
#include "vantrove/recordset/filter.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::cli {

// The columns of a chapter's rows, "Drawing" (and "DrawingPath") included
// when a drawing column is asked for.
std::vector<std::string> ChapterFields(ChapterType chapter, bool drawingColumn);

// The rows of `withHeadings` (row 0: the column names) that `expression`,
// bound to `fields`, keeps; a field the array lacks reads as empty.
SafeArray FilterRows(const SafeArray& withHeadings, const filter::Expression& expression,
                     const std::vector<std::string>& fields);

// `value` as a quoted filter text: 'it''s'.
std::string FilterQuote(const std::string& value);

// The names from `candidates` closest to `wanted`: the same without case,
// one containing the other, or a few letters apart. At most five, closest
// first.
std::vector<std::string> CloseMatches(const std::string& wanted, const std::set<std::string>& candidates);

// The block, layout and layer names of the drawings a run read, and
// whether each selector found its name in at least one of them.
class NameCheck {
 public:
  NameCheck(std::string block, std::string layout, std::string layer);
  void Read(const engine::Document& doc);
  // One warning per selector whose name no drawing holds, naming the close
  // matches; empty when every name was found.
  std::vector<std::string> Warnings() const;

 private:
  struct Selector {
    const char* what;
    std::string name;
    std::set<std::string> seen;
    bool found = false;
  };
  static void Look(Selector& s, std::string_view name, bool candidate);
  Selector block_, layout_, layer_;
};

}  // namespace vantrove::cli
