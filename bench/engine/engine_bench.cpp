// Benchmark of the drawing engine on a large generated 2018 DXF:
//   open (read into the model) + full XML description, in MB/s and peak RSS,
//   against ezdxf loading and walking the same content, and `wc -l` as the
//   floor of reading the bytes at all. Prints figures and ratios.
//
// Usage: engine_bench [--dir D] [--inserts N] [--texts N] [--no-ezdxf]

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
#include "vantrove/engine/description.hpp"
#include "vantrove/engine/dxf_reader.hpp"

namespace {

using vantrove::bench::Clock;
using vantrove::bench::JsonNumber;
using vantrove::bench::Run;
using vantrove::bench::Seconds;

struct Measured {
  double open = 0;
  double describe = 0;
  double cpu = 0;  // user + system seconds of the whole measurement
  long peak_rss_kb = 0;
  bool ok = false;
};

// Runs open + description in a child process so that its peak RSS is its own.
Measured MeasureEngine(const std::string& dxf, const std::string& xml) {
  const auto child = vantrove::bench::InChild<Measured>([&] {
    Measured m;
    auto t0 = Clock::now();
    vantrove::engine::Document doc;
    vantrove::engine::Status status = vantrove::engine::ReadDxfFile(dxf, doc);
    auto t1 = Clock::now();
    if (status.ok()) {
      vantrove::engine::DescriptionSections all{true, true, true, true, true, true, true, true};
      status = vantrove::engine::WriteDescriptionFile(doc, all, xml);
    }
    auto t2 = Clock::now();
    if (!status.ok()) std::fprintf(stderr, "engine: %s\n", status.Text().c_str());
    m.open = Seconds(t0, t1);
    m.describe = Seconds(t1, t2);
    m.ok = status.ok();
    return m;
  });
  Measured m = child.value;
  m.ok = m.ok && child.ok;
  m.peak_rss_kb = child.usage.ru_maxrss;
  m.cpu = vantrove::bench::CpuSeconds(child.usage);
  return m;
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = "bench-data";
  size_t inserts = 100000;
  size_t texts = 200000;
  bool ezdxf = true;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
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
  const std::string xml = dir + "/bench_description.xml";
  if (!std::filesystem::exists(dxf)) {
    vantrove::bench::GeneratedDrawing generated;
    auto t0 = Clock::now();
    if (!vantrove::bench::GenerateDxf(dxf, inserts, texts, generated)) {
      std::fprintf(stderr, "cannot write %s\n", dxf.c_str());
      return 1;
    }
    std::printf("generated %s: %zu references, %zu attributes, %zu texts in %.1f s\n", dxf.c_str(),
                generated.inserts, generated.attributes, generated.texts, Seconds(t0, Clock::now()));
  }
  const double mb = static_cast<double>(std::filesystem::file_size(dxf)) / (1024.0 * 1024.0);
  std::printf("file: %s, %.1f MB\n", dxf.c_str(), mb);

  Run("cat '" + dxf + "' > /dev/null");  // warm the page cache for everyone
  // wc's own CPU time (user + system), from its rusage.
  double wc = 0;
  std::fflush(stdout);
  if (pid_t pid = fork(); pid == 0) {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(2);
    execlp("wc", "wc", "-l", dxf.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  } else if (pid > 0) {
    int status = 0;
    struct rusage usage {};
    wait4(pid, &status, 0, &usage);
    wc = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  }

  Measured m = MeasureEngine(dxf, xml);
  if (!m.ok) return 1;
  const double total = m.open + m.describe;
  const double xml_mb = static_cast<double>(std::filesystem::file_size(xml)) / (1024.0 * 1024.0);
  std::printf("engine: open %.3f s, description %.3f s (%.1f MB), total %.3f s wall, %.3f s CPU, %.1f MB/s (CPU)\n",
              m.open, m.describe, xml_mb, total, m.cpu, mb / m.cpu);
  std::printf("engine: peak RSS %.1f MB = %.2f x file size (goal <= 2)\n", m.peak_rss_kb / 1024.0,
              m.peak_rss_kb / 1024.0 / mb);
  std::printf("wc -l: %.3f s CPU; engine / wc = %.1f x\n", wc, wc > 0 ? m.cpu / wc : 0.0);
  if (ezdxf) {
    const std::string json = Run(std::string("/usr/bin/python3 '") + VANTROVE_BENCH_SCRIPT + "' '" + dxf + "'");
    const double peer = JsonNumber(json, "cpu");
    if (peer > 0) {
      std::printf("ezdxf: load %.2f s, walk %.2f s wall, %.2f s CPU, peak RSS %.1f MB\n", JsonNumber(json, "load"),
                  JsonNumber(json, "walk"), peer, JsonNumber(json, "peak_rss_kb") / 1024.0);
      std::printf("ratio: ezdxf / engine = %.1f x by CPU time (goal >= 30)\n", peer / m.cpu);
    } else {
      std::printf("ezdxf: not measured (%s)\n", json.c_str());
    }
  }
  std::filesystem::remove(xml);
  return 0;
}
