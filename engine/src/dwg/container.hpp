#pragma once
// The DWG file container: finds the sections of a drawing (header
// variables, classes, object map, objects) in the file, whatever the
// version family stores them in.
//
// R13/R14/2000 (AC1012, AC1014, AC1015) keep their sections as plain byte
// ranges listed by locator records after the file header. 2004 and later
// (AC1018, AC1024, AC1027, AC1032) encrypt the file header, map pages
// through a page map and a section map, and compress the pages. 2007
// (AC1021) has a layout of its own: a Reed-Solomon protected file header,
// its own maps and compression, and error-correcting codes on its pages.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vantrove::engine::dwg {

enum class Version { kR13, kR14, kR2000, kR2004, kR2007, kR2010, kR2013, kR2018 };

// "AC1015" -> kR2000; false for anything we don't know.
bool ParseVersionId(const std::string& id, Version& out);
// "AutoCAD 2000" style name for messages.
const char* VersionName(Version v);

// Stable status codes of the DWG reader.
enum ErrorCode : int {
  kErrFileOpen = 2101,       // cannot open or read the file
  kErrNotDwg = 2102,         // the file is not a DWG drawing
  kErrVersion = 2103,        // a DWG version we don't read
  kErrPassword = 2104,       // password-protected (encrypted) drawing
  kErrDamaged = 2105,        // the container is damaged beyond reading
  kErrTooLarge = 2106,       // would need more memory than we allow
};

struct ReadError {
  int code = 0;
  std::string message;
};

// A byte range inside a buffer owned by someone else.
struct ByteView {
  const uint8_t* data = nullptr;
  size_t size = 0;
};

struct Container {
  Version version = Version::kR2000;
  std::string versionId;         // "AC1015"
  uint8_t maintVersion = 0;
  uint16_t codePage = 0;
  uint32_t securityFlags = 0;    // 2004+
  // Section contents. For R13-R2000 they point into the file bytes; for
  // 2004+ into the decompressed buffers below.
  ByteView header;
  ByteView classes;
  ByteView objectMap;
  ByteView objects;              // object map offsets are relative to this
  std::vector<std::vector<uint8_t>> owned;  // decompressed sections
  std::vector<std::string> warnings;
  bool truncated = false;        // the file is shorter than its header says
};

// Decodes the container of `file`. Returns false with `error` set when the
// file cannot be read as a DWG drawing of a version we support.
bool ReadContainer(const std::vector<uint8_t>& file, Container& out, ReadError& error);

// Internal entry points per family (exposed for tests).
bool ReadContainerR13(const std::vector<uint8_t>& file, Container& out, ReadError& error);
bool ReadContainerR2004(const std::vector<uint8_t>& file, Container& out, ReadError& error);
bool ReadContainerR2007(const std::vector<uint8_t>& file, Container& out, ReadError& error);

// Decrypts the 0x6C-byte 2004+ file header block in place.
void DecryptR2004Header(uint8_t* block, size_t size);

// Sentinels that frame the R13-R2000 sections.
extern const uint8_t kSentinelHeaderBegin[16];
extern const uint8_t kSentinelClassesBegin[16];

}  // namespace vantrove::engine::dwg
