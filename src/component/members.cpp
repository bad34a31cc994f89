// The interface in order, gathered from the declarations of every area.
#include <array>
#include <stdexcept>
#include <string>

#include "member.hpp"

namespace vantrove::detail {

namespace {

using AreaMembers = std::span<const MemberDecl> (*)();

// Every area that declares members; the order here does not matter, each
// declaration carries its own interface position.
constexpr AreaMembers kAreas[] = {
    ComponentMembers, DrawingMembers,   OutputMembers,   OfficeMembers,  ArraysMembers,
    ExtractMembers,   RecordsetMembers, ControlsMembers, DatabaseMembers,
};

std::array<const MemberDecl*, kMethodCount> Gather() {
  std::array<const MemberDecl*, kMethodCount> byPosition{};
  for (AreaMembers area : kAreas) {
    for (const MemberDecl& m : area()) {
      const auto slot = static_cast<size_t>(m.position);
      if (byPosition[slot]) {
        throw std::logic_error("interface position " + std::to_string(m.position) + " declared twice: " +
                               std::string(byPosition[slot]->name) + " and " + std::string(m.name));
      }
      byPosition[slot] = &m;
    }
  }
  for (size_t i = 0; i < byPosition.size(); ++i) {
    if (!byPosition[i]) throw std::logic_error("no member declared at interface position " + std::to_string(i));
  }
  return byPosition;
}

}  // namespace

std::span<const MemberDecl* const> MembersByPosition() {
  static const std::array<const MemberDecl*, kMethodCount> members = Gather();
  return members;
}

}  // namespace vantrove::detail
