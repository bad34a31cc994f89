#pragma once
// Internal: the OLE compound file (structured storage) that holds an
// encrypted Office package: reading named streams of the root storage, and
// writing a file of a few streams.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrove::office {

// The stream of the root storage named `name` (compared without case);
// false when there is none. Raises 1004 for a damaged compound file.
bool ReadCompoundStream(std::string_view file, const std::string& name, std::string& out);

// A compound file (version 3, 512-byte sectors) whose root storage holds
// these streams.
std::string WriteCompoundFile(const std::vector<std::pair<std::string, std::string>>& streams);

}  // namespace vantrove::office
