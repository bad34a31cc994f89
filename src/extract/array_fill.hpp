#pragma once
// Internal: copying recordset columns into a two-dimensional array, the
// XML-file-to-array pipeline and the reshaping of attribute pairs, shared by
// the extraction methods.
#include <string>
#include <vector>

#include "vantrove/component.hpp"
#include "vantrove/recordset.hpp"

namespace vantrove::extract::detail {

// The fields a caller asked for. Empty `names` with `all` set means every
// field; names compare without case.
struct Selection {
  bool all = true;
  std::vector<std::string> names;
  bool Selected(std::string_view field) const;
};

// The selection of `varFields` (missing: every field; an array of names or
// a single name: those), with "Drawing" (fields 1, 2, 4) or "Drawing" and
// "DrawingPath" (fields 3, 5) added to a list. `lastColumn` becomes the last
// column index: the recordset's field count minus 2 for every field, else
// the list's upper bound.
Selection MakeSelection(const Variant& varFields, int32_t drawingField, const Recordset& rs, int32_t& lastColumn);

// Copies the selected columns of `rs` from its current record to its end
// into `arr`: headings (optional) in row 0, then one row per record from
// `row`. A chapter field's child records continue the same row at the next
// column. Raises when a value falls outside the array.
void FillArray(Recordset& rs, bool headings, SafeArray& arr, const Selection& selection, int32_t row);

// The names of the selected fields of `rs` in column order.
std::vector<std::string> SelectedNames(const Recordset& rs, const Selection& selection);

// Opens a recordset on an XML file through the first XML provider
// connection string that is accepted; nullptr when none is.
RecordsetRef OpenXmlProviderRecordset(const std::string& file);

// The XML-file-to-array pipeline (description, flattening, recordset,
// filter, fill). `columns`, when given, receives the filled columns' names.
int16_t XmlFileToArray(clsVantrove& self, const std::string& file, int32_t chapter, Variant& varArray, bool headings,
                       const std::string& filter, const Variant& varFields, int32_t drawingField,
                       std::vector<std::string>* columns = nullptr);

// Reshapes (tag, value[, drawing]) rows into one row per block reference of
// `perReference` values, with column 0 "Drawing" when `drawing`.
int16_t ReshapeAttributePairs(Variant& vArr, const SafeArray& pairs, const std::vector<std::string>& columns,
                              int32_t perReference, bool drawing, bool headings);

}  // namespace vantrove::extract::detail
