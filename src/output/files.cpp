// Files written as a whole or not at all, and whole-file reading.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <random>

#include "vantrove/output.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove {

namespace {

constexpr size_t kFlushSize = size_t{1} << 20;

[[noreturn]] void RaiseOpenError(int e, const std::string& path) {
  switch (e) {
    case ENOENT:
    case ENOTDIR: Raise(err::kPathNotFound, "Path not found: " + path);
    case EACCES:
    case EPERM: Raise(err::kPermissionDenied, "Permission denied: " + path);
    case ENOSPC:
    case EDQUOT: Raise(err::kDiskFull, "Disk full: " + path);
    default: Raise(err::kPathFileAccess, "Path/File access error: " + path);
  }
}

[[noreturn]] void RaiseWriteError(int e, const std::string& path) {
  if (e == ENOSPC || e == EDQUOT) Raise(err::kDiskFull, "Disk full: " + path);
  Raise(err::kDeviceIO, "Device I/O error: " + path);
}

// The file a path names, through any symbolic links; the path itself when it
// names no existing file.
std::string ResolveTarget(const std::string& path) {
  struct stat st {};
  if (lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return path;
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved) == nullptr) return path;
  return resolved;
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string NameOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Creates a new, hidden file beside `target`; its name is returned in `temp`.
int CreateBeside(const std::string& target, std::string& temp) {
  static std::atomic<uint64_t> counter{0};
  std::random_device rd;
  const std::string folder = FolderOf(target);
  const std::string prefix = (folder == "/" ? "/" : folder + "/") + "." + NameOf(target).substr(0, 200) + ".tmp";
  for (int attempt = 0; attempt < 100; ++attempt) {
    temp = prefix + std::to_string(getpid()) + "-" + std::to_string(counter++) + "-" + std::to_string(rd() % 100000);
    const int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) return fd;
    if (errno != EEXIST) RaiseOpenError(errno, target);
  }
  RaiseOpenError(EEXIST, target);
}

}  // namespace

OutputFile::OutputFile(const std::string& path, Mode mode) : mode_(mode) {
  if (path.empty() || path.find('\0') != std::string::npos) Raise(err::kBadFileName, "Bad file name");
  target_ = ResolveTarget(path);
  struct stat st {};
  const bool exists = stat(target_.c_str(), &st) == 0;
  if (exists && S_ISDIR(st.st_mode)) Raise(err::kPathFileAccess, "Path/File access error: " + path + " is a folder");
  if (mode_ == Mode::Replace) {
    // A file that may not be written is not replaced either.
    if (exists && access(target_.c_str(), W_OK) != 0) RaiseOpenError(errno, path);
    fd_ = CreateBeside(target_, temp_);
    if (exists) (void)fchmod(fd_, st.st_mode & 07777);
  } else {
    fd_ = open(target_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd_ < 0) RaiseOpenError(errno, path);
    createdTarget_ = !exists;
    struct stat now {};
    originalSize_ = fstat(fd_, &now) == 0 ? now.st_size : 0;
  }
  buffer_.reserve(kFlushSize);
}

OutputFile::~OutputFile() {
  if (!committed_) Abandon();
}

void OutputFile::Write(std::string_view bytes) {
  if (fd_ < 0) Raise(err::kDeviceIO, "Device I/O error: the file is closed");
  buffer_.append(bytes);
  if (buffer_.size() >= kFlushSize) Flush();
}

void OutputFile::Flush() {
  size_t done = 0;
  while (done < buffer_.size()) {
    const ssize_t n = write(fd_, buffer_.data() + done, buffer_.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseWriteError(errno, target_);
    }
    done += static_cast<size_t>(n);
  }
  buffer_.clear();
}

void OutputFile::Commit() {
  if (fd_ < 0) Raise(err::kDeviceIO, "Device I/O error: the file is closed");
  Flush();
  const int fd = fd_;
  fd_ = -1;
  if (close(fd) != 0) RaiseWriteError(errno, target_);
  if (mode_ == Mode::Replace && rename(temp_.c_str(), target_.c_str()) != 0) RaiseOpenError(errno, target_);
  committed_ = true;
}

void OutputFile::Abandon() noexcept {
  if (fd_ >= 0) {
    if (mode_ == Mode::Append && !createdTarget_) (void)ftruncate(fd_, originalSize_);
    close(fd_);
    fd_ = -1;
  }
  if (mode_ == Mode::Replace) {
    if (!temp_.empty()) unlink(temp_.c_str());
  } else if (createdTarget_) {
    unlink(target_.c_str());
  }
}

void WriteWholeFile(const std::string& path, std::string_view bytes) {
  OutputFile f(path);
  f.Write(bytes);
  f.Commit();
}

bool ReadWholeFile(const std::string& path, std::string& out) {
  if (path.empty() || path.find('\0') != std::string::npos) return false;
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat st {};
  if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    close(fd);
    return false;
  }
  out.clear();
  size_t chunk = S_ISREG(st.st_mode) && st.st_size > 0 ? static_cast<size_t>(st.st_size) + 1 : 65536;
  for (;;) {
    const size_t have = out.size();
    out.resize(have + chunk);
    const ssize_t n = read(fd, out.data() + have, chunk);
    if (n < 0) {
      out.resize(have);
      if (errno == EINTR) continue;
      close(fd);
      Raise(err::kDeviceIO, "Device I/O error: " + path);
    }
    out.resize(have + static_cast<size_t>(n));
    if (n == 0) break;
    chunk = 65536;
  }
  close(fd);
  return true;
}

std::string_view WithoutByteOrderMark(std::string_view text) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  return text;
}

}  // namespace vantrove
