#include "extract_job.hpp"

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "attribute_table.hpp"
#include "db_jobs.hpp"
#include "extract_selectors.hpp"
#include "job_runner.hpp"
#include "table.hpp"
#include "table_output.hpp"
#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/recordset/filter.hpp"

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

bool Has(const std::vector<std::string>& fields, const std::string& name) {
  return std::find(fields.begin(), fields.end(), name) != fields.end();
}

int FieldIndex(const std::vector<std::string>& fields, std::string_view name) {
  for (size_t i = 0; i < fields.size(); ++i) {
    if (FoldCase(fields[i]) == FoldCase(name)) return static_cast<int>(i);
  }
  return -1;
}

std::string Joined(const std::vector<std::string>& items) {
  std::string out;
  for (const auto& i : items) out += (out.empty() ? "" : ", ") + i;
  return out;
}

// The filter of a chapter read through the description: the user's, and a
// condition for each selector the chapter's rows can answer.
std::string ChapterFilter(const ExtractOptions& o, const std::vector<std::string>& fields,
                          const engine::Document& doc) {
  std::vector<std::string> parts;
  if (!o.filter.empty()) parts.push_back("(" + o.filter + ")");
  auto add = [&](const char* field, const std::string& value) {
    if (!Trim(value).empty() && Has(fields, field)) parts.push_back(std::string(field) + " = " + FilterQuote(Trim(value)));
  };
  add("Block", o.block);
  add("Layout", o.layout);
  add("LayerName", o.layer);
  if (o.space != "both" && Has(fields, "Block") && Has(fields, "LayerName") && !Has(fields, "AttributePrompt")) {
    std::string any;
    for (const engine::Layout* l : doc.layouts) {
      if (l->block == nullptr || l->is_model() != (o.space == "model")) continue;
      any += (any.empty() ? "" : " OR ") + std::string("Block = ") + FilterQuote(DescribedText(l->block->name));
    }
    parts.push_back(any.empty() ? "Block = NULL AND Block <> NULL" : "(" + any + ")");
  }
  std::string filter;
  for (const auto& p : parts) filter += (filter.empty() ? "" : " AND ") + p;
  return filter;
}

// Warns about selectors the chapter has no field for: they are ignored.
void WarnUnused(const ExtractOptions& o, ChapterType chapter, const std::vector<std::string>& fields) {
  auto warn = [&](const char* option, bool used) {
    if (!used) std::cerr << "vantrove extract: warning: " << option << " has no meaning for the " << o.chapter
                         << " chapter and is ignored\n";
  };
  if (chapter == dwgBlocksAndAttributes) return;
  if (!Trim(o.block).empty()) warn("--block", Has(fields, "Block"));
  if (!Trim(o.layout).empty()) warn("--layout", Has(fields, "Layout"));
  if (!Trim(o.layer).empty()) warn("--layer", Has(fields, "LayerName"));
  if (o.space != "both") warn("--space", Has(fields, "Block") && Has(fields, "LayerName") && !Has(fields, "AttributePrompt"));
  if (!o.tags.empty()) warn("--tags", false);
}

int RunExtract(const ExtractOptions& o) {
  auto chapter = Chapters().find(o.chapter);
  if (chapter == Chapters().end()) {
    std::cerr << "vantrove extract: unknown chapter " << o.chapter << '\n';
    return 2;
  }
  const bool attributes = chapter->second == dwgBlocksAndAttributes;
  std::vector<std::string> problems;
  const size_t count = ExpandDrawings(o.drawings, o.recursive, problems).size();
  const DrawingFieldType field = DrawingColumn(o.drawingColumn, count);
  const std::vector<std::string> fields = ChapterFields(chapter->second, field != dwgNone);

  // A filter that cannot be used stops the run before any drawing is read.
  filter::Expression expression;
  const bool filtered = !Trim(o.filter).empty();
  if (filtered) {
    try {
      expression = filter::Expression::Parse(o.filter);
      expression.Bind([&](std::string_view name) { return FieldIndex(fields, name); });
    } catch (const RuntimeError& e) {
      std::cerr << "vantrove extract: " << e.description() << "\nvantrove extract: the " << o.chapter
                << " chapter's rows have the fields " << Joined(fields) << '\n';
      return 2;
    }
  }
  WarnUnused(o, chapter->second, fields);

  AttributeSelection selection;
  selection.block = o.block;
  selection.layout = o.layout;
  selection.layer = o.layer;
  selection.space = o.space == "model" ? Space::kModel : o.space == "paper" ? Space::kPaper : Space::kBoth;
  selection.tags = SplitList(o.tags);
  selection.filter = filtered ? &expression : nullptr;
  selection.drawingField = field;
  selection.blockColumn = Trim(o.block).empty();

  NameCheck names(o.block, o.layout, o.layer);
  Table table;
  const int status = ForEachDrawing("extract", o.drawings, o.recursive, [&](clsVantrove& v, const std::string& file) {
    if (std::string e = Open(v, file); !e.empty()) return e;
    const engine::Document* doc = v.component() != nullptr ? v.component()->document() : nullptr;
    if (doc == nullptr) return std::string("the drawing engine holds no drawing");
    names.Read(*doc);
    if (attributes) {
      AppendAttributeTable(*doc, selection, table);
      return std::string();
    }
    // The chapter's rows, then the filter and the selectors over them (a
    // drawing without such rows has nothing to filter).
    Variant rows;
    if (std::string e = ReadChapter(v, chapter->second, "", Variant::Missing(), field, rows); !e.empty()) return e;
    const std::string filter = ChapterFilter(o, fields, *doc);
    if (filter.empty()) {
      table.Append(rows.array());
    } else {
      filter::Expression selected = filter::Expression::Parse(filter);
      selected.Bind([&](std::string_view name) { return FieldIndex(fields, name); });
      table.Append(FilterRows(rows.array(), selected, fields));
    }
    return std::string();
  });
  if (status == 2) return status;
  for (const std::string& w : names.Warnings()) std::cerr << "vantrove extract: warning: " << w << '\n';
  // The layout comes last, so that the columns people already use keep their places.
  if (attributes) table.MoveColumnToEnd("Layout");
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
  extract->add_option("--layer", ex->layer, "Only block references (or objects) on this layer");
  extract->add_option("--space", ex->space, "Model space (the Model layout), paper space (every other layout) or both")
      ->check(CLI::IsMember({"model", "paper", "both"}));
  extract->add_option("--tags", ex->tags, "Only these attribute tags, comma-separated, as columns in this order");
  extract->add_option("--filter", ex->filter, "A row filter, e.g. \"LayerName = 'WALLS'\" (see below)");
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
      "Attribute tables:\n"
      "They have one row per block reference: Block (without --block), Drawing (with\n"
      "several drawings or --drawing-column), one column per tag, and last the Layout the reference\n"
      "is on (empty for references inside block definitions). --tags gives exactly those columns\n"
      "in that order, an empty cell where a reference lacks a tag; references holding none of them\n"
      "are left out. --filter keeps the references of which any attribute record matches; its\n"
      "fields: Drawing, DrawingPath, Block (the block holding the reference), Layout, Name (the\n"
      "referenced block), Handle, ElementId, LayerName, X, Y, Z, NumberAttributes,\n"
      "NumberConstantAttributes, Rows, Columns, AttributeHandle, AttributeElementId, AttributeTag,\n"
      "AttributeValue. Other chapters filter their own rows (a bad filter lists their fields).\n"
      "Filters and selectors combine; names compare without case. A block, layout or layer name\n"
      "that no drawing holds is warned about with the names that come close.\n"
      "\n"
      "Examples:\n"
      "  vantrove extract plan.dwg --block TITLE -o titles.csv\n"
      "  vantrove extract drawings/ -r --block BOM --tags ITEM,QTY,PART -o bom.html\n"
      "  vantrove extract plans/ --block TITLE --space paper --filter \"AttributeValue LIKE 'A-1*'\"\n"
      "  vantrove extract plan.dwg --block TITLE -o titles.xlsx   (or titles.docx)\n"
      "  vantrove extract plan.dxf --chapter layers -f txt\n"
      "  vantrove extract drawings/ --block TITLE --db \"Driver=SQLite3;Database=titles.db;\" --table titles");
  extract->callback([chosen, ex] { *chosen = [ex] { return RunExtract(*ex); }; });
}

}  // namespace vantrove::cli
