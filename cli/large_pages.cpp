// Large blocks on large pages. The tool's big allocations (a request's text,
// the parsed arrays, the answer) are touched once from start to end; on 4 KiB
// pages that is one page fault per 4 KiB, a large share of a big request's
// time. Blocks from 4 MiB up are asked to be backed by transparent huge
// pages where the system offers them on request; nothing changes elsewhere.
// Sanitizer builds keep their own allocator.
#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#if !defined(__SANITIZE_ADDRESS__)

namespace {

constexpr size_t kLarge = size_t{4} << 20;
constexpr uintptr_t kHuge = uintptr_t{2} << 20;

void* Allocate(size_t n) noexcept {
  void* p = std::malloc(n == 0 ? 1 : n);
  if (p != nullptr && n >= kLarge) {
    // The whole 2 MiB spans inside the block, before anything touches them.
    const auto from = (reinterpret_cast<uintptr_t>(p) + kHuge - 1) & ~(kHuge - 1);
    const auto to = (reinterpret_cast<uintptr_t>(p) + n) & ~(kHuge - 1);
    if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
  }
  return p;
}

}  // namespace

void* operator new(size_t n) {
  if (void* p = Allocate(n)) return p;
  throw std::bad_alloc();
}
void* operator new[](size_t n) {
  if (void* p = Allocate(n)) return p;
  throw std::bad_alloc();
}
void* operator new(size_t n, const std::nothrow_t&) noexcept { return Allocate(n); }
void* operator new[](size_t n, const std::nothrow_t&) noexcept { return Allocate(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

#endif
