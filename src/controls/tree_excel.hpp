#pragma once
// Internal: TreeViewToExcel's work on the object's office application.
//
// Layout: one row per node from (lngRow, lngCol) down, each node before its
// children; the node's text in column lngCol + its depth. Results: 1 done,
// -1 lngRow below 1 or lngCol outside 1 to 256, -2 tv is not a tree view,
// -4 the workbook file does not exist, 0 a run-time error.

#include "../output/excel_writer.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::adapters {

int16_t TreeViewToExcel(office::Application& app, const ObjectRef& tv, int32_t lngRow, int32_t lngCol,
                        const office::WorkbookChoice& choice, const office::FileTest& fileExists);

}  // namespace vantrove::adapters
