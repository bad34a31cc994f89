#pragma once
// A whole DWG 2000 file encoded from the drawing model, for a drawing read
// from DXF (or from a DWG of another version): header variables, classes,
// the tables with their control objects, blocks with their entities,
// dictionaries, layouts and images. What the encoder cannot write is left
// out and counted by type name.

#include <cstddef>
#include <map>
#include <string>

#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dwg {

bool EncodeModelR2000(const Document& doc, std::string& out, std::map<std::string, size_t, std::less<>>& dropped,
                      std::string& error);

}  // namespace vantrove::engine::dwg
