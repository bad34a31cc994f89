#pragma once
// Timing helpers for the benchmark programs.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>

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

}  // namespace vantrove::bench
