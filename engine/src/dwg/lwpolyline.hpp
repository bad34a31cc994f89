#pragma once
// The data of an LWPOLYLINE entity: its flags, optional width, elevation,
// thickness and extrusion, then the vertices with their bulges, widths and
// (2010 and later) ids, as the DXF form's fields.

#include "dwg/bit_reader.hpp"
#include "model/record_encoder.hpp"

namespace vantrove::engine::dwg {

// `r2000`: points after the first are stored as differences (2000+);
// `r2010`: vertex ids may follow the bulges. False when the counts cannot
// fit the data that remains.
bool ReadLwPolyline(BitReader& d, bool r2000, bool r2010, types::FieldValues& values);

}  // namespace vantrove::engine::dwg
