#pragma once
// The R13-2000 file container: file header with its section locators,
// the parts before the objects, the objects, the object map in checked
// chunks, the free-space record, the second file header and the template.

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrove::engine::dwg {

// One object as stored: its size prefix, bits and check value.
struct EncodedObject {
  uint64_t handle = 0;
  std::string_view bytes;           // source bytes, when copied
  std::vector<uint8_t> owned;       // re-encoded bytes, when not
  std::string_view view() const {
    return owned.empty() ? bytes : std::string_view(reinterpret_cast<const char*>(owned.data()), owned.size());
  }
};

// The parts of the file that come from the drawing's source.
struct R2000Parts {
  std::string_view prefix;          // file header to the first object (header variables, classes, ...)
  std::string_view objFreeSpace;    // may be empty
  std::string_view templ;           // may be empty
  std::string_view secondHeader;    // may be empty
};

// Largest object map chunk, its two size bytes included.
constexpr size_t kMapChunkLimit = 2032;

// The object map for objects at `offsets` (handle, file offset), sorted by
// handle: chunks of handle and offset differences, each with its check value,
// closed by an empty chunk.
std::string EncodeObjectMap(const std::vector<std::pair<uint64_t, uint64_t>>& offsets);

// Writes the whole file to `out`, the objects in the order given (the
// object map lists them by handle). Returns false with `error` when the
// parts are unusable or two objects have the same handle.
bool AssembleR2000(const R2000Parts& parts, const std::vector<EncodedObject>& objects, std::string& out,
                   std::string& error);

}  // namespace vantrove::engine::dwg
