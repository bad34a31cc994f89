#pragma once
// Bit-level writer for the DWG bit codes, the mirror of BitReader: every
// value BitReader reads, BitWriter writes in the same form, choosing the
// shortest encoding the format allows (a bit short of 0 is two bits, a bit
// double of 1.0 is two bits, a handle reference keeps only its significant
// bytes). Values are appended most significant bit first to a growing
// byte buffer; `position()` counts bits.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dwg/bit_reader.hpp"

namespace vantrove::engine::dwg {

class BitWriter {
 public:
  // Bits written so far.
  size_t position() const { return pos_; }
  // The bytes written; the last byte is padded with zero bits.
  const std::vector<uint8_t>& bytes() const { return buf_; }
  // Starts over, keeping the memory for the next value.
  void Clear() {
    buf_.clear();
    pos_ = 0;
  }
  std::vector<uint8_t> Take() {
    pos_ = 0;
    return std::move(buf_);
  }

  // Raw values.
  void Bits(uint64_t value, unsigned count);  // the low `count` bits, most significant first
  void B(bool v) { Bits(v ? 1 : 0, 1); }
  void BB(uint8_t v) { Bits(v & 3u, 2); }
  void B3(uint8_t v);  // up to three bits: the value's ones, closed by a 0 unless three
  void RC(uint8_t v) { Bits(v, 8); }
  void RS(uint16_t v);
  void RL(uint32_t v);
  void RLL(uint64_t v);
  void RD(double v);
  void RSBigEndian(uint16_t v);

  // Bit-coded values.
  void BS(uint16_t v);
  void BL(uint32_t v);
  void BLL(uint64_t v);
  void BD(double v);
  void DD(double v, double defaultValue);
  void BT(double thickness, bool compactForm);
  void BE(const Point3& extrusion, bool compactForm);
  void OT(uint16_t type);
  void RD2(const Point2& p);
  void RD3(const Point3& p);
  void BD2(const Point2& p);
  void BD3(const Point3& p);

  // Modular values.
  void UMC(uint64_t v);
  void MC(int64_t v);
  void MS(uint32_t v);

  // A handle reference with its code; the value keeps its significant bytes.
  void H(uint8_t code, uint64_t value);
  void H(const HandleRef& ref) { H(ref.code, ref.value); }

  // Text with a BS length: 8-bit bytes as given, with a closing NUL when
  // `nulTerminated` (the form the CAD program writes for non-empty text),
  // or UTF-8 text as UTF-16LE units (2007+), NUL-closed likewise.
  void TV(std::string_view bytes, bool nulTerminated = false);
  void TU(std::string_view utf8, bool nulTerminated = true);
  void Bytes(std::string_view bytes);
  void Bytes(const uint8_t* data, size_t size);
  // Appends another writer's bits.
  void Append(const BitWriter& other);
  // Appends `count` bits taken from `data` starting at bit `from`.
  void AppendBits(const uint8_t* data, size_t from, size_t count);

  // Pads with zero bits to the next byte boundary.
  void AlignByte();
  // Overwrites 32 bits at bit position `at` (written earlier) with `v` as RL.
  void PatchRL(size_t at, uint32_t v);

 private:
  std::vector<uint8_t> buf_;
  size_t pos_ = 0;
};

// UTF-8 text as UTF-16 code units (invalid bytes become U+FFFD).
std::vector<uint16_t> Utf8ToUtf16(std::string_view utf8);

}  // namespace vantrove::engine::dwg
