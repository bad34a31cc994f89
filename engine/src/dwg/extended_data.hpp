#pragma once
// Extended data of a record (its groups from 1001 on) in the DWG 2000
// form: per application a block of its size, the application's handle
// and the items, each a code byte and its value.

#include <cstdint>
#include <functional>
#include <string_view>

#include "dwg/bit_writer.hpp"
#include "vantrove/engine/groups.hpp"

namespace vantrove::engine::dwg {

// Appends the blocks to `out` (without the closing zero size). Groups of
// applications `appid` does not know (0) are left out; returns how many
// blocks were written.
size_t EncodeExtendedData(GroupSpan groups, const std::function<uint64_t(std::string_view)>& appid, BitWriter& out);

}  // namespace vantrove::engine::dwg
