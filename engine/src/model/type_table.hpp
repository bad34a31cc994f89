#pragma once
// What the engine knows about each record type, in one place: for every
// field its name, its DXF group code, how a DWG object stores it, the
// versions that have it and the value a record without it has. The DWG
// reader decodes the simple entity types straight from these lists, the
// DXF form of records read from DWG is encoded from them, and the DXF
// writer asks them which groups a version holds.
//
// A type is a list of parts, each opened in DXF by its subclass marker
// (group 100), as in the file: "AcDbEntity", then "AcDbText", ...
// Versions are ranks: 9 is R12 ("AC1009"), 12 is R13 ("AC1012"), 14 R14,
// 15 2000, 18 2004, 21 2007, 24 2010, 27 2013, 32 2018.

#include <cstdint>
#include <span>
#include <string_view>

namespace vantrove::engine::types {

// How the value is held in the DXF groups.
enum class Kind : uint8_t {
  kString,   // text as is
  kLongText, // text in 3 groups of at most 250 bytes and a final 1 (MTEXT)
  kReal,
  kAngle,    // degrees in DXF, radians in DWG
  kInt,
  kPoint2,   // code, code + 10
  kPoint3,   // code, code + 10, code + 20
  kHandle,   // hexadecimal handle
  kName,     // a symbol name in DXF (layer, style, block), a handle in DWG
  kGroups,   // a run of groups made by the record's owner (dictionary entries)
};

// How a DWG object stores the value in its data (or handle) stream.
enum class Bits : uint8_t {
  kNone,     // not in DWG (derived or DXF only)
  kB,        // bit
  kBB,       // 2 bits
  kRC,       // raw byte
  kBS,       // bit short
  kBL,       // bit long
  kBD,       // bit double
  kRD,       // raw double
  kBD3,      // 3 bit doubles
  kRD2,      // 2 raw doubles
  kBT,       // thickness: bit flag then BD (2000+), plain BD before
  kBE,       // extrusion: bit flag then 3BD (2000+), plain 3BD before
  kTV,       // text: code page before 2007, UTF-16 after
  kCMC,      // colour
  kH,        // handle reference (handle stream)
  kSpecial,  // decoded by code written for the type (mixed encodings)
};

inline constexpr uint8_t kR12 = 9;
inline constexpr uint8_t kR13 = 12;
inline constexpr uint8_t kR14 = 14;
inline constexpr uint8_t k2000 = 15;
inline constexpr uint8_t k2004 = 18;
inline constexpr uint8_t k2007 = 21;
inline constexpr uint8_t k2010 = 24;
inline constexpr uint8_t k2013 = 27;
inline constexpr uint8_t k2018 = 32;
inline constexpr uint8_t kLatest = 99;

struct Field {
  std::string_view name;
  int16_t code = 0;
  Kind kind = Kind::kString;
  Bits dwg = Bits::kNone;
  uint8_t from = kR12;        // first version that has it
  uint8_t until = kLatest;    // last version that has it
  // The value of a record that does not give one, as DXF text (a point
  // lists its coordinates with commas). Empty: written only when known.
  std::string_view fallback = {};

  bool In(int rank) const { return rank >= from && rank <= until; }
};

struct Part {
  std::string_view marker;    // subclass marker; empty for the part before the first marker
  std::span<const Field> fields;
  uint8_t from = kR13;        // markers exist from R13 on
};

struct TypeDesc {
  std::string_view dxf_name;  // "TEXT", "LAYER", ...
  uint16_t dwg_type = 0;      // fixed DWG type number; 0 for class-numbered types
  bool entity = false;
  int16_t handle_code = 5;    // 105 for DIMSTYLE
  std::span<const Field> leading;  // fields written before the handle (TABLE's name)
  std::span<const Part> parts;     // in DXF order, after the common part
  // The type's data part decodes from `parts` field by field (every field
  // with a DWG encoding, in order), with no code written for the type.
  bool generic_dwg = false;
};

// The type named `dxf_name` in DXF, or nullptr.
const TypeDesc* FindType(std::string_view dxf_name);
// The type with fixed DWG number `type`, or nullptr.
const TypeDesc* FindDwgType(uint16_t type);
// The field named `name` in any part of `desc`, or nullptr.
const Field* FindField(const TypeDesc& desc, std::string_view name);
// The parts every entity and every object begin with ("AcDbEntity").
const Part& EntityPart();
// True when a record of `desc` holds group `code` in version `rank` (the
// fields of its own parts; the entity part and the handle aside).
bool HoldsCode(const TypeDesc& desc, int32_t code, int rank);
// Every type in the table.
std::span<const TypeDesc> AllTypes();

}  // namespace vantrove::engine::types
