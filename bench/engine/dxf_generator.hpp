#pragma once
// Writes a synthetic 2018 ASCII DXF: title-block references with eight
// attributes each and TEXT/MTEXT, spread over model space and four paper
// layouts, with the tables, blocks and objects a real drawing has.

#include <string>

namespace vantrove::bench {

struct GeneratedDrawing {
  size_t inserts = 0;
  size_t attributes = 0;
  size_t texts = 0;
  size_t bytes = 0;
};

// Returns false when the file cannot be written.
bool GenerateDxf(const std::string& path, size_t inserts, size_t texts, GeneratedDrawing& out);

}  // namespace vantrove::bench
