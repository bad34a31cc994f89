#pragma once
// The 256-entry colour index palette and the nearest index of an RGB colour
// (a DXF file gives a layer with an RGB colour the nearest index as its
// colour number).

#include <cstdint>

namespace vantrove::engine::dwg {

// 0xRRGGBB of colour index 1..255 (0 for other indexes).
uint32_t IndexColorRgb(int index);

// The colour index 1..255 closest to 0xRRGGBB (ties: the lower index).
int NearestColorIndex(uint32_t rgb);

}  // namespace vantrove::engine::dwg
