#pragma once
// Internal: finding the line feeds and the delimiter bytes of a whole text,
// 64 bytes at a time, for the delimited-text readers.

#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrove::detail {

// Bit i is set where p[i] == c, for the 64 bytes from p.
inline uint64_t BytesEqual64(const char* p, char c) {
#if defined(__SSE2__)
  const __m128i v = _mm_set1_epi8(c);
  uint64_t m = 0;
  for (int i = 0; i < 4; ++i) {
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * i));
    m |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(b, v)))) << (16 * i);
  }
  return m;
#else
  uint64_t m = 0;
  for (int i = 0; i < 64; ++i) m |= static_cast<uint64_t>(p[i] == c) << i;
  return m;
#endif
}

// Calls `fn(lineFeeds, delimiters, at)` for each 64 bytes of `text` from
// offset `at`, with a bit set for each line feed and each `delimiter` (not
// itself a line feed) among them.
template <class Fn>
void ForEachBlock(std::string_view text, char delimiter, Fn&& fn) {
  size_t at = 0;
  for (; at + 64 <= text.size(); at += 64) {
    const char* p = text.data() + at;
    fn(BytesEqual64(p, '\n'), BytesEqual64(p, delimiter), at);
  }
  if (at < text.size()) {
    // The tail, padded with a byte that is neither.
    char tail[64];
    std::memset(tail, delimiter == '\0' ? 1 : 0, sizeof tail);
    std::memcpy(tail, text.data() + at, text.size() - at);
    fn(BytesEqual64(tail, '\n'), BytesEqual64(tail, delimiter), at);
  }
}

// Calls `fn(pos, lineFeed)` for each byte of `text` that is a line feed or
// `delimiter`, in order: `lineFeed` tells which.
template <class Fn>
void ForEachBreak(std::string_view text, char delimiter, Fn&& fn) {
  ForEachBlock(text, delimiter, [&](uint64_t lf, uint64_t dl, size_t at) {
    for (uint64_t all = lf | dl; all != 0; all &= all - 1) {
      const int i = __builtin_ctzll(all);
      fn(at + static_cast<size_t>(i), ((lf >> i) & 1) != 0);
    }
  });
}

// Calls `fn(count)` at each line feed of `text` with the number of
// delimiters since the one before; returns the number after the last.
template <class Fn>
size_t CountPerLine(std::string_view text, char delimiter, Fn&& fn) {
  size_t count = 0;
  ForEachBlock(text, delimiter, [&](uint64_t lf, uint64_t dl, size_t) {
    for (; lf != 0; lf &= lf - 1) {
      const uint64_t before = (lf & (~lf + 1)) - 1;  // the bits below this line feed
      count += static_cast<size_t>(__builtin_popcountll(dl & before));
      dl &= ~before;
      fn(count);
      count = 0;
    }
    count += static_cast<size_t>(__builtin_popcountll(dl));
  });
  return count;
}

}  // namespace vantrove::detail
