#include "dwg/objects.hpp"

#include <string_view>
#include <unordered_set>

#include "dwg/checksum.hpp"
#include "dwg/color.hpp"
#include "dwg/lwpolyline.hpp"
#include "dwg/proxy_data.hpp"
#include "dwg/sections.hpp"
#include "dwg/xrecord.hpp"

namespace vantrove::engine::dwg {

namespace {

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

// True for the names of the types with a fixed number: a drawing of an
// older version may give one of them (LWPOLYLINE, HATCH, XRECORD in R14) a
// class number, but a DXF reader expects them as what they are, never as
// proxies.
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

// Upper bounds that keep forged counts from allocating without limit; the
// readers also check counts against the bits that remain.
constexpr uint32_t kMaxHandles = 1u << 20;
constexpr size_t kMaxExtendedData = 1u << 20;

}  // namespace

struct ObjectDecoder::Streams {
  BitReader dat;   // data stream
  BitReader hdl;   // handle stream
  BitReader str;   // string stream (2007+), else unused
  bool separateStrings = false;
  bool haveStrings = false;
  uint64_t handle = 0;
  Version v = Version::kR2000;

  bool R13_14() const { return v <= Version::kR14; }
  bool R2000() const { return v >= Version::kR2000; }
  bool R2004() const { return v >= Version::kR2004; }
  bool R2007() const { return v >= Version::kR2007; }
  bool R2010() const { return v >= Version::kR2010; }
  bool R2013() const { return v >= Version::kR2013; }
  bool R2018() const { return v >= Version::kR2018; }

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

bool ObjectDecoder::Decode(size_t offset, ObjectRecord& rec) {
  const ByteView section = c_.objects;
  if (offset >= section.size) return false;
  BitReader head(section.data, section.size);
  head.Seek(offset * 8);
  uint32_t size = head.MS();
  uint64_t handleBits = 0;
  if (c_.version >= Version::kR2010) handleBits = head.UMC();
  if (head.failed()) return false;
  size_t dataStart = head.position() / 8;
  const size_t sizeBits = size_t{size} * 8;
  if (size == 0 || size > section.size - dataStart || handleBits > sizeBits) return false;
  size_t end = dataStart + size;
  size_t rawEnd = end + 2 <= section.size ? end + 2 : end;
  rec.offset = offset;
  rec.raw = std::span<const uint8_t>(section.data + offset, rawEnd - offset);
  if (rawEnd == end + 2) {
    uint16_t stored = static_cast<uint16_t>(section.data[end] | (section.data[end + 1] << 8));
    rec.crcOk = Crc16(0xC0C1, section.data + offset, end - offset) == stored;
  }

  Streams s;
  s.v = c_.version;
  s.dat = BitReader(section.data + dataStart, size);
  BitReader& d = s.dat;
  rec.type = s.R2010() ? d.OT() : d.BS();
  size_t bitSize = 0;
  if (s.R2010()) {
    bitSize = sizeBits - static_cast<size_t>(handleBits);
  } else if (s.R2000()) {
    bitSize = d.RL();
  }
  rec.handle = d.H().value;
  s.handle = rec.handle;

  // Extended data: blocks of (size, application handle, bytes) until a
  // zero size.
  for (;;) {
    size_t start = d.position();
    uint16_t eedSize = d.BS();
    if (eedSize == 0 || d.failed()) break;
    d.H();
    d.Bytes(eedSize);
    if (d.failed()) break;
    size_t bits = d.position() - start;
    if (rec.extendedData.size() + bits / 8 + 1 > kMaxExtendedData) {
      d.Fail();
      break;
    }
    // Keep the block's bits as bytes (it need not be byte aligned).
    BitReader copy = d;
    copy.Seek(start);
    for (size_t i = 0; i + 8 <= bits; i += 8) rec.extendedData.push_back(copy.RC());
  }

  if (rec.type >= 500) {
    size_t idx = rec.type - 500u;
    if (idx < classes_.size()) {
      rec.dxfName = classes_[idx].dxfName;
      rec.isEntity = classes_[idx].isEntity;
    }
  } else {
    rec.dxfName = FixedTypeName(rec.type);
    rec.isEntity = IsFixedEntityType(rec.type);
  }

  bool xdicMissing = false;
  uint32_t reactorCount = 0;
  bool byLayerLineType = false;
  uint8_t lineTypeFlags = 0, plotStyleFlags = 0, materialFlags = 0, shadowFlags = 0;
  bool fullVisual = false, faceVisual = false, edgeVisual = false;
  uint16_t colorRaw = 0;
  ProxySpans spans;
  if (rec.isEntity) {
    if (d.B()) {
      uint64_t previewSize = s.R2010() ? d.BLL() : d.RL();
      if (previewSize > size) {
        d.Fail();
      } else {
        spans.graphicsBit = d.position();
        spans.graphicsBytes = static_cast<size_t>(previewSize);
        d.Seek(d.position() + static_cast<size_t>(previewSize) * 8);
      }
    }
    if (s.R13_14()) bitSize = d.RL();
    rec.entityMode = d.BB();
    reactorCount = d.BL();
    if (s.R13_14()) byLayerLineType = d.B();
    if (s.R2004()) xdicMissing = d.B();
    if (!s.R2004()) rec.noLinks = d.B();
    if (s.R2013()) d.B();
    if (s.R2004()) {
      colorRaw = d.BS();
      rec.color = static_cast<int16_t>(colorRaw & 0x1FF);
      if (colorRaw & 0x2000) d.BL();   // transparency
      if (colorRaw & 0x8000 && !(colorRaw & 0x4000)) d.BL();  // RGB
      // Colour and book names: inline before 2007, first in the string
      // stream after (read below, once that stream is located).
      if (!s.R2007() && (colorRaw & 0x4100) == 0x4100) d.TV();
      if (!s.R2007() && (colorRaw & 0x4200) == 0x4200) d.TV();
    } else {
      rec.color = static_cast<int16_t>(d.BS());
    }
    d.BD();  // line type scale
    if (s.R2000()) {
      lineTypeFlags = d.BB();
      plotStyleFlags = d.BB();
    }
    if (s.R2007()) {
      materialFlags = d.BB();
      shadowFlags = d.RC();
    }
    if (s.R2010()) {
      fullVisual = d.B();
      faceVisual = d.B();
      edgeVisual = d.B();
    }
    rec.invisible = (d.BS() & 1) != 0;
    if (s.R2000()) d.RC();  // line weight
  } else {
    if (s.R13_14()) bitSize = d.RL();
    reactorCount = d.BL();
    if (s.R2004()) xdicMissing = d.B();
    if (s.R2013()) d.B();
  }
  if (d.failed() || bitSize > sizeBits || bitSize < d.position()) return false;
  spans.dataBit = d.position();
  spans.dataEndBit = bitSize;

  // The handle stream starts at bitSize; the data stream ends there.
  s.hdl = BitReader(section.data + dataStart, size);
  s.hdl.Seek(bitSize);
  d.SetLimit(bitSize);
  if (s.R2007()) {
    s.separateStrings = true;
    s.str = BitReader(section.data + dataStart, size);
    s.str.SetLimit(bitSize);
    s.haveStrings = bitSize > 0 && LocateStringStream(s.str, bitSize - 1);
    if (s.haveStrings) {
      d.SetLimit(s.str.position());
      if (rec.isEntity && (colorRaw & 0x4100) == 0x4100) s.str.TU();
      if (rec.isEntity && (colorRaw & 0x4200) == 0x4200) s.str.TU();
    }
  }

  // Common handle references.
  if (reactorCount > kMaxHandles) return false;
  if (rec.isEntity) {
    if (rec.entityMode == 0) rec.owner = s.Ref();
    s.Refs(reactorCount, rec.reactors);
    if (!xdicMissing) rec.xdictionary = s.Ref();
    if (s.R2004() && (colorRaw & 0x4000)) s.Ref();  // colour book entry
    if (s.R13_14()) {
      rec.layer = s.Ref();
      if (!byLayerLineType) s.Ref();
    }
    if (!s.R2004() && !rec.noLinks) {
      rec.prevEntity = s.Ref();
      rec.nextEntity = s.Ref();
    }
    if (s.R2000()) {
      rec.layer = s.Ref();
      if (lineTypeFlags == 3) s.Ref();
    }
    if (s.R2007()) {
      if (materialFlags == 3) s.Ref();
      if (shadowFlags == 3) s.Ref();
    }
    if (s.R2000() && plotStyleFlags == 3) s.Ref();
    if (s.R2010()) {
      if (fullVisual) s.Ref();
      if (faceVisual) s.Ref();
      if (edgeVisual) s.Ref();
    }
  } else {
    rec.owner = s.Ref();
    s.Refs(reactorCount, rec.reactors);
    if (!xdicMissing) rec.xdictionary = s.Ref();
  }
  if (s.hdl.failed()) return false;
  rec.commonOk = true;
  spans.idsBit = s.hdl.position();
  spans.idsEndBit = sizeBits;
  rec.dataOk = DecodeTyped(s, rec);
  // A class the reader has no decoder for keeps its data for a proxy.
  if (rec.type >= 500 && std::holds_alternative<std::monostate>(rec.payload) && !IsFixedTypeName(rec.dxfName)) {
    ProxyData proxy;
    proxy.classId = rec.type;
    if (ReadProxyData(section.data + dataStart, size, spans, rec.handle, proxy)) rec.payload = std::move(proxy);
  }
  return true;
}

namespace {

// Reads text from the string stream (2007+) or the data stream.
std::string ReadText(BitReader& dat, BitReader& str, bool separate, bool have, TextDecoder& text) {
  if (separate) return have ? str.TU() : std::string();
  return text.ToUtf8(dat.TV());
}

// One field of a type decoded from its field list; fields the DWG form
// does not hold, or holds in a way only the type's own code reads, are
// skipped.
void ReadField(ObjectDecoder::Streams& s, const types::Field& field, types::FieldValues& values) {
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
void ReadLineEnds(ObjectDecoder::Streams& s, types::FieldValues& values) {
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

bool ObjectDecoder::DecodeTyped(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  auto T = [&]() { return ReadText(d, s.str, s.separateStrings, s.haveStrings, text_); };
  auto ok = [&]() { return !d.failed() && !s.hdl.failed() && !(s.separateStrings && s.str.failed()); };

  // Table entries start with the name and xref flags; the xref block
  // reference comes first in their handle stream.
  struct TableEntry {
    std::string name;
    bool xrefDependent = false;
  };
  auto readTableEntry = [&]() {
    TableEntry e;
    e.name = T();
    if (!s.R2007()) {
      d.B();
      d.BS();
      e.xrefDependent = d.B();
    } else {
      e.xrefDependent = d.BS() == 256;
    }
    s.Ref();
    return e;
  };

  // The text part shared by TEXT, ATTRIB and ATTDEF.
  auto readTextPart = [&](TextData& t) {
    if (s.R13_14()) {
      double elevation = d.BD();
      Point2 ins = d.RD2();
      Point2 al = d.RD2();
      d.BD3();         // extrusion
      d.BD();          // thickness
      t.oblique = d.BD();
      t.rotation = d.BD();
      t.height = d.BD();
      t.widthFactor = d.BD();
      t.value = T();
      t.generation = d.BS();
      t.horizontalAlign = d.BS();
      t.verticalAlign = d.BS();
      t.insertion = {ins.x, ins.y, elevation};
      t.alignment = {al.x, al.y, elevation};
      return;
    }
    uint8_t flags = d.RC();
    double elevation = (flags & 0x01) ? 0.0 : d.RD();
    Point2 ins = d.RD2();
    Point2 al = ins;
    if (!(flags & 0x02)) {
      al.x = d.DD(ins.x);
      al.y = d.DD(ins.y);
    }
    d.BE(true);
    d.BT(true);
    if (!(flags & 0x04)) t.oblique = d.RD();
    if (!(flags & 0x08)) t.rotation = d.RD();
    t.height = d.RD();
    t.widthFactor = (flags & 0x10) ? 1.0 : d.RD();
    t.value = T();
    if (!(flags & 0x20)) t.generation = d.BS();
    if (!(flags & 0x40)) t.horizontalAlign = d.BS();
    if (!(flags & 0x80)) t.verticalAlign = d.BS();
    t.insertion = {ins.x, ins.y, elevation};
    t.alignment = {al.x, al.y, elevation};
  };

  // The MTEXT fields, also embedded in multi-line attributes (2018+).
  auto readMTextBody = [&](MTextData& m) {
    m.insertion = d.BD3();
    d.BD3();  // extrusion
    m.xAxis = d.BD3();
    m.rectWidth = d.BD();
    if (s.R2007()) d.BD();
    m.textHeight = d.BD();
    m.attachment = d.BS();
    m.drawingDirection = d.BS();
    d.BD();
    d.BD();
    m.text = T();
    if (s.R2000()) {
      d.BS();
      d.BD();
      d.B();
    }
    if (s.R2004()) {
      uint32_t background = d.BL();
      if ((background & 1) || (s.R2018() && (background & 0x10))) {
        d.BD();
        d.BS();  // colour: index, RGB, flags, names
        d.BL();
        uint8_t colorFlags = d.RC();
        if (colorFlags & 1) T();
        if (colorFlags & 2) T();
        d.BL();  // transparency
      }
    }
    if (s.R2018() && d.B()) {
      // Not annotative: the annotation scale data follows.
      d.BS();
      d.B();
      s.Ref();
      d.BL();
      d.BD3();
      d.BD3();
      for (int i = 0; i < 4; ++i) d.BD();
      uint16_t columnType = d.BS();
      if (columnType != 0) {
        uint32_t count = d.BL();
        d.BD();
        d.BD();
        bool autoHeight = d.B();
        d.B();
        if (!autoHeight && columnType == 2) {
          if (!d.CanRead(count, 2)) return;
          for (uint32_t i = 0; i < count; ++i) d.BD();
        }
      }
    }
  };
  // The entity properties of an embedded entity (data stream part).
  auto skipEntityProperties = [&]() {
    d.BB();
    d.BL();
    d.B();
    if (s.R2013()) d.B();
    uint16_t color = d.BS();
    if (color & 0x2000) d.BL();
    if ((color & 0x8000) && !(color & 0x4000)) d.BL();
    if ((color & 0x4100) == 0x4100) T();
    if ((color & 0x4200) == 0x4200) T();
    d.BD();
    d.BB();
    d.BB();
    d.BB();
    d.RC();
    d.B();
    d.B();
    d.B();
    d.BS();
    d.RC();
  };

  if (const types::TypeDesc* desc = types::FindDwgType(rec.type); desc != nullptr && rec.isEntity) {
    if (desc->generic_dwg || rec.type == kTypeLine) {
      FieldData f;
      if (rec.type == kTypeLine) ReadLineEnds(s, f.values);
      for (const types::Part& part : desc->parts) {
        for (const types::Field& field : part.fields) ReadField(s, field, f.values);
      }
      rec.payload = std::move(f);
      return ok();
    }
  }

  const std::string& name = rec.dxfName;
  switch (rec.type) {
    case kTypeText: {
      TextData t;
      readTextPart(t);
      t.style = s.Ref();
      rec.payload = std::move(t);
      return ok();
    }
    case kTypeAttrib:
    case kTypeAttdef: {
      TextData t;
      readTextPart(t);
      if (s.R2010()) d.RC();
      if (s.R2018()) {
        t.attribType = d.RC();
        if (t.attribType > 1) {
          // A multi-line attribute embeds an MTEXT: its entity properties,
          // its fields, then annotation data.
          skipEntityProperties();
          MTextData m;
          readMTextBody(m);
          t.mtextValue = std::move(m.text);
          uint16_t extra = d.BS();
          if (extra > 0) {
            d.Bytes(extra);
            d.BS();
          }
        }
      }
      t.tag = T();
      d.BS();  // field length
      t.flags = d.RC();
      if (s.R2007()) t.lockPosition = d.B();
      if (rec.type == kTypeAttdef) {
        if (s.R2010()) d.RC();
        t.prompt = T();
      }
      t.style = s.Ref();
      rec.payload = std::move(t);
      return ok();
    }
    case kTypeBlock: {
      BlockData b;
      b.name = T();
      rec.payload = std::move(b);
      return ok();
    }
    case kTypeInsert:
    case kTypeMinsert: {
      InsertData in;
      in.insertion = d.BD3();
      if (s.R13_14()) {
        in.scale = d.BD3();
      } else {
        switch (d.BB()) {
          case 3: in.scale = {1, 1, 1}; break;
          case 1:
            in.scale.x = 1.0;
            in.scale.y = d.DD(1.0);
            in.scale.z = d.DD(1.0);
            break;
          case 2:
            in.scale.x = d.RD();
            in.scale.y = in.scale.z = in.scale.x;
            break;
          default:
            in.scale.x = d.RD();
            in.scale.y = d.DD(in.scale.x);
            in.scale.z = d.DD(in.scale.x);
            break;
        }
      }
      in.rotation = d.BD();
      in.extrusion = d.BD3();
      in.hasAttribs = d.B();
      uint32_t owned = 0;
      if (s.R2004() && in.hasAttribs) owned = d.BL();
      if (rec.type == kTypeMinsert) {
        in.columns = d.BS();
        in.rows = d.BS();
        in.columnSpacing = d.BD();
        in.rowSpacing = d.BD();
      }
      in.blockHeader = s.Ref();
      if (!s.R2004() && in.hasAttribs) {
        in.firstAttrib = s.Ref();
        in.lastAttrib = s.Ref();
      }
      if (s.R2004() && in.hasAttribs) s.Refs(owned, in.attribs);
      if (in.hasAttribs) in.seqend = s.Ref();
      rec.payload = std::move(in);
      return ok();
    }
    case kTypeMText: {
      MTextData m;
      readMTextBody(m);
      m.style = s.Ref();
      rec.payload = std::move(m);
      return ok();
    }
    case kTypeDictionary: {
      DictionaryData dict;
      uint32_t count = d.BL();
      if (s.v == Version::kR14) dict.hardOwner = d.RC();
      if (s.R2000()) {
        dict.cloning = d.BS();
        dict.hardOwner = d.RC();
      }
      if (count > kMaxHandles || !s.hdl.CanRead(count, 8)) return false;
      std::vector<std::string> names;
      for (uint32_t i = 0; i < count && ok(); ++i) names.push_back(T());
      std::vector<uint64_t> items;
      s.Refs(count, items);
      for (size_t i = 0; i < names.size() && i < items.size(); ++i) dict.entries.emplace_back(names[i], items[i]);
      rec.payload = std::move(dict);
      return ok();
    }
    case kTypeBlockHeader: {
      BlockHeaderData b;
      TableEntry e = readTableEntry();
      b.name = e.name;
      b.xrefDependent = e.xrefDependent;
      b.anonymous = d.B();
      b.hasAttribs = d.B();
      b.isXref = d.B();
      b.isOverlay = d.B();
      if (s.R2000()) b.loaded = d.B();
      // External references own no entities and store no count for them.
      uint32_t owned = 0;
      if (s.R2004() && !b.isXref && !b.isOverlay) owned = d.BL();
      b.basePoint = d.BD3();
      b.xrefPath = T();
      uint32_t inserts = 0;
      if (s.R2000()) {
        // A run of non-zero bytes, one per insert, ended by a zero byte.
        while (ok() && d.RC() != 0) ++inserts;
        b.description = T();
        uint32_t preview = d.BL();
        if (!d.CanRead(preview, 8)) return false;
        d.Seek(d.position() + static_cast<size_t>(preview) * 8);
      }
      if (s.R2007()) {
        d.BS();
        d.B();
        d.RC();
      }
      b.blockEntity = s.Ref();
      if (!s.R2004() && !b.isXref && !b.isOverlay) {
        b.firstEntity = s.Ref();
        b.lastEntity = s.Ref();
      }
      if (s.R2004()) s.Refs(owned, b.entities);
      b.endblkEntity = s.Ref();
      if (s.R2000()) {
        std::vector<uint64_t> ignored;
        s.Refs(inserts, ignored);
        b.layout = s.Ref();
      }
      rec.payload = std::move(b);
      return ok();
    }
    case kTypeLayer: {
      LayerData l;
      TableEntry e = readTableEntry();
      l.name = e.name;
      l.xrefDependent = e.xrefDependent;
      if (s.R13_14()) {
        l.frozen = d.B();
        d.B();
        l.frozenInNew = d.B();
        l.locked = d.B();
      } else {
        uint16_t flags = d.BS();
        l.frozen = flags & 1;
        l.on = !(flags & 2);
        l.frozenInNew = flags & 4;
        l.locked = flags & 8;
        l.plot = flags & 16;
        l.lineWeight = static_cast<int16_t>((flags & 0x3E0) >> 5);
      }
      int16_t index = static_cast<int16_t>(d.BS());
      if (s.R2004()) {
        uint32_t rgb = d.BL();
        uint8_t colorFlags = d.RC();
        if (colorFlags & 1) T();
        if (colorFlags & 2) T();
        uint8_t method = static_cast<uint8_t>(rgb >> 24);
        if (method == 0xC3) {
          index = static_cast<int16_t>(rgb & 0xFF);
        } else if (method == 0xC2) {
          l.trueColor = rgb;
          index = static_cast<int16_t>(NearestColorIndex(rgb & 0xFFFFFF));
        }
      }
      if (index < 0) {
        l.on = false;
        index = static_cast<int16_t>(-index);
      }
      l.color = index;
      if (s.R2000()) s.Ref();  // plot style
      if (s.R2007()) s.Ref();  // material
      l.lineType = s.Ref();
      rec.payload = std::move(l);
      return ok();
    }
    case kTypeBlockControl:
    case kTypeLayerControl: {
      ControlData cd;
      uint32_t count = d.BL();
      s.Refs(count, cd.entries);
      if (rec.type == kTypeBlockControl) {
        cd.modelSpace = s.Ref();
        cd.paperSpace = s.Ref();
      }
      rec.payload = std::move(cd);
      return ok();
    }
    default:
      break;
  }

  if (rec.type == kTypeLayout || name == "LAYOUT") {
    LayoutData l;
    l.pageSetupName = T();
    l.plotConfig = T();
    d.BS();
    for (int i = 0; i < 6; ++i) d.BD();
    l.paperSize = T();
    d.BD2();
    d.BS();
    d.BS();
    d.BS();
    d.BD2();
    d.BD2();
    if (!s.R2004()) T();  // plot view name
    d.BD();
    d.BD();
    T();  // style sheet
    d.BS();
    d.BD();
    d.BD2();
    if (s.R2004()) {
      d.BS();
      d.BS();
      d.BS();
    }
    l.name = T();
    l.tabOrder = d.BS();
    l.flags = d.BS();
    if (s.R2004()) s.Ref();  // plot view
    if (s.R2007()) s.Ref();  // visual style
    l.blockRecord = s.Ref();
    rec.payload = std::move(l);
    return ok();
  }
  if (name == "IMAGEDEF") {
    ImageDefData def;
    d.BL();
    def.size = d.RD2();
    def.filePath = T();
    def.loaded = d.B();
    def.resolutionUnits = d.RC();
    def.pixelSize = d.RD2();
    rec.payload = std::move(def);
    return ok();
  }
  if (name == "IMAGE") {
    ImageData img;
    d.BL();
    img.origin = d.BD3();
    img.uVector = d.BD3();
    img.vVector = d.BD3();
    img.size = d.RD2();
    img.displayProperties = d.BS();
    img.clipping = d.B();
    img.brightness = d.RC();
    img.contrast = d.RC();
    img.fade = d.RC();
    img.imageDef = s.Ref();
    img.imageDefReactor = s.Ref();
    rec.payload = std::move(img);
    return ok();
  }
  if (rec.isEntity && (rec.type == kTypeLwPolyline || name == "LWPOLYLINE")) {
    FieldData f;
    if (!ReadLwPolyline(d, s.R2000(), s.R2010(), f.values)) return false;
    rec.payload = std::move(f);
    return ok();
  }
  if (rec.type == kTypeXrecord || name == "XRECORD") {
    const uint32_t count = d.BL();
    if (count > d.remaining() / 8) return false;
    XrecordData x;
    x.data = d.Bytes(count);
    x.utf16 = s.R2007();
    if (!XrecordItemsFit(x.data, x.utf16)) return false;
    x.hasCloning = s.R2000();
    if (x.hasCloning) x.cloning = d.BS();
    rec.payload = std::move(x);
    return ok();
  }
  if (name == "ACDBDICTIONARYWDFLT") {
    DictionaryData dict;
    uint32_t count = d.BL();
    if (s.v == Version::kR14) dict.hardOwner = d.RC();
    if (s.R2000()) {
      dict.cloning = d.BS();
      dict.hardOwner = d.RC();
    }
    if (count > kMaxHandles || !s.hdl.CanRead(count, 8)) return false;
    std::vector<std::string> names;
    for (uint32_t i = 0; i < count && ok(); ++i) names.push_back(T());
    std::vector<uint64_t> items;
    s.Refs(count, items);
    for (size_t i = 0; i < names.size() && i < items.size(); ++i) dict.entries.emplace_back(names[i], items[i]);
    dict.defaultEntry = s.Ref();
    rec.payload = std::move(dict);
    return ok();
  }
  switch (rec.type) {
    case 0x35: case 0x39: case 0x3D: case 0x3F: case 0x41: case 0x43: case 0x45: case 0x47: {
      TableEntry e = readTableEntry();
      rec.payload = TableEntryData{e.name, e.xrefDependent};
      return ok();
    }
    default:
      break;
  }
  if (IsControlType(rec.type)) {
    ControlData cd;
    uint32_t count = d.BL();
    s.Refs(count, cd.entries);
    rec.payload = std::move(cd);
    return ok();
  }
  return true;  // nothing typed to decode for this type
}

}  // namespace vantrove::engine::dwg
