#include "io/replacing_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

namespace vantrove::engine::io {

namespace {

std::string FolderOf(const std::string& path) {
  std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? std::string(".") : folder.string();
}

}  // namespace

ReplacingFile::~ReplacingFile() { Discard(); }

void ReplacingFile::Discard() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  if (!temp_.empty()) ::unlink(temp_.c_str());
  temp_.clear();
}

Status ReplacingFile::Fail(const std::string& why) const {
  return Status::Error(StatusCode::kCannotWriteFile, "Cannot write the file (" + why + "): " + target_);
}

Status ReplacingFile::Open(const std::string& target) {
  Discard();
  target_ = target;
  error_ = 0;
  if (target.empty()) return Fail("no file name given");
  const std::string folder = FolderOf(target);
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
    return Status::Error(StatusCode::kFolderNotFound, "The folder does not exist: " + folder);
  }
  if (::stat(target.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) return Fail("it is a folder");
  std::string pattern = target + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  fd_ = ::mkstemp(name.data());
  if (fd_ < 0) {
    const int saved = errno;
    if (saved == EACCES || saved == EPERM || saved == EROFS) {
      return Status::Error(StatusCode::kFolderNotWritable,
                           std::string("Cannot write in the folder (") + std::strerror(saved) + "): " + folder);
    }
    return Fail(std::strerror(saved));
  }
  temp_.assign(name.data());
  return Status::Ok();
}

bool ReplacingFile::Write(std::string_view bytes) {
  if (fd_ < 0 || error_ != 0) return false;
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd_, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      error_ = errno;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

Status ReplacingFile::Commit() {
  if (fd_ < 0) return Fail("the file was not opened");
  if (error_ != 0) {
    const int saved = error_;
    Discard();
    return Fail(std::strerror(saved));
  }
  // mkstemp makes the file private; keep the mode of the file being
  // replaced, else the usual rw-r--r-- (less the process's umask).
  struct stat existing {};
  mode_t mode = 0666;
  if (::stat(target_.c_str(), &existing) == 0) {
    mode = existing.st_mode & 07777;
  } else {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    mode &= ~mask;
  }
  ::fchmod(fd_, mode);
  const int closed = ::close(fd_);
  fd_ = -1;
  if (closed != 0) {
    const int saved = errno;
    Discard();
    return Fail(std::strerror(saved));
  }
  if (std::rename(temp_.c_str(), target_.c_str()) != 0) {
    const int saved = errno;
    Discard();
    return Fail(std::strerror(saved));
  }
  temp_.clear();
  return Status::Ok();
}

}  // namespace vantrove::engine::io
