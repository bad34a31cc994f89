// `vantrove extract DRAWING -o OUT.csv`: every block's attribute table from
// the large generated drawing (made by extract_bench into the same folder),
// as a user runs it: seconds, CPU and peak RSS of the tool, against a
// python3-ezdxf script writing the same CSV; the two CSVs are compared.
//
// Usage: extract_job_bench [--dir D] [--no-ezdxf]
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "measure.hpp"

using namespace vantrove::bench;

namespace {

struct Outcome {
  double wall = 0, cpu = 0;
  long peakKb = 0;
  int status = -1;
};

Outcome RunTool(const std::string& dxf, const std::string& csv) {
  Outcome o;
  const auto t0 = Clock::now();
  const pid_t pid = fork();
  if (pid == 0) {
    execl(VANTROVE_CLI, VANTROVE_CLI, "extract", dxf.c_str(), "-o", csv.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  struct rusage u {};
  wait4(pid, &status, 0, &u);
  o.wall = Seconds(t0, Clock::now());
  o.cpu = CpuSeconds(u);
  o.peakKb = u.ru_maxrss;
  o.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return o;
}

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = VANTROVE_BENCH_DATA;
  bool ezdxf = true;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--dir") == 0 && i + 1 < argc) dir = argv[++i];
    else if (std::strcmp(argv[i], "--no-ezdxf") == 0) ezdxf = false;
  }
  const std::string dxf = dir + "/bench_100000_200000.dxf";
  if (!std::filesystem::exists(dxf)) {
    std::fprintf(stderr, "%s is missing: run extract_bench first, it generates the drawing\n", dxf.c_str());
    return 2;
  }
  const double mb = static_cast<double>(std::filesystem::file_size(dxf)) / (1024.0 * 1024.0);
  Run("cat '" + dxf + "' > /dev/null");
  const std::string ours = dir + "/extract-job-vantrove.csv", peer = dir + "/extract-job-ezdxf.csv";
  const Outcome o = RunTool(dxf, ours);
  std::printf("file %.1f MB\n", mb);
  std::printf("vantrove extract (every block): exit %d, %.2f s wall, %.2f s CPU, peak RSS %.1f MB = %.2f x file "
              "(goal <= 2)\n",
              o.status, o.wall, o.cpu, o.peakKb / 1024.0, o.peakKb / 1024.0 / mb);
  if (ezdxf) {
    const std::string out = Run("/usr/bin/python3 '" + std::string(VANTROVE_JOB_SCRIPT) + "' '" + dxf + "' '" + peer + "'");
    const double total = JsonNumber(out, "total"), cpu = JsonNumber(out, "cpu");
    std::printf("ezdxf script: %.2f s wall, %.2f s CPU, peak RSS %.1f MB\n", total, cpu,
                JsonNumber(out, "peak_rss_kb") / 1024.0);
    std::printf("ours faster by %.1fx on wall time, %.1fx on CPU time (goal >= 30x); same CSV: %s\n", total / o.wall,
                cpu / o.cpu, Slurp(ours) == Slurp(peer) ? "yes" : "NO");
  }
  std::remove(ours.c_str());
  std::remove(peer.c_str());
  return o.status == 0 ? 0 : 1;
}
