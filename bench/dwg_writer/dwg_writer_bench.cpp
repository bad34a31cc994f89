// Saves every readable corpus DWG of a version the DWG writer writes (R13
// to 2000, and 2004, 2010, 2013, 2018 with their compressed pages), as
// DWG in its own version (untouched, and with one attribute value edited so
// that objects are rebuilt) and as DXF of the same version, each repeated
// until half a second has passed; prints seconds per save and MB/s of
// output for each, and the DWG/DXF time ratio.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_reader.hpp"
#include "vantrove/engine/dwg_writer.hpp"
#include "vantrove/engine/dxf_writer.hpp"
#include "vantrove/engine/edits.hpp"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using vantrove::engine::Document;
using vantrove::engine::Status;

struct Figure {
  double seconds = 0;  // per save
  size_t bytes = 0;    // of the written file
  bool ok = false;
};

template <class Save>
Figure Measure(Save&& save) {
  Figure f;
  int runs = 0;
  const auto start = Clock::now();
  double elapsed = 0;
  do {
    std::string out;
    const Status status = save(out);
    // Written with a note of what the format could not hold still counts.
    if (!status.ok() && status.code != vantrove::engine::StatusCode::kWrittenWithLosses) return f;
    f.bytes = out.size();
    ++runs;
    elapsed = std::chrono::duration<double>(Clock::now() - start).count();
  } while (elapsed < 0.5);
  f.seconds = elapsed / runs;
  f.ok = true;
  return f;
}

void Print(const char* what, const Figure& f) {
  if (!f.ok) {
    std::printf("  %-22s failed\n", what);
    return;
  }
  std::printf("  %-22s %9.4f s  %8.1f MB/s  (%zu bytes)\n", what, f.seconds, f.bytes / f.seconds / 1e6, f.bytes);
}

}  // namespace

int main(int argc, char** argv) {
  const fs::path corpus = argc > 1 ? fs::path(argv[1]) : fs::path(VANTROVE_SHARED_DIR) / "corpus";
  if (!fs::is_directory(corpus / "dwg")) {
    std::printf("corpus not found at %s\n", corpus.c_str());
    return 1;
  }
  std::vector<fs::path> files;
  for (const auto& e : fs::directory_iterator(corpus / "dwg")) {
    if (e.path().extension() == ".dwg") files.push_back(e.path());
  }
  std::sort(files.begin(), files.end());
  double dwgTotal = 0, dxfTotal = 0;
  // R13 to 2000 files, and the 2004 container family (2004 to 2018), apart.
  double dwgTotal2000 = 0, dxfTotal2000 = 0, dwgTotal2004 = 0, dxfTotal2004 = 0;
  for (const fs::path& path : files) {
    Document doc;
    if (!vantrove::engine::ReadDwgFile(path.string(), doc).ok()) continue;
    const std::string& v = doc.version;
    const bool family2004 = v == "AC1018" || v == "AC1024" || v == "AC1027" || v == "AC1032";
    if (v != "AC1015" && v != "AC1014" && v != "AC1012" && !family2004) continue;
    std::printf("%s (%s, %ju bytes)\n", path.filename().c_str(), doc.version.c_str(),
                static_cast<uintmax_t>(fs::file_size(path)));
    const Figure dwg = Measure([&](std::string& out) {
      return vantrove::engine::WriteDwgToString(doc, vantrove::engine::kVersionKeep, out);
    });
    vantrove::engine::DxfWriteOptions options;
    const Figure dxf = Measure([&](std::string& out) { return vantrove::engine::WriteDxfToString(doc, options, out); });
    Print("DWG, same version", dwg);
    Print("DXF, same version", dxf);
    // One edited attribute value: the objects around it are rebuilt.
    vantrove::engine::DrawingEditor editor(doc);
    for (const auto& object : doc.all_objects()) {
      if (object->kind() == vantrove::engine::ObjectKind::kAttrib) {
        (void)editor.SetAttributeValue("edited", vantrove::engine::FormatHandle(object->handle));
        break;
      }
    }
    const Figure edited = Measure([&](std::string& out) {
      return vantrove::engine::WriteDwgToString(doc, vantrove::engine::kVersionKeep, out);
    });
    Print("DWG, one edit", edited);
    if (dwg.ok && dxf.ok) {
      std::printf("  DWG/DXF time: %.2f\n", dwg.seconds / dxf.seconds);
      dwgTotal += dwg.seconds;
      dxfTotal += dxf.seconds;
      (family2004 ? dwgTotal2004 : dwgTotal2000) += dwg.seconds;
      (family2004 ? dxfTotal2004 : dxfTotal2000) += dxf.seconds;
    }
  }
  if (dxfTotal2000 > 0) std::printf("R13-2000: DWG/DXF %.2f\n", dwgTotal2000 / dxfTotal2000);
  if (dxfTotal2004 > 0) std::printf("2004-2018: DWG/DXF %.2f\n", dwgTotal2004 / dxfTotal2004);
  if (dxfTotal > 0) std::printf("all files: DWG %.4f s, DXF %.4f s, DWG/DXF %.2f\n", dwgTotal, dxfTotal, dwgTotal / dxfTotal);
  return 0;
}
