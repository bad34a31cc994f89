#pragma once
// Reading a record's DXF groups for the DWG encoder: the one place that
// reaches an object's source groups, and look-ups by group code.

#include <cstdint>
#include <string_view>

#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dwg {

// The groups an object was read with (empty for objects without).
GroupSpan SourceGroups(const Document& doc, const Object& object);

class GroupView {
 public:
  GroupView() = default;
  explicit GroupView(GroupSpan groups) : g_(groups) {}

  const Group* Find(int32_t code) const;
  bool Has(int32_t code) const { return Find(code) != nullptr; }
  double Real(int32_t code, double fallback = 0.0) const;
  int64_t Int(int32_t code, int64_t fallback = 0) const;
  std::string_view Text(int32_t code, std::string_view fallback = {}) const;
  // A point from `code`, code + 10 and code + 20.
  engine::Point3 Point(int32_t code, engine::Point3 fallback = {}) const;
  // The groups after subclass marker `marker` (100), up to the next marker;
  // empty when there is no such marker.
  GroupView Part(std::string_view marker) const;
  // The groups outside 102 brackets, from the start up to the first marker.
  GroupSpan all() const { return g_; }

 private:
  GroupSpan g_;
};

}  // namespace vantrove::engine::dwg
