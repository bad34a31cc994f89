#pragma once
// Creates the typed object for a DXF record and fills its fields from the
// record's groups. Unknown record types become plain Objects/Entities that
// only know their handle, owner, layer and space.

#include <memory>
#include <string_view>

#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dxf {

// A new object in `doc` for record type `type` as met in `section`
// (entities in the BLOCKS and ENTITIES sections, table entries, objects...).
Object* MakeObject(Document& doc, std::string_view type, Section section);

// Fills the typed fields of `object` from its groups. Views point into the
// groups' text, so it must live as long as the document; text values that
// span several groups (MTEXT) are joined into `arena`.
void DecodeFields(Object& object, GroupSpan groups, TextArena& arena);

}  // namespace vantrove::engine::dxf
