#pragma once
// The DXF form of a drawing read from DWG: every object whose type the
// type table knows gets the groups a DXF file of the drawing's version
// would hold for it, encoded from the table with the decoded values, so
// that the DXF writer, the edits and the description treat it as they
// treat a record read from DXF. Objects the table does not know, and
// those that hang on them (the attributes of an unknown entity, the
// extension dictionary of one), keep an empty DXF form: the DXF writer
// leaves them out and counts them.

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "dwg/records.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dwg {

// `made` maps each decoded object's handle to the model object made for
// it; `names` gives the names of table entries and blocks by handle.
void BuildDxfForms(const DecodedDrawing& decoded, Document& doc, const std::unordered_map<uint64_t, Object*>& made,
                   const std::unordered_map<uint64_t, std::string_view>& names);

}  // namespace vantrove::engine::dwg
