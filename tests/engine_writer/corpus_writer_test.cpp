// Writes every corpus DXF the engine reads back in its own version and in
// 2000 to 2018 and R12, and after a set of edits, and has an independent
// reader (ezdxf, through check_written.py) open each file and compare it
// with the source: audit, layers, block references and attributes, texts,
// multi-line texts, images and external references.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "test_support.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dxf_reader.hpp"
#include "vantrove/engine/dxf_writer.hpp"

namespace vantrove::engine {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const fs::path kCorpus = fs::path(VANTROVE_SHARED_DIR) / "corpus";
constexpr int32_t kTargets[] = {kVersionKeep, 2000, 2004, 2007, 2010, 2013, 2018, 12};

bool CheckerAvailable() {
  const std::string probe = std::string(VANTROVE_PYTHON) + " -c \"import ezdxf\" >/dev/null 2>&1";
  return std::system(probe.c_str()) == 0;
}

std::string LoadMode(const std::string& name) {
  json oracle;
  std::ifstream in(kCorpus / "oracle" / (name + ".json"));
  if (!in) return "none";
  in >> oracle;
  const std::string mode = oracle.value("load_mode", "failed");
  if (mode == "read" || mode == "recover") return mode;
  if (mode == "failed") return "none";
  return "unicode";
}

// Runs the checker on the cases; returns id -> problems (empty when fine).
std::map<std::string, std::vector<std::string>> Check(const json& cases, const fs::path& dir) {
  const fs::path cases_file = dir / "cases.json";
  const fs::path results_file = dir / "results.json";
  std::ofstream(cases_file) << cases.dump(1);
  const std::string command = std::string(VANTROVE_PYTHON) + " " + VANTROVE_WRITER_CHECKER + " '" +
                              cases_file.string() + "' '" + results_file.string() + "'";
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  std::map<std::string, std::vector<std::string>> out;
  std::ifstream in(results_file);
  if (!in) return out;
  json results;
  in >> results;
  for (const json& r : results) out[r["id"]] = r["problems"].get<std::vector<std::string>>();
  return out;
}

json Case(const std::string& id, const fs::path& source, const fs::path& output, const std::string& mode, bool r12,
          const std::string& source_version) {
  return json{{"id", id},
              {"source", source.string()},
              {"output", output.string()},
              {"load", mode},
              {"r12", r12},
              {"source_version", source_version}};
}

TEST(WrittenCorpus, EveryVersionOpensInAnIndependentReaderWithTheSameContent) {
  if (!fs::is_directory(kCorpus / "dxf")) GTEST_SKIP() << "corpus not present at " << kCorpus;
  if (!CheckerAvailable()) GTEST_SKIP() << "python3-ezdxf is not installed";
  testing::TempDir dir;
  json cases = json::array();
  std::vector<fs::path> sources;
  for (const auto& entry : fs::directory_iterator(kCorpus / "dxf")) sources.push_back(entry.path());
  std::sort(sources.begin(), sources.end());
  size_t written = 0;
  for (const fs::path& source : sources) {
    Document document;
    if (!ReadDxfFile(source.string(), document).ok()) continue;  // damaged on purpose: the reader's tests cover it
    const std::string name = source.filename().string();
    const std::string mode = LoadMode(name);
    for (int32_t version : kTargets) {
      const fs::path output = dir / (source.stem().string() + "_" + std::to_string(version) + ".dxf");
      DxfWriteOptions options;
      options.version = version;
      const Status status = WriteDxfFile(document, options, output.string());
      ASSERT_TRUE(status.ok() || status.code == StatusCode::kWrittenWithLosses) << name << " " << status.Text();
      if (status.code == StatusCode::kWrittenWithLosses) {
        EXPECT_NE(status.message.find("without what it cannot hold"), std::string::npos) << status.Text();
      }
      const bool r12 = version == 12 || (version == kVersionKeep && document.version <= "AC1009");
      cases.push_back(Case(name + "@" + std::to_string(version), source, output, mode, r12, document.version));
      ++written;
    }
  }
  ASSERT_GT(written, 200u);
  const auto results = Check(cases, dir.path());
  ASSERT_EQ(results.size(), cases.size());
  for (const auto& [id, problems] : results) {
    for (const std::string& problem : problems) ADD_FAILURE() << id << ": " << problem;
  }
}

// The handles an edit scenario works on, found in the model.
struct Targets {
  std::string text, mtext, attrib, doomed_insert, image, layer_off, layer_frozen, xref;
};

Targets FindTargets(const Document& document) {
  Targets t;
  const Insert* first_insert = nullptr;
  for (const Entity* e : document.model_space()->entities) {
    const std::string handle = FormatHandle(e->handle);
    if (e->kind() == ObjectKind::kText && t.text.empty()) t.text = handle;
    if (e->kind() == ObjectKind::kMText && t.mtext.empty()) t.mtext = handle;
    if (e->kind() == ObjectKind::kImage && t.image.empty()) t.image = handle;
    if (e->kind() == ObjectKind::kInsert) {
      const auto* insert = static_cast<const Insert*>(e);
      if (first_insert == nullptr && !insert->attribs.empty()) {
        first_insert = insert;
        t.attrib = FormatHandle(insert->attribs.front()->handle);
      } else if (t.doomed_insert.empty() || !insert->attribs.empty()) {
        // Another reference, one with attributes when there is one.
        if (t.doomed_insert.empty() || document.Find(t.doomed_insert) == nullptr ||
            static_cast<const Insert*>(document.Find(t.doomed_insert))->attribs.empty()) {
          t.doomed_insert = handle;
        }
      }
    }
  }
  const std::string_view current = document.HeaderText("$CLAYER");
  for (const Layer* layer : document.layers) {
    if (layer->name == "0" || layer->name == current || !layer->on() || layer->frozen()) continue;
    if (t.layer_off.empty()) {
      t.layer_off = std::string(layer->name);
    } else if (t.layer_frozen.empty()) {
      t.layer_frozen = std::string(layer->name);
    }
  }
  if (t.layer_frozen.empty()) t.layer_frozen = t.layer_off;
  for (const Block* block : document.blocks) {
    if (block->is_xref() && t.xref.empty()) t.xref = std::string(block->name);
  }
  return t;
}

TEST(WrittenCorpus, EditsThenSaveShowExactlyTheEdits) {
  if (!CheckerAvailable()) GTEST_SKIP() << "python3-ezdxf is not installed";
  const fs::path corpus_file = kCorpus / "dxf" / "acs_sample_AC1032_ascii.dxf";
  std::vector<std::pair<fs::path, std::string>> sources = {{testing::Fixture("r2018_ascii.dxf"), "read"}};
  if (fs::exists(corpus_file)) sources.emplace_back(corpus_file, "read");
  testing::TempDir dir;
  json cases = json::array();
  for (const auto& [source, mode] : sources) {
    for (int32_t version : {int32_t{kVersionKeep}, int32_t{2004}, int32_t{12}}) {
      DrawingComponent component;
      int32_t opened = 0;
      component.OpenDrawing(opened, source.string(), "");
      ASSERT_EQ(opened, 1) << source;
      const Targets t = FindTargets(*component.document());
      ASSERT_FALSE(t.text.empty() || t.mtext.empty() || t.attrib.empty() || t.doomed_insert.empty() ||
                   t.image.empty() || t.layer_off.empty() || t.layer_frozen.empty())
          << source;
      std::string status;
      json edits;
      auto expect_ok = [&](const char* what) {
        component.LastStatus(status);
        EXPECT_EQ(status, "1000:Ok") << what << " on " << source;
      };
      component.SetTextValue("Changed text ÄÖÜ", t.text);
      expect_ok("text");
      edits["texts"][t.text] = "Changed text ÄÖÜ";
      component.SetTextValue("{\\C1;Red} and plain\\Psecond line", t.mtext);
      expect_ok("mtext");
      edits["mtexts"][t.mtext] = "{\\C1;Red} and plain\\Psecond line";
      component.SetAttributeValue("NEW-42", t.attrib);
      expect_ok("attribute");
      edits["attribs"][t.attrib] = "NEW-42";
      component.DeleteObject(t.doomed_insert);
      expect_ok("delete");
      edits["deleted"] = json::array({t.doomed_insert});
      component.SetLayerState(t.layer_off, 2, 1);
      expect_ok("layer off");
      edits["layers"][t.layer_off] = json::array({false, false});
      component.SetLayerState(t.layer_frozen, 2, 2);
      expect_ok("layer frozen");
      edits["layers"][t.layer_frozen] = json::array({t.layer_frozen != t.layer_off, true});
      component.SetImagePath("C:\\images\\new logo.png", t.image);
      expect_ok("image");
      edits["images"][t.image] = "C:\\images\\new logo.png";
      if (!t.xref.empty()) {
        component.SetXrefPath("..\\xrefs\\moved.dwg", t.xref);
        expect_ok("xref");
        edits["xrefs"][t.xref] = "..\\xrefs\\moved.dwg";
      }
      const fs::path output =
          dir / (source.stem().string() + "_edited_" + std::to_string(version) + ".dxf");
      component.SaveAs(output.string(), version);
      component.LastStatus(status);
      EXPECT_TRUE(status == "1000:Ok" || status.rfind("1002:", 0) == 0) << status;
      json c = Case(source.filename().string() + "@edited" + std::to_string(version), source, output, mode,
                    version == 12, component.document()->version);
      c["edits"] = edits;
      cases.push_back(c);
    }
  }
  const auto results = Check(cases, dir.path());
  ASSERT_EQ(results.size(), cases.size());
  for (const auto& [id, problems] : results) {
    for (const std::string& problem : problems) ADD_FAILURE() << id << ": " << problem;
  }
}

}  // namespace
}  // namespace vantrove::engine
