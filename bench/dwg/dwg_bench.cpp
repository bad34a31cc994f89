// Opens and describes every corpus DWG (and its DXF twin) with our engine,
// and lists the same files with GDAL's CAD driver, printing MB/s for each.
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "vantrove/engine/component.hpp"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Row {
  fs::path dwg, twin;
  std::string version;
};

std::vector<Row> ReadManifest(const fs::path& corpus) {
  std::vector<Row> rows;
  std::ifstream in(corpus / "MANIFEST.tsv");
  std::string line;
  std::getline(in, line);  // header
  while (std::getline(in, line)) {
    std::vector<std::string> f;
    std::stringstream s(line);
    for (std::string cell; std::getline(s, cell, '\t');) f.push_back(cell);
    if (f.size() < 9 || f[0].rfind("corpus/dwg/", 0) != 0) continue;
    const fs::path shared = corpus.parent_path();
    Row r{shared / f[0], f[8].rfind("corpus/", 0) == 0 ? shared / f[8] : fs::path(), f[5]};
    rows.push_back(r);
  }
  return rows;
}

// Seconds per open + full description, repeated until 0.5 s have passed;
// negative when the engine refuses the file.
double EngineSeconds(const fs::path& file, std::string& status) {
  const std::string xml = (fs::temp_directory_path() / "vantrove-dwg-bench.xml").string();
  int runs = 0;
  const auto start = Clock::now();
  double elapsed = 0;
  do {
    vantrove::engine::DrawingComponent c;
    int32_t result = 0;
    c.OpenDrawing(result, file.string(), "");
    c.LastStatus(status);
    if (result <= 0) return -1;
    c.WriteXmlDescription(xml, 1, 1, 1, 1, 1, 1, 1, 1);
    ++runs;
    elapsed = std::chrono::duration<double>(Clock::now() - start).count();
  } while (elapsed < 0.5);
  fs::remove(xml);
  return elapsed / runs;
}

// Seconds per `ogrinfo -ro -al -so FILE`; negative when GDAL cannot read it.
double GdalSeconds(const fs::path& file) {
  const std::string cmd = "ogrinfo -ro -al -so '" + file.string() + "' >/dev/null 2>&1";
  int runs = 0;
  const auto start = Clock::now();
  double elapsed = 0;
  do {
    const int st = std::system(cmd.c_str());
    if (!WIFEXITED(st) || WEXITSTATUS(st) != 0) return -1;
    ++runs;
    elapsed = std::chrono::duration<double>(Clock::now() - start).count();
  } while (elapsed < 0.5);
  return elapsed / runs;
}

std::string Rate(double seconds, double mb) {
  if (seconds < 0) return "     -";
  char buf[32];
  std::snprintf(buf, sizeof buf, "%6.1f", mb / seconds);
  return buf;
}

}  // namespace

int main(int argc, char** argv) {
  const fs::path corpus = argc > 1 ? fs::path(argv[1]) : fs::path(VANTROVE_SHARED_DIR) / "corpus";
  if (!fs::exists(corpus / "MANIFEST.tsv")) {
    std::fprintf(stderr, "no corpus at %s\n", corpus.c_str());
    return 1;
  }
  const bool gdal = std::system("command -v ogrinfo >/dev/null 2>&1") == 0;
  if (!gdal) std::printf("ogrinfo not found (apt-get install gdal-bin): GDAL column left empty\n");
  std::printf("%-40s %-10s %8s %12s %12s %12s\n", "file", "version", "KB", "DWG MB/s", "twin MB/s", "GDAL MB/s");
  struct Total {
    double mb = 0, seconds = 0;
    int files = 0;
  };
  std::map<std::string, Total> byVersion;  // readable files only
  for (const Row& r : ReadManifest(corpus)) {
    const double mb = static_cast<double>(fs::file_size(r.dwg)) / 1e6;
    std::string status;
    const double ours = EngineSeconds(r.dwg, status);
    std::string twinRate = "     -";
    if (!r.twin.empty() && fs::exists(r.twin)) {
      std::string twinStatus;
      const double t = EngineSeconds(r.twin, twinStatus);
      twinRate = Rate(t, static_cast<double>(fs::file_size(r.twin)) / 1e6);
    }
    const double theirs = gdal ? GdalSeconds(r.dwg) : -1;
    std::printf("%-40s %-10s %8.0f %12s %12s %12s", r.dwg.filename().c_str(), r.version.c_str(), mb * 1000,
                Rate(ours, mb).c_str(), twinRate.c_str(), Rate(theirs, mb).c_str());
    if (ours < 0) std::printf("   (%s)", status.substr(0, 60).c_str());
    if (ours > 0 && theirs > 0) std::printf("   %.1fx GDAL", theirs / ours);
    std::printf("\n");
    if (ours > 0) {
      Total& t = byVersion[r.version];
      t.mb += mb;
      t.seconds += ours;
      ++t.files;
    }
  }
  std::printf("\nper version (open + full description, all readable files of the version together)\n");
  for (const auto& [version, t] : byVersion)
    std::printf("%-10s %3d files %8.0f KB %8s MB/s\n", version.c_str(), t.files, t.mb * 1000, Rate(t.seconds, t.mb).c_str());
  return 0;
}
