#include "dwg/owned_lists.hpp"

#include <vector>

namespace vantrove::engine::dwg {

namespace {

constexpr uint16_t kTypeInsert = 0x07, kTypeMInsert = 0x08, kTypeBlockHeader = 0x31;
constexpr uint32_t kMaxOwned = 1u << 24;

// Where an owner's list is: the count in the data stream, the handles
// before the list and the list itself in the handle stream.
struct OwnedList {
  size_t flagAt = 0;                 // INSERT: the "attributes follow" bit
  size_t countAt = 0, countEnd = 0;  // the count (BL)
  std::vector<HandleRef> before;     // handles ahead of the list
  std::vector<HandleRef> owned;
  size_t restAt = 0;                 // handle stream after the list
};

bool FindList(const ObjectPatch& patch, OwnedList& list) {
  BitReader d = patch.TypedData();
  size_t leading = 0;
  if (patch.type() == kTypeBlockHeader) {
    if (patch.version() < Version::kR2007) {
      d.TV();
      d.B();
      d.BS();
      d.B();
    } else {
      d.BS();  // the name is in the string stream, the rest of the entry part is one number
    }
    d.B();
    d.B();
    const bool xref = d.B(), overlay = d.B();
    d.B();  // loaded
    if (xref || overlay) return false;
    leading = 2;  // the external reference block and the BLOCK entity
  } else {
    SkipInsertPlacement(d, true);
    list.flagAt = d.position();
    if (!d.B()) return false;
    leading = 1;  // the block record
  }
  list.countAt = d.position();
  const uint32_t count = d.BL();
  list.countEnd = d.position();
  if (d.failed() || count > kMaxOwned) return false;
  BitReader h = patch.TypedHandles();
  for (size_t i = 0; i < leading; ++i) list.before.push_back(h.H());
  for (uint32_t i = 0; i < count && !h.failed(); ++i) list.owned.push_back(h.H());
  list.restAt = h.position();
  return !h.failed();
}

}  // namespace

void SkipInsertPlacement(BitReader& d, bool r2000) {
  d.BD3();
  if (r2000) {
    switch (d.BB()) {
      case 0: {
        const double x = d.RD();
        d.DD(x);
        d.DD(x);
        break;
      }
      case 1:
        d.DD(1.0);
        d.DD(1.0);
        break;
      case 2: d.RD(); break;
      default: break;
    }
  } else {
    d.BD3();
  }
  d.BD();
  d.BD3();
}

void DropErasedFromOwnedLists(const std::set<uint64_t>& owners, const std::unordered_set<uint64_t>& erased,
                              const std::function<ObjectPatch*(uint64_t)>& patch) {
  for (uint64_t owner : owners) {
    ObjectPatch* p = patch(owner);
    if (p == nullptr) continue;
    const uint16_t type = p->type();
    if (type != kTypeBlockHeader && type != kTypeInsert && type != kTypeMInsert) continue;
    OwnedList list;
    if (!FindList(*p, list)) continue;
    std::vector<HandleRef> kept;
    for (const HandleRef& ref : list.owned) {
      if (erased.count(ref.Resolve(owner)) == 0) kept.push_back(ref);
    }
    if (kept.size() == list.owned.size()) continue;
    BitReader h = p->TypedHandles();
    BitWriter handles;
    for (const HandleRef& ref : list.before) handles.H(ref);
    size_t rest = list.restAt;
    if (type != kTypeBlockHeader && kept.empty()) {
      // The last attribute went: no attributes follow, no SEQEND is named.
      BitWriter none;
      none.B(false);
      p->ReplaceData(list.flagAt, list.countEnd, none);
      BitReader skip = p->TypedHandles();
      skip.Seek(list.restAt);
      skip.H();
      rest = skip.position();
    } else {
      BitWriter count;
      count.BL(static_cast<uint32_t>(kept.size()));
      p->ReplaceData(list.countAt, list.countEnd, count);
      for (const HandleRef& ref : kept) handles.H(ref);
    }
    handles.AppendBits(h.data(), rest, h.sizeBytes() * 8 - rest);
    p->ReplaceTypedHandles(handles);
  }
}

}  // namespace vantrove::engine::dwg
