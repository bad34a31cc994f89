#include "jobs.hpp"

#include <algorithm>
#include <climits>
#include <array>
#include <filesystem>
#include <iostream>
#include <memory>

#include "db_jobs.hpp"
#include "extract_job.hpp"
#include "info_job.hpp"
#include "job_runner.hpp"
#include "table.hpp"
#include "table_output.hpp"
#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/objects.hpp"
#include "vantrove/extract.hpp"

namespace vantrove::cli {

namespace fs = std::filesystem;

namespace {

// ---- Saving edited drawings ---------------------------------------------------------------------

struct SaveOptions {
  std::string outputDir;
  bool inPlace = false;
  bool force = false;
  int32_t version = -1;
};

void AddSaveOptions(CLI::App* cmd, SaveOptions& s) {
  cmd->add_option("--output-dir,-d", s.outputDir, "Folder for the changed drawings (same file names; DWG become DXF)");
  cmd->add_flag("--in-place", s.inPlace,
                "Overwrite each changed drawing (through a temporary file, locked while it is edited; "
                "unchanged drawings are not rewritten)");
  cmd->add_flag("--force", s.force, "Save drawings the reader found incomplete too (what is missing stays missing)");
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

// One edit of one drawing that is saved where the options say. In place,
// the drawing is locked from before it is read until its replacement is
// renamed over it, an incomplete drawing is refused unless forced, and a
// drawing the edit did not change is not written at all. `edit` gives ""
// and whether it changed anything, or what went wrong.
std::string EditAndSave(clsVantrove& v, const SaveOptions& s, const std::string& file,
                        const std::function<std::string(clsVantrove&, bool& changed)>& edit) {
  DrawingLock lock;
  if (s.inPlace) {
    if (std::string e = lock.Acquire(file); !e.empty()) return e;
  }
  if (std::string e = s.inPlace ? OpenForEdit(v, file, s.force) : Open(v, file); !e.empty()) return e;
  bool changed = false;
  if (std::string e = edit(v, changed); !e.empty()) return e;
  if (!changed && s.inPlace) {
    if (Verbose()) Note(file + ": unchanged, left as it was");
    return "";
  }
  return Save(v, s, file);
}

// True when the open drawing's layer `name` is already in `state` (on, off,
// freeze, thaw): switching it would change nothing.
bool LayerAlready(clsVantrove& v, const std::string& name, const std::string& state) {
  const engine::Document* doc = v.component() ? v.component()->document() : nullptr;
  const engine::Layer* layer = doc ? doc->FindLayer(name) : nullptr;
  if (layer == nullptr || layer->erased) return false;  // the edit says what is wrong
  if (state == "on") return layer->color >= 0;
  if (state == "off") return layer->color < 0 && layer->color != INT32_MIN;
  if (state == "freeze") return layer->frozen();
  return !layer->frozen();
}

// The extract job's table output is checked before any drawing is read: an
// output kind it cannot write is a usage error, not a failure at the end.
bool ExtractOutputWritable(const CLI::App& extract) {
  try {
    if (extract.get_option("--db")->count() > 0) return true;
    const CLI::Option* output = extract.get_option("--output");
    const CLI::Option* format = extract.get_option("--format");
    const std::string out = output->count() > 0 ? output->as<std::string>() : std::string("-");
    const std::string kind = format->count() > 0 ? format->as<std::string>() : std::string();
    return !ResolveFormat("extract", kind, out).empty();
  } catch (const CLI::Error&) {
    return true;  // the job checks what it has when it writes
  }
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

using Chosen = std::shared_ptr<std::function<int()>>;

// describe: the XML description of one drawing, to a file or standard output.
void AddDescribeJob(CLI::App& app, const Chosen& chosen) {
  auto describeFile = std::make_shared<std::string>();
  auto describeOut = std::make_shared<std::string>();
  auto describeSections = std::make_shared<std::string>("all");
  CLI::App* describe = app.add_subcommand("describe", "Write the XML description of a drawing.");
  describe->add_option("drawing", *describeFile, "The drawing")->required();
  describe->add_option("--output,-o", *describeOut, "The XML file to write (- for standard output)")->required();
  describe->add_option("--sections,-s", *describeSections,
                       "Comma-separated: blocks, attdefs, xrefs, layers, layouts, sysvars, images, text, or all");
  describe->footer("Examples:\n  vantrove describe plan.dwg -s layers,text -o plan.xml\n  vantrove describe plan.dxf -s blocks -o - | less");
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
        // Made in the run's own folder, then delivered: "-" and devices are
        // streamed, a file is replaced only once the description is whole.
        const std::string made = extract::TempXmlFileName();
        const std::string s = v.CreateXML(made, flags[0], flags[1], flags[2], flags[3], flags[4], flags[5],
                                          flags[6], flags[7]);
        if (s != "OK") {
          std::remove(made.c_str());
          return s;
        }
        return DeliverFile(made, *describeOut);
      });
    };
  });
}

// dxf: drawings as DXF of a chosen version, into a folder or (one drawing) to -o.
void AddDxfJob(CLI::App& app, const Chosen& chosen) {
  struct DxfOptions {
    std::vector<std::string> drawings;
    std::string dir = ".", output;
    int32_t version = 2018;
    int precision = 0;
    bool recursive = false;
  };
  auto dx = std::make_shared<DxfOptions>();
  CLI::App* dxf = app.add_subcommand("dxf", "Write drawings as DXF of a chosen version.");
  dxf->add_option("drawings", dx->drawings, "Drawings, folders or patterns")->required();
  dxf->add_option("--version", dx->version, "2018, 2013, 2010, 2007, 2004, 2000, 14 or 12 (default 2018)");
  dxf->add_option("--precision", dx->precision, "Decimals of reals, 1-16 (default: shortest exact form)");
  dxf->add_option("--output-dir,-d", dx->dir, "Folder for the DXF files (default: the current folder)");
  dxf->add_option("--output,-o", dx->output, "One drawing only: the DXF file to write (- for standard output)");
  dxf->add_flag("--recursive,-r", dx->recursive, "Look for drawings in sub-folders too");
  dxf->footer("Examples:\n  vantrove dxf drawings/*.dwg --version 2000 -d out/\n  vantrove dxf plan.dwg -o - | gzip > plan.dxf.gz");
  dxf->callback([chosen, dx] {
    *chosen = [dx] {
      std::error_code ec;
      if (dx->output.empty() && (fs::create_directories(dx->dir, ec), ec)) {
        std::cerr << "vantrove dxf: cannot create " << dx->dir << ": " << ec.message() << '\n';
        return 1;
      }
      std::vector<std::string> problems;
      if (!dx->output.empty() && ExpandDrawings(dx->drawings, dx->recursive, problems).size() > 1) {
        std::cerr << "vantrove dxf: -o takes one drawing; use --output-dir for many\n";
        return 2;
      }
      return ForEachDrawing("dxf", dx->drawings, dx->recursive, [&](clsVantrove& v, const std::string& file) {
        if (!dx->output.empty() && dx->output != "-" && fs::equivalent(dx->output, file, ec)) {
          return std::string("the output would replace the drawing itself");
        }
        const std::string target =
            !dx->output.empty() ? extract::TempFileName(".dxf")
                                : (fs::path(dx->dir) / fs::path(file).filename().replace_extension(".dxf")).string();
        if (dx->output.empty() && fs::equivalent(target, file, ec)) {
          return std::string("the output would replace the drawing itself; choose another --output-dir");
        }
        if (std::string e = Open(v, file); !e.empty()) return e;
        std::string e = Done(v, v.CreateDXF(target, static_cast<int16_t>(dx->precision),
                                          static_cast<AutoCADversionType>(dx->version)),
                             file, target, dx->output);
        if (dx->output.empty()) return e;
        if (!e.empty()) {
          std::remove(target.c_str());
          return e;
        }
        return DeliverFile(target, dx->output);
      });
    };
  });
}

// replace: find and replace text or attribute values, saved to a folder or in place.
void AddReplaceJob(CLI::App& app, const Chosen& chosen) {
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
        return EditAndSave(v, rp->save, file, [&](clsVantrove& d, bool& changed) {
          const int32_t n = rp->in == "attributes"
                                ? d.FindAndReplaceBlockAttributes(rp->find, rp->with, false, rp->whole, false,
                                                                  rp->matchCase, filter)
                                : d.FindAndReplaceText(rp->find, rp->with,
                                                       rp->in == "mtext" ? dwgMultipleLine : dwgSingleLine, rp->whole,
                                                       false, rp->matchCase, filter);
          if (n == -1) return std::string("the drawing's description could not be written");
          if (n < 0) return std::string("the search failed (check the filter)");
          Note(file + ": " + std::to_string(n) + " replaced");
          changed = n > 0;
          return std::string();
        });
      });
    };
  });
}

// layers: the layer table of drawings.
void AddLayersJob(CLI::App& app, const Chosen& chosen) {
  struct LayersOptions {
    std::vector<std::string> drawings;
    std::string output = "-", format;
    bool recursive = false;
  };
  auto ls = std::make_shared<LayersOptions>();
  CLI::App* layers = app.add_subcommand("layers", "List the layers of drawings: name, colour, on, frozen, locked.");
  layers->add_option("drawings", ls->drawings, "Drawings, folders or patterns")->required();
  layers->add_option("--format,-f", ls->format, "csv, txt, html, xlsx or docx (default: from the output name, else txt)")
      ->check(CLI::IsMember(TableFormats()));
  layers->add_option("--output,-o", ls->output, "Output file (default and -: standard output)");
  layers->add_flag("--recursive,-r", ls->recursive, "Look for drawings in sub-folders too");
  layers->footer("Examples:\n  vantrove layers plan.dwg\n  vantrove layers plans/ -r -o layers.xlsx");
  layers->callback([chosen, ls] {
    *chosen = [ls] {
      const std::string format = ResolveFormat("layers", ls->format, ls->output, "txt");
      if (format.empty()) return 2;
      Table table;
      std::vector<std::string> problems;
      const size_t count = ExpandDrawings(ls->drawings, ls->recursive, problems).size();
      const int status =
          ForEachDrawing("layers", ls->drawings, ls->recursive, [&](clsVantrove& v, const std::string& file) {
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
      const int written = WriteTable(writer, table, format, ls->output, true, "Vantrove: layers");
      return written ? written : status;
    };
  });
}

// layer: switch one layer on/off or freeze/thaw it, saved to a folder or in place.
void AddLayerJob(CLI::App& app, const Chosen& chosen) {
  struct LayerOptions {
    std::vector<std::string> drawings;
    std::string name, state;
    bool recursive = false;
    SaveOptions save;
  };
  auto ly = std::make_shared<LayerOptions>();
  CLI::App* layer = app.add_subcommand("layer", "Switch a layer on or off, or freeze or thaw it, in many drawings and save them.");
  layer->add_option("drawings", ly->drawings, "Drawings, folders or patterns")->required();
  layer->add_option("--name,-n", ly->name, "The layer")->required();
  layer->add_option("--state,-s", ly->state, "on, off, freeze or thaw")->required()->check(CLI::IsMember({"on", "off", "freeze", "thaw"}));
  layer->add_flag("--recursive,-r", ly->recursive, "Look for drawings in sub-folders too");
  AddSaveOptions(layer, ly->save);
  layer->footer("Example:\n  vantrove layer plans/ --name DIMENSIONS --state off --in-place");
  layer->callback([chosen, ly] {
    *chosen = [ly] {
      if (!CheckSave("layer", ly->save)) return 2;
      const bool onOff = ly->state == "on" || ly->state == "off";
      const LayerStateType state = (ly->state == "on" || ly->state == "thaw") ? dwgOn : dwgOff;
      return ForEachDrawing("layer", ly->drawings, ly->recursive, [&](clsVantrove& v, const std::string& file) {
        return EditAndSave(v, ly->save, file, [&](clsVantrove& d, bool& changed) {
          changed = !LayerAlready(d, ly->name, ly->state);
          if (!changed) return std::string();
          const std::string s = d.SetLayerState(ly->name, state, onOff ? dwgOnOff : dwgThaw);
          return s == "OK" ? std::string() : s;
        });
      });
    };
  });
}

}  // namespace

std::function<int()> AddJobs(CLI::App& app) {
  auto chosen = std::make_shared<std::function<int()>>();
  AddDatabaseJobs(app, chosen);
  AddExtractJob(app, chosen);
  AddInfoJob(app, chosen);
  AddDescribeJob(app, chosen);
  AddDxfJob(app, chosen);
  AddReplaceJob(app, chosen);
  AddLayersJob(app, chosen);
  AddLayerJob(app, chosen);

  CLI::App* extract = app.get_subcommand("extract");
  return [chosen, extract] {
    if (!*chosen) return -1;
    if (*extract && !ExtractOutputWritable(*extract)) return 2;
    return (*chosen)();
  };
}

}  // namespace vantrove::cli
