#pragma once
// The field lists of the VPORT and DIMSTYLE table entries of DWG 2000, in
// their stored order with the DXF group each comes from, and the writer
// that encodes an entry from its groups with them.

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

#include "dwg/header_vars_r2000.hpp"
#include "dwg/model_groups.hpp"
#include "dwg/object_writer.hpp"

namespace vantrove::engine::dwg {

struct EntryField {
  int16_t code;              // DXF group (a point's first code); for flag bits the group holding them
  HeaderBits bits;           // kB, kBS, kBD, kRD2, kBD3, kTV, kCMC, kH
  std::string_view fallback; // as DXF text ("0,0,0" for points)
  int8_t bit = -1;           // kB taken from one bit of an integer group
};

// The fields after the entry's name and flags; handles (kH) go to the
// handle stream after the external block reference.
std::span<const EntryField> VportFieldsR2000();
std::span<const EntryField> DimstyleFieldsR2000();

// Writes the entry's name, flags and fields from its groups; `handleOf`
// resolves kH fields by DXF code (the group holds a handle or a name).
void WriteEntryFields(ObjectWriter& w, const GroupView& g, std::span<const EntryField> fields,
                      const std::function<uint64_t(int16_t code, std::string_view value)>& handleOf);

}  // namespace vantrove::engine::dwg
