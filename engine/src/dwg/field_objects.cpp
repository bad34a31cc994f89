// The typed part of the types decoded from their field lists in the type
// table, and the code those types need where their encoding is mixed.

#include "dwg/lwpolyline.hpp"
#include "dwg/object_streams.hpp"

namespace vantrove::engine::dwg {

namespace {

// One field of a type decoded from its field list; fields the DWG form
// does not hold, or holds in a way only the type's own code reads, are
// skipped.
void ReadField(Streams& s, const types::Field& field, types::FieldValues& values) {
  BitReader& d = s.dat;
  const bool compact = s.R2000();
  switch (field.dwg) {
    case types::Bits::kBD3: {
      const Point3 p = d.BD3();
      values.Point(field.name, p.x, p.y, p.z);
      break;
    }
    case types::Bits::kBD: {
      const double v = d.BD();
      if (field.kind == types::Kind::kAngle) {
        values.Angle(field.name, v);
      } else {
        values.Real(field.name, v);
      }
      break;
    }
    case types::Bits::kBT: {
      const double t = d.BT(compact);
      if (t != 0.0) values.Real(field.name, t);
      break;
    }
    case types::Bits::kBE: {
      const Point3 p = d.BE(compact);
      if (p.x != 0.0 || p.y != 0.0 || p.z != 1.0) values.Point(field.name, p.x, p.y, p.z);
      break;
    }
    default:
      break;
  }
}

// A LINE's end points: three bit doubles each before 2000; from 2000 on a
// flag for "both z are 0", then each start coordinate followed by the end's
// as a difference from it.
void ReadLineEnds(Streams& s, types::FieldValues& values) {
  BitReader& d = s.dat;
  if (!s.R2000()) {
    const Point3 a = d.BD3();
    const Point3 b = d.BD3();
    values.Point("start", a.x, a.y, a.z);
    values.Point("end", b.x, b.y, b.z);
    return;
  }
  const bool flat = d.B();
  Point3 a, b;
  a.x = d.RD();
  b.x = d.DD(a.x);
  a.y = d.RD();
  b.y = d.DD(a.y);
  if (!flat) {
    a.z = d.RD();
    b.z = d.DD(a.z);
  }
  values.Point("start", a.x, a.y, a.z);
  values.Point("end", b.x, b.y, b.z);
}

}  // namespace

bool DecodeFields(Streams& s, ObjectRecord& rec, const types::TypeDesc& desc) {
  FieldData f;
  if (rec.type == kTypeLine) ReadLineEnds(s, f.values);
  for (const types::Part& part : desc.parts) {
    for (const types::Field& field : part.fields) ReadField(s, field, f.values);
  }
  rec.payload = std::move(f);
  return s.Ok();
}

bool DecodeLwPolyline(Streams& s, ObjectRecord& rec) {
  FieldData f;
  if (!ReadLwPolyline(s.dat, s.R2000(), s.R2010(), f.values)) return false;
  rec.payload = std::move(f);
  return s.Ok();
}

}  // namespace vantrove::engine::dwg
