#pragma once
// What a same-version writer of the 2004-family container (AC1018, AC1024,
// AC1027, AC1032) keeps from the file a drawing was read from: the plain
// file header with its encrypted block, the section map as stored, every
// page of the sections the engine does not interpret (their headers
// unmasked, their data as stored) and the bytes that open the objects
// section. The objects and the object map are written anew.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dwg/r2004_layout.hpp"
#include "dwg/records.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove::engine::dwg {

// Names under which the parts are kept in Document::dwg_sections.
inline constexpr std::string_view kR2004Head = "R2004:HEAD";              // the file's first 0x100 bytes
inline constexpr std::string_view kR2004SectionMap = "R2004:SECTIONMAP";  // decompressed
inline constexpr std::string_view kR2004Pages = "R2004:PAGES";            // see KeptPage
inline constexpr std::string_view kR2004ObjectsPrefix = "R2004:OBJECTSPREFIX";
// How many objects the reader could not decode (decimal): a save cannot
// carry them and says so.
inline constexpr std::string_view kR2004Lost = "R2004:LOST";

// The sections a same-version save writes anew.
bool R2004SectionRebuilt(std::string_view name);

struct R2004SectionPage {
  uint32_t number = 0;     // page number in the page map
  uint32_t dataSize = 0;   // stored (compressed) size
  uint64_t start = 0;      // offset in the section
};

struct R2004Section {
  size_t at = 0;           // offset of its description in the section map
  std::string name;
  uint64_t size = 0;
  uint32_t maxPageSize = 0;
  uint32_t compressed = 0;  // 2: compressed
  uint32_t id = 0;
  std::vector<R2004SectionPage> pages;
};

// The section map's descriptions, in stored order. False when the map is
// damaged.
bool ParseR2004SectionMap(std::string_view map, std::vector<R2004Section>& out);

// One kept page: its number and address in the source file, its header
// (unmasked) and its stored data.
struct KeptPage {
  uint32_t number = 0;
  uint32_t address = 0;
  std::string_view bytes;  // header and data
};

// Splits the kept pages blob; false when it is damaged.
bool ParseKeptPages(std::string_view blob, std::vector<KeptPage>& out);

// Keeps the parts above in `doc` for a 2004-family file; keeps nothing
// when the file's maps cannot be read again.
void KeepSourceR2004(const std::vector<uint8_t>& file, const DecodedDrawing& decoded, Document& doc);

}  // namespace vantrove::engine::dwg
