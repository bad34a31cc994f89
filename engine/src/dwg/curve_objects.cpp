// The typed part of SPLINE, MLINE, TOLERANCE, LEADER and the solid modeler's
// entities (REGION, 3DSOLID, BODY): entities whose DXF form holds runs of
// points, parameters or text read one by one from DWG.

#include <algorithm>

#include "dwg/object_streams.hpp"

namespace vantrove::engine::dwg {

namespace {

using types::FieldValues;
using types::RealText;

void PutPoint(FieldValues& v, std::string_view name, const Point3& p) { v.Point(name, p.x, p.y, p.z); }

void AppendPoint(FieldValues& v, std::string_view field, int32_t code, const Point3& p) {
  v.Append(field, code, RealText(p.x));
  v.Append(field, code + 10, RealText(p.y));
  v.Append(field, code + 20, RealText(p.z));
}

// True when `count` items of at least `bits` bits each can still be read.
bool Fits(BitReader& d, uint64_t count, size_t bits) {
  if (d.CanRead(count, bits)) return true;
  d.Fail();
  return false;
}

void ReadTolerance(Streams& s, FieldData& f) {
  BitReader& d = s.dat;
  if (s.R13_14()) {
    d.BS();
    d.BD();  // text height
    d.BD();  // gap
  }
  PutPoint(f.values, "insertion", d.BD3());
  PutPoint(f.values, "x_axis", d.BD3());
  const Point3 extrusion = d.BD3();
  if (extrusion.x != 0.0 || extrusion.y != 0.0 || extrusion.z != 1.0) PutPoint(f.values, "extrusion", extrusion);
  f.values.Text("text", s.T());
  f.refs.push_back({"dimstyle", s.Ref(), true});
}

// SPLINE: from 2013 on the kind is in its own flags; before, 1 means
// defined by control points, 2 by fit points.
void ReadSpline(Streams& s, FieldValues& v) {
  BitReader& d = s.dat;
  uint32_t scenario = d.BL();
  // From 2013 on: the method (fit points 1), closed (4, DXF has it in bit
  // 0) and more bits, which DXF keeps from bit 7 on.
  int64_t extraFlags = 0;
  if (s.R2013()) {
    const uint32_t flags = d.BL();
    const uint32_t knotParameter = d.BL();
    scenario = (knotParameter == 15 || !(flags & 1)) ? 1 : 2;
    extraFlags = static_cast<int64_t>(flags & ~4u) << 7;
  }
  v.Int("degree", d.BL());
  if (scenario & 1) {
    const bool rational = d.B();
    const bool closed = d.B();
    const bool periodic = d.B();
    v.Real("knot_tolerance", d.BD());
    v.Real("control_tolerance", d.BD());
    const uint32_t knots = d.BL();
    const uint32_t points = d.BL();
    const bool weighted = d.B();
    if (!Fits(d, knots, 2) || !Fits(d, points, 6)) return;
    v.Int("flags", extraFlags | 8 | (closed ? 1 : 0) | (periodic ? 2 : 0) | (rational || weighted ? 4 : 0));
    v.Int("knot_count", knots);
    v.Int("control_count", points);
    v.Int("fit_count", 0);
    for (uint32_t i = 0; i < knots; ++i) v.Append("points", 40, RealText(d.BD()));
    std::vector<double> weights;
    for (uint32_t i = 0; i < points && !d.failed(); ++i) {
      AppendPoint(v, "points", 10, d.BD3());
      if (weighted) weights.push_back(d.BD());
    }
    for (double w : weights) v.Append("points", 41, RealText(w));
    return;
  }
  // Defined by fit points (1024) when the file does not say more.
  v.Int("flags", s.R2013() ? extraFlags | 8 : 1024 | 8);
  v.Int("knot_count", 0);
  v.Int("control_count", 0);
  v.Real("fit_tolerance", d.BD());
  PutPoint(v, "start_tangent", d.BD3());
  PutPoint(v, "end_tangent", d.BD3());
  const uint32_t fits = d.BL();
  if (!Fits(d, fits, 6)) return;
  v.Int("fit_count", fits);
  for (uint32_t i = 0; i < fits && !d.failed(); ++i) AppendPoint(v, "points", 11, d.BD3());
}

// MLINE: per vertex its place, direction and miter, then per element of
// the style its segment parameters (74, 41...) and fill parameters (75,
// 42...).
void ReadMline(Streams& s, FieldData& f) {
  BitReader& d = s.dat;
  FieldValues& v = f.values;
  v.Real("scale", d.BD());
  v.Int("justification", d.RC());
  PutPoint(v, "start", d.BD3());
  PutPoint(v, "extrusion", d.BD3());
  v.Int("flags", d.BS());
  const uint8_t elements = d.RC();
  const uint16_t vertices = d.BS();
  if (!Fits(d, vertices, 18)) return;
  v.Int("element_count", elements);
  v.Int("vertex_count", vertices);
  for (uint16_t i = 0; i < vertices && !d.failed(); ++i) {
    AppendPoint(v, "vertices", 11, d.BD3());
    AppendPoint(v, "vertices", 12, d.BD3());
    AppendPoint(v, "vertices", 13, d.BD3());
    for (uint8_t e = 0; e < elements && !d.failed(); ++e) {
      for (int32_t code : {41, 42}) {
        const uint16_t count = d.BS();
        if (!Fits(d, count, 2)) return;
        v.Append("vertices", code + 33, std::to_string(count));
        for (uint16_t k = 0; k < count; ++k) v.Append("vertices", code, RealText(d.BD()));
      }
    }
  }
  const uint64_t style = s.Ref();
  f.refs.push_back({"style_name", style, true});
  f.refs.push_back({"style", style, false});
}

// LEADER: its vertices, the directions and offsets of what it points at,
// the annotation's box, arrowhead and hook line.
// From 2010 on its layout is not known well enough: false (no DXF form).
bool ReadLeader(Streams& s, FieldData& f) {
  BitReader& d = s.dat;
  if (s.R2010()) return false;
  FieldValues& v = f.values;
  d.B();
  v.Int("annotation_type", d.BS());
  v.Int("path_type", d.BS());
  const uint32_t count = d.BL();
  if (!Fits(d, count, 6)) return false;
  v.Int("vertex_count", count);
  for (uint32_t i = 0; i < count && !d.failed(); ++i) AppendPoint(v, "vertices", 10, d.BD3());
  d.BD3();  // origin
  PutPoint(v, "normal", d.BD3());
  PutPoint(v, "x_axis", d.BD3());
  PutPoint(v, "block_offset", d.BD3());
  PutPoint(v, "annotation_offset", d.BD3());
  if (s.R13_14()) d.BD();  // gap
  v.Real("text_height", d.BD());
  v.Real("text_width", d.BD());
  v.Int("hookline_direction", d.B());
  v.Int("arrowhead", d.B());
  d.BS();  // arrowhead type
  if (s.R13_14()) {
    d.BD();  // arrowhead size
    d.B();
    d.B();
    d.BS();
    v.Int("block_color", d.BS());
    d.B();
    d.B();
  } else {
    d.B();
    d.B();
  }
  f.refs.push_back({"annotation", s.Ref(), false});
  f.refs.push_back({"dimstyle", s.Ref(), true});
  return true;
}

// REGION, 3DSOLID, BODY: the modeler's data in text form (version 1) is
// a run of blocks of obscured text, ended by an empty one; it becomes
// DXF's lines as it is. The binary form (version 2) has no DXF text form
// here: false.
bool ReadModelerGeometry(Streams& s, FieldValues& v) {
  BitReader& d = s.dat;
  if (d.B()) return true;  // no data
  d.B();
  const uint16_t version = d.BS();
  if (version != 1) return false;
  v.Int("version", version);
  std::string line;
  auto flush = [&]() {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    std::string_view rest = line;
    v.Append("data", 1, rest.substr(0, 255));
    for (rest.remove_prefix(std::min<size_t>(255, rest.size())); !rest.empty();
         rest.remove_prefix(std::min<size_t>(255, rest.size()))) {
      v.Append("data", 3, rest.substr(0, 255));
    }
    line.clear();
  };
  for (;;) {
    const uint32_t size = d.BL();
    if (size == 0 || d.failed()) break;
    if (!Fits(d, size, 8)) return false;
    for (char c : d.Bytes(size)) {
      if (c == '\n') {
        flush();
      } else {
        line.push_back(c);
      }
    }
  }
  if (!line.empty()) flush();
  return !d.failed();
}

}  // namespace

bool DecodeCurve(Streams& s, ObjectRecord& rec) {
  FieldData f;
  switch (rec.type) {
    case 0x24: ReadSpline(s, f.values); break;
    case 0x2E: ReadTolerance(s, f); break;
    case 0x2F: ReadMline(s, f); break;
    case 0x2D:
      if (!ReadLeader(s, f)) return false;
      break;
    case 0x25:
    case 0x26:
    case 0x27:
      if (!ReadModelerGeometry(s, f.values)) return false;
      break;
    default: return true;
  }
  rec.payload = std::move(f);
  return s.Ok();
}

}  // namespace vantrove::engine::dwg
