#include "vantrove/runtime/safearray.hpp"

#include <sys/mman.h>

#include <cstdint>
#include <limits>

#include "vantrove/runtime/convert.hpp"
#include "vantrove/runtime/errors.hpp"

namespace vantrove {

namespace {
// Arrays larger than this are refused with "Out of memory" rather than
// letting a wild bound allocate the machine away.
constexpr int64_t kMaxElements = int64_t{1} << 31;

int64_t CountElements(const std::vector<Bounds>& dims) {
  if (dims.empty()) Raise(err::kSubscript);
  int64_t n = 1;
  for (const Bounds& b : dims) {
    if (b.count() < 0) Raise(err::kSubscript);
    n *= b.count();
    if (n > kMaxElements) Raise(err::kOutOfMemory);
  }
  return n;
}

// A large array is filled from start to end as soon as it is made; on 4 KiB
// pages that is one page fault per 4 KiB. Its whole 2 MiB spans are asked to
// be backed by transparent huge pages (where the system offers them on
// request) before anything touches them.
void AdviseLargePages(void* block, size_t bytes) {
  constexpr size_t kLarge = size_t{4} << 20;
  constexpr uintptr_t kHuge = uintptr_t{2} << 20;
  if (block == nullptr || bytes < kLarge) return;
  const auto from = (reinterpret_cast<uintptr_t>(block) + kHuge - 1) & ~(kHuge - 1);
  const auto to = (reinterpret_cast<uintptr_t>(block) + bytes) & ~(kHuge - 1);
  if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
}
}  // namespace

SafeArray::SafeArray(std::vector<Bounds> dims, VarType element) : element_(element) { ReDim(std::move(dims)); }

SafeArray SafeArray::Vector(std::vector<Variant> items, int32_t lower) {
  SafeArray a;
  a.dims_ = {Bounds{lower, static_cast<int32_t>(lower + static_cast<int64_t>(items.size()) - 1)}};
  a.data_ = std::move(items);
  return a;
}

SafeArray SafeArray::Matrix(int32_t rows, int32_t cols, int32_t rowLower, int32_t colLower) {
  return SafeArray({Bounds{rowLower, rowLower + rows - 1}, Bounds{colLower, colLower + cols - 1}});
}

SafeArray SafeArray::FromRows(std::initializer_list<std::initializer_list<Variant>> rows) {
  const int32_t nrows = static_cast<int32_t>(rows.size());
  const int32_t ncols = nrows ? static_cast<int32_t>(rows.begin()->size()) : 0;
  SafeArray a = Matrix(nrows, ncols);
  int32_t r = 0;
  for (const auto& row : rows) {
    int32_t c = 0;
    for (const auto& cell : row) {
      if (c < ncols) a.at(r, c) = cell;
      ++c;
    }
    ++r;
  }
  return a;
}

int32_t SafeArray::LBound(int dim) const {
  if (dim < 1 || dim > dims()) Raise(err::kSubscript);
  return dims_[static_cast<size_t>(dim - 1)].lower;
}

int32_t SafeArray::UBound(int dim) const {
  if (dim < 1 || dim > dims()) Raise(err::kSubscript);
  return dims_[static_cast<size_t>(dim - 1)].upper;
}

size_t SafeArray::Offset(std::span<const int32_t> idx) const {
  if (idx.size() != dims_.size()) Raise(err::kSubscript);
  size_t off = 0;
  for (size_t d = 0; d < dims_.size(); ++d) {
    const Bounds& b = dims_[d];
    if (idx[d] < b.lower || idx[d] > b.upper) Raise(err::kSubscript);
    off = off * static_cast<size_t>(b.count()) + static_cast<size_t>(idx[d] - b.lower);
  }
  return off;
}

Variant& SafeArray::at(std::span<const int32_t> idx) { return data_[Offset(idx)]; }
const Variant& SafeArray::at(std::span<const int32_t> idx) const { return data_[Offset(idx)]; }

Variant& SafeArray::at(int32_t i) {
  const int32_t idx[1] = {i};
  return at(std::span<const int32_t>(idx));
}
const Variant& SafeArray::at(int32_t i) const {
  const int32_t idx[1] = {i};
  return at(std::span<const int32_t>(idx));
}
Variant& SafeArray::at(int32_t row, int32_t col) {
  const int32_t idx[2] = {row, col};
  return at(std::span<const int32_t>(idx));
}
const Variant& SafeArray::at(int32_t row, int32_t col) const {
  const int32_t idx[2] = {row, col};
  return at(std::span<const int32_t>(idx));
}

void SafeArray::Set(std::span<const int32_t> idx, const Variant& v) {
  Variant& slot = at(idx);
  slot = element_ == VarType::Variant ? v : ConvertTo(v, element_);
}

Variant SafeArray::DefaultElement() const {
  switch (element_) {
    case VarType::Variant: return Variant();
    case VarType::Object: return Variant(ObjectRef{});
    default: return ConvertTo(Variant(int32_t{0}), element_ == VarType::String ? VarType::Variant : element_);
  }
}

void SafeArray::ReDim(std::vector<Bounds> dims) {
  const int64_t n = CountElements(dims);
  Variant def = element_ == VarType::String ? Variant(std::string()) : DefaultElement();
  std::vector<Variant> data;
  data.reserve(static_cast<size_t>(n));
  AdviseLargePages(data.data(), static_cast<size_t>(n) * sizeof(Variant));
  if (def.IsEmpty()) data.resize(static_cast<size_t>(n));  // Empty elements: nothing to copy
  else data.resize(static_cast<size_t>(n), def);
  dims_ = std::move(dims);
  data_ = std::move(data);
}

void SafeArray::ReDimPreserve(std::vector<Bounds> dims) {
  if (!allocated()) {
    ReDim(std::move(dims));
    return;
  }
  if (dims.size() != dims_.size()) Raise(err::kSubscript);
  for (size_t d = 0; d < dims.size(); ++d) {
    if (dims[d].lower != dims_[d].lower) Raise(err::kSubscript);
    if (d + 1 < dims.size() && dims[d].upper != dims_[d].upper) Raise(err::kSubscript);
  }
  const int64_t n = CountElements(dims);
  const size_t oldLast = static_cast<size_t>(dims_.back().count());
  const size_t newLast = static_cast<size_t>(dims.back().count());
  if (oldLast == newLast) {
    dims_ = std::move(dims);
    return;
  }
  Variant def = element_ == VarType::String ? Variant(std::string()) : DefaultElement();
  std::vector<Variant> data(static_cast<size_t>(n), def);
  const size_t outer = newLast == 0 ? 0 : static_cast<size_t>(n) / newLast;
  const size_t keep = std::min(oldLast, newLast);
  for (size_t o = 0; o < outer; ++o) {
    for (size_t k = 0; k < keep; ++k) data[o * newLast + k] = std::move(data_[o * oldLast + k]);
  }
  dims_ = std::move(dims);
  data_ = std::move(data);
}

void SafeArray::Erase() {
  dims_.clear();
  data_.clear();
}

}  // namespace vantrove
