#pragma once
// Outcome of an engine operation: a stable code and a plain-English message.
// The component's status text is "<code>:<message>", exactly "1000:Ok" on
// success.

#include <string>

namespace vantrove::engine {

enum class StatusCode : int {
  kOk = 1000,
  // Done, but the target could not hold everything: the message lists what was left out.
  kWrittenWithLosses = 1002,
  // Opened, but the file ends early (a DXF without its EOF marker, a DWG
  // whose data runs short): what was read is open, the rest is missing.
  kIncomplete = 1003,
  // Opening a drawing.
  kFileNotFound = 1101,
  kInvalidFileType = 1102,
  kCannotReadFile = 1103,
  kFileTooLarge = 1104,
  kNotADrawing = 1201,
  kDamaged = 1202,
  kDwgNotSupported = 1203,
  kUnsupportedVersion = 1204,
  // Working on the open drawing.
  kNoDrawingOpen = 1301,
  kInvalidHandle = 1302,       // empty, or not 1 to 16 hexadecimal digits
  kHandleNotFound = 1303,
  kWrongObjectKind = 1304,
  kLayerNotFound = 1305,
  kXrefNotFound = 1306,
  kInvalidLayerState = 1307,
  kInvalidLayerMode = 1308,
  kCannotDelete = 1309,        // the object is part of another one (VERTEX, SEQEND, ENDBLK, ...)
  // Writing files.
  kCannotWriteFile = 1401,
  kUnknownVersion = 1402,
  kFolderNotFound = 1403,
  kFolderNotWritable = 1404,
  kDwgWriteNotSupported = 1405,
  kInvalidSaveType = 1406,
  kInvalidPrecision = 1407,
  kDwgToDxfNotSupported = 1408,  // the drawing was read from DWG: its records have no DXF form yet
  kNotAvailable = 1900,
};

struct Status {
  StatusCode code = StatusCode::kOk;
  std::string message = "Ok";

  static Status Ok() { return {}; }
  static Status Error(StatusCode c, std::string m) { return {c, std::move(m)}; }
  bool ok() const { return code == StatusCode::kOk; }
  // Done with a note (1001 to 1099): the work happened, the message says what to know.
  bool done_with_note() const { return static_cast<int>(code) > 1000 && static_cast<int>(code) < 1100; }
  std::string Text() const { return std::to_string(static_cast<int>(code)) + ":" + message; }
};

}  // namespace vantrove::engine
