#pragma once
// The DXF writer's emitter, shared by its three parts: the writer proper
// (dxf_writer.cpp: same-family writes, the header, the entry points), the
// export to R12/R10 (r12_export.cpp) and the upgrade of R12 drawings to
// R13 and later (r12_upgrade.cpp). Not part of the engine's interface.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "dxf/group_writer.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dxf {

// "AC1032" -> 32; the families are R10/R12 (6, 9) and R13 to 2018 (12 ... 32).
int VersionRank(std::string_view acadver);
bool SameName(std::string_view a, std::string_view b);
bool HasCode(GroupSpan groups, int32_t code);
// The first value of `code` among the record's own groups (outside
// application groups and before extended data).
std::string_view OwnValue(GroupSpan groups, int32_t code, std::string_view fallback = {});
double OwnReal(GroupSpan groups, int32_t code, double fallback);
bool IsR12HeaderCode(int32_t code);

// Walks application groups ("102 {NAME" ... "102 }") in a record's groups:
// Step() takes each group in turn and is true for the 102 markers;
// inside() tells whether the groups between them belong to one.
class AppGroups {
 public:
  bool Step(const Group& g) {
    if (g.code != 102) return false;
    const std::string_view v = g.value();
    if (!v.empty() && v.front() == '{') ++depth_;
    if (!v.empty() && v.front() == '}' && depth_ > 0) --depth_;
    return true;
  }
  bool inside() const { return depth_ > 0; }

 private:
  int depth_ = 0;
};

class Emitter {
 public:
  Emitter(const Document& doc, GroupWriter& out, int source_rank, int target_rank, std::string_view target_version,
          bool binary)
      : doc_(doc),
        out_(out),
        source_rank_(source_rank),
        target_rank_(target_rank),
        target_version_(target_version),
        binary_(binary) {}

  void Run();
  const std::map<std::string, size_t, std::less<>>& dropped() const { return dropped_; }

 private:
  enum class Mode { kPass, kToR12, kFromR12 };

  // --- shared ---
  Handle NewHandle() { return next_handle_++; }
  void Drop(std::string_view what, size_t count = 1) {
    auto it = dropped_.find(what);
    if (it == dropped_.end()) {
      dropped_.emplace(std::string(what), count);
    } else {
      it->second += count;
    }
  }
  // A record read from DWG whose type has no DXF form is left out and
  // counted (DWG-only bookkeeping records are not worth a mention).
  bool Unwritable(const Object* o) {
    if (doc_.format != DrawingFormat::kDwg || !doc_.Groups(*o).empty() || o->synthesized) return false;
    if (o->type_name != "VX" && o->type_name != "TABLE") Drop(o->type_name);
    return true;
  }
  void BeginSection(std::string_view name) {
    out_.Put(0, "SECTION");
    out_.Put(2, name);
  }
  void EndSection() { out_.Put(0, "ENDSEC"); }
  void Raw(std::string_view type, GroupSpan groups) {
    out_.Put(0, type);
    for (const Group& g : groups) out_.Put(g.code, g.value());
  }
  void LayoutObject(const Layout* layout);
  void PlanHandles();
  void Header();
  bool IsLayoutBlock(const Block* block) const;
  std::vector<const Entity*> SpaceEntities(const Block* space) const;

  // --- same family ---
  void PassSections();
  void PassTables();
  void PassBlocks();
  void PassEntity(const Entity* entity);
  void ProxyEntity(const Entity* entity);
  void SingleLineAttrib(const Attrib* attrib);

  // --- R12 and R10 targets ---
  void R12Tables();
  void R12Blocks();
  void R12Entities();
  void R12Entity(const Entity* entity, bool paper);
  void R12Filtered(const Entity* entity, bool paper);
  void R12Common(const Entity* entity, bool paper);
  void R12LwPolyline(const Entity* entity, bool paper);
  void R12MText(const MText* mtext, bool paper);
  void R12Dimension(const Entity* entity, bool paper);

  // --- R12 drawings written as R13 and later ---
  void UpTables();
  void UpBlocks();
  void UpEntities();
  void UpObjects();
  void UpEntity(const Entity* entity, Handle owner, bool paper);
  void UpBlockBegin(const Block* block, Handle record, bool paper);
  void UpBlockEnd(const Block* block, Handle record, bool paper);
  std::string_view UpBlockName(const Block* block) const;

  const Document& doc_;
  GroupWriter& out_;
  int source_rank_;
  int target_rank_;
  std::string_view target_version_;
  bool binary_;
  Mode mode_ = Mode::kPass;
  Handle next_handle_ = 1;
  Handle seed_ = 1;
  std::map<std::string, size_t, std::less<>> dropped_;
  // R12 drawings written as R13+: the block record made for each block, and the layouts' handles.
  std::unordered_map<const Block*, Handle> records_;
  Handle block_record_table_ = kNoHandle;
  Handle root_dictionary_ = kNoHandle;
  Handle group_dictionary_ = kNoHandle;
  Handle layout_dictionary_ = kNoHandle;
  std::vector<std::pair<const Layout*, const Block*>> layouts_;
};

}  // namespace vantrove::engine::dxf
