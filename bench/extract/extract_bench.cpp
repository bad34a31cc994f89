// Benchmark of the block attribute table: CreateBlockAttributeArray for one
// block name, every tag, with the drawing column, on a large generated 2018
// DXF (the engine benchmark's drawing, generated into the build folder when
// absent). Measures our open + extraction in a child process (seconds, CPU,
// peak RSS) and ezdxf building the same table from the same file.
//
// Usage: extract_bench [--dir D] [--inserts N] [--texts N] [--no-ezdxf]

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "dxf_generator.hpp"
#include "measure.hpp"
#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"

namespace {

using vantrove::bench::Clock;
using vantrove::bench::JsonNumber;
using vantrove::bench::Run;
using vantrove::bench::CpuSeconds;
using vantrove::bench::Seconds;


struct Measured {
  double open = 0, extract = 0;        // wall seconds
  double openCpu = 0, extractCpu = 0;  // CPU seconds
  long rssAfterOpenKb = 0;
  long peakRssKb = 0;
  int32_t rows = 0, columns = 0;
  int16_t result = 0;
  char last[64] = {};
};

Measured MeasureOurs(const std::string& dxf, const std::string& temp) {
  const auto child = vantrove::bench::InChild<Measured>([&] {
    Measured m;
    vantrove::extract::SetTempFolderOverride(temp);
    struct rusage u0 {}, u1 {}, u2 {};
    getrusage(RUSAGE_SELF, &u0);
    const auto t0 = Clock::now();
    vantrove::clsVantrove v;
    const std::string opened = v.OpenDrawing(dxf);
    const auto t1 = Clock::now();
    getrusage(RUSAGE_SELF, &u1);
    m.rssAfterOpenKb = u1.ru_maxrss;
    vantrove::Variant table;
    if (opened == "OK") {
      m.result = v.CreateBlockAttributeArray(table, vantrove::dwgBoth, "", "TITLEBLOCK", "", vantrove::dwgDrawingName,
                                             true);
    } else {
      std::fprintf(stderr, "open: %s\n", opened.c_str());
    }
    const auto t2 = Clock::now();
    getrusage(RUSAGE_SELF, &u2);
    m.open = Seconds(t0, t1);
    m.extract = Seconds(t1, t2);
    m.openCpu = CpuSeconds(u1) - CpuSeconds(u0);
    m.extractCpu = CpuSeconds(u2) - CpuSeconds(u1);
    m.peakRssKb = u2.ru_maxrss;
    if (table.IsArray()) {
      const vantrove::SafeArray& a = table.array();
      m.rows = a.UBound(1) + 1;
      m.columns = a.UBound(2) + 1;
      const std::string last = vantrove::CStr(a.at(a.UBound(1), a.UBound(2) - 1));
      std::snprintf(m.last, sizeof(m.last), "%s", last.c_str());
    }
    return m;
  });
  Measured m = child.value;
  if (!child.ok) m.result = -99;
  return m;
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = VANTROVE_BENCH_DATA;
  size_t inserts = 100000;
  size_t texts = 200000;
  bool ezdxf = true;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--dir" && i + 1 < argc) dir = argv[++i];
    else if (arg == "--inserts" && i + 1 < argc) inserts = std::stoul(argv[++i]);
    else if (arg == "--texts" && i + 1 < argc) texts = std::stoul(argv[++i]);
    else if (arg == "--no-ezdxf") ezdxf = false;
    else {
      std::fprintf(stderr, "usage: %s [--dir D] [--inserts N] [--texts N] [--no-ezdxf]\n", argv[0]);
      return 2;
    }
  }
  std::filesystem::create_directories(dir);
  const std::string dxf = dir + "/bench_" + std::to_string(inserts) + "_" + std::to_string(texts) + ".dxf";
  if (!std::filesystem::exists(dxf)) {
    vantrove::bench::GeneratedDrawing generated;
    const auto t0 = Clock::now();
    if (!vantrove::bench::GenerateDxf(dxf, inserts, texts, generated)) {
      std::fprintf(stderr, "cannot write %s\n", dxf.c_str());
      return 1;
    }
    std::printf("generated %s: %zu references, %zu attributes, %zu texts in %.1f s\n", dxf.c_str(), generated.inserts,
                generated.attributes, generated.texts, Seconds(t0, Clock::now()));
  }
  const double mb = static_cast<double>(std::filesystem::file_size(dxf)) / (1024.0 * 1024.0);
  std::printf("file: %s, %.1f MB\n", dxf.c_str(), mb);
  Run("cat '" + dxf + "' > /dev/null");  // warm the page cache for both sides

  const std::string temp = dir + "/temp";
  std::filesystem::create_directories(temp);
  const Measured m = MeasureOurs(dxf, temp);
  if (m.result != 1) {
    std::fprintf(stderr, "CreateBlockAttributeArray returned %d\n", m.result);
    return 1;
  }
  const double ours = m.openCpu + m.extractCpu;
  std::printf("vantrove: table %d rows x %d columns (last value \"%s\")\n", m.rows, m.columns, m.last);
  std::printf("vantrove: open %.2f s (%.2f s CPU), CreateBlockAttributeArray %.2f s (%.2f s CPU), total %.2f s CPU\n",
              m.open, m.openCpu, m.extract, m.extractCpu, ours);
  std::printf("vantrove: peak RSS %.1f MB = %.2f x file size (goal <= 3); after open %.1f MB\n", m.peakRssKb / 1024.0,
              m.peakRssKb / 1024.0 / mb, m.rssAfterOpenKb / 1024.0);
  bool leftovers = false;
  for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(temp)) leftovers = true;
  if (leftovers) std::printf("vantrove: temporary files were left in %s\n", temp.c_str());
  if (ezdxf) {
    const std::string json =
        Run(std::string("/usr/bin/python3 '") + VANTROVE_BENCH_SCRIPT + "' '" + dxf + "' TITLEBLOCK");
    const double peer = JsonNumber(json, "cpu");
    if (peer > 0) {
      std::printf("ezdxf: table %.0f rows x %.0f columns; load %.2f s, table %.2f s, %.2f s CPU, peak RSS %.1f MB\n",
                  JsonNumber(json, "rows"), JsonNumber(json, "columns"), JsonNumber(json, "load"),
                  JsonNumber(json, "build"), peer, JsonNumber(json, "peak_rss_kb") / 1024.0);
      std::printf("ratio: ezdxf / vantrove = %.1f x by CPU time (goal >= 20); extraction alone: %.1f x\n", peer / ours,
                  peer / m.extractCpu);
    } else {
      std::printf("ezdxf: not measured (%s)\n", json.c_str());
    }
  }
  return 0;
}
