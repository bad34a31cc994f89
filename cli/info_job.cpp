#include "info_job.hpp"

#include <iostream>
#include <map>
#include <sstream>
#include <unordered_map>

#include "attribute_table.hpp"
#include "job_runner.hpp"
#include "vantrove/engine/component.hpp"

namespace vantrove::cli {

namespace {

using nlohmann::ordered_json;

std::string Release(const std::string& version) {
  static const std::map<std::string, std::string> releases = {
      {"AC1009", "R11/R12"}, {"AC1012", "R13"},  {"AC1014", "R14"},  {"AC1015", "2000"}, {"AC1018", "2004"},
      {"AC1021", "2007"},    {"AC1024", "2010"}, {"AC1027", "2013"}, {"AC1032", "2018"}};
  auto it = releases.find(version);
  return it == releases.end() ? std::string() : it->second;
}

std::string Format(engine::DrawingFormat format) {
  switch (format) {
    case engine::DrawingFormat::kDxfAscii: return "DXF";
    case engine::DrawingFormat::kDxfBinary: return "Binary DXF";
    case engine::DrawingFormat::kDwg: return "DWG";
    case engine::DrawingFormat::kNone: break;
  }
  return "";
}

}  // namespace

ordered_json DrawingInfo(const engine::Document& doc) {
  ordered_json info;
  info["drawing"] = DescribedPath(doc);
  info["format"] = Format(doc.format);
  info["version"] = doc.version;
  info["release"] = Release(doc.version);
  info["codepage"] = DescribedText(doc.codepage);
  // Objects by type, as the file holds them (the defaults the engine adds
  // to an incomplete drawing are not counted).
  std::map<std::string, size_t> entities, objects;
  std::unordered_map<const engine::Block*, size_t> references;
  for (const auto& object : doc.all_objects()) {
    if (object->erased || object->synthesized) continue;
    (object->is_entity() ? entities : objects)[DescribedText(object->type_name)]++;
    if (object->kind() == engine::ObjectKind::kInsert) {
      const auto& insert = static_cast<const engine::Insert&>(*object);
      if (const engine::Block* b = doc.FindBlock(insert.block_name)) references[b]++;
    }
  }
  info["entities"] = entities;
  info["objects"] = objects;
  info["layouts"] = ordered_json::array();
  for (const engine::Layout* l : doc.layouts) {
    info["layouts"].push_back({{"name", DescribedText(l->name)},
                               {"tab_order", l->tab_order},
                               {"block", l->block != nullptr ? DescribedText(l->block->name) : std::string()}});
  }
  info["blocks"] = ordered_json::array();
  for (const engine::Block* b : doc.blocks) {
    if (doc.LayoutOf(b) != nullptr) continue;
    ordered_json tags = ordered_json::array();
    for (const engine::Entity* e : b->entities) {
      if (e->kind() == engine::ObjectKind::kAttDef) tags.push_back(DescribedText(static_cast<const engine::AttDef*>(e)->tag));
    }
    auto count = references.find(b);
    info["blocks"].push_back({{"name", DescribedText(b->name)},
                              {"anonymous", b->anonymous()},
                              {"xref", b->is_xref()},
                              {"references", count == references.end() ? 0 : count->second},
                              {"attribute_tags", tags}});
  }
  info["warnings"] = ordered_json::array();
  for (const std::string& w : doc.warnings) info["warnings"].push_back(DescribedText(w));
  return info;
}

std::string DrawingInfoText(const ordered_json& info) {
  std::ostringstream out;
  out << "Drawing:   " << info["drawing"].get<std::string>() << '\n';
  out << "Format:    " << info["format"].get<std::string>() << ' ' << info["version"].get<std::string>();
  if (const std::string r = info["release"]; !r.empty()) out << " (" << r << ')';
  out << "\nCode page: " << info["codepage"].get<std::string>() << '\n';
  for (const char* kind : {"entities", "objects"}) {
    size_t total = 0;
    for (const auto& [name, n] : info[kind].items()) total += n.get<size_t>();
    out << (kind[0] == 'e' ? "Entities" : "Objects") << ":  " << total << '\n';
    for (const auto& [name, n] : info[kind].items()) out << "  " << name << ' ' << n.get<size_t>() << '\n';
  }
  out << "Layouts:   " << info["layouts"].size() << '\n';
  for (const auto& l : info["layouts"]) {
    out << "  " << l["name"].get<std::string>() << " (block " << l["block"].get<std::string>() << ")\n";
  }
  size_t anonymous = 0;
  for (const auto& b : info["blocks"]) anonymous += b["anonymous"].get<bool>() ? 1 : 0;
  out << "Blocks:    " << info["blocks"].size() << (anonymous ? " (" + std::to_string(anonymous) + " anonymous, not listed)" : "")
      << '\n';
  for (const auto& b : info["blocks"]) {
    if (b["anonymous"].get<bool>()) continue;
    out << "  " << b["name"].get<std::string>() << (b["xref"].get<bool>() ? " [xref]" : "") << ", "
        << b["references"].get<size_t>() << " reference" << (b["references"].get<size_t>() == 1 ? "" : "s");
    if (!b["attribute_tags"].empty()) {
      out << ", tags:";
      for (const auto& t : b["attribute_tags"]) out << ' ' << t.get<std::string>();
    }
    out << '\n';
  }
  if (!info["warnings"].empty()) {
    out << "Warnings:  " << info["warnings"].size() << '\n';
    for (const auto& w : info["warnings"]) out << "  " << w.get<std::string>() << '\n';
  }
  return out.str();
}

void AddInfoJob(CLI::App& app, const std::shared_ptr<std::function<int()>>& chosen) {
  auto drawings = std::make_shared<std::vector<std::string>>();
  auto json = std::make_shared<bool>(false);
  CLI::App* info = app.add_subcommand(
      "info", "Show what drawings hold: version, code page, objects by type, layouts, blocks and their tags.");
  info->add_option("drawings", *drawings, "Drawings, folders or patterns")->required();
  info->add_flag("--json", *json, "JSON: one object per drawing (a list of them for several drawings)");
  info->footer(
      "Examples:\n"
      "  vantrove info plan.dwg\n"
      "  vantrove info plans/*.dxf --json");
  info->callback([chosen, drawings, json] {
    *chosen = [drawings, json] {
      ordered_json all = ordered_json::array();
      std::string text;
      const int status = ForEachDrawing("info", *drawings, false, [&](clsVantrove& v, const std::string& file) {
        if (std::string e = Open(v, file); !e.empty()) return e;
        const engine::Document* doc = v.component() != nullptr ? v.component()->document() : nullptr;
        if (doc == nullptr) return std::string("the drawing engine holds no drawing");
        all.push_back(DrawingInfo(*doc));
        text += (text.empty() ? "" : "\n") + DrawingInfoText(all.back());
        return std::string();
      });
      if (status == 2) return status;
      if (*json) {
        std::cout << (all.size() == 1 ? all[0] : all).dump(2, ' ', false, ordered_json::error_handler_t::replace) << '\n';
      } else {
        std::cout << text;
      }
      return status;
    };
  });
}

}  // namespace vantrove::cli
