// CreateBlockAttributeArray: the attribute values of block references as a
// table with one row per reference and one column per attribute tag.
#include <memory>

#include "../component/boundary.hpp"
#include "../runtime/text_compare.hpp"
#include "array_fill.hpp"
#include "line_io.hpp"
#include "vantrove/engine/description.hpp"
#include "vantrove/extract.hpp"

namespace vantrove {

namespace extract::detail {

int16_t ReshapeAttributePairs(Variant& vArr, const SafeArray& pairs, const std::vector<std::string>& columns,
                              int32_t perReference, bool drawing, bool headings) {
  auto column = [&](std::string_view name) {
    for (size_t i = 0; i < columns.size(); ++i) {
      if (vantrove::detail::EqualText(columns[i], name)) return static_cast<int32_t>(i);
    }
    Raise(err::kSubscript, "The attribute records have no " + std::string(name) + " column");
  };
  const int32_t tagColumn = column("AttributeTag");
  const int32_t valueColumn = column("AttributeValue");
  const int32_t drawingColumn = drawing ? column("Drawing") : -1;
  if (perReference == 0) Raise(err::kDivisionByZero);
  const int64_t count = pairs.allocated() ? pairs.bounds()[0].count() : 0;
  const int32_t lower = pairs.allocated() ? pairs.LBound(1) : 0;
  const auto rows = static_cast<int32_t>(count / perReference);
  const int32_t last = perReference + (drawing ? 1 : 0);
  vArr = Variant(SafeArray({Bounds{0, rows - (headings ? 0 : 1)}, Bounds{0, last}}));
  SafeArray& out = vArr.array();
  const int32_t firstValue = drawing ? 1 : 0;
  const int32_t lastValue = firstValue + perReference - 1;
  if (headings) {
    if (drawing) out.at(0, 0) = Variant("Drawing");
    for (int32_t k = 0; k < perReference; ++k) out.at(0, firstValue + k) = pairs.at(lower + k, tagColumn);
  }
  int32_t row = headings ? 1 : 0;
  int32_t col = firstValue;
  for (int64_t i = 0; i < count; ++i) {
    const auto p = static_cast<int32_t>(lower + i);
    out.at(row, col) = pairs.at(p, valueColumn);
    if (drawing) out.at(row, 0) = pairs.at(p, drawingColumn);
    if (++col > lastValue) {
      col = firstValue;
      ++row;
    }
  }
  return 1;
}

namespace {

// The names in a tag list: an array of names, or one name.
std::vector<std::string> TagNames(const Variant& tags, int32_t& count) {
  std::vector<std::string> names;
  if (tags.IsArray()) {
    const SafeArray& list = tags.array();
    for (const Variant& v : list.data()) names.push_back(CStr(v));
    count = list.allocated() ? list.UBound(1) + 1 : 0;
  } else {
    names.push_back(CStr(tags));
    count = 1;
  }
  return names;
}

// The columns the attribute reader works with: the selectors' fields, the
// reference's handle, the tag, the value and the drawing. The reader keeps
// only these of each record; the rest of a record is passed over as it is
// read, which leaves the rows, their order and these columns as they are.
const std::vector<std::string> kAttributeColumns = {"Block",        "Layout",         "Name",   "LayerName",
                                                    "Handle",       "AttributeTag",   "AttributeValue",
                                                    "Drawing"};

struct AttributeRecords {
  RecordsetRef rs;
  int32_t perReference = 0;
};

// The reader behind CreateBlockAttributeArray: flattens the description in
// `file` (over the file itself when tags are listed, which are then kept in
// a second temporary file, `tagged`; as a stream otherwise), and opens the
// records through the XML provider filtered by the selectors.
// `out.perReference` is the number of values per block reference.
void ReadAttributeRecords(const std::string& file, int32_t drawingField, int32_t space, const std::string& layout,
                          const std::string& block, const std::string& layer, const Variant& tags,
                          std::unique_ptr<TempFile>& tagged, AttributeRecords& out) {
  std::string source = file;
  const bool listed = !(tags.IsMissing() || tags.IsEmpty() || tags.IsNull());
  int32_t listedCount = 0;
  if (listed) {
    FlattenDescription(file, file, 3, drawingField, true);
    std::vector<std::string> names = TagNames(tags, listedCount);
    // Tags are looked for as the description writes text.
    for (std::string& n : names) n = engine::EscapeDescriptionValue(n);
    tagged = std::make_unique<TempFile>(TempXmlFileName());
    if (!CopyTaggedAttributeRecords(file, tagged->path(), names)) {
      Raise(err::kDeviceIO, "The attribute records could not be copied to " + tagged->path());
    }
    source = tagged->path();
  }
  RecordsetRef rs = Recordset::Create();
  bool connected = false;
  for (const std::string& connection : XmlProviderConnectionStrings()) {
    try {
      rs->SetActiveConnection(Variant(connection));
      connected = true;
      break;
    } catch (const RuntimeError&) {
    }
  }
  if (!connected) Raise(aderr::kProviderNotFound);
  if (listed) {
    rs->OpenXmlFile(source, kAttributeColumns);
  } else {
    // Without a tag list the flat records go straight from the flattening
    // to the reader, with no flat file in between.
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> flat(OpenFlattenedStream(file, 3, drawingField, true),
                                                         &std::fclose);
    if (!flat) Raise(err::kOutOfMemory);
    rs->OpenXmlStream(flat.get(), file, &kAttributeColumns);
  }
  std::string filter;
  if (space == dwgPaper) filter = "Block = '*PAPER_SPACE'";
  if (space == dwgModel) filter = "Block = '*MODEL_SPACE'";
  const std::pair<const std::string*, const char*> selectors[] = {
      {&layout, "Layout ='"}, {&block, "Name ='"}, {&layer, "LayerName ='"}};
  for (const auto& [value, condition] : selectors) {
    const std::string trimmed = Trim(*value);
    if (trimmed.empty()) continue;
    filter += (filter.empty() ? "" : " AND ") + std::string(condition) + trimmed + "'";
  }
  if (!filter.empty()) rs->SetFilter(Variant(filter));

  if (listed) {
    out.perReference = listedCount;
  } else {
    // The records that belong to the first record's block reference.
    const int handle = rs->FieldIndex("Handle");
    rs->MoveFirst();
    if (handle >= 0 && !rs->IsEOF()) {
      const Variant first = rs->Value(handle);
      const std::string firstText = first.IsNull() ? std::string() : CStr(first);
      for (; !rs->IsEOF(); rs->MoveNext()) {
        std::string_view text;
        if (rs->ValueText(handle, text) ? text == firstText : CStr(rs->Value(handle)) == firstText) {
          ++out.perReference;
        }
      }
    }
  }
  out.rs = std::move(rs);
}

// The reshaping of the (tag, value[, drawing]) records straight from the
// recordset, in its order: the same table as copying the columns to an
// array first and reshaping that.
int16_t ReshapeRecords(Variant& vArr, Recordset& rs, int32_t perReference, bool drawing, bool headings) {
  const int tag = rs.FieldIndex("AttributeTag");
  const int value = rs.FieldIndex("AttributeValue");
  const int drawingField = drawing ? rs.FieldIndex("Drawing") : -1;
  if (tag < 0 || value < 0 || (drawing && drawingField < 0)) {
    Raise(err::kSubscript, "The attribute records lack their tag, value or drawing column");
  }
  if (perReference == 0) Raise(err::kDivisionByZero);
  const int64_t count = rs.RecordCount();
  const auto rows = static_cast<int32_t>(count / perReference);
  const int32_t last = perReference + (drawing ? 1 : 0);
  vArr = Variant(SafeArray({Bounds{0, rows - (headings ? 0 : 1)}, Bounds{0, last}}));
  SafeArray& out = vArr.array();
  const int32_t firstValue = drawing ? 1 : 0;
  const int32_t lastValue = firstValue + perReference - 1;
  if (headings) {
    if (drawing) out.at(0, 0) = Variant("Drawing");
    rs.MoveFirst();
    for (int32_t k = 0; k < perReference; ++k) {
      if (rs.IsEOF()) Raise(err::kSubscript);
      out.at(0, firstValue + k) = rs.Value(tag);
      rs.MoveNext();
    }
  }
  int32_t row = headings ? 1 : 0;
  int32_t col = firstValue;
  for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) {
    out.at(row, col) = rs.Value(value);
    if (drawing) out.at(row, 0) = rs.Value(drawingField);
    if (++col > lastValue) {
      col = firstValue;
      ++row;
    }
  }
  return 1;
}

}  // namespace
}  // namespace extract::detail

int16_t clsVantrove::CreateBlockAttributeArray(Variant& vArr, DrawingSpaceType lngDrawingSpace,
                                               const std::string& strLayout, const std::string& strBlock,
                                               const std::string& strLayer, DrawingFieldType lngDrawingField,
                                               bool blnIncludeHeadings, const Variant& varAttributeTags) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    auto description = std::make_unique<extract::TempFile>(extract::TempXmlFileName());
    CreateXML(description->path(), 1, 0, 0, 0, 0, 0, 0, 0);
    if (!extract::WrittenFile(description->path())) return -1;
    int32_t field = lngDrawingField;
    if (field == 3 || field == 5) field = 0;  // one drawing column at most
    extract::detail::AttributeRecords records;
    std::unique_ptr<extract::TempFile> tagged;
    extract::detail::ReadAttributeRecords(description->path(), field, lngDrawingSpace, strLayout, strBlock, strLayer,
                                          varAttributeTags, tagged, records);
    tagged.reset();
    description.reset();
    const bool drawing = field == 1 || field == 2 || field == 4;
    return extract::detail::ReshapeRecords(vArr, *records.rs, records.perReference, drawing, blnIncludeHeadings);
  });
}

int16_t clsVantrove::Web_CreateBlockAttributeArray(Variant& vArr, Variant& strFilter, Variant lngDrawingField,
                                                   Variant& blnIncludeHeadings) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const std::string filter = strFilter.IsMissing() ? std::string() : CStr(strFilter);
    int32_t field = lngDrawingField.IsMissing() ? 0 : CLng(lngDrawingField);
    const bool headings = blnIncludeHeadings.IsMissing() ? true : CBool(blnIncludeHeadings);
    auto description = std::make_unique<extract::TempFile>(extract::TempXmlFileName());
    Variant handles;
    extract::detail::XmlFileToArray(*this, description->path(), dwgBlocksAndAttributes, handles, false, filter,
                                    Variant("Handle"), dwgNone);
    if (!handles.IsArray()) return -1;
    // The references' values come in runs; the first run's length is the
    // number of values per reference.
    const SafeArray& h = handles.array();
    const std::string first = CStr(h.at(0, 0));
    int32_t perReference = 0;
    for (int32_t r = 0; r <= h.UBound(1) && CStr(h.at(r, 0)) == first; ++r) ++perReference;
    if (field == 3 || field == 5) field = 0;
    Variant pairs;
    std::vector<std::string> columns;
    std::vector<Variant> names = {Variant("AttributeTag"), Variant("AttributeValue")};
    extract::detail::XmlFileToArray(*this, description->path(), dwgBlocksAndAttributes, pairs, false, filter,
                                    Variant(SafeArray::Vector(names)), field, &columns);
    description.reset();
    const bool drawing = field == 1 || field == 2 || field == 4;
    return extract::detail::ReshapeAttributePairs(vArr, pairs.array(), columns, perReference, drawing, headings);
  });
}

}  // namespace vantrove
