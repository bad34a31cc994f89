// Temporary XML files: where they go and how they are named.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <thread>

#include "line_io.hpp"
#include "vantrove/extract.hpp"

namespace vantrove::extract {

namespace {

std::mutex g_mutex;
std::optional<std::string> g_folder;

std::string FolderOf(const std::string& file) {
  const size_t slash = file.find_last_of('/');
  if (slash == std::string::npos) return {};
  return file.substr(0, slash == 0 ? 1 : slash);
}

bool Writable(const std::string& folder) { return !folder.empty() && ::access(folder.c_str(), W_OK | X_OK) == 0; }

std::string WithSlash(std::string folder) {
  if (folder.empty() || (folder.back() != '/' && folder.back() != '\\')) folder.push_back('/');
  return folder;
}

}  // namespace

std::string LibraryFolder() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&LibraryFolder), &info) == 0 || info.dli_fname == nullptr) return {};
  std::string file = info.dli_fname;
  if (!file.empty() && file[0] != '/') {
    char* real = ::realpath(file.c_str(), nullptr);
    if (real != nullptr) {
      file = real;
      std::free(real);
    }
  }
  return FolderOf(file);
}

void SetTempFolderOverride(std::optional<std::string> folder) {
  std::lock_guard lock(g_mutex);
  g_folder = std::move(folder);
}

std::string TempFolder() {
  {
    std::lock_guard lock(g_mutex);
    if (g_folder) return *g_folder;
  }
  const std::string library = LibraryFolder();
  if (Writable(library)) return library;
  const char* tmp = std::getenv("TMPDIR");
  if (tmp != nullptr && *tmp != '\0') return tmp;
  return "/tmp";
}

std::string TimeStampName(int year, int month, int day, int hour, int minute, int second) {
  char text[32];
  std::snprintf(text, sizeof(text), "%02d%02d%04d%02d%02d%02d", month, day, year, hour, minute, second);
  return text;
}

namespace {

// Creates `name` if no file of that name exists; true when this call made it.
// Creating the file is what claims the name: two processes (or threads)
// asking in the same second cannot both get it.
bool Claim(const std::string& name) {
  const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  ::close(fd);
  return true;
}

}  // namespace

std::string TempFileName(const std::string& extension) {
  const std::string folder = WithSlash(TempFolder());
  // A name of the current second that is taken waits for the clock to move
  // on; a folder that keeps such files for several seconds gets a numbered
  // name.
  const auto start = std::chrono::steady_clock::now();
  std::string stem;
  for (int attempt = 0;; ++attempt) {
    std::this_thread::yield();
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    stem = folder + TimeStampName(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                                  local.tm_sec);
    if (Claim(stem + extension)) return stem + extension;
    if (errno != EEXIST) return stem + extension;  // an unwritable folder: the writer reports it
    if (std::chrono::steady_clock::now() - start > std::chrono::seconds(5)) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(attempt < 10 ? 5 : 25));
  }
  for (int n = 1;; ++n) {
    std::string numbered = stem + "-" + std::to_string(n) + extension;
    if (Claim(numbered) || errno != EEXIST) return numbered;
  }
}

std::string TempXmlFileName() { return TempFileName(".xml"); }

bool WrittenFile(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0;
}

}  // namespace vantrove::extract
