#pragma once
// The 2004-family file container (AC1018, AC1024, AC1027, AC1032), written
// for a drawing read from a file of the same version: data pages in the
// source's order (kept sections copied page for page, the objects and the
// object map compressed anew), the section map, the page map, the
// encrypted file header and its copy at the end of the file.

#include <string>
#include <string_view>
#include <vector>

#include "dwg/writer_r2000.hpp"

namespace vantrove::engine::dwg {

struct R2004Parts {
  std::string_view head;           // the source's first 0x100 bytes
  std::string_view sectionMap;     // decompressed
  std::string_view pages;          // kept pages (r2004_parts.hpp)
  std::string_view objectsPrefix;  // the objects section before its first object
};

// Writes the whole file to `out`. Objects must be sorted by handle.
// Returns false with `error` when the parts are unusable.
bool AssembleR2004(const R2004Parts& parts, const std::vector<EncodedObject>& objects, std::string& out,
                   std::string& error);

}  // namespace vantrove::engine::dwg
