// Network path names: a path on a network mount (CIFS/SMB or NFS) is named
// by its share, //server/share/..., as a mapped drive is named by its UNC
// path. The mounts come from the mount table of the process.
#include <fstream>
#include <mutex>
#include <sstream>

#include "line_io.hpp"
#include "vantrove/extract.hpp"

namespace vantrove::extract {

namespace {

std::mutex g_mutex;
std::optional<std::string> g_mountTable;

constexpr size_t kUncBufferLength = 255;

struct Mount {
  std::string source, point, type;
};

// Undoes the octal escapes of the mount table (\040 for a blank, ...).
std::string Unescape(const std::string& field) {
  std::string out;
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 4 <= field.size() && field.find_first_not_of("01234567", i + 1) >= i + 4) {
      out.push_back(static_cast<char>(std::stoi(field.substr(i + 1, 3), nullptr, 8)));
      i += 3;
    } else {
      out.push_back(field[i]);
    }
  }
  return out;
}

bool ReadMounts(std::vector<Mount>& mounts) {
  std::string file;
  {
    std::lock_guard lock(g_mutex);
    file = g_mountTable.value_or("/proc/self/mounts");
  }
  std::ifstream in(file);
  if (!in) {
    if (file != "/proc/self/mounts") return false;
    in.open("/etc/mtab");
    if (!in) return false;
  }
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    Mount m;
    if (!(fields >> m.source >> m.point >> m.type)) continue;
    m.source = Unescape(m.source);
    m.point = Unescape(m.point);
    mounts.push_back(std::move(m));
  }
  return true;
}

bool IsNetworkType(const std::string& type) {
  return type == "cifs" || type == "smb3" || type == "smbfs" || type == "nfs" || type == "nfs4";
}

bool Under(const std::string& path, const std::string& point) {
  if (point == "/") return !path.empty() && path[0] == '/';
  return path.compare(0, point.size(), point) == 0 && (path.size() == point.size() || path[point.size()] == '/');
}

// //server/share from a mount source: //server/share (CIFS, either slash)
// or server:/export (NFS).
bool ShareName(const Mount& m, std::string& unc) {
  std::string s = m.source;
  for (char& c : s) {
    if (c == '\\') c = '/';
  }
  if (s.rfind("//", 0) == 0 && s.size() > 2) {
    while (s.size() > 3 && s.back() == '/') s.pop_back();
    unc = s;
    return s.find('/', 2) != std::string::npos;
  }
  const size_t colon = s.find(':');
  if (colon != std::string::npos && colon > 0 && colon + 1 < s.size()) {
    std::string exported = s.substr(colon + 1);
    while (!exported.empty() && exported.front() == '/') exported.erase(exported.begin());
    while (!exported.empty() && exported.back() == '/') exported.pop_back();
    unc = "//" + s.substr(0, colon) + (exported.empty() ? std::string() : "/" + exported);
    return true;
  }
  return false;
}

}  // namespace

void SetMountTableOverride(std::optional<std::string> file) {
  std::lock_guard lock(g_mutex);
  g_mountTable = std::move(file);
}

std::string NetworkErrorText(int32_t code) {
  switch (code) {
    case 0: return {};
    case 8: return "The System is Out of Memory.";
    case 50: return "This Function is Not supported";
    case 59: return "An error occurred On the network";
    case 87: return "Invalid local device name";
    case 234: return "The buffer was too small to return the file service name";
    case 487: return "The network path is invalid";
    case 2250: return "The drive is Not connected";
    default: return "Unrecognized Error - " + std::to_string(code) + ".";
  }
}

NetworkPathResult NetworkPathLookup(const std::string& path) {
  NetworkPathResult r;
  auto fail = [&](int32_t code) {
    r.code = code;
    r.error = NetworkErrorText(code);
    r.unc.clear();
    r.mountPoint.clear();
    return r;
  };
  try {
    const std::string p = path.substr(0, path.find('\0'));
    if (p.empty() || p[0] != '/') return fail(87);
    std::vector<Mount> mounts;
    if (!ReadMounts(mounts)) return fail(50);
    const Mount* best = nullptr;
    for (const Mount& m : mounts) {
      if (Under(p, m.point) && (best == nullptr || m.point.size() >= best->point.size())) best = &m;
    }
    if (best == nullptr || !IsNetworkType(best->type)) return fail(2250);
    std::string unc;
    if (!ShareName(*best, unc)) return fail(487);
    if (unc.size() > kUncBufferLength) return fail(234);
    r.unc = unc;
    r.mountPoint = best->point;
    return r;
  } catch (const std::bad_alloc&) {
    return fail(8);
  } catch (...) {
    return fail(59);
  }
}

std::string UncPath(const std::string& path) {
  const NetworkPathResult r = NetworkPathLookup(path);
  if (r.code != 0) return path;
  return r.unc + (r.mountPoint == "/" ? path : path.substr(r.mountPoint.size()));
}

}  // namespace vantrove::extract
