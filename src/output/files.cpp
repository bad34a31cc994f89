// Files written as a whole or not at all, and whole-file reading.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

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

}  // namespace

namespace {

// Raises what a failure of the replacing file means to a caller.
[[noreturn]] void RaiseReplaceError(const engine::io::ReplacingFile& file, const std::string& path) {
  const int e = file.error();
  if (e == EISDIR) Raise(err::kPathFileAccess, "Path/File access error: " + path + " is a folder");
  if (e == ENOSPC || e == EDQUOT || e == EIO) RaiseWriteError(e, path);
  RaiseOpenError(e == 0 ? EIO : e, path);
}

}  // namespace

OutputFile::OutputFile(const std::string& path, Mode mode) : mode_(mode) {
  if (path.empty() || path.find('\0') != std::string::npos) Raise(err::kBadFileName, "Bad file name");
  if (mode_ == Mode::Replace) {
    // Links are followed, a device or pipe is written in place, and a file
    // that may not be written is not replaced either (see ReplacingFile).
    if (!replacing_.Open(path).ok()) RaiseReplaceError(replacing_, path);
    target_ = replacing_.target();
  } else {
    target_ = ResolveTarget(path);
    struct stat st {};
    const bool exists = stat(target_.c_str(), &st) == 0;
    if (exists && S_ISDIR(st.st_mode)) Raise(err::kPathFileAccess, "Path/File access error: " + path + " is a folder");
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
  if (committed_ || (mode_ == Mode::Append && fd_ < 0)) Raise(err::kDeviceIO, "Device I/O error: the file is closed");
  if (buffer_.empty() && bytes.size() >= kFlushSize) {
    // A large piece goes to the file as it is, without a copy in the buffer.
    WriteOut(bytes);
    return;
  }
  buffer_.append(bytes);
  if (buffer_.size() >= kFlushSize) Flush();
}

void OutputFile::WriteOut(std::string_view bytes) {
  if (mode_ == Mode::Replace) {
    if (!replacing_.Write(bytes)) RaiseReplaceError(replacing_, target_);
    return;
  }
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = write(fd_, bytes.data() + done, bytes.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseWriteError(errno, target_);
    }
    done += static_cast<size_t>(n);
  }
}

void OutputFile::Flush() {
  WriteOut(buffer_);
  buffer_.clear();
}

void OutputFile::Commit() {
  if (committed_ || (mode_ == Mode::Append && fd_ < 0)) Raise(err::kDeviceIO, "Device I/O error: the file is closed");
  Flush();
  if (mode_ == Mode::Replace) {
    if (!replacing_.Commit().ok()) RaiseReplaceError(replacing_, target_);
  } else {
    const int fd = fd_;
    fd_ = -1;
    if (close(fd) != 0) RaiseWriteError(errno, target_);
  }
  committed_ = true;
}

void OutputFile::Abandon() noexcept {
  if (mode_ == Mode::Replace) {
    replacing_.Discard();
    return;
  }
  if (fd_ >= 0) {
    if (!createdTarget_) (void)ftruncate(fd_, originalSize_);
    close(fd_);
    fd_ = -1;
  }
  if (createdTarget_) unlink(target_.c_str());
}

void WriteWholeFile(const std::string& path, std::string_view bytes) {
  OutputFile f(path);
  f.Write(bytes);
  f.Commit();
}

InputFile::~InputFile() {
  if (map_) munmap(map_, mapSize_);
}

bool InputFile::Open(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) return false;
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat st {};
  if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    close(fd);
    return false;
  }
  if (S_ISREG(st.st_mode) && st.st_size > 0) {
    // Mapped and loaded in one go: no copy, and no page faults one by one.
    void* p = mmap(nullptr, static_cast<size_t>(st.st_size), PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
    if (p != MAP_FAILED) {
      close(fd);
      map_ = static_cast<char*>(p);
      mapSize_ = static_cast<size_t>(st.st_size);
      return true;
    }
  }
  read_.clear();
  constexpr size_t kChunk = 65536;
  for (;;) {
    const size_t have = read_.size();
    read_.resize(have + kChunk);
    const ssize_t n = read(fd, read_.data() + have, kChunk);
    if (n < 0) {
      read_.resize(have);
      if (errno == EINTR) continue;
      close(fd);
      Raise(err::kDeviceIO, "Device I/O error: " + path);
    }
    read_.resize(have + static_cast<size_t>(n));
    if (n == 0) break;
  }
  close(fd);
  return true;
}

bool ReadWholeFile(const std::string& path, std::string& out) {
  InputFile f;
  if (!f.Open(path)) return false;
  out.assign(f.bytes());
  return true;
}

std::string_view WithoutByteOrderMark(std::string_view text) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  return text;
}

}  // namespace vantrove
