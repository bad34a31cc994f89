// TwoDArrayToTextFile then TextFileToArray on 100,000 x 10 cells, against
// Python's csv module on the same table, and `cat` as the I/O floor.
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "bench_util.hpp"
#include "vantrove/component.hpp"

using namespace vantrove;
using vantrove::bench::Best;
using vantrove::bench::BestChildCpu;
using vantrove::bench::BestCpu;
using vantrove::bench::Seconds;

namespace {

std::string Word(std::mt19937& rng, size_t len) {
  std::string s(len, 'a');
  for (char& c : s) c = static_cast<char>('a' + rng() % 26);
  return s;
}

double FileMB(const std::string& path) {
  struct stat st {};
  stat(path.c_str(), &st);
  return static_cast<double>(st.st_size) / 1e6;
}

std::string Output(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return out;
  std::array<char, 4096> buf{};
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) out.append(buf.data(), n);
  pclose(p);
  return out;
}

double Field(const std::string& text, const std::string& name) {
  const size_t at = text.find(name + " ");
  return at == std::string::npos ? -1 : std::atof(text.c_str() + at + name.size() + 1);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string dir = argc > 1 ? argv[1] : "/tmp";
  const std::string file = dir + "/vantrove-bench.csv", copy = dir + "/vantrove-bench-copy.csv";
  constexpr int kRows = 100000, kCols = 10;
  std::mt19937 rng(1);
  SafeArray table = SafeArray::Matrix(kRows, kCols);
  for (int r = 0; r < kRows; ++r) {
    table.at(r, 0) = Variant(static_cast<int32_t>(r));
    for (int c = 1; c < kCols; ++c) {
      if (c % 3 == 0) table.at(r, c) = Variant(static_cast<double>(rng() % 1000000) / 100.0);
      else table.at(r, c) = Variant(Word(rng, 3 + rng() % 14));
    }
  }
  const Variant grid(table);
  clsVantrove v;
  int16_t wrote = 0, read = 0;
  // CPU time of this process (user + system, the file's writing included),
  // the best of three; wall-clock figures follow for reference.
  const double write = BestCpu(3, [] {}, [&] { wrote = v.TwoDArrayToTextFile(grid, file); });
  const double writeWall = Best(3, [] {}, [&] { wrote = v.TwoDArrayToTextFile(grid, file); });
  const double mb = FileMB(file);
  Variant back;
  const double fresh = BestCpu(3, [&] { back = Variant(SafeArray()); }, [&] { read = v.TextFileToArray(file, back, ","); });
  // Reading again into the same variable reuses its array and cell strings.
  const double parse = BestCpu(3, [] {}, [&] { read = v.TextFileToArray(file, back, ","); });
  const double parseWall = Best(3, [] {}, [&] { read = v.TextFileToArray(file, back, ","); });
  const bool same = read == 1 && back.array().UBound(1) == kRows - 1 && back.array().UBound(2) == kCols - 1 &&
                    CStr(back.array().at(kRows - 1, 1)) == CStr(table.at(kRows - 1, 1));

  double pyRead = 1e300, pyWrite = 1e300;  // CPU time, the best of three runs, as for ours
  for (int i = 0; i < 3; ++i) {
    const std::string peer =
        Output("/usr/bin/python3 '" + std::string(VANTROVE_CSV_PEER) + "' '" + file + "' '" + copy + "'");
    pyRead = std::min(pyRead, Field(peer, "read_cpu"));
    pyWrite = std::min(pyWrite, Field(peer, "write_cpu"));
  }
  const double cat = BestChildCpu(3, "cat '" + file + "' > '" + copy + "'");
  const double catWall = Best(3, [] {}, [&] { std::system(("cat '" + file + "' > '" + copy + "'").c_str()); });

  const char* tunables = std::getenv("GLIBC_TUNABLES");
  std::printf("table: %d rows x %d columns, file %.1f MB; GLIBC_TUNABLES=%s; CPU seconds unless said\n", kRows, kCols,
              mb, tunables ? tunables : "(unset)");
  std::printf("TwoDArrayToTextFile: %.4f s (%.0f MB/s) result %d; wall %.4f s\n", write, mb / write, wrote, writeWall);
  std::printf("TextFileToArray:     %.4f s (%.0f MB/s) into the same variable again; %.4f s into a fresh one; "
              "wall %.4f s\n",
              parse, mb / parse, fresh, parseWall);
  std::printf("                     result %d, table matches: %s\n", read, same ? "yes" : "NO");
  std::printf("both:                %.4f s (fresh array: %.4f s)\n", write + parse, write + fresh);
  std::printf("Python csv writer:   %.4f s (%.0f MB/s)  ours faster by %.1fx\n", pyWrite, mb / pyWrite, pyWrite / write);
  std::printf("Python csv reader:   %.4f s (%.0f MB/s)  ours faster by %.1fx (fresh array: %.1fx)\n", pyRead,
              mb / pyRead, pyRead / parse, pyRead / fresh);
  std::printf("Python both:         %.4f s             ours faster by %.1fx (goal >= 5x); fresh array: %.1fx\n",
              pyRead + pyWrite, (pyRead + pyWrite) / (write + parse), (pyRead + pyWrite) / (write + fresh));
  std::printf("floor, cat FILE > COPY (read + write, process start included): %.4f s CPU, %.4f s wall; "
              "ours %.1fx of it (goal <= 3x); fresh array: %.1fx\n",
              cat, catWall, (write + parse) / cat, (write + fresh) / cat);
  std::remove(file.c_str());
  std::remove(copy.c_str());
  return same ? 0 : 1;
}
