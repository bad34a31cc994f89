#include "vantrove/enums.hpp"

namespace vantrove {

const std::vector<EnumInfo>& Enumerations() {
#define VANTROVE_ENUM_ENTRY(name, value) EnumConstant{#name, value},
#define VANTROVE_ENUM_INFO(type) EnumInfo{#type, {VANTROVE_ENUM_##type(VANTROVE_ENUM_ENTRY)}},
  static const std::vector<EnumInfo> all = {VANTROVE_ENUMS(VANTROVE_ENUM_INFO)};
#undef VANTROVE_ENUM_INFO
#undef VANTROVE_ENUM_ENTRY
  return all;
}

bool IsEnumerationName(std::string_view name) {
  for (const EnumInfo& e : Enumerations()) {
    if (e.name == name) return true;
  }
  return false;
}

}  // namespace vantrove
