#pragma once
// The objects of a drawing for a DWG file of the version it was read from
// (R13 to 2018): every object nobody changed is copied as it was stored;
// an edited one is rebuilt from its stored form with the edited fields
// encoded anew (text values, layer states, image and external reference
// paths, dictionary entries, reactors); deleted ones are left out and the
// entity chains, block records and dictionaries that named them are
// relinked.

#include <string>
#include <vector>

#include "dwg/container.hpp"
#include "dwg/writer_r2000.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace vantrove::engine::dwg {

struct EncodeReport {
  size_t copied = 0;       // objects copied as stored
  size_t rebuilt = 0;      // objects rebuilt with changes
  // Edited objects of types whose changes the encoder cannot carry yet:
  // written as they were read, by type name.
  std::vector<std::string> unchanged;
};

// Fills `out` sorted by handle. False with `error` when an object's stored
// form cannot be taken apart for a change it needs.
bool EncodeObjectsSameVersion(const Document& doc, Version version, std::vector<EncodedObject>& out,
                              EncodeReport& report, std::string& error);

// Whether `object` changed since it was read: an edit stores a new DXF form.
bool EditedSinceRead(const Document& doc, const Object& object, const DwgSource& source);

}  // namespace vantrove::engine::dwg
