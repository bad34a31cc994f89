#pragma once
// What a DWG writer of the same version needs from the file a drawing was
// read from, kept in the document next to the objects' own source bits.

#include <cstdint>
#include <vector>

#include "dwg/records.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dwg {

// Sentinels of the R13-2000 second file header.
extern const uint8_t kSentinelSecondHeaderBegin[16];
extern const uint8_t kSentinelSecondHeaderEnd[16];
// The sentinel that closes the R13-2000 file header.
extern const uint8_t kSentinelFileHeaderEnd[16];

// Keeps the R13-2000 file parts (Document::dwg_sections); files of 2004
// and later keep none.
void KeepSourceSections(const std::vector<uint8_t>& file, const DecodedDrawing& decoded, Document& doc);

}  // namespace vantrove::engine::dwg
