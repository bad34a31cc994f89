// `vantrove rpc` answering one request that holds a 100,000 x 10 array
// (TwoDArrayToText), against Python's json module parsing the same request
// and writing the same answer. Figures count the JSON in plus the JSON out.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

#include "measure.hpp"

using namespace vantrove::bench;

namespace {

double FileMB(const std::string& path) {
  struct stat st {};
  stat(path.c_str(), &st);
  return static_cast<double>(st.st_size) / 1e6;
}

// Integers, decimals and words, as a table handed over from a script would hold.
void WriteRequest(const std::string& path, bool onlyChanged) {
  std::mt19937 rng(1);
  std::string s = "{\"id\":1,\"method\":\"TwoDArrayToText\",\"params\":[[";
  for (int r = 0; r < 100000; ++r) {
    s += r ? ",[" : "[";
    for (int c = 0; c < 10; ++c) {
      if (c) s += ',';
      if (c == 0) {
        s += std::to_string(r);
      } else if (c % 3 == 0) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.2f", static_cast<double>(rng() % 1000000) / 100.0);
        s += buf;
      } else {
        s += '"';
        for (unsigned n = 3 + rng() % 14; n > 0; --n) s += static_cast<char>('a' + rng() % 26);
        s += '"';
      }
    }
    s += ']';
  }
  s += "],\"\",\"\\t\",\"\\n\",false]";
  if (onlyChanged) s += ",\"onlyChanged\":true";
  s += "}\n";
  std::ofstream(path, std::ios::binary) << s;
}

struct Timing {
  double wall = 1e300, cpu = 1e300;
};

// The best of three runs of the tool, wall and CPU time of the child.
Timing RunTool(const std::string& in, const std::string& out) {
  Timing t;
  for (int i = 0; i < 3; ++i) {
    struct rusage before {}, after {};
    getrusage(RUSAGE_CHILDREN, &before);
    const auto t0 = Clock::now();
    const int rc = std::system(("'" + std::string(VANTROVE_CLI) + "' rpc < '" + in + "' > '" + out + "'").c_str());
    const auto t1 = Clock::now();
    getrusage(RUSAGE_CHILDREN, &after);
    if (rc != 0) std::printf("vantrove rpc failed (%d)\n", rc);
    t.wall = std::min(t.wall, Seconds(t0, t1));
    t.cpu = std::min(t.cpu, CpuSeconds(after) - CpuSeconds(before));
  }
  return t;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string dir = argc > 1 ? argv[1] : "/tmp";
  const std::string req = dir + "/vantrove-rpc-request.json", ans = dir + "/vantrove-rpc-answer.json";
  const std::string req2 = dir + "/vantrove-rpc-request2.json", ans2 = dir + "/vantrove-rpc-answer2.json";
  WriteRequest(req, false);
  WriteRequest(req2, true);
  const Timing ours = RunTool(req, ans);
  const Timing changed = RunTool(req2, ans2);
  const double in = FileMB(req), out = FileMB(ans), out2 = FileMB(ans2);
  const std::string peer = Run("/usr/bin/python3 '" + std::string(VANTROVE_JSON_PEER) + "' '" + req + "' '" + ans + "'");
  const double py = JsonNumber(peer, "parse") + JsonNumber(peer, "dump");
  const double pyCpu = JsonNumber(peer, "parse_cpu") + JsonNumber(peer, "dump_cpu");
  const bool answered = Run("head -c 40 '" + ans + "'").starts_with("{\"id\":1,\"params\":[[[");

  std::printf("request %.1f MB in, answer %.1f MB out (100,000 x 10 cells, TwoDArrayToText); answered: %s\n", in, out,
              answered ? "yes" : "NO");
  std::printf("vantrove rpc:        %.3f s CPU, %.3f s wall (process start included): %.0f MB/s CPU, %.0f MB/s wall\n",
              ours.cpu, ours.wall, (in + out) / ours.cpu, (in + out) / ours.wall);
  std::printf("  onlyChanged:       %.3f s CPU, %.3f s wall, answer %.3f MB\n", changed.cpu, changed.wall, out2);
  std::printf("Python json:         %.3f s CPU (parse %.3f + dump %.3f), %.0f MB/s; %.3f s wall\n", pyCpu,
              JsonNumber(peer, "parse_cpu"), JsonNumber(peer, "dump_cpu"), (in + out) / pyCpu, py);
  std::printf("ours faster by %.1fx on CPU time (goal >= 2x), %.1fx on wall time; %.0f MB/s CPU (goal >= 100 MB/s)\n",
              pyCpu / ours.cpu, py / ours.wall, (in + out) / ours.cpu);
  const double load = std::strtod(Run("cut -d' ' -f1 /proc/loadavg").c_str(), nullptr);
  std::printf("load average %.1f on %ld cores (wall figures suffer when it is above the core count)\n", load,
              sysconf(_SC_NPROCESSORS_ONLN));
  if (std::getenv("VANTROVE_BENCH_KEEP") == nullptr) {
    for (const std::string& f : {req, ans, req2, ans2}) std::remove(f.c_str());
  }
  return answered ? 0 : 1;
}
