// clsVantrove's control adapters (declared in members.cpp); the work is in
// the adapters of list_adapters.cpp, grid_adapters.cpp and tree_adapters.cpp.
#include "adapters.hpp"
#include "tree_excel.hpp"
#include "vantrove/component.hpp"

namespace vantrove {

int16_t clsVantrove::DictionaryToArray(const ObjectRef& dt, Variant& varArray, bool blnIncludeKeys) {
  return adapters::DictionaryToArray(dt, varArray, blnIncludeKeys);
}
int16_t clsVantrove::DirListBoxToOneDArray(const ObjectRef& dlb, Variant& varArray) {
  return adapters::DirListBoxToOneDArray(dlb, varArray);
}
int16_t clsVantrove::DriveListBoxToOneDArray(const ObjectRef& dlb, Variant& varArray) {
  return adapters::DriveListBoxToOneDArray(dlb, varArray);
}
int16_t clsVantrove::DataGridToArray(const ObjectRef& dg, Variant& varArray, bool blnIncludeHeadings) {
  return adapters::DataGridToArray(dg, varArray, blnIncludeHeadings);
}
int16_t clsVantrove::TwoDArrayToListView(const Variant& varArray, const ObjectRef& lv, const Variant& varSelectItems) {
  return adapters::TwoDArrayToListView(varArray, lv, varSelectItems);
}
int16_t clsVantrove::TwoDArrayToTreeView(const Variant& varArray, const ObjectRef& tv, bool blnExpandAll) {
  return adapters::TwoDArrayToTreeView(varArray, tv, blnExpandAll);
}
int16_t clsVantrove::FlexGridToArray(const ObjectRef& fg, Variant& varArray, int32_t lngStartRow, int16_t lngStartCol,
                                     int32_t lngEndRow, int16_t lngEndCol) {
  return adapters::FlexGridToArray(fg, varArray, lngStartRow, lngStartCol, lngEndRow, lngEndCol);
}
int16_t clsVantrove::TwoDArrayToFlexGrid(const Variant& varArray, const ObjectRef& fg) {
  return adapters::TwoDArrayToFlexGrid(varArray, fg);
}
int16_t clsVantrove::FileListBoxToOneDArray(const ObjectRef& flb, Variant& varArray, bool blnSelectedOnly) {
  return adapters::FileListBoxToOneDArray(flb, varArray, blnSelectedOnly);
}
int16_t clsVantrove::XMLFileToTreeView(const std::string& strXMLFile, const ObjectRef& tv, bool blnExpandAll) {
  return adapters::XMLFileToTreeView(strXMLFile, tv, blnExpandAll);
}
int16_t clsVantrove::ComboBoxToOneDArray(const ObjectRef& cb, Variant& varArray) {
  return adapters::ComboBoxToOneDArray(cb, varArray);
}
int16_t clsVantrove::ListViewToArray(const ObjectRef& lv, Variant& varArray, bool blnSelectedOnly,
                                     bool blnIncludeHeadings) {
  return adapters::ListViewToArray(lv, varArray, blnSelectedOnly, blnIncludeHeadings);
}
int16_t clsVantrove::ListBoxToOneDArray(const ObjectRef& lb, Variant& varArray, bool blnSelectedOnly) {
  return adapters::ListBoxToOneDArray(lb, varArray, blnSelectedOnly);
}
int16_t clsVantrove::TreeViewToTwoDArray(const ObjectRef& tv, Variant& varArray, bool blnSuppressRows) {
  return adapters::TreeViewToTwoDArray(tv, varArray, blnSuppressRows);
}
int16_t clsVantrove::TwoDArrayToDictionary(const Variant& varArray, const ObjectRef& dt) {
  return adapters::TwoDArrayToDictionary(varArray, dt);
}
int16_t clsVantrove::TwoDArrayToCollection(const Variant& varArray, const ObjectRef& cl) {
  return adapters::TwoDArrayToCollection(varArray, cl);
}

int16_t clsVantrove::TreeViewToExcel(const ObjectRef& tv, int32_t lngRow, int32_t lngCol,
                                     const std::string& strWorkbook, bool blnUseOpenWorkbook,
                                     const std::string& strSaveToFile, const Variant& varWorksheet,
                                     bool blnCloseWorkbook, const std::string& strSheetName) {
  const office::WorkbookChoice choice{strWorkbook, blnUseOpenWorkbook, strSaveToFile, varWorksheet, "", "",
                                      blnCloseWorkbook, strSheetName};
  auto fileExists = [this](const std::string& path) {
    Variant p(path);
    return FileExists(p);
  };
  return adapters::TreeViewToExcel(office_application(), tv, lngRow, lngCol, choice, fileExists);
}

}  // namespace vantrove
