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

// How much the tool says: -q only errors, -v more detail.
enum class Verbosity { kQuiet, kNormal, kVerbose };
void SetVerbosity(Verbosity v);
Verbosity CurrentVerbosity();
inline bool Quiet() { return CurrentVerbosity() == Verbosity::kQuiet; }
inline bool Verbose() { return CurrentVerbosity() == Verbosity::kVerbose; }

// A note on stderr about one drawing ("3 replaced"): left out with -q, and
// put on a line of its own while the progress bar is shown.
void Note(const std::string& text);

// True for a name ending in .dwg or .dxf (any case).
bool IsDrawingName(const std::filesystem::path& p);

// The drawings named by `args`: files as given, folders expanded to the
// .dwg and .dxf files in them (and below, with `recursive`), wildcard
// patterns expanded. A name that exists is taken as it is, even when it
// holds * ? or [ (a drawing called "plan[1].dxf"). Names that match nothing
// go to `problems`.
std::vector<std::string> ExpandDrawings(const std::vector<std::string>& args, bool recursive,
                                        std::vector<std::string>& problems);

// Runs `work` on every drawing, reporting failures as it goes and a summary
// at the end ("3 drawings, 2 done (1 incomplete), 1 failed"). `work` returns
// "" on success or what went wrong. Gives the exit code: 0 all done, 1 some
// drawing failed, 2 no drawings. `done`, when given, counts the drawings
// that were done.
int ForEachDrawing(const std::string& job, const std::vector<std::string>& args, bool recursive,
                   const std::function<std::string(clsVantrove&, const std::string&)>& work,
                   size_t* done = nullptr);

// "" when a drawing method's `answer` means done (statuses 1001 to 1099 are
// done with a note, printed to stderr), else the answer.
// `made`, when given, is a temporary file the note names: it is shown as
// `shownAs`.
std::string Done(clsVantrove& v, const std::string& answer, const std::string& file, const std::string& made = "",
                 const std::string& shownAs = "");

// Opens `file`: "" or what went wrong. A drawing the reader found
// incomplete (status 1003: the file ends early) opens with a warning and is
// counted as such in the run's summary.
std::string Open(clsVantrove& v, const std::string& file);

// Opens `file` to be saved over: as Open, but an incomplete drawing is
// refused unless `force` (saving it would make the loss permanent).
std::string OpenForEdit(clsVantrove& v, const std::string& file, bool force);

// An exclusive lock on a drawing that is edited in place, held from before
// it is read until after its replacement is renamed over it, so that jobs
// editing the same drawing take turns and every edit lands. The lock is
// taken on the file itself (links followed); when the file was replaced
// while this job waited, the lock moves to the new file.
class DrawingLock {
 public:
  DrawingLock() = default;
  ~DrawingLock();
  DrawingLock(const DrawingLock&) = delete;
  DrawingLock& operator=(const DrawingLock&) = delete;
  // "" when locked, else what went wrong.
  std::string Acquire(const std::string& file);

 private:
  int fd_ = -1;
};

// The description chapters by their command-line names.
const std::map<std::string, ChapterType>& Chapters();

// A chapter of the open drawing as an array with headings, read through a
// temporary description that is always removed. "" or what went wrong.
std::string ReadChapter(clsVantrove& v, ChapterType chapter, const std::string& filter, const Variant& fields,
                        DrawingFieldType drawingField, Variant& out);

// The items of a comma-separated list, trimmed, empty ones left out.
std::vector<std::string> SplitList(const std::string& s);

}  // namespace vantrove::cli
