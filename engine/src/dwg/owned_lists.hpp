#pragma once
// Deletions in 2004 and later files: block records list every entity they
// own, and block references every attribute, as a count in the data stream
// and one handle each in the handle stream (earlier versions chain the
// entities through links instead). The deleted ones are taken out of those
// lists.

#include <cstdint>
#include <functional>
#include <set>
#include <unordered_set>

#include "dwg/object_patch.hpp"

namespace vantrove::engine::dwg {

// INSERT and MINSERT: skips the point, scale, rotation and extrusion up to
// the "attributes follow" bit.
void SkipInsertPlacement(BitReader& d, bool r2000);

// Takes the `erased` handles out of the lists of `owners` (block records
// and block references), reached through `patch`.
void DropErasedFromOwnedLists(const std::set<uint64_t>& owners, const std::unordered_set<uint64_t>& erased,
                              const std::function<ObjectPatch*(uint64_t)>& patch);

}  // namespace vantrove::engine::dwg
