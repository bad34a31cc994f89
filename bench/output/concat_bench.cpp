// clsConcat: ten million one-character appends, against std::string.
#include <cstdio>
#include <string>

#include "bench_util.hpp"
#include "vantrove/output.hpp"

int main() {
  using vantrove::bench::Best;
  constexpr int kAppends = 10'000'000;
  size_t size = 0;
  const double concat = Best(3, [] {}, [&] {
    vantrove::clsConcat c;
    for (int i = 0; i < kAppends; ++i) c.SConcat("x");
    size = c.GetString().size();
  });
  size_t plainSize = 0;
  const double plain = Best(3, [] {}, [&] {
    std::string s;
    for (int i = 0; i < kAppends; ++i) s.append("x");
    plainSize = s.size();
  });
  std::printf("clsConcat: %d one-character appends: %.3f s (%.1f ns each), %zu characters\n", kAppends, concat,
              concat * 1e9 / kAppends, size);
  std::printf("std::string::append, same appends:  %.3f s (%.1f ns each), %zu characters\n", plain,
              plain * 1e9 / kAppends, plainSize);
  std::printf("ratio clsConcat / std::string: %.2f\n", concat / plain);
  return size == static_cast<size_t>(kAppends) ? 0 : 1;
}
