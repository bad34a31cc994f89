#include "dwg/lwpolyline.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace vantrove::engine::dwg {

namespace {

// Flag bits of the stored entity.
constexpr uint16_t kHasExtrusion = 1;
constexpr uint16_t kHasThickness = 2;
constexpr uint16_t kHasConstWidth = 4;
constexpr uint16_t kHasElevation = 8;
constexpr uint16_t kHasBulges = 16;
constexpr uint16_t kHasWidths = 32;
constexpr uint16_t kLinetypeGeneration = 256;
constexpr uint16_t kClosed = 512;
constexpr uint16_t kHasVertexIds = 1024;

}  // namespace

bool ReadLwPolyline(BitReader& d, bool r2000, bool r2010, types::FieldValues& values) {
  const uint16_t flags = d.BS();
  const double constWidth = (flags & kHasConstWidth) ? d.BD() : 0.0;
  const double elevation = (flags & kHasElevation) ? d.BD() : 0.0;
  const double thickness = (flags & kHasThickness) ? d.BD() : 0.0;
  Point3 extrusion{0, 0, 1};
  if (flags & kHasExtrusion) extrusion = d.BD3();
  const uint32_t points = d.BL();
  const uint32_t bulges = (flags & kHasBulges) ? d.BL() : 0;
  const uint32_t ids = (r2010 && (flags & kHasVertexIds)) ? d.BL() : 0;
  const uint32_t widths = (flags & kHasWidths) ? d.BL() : 0;
  // Every count is bounded by the bits left (each value takes two at least).
  const size_t room = d.remaining() / 2;
  if (d.failed() || points > room || bulges > room || ids > room || widths > room) return false;

  std::vector<Point2> xy(points);
  for (uint32_t i = 0; i < points; ++i) {
    if (!r2000 || i == 0) {
      xy[i] = d.RD2();
    } else {
      xy[i].x = d.DD(xy[i - 1].x);
      xy[i].y = d.DD(xy[i - 1].y);
    }
  }
  std::vector<double> bulge(bulges);
  for (double& b : bulge) b = d.BD();
  std::vector<uint32_t> id(ids);
  for (uint32_t& v : id) v = d.BL();
  std::vector<Point2> width(widths);
  for (Point2& w : width) w = Point2{d.BD(), d.BD()};
  if (d.failed()) return false;

  values.Int("count", points);
  values.Int("flags", ((flags & kClosed) ? 1 : 0) | ((flags & kLinetypeGeneration) ? 128 : 0));
  if (flags & kHasConstWidth) values.Real("const_width", constWidth);
  if (flags & kHasElevation) values.Real("elevation", elevation);
  if (flags & kHasThickness) values.Real("thickness", thickness);
  for (uint32_t i = 0; i < points; ++i) {
    values.Append("vertices", 10, types::RealText(xy[i].x));
    values.Append("vertices", 20, types::RealText(xy[i].y));
    if (i < ids) values.Append("vertices", 91, std::to_string(id[i]));
    if (i < widths) {
      values.Append("vertices", 40, types::RealText(width[i].x));
      values.Append("vertices", 41, types::RealText(width[i].y));
    }
    if (i < bulges && bulge[i] != 0.0) values.Append("vertices", 42, types::RealText(bulge[i]));
  }
  if (extrusion.x != 0.0 || extrusion.y != 0.0 || extrusion.z != 1.0) {
    values.Point("extrusion", extrusion.x, extrusion.y, extrusion.z);
  }
  return true;
}

}  // namespace vantrove::engine::dwg
