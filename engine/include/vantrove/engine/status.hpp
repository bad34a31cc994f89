#pragma once
// Outcome of an engine operation: a stable code and a plain-English message.
// The component's status text is "<code>:<message>", exactly "1000:Ok" on
// success.

#include <string>

namespace vantrove::engine {

enum class StatusCode : int {
  kOk = 1000,
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
  kCannotWriteFile = 1401,
  kNotAvailable = 1900,
};

struct Status {
  StatusCode code = StatusCode::kOk;
  std::string message = "Ok";

  static Status Ok() { return {}; }
  static Status Error(StatusCode c, std::string m) { return {c, std::move(m)}; }
  bool ok() const { return code == StatusCode::kOk; }
  std::string Text() const { return std::to_string(static_cast<int>(code)) + ":" + message; }
};

}  // namespace vantrove::engine
