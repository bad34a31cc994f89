#pragma once
// One DWG 2000 object built from scratch: the common part every object
// and entity begins with, the type's own data, the handle stream, the
// size prefix and the check value.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dwg/bit_writer.hpp"

namespace vantrove::engine::dwg {

// The entity properties of the common part.
struct EntityCommon {
  uint8_t mode = 2;             // 0: owned (owner handle follows), 1: paper space, 2: model space
  uint64_t owner = 0;           // mode 0
  int16_t color = 256;          // 256 by layer, 0 by block
  double linetypeScale = 1.0;
  uint64_t layer = 0;
  uint64_t linetype = 0;        // 0: by layer
  uint8_t linetypeFlags = 0;    // 0 by layer, 1 by block, 2 continuous, 3 the handle above
  bool invisible = false;
  uint8_t lineweight = 29;      // index; 29 by layer
  uint64_t prev = 0, next = 0;  // the entity chain of the owning block
};

// Bit buffers one object at a time can reuse, so that writing many
// objects does not allocate for each.
struct WriterBuffers {
  BitWriter data, handles;
};

class ObjectWriter {
 public:
  // `extendedData`: the blocks of extended data, or nullptr. `reuse`:
  // buffers to write into (no other ObjectWriter may use them meanwhile).
  ObjectWriter(uint16_t type, uint64_t handle, const BitWriter* extendedData = nullptr,
               WriterBuffers* reuse = nullptr);
  ObjectWriter(const ObjectWriter&) = delete;
  ObjectWriter& operator=(const ObjectWriter&) = delete;

  // The common part of a non-entity object / of an entity.
  void BeginObject(uint64_t owner, const std::vector<uint64_t>& reactors, uint64_t xdictionary);
  void BeginEntity(const EntityCommon& e, const std::vector<uint64_t>& reactors, uint64_t xdictionary);

  BitWriter& data() { return data_; }
  // Handle references follow the data; `code` as the format gives it.
  void Ref(uint8_t code, uint64_t value) { handles_.H(code, value); }
  // Text of a drawing before 2007: characters outside ASCII as \U+XXXX.
  void Text(std::string_view utf8);

  // Appends the stored form to `out`: size, data and handles, check value.
  void FinishInto(std::string& out);

 private:
  void EntityHandles();
  WriterBuffers own_;
  BitWriter& data_;
  BitWriter& handles_;
  size_t sizeAt_ = 0;
  EntityCommon entity_;
  bool isEntity_ = false;
};

// Little-endian values appended to a byte string (extended data and
// XRECORD items are byte runs inside the bit stream).
void AppendLe(std::string& out, uint64_t value, size_t bytes);
void AppendReal(std::string& out, double value);

// UTF-8 text in the 8-bit form of code page ANSI_1252 (the one the
// encoder writes): ASCII and Latin-1 letters as bytes, everything else as
// \U+XXXX.
std::string EscapedText(std::string_view utf8);

}  // namespace vantrove::engine::dwg
