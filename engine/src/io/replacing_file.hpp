#pragma once
// Writing a file that replaces another one safely: the bytes go to a
// temporary file in the target's folder, which is renamed over the target
// only when everything was written. A failed write leaves the old file as
// it was and removes the temporary file.

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

 private:
  void Discard();
  Status Fail(const std::string& why) const;

  std::string target_;
  std::string temp_;
  int fd_ = -1;
  int error_ = 0;
};

}  // namespace vantrove::engine::io
