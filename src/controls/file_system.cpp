// Folder, file and drive lists from the file system.
#include "vantrove/controls/file_system.hpp"

#include <fnmatch.h>
#include <mntent.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "vantrove/runtime.hpp"

namespace vantrove::file_lists {

namespace fs = std::filesystem;

namespace {

// Walks the folder's entries; maps listing failures to run-time errors.
template <class F>
void EachEntry(const std::string& folder, F&& f) {
  std::error_code ec;
  fs::directory_iterator it(folder, ec);
  if (ec) {
    if (ec == std::errc::permission_denied) Raise(err::kPermissionDenied, "Permission denied: " + folder);
    Raise(err::kPathNotFound, "Path not found: " + folder);
  }
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    if (ec) Raise(err::kDeviceIO, "Cannot read the folder " + folder);
    const std::string name = it->path().filename().string();
    if (name.empty() || name[0] == '.') continue;
    f(*it, name);
  }
  if (ec) Raise(err::kDeviceIO, "Cannot read the folder " + folder);
}

bool IsPseudoFileSystem(const std::string& type) {
  static const std::set<std::string> kPseudo = {
      "proc", "sysfs", "devpts", "cgroup", "cgroup2", "securityfs", "debugfs", "tracefs", "pstore", "bpf",
      "mqueue", "hugetlbfs", "configfs", "fusectl", "autofs", "binfmt_misc", "efivarfs", "rpc_pipefs", "nsfs",
      "devtmpfs", "selinuxfs", "ramfs"};
  return kPseudo.count(type) != 0;
}

}  // namespace

std::string CheckFolder(const std::string& path) {
  std::error_code ec;
  fs::path p = fs::absolute(path.empty() ? fs::path(".") : fs::path(path), ec);
  if (ec || !fs::is_directory(p, ec)) Raise(err::kPathNotFound, "Path not found: " + path);
  p = p.lexically_normal();
  std::string s = p.string();
  while (s.size() > 1 && s.back() == '/') s.pop_back();
  return s;
}

std::vector<std::string> SubFolders(const std::string& folder) {
  std::vector<std::string> out;
  EachEntry(folder, [&](const fs::directory_entry& e, const std::string&) {
    std::error_code ec;
    if (e.is_directory(ec)) out.push_back(e.path().string());
  });
  std::sort(out.begin(), out.end());
  return out;
}

bool MatchesPattern(const std::string& name, const std::string& pattern) {
  if (Trim(pattern).empty()) return true;
  size_t start = 0;
  while (start <= pattern.size()) {
    size_t end = pattern.find(';', start);
    if (end == std::string::npos) end = pattern.size();
    const std::string one = Trim(std::string_view(pattern).substr(start, end - start));
    if (one == "*.*" || (!one.empty() && fnmatch(one.c_str(), name.c_str(), FNM_CASEFOLD) == 0)) return true;
    start = end + 1;
  }
  return false;
}

std::vector<std::string> Files(const std::string& folder, const std::string& pattern) {
  std::vector<std::string> out;
  EachEntry(folder, [&](const fs::directory_entry& e, const std::string& name) {
    std::error_code ec;
    if (e.is_regular_file(ec) && MatchesPattern(name, pattern)) out.push_back(name);
  });
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<std::string> Drives() {
  std::set<std::string> points;
  if (FILE* f = setmntent("/proc/self/mounts", "r")) {
    mntent entry{};
    char buf[4096];
    while (getmntent_r(f, &entry, buf, sizeof buf) != nullptr) {
      if (!IsPseudoFileSystem(entry.mnt_type)) points.insert(entry.mnt_dir);
    }
    endmntent(f);
  }
  points.erase("/");
  std::vector<std::string> out{"/"};
  out.insert(out.end(), points.begin(), points.end());
  return out;
}

}  // namespace vantrove::file_lists
