// Edits by handle and saving, through the drawing component.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "test_support.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_reader.hpp"
#include "vantrove/engine/dxf_reader.hpp"
#include "vantrove/engine/dxf_writer.hpp"
#include "vantrove/engine/edits.hpp"

namespace vantrove::engine {
namespace {

using testing::Fixture;

class Edits : public ::testing::Test {
 protected:
  void SetUp() override {
    int32_t result = 0;
    component_.OpenDrawing(result, Fixture("r2018_ascii.dxf").string(), "");
    ASSERT_EQ(result, 1) << Status();
  }
  std::string Status() const {
    std::string status;
    component_.LastStatus(status);
    return status;
  }
  std::string Code() const { return Status().substr(0, 5); }
  const Document& doc() const { return *component_.document(); }
  // Saves, reads the file back and returns it.
  std::unique_ptr<Document> SaveAndRead(int32_t version = kVersionKeep) {
    const std::string path = (dir_ / "saved.dxf").string();
    component_.SaveAs(path, version);
    EXPECT_EQ(Status(), "1000:Ok");
    auto document = std::make_unique<Document>();
    const engine::Status status = ReadDxfFile(path, *document);
    EXPECT_TRUE(status.ok()) << status.Text();
    return document;
  }

  DrawingComponent component_;
  testing::TempDir dir_;
};

TEST_F(Edits, TextValues) {
  component_.SetTextValue("new\r\nvalue", "105");
  EXPECT_EQ(Status(), "1000:Ok");
  EXPECT_EQ(static_cast<const Text*>(doc().Find("105"))->value, "new value");

  // Plain text keeps the formatting that opened the old value; a long value
  // is split into pieces the file can hold.
  const std::string long_text = "Line one\nline two " + std::string(600, 'y');
  component_.SetTextValue(long_text, "106");
  EXPECT_EQ(Status(), "1000:Ok");
  const auto* mtext = static_cast<const MText*>(doc().Find("106"));
  EXPECT_EQ(mtext->value, "{\\fArial|b1;Line one\\Pline two " + std::string(600, 'y') + "}");
  EXPECT_EQ(mtext->PlainText(), "Line one\nline two " + std::string(600, 'y'));
  size_t pieces = 0;
  for (const Group& g : doc().Groups(*mtext)) {
    if (g.code == 3 || g.code == 1) {
      EXPECT_LE(g.size, 250u);
      ++pieces;
    }
  }
  EXPECT_EQ(pieces, 3u);
  // Formatting codes given by the caller are taken as they are.
  component_.SetTextValue("{\\C1;red}\\Pnext", "106");
  EXPECT_EQ(static_cast<const MText*>(doc().Find("106"))->value, "{\\C1;red}\\Pnext");

  auto saved = SaveAndRead();
  EXPECT_EQ(static_cast<const Text*>(saved->Find("105"))->value, "new value");
  EXPECT_EQ(static_cast<const MText*>(saved->Find("106"))->value, "{\\C1;red}\\Pnext");

  component_.SetTextValue("x", "101");  // an ATTRIB
  EXPECT_EQ(Status(), "1304:The object with the handle 101 is a ATTRIB, not a TEXT or MTEXT");
}

TEST_F(Edits, AttributeValues) {
  component_.SetAttributeValue("B-202", "101");
  EXPECT_EQ(Status(), "1000:Ok");
  EXPECT_EQ(static_cast<const Attrib*>(doc().Find("101"))->value, "B-202");
  EXPECT_EQ(static_cast<const Attrib*>(SaveAndRead(2000)->Find("101"))->value, "B-202");
  component_.SetAttributeValue("x", "31");  // an ATTDEF
  EXPECT_EQ(Code(), "1304:");
  component_.SetAttributeValue("x", "105");
  EXPECT_EQ(Status(), "1304:The object with the handle 105 is a TEXT, not an ATTRIB");
}

TEST_F(Edits, BadHandlesAndNoDrawing) {
  component_.DeleteObject("");
  EXPECT_EQ(Status(), "1302:The handle is empty");
  component_.SetTextValue("x", "12G");
  EXPECT_EQ(Status(), "1302:Invalid handle \"12G\" (a handle is 1 to 16 hexadecimal digits)");
  component_.SetAttributeValue("x", "0");
  EXPECT_EQ(Code(), "1302:");
  component_.SetImagePath("x", "12345678901234567");
  EXPECT_EQ(Code(), "1302:");
  component_.DeleteObject("ABCDEF");
  EXPECT_EQ(Status(), "1303:No object has the handle ABCDEF");
  component_.DeleteObject(" 105 ");
  EXPECT_EQ(Status(), "1000:Ok");
  component_.DeleteObject("105");
  EXPECT_EQ(Code(), "1303:");

  component_.CloseDrawing();
  for (int op = 0; op < 8; ++op) {
    switch (op) {
      case 0: component_.DeleteObject("105"); break;
      case 1: component_.SetTextValue("x", "105"); break;
      case 2: component_.SetAttributeValue("x", "101"); break;
      case 3: component_.SetImagePath("x", "107"); break;
      case 4: component_.SetXrefPath("x", "SITE_PLAN"); break;
      case 5: component_.SetLayerState("WALLS", 1, 1); break;
      case 6: component_.SaveAs((dir_ / "a.dxf").string(), -1); break;
      default: component_.WriteDxf((dir_ / "a.dxf").string(), 0, 2004); break;
    }
    EXPECT_EQ(Code(), "1301:") << op;
  }
  EXPECT_FALSE(std::filesystem::exists(dir_ / "a.dxf"));
}

TEST_F(Edits, DeletingAReferenceTakesItsAttributesAlong) {
  component_.DeleteObject("100");
  EXPECT_EQ(Status(), "1000:Ok");
  for (const char* gone : {"100", "101", "102", "103"}) EXPECT_EQ(doc().Find(gone), nullptr) << gone;
  for (const Entity* e : doc().model_space()->entities) EXPECT_NE(e->handle, 0x100u);
  auto saved = SaveAndRead();
  for (const char* gone : {"100", "101", "102", "103"}) EXPECT_EQ(saved->Find(gone), nullptr) << gone;
  EXPECT_NE(saved->Find("104"), nullptr);

  // Parts of other objects cannot go alone; non-entities not at all.
  component_.DeleteObject("21");  // ENDBLK
  EXPECT_EQ(Code(), "1309:");
  component_.DeleteObject("10");  // LAYER
  EXPECT_EQ(Status(), "1304:The object with the handle 10 is a LAYER, not an entity; only entities can be deleted");
}

TEST_F(Edits, DeletingAnAttributeAloneAndAnImageWithItsReactor) {
  component_.DeleteObject("101");
  EXPECT_EQ(Status(), "1000:Ok");
  const auto* insert = static_cast<const Insert*>(doc().Find("100"));
  ASSERT_EQ(insert->attribs.size(), 1u);
  component_.DeleteObject("102");
  EXPECT_TRUE(insert->attribs.empty());
  EXPECT_EQ(doc().Find("103"), nullptr);  // the SEQEND went with the last attribute
  EXPECT_FALSE(insert->attributes_follow);

  component_.DeleteObject("107");
  EXPECT_EQ(Status(), "1000:Ok");
  EXPECT_EQ(doc().Find("201"), nullptr);  // the image's reactor
  const Object* def = doc().Find("200");
  ASSERT_NE(def, nullptr);
  for (const Group& g : doc().Groups(*def)) EXPECT_NE(g.value(), "201");
  auto saved = SaveAndRead();
  EXPECT_EQ(saved->Find("201"), nullptr);
  EXPECT_EQ(saved->Find("103"), nullptr);
  EXPECT_FALSE(static_cast<const Insert*>(saved->Find("100"))->attributes_follow);
}

TEST_F(Edits, ImageAndReferencePaths) {
  component_.SetImagePath("/srv/img/new.png", "107");
  EXPECT_EQ(Status(), "1000:Ok");
  EXPECT_EQ(static_cast<const ImageDef*>(doc().Find("200"))->path, "/srv/img/new.png");
  component_.SetImagePath("x", "105");
  EXPECT_EQ(Status(), "1304:The object with the handle 105 is a TEXT, not an IMAGE");

  component_.SetXrefPath("..\\moved\\site.dwg", "site_plan");
  EXPECT_EQ(Status(), "1000:Ok");
  EXPECT_EQ(doc().FindBlock("SITE_PLAN")->xref_path, "..\\moved\\site.dwg");
  component_.SetXrefPath("x", "TITLE");
  EXPECT_EQ(Status(), "1304:The block \"TITLE\" is not an external reference");
  component_.SetXrefPath("x", "NOPE");
  EXPECT_EQ(Status(), "1306:No external reference is named \"NOPE\"");

  auto saved = SaveAndRead(2004);
  EXPECT_EQ(static_cast<const ImageDef*>(saved->Find("200"))->path, "/srv/img/new.png");
  EXPECT_EQ(saved->FindBlock("SITE_PLAN")->xref_path, "..\\moved\\site.dwg");
}

TEST_F(Edits, LayerStates) {
  // Mode 1 switches on (state 1) and off (state 2): off is a negative colour.
  component_.SetLayerState("walls", 2, 1);
  EXPECT_EQ(Status(), "1000:Ok");
  EXPECT_EQ(doc().FindLayer("WALLS")->color, -1);
  component_.SetLayerState("HIDDEN", 1, 1);
  EXPECT_EQ(doc().FindLayer("HIDDEN")->color, 3);
  // Mode 2 thaws (state 1) and freezes (state 2): flag 1 of group 70.
  component_.SetLayerState("WALLS", 1, 2);
  EXPECT_FALSE(doc().FindLayer("WALLS")->frozen());
  component_.SetLayerState("图层 Ω=1", 2, 2);
  EXPECT_EQ(doc().FindLayer("图层 Ω=1")->flags, 5);  // locked stays

  component_.SetLayerState("WALLS", 3, 1);
  EXPECT_EQ(Code(), "1307:");
  component_.SetLayerState("WALLS", 1, 0);
  EXPECT_EQ(Code(), "1308:");
  component_.SetLayerState("NOPE", 1, 1);
  EXPECT_EQ(Status(), "1305:No layer is named \"NOPE\"");

  auto saved = SaveAndRead();
  EXPECT_FALSE(saved->FindLayer("WALLS")->on());
  EXPECT_FALSE(saved->FindLayer("WALLS")->frozen());
  EXPECT_TRUE(saved->FindLayer("HIDDEN")->on());
  EXPECT_TRUE(saved->FindLayer("图层 Ω=1")->frozen());
}

TEST_F(Edits, SaveChecksTypeVersionAndFolder) {
  const std::string dwg = (dir_ / "plan.dwg").string();
  component_.SaveAs(dwg, 2018);
  EXPECT_EQ(Status(), "1405:Writing DWG 2018 (AC1032) files from a drawing read from DXF is not supported yet; only a "
                      "drawing read from DWG AC1032 is written in that version: " +
                          dwg);
  component_.SaveAs((dir_ / "plan.txt").string(), 2018);
  EXPECT_EQ(Code(), "1406:");
  component_.SaveAs((dir_ / "plan.dxf").string(), 2099);
  EXPECT_EQ(Code(), "1402:");
  component_.WriteDxf((dir_ / "plan.dxf").string(), 0, 7);
  EXPECT_EQ(Code(), "1402:");
  component_.SaveAs((dir_ / "nowhere" / "plan.dxf").string(), -1);
  EXPECT_EQ(Code(), "1403:");
  EXPECT_FALSE(std::filesystem::exists(dir_ / "plan.dxf"));

  // A failed save leaves the file that was there.
  const std::filesystem::path locked = ::geteuid() == 0 ? std::filesystem::path("/sys") : dir_ / "locked";
  if (::geteuid() != 0) {
    std::filesystem::create_directory(locked);
    std::ofstream(locked / "plan.dxf") << "old";
    ::chmod(locked.c_str(), 0555);
  }
  component_.SaveAs((locked / "plan.dxf").string(), -1);
  EXPECT_EQ(Code(), "1404:") << Status();
  if (::geteuid() != 0) {
    EXPECT_EQ(testing::ReadBytes(locked / "plan.dxf"), "old");
  }

  // The source file itself can be the target; a binary drawing stays binary.
  const std::filesystem::path copy = dir_ / "copy.dxf";
  std::filesystem::copy_file(Fixture("r2018_binary.dxf"), copy);
  int32_t result = 0;
  component_.OpenDrawing(result, copy.string(), "");
  component_.SetTextValue("binary edit", "105");
  component_.SaveAs(copy.string(), -1);
  EXPECT_EQ(Status(), "1000:Ok");
  Document saved;
  ASSERT_TRUE(ReadDxfFile(copy.string(), saved).ok());
  EXPECT_EQ(saved.format, DrawingFormat::kDxfBinary);
  EXPECT_EQ(static_cast<const Text*>(saved.Find("105"))->value, "binary edit");
  // CreateDXF's path writes ASCII with the precision asked for.
  component_.WriteDxf((dir_ / "out.dxf").string(), 2, 2004);
  EXPECT_EQ(Status(), "1000:Ok");
  EXPECT_EQ(testing::ReadBytes(dir_ / "out.dxf").substr(0, 5), "  0\r\n");
}

}  // namespace
}  // namespace vantrove::engine

namespace vantrove::engine {
namespace {

// The first ATTRIB of a block reference in model space.
const Attrib* FirstAttrib(const Document& doc) {
  for (const Entity* e : doc.entities) {
    if (e->kind() == ObjectKind::kAttrib) return static_cast<const Attrib*>(e);
  }
  return nullptr;
}

TEST(DwgDrawings, SaveAsDxfAfterAnAttributeEditWithEverythingElse) {
  const std::filesystem::path dwg = std::filesystem::path(VANTROVE_SHARED_DIR) / "corpus" / "dwg" / "ldwg_example_2000.dwg";
  if (!std::filesystem::exists(dwg)) GTEST_SKIP() << "corpus not present";
  Document source;
  ASSERT_TRUE(ReadDwgFile(dwg.string(), source).ok());
  const Attrib* attrib = FirstAttrib(source);
  ASSERT_NE(attrib, nullptr);
  const std::string handle = FormatHandle(attrib->handle);
  DrawingEditor editor(source);
  ASSERT_TRUE(editor.SetAttributeValue("Edited ^ value", handle).ok());
  testing::TempDir dir;
  for (const bool binary : {false, true}) {
    for (const int32_t version : {2018, 2000, 12}) {
      const std::string target = (dir / ("out" + std::to_string(version) + (binary ? "b" : "") + ".dxf")).string();
      DxfWriteOptions options;
      options.version = version;
      options.binary = binary;
      const Status written = WriteDxfFile(source, options, target);
      // What the table cannot re-encode is named in the status.
      ASSERT_TRUE(written.code == StatusCode::kOk || written.code == StatusCode::kWrittenWithLosses) << written.Text();
      if (written.code == StatusCode::kWrittenWithLosses) {
        EXPECT_NE(written.Text().find("without what it cannot hold ("), std::string::npos) << written.Text();
      }
      Document back;
      ASSERT_TRUE(ReadDxfFile(target, back).ok()) << target;
      const Object* edited = back.Find(handle);
      ASSERT_NE(edited, nullptr) << target;
      ASSERT_EQ(edited->kind(), ObjectKind::kAttrib);
      EXPECT_EQ(static_cast<const Attrib*>(edited)->value, "Edited ^ value") << target;
      // Every layer and every text of the source is there.
      EXPECT_EQ(back.layers.size(), source.layers.size()) << target;
      for (const Layer* layer : source.layers) EXPECT_NE(back.FindLayer(layer->name), nullptr) << layer->name;
      for (const Entity* e : source.entities) {
        if (e->kind() != ObjectKind::kText && e->kind() != ObjectKind::kInsert) continue;
        const Object* copy = back.Find(e->handle);
        ASSERT_NE(copy, nullptr) << FormatHandle(e->handle) << " in " << target;
        EXPECT_EQ(copy->type_name, e->type_name);
      }
    }
  }
}

TEST(DwgDrawings, SaveDrawingWritesTheEditedDwgAsDxf) {
  const std::filesystem::path dwg = std::filesystem::path(VANTROVE_SHARED_DIR) / "corpus" / "dwg" / "ldwg_example_2000.dwg";
  if (!std::filesystem::exists(dwg)) GTEST_SKIP() << "corpus not present";
  DrawingComponent component;
  int32_t result = 0;
  component.OpenDrawing(result, dwg.string(), "");
  std::string status;
  component.LastStatus(status);
  ASSERT_EQ(result, 1) << status;
  component.SetLayerState("0", 2, 1);
  component.LastStatus(status);
  EXPECT_EQ(status, "1000:Ok");
  testing::TempDir dir;
  const std::string target = (dir / "from_dwg.dxf").string();
  component.SaveAs(target, 2018);
  component.LastStatus(status);
  EXPECT_TRUE(status == "1000:Ok" || status.starts_with("1002:Written as DXF 2018 without what it cannot hold (")) << status;
  ASSERT_TRUE(std::filesystem::exists(target));
  Document back;
  ASSERT_TRUE(ReadDxfFile(target, back).ok());
  ASSERT_NE(back.FindLayer("0"), nullptr);
  EXPECT_FALSE(back.FindLayer("0")->on());
}

}  // namespace
}  // namespace vantrove::engine
