// The desktop clipboard, through the helper program of the desktop in use.
//
// Neither X11 nor Wayland keeps clipboard contents by itself: the program that
// copies must stay alive and hand the text to whoever pastes. The helper
// programs (wl-copy, xclip, xsel) do exactly that: they read the text on their
// standard input, take ownership of the clipboard and leave a background
// process that serves it until another program copies something. Their paste
// side (wl-paste, xclip -out, xsel --output) confirms that the text arrived.
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

// Runs `argv` with `input` on its standard input until it exits or the
// deadline passes; its standard output goes to `output` when given. False
// (with `why`) when it cannot start, is too slow, or exits with an error.
bool RunProgram(const std::vector<std::string>& argv, std::string_view input, std::string* output,
                std::chrono::steady_clock::time_point deadline, std::string& why) {
  int in[2] = {-1, -1}, out[2] = {-1, -1};
  if (pipe2(in, O_CLOEXEC) != 0 || (output && pipe2(out, O_CLOEXEC) != 0)) {
    for (int fd : {in[0], in[1], out[0], out[1]}) {
      if (fd >= 0) close(fd);
    }
    why = "cannot make a pipe for " + argv[0];
    return false;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], 0);
  if (output) posix_spawn_file_actions_adddup2(&actions, out[1], 1);
  else posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  // A helper's background process lives on: it must not keep our files open.
  posix_spawn_file_actions_addclosefrom_np(&actions, 3);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  const int rc = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(in[0]);
  if (output) close(out[1]);
  if (rc != 0) {
    close(in[1]);
    if (output) close(out[0]);
    why = "cannot start " + argv[0];
    return false;
  }

  // Feed the input and collect the output together, so that neither side
  // can block the other.
  bool ok = true;
  {
    PipeSignalGuard guard;
    (void)fcntl(in[1], F_SETFL, O_NONBLOCK);
    size_t sent = 0;
    int inFd = in[1], outFd = output ? out[0] : -1;
    if (input.empty()) {
      close(inFd);
      inFd = -1;
    }
    char buf[65536];
    while (inFd >= 0 || outFd >= 0) {
      pollfd fds[2];
      bool isInput[2] = {false, false};
      nfds_t n = 0;
      if (inFd >= 0) {
        isInput[n] = true;
        fds[n++] = {inFd, POLLOUT, 0};
      }
      if (outFd >= 0) fds[n++] = {outFd, POLLIN, 0};
      const int ready = poll(fds, n, RemainingMs(deadline));
      if (ready < 0 && errno == EINTR) continue;
      if (ready <= 0) {
        ok = false;
        why = argv[0] + " did not finish in time";
        break;
      }
      for (nfds_t k = 0; k < n; ++k) {
        if (fds[k].revents == 0) continue;
        if (isInput[k]) {
          const ssize_t w = write(inFd, input.data() + sent, input.size() - sent);
          if (w > 0) sent += static_cast<size_t>(w);
          if ((w < 0 && errno != EAGAIN && errno != EINTR) || sent == input.size()) {
            if (sent < input.size()) {
              ok = false;
              why = argv[0] + " did not take the text";
            }
            close(inFd);
            inFd = -1;
          }
        } else {
          const ssize_t r = read(outFd, buf, sizeof buf);
          if (r > 0) {
            output->append(buf, static_cast<size_t>(r));
          } else if (r == 0 || (errno != EAGAIN && errno != EINTR)) {
            close(outFd);
            outFd = -1;
          }
        }
      }
      if (!ok) break;
    }
    if (inFd >= 0) close(inFd);
    if (outFd >= 0) close(outFd);
  }

  int status = 0;
  for (;;) {
    const pid_t w = waitpid(pid, &status, WNOHANG);
    if (w == pid) break;
    if (w < 0 && errno != EINTR) {
      why = argv[0] + " could not be waited for";
      return false;
    }
    if (!ok || std::chrono::steady_clock::now() >= deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      if (ok) why = argv[0] + " did not finish in time";
      return false;
    }
    const timespec pause{0, 2'000'000};
    nanosleep(&pause, nullptr);
  }
  if (!ok) return false;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    why = argv[0] + " failed (exit status " +
          (WIFEXITED(status) ? std::to_string(WEXITSTATUS(status)) : std::string("signal")) + ")";
    return false;
  }
  return true;
}

struct Helper {
  std::vector<std::string> copy;   // puts standard input on the clipboard
  std::vector<std::string> paste;  // prints the clipboard
};

// The helpers take the clipboard in their background process, a moment after
// the program we started has exited. Copying is done when the clipboard
// reads back as the text.
bool Copy(const Helper& h, std::string_view text, std::string& why) {
  const auto deadline = std::chrono::steady_clock::now() + kHelperTimeout;
  if (!RunProgram(h.copy, text, nullptr, deadline, why)) return false;
  for (int attempt = 0;; ++attempt) {
    std::string back, ignored;
    if (RunProgram(h.paste, {}, &back, deadline, ignored) && back == text) return true;
    if (std::chrono::steady_clock::now() >= deadline) break;
    const timespec pause{0, std::min(attempt + 1, 20) * 1'000'000L};
    nanosleep(&pause, nullptr);
  }
  why = h.copy[0] + " did not take over the clipboard";
  return false;
}

}  // namespace

bool DiagnosticsWanted() {
  const std::string v = EnvValue("VANTROVE_DIAGNOSTICS");
  return !v.empty() && v != "0";
}

bool SetClipboardText(std::string_view text, std::string* why) {
  std::string reason;
  bool ok = false;
  if (!EnvValue("WAYLAND_DISPLAY").empty() && OnPath("wl-copy") && OnPath("wl-paste")) {
    ok = Copy({{"wl-copy", "--type", "text/plain;charset=utf-8"}, {"wl-paste", "--no-newline"}}, text, reason);
  } else if (!EnvValue("DISPLAY").empty()) {
    if (OnPath("xclip")) {
      ok = Copy({{"xclip", "-selection", "clipboard", "-in"}, {"xclip", "-selection", "clipboard", "-out"}}, text,
                reason);
    } else if (OnPath("xsel")) {
      ok = Copy({{"xsel", "--clipboard", "--input"}, {"xsel", "--clipboard", "--output"}}, text, reason);
    } else {
      reason = "no clipboard program: install xclip or xsel";
    }
  } else if (!EnvValue("WAYLAND_DISPLAY").empty()) {
    reason = "no clipboard program: install wl-clipboard (wl-copy, wl-paste)";
  } else {
    reason = "no desktop: neither WAYLAND_DISPLAY nor DISPLAY is set";
  }
  if (!ok && why) *why = "The clipboard cannot be written: " + reason + ".";
  return ok;
}

}  // namespace vantrove
