#pragma once
// The data of an XRECORD object: a run of bytes holding (group code, value)
// items, each value stored by the kind its code carries (text, reals,
// points as three reals, integers, binary chunks, handles).

#include <string_view>
#include <vector>

#include "dwg/codepage.hpp"
#include "vantrove/engine/groups.hpp"

namespace vantrove::engine::dwg {

// True when the items fill `data` exactly; anything else is a layout this
// reader does not know. `utf16`: text is UTF-16 (2007 and later), else in
// the drawing's code page.
bool XrecordItemsFit(std::string_view data, bool utf16);

// Appends the items of `data` (which fit) to `out` as the groups an
// XRECORD has in DXF, their text stored in `arena`.
void AppendXrecordItems(std::string_view data, bool utf16, TextDecoder& text, TextArena& arena,
                        std::vector<Group>& out);

}  // namespace vantrove::engine::dwg
