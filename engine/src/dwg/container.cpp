#include "dwg/container.hpp"

#include <cstring>

#include "dwg/checksum.hpp"

namespace vantrove::engine::dwg {

const uint8_t kSentinelHeaderBegin[16] = {0xCF, 0x7B, 0x1F, 0x23, 0xFD, 0xDE, 0x38, 0xA9,
                                          0x5F, 0x7C, 0x68, 0xB8, 0x4E, 0x6D, 0x33, 0x5F};
const uint8_t kSentinelClassesBegin[16] = {0x8D, 0xA1, 0xC4, 0xB8, 0xC4, 0xA9, 0xF8, 0xC5,
                                           0xC0, 0xDC, 0xF4, 0x5F, 0xE7, 0xCF, 0xB6, 0x8A};

namespace {

struct VersionEntry {
  const char* id;
  Version version;
  const char* name;
};

constexpr VersionEntry kVersions[] = {
    {"AC1012", Version::kR13, "AutoCAD R13"},   {"AC1014", Version::kR14, "AutoCAD R14"},
    {"AC1015", Version::kR2000, "AutoCAD 2000"}, {"AC1018", Version::kR2004, "AutoCAD 2004"},
    {"AC1021", Version::kR2007, "AutoCAD 2007"}, {"AC1024", Version::kR2010, "AutoCAD 2010"},
    {"AC1027", Version::kR2013, "AutoCAD 2013"}, {"AC1032", Version::kR2018, "AutoCAD 2018"},
};

uint16_t Le16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
uint32_t Le32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
         (static_cast<uint32_t>(p[3]) << 24);
}

// Printable form of the first bytes, for messages about unknown versions.
std::string Printable(const uint8_t* p, size_t n) {
  std::string s;
  for (size_t i = 0; i < n; ++i) s.push_back(p[i] >= 0x20 && p[i] < 0x7F ? static_cast<char>(p[i]) : '?');
  return s;
}

}  // namespace

bool ParseVersionId(const std::string& id, Version& out) {
  for (const auto& v : kVersions) {
    if (id == v.id) {
      out = v.version;
      return true;
    }
  }
  return false;
}

const char* VersionName(Version v) {
  for (const auto& e : kVersions) {
    if (e.version == v) return e.name;
  }
  return "AutoCAD";
}

bool ReadContainer(const std::vector<uint8_t>& file, Container& out, ReadError& error) {
  if (file.size() < 6 || file[0] != 'A' || file[1] != 'C') {
    error = {kErrNotDwg, "the file is not a DWG drawing (no AutoCAD version signature)"};
    return false;
  }
  std::string id(reinterpret_cast<const char*>(file.data()), 6);
  Version v;
  if (!ParseVersionId(id, v)) {
    bool digits = true;
    for (size_t i = 2; i < 6; ++i) digits = digits && file[i] >= '0' && file[i] <= '9';
    if (digits && id < "AC1012") {
      error = {kErrVersion, "DWG version " + id + " (before R13) is not supported"};
    } else if (digits) {
      error = {kErrVersion, "DWG version " + id + " is not supported"};
    } else {
      error = {kErrNotDwg, "the file is not a DWG drawing (signature '" + Printable(file.data(), 6) + "')"};
    }
    return false;
  }
  out.version = v;
  out.versionId = id;
  if (v <= Version::kR2000) return ReadContainerR13(file, out, error);
  if (v == Version::kR2007) return ReadContainerR2007(file, out, error);
  return ReadContainerR2004(file, out, error);
}

bool ReadContainerR13(const std::vector<uint8_t>& file, Container& out, ReadError& error) {
  const size_t n = file.size();
  if (n < 0x19 + 2 + 16) {
    error = {kErrDamaged, "the DWG file header is truncated"};
    return false;
  }
  const uint8_t* f = file.data();
  out.maintVersion = f[0x0B];
  out.codePage = Le16(f + 0x13);
  uint32_t records = Le32(f + 0x15);
  if (records < 3 || records > 16 || 0x19 + records * 9 + 2 > n) {
    error = {kErrDamaged, "the DWG section locator table is damaged (" + std::to_string(records) + " records)"};
    return false;
  }
  struct Locator {
    uint32_t offset = 0, size = 0;
    bool present = false;
  } loc[16];
  for (uint32_t i = 0; i < records; ++i) {
    const uint8_t* r = f + 0x19 + i * 9;
    uint8_t number = r[0];
    if (number < 16) loc[number] = {Le32(r + 1), Le32(r + 5), true};
  }
  const size_t crcAt = 0x19 + records * 9;
  uint16_t crc = Crc16(0, f, crcAt);
  static const uint16_t kXor[] = {0, 0, 0, 0xA598, 0x8101, 0x3CC4, 0x8461};
  if (records <= 6) crc ^= kXor[records];
  if (crc != Le16(f + crcAt)) out.warnings.push_back("file header check value does not match");

  auto section = [&](int index, const char* name, ByteView& view) -> bool {
    if (!loc[index].present) {
      error = {kErrDamaged, std::string("the DWG file has no ") + name + " section"};
      return false;
    }
    uint64_t off = loc[index].offset, size = loc[index].size;
    if (off >= n || size > n - off) {
      error = {kErrDamaged, std::string("the ") + name + " section lies outside the file"};
      return false;
    }
    view = {f + off, static_cast<size_t>(size)};
    return true;
  };
  if (!section(0, "header variables", out.header)) return false;
  if (!section(1, "classes", out.classes)) return false;
  // Both sections: a sentinel, their size, the data and a check value over
  // the size and the data.
  auto check = [&](const ByteView& v, const char* name) {
    if (v.size < 16 + 4 + 2) return;
    const uint32_t size = Le32(v.data + 16);
    if (size > v.size - 16 - 4 - 2) {
      out.warnings.push_back(std::string(name) + " section is truncated");
      return;
    }
    if (Crc16(0xC0C1, v.data + 16, size_t{size} + 4) != Le16(v.data + 20 + size))
      out.warnings.push_back(std::string(name) + " section check value does not match");
  };
  check(out.header, "header variables");
  check(out.classes, "classes");
  if (!section(2, "object map", out.objectMap)) return false;
  out.objects = {f, n};
  return true;
}

}  // namespace vantrove::engine::dwg
