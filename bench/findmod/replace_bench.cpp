// Replaces one word in 200,000 texts of the large generated drawing (100,000
// TEXT and 100,000 MTEXT) and saves it; ezdxf does the same in the same run.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "dxf_generator.hpp"
#include "vantrove/component.hpp"

namespace {

using Clock = std::chrono::steady_clock;
double Seconds(Clock::time_point a, Clock::time_point b) { return std::chrono::duration<double>(b - a).count(); }

double PeakMb(int who) {
  rusage u{};
  getrusage(who, &u);
  return static_cast<double>(u.ru_maxrss) / 1024.0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = "bench-data";
  for (int i = 1; i + 1 < argc; ++i) {
    if (std::string(argv[i]) == "--dir") dir = argv[++i];
  }
  std::filesystem::create_directories(dir);
  const std::string dxf = dir + "/bench_100000_200000.dxf";
  if (!std::filesystem::exists(dxf)) {
    vantrove::bench::GeneratedDrawing g;
    if (!vantrove::bench::GenerateDxf(dxf, 100000, 200000, g)) {
      std::fprintf(stderr, "cannot write %s\n", dxf.c_str());
      return 1;
    }
  }
  const double mb = static_cast<double>(std::filesystem::file_size(dxf)) / (1024.0 * 1024.0);
  std::printf("file: %s, %.1f MB\n", dxf.c_str(), mb);

  const std::string ours = dir + "/replaced_vantrove.dxf";
  int32_t changed = 0;
  const auto t0 = Clock::now();
  {
    vantrove::clsVantrove v;
    if (v.OpenDrawing(dxf) != "OK") return 1;
    changed += v.FindAndReplaceText("Note", "Memo", vantrove::dwgSingleLine, false, false, true);
    changed += v.FindAndReplaceText("Room", "Hall", vantrove::dwgMultipleLine, false, false, true);
    if (v.SaveDrawing(ours) != "OK") return 1;
  }
  const double ourSeconds = Seconds(t0, Clock::now());
  std::printf("vantrove: %d texts changed, open + replace + save %.2f s, peak RSS %.0f MB\n", changed, ourSeconds,
              PeakMb(RUSAGE_SELF));

  const std::string theirs = dir + "/replaced_ezdxf.dxf";
  const std::string cmd = "/usr/bin/python3 '" + std::string(VANTROVE_BENCH_SCRIPT) + "' '" + dxf + "' '" + theirs + "'";
  const auto t1 = Clock::now();
  FILE* p = popen(cmd.c_str(), "r");
  char line[128] = {};
  const bool got = p != nullptr && std::fgets(line, sizeof line, p) != nullptr;
  const int status = p ? pclose(p) : -1;
  const double theirSeconds = Seconds(t1, Clock::now());
  if (!got || status != 0) {
    std::printf("ezdxf: not available (python3-ezdxf)\n");
    return 0;
  }
  std::printf("ezdxf: %s texts changed, load + replace + save %.2f s, peak RSS %.0f MB\n",
              std::string(line, std::strcspn(line, " ")).c_str(), theirSeconds, PeakMb(RUSAGE_CHILDREN));
  std::printf("ratio: vantrove is %.1fx faster than ezdxf (goal 10x)\n", theirSeconds / ourSeconds);
  return 0;
}
