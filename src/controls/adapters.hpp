#pragma once
// Internal: copying between arrays and the controls, dictionaries and
// collections. clsVantrove's members of the same names call these.
//
// Every adapter first checks that it got an array and the kind of control it
// needs, then reads or writes only through the control's interface. A
// writer converts the whole array before it touches the control, so input it
// cannot use leaves the control as it was. Cells become text by the ordinary
// conversion, Null as the empty text.
//
// Results: 1 done, 0 a run-time error (a control refusing an index, a value
// that has no text), and:
//   ListBox-, ComboBox-, DirListBox-, DriveListBox-, FileListBoxToOneDArray:
//       -1 the object is not that kind of control, -2 varArray holds no array.
//   ListViewToArray, DataGridToArray, FlexGridToArray, TreeViewToTwoDArray,
//   DictionaryToArray:
//       -1 varArray holds no array, -2 the object is not that kind;
//       FlexGridToArray also -3 a block outside the grid.
//   TwoDArrayToListView, -FlexGrid, -TreeView, -Dictionary, -Collection:
//       -1 varArray holds no array, -2 the object is not that kind,
//       -3 the array is not two-dimensional; TwoDArrayToDictionary and
//       TwoDArrayToCollection also 0 for a key that is already there (the
//       dictionary or collection is left as it was).
//   XMLFileToTreeView: -1 the file cannot be read or is not well-formed
//       XML, -2 the object is not a tree view.

#include <cstdint>
#include <string>

#include "vantrove/runtime.hpp"

namespace vantrove::adapters {

// ---- Lists to one-dimensional arrays (0 .. n - 1) -----------------------------
int16_t ListBoxToOneDArray(const ObjectRef& lb, Variant& varArray, bool blnSelectedOnly);
int16_t ComboBoxToOneDArray(const ObjectRef& cb, Variant& varArray);
int16_t DirListBoxToOneDArray(const ObjectRef& dlb, Variant& varArray);
int16_t DriveListBoxToOneDArray(const ObjectRef& dlb, Variant& varArray);
int16_t FileListBoxToOneDArray(const ObjectRef& flb, Variant& varArray, bool blnSelectedOnly);

// ---- List views ----------------------------------------------------------------
// One row per item (selected ones only on request): column 0 the item's
// text, column j its SubItems(j), as many columns as the view has column
// headers (at least one); with headings a first row of the headers' texts.
int16_t ListViewToArray(const ObjectRef& lv, Variant& varArray, bool blnSelectedOnly, bool blnIncludeHeadings);
// Adds one item per row; selects the items whose text equals varSelectItems
// (an array of variants: any of its elements; a string: that text), without
// regard to case.
int16_t TwoDArrayToListView(const Variant& varArray, const ObjectRef& lv, const Variant& varSelectItems);

// ---- Grids ------------------------------------------------------------------------
// The block (start .. end) of the grid's cells, rows and columns from 0; an
// end of 0 means the grid's last row or column.
int16_t FlexGridToArray(const ObjectRef& fg, Variant& varArray, int32_t lngStartRow, int16_t lngStartCol,
                        int32_t lngEndRow, int16_t lngEndCol);
// Sizes the grid to the array and writes every cell.
int16_t TwoDArrayToFlexGrid(const Variant& varArray, const ObjectRef& fg);
// Every record of the grid (ApproxCount rows, one column per grid column),
// read one screen (VisibleRows) at a time; with headings a first row of the
// column captions. The grid is left scrolled to the top.
int16_t DataGridToArray(const ObjectRef& dg, Variant& varArray, bool blnIncludeHeadings);

// ---- Tree views ----------------------------------------------------------------------
// Each row is a path from a top-level node down: its cells from the first
// column to the first empty one name one node per level. Rows that share a
// beginning share those nodes; the first node added is selected, and with
// blnExpandAll every new node is made visible.
int16_t TwoDArrayToTreeView(const Variant& varArray, const ObjectRef& tv, bool blnExpandAll);
// One row per node in the order of Nodes: the node's FullPath split at the
// view's PathSeparator, one part per column (as many columns as the deepest
// path, the rest of a row Empty). blnSuppressRows leaves out the rows of
// nodes that have children, so that only whole paths remain: the rows that
// TwoDArrayToTreeView takes.
int16_t TreeViewToTwoDArray(const ObjectRef& tv, Variant& varArray, bool blnSuppressRows);
// Mirrors the XML file's element tree: a node per element (its name) and per
// text or CDATA section (its text); comments and processing instructions are
// left out. DTDs and entities are never read.
int16_t XMLFileToTreeView(const std::string& strXMLFile, const ObjectRef& tv, bool blnExpandAll);

// ---- Dictionaries and collections ------------------------------------------------------
// With keys: (0 .. Count - 1, 0 .. 1), keys then items; without: the items.
int16_t DictionaryToArray(const ObjectRef& dt, Variant& varArray, bool blnIncludeKeys);
// One Add per row: the key is the first cell as text; the item the second
// cell when there are two columns, an array (from 0) of the cells after the
// key when there are more, Empty when there is one.
int16_t TwoDArrayToDictionary(const Variant& varArray, const ObjectRef& dt);
// One Add per row: with one column the cell, without a key; with more, key
// and item as for a dictionary (an empty first cell adds without a key).
int16_t TwoDArrayToCollection(const Variant& varArray, const ObjectRef& cl);

}  // namespace vantrove::adapters
