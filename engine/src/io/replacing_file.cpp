#include "vantrove/engine/replacing_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

namespace vantrove::engine::io {

namespace {

namespace fs = std::filesystem;

std::string FolderOf(const std::string& path) {
  fs::path folder = fs::path(path).parent_path();
  return folder.empty() ? std::string(".") : folder.string();
}

// The file a path names once every symbolic link on the way is followed; a
// link to a file that does not exist yet names that file. A loop stops after
// the usual 40 hops (opening it then fails).
std::string FollowLinks(const std::string& path) {
  fs::path p(path);
  for (int hop = 0; hop < 40; ++hop) {
    std::error_code ec;
    if (!fs::is_symlink(p, ec)) break;
    const fs::path to = fs::read_symlink(p, ec);
    if (ec) break;
    p = to.is_absolute() ? to : p.parent_path() / to;
  }
  return p.string();
}

// A new file beside `target` with a unique hidden name; -1 and errno set on failure.
int CreateBeside(const std::string& target, std::string& temp) {
  const fs::path t(target);
  const std::string name = t.filename().string().substr(0, 200);
  std::string pattern = (t.parent_path() / ("." + name + ".XXXXXX")).string();
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  const int fd = ::mkostemp(buffer.data(), O_CLOEXEC);
  if (fd >= 0) temp.assign(buffer.data());
  return fd;
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
  return Status::Error(StatusCode::kCannotWriteFile, "Cannot write the file (" + why + "): " + named_);
}

Status ReplacingFile::FailWith(int error) {
  error_ = error;
  return Fail(std::strerror(error));
}

Status ReplacingFile::Open(const std::string& target) {
  Discard();
  named_ = target;
  error_ = 0;
  if (target.empty()) return Fail("no file name given");
  target_ = FollowLinks(target);
  const std::string folder = FolderOf(target_);
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
    error_ = ENOENT;
    return Status::Error(StatusCode::kFolderNotFound, "The folder does not exist: " + folder);
  }
  if (::stat(target_.c_str(), &info) == 0) {
    if (S_ISDIR(info.st_mode)) {
      error_ = EISDIR;
      return Fail("it is a folder");
    }
    if (!S_ISREG(info.st_mode)) {
      // A device or a pipe is written to, not replaced.
      fd_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
      return fd_ < 0 ? FailWith(errno) : Status::Ok();
    }
    // A file that may not be written is not replaced either.
    if (::access(target_.c_str(), W_OK) != 0) return FailWith(errno);
  }
  fd_ = CreateBeside(target_, temp_);
  if (fd_ < 0) {
    const int saved = errno;
    if (saved == EACCES || saved == EPERM || saved == EROFS) {
      error_ = saved;
      return Status::Error(StatusCode::kFolderNotWritable,
                           std::string("Cannot write in the folder (") + std::strerror(saved) + "): " + folder);
    }
    return FailWith(saved);
  }
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
    return FailWith(saved);
  }
  if (!temp_.empty()) {
    // mkstemp makes the file private: give it the owner, group and mode of
    // the file being replaced, else the usual rw-r--r-- (less the umask).
    // Owner first, as changing it clears set-user-ID bits.
    struct stat existing {};
    if (::stat(target_.c_str(), &existing) == 0) {
      if (::fchown(fd_, existing.st_uid, existing.st_gid) != 0 && ::fchown(fd_, static_cast<uid_t>(-1), existing.st_gid) != 0) {
        // Not allowed to give the file away: it stays the writer's own.
      }
      ::fchmod(fd_, existing.st_mode & 07777);
    } else {
      const mode_t mask = ::umask(0);
      ::umask(mask);
      ::fchmod(fd_, 0666 & ~mask);
    }
  }
  const int closed = ::close(fd_);
  fd_ = -1;
  if (closed != 0) {
    const int saved = errno;
    Discard();
    return FailWith(saved);
  }
  if (!temp_.empty() && std::rename(temp_.c_str(), target_.c_str()) != 0) {
    const int saved = errno;
    Discard();
    return FailWith(saved);
  }
  temp_.clear();
  return Status::Ok();
}

Status ReplaceFileContent(const std::string& path, std::string_view bytes) {
  ReplacingFile file;
  Status status = file.Open(path);
  if (!status.ok()) return status;
  file.Write(bytes);
  return file.Commit();
}

}  // namespace vantrove::engine::io
