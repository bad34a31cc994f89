#pragma once
// Little-endian integers in byte buffers, as the DWG containers store them.

#include <cstdint>
#include <string>

namespace vantrove::engine::dwg {

inline uint32_t Le32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
         (static_cast<uint32_t>(p[3]) << 24);
}
inline uint32_t Le32(const char* p) { return Le32(reinterpret_cast<const uint8_t*>(p)); }
inline uint64_t Le64(const uint8_t* p) { return Le32(p) | (static_cast<uint64_t>(Le32(p + 4)) << 32); }

inline void PutLe32(char* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}
inline void PutLe64(char* p, uint64_t v) {
  PutLe32(p, static_cast<uint32_t>(v));
  PutLe32(p + 4, static_cast<uint32_t>(v >> 32));
}
inline void AppendLe32(std::string& out, uint32_t v) {
  char b[4];
  PutLe32(b, v);
  out.append(b, 4);
}

}  // namespace vantrove::engine::dwg
