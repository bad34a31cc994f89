#pragma once
// The run's private folder for temporary descriptions and documents.
//
// Temporary descriptions are named by the second they are made in, which is
// unique within one process but not between two tools started side by side
// in the same folder. Each run of the tool therefore keeps its temporary
// files in a folder of its own. The folder goes when the run ends: on a
// normal return, on exit(), and on SIGINT, SIGTERM, SIGHUP and SIGPIPE,
// after which the signal is raised again with its default action so that
// the caller sees the run die of it as usual.

#include <string>

namespace vantrove::cli {

class PrivateTempFolder {
 public:
  PrivateTempFolder();
  ~PrivateTempFolder();
  PrivateTempFolder(const PrivateTempFolder&) = delete;
  PrivateTempFolder& operator=(const PrivateTempFolder&) = delete;

  // "" when the folder could not be made (the system's folder is used then).
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace vantrove::cli
