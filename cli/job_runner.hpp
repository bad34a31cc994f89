#pragma once
// What every drawing job shares: the drawings named on the command line,
// a run over them with a progress line and a summary, and the statuses the
// drawing methods answer.

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "vantrove/component.hpp"

namespace vantrove::cli {

// True for a name ending in .dwg or .dxf (any case).
bool IsDrawingName(const std::filesystem::path& p);

// The drawings named by `args`: files as given, folders expanded to the
// .dwg and .dxf files in them (and below, with `recursive`), wildcard
// patterns expanded. Names that match nothing go to `problems`.
std::vector<std::string> ExpandDrawings(const std::vector<std::string>& args, bool recursive,
                                        std::vector<std::string>& problems);

// Runs `work` on every drawing, reporting failures as it goes and a summary
// at the end. `work` returns "" on success or what went wrong. Gives the exit
// code: 0 all done, 1 some drawing failed, 2 no drawings.
int ForEachDrawing(const std::string& job, const std::vector<std::string>& args, bool recursive,
                   const std::function<std::string(clsVantrove&, const std::string&)>& work);

// "" when a drawing method's `answer` means done (statuses 1001 to 1099 are
// done with a note, printed to stderr), else the answer.
std::string Done(clsVantrove& v, const std::string& answer, const std::string& file);

// Opens `file`: "" or what went wrong.
std::string Open(clsVantrove& v, const std::string& file);

// The description chapters by their command-line names.
const std::map<std::string, ChapterType>& Chapters();

// A chapter of the open drawing as an array with headings, read through a
// temporary description that is always removed. "" or what went wrong.
std::string ReadChapter(clsVantrove& v, ChapterType chapter, const std::string& filter, const Variant& fields,
                        DrawingFieldType drawingField, Variant& out);

// The items of a comma-separated list, trimmed, empty ones left out.
std::vector<std::string> SplitList(const std::string& s);

}  // namespace vantrove::cli
