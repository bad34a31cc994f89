// The 2004-family DWG writer (2004, 2010, 2013, 2018): the page compressor
// against the reader's decompressor, and every corpus drawing of those
// versions saved in its own version, reopened by our reader, compared
// object by object, written twice, damaged and cut.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "dwg/checksum.hpp"
#include "dwg/compress.hpp"
#include "dwg/decompress.hpp"
#include "dwg/r2004_parts.hpp"
#include "test_support.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/description.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_reader.hpp"
#include "vantrove/engine/dwg_writer.hpp"

namespace vantrove::engine {
namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = fs::path(VANTROVE_SHARED_DIR) / "corpus";

std::vector<uint8_t> Decompressed(const std::string& compressed, size_t maxOut) {
  std::vector<uint8_t> out;
  const bool ok = dwg::DecompressPage(reinterpret_cast<const uint8_t*>(compressed.data()), compressed.size(), maxOut,
                                      out);
  EXPECT_TRUE(ok);
  return out;
}

TEST(DwgCompressor, EveryKindOfPageDecompressesToItself) {
  std::mt19937 random(7);
  std::vector<std::vector<uint8_t>> pages;
  pages.push_back(std::vector<uint8_t>(0x7400, 0));  // one long run: extended counts
  std::vector<uint8_t> noise(0x7400);
  for (auto& b : noise) b = static_cast<uint8_t>(random());
  pages.push_back(noise);  // nothing to match: long literal runs
  std::vector<uint8_t> mixed;
  const std::string words[] = {"LAYER", "AcDbEntity", "0", "Valoro", "\x01\x02\x03", "a long repeated phrase"};
  while (mixed.size() < 0x7400) {
    const std::string& w = words[random() % std::size(words)];
    mixed.insert(mixed.end(), w.begin(), w.end());
    for (unsigned k = random() % 5; k > 0; --k) mixed.push_back(static_cast<uint8_t>(random()));
  }
  mixed.resize(0x7400);
  pages.push_back(mixed);  // short and far matches with 1-3 and longer literals between
  for (size_t size : {4u, 5u, 19u, 40u}) pages.emplace_back(mixed.begin(), mixed.begin() + size);
  for (const auto& page : pages) {
    SCOPED_TRACE(page.size());
    std::string compressed;
    dwg::CompressPage(page.data(), page.size(), compressed);
    EXPECT_EQ(Decompressed(compressed, 0x7400), page);
  }
  // Repetitive data shrinks; shorter than the opening literal is padded.
  std::string compressed;
  dwg::CompressPage(pages[0].data(), pages[0].size(), compressed);
  EXPECT_LT(compressed.size(), 200u);
  compressed.clear();
  const uint8_t two[] = {'A', 'B'};
  dwg::CompressPage(two, 2, compressed);
  EXPECT_EQ(Decompressed(compressed, 16), (std::vector<uint8_t>{'A', 'B', 0, 0}));
}

// Corpus DWG files of the 2004 container family.
std::vector<fs::path> Corpus2004Family() {
  std::vector<fs::path> out;
  if (!fs::is_directory(kCorpus / "dwg")) return out;
  for (const auto& entry : fs::directory_iterator(kCorpus / "dwg")) {
    if (entry.path().extension() != ".dwg") continue;
    const std::string head = testing::ReadBytes(entry.path()).substr(0, 6);
    if (head == "AC1018" || head == "AC1024" || head == "AC1027" || head == "AC1032") out.push_back(entry.path());
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::string Described(const Document& doc) {
  DescriptionSections s;
  s.blocks = s.attribute_definitions = s.external_references = s.layers = s.layouts = true;
  s.system_variables = s.images = s.text = true;
  std::istringstream in(DescriptionText(doc, s));
  std::string line, out;
  while (std::getline(in, line)) {
    if (line.find("<DatabaseFilename>") == std::string::npos) out += line + "\n";
  }
  return out;
}

std::unique_ptr<Document> Reread(const std::string& bytes, Status& status) {
  auto doc = std::make_unique<Document>();
  status = ReadDwgBuffer(std::vector<uint8_t>(bytes.begin(), bytes.end()), "written.dwg", *doc);
  return doc;
}

uint32_t Le32(const std::string& s, size_t at) {
  uint32_t v = 0;
  for (int i = 3; i >= 0; --i) v = (v << 8) | static_cast<uint8_t>(s[at + static_cast<size_t>(i)]);
  return v;
}

// Walks the data pages from 0x100 and checks both check values of each.
size_t CheckedDataPages(const std::string& file) {
  size_t at = 0x100, pages = 0;
  while (at + 32 <= file.size()) {
    const uint32_t mask = 0x4164536Bu ^ static_cast<uint32_t>(at);
    if ((Le32(file, at) ^ mask) != dwg::kR2004DataPage) break;
    uint32_t words[8];
    for (size_t k = 0; k < 8; ++k) words[k] = Le32(file, at + 4 * k) ^ mask;
    const auto* data = reinterpret_cast<const uint8_t*>(file.data()) + at + 32;
    EXPECT_EQ(words[7], dwg::R2004PageChecksum(0, data, words[2])) << "data of the page at " << at;
    uint8_t head[32];
    for (size_t k = 0; k < 8; ++k) {
      const uint32_t v = k == 6 ? 0 : words[k];
      for (size_t b = 0; b < 4; ++b) head[4 * k + b] = static_cast<uint8_t>(v >> (8 * b));
    }
    EXPECT_EQ(words[6], dwg::R2004PageChecksum(words[7], head, 32)) << "header of the page at " << at;
    at += words[3];
    ++pages;
  }
  return pages;
}

// Reopening with the same description and objects, and writing twice, are
// checked for these files with the other versions (dwg_writer_test.cpp);
// here: every page's check values, and a damaged source that loses what its
// reader could not decode says so and still reopens.
TEST(DwgWriter2004, EveryPageCarriesItsChecksAndADamagedSourceSaysWhatWasLost) {
  const auto files = Corpus2004Family();
  if (files.empty()) GTEST_SKIP() << "no DWG 2004, 2010, 2013 or 2018 drawing in the corpus at " << kCorpus;
  size_t written = 0;
  for (const fs::path& path : files) {
    SCOPED_TRACE(path.filename().string());
    Document source;
    if (!ReadDwgFile(path.string(), source).ok()) continue;
    std::vector<std::string> expectedWarnings;
    bool lost = false;
    for (const std::string& w : source.warnings) {
      lost = lost || w.find("could not be decoded") != std::string::npos;
      if (w.find("could not be decoded") == std::string::npos && w.find("check value") == std::string::npos)
        expectedWarnings.push_back(w);
    }
    std::string bytes;
    const Status saved = WriteDwgToString(source, kVersionKeep, bytes);
    EXPECT_EQ(saved.Text().substr(0, 5), lost ? "1002:" : "1000:") << saved.Text();
    ++written;
    EXPECT_EQ(bytes.substr(0, 6), source.version);
    EXPECT_GT(CheckedDataPages(bytes), 4u);
    if (!lost) continue;
    Status status;
    auto reread = Reread(bytes, status);
    ASSERT_TRUE(status.ok()) << status.Text();
    EXPECT_EQ(reread->warnings, expectedWarnings);
    EXPECT_EQ(Described(*reread), Described(source));
  }
  EXPECT_GT(written, 0u);
}

TEST(DwgWriter2004, DamagedAndTruncatedCopiesFailCleanly) {
  const fs::path path = kCorpus / "dwg" / "ldwg_example_2018.dwg";
  if (!fs::exists(path)) GTEST_SKIP() << "corpus drawing absent: " << path;
  Document source;
  ASSERT_TRUE(ReadDwgFile(path.string(), source).ok());
  std::string written;
  ASSERT_TRUE(WriteDwgToString(source, kVersionKeep, written).ok());
  for (size_t cut : {size_t{0}, size_t{0x90}, size_t{0x200}, written.size() / 3, written.size() / 2,
                     written.size() - 0x6C - 1}) {
    Status status;
    auto doc = Reread(written.substr(0, cut), status);
    EXPECT_TRUE(!status.ok() || !doc->warnings.empty()) << "cut at " << cut;
  }
  // The encrypted file header, a data page's header and data, and the maps
  // at the end are each caught by a check value.
  for (size_t at : {size_t{0x90}, size_t{0x100 + 8}, size_t{0x100 + 40}, written.size() / 2,
                    written.size() - 0x6C - 300}) {
    std::string damaged = written;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x5A);
    Status status;
    auto doc = Reread(damaged, status);
    EXPECT_TRUE(!status.ok() || !doc->warnings.empty()) << "flip at " << at;
  }
}

class DwgWriter2004Edits : public ::testing::Test {
 protected:
  void Open(const char* name) {
    const fs::path path = kCorpus / "dwg" / name;
    if (!fs::exists(path)) GTEST_SKIP() << "corpus drawing absent: " << path;
    int32_t opened = 0;
    component_.OpenDrawing(opened, path.string(), "");
    ASSERT_EQ(opened, 1) << LastStatus();
  }
  std::string LastStatus() {
    std::string s;
    component_.LastStatus(s);
    return s;
  }
  const Object* First(ObjectKind kind) {
    for (const auto& object : component_.document()->all_objects())
      if (object->kind() == kind) return object;
    return nullptr;
  }
  DrawingComponent component_;
  testing::TempDir dir_;
};

class DwgWriter2004EachVersion : public DwgWriter2004Edits, public ::testing::WithParamInterface<const char*> {};

TEST_P(DwgWriter2004EachVersion, TextsAttributesAndLayerStatesSurviveTheSave) {
  Open(GetParam());
  const Object* attrib = First(ObjectKind::kAttrib);
  const Object* text = First(ObjectKind::kText);
  const Object* mtext = First(ObjectKind::kMText);
  ASSERT_TRUE(attrib != nullptr && text != nullptr && mtext != nullptr);
  component_.SetAttributeValue("Valoro \xC5\x9C\xC4\x89 changed", FormatHandle(attrib->handle));
  component_.SetTextValue("A longer text value than the one stored before, to move every later bit",
                          FormatHandle(text->handle));
  component_.SetTextValue("{\\fArial|b1;Bold} new", FormatHandle(mtext->handle));
  const std::string layer(component_.document()->layers.back()->name);
  component_.SetLayerState(layer, 2, 1);
  component_.SetLayerState(layer, 2, 2);
  ASSERT_EQ(LastStatus(), "1000:Ok");
  const fs::path out = dir_ / "edited.dwg";
  component_.SaveAs(out.string(), kVersionKeep);
  ASSERT_EQ(LastStatus(), "1000:Ok");
  Document reread;
  ASSERT_TRUE(ReadDwgFile(out.string(), reread).ok());
  EXPECT_EQ(reread.warnings, component_.document()->warnings);
  EXPECT_EQ(Described(reread), Described(*component_.document()));
  // Only the edited objects changed.
  size_t changed = 0;
  for (const auto& object : reread.all_objects()) {
    const Object* before = component_.document()->Find(object->handle);
    if (before != nullptr && DwgSourceOf(*before) && DwgSourceOf(*object) &&
        DwgSourceOf(*before)->bits != DwgSourceOf(*object)->bits)
      ++changed;
  }
  EXPECT_EQ(changed, 4u);
}

INSTANTIATE_TEST_SUITE_P(Corpus, DwgWriter2004EachVersion,
                         ::testing::Values("ldwg_example_2004.dwg", "ldwg_example_2010.dwg", "ldwg_example_2013.dwg",
                                           "ldwg_example_2018.dwg"));

TEST_F(DwgWriter2004Edits, ConversionsAreRefusedAndLeaveTheTargetAlone) {
  const fs::path out = dir_ / "kept.dwg";
  { std::ofstream(out) << "old content"; }
  Open("ldwg_example_2004.dwg");
  // Only 2000 is encoded from the model yet; other versions of another
  // drawing's version are refused before anything is written.
  component_.SaveAs(out.string(), kVersion2007);
  EXPECT_EQ(LastStatus().substr(0, 5), "1405:");
  component_.SaveAs(out.string(), kVersion2018);
  EXPECT_EQ(LastStatus().substr(0, 5), "1405:");
  EXPECT_EQ(testing::ReadBytes(out), "old content");
}

}  // namespace
}  // namespace vantrove::engine
