#pragma once
// The data of an XRECORD object: a run of bytes holding (group code, value)
// items, each value stored by the kind its code carries (text, reals,
// points as three reals, integers, binary chunks, handles).

#include <string_view>

#include "dwg/codepage.hpp"
#include "model/record_encoder.hpp"

namespace vantrove::engine::dwg {

// Sets `values` to the items of `data` as the "items" groups an XRECORD
// has in DXF (nothing else: call it first). `utf16`: text is UTF-16 (2007 and later), else in the
// drawing's code page. Returns false when the items do not fill the bytes
// exactly, the sign of a layout this reader does not know.
bool ReadXrecordItems(std::string_view data, bool utf16, TextDecoder& text, types::FieldValues& values);

}  // namespace vantrove::engine::dwg
