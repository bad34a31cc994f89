#pragma once
// Writing a table where the user asked: CSV, text, HTML, a workbook or a
// document, to a file or to standard output.

#include <string>

#include "table.hpp"
#include "vantrove/component.hpp"

namespace vantrove::cli {

// `s` with &, < and > escaped for HTML.
std::string HtmlEscape(const std::string& s);

// The output kind: `format` when given, else from the output's extension
// (html, txt, xlsx, docx), else csv.
std::string FormatFor(const std::string& format, const std::string& output);

// Writes `table` as `format` to `output` ("-": standard output). Gives the
// exit code (0 or 1) after saying on stderr what went wrong.
int WriteTable(clsVantrove& v, const Table& table, const std::string& format, const std::string& output,
               bool headings, const std::string& title);

}  // namespace vantrove::cli
