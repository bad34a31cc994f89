#pragma once
// Bit-level reader for the DWG bit codes.
//
// A DWG object is a stream of values packed without byte alignment: single
// bits, two-bit prefixed shorts/longs/doubles, modular chars, handle
// references and strings. BitReader reads them from a byte buffer that it
// does not own. Every read is bounds-checked against a bit limit: a read
// past the limit returns zero and sets a sticky failure flag, so decoders
// can read a whole record and check `failed()` once at the end without any
// undefined behaviour on truncated data.

#include <cstddef>
#include <cstdint>
#include <string>

namespace vantrove::engine::dwg {

// A handle reference as stored: a 4-bit code, the value bytes (big-endian).
struct HandleRef {
  uint8_t code = 0;
  uint64_t value = 0;

  // The absolute handle this reference points at. Codes 6, 8, 0xA and 0xC are
  // relative to the handle of the object that holds the reference.
  uint64_t Resolve(uint64_t ownHandle) const;
};

struct Point2 {
  double x = 0, y = 0;
};
struct Point3 {
  double x = 0, y = 0, z = 0;
};

class BitReader {
 public:
  BitReader() = default;
  // Reads from `data[0 .. sizeBytes)`.
  BitReader(const uint8_t* data, size_t sizeBytes);

  // Current position and the end limit, both in bits from the buffer start.
  size_t position() const { return pos_; }
  size_t limit() const { return limit_; }
  size_t remaining() const { return pos_ < limit_ ? limit_ - pos_ : 0; }
  bool failed() const { return failed_; }
  void Fail() { failed_ = true; }

  // Moves to an absolute bit position; positions past the limit fail.
  void Seek(size_t bitPos);
  // Lowers the end limit (never raises it beyond the buffer).
  void SetLimit(size_t bitLimit);
  const uint8_t* data() const { return data_; }
  size_t sizeBytes() const { return size_; }

  // True when `count` items of at least `minBits` each can still be read.
  // Sets the failure flag otherwise; decoders call it before loops whose
  // count comes from the file.
  bool CanRead(uint64_t count, size_t minBits);

  // Raw values.
  uint64_t ReadBits(unsigned n);  // up to 64 bits, most significant first
  bool B() { return ReadBits(1) != 0; }
  uint8_t BB() { return static_cast<uint8_t>(ReadBits(2)); }
  uint8_t B3();  // up to three bits, stops at the first 0
  uint8_t RC() { return static_cast<uint8_t>(ReadBits(8)); }
  uint16_t RS();
  uint32_t RL();
  uint64_t RLL();
  double RD();
  uint16_t RSBigEndian();

  // Bit-coded values.
  uint16_t BS();
  uint32_t BL();
  uint64_t BLL();
  double BD();
  double DD(double defaultValue);
  double BT(bool compactForm);    // thickness: R2000+ uses a leading 0-flag bit
  Point3 BE(bool compactForm);    // extrusion: R2000+ has a "default 0,0,1" bit
  uint16_t OT();                  // object type, R2010+
  Point2 RD2();
  Point3 RD3();
  Point2 BD2();
  Point3 BD3();

  // Modular values (byte aligned within the bit stream).
  uint64_t UMC();
  int64_t MC();
  uint32_t MS();

  HandleRef H();

  // Text with a BS length: 8-bit text (raw bytes, converted by the caller) and
  // 16-bit text (UTF-16LE, returned as UTF-8). Trailing NULs are dropped.
  std::string TV();
  std::string TU();
  // Reads `n` raw bytes.
  std::string Bytes(size_t n);

 private:
  const uint8_t* data_ = nullptr;
  size_t size_ = 0;
  size_t pos_ = 0;
  size_t limit_ = 0;
  bool failed_ = false;
};

// UTF-16 code units to UTF-8 (lone surrogates become U+FFFD).
std::string Utf16ToUtf8(const uint16_t* units, size_t count);

}  // namespace vantrove::engine::dwg
