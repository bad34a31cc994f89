#pragma once
// Independent readers of the documents the office tests write: openpyxl and
// python-docx (Debian's /usr/bin/python3), and LibreOffice converting to PDF.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "../output/temp_folder.hpp"

namespace vantrove::testing_support {

inline constexpr const char* kPython = "/usr/bin/python3";

inline std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) {
    if (c == '\'') q.append("'\\''");
    else q.push_back(c);
  }
  q.push_back('\'');
  return q;
}

// Runs a shell command; its standard output, and its exit status in `status`.
inline std::string RunShell(const std::string& command, int& status) {
  std::string out;
  FILE* p = popen(command.c_str(), "r");
  if (!p) {
    status = -1;
    return out;
  }
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  const int rc = pclose(p);
  status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
  return out;
}

// Copies `file` into the folder named by VANTROVE_KEEP_OUTPUT, when set, for
// looking at by hand.
inline void KeepForInspection(const std::string& file) {
  if (const char* keep = std::getenv("VANTROVE_KEEP_OUTPUT")) {
    int status = 0;
    RunShell("cp " + Quote(file) + " " + Quote(keep), status);
  }
}

inline bool PythonHas(const std::string& module) {
  int status = 0;
  RunShell(std::string(kPython) + " -c 'import " + module + "' 2>/dev/null", status);
  return status == 0;
}

// The JSON a reader script prints for `file`.
inline nlohmann::json ReadWith(const std::string& script, const std::string& file) {
  int status = 0;
  const std::string out =
      RunShell(std::string(kPython) + " " + Quote(std::string(VANTROVE_OFFICE_TESTS) + "/" + script) + " " + Quote(file), status);
  EXPECT_EQ(status, 0) << script << " failed on " << file;
  if (status != 0) return {};
  return nlohmann::json::parse(out);
}

#define REQUIRE_PYTHON_MODULE(m) \
  if (!::vantrove::testing_support::PythonHas(m)) GTEST_SKIP() << "no " m " for /usr/bin/python3 (scripts/setup.sh installs it)"

inline bool HaveSoffice() {
  int status = 0;
  RunShell("command -v soffice >/dev/null 2>&1", status);
  return status == 0;
}

// Converts `files` to `format` (pdf, xlsx, ...) into `outDir` with a private
// LibreOffice profile in `folder`, bounded in time; the converter's messages
// in `log`. True when it ran and exited cleanly.
inline bool ConvertTo(const TempFolder& folder, const std::vector<std::string>& files, const std::string& format,
                      const std::string& outDir, std::string& log) {
  std::string cmd = "cd ";
  cmd.append(Quote(folder.path()));
  cmd.append(" && timeout 180 soffice --headless --norestore --nologo -env:UserInstallation=file://");
  cmd.append(folder.path());
  cmd.append("/lo-profile --convert-to ");
  cmd.append(format);
  cmd.append(" --outdir ");
  cmd.append(Quote(outDir));
  for (const std::string& f : files) {
    cmd.push_back(' ');
    cmd.append(Quote(f));
  }
  cmd.append(" 2>&1");
  int status = 0;
  log = RunShell(cmd, status);
  return status == 0;
}

}  // namespace vantrove::testing_support
