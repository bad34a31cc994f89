// The desktop clipboard, through the helper program of the desktop in use.
//
// Neither X11 nor Wayland keeps clipboard contents by itself: the program that
// copies must stay alive and hand the text to whoever pastes. The helper
// programs (wl-copy, xclip, xsel) do exactly that: they read the text on their
// standard input, take ownership of the clipboard and leave a background
// process that serves it until another program copies something.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "vantrove/output.hpp"

extern char** environ;

namespace vantrove {

namespace {

constexpr auto kHelperTimeout = std::chrono::seconds(10);

std::string EnvValue(const char* name) {
  const char* v = std::getenv(name);
  return v ? std::string(v) : std::string();
}

bool OnPath(const std::string& program) {
  const std::string path = EnvValue("PATH").empty() ? "/usr/local/bin:/usr/bin:/bin" : EnvValue("PATH");
  size_t start = 0;
  while (start <= path.size()) {
    size_t colon = path.find(':', start);
    if (colon == std::string::npos) colon = path.size();
    const std::string dir = colon == start ? "." : path.substr(start, colon - start);
    const std::string file = dir + "/" + program;
    struct stat st {};
    if (stat(file.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(file.c_str(), X_OK) == 0) return true;
    start = colon + 1;
  }
  return false;
}

// Blocks SIGPIPE for the calling thread while it writes to a helper that may
// have died, and discards a SIGPIPE those writes raised.
class PipeSignalGuard {
 public:
  PipeSignalGuard() {
    sigemptyset(&set_);
    sigaddset(&set_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &set_, &old_);
  }
  ~PipeSignalGuard() {
    if (!wasPending_) {
      const timespec zero{};
      while (sigtimedwait(&set_, nullptr, &zero) > 0) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &old_, nullptr);
  }

 private:
  sigset_t set_{};
  sigset_t old_{};
  bool wasPending_ = false;
};

int RemainingMs(std::chrono::steady_clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

// Runs `argv` with `text` on its standard input and waits for it to exit.
bool RunHelper(const std::vector<std::string>& argv, std::string_view text, std::string& why) {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) {
    why = "cannot make a pipe for " + argv[0];
    return false;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[0], 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  // The helper's background process lives on: it must not keep our files open.
  posix_spawn_file_actions_addclosefrom_np(&actions, 3);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  const int rc = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(fds[0]);
  if (rc != 0) {
    close(fds[1]);
    why = "cannot start " + argv[0];
    return false;
  }

  const auto deadline = std::chrono::steady_clock::now() + kHelperTimeout;
  bool sent = true;
  {
    PipeSignalGuard guard;
    (void)fcntl(fds[1], F_SETFL, O_NONBLOCK);
    size_t done = 0;
    while (done < text.size()) {
      const ssize_t n = write(fds[1], text.data() + done, text.size() - done);
      if (n > 0) {
        done += static_cast<size_t>(n);
        continue;
      }
      if (n < 0 && errno == EINTR) continue;
      if (n < 0 && errno == EAGAIN) {
        pollfd p{fds[1], POLLOUT, 0};
        if (poll(&p, 1, RemainingMs(deadline)) > 0) continue;
      }
      sent = false;
      break;
    }
    close(fds[1]);
  }

  int status = 0;
  for (;;) {
    const pid_t w = waitpid(pid, &status, WNOHANG);
    if (w == pid) break;
    if (w < 0 && errno != EINTR) {
      why = argv[0] + " could not be waited for";
      return false;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      why = argv[0] + " did not finish in time";
      return false;
    }
    const timespec pause{0, 5'000'000};
    nanosleep(&pause, nullptr);
  }
  if (!sent) {
    why = argv[0] + " did not take the text";
    return false;
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    why = argv[0] + " failed (exit status " +
          (WIFEXITED(status) ? std::to_string(WEXITSTATUS(status)) : std::string("signal")) + ")";
    return false;
  }
  return true;
}

}  // namespace

bool DiagnosticsWanted() {
  const std::string v = EnvValue("VANTROVE_DIAGNOSTICS");
  return !v.empty() && v != "0";
}

bool SetClipboardText(std::string_view text, std::string* why) {
  std::string reason;
  bool ok = false;
  if (!EnvValue("WAYLAND_DISPLAY").empty() && OnPath("wl-copy")) {
    ok = RunHelper({"wl-copy", "--type", "text/plain;charset=utf-8"}, text, reason);
  } else if (!EnvValue("DISPLAY").empty()) {
    if (OnPath("xclip")) {
      ok = RunHelper({"xclip", "-selection", "clipboard", "-in"}, text, reason);
    } else if (OnPath("xsel")) {
      ok = RunHelper({"xsel", "--clipboard", "--input"}, text, reason);
    } else {
      reason = "no clipboard program: install xclip or xsel";
    }
  } else if (!EnvValue("WAYLAND_DISPLAY").empty()) {
    reason = "no clipboard program: install wl-clipboard (wl-copy)";
  } else {
    reason = "no desktop: neither WAYLAND_DISPLAY nor DISPLAY is set";
  }
  if (!ok && why) *why = "The clipboard cannot be written: " + reason + ".";
  return ok;
}

}  // namespace vantrove
