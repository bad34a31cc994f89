#include "temp_folder.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "vantrove/extract.hpp"

namespace vantrove::cli {

namespace {

// The folder's path as the signal handler reads it: a fixed buffer written
// once before the handlers are installed, so the handler needs no memory
// of its own. An empty first byte means there is nothing to remove.
char gFolder[4096];
volatile sig_atomic_t gRemoving = 0;

struct LinuxDirent {
  unsigned long long ino;
  long long off;
  unsigned short reclen;
  unsigned char type;
  char name[1];
};

bool IsDotEntry(const char* name) { return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)); }

// Removes everything inside the folder open as `dir`, using only calls that
// are safe in a signal handler (getdents64, unlinkat, openat, close). Sub-
// folders are emptied to a small depth; the temporary folder holds files.
void EmptyFolder(int dir, int depth) {
  alignas(8) char buf[4096];
  for (;;) {
    const long n = syscall(SYS_getdents64, dir, buf, sizeof buf);
    if (n <= 0) return;
    bool removedAny = false;
    for (long at = 0; at < n;) {
      const auto* e = reinterpret_cast<const LinuxDirent*>(buf + at);
      at += e->reclen;
      if (IsDotEntry(e->name)) continue;
      if (unlinkat(dir, e->name, 0) == 0) {
        removedAny = true;
        continue;
      }
      if (errno == EISDIR && depth < 8) {
        const int sub = openat(dir, e->name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (sub >= 0) {
          EmptyFolder(sub, depth + 1);
          close(sub);
        }
        if (unlinkat(dir, e->name, AT_REMOVEDIR) == 0) removedAny = true;
      }
    }
    // Entries were removed while the listing was read: start it again.
    if (removedAny) lseek(dir, 0, SEEK_SET);
  }
}

void RemoveFolder() {
  if (gFolder[0] == 0 || gRemoving) return;
  gRemoving = 1;
  const int dir = open(gFolder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (dir >= 0) {
    EmptyFolder(dir, 0);
    close(dir);
  }
  rmdir(gFolder);
  gFolder[0] = 0;
}

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

void OnSignal(int sig) {
  const int saved = errno;
  RemoveFolder();
  errno = saved;
  // SA_RESETHAND gave the signal its default action back; SA_NODEFER lets
  // it arrive at once.
  raise(sig);
}

}  // namespace

PrivateTempFolder::PrivateTempFolder() {
  // The signals wait while the folder is made and the handlers are set, so
  // that no signal can end the run between the two and leave the folder.
  sigset_t signals, before;
  sigemptyset(&signals);
  for (int sig : kSignals) sigaddset(&signals, sig);
  sigprocmask(SIG_BLOCK, &signals, &before);
  // TMPDIR first; when it cannot be written there, the system's folder.
  const char* base = std::getenv("TMPDIR");
  for (const std::string& folder : {std::string(base && *base ? base : "/tmp"), std::string("/tmp")}) {
    std::string pattern = folder + "/vantrove-XXXXXX";
    if (pattern.size() < sizeof gFolder && mkdtemp(pattern.data()) != nullptr) {
      path_ = pattern;
      break;
    }
  }
  if (!path_.empty()) {
    std::memcpy(gFolder, path_.c_str(), path_.size() + 1);
    vantrove::extract::SetTempFolderOverride(path_);
    std::atexit(RemoveFolder);
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND | SA_NODEFER;
    for (int sig : kSignals) {
      struct sigaction was {};
      // A signal the caller chose to ignore (nohup, a shell's background
      // job) stays ignored.
      if (sigaction(sig, nullptr, &was) == 0 && was.sa_handler == SIG_IGN) continue;
      sigaction(sig, &action, nullptr);
    }
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

PrivateTempFolder::~PrivateTempFolder() {
  if (path_.empty()) return;
  vantrove::extract::SetTempFolderOverride(std::nullopt);
  RemoveFolder();
}

}  // namespace vantrove::cli
