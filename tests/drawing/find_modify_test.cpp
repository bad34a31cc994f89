// Find-and-modify checked two ways: its matching rules on the sample drawing,
// and, on copies of real drawings, by an independent reader (ezdxf) that must
// see exactly the changes asked for and nothing else.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>

#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"

namespace vantrove {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const fs::path kSample = fs::path(VANTROVE_SOURCE_DIR) / "samples" / "title-blocks.dxf";
const fs::path kCorpus = fs::path(VANTROVE_SHARED_DIR) / "corpus" / "dxf";

class Scratch {
 public:
  Scratch() {
    std::string t = (fs::temp_directory_path() / "vantrove-find-XXXXXX").string();
    dir_ = mkdtemp(t.data());
  }
  ~Scratch() { fs::remove_all(dir_); }
  fs::path operator/(const std::string& name) const { return dir_ / name; }
  const fs::path& path() const { return dir_; }

 private:
  fs::path dir_;
};

// ezdxf's view of each file, one JSON object per file.
std::vector<json> Summaries(const std::vector<fs::path>& files) {
  std::string cmd = "/usr/bin/python3 '" + (fs::path(VANTROVE_SOURCE_DIR) / "tests/drawing/ezdxf_summary.py").string() + "'";
  for (const auto& f : files) cmd += " '" + f.string() + "'";
  FILE* p = popen(cmd.c_str(), "r");
  std::string text;
  std::array<char, 65536> buf{};
  size_t n;
  while (p && (n = fread(buf.data(), 1, buf.size(), p)) > 0) text.append(buf.data(), n);
  if (p) pclose(p);
  std::vector<json> out;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) out.push_back(json::parse(line));
  return out;
}

bool HaveEzdxf() { return system("/usr/bin/python3 -c 'import ezdxf' 2>/dev/null") == 0; }

class FindModify : public ::testing::Test {
 protected:
  void SetUp() override {
    extract::SetTempFolderOverride(scratch_.path().string());
    ASSERT_EQ(v_.OpenDrawing(kSample.string()), "OK");
  }
  void TearDown() override { extract::SetTempFolderOverride(std::nullopt); }
  Variant Chapter(ChapterType chapter, std::vector<Variant> fields) {
    Variant out;
    const std::string temp = (scratch_ / "chapter.xml").string();
    v_.XMLfileToArray(temp, chapter, out, false, "", Variant(SafeArray::Vector(std::move(fields))));
    fs::remove(temp);
    return out;
  }
  size_t TempFilesLeft() const { return static_cast<size_t>(std::distance(fs::directory_iterator(scratch_.path()), {})); }

  Scratch scratch_;
  clsVantrove v_;
};

TEST_F(FindModify, ContainmentReplacesEveryOccurrenceAndCountsObjects) {
  EXPECT_EQ(v_.FindAndReplaceBlockAttributes("smith", "Smyth", false, false, false, false, "AttributeTag = 'DRAWN'"), 2);
  const Variant rows = Chapter(dwgBlocksAndAttributes, {"AttributeTag", "AttributeValue"});
  int smyth = 0;
  for (int32_t r = 0; r <= rows.array().UBound(1); ++r) smyth += CStr(rows.array().at(r, 1)) == "J. Smyth";
  EXPECT_EQ(smyth, 2);
  // "old-old" style: two occurrences in one value are one edit.
  EXPECT_EQ(v_.FindAndReplaceText("E", "e", dwgSingleLine, false, false, true), 1);
  EXPECT_EQ(CStr(Chapter(dwgText, {"Value"}).array().at(0, 0)), "GeNeRAL NOTeS");
  EXPECT_EQ(TempFilesLeft(), 0u);
}

TEST_F(FindModify, WholeValueFollowsMatchCaseAndTheFilterNarrowsRows) {
  EXPECT_EQ(v_.FindAndReplaceText("general notes", "X", dwgSingleLine, true, false, true), 0);
  EXPECT_EQ(v_.FindAndReplaceText("general notes", "Notes", dwgSingleLine, true, false, false), 1);
  EXPECT_EQ(v_.FindAndReplaceText("*", "Z", dwgSingleLine, false, false, false, "Layout = 'Layout1'"), 0);
  // Replacing the whole value even where only a part matched.
  EXPECT_EQ(v_.FindAndReplaceText("scale", "See notes", dwgMultipleLine, false, true, false), 1);
  EXPECT_EQ(CStr(Chapter(dwgMultiLineText, {"Value"}).array().at(0, 0)), "See notes");
}

TEST_F(FindModify, AttributeHandlesComeBackForEveryFilteredRow) {
  Variant handles{SafeArray()};
  // The filter matches without case and lets "A-101" through; the re-test
  // with case rejects it, yet its handle is still reported.
  EXPECT_EQ(v_.FindAndReplaceBlockAttributes("a-101", "B-101", false, true, false, true, "AttributeTag = 'DWGNO'",
                                             &handles),
            0);
  ASSERT_TRUE(handles.array().allocated());
  EXPECT_EQ(handles.array().UBound(1), 0);
  EXPECT_FALSE(CStr(handles.array().at(0)).empty());
  // The condition and the filter are joined by plain concatenation, so an
  // OR in the filter binds as written: (value AND DRAWN) OR DATE.
  EXPECT_EQ(v_.FindAndReplaceBlockAttributes("2026", "2027", false, false, false, false,
                                             "AttributeTag = 'DRAWN' OR AttributeTag = 'DATE'", &handles),
            3);
  EXPECT_EQ(handles.array().UBound(1), 2);
  Variant untouched("not an array");
  EXPECT_EQ(v_.FindAndReplaceBlockAttributes("*", "x", false, false, false, false, "AttributeTag = 'QTY'", &untouched), 3);
  EXPECT_EQ(CStr(untouched), "not an array");
}

TEST_F(FindModify, NothingToFindNoDrawingAndBadFilters) {
  EXPECT_EQ(v_.FindAndDeleteAttributeDefObjects("NO_SUCH_TAG", true), 0);
  EXPECT_EQ(v_.FindAndReplaceText("zzz", "y", dwgSingleLine), 0);
  EXPECT_EQ(v_.FindAndReplaceText("*", "y", dwgSingleLine, false, false, false, "Layout = = 'x'"), 0);
  EXPECT_EQ(TempFilesLeft(), 0u);
  v_.CloseDrawing();
  EXPECT_EQ(v_.FindAndReplaceText("*", "y", dwgSingleLine), -1);
  EXPECT_EQ(v_.FindAndDeleteBlockObjects("*"), -1);
  EXPECT_EQ(TempFilesLeft(), 0u);
  Variant find("*"), with("y"), type("not a number"), f(false), filter("");
  ASSERT_EQ(v_.OpenDrawing(kSample.string()), "OK");
  EXPECT_EQ(v_.Web_FindAndReplaceText(find, with, type, f, f, f, filter), -2);
}

// ---- Checked by an independent reader ------------------------------------------------

struct Expectation {
  int32_t count = 0;
  json after;
};

using Operation = std::function<int32_t(clsVantrove&)>;
using Expect = std::function<Expectation(json before)>;

void CheckWithEzdxf(const fs::path& source, const Operation& operation, const Expect& expect) {
  if (!fs::exists(source)) GTEST_SKIP() << "no " << source << " (../shared is absent)";
  if (!HaveEzdxf()) GTEST_SKIP() << "python3-ezdxf is not installed";
  Scratch scratch;
  const fs::path in = scratch / source.filename().string(), out = scratch / "changed.dxf";
  fs::copy_file(source, in);
  extract::SetTempFolderOverride(scratch.path().string());
  int32_t count = 0;
  {
    clsVantrove v;
    ASSERT_EQ(v.OpenDrawing(in.string()), "OK");
    count = operation(v);
    ASSERT_EQ(v.SaveDrawing(out.string()), "OK");
  }
  extract::SetTempFolderOverride(std::nullopt);
  const auto seen = Summaries({in, out});
  ASSERT_EQ(seen.size(), 2u);
  Expectation e = expect(seen[0]);
  EXPECT_GT(e.count, 0) << "the case should change something";
  EXPECT_EQ(count, e.count);
  EXPECT_LE(seen[1]["audit_errors"].get<int>(), seen[0]["audit_errors"].get<int>());
  for (const char* part : {"texts", "mtexts", "inserts", "images", "xrefs", "layers"}) {
    EXPECT_EQ(seen[1][part], e.after[part]) << part << " of " << source.filename();
  }
}

std::string ReplaceText(const std::string& value, const std::string& find, const std::string& with) {
  return Replace(value, find, with, 1, -1, CompareMode::Text);
}

const fs::path kDetails = kCorpus / "dxfparser_api-cw750-details.dxf";

TEST(FindModifyChecked, AWordInAllSingleLineTexts) {
  CheckWithEzdxf(
      kDetails, [](clsVantrove& v) { return v.FindAndReplaceText("no.", "Number", dwgSingleLine); },
      [](json s) {
        Expectation e;
        for (auto& [h, t] : s["texts"].items()) {
          const std::string value = t["text"];
          if (InStr(value, "no.", CompareMode::Text) == 0) continue;
          t["text"] = ReplaceText(value, "no.", "Number");
          ++e.count;
        }
        e.after = s;
        return e;
      });
}

TEST(FindModifyChecked, AWordInAllMultiLineTexts) {
  CheckWithEzdxf(
      kDetails, [](clsVantrove& v) { return v.FindAndReplaceText("DETAIL", "DET", dwgMultipleLine, false, false, true); },
      [](json s) {
        Expectation e;
        for (auto& [h, t] : s["mtexts"].items()) {
          const std::string value = t["text"];
          if (value.find("DETAIL") == std::string::npos) continue;
          t["text"] = Replace(value, "DETAIL", "DET");
          ++e.count;
        }
        e.after = s;
        return e;
      });
}

TEST(FindModifyChecked, TheValuesOfOneAttributeTag) {
  CheckWithEzdxf(
      kDetails,
      [](clsVantrove& v) {
        return v.FindAndReplaceBlockAttributes("*", "99", false, false, false, false, "AttributeTag = 'QTY'");
      },
      [](json s) {
        Expectation e;
        for (auto& [h, insert] : s["inserts"].items()) {
          for (auto& [ah, attrib] : insert["attribs"].items()) {
            if (attrib[0] != "QTY") continue;
            attrib[1] = "99";
            ++e.count;
          }
        }
        e.after = s;
        return e;
      });
}

TEST(FindModifyChecked, DeleteOneBlocksReferences) {
  CheckWithEzdxf(
      kDetails, [](clsVantrove& v) { return v.FindAndDeleteBlockObjects("Fast-128-284-S", true, true); },
      [](json s) {
        Expectation e;
        json kept = json::object();
        for (auto& [h, insert] : s["inserts"].items()) {
          if (insert["name"] == "Fast-128-284-S") ++e.count;
          else kept[h] = insert;
        }
        s["inserts"] = kept;
        e.after = s;
        return e;
      });
}

TEST(FindModifyChecked, DeleteTextsOnOneLayer) {
  CheckWithEzdxf(
      kDetails,
      [](clsVantrove& v) {
        return v.FindAndDeleteTextObjects("*", dwgSingleLine, false, false, "LayerName = 'FG-Note'");
      },
      [](json s) {
        Expectation e;
        json kept = json::object();
        for (auto& [h, t] : s["texts"].items()) {
          if (t["layer"] == "FG-Note") ++e.count;
          else kept[h] = t;
        }
        s["texts"] = kept;
        e.after = s;
        return e;
      });
}

TEST(FindModifyChecked, RepathImages) {
  CheckWithEzdxf(
      kCorpus / "ezdxf_images.dxf",
      [](clsVantrove& v) { return v.FindAndReplaceImagePaths(".\\image1", "/srv/images/photo1"); },
      [](json s) {
        Expectation e;
        std::set<std::string> definitions;
        for (auto& [h, path] : s["images"].items()) {
          if (path.is_string() && path.get<std::string>().starts_with(".\\image1")) {
            path = ReplaceText(path, ".\\image1", "/srv/images/photo1");
            ++e.count;
          }
        }
        e.after = s;
        return e;
      });
}

TEST(FindModifyChecked, RepathExternalReferences) {
  CheckWithEzdxf(
      kSample, [](clsVantrove& v) { return v.FindAndReplaceExternalRefPaths("..\\site\\", "/projects/site/"); },
      [](json s) {
        Expectation e;
        for (auto& [name, path] : s["xrefs"].items()) {
          path = ReplaceText(path, "..\\site\\", "/projects/site/");
          ++e.count;
        }
        e.after = s;
        return e;
      });
}

}  // namespace
}  // namespace vantrove
