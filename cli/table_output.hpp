#pragma once
// Writing what a job made where the user asked: CSV, text, HTML, a workbook
// or a document, to a file, a device or a pipe, or to standard output ("-").
//
// Files are replaced through a uniquely named temporary file beside them
// (owner, group and mode kept, links followed); devices and pipes are
// written straight through. An output is touched only when there is
// something to write: a run that produced nothing leaves the old file.

#include <string>
#include <vector>

#include "table.hpp"
#include "vantrove/component.hpp"

namespace vantrove::cli {

// `s` with &, < and > escaped for HTML.
std::string HtmlEscape(const std::string& s);

// The kinds of table the tool writes: csv, txt, html, xlsx, docx.
const std::vector<std::string>& TableFormats();

// The output kind: `format` when given, else from the output's extension
// (.csv, .txt/.tsv, .html/.htm, .xlsx, .docx). Standard output ("-"), a name
// without an extension and a device or pipe take `fallback`. Any other
// extension, or a kind not in `allowed` (all TableFormats when empty), gives
// "" after saying on stderr which kinds can be written.
std::string ResolveFormat(const std::string& job, const std::string& format, const std::string& output,
                          const std::string& fallback = "csv", const std::vector<std::string>& allowed = {});

// The output kind as ResolveFormat gives it for any job, CSV by default
// ("" for an extension no writer knows).
std::string FormatFor(const std::string& format, const std::string& output);

// Writes `bytes` to `output` ("-": standard output). "" or what went wrong.
std::string Deliver(const std::string& output, std::string_view bytes);

// Copies the file `made` (a temporary file of this run) to `output` and
// removes it. "" or what went wrong.
std::string DeliverFile(const std::string& made, const std::string& output);

// Writes `table` as `format` to `output` ("-": standard output). Gives the
// exit code: 0 (also when the table is empty: the output is then left as
// it was), 1 when writing failed, 2 for an output kind that cannot be
// written; says on stderr what went wrong.
int WriteTable(clsVantrove& v, const Table& table, const std::string& format, const std::string& output,
               bool headings, const std::string& title);

}  // namespace vantrove::cli
