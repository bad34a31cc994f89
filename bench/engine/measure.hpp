#pragma once
// Helpers the large-drawing benchmarks share: timing, running a measurement
// in a child process (so its peak RSS is its own), and reading a peer
// script's JSON figures.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>

namespace vantrove::bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::time_point a, Clock::time_point b) {
  return std::chrono::duration<double>(b - a).count();
}

inline double CpuSeconds(const struct rusage& u) {
  return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
         static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

// Runs `work` (returning a trivially copyable M) in a child process and
// hands back what it returned and the child's resource usage. `ok` is false
// when the child could not report.
template <class M>
struct ChildResult {
  M value{};
  struct rusage usage {};
  bool ok = false;
};

template <class M, class Work>
ChildResult<M> InChild(Work work) {
  static_assert(std::is_trivially_copyable_v<M>);
  ChildResult<M> r;
  int fds[2];
  if (pipe(fds) != 0) return r;
  std::fflush(stdout);
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    const M m = work();
    if (write(fds[1], &m, sizeof(m)) != sizeof(m)) _exit(2);
    _exit(0);
  }
  close(fds[1]);
  r.ok = pid > 0 && read(fds[0], &r.value, sizeof(r.value)) == sizeof(r.value);
  close(fds[0]);
  int status = 0;
  if (pid > 0) wait4(pid, &status, 0, &r.usage);
  return r;
}

// The standard output of a shell command.
inline std::string Run(const std::string& command) {
  std::string out;
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return out;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0) out.append(buffer, n);
  pclose(pipe);
  return out;
}

// A number from a flat JSON object printed by a peer script; -1 when absent.
inline double JsonNumber(const std::string& json, const std::string& key) {
  const size_t at = json.find("\"" + key + "\":");
  if (at == std::string::npos) return -1;
  return std::strtod(json.c_str() + at + key.size() + 3, nullptr);
}

}  // namespace vantrove::bench
