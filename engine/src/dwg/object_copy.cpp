// The objects of a 2004-or-later drawing saved in its own version: each is
// copied as stored. Edits and deletions need the objects rebuilt in that
// version's layout, which is not written yet; they are refused by name
// rather than dropped.

#include <algorithm>

#include "dwg/object_encoder.hpp"
#include "vantrove/engine/handle.hpp"

namespace vantrove::engine::dwg {

bool CopyObjectsSameVersion(const Document& doc, std::vector<EncodedObject>& out, std::string& error) {
  out.clear();
  for (const auto& object : doc.all_objects()) {
    const DwgSource* source = DwgSourceOf(*object);
    if (source == nullptr || source->bits.empty()) continue;  // no object of the file (classes, ...)
    if (object->erased || EditedSinceRead(*object, *source)) {
      error = "object " + FormatHandle(object->handle) + " (" + std::string(object->type_name) + ") was " +
              (object->erased ? "deleted" : "edited");
      return false;
    }
    EncodedObject e;
    e.handle = object->handle;
    e.bytes = source->bits;
    out.push_back(std::move(e));
  }
  std::sort(out.begin(), out.end(), [](const EncodedObject& a, const EncodedObject& b) { return a.handle < b.handle; });
  return true;
}

}  // namespace vantrove::engine::dwg
