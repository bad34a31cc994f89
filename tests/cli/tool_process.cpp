#include "tool_process.hpp"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace vantrove::testing {

namespace {

// In the child: streams, folder, environment and user, then the tool.
[[noreturn]] void Exec(const std::vector<std::string>& args, const ToolOptions& o, int in, int out, int err) {
  dup2(in, 0);
  dup2(out, 1);
  dup2(err, 2);
  if (!o.folder.empty() && chdir(o.folder.c_str()) != 0) _exit(126);
  for (const auto& [name, value] : o.env) setenv(name.c_str(), value.c_str(), 1);
  if (o.uid != 0) {
    if (setgroups(0, nullptr) != 0 || setgid(o.uid) != 0 || setuid(o.uid) != 0) _exit(126);
  }
  std::vector<char*> argv;
  std::string tool = VANTROVE_CLI;
  argv.push_back(tool.data());
  std::vector<std::string> copy = args;
  for (auto& a : copy) argv.push_back(a.data());
  argv.push_back(nullptr);
  execv(tool.c_str(), argv.data());
  _exit(127);
}

void ReadBoth(int outFd, int errFd, std::string& out, std::string& err) {
  pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
  std::string* sinks[2] = {&out, &err};
  int open = (outFd >= 0) + (errFd >= 0);
  char buf[4096];
  while (open > 0) {
    if (poll(fds, 2, -1) < 0) break;
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      const ssize_t n = read(fds[i].fd, buf, sizeof buf);
      if (n > 0) {
        sinks[i]->append(buf, static_cast<size_t>(n));
      } else {
        close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  }
}

}  // namespace

bool CanSwitchUser() { return geteuid() == 0; }

ToolRun RunTool(const std::vector<std::string>& args, const ToolOptions& o) {
  ToolRun r;
  int outPipe[2] = {-1, -1}, errPipe[2];
  if (pipe2(errPipe, O_CLOEXEC) != 0) return r;
  int out = -1;
  if (!o.output.empty()) {
    out = open(o.output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  } else if (pipe2(outPipe, O_CLOEXEC) == 0) {
    out = outPipe[1];
  }
  const int in = open(o.input.c_str(), O_RDONLY | O_CLOEXEC);
  const pid_t pid = fork();
  if (pid == 0) {
    // A reader that has already gone: the first write raises SIGPIPE.
    if (o.closedOutput) close(outPipe[0]);
    Exec(args, o, in, out, errPipe[1]);
  }
  close(errPipe[1]);
  close(in);
  close(out);
  if (o.closedOutput && outPipe[0] >= 0) {
    close(outPipe[0]);
    outPipe[0] = -1;
  }
  ReadBoth(outPipe[0], errPipe[0], r.out, r.err);
  ToolRun waited = WaitTool(pid);
  r.status = waited.status;
  r.signal = waited.signal;
  return r;
}

pid_t StartTool(const std::vector<std::string>& args, const ToolOptions& o, int& input_fd) {
  int inPipe[2];
  if (pipe2(inPipe, O_CLOEXEC) != 0) return -1;
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  const pid_t pid = fork();
  if (pid == 0) {
    close(inPipe[1]);
    Exec(args, o, inPipe[0], null, null);
  }
  close(inPipe[0]);
  close(null);
  input_fd = inPipe[1];
  return pid;
}

ToolRun WaitTool(pid_t pid) {
  ToolRun r;
  int st = 0;
  if (waitpid(pid, &st, 0) != pid) return r;
  if (WIFEXITED(st)) r.status = WEXITSTATUS(st);
  if (WIFSIGNALED(st)) r.signal = WTERMSIG(st);
  return r;
}

}  // namespace vantrove::testing
