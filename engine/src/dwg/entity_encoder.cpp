#include "dwg/entity_encoder.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <numbers>
#include <vector>

#include "dwg/records.hpp"
#include "model/type_table.hpp"

namespace vantrove::engine::dwg {

namespace {

double Radians(double degrees) { return degrees * std::numbers::pi / 180.0; }

dwg::Point3 P3(const engine::Point3& p) { return {p.x, p.y, p.z}; }

// The text part of TEXT, ATTRIB and ATTDEF; `valignCode` is 73 for TEXT
// and 74 for the attributes.
void WriteTextPart(ObjectWriter& w, const GroupView& g, int32_t valignCode, std::string_view value) {
  BitWriter& d = w.data();
  const engine::Point3 ins = g.Point(10);
  const int64_t halign = g.Int(72, 0), valign = g.Int(valignCode, 0);
  const bool aligned = (halign != 0 || valign != 0) && g.Has(11);
  const engine::Point3 al = aligned ? g.Point(11) : ins;
  const double oblique = Radians(g.Real(51, 0)), rotation = Radians(g.Real(50, 0));
  const double width = g.Real(41, 1.0);
  const int64_t generation = g.Int(71, 0);
  uint8_t flags = 0;
  if (ins.z == 0.0) flags |= 0x01;
  if (!aligned) flags |= 0x02;
  if (oblique == 0.0) flags |= 0x04;
  if (rotation == 0.0) flags |= 0x08;
  if (width == 1.0) flags |= 0x10;
  if (generation == 0) flags |= 0x20;
  if (halign == 0) flags |= 0x40;
  if (valign == 0) flags |= 0x80;
  d.RC(flags);
  if (!(flags & 0x01)) d.RD(ins.z);
  d.RD2({ins.x, ins.y});
  if (!(flags & 0x02)) {
    d.DD(al.x, ins.x);
    d.DD(al.y, ins.y);
  }
  d.BE(P3(g.Point(210, {0, 0, 1})), true);
  d.BT(g.Real(39, 0), true);
  if (!(flags & 0x04)) d.RD(oblique);
  if (!(flags & 0x08)) d.RD(rotation);
  d.RD(g.Real(40, 2.5));
  if (!(flags & 0x10)) d.RD(width);
  w.Text(value);
  if (!(flags & 0x20)) d.BS(static_cast<uint16_t>(generation));
  if (!(flags & 0x40)) d.BS(static_cast<uint16_t>(halign));
  if (!(flags & 0x80)) d.BS(static_cast<uint16_t>(valign));
}

void WriteInsert(ObjectWriter& w, const Insert& in, const GroupView& g, const EncoderLinks& links) {
  BitWriter& d = w.data();
  d.BD3(P3(in.point));
  const engine::Point3 s = in.scale;
  if (s.x == 1.0 && s.y == 1.0 && s.z == 1.0) {
    d.BB(3);
  } else if (s.x == 1.0) {
    d.BB(1);
    d.DD(s.y, 1.0);
    d.DD(s.z, 1.0);
  } else if (s.x == s.y && s.x == s.z) {
    d.BB(2);
    d.RD(s.x);
  } else {
    d.BB(0);
    d.RD(s.x);
    d.DD(s.y, s.x);
    d.DD(s.z, s.x);
  }
  d.BD(Radians(in.rotation));
  d.BD3(P3(g.Point(210, {0, 0, 1})));
  const bool attribs = links.seqend != 0;
  d.B(attribs);
  if (in.minsert()) {
    d.BS(static_cast<uint16_t>(in.columns));
    d.BS(static_cast<uint16_t>(in.rows));
    d.BD(in.column_spacing);
    d.BD(in.row_spacing);
  }
  w.Ref(5, links.blockRecord(in.block_name));
  if (attribs) {
    w.Ref(4, links.firstOwned);
    w.Ref(4, links.lastOwned);
    w.Ref(3, links.seqend);
  }
}

void WriteMText(ObjectWriter& w, const MText& m, const GroupView& g, const EncoderLinks& links) {
  BitWriter& d = w.data();
  d.BD3(P3(m.point));
  d.BD3(P3(g.Point(210, {0, 0, 1})));
  engine::Point3 axis{1, 0, 0};
  if (g.Has(11)) {
    axis = g.Point(11);
  } else if (g.Has(50)) {
    axis = {std::cos(Radians(g.Real(50))), std::sin(Radians(g.Real(50))), 0};
  }
  d.BD3(P3(axis));
  d.BD(m.width);
  d.BD(m.height);
  d.BS(static_cast<uint16_t>(g.Int(71, 1)));
  d.BS(static_cast<uint16_t>(g.Int(72, 1)));
  d.BD(g.Real(43, 0));  // extents height
  d.BD(g.Real(42, 0));  // extents width
  w.Text(m.value);
  d.BS(static_cast<uint16_t>(g.Int(73, 1)));
  d.BD(g.Real(44, 1.0));
  d.B(false);
  w.Ref(5, links.style(m.style));
}

void WriteLwPolyline(ObjectWriter& w, const GroupView& g) {
  BitWriter& d = w.data();
  std::vector<dwg::Point2> xy;
  std::vector<double> bulges;
  std::vector<dwg::Point2> widths;
  bool anyBulge = false, anyWidth = false;
  for (const Group& group : g.all()) {
    switch (group.code) {
      case 10:
        xy.push_back({group.AsDouble(), 0});
        bulges.push_back(0);
        widths.push_back({0, 0});
        break;
      case 20: if (!xy.empty()) xy.back().y = group.AsDouble(); break;
      case 40: if (!widths.empty()) widths.back().x = group.AsDouble(); anyWidth = anyWidth || group.AsDouble() != 0; break;
      case 41: if (!widths.empty()) widths.back().y = group.AsDouble(); anyWidth = anyWidth || group.AsDouble() != 0; break;
      case 42: if (!bulges.empty()) bulges.back() = group.AsDouble(); anyBulge = anyBulge || group.AsDouble() != 0; break;
      default: break;
    }
  }
  const engine::Point3 ext = g.Point(210, {0, 0, 1});
  const bool hasExt = ext.x != 0 || ext.y != 0 || ext.z != 1;
  const double constWidth = g.Real(43, 0), elevation = g.Real(38, 0), thickness = g.Real(39, 0);
  const int64_t dxfFlags = g.Int(70, 0);
  uint16_t flags = 0;
  if (hasExt) flags |= 1;
  if (thickness != 0) flags |= 2;
  if (constWidth != 0) flags |= 4;
  if (elevation != 0) flags |= 8;
  if (anyBulge) flags |= 16;
  if (anyWidth) flags |= 32;
  if (dxfFlags & 128) flags |= 256;
  if (dxfFlags & 1) flags |= 512;
  d.BS(flags);
  if (flags & 4) d.BD(constWidth);
  if (flags & 8) d.BD(elevation);
  if (flags & 2) d.BD(thickness);
  if (flags & 1) d.BD3(P3(ext));
  d.BL(static_cast<uint32_t>(xy.size()));
  if (flags & 16) d.BL(static_cast<uint32_t>(bulges.size()));
  if (flags & 32) d.BL(static_cast<uint32_t>(widths.size()));
  for (size_t i = 0; i < xy.size(); ++i) {
    if (i == 0) {
      d.RD2(xy[i]);
    } else {
      d.DD(xy[i].x, xy[i - 1].x);
      d.DD(xy[i].y, xy[i - 1].y);
    }
  }
  if (flags & 16) {
    for (double b : bulges) d.BD(b);
  }
  if (flags & 32) {
    for (const dwg::Point2& p : widths) {
      d.BD(p.x);
      d.BD(p.y);
    }
  }
}

void WriteImage(ObjectWriter& w, const GroupView& g, const EncoderLinks& links) {
  BitWriter& d = w.data();
  d.BL(static_cast<uint32_t>(g.Int(90, 0)));
  d.BD3(P3(g.Point(10)));
  d.BD3(P3(g.Point(11, {1, 0, 0})));
  d.BD3(P3(g.Point(12, {0, 1, 0})));
  const double sx = g.Real(13, 1), sy = g.Real(23, 1);
  d.RD2({sx, sy});
  d.BS(static_cast<uint16_t>(g.Int(70, 7)));
  d.B(g.Int(280, 0) != 0);
  d.RC(static_cast<uint8_t>(g.Int(281, 50)));
  d.RC(static_cast<uint8_t>(g.Int(282, 50)));
  d.RC(static_cast<uint8_t>(g.Int(283, 0)));
  // The clip boundary: the whole image as a rectangle of pixel corners.
  d.BS(1);
  d.RD2({-0.5, -0.5});
  d.RD2({sx - 0.5, sy - 0.5});
  w.Ref(5, links.imageDef);
  w.Ref(3, links.imageDefReactor);
}

// A LINE's end points in the 2000 form: a flag for "both z are 0", then
// each start coordinate followed by the end's as a difference from it.
void WriteLineEnds(BitWriter& d, const GroupView& g) {
  const engine::Point3 a = g.Point(10), b = g.Point(11);
  const bool flat = a.z == 0.0 && b.z == 0.0;
  d.B(flat);
  d.RD(a.x);
  d.DD(b.x, a.x);
  d.RD(a.y);
  d.DD(b.y, a.y);
  if (!flat) {
    d.RD(a.z);
    d.DD(b.z, a.z);
  }
}

// One field of a generically encoded type, from its DXF group.
void WriteField(ObjectWriter& w, const types::Field& f, const GroupView& g) {
  BitWriter& d = w.data();
  auto real = [&]() {
    const double fallback = f.fallback.empty() ? 0.0 : std::strtod(std::string(f.fallback).c_str(), nullptr);
    const double v = g.Real(f.code, fallback);
    return f.kind == types::Kind::kAngle ? Radians(v) : v;
  };
  auto point = [&]() {
    engine::Point3 fb{};
    if (!f.fallback.empty()) {
      const std::string text(f.fallback);
      std::sscanf(text.c_str(), "%lf,%lf,%lf", &fb.x, &fb.y, &fb.z);
    }
    return P3(g.Point(f.code, fb));
  };
  switch (f.dwg) {
    case types::Bits::kB: d.B(g.Int(f.code, 0) != 0); break;
    case types::Bits::kBB: d.BB(static_cast<uint8_t>(g.Int(f.code, 0))); break;
    case types::Bits::kRC: d.RC(static_cast<uint8_t>(g.Int(f.code, 0))); break;
    case types::Bits::kBS:
    case types::Bits::kCMC: d.BS(static_cast<uint16_t>(g.Int(f.code, 0))); break;
    case types::Bits::kBL: d.BL(static_cast<uint32_t>(g.Int(f.code, 0))); break;
    case types::Bits::kBD: d.BD(real()); break;
    case types::Bits::kRD: d.RD(real()); break;
    case types::Bits::kBD3: d.BD3(point()); break;
    case types::Bits::kRD2: {
      const dwg::Point3 p = point();
      d.RD2({p.x, p.y});
      break;
    }
    case types::Bits::kBT: d.BT(g.Real(f.code, 0), true); break;
    case types::Bits::kBE: d.BE(P3(g.Point(f.code, {0, 0, 1})), true); break;
    case types::Bits::kTV: w.Text(g.Text(f.code, f.fallback)); break;
    default: break;  // handles and special fields: written by the type's code
  }
}

// POLYLINE (2D and 3D; meshes are not encoded) and VERTEX: their DWG
// type by the DXF flags.
uint16_t PolylineType(const GroupView& g, bool vertex) {
  const int64_t flags = g.Int(70, 0);
  if (vertex) return (flags & (64 | 128)) != 0 ? 0 : (flags & 32) != 0 ? 0x0B : 0x0A;
  return (flags & (16 | 64)) != 0 ? 0 : (flags & 8) != 0 ? 0x10 : 0x0F;
}

void WritePolyline(ObjectWriter& w, const GroupView& g, const EncoderLinks& links) {
  BitWriter& d = w.data();
  const int64_t flags = g.Int(70, 0);
  if (PolylineType(g, false) == 0x0F) {
    d.BS(static_cast<uint16_t>(flags));
    d.BS(static_cast<uint16_t>(g.Int(75, 0)));
    d.BD(g.Real(40, 0));
    d.BD(g.Real(41, 0));
    d.BT(g.Real(39, 0), true);
    d.BD(g.Real(30, 0));
    d.BE(P3(g.Point(210, {0, 0, 1})), true);
  } else {
    d.RC(static_cast<uint8_t>(g.Int(75, 0)));
    d.RC(static_cast<uint8_t>(flags & 1));
  }
  w.Ref(4, links.firstOwned);
  w.Ref(4, links.lastOwned);
  w.Ref(3, links.seqend);
}

void WriteVertex(ObjectWriter& w, const GroupView& g) {
  BitWriter& d = w.data();
  d.RC(static_cast<uint8_t>(g.Int(70, 0)));
  d.BD3(P3(g.Point(10)));
  if (PolylineType(g, true) != 0x0A) return;
  // Equal non-zero widths are stored once, as a negative start width.
  const double start = g.Real(40, 0), end = g.Real(41, 0);
  if (start == end && start != 0.0) {
    d.BD(-std::fabs(start));
  } else {
    d.BD(start);
    d.BD(end);
  }
  d.BD(g.Real(42, 0));
  d.BD(Radians(g.Real(50, 0)));
}

bool IsGeneric(const Entity& e, const types::TypeDesc*& desc) {
  desc = types::FindType(e.type_name);
  return desc != nullptr && desc->entity && desc->dwg_type != 0 && (desc->generic_dwg || desc->dwg_type == kTypeLine);
}

}  // namespace

uint16_t EntityTypeNumber(const Entity& e, const GroupView& g,
                          const std::function<uint16_t(std::string_view)>& classNumber) {
  switch (e.kind()) {
    case ObjectKind::kText: return kTypeText;
    case ObjectKind::kAttrib: return kTypeAttrib;
    case ObjectKind::kAttDef: return kTypeAttdef;
    case ObjectKind::kBlock: return kTypeBlock;
    case ObjectKind::kEndBlk: return kTypeEndblk;
    case ObjectKind::kSeqEnd: return kTypeSeqend;
    case ObjectKind::kInsert: return static_cast<const Insert&>(e).minsert() ? kTypeMinsert : kTypeInsert;
    case ObjectKind::kMText: return kTypeMText;
    case ObjectKind::kImage: return classNumber("IMAGE");
    default: break;
  }
  if (e.type_name == "LWPOLYLINE") return kTypeLwPolyline;
  if (e.type_name == "POLYLINE" || e.type_name == "VERTEX") return PolylineType(g, e.type_name == "VERTEX");
  const types::TypeDesc* desc = nullptr;
  return IsGeneric(e, desc) ? desc->dwg_type : 0;
}

bool EncodeEntityData(ObjectWriter& w, const Entity& e, const GroupView& g, const EncoderLinks& links) {
  switch (e.kind()) {
    case ObjectKind::kText: {
      const auto& t = static_cast<const TextEntity&>(e);
      WriteTextPart(w, g, 73, t.value);
      w.Ref(5, links.style(t.style.empty() ? g.Text(7, "Standard") : t.style));
      return true;
    }
    case ObjectKind::kAttrib:
    case ObjectKind::kAttDef: {
      const auto& a = static_cast<const Attrib&>(e);
      WriteTextPart(w, g, 74, a.display_value());
      w.Text(a.tag);
      w.data().BS(static_cast<uint16_t>(g.Int(73, 0)));
      w.data().RC(static_cast<uint8_t>(a.flags));
      if (e.kind() == ObjectKind::kAttDef) w.Text(static_cast<const AttDef&>(e).prompt);
      w.Ref(5, links.style(a.style.empty() ? g.Text(7, "Standard") : a.style));
      return true;
    }
    case ObjectKind::kBlock:
      w.Text(links.blockName.empty() ? static_cast<const Block&>(e).name : links.blockName);
      return true;
    case ObjectKind::kEndBlk:
    case ObjectKind::kSeqEnd: return true;
    case ObjectKind::kInsert: WriteInsert(w, static_cast<const Insert&>(e), g, links); return true;
    case ObjectKind::kMText: WriteMText(w, static_cast<const MText&>(e), g, links); return true;
    case ObjectKind::kImage: WriteImage(w, g, links); return true;
    default: break;
  }
  if (e.type_name == "LWPOLYLINE") {
    WriteLwPolyline(w, g);
    return true;
  }
  if (e.type_name == "POLYLINE" || e.type_name == "VERTEX") {
    if (PolylineType(g, e.type_name == "VERTEX") == 0) return false;
    if (e.type_name == "POLYLINE") {
      WritePolyline(w, g, links);
    } else {
      WriteVertex(w, g);
    }
    return true;
  }
  const types::TypeDesc* desc = nullptr;
  if (!IsGeneric(e, desc)) return false;
  if (desc->dwg_type == kTypeLine) WriteLineEnds(w.data(), g);
  for (const types::Part& part : desc->parts) {
    for (const types::Field& field : part.fields) {
      if (field.In(types::k2000)) WriteField(w, field, g);
    }
  }
  return true;
}

}  // namespace vantrove::engine::dwg
