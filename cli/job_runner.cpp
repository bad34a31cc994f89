#include "job_runner.hpp"

#include <fcntl.h>
#include <glob.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <set>

#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/progress.hpp"
#include "vantrove/extract.hpp"

namespace vantrove::cli {

namespace fs = std::filesystem;

namespace {
Verbosity gVerbosity = Verbosity::kNormal;
}  // namespace

void SetVerbosity(Verbosity v) { gVerbosity = v; }
Verbosity CurrentVerbosity() { return gVerbosity; }

bool IsDrawingName(const fs::path& p) {
  std::string ext = p.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext == ".dwg" || ext == ".dxf";
}


std::vector<std::string> ExpandDrawings(const std::vector<std::string>& args, bool recursive,
                                        std::vector<std::string>& problems) {
  std::vector<std::string> out;
  std::set<std::string> seen;
  auto add = [&](const std::string& f) {
    if (seen.insert(f).second) out.push_back(f);
  };
  auto addFolder = [&](const fs::path& dir) {
    std::vector<std::string> found;
    std::error_code ec;
    if (recursive) {
      for (auto it = fs::recursive_directory_iterator(dir, ec); !ec && it != fs::recursive_directory_iterator();
           it.increment(ec)) {
        if (it->is_regular_file(ec) && IsDrawingName(it->path())) found.push_back(it->path().string());
      }
    } else {
      for (auto it = fs::directory_iterator(dir, ec); !ec && it != fs::directory_iterator(); it.increment(ec)) {
        if (it->is_regular_file(ec) && IsDrawingName(it->path())) found.push_back(it->path().string());
      }
    }
    if (ec) problems.push_back(dir.string() + ": " + ec.message());
    std::sort(found.begin(), found.end());
    if (found.empty() && !ec) problems.push_back(dir.string() + ": no .dwg or .dxf files in this folder");
    for (const auto& f : found) add(f);
  };
  for (const std::string& arg : args) {
    std::error_code ec;
    if (fs::is_directory(arg, ec)) {
      addFolder(arg);
    } else if (fs::exists(arg, ec)) {
      add(arg);  // a name that exists is what it says, wildcard characters or not
    } else if (arg.find_first_of("*?[") != std::string::npos) {
      glob_t g{};
      if (glob(arg.c_str(), 0, nullptr, &g) == 0) {
        for (size_t i = 0; i < g.gl_pathc; ++i) {
          if (fs::is_directory(g.gl_pathv[i], ec)) addFolder(g.gl_pathv[i]);
          else add(g.gl_pathv[i]);
        }
      } else {
        problems.push_back(arg + ": no file matches this pattern");
      }
      globfree(&g);
    } else {
      add(arg);  // a missing file is reported when it is opened
    }
  }
  return out;
}

namespace {

// One line on a terminal that shows how far a run over many drawings got,
// and how far the drawing being read got when it is a large one.
class Progress {
 public:
  explicit Progress(size_t total) : total_(total), terminal_(isatty(STDERR_FILENO) != 0), shown_(false) {}
  ~Progress() { Clear(); }
  void Step(size_t done, const std::string& name) {
    done_ = done;
    name_ = name;
    part_ = -1;
    if (total_ > 1) Draw(0);
  }
  // The current drawing is `fraction` read; shown for one drawing too.
  void Within(double fraction) {
    const int part = static_cast<int>(fraction * 100);
    if (part == part_ || done_ >= total_) return;
    part_ = part;
    Draw(fraction);
  }
  void Clear() {
    if (shown_) std::fprintf(stderr, "\r%80s\r", "");
    shown_ = false;
  }
  void Hide() { terminal_ = false; }
  // A message on its own line while the bar is shown.
  void Say(const std::string& text) {
    if (shown_) std::fprintf(stderr, "\r%80s\r", "");
    std::cerr << text << '\n';
  }

 private:
  void Draw(double fraction) {
    if (!terminal_) return;
    const size_t width = 30;
    const double share = total_ ? (static_cast<double>(done_) + fraction) / static_cast<double>(total_) : 1.0;
    const auto filled = std::min(width, static_cast<size_t>(share * width));
    std::string label = fs::path(name_).filename().string();
    if (label.size() > 34) label = label.substr(0, 31) + "...";
    if (part_ >= 0) label += " reading " + std::to_string(part_) + "%";
    std::fprintf(stderr, "\r[%s%s] %zu/%zu %-40s", std::string(filled, '#').c_str(),
                 std::string(width - filled, '.').c_str(), done_, total_, label.c_str());
    std::fflush(stderr);
    shown_ = true;
  }

  size_t total_;
  bool terminal_;
  bool shown_;
  size_t done_ = 0;
  std::string name_;
  int part_ = -1;
};

// What the run over the drawings knows while it goes: where notes go, and
// whether the drawing at hand opened incomplete.
struct RunState {
  Progress* progress = nullptr;
  bool incomplete = false;
};
RunState* gRun = nullptr;

}  // namespace

void Note(const std::string& text) {
  if (Quiet()) return;
  if (gRun != nullptr && gRun->progress != nullptr) {
    gRun->progress->Say(text);
  } else {
    std::cerr << text << '\n';
  }
}

int ForEachDrawing(const std::string& job, const std::vector<std::string>& args, bool recursive,
                   const std::function<std::string(clsVantrove&, const std::string&)>& work, size_t* doneCount) {
  std::vector<std::string> problems;
  const std::vector<std::string> drawings = ExpandDrawings(args, recursive, problems);
  for (const auto& p : problems) std::cerr << "vantrove " << job << ": " << p << '\n';
  if (drawings.empty()) {
    std::cerr << "vantrove " << job << ": no drawings to work on\n";
    return 2;
  }
  clsVantrove vantrove;
  Progress progress(drawings.size());
  if (Quiet()) progress.Hide();
  RunState run;
  run.progress = &progress;
  RunState* const outer = gRun;
  gRun = &run;
  // Large drawings report how far reading got while they are opened.
  const engine::ReadProgress before = engine::SetReadProgress(
      [&progress](uint64_t done, uint64_t total) { progress.Within(total ? double(done) / double(total) : 1.0); });
  size_t failed = 0, incomplete = 0;
  for (size_t i = 0; i < drawings.size(); ++i) {
    progress.Step(i, drawings[i]);
    run.incomplete = false;
    const auto start = std::chrono::steady_clock::now();
    std::string error;
    try {
      error = work(vantrove, drawings[i]);
    } catch (const std::exception& e) {
      error = e.what();
    }
    if (vantrove.drawing_open()) vantrove.CloseDrawing();
    if (!error.empty()) {
      ++failed;
      progress.Say("vantrove " + job + ": " + drawings[i] + ": " + error);
      continue;
    }
    if (run.incomplete) ++incomplete;
    if (Verbose()) {
      const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      char took[32];
      std::snprintf(took, sizeof took, "%.2f s", seconds);
      Note(drawings[i] + ": done in " + took + (run.incomplete ? " (incomplete)" : ""));
    }
  }
  engine::SetReadProgress(before);
  gRun = outer;
  progress.Step(drawings.size(), "");
  progress.Clear();
  if (doneCount != nullptr) *doneCount = drawings.size() - failed;
  if (!Quiet() && (drawings.size() > 1 || failed || incomplete || Verbose())) {
    std::cerr << "vantrove " << job << ": " << drawings.size() << " drawing" << (drawings.size() == 1 ? "" : "s")
              << ", " << drawings.size() - failed << " done";
    if (incomplete) std::cerr << " (" << incomplete << " incomplete)";
    std::cerr << ", " << failed << " failed\n";
  }
  return failed || !problems.empty() ? 1 : 0;
}

// `answer` is what a drawing method answered. Statuses 1001 to 1099 report
// work done with a note (what a DXF version could not hold, for instance):
// the drawing counts as done and the note goes to stderr.
std::string Done(clsVantrove& v, const std::string& answer, const std::string& file, const std::string& made,
                 const std::string& shownAs) {
  if (answer == "OK") return "";
  if (const engine::DrawingComponent* component = v.component()) {
    const engine::Status& status = component->CurrentStatus();
    const int code = static_cast<int>(status.code);
    if (code > static_cast<int>(engine::StatusCode::kOk) && code < 1100) {
      std::string note = status.message;
      if (const size_t at = made.empty() ? std::string::npos : note.find(made); at != std::string::npos) {
        note.replace(at, made.size(), shownAs == "-" ? "standard output" : shownAs);
      }
      Note(file + ": " + note);
      return "";
    }
  }
  return answer;
}

namespace {

// The engine's own status after an open: the incomplete note, or nullptr.
const engine::Status* IncompleteStatus(clsVantrove& v) {
  const engine::DrawingComponent* component = v.component();
  if (component == nullptr) return nullptr;
  const engine::Status& status = component->CurrentStatus();
  return status.code == engine::StatusCode::kIncomplete ? &status : nullptr;
}

}  // namespace

std::string Open(clsVantrove& v, const std::string& file) {
  const std::string status = v.OpenDrawing(file);
  if (status == "File not found" && fs::path(file).filename().string().starts_with('.') && fs::exists(file)) {
    // The drawing methods treat names that start with a dot as hidden.
    return "File not found: the drawing methods do not see files whose names start with a dot "
           "(rename it, or give it a link without the dot)";
  }
  if (status != "OK") return status.empty() ? "the drawing engine is not available" : status;
  if (const engine::Status* incomplete = IncompleteStatus(v)) {
    if (gRun != nullptr) gRun->incomplete = true;
    Note("vantrove: warning: " + file + ": " + incomplete->Text());
  }
  if (Verbose()) {
    if (const engine::Document* doc = v.component()->document()) {
      for (const std::string& w : doc->warnings) Note(file + ": note: " + w);
    }
  }
  return "";
}

std::string OpenForEdit(clsVantrove& v, const std::string& file, bool force) {
  if (std::string e = Open(v, file); !e.empty()) return e;
  if (!force && IncompleteStatus(v) != nullptr) {
    return "the drawing is incomplete (the file ends early); it is left as it was (--force saves it anyway, "
           "without what is missing)";
  }
  return "";
}

DrawingLock::~DrawingLock() {
  if (fd_ >= 0) close(fd_);  // closing the file releases the lock
}

std::string DrawingLock::Acquire(const std::string& file) {
  // A replacement renamed over the drawing while this job waited is a new
  // file: the lock taken on the old one guards nothing, so it is taken again.
  for (int attempt = 0; attempt < 1000; ++attempt) {
    const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return std::string("cannot lock the drawing: ") + std::strerror(errno);
    int r = flock(fd, LOCK_EX | LOCK_NB);
    if (r != 0 && errno == EWOULDBLOCK) {
      if (attempt == 0) Note(file + ": waiting for another job that edits this drawing");
      while ((r = flock(fd, LOCK_EX)) != 0 && errno == EINTR) {
      }
    }
    if (r != 0) {
      const int error = errno;
      close(fd);
      return std::string("cannot lock the drawing: ") + std::strerror(error);
    }
    struct stat held {}, now {};
    if (fstat(fd, &held) == 0 && stat(file.c_str(), &now) == 0 && held.st_dev == now.st_dev &&
        held.st_ino == now.st_ino) {
      if (fd_ >= 0) close(fd_);
      fd_ = fd;
      return "";
    }
    close(fd);
  }
  return "cannot lock the drawing: it keeps being replaced";
}

const std::map<std::string, ChapterType>& Chapters() {
  static const std::map<std::string, ChapterType> chapters = {
      {"info", dwgDrawingInfo},     {"layers", dwgLayers}, {"blocks", dwgBlocks},
      {"attributes", dwgBlocksAndAttributes}, {"images", dwgImages},  {"xrefs", dwgExternalRefs},
      {"layouts", dwgLayouts},      {"attdefs", dwgAttributeDefs}, {"text", dwgText},
      {"mtext", dwgMultiLineText}};
  return chapters;
}

// A chapter of the open drawing as an array with headings, read through a
// temporary description that is always removed.
std::string ReadChapter(clsVantrove& v, ChapterType chapter, const std::string& filter, const Variant& fields,
                        DrawingFieldType drawingField, Variant& out) {
  const std::string temp = extract::TempXmlFileName();
  const int16_t r = v.XMLfileToArray(temp, chapter, out, true, filter, fields, drawingField);
  std::remove(temp.c_str());
  if (r == 1) return "";
  if (r == -1) return "the drawing's description could not be written";
  if (r == -3) return "the XML reader is not available";
  return "the description could not be read" + std::string(filter.empty() ? "" : " (check the filter: " + filter + ")");
}

std::vector<std::string> SplitList(const std::string& s) {
  std::vector<std::string> out;
  size_t start = 0;
  while (start <= s.size()) {
    const size_t comma = s.find(',', start);
    std::string item = Trim(s.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
    if (!item.empty()) out.push_back(item);
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return out;
}

}  // namespace vantrove::cli
