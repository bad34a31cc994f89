// The DXF writer on the engine's own fixtures: round trips in the same
// version, conversions between versions, precision and bad options.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <set>
#include <sstream>

#include "test_support.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dxf_reader.hpp"
#include "vantrove/engine/dxf_writer.hpp"

namespace vantrove::engine {
namespace {

using testing::Fixture;
using testing::ReadBytes;

std::unique_ptr<Document> Read(const std::string& bytes) {
  auto document = std::make_unique<Document>();
  const Status status = testing::ReadText(bytes, *document);
  EXPECT_TRUE(status.ok()) << status.Text();
  return document;
}

std::unique_ptr<Document> ReadFixture(const std::string& name) { return Read(ReadBytes(Fixture(name))); }

std::string Write(const Document& document, int32_t version, int32_t precision = 0, bool binary = false,
                  Status* status_out = nullptr) {
  DxfWriteOptions options;
  options.version = version;
  options.precision = precision;
  options.binary = binary;
  std::string out;
  const Status status = WriteDxfToString(document, options, out);
  if (status_out != nullptr) {
    *status_out = status;
  } else {
    EXPECT_TRUE(status.ok()) << status.Text();
  }
  return out;
}

// Every record as "TYPE code=value ..." with reals compared by value.
std::vector<std::string> Dump(const Document& document) {
  std::vector<std::string> lines;
  auto value = [](const Group& g) {
    if (GroupTypeOf(g.code) == GroupType::kDouble) {
      std::ostringstream out;
      out.precision(17);
      out << g.AsDouble();
      return out.str();
    }
    std::string_view text = g.value();
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    return std::string(text);
  };
  auto add = [&](const Object* o) {
    if (o == nullptr || o->synthesized) return;
    std::string line(o->type_name);
    for (const Group& g : document.Groups(*o)) line.append(" ").append(std::to_string(g.code)).append("=").append(value(g));
    lines.push_back(line);
  };
  for (const HeaderVariable& v : document.header) {
    if (v.name == "$HANDSEED") continue;
    std::string line(v.name);
    for (const Group& g : v.values) line.append(" ").append(std::to_string(g.code)).append("=").append(value(g));
    lines.push_back(line);
  }
  for (const Object* c : document.classes) add(c);
  for (const Table& t : document.tables) {
    add(t.head);
    for (const Object* r : t.records) add(r);
  }
  for (const Block* b : document.blocks) {
    add(b);
    for (const Entity* e : b->entities) add(e);
    add(b->end);
  }
  for (const Object* o : document.objects_section) add(o);
  return lines;
}

TEST(DxfWriter, SameVersionWritesEveryRecordBack) {
  for (const char* name : {"r2018_ascii.dxf", "r2018_binary.dxf", "r12_codepage1252.dxf", "r2000_codepage932.dxf"}) {
    SCOPED_TRACE(name);
    auto source = ReadFixture(name);
    for (bool binary : {false, true}) {
      const std::string bytes = Write(*source, kVersionKeep, 0, binary);
      EXPECT_EQ(bytes.rfind("AutoCAD Binary DXF", 0) == 0, binary);
      auto again = Read(bytes);
      EXPECT_EQ(again->version, source->version);
      EXPECT_EQ(Dump(*again), Dump(*source));
      // And once more from what was read back.
      EXPECT_EQ(Dump(*Read(Write(*again, kVersionKeep, 0, binary))), Dump(*source));
    }
  }
}

// Control characters in ASCII DXF are caret codes: read as the characters
// (as binary DXF and DWG give them) and written back in caret form; a caret
// itself is written "^ ".
TEST(DxfWriter, CaretCodesDecodeOnReadingAndEncodeOnWriting) {
  const std::string dxf =
      "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
      "0\nTEXT\n5\n2A\n8\n0\n10\n0\n20\n0\n30\n0\n40\n1\n1\nline^Jnext^Itab a^ b x^2 ^ A\n"
      "0\nMTEXT\n5\n2B\n8\n0\n10\n0\n20\n0\n30\n0\n40\n1\n1\nfirst^Jsecond\n"
      "0\nENDSEC\n0\nEOF\n";
  auto document = Read(dxf);
  const auto* text = static_cast<const Text*>(document->Find("2A"));
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->value, "line\nnext\ttab a^b x^2 ^A");
  EXPECT_EQ(MTextPlainText(static_cast<const MText*>(document->Find("2B"))->value), "first\nsecond");
  const std::string ascii = Write(*document, kVersionKeep);
  EXPECT_NE(ascii.find("\r\nline^Jnext^Itab a^ b x^ 2 ^ A\r\n"), std::string::npos) << ascii;
  EXPECT_NE(ascii.find("\r\nfirst^Jsecond\r\n"), std::string::npos);
  // Binary holds the characters; both read back to the same value.
  const std::string binary = Write(*document, kVersionKeep, 0, true);
  EXPECT_NE(binary.find(std::string("line\nnext\ttab a^b x^2 ^A") + std::string(1, '\0')), std::string::npos);
  EXPECT_EQ(static_cast<const Text*>(Read(binary)->Find("2A"))->value, text->value);
  EXPECT_EQ(static_cast<const Text*>(Read(ascii)->Find("2A"))->value, text->value);
}

TEST(DxfWriter, RealsInShortestFormOrRoundedToThePrecision) {
  const std::string dxf =
      "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
      "0\nLINE\n5\n2A\n8\n0\n10\n1.000000000000\n20\n0.1\n30\n-2.5E-7\n11\n123456.789012345678\n21\n1e+20\n31\n2\n"
      "0\nENDSEC\n0\nEOF\n";
  auto document = Read(dxf);
  const std::string exact = Write(*document, kVersionKeep);
  for (const char* expected : {" 10\r\n1.0\r\n", " 20\r\n0.1\r\n", " 30\r\n-2.5E-07\r\n", " 11\r\n123456.78901234567\r\n",
                               " 21\r\n1.0E+20\r\n", " 31\r\n2.0\r\n"}) {
    EXPECT_NE(exact.find(expected), std::string::npos) << expected << "\n" << exact;
  }
  const std::string rounded = Write(*document, kVersionKeep, 3);
  for (const char* expected : {" 10\r\n1.0\r\n", " 20\r\n0.1\r\n", " 30\r\n0.0\r\n", " 11\r\n123456.789\r\n",
                               " 21\r\n1.0E+20\r\n"}) {
    EXPECT_NE(rounded.find(expected), std::string::npos) << expected << "\n" << rounded;
  }
  const std::string sixteen = Write(*document, kVersionKeep, 16);
  EXPECT_NE(sixteen.find(" 30\r\n-0.00000025\r\n"), std::string::npos);
  EXPECT_NE(sixteen.find(" 11\r\n123456.7890123456745641\r\n"), std::string::npos);
  // The group codes that are not reals keep their text.
  EXPECT_NE(rounded.find("  5\r\n2A\r\n"), std::string::npos);
}

TEST(DxfWriter, BadOptionsFailWithoutWriting) {
  auto document = ReadFixture("r2018_ascii.dxf");
  testing::TempDir dir;
  const std::string target = (dir / "keep.dxf").string();
  std::ofstream(target) << "old";
  DxfWriteOptions options;
  options.version = 2099;
  Status status = WriteDxfFile(*document, options, target);
  EXPECT_EQ(status.code, StatusCode::kUnknownVersion);
  EXPECT_NE(status.Text().find("2099"), std::string::npos) << status.Text();
  options.version = 2018;
  options.precision = 17;
  EXPECT_EQ(WriteDxfFile(*document, options, target).code, StatusCode::kInvalidPrecision);
  EXPECT_EQ(ReadBytes(target), "old");

  options.precision = 0;
  status = WriteDxfFile(*document, options, (dir / "missing" / "a.dxf").string());
  EXPECT_EQ(status.code, StatusCode::kFolderNotFound) << status.Text();
  EXPECT_NE(status.message.find((dir / "missing").string()), std::string::npos);

  // A folder nobody may write in (root writes everywhere but in /sys).
  std::filesystem::path locked = dir / "locked";
  std::filesystem::create_directory(locked);
  ::chmod(locked.c_str(), 0555);
  if (::geteuid() == 0) locked = "/sys";
  status = WriteDxfFile(*document, options, (locked / "a.dxf").string());
  EXPECT_EQ(status.code, StatusCode::kFolderNotWritable) << status.Text();

  status = WriteDxfFile(*document, options, dir.path().string());
  EXPECT_EQ(status.code, StatusCode::kCannotWriteFile) << status.Text();

  // A good write replaces the old file and leaves no temporary file behind.
  ASSERT_TRUE(WriteDxfFile(*document, options, target).ok());
  EXPECT_EQ(ReadBytes(target).substr(0, 12), "  0\r\nSECTION");
  size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) files += entry.is_regular_file();
  EXPECT_EQ(files, 1u);
}

TEST(DxfWriter, OlderTargetsEncodeTextInTheCodePage) {
  auto document = ReadFixture("r2018_ascii.dxf");  // UTF-8, $DWGCODEPAGE ANSI_1252
  const std::string r2000 = Write(*document, 2000);
  EXPECT_NE(r2000.find("$ACADVER\r\n  1\r\nAC1015"), std::string::npos);
  EXPECT_NE(r2000.find("\\U+56FE\\U+5C42 \\U+03A9=1"), std::string::npos);  // 图层 Ω=1
  EXPECT_NE(r2000.find("Size = 5 <mm> & \"more\" \x97 \xE9t\xE9"), std::string::npos);  // — and é are in 1252
  auto again = Read(r2000);
  EXPECT_EQ(again->version, "AC1015");
  ASSERT_NE(again->FindLayer("图层 Ω=1"), nullptr);
  EXPECT_EQ(static_cast<const Text*>(again->Find("105"))->value, "中文 text");

  const std::string r2007 = Write(*document, 2007);
  EXPECT_NE(r2007.find("图层 Ω=1"), std::string::npos);
  EXPECT_EQ(Read(r2007)->version, "AC1021");

  // A drawing read from its code page is written back in it.
  auto japanese = ReadFixture("r2000_codepage932.dxf");
  EXPECT_EQ(Write(*japanese, kVersionKeep).find("\\U+"), std::string::npos);
  EXPECT_EQ(Dump(*Read(Write(*japanese, 2004))).size(), Dump(*japanese).size());
}

TEST(DxfWriter, MultiLineAttributesBecomeSingleLineBefore2018) {
  const std::string dxf =
      "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1032\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
      "0\nINSERT\n5\n50\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockReference\n66\n1\n2\nB\n10\n0\n20\n0\n30\n0\n"
      "0\nATTRIB\n5\n51\n100\nAcDbEntity\n8\n0\n100\nAcDbText\n10\n0\n20\n0\n30\n0\n40\n1\n1\n\n"
      "100\nAcDbAttribute\n280\n0\n2\nNOTE\n70\n0\n280\n1\n71\n4\n72\n0\n11\n0\n21\n0\n31\n0\n"
      "101\nEmbedded Object\n10\n0\n20\n0\n30\n0\n40\n1\n1\nfirst\\Psecond\n1001\nACAD\n1000\nkept\n"
      "0\nSEQEND\n5\n52\n100\nAcDbEntity\n8\n0\n0\nENDSEC\n0\nEOF\n";
  auto document = Read(dxf);
  auto again = Read(Write(*document, 2013));
  const auto* attrib = static_cast<const Attrib*>(again->Find("51"));
  ASSERT_NE(attrib, nullptr);
  EXPECT_FALSE(attrib->multiline);
  EXPECT_EQ(attrib->value, "first second");
  EXPECT_EQ(attrib->tag, "NOTE");
  EXPECT_EQ(again->Groups(*attrib).back().value(), "kept");
  // 2018 keeps it as it is.
  EXPECT_TRUE(static_cast<const Attrib*>(Read(Write(*document, 2018))->Find("51"))->multiline);
}

const char* const kModernDrawing =
    "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$CELWEIGHT\n370\n-1\n9\n$CLAYER\n8\n0\n0\nENDSEC\n"
    "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n5\n2\n330\n0\n100\nAcDbSymbolTable\n70\n1\n"
    "0\nLAYER\n5\n10\n330\n2\n100\nAcDbSymbolTableRecord\n100\nAcDbLayerTableRecord\n2\nWALLS\n70\n0\n62\n-3\n6\n"
    "Continuous\n370\n-3\n390\nF\n0\nENDTAB\n0\nENDSEC\n"
    "0\nSECTION\n2\nBLOCKS\n"
    "0\nBLOCK\n5\n20\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockBegin\n2\n*Model_Space\n70\n0\n10\n0\n20\n0\n30\n0\n3\n"
    "*Model_Space\n1\n\n0\nENDBLK\n5\n21\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockEnd\n"
    "0\nBLOCK\n5\n30\n330\n2F\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockBegin\n2\n*D1\n70\n1\n10\n0\n20\n0\n30\n0\n3\n*D1\n1\n\n"
    "0\nLINE\n5\n31\n330\n2F\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n5\n21\n0\n31\n0\n"
    "0\nENDBLK\n5\n32\n330\n2F\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockEnd\n0\nENDSEC\n"
    "0\nSECTION\n2\nENTITIES\n"
    "0\nLWPOLYLINE\n5\n40\n330\n1F\n100\nAcDbEntity\n8\nWALLS\n62\n3\n100\nAcDbPolyline\n90\n3\n70\n1\n43\n0.5\n"
    "10\n0\n20\n0\n10\n10\n20\n0\n42\n0.5\n10\n10\n20\n10\n"
    "0\nMTEXT\n5\n41\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbMText\n10\n100\n20\n50\n30\n0\n40\n2\n71\n7\n"
    "1\n{\\fArial;First} line\\Psecond line\n"
    "0\nDIMENSION\n5\n42\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbDimension\n2\n*D1\n10\n0\n20\n0\n30\n0\n70\n33\n"
    "100\nAcDbAlignedDimension\n13\n0\n23\n0\n33\n0\n14\n5\n24\n0\n34\n0\n"
    "0\nHATCH\n5\n43\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbHatch\n10\n0\n20\n0\n30\n0\n"
    "0\nTEXT\n5\n44\n330\n1F\n100\nAcDbEntity\n8\n0\n370\n50\n100\nAcDbText\n10\n1\n20\n2\n30\n0\n40\n3\n1\nkept\n"
    "100\nAcDbText\n73\n1\n0\nENDSEC\n"
    "0\nSECTION\n2\nOBJECTS\n0\nDICTIONARY\n5\nC\n330\n0\n100\nAcDbDictionary\n0\nENDSEC\n0\nEOF\n";

TEST(DxfWriter, R12GetsTheEntitiesItCanExpressAndTheStatusNamesTheRest) {
  auto document = Read(kModernDrawing);
  Status status;
  const std::string r12 = Write(*document, 12, 0, false, &status);
  EXPECT_EQ(status.code, StatusCode::kWrittenWithLosses);
  EXPECT_NE(status.message.find("R12"), std::string::npos) << status.Text();
  EXPECT_NE(status.message.find("1 HATCH"), std::string::npos) << status.Text();
  EXPECT_EQ(r12.find("AcDb"), std::string::npos);
  EXPECT_EQ(r12.find("\r\n330\r\n"), std::string::npos);
  EXPECT_EQ(r12.find("\r\n370\r\n"), std::string::npos);

  auto again = Read(r12);
  EXPECT_EQ(again->version, "AC1009");
  std::map<std::string, int> kinds;
  std::vector<const Text*> texts;
  for (const Entity* e : again->model_space()->entities) {
    ++kinds[std::string(e->type_name)];
    if (e->kind() == ObjectKind::kText) texts.push_back(static_cast<const Text*>(e));
  }
  EXPECT_EQ(kinds["POLYLINE"], 1);
  EXPECT_EQ(kinds["VERTEX"], 3);
  EXPECT_EQ(kinds["SEQEND"], 1);
  EXPECT_EQ(kinds["INSERT"], 1);  // the dimension, as its block
  EXPECT_EQ(kinds["HATCH"], 0);
  EXPECT_EQ(kinds["MTEXT"], 0);
  ASSERT_EQ(texts.size(), 3u);
  EXPECT_EQ(texts[0]->value, "First line");
  EXPECT_EQ(texts[1]->value, "second line");
  EXPECT_EQ(texts[2]->value, "kept");
  // Bottom-left attachment: the second line sits on the insertion point's
  // side, one line spacing below the first.
  EXPECT_NEAR(texts[0]->point.y - texts[1]->point.y, 2 * 5.0 / 3.0, 1e-9);
  EXPECT_EQ(texts[0]->handle, 0x41u);
  EXPECT_NE(again->FindBlock("*D1"), nullptr);
  const Layer* walls = again->FindLayer("WALLS");
  ASSERT_NE(walls, nullptr);
  EXPECT_FALSE(walls->on());
  // Handles are unique and below the seed.
  std::set<Handle> handles;
  for (const auto& o : again->all_objects()) {
    if (o->handle != kNoHandle && !o->handle_assigned && !o->synthesized) {
      EXPECT_TRUE(handles.insert(o->handle).second);
    }
  }
  const Handle seed = ParseHandle(again->HeaderText("$HANDSEED")).value_or(0);
  EXPECT_GT(seed, *handles.rbegin());

  // R10 has no paper space, no extended data and no APPID or DIMSTYLE table.
  const std::string r10 = Write(*document, 10, 0, false, &status);
  EXPECT_NE(r10.find("AC1006"), std::string::npos);
  EXPECT_EQ(r10.find("DIMSTYLE"), std::string::npos);
  // R11 and R12 share one file format.
  EXPECT_EQ(Write(*document, 11, 0, false, &status), r12);
}

TEST(DxfWriter, R12DrawingsGetTheStructureOfLaterVersions) {
  auto document = ReadFixture("r12_codepage1252.dxf");
  const std::string bytes = Write(*document, 2018);
  auto again = Read(bytes);
  EXPECT_EQ(again->version, "AC1032");
  EXPECT_TRUE(again->warnings.empty());
  // Every block has its record, every entity an owner that is a record.
  std::set<std::string> records;
  for (const BlockRecord* r : again->block_records) records.insert(std::string(r->name));
  EXPECT_TRUE(records.count("*Model_Space") && records.count("*Paper_Space") && records.count("TITLE"));
  for (const Block* b : again->blocks) {
    EXPECT_FALSE(b->synthesized) << b->name;
    ASSERT_NE(b->record, nullptr) << b->name;
    for (const Entity* e : b->entities) {
      const Object* owner = again->Find(e->owner);
      ASSERT_NE(owner, nullptr) << e->type_name;
      EXPECT_EQ(owner->kind(), ObjectKind::kBlockRecord);
      EXPECT_EQ(again->Groups(*e)[2].code, 100) << e->type_name;
    }
  }
  ASSERT_EQ(again->layouts.size(), 2u);
  EXPECT_FALSE(again->layouts[0]->synthesized);
  EXPECT_EQ(again->layouts[0]->block, again->model_space());
  // The text keeps its characters, Ł and ź included.
  bool found = false;
  for (const Entity* e : again->model_space()->entities) {
    if (e->kind() == ObjectKind::kText) found = found || static_cast<const Text*>(e)->value == "Straße Łódź";
  }
  EXPECT_TRUE(found);
  // Same structure for 2000, without layouts for R14.
  EXPECT_EQ(Read(Write(*document, 2000))->layouts[0]->synthesized, false);
  EXPECT_EQ(Write(*document, 14).find("AcDbLayout"), std::string::npos);
}

TEST(DxfWriter, BrokenLayoutLinksAreRepaired) {
  // A layout that names a block record that does not exist is written with
  // the record that points at it.
  const std::string dxf =
      "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1027\n0\nENDSEC\n0\nSECTION\n2\nTABLES\n"
      "0\nTABLE\n2\nBLOCK_RECORD\n5\n1\n330\n0\n100\nAcDbSymbolTable\n70\n1\n"
      "0\nBLOCK_RECORD\n5\n1F\n330\n1\n100\nAcDbSymbolTableRecord\n100\nAcDbBlockTableRecord\n2\n*Model_Space\n340\n22\n"
      "0\nENDTAB\n0\nENDSEC\n0\nSECTION\n2\nOBJECTS\n"
      "0\nLAYOUT\n5\n22\n330\n1A\n100\nAcDbPlotSettings\n1\n\n100\nAcDbLayout\n1\nModel\n70\n1\n71\n0\n330\nFFFA\n"
      "0\nENDSEC\n0\nEOF\n";
  auto document = Read(dxf);
  const std::string bytes = Write(*document, kVersionKeep);
  EXPECT_EQ(bytes.find("FFFA"), std::string::npos);
  EXPECT_NE(bytes.find("AcDbLayout\r\n  1\r\nModel\r\n 70\r\n1\r\n 71\r\n0\r\n330\r\n1F"), std::string::npos);
}

}  // namespace
}  // namespace vantrove::engine
