#include "jobs.hpp"

#include <algorithm>
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

namespace vantrove::cli {

namespace fs = std::filesystem;

namespace {

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

  AddExtractJob(app, chosen);
  AddInfoJob(app, chosen);

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
