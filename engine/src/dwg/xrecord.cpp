#include "dwg/xrecord.hpp"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dwg/bit_reader.hpp"
#include "model/record_encoder.hpp"
#include "vantrove/engine/handle.hpp"

namespace vantrove::engine::dwg {

namespace {

// Codes whose value is a point: three reals, written as code, code + 10,
// code + 20 in DXF.
bool IsPoint(int32_t code) {
  return (code >= 10 && code <= 17) || (code >= 110 && code <= 112) || code == 210 || (code >= 1010 && code <= 1013);
}

// Walks the items; with no output it only checks that they fit.
class Items {
 public:
  Items(std::string_view data, bool utf16, TextDecoder* text, TextArena* arena, std::vector<Group>* out)
      : p_(reinterpret_cast<const uint8_t*>(data.data())),
        n_(data.size()),
        utf16_(utf16),
        text_(text),
        arena_(arena),
        out_(out) {}

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
  double ReadReal() {
    const uint64_t bits = Le(8);
    double d = 0;
    std::memcpy(&d, &bits, sizeof d);
    return d;
  }
  bool writing() const { return out_ != nullptr; }
  void Put(int32_t code, std::string_view value) { out_->emplace_back(code, arena_->Store(value)); }
  void Real(int32_t code, double value) {
    char buffer[types::kRealChars];
    Put(code, std::string_view(buffer, types::RealChars(value, buffer)));
  }
  void Number(int32_t code, int64_t value) {
    char buffer[24];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    Put(code, std::string_view(buffer, static_cast<size_t>(end - buffer)));
  }
  void Hex(int32_t code, size_t k) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    if (writing()) {
      char* text = arena_->Allocate(2 * k);
      for (size_t i = 0; i < k; ++i) {
        text[2 * i] = kDigits[p_[at_ + i] >> 4];
        text[2 * i + 1] = kDigits[p_[at_ + i] & 15];
      }
      out_->emplace_back(code, std::string_view(text, 2 * k));
    }
    at_ += k;
  }
  bool Text(int32_t code);
  bool Item();

  const uint8_t* p_;
  size_t n_;
  size_t at_ = 0;
  bool utf16_;
  TextDecoder* text_;
  TextArena* arena_;
  std::vector<Group>* out_;
};

bool Items::Text(int32_t code) {
  if (!Has(2)) return false;
  const size_t length = static_cast<size_t>(Le(2));
  if (utf16_) {
    if (!Has(2 * length)) return false;
    if (!writing()) {
      at_ += 2 * length;
      return true;
    }
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
  if (!writing()) return true;
  while (!bytes.empty() && bytes.back() == '\0') bytes.remove_suffix(1);
  Put(code, text_->ToUtf8(bytes));
  return true;
}

bool Items::Item() {
  if (!Has(2)) return false;
  const auto code = static_cast<int32_t>(static_cast<int16_t>(Le(2)));
  if (IsPoint(code)) {
    if (!Has(24)) return false;
    for (int axis = 0; axis < 3; ++axis) {
      const double value = ReadReal();
      if (writing()) Real(code + 10 * axis, value);
    }
    return true;
  }
  // Integers 280-289 are single bytes in DWG (16-bit in DXF's ranges).
  size_t size = 0;
  int64_t number = 0;
  const GroupType type = code >= 280 && code <= 289 ? GroupType::kBool : GroupTypeOf(code);
  switch (type) {
    case GroupType::kString:
      return Text(code);
    case GroupType::kBinary: {
      if (!Has(1)) return false;
      const size_t length = static_cast<size_t>(Le(1));
      if (!Has(length)) return false;
      Hex(code, length);
      return true;
    }
    case GroupType::kDouble:
      if (!Has(8)) return false;
      if (writing()) {
        Real(code, ReadReal());
      } else {
        at_ += 8;
      }
      return true;
    case GroupType::kHandle:
      if (!Has(8)) return false;
      if (writing()) {
        Put(code, FormatHandle(Le(8)));
      } else {
        at_ += 8;
      }
      return true;
    case GroupType::kBool: size = 1; break;
    case GroupType::kInt16: size = 2; break;
    case GroupType::kInt32: size = 4; break;
    case GroupType::kInt64: size = 8; break;
  }
  if (size == 0 || !Has(size)) return false;
  const uint64_t raw = Le(size);
  if (!writing()) return true;
  switch (size) {
    case 1: number = code >= 290 ? static_cast<int64_t>(raw) : static_cast<int8_t>(raw); break;
    case 2: number = static_cast<int16_t>(raw); break;
    case 4: number = static_cast<int32_t>(raw); break;
    default: number = static_cast<int64_t>(raw); break;
  }
  Number(code, number);
  return true;
}

}  // namespace

bool XrecordItemsFit(std::string_view data, bool utf16) {
  return Items(data, utf16, nullptr, nullptr, nullptr).Run();
}

void AppendXrecordItems(std::string_view data, bool utf16, TextDecoder& text, TextArena& arena,
                        std::vector<Group>& out) {
  Items(data, utf16, &text, &arena, &out).Run();
}

}  // namespace vantrove::engine::dwg
