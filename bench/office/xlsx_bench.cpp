// 1,000,000 cells (100,000 rows x 10 columns, numbers and text) into a new
// workbook: our writer against libxlsxwriter in its constant-memory mode,
// each in a child process of its own so that peak memory is its own.
//
//   xlsx_bench [rows] [folder]
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "output/workbook.hpp"
#include "vantrove/runtime.hpp"

#ifdef VANTROVE_HAVE_XLSXWRITER
#include <xlsxwriter.h>
#endif

namespace {

using vantrove::SafeArray;
using vantrove::Variant;

constexpr int32_t kCols = 10;

SafeArray MakeCells(int32_t rows) {
  SafeArray a = SafeArray::Matrix(rows, kCols);
  for (int32_t r = 0; r < rows; ++r) {
    for (int32_t c = 0; c < kCols; ++c) {
      Variant& v = a.at(r, c);
      if (c % 2 == 0) v = Variant(r * 1.25 + c);
      else if (c == 3) v = Variant(static_cast<int32_t>(r * 7));
      else v = Variant("item " + std::to_string(r) + "-" + std::to_string(c));
    }
  }
  return a;
}

struct Figures {
  double seconds = -1;
  double peakMiB = 0;
};

// Runs `work` in a child; its wall time (measured inside, around the work)
// and its peak resident memory.
Figures InChild(const std::function<void(double&)>& work) {
  int fds[2];
  if (pipe(fds) != 0) return {};
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    double seconds = -1;
    work(seconds);
    if (write(fds[1], &seconds, sizeof seconds) != sizeof seconds) _exit(2);
    _exit(0);
  }
  close(fds[1]);
  Figures f;
  if (read(fds[0], &f.seconds, sizeof f.seconds) != sizeof f.seconds) f.seconds = -1;
  close(fds[0]);
  int status = 0;
  rusage ru{};
  wait4(pid, &status, 0, &ru);
  f.peakMiB = static_cast<double>(ru.ru_maxrss) / 1024.0;
  return f;
}

double FileMiB(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 ? static_cast<double>(st.st_size) / (1024.0 * 1024.0) : 0;
}

double Since(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

Figures Ours(int32_t rows, const std::string& file) {
  return InChild([&](double& s) {
    SafeArray cells = MakeCells(rows);
    const auto t0 = std::chrono::steady_clock::now();
    auto wb = vantrove::xlsx::Workbook::Create();
    wb->ActiveSheet().WriteBlock(1, 1, vantrove::xlsx::ArrayBlock(cells), {.asText = false});
    wb->SaveAs(file);
    s = Since(t0);
  });
}

Figures ArrayOnly(int32_t rows) {
  return InChild([&](double& s) {
    SafeArray cells = MakeCells(rows);
    s = cells.size() > 0 ? 0 : -1;
  });
}

#ifdef VANTROVE_HAVE_XLSXWRITER
Figures Peer(int32_t rows, const std::string& file) {
  return InChild([&](double& s) {
    SafeArray cells = MakeCells(rows);
    const auto t0 = std::chrono::steady_clock::now();
    lxw_workbook_options options = {};
    options.constant_memory = LXW_TRUE;
    lxw_workbook* wb = workbook_new_opt(file.c_str(), &options);
    lxw_worksheet* ws = workbook_add_worksheet(wb, nullptr);
    for (int32_t r = 0; r < rows; ++r) {
      for (int32_t c = 0; c < kCols; ++c) {
        const Variant& v = cells.at(r, c);
        if (v.IsString()) worksheet_write_string(ws, static_cast<lxw_row_t>(r), static_cast<lxw_col_t>(c), v.str().c_str(), nullptr);
        else worksheet_write_number(ws, static_cast<lxw_row_t>(r), static_cast<lxw_col_t>(c), vantrove::CDbl(v), nullptr);
      }
    }
    if (workbook_close(wb) != LXW_NO_ERROR) return;
    s = Since(t0);
  });
}
#endif

}  // namespace

int main(int argc, char** argv) {
  const int32_t rows = argc > 1 ? std::atoi(argv[1]) : 100000;
  const std::string folder = argc > 2 ? argv[2] : (std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp");
  const std::string ours = folder + "/xlsx_bench_ours.xlsx", peer = folder + "/xlsx_bench_peer.xlsx";
  std::printf("%d rows x %d columns (%d cells), numbers and text, into a new workbook\n", rows, kCols, rows * kCols);
  const Figures base = ArrayOnly(rows);
  std::printf("  the array alone:        peak %7.1f MiB\n", base.peakMiB);
  const Figures a = Ours(rows, ours);
  std::printf("  vantrove:      %6.2f s, peak %7.1f MiB (%.1f MiB above the array), file %.1f MiB\n", a.seconds,
              a.peakMiB, a.peakMiB - base.peakMiB, FileMiB(ours));
#ifdef VANTROVE_HAVE_XLSXWRITER
  const Figures b = Peer(rows, peer);
  std::printf("  libxlsxwriter: %6.2f s, peak %7.1f MiB (%.1f MiB above the array), file %.1f MiB (constant-memory mode)\n",
              b.seconds, b.peakMiB, b.peakMiB - base.peakMiB, FileMiB(peer));
  if (a.seconds > 0 && b.seconds > 0) std::printf("  time ratio vantrove / libxlsxwriter: %.2f (goal: at most 1.5)\n", a.seconds / b.seconds);
  std::remove(peer.c_str());
#else
  std::printf("  libxlsxwriter: not built (install libxlsxwriter-dev)\n");
#endif
  std::remove(ours.c_str());
  return a.seconds > 0 ? 0 : 1;
}
