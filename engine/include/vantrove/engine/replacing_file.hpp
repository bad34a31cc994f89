#pragma once
// Writing a file that replaces another one safely, for the engine and the
// library alike: the bytes go to a uniquely named temporary file beside the
// target, which is renamed over the target only when everything was
// written. A failed write leaves the old file as it was and removes the
// temporary file.
//
// A symbolic link is followed: the file it points to is replaced and the link
// stays. The replacement keeps the owner, group and mode of the file it
// replaces. A device or a pipe (/dev/stdout, a FIFO) is written straight
// through, as it cannot be replaced.

#include <cstddef>
#include <string>
#include <string_view>

#include "vantrove/engine/status.hpp"

namespace vantrove::engine::io {

class ReplacingFile {
 public:
  ReplacingFile() = default;
  ~ReplacingFile();
  ReplacingFile(const ReplacingFile&) = delete;
  ReplacingFile& operator=(const ReplacingFile&) = delete;

  // Checks the target and creates the temporary file. The status names the
  // folder when it is missing or not writable.
  Status Open(const std::string& target);
  // Appends bytes; false once anything failed (see Commit for the status).
  bool Write(std::string_view bytes);
  // Flushes, closes and renames the temporary file over the target.
  Status Commit();
  // Gives up: removes the temporary file and leaves the target alone.
  void Discard();

  // The system error number of the last failure (0 when none).
  int error() const { return error_; }
  // The file that is written: the target with its symbolic links followed.
  const std::string& target() const { return target_; }

 private:
  Status Fail(const std::string& why) const;
  Status FailWith(int error);

  std::string named_;   // the target as given, for messages
  std::string target_;
  std::string temp_;    // "" when writing straight through
  int fd_ = -1;
  int error_ = 0;
};

// Writes `bytes` as the whole new content of `path` through a ReplacingFile.
Status ReplaceFileContent(const std::string& path, std::string_view bytes);

}  // namespace vantrove::engine::io
