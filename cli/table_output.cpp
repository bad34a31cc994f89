#include "table_output.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

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

std::string FormatFor(const std::string& format, const std::string& output) {
  if (!format.empty()) return format;
  std::string ext = fs::path(output).extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  if (ext == ".html" || ext == ".htm") return "html";
  if (ext == ".txt" || ext == ".tsv") return "txt";
  if (ext == ".xlsx") return "xlsx";
  if (ext == ".docx") return "docx";
  return "csv";
}

namespace {

// A workbook of one sheet, or a document of one table, made beside the
// output under a name of its own and then renamed over it (a document the
// writer found would otherwise be appended to).
int WriteOfficeTable(clsVantrove& v, const Table& table, const std::string& kind, const std::string& output,
                     bool headings, const std::string& title) {
  const std::string ext = "." + kind;
  const std::string target = output == "-" ? extract::TempFileName(ext)
                                           : output + ".part-" + std::to_string(::getpid()) + ext;
  // The writers add to a document they find; the claimed name starts empty,
  // so it goes before writing (the run's temporary folder is its own).
  if (output == "-") std::remove(target.c_str());
  SafeArray a = table.ToArray(headings);
  const size_t columns = table.header().size();
  int16_t rc = 0;
  if (kind == "xlsx") {
    std::string sheet = title.substr(title.find(':') == std::string::npos ? 0 : title.find(':') + 1);
    sheet.erase(std::remove_if(sheet.begin(), sheet.end(), [](char c) { return std::string_view("[]:*?/\\'").find(c) != std::string_view::npos; }),
                sheet.end());
    sheet = Trim(Left(Trim(sheet), 31));
    rc = v.ArrayToExcel(Variant(std::move(a)), 1, 1, "", false, target, Variant(int32_t{1}), "", "", true, false,
                        true, headings, false, headings, sheet.empty() ? "Table" : sheet, true);
  } else {
    rc = v.TwoDArrayToWord(Variant(std::move(a)), target, true, true, dwgFormatGrid3, false, "Liberation Sans", 9, 0,
                           dwgLeft, 0, true, true, true, true, headings, false, false, false, false,
                           columns > 6 ? dwgLandscape : dwgPortrait);
  }
  std::error_code ec;
  if (rc != 1) {
    fs::remove(target, ec);
    std::cerr << "vantrove: cannot write " << output << '\n';
    return 1;
  }
  if (output == "-") {
    std::ifstream in(target, std::ios::binary);
    std::cout << in.rdbuf() << std::flush;
    fs::remove(target, ec);
    return 0;
  }
  const fs::path real = fs::is_symlink(output, ec) ? fs::canonical(output, ec) : fs::path(output);
  fs::rename(target, real, ec);
  if (ec) {
    fs::remove(target);
    std::cerr << "vantrove: cannot write " << output << ": " << ec.message() << '\n';
    return 1;
  }
  return 0;
}

}  // namespace

int WriteTable(clsVantrove& v, const Table& table, const std::string& format, const std::string& output,
               bool headings, const std::string& title) {
  const std::string kind = FormatFor(format, output);
  if (kind == "xlsx" || kind == "docx") return WriteOfficeTable(v, table, kind, output, headings, title);
  if (kind == "html") {
    SafeArray a = table.ToArray(headings);
    for (Variant& cell : a.data()) cell = Variant(HtmlEscape(CStr(cell)));
    const std::string target = output == "-" ? extract::TempFileName(".html") : output;
    if (v.TwoDArrayToHTMLFile(Variant(std::move(a)), target, "", title, "", "", dwgCenter, "", "", 1, "", 0, 2, 100,
                              dwgLeft, true, headings, false) != 1) {
      std::cerr << "vantrove: cannot write " << target << '\n';
      return 1;
    }
    if (output == "-") {
      std::ifstream in(target, std::ios::binary);
      std::cout << in.rdbuf();
      std::remove(target.c_str());
    }
    return 0;
  }
  const std::string text = kind == "txt" ? table.ToText(headings) : table.ToCsv(headings);
  if (output == "-") {
    std::cout << text << std::flush;
    return 0;
  }
  if (const engine::Status written = engine::io::ReplaceFileContent(output, text); !written.ok()) {
    std::cerr << "vantrove: " << written.message << '\n';
    return 1;
  }
  return 0;
}

}  // namespace vantrove::cli
