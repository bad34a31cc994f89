#pragma once
// Internal: what the control adapters share.

#include <memory>
#include <string>
#include <vector>

#include "../component/boundary.hpp"
#include "vantrove/controls.hpp"

namespace vantrove::adapters::support {

// Runs an adapter's body; a run-time error in it gives the result 0.
template <class F>
int16_t Trapped(F&& body) noexcept {
  return detail::Trapped(int16_t{0}, std::forward<F>(body));
}

// A cell's text: the ordinary conversion, Null as "".
inline std::string CellText(const Variant& v) { return v.IsNull() ? std::string() : CStr(v); }

// The control behind `obj` when it is of kind T, else nullptr.
template <class T>
T* As(const ObjectRef& obj) {
  return dynamic_cast<T*>(obj.get());
}

// The array's cells as text, row by row (Null gives ""); raises what the
// conversion raises (an object or array in a cell: 13).
inline std::vector<std::string> CellTexts(const SafeArray& a) {
  std::vector<std::string> out;
  out.reserve(a.size());
  for (const Variant& v : a.data()) out.push_back(CellText(v));
  return out;
}

// A new two-dimensional array of `rows` x `cols` from 0; 7 when too large.
inline SafeArray Matrix(int64_t rows, int64_t cols) {
  if (rows > INT32_MAX || cols > INT32_MAX) Raise(err::kOutOfMemory);
  return SafeArray({Bounds{0, static_cast<int32_t>(rows - 1)}, Bounds{0, static_cast<int32_t>(cols - 1)}});
}

}  // namespace vantrove::adapters::support
