#include "vantrove/engine/progress.hpp"

#include <utility>

namespace vantrove::engine {

namespace {
thread_local ReadProgress current;
}

ReadProgress SetReadProgress(ReadProgress fn) { return std::exchange(current, std::move(fn)); }

void ReportReadProgress(uint64_t done, uint64_t total) {
  if (!current) return;
  try {
    current(done, total);
  } catch (...) {
    // Showing progress never stops a read.
  }
}

}  // namespace vantrove::engine
