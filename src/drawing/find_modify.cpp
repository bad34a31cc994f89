// Find-and-modify: one pipeline for every class of drawing object. The
// members differ only in data: which section of the description they ask
// for, which chapter and columns they read, the column they search, the
// column that names the object, and the edit they make per hit.
//
// The pipeline: write the description of one section to a temporary file,
// read the wanted chapter into an array with a row filter built by plain
// concatenation (so callers may pass filter syntax through the search text),
// test every row again in code (the filter's matching ignores case), edit
// each hit by its handle and count the edits the component answered "OK".
#include <array>
#include <cstdio>
#include <vector>

#include "../component/boundary.hpp"
#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"

namespace vantrove {

namespace {

enum class Edit { kDelete, kText, kAttribute, kImagePath, kXrefPath };

// The description sections, in CreateXML's order.
enum Section { kBlocks, kAttributeDefinitions, kExternalReferences, kLayers, kLayouts, kSystemVariables, kImages, kText };

struct ObjectClass {
  Section section;
  std::vector<std::string> fields;  // in the order the flat record holds them
  Edit edit;
  int idColumn;                     // the handle (or the reference name) of the object
};

const ObjectClass kText8{kText, {"Block", "Layout", "Value", "Handle"}, Edit::kText, 3};
const ObjectClass kTextDelete{kText, {"Block", "Layout", "Value", "Handle"}, Edit::kDelete, 3};
const ObjectClass kAttributeDefinitionDelete{
    kAttributeDefinitions,
    {"Block", "Handle", "AttributeTag", "AttributePrompt", "AttributeValue", "Constant"},
    Edit::kDelete,
    1};
const ObjectClass kBlockDelete{kBlocks, {"Block", "Layout", "Name", "Handle", "LayerName"}, Edit::kDelete, 3};
const std::vector<std::string> kAttributeFields = {"Block",           "Layout",       "Name",          "LayerName",
                                                   "AttributeHandle", "AttributeTag", "AttributeValue"};
const ObjectClass kAttributeReplace{kBlocks, kAttributeFields, Edit::kAttribute, 4};
const ObjectClass kAttributeDelete{kBlocks, kAttributeFields, Edit::kDelete, 4};
const ObjectClass kImageReplace{kImages, {"Block", "Handle", "ElementId", "PathName"}, Edit::kImagePath, 1};
const ObjectClass kXrefReplace{kExternalReferences, {"Name", "PathName", "Loaded", "Status"}, Edit::kXrefPath, 0};

}  // namespace

struct clsVantrove::FindRequest {
  const ObjectClass* cls;
  ChapterType chapter;
  std::string column;  // the search column as the condition names it ("value", "attributetag", ...)
  int searchColumn;
  std::string find;
  const std::string* replace;  // nullptr for the deleting members
  bool wholeValue;
  bool replaceWholeValue;
  bool matchCase;
  std::string filter;
  Variant* handlesOut;
};

namespace {
// Removes the temporary description on every way out.
struct RemoveOnExit {
  std::string path;
  ~RemoveOnExit() {
    if (!path.empty()) std::remove(path.c_str());
  }
};
}  // namespace

int32_t clsVantrove::FindAndModify(const FindRequest& rq) {
  RemoveOnExit temp;
  try {
    const std::string tempName = extract::TempXmlFileName();
    temp.path = tempName;
    std::string condition = rq.wholeValue ? rq.column + " = '" + rq.find + "'" : rq.column + " LIKE '%" + rq.find + "%'";

    std::array<int16_t, 8> sections{};
    sections[rq.cls->section] = 1;
    CreateXML(tempName, sections[0], sections[1], sections[2], sections[3], sections[4], sections[5], sections[6],
              sections[7]);
    if (!extract::WrittenFile(tempName)) return -1;

    const bool everything = rq.find == "*";
    const std::string filter = Trim(rq.filter);
    if (everything) {
      condition = filter;
    } else if (!filter.empty()) {
      condition = Trim(condition) + " AND " + filter;
    }

    std::vector<Variant> names;
    for (const std::string& f : rq.cls->fields) names.emplace_back(f);
    SafeArray fieldList = SafeArray::Vector(std::move(names));
    Variant rows;
    XMLfileToArray(tempName, rq.chapter, rows, false, condition, Variant(std::move(fieldList)), dwgNone);
    std::remove(tempName.c_str());  // deleted whatever the reading gave

    if (!rows.IsArray()) return 0;
    const SafeArray& a = rows.array();
    if (!a.allocated() || a.dims() != 2 || a.UBound(1) < a.LBound(1)) return 0;
    std::string firstRow;
    for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) firstRow += CStr(a.at(a.LBound(1), c));
    if (firstRow.empty()) return 0;

    const int32_t lastRow = a.UBound(1);
    if (rq.handlesOut != nullptr && rq.handlesOut->IsArray()) {
      SafeArray& handles = rq.handlesOut->array();
      handles.ReDimPreserve({Bounds{0, lastRow}});
      for (int32_t i = 0; i <= lastRow; ++i) handles.at(i) = a.at(i, rq.cls->idColumn);
    }

    const CompareMode mode = rq.matchCase ? CompareMode::Binary : CompareMode::Text;
    int32_t count = 0;
    for (int32_t i = 0; i <= lastRow; ++i) {
      const std::string base = CStr(a.at(i, rq.searchColumn));
      const std::string id = CStr(a.at(i, rq.cls->idColumn));
      std::string newValue;
      if (!everything) {
        if (rq.wholeValue) {
          if (StrComp(base, rq.find, mode) != 0) continue;
        } else if (InStr(1, base, rq.find, mode) == 0) {
          continue;
        }
      }
      if (rq.replace != nullptr) {
        newValue = (everything || rq.wholeValue || rq.replaceWholeValue) ? *rq.replace
                                                                         : Replace(base, rq.find, *rq.replace, 1, -1, mode);
      }
      std::string answer;
      switch (rq.cls->edit) {
        case Edit::kDelete: answer = DeleteObject(id); break;
        case Edit::kText: answer = UpdateText(newValue, id); break;
        case Edit::kAttribute: answer = UpdateBlockAttribute(newValue, id); break;
        case Edit::kImagePath: answer = SetImagePath(newValue, id); break;
        case Edit::kXrefPath: answer = SetReferenceFilePath(newValue, id); break;
      }
      if (answer == "OK") ++count;
    }
    return count;
  } catch (...) {
    return -2;
  }
}

// ---- The members ------------------------------------------------------------------------

int32_t clsVantrove::FindAndReplaceText(const std::string& strTextToFind, const std::string& strReplaceText,
                                        TextType lngTextType, bool blnFindWholeWordOnly, bool blnReplaceWholeValue,
                                        bool blnMatchCase, const std::string& strFilter) {
  return FindAndModify({&kText8, lngTextType != 0 ? dwgMultiLineText : dwgText, "value", 2, strTextToFind,
                        &strReplaceText, blnFindWholeWordOnly, blnReplaceWholeValue, blnMatchCase, strFilter, nullptr});
}

int32_t clsVantrove::FindAndDeleteAttributeDefObjects(const std::string& strTextToFind, bool blnFindWholeWordOnly,
                                                      bool blnMatchCase, const std::string& strFilter) {
  return FindAndModify({&kAttributeDefinitionDelete, dwgAttributeDefs, "attributetag", 2, strTextToFind, nullptr,
                        blnFindWholeWordOnly, false, blnMatchCase, strFilter, nullptr});
}

int32_t clsVantrove::FindAndDeleteBlockObjects(const std::string& strTextToFind, bool blnFindWholeWordOnly,
                                               bool blnMatchCase, const std::string& strFilter) {
  return FindAndModify({&kBlockDelete, dwgBlocks, "name", 2, strTextToFind, nullptr, blnFindWholeWordOnly, false,
                        blnMatchCase, strFilter, nullptr});
}

int32_t clsVantrove::FindAndDeleteTextObjects(const std::string& strTextToFind, TextType lngTextType,
                                              bool blnFindWholeWordOnly, bool blnMatchCase,
                                              const std::string& strFilter) {
  return FindAndModify({&kTextDelete, lngTextType != 0 ? dwgMultiLineText : dwgText, "value", 2, strTextToFind,
                        nullptr, blnFindWholeWordOnly, false, blnMatchCase, strFilter, nullptr});
}

int32_t clsVantrove::FindAndReplaceBlockAttributes(const std::string& strTextToFind, const std::string& strReplaceText,
                                                   bool blnFindTagName, bool blnFindWholeWordOnly,
                                                   bool blnReplaceWholeValue, bool blnMatchCase,
                                                   const std::string& strFilter, Variant* varAttributeHandles) {
  return FindAndModify({&kAttributeReplace, dwgBlocksAndAttributes, blnFindTagName ? "attributetag" : "attributevalue",
                        blnFindTagName ? 5 : 6, strTextToFind, &strReplaceText, blnFindWholeWordOnly,
                        blnReplaceWholeValue, blnMatchCase, strFilter, varAttributeHandles});
}

int32_t clsVantrove::FindAndDeleteBlockAttributeObjects(const std::string& strTextToFind, bool blnFindTagName,
                                                        bool blnFindWholeWordOnly, bool blnMatchCase,
                                                        const std::string& strFilter) {
  return FindAndModify({&kAttributeDelete, dwgBlocksAndAttributes, blnFindTagName ? "attributetag" : "attributevalue",
                        blnFindTagName ? 5 : 6, strTextToFind, nullptr, blnFindWholeWordOnly, false, blnMatchCase,
                        strFilter, nullptr});
}

int32_t clsVantrove::FindAndReplaceImagePaths(const std::string& strTextToFind, const std::string& strReplaceText,
                                              bool blnFindWholeWordOnly, bool blnReplaceWholeValue, bool blnMatchCase,
                                              const std::string& strFilter) {
  return FindAndModify({&kImageReplace, dwgImages, "pathname", 3, strTextToFind, &strReplaceText, blnFindWholeWordOnly,
                        blnReplaceWholeValue, blnMatchCase, strFilter, nullptr});
}

int32_t clsVantrove::FindAndReplaceExternalRefPaths(const std::string& strTextToFind,
                                                    const std::string& strReplaceText, bool blnFindWholeWordOnly,
                                                    bool blnReplaceWholeValue, bool blnMatchCase,
                                                    const std::string& strFilter) {
  return FindAndModify({&kXrefReplace, dwgExternalRefs, "pathname", 1, strTextToFind, &strReplaceText,
                        blnFindWholeWordOnly, blnReplaceWholeValue, blnMatchCase, strFilter, nullptr});
}

// ---- Twins: the same work with every argument a variant ----------------------------------

int32_t clsVantrove::Web_FindAndReplaceText(Variant& strTextToFind, Variant& strReplaceText, Variant& lngTextType,
                                            Variant& blnFindWholeWordOnly, Variant& blnReplaceWholeValue,
                                            Variant& blnMatchCase, Variant& strFilter) {
  return detail::Trapped(int32_t{-2}, [&]() -> int32_t {
    return FindAndReplaceText(CStr(strTextToFind), CStr(strReplaceText), static_cast<TextType>(CLng(lngTextType)),
                              CBool(blnFindWholeWordOnly), CBool(blnReplaceWholeValue), CBool(blnMatchCase),
                              CStr(strFilter));
  });
}

int32_t clsVantrove::Web_FindAndDeleteAttributeDefObjects(Variant& strTextToFind, Variant& blnFindWholeWordOnly,
                                                          Variant& blnMatchCase, Variant& strFilter) {
  return detail::Trapped(int32_t{-2}, [&]() -> int32_t {
    return FindAndDeleteAttributeDefObjects(CStr(strTextToFind), CBool(blnFindWholeWordOnly), CBool(blnMatchCase),
                                            CStr(strFilter));
  });
}

int32_t clsVantrove::Web_FindAndDeleteBlockObjects(Variant& strTextToFind, Variant& blnFindWholeWordOnly,
                                                   Variant& blnMatchCase, Variant& strFilter) {
  return detail::Trapped(int32_t{-2}, [&]() -> int32_t {
    return FindAndDeleteBlockObjects(CStr(strTextToFind), CBool(blnFindWholeWordOnly), CBool(blnMatchCase),
                                     CStr(strFilter));
  });
}

int32_t clsVantrove::Web_FindAndDeleteTextObjects(Variant& strTextToFind, Variant& lngTextType,
                                                  Variant& blnFindWholeWordOnly, Variant& blnMatchCase,
                                                  Variant& strFilter) {
  return detail::Trapped(int32_t{-2}, [&]() -> int32_t {
    return FindAndDeleteTextObjects(CStr(strTextToFind), static_cast<TextType>(CLng(lngTextType)),
                                    CBool(blnFindWholeWordOnly), CBool(blnMatchCase), CStr(strFilter));
  });
}

int32_t clsVantrove::Web_FindAndReplaceBlockAttributes(Variant& strTextToFind, Variant& strReplaceText,
                                                       Variant& blnFindTagName, Variant& blnFindWholeWordOnly,
                                                       Variant& blnReplaceWholeValue, Variant& blnMatchCase,
                                                       Variant& strFilter) {
  return detail::Trapped(int32_t{-2}, [&]() -> int32_t {
    return FindAndReplaceBlockAttributes(CStr(strTextToFind), CStr(strReplaceText), CBool(blnFindTagName),
                                         CBool(blnFindWholeWordOnly), CBool(blnReplaceWholeValue), CBool(blnMatchCase),
                                         CStr(strFilter));
  });
}

int32_t clsVantrove::Web_FindAndDeleteBlockAttributeObjects(Variant& strTextToFind, Variant& blnFindTagName,
                                                            Variant& blnFindWholeWordOnly, Variant& blnMatchCase,
                                                            Variant& strFilter) {
  return detail::Trapped(int32_t{-2}, [&]() -> int32_t {
    return FindAndDeleteBlockAttributeObjects(CStr(strTextToFind), CBool(blnFindTagName), CBool(blnFindWholeWordOnly),
                                              CBool(blnMatchCase), CStr(strFilter));
  });
}

int32_t clsVantrove::Web_FindAndReplaceImagePaths(Variant& strTextToFind, Variant& strReplaceText,
                                                  Variant& blnFindWholeWordOnly, Variant& blnReplaceWholeValue,
                                                  Variant& blnMatchCase, Variant& strFilter) {
  return detail::Trapped(int32_t{-2}, [&]() -> int32_t {
    return FindAndReplaceImagePaths(CStr(strTextToFind), CStr(strReplaceText), CBool(blnFindWholeWordOnly),
                                    CBool(blnReplaceWholeValue), CBool(blnMatchCase), CStr(strFilter));
  });
}

int32_t clsVantrove::Web_FindAndReplaceExternalRefPaths(Variant& strTextToFind, Variant& strReplaceText,
                                                        Variant& blnFindWholeWordOnly, Variant& blnReplaceWholeValue,
                                                        Variant& blnMatchCase, Variant& strFilter) {
  return detail::Trapped(int32_t{-2}, [&]() -> int32_t {
    return FindAndReplaceExternalRefPaths(CStr(strTextToFind), CStr(strReplaceText), CBool(blnFindWholeWordOnly),
                                          CBool(blnReplaceWholeValue), CBool(blnMatchCase), CStr(strFilter));
  });
}

}  // namespace vantrove
