#pragma once
// Writes a Document as a DWG file.
//
// Written today: AutoCAD 2000 ("AC1015"), R14 ("AC1014") and, with -1, R13
// ("AC1012"), for a drawing read from a DWG file of that same version. Every object nobody edited is
// copied bit for bit; edited objects are rebuilt with the edited fields
// encoded anew; deleted ones are left out and whatever linked to them is
// relinked. Other versions and drawings read from DXF answer with a status
// that names what is not written yet.

#include <cstdint>
#include <string>

#include "vantrove/engine/document.hpp"
#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

// Ok, kWrittenWithLosses (the message names what could not be carried), or
// an error status. `version` is a VersionCode; -1 keeps the drawing's own.
// The file is written through a temporary file beside `path` and renamed:
// a failed write leaves an existing file untouched.
Status WriteDwgFile(const Document& document, int32_t version, const std::string& path);

// The same, into memory (tests).
Status WriteDwgToString(const Document& document, int32_t version, std::string& out);

}  // namespace vantrove::engine
