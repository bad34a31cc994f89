#pragma once
// Parsers of the class list and the object map (handle -> offset).

#include <cstdint>
#include <string>
#include <vector>

#include "dwg/codepage.hpp"
#include "dwg/container.hpp"
#include "dwg/records.hpp"

namespace vantrove::engine::dwg {

struct MapEntry {
  uint64_t handle = 0;
  int64_t offset = 0;
};

// Reads the object map. Entries are returned in stored order; damaged
// chunks end the map early with a warning (what was read stays usable).
void ParseObjectMap(ByteView map, std::vector<MapEntry>& out, std::vector<std::string>& warnings);

// Reads the class list. Returns false (with a warning) when the section is
// unreadable; the caller can still decode objects of fixed types.
bool ParseClasses(const Container& c, TextDecoder& text, std::vector<ClassInfo>& out,
                  std::vector<std::string>& warnings);

// Locates the string stream of a data block whose "has strings" flag bit sits
// at `flagPos` (bits). On success positions `str` at the first string and
// limits it to the stream; returns false when the block has no strings.
bool LocateStringStream(BitReader& str, size_t flagPos);

}  // namespace vantrove::engine::dwg
