#pragma once
// Writes a Document as a DXF file of a chosen version.
//
// Same version as read: every record is written back from its source form,
// so only what was edited differs (text is re-encoded and reals are
// re-formatted, with the same values). Another version of the same family
// (R13 to 2018): the records keep their form, the header names the new
// version, text follows the target's encoding (code page with \U+XXXX
// escapes before 2007, UTF-8 from 2007 on) and what the older target
// cannot hold is converted (multi-line attributes become single-line) or
// left out and named in the status. R12 and R10 targets get the entity set
// those versions can express: lightweight polylines become POLYLINE/VERTEX,
// MTEXT becomes one TEXT per line, dimensions become references to their
// blocks, and everything else is left out and counted in the status. An R12
// drawing written as R13 or later gets the structure those versions need:
// subclass markers, owners, a block record per block, the root dictionary
// and, from 2000 on, the layouts.

#include <cstdint>
#include <string>
#include <string_view>

#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/status.hpp"

namespace vantrove::engine {

struct DxfWriteOptions {
  int32_t version = kVersionKeep;  // a VersionCode; -1 keeps the drawing's own version
  int32_t precision = 0;           // 0: reals in shortest exact form; 1..16: rounded to that many decimals
  bool binary = false;
};

// "AC1032" for 2018 ... "AC1009" for 12 and 11, "AC1006" for 10; "" for
// -1 and for codes that name no version.
std::string_view AcadVersionOfCode(int32_t version);
bool IsWritableVersionCode(int32_t version);

// Receives the file's bytes in large pieces; returns false to stop.
class DxfSink {
 public:
  virtual ~DxfSink() = default;
  virtual bool Write(std::string_view bytes) = 0;
};

// Ok, kWrittenWithLosses (with the message naming what the target could
// not hold), or an error status for bad options. `name` appears in messages.
Status WriteDxf(const Document& document, const DxfWriteOptions& options, DxfSink& sink, const std::string& name);

// The whole file in memory (tests, small drawings).
Status WriteDxfToString(const Document& document, const DxfWriteOptions& options, std::string& out);

// Writes through a temporary file in the target's folder that is renamed
// over `path` at the end: a failed write leaves an existing file untouched.
Status WriteDxfFile(const Document& document, const DxfWriteOptions& options, const std::string& path);

}  // namespace vantrove::engine
