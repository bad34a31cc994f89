#pragma once
// The type data of the entities a drawing read from DXF gives, in their
// DWG 2000 form: the types the type table decodes generically are encoded
// from its field list (the `Bits` of each field), the others by code
// written for them (texts, attributes, block references, multi-line text,
// light-weight polylines, images).

#include <cstdint>
#include <functional>
#include <string_view>

#include "dwg/model_groups.hpp"
#include "dwg/object_writer.hpp"

namespace vantrove::engine::dwg {

// Handles the encoders look up by name or relation.
struct EncoderLinks {
  std::function<uint64_t(std::string_view)> style;        // STYLE by name
  std::function<uint64_t(std::string_view)> blockRecord;  // BLOCK_RECORD by name
  // The ATTRIBs of an INSERT, the vertices of a POLYLINE, and its SEQEND.
  uint64_t firstOwned = 0, lastOwned = 0, seqend = 0;
  uint64_t imageDef = 0, imageDefReactor = 0;             // of the IMAGE being encoded
  std::string_view blockName;                             // of the BLOCK being encoded: its record's
};

// The DWG type number an entity of DXF type `type` is written with (0:
// not written). Class-numbered types (IMAGE) ask `classNumber`.
uint16_t EntityTypeNumber(const Entity& e, const GroupView& g,
                          const std::function<uint16_t(std::string_view)>& classNumber);

// Writes the type data and the type's own handles. False when the type is
// not encoded.
bool EncodeEntityData(ObjectWriter& w, const Entity& e, const GroupView& g, const EncoderLinks& links);

}  // namespace vantrove::engine::dwg
