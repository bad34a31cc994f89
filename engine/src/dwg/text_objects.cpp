// The typed part of the text entities (TEXT, ATTRIB, ATTDEF, MTEXT) and of
// block references (INSERT, MINSERT).

#include "dwg/object_streams.hpp"

namespace vantrove::engine::dwg {

namespace {

// The text part shared by TEXT, ATTRIB and ATTDEF.
void ReadTextPart(Streams& s, TextData& t) {
  BitReader& d = s.dat;
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
    t.value = s.T();
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
  t.value = s.T();
  if (!(flags & 0x20)) t.generation = d.BS();
  if (!(flags & 0x40)) t.horizontalAlign = d.BS();
  if (!(flags & 0x80)) t.verticalAlign = d.BS();
  t.insertion = {ins.x, ins.y, elevation};
  t.alignment = {al.x, al.y, elevation};
}

// The MTEXT fields, also embedded in multi-line attributes (2018+).
void ReadMTextBody(Streams& s, MTextData& m) {
  BitReader& d = s.dat;
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
  m.text = s.T();
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
      if (colorFlags & 1) s.T();
      if (colorFlags & 2) s.T();
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
}

// The entity properties of an embedded entity (data stream part).
void SkipEntityProperties(Streams& s) {
  BitReader& d = s.dat;
  d.BB();
  d.BL();
  d.B();
  if (s.R2013()) d.B();
  uint16_t color = d.BS();
  if (color & 0x2000) d.BL();
  if ((color & 0x8000) && !(color & 0x4000)) d.BL();
  if ((color & 0x4100) == 0x4100) s.T();
  if ((color & 0x4200) == 0x4200) s.T();
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
}

}  // namespace

bool DecodeText(Streams& s, ObjectRecord& rec) {
  TextData t;
  ReadTextPart(s, t);
  t.style = s.Ref();
  rec.payload = std::move(t);
  return s.Ok();
}

bool DecodeAttribute(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  TextData t;
  ReadTextPart(s, t);
  if (s.R2010()) d.RC();
  if (s.R2018()) {
    t.attribType = d.RC();
    if (t.attribType > 1) {
      // A multi-line attribute embeds an MTEXT: its entity properties,
      // its fields, then annotation data.
      SkipEntityProperties(s);
      MTextData m;
      ReadMTextBody(s, m);
      t.mtextValue = std::move(m.text);
      uint16_t extra = d.BS();
      if (extra > 0) {
        d.Bytes(extra);
        d.BS();
      }
    }
  }
  t.tag = s.T();
  d.BS();  // field length
  t.flags = d.RC();
  if (s.R2007()) t.lockPosition = d.B();
  if (rec.type == kTypeAttdef) {
    if (s.R2010()) d.RC();
    t.prompt = s.T();
  }
  t.style = s.Ref();
  rec.payload = std::move(t);
  return s.Ok();
}

bool DecodeMText(Streams& s, ObjectRecord& rec) {
  MTextData m;
  ReadMTextBody(s, m);
  m.style = s.Ref();
  rec.payload = std::move(m);
  return s.Ok();
}

bool DecodeInsert(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
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
  return s.Ok();
}

}  // namespace vantrove::engine::dwg
