// Opens every DXF drawing of the shared corpus and compares its XML
// description with what an independent reader (the oracle JSON files) saw.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "description_reader.hpp"
#include "vantrove/engine/description.hpp"
#include "vantrove/engine/dxf_reader.hpp"

namespace vantrove::engine {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::Node;

const fs::path kCorpus = fs::path(VANTROVE_SHARED_DIR) / "corpus";

std::vector<std::string> CorpusDxfFiles() {
  std::vector<std::string> names;
  std::error_code error;
  if (!fs::is_directory(kCorpus / "dxf", error)) return names;
  for (const auto& entry : fs::directory_iterator(kCorpus / "dxf")) {
    if (entry.path().extension() == ".dxf") names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

struct Described {
  std::map<std::string, const Node*> layers_by_name;
  std::vector<const Node*> layouts;
  std::map<std::string, const Node*> inserts_by_handle;
  std::map<std::string, std::string> insert_block_context;  // insert handle -> <Block name>
  std::map<std::string, const Node*> attdefs_by_handle;
  std::map<std::string, std::string> attdef_block;
  std::map<std::string, const Node*> texts_by_handle;
  std::map<std::string, const Node*> mtexts_by_handle;
  std::map<std::string, const Node*> images_by_handle;
  std::vector<const Node*> references;
};

void Collect(const Node& drawing, Described& out) {
  if (const Node* layers = drawing.Child("Layers")) {
    for (const Node& layer : layers->children) out.layers_by_name[layer.Leaf("LayerName")] = &layer;
  }
  if (const Node* layouts = drawing.Child("Layouts")) {
    for (const Node& layout : layouts->children) out.layouts.push_back(&layout);
  }
  if (const Node* attributes = drawing.Child("Attributes")) {
    for (const Node& layout : attributes->children) {
      for (const Node& block : layout.children) {
        for (const Node& insert : block.children) {
          out.inserts_by_handle[insert.Leaf("Handle")] = &insert;
          out.insert_block_context[insert.Leaf("Handle")] = block.name;
        }
      }
    }
  }
  if (const Node* defs = drawing.Child("AttributeDefinitions")) {
    for (const Node& block : defs->children) {
      for (const Node& def : block.children) {
        out.attdefs_by_handle[def.Leaf("Handle")] = &def;
        out.attdef_block[def.Leaf("Handle")] = block.name;
      }
    }
  }
  if (const Node* texts = drawing.Child("TextLiterals")) {
    for (const Node& layout : texts->children) {
      for (const Node& block : layout.children) {
        for (const Node& text : block.children) {
          (text.tag == "Text" ? out.texts_by_handle : out.mtexts_by_handle)[text.Leaf("Handle")] = &text;
        }
      }
    }
  }
  if (const Node* images = drawing.Child("Images")) {
    for (const Node& block : images->children) {
      for (const Node& image : block.children) out.images_by_handle[image.Leaf("Handle")] = &image;
    }
  }
  if (const Node* references = drawing.Child("ExternalReferences")) {
    for (const Node& reference : references->children) out.references.push_back(&reference);
  }
}

std::string Bool(bool value) { return value ? "True" : "False"; }

// The peer keeps \U+XXXX escapes as written; this engine decodes them in
// drawings before 2007 (and MTEXT plain text decodes them in every version).
std::string DecodeUnicodeEscapes(const std::string& in) {
  std::string out;
  for (size_t i = 0; i < in.size(); ++i) {
    if (in.compare(i, 3, "\\U+") == 0 && i + 7 <= in.size() &&
        in.find_first_not_of("0123456789ABCDEFabcdef", i + 3) >= i + 7) {
      out += testing::UnescapeValue("&#" + std::to_string(std::stoul(in.substr(i + 3, 4), nullptr, 16)) + ";");
      i += 6;
      continue;
    }
    out.push_back(in[i]);
  }
  return out;
}

// MTEXT line breaks reach readers as \P, as the ASCII caret form ^J or, from
// binary files, as a line feed; all three mean the same break. The oracle
// keeps the caret codes of ASCII files as they stand (^I a tab, "^ " a
// caret); the engine decodes them.
std::string SameBreaks(std::string text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "^J") == 0 || text.compare(i, 2, "\\P") == 0) {
      out += '\n';
      ++i;
    } else if (text.compare(i, 2, "^I") == 0) {
      out += '\t';
      ++i;
    } else if (text.compare(i, 2, "^ ") == 0) {
      out += '^';
      ++i;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

class CorpusDxf : public ::testing::TestWithParam<std::string> {};

TEST_P(CorpusDxf, DescriptionMatchesOracle) {
  const fs::path file = kCorpus / "dxf" / GetParam();
  const fs::path oracle_file = kCorpus / "oracle" / (GetParam() + ".json");
  if (!fs::exists(file)) GTEST_SKIP() << "corpus not present at " << kCorpus;
  json oracle;
  if (fs::exists(oracle_file)) std::ifstream(oracle_file) >> oracle;
  const std::string mode = oracle.value("load_mode", "none");

  Document document;
  Status status = ReadDxfFile(file.string(), document);
  if (!status.ok() && !status.done_with_note()) {  // an incomplete drawing opens
    // Only drawings that the independent reader could not load either may fail,
    // and they must say why.
    EXPECT_TRUE(mode == "failed" || mode == "none") << status.Text();
    EXPECT_TRUE(status.code == StatusCode::kDamaged || status.code == StatusCode::kNotADrawing ||
                status.code == StatusCode::kUnsupportedVersion)
        << status.Text();
    EXPECT_NE(status.message.find(file.string()), std::string::npos) << status.Text();
    return;
  }
  DescriptionSections all{true, true, true, true, true, true, true, true};
  const std::string text = DescriptionText(document, all);
  std::string error;
  Node root = testing::ParseDescription(text, error);
  ASSERT_EQ(error, "");
  ASSERT_EQ(root.children.size(), 1u);
  const Node& drawing = root.children[0];
  ASSERT_EQ(drawing.tag, "Drawing");
  ASSERT_FALSE(drawing.children.empty());
  EXPECT_EQ(drawing.children[0].tag, "DrawingInformation");
  EXPECT_EQ(drawing.children[0].leaves.at(0).first, "DatabaseFilename");
  if (mode == "failed" || mode == "none") return;  // opened, nothing to compare with
  const bool legacy = document.version < "AC1021";
  auto expected_text = [&](const json& value) {
    const std::string raw = value.get<std::string>();
    return legacy ? DecodeUnicodeEscapes(raw) : raw;
  };

  Described ours;
  Collect(drawing, ours);

  // Layers: name, on, frozen, locked, handle (when the file gave handles).
  std::set<std::string> oracle_layers;
  for (const json& layer : oracle["layers"]) {
    const std::string name = layer["name"];
    oracle_layers.insert(name);
    auto it = ours.layers_by_name.find(name);
    if (it == ours.layers_by_name.end()) {
      EXPECT_EQ(name, "Defpoints") << "missing layer " << name;  // the peer adds Defpoints itself
      continue;
    }
    const Node& node = *it->second;
    EXPECT_EQ(node.Leaf("On"), Bool(layer["on"])) << name;
    EXPECT_EQ(node.Leaf("Frozen"), Bool(layer["frozen"])) << name;
    EXPECT_EQ(node.Leaf("Locked"), Bool(layer["locked"])) << name;
    const Layer* model_layer = document.FindLayer(name);
    ASSERT_NE(model_layer, nullptr);
    if (!model_layer->handle_assigned && !model_layer->synthesized) {
      EXPECT_EQ(node.Leaf("Handle"), layer["handle"].get<std::string>()) << name;
    }
  }
  for (const auto& [name, node] : ours.layers_by_name) EXPECT_TRUE(oracle_layers.count(name)) << "extra layer " << name;

  // Layouts: the same names and tab order.
  std::map<std::string, int> oracle_layouts;
  for (const json& layout : oracle["layouts"]) oracle_layouts[layout["name"]] = layout["tab_order"];
  std::map<std::string, int> our_layouts;
  for (const Node* layout : ours.layouts) our_layouts[layout->Leaf("LayoutName")] = std::stoi(layout->Leaf("TabOrder"));
  EXPECT_EQ(our_layouts, oracle_layouts);

  // Block references in layouts and in block definitions, with their attributes.
  size_t oracle_inserts = 0;
  for (const char* key : {"inserts", "block_inserts"}) {
    for (const json& insert : oracle[key]) {
      ++oracle_inserts;
      const std::string handle = insert["handle"];
      auto it = ours.inserts_by_handle.find(handle);
      ASSERT_NE(it, ours.inserts_by_handle.end()) << "insert " << handle;
      const Node& node = *it->second;
      EXPECT_EQ(node.Leaf("Name"), expected_text(insert["block"])) << handle;
      EXPECT_EQ(node.Leaf("LayerName"), expected_text(insert["layer"])) << handle;
      if (insert.contains("owner_name") && insert.value("owner_kind", "") == "block") {
        EXPECT_EQ(ours.insert_block_context[handle], insert["owner_name"].get<std::string>()) << handle;
      }
      if (insert.contains("minsert")) {
        EXPECT_EQ(node.Leaf("Rows"), std::to_string(insert["minsert"]["rows"].get<int>()));
        EXPECT_EQ(node.Leaf("Columns"), std::to_string(insert["minsert"]["columns"].get<int>()));
      }
      const Node* point = node.Child("InsertionPoint");
      ASSERT_NE(point, nullptr);
      EXPECT_NEAR(std::stod(point->Leaf("X")), insert["insert"][0].get<double>(), 1e-9);
      EXPECT_NEAR(std::stod(point->Leaf("Y")), insert["insert"][1].get<double>(), 1e-9);
      const json& attribs = insert["attribs"];
      ASSERT_EQ(node.children.size(), attribs.size() + 1) << handle;  // InsertionPoint + attributes
      EXPECT_EQ(node.Leaf("NumberAttributes"), std::to_string(attribs.size()));
      for (size_t i = 0; i < attribs.size(); ++i) {
        const Node& attribute = node.children[i + 1];
        EXPECT_EQ(attribute.tag, "Attribute");
        EXPECT_EQ(attribute.leaves.size(), 4u);
        EXPECT_EQ(attribute.Leaf("Handle"), attribs[i]["handle"].get<std::string>());
        EXPECT_EQ(attribute.Leaf("AttributeTag"), expected_text(attribs[i]["tag"]));
        const std::string expected = expected_text(attribs[i].value("multiline", false) ? attribs[i]["mtext"]
                                                                                        : attribs[i]["text"]);
        EXPECT_EQ(attribute.leaves.at(3).second, expected) << attribute.Leaf("Handle");
      }
    }
  }
  EXPECT_EQ(ours.inserts_by_handle.size(), oracle_inserts);

  // Attribute definitions.
  for (const json& def : oracle["attdefs"]) {
    const std::string handle = def["handle"];
    auto it = ours.attdefs_by_handle.find(handle);
    ASSERT_NE(it, ours.attdefs_by_handle.end()) << "attdef " << handle;
    const Node& node = *it->second;
    EXPECT_EQ(ours.attdef_block[handle], def["block"].get<std::string>());
    EXPECT_EQ(node.Leaf("AttributeTag"), expected_text(def["tag"]));
    EXPECT_EQ(node.Leaf("AttributePrompt"), expected_text(def["prompt"]));
    EXPECT_EQ(node.Leaf("Constant"), Bool(def["constant"]));
    EXPECT_EQ(node.Leaf("Preset"), Bool(def["preset"]));
    EXPECT_EQ(node.Leaf("Verify"), Bool(def["verify"]));
    if (!def.value("multiline", false)) {
      EXPECT_EQ(node.Leaf("AttributeValue"), expected_text(def["default"]));
    }
  }
  EXPECT_EQ(ours.attdefs_by_handle.size(), oracle["attdefs"].size());

  // TEXT and MTEXT: value (MTEXT with its codes) and plain text.
  for (const json& one : oracle["texts"]) {
    auto it = ours.texts_by_handle.find(one["handle"].get<std::string>());
    ASSERT_NE(it, ours.texts_by_handle.end()) << "text " << one["handle"];
    EXPECT_EQ(it->second->Leaf("Value"), expected_text(one["text"])) << one["handle"];
  }
  EXPECT_EQ(ours.texts_by_handle.size(), oracle["texts"].size());
  for (const json& mtext : oracle["mtexts"]) {
    auto it = ours.mtexts_by_handle.find(mtext["handle"].get<std::string>());
    ASSERT_NE(it, ours.mtexts_by_handle.end()) << "mtext " << mtext["handle"];
    EXPECT_EQ(SameBreaks(it->second->Leaf("Value")), SameBreaks(expected_text(mtext["text"]))) << mtext["handle"];
    EXPECT_EQ(it->second->Leaf("PlainText"), DecodeUnicodeEscapes(mtext["plain_text"].get<std::string>()))
        << mtext["handle"];
  }
  EXPECT_EQ(ours.mtexts_by_handle.size(), oracle["mtexts"].size());

  // Images and their file names.
  for (const json& image : oracle["images"]) {
    auto it = ours.images_by_handle.find(image["handle"].get<std::string>());
    ASSERT_NE(it, ours.images_by_handle.end()) << "image " << image["handle"];
    EXPECT_EQ(it->second->Leaf("PathName"), image["filename"].get<std::string>());
  }
  EXPECT_EQ(ours.images_by_handle.size(), oracle["images"].size());

  // External references.
  ASSERT_EQ(ours.references.size(), oracle["xrefs"].size());
  for (size_t i = 0; i < ours.references.size(); ++i) {
    EXPECT_EQ(ours.references[i]->Leaf("Name"), oracle["xrefs"][i]["name"].get<std::string>());
    EXPECT_EQ(ours.references[i]->Leaf("PathName"), oracle["xrefs"][i]["path"].get<std::string>());
  }
}

INSTANTIATE_TEST_SUITE_P(Drawings, CorpusDxf, ::testing::ValuesIn(CorpusDxfFiles()),
                         [](const ::testing::TestParamInfo<std::string>& param) {
                           std::string name = param.param.substr(0, param.param.size() - 4);
                           for (char& c : name) {
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           }
                           return name;
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CorpusDxf);

TEST(CorpusPresence, SharedCorpusIsAvailable) {
  if (CorpusDxfFiles().empty()) GTEST_SKIP() << "corpus not present at " << kCorpus << ": corpus tests skipped";
  EXPECT_GE(CorpusDxfFiles().size(), 30u);
}

}  // namespace
}  // namespace vantrove::engine
