// Benchmark of the DXF writer on a large generated 2018 drawing: the time
// to write it as DXF 2018 (same version) and as R12 (converted), in MB/s,
// and the peak RSS of the process that read and wrote it, against ezdxf
// saving the same drawing in the same run. Prints figures and ratios.
//
// Usage: writer_bench [--dir D] [--inserts N] [--texts N] [--no-ezdxf]

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
#include "vantrove/engine/dxf_reader.hpp"
#include "vantrove/engine/dxf_writer.hpp"

namespace {

using vantrove::bench::Clock;
using vantrove::bench::JsonNumber;
using vantrove::bench::Run;
using vantrove::bench::Seconds;
using namespace vantrove::engine;

double Mb(const std::string& path) {
  std::error_code error;
  return static_cast<double>(std::filesystem::file_size(path, error)) / (1024.0 * 1024.0);
}

struct Measured {
  double read = 0;
  double write2018 = 0;
  double write_r12 = 0;
  double write2018_binary = 0;
  long peak_rss_kb = 0;
  bool ok = false;
};

// Reads once and writes three ways in a child process, so that its peak
// RSS is its own.
Measured MeasureEngine(const std::string& dxf, const std::string& out2018, const std::string& out_r12,
                       const std::string& out_binary) {
  const auto child = vantrove::bench::InChild<Measured>([&] {
    Measured m;
    auto t0 = Clock::now();
    Document doc;
    Status status = ReadDxfFile(dxf, doc);
    auto t1 = Clock::now();
    DxfWriteOptions options;
    options.version = 2018;
    if (status.ok()) status = WriteDxfFile(doc, options, out2018);
    auto t2 = Clock::now();
    options.version = 12;
    Status r12 = WriteDxfFile(doc, options, out_r12);
    auto t3 = Clock::now();
    options.version = 2018;
    options.binary = true;
    Status binary = WriteDxfFile(doc, options, out_binary);
    auto t4 = Clock::now();
    if (!status.ok()) std::fprintf(stderr, "engine: %s\n", status.Text().c_str());
    if (!r12.ok() && r12.code != StatusCode::kWrittenWithLosses) std::fprintf(stderr, "engine: %s\n", r12.Text().c_str());
    m.read = Seconds(t0, t1);
    m.write2018 = Seconds(t1, t2);
    m.write_r12 = Seconds(t2, t3);
    m.write2018_binary = Seconds(t3, t4);
    m.ok = status.ok() && binary.ok() && (r12.ok() || r12.code == StatusCode::kWrittenWithLosses);
    return m;
  });
  Measured m = child.value;
  m.ok = m.ok && child.ok;
  m.peak_rss_kb = child.usage.ru_maxrss;
  return m;
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = VANTROVE_BENCH_DIR;
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
  if (!std::filesystem::exists(dxf)) {
    vantrove::bench::GeneratedDrawing generated;
    if (!vantrove::bench::GenerateDxf(dxf, inserts, texts, generated)) {
      std::fprintf(stderr, "cannot write %s\n", dxf.c_str());
      return 1;
    }
    std::printf("generated %s: %zu references, %zu attributes, %zu texts\n", dxf.c_str(), generated.inserts,
                generated.attributes, generated.texts);
  }
  const double mb = Mb(dxf);
  std::printf("source: %s, %.1f MB (DXF 2018)\n", dxf.c_str(), mb);
  Run("cat '" + dxf + "' > /dev/null");  // warm the page cache

  const std::string out2018 = dir + "/written_2018.dxf";
  const std::string out_r12 = dir + "/written_r12.dxf";
  const std::string out_binary = dir + "/written_2018_binary.dxf";
  const Measured m = MeasureEngine(dxf, out2018, out_r12, out_binary);
  if (!m.ok) return 1;
  const double mb2018 = Mb(out2018), mb_r12 = Mb(out_r12), mb_binary = Mb(out_binary);
  std::printf("engine: read %.3f s\n", m.read);
  std::printf("engine: write 2018 ASCII  %.3f s, %.1f MB written, %.1f MB/s\n", m.write2018, mb2018,
              mb2018 / m.write2018);
  std::printf("engine: write R12 ASCII   %.3f s, %.1f MB written, %.1f MB/s (%.1f MB/s of the source)\n",
              m.write_r12, mb_r12, mb_r12 / m.write_r12, mb / m.write_r12);
  std::printf("engine: write 2018 binary %.3f s, %.1f MB written, %.1f MB/s\n", m.write2018_binary, mb_binary,
              mb_binary / m.write2018_binary);
  std::printf("engine: peak RSS %.1f MB = %.2f x source size (read + three writes)\n", m.peak_rss_kb / 1024.0,
              m.peak_rss_kb / 1024.0 / mb);
  if (ezdxf) {
    const std::string peer_out = dir + "/written_ezdxf_2018.dxf";
    const std::string json =
        Run(std::string("/usr/bin/python3 '") + VANTROVE_BENCH_SCRIPT + "' '" + dxf + "' '" + peer_out + "'");
    const double save = JsonNumber(json, "save");
    if (save > 0) {
      const double peer_mb = Mb(peer_out);
      std::printf("ezdxf: load %.2f s, save 2018 %.2f s (%.1f MB, %.1f MB/s), peak RSS %.1f MB\n",
                  JsonNumber(json, "load"), save, peer_mb, peer_mb / save, JsonNumber(json, "peak_rss_kb") / 1024.0);
      std::printf("ratio: ezdxf save 2018 / engine write 2018 = %.1f x (goal >= 20)\n", save / m.write2018);
      std::printf("ratio: ezdxf save 2018 / engine write R12  = %.1f x (ezdxf 0.18 cannot write this drawing as R12)\n",
                  save / m.write_r12);
      std::printf("ratio: peak RSS ezdxf / engine = %.1f x\n", JsonNumber(json, "peak_rss_kb") / m.peak_rss_kb);
      std::filesystem::remove(peer_out);
    } else {
      std::printf("ezdxf: not measured (%s)\n", json.c_str());
    }
  }
  for (const std::string& f : {out2018, out_r12, out_binary}) std::filesystem::remove(f);
  return 0;
}
