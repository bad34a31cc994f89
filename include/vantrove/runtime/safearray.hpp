#pragma once
// SafeArray: a rectangular array of Variants with one lower bound and count
// per dimension. Elements are stored row-major, so walking rows then columns
// is sequential. A dynamic array can be unallocated: it is still an array,
// but asking for its bounds raises "Subscript out of range" (9).

#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

#include "vantrove/runtime/variant.hpp"

namespace vantrove {

struct Bounds {
  int32_t lower = 0;
  int32_t upper = -1;
  int64_t count() const { return int64_t{upper} - lower + 1; }
  friend bool operator==(Bounds, Bounds) = default;
};

class SafeArray {
 public:
  // An unallocated dynamic array whose elements are `element` (Variant by default).
  explicit SafeArray(VarType element = VarType::Variant) : element_(element) {}
  SafeArray(std::vector<Bounds> dims, VarType element = VarType::Variant);

  // A 1-D array (lower .. lower + n - 1) holding `items`.
  static SafeArray Vector(std::vector<Variant> items, int32_t lower = 0);
  // A 2-D array of `rows` x `cols` Empty cells, both from 0 unless told.
  static SafeArray Matrix(int32_t rows, int32_t cols, int32_t rowLower = 0, int32_t colLower = 0);
  // A 2-D array from nested rows (all rows as long as the first), from 0.
  static SafeArray FromRows(std::initializer_list<std::initializer_list<Variant>> rows);

  bool allocated() const { return !dims_.empty(); }
  // Number of dimensions; 0 for an unallocated array.
  int dims() const { return static_cast<int>(dims_.size()); }
  // Bounds of dimension `dim` (1-based, as the classic LBound/UBound).
  int32_t LBound(int dim = 1) const;
  int32_t UBound(int dim = 1) const;
  const std::vector<Bounds>& bounds() const { return dims_; }
  size_t size() const { return data_.size(); }
  VarType element_type() const { return element_; }

  // Element access by index; raises 9 when out of range or when the number
  // of indices differs from the number of dimensions.
  Variant& at(int32_t i);
  const Variant& at(int32_t i) const;
  Variant& at(int32_t row, int32_t col);
  const Variant& at(int32_t row, int32_t col) const;
  Variant& at(std::span<const int32_t> idx);
  const Variant& at(std::span<const int32_t> idx) const;
  // Stores `v`, converted to the element type of a typed array.
  void Set(std::span<const int32_t> idx, const Variant& v);

  // ReDim: new bounds, every element reset.
  void ReDim(std::vector<Bounds> dims);
  // ReDim Preserve: only the upper bound of the last dimension may change;
  // anything else raises 9. On an unallocated array it is a plain ReDim.
  void ReDimPreserve(std::vector<Bounds> dims);
  // Erase: back to an unallocated dynamic array.
  void Erase();

  // Row-major storage, for loops that walk everything.
  std::vector<Variant>& data() { return data_; }
  const std::vector<Variant>& data() const { return data_; }

 private:
  size_t Offset(std::span<const int32_t> idx) const;
  Variant DefaultElement() const;

  std::vector<Bounds> dims_;
  std::vector<Variant> data_;
  VarType element_ = VarType::Variant;
};

}  // namespace vantrove
