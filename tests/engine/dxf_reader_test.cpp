// The DXF reader on small drawings written for these tests, and on bad
// input of every kind: each case must end in a document or a clear status.

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "test_support.hpp"
#include "vantrove/engine/description.hpp"
#include "vantrove/engine/progress.hpp"

namespace vantrove::engine {
namespace {

using testing::Fixture;
using testing::ReadBytes;
using testing::ReadText;

std::unique_ptr<Document> Open(const std::string& name) {
  auto doc = std::make_unique<Document>();
  Status status = ReadDxfFile(Fixture(name).string(), *doc);
  EXPECT_TRUE(status.ok()) << status.Text();
  return doc;
}

template <class T>
std::vector<const T*> OfKind(const Document& doc, ObjectKind kind) {
  std::vector<const T*> out;
  for (const auto& object : doc.all_objects()) {
    if (object->kind() == kind) out.push_back(static_cast<const T*>(object));
  }
  return out;
}

// The first group with `code` of a record, decoded on demand.
std::string_view GroupValue(const Document& doc, const Object* object, int32_t code) {
  for (const Group& g : doc.Groups(*object)) {
    if (g.code == code) return g.value();
  }
  return "(none)";
}

TEST(DxfReader, R12WithCodePageAndNoHandles) {
  auto doc = Open("r12_codepage1252.dxf");
  EXPECT_EQ(doc->version, "AC1009");
  EXPECT_EQ(doc->codepage, "ANSI_1252");
  EXPECT_EQ(doc->format, DrawingFormat::kDxfAscii);

  ASSERT_EQ(doc->layers.size(), 3u);
  EXPECT_TRUE(doc->FindLayer("WALLS")->frozen());
  EXPECT_FALSE(doc->FindLayer("HIDDEN")->on());
  EXPECT_TRUE(doc->FindLayer("HIDDEN")->locked());

  auto texts = OfKind<Text>(*doc, ObjectKind::kText);
  ASSERT_EQ(texts.size(), 1u);
  // 0xDF from Windows-1252, then \U+ escapes, all as UTF-8.
  EXPECT_EQ(texts[0]->value, "Stra\xC3\x9F" "e \xC5\x81\xC3\xB3" "d\xC5\xBA");

  auto inserts = OfKind<Insert>(*doc, ObjectKind::kInsert);
  ASSERT_EQ(inserts.size(), 1u);
  ASSERT_EQ(inserts[0]->attribs.size(), 1u);
  EXPECT_EQ(inserts[0]->attribs[0]->tag, "DWGNO");
  EXPECT_EQ(inserts[0]->attribs[0]->value, "A-101");
  EXPECT_EQ(inserts[0]->attribs[0]->insert, inserts[0]);
  ASSERT_NE(inserts[0]->seqend, nullptr);
  EXPECT_EQ(inserts[0]->block, doc->model_space());

  // R12 carries no handles: every record got one, and all differ.
  std::set<Handle> handles;
  for (const auto& object : doc->all_objects()) {
    if (object->section == Section::kEntities) {
      EXPECT_TRUE(object->handle_assigned);
      EXPECT_TRUE(handles.insert(object->handle).second);
    }
  }
  const Block* title = doc->FindBlock("title");
  ASSERT_NE(title, nullptr);
  auto defs = OfKind<AttDef>(*doc, ObjectKind::kAttDef);
  ASSERT_EQ(defs.size(), 2u);
  EXPECT_EQ(defs[0]->prompt, "Drawing number?");
  EXPECT_TRUE(defs[1]->constant());
  EXPECT_EQ(defs[1]->block, title);
}

TEST(DxfReader, R2018KeepsStructureAndLinks) {
  auto doc = Open("r2018_ascii.dxf");
  EXPECT_EQ(doc->version, "AC1032");
  EXPECT_EQ(doc->HeaderText("$LASTSAVEDBY"), "vantrove <test> & \"co\"");
  ASSERT_EQ(doc->classes.size(), 1u);
  ASSERT_EQ(doc->tables.size(), 2u);
  EXPECT_EQ(doc->tables[1].name, "BLOCK_RECORD");
  EXPECT_NE(doc->tables[1].end, nullptr);
  EXPECT_EQ(doc->FindLayer("\xE5\x9B\xBE\xE5\xB1\x82 \xCE\xA9=1")->handle, Handle{0x13});

  // Layouts: names from the layout part (not the plot settings), linked blocks.
  ASSERT_EQ(doc->layouts.size(), 2u);
  EXPECT_EQ(doc->layouts[0]->name, "Model");
  EXPECT_TRUE(doc->layouts[0]->is_model());
  EXPECT_EQ(doc->layouts[0]->block, doc->model_space());
  EXPECT_EQ(doc->layouts[1]->block, doc->paper_space());

  // The paper-space text went to the paper space block.
  auto texts = OfKind<Text>(*doc, ObjectKind::kText);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[1]->block, doc->paper_space());

  // MTEXT joined from its 3 and 1 groups, formatting kept.
  auto mtexts = OfKind<MText>(*doc, ObjectKind::kMText);
  ASSERT_EQ(mtexts.size(), 1u);
  EXPECT_EQ(mtexts[0]->value.size(), std::string("{\\fArial|b1;Hello} \\Pworld ").size() + 250);
  EXPECT_EQ(mtexts[0]->PlainText().substr(0, 12), "Hello \nworld");

  // Image and its definition; xref block path; minsert grid.
  auto images = OfKind<Image>(*doc, ObjectKind::kImage);
  ASSERT_EQ(images.size(), 1u);
  const Object* def = doc->Find(images[0]->image_def);
  ASSERT_NE(def, nullptr);
  EXPECT_EQ(static_cast<const ImageDef*>(def)->path, "..\\branding\\logo.png");
  const Block* xref = doc->FindBlock("SITE_PLAN");
  ASSERT_NE(xref, nullptr);
  EXPECT_TRUE(xref->is_xref());
  EXPECT_EQ(xref->xref_path, "..\\xrefs\\site plan.dwg");
  auto inserts = OfKind<Insert>(*doc, ObjectKind::kInsert);
  ASSERT_EQ(inserts.size(), 2u);
  EXPECT_TRUE(inserts[1]->minsert());
  EXPECT_EQ(inserts[1]->rows, 2);
  EXPECT_EQ(inserts[1]->columns, 3);

  // Unknown records keep every group, in order.
  const Object* line = doc->Find("109");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->kind(), ObjectKind::kOther);
  ASSERT_EQ(doc->Groups(*line).size(), 11u);
  EXPECT_EQ(doc->Groups(*line)[0].code, 5);
  EXPECT_EQ(doc->Groups(*line).back().code, 31);
  EXPECT_EQ(static_cast<const Entity*>(line)->layer, "HIDDEN");
  // Dictionaries with their entries.
  auto dictionaries = OfKind<Dictionary>(*doc, ObjectKind::kDictionary);
  ASSERT_EQ(dictionaries.size(), 3u);
  EXPECT_EQ(dictionaries[0]->Find("ACAD_LAYOUT"), Handle{0x1A});
  EXPECT_TRUE(doc->warnings.empty());
}

TEST(DxfReader, BinaryAndAsciiGiveTheSameDescription) {
  auto ascii = Open("r2018_ascii.dxf");
  auto binary = Open("r2018_binary.dxf");
  EXPECT_EQ(binary->format, DrawingFormat::kDxfBinary);
  DescriptionSections all{true, true, true, true, true, true, true, true};
  std::string a = DescriptionText(*ascii, all);
  std::string b = DescriptionText(*binary, all);
  // Past the drawing information (file name and format), every line matches,
  // except numbers that binary files store as doubles.
  a = a.substr(a.find("</DrawingInformation>"));
  b = b.substr(b.find("</DrawingInformation>"));
  EXPECT_EQ(a.substr(0, a.find("<SystemVariables>")), b.substr(0, b.find("<SystemVariables>")));
  EXPECT_EQ(a.substr(a.find("</SystemVariables>")), b.substr(b.find("</SystemVariables>")));
}

TEST(DxfReader, LegacyMultiByteCodePage) {
  auto doc = Open("r2000_codepage932.dxf");
  EXPECT_EQ(doc->codepage, "ANSI_932");
  ASSERT_NE(doc->FindLayer("\xE5\xA3\x81"), nullptr);  // 壁
  auto texts = OfKind<Text>(*doc, ObjectKind::kText);
  ASSERT_EQ(texts.size(), 1u);
  // Shift-JIS bytes and a \M+1 escape (0x82A0 in code page 932).
  EXPECT_EQ(texts[0]->value, "\xE5\x9B\xB3\xE9\x9D\xA2 \xE3\x81\x82");
  EXPECT_EQ(texts[0]->layer, "\xE5\xA3\x81");
}

// Groups are decoded when first asked for, with the text settings the
// reader had when it met the record: a code page named only after the
// entities does not change what they say.
TEST(DxfReader, GroupsDecodedOnDemandSayWhatTheFieldsSay) {
  auto multibyte = Open("r2000_codepage932.dxf");
  auto texts = OfKind<Text>(*multibyte, ObjectKind::kText);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(GroupValue(*multibyte, texts[0], 1), texts[0]->value);
  EXPECT_EQ(GroupValue(*multibyte, texts[0], 8), texts[0]->layer);

  const std::string late_header =
      "0\nSECTION\n2\nENTITIES\n0\nTEXT\n5\n20\n8\n0\n1\nStra\xDF" "e\n0\nENDSEC\n"
      "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$DWGCODEPAGE\n3\nANSI_1251\n0\nENDSEC\n"
      "0\nSECTION\n2\nOBJECTS\n0\nDICTIONARY\n5\n21\n3\nStra\xDF" "e\n350\n20\n0\nENDSEC\n0\nEOF\n";
  Document doc;
  ASSERT_TRUE(ReadText(late_header, doc).ok());
  const auto* text = static_cast<const Text*>(doc.Find("20"));
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->value, "Stra\xC3\x9F" "e");
  EXPECT_EQ(GroupValue(doc, text, 1), text->value);
  const auto* dictionary = static_cast<const Dictionary*>(doc.Find("21"));
  ASSERT_NE(dictionary, nullptr);
  ASSERT_EQ(dictionary->entries.size(), 1u);
  EXPECT_EQ(dictionary->entries[0].name, "Stra\xD0\xAF" "e");  // 0xDF in Windows-1251
  EXPECT_EQ(GroupValue(doc, dictionary, 3), dictionary->entries[0].name);
}

// --- bad input ------------------------------------------------------------

Status ReadString(const std::string& bytes) {
  Document doc;
  return ReadText(bytes, doc);
}

// A large drawing reports how far reading got, in order, up to its size;
// a small one and a read without a function report nothing.
TEST(DxfReader, LargeDrawingsReportProgressAsTheyAreRead) {
  std::string dxf = "0\nSECTION\n2\nENTITIES\n";
  while (dxf.size() < 3 * kReadProgressStep) dxf += "0\nLINE\n8\n0\n10\n0.0\n20\n0.0\n11\n1.0\n21\n1.0\n";
  dxf += "0\nENDSEC\n0\nEOF\n";
  std::vector<std::pair<uint64_t, uint64_t>> reports;
  const ReadProgress before = SetReadProgress([&](uint64_t done, uint64_t total) { reports.emplace_back(done, total); });
  Document doc;
  EXPECT_TRUE(ReadText(dxf, doc).ok());
  ASSERT_GE(reports.size(), 2u);
  for (size_t i = 0; i < reports.size(); ++i) {
    EXPECT_EQ(reports[i].second, dxf.size());
    EXPECT_LE(reports[i].first, dxf.size());
    if (i > 0) {
      EXPECT_GE(reports[i].first, reports[i - 1].first + kReadProgressStep);
    }
  }
  reports.clear();
  Document small;
  EXPECT_TRUE(ReadText("0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nEOF\n", small).ok());
  EXPECT_TRUE(reports.empty());
  SetReadProgress(before);
  Document again;
  EXPECT_TRUE(ReadText(dxf, again).ok());
  EXPECT_TRUE(reports.empty());
}

TEST(DxfReaderBadInput, MissingFilesAndFoldersGiveClearStatuses) {
  Document a;
  EXPECT_EQ(ReadDxfFile("/no/such/file.dxf", a).code, StatusCode::kFileNotFound);
  testing::TempDir dir;
  Document b;
  Status status = ReadDxfFile(dir.path().string(), b);
  EXPECT_EQ(status.code, StatusCode::kCannotReadFile);
  EXPECT_NE(status.Text().find(dir.path().string()), std::string::npos);
  std::ofstream(dir / "empty.dxf").close();
  Document c;
  EXPECT_EQ(ReadDxfFile((dir / "empty.dxf").string(), c).code, StatusCode::kNotADrawing);
}

TEST(DxfReaderBadInput, GarbageIsNotADrawing) {
  EXPECT_EQ(ReadString("hello\nworld\n").code, StatusCode::kNotADrawing);
  EXPECT_EQ(ReadString(std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16)).code, StatusCode::kNotADrawing);
  EXPECT_EQ(ReadString("AC1018\0\0\0garbage of a DWG file").code, StatusCode::kNotADrawing);
  EXPECT_EQ(ReadString("0\nLINE\n8\n0\n").code, StatusCode::kNotADrawing);  // groups, but no SECTION
  Status status = ReadString("999\ncomment\n  0\nSECTION\n  2\nENTITIES\nnot a code\nLINE\n");
  EXPECT_EQ(status.code, StatusCode::kDamaged);
  EXPECT_NE(status.message.find("invalid group code \"not a code\" at line 7"), std::string::npos) << status.Text();
}

TEST(DxfReaderBadInput, StructuralFaults) {
  const std::string entities = "0\nSECTION\n2\nENTITIES\n0\nTEXT\n8\n0\n1\nhi\n";
  // No ENDSEC: the file ends inside a section.
  Status status = ReadString(entities);
  EXPECT_EQ(status.code, StatusCode::kDamaged);
  EXPECT_NE(status.message.find("ENTITIES section"), std::string::npos) << status.Text();
  // A code without its value line.
  EXPECT_EQ(ReadString(entities + "0\nENDSEC\n0").code, StatusCode::kDamaged);
  // A UTF-8 byte order mark before the first group is accepted.
  EXPECT_TRUE(ReadString("\xEF\xBB\xBF" + entities + "0\nENDSEC\n0\nEOF\n").ok());
  // A file cut off at a section end opens, and its status says it is incomplete.
  Document doc;
  status = ReadText(entities + "0\nENDSEC\n", doc);
  EXPECT_EQ(status.code, StatusCode::kIncomplete) << status.Text();
  EXPECT_NE(status.message.find("ends after the ENTITIES section"), std::string::npos) << status.Text();
  EXPECT_EQ(doc.entities.size(), 1u);
  EXPECT_FALSE(doc.warnings.empty());
  // Junk between sections and a new SECTION without ENDSEC are repaired too.
  Document doc2;
  Status repaired = ReadText(entities + "9\n$EXTMIN\n10\n0\n0\nSECTION\n2\nENTITIES\n0\nTEXT\n1\nsecond\n0\nENDSEC\n0\nEOF\n", doc2);
  ASSERT_TRUE(repaired.ok()) << repaired.Text();
  EXPECT_EQ(doc2.entities.size(), 2u);
  // Unsupported and garbage versions.
  status = ReadString("0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1003\n0\nENDSEC\n0\nEOF\n");
  EXPECT_EQ(status.code, StatusCode::kUnsupportedVersion);
  EXPECT_NE(status.message.find("AC1003"), std::string::npos);
  EXPECT_EQ(ReadString("0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1.50\x01\n0\nENDSEC\n0\nEOF\n").code,
            StatusCode::kUnsupportedVersion);
}

TEST(DxfReaderBadInput, BinaryValuesPastTheEnd) {
  std::string bytes = ReadBytes(Fixture("r2018_binary.dxf"));
  // A string without its terminating NUL, a double cut short.
  Status status = ReadString(bytes.substr(0, 40));
  EXPECT_EQ(status.code, StatusCode::kDamaged) << status.Text();
  EXPECT_NE(status.message.find("byte offset"), std::string::npos) << status.Text();
  const size_t handseed = bytes.find("$ACADMAINTVER");
  ASSERT_NE(handseed, std::string::npos);
  EXPECT_EQ(ReadString(bytes.substr(0, handseed + 16)).code, StatusCode::kDamaged);  // int16 value cut short
}

// Every prefix of a drawing, and random damage, ends in a document or a status.
void ExpectNoCrashOnDamage(const std::string& bytes) {
  for (size_t size = 0; size < bytes.size(); size += 1 + size / 64) {
    Document doc;
    Status status = ReadText(bytes.substr(0, size), doc);
    if (!status.ok()) {
      EXPECT_FALSE(status.message.empty());
    }
  }
  std::mt19937 random(12345);
  for (int round = 0; round < 300; ++round) {
    std::string damaged = bytes;
    for (int k = 0; k < 8; ++k) damaged[random() % damaged.size()] = static_cast<char>(random() & 0xFF);
    Document doc;
    Status status = ReadText(damaged, doc);
    if (status.ok()) {
      DescriptionSections all{true, true, true, true, true, true, true, true};
      EXPECT_FALSE(DescriptionText(doc, all).empty());
    }
  }
}

TEST(DxfReaderBadInput, TruncatedAndDamagedAsciiNeverCrash) {
  ExpectNoCrashOnDamage(ReadBytes(Fixture("r2018_ascii.dxf")));
  ExpectNoCrashOnDamage(ReadBytes(Fixture("r12_codepage1252.dxf")));
}

TEST(DxfReaderBadInput, TruncatedAndDamagedBinaryNeverCrash) {
  ExpectNoCrashOnDamage(ReadBytes(Fixture("r2018_binary.dxf")));
}

}  // namespace
}  // namespace vantrove::engine
