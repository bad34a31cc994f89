#include "dwg/object_names.hpp"

#include <unordered_set>

namespace vantrove::engine::dwg {

bool IsFixedEntityType(uint16_t t) {
  if (t >= 0x01 && t <= 0x29) return t != 0x09;
  switch (t) {
    case 0x2B: case 0x2C: case 0x2D: case 0x2E: case 0x2F:
    case 0x4A: case 0x4D: case 0x4E: case 0x1F2:
      return true;
    default:
      return false;
  }
}

const char* FixedTypeName(uint16_t t) {
  switch (t) {
    case 0x01: return "TEXT";
    case 0x02: return "ATTRIB";
    case 0x03: return "ATTDEF";
    case 0x04: return "BLOCK";
    case 0x05: return "ENDBLK";
    case 0x06: return "SEQEND";
    case 0x07: return "INSERT";
    case 0x08: return "MINSERT";
    case 0x0A: return "VERTEX_2D";
    case 0x0B: return "VERTEX_3D";
    case 0x0C: return "VERTEX_MESH";
    case 0x0D: return "VERTEX_PFACE";
    case 0x0E: return "VERTEX_PFACE_FACE";
    case 0x0F: return "POLYLINE_2D";
    case 0x10: return "POLYLINE_3D";
    case 0x11: return "ARC";
    case 0x12: return "CIRCLE";
    case 0x13: return "LINE";
    case 0x14: return "DIMENSION_ORDINATE";
    case 0x15: return "DIMENSION_LINEAR";
    case 0x16: return "DIMENSION_ALIGNED";
    case 0x17: return "DIMENSION_ANG3PT";
    case 0x18: return "DIMENSION_ANG2LN";
    case 0x19: return "DIMENSION_RADIUS";
    case 0x1A: return "DIMENSION_DIAMETER";
    case 0x1B: return "POINT";
    case 0x1C: return "3DFACE";
    case 0x1D: return "POLYLINE_PFACE";
    case 0x1E: return "POLYLINE_MESH";
    case 0x1F: return "SOLID";
    case 0x20: return "TRACE";
    case 0x21: return "SHAPE";
    case 0x22: return "VIEWPORT";
    case 0x23: return "ELLIPSE";
    case 0x24: return "SPLINE";
    case 0x25: return "REGION";
    case 0x26: return "3DSOLID";
    case 0x27: return "BODY";
    case 0x28: return "RAY";
    case 0x29: return "XLINE";
    case 0x2A: return "DICTIONARY";
    case 0x2B: return "OLEFRAME";
    case 0x2C: return "MTEXT";
    case 0x2D: return "LEADER";
    case 0x2E: return "TOLERANCE";
    case 0x2F: return "MLINE";
    case 0x30: return "BLOCK_CONTROL";
    case 0x31: return "BLOCK_HEADER";
    case 0x32: return "LAYER_CONTROL";
    case 0x33: return "LAYER";
    case 0x34: return "STYLE_CONTROL";
    case 0x35: return "STYLE";
    case 0x38: return "LTYPE_CONTROL";
    case 0x39: return "LTYPE";
    case 0x3C: return "VIEW_CONTROL";
    case 0x3D: return "VIEW";
    case 0x3E: return "UCS_CONTROL";
    case 0x3F: return "UCS";
    case 0x40: return "VPORT_CONTROL";
    case 0x41: return "VPORT";
    case 0x42: return "APPID_CONTROL";
    case 0x43: return "APPID";
    case 0x44: return "DIMSTYLE_CONTROL";
    case 0x45: return "DIMSTYLE";
    case 0x46: return "VX_CONTROL";
    case 0x47: return "VX_TABLE_RECORD";
    case 0x48: return "GROUP";
    case 0x49: return "MLINESTYLE";
    case 0x4A: return "OLE2FRAME";
    case 0x4C: return "LONG_TRANSACTION";
    case 0x4D: return "LWPOLYLINE";
    case 0x4E: return "HATCH";
    case 0x4F: return "XRECORD";
    case 0x50: return "ACDBPLACEHOLDER";
    case 0x51: return "VBA_PROJECT";
    case 0x52: return "LAYOUT";
    case 0x1F2: return "ACAD_PROXY_ENTITY";
    case 0x1F3: return "ACAD_PROXY_OBJECT";
    default: return "";
  }
}

bool IsFixedTypeName(std::string_view name) {
  static const std::unordered_set<std::string_view> kNames = [] {
    std::unordered_set<std::string_view> names;
    for (uint16_t t = 1; t < 0x200; ++t) names.insert(FixedTypeName(t));
    return names;
  }();
  return kNames.count(name) != 0;  // "" (no name) counts too: no class, no proxy
}

bool IsControlType(uint16_t t) {
  switch (t) {
    case 0x30: case 0x32: case 0x34: case 0x38: case 0x3C: case 0x3E: case 0x40: case 0x42: case 0x44: case 0x46:
      return true;
    default:
      return false;
  }
}

}  // namespace vantrove::engine::dwg
