#pragma once
// Builds bit streams for the reader tests, most significant bit first.

#include <cstdint>
#include <vector>

namespace vantrove::engine::dwg::test {

class BitWriter {
 public:
  void Bits(uint64_t value, unsigned count) {
    for (unsigned i = count; i-- > 0;) Bit(((value >> i) & 1) != 0);
  }
  void Bit(bool b) {
    if (bits_ % 8 == 0) bytes_.push_back(0);
    if (b) bytes_.back() |= static_cast<uint8_t>(0x80u >> (bits_ % 8));
    ++bits_;
  }
  void Byte(uint8_t b) { Bits(b, 8); }
  void Short(uint16_t v) {
    Byte(static_cast<uint8_t>(v));
    Byte(static_cast<uint8_t>(v >> 8));
  }
  void Long(uint32_t v) {
    Short(static_cast<uint16_t>(v));
    Short(static_cast<uint16_t>(v >> 16));
  }
  void Double(double d) {
    uint64_t raw;
    static_assert(sizeof raw == sizeof d);
    __builtin_memcpy(&raw, &d, 8);
    Long(static_cast<uint32_t>(raw));
    Long(static_cast<uint32_t>(raw >> 32));
  }
  const std::vector<uint8_t>& bytes() const { return bytes_; }
  size_t bits() const { return bits_; }

 private:
  std::vector<uint8_t> bytes_;
  size_t bits_ = 0;
};

}  // namespace vantrove::engine::dwg::test
