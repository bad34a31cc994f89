#include "dwg/object_patch.hpp"

#include <algorithm>

#include "dwg/checksum.hpp"

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
  dataStart_ = head.position() / 8;
  if (head.failed() || size == 0 || size > stored.size() - dataStart_) return false;
  dataBits_ = size_t{size} * 8;
  const bool r2000 = version >= Version::kR2000;
  // 2004 drops the entity links and adds the missing-dictionary bit and the
  // colour with its flags; later versions move strings and handles into
  // streams of their own, which this does not take apart.
  const bool r2004 = version == Version::kR2004;
  if (version > Version::kR2004) return false;

  BitReader d(data(), size);
  type_ = d.BS();
  uint32_t bitSize = 0;
  if (r2000) {
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
  uint8_t lineTypeFlags = 0, plotStyleFlags = 0;
  uint8_t mode = 0;
  if (entity_) {
    if (d.B()) {  // a preview
      const size_t previewBytes = d.RL();
      d.Seek(d.position() + previewBytes * 8);
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
      color = d.BS();
      if (color & 0x2000) d.BL();                          // transparency
      if ((color & 0x8000) && !(color & 0x4000)) d.BL();   // RGB
      if ((color & 0x4100) == 0x4100) d.TV();              // colour name
      if ((color & 0x4200) == 0x4200) d.TV();              // book name
    } else {
      noLinksAt_ = d.position();
      noLinks_ = d.B();
      d.BS();  // colour
    }
    d.BD();  // line type scale
    if (r2000) {
      lineTypeFlags = d.BB();
      plotStyleFlags = d.BB();
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
  }
  commonEnd_ = d.position();
  if (d.failed() || bitSize < commonEnd_ || bitSize > dataBits_ || reactors > kMaxReactors) return false;
  handleStart_ = bitSize;

  BitReader h(data(), size);
  h.Seek(handleStart_);
  auto ref = [&](Ref::Kind kind) { refs_.push_back({kind, h.H()}); };
  if (!entity_ || mode == 0) ref(Ref::kOwner);
  if (!h.CanRead(reactors, 8)) return false;
  for (uint32_t i = 0; i < reactors; ++i) ref(Ref::kReactor);
  if (!xdicMissing) ref(Ref::kXdic);
  if (entity_ && (color & 0x4000)) ref(Ref::kColorBook);
  if (entity_) {
    if (!r2000) {
      ref(Ref::kLayer);
      if (!byLayerLineType) ref(Ref::kLineType);
    }
    if (!noLinks_) {
      ref(Ref::kPrev);
      ref(Ref::kNext);
    }
    if (r2000) {
      ref(Ref::kLayer);
      if (lineTypeFlags == 3) ref(Ref::kLineType);
      if (plotStyleFlags == 3) ref(Ref::kPlotStyle);
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

BitReader ObjectPatch::TypedData() const {
  BitReader r(data(), dataBits_ / 8);
  r.SetLimit(handleStart_);
  r.Seek(commonEnd_);
  return r;
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

std::vector<uint8_t> ObjectPatch::Rebuild() const {
  BitWriter w;
  size_t at = 0;
  for (const Splice& s : splices_) {
    if (s.from < at) continue;  // overlaps an earlier one: not accepted
    w.AppendBits(data(), at, s.from - at);
    w.Append(s.bits);
    at = s.to;
  }
  w.AppendBits(data(), at, handleStart_ - at);
  const size_t bitSize = w.position();
  w.PatchRL(bitSizeAt_, static_cast<uint32_t>(bitSize));

  if (!linksChanged_ && !reactorsChanged_) {
    w.AppendBits(data(), handleStart_, handleCommonEnd_ - handleStart_);
  } else {
    auto emit = [&](Ref::Kind kind) {
      for (const Ref& r : refs_) {
        if (r.kind == kind) w.H(r.ref);
      }
    };
    const bool r2000 = version_ >= Version::kR2000;
    emit(Ref::kOwner);
    for (uint64_t reactor : reactors_) w.H(4, reactor);
    emit(Ref::kXdic);
    emit(Ref::kColorBook);
    if (entity_) {
      if (!r2000) {
        emit(Ref::kLayer);
        emit(Ref::kLineType);
      }
      const bool stored = version_ < Version::kR2004 && (!noLinks_ || linksChanged_);
      if (stored) {
        w.H(4, prev_);
        w.H(4, next_);
      }
      if (r2000) {
        emit(Ref::kLayer);
        emit(Ref::kLineType);
        emit(Ref::kPlotStyle);
      }
    }
  }
  if (handlesReplaced_) {
    w.Append(typedHandles_);
  } else {
    w.AppendBits(data(), handleCommonEnd_, dataBits_ - handleCommonEnd_);
  }
  w.AlignByte();

  BitWriter out;
  out.MS(static_cast<uint32_t>(w.bytes().size()));
  out.Append(w);
  std::vector<uint8_t> bytes = out.Take();
  const uint16_t crc = Crc16(0xC0C1, bytes.data(), bytes.size());
  bytes.push_back(static_cast<uint8_t>(crc & 0xFF));
  bytes.push_back(static_cast<uint8_t>(crc >> 8));
  return bytes;
}

}  // namespace vantrove::engine::dwg
