#pragma once
// One stored object (R13 to 2018) taken apart for a change and put back together: its
// common part is parsed (type, handle, extended data, entity flags, the
// owner, reactors, extension dictionary, layer, line type and entity links
// in the handle stream); what follows stays as bits that the rebuild copies,
// except the ranges a caller replaces. Rebuild() computes the data stream's
// bit size, the size prefix and the check value anew.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "dwg/bit_reader.hpp"
#include "dwg/bit_writer.hpp"
#include "dwg/container.hpp"

namespace vantrove::engine::dwg {

class ObjectPatch {
 public:
  // Parses `stored`, the object's bytes from its size prefix to its check
  // value. False when the common part cannot be read.
  // `entity` tells entities from objects (types from the class list are
  // either).
  bool Parse(std::string_view stored, Version version, bool entity);

  uint16_t type() const { return type_; }
  uint64_t handle() const { return handle_; }
  bool isEntity() const { return entity_; }

  // A reader of the data stream positioned after the common part (where the
  // type's own fields begin) and limited to the data stream.
  BitReader TypedData() const;
  // A reader of the handle stream after the common references.
  BitReader TypedHandles() const;
  // 2007 on: a reader of the string stream after the common strings (it
  // fails at once when the object has none).
  BitReader TypedStrings() const;
  // 2007 on: replaces the string at `index` of TypedStrings() with `bits`;
  // false when there is no such string.
  bool ReplaceString(size_t index, const BitWriter& bits);
  Version version() const { return version_; }

  // The entity links of R13-2000 (absolute handles). Entities stored without
  // links have the neighbours one handle below and above.
  uint64_t prev() const { return prev_; }
  uint64_t next() const { return next_; }
  void SetLinks(uint64_t prev, uint64_t next);
  const std::vector<uint64_t>& reactors() const { return reactors_; }
  void SetReactors(std::vector<uint64_t> reactors);

  // Replaces the data stream bits [from, to) (positions as TypedData()
  // reports them) with `bits`. Replacements must not overlap.
  void ReplaceData(size_t from, size_t to, const BitWriter& bits);
  // Replaces everything after the common handle references.
  void ReplaceTypedHandles(const BitWriter& bits);

  bool changed() const { return !splices_.empty() || linksChanged_ || reactorsChanged_ || handlesReplaced_; }
  // The object as stored, with every change applied.
  std::vector<uint8_t> Rebuild() const;

 private:
  struct Splice {
    size_t from, to;
    BitWriter bits;
  };
  struct Ref {
    enum Kind : uint8_t { kOwner, kReactor, kXdic, kLayer, kLineType, kPrev, kNext, kPlotStyle, kOther } kind;
    HandleRef ref;
  };

  bool FindStrings(uint16_t color);
  void CopySpliced(BitWriter& w, size_t from, size_t to) const;
  void WriteHandles(BitWriter& w) const;
  const uint8_t* data() const { return reinterpret_cast<const uint8_t*>(stored_.data()) + dataStart_; }

  std::string_view stored_;
  Version version_ = Version::kR2000;
  size_t dataStart_ = 0;       // bytes: where the bits begin (after the size prefix)
  size_t dataBits_ = 0;        // bits of data and handles together
  uint16_t type_ = 0;
  uint64_t handle_ = 0;
  bool entity_ = false;
  size_t bitSizeAt_ = 0;       // where the data stream's bit size (RL) is
  size_t noLinksAt_ = 0;       // the entity's "no links" bit, 0 when none
  bool noLinks_ = false;
  size_t reactorsAt_ = 0, reactorsEnd_ = 0;  // the reactor count (BL)
  size_t commonEnd_ = 0;       // data stream: end of the common part
  size_t handleStart_ = 0;     // = the data stream's bit size
  size_t dataEnd_ = 0;         // where the typed data ends (the strings begin)
  bool strings_ = false;       // 2007 on: a string stream is stored
  size_t stringsAt_ = 0, stringsEnd_ = 0, stringsCommonEnd_ = 0;
  size_t handleCommonEnd_ = 0;
  std::vector<Ref> refs_;      // the common references in stored order
  std::vector<uint64_t> reactors_;
  uint64_t prev_ = 0, next_ = 0;
  bool linksChanged_ = false;
  bool reactorsChanged_ = false;
  std::vector<Splice> splices_;
  bool handlesReplaced_ = false;
  BitWriter typedHandles_;
};

}  // namespace vantrove::engine::dwg
