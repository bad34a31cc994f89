#pragma once
// Builds the DXF form (the group list) of a record from its field values,
// following the record type's field list: subclass markers, the fields each
// version has in their order, and the fallback of every field a record
// does not give. Used for records that were read without a DXF form (DWG).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/type_table.hpp"
#include "vantrove/engine/groups.hpp"
#include "vantrove/engine/handle.hpp"

namespace vantrove::engine::types {

// Field values by field name, as DXF text (reals in their shortest exact
// form). Values for names the type does not have are ignored.
class FieldValues {
 public:
  void Text(std::string_view name, std::string_view value);
  void Real(std::string_view name, double value);
  void Angle(std::string_view name, double radians);  // written in degrees
  void Int(std::string_view name, int64_t value);
  void Point(std::string_view name, double x, double y, double z = 0.0);
  void Ref(std::string_view name, Handle handle);      // nothing for kNoHandle
  // A run of groups written in place of a kGroups field; `code` must be
  // a group code, the value text is copied.
  void Append(std::string_view name, int32_t code, std::string_view value);
  // Replaces the text of group `index` of the run `name` (one known only
  // later, e.g. the name of a record it refers to); nothing if none.
  void SetGroupText(std::string_view name, size_t index, std::string_view value);

  struct Value {
    std::string_view name;
    std::string text[3];
    int count = 1;
    std::vector<std::pair<int32_t, std::string>> groups;
  };
  const Value* Find(std::string_view name) const;

 private:
  Value& Slot(std::string_view name);
  std::vector<Value> values_;
};

// What every record has before its fields.
struct RecordHead {
  Handle handle = kNoHandle;
  Handle owner = kNoHandle;
  std::vector<Handle> reactors;
  Handle xdictionary = kNoHandle;
};

// The groups of a record of type `desc` as a file of version `rank` holds
// them (the type name itself, group 0, is not among them). Text is stored
// in `arena`.
std::vector<Group> EncodeRecord(const TypeDesc& desc, const RecordHead& head, const FieldValues& values, int rank,
                                TextArena& arena);

// The shortest text that reads back as exactly `value` ("1.0", "0.25", "1.0E-07").
std::string RealText(double value);
// The same text written to `out` (room for kRealChars), without allocating;
// returns its length.
inline constexpr size_t kRealChars = 40;
size_t RealChars(double value, char* out);

}  // namespace vantrove::engine::types
