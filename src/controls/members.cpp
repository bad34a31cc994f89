// The control adapter members: list, tree, grid and file controls,
// dictionaries and collections to and from arrays.
//
// One declaration per member (see docs/members.md).
#include "../component/member.hpp"

namespace vantrove::detail {

namespace {

constexpr MemberDecl kMembers[] = {
    VANTROVE_MEMBER(29, DictionaryToArray, "Integer", "dt As Object, varArray As Variant, Optional blnIncludeKeys As Boolean",
     "Method to copy Dictionary items to an array."),
    VANTROVE_MEMBER(30, DirListBoxToOneDArray, "Integer", "dlb As Object, varArray As Variant",
     "Method to copy DirListBox items to a one dimensional array."),
    VANTROVE_MEMBER(31, DriveListBoxToOneDArray, "Integer", "dlb As Object, varArray As Variant",
     "Method to copy DriveListBox items to a one dimensional array."),
    VANTROVE_MEMBER(32, DataGridToArray, "Integer", "dg As Object, varArray As Variant, Optional blnIncludeHeadings As Boolean",
     "Method to copy DataGrid rows to a two dimensional array."),
    VANTROVE_MEMBER(75, TwoDArrayToListView, "Integer", "varArray As Variant, lv As Object, Optional varSelectItems As Variant",
     "Method to copy a two dimensional array to a ListView."),
    VANTROVE_MEMBER(84, TwoDArrayToTreeView, "Integer", "varArray As Variant, tv As Object, Optional blnExpandAll As Boolean",
     "Method to copy a two dimensional array to a TreeView."),
    VANTROVE_MEMBER(92, FlexGridToArray, "Integer",
     "fg As Object, varArray As Variant, Optional lngStartRow As Long, Optional lngStartCol As Integer, "
     "Optional ByVal lngEndRow As Long, Optional ByVal lngEndCol As Integer",
     "Method to copy FlexGrid cells to a two dimensional array."),
    VANTROVE_MEMBER(94, TwoDArrayToFlexGrid, "Integer", "varArray As Variant, fg As Object",
     "Method to copy a two dimensional array to a FlexGrid."),
    VANTROVE_MEMBER(99, FileListBoxToOneDArray, "Integer", "flb As Object, varArray As Variant, Optional blnSelectedOnly As Boolean",
     "Method to copy FileListBox items to a one dimensional array."),
    VANTROVE_MEMBER(100, XMLFileToTreeView, "Integer", "strXMLFile As String, tv As Object, Optional blnExpandAll As Boolean",
     "Method to copy an XML file to a TreeView."),
    VANTROVE_MEMBER(102, ComboBoxToOneDArray, "Integer", "cb As Object, varArray As Variant",
     "Method to copy ComboBox items to a one dimensional array."),
    VANTROVE_MEMBER(111, ListViewToArray, "Integer",
     "lv As Object, varArray As Variant, Optional blnSelectedOnly As Boolean, Optional blnIncludeHeadings As Boolean",
     "Method to copy ListView items to a two dimensional array."),
    VANTROVE_MEMBER(113, ListBoxToOneDArray, "Integer", "lb As Object, varArray As Variant, Optional blnSelectedOnly As Boolean",
     "Method to copy ListBox items to a one dimensional array."),
    VANTROVE_MEMBER(114, TreeViewToTwoDArray, "Integer", "tv As Object, varArray As Variant, Optional blnSuppressRows As Boolean",
     "Method to copy a TreeView to a two dimensional array."),
    VANTROVE_MEMBER(115, TwoDArrayToDictionary, "Integer", "varArray As Variant, dt As Object",
     "Method to copy a two dimensional array to a Dictionary."),
    VANTROVE_MEMBER(116, TwoDArrayToCollection, "Integer", "varArray As Variant, cl As Object",
     "Method to copy a two dimensional array to a Collection."),
    VANTROVE_MEMBER(101, TreeViewToExcel, "Integer",
     "tv As Object, Optional lngRow As Long = 1, Optional lngCol As Long = 1, Optional strWorkbook As String, "
     "Optional blnUseOpenWorkbook As Boolean, Optional strSaveToFile As String, Optional varWorksheet As Variant, "
     "Optional blnCloseWorkbook As Boolean, Optional strSheetName As String",
     "Method to copy a TreeView to an Excel workbook's worksheet."),
};

}  // namespace

std::span<const MemberDecl> ControlsMembers() { return kMembers; }

}  // namespace vantrove::detail
