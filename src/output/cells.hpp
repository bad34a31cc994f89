#pragma once
// Internal: element access and element text for the array writers.

#include <cstddef>
#include <cstdint>
#include <string>

#include "vantrove/output.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::detail {

// Element (row, col) of a two-dimensional array; "Subscript out of range" (9)
// for another number of dimensions or an index outside the bounds.
inline const Variant& Cell(const SafeArray& a, int64_t row, int64_t col) {
  if (a.dims() == 2) {
    const Bounds& r = a.bounds()[0];
    const Bounds& c = a.bounds()[1];
    if (row >= r.lower && row <= r.upper && col >= c.lower && col <= c.upper) {
      return a.data()[static_cast<size_t>((row - r.lower) * c.count() + (col - c.lower))];
    }
  }
  Raise(err::kSubscript);
}

// Element i of a one-dimensional array, with the same checks.
inline const Variant& Item(const SafeArray& a, int64_t i) {
  if (a.dims() == 1) {
    const Bounds& b = a.bounds()[0];
    if (i >= b.lower && i <= b.upper) return a.data()[static_cast<size_t>(i - b.lower)];
  }
  Raise(err::kSubscript);
}

// Appends the element's text (the ordinary conversion; Null raises 94).
inline void AppendText(clsConcat& out, const Variant& v) {
  if (v.IsString()) out.SConcat(v.str());
  else out.SConcat(CStr(v));
}

// Room enough for any number's text.
inline constexpr size_t kNumberRoom = 64;

// The text of a Long, Integer or finite non-zero Double, as CStr gives it,
// written at `out` (kNumberRoom bytes); the end of the text, or null for any
// other value.
char* NumberText(char* out, const Variant& v);

// Appends the element's text as CStr gives it (Null raises 94).
void AppendCellText(std::string& out, const Variant& v);

// The text a value gives when it is joined to other text: Null gives "".
inline std::string JoinedText(const Variant& v) { return v.IsNull() ? std::string() : CStr(v); }

}  // namespace vantrove::detail
