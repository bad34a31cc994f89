#pragma once
// The fixed DWG object type numbers: which are entities, which are table
// control objects, and the name each has (the DXF name where DXF has one).

#include <cstdint>
#include <string_view>

namespace vantrove::engine::dwg {

bool IsFixedEntityType(uint16_t type);
// The name of fixed type `type`; "" for numbers no type has.
const char* FixedTypeName(uint16_t type);
// True for the names of the types with a fixed number: a drawing of an
// older version may give one of them (LWPOLYLINE, HATCH, XRECORD in R14) a
// class number, but a DXF reader expects them as what they are, never as
// proxies.
bool IsFixedTypeName(std::string_view name);
bool IsControlType(uint16_t type);

}  // namespace vantrove::engine::dwg
