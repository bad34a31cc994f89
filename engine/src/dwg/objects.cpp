// Decodes single DWG objects: the common part every object has (type,
// handle, extended data, owner, reactors, entity properties), then hands
// the typed part to the decoder of its type's family.

#include "dwg/objects.hpp"

#include "dwg/checksum.hpp"
#include "dwg/object_names.hpp"
#include "dwg/object_streams.hpp"
#include "dwg/proxy_data.hpp"
#include "dwg/sections.hpp"

namespace vantrove::engine::dwg {

namespace {

// Upper bound that keeps a forged extended data block from allocating
// without limit.
constexpr size_t kMaxExtendedData = 1u << 20;

}  // namespace

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
  s.text = &text_;
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

bool ObjectDecoder::DecodeTyped(Streams& s, ObjectRecord& rec) {
  if (const types::TypeDesc* desc = types::FindDwgType(rec.type); desc != nullptr && rec.isEntity) {
    if (desc->generic_dwg || rec.type == kTypeLine) return DecodeFields(s, rec, *desc);
    if (rec.type >= 0x0A && rec.type <= 0x22) return DecodeGraphic(s, rec);
    if ((rec.type >= 0x24 && rec.type <= 0x27) || (rec.type >= 0x2D && rec.type <= 0x2F)) return DecodeCurve(s, rec);
  }
  switch (rec.type) {
    case kTypeText: return DecodeText(s, rec);
    case kTypeAttrib:
    case kTypeAttdef: return DecodeAttribute(s, rec);
    case kTypeBlock: {
      rec.payload = BlockData{s.T()};
      return s.Ok();
    }
    case kTypeInsert:
    case kTypeMinsert: return DecodeInsert(s, rec);
    case kTypeMText: return DecodeMText(s, rec);
    case kTypeDictionary: return DecodeDictionary(s, rec, false);
    case kTypeBlockHeader: return DecodeBlockHeader(s, rec);
    case kTypeLayer: return DecodeLayer(s, rec);
    case kTypeBlockControl:
    case kTypeLayerControl: return DecodeControl(s, rec);
    case kTypeGroup: return DecodeGroup(s, rec);
    case kTypeMlineStyle: return DecodeMlineStyle(s, rec);
    default: break;
  }
  const std::string& name = rec.dxfName;
  if (rec.type == kTypeLayout || name == "LAYOUT") return DecodeLayout(s, rec);
  if (name == "IMAGEDEF") return DecodeImageDef(s, rec);
  if (name == "IMAGE") return DecodeImage(s, rec);
  if (rec.isEntity && (rec.type == kTypeLwPolyline || name == "LWPOLYLINE")) return DecodeLwPolyline(s, rec);
  if (rec.isEntity && (rec.type == kTypeHatch || name == "HATCH")) return DecodeHatch(s, rec);
  if (rec.type == kTypeXrecord || name == "XRECORD") return DecodeXrecord(s, rec);
  if (name == "ACDBDICTIONARYWDFLT") return DecodeDictionary(s, rec, true);
  switch (rec.type) {
    case 0x35: case 0x39: case 0x3D: case 0x3F: case 0x41: case 0x43: case 0x45: case 0x47:
      return DecodeTableEntry(s, rec);
    default:
      break;
  }
  if (IsControlType(rec.type)) return DecodeControl(s, rec);
  return true;  // nothing typed to decode for this type
}

}  // namespace vantrove::engine::dwg
