#include "dwg/object_patch.hpp"

#include <algorithm>

#include "dwg/checksum.hpp"
#include "dwg/sections.hpp"

namespace vantrove::engine::dwg {

namespace {
constexpr uint32_t kMaxReactors = 1u << 20;
}  // namespace

bool ObjectPatch::Parse(std::string_view stored, Version version, bool entity) {
  *this = ObjectPatch();
  stored_ = stored;
  version_ = version;
  entity_ = entity;
  const auto* bytes = reinterpret_cast<const uint8_t*>(stored.data());
  BitReader head(bytes, stored.size());
  const uint32_t size = head.MS();
  // 2010 on: the handle stream's size in bits follows the object's size.
  const uint64_t handleBits = version >= Version::kR2010 ? head.UMC() : 0;
  dataStart_ = head.position() / 8;
  if (head.failed() || size == 0 || size > stored.size() - dataStart_) return false;
  dataBits_ = size_t{size} * 8;
  if (handleBits > dataBits_) return false;
  const bool r2000 = version >= Version::kR2000;
  // 2004 drops the entity links and adds the missing-dictionary bit and the
  // colour with its flags; 2007 moves the strings to a stream at the end
  // of the data; 2010 replaces the data size by the handle stream's.
  const bool r2004 = version >= Version::kR2004;
  const bool r2007 = version >= Version::kR2007;
  const bool r2010 = version >= Version::kR2010;

  BitReader d(data(), size);
  type_ = r2010 ? d.OT() : d.BS();
  size_t bitSize = dataBits_ - static_cast<size_t>(handleBits);
  if (r2000 && !r2010) {
    bitSizeAt_ = d.position();
    bitSize = d.RL();
  }
  handle_ = d.H().value;
  for (;;) {  // extended data
    const uint16_t eed = d.BS();
    if (eed == 0 || d.failed()) break;
    d.H();
    d.Seek(d.position() + size_t{eed} * 8);
  }
  uint32_t reactors = 0;
  bool byLayerLineType = true, xdicMissing = false;
  uint16_t color = 0;
  uint8_t lineTypeFlags = 0, plotStyleFlags = 0, materialFlags = 0, shadowFlags = 0;
  bool visual[3] = {false, false, false};
  uint8_t mode = 0;
  if (entity_) {
    if (d.B()) {  // a preview
      const uint64_t previewBytes = r2010 ? d.BLL() : d.RL();
      if (previewBytes > dataBits_ / 8) return false;
      d.Seek(d.position() + static_cast<size_t>(previewBytes) * 8);
    }
    if (!r2000) {
      bitSizeAt_ = d.position();
      bitSize = d.RL();
    }
    mode = d.BB();
    reactorsAt_ = d.position();
    reactors = d.BL();
    reactorsEnd_ = d.position();
    if (!r2000) byLayerLineType = d.B();
    if (r2004) {
      xdicMissing = d.B();
      noLinks_ = true;  // no links are stored, and none can be
    } else {
      noLinksAt_ = d.position();
      noLinks_ = d.B();
    }
    if (version >= Version::kR2013) d.B();  // binary data store
    color = d.BS();
    if (r2004) {
      if (color & 0x2000) d.BL();                          // transparency
      if ((color & 0x8000) && !(color & 0x4000)) d.BL();   // RGB
      if (!r2007 && (color & 0x4100) == 0x4100) d.TV();    // colour name
      if (!r2007 && (color & 0x4200) == 0x4200) d.TV();    // book name
    }
    d.BD();  // line type scale
    if (r2000) {
      lineTypeFlags = d.BB();
      plotStyleFlags = d.BB();
    }
    if (r2007) {
      materialFlags = d.BB();
      shadowFlags = d.RC();
    }
    if (r2010) {
      for (bool& v : visual) v = d.B();
    }
    d.BS();  // invisibility
    if (r2000) d.RC();  // line weight
  } else {
    if (!r2000) {
      bitSizeAt_ = d.position();
      bitSize = d.RL();
    }
    reactorsAt_ = d.position();
    reactors = d.BL();
    reactorsEnd_ = d.position();
    if (r2004) xdicMissing = d.B();
    if (version >= Version::kR2013) d.B();  // binary data store
  }
  commonEnd_ = d.position();
  if (d.failed() || bitSize < commonEnd_ || bitSize > dataBits_ || reactors > kMaxReactors) return false;
  handleStart_ = bitSize;
  dataEnd_ = bitSize;
  if (r2007 && !FindStrings(entity_ ? color : 0)) return false;

  BitReader h(data(), size);
  h.Seek(handleStart_);
  auto ref = [&](Ref::Kind kind) { refs_.push_back({kind, h.H()}); };
  if (!entity_ || mode == 0) ref(Ref::kOwner);
  if (!h.CanRead(reactors, 8)) return false;
  for (uint32_t i = 0; i < reactors; ++i) ref(Ref::kReactor);
  if (!xdicMissing) ref(Ref::kXdic);
  if (entity_) {
    if (r2004 && (color & 0x4000)) ref(Ref::kOther);  // colour book entry
    if (!r2000) {
      ref(Ref::kLayer);
      if (!byLayerLineType) ref(Ref::kLineType);
    }
    if (!r2004 && !noLinks_) {
      ref(Ref::kPrev);
      ref(Ref::kNext);
    }
    if (r2000) {
      ref(Ref::kLayer);
      if (lineTypeFlags == 3) ref(Ref::kLineType);
    }
    if (materialFlags == 3) ref(Ref::kOther);
    if (shadowFlags == 3) ref(Ref::kOther);
    if (plotStyleFlags == 3) ref(Ref::kPlotStyle);
    for (bool v : visual) {
      if (v) ref(Ref::kOther);
    }
  }
  if (h.failed()) return false;
  handleCommonEnd_ = h.position();
  prev_ = handle_ - 1;
  next_ = handle_ + 1;
  for (const Ref& r : refs_) {
    if (r.kind == Ref::kReactor) reactors_.push_back(r.ref.Resolve(handle_));
    if (r.kind == Ref::kPrev) prev_ = r.ref.Resolve(handle_);
    if (r.kind == Ref::kNext) next_ = r.ref.Resolve(handle_);
  }
  return true;
}

// 2007 on: the strings sit at the end of the data stream, their size and a
// flag after them; the entity's colour and book names come first.
bool ObjectPatch::FindStrings(uint16_t color) {
  BitReader str(data(), dataBits_ / 8);
  str.SetLimit(dataEnd_);
  if (dataEnd_ == 0 || !LocateStringStream(str, dataEnd_ - 1)) return !str.failed();
  strings_ = true;
  stringsAt_ = str.position();
  stringsEnd_ = str.limit();
  if (stringsAt_ < commonEnd_) return false;
  if ((color & 0x4100) == 0x4100) str.TU();
  if ((color & 0x4200) == 0x4200) str.TU();
  stringsCommonEnd_ = str.position();
  dataEnd_ = stringsAt_;
  return !str.failed();
}

BitReader ObjectPatch::TypedData() const {
  BitReader r(data(), dataBits_ / 8);
  r.SetLimit(dataEnd_);
  r.Seek(commonEnd_);
  return r;
}

BitReader ObjectPatch::TypedStrings() const {
  BitReader r(data(), dataBits_ / 8);
  r.SetLimit(strings_ ? stringsEnd_ : 0);
  r.Seek(strings_ ? stringsCommonEnd_ : 0);
  return r;
}

bool ObjectPatch::ReplaceString(size_t index, const BitWriter& bits) {
  BitReader r = TypedStrings();
  for (size_t i = 0; i < index; ++i) r.TU();
  const size_t from = r.position();
  r.TU();
  if (!strings_ || r.failed()) return false;
  ReplaceData(from, r.position(), bits);
  return true;
}

BitReader ObjectPatch::TypedHandles() const {
  BitReader r(data(), dataBits_ / 8);
  r.Seek(handleCommonEnd_);
  return r;
}

void ObjectPatch::SetLinks(uint64_t prev, uint64_t next) {
  if (!entity_ || version_ >= Version::kR2004 || (prev == prev_ && next == next_)) return;
  prev_ = prev;
  next_ = next;
  linksChanged_ = true;
  if (noLinks_) {
    // Stored links are needed from now on.
    BitWriter bit;
    bit.B(false);
    ReplaceData(noLinksAt_, noLinksAt_ + 1, bit);
  }
}

void ObjectPatch::SetReactors(std::vector<uint64_t> reactors) {
  if (reactors == reactors_) return;
  reactors_ = std::move(reactors);
  reactorsChanged_ = true;
  BitWriter count;
  count.BL(static_cast<uint32_t>(reactors_.size()));
  ReplaceData(reactorsAt_, reactorsEnd_, count);
}

void ObjectPatch::ReplaceData(size_t from, size_t to, const BitWriter& bits) {
  // A later replacement of the same range wins.
  for (Splice& s : splices_) {
    if (s.from == from && s.to == to) {
      s.bits = bits;
      return;
    }
  }
  splices_.push_back({from, to, bits});
  std::sort(splices_.begin(), splices_.end(), [](const Splice& a, const Splice& b) { return a.from < b.from; });
}

void ObjectPatch::ReplaceTypedHandles(const BitWriter& bits) {
  typedHandles_ = bits;
  handlesReplaced_ = true;
}

// Copies the stored data bits [from, to) with the replacements inside it.
void ObjectPatch::CopySpliced(BitWriter& w, size_t from, size_t to) const {
  size_t at = from;
  for (const Splice& s : splices_) {
    if (s.from < at || s.to > to) continue;  // outside, or overlapping an earlier one
    w.AppendBits(data(), at, s.from - at);
    w.Append(s.bits);
    at = s.to;
  }
  w.AppendBits(data(), at, to - at);
}

void ObjectPatch::WriteHandles(BitWriter& w) const {
  auto emit = [&](Ref::Kind kind) {
    for (const Ref& r : refs_) {
      if (r.kind == kind) w.H(r.ref);
    }
  };
  emit(Ref::kOwner);
  for (uint64_t reactor : reactors_) w.H(4, reactor);
  if (version_ >= Version::kR2004) {
    // No links: the other references in their stored order.
    for (const Ref& r : refs_) {
      if (r.kind != Ref::kOwner && r.kind != Ref::kReactor) w.H(r.ref);
    }
    return;
  }
  const bool r2000 = version_ >= Version::kR2000;
  emit(Ref::kXdic);
  if (!entity_) return;
  if (!r2000) {
    emit(Ref::kLayer);
    emit(Ref::kLineType);
  }
  if (!noLinks_ || linksChanged_) {
    w.H(4, prev_);
    w.H(4, next_);
  }
  if (r2000) {
    emit(Ref::kLayer);
    emit(Ref::kLineType);
    emit(Ref::kPlotStyle);
  }
}

std::vector<uint8_t> ObjectPatch::Rebuild() const {
  BitWriter w;
  if (strings_) {
    // The strings move with the data before them and are measured anew.
    CopySpliced(w, 0, stringsAt_);
    const size_t stringsFrom = w.position();
    CopySpliced(w, stringsAt_, stringsEnd_);
    const size_t bits = w.position() - stringsFrom;
    if (bits >= 0x8000) {
      w.RS(static_cast<uint16_t>(bits >> 15));
      w.RS(static_cast<uint16_t>((bits & 0x7FFF) | 0x8000));
    } else {
      w.RS(static_cast<uint16_t>(bits));
    }
    w.B(true);
  } else {
    CopySpliced(w, 0, handleStart_);
  }
  const size_t bitSize = w.position();
  if (version_ < Version::kR2010) w.PatchRL(bitSizeAt_, static_cast<uint32_t>(bitSize));

  if (!linksChanged_ && !reactorsChanged_) {
    w.AppendBits(data(), handleStart_, handleCommonEnd_ - handleStart_);
  } else {
    WriteHandles(w);
  }
  if (handlesReplaced_) {
    w.Append(typedHandles_);
  } else {
    w.AppendBits(data(), handleCommonEnd_, dataBits_ - handleCommonEnd_);
  }
  w.AlignByte();

  BitWriter out;
  out.MS(static_cast<uint32_t>(w.bytes().size()));
  if (version_ >= Version::kR2010) out.UMC(w.bytes().size() * 8 - bitSize);
  out.Append(w);
  std::vector<uint8_t> bytes = out.Take();
  const uint16_t crc = Crc16(0xC0C1, bytes.data(), bytes.size());
  bytes.push_back(static_cast<uint8_t>(crc & 0xFF));
  bytes.push_back(static_cast<uint8_t>(crc >> 8));
  return bytes;
}

}  // namespace vantrove::engine::dwg
