// The extraction methods that read descriptions and XML files: FixXML,
// FlattenXMLfile, XMLfileToArray, XMLFileToRecordset and their twins.
#include "../component/boundary.hpp"
#include "../runtime/text_compare.hpp"
#include "array_fill.hpp"
#include "line_io.hpp"
#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"

namespace vantrove {

namespace extract::detail {

bool Selection::Selected(std::string_view field) const {
  if (all) return true;
  for (const std::string& n : names) {
    if (vantrove::detail::EqualText(n, field)) return true;
  }
  return false;
}

Selection MakeSelection(const Variant& varFields, int32_t drawingField, const Recordset& rs, int32_t& lastColumn) {
  Selection s;
  if (varFields.IsMissing() || varFields.IsEmpty() || varFields.IsNull()) {
    lastColumn = rs.FieldCount() - 2;  // every field but "$Text"
    return s;
  }
  s.all = false;
  int32_t lower = 0;
  if (varFields.IsArray()) {
    const SafeArray& list = varFields.array();
    if (list.allocated()) lower = list.LBound(1);
    for (const Variant& v : list.data()) s.names.push_back(CStr(v));
  } else {
    // A single name is a list of one (so a drawing column still joins it).
    s.names.push_back(CStr(varFields));
  }
  if (drawingField == 1 || drawingField == 2 || drawingField == 4) s.names.emplace_back("Drawing");
  if (drawingField == 3 || drawingField == 5) {
    s.names.emplace_back("Drawing");
    s.names.emplace_back("DrawingPath");
  }
  lastColumn = lower + static_cast<int32_t>(s.names.size()) - 1;
  return s;
}

namespace {

void FillRecords(Recordset& rs, bool headings, SafeArray& arr, const Selection& selection, int32_t row,
                 int32_t& col, bool top) {
  const int n = rs.FieldCount();
  std::vector<char> skip(static_cast<size_t>(n)), chapter(static_cast<size_t>(n)), selected(static_cast<size_t>(n));
  for (int f = 0; f < n; ++f) {
    const std::string& name = rs.FieldName(f);
    skip[static_cast<size_t>(f)] = name == kTextFieldName;
    chapter[static_cast<size_t>(f)] = rs.FieldType(f) == adtype::kChapter;
    selected[static_cast<size_t>(f)] = selection.Selected(name);
  }
  if (headings) {
    int32_t h = 0;
    for (int f = 0; f < n; ++f) {
      if (!skip[static_cast<size_t>(f)] && selected[static_cast<size_t>(f)]) arr.at(0, h++) = Variant(rs.FieldName(f));
    }
  }
  while (!rs.IsEOF()) {
    if (top) col = 0;
    for (int f = 0; f < n; ++f) {
      const auto i = static_cast<size_t>(f);
      if (skip[i]) continue;
      if (chapter[i]) {
        RecordsetRef child = rs.ChildRecordset(f);
        child->MoveFirst();
        FillRecords(*child, false, arr, selection, row, col, false);
        child->Close();
      } else if (selected[i]) {
        arr.at(row, col++) = rs.Value(f);
      }
    }
    rs.MoveNext();
    ++row;
  }
}

}  // namespace

void FillArray(Recordset& rs, bool headings, SafeArray& arr, const Selection& selection, int32_t row) {
  int32_t col = 0;
  FillRecords(rs, headings, arr, selection, row, col, true);
}

std::vector<std::string> SelectedNames(const Recordset& rs, const Selection& selection) {
  std::vector<std::string> names;
  for (int f = 0; f < rs.FieldCount(); ++f) {
    const std::string& name = rs.FieldName(f);
    if (name != kTextFieldName && rs.FieldType(f) != adtype::kChapter && selection.Selected(name)) {
      names.push_back(name);
    }
  }
  return names;
}

int16_t XmlFileToArray(clsVantrove& self, const std::string& file, int32_t chapter, Variant& varArray, bool headings,
                       const std::string& filter, const Variant& varFields, int32_t drawingField,
                       std::vector<std::string>* columns) {
  // The description with the one section the chapter needs.
  int16_t sections[8] = {0, 0, 0, 0, 0, 0, 0, 0};  // blocks, attdefs, xrefs, layers, layouts, sysvars, images, text
  switch (chapter) {
    case 1: sections[3] = 1; break;
    case 2:
    case 3: sections[0] = 1; break;
    case 4: sections[6] = 1; break;
    case 5: sections[2] = 1; break;
    case 6: sections[4] = 1; break;
    case 7: sections[1] = 1; break;
    case 8:
    case 9: sections[7] = 1; break;
    default: break;
  }
  self.CreateXML(file, sections[0], sections[1], sections[2], sections[3], sections[4], sections[5], sections[6],
                 sections[7]);
  // An empty file is a claimed temporary name that the description never
  // reached (no drawing open, a write that failed).
  if (!WrittenFile(file)) return -1;
  if (FlattenDescription(file, file, chapter, drawingField, chapter != 7) != 1) return -2;

  int16_t result = 0;
  try {
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
    if (!connected) return -3;
    rs->Open(Variant(file));
    if (!Trim(filter).empty()) rs->SetFilter(Variant(filter));
    int32_t lastColumn = 0;
    const Selection selection = MakeSelection(varFields, drawingField, *rs, lastColumn);
    const auto records = static_cast<int32_t>(rs->RecordCount());
    varArray = Variant(SafeArray({Bounds{0, records - (headings ? 0 : 1)}, Bounds{0, lastColumn}}));
    if (columns) *columns = SelectedNames(*rs, selection);
    FillArray(*rs, headings, varArray.array(), selection, headings ? 1 : 0);
    rs->Close();
    result = 1;
  } catch (...) {
  }
  return result;
}

}  // namespace extract::detail

using extract::detail::XmlFileToArray;

// ---- FixXML -----------------------------------------------------------------------------------

void clsVantrove::FixXML(Variant& strFile) {
  detail::Trapped([&] {
    extract::FixXmlFile(CStr(strFile));
  });
}

// ---- FlattenXMLfile ---------------------------------------------------------------------------

int16_t clsVantrove::FlattenXMLfile(const std::string& strSourceXMLFile, const std::string& strTargetXMLFile,
                                    ChapterType lngChapter, DrawingFieldType lngDrawingField) {
  return detail::Trapped(int16_t{-2}, [&]() -> int16_t {
    Variant source(strSourceXMLFile);
    if (!FileExists(source)) return -1;
    bool ok = true;
    // The attribute-definition chapter is read as the component wrote it;
    // every other chapter normalises the source file first, in place.
    if (lngChapter != dwgAttributeDefs) ok = extract::FixXmlFile(strSourceXMLFile);
    const int16_t flat = extract::FlattenDescription(strSourceXMLFile, strTargetXMLFile, lngChapter,
                                                     lngDrawingField, false);
    return ok && flat == 1 ? 1 : -2;
  });
}

int16_t clsVantrove::Web_FlattenXMLfile(Variant& strSourceXMLFile, Variant& strTargetXMLFile, Variant& lngChapter,
                                        Variant& lngDrawingField) {
  return detail::Trapped(int16_t{-2}, [&]() -> int16_t {
    const std::string source = CStr(strSourceXMLFile);
    const std::string target = CStr(strTargetXMLFile);
    const auto chapter = static_cast<ChapterType>(CLng(lngChapter));
    const auto field = static_cast<DrawingFieldType>(lngDrawingField.IsMissing() ? 0 : CLng(lngDrawingField));
    return FlattenXMLfile(source, target, chapter, field);
  });
}

// ---- XMLfileToArray ---------------------------------------------------------------------------

int16_t clsVantrove::XMLfileToArray(const std::string& strXMLFile, ChapterType lngChapter, Variant& varArray,
                                    bool blnIncludeHeadings, const std::string& strFilter, const Variant& varFields,
                                    DrawingFieldType lngDrawingField) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    return XmlFileToArray(*this, strXMLFile, lngChapter, varArray, blnIncludeHeadings, strFilter, varFields,
                          lngDrawingField);
  });
}

int16_t clsVantrove::Web_XMLfileToArray(Variant& strXMLFile, Variant& lngChapter, Variant& varArray,
                                        Variant& blnIncludeHeadings, Variant& strFilter, Variant& varFields,
                                        Variant lngDrawingField) {
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    const std::string file = CStr(strXMLFile);
    const int32_t chapter = CLng(lngChapter);
    const bool headings = blnIncludeHeadings.IsMissing() ? false : CBool(blnIncludeHeadings);
    const std::string filter = strFilter.IsMissing() ? std::string() : CStr(strFilter);
    const int32_t field = lngDrawingField.IsMissing() ? 0 : CLng(lngDrawingField);
    return XmlFileToArray(*this, file, chapter, varArray, headings, filter, varFields, field);
  });
}

// ---- XMLFileToRecordset -----------------------------------------------------------------------

namespace {

int32_t XmlFileToCallersRecordset(const std::string& file, const ObjectRef& recordset) {
  // The caller's recordset is reached by member name only; the first three
  // provider versions are tried.
  const auto& connections = XmlProviderConnectionStrings();
  bool connected = false;
  for (size_t i = 0; i < 3 && i < connections.size(); ++i) {
    try {
      SetProperty(recordset, "ActiveConnection", Variant(connections[i]));
      connected = true;
      break;
    } catch (...) {
    }
  }
  if (!connected) return -1;
  try {
    CallMethod(recordset, "Open", {Variant(file)});
  } catch (...) {
    return -2;
  }
  try {
    return CLng(GetProperty(recordset, "RecordCount"));
  } catch (...) {
    return 0;
  }
}

}  // namespace

int32_t clsVantrove::XMLFileToRecordset(const std::string& strXMLFile, const ObjectRef& objRecd) {
  return detail::Trapped(int32_t{-1}, [&]() -> int32_t {
    return XmlFileToCallersRecordset(strXMLFile, objRecd);
  });
}

int32_t clsVantrove::Web_XMLFileToRecordset(Variant& strXMLFile, Variant& objRecd) {
  std::string file;
  try {
    file = CStr(strXMLFile);
  } catch (...) {
    return -2;
  }
  const ObjectRef recordset = objRecd.IsObject() ? objRecd.object() : nullptr;
  return XMLFileToRecordset(file, recordset);
}

}  // namespace vantrove
