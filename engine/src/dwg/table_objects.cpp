// The typed part of table entries (block records, layers, the others by
// name) and of the table control objects.

#include "dwg/color.hpp"
#include "dwg/object_streams.hpp"

namespace vantrove::engine::dwg {

namespace {

// Table entries start with the name and xref flags; the xref block
// reference comes first in their handle stream.
struct TableEntry {
  std::string name;
  bool xrefDependent = false;
};

TableEntry ReadTableEntry(Streams& s) {
  BitReader& d = s.dat;
  TableEntry e;
  e.name = s.T();
  if (!s.R2007()) {
    d.B();
    d.BS();
    e.xrefDependent = d.B();
  } else {
    e.xrefDependent = d.BS() == 256;
  }
  s.Ref();
  return e;
}

}  // namespace

bool DecodeBlockHeader(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  BlockHeaderData b;
  TableEntry e = ReadTableEntry(s);
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
  b.xrefPath = s.T();
  uint32_t inserts = 0;
  if (s.R2000()) {
    // A run of non-zero bytes, one per insert, ended by a zero byte.
    while (s.Ok() && d.RC() != 0) ++inserts;
    b.description = s.T();
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
  return s.Ok();
}

bool DecodeLayer(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  LayerData l;
  TableEntry e = ReadTableEntry(s);
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
    if (colorFlags & 1) s.T();
    if (colorFlags & 2) s.T();
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
  return s.Ok();
}

bool DecodeTableEntry(Streams& s, ObjectRecord& rec) {
  TableEntry e = ReadTableEntry(s);
  rec.payload = TableEntryData{e.name, e.xrefDependent};
  return s.Ok();
}

bool DecodeControl(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  ControlData cd;
  uint32_t count = d.BL();
  s.Refs(count, cd.entries);
  if (rec.type == kTypeBlockControl) {
    cd.modelSpace = s.Ref();
    cd.paperSpace = s.Ref();
  }
  rec.payload = std::move(cd);
  return s.Ok();
}

}  // namespace vantrove::engine::dwg
