#pragma once
// Reads ASCII and binary DXF files (R10/R12 "AC1006"/"AC1009" to 2018
// "AC1032") into a Document. Text of drawings before 2007 is converted from
// the drawing's code page ($DWGCODEPAGE) with its \U+XXXX and \M+nXXXX
// escapes; 2007 and later files are UTF-8. Damaged input gives a status
// naming the line (ASCII) or byte offset (binary) where reading stopped;
// repairable faults (junk between sections, a missing EOF, a repeated
// handle) are noted in Document::warnings instead.

#include <cstddef>
#include <memory>
#include <string>

#include "vantrove/engine/document.hpp"
#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

// Files above this size are refused (values are addressed with 32 bits).
inline constexpr size_t kMaxDxfFileSize = size_t{2} << 30;

// Reads the file at `path` into `document`, which should be empty. On
// failure the document holds whatever was read before the fault and must
// be discarded.
Status ReadDxfFile(const std::string& path, Document& document);

// Reads DXF bytes already in memory; `document` takes the buffer. `name`
// only appears in messages.
Status ReadDxfBuffer(std::unique_ptr<char[]> data, size_t size, const std::string& name, Document& document);

}  // namespace vantrove::engine
