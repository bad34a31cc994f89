#pragma once
// Object handles. Inside the engine a handle is a 64-bit integer (0 means
// "no handle"); in every public text (API arguments, the XML description)
// it is upper-case hexadecimal without leading zeros.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantrove::engine {

using Handle = uint64_t;
inline constexpr Handle kNoHandle = 0;

// "1F3" for 0x1F3; "0" for kNoHandle.
std::string FormatHandle(Handle handle);

// Parses hexadecimal text (either case, surrounding blanks ignored, at most
// 16 digits). Returns nullopt for empty text, a non-hex character or overflow.
std::optional<Handle> ParseHandle(std::string_view text);

}  // namespace vantrove::engine
