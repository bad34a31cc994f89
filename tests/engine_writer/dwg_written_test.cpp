// Writes every corpus DWG drawing the engine reads as DXF 2018, 2000 and
// R12 (ASCII, and 2018 binary), after changing one attribute value, and has
// an independent reader (ezdxf, through check_dwg_written.py) open each
// file: no audit error, and every layer, block reference with its
// attribute values, text and multi-line text the engine read from the DWG.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "test_support.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_reader.hpp"
#include "vantrove/engine/dxf_writer.hpp"
#include "vantrove/engine/edits.hpp"

namespace vantrove::engine {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const fs::path kCorpus = fs::path(VANTROVE_SHARED_DIR) / "corpus";

bool CheckerAvailable() {
  const std::string probe = std::string(VANTROVE_PYTHON) + " -c \"import ezdxf\" >/dev/null 2>&1";
  return std::system(probe.c_str()) == 0;
}

// What the engine read from the DWG file, as the checker compares it.
json Expected(const Document& doc) {
  json exp = {{"layers", json::object()}, {"inserts", json::object()}, {"texts", json::object()},
              {"mtexts", json::object()}};
  for (const Layer* layer : doc.layers) exp["layers"][std::string(layer->name)] = {layer->on(), layer->frozen()};
  auto add = [&](const Entity* e, bool other_paper) {
    const std::string handle = FormatHandle(e->handle);
    if (e->kind() == ObjectKind::kInsert) {
      const auto* insert = static_cast<const Insert*>(e);
      json attribs = json::array();
      for (const Attrib* a : insert->attribs) {
        std::string value(a->display_value());
        if (a->multiline && a->value.empty()) value = MTextPlainText(a->mtext_value);
        attribs.push_back({std::string(a->tag), value});
      }
      exp["inserts"][handle] = {std::string(insert->block_name), attribs, other_paper};
    } else if (e->kind() == ObjectKind::kText) {
      exp["texts"][handle] = {std::string(static_cast<const Text*>(e)->value), other_paper};
    } else if (e->kind() == ObjectKind::kMText) {
      const auto* m = static_cast<const MText*>(e);
      json lines = json::array();
      const std::string plain = m->PlainText();
      size_t start = 0;
      for (size_t i = 0; i <= plain.size(); ++i) {
        if (i == plain.size() || plain[i] == '\n') {
          lines.push_back(plain.substr(start, i - start));
          start = i + 1;
        }
      }
      exp["mtexts"][handle] = {std::string(m->value), lines, other_paper};
    }
  };
  // Objects of classes the reader does not decode travel as proxies.
  size_t proxies = 0;
  for (const auto& o : doc.all_objects()) {
    if (!o->erased && !doc.Groups(*o).empty() && o->type_name.starts_with("ACAD_PROXY_")) ++proxies;
  }
  exp["proxies"] = proxies;
  for (const Entity* e : doc.entities) add(e, false);
  for (const Block* block : doc.blocks) {
    if (block == doc.model_space() || block == doc.paper_space() || doc.LayoutOf(block) == nullptr) continue;
    for (const Entity* e : block->entities) add(e, true);
  }
  return exp;
}

const Attrib* FirstAttrib(const Document& doc) {
  for (const Entity* e : doc.entities) {
    if (e->kind() == ObjectKind::kAttrib && !static_cast<const Attrib*>(e)->multiline) return static_cast<const Attrib*>(e);
  }
  return nullptr;
}

TEST(DwgWrittenAsDxf, EveryReadableCorpusDrawingOpensInAnIndependentReader) {
  if (!fs::is_directory(kCorpus / "dwg")) GTEST_SKIP() << "corpus not present at " << kCorpus;
  if (!CheckerAvailable()) GTEST_SKIP() << "python3-ezdxf is not installed";
  testing::TempDir dir;
  json cases = json::array();
  std::vector<fs::path> sources;
  for (const auto& entry : fs::directory_iterator(kCorpus / "dwg")) {
    if (entry.path().extension() == ".dwg") sources.push_back(entry.path());
  }
  std::sort(sources.begin(), sources.end());
  size_t drawings = 0;
  for (const fs::path& source : sources) {
    Document doc;
    if (!ReadDwgFile(source.string(), doc).ok()) continue;  // damaged or not yet readable: the reader's tests cover it
    ++drawings;
    if (const Attrib* attrib = FirstAttrib(doc)) {
      DrawingEditor editor(doc);
      ASSERT_TRUE(editor.SetAttributeValue("Changed Ä value", FormatHandle(attrib->handle)).ok());
    }
    const json expected = Expected(doc);
    const std::string name = source.filename().string();
    struct Target {
      int32_t version;
      bool binary;
    };
    for (const Target target : {Target{2018, false}, Target{2000, false}, Target{12, false}, Target{2018, true}}) {
      const std::string id = name + "@" + std::to_string(target.version) + (target.binary ? "b" : "");
      const fs::path output = dir / (source.stem().string() + "_" + std::to_string(target.version) +
                                     (target.binary ? "b" : "") + ".dxf");
      DxfWriteOptions options;
      options.version = target.version;
      options.binary = target.binary;
      const Status status = WriteDxfFile(doc, options, output.string());
      ASSERT_TRUE(status.ok() || status.code == StatusCode::kWrittenWithLosses) << id << " " << status.Text();
      if (status.code == StatusCode::kWrittenWithLosses) {
        EXPECT_NE(status.message.find("without what it cannot hold ("), std::string::npos) << status.Text();
      }
      cases.push_back({{"id", id}, {"output", output.string()}, {"r12", target.version == 12}, {"expected", expected}});
    }
  }
  ASSERT_GT(drawings, 10u);
  const fs::path cases_file = dir / "cases.json";
  const fs::path results_file = dir / "results.json";
  std::ofstream(cases_file) << cases.dump(1);
  const std::string command = std::string(VANTROVE_PYTHON) + " " + VANTROVE_DWG_WRITER_CHECKER + " '" +
                              cases_file.string() + "' '" + results_file.string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
  std::ifstream in(results_file);
  json results;
  in >> results;
  ASSERT_EQ(results.size(), cases.size());
  for (const json& r : results) {
    for (const auto& problem : r["problems"]) ADD_FAILURE() << r["id"].get<std::string>() << ": " << problem.get<std::string>();
  }
}

}  // namespace
}  // namespace vantrove::engine
