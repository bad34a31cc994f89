#pragma once
// Timing helpers for the benchmark programs.
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace vantrove::bench {

// Seconds for one run of `fn`.
inline double Seconds(const std::function<void()>& fn) {
  const auto t0 = std::chrono::steady_clock::now();
  fn();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// The best of `runs` runs, each after `setup` (which is not timed).
inline double Best(int runs, const std::function<void()>& setup, const std::function<void()>& fn) {
  double best = 1e300;
  for (int i = 0; i < runs; ++i) {
    setup();
    best = std::min(best, Seconds(fn));
  }
  return best;
}

// CPU seconds (user + system) this process spent in one run of `fn`: on a
// loaded machine a steadier figure than the wall clock.
inline double CpuSeconds(const std::function<void()>& fn) {
  timespec a{}, b{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &a);
  fn();
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &b);
  return static_cast<double>(b.tv_sec - a.tv_sec) + static_cast<double>(b.tv_nsec - a.tv_nsec) / 1e9;
}

inline double BestCpu(int runs, const std::function<void()>& setup, const std::function<void()>& fn) {
  double best = 1e300;
  for (int i = 0; i < runs; ++i) {
    setup();
    best = std::min(best, CpuSeconds(fn));
  }
  return best;
}

// CPU seconds of the child processes one shell command ran (process start
// included), the best of `runs`.
inline double BestChildCpu(int runs, const std::string& command) {
  double best = 1e300;
  for (int i = 0; i < runs; ++i) {
    rusage a{}, b{};
    getrusage(RUSAGE_CHILDREN, &a);
    if (std::system(command.c_str()) != 0) std::printf("failed: %s\n", command.c_str());
    getrusage(RUSAGE_CHILDREN, &b);
    const auto secs = [](const timeval& t) { return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6; };
    best = std::min(best, secs(b.ru_utime) + secs(b.ru_stime) - secs(a.ru_utime) - secs(a.ru_stime));
  }
  return best;
}

}  // namespace vantrove::bench
