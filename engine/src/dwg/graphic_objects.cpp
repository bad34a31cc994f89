// The typed part of the entities whose DWG encoding mixes flags, packed
// coordinates and references in an order of its own: polylines and their
// vertices, SOLID, TRACE, 3DFACE, dimensions and viewports. Each reads only what
// the type's DXF form holds; counts and references DXF derives from the
// record order (owned vertices, SEQEND) are not read.

#include "dwg/object_streams.hpp"

namespace vantrove::engine::dwg {

namespace {

using types::FieldValues;

bool IsDefaultExtrusion(const Point3& p) { return p.x == 0.0 && p.y == 0.0 && p.z == 1.0; }

void PutExtrusion(FieldValues& v, const Point3& p) {
  if (!IsDefaultExtrusion(p)) v.Point("extrusion", p.x, p.y, p.z);
}

void PutNonZero(FieldValues& v, std::string_view name, double value) {
  if (value != 0.0) v.Real(name, value);
}

// POLYLINE: 2D (0x0F), 3D (0x10), polyface mesh (0x1D), polygon mesh
// (0x1E). The DXF flags say which kind it is (8 3D, 16 mesh, 64 polyface).
void ReadPolyline(Streams& s, uint16_t type, FieldValues& v) {
  BitReader& d = s.dat;
  int64_t flags = 0;
  if (type == 0x0F) {
    flags = d.BS();
    const uint16_t curve = d.BS();
    const double startWidth = d.BD();
    const double endWidth = d.BD();
    const double thickness = d.BT(s.R2000());
    const double elevation = d.BD();
    const Point3 extrusion = d.BE(s.R2000());
    if (curve != 0) v.Int("curve_type", curve);
    PutNonZero(v, "start_width", startWidth);
    PutNonZero(v, "end_width", endWidth);
    PutNonZero(v, "thickness", thickness);
    v.Point("elevation", 0, 0, elevation);
    PutExtrusion(v, extrusion);
  } else if (type == 0x10) {
    const uint8_t curve = d.RC();
    flags = d.RC() | 8;
    if (curve == 5 || curve == 6 || curve == 8) v.Int("curve_type", curve);
  } else if (type == 0x1D) {
    flags = 64;
    v.Int("m_count", d.BS());
    v.Int("n_count", d.BS());
  } else {
    flags = d.BS() | 16;
    const uint16_t curve = d.BS();
    v.Int("m_count", d.BS());
    v.Int("n_count", d.BS());
    v.Int("m_density", d.BS());
    v.Int("n_density", d.BS());
    if (curve == 5 || curve == 6 || curve == 8) v.Int("curve_type", curve);
  }
  v.Int("flags", flags);
}

// VERTEX: 2D (0x0A), 3D (0x0B), mesh (0x0C), polyface (0x0D), face record
// (0x0E).
void ReadVertex(Streams& s, uint16_t type, FieldValues& v) {
  BitReader& d = s.dat;
  if (type == 0x0E) {
    const char* names[] = {"vertex_1", "vertex_2", "vertex_3", "vertex_4"};
    for (int i = 0; i < 4; ++i) {
      const auto index = static_cast<int16_t>(d.BS());
      if (i < 3 || index != 0) v.Int(names[i], index);
    }
    return;
  }
  uint8_t flags = d.RC();
  const Point3 p = d.BD3();
  v.Point("location", p.x, p.y, p.z);
  if (type == 0x0A) {
    // A negative start width stands for equal start and end widths.
    double startWidth = d.BD();
    double endWidth = startWidth;
    if (startWidth < 0) {
      startWidth = endWidth = -startWidth;
    } else {
      endWidth = d.BD();
    }
    const double bulge = d.BD();
    if (s.R2010()) {
      const uint32_t id = d.BL();
      if (id != 0) v.Int("id", id);
    }
    const double tangent = d.BD();
    PutNonZero(v, "start_width", startWidth);
    PutNonZero(v, "end_width", endWidth);
    PutNonZero(v, "bulge", bulge);
    if (flags & 2) v.Angle("tangent", tangent);
    flags &= 0x1F;
  } else {
    flags |= type == 0x0B ? 32 : type == 0x0C ? 64 : 192;
  }
  v.Int("flags", flags);
}

// SOLID, TRACE: thickness, elevation, four 2D corners, extrusion.
void ReadTrace(Streams& s, FieldValues& v) {
  BitReader& d = s.dat;
  const double thickness = d.BT(s.R2000());
  const double elevation = d.BD();
  const char* names[] = {"corner_1", "corner_2", "corner_3", "corner_4"};
  for (const char* name : names) {
    const Point2 p = d.RD2();
    v.Point(name, p.x, p.y, elevation);
  }
  PutNonZero(v, "thickness", thickness);
  PutExtrusion(v, d.BE(s.R2000()));
}

// 3DFACE: from 2000 on the first corner is raw doubles (z left out when
// 0) and the others differences from the corner before.
void ReadFace(Streams& s, FieldValues& v) {
  BitReader& d = s.dat;
  Point3 c[4];
  uint16_t hidden = 0;
  if (!s.R2000()) {
    for (Point3& p : c) p = d.BD3();
    hidden = d.BS();
  } else {
    const bool noFlags = d.B();
    const bool flat = d.B();
    c[0].x = d.RD();
    c[0].y = d.RD();
    c[0].z = flat ? 0.0 : d.RD();
    for (int i = 1; i < 4; ++i) {
      c[i].x = d.DD(c[i - 1].x);
      c[i].y = d.DD(c[i - 1].y);
      c[i].z = d.DD(c[i - 1].z);
    }
    if (!noFlags) hidden = d.BS();
  }
  const char* names[] = {"corner_1", "corner_2", "corner_3", "corner_4"};
  for (int i = 0; i < 4; ++i) v.Point(names[i], c[i].x, c[i].y, c[i].z);
  if (hidden != 0) v.Int("hidden_edges", hidden);
}

// The kind number a dimension has in its DXF flags, by DWG type.
int DimensionKind(uint16_t type) {
  switch (type) {
    case 0x14: return 6;  // ordinate
    case 0x15: return 0;  // linear
    case 0x16: return 1;  // aligned
    case 0x17: return 5;  // angular, 3 points
    case 0x18: return 2;  // angular, 2 lines
    case 0x19: return 4;  // radius
    default: return 3;    // diameter
  }
}

void PutPoint(BitReader& d, FieldValues& v, std::string_view name) {
  const Point3 p = d.BD3();
  v.Point(name, p.x, p.y, p.z);
}

// DIMENSION: the common part, then the points of its kind, then the
// dimension style and the block that draws it.
void ReadDimension(Streams& s, uint16_t type, FieldData& f) {
  BitReader& d = s.dat;
  FieldValues& v = f.values;
  if (s.R2010()) v.Int("class_version", d.RC());
  PutExtrusion(v, d.BD3());
  const Point2 mid = d.RD2();
  const double elevation = d.BD();
  v.Point("text_midpoint", mid.x, mid.y, elevation);
  const uint8_t stored = d.RC();
  // Bit 0: the text is where the dimension puts it; bit 1: the block is
  // this dimension's own.
  int64_t flags = DimensionKind(type);
  if (!(stored & 1)) flags |= 128;
  if (stored & 2) flags |= 32;
  const std::string text = s.T();
  if (!text.empty()) v.Text("text", text);
  const double textRotation = d.BD();
  const double horizontal = d.BD();
  d.BD3();  // insertion scale
  d.BD();   // insertion rotation
  if (textRotation != 0.0) v.Angle("text_rotation", textRotation);
  if (horizontal != 0.0) v.Angle("horizontal_direction", horizontal);
  if (s.R2000()) {
    v.Int("attachment", d.BS());
    v.Int("line_spacing_style", d.BS());
    v.Real("line_spacing_factor", d.BD());
    v.Real("measurement", d.BD());
  }
  if (s.R2007()) {
    v.Int("unknown", d.B());
    v.Int("flip_arrow_1", d.B());
    v.Int("flip_arrow_2", d.B());
  }
  const Point2 clone = d.RD2();
  if (clone.x != 0.0 || clone.y != 0.0) v.Point("clone_insertion", clone.x, clone.y, 0.0);
  switch (type) {
    case 0x14:
      PutPoint(d, v, "definition_point");
      PutPoint(d, v, "feature");
      PutPoint(d, v, "leader_end");
      if (d.RC() & 1) flags |= 64;  // the x coordinate is measured
      break;
    case 0x15:
    case 0x16:
      PutPoint(d, v, "extension_1");
      PutPoint(d, v, "extension_2");
      PutPoint(d, v, "definition_point");
      if (const double oblique = d.BD(); oblique != 0.0) v.Angle("oblique", oblique);
      if (type == 0x15) v.Angle("rotation", d.BD());
      break;
    case 0x17:
      PutPoint(d, v, "definition_point");
      PutPoint(d, v, "extension_1");
      PutPoint(d, v, "extension_2");
      PutPoint(d, v, "vertex");
      break;
    case 0x18: {
      const Point2 arc = d.RD2();
      v.Point("arc_point", arc.x, arc.y, elevation);
      PutPoint(d, v, "extension_1");
      PutPoint(d, v, "extension_2");
      PutPoint(d, v, "vertex");
      PutPoint(d, v, "definition_point");
      break;
    }
    case 0x19:
      PutPoint(d, v, "definition_point");
      PutPoint(d, v, "chord_point");
      v.Real("leader_length", d.BD());
      break;
    default:
      PutPoint(d, v, "chord_point");
      PutPoint(d, v, "definition_point");
      v.Real("leader_length", d.BD());
      break;
  }
  v.Int("dimension_type", flags);
  f.refs.push_back({"dimstyle", s.Ref(), true});
  f.refs.push_back({"block", s.Ref(), true});
}

// VIEWPORT: before 2000 only its place and size.
void ReadViewport(Streams& s, FieldData& f) {
  BitReader& d = s.dat;
  FieldValues& v = f.values;
  PutPoint(d, v, "center");
  v.Real("width", d.BD());
  v.Real("height", d.BD());
  if (!s.R2000()) return;
  PutPoint(d, v, "view_target");
  PutPoint(d, v, "view_direction");
  v.Angle("twist", d.BD());
  v.Real("view_height", d.BD());
  v.Real("lens", d.BD());
  v.Real("front_clip", d.BD());
  v.Real("back_clip", d.BD());
  v.Angle("snap_angle", d.BD());
  const char* points[] = {"view_center", "snap_base", "snap_spacing", "grid_spacing"};
  for (const char* name : points) {
    const Point2 p = d.RD2();
    v.Point(name, p.x, p.y);
  }
  v.Int("circle_zoom", d.BS());
  if (s.R2007()) v.Int("grid_major", d.BS());
  const uint32_t frozen = d.BL();
  v.Int("flags", d.BL());
  v.Text("style_sheet", s.T());
  v.Int("render_mode", d.RC());
  v.Int("ucs_icon", d.B());
  v.Int("ucs_per_viewport", d.B());
  PutPoint(d, v, "ucs_origin");
  PutPoint(d, v, "ucs_x_axis");
  PutPoint(d, v, "ucs_y_axis");
  v.Real("elevation", d.BD());
  v.Int("ortho_type", d.BS());
  if (s.R2004()) v.Int("shade_plot_mode", d.BS());
  if (s.R2007()) {
    v.Int("default_lighting", d.B());
    v.Int("lighting_type", d.RC());
    v.Real("brightness", d.BD());
    v.Real("contrast", d.BD());
    const ObjectColor ambient = ReadObjectColor(s);
    v.Int("ambient_color", ambient.index);
    if (ambient.rgb >= 0) v.Int("ambient_rgb", ambient.rgb);
  }
  // References: the frozen layers, the clip boundary, the UCS and (2007+)
  // the background, visual style and shade plot.
  if (frozen > kMaxHandles) {
    d.Fail();
    return;
  }
  std::vector<uint64_t> layers;
  s.Refs(frozen, layers);
  for (uint64_t layer : layers) f.refs.push_back({"frozen_layers", layer, false, 331});
  f.refs.push_back({"clip_boundary", s.Ref(), false});
  if (!s.R2004()) s.Ref();  // the viewport's VX record
  f.refs.push_back({"ucs", s.Ref(), false});
  f.refs.push_back({"base_ucs", s.Ref(), false});
  if (s.R2007()) {
    f.refs.push_back({"background", s.Ref(), false});
    f.refs.push_back({"visual_style", s.Ref(), false});
    f.refs.push_back({"shade_plot", s.Ref(), false});
  }
}

}  // namespace

bool DecodeGraphic(Streams& s, ObjectRecord& rec) {
  FieldData f;
  const uint16_t type = rec.type;
  if (type == 0x0F || type == 0x10 || type == 0x1D || type == 0x1E) {
    ReadPolyline(s, type, f.values);
  } else if (type >= 0x0A && type <= 0x0E) {
    ReadVertex(s, type, f.values);
  } else if (type == 0x1F || type == 0x20) {
    ReadTrace(s, f.values);
  } else if (type == 0x1C) {
    ReadFace(s, f.values);
  } else if (type >= 0x14 && type <= 0x1A) {
    ReadDimension(s, type, f);
  } else if (type == 0x22) {
    ReadViewport(s, f);
  } else {
    return true;  // not a type of this family
  }
  rec.payload = std::move(f);
  return s.Ok();
}

}  // namespace vantrove::engine::dwg
