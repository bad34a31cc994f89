#pragma once
// The header variables of a DWG 2000 file in their fixed order, with the
// bit form of each, and the encoder that writes them from a drawing's DXF
// header (values it does not give take the values a new drawing has).

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "dwg/bit_writer.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dwg {

enum class HeaderBits : uint8_t {
  kB, kBB, kRC, kBS, kBL, kBD, kRD2, kBD3, kTV, kCMC,
  kH,         // handle reference (hard pointer) to a named object
  kHandSeed,  // the next free handle (code 0)
  kTime,      // two bit longs: days and milliseconds (DXF: a day number with fraction)
  kFlags,     // CELWEIGHT, ENDCAPS, JOINSTYLE, LWDISPLAY, XEDIT, EXTNAMES, PSTYLEMODE, OLESTARTUP as one BL
};

struct HeaderVarDesc {
  std::string_view name;      // DXF name without '$'; a role name for handles ("LAYER_CONTROL")
  HeaderBits bits;
  std::string_view fallback;  // value of a new drawing, as DXF text ("1,1,0" for points)
};

// Every header variable of DWG 2000, in file order.
std::span<const HeaderVarDesc> HeaderVarsR2000();

// Handles the header refers to, by the names in the list above ("CLAYER",
// "LAYER_CONTROL", "MODEL_SPACE", ...); 0 when there is none.
using HandleOf = std::function<uint64_t(std::string_view name)>;

// The header section: sentinel, size, the variables, check value, end
// sentinel.
// A section of the 2000 file: `body` starts with a 32-bit size (set here)
// followed by the data; it is framed by `sentinel`, a check value over
// size and data, and the sentinel's complement.
std::string FramedSection(const uint8_t (&sentinel)[16], BitWriter& body);

std::string EncodeHeaderR2000(const Document& doc, const HandleOf& handleOf, uint64_t handseed);

}  // namespace vantrove::engine::dwg
