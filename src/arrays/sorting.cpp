// Sorting arrays in place: a one-dimensional array by value, the rows of a
// two-dimensional array by a list of key columns.
//
// Comparisons are the variant ordering in binary mode. When every value that
// a comparison can meet is a string (or every one a plain number), the sorts
// compare those directly; the answers are the same as the general ordering's.
#include <limits>
#include <utility>
#include <vector>

#include "../component/boundary.hpp"
#include "vantrove/component.hpp"

namespace vantrove {

namespace {

// ---- Comparison --------------------------------------------------------------

enum class ValueKind { Strings, Numbers, Mixed };

bool IsPlainNumber(const Variant& v) {
  switch (v.type()) {
    case VarType::Integer:
    case VarType::Long:
    case VarType::Single:
    case VarType::Double:
    case VarType::Byte:
    case VarType::Date:
    case VarType::Boolean: return true;
    default: return false;
  }
}

// What kind of values `count` elements, `stride` apart, hold.
ValueKind KindOf(const Variant* first, size_t count, size_t stride) {
  bool strings = true, numbers = true;
  for (size_t i = 0; i < count && (strings || numbers); ++i) {
    const Variant& v = first[i * stride];
    strings = strings && v.IsString();
    numbers = numbers && IsPlainNumber(v);
  }
  if (strings) return ValueKind::Strings;
  if (numbers) return ValueKind::Numbers;
  return ValueKind::Mixed;
}

int Sign(int c) { return c < 0 ? -1 : (c > 0 ? 1 : 0); }

inline int CompareAs(ValueKind kind, const Variant& a, const Variant& b) {
  switch (kind) {
    case ValueKind::Strings: return Sign(a.get_if<std::string>()->compare(*b.get_if<std::string>()));
    case ValueKind::Numbers: {
      const double x = CDbl(a), y = CDbl(b);
      return x < y ? -1 : (x > y ? 1 : 0);
    }
    case ValueKind::Mixed: break;
  }
  return Compare(a, b, CompareMode::Binary);
}

// ---- One-dimensional ---------------------------------------------------------------

// How a sort compares and swaps elements of one kind.
template <ValueKind K>
struct ElementOps {
  static int Cmp(const Variant& a, const Variant& b) { return CompareAs(K, a, b); }
  static void Swap(Variant& a, Variant& b) {
    if constexpr (K == ValueKind::Strings) std::swap(a.str(), b.str());  // the strings trade places, no more
    else std::swap(a, b);
  }
};

template <class Ops>
class VectorSorter {
 public:
  explicit VectorSorter(SafeArray& a)
      : base_(a.dims() == 1 ? a.data().data() : nullptr), lo_(a.dims() >= 1 ? a.LBound(1) : 0),
        hi_(a.dims() >= 1 ? a.UBound(1) : -1) {}

  // Element i; "Subscript out of range" outside the array or for an array
  // that is not one-dimensional.
  Variant& At(int64_t i) {
    if (base_ == nullptr || i < lo_ || i > hi_) Raise(err::kSubscript);
    return base_[i - lo_];
  }

  int Cmp(int64_t i, int64_t j) { return Ops::Cmp(At(i), At(j)); }
  int CmpValue(int64_t i, const Variant& v) { return Ops::Cmp(At(i), v); }
  void Swap(int64_t i, int64_t j) { Ops::Swap(At(i), At(j)); }

  // Median-of-three quicksort that leaves ranges of up to five elements for
  // the insertion sort. The smaller part is sorted first by recursion, the
  // larger one by the loop, which bounds the stack.
  void QuickSort(int64_t lo, int64_t hi) {
    constexpr int64_t kCutOff = 4;
    while (hi - lo > kCutOff) {
      const auto mid = static_cast<int64_t>(RoundHalfEven((static_cast<double>(lo) + static_cast<double>(hi)) / 2));
      if (Cmp(lo, mid) > 0) Swap(lo, mid);
      if (Cmp(lo, hi) > 0) Swap(lo, hi);
      if (Cmp(mid, hi) > 0) Swap(mid, hi);
      const Variant pivot = At(mid);
      int64_t i = lo, j = hi;
      do {
        while (CmpValue(i, pivot) < 0) ++i;
        while (CmpValue(j, pivot) > 0) --j;
        if (i <= j) {
          Swap(i, j);
          ++i;
          --j;
        }
      } while (i <= j);
      if (j - lo < hi - i) {
        QuickSort(lo, j);
        lo = i;
      } else {
        QuickSort(i, hi);
        hi = j;
      }
    }
  }

  // Stable: an element goes after the last one not greater than it.
  void InsertionSort(int64_t lo, int64_t hi) {
    for (int64_t i = lo + 1; i <= hi; ++i) {
      Variant x = std::move(At(i));
      int64_t j = i - 1;
      try {
        while (j >= lo && Ops::Cmp(At(j), x) > 0) {
          At(j + 1) = std::move(At(j));
          --j;
        }
      } catch (...) {
        At(j + 1) = std::move(x);  // keep every element when a comparison fails
        throw;
      }
      At(j + 1) = std::move(x);
    }
  }

  // Swaps the ends and moves both inward while the lower is below the upper.
  void Reverse(int64_t lo, int64_t hi) {
    while (lo < hi) {
      Swap(lo, hi);
      ++lo;
      --hi;
    }
  }

 private:
  Variant* base_;
  int64_t lo_, hi_;
};

template <ValueKind K>
void SortVector(SafeArray& a, int64_t lo, int64_t hi, bool descending) {
  VectorSorter<ElementOps<K>> sorter(a);
  sorter.QuickSort(lo, hi);
  sorter.InsertionSort(lo, hi);
  if (descending) sorter.Reverse(lo, hi);
}

// ---- Two-dimensional ---------------------------------------------------------------

// The 16-bit integer arithmetic of the row sort: results outside -32768 ..
// 32767 are an overflow.
int16_t To16(int64_t v) {
  if (v < std::numeric_limits<int16_t>::min() || v > std::numeric_limits<int16_t>::max()) Raise(err::kOverflow);
  return static_cast<int16_t>(v);
}

struct SortKey {
  int16_t column;
  bool descending;
  ValueKind kind = ValueKind::Mixed;
};

// Checks the key list pair by pair; 1 when every pair is good, else the code
// of the first bad one. Raises for a pair without its order word and for
// column bounds beyond 16 bits.
int16_t ValidateKeys(const SafeArray& a, std::span<Variant> keys, std::vector<SortKey>& out) {
  for (size_t k = 0; k < keys.size(); k += 2) {
    double column = 0;
    try {
      column = CDbl(keys[k]);
    } catch (const RuntimeError&) {
      return -2;
    }
    const int16_t lower = To16(a.LBound(2)), upper = To16(a.UBound(2));
    if (column < lower || column > upper) return -3;
    if (k + 1 >= keys.size()) Raise(err::kSubscript);
    const Variant& order = keys[k + 1];
    if (!order.IsString() || (order.str() != "asc" && order.str() != "dec")) return -4;
    out.push_back({CInt(keys[k]), order.str() == "dec"});
  }
  return 1;
}

class RowSorter {
 public:
  RowSorter(SafeArray& a, std::vector<SortKey> keys)
      : data_(a.data().data()), rowLower_(a.LBound(1)), rowUpper_(a.UBound(1)), colLower_(To16(a.LBound(2))),
        columns_(a.bounds()[1].count()), keys_(std::move(keys)), pivot_(static_cast<size_t>(columns_)) {}

  // Row r; "Subscript out of range" outside the rows.
  Variant* Row(int64_t r) {
    if (r < rowLower_ || r > rowUpper_) Raise(err::kSubscript);
    return data_ + (r - rowLower_) * columns_;
  }

  // Chooses each key column's comparison from the values in rows first..last.
  void ClassifyKeys(int64_t first, int64_t last) {
    const int64_t from = std::max(first, rowLower_);
    if (from > last) return;
    for (SortKey& k : keys_) {
      k.kind = KindOf(Row(from) + (k.column - colLower_), static_cast<size_t>(last - from + 1),
                      static_cast<size_t>(columns_));
    }
  }

  // -1, 0 or 1: the first key column where the rows differ decides; "dec"
  // keys turn the answer round.
  int CompareRows(const Variant* a, const Variant* b) const {
    for (const SortKey& k : keys_) {
      const size_t c = static_cast<size_t>(k.column - colLower_);
      const int r = CompareAs(k.kind, a[c], b[c]);
      if (r != 0) return k.descending ? -r : r;
    }
    return 0;
  }

  // Sorts rows first..last, left part before right part as recursion would.
  void Sort(int16_t first, int16_t last) {
    struct Range {
      int16_t first, last;
      bool afterPivot;  // first is the pivot's row; the range starts one below it
    };
    std::vector<Range> todo{{first, last, false}};
    while (!todo.empty()) {
      Range r = todo.back();
      todo.pop_back();
      if (r.afterPivot) r.first = To16(int64_t{r.first} + 1);
      if (r.first >= r.last) continue;
      const int16_t i = Partition(r.first, r.last);
      todo.push_back({i, r.last, true});
      todo.push_back({r.first, To16(int64_t{i} - 1), false});
    }
  }

 private:
  void MoveRow(int64_t from, int64_t to) {
    Variant* src = Row(from);
    Variant* dst = Row(to);
    for (int64_t c = 0; c < columns_; ++c) dst[c] = std::move(src[c]);
  }
  void PivotInto(int64_t row) {
    Variant* dst = Row(row);
    for (int64_t c = 0; c < columns_; ++c) dst[c] = std::move(pivot_[static_cast<size_t>(c)]);
  }

  // Hole-filling partition with row `first` as the pivot; rows equal to the
  // pivot end on its right. Returns the pivot's final row.
  int16_t Partition(int16_t first, int16_t last) {
    {
      Variant* src = Row(first);
      for (int64_t c = 0; c < columns_; ++c) pivot_[static_cast<size_t>(c)] = std::move(src[c]);
    }
    int16_t i = first, j = last;
    int64_t hole = first;
    try {
      for (;;) {
        // Right scan: pass over rows not below the pivot.
        while (CompareRows(Row(j), pivot_.data()) >= 0) {
          j = To16(int64_t{j} - 1);
          if (j <= i) break;
        }
        if (j <= i) {
          PivotInto(i);
          return i;
        }
        MoveRow(j, i);
        hole = j;
        i = To16(int64_t{i} + 1);
        // Left scan: pass over rows below the pivot. Reaching j means row j
        // was the one just moved down, which compared below the pivot.
        for (;;) {
          if (i == j) {
            i = To16(int64_t{i} + 1);
            break;
          }
          if (CompareRows(Row(i), pivot_.data()) >= 0) break;
          i = To16(int64_t{i} + 1);
          if (i >= j) break;
        }
        if (i >= j) {
          i = j;
          PivotInto(j);
          return i;
        }
        MoveRow(i, j);
        hole = i;
      }
    } catch (...) {
      PivotInto(hole);  // leave every row in the array when a comparison fails
      throw;
    }
  }

  Variant* data_;
  int64_t rowLower_, rowUpper_;
  int16_t colLower_;
  int64_t columns_;
  std::vector<SortKey> keys_;
  std::vector<Variant> pivot_;
};

int16_t SortRows(Variant& arrArray, std::span<Variant> keys, const Variant* skipFirstRow, bool skipFirst) {
  if (!arrArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    if (skipFirstRow) skipFirst = CBool(*skipFirstRow);
    SafeArray& a = arrArray.array();
    std::vector<SortKey> sortKeys;
    if (const int16_t valid = ValidateKeys(a, keys, sortKeys); valid != 1) return valid;
    // With the flag the sort starts at row 1 whatever the lower bound.
    const int16_t first = skipFirst ? int16_t{1} : To16(a.LBound(1));
    const int16_t last = To16(a.UBound(1));
    if (first >= last) return 1;
    if (a.dims() != 2) Raise(err::kSubscript);
    const bool anyKey = !sortKeys.empty();
    RowSorter sorter(a, std::move(sortKeys));
    sorter.Row(first);
    if (!anyKey) return 1;  // every row compares equal: nothing moves
    sorter.ClassifyKeys(first, last);
    sorter.Sort(first, last);
    return 1;
  });
}

}  // namespace

int16_t clsVantrove::SortOneDArray(Variant& varArray, SortOrderType lngSortOrder) {
  if (!varArray.IsArray()) return -1;
  return detail::Trapped(int16_t{0}, [&]() -> int16_t {
    if (lngSortOrder < 0 || lngSortOrder >= 2) lngSortOrder = dwgAscending;
    SafeArray& a = varArray.array();
    const int64_t lo = a.LBound(1), hi = a.UBound(1);
    const bool descending = lngSortOrder == dwgDescending;
    switch (a.dims() == 1 ? KindOf(a.data().data(), a.data().size(), 1) : ValueKind::Mixed) {
      case ValueKind::Strings: SortVector<ValueKind::Strings>(a, lo, hi, descending); break;
      case ValueKind::Numbers: SortVector<ValueKind::Numbers>(a, lo, hi, descending); break;
      case ValueKind::Mixed: SortVector<ValueKind::Mixed>(a, lo, hi, descending); break;
    }
    return 1;
  });
}

int16_t clsVantrove::SortTwoDArray(Variant& arrArray, bool blnDoNotIncludeFirstRow, std::span<Variant> SortOrder) {
  return SortRows(arrArray, SortOrder, nullptr, blnDoNotIncludeFirstRow);
}

int16_t clsVantrove::Web_SortTwoDArray(Variant& arrArray, const Variant& blnDoNotIncludeFirstRow,
                                       std::span<Variant> SortOrder) {
  return SortRows(arrArray, SortOrder, &blnDoNotIncludeFirstRow, false);
}

}  // namespace vantrove
