#include "table_output.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "job_runner.hpp"
#include "vantrove/engine/replacing_file.hpp"
#include "vantrove/extract.hpp"

namespace vantrove::cli {

namespace fs = std::filesystem;

std::string HtmlEscape(const std::string& s) {
  std::string out;
  for (char c : s) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
  return out;
}

const std::vector<std::string>& TableFormats() {
  static const std::vector<std::string> formats = {"csv", "txt", "html", "xlsx", "docx"};
  return formats;
}

namespace {

std::string Join(const std::vector<std::string>& items) {
  std::string out;
  for (const auto& i : items) out += (out.empty() ? "" : ", ") + i;
  return out;
}

// The kind an extension names, "" for none, "?" for one no writer knows.
std::string KindOfExtension(const std::string& output) {
  std::string ext = fs::path(output).extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  if (ext.empty()) return "";
  if (ext == ".csv") return "csv";
  if (ext == ".html" || ext == ".htm") return "html";
  if (ext == ".txt" || ext == ".tsv") return "txt";
  if (ext == ".xlsx") return "xlsx";
  if (ext == ".docx") return "docx";
  return "?";
}

// Standard output, a device or a pipe: written straight through.
bool IsStream(const std::string& output) {
  if (output == "-") return true;
  struct stat st {};
  return stat(output.c_str(), &st) == 0 && !S_ISREG(st.st_mode) && !S_ISDIR(st.st_mode);
}

bool WriteAll(int fd, std::string_view bytes, int& error) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      error = errno;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

}  // namespace

std::string ResolveFormat(const std::string& job, const std::string& format, const std::string& output,
                          const std::string& fallback, const std::vector<std::string>& allowed) {
  const std::vector<std::string>& kinds = allowed.empty() ? TableFormats() : allowed;
  std::string kind = format;
  if (kind.empty()) {
    kind = IsStream(output) ? "" : KindOfExtension(output);
    if (kind.empty()) kind = fallback;
  }
  if (kind == "?" || std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) {
    std::cerr << (job.empty() ? std::string("vantrove") : "vantrove " + job) << ": cannot write " << (kind == "?" ? "a " + fs::path(output).extension().string() + " file"
                                                                          : kind + " to " + output)
              << "; this job writes " << Join(kinds)
              << " (named by the output's extension, or chosen with --format)\n";
    return "";
  }
  return kind;
}

std::string FormatFor(const std::string& format, const std::string& output) {
  if (!format.empty()) return format;
  const std::string kind = IsStream(output) ? "" : KindOfExtension(output);
  return kind == "?" ? "" : (kind.empty() ? "csv" : kind);
}

std::string Deliver(const std::string& output, std::string_view bytes) {
  if (output == "-") {
    std::cout.flush();
    std::fflush(stdout);
    int error = 0;
    if (!WriteAll(STDOUT_FILENO, bytes, error)) return std::string("cannot write to standard output: ") + std::strerror(error);
    return "";
  }
  const engine::Status written = engine::io::ReplaceFileContent(output, bytes);
  return written.ok() ? std::string() : written.message;
}

std::string DeliverFile(const std::string& made, const std::string& output) {
  struct Closer {
    int fd;
    ~Closer() {
      if (fd >= 0) close(fd);
    }
  } in{open(made.c_str(), O_RDONLY | O_CLOEXEC)};
  auto done = [&](std::string why) {
    std::remove(made.c_str());
    return why;
  };
  if (in.fd < 0) return done("cannot read what was written for " + output);
  engine::io::ReplacingFile file;
  if (output != "-") {
    if (const engine::Status opened = file.Open(output); !opened.ok()) return done(opened.message);
  } else {
    std::cout.flush();
    std::fflush(stdout);
  }
  std::vector<char> buffer(1 << 16);
  for (;;) {
    const ssize_t n = read(in.fd, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return done("cannot read what was written for " + output);
    if (n == 0) break;
    const std::string_view chunk(buffer.data(), static_cast<size_t>(n));
    if (output == "-") {
      int error = 0;
      if (!WriteAll(STDOUT_FILENO, chunk, error)) return done(std::string("cannot write to standard output: ") + std::strerror(error));
    } else if (!file.Write(chunk)) {
      break;  // Commit says why
    }
  }
  if (output == "-") return done("");
  const engine::Status committed = file.Commit();
  return done(committed.ok() ? std::string() : committed.message);
}

namespace {

// A workbook of one sheet, or a document of one table, made in the run's
// temporary folder and then delivered.
std::string OfficeTable(clsVantrove& v, const Table& table, const std::string& kind, const std::string& output,
                        bool headings, const std::string& title) {
  const std::string made = extract::TempFileName("." + kind);
  // The writers add to a document they find; the claimed name starts empty,
  // so it goes before writing (the run's temporary folder is its own).
  std::remove(made.c_str());
  SafeArray a = table.ToArray(headings);
  const size_t columns = table.header().size();
  int16_t rc = 0;
  if (kind == "xlsx") {
    std::string sheet = title.substr(title.find(':') == std::string::npos ? 0 : title.find(':') + 1);
    sheet.erase(std::remove_if(sheet.begin(), sheet.end(),
                               [](char c) { return std::string_view("[]:*?/\\'").find(c) != std::string_view::npos; }),
                sheet.end());
    sheet = Trim(Left(Trim(sheet), 31));
    rc = v.ArrayToExcel(Variant(std::move(a)), 1, 1, "", false, made, Variant(int32_t{1}), "", "", true, false, true,
                        headings, false, headings, sheet.empty() ? "Table" : sheet, true);
  } else {
    rc = v.TwoDArrayToWord(Variant(std::move(a)), made, true, true, dwgFormatGrid3, false, "Liberation Sans", 9, 0,
                           dwgLeft, 0, true, true, true, true, headings, false, false, false, false,
                           columns > 6 ? dwgLandscape : dwgPortrait);
  }
  if (rc != 1) {
    std::remove(made.c_str());
    return "the " + kind + " writer failed";
  }
  return DeliverFile(made, output);
}

std::string HtmlTable(clsVantrove& v, const Table& table, const std::string& output, bool headings,
                      const std::string& title) {
  SafeArray a = table.ToArray(headings);
  for (Variant& cell : a.data()) cell = Variant(HtmlEscape(CStr(cell)));
  const std::string made = extract::TempFileName(".html");
  if (v.TwoDArrayToHTMLFile(Variant(std::move(a)), made, "", title, "", "", dwgCenter, "", "", 1, "", 0, 2, 100,
                            dwgLeft, true, headings, false) != 1) {
    std::remove(made.c_str());
    return "the HTML writer failed";
  }
  return DeliverFile(made, output);
}

}  // namespace

int WriteTable(clsVantrove& v, const Table& table, const std::string& format, const std::string& output,
               bool headings, const std::string& title) {
  const std::string kind = ResolveFormat("", format, output);
  if (kind.empty()) return 2;
  if (table.empty() && table.header().empty()) {
    // Nothing was read: an existing output keeps what it holds.
    if (output != "-") Note("vantrove: nothing to write; " + output + " is left as it was");
    return 0;
  }
  std::string failed;
  if (kind == "xlsx" || kind == "docx") {
    failed = OfficeTable(v, table, kind, output, headings, title);
  } else if (kind == "html") {
    failed = HtmlTable(v, table, output, headings, title);
  } else {
    failed = Deliver(output, kind == "txt" ? table.ToText(headings) : table.ToCsv(headings));
  }
  if (failed.empty()) return 0;
  std::cerr << "vantrove: cannot write " << (output == "-" ? std::string("the table") : output) << ": " << failed << '\n';
  return 1;
}

}  // namespace vantrove::cli
