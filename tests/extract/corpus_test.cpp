// End to end on the shared corpus: every DXF drawing is opened, its chapters
// are read into arrays and its block attributes into tables, and the result
// is compared with what an independent reader saw (oracle/*.json).
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "support.hpp"
#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"
#include "vantrove/engine/utf8.hpp"

namespace vantrove {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::Corpus;
using testing::Rows;
using testing::Table;
using testing::TempDir;

std::vector<std::string> CorpusDxfFiles() {
  std::vector<std::string> names;
  std::error_code error;
  if (!fs::is_directory(Corpus() / "dxf", error)) return names;
  for (const auto& entry : fs::directory_iterator(Corpus() / "dxf")) {
    if (entry.path().extension() == ".dxf") names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}


// The independent reader keeps \U+XXXX escapes as written; the engine
// decodes them in drawings before 2007.
std::string DecodeEscapes(const std::string& in) {
  std::string out;
  for (size_t i = 0; i < in.size(); ++i) {
    if (in.compare(i, 3, "\\U+") == 0 && i + 7 <= in.size() &&
        in.find_first_not_of("0123456789ABCDEFabcdef", i + 3) >= i + 7) {
      vantrove::engine::AppendUtf8(out, static_cast<uint32_t>(std::stoul(in.substr(i + 3, 4), nullptr, 16)));
      i += 6;
      continue;
    }
    out.push_back(in[i]);
  }
  return out;
}

// MTEXT breaks arrive as \P, ^J or a line feed. The oracle keeps the caret
// codes of ASCII files as they stand (^I a tab, "^ " a caret); the engine
// decodes them.
std::string SameBreaks(const std::string& text) {
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

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

Variant List(const std::vector<std::string>& names) {
  std::vector<Variant> items;
  for (const std::string& n : names) items.emplace_back(n);
  return Variant(SafeArray::Vector(std::move(items)));
}

class CorpusExtract : public ::testing::TestWithParam<std::string> {
 protected:
  // The chapter as rows keyed by the first column, with headings.
  Table Chapter(int chapter, const std::vector<std::string>& fields, const std::string& filter = "") {
    Variant array;
    const std::string file = dir_ / "chapter.xml";
    EXPECT_EQ(v_.XMLfileToArray(file, static_cast<ChapterType>(chapter), array, true, filter, List(fields)), 1)
        << "chapter " << chapter << " filter " << filter;
    fs::remove(file);
    Table rows = Rows(array);
    if (!rows.empty()) {
      EXPECT_EQ(rows[0].size(), fields.size()) << "chapter " << chapter;
    }
    return rows;
  }
  std::string Text(const json& value) const {
    const std::string raw = value.get<std::string>();
    return legacy_ ? DecodeEscapes(raw) : raw;
  }

  TempDir dir_;
  clsVantrove v_;
  bool legacy_ = false;
};

TEST_P(CorpusExtract, ChaptersAndBlockAttributesMatchTheOracle) {
  const fs::path file = Corpus() / "dxf" / GetParam();
  const fs::path oracleFile = Corpus() / "oracle" / (GetParam() + ".json");
  if (!fs::exists(file) || !fs::exists(oracleFile)) GTEST_SKIP() << "corpus not present at " << Corpus();
  json oracle;
  std::ifstream(oracleFile) >> oracle;
  const std::string mode = oracle.value("load_mode", "none");
  if (mode == "failed" || mode == "none") GTEST_SKIP() << "the independent reader could not load it either";
  if (v_.OpenDrawing(file.string()) != "OK") GTEST_SKIP() << "the engine does not open it (its own tests judge that)";

  const Table info = Chapter(dwgDrawingInfo, {"FileVersion"});
  ASSERT_EQ(info.size(), 2u);
  legacy_ = info[1][0] < "AC1021";

  // Layers: names and states.
  std::map<std::string, std::vector<std::string>> layers;
  for (const auto& row : Chapter(dwgLayers, {"LayerName", "On", "Frozen", "Locked"})) layers[row[0]] = row;
  std::set<std::string> oracleLayers;
  for (const json& layer : oracle["layers"]) {
    const std::string name = Text(layer["name"]);
    oracleLayers.insert(name);
    auto it = layers.find(name);
    if (it == layers.end()) {
      EXPECT_EQ(name, "Defpoints") << "missing layer " << name;
      continue;
    }
    EXPECT_EQ(it->second[1], layer["on"].get<bool>() ? "True" : "False") << name;
    EXPECT_EQ(it->second[2], layer["frozen"].get<bool>() ? "True" : "False") << name;
    EXPECT_EQ(it->second[3], layer["locked"].get<bool>() ? "True" : "False") << name;
  }
  for (const auto& [name, row] : layers) {
    if (name != "LayerName") {
      EXPECT_TRUE(oracleLayers.count(name)) << "extra layer " << name;
    }
  }

  // Layouts: names and tab order.
  std::map<std::string, std::string> layouts, oracleLayouts;
  const Table layoutRows = Chapter(dwgLayouts, {"LayoutName", "TabOrder"});
  for (size_t r = 1; r < layoutRows.size(); ++r) layouts[layoutRows[r][0]] = layoutRows[r][1];
  for (const json& layout : oracle["layouts"]) {
    oracleLayouts[Text(layout["name"])] = std::to_string(layout["tab_order"].get<int>());
  }
  EXPECT_EQ(layouts, oracleLayouts);

  // TEXT and MTEXT by handle.
  std::map<std::string, std::string> texts;
  for (const auto& row : Chapter(dwgText, {"Value", "Handle"})) texts[row[1]] = row[0];
  for (const json& text : oracle["texts"]) {
    auto it = texts.find(text["handle"].get<std::string>());
    ASSERT_NE(it, texts.end()) << "text " << text["handle"];
    EXPECT_EQ(it->second, Text(text["text"])) << text["handle"];
  }
  EXPECT_EQ(texts.size(), oracle["texts"].size() + 1);
  std::map<std::string, std::pair<std::string, std::string>> mtexts;
  for (const auto& row : Chapter(dwgMultiLineText, {"Value", "Handle", "PlainText"})) {
    mtexts[row[1]] = {row[0], row[2]};
  }
  for (const json& mtext : oracle["mtexts"]) {
    auto it = mtexts.find(mtext["handle"].get<std::string>());
    ASSERT_NE(it, mtexts.end()) << "mtext " << mtext["handle"];
    EXPECT_EQ(SameBreaks(it->second.first), SameBreaks(Text(mtext["text"]))) << mtext["handle"];
    EXPECT_EQ(it->second.second, DecodeEscapes(mtext["plain_text"].get<std::string>())) << mtext["handle"];
  }
  EXPECT_EQ(mtexts.size(), oracle["mtexts"].size() + 1);

  // Images and external references.
  std::map<std::string, std::string> images;
  for (const auto& row : Chapter(dwgImages, {"Handle", "PathName"})) images[row[0]] = row[1];
  for (const json& image : oracle["images"]) {
    EXPECT_EQ(images[image["handle"].get<std::string>()], image["filename"].get<std::string>());
  }
  EXPECT_EQ(images.size(), oracle["images"].size() + 1);
  const Table xrefs = Chapter(dwgExternalRefs, {"Name", "PathName"});
  ASSERT_EQ(xrefs.size(), oracle["xrefs"].size() + 1);
  for (size_t i = 0; i < oracle["xrefs"].size(); ++i) {
    EXPECT_EQ(xrefs[i + 1][0], oracle["xrefs"][i]["name"].get<std::string>());
    EXPECT_EQ(xrefs[i + 1][1], oracle["xrefs"][i]["path"].get<std::string>());
  }

  // A filter on the layer narrows the text rows to that layer's texts.
  if (!oracle["texts"].empty()) {
    const std::string layer = Text(oracle["texts"][0]["layer"]);
    if (layer.find('\'') == std::string::npos) {
      std::set<std::string> expected, got;
      for (const json& text : oracle["texts"]) {
        if (Lower(Text(text["layer"])) == Lower(layer)) expected.insert(text["handle"].get<std::string>());
      }
      const Table rows = Chapter(dwgText, {"Handle"}, "LayerName = '" + layer + "'");
      for (size_t r = 1; r < rows.size(); ++r) got.insert(rows[r][0]);
      EXPECT_EQ(got, expected) << "LayerName = '" << layer << "'";
    }
  }

  // A filter on the layout narrows the attribute rows to that layout's references.
  std::string layout;
  for (const json& insert : oracle["inserts"]) {
    if (insert.value("owner_kind", "") == "layout" && !insert["attribs"].empty()) {
      layout = insert["owner_name"].get<std::string>();
      break;
    }
  }
  if (!layout.empty() && layout.find('\'') == std::string::npos) {
    std::multiset<std::string> expected, got;
    for (const json& insert : oracle["inserts"]) {
      if (insert.value("owner_kind", "") != "layout" || insert["owner_name"].get<std::string>() != layout) continue;
      for (const json& a : insert["attribs"]) expected.insert(a["handle"].get<std::string>());
    }
    const Table rows = Chapter(dwgBlocksAndAttributes, {"AttributeHandle"}, "Layout = '" + layout + "'");
    for (size_t r = 1; r < rows.size(); ++r) got.insert(rows[r][0]);
    EXPECT_EQ(got, expected) << "Layout = '" << layout << "'";
  }

  // Block attribute tables, one block name at a time: one row per reference
  // and one column per tag, the tags as headings.
  struct Block {
    std::string name;
    std::vector<std::string> tags;
    bool uniform = true;
    std::multiset<std::vector<std::string>> rows;
  };
  std::map<std::string, Block> blocks;  // by lower-case name: block names ignore case
  for (const char* key : {"inserts", "block_inserts"}) {
    for (const json& insert : oracle[key]) {
      Block& b = blocks[Lower(Text(insert["block"]))];
      b.name = Text(insert["block"]);
      std::vector<std::string> tags, values;
      for (const json& a : insert["attribs"]) {
        tags.push_back(Text(a["tag"]));
        values.push_back(Text(a.value("multiline", false) ? a["mtext"] : a["text"]));
      }
      if (b.rows.empty()) b.tags = tags;
      b.uniform = b.uniform && tags == b.tags && !tags.empty();
      b.rows.insert(values);
    }
  }
  size_t checked = 0;
  for (const auto& [key, b] : blocks) {
    if (!b.uniform || b.name.find('\'') != std::string::npos || Trim(b.name) != b.name) continue;
    Variant array;
    ASSERT_EQ(v_.CreateBlockAttributeArray(array, dwgBoth, "", b.name, "", dwgNone, true), 1) << b.name;
    Table rows = Rows(array);
    ASSERT_EQ(rows.size(), b.rows.size() + 1) << b.name;
    std::vector<std::string> heading = rows[0];
    ASSERT_EQ(heading.size(), b.tags.size() + 1) << b.name;
    EXPECT_EQ(heading.back(), "(empty)");  // the table's last column stays empty
    heading.pop_back();
    EXPECT_EQ(heading, b.tags) << b.name;
    std::multiset<std::vector<std::string>> got;
    for (size_t r = 1; r < rows.size(); ++r) {
      rows[r].pop_back();
      got.insert(rows[r]);
    }
    EXPECT_EQ(got, b.rows) << b.name;
    ++checked;
  }
  RecordProperty("block_tables_checked", static_cast<int>(checked));
  EXPECT_TRUE(fs::is_empty(extract::TempFolder()));
}

INSTANTIATE_TEST_SUITE_P(Drawings, CorpusExtract, ::testing::ValuesIn(CorpusDxfFiles()),
                         [](const ::testing::TestParamInfo<std::string>& param) {
                           std::string name = param.param.substr(0, param.param.size() - 4);
                           for (char& c : name) {
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           }
                           return name;
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CorpusExtract);

TEST(ExtractCorpusPresence, SharedCorpusIsAvailable) {
  if (CorpusDxfFiles().empty()) GTEST_SKIP() << "corpus not present at " << Corpus() << ": corpus tests skipped";
  EXPECT_GE(CorpusDxfFiles().size(), 30u);
}

}  // namespace
}  // namespace vantrove
