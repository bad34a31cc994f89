// The typed part of HATCH: boundary paths (polylines, or edges: lines,
// arcs, elliptic arcs, splines), the pattern, seed points and (2004+) the
// gradient, as the runs of groups its DXF form holds.

#include <cmath>
#include <numbers>

#include "dwg/object_streams.hpp"

namespace vantrove::engine::dwg {

namespace {

using types::FieldValues;
using types::RealText;

constexpr double kDegrees = 180.0 / std::numbers::pi;

class HatchReader {
 public:
  HatchReader(Streams& s, FieldData& f) : s_(s), d_(s.dat), f_(f), v_(f.values) {}
  void Run();

 private:
  // True when `count` items of at least `bits` bits each can be read.
  bool Fits(uint64_t count, size_t bits) {
    if (count <= 100000 && d_.CanRead(count, bits)) return true;
    d_.Fail();
    return false;
  }
  void Put(std::string_view run, int32_t code, std::string_view text) { v_.Append(run, code, text); }
  void Real(std::string_view run, int32_t code, double value) { Put(run, code, RealText(value)); }
  void Int(std::string_view run, int32_t code, int64_t value) { Put(run, code, std::to_string(value)); }
  void Point2(std::string_view run, int32_t code, const dwg::Point2& p) {
    Real(run, code, p.x);
    Real(run, code + 10, p.y);
  }
  bool Path();
  bool Edge();
  void Gradient();

  Streams& s_;
  BitReader& d_;
  FieldData& f_;
  FieldValues& v_;
  bool derived_ = false;
  FieldValues gradient_;
};

// One edge of a boundary path: 1 line, 2 circular arc, 3 elliptic arc,
// 4 spline.
bool HatchReader::Edge() {
  const uint8_t type = d_.RC();
  Int("paths", 72, type);
  switch (type) {
    case 1:
      Point2("paths", 10, d_.RD2());
      Point2("paths", 11, d_.RD2());
      break;
    case 2:
    case 3:
      Point2("paths", 10, d_.RD2());
      if (type == 3) Point2("paths", 11, d_.RD2());
      Real("paths", 40, d_.BD());
      Real("paths", 50, d_.BD() * kDegrees);
      Real("paths", 51, d_.BD() * kDegrees);
      Int("paths", 73, d_.B());
      break;
    case 4: {
      Int("paths", 94, d_.BL());
      const bool rational = d_.B();
      Int("paths", 73, rational);
      Int("paths", 74, d_.B());
      const uint32_t knots = d_.BL();
      const uint32_t points = d_.BL();
      if (!Fits(knots, 2) || !Fits(points, 128)) return false;
      Int("paths", 95, knots);
      Int("paths", 96, points);
      for (uint32_t i = 0; i < knots; ++i) Real("paths", 40, d_.BD());
      for (uint32_t i = 0; i < points && !d_.failed(); ++i) {
        Point2("paths", 10, d_.RD2());
        if (rational) Real("paths", 42, d_.BD());
      }
      if (s_.R2010()) {
        const uint32_t fits = d_.BL();
        if (!Fits(fits, 128)) return false;
        Int("paths", 97, fits);
        if (fits > 0) {
          for (uint32_t i = 0; i < fits; ++i) Point2("paths", 11, d_.RD2());
          Point2("paths", 12, d_.RD2());
          Point2("paths", 13, d_.RD2());
        }
      }
      break;
    }
    default:
      d_.Fail();
      return false;
  }
  return !d_.failed();
}

// A boundary path: its flags (2 a polyline, 4 derived), its edges or
// vertices, and the objects it was made from.
bool HatchReader::Path() {
  const uint32_t flags = d_.BL();
  Int("paths", 92, flags);
  if (flags & 4) derived_ = true;
  if (!(flags & 2)) {
    const uint32_t edges = d_.BL();
    if (!Fits(edges, 8)) return false;
    Int("paths", 93, edges);
    for (uint32_t i = 0; i < edges; ++i) {
      if (!Edge()) return false;
    }
  } else {
    const bool bulges = d_.B();
    Int("paths", 72, bulges);
    Int("paths", 73, d_.B());
    const uint32_t vertices = d_.BL();
    if (!Fits(vertices, 128)) return false;
    Int("paths", 93, vertices);
    for (uint32_t i = 0; i < vertices && !d_.failed(); ++i) {
      Point2("paths", 10, d_.RD2());
      if (bulges) Real("paths", 42, d_.BD());
    }
  }
  const uint32_t sources = d_.BL();
  if (!Fits(sources, 0) || sources > kMaxHandles) return false;
  Int("paths", 97, sources);
  std::vector<uint64_t> handles;
  s_.Refs(sources, handles);
  for (uint64_t h : handles) {
    // The group gets the handle once it is known to be written.
    const int slot = static_cast<int>(v_.Find("paths")->groups.size());
    Put("paths", 330, "0");
    f_.refs.push_back({"paths", h, false, 330, slot});
  }
  return !d_.failed();
}

// The gradient (2004+), first in the DWG data, last in DXF.
void HatchReader::Gradient() {
  const uint32_t isGradient = d_.BL();
  const uint32_t reserved = d_.BL();
  const double angle = d_.BD();
  const double shift = d_.BD();
  const uint32_t single = d_.BL();
  const double tint = d_.BD();
  const uint32_t colors = d_.BL();
  if (!Fits(colors, 20)) return;
  FieldValues& g = gradient_;
  g.Append("gradient", 450, std::to_string(isGradient));
  g.Append("gradient", 451, std::to_string(reserved));
  g.Append("gradient", 452, std::to_string(single));
  g.Append("gradient", 453, std::to_string(colors));
  for (uint32_t i = 0; i < colors && !d_.failed(); ++i) {
    g.Append("gradient", 463, RealText(d_.BD()));
    const ObjectColor color = ReadObjectColor(s_);
    g.Append("gradient", 63, std::to_string(color.index));
    if (color.rgb >= 0) g.Append("gradient", 421, std::to_string(color.rgb));
  }
  g.Append("gradient", 460, RealText(angle));
  g.Append("gradient", 461, RealText(shift));
  g.Append("gradient", 462, RealText(tint));
  g.Append("gradient", 470, s_.T());
}

void HatchReader::Run() {
  if (s_.R2004()) Gradient();
  v_.Point("elevation", 0, 0, d_.BD());
  const Point3 extrusion = d_.BD3();
  v_.Point("extrusion", extrusion.x, extrusion.y, extrusion.z);
  std::string name = s_.T();
  const bool solid = d_.B();
  v_.Text("pattern_name", name.empty() ? std::string("SOLID") : name);
  v_.Int("solid", solid);
  v_.Int("associative", d_.B());
  const uint32_t paths = d_.BL();
  if (!Fits(paths, 8)) return;
  Int("paths", 91, paths);
  for (uint32_t i = 0; i < paths; ++i) {
    if (!Path()) return;
  }
  v_.Int("style", d_.BS());
  v_.Int("pattern_type", d_.BS());
  if (!solid) {
    v_.Angle("pattern_angle", d_.BD());
    v_.Real("pattern_scale", d_.BD());
    v_.Int("pattern_double", d_.B());
    const uint16_t lines = d_.BS();
    if (!Fits(lines, 8)) return;
    Int("pattern_lines", 78, lines);
    for (uint16_t i = 0; i < lines && !d_.failed(); ++i) {
      Real("pattern_lines", 53, d_.BD() * kDegrees);
      const dwg::Point2 base = d_.BD2();
      const dwg::Point2 offset = d_.BD2();
      Real("pattern_lines", 43, base.x);
      Real("pattern_lines", 44, base.y);
      Real("pattern_lines", 45, offset.x);
      Real("pattern_lines", 46, offset.y);
      const uint16_t dashes = d_.BS();
      if (!Fits(dashes, 2)) return;
      Int("pattern_lines", 79, dashes);
      for (uint16_t k = 0; k < dashes; ++k) Real("pattern_lines", 49, d_.BD());
    }
  }
  if (derived_) v_.Real("pixel_size", d_.BD());
  const uint32_t seeds = d_.BL();
  if (!Fits(seeds, 128)) return;
  Int("seeds", 98, seeds);
  for (uint32_t i = 0; i < seeds; ++i) Point2("seeds", 10, d_.RD2());
  if (const FieldValues::Value* g = gradient_.Find("gradient"); g != nullptr && g->groups.size() > 2 &&
                                                                g->groups.front().second != "0") {
    for (const auto& [code, text] : g->groups) Put("gradient", code, text);
  }
}

}  // namespace

bool DecodeHatch(Streams& s, ObjectRecord& rec) {
  FieldData f;
  HatchReader(s, f).Run();
  rec.payload = std::move(f);
  return s.Ok();
}

}  // namespace vantrove::engine::dwg
