// Saves a generated drawing read from DXF as DWG 2000 (every object
// encoded from the model) and as DXF with our DXF writer, in the same run:
// seconds and MB/s of output for each, and the DWG/DXF time ratio.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "../engine/dxf_generator.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_writer.hpp"
#include "vantrove/engine/dxf_reader.hpp"
#include "vantrove/engine/dxf_writer.hpp"

namespace {

using Clock = std::chrono::steady_clock;

double Since(Clock::time_point t0) { return std::chrono::duration<double>(Clock::now() - t0).count(); }

}  // namespace

int main(int argc, char** argv) {
  // Arguments, all optional: references, texts, folder of the generated drawing.
  const size_t inserts = argc > 1 ? std::stoul(argv[1]) : 100000;
  const size_t texts = argc > 2 ? std::stoul(argv[2]) : 200000;
  const std::filesystem::path dir = argc > 3 ? argv[3] : "bench-data";
  std::filesystem::create_directories(dir);
  const std::string dxf =
      (dir / ("bench_" + std::to_string(inserts) + "_" + std::to_string(texts) + ".dxf")).string();
  vantrove::bench::GeneratedDrawing generated;
  if (!std::filesystem::exists(dxf) && !vantrove::bench::GenerateDxf(dxf, inserts, texts, generated)) {
    std::fprintf(stderr, "cannot write %s\n", dxf.c_str());
    return 1;
  }
  std::printf("file: %s, %.1f MB\n", dxf.c_str(), static_cast<double>(std::filesystem::file_size(dxf)) / 1e6);
  vantrove::engine::Document doc;
  auto t0 = Clock::now();
  const vantrove::engine::Status read = vantrove::engine::ReadDxfFile(dxf, doc);
  if (!read.ok()) {
    std::fprintf(stderr, "cannot read %s: %s\n", dxf.c_str(), read.message.c_str());
    return 1;
  }
  std::printf("read DXF: %.2f s\n", Since(t0));
  std::string out;
  t0 = Clock::now();
  const vantrove::engine::Status dwg = vantrove::engine::WriteDwgToString(doc, vantrove::engine::kVersion2000, out);
  const double dwgSeconds = Since(t0);
  std::printf("DWG 2000: %.2f s, %.1f MB/s (%zu bytes), status %d\n", dwgSeconds, out.size() / dwgSeconds / 1e6,
              out.size(), static_cast<int>(dwg.code));
  out.clear();
  out.shrink_to_fit();
  vantrove::engine::DxfWriteOptions options;
  t0 = Clock::now();
  const vantrove::engine::Status dxfStatus = vantrove::engine::WriteDxfToString(doc, options, out);
  const double dxfSeconds = Since(t0);
  std::printf("DXF:      %.2f s, %.1f MB/s (%zu bytes), status %d\n", dxfSeconds, out.size() / dxfSeconds / 1e6,
              out.size(), static_cast<int>(dxfStatus.code));
  std::printf("DWG/DXF time: %.2f\n", dwgSeconds / dxfSeconds);
  return 0;
}
