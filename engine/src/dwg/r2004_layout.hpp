#pragma once
// Fixed values of the 2004-family container (AC1018, AC1024, AC1027,
// AC1032), shared by its reader and its writer.

#include <cstddef>
#include <cstdint>

namespace vantrove::engine::dwg {

constexpr size_t kR2004HeadSize = 0x100;    // plain header, encrypted block, padding
constexpr size_t kR2004BlockOffset = 0x80;  // the encrypted block
constexpr size_t kR2004BlockSize = 0x6C;
constexpr size_t kR2004PageHeader = 32;     // a data page's header
constexpr uint32_t kR2004DataPage = 0x4163043B;
constexpr uint32_t kR2004PageMapPage = 0x41630E3B;
constexpr uint32_t kR2004SectionMapPage = 0x4163003B;
// Size of one section description in the section map, before its pages.
constexpr size_t kR2004DescriptionSize = 96;

}  // namespace vantrove::engine::dwg
