#pragma once
// Internal: the error boundary of a public method. No exception leaves a
// public method of clsVantrove: whatever the body throws (a run-time error,
// an allocation failure, anything else) becomes the method's error result.
//
//   int16_t clsVantrove::SortOneDArray(Variant& varArray, SortOrderType order) {
//     return detail::Trapped(int16_t{0}, [&]() -> int16_t { ... });
//   }

#include <utility>

namespace vantrove::detail {

// Runs `body` and answers its result, or `onError` when it throws.
template <class R, class F>
R Trapped(R onError, F&& body) noexcept {
  try {
    return std::forward<F>(body)();
  } catch (...) {
    return onError;
  }
}

// For a method without a result: runs `body` and drops anything it throws.
template <class F>
void Trapped(F&& body) noexcept {
  try {
    std::forward<F>(body)();
  } catch (...) {
  }
}

}  // namespace vantrove::detail
