#include "dwg/xrecord.hpp"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dwg/bit_reader.hpp"
#include "vantrove/engine/groups.hpp"
#include "vantrove/engine/handle.hpp"

namespace vantrove::engine::dwg {

namespace {

// Codes whose value is a point: three reals, written as code, code + 10,
// code + 20 in DXF.
bool IsPoint(int32_t code) {
  return (code >= 10 && code <= 17) || (code >= 110 && code <= 112) || code == 210 || (code >= 1010 && code <= 1013);
}

class Items {
 public:
  Items(std::string_view data, bool utf16, TextDecoder& text, types::FieldValues& values)
      : p_(reinterpret_cast<const uint8_t*>(data.data())), n_(data.size()), utf16_(utf16), text_(text), values_(values) {}

  bool Run() {
    while (at_ < n_) {
      if (!Item()) return false;
    }
    return at_ == n_;
  }

 private:
  bool Has(size_t k) const { return n_ - at_ >= k; }
  uint64_t Le(size_t k) {
    uint64_t v = 0;
    for (size_t i = 0; i < k; ++i) v |= uint64_t{p_[at_ + i]} << (8 * i);
    at_ += k;
    return v;
  }
  double Real() {
    const uint64_t bits = Le(8);
    double d = 0;
    std::memcpy(&d, &bits, sizeof d);
    return d;
  }
  void Put(int32_t code, std::string_view value) { values_.Append("items", code, value); }
  std::string Hex(size_t k) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(2 * k);
    for (size_t i = 0; i < k; ++i) {
      out.push_back(kDigits[p_[at_ + i] >> 4]);
      out.push_back(kDigits[p_[at_ + i] & 15]);
    }
    at_ += k;
    return out;
  }
  bool Text(int32_t code);
  bool Item();

  const uint8_t* p_;
  size_t n_;
  size_t at_ = 0;
  bool utf16_;
  TextDecoder& text_;
  types::FieldValues& values_;
};

bool Items::Text(int32_t code) {
  if (!Has(2)) return false;
  const size_t length = static_cast<size_t>(Le(2));
  if (utf16_) {
    if (!Has(2 * length)) return false;
    std::vector<uint16_t> units(length);
    for (size_t i = 0; i < length; ++i) units[i] = static_cast<uint16_t>(Le(2));
    while (!units.empty() && units.back() == 0) units.pop_back();
    Put(code, Utf16ToUtf8(units.data(), units.size()));
    return true;
  }
  if (!Has(1 + length)) return false;
  ++at_;  // the text's code page: the drawing's
  std::string_view bytes(reinterpret_cast<const char*>(p_ + at_), length);
  at_ += length;
  while (!bytes.empty() && bytes.back() == '\0') bytes.remove_suffix(1);
  Put(code, text_.ToUtf8(bytes));
  return true;
}

bool Items::Item() {
  if (!Has(2)) return false;
  const auto code = static_cast<int32_t>(static_cast<int16_t>(Le(2)));
  if (IsPoint(code)) {
    if (!Has(24)) return false;
    for (int axis = 0; axis < 3; ++axis) Put(code + 10 * axis, types::RealText(Real()));
    return true;
  }
  // Integers 280-289 are single bytes in DWG (16-bit in DXF's ranges).
  if (code >= 280 && code <= 289) {
    if (!Has(1)) return false;
    Put(code, std::to_string(static_cast<int8_t>(Le(1))));
    return true;
  }
  switch (GroupTypeOf(code)) {
    case GroupType::kString:
      return Text(code);
    case GroupType::kDouble:
      if (!Has(8)) return false;
      Put(code, types::RealText(Real()));
      return true;
    case GroupType::kInt16:
      if (!Has(2)) return false;
      Put(code, std::to_string(static_cast<int16_t>(Le(2))));
      return true;
    case GroupType::kInt32:
      if (!Has(4)) return false;
      Put(code, std::to_string(static_cast<int32_t>(Le(4))));
      return true;
    case GroupType::kInt64:
      if (!Has(8)) return false;
      Put(code, std::to_string(static_cast<int64_t>(Le(8))));
      return true;
    case GroupType::kBool:
      if (!Has(1)) return false;
      Put(code, std::to_string(Le(1)));
      return true;
    case GroupType::kBinary: {
      if (!Has(1)) return false;
      const size_t length = static_cast<size_t>(Le(1));
      if (!Has(length)) return false;
      Put(code, Hex(length));
      return true;
    }
    case GroupType::kHandle:
      if (!Has(8)) return false;
      Put(code, FormatHandle(Le(8)));
      return true;
  }
  return false;
}

}  // namespace

bool ReadXrecordItems(std::string_view data, bool utf16, TextDecoder& text, types::FieldValues& values) {
  types::FieldValues read;
  Items items(data, utf16, text, read);
  if (!items.Run()) return false;
  values = std::move(read);
  return true;
}

}  // namespace vantrove::engine::dwg
