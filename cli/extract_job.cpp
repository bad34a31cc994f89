#include "extract_job.hpp"

#include <set>
#include <string>
#include <vector>

#include "db_jobs.hpp"
#include "job_runner.hpp"
#include "table.hpp"
#include "table_output.hpp"
#include "vantrove/component.hpp"

namespace vantrove::cli {

namespace {

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

}  // namespace

void AddExtractJob(CLI::App& app, const std::shared_ptr<std::function<int()>>& chosen) {
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
}

}  // namespace vantrove::cli
