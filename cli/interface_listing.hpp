#pragma once
// `vantrove methods [NAME]` and `vantrove enums`: the interface of
// clsVantrove as text or JSON.

#include <string>

namespace vantrove::cli {

// Every method in interface order. Exit code 0.
int ListMethods(bool asJson);
// One method in full: declaration, position, parameters (type, by value or
// by reference, optional, default), help and what its result means. Exit
// code 0, or 2 with close names on stderr when there is no such method.
int ShowMethod(const std::string& name, bool asJson);
// The enumerations and their constants. Exit code 0.
int ListEnums(bool asJson);

}  // namespace vantrove::cli
