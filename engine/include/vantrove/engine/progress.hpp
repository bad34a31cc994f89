#pragma once
// How far reading a drawing has got, for a caller that shows progress on
// long single files. The readers report now and then (every few megabytes),
// on the thread that reads; nothing is reported when no function is set.

#include <cstdint>
#include <functional>

namespace vantrove::engine {

// Called with the bytes read so far and the file's size.
using ReadProgress = std::function<void(uint64_t done, uint64_t total)>;

// Sets the function for reads on this thread (an empty one stops the
// reports) and returns the one set before.
ReadProgress SetReadProgress(ReadProgress fn);

// For the readers: passes a report on, when a function is set.
void ReportReadProgress(uint64_t done, uint64_t total);

// The readers report each time this many more bytes have been read.
inline constexpr uint64_t kReadProgressStep = uint64_t{4} << 20;

}  // namespace vantrove::engine
