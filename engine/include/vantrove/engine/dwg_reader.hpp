#pragma once
// Reads DWG drawings into a Document: R13 ("AC1012"), R14 ("AC1014"), 2000
// ("AC1015"), 2004 ("AC1018"), 2007 ("AC1021"), 2010 ("AC1024"), 2013
// ("AC1027") and 2018 ("AC1032"). Text is converted to UTF-8 from the
// drawing's code page (before 2007) or from UTF-16 (2007 and later), exactly
// as the DXF reader converts the same text, so a DWG and its DXF twin give
// the same values.
//
// Every object read from a DWG file keeps its source form, the object's
// bytes as stored, next to its decoded fields (see DwgSourceOf), so that a
// DWG writer can copy unedited objects unchanged. Damaged objects are
// skipped with a warning in Document::warnings; a damaged container, a
// password-protected drawing or a file that is not a DWG drawing gives a
// clear status instead.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vantrove/engine/document.hpp"
#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

// The drawing's data is encrypted with a password.
inline constexpr StatusCode kStatusPasswordProtected = static_cast<StatusCode>(1205);

// Reads the file at `path` into `document`, which should be empty. On
// failure the document must be discarded.
Status ReadDwgFile(const std::string& path, Document& document);

// Reads DWG bytes already in memory. `name` only appears in messages and
// becomes the document's source path.
Status ReadDwgBuffer(const std::vector<uint8_t>& bytes, const std::string& name, Document& document);

// The source form of one object read from a DWG file.
struct DwgSource {
  std::string_view bits;        // from the size prefix to the check value inclusive
  uint16_t type = 0;            // the object's type number in the file
  bool decoded = false;         // its typed fields were decoded (else only the common part)
  // The object's DXF form as first built (the forms of a drawing read from
  // DWG are built together on the first Document::Groups call): an edit
  // stores new groups, so a writer re-encodes the object when its groups
  // are no longer these. Ask Document::Groups first; this is set then.
  GroupSpan groups_as_read;
};

// The DWG source form of `object`, or nullptr when it was not read from a
// DWG file.
const DwgSource* DwgSourceOf(const Object& object);

}  // namespace vantrove::engine
