#pragma once
// Decoder of single objects: the common part every object has (type,
// handle, extended data, owner, reactors, entity properties) and the typed
// part of the types the drawing description needs.

#include <vector>

#include "dwg/codepage.hpp"
#include "dwg/records.hpp"

namespace vantrove::engine::dwg {

class ObjectDecoder {
 public:
  ObjectDecoder(const Container& container, const std::vector<ClassInfo>& classes, TextDecoder& text)
      : c_(container), classes_(classes), text_(text) {}

  // Decodes the object that starts at `offset` in the objects section.
  // Returns false when even its size prefix or common part is unreadable;
  // `rec.dataOk` tells whether the typed part decoded.
  bool Decode(size_t offset, ObjectRecord& rec);

 // The object's data, handle and string streams while it decodes.
  struct Streams;

 private:
  bool DecodeTyped(Streams& s, ObjectRecord& rec);

  const Container& c_;
  const std::vector<ClassInfo>& classes_;
  TextDecoder& text_;
};

}  // namespace vantrove::engine::dwg
