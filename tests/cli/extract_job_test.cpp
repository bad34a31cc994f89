// The extract job's attribute tables read straight from the model, against
// the tables the extraction methods give through the description, and the
// job's selectors, tag lists and filters.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "attribute_table.hpp"
#include "extract_selectors.hpp"
#include "info_job.hpp"
#include "job_runner.hpp"
#include "table.hpp"
#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/extract.hpp"

namespace {

namespace fs = std::filesystem;
using namespace vantrove;
using namespace vantrove::cli;

const std::string kSample = std::string(VANTROVE_SOURCE_DIR) + "/samples/title-blocks.dxf";

// The attribute table as the job made it through the methods: the block
// names from the description, then CreateBlockAttributeArray per block.
std::string ThroughMethods(clsVantrove& v, const std::string& block, DrawingFieldType field, DrawingSpaceType space,
                           Table& table) {
  std::vector<std::string> blocks;
  if (!block.empty()) {
    blocks.push_back(block);
  } else {
    Variant names;
    const std::string error =
        ReadChapter(v, dwgBlocksAndAttributes, "", Variant(SafeArray::Vector({"Name"})), dwgNone, names);
    if (!error.empty()) return error;
    std::set<std::string> seen;
    const SafeArray& a = names.array();
    for (int32_t r = a.LBound(1) + 1; r <= a.UBound(1); ++r) {
      const std::string name = CStr(a.at(r, a.LBound(2)));
      if (seen.insert(name).second) blocks.push_back(name);
    }
  }
  for (const std::string& b : blocks) {
    Variant rows;
    if (v.CreateBlockAttributeArray(rows, space, "", b, "", field, true, Variant::Missing()) == -1) {
      return "no description";
    }
    if (!rows.IsArray()) continue;
    if (block.empty()) table.Append(rows.array(), {{"Block", b}});
    else table.Append(rows.array());
  }
  return "";
}

std::string FromModel(clsVantrove& v, const std::string& block, DrawingFieldType field, Space space, Table& table) {
  AttributeSelection s;
  s.block = block;
  s.blockColumn = block.empty();
  s.drawingField = field;
  s.space = space;
  s.layoutColumn = false;
  AppendAttributeTable(*v.component()->document(), s, table);
  return "";
}

// Whether every reference of each block carries the same tags in the same
// order: the methods' reshaping assumes it, and only then are the two
// tables meant to be equal (otherwise the job puts each value under its own
// tag where the methods shift them).
bool UniformTags(const engine::Document& doc) {
  std::map<std::string, std::vector<std::string_view>> first;
  for (const auto& object : doc.all_objects()) {
    const engine::Object* o = object;
    if (o->kind() != engine::ObjectKind::kInsert || o->erased) continue;
    const auto* insert = static_cast<const engine::Insert*>(o);
    if (insert->attribs.empty()) continue;
    std::vector<std::string_view> tags;
    for (const auto* a : insert->attribs) tags.push_back(a->tag);
    auto [it, added] = first.emplace(FoldCase(insert->block_name), tags);
    if (!added && it->second != tags) return false;
  }
  return true;
}

std::vector<std::string> Drawings() {
  std::vector<std::string> out = {kSample};
  const fs::path corpus = fs::path(VANTROVE_SHARED_DIR) / "corpus";
  for (const char* folder : {"dxf", "dwg"}) {
    std::error_code ec;
    std::vector<std::string> found;
    for (const auto& e : fs::directory_iterator(corpus / folder, ec)) {
      if (IsDrawingName(e.path())) found.push_back(e.path().string());
    }
    std::sort(found.begin(), found.end());
    out.insert(out.end(), found.begin(), found.end());
  }
  return out;
}

TEST(ExtractJobModel, GivesTheTablesOfTheMethodsOnEveryReadableDrawing) {
  const std::vector<std::string> drawings = Drawings();
  if (drawings.size() == 1) std::cout << "[ NOTE     ] " << VANTROVE_SHARED_DIR << "/corpus is absent: the sample only\n";
  clsVantrove v;
  size_t compared = 0, blocks = 0, unreadable = 0, mixed = 0;
  for (const std::string& file : drawings) {
    if (!Open(v, file).empty()) {
      ++unreadable;
      continue;
    }
    const engine::Document& doc = *v.component()->document();
    if (!UniformTags(doc)) {
      ++mixed;  // compared by the tests of mixed tags below
      v.CloseDrawing();
      continue;
    }
    ++compared;
    // Every block, with and without a drawing column.
    for (DrawingFieldType field : {dwgNone, dwgDrawingName, dwgDrawingFullName}) {
      Table before, after;
      ASSERT_EQ(ThroughMethods(v, "", field, dwgBoth, before), "") << file;
      FromModel(v, "", field, Space::kBoth, after);
      ASSERT_EQ(after.ToCsv(true), before.ToCsv(true)) << file << " drawing field " << field;
    }
    // Each block on its own, as --block gives it.
    Table all;
    FromModel(v, "", dwgNone, Space::kBoth, all);
    std::set<std::string> names;
    const SafeArray rows = all.ToArray(true);
    for (int32_t r = 1; r <= rows.UBound(1); ++r) names.insert(CStr(rows.at(r, 0)));
    for (const std::string& name : names) {
      Table before, after;
      ASSERT_EQ(ThroughMethods(v, name, dwgDrawingName, dwgBoth, before), "") << file;
      FromModel(v, name, dwgDrawingName, Space::kBoth, after);
      ASSERT_EQ(after.ToCsv(true), before.ToCsv(true)) << file << " block " << name;
      ++blocks;
    }
    v.CloseDrawing();
  }
  std::cout << "[ COMPARED ] " << compared << " drawings (" << blocks << " blocks on their own); " << mixed
            << " with mixed tags; " << unreadable << " unreadable\n";
  EXPECT_GE(compared, 1u);
}


// ---- Drawings written for the cases below ---------------------------------------------------

struct Ref {
  std::string block, layer;
  std::vector<std::pair<std::string, std::string>> attributes;
  bool paper = false;
};

// A DXF of R12's plain form: the blocks, then the references with their
// attributes (paper space ones on Layout1).
std::string Dxf(const std::vector<Ref>& refs) {
  std::ostringstream s;
  auto g = [&](int code, const std::string& value) { s << code << '\n' << value << '\n'; };
  g(0, "SECTION");
  g(2, "BLOCKS");
  std::set<std::string> blocks;
  for (const Ref& r : refs) blocks.insert(r.block);
  for (const std::string& b : blocks) {
    g(0, "BLOCK"); g(8, "0"); g(2, b); g(70, "2"); g(10, "0"); g(20, "0"); g(30, "0"); g(3, b);
    g(0, "ENDBLK"); g(8, "0");
  }
  g(0, "ENDSEC");
  g(0, "SECTION");
  g(2, "ENTITIES");
  for (const Ref& r : refs) {
    g(0, "INSERT"); g(8, r.layer);
    if (r.paper) g(67, "1");
    g(66, "1"); g(2, r.block); g(10, "0"); g(20, "0"); g(30, "0");
    for (const auto& [tag, value] : r.attributes) {
      g(0, "ATTRIB"); g(8, r.layer);
      if (r.paper) g(67, "1");
      g(10, "0"); g(20, "0"); g(30, "0"); g(40, "1"); g(1, value); g(2, tag); g(70, "0");
    }
    g(0, "SEQEND"); g(8, r.layer);
  }
  g(0, "ENDSEC");
  g(0, "EOF");
  return s.str();
}

struct Result {
  int status = -1;
  std::string out, err;
};

class ExtractJob : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string t = (fs::temp_directory_path() / "vantrove-extract-XXXXXX").string();
    dir_ = mkdtemp(t.data());
  }
  void TearDown() override { fs::remove_all(dir_); }
  std::string Write(const std::string& name, const std::string& text) const {
    const std::string path = (dir_ / name).string();
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  std::string Mixed() const {
    return Write("mixed.dxf", Dxf({{"TB", "TITLE", {{"NO", "1"}, {"NAME", "one"}}},
                                  {"TB", "TITLE", {{"NAME", "two"}, {"NO", "2"}}},
                                  {"TB", "TITLE", {{"NO", "3"}}, true},
                                  {"PART", "P", {{"ID", "x"}}}}));
  }
  // Runs the tool; stdout and stderr apart.
  Result Tool(const std::string& args) const {
    const std::string err = (dir_ / "stderr.txt").string();
    const std::string cmd = std::string("'") + VANTROVE_CLI + "' " + args + " 2>'" + err + "' </dev/null";
    Result r;
    FILE* p = popen(cmd.c_str(), "r");
    std::array<char, 4096> buf{};
    size_t n;
    while (p && (n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
    const int st = p ? pclose(p) : -1;
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    std::ifstream in(err);
    std::ostringstream text;
    text << in.rdbuf();
    r.err = text.str();
    return r;
  }
  fs::path dir_;
};

// References of one block with other tags, or the same tags in another
// order, each get their own row with every value under its own tag (the
// methods' reshaping would shift them).
TEST_F(ExtractJob, MixedTagsGiveOneRowPerReferenceUnderItsOwnTags) {
  const Result r = Tool("extract '" + Mixed() + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "Block,NO,NAME,ID,Layout\r\n"
            "TB,1,one,,Model\r\n"
            "TB,2,two,,Model\r\n"
            "TB,3,,,Layout1\r\n"
            "PART,,,x,Model\r\n");
}

TEST_F(ExtractJob, TagsGiveTheirColumnsInTheOrderGiven) {
  const std::string mixed = Mixed();
  Result r = Tool("extract '" + mixed + "' --tags name,NO");
  ASSERT_EQ(r.status, 0) << r.err;
  // The reference of PART holds neither tag: no row.
  EXPECT_EQ(r.out, "Block,name,NO,Layout\r\nTB,one,1,Model\r\nTB,two,2,Model\r\nTB,,3,Layout1\r\n");
  r = Tool("extract '" + mixed + "' --block tb --tags ID,NO --no-headings");
  EXPECT_EQ(r.out, ",1,Model\r\n,2,Model\r\n,3,Layout1\r\n");
}

TEST_F(ExtractJob, FilterAppliesWithEverySelector) {
  const std::string mixed = Mixed();
  // A reference is kept when any of its attribute records matches.
  Result r = Tool("extract '" + mixed + "' --block TB --filter \"AttributeValue = 'two'\"");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "NO,NAME,Layout\r\n2,two,Model\r\n");
  r = Tool("extract '" + mixed + "' --layer p --filter \"AttributeTag LIKE 'I*' OR Layout = 'Layout1'\"");
  EXPECT_EQ(r.out, "Block,ID,Layout\r\nPART,x,Model\r\n");
  r = Tool("extract '" + mixed + "' --space paper --filter \"Name = 'TB'\" --tags NO");
  EXPECT_EQ(r.out, "Block,NO,Layout\r\nTB,3,Layout1\r\n");
  r = Tool("extract '" + mixed + "' --layout layout1 --filter \"Handle <> ''\" --no-headings");
  EXPECT_EQ(r.out, "TB,3,Layout1\r\n");
  // Other chapters filter their own rows, with the selectors added.
  r = Tool("extract '" + kSample + "' -c text --layer notes --filter \"Value LIKE 'GENERAL*'\"");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("GENERAL NOTES"), std::string::npos) << r.out;
  r = Tool("extract '" + kSample + "' -c blocks --space paper --filter \"Name = 'TITLE'\" --no-headings");
  EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 3) << r.out;
  // A drawing without rows of the chapter has nothing to filter: no failure.
  r = Tool("extract '" + mixed + "' -c text --layer P --filter \"Value LIKE 'x*'\"");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.find_first_not_of("\r\n"), std::string::npos) << r.out;
}

TEST_F(ExtractJob, ABadFilterIsAUsageErrorNamingTheFields) {
  Result r = Tool("extract '" + kSample + "' --block TITLE --filter \"Nme = 'x'\"");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("Nme"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("AttributeTag, AttributeValue"), std::string::npos) << r.err;
  EXPECT_EQ(r.out, "");
  r = Tool("extract '" + kSample + "' -c layers --filter \"LayerName = 'x\"");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("LayerName, Handle, Color"), std::string::npos) << r.err;
  r = Tool("extract '" + kSample + "' -c layers --filter \"Drawing = 'x'\" --drawing-column none");
  EXPECT_EQ(r.status, 2) << "no drawing column, no Drawing field";
  EXPECT_EQ(Tool("extract '" + kSample + "' -c layers --filter \"Drawing = 'x'\" --drawing-column name").status, 0);
}

TEST_F(ExtractJob, NamesThatMatchNothingAreWarnedAboutWithTheCloseOnes) {
  const Result r = Tool("extract '" + kSample + "' '" + Mixed() + "' --block TILTE --layout layuot2 --layer TITEL");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.err.find("no block named \"TILTE\" in the drawings read; close matches: TITLE"), std::string::npos)
      << r.err;
  EXPECT_NE(r.err.find("no layout named \"layuot2\" in the drawings read; close matches: Layout2"), std::string::npos)
      << r.err;
  EXPECT_NE(r.err.find("no layer named \"TITEL\" in the drawings read; close matches: TITLE"), std::string::npos)
      << r.err;
  // A name some drawing holds is no cause for a warning, whatever its case.
  EXPECT_EQ(Tool("extract '" + kSample + "' '" + Mixed() + "' --block tb").err.find("warning"), std::string::npos);
  EXPECT_EQ(CloseMatches("Titel", {"TITLE", "TITLES", "BOM", "Title block", "X"}),
            (std::vector<std::string>{"TITLE", "TITLES"}));
  EXPECT_EQ(CloseMatches("plan", {"Floor plan", "PLAN-2", "plant", "TB"}),
            (std::vector<std::string>{"plant", "Floor plan", "PLAN-2"}));
}

// The Layout column comes last; paper space is every paper layout.
TEST_F(ExtractJob, PaperSpaceIsEveryLayoutAndTheLayoutColumnComesLast) {
  const Result r = Tool("extract '" + kSample + "' --space paper --drawing-column name");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.substr(0, r.out.find('\r')), "Block,Drawing,DWGNO,TITLE,REV,DRAWN,DATE,Layout");
  for (const char* layout : {",Layout1\r\n", ",Layout2\r\n", ",Layout3\r\n"}) {
    EXPECT_NE(r.out.find(layout), std::string::npos) << r.out;
  }
  EXPECT_EQ(Tool("extract '" + kSample + "' --space model --no-headings --tags QTY").out, "BOM,4,Model\r\nBOM,12,Model\r\nBOM,2,Model\r\n");
}

// Text the description cannot hold reads the same both ways.
TEST_F(ExtractJob, ValuesReadAsTheDescriptionGivesThem) {
  const std::string file = Write("odd.dxf", Dxf({{"ODD", "0", {{"A", "tab\there"}, {"B", std::string("bell\x07")},
                                                               {"C", "caf\xC3\xA9 \xE2\x82\xAC"}, {"D", "x=1 />"},
                                                               {"E", "&quot; \"q\" 'a'"}, {"F", "   "}, {"G", ""}}},
                                                     {"ODD", "0", {{"A", "<b>"}, {"B", "\xFF"}, {"C", ""},
                                                                   {"D", "a\\Pb"}, {"E", "z"}, {"F", "1"},
                                                                   {"G", "end"}}}}));
  clsVantrove v;
  ASSERT_EQ(Open(v, file), "");
  for (DrawingFieldType field : {dwgNone, dwgDrawingFullName}) {
    Table before, after;
    ASSERT_EQ(ThroughMethods(v, "", field, dwgBoth, before), "");
    FromModel(v, "", field, Space::kBoth, after);
    EXPECT_EQ(after.ToCsv(true), before.ToCsv(true));
  }
  EXPECT_EQ(DescribedText("bell\x07"), "bell\xEF\xBF\xBD");
}

// The fields the job names for each chapter are those its rows carry.
TEST_F(ExtractJob, ChapterFieldsAreTheFieldsOfTheRows) {
  std::vector<std::string> files = {kSample};
  const fs::path dwg = fs::path(VANTROVE_SHARED_DIR) / "corpus" / "dwg" / "ldwg_example_2004.dwg";
  if (fs::exists(dwg)) files.push_back(dwg.string());
  clsVantrove v;
  for (const std::string& file : files) {
    ASSERT_EQ(Open(v, file), "");
    for (const auto& [name, chapter] : Chapters()) {
      if (chapter == dwgBlocksAndAttributes) continue;
      for (DrawingFieldType field : {dwgNone, dwgDrawingName}) {
        Variant rows;
        ASSERT_EQ(ReadChapter(v, chapter, "", Variant::Missing(), field, rows), "") << name;
        const std::vector<std::string> known = ChapterFields(chapter, field != dwgNone);
        const SafeArray& a = rows.array();
        for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) {
          const std::string heading = CStr(a.at(0, c));
          EXPECT_NE(std::find(known.begin(), known.end(), heading), known.end()) << name << ": " << heading;
        }
      }
    }
  }
}

TEST_F(ExtractJob, InfoShowsVersionCountsLayoutsAndBlockTags) {
  Result r = Tool("info '" + kSample + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("Format:    DXF AC1015 (2000)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Code page: ANSI_1252"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("  INSERT 7\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("  Layout3 (block *Paper_Space1)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("  TITLE, 3 references, tags: DWGNO TITLE REV DRAWN DATE\n"), std::string::npos) << r.out;
  r = Tool("info '" + kSample + "' '" + Mixed() + "' --json");
  ASSERT_EQ(r.status, 0) << r.err;
  const auto json = nlohmann::ordered_json::parse(r.out);
  ASSERT_EQ(json.size(), 2u);
  EXPECT_EQ(json[0]["version"], "AC1015");
  EXPECT_EQ(json[0]["entities"]["ATTRIB"], 24);
  EXPECT_EQ(json[1]["blocks"][1]["name"], "TB");
  EXPECT_EQ(json[1]["blocks"][1]["references"], 3);
  EXPECT_EQ(Tool("info '" + Write("bad.dxf", "nothing") + "'").status, 1);
  EXPECT_NE(Tool("info --help").out.find("Examples:"), std::string::npos);
}

}  // namespace
