#pragma once
// Decodes a whole DWG file into records: container, classes, object map and
// every object, with warnings for what was damaged but skipped.

#include <string>
#include <vector>

#include "dwg/container.hpp"
#include "dwg/records.hpp"

namespace vantrove::engine::dwg {

// Largest file we read into memory.
constexpr uint64_t kMaxFileSize = uint64_t{1} << 30;

// Decodes `file` (the whole file's bytes). Returns false with `error` set
// when the drawing cannot be read at all.
bool DecodeDrawing(const std::vector<uint8_t>& file, DecodedDrawing& out, ReadError& error);

// Reads a file into memory, bounded by kMaxFileSize.
bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes, ReadError& error);

}  // namespace vantrove::engine::dwg
