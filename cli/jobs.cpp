#include "jobs.hpp"

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <set>

#include "db_jobs.hpp"
#include "table.hpp"
#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/replacing_file.hpp"
#include "vantrove/engine/progress.hpp"
#include "vantrove/extract.hpp"

namespace vantrove::cli {

namespace fs = std::filesystem;

// ---- Drawings, progress and the summary ---------------------------------------------

namespace {

bool IsDrawingName(const fs::path& p) {
  std::string ext = p.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext == ".dwg" || ext == ".dxf";
}

}  // namespace

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

// Runs `work` on every drawing, reporting failures as it goes and a summary
// at the end. `work` returns "" on success or what went wrong.
int ForEachDrawing(const std::string& job, const std::vector<std::string>& args, bool recursive,
                   const std::function<std::string(clsVantrove&, const std::string&)>& work) {
  std::vector<std::string> problems;
  const std::vector<std::string> drawings = ExpandDrawings(args, recursive, problems);
  for (const auto& p : problems) std::cerr << "vantrove " << job << ": " << p << '\n';
  if (drawings.empty()) {
    std::cerr << "vantrove " << job << ": no drawings to work on\n";
    return 2;
  }
  clsVantrove vantrove;
  Progress progress(drawings.size());
  // Large drawings report how far reading got while they are opened.
  const engine::ReadProgress before = engine::SetReadProgress(
      [&progress](uint64_t done, uint64_t total) { progress.Within(total ? double(done) / double(total) : 1.0); });
  size_t failed = 0;
  for (size_t i = 0; i < drawings.size(); ++i) {
    progress.Step(i, drawings[i]);
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
    }
  }
  engine::SetReadProgress(before);
  progress.Step(drawings.size(), "");
  progress.Clear();
  if (drawings.size() > 1 || failed) {
    std::cerr << "vantrove " << job << ": " << drawings.size() << " drawing" << (drawings.size() == 1 ? "" : "s")
              << ", " << drawings.size() - failed << " done, " << failed << " failed\n";
  }
  return failed || !problems.empty() ? 1 : 0;
}

// `answer` is what a drawing method answered. Statuses 1001 to 1099 report
// work done with a note (what a DXF version could not hold, for instance):
// the drawing counts as done and the note goes to stderr.
std::string Done(clsVantrove& v, const std::string& answer, const std::string& file) {
  if (answer == "OK") return "";
  if (const engine::DrawingComponent* component = v.component()) {
    const engine::Status& status = component->CurrentStatus();
    const int code = static_cast<int>(status.code);
    if (code > static_cast<int>(engine::StatusCode::kOk) && code < 1100) {
      std::cerr << file << ": " << status.message << '\n';
      return "";
    }
  }
  return answer;
}

std::string Open(clsVantrove& v, const std::string& file) {
  const std::string status = v.OpenDrawing(file);
  if (status == "OK") return "";
  return status.empty() ? "the drawing engine is not available" : status;
}

// ---- Output -------------------------------------------------------------------------------

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

// ---- Chapters -----------------------------------------------------------------------------

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

struct ExtractOptions {
  std::vector<std::string> drawings;
  std::string chapter = "attributes";
  std::string block, layout, layer, space = "both", tags, filter, drawingColumn = "auto", format, output = "-";
  bool noHeadings = false, recursive = false;
  std::string db, dbTable;  // write into this database table instead
};

DrawingFieldType DrawingColumn(const std::string& choice, size_t drawings) {
  if (choice == "name") return dwgDrawingName;
  if (choice == "full") return dwgDrawingFullName;
  if (choice == "none") return dwgNone;
  return drawings > 1 ? dwgDrawingName : dwgNone;
}

// The attribute table of one drawing: one row per block reference, one
// column per tag, for one block or for each block that carries attributes.
std::string ExtractAttributes(clsVantrove& v, const ExtractOptions& o, DrawingFieldType field, Table& table) {
  std::vector<std::string> blocks;
  if (!o.block.empty()) {
    blocks.push_back(o.block);
  } else {
    Variant names;
    const std::string error = ReadChapter(v, dwgBlocksAndAttributes, o.filter, Variant(SafeArray::Vector({"Name"})),
                                          dwgNone, names);
    if (!error.empty()) return error;
    std::set<std::string> seen;
    const SafeArray& a = names.array();
    for (int32_t r = a.LBound(1) + 1; r <= a.UBound(1); ++r) {
      const std::string name = CStr(a.at(r, a.LBound(2)));
      if (seen.insert(name).second) blocks.push_back(name);
    }
  }
  const DrawingSpaceType space = o.space == "model" ? dwgModel : o.space == "paper" ? dwgPaper : dwgBoth;
  Variant tags = Variant::Missing();
  if (!o.tags.empty()) {
    std::vector<Variant> list;
    for (const auto& t : SplitList(o.tags)) list.emplace_back(t);
    tags = Variant(SafeArray::Vector(std::move(list)));
  }
  for (const std::string& block : blocks) {
    Variant rows;
    if (v.CreateBlockAttributeArray(rows, space, o.layout, block, o.layer, field, true, tags) == -1) {
      return "the drawing's description could not be written";
    }
    // A block without the wanted tags gives no table: nothing to add.
    if (!rows.IsArray()) continue;
    if (o.block.empty()) {
      table.Append(rows.array(), {{"Block", block}});
    } else {
      table.Append(rows.array());
    }
  }
  return "";
}

int RunExtract(const ExtractOptions& o) {
  auto chapter = Chapters().find(o.chapter);
  if (chapter == Chapters().end()) {
    std::cerr << "vantrove extract: unknown chapter " << o.chapter << '\n';
    return 2;
  }
  std::vector<std::string> problems;
  const size_t count = ExpandDrawings(o.drawings, o.recursive, problems).size();
  const DrawingFieldType field = DrawingColumn(o.drawingColumn, count);
  Table table;
  const int status = ForEachDrawing("extract", o.drawings, o.recursive, [&](clsVantrove& v, const std::string& file) {
    if (std::string e = Open(v, file); !e.empty()) return e;
    if (chapter->second == dwgBlocksAndAttributes) return ExtractAttributes(v, o, field, table);
    std::string filter = o.filter;
    auto add = [&](const char* column, const std::string& value) {
      if (value.empty()) return;
      filter += (filter.empty() ? "" : " AND ") + std::string(column) + " = '" + value + "'";
    };
    if (chapter->second != dwgLayers && chapter->second != dwgLayouts && chapter->second != dwgDrawingInfo) {
      add("Layout", o.layout);
      add("Block", o.block);
    }
    Variant rows;
    if (std::string e = ReadChapter(v, chapter->second, filter, Variant::Missing(), field, rows); !e.empty()) return e;
    table.Append(rows.array());
    return std::string();
  });
  if (status == 2) return status;
  if (!o.db.empty()) {
    const int stored = WriteTableToDatabase(table, o.db, o.dbTable, false);
    return stored ? stored : status;
  }
  clsVantrove writer;
  const int written = WriteTable(writer, table, o.format, o.output, !o.noHeadings,
                                 "Vantrove: " + o.chapter + (o.block.empty() ? "" : " of " + o.block));
  return written ? written : status;
}

// ---- Saving edited drawings ---------------------------------------------------------------------

struct SaveOptions {
  std::string outputDir;
  bool inPlace = false;
  int32_t version = -1;
};

void AddSaveOptions(CLI::App* cmd, SaveOptions& s) {
  cmd->add_option("--output-dir,-d", s.outputDir, "Folder for the changed drawings (same file names; DWG become DXF)");
  cmd->add_flag("--in-place", s.inPlace, "Overwrite each drawing (through a temporary file)");
  cmd->add_option("--version", s.version, "DXF version to save: 2018, 2013, 2010, 2007, 2004, 2000, 14, 12 (default: the drawing's own)");
}

std::string SaveTarget(const SaveOptions& s, const std::string& file) {
  fs::path source(file);
  if (s.inPlace) return file;
  fs::path name = source.filename();
  if (!IsDrawingName(name) || name.extension() == ".dwg" || name.extension() == ".DWG") name.replace_extension(".dxf");
  return (fs::path(s.outputDir) / name).string();
}

std::string Save(clsVantrove& v, const SaveOptions& s, const std::string& file) {
  const std::string target = SaveTarget(s, file);
  std::error_code ec;
  if (!s.inPlace && fs::equivalent(target, file, ec)) return "the output would replace the drawing itself; use --in-place";
  return Done(v, v.SaveDrawing(target, static_cast<SaveAutoCADversionType>(s.version)), file);
}

bool CheckSave(const std::string& job, const SaveOptions& s) {
  if (s.inPlace == !s.outputDir.empty()) {
    std::cerr << "vantrove " << job << ": give either --output-dir DIR or --in-place\n";
    return false;
  }
  if (!s.outputDir.empty()) {
    std::error_code ec;
    fs::create_directories(s.outputDir, ec);
    if (ec) {
      std::cerr << "vantrove " << job << ": cannot create " << s.outputDir << ": " << ec.message() << '\n';
      return false;
    }
  }
  return true;
}

}  // namespace

std::function<int()> AddJobs(CLI::App& app) {
  auto chosen = std::make_shared<std::function<int()>>();
  AddDatabaseJobs(app, chosen);

  // extract ------------------------------------------------------------------------------------
  auto ex = std::make_shared<ExtractOptions>();
  CLI::App* extract = app.add_subcommand(
      "extract", "Extract block attributes (or another chapter) from drawings to CSV, HTML or text.");
  extract->add_option("drawings", ex->drawings, "Drawings, folders or patterns (*.dwg)")->required();
  std::vector<std::string> chapterNames;
  for (const auto& [name, value] : Chapters()) chapterNames.push_back(name);
  extract->add_option("--chapter,-c", ex->chapter, "What to extract (default: attributes)")
      ->check(CLI::IsMember(chapterNames));
  extract->add_option("--block,-b", ex->block, "Only references of this block (attributes: one row per reference)");
  extract->add_option("--layout", ex->layout, "Only this layout (Model, Layout1, ...)");
  extract->add_option("--layer", ex->layer, "Only block references on this layer (attributes)");
  extract->add_option("--space", ex->space, "Block references from model space, paper space or both (attributes)")
      ->check(CLI::IsMember({"model", "paper", "both"}));
  extract->add_option("--tags", ex->tags, "Only these attribute tags, comma-separated, in this order");
  extract->add_option("--filter", ex->filter, "A row filter, e.g. \"LayerName = 'WALLS'\"");
  extract->add_option("--drawing-column", ex->drawingColumn,
                      "Add the drawing's name (name), full path (full) or nothing (none); default: name for many drawings")
      ->check(CLI::IsMember({"auto", "name", "full", "none"}));
  extract->add_flag("--no-headings", ex->noHeadings, "Leave out the heading row");
  extract->add_option("--format,-f", ex->format, "csv, html, txt, xlsx or docx (default: from the output name, else csv)")
      ->check(CLI::IsMember({"csv", "html", "txt", "xlsx", "docx"}));
  extract->add_option("--output,-o", ex->output, "Output file (default: standard output)");
  extract->add_flag("--recursive,-r", ex->recursive, "Look for drawings in sub-folders too");
  extract->add_option("--db", ex->db, "Write into a database instead: a data source name or an ODBC connection string");
  extract->add_option("--table", ex->dbTable, "The database table (created with text columns when missing)");
  extract->footer(
      "Examples:\n"
      "  vantrove extract plan.dwg --block TITLE -o titles.csv\n"
      "  vantrove extract drawings/ -r --block BOM --tags ITEM,QTY,PART -o bom.html\n"
      "  vantrove extract plan.dwg --block TITLE -o titles.xlsx   (or titles.docx)\n"
      "  vantrove extract plan.dxf --chapter layers -f txt\n"
      "  vantrove extract drawings/ --block TITLE --db \"Driver=SQLite3;Database=titles.db;\" --table titles");
  extract->callback([chosen, ex] { *chosen = [ex] { return RunExtract(*ex); }; });

  // describe -----------------------------------------------------------------------------------
  auto describeFile = std::make_shared<std::string>();
  auto describeOut = std::make_shared<std::string>();
  auto describeSections = std::make_shared<std::string>("all");
  CLI::App* describe = app.add_subcommand("describe", "Write the XML description of a drawing.");
  describe->add_option("drawing", *describeFile, "The drawing")->required();
  describe->add_option("--output,-o", *describeOut, "The XML file to write")->required();
  describe->add_option("--sections,-s", *describeSections,
                       "Comma-separated: blocks, attdefs, xrefs, layers, layouts, sysvars, images, text, or all");
  describe->footer("Example:\n  vantrove describe plan.dwg -s layers,text -o plan.xml");
  describe->callback([chosen, describeFile, describeOut, describeSections] {
    *chosen = [=] {
      static const std::vector<std::string> kNames = {"blocks", "attdefs", "xrefs", "layers", "layouts",
                                                      "sysvars", "images", "text"};
      std::array<int16_t, 8> flags{};
      for (const std::string& s : SplitList(*describeSections)) {
        if (s == "all") {
          flags.fill(1);
          continue;
        }
        auto it = std::find(kNames.begin(), kNames.end(), s);
        if (it == kNames.end()) {
          std::cerr << "vantrove describe: unknown section " << s << '\n';
          return 2;
        }
        flags[static_cast<size_t>(it - kNames.begin())] = 1;
      }
      return ForEachDrawing("describe", {*describeFile}, false, [&](clsVantrove& v, const std::string& file) {
        if (std::string e = Open(v, file); !e.empty()) return e;
        const std::string s = v.CreateXML(*describeOut, flags[0], flags[1], flags[2], flags[3], flags[4], flags[5],
                                          flags[6], flags[7]);
        return s == "OK" ? std::string() : s;
      });
    };
  });

  // dxf ----------------------------------------------------------------------------------------
  auto dxfArgs = std::make_shared<std::vector<std::string>>();
  auto dxfDir = std::make_shared<std::string>(".");
  auto dxfVersion = std::make_shared<int32_t>(2018);
  auto dxfPrecision = std::make_shared<int>(0);
  CLI::App* dxf = app.add_subcommand("dxf", "Write drawings as DXF of a chosen version.");
  dxf->add_option("drawings", *dxfArgs, "Drawings, folders or patterns")->required();
  dxf->add_option("--version", *dxfVersion, "2018, 2013, 2010, 2007, 2004, 2000, 14 or 12 (default 2018)");
  dxf->add_option("--precision", *dxfPrecision, "Decimals of reals, 1-16 (default: shortest exact form)");
  dxf->add_option("--output-dir,-d", *dxfDir, "Folder for the DXF files (default: the current folder)");
  dxf->footer("Example:\n  vantrove dxf drawings/*.dwg --version 2000 -d out/");
  dxf->callback([chosen, dxfArgs, dxfDir, dxfVersion, dxfPrecision] {
    *chosen = [=] {
      std::error_code ec;
      fs::create_directories(*dxfDir, ec);
      return ForEachDrawing("dxf", *dxfArgs, false, [&](clsVantrove& v, const std::string& file) {
        const std::string target = (fs::path(*dxfDir) / fs::path(file).filename().replace_extension(".dxf")).string();
        if (fs::equivalent(target, file, ec)) return std::string("the output would replace the drawing itself; choose another --output-dir");
        if (std::string e = Open(v, file); !e.empty()) return e;
        return Done(v, v.CreateDXF(target, static_cast<int16_t>(*dxfPrecision),
                                static_cast<AutoCADversionType>(*dxfVersion)),
                    file);
      });
    };
  });

  // replace --------------------------------------------------------------------------------------
  struct ReplaceOptions {
    std::vector<std::string> drawings;
    std::string find, with, in = "text", tag, filter;
    bool whole = false, matchCase = false, recursive = false;
    SaveOptions save;
  };
  auto rp = std::make_shared<ReplaceOptions>();
  CLI::App* replace = app.add_subcommand("replace", "Find and replace text or attribute values in many drawings and save them.");
  replace->add_option("drawings", rp->drawings, "Drawings, folders or patterns")->required();
  replace->add_option("--find", rp->find, "Text to look for (* matches every object)")->required();
  replace->add_option("--with", rp->with, "Replacement text")->required();
  replace->add_option("--in", rp->in, "text (single-line), mtext, or attributes (attribute values)")
      ->check(CLI::IsMember({"text", "mtext", "attributes"}));
  replace->add_option("--tag", rp->tag, "Only attributes with this tag (with --in attributes)");
  replace->add_option("--filter", rp->filter, "An extra row filter, e.g. \"Layout = 'Model'\"");
  replace->add_flag("--whole", rp->whole, "The whole value must match (default: any occurrence is replaced)");
  replace->add_flag("--match-case", rp->matchCase, "Compare with case");
  replace->add_flag("--recursive,-r", rp->recursive, "Look for drawings in sub-folders too");
  AddSaveOptions(replace, rp->save);
  replace->footer(
      "Examples:\n"
      "  vantrove replace plans/*.dxf --find 'REV A' --with 'REV B' --in-place\n"
      "  vantrove replace plan.dwg --in attributes --tag DRAWN --find JS --with KM --whole -d out/");
  replace->callback([chosen, rp] {
    *chosen = [rp] {
      if (rp->find.empty()) {
        std::cerr << "vantrove replace: the text to find is empty\n";
        return 2;
      }
      if (!CheckSave("replace", rp->save)) return 2;
      std::string filter = rp->filter;
      if (!rp->tag.empty()) filter = "AttributeTag = '" + rp->tag + "'" + (filter.empty() ? "" : " AND " + filter);
      return ForEachDrawing("replace", rp->drawings, rp->recursive, [&](clsVantrove& v, const std::string& file) {
        if (std::string e = Open(v, file); !e.empty()) return e;
        const int32_t n = rp->in == "attributes"
                              ? v.FindAndReplaceBlockAttributes(rp->find, rp->with, false, rp->whole, false,
                                                                rp->matchCase, filter)
                              : v.FindAndReplaceText(rp->find, rp->with, rp->in == "mtext" ? dwgMultipleLine : dwgSingleLine,
                                                     rp->whole, false, rp->matchCase, filter);
        if (n == -1) return std::string("the drawing's description could not be written");
        if (n < 0) return std::string("the search failed (check the filter)");
        std::cerr << file << ": " << n << " replaced\n";
        return Save(v, rp->save, file);
      });
    };
  });

  // layers -----------------------------------------------------------------------------------------
  auto layerArgs = std::make_shared<std::vector<std::string>>();
  auto layerOut = std::make_shared<std::string>("-");
  auto layerFormat = std::make_shared<std::string>("txt");
  CLI::App* layers = app.add_subcommand("layers", "List the layers of drawings: name, colour, on, frozen, locked.");
  layers->add_option("drawings", *layerArgs, "Drawings, folders or patterns")->required();
  layers->add_option("--format,-f", *layerFormat, "csv, html or txt (default txt)")->check(CLI::IsMember({"csv", "html", "txt"}));
  layers->add_option("--output,-o", *layerOut, "Output file (default: standard output)");
  layers->footer("Example:\n  vantrove layers plan.dwg");
  layers->callback([chosen, layerArgs, layerOut, layerFormat] {
    *chosen = [=] {
      Table table;
      std::vector<std::string> problems;
      const size_t count = ExpandDrawings(*layerArgs, false, problems).size();
      const int status = ForEachDrawing("layers", *layerArgs, false, [&](clsVantrove& v, const std::string& file) {
        if (std::string e = Open(v, file); !e.empty()) return e;
        Variant rows;
        Variant fields(SafeArray::Vector({"LayerName", "Color", "On", "Frozen", "Locked"}));
        if (std::string e = ReadChapter(v, dwgLayers, "", fields, count > 1 ? dwgDrawingName : dwgNone, rows);
            !e.empty()) {
          return e;
        }
        table.Append(rows.array());
        return std::string();
      });
      if (status == 2) return status;
      clsVantrove writer;
      const int written = WriteTable(writer, table, *layerFormat, *layerOut, true, "Vantrove: layers");
      return written ? written : status;
    };
  });

  // layer ---------------------------------------------------------------------------------------------
  struct LayerOptions {
    std::vector<std::string> drawings;
    std::string name, state;
    SaveOptions save;
  };
  auto ly = std::make_shared<LayerOptions>();
  CLI::App* layer = app.add_subcommand("layer", "Switch a layer on or off, or freeze or thaw it, in many drawings and save them.");
  layer->add_option("drawings", ly->drawings, "Drawings, folders or patterns")->required();
  layer->add_option("--name,-n", ly->name, "The layer")->required();
  layer->add_option("--state,-s", ly->state, "on, off, freeze or thaw")->required()->check(CLI::IsMember({"on", "off", "freeze", "thaw"}));
  AddSaveOptions(layer, ly->save);
  layer->footer("Example:\n  vantrove layer plans/ --name DIMENSIONS --state off --in-place");
  layer->callback([chosen, ly] {
    *chosen = [ly] {
      if (!CheckSave("layer", ly->save)) return 2;
      const bool onOff = ly->state == "on" || ly->state == "off";
      const LayerStateType state = (ly->state == "on" || ly->state == "thaw") ? dwgOn : dwgOff;
      return ForEachDrawing("layer", ly->drawings, false, [&](clsVantrove& v, const std::string& file) {
        if (std::string e = Open(v, file); !e.empty()) return e;
        const std::string s = v.SetLayerState(ly->name, state, onOff ? dwgOnOff : dwgThaw);
        if (s != "OK") return s;
        return Save(v, ly->save, file);
      });
    };
  });

  return [chosen] { return *chosen ? (*chosen)() : -1; };
}

}  // namespace vantrove::cli
