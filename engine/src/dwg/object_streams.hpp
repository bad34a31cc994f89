#pragma once
// What the decoders of the typed part of an object share: the object's
// data, handle and string streams, and the decoders of each family of
// types (text entities, table entries, objects, field-list types).

#include <string>
#include <vector>

#include "dwg/codepage.hpp"
#include "dwg/objects.hpp"
#include "model/type_table.hpp"

namespace vantrove::engine::dwg {

// Upper bound that keeps forged counts from allocating without limit; the
// readers also check counts against the bits that remain.
inline constexpr uint32_t kMaxHandles = 1u << 20;

struct ObjectDecoder::Streams {
  BitReader dat;   // data stream
  BitReader hdl;   // handle stream
  BitReader str;   // string stream (2007+), else unused
  bool separateStrings = false;
  bool haveStrings = false;
  uint64_t handle = 0;
  Version v = Version::kR2000;
  TextDecoder* text = nullptr;

  bool R13_14() const { return v <= Version::kR14; }
  bool R2000() const { return v >= Version::kR2000; }
  bool R2004() const { return v >= Version::kR2004; }
  bool R2007() const { return v >= Version::kR2007; }
  bool R2010() const { return v >= Version::kR2010; }
  bool R2013() const { return v >= Version::kR2013; }
  bool R2018() const { return v >= Version::kR2018; }

  // Reads text from the string stream (2007+) or the data stream.
  std::string T() {
    if (separateStrings) return haveStrings ? str.TU() : std::string();
    return text->ToUtf8(dat.TV());
  }
  // True while no stream has run out or met bad data.
  bool Ok() const { return !dat.failed() && !hdl.failed() && !(separateStrings && str.failed()); }

  // Reads a handle reference and resolves it against this object's handle.
  uint64_t Ref() { return hdl.H().Resolve(handle); }
  void Refs(uint64_t count, std::vector<uint64_t>& out) {
    if (count > kMaxHandles || !hdl.CanRead(count, 8)) {
      hdl.Fail();
      return;
    }
    out.reserve(out.size() + count);
    for (uint64_t i = 0; i < count && !hdl.failed(); ++i) out.push_back(Ref());
  }
};

using Streams = ObjectDecoder::Streams;

// A colour as an object's own data stores it (before 2004 an index; from
// 2004 on also an RGB value and the names that follow it), as DXF gives
// it: the index (the nearest one for an RGB colour) and the RGB value, -1
// when there is none.
struct ObjectColor {
  int index = 256;
  int32_t rgb = -1;
};
ObjectColor ReadObjectColor(Streams& s);

// Text entities (text_objects.cpp): TEXT, ATTRIB, ATTDEF, MTEXT, and
// INSERT / MINSERT.
bool DecodeText(Streams& s, ObjectRecord& rec);
bool DecodeAttribute(Streams& s, ObjectRecord& rec);
bool DecodeMText(Streams& s, ObjectRecord& rec);
bool DecodeInsert(Streams& s, ObjectRecord& rec);

// Table entries and control objects (table_objects.cpp).
bool DecodeBlockHeader(Streams& s, ObjectRecord& rec);
bool DecodeLayer(Streams& s, ObjectRecord& rec);
bool DecodeTableEntry(Streams& s, ObjectRecord& rec);
bool DecodeControl(Streams& s, ObjectRecord& rec);

// Objects (other_objects.cpp): dictionaries (with a default entry or
// not), layouts, images and their definitions, XRECORD, GROUP, MLINESTYLE.
bool DecodeDictionary(Streams& s, ObjectRecord& rec, bool withDefault);
bool DecodeLayout(Streams& s, ObjectRecord& rec);
bool DecodeImageDef(Streams& s, ObjectRecord& rec);
bool DecodeImage(Streams& s, ObjectRecord& rec);
bool DecodeXrecord(Streams& s, ObjectRecord& rec);
bool DecodeGroup(Streams& s, ObjectRecord& rec);
bool DecodeMlineStyle(Streams& s, ObjectRecord& rec);

// Types decoded from their field lists (field_objects.cpp), with the code
// a type needs where its encoding is mixed.
bool DecodeFields(Streams& s, ObjectRecord& rec, const types::TypeDesc& desc);
bool DecodeLwPolyline(Streams& s, ObjectRecord& rec);
// Polylines and vertices, SOLID, TRACE, 3DFACE, dimensions
// (graphic_objects.cpp).
bool DecodeGraphic(Streams& s, ObjectRecord& rec);
// SPLINE, MLINE, TOLERANCE, LEADER, REGION, 3DSOLID, BODY
// (curve_objects.cpp).
bool DecodeCurve(Streams& s, ObjectRecord& rec);
// HATCH (hatch.cpp).
bool DecodeHatch(Streams& s, ObjectRecord& rec);

}  // namespace vantrove::engine::dwg
