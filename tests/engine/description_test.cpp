// The XML description: encoding rules and the line layout that the
// line-by-line readers rely on.

#include <gtest/gtest.h>

#include "description_reader.hpp"
#include "test_support.hpp"
#include "vantrove/engine/description.hpp"

namespace vantrove::engine {
namespace {

using testing::Fixture;
using testing::Node;

TEST(DescriptionEscaping, ValuesNeverLookLikeMarkup) {
  EXPECT_EQ(EscapeDescriptionValue("a&b<c>d\"e'f=g"), "a&amp;b&lt;c&gt;d&quot;e&apos;f&#61;g");
  EXPECT_EQ(EscapeDescriptionValue("one\r\ntwo\tthree"), "one&#13;&#10;two&#9;three");
  EXPECT_EQ(EscapeDescriptionValue("x name='y' />"), "x name&#61;&apos;y&apos; /&gt;");
}

TEST(DescriptionEscaping, Latin1AsBytesWiderCharactersAsReferences) {
  EXPECT_EQ(EscapeDescriptionValue("\xC3\xA9t\xC3\xA9"), "\xE9t\xE9");                // été
  EXPECT_EQ(EscapeDescriptionValue("\xE2\x80\x94 \xE5\xA3\x81"), "&#8212; &#22721;");  // — 壁
  EXPECT_EQ(EscapeDescriptionValue("\xF0\x9F\x98\x80"), "&#128512;");
  EXPECT_EQ(EscapeDescriptionValue("\xC2\x85"), "&#133;");  // C1 control as a reference
  // Malformed UTF-8 and characters XML cannot carry become U+FFFD.
  EXPECT_EQ(EscapeDescriptionValue("a\xFF" "b\xC3"), "a&#65533;b&#65533;");
  EXPECT_EQ(EscapeDescriptionValue(std::string("a\x01z", 3)), "a&#65533;z");
}

class DescriptionLayout : public ::testing::Test {
 protected:
  void SetUp() override {
    Status status = ReadDxfFile(Fixture("r2018_ascii.dxf").string(), doc_);
    ASSERT_TRUE(status.ok()) << status.Text();
  }
  std::string Text(const DescriptionSections& sections) { return DescriptionText(doc_, sections); }
  static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
      size_t end = text.find("\r\n", start);
      lines.push_back(text.substr(start, end - start));
      start = end + 2;
    }
    return lines;
  }
  Document doc_;
};

TEST_F(DescriptionLayout, NoSectionsStillHasTheDrawingInformation) {
  const auto lines = Lines(Text({}));
  ASSERT_GE(lines.size(), 6u);
  EXPECT_EQ(lines[0], "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>");
  EXPECT_EQ(lines[1], "");
  EXPECT_EQ(lines[2], "<Drawing>");
  EXPECT_EQ(lines[3], "<DrawingInformation>");
  EXPECT_EQ(lines[4], "<DatabaseFilename>" + Fixture("r2018_ascii.dxf").lexically_normal().string() + "</DatabaseFilename>");
  EXPECT_EQ(lines.back(), "</Drawing>");
  EXPECT_EQ(Text({}).find("<Layers>"), std::string::npos);
}

TEST_F(DescriptionLayout, EveryLineIsOneElementAndTheTreeIsComplete) {
  const std::string text = Text({true, true, true, true, true, true, true, true});
  std::string error;
  Node root = testing::ParseDescription(text, error);
  ASSERT_EQ(error, "");
  const Node& drawing = root.children.at(0);
  std::vector<std::string> chapters;
  for (const Node& child : drawing.children) chapters.push_back(child.tag);
  EXPECT_EQ(chapters, (std::vector<std::string>{"DrawingInformation", "Layers", "Layouts", "Attributes",
                                                "AttributeDefinitions", "ExternalReferences", "SystemVariables",
                                                "Images", "TextLiterals"}));
  // Layer flags and names with characters beyond Latin-1.
  const Node& layers = *drawing.Child("Layers");
  ASSERT_EQ(layers.children.size(), 4u);
  EXPECT_EQ(layers.children[1].Leaf("Frozen"), "True");
  EXPECT_EQ(layers.children[2].Leaf("On"), "False");
  EXPECT_EQ(layers.children[2].Leaf("Color"), "3");
  EXPECT_EQ(layers.children[3].Leaf("LayerName"), "\xE5\x9B\xBE\xE5\xB1\x82 \xCE\xA9=1");
  EXPECT_EQ(layers.children[3].Leaf("Locked"), "True");
  // External reference and image.
  const Node& reference = drawing.Child("ExternalReferences")->children.at(0);
  EXPECT_EQ(reference.Leaf("Name"), "SITE_PLAN");
  EXPECT_EQ(reference.Leaf("PathName"), "..\\xrefs\\site plan.dwg");
  const Node& images = *drawing.Child("Images");
  ASSERT_EQ(images.children.size(), 1u);
  EXPECT_EQ(images.children[0].name, "*Model_Space");
  const Node& image = images.children[0].children.at(0);
  ASSERT_GE(image.leaves.size(), 3u);
  EXPECT_EQ(image.leaves[0], std::make_pair(std::string("Handle"), std::string("107")));
  EXPECT_EQ(image.leaves[1].first, "ElementId");
  EXPECT_EQ(image.leaves[2], std::make_pair(std::string("PathName"), std::string("..\\branding\\logo.png")));
  // Text records: Value before Handle; MText Value, Handle, PlainText; paper text under its layout.
  const Node& texts = *drawing.Child("TextLiterals");
  ASSERT_EQ(texts.children.size(), 2u);
  EXPECT_EQ(texts.children[0].name, "Model");
  EXPECT_EQ(texts.children[1].name, "Layout1");
  const Node& model_block = texts.children[0].children.at(0);
  EXPECT_EQ(model_block.name, "*Model_Space");
  const Node& single = model_block.children.at(0);
  EXPECT_EQ(single.tag, "Text");
  EXPECT_EQ(single.leaves[0], std::make_pair(std::string("Value"), std::string("\xE4\xB8\xAD\xE6\x96\x87 text")));
  EXPECT_EQ(single.leaves[1].first, "Handle");
  EXPECT_EQ(single.leaves[2].first, "ElementId");
  const Node& mtext = model_block.children.at(1);
  EXPECT_EQ(mtext.tag, "MText");
  EXPECT_EQ(mtext.leaves[0].first, "Value");
  EXPECT_EQ(mtext.leaves[0].second.substr(0, 19), "{\\fArial|b1;Hello} ");
  EXPECT_EQ(mtext.leaves[1].first, "Handle");
  EXPECT_EQ(mtext.leaves[2].first, "PlainText");
  EXPECT_EQ(mtext.leaves[2].second.substr(0, 12), "Hello \nworld");
  EXPECT_EQ(texts.children[1].children.at(0).children.at(0).Leaf("Value"), "paper note");
  // System variables are free-form leaves.
  EXPECT_EQ(drawing.Child("SystemVariables")->Leaf("ACADVER"), "AC1032");
}

TEST_F(DescriptionLayout, InsertsHoldExactlyTheirLeavesThenSixLineAttributes) {
  const auto lines = Lines(Text({.blocks = true}));
  auto at = std::find(lines.begin(), lines.end(), "<Insert>");
  ASSERT_NE(at, lines.end());
  ASSERT_EQ(*(at - 2), "<LayoutName name='Model'>");
  ASSERT_EQ(*(at - 1), "<Block name='*Model_Space'>");
  const std::vector<std::string> expected = {
      "<Insert>",
      "<Name>TITLE</Name>",
      "<Handle>100</Handle>",
      "<ElementId>" + std::to_string(doc_.Find("100")->element_id) + "</ElementId>",
      "<LayerName>WALLS</LayerName>",
      "<InsertionPoint>",
      "<X>100</X>",
      "<Y>50.5</Y>",
      "<Z>0</Z>",
      "</InsertionPoint>",
      "<NumberAttributes>2</NumberAttributes>",
      "<NumberConstantAttributes>1</NumberConstantAttributes>",
      "<Rows>1</Rows>",
      "<Columns>1</Columns>",
      "<Attribute>",
      "<Handle>101</Handle>",
      "<ElementId>" + std::to_string(doc_.Find("101")->element_id) + "</ElementId>",
      "<AttributeTag>DWGNO</AttributeTag>",
      "<AttributeValue>A-101</AttributeValue>",
      "</Attribute>",
      "<Attribute>",
      "<Handle>102</Handle>",
      "<ElementId>" + std::to_string(doc_.Find("102")->element_id) + "</ElementId>",
      "<AttributeTag>REV</AttributeTag>",
      "<AttributeValue>Size &#61; 5 &lt;mm&gt; &amp; &quot;more&quot; &#8212; \xE9t\xE9</AttributeValue>",
      "</Attribute>",
      "</Insert>",
  };
  EXPECT_EQ(std::vector<std::string>(at, at + static_cast<long>(expected.size())), expected);
  // The grid insert reports its rows and columns.
  EXPECT_NE(std::find(lines.begin(), lines.end(), "<Rows>2</Rows>"), lines.end());
  EXPECT_NE(std::find(lines.begin(), lines.end(), "<Columns>3</Columns>"), lines.end());
  // The paper layout appears even without references, then closes.
  auto paper = std::find(lines.begin(), lines.end(), "<LayoutName name='Layout1'>");
  ASSERT_NE(paper, lines.end());
  EXPECT_EQ(*(paper + 1), "</LayoutName>");
}

TEST_F(DescriptionLayout, AttributeDefinitionBlocksUseTheExactNameLine) {
  const auto lines = Lines(Text({.attribute_definitions = true}));
  auto at = std::find(lines.begin(), lines.end(), "<Block name='TITLE'>");
  ASSERT_NE(at, lines.end());
  EXPECT_EQ(*(at + 1), "<AttributeDefinition>");
  EXPECT_EQ(*(at + 2), "<Handle>31</Handle>");
  EXPECT_EQ(*(at + 3), "<AttributeTag>DWGNO</AttributeTag>");
  EXPECT_EQ(*(at + 4), "<AttributePrompt>Drawing number?</AttributePrompt>");
  EXPECT_EQ(*(at + 5), "<AttributeValue>X-000</AttributeValue>");
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "<Constant>True</Constant>"), 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "<Preset>True</Preset>"), 1);
}

TEST(DescriptionFile, WritesThroughATemporaryFileAndReportsFailures) {
  Document doc;
  ASSERT_TRUE(ReadDxfFile(Fixture("r12_codepage1252.dxf").string(), doc).ok());
  testing::TempDir dir;
  const auto target = dir / "out.xml";
  std::ofstream(target) << "old content";
  Status status = WriteDescriptionFile(doc, {.layers = true}, target.string());
  ASSERT_TRUE(status.ok()) << status.Text();
  const std::string written = testing::ReadBytes(target);
  EXPECT_EQ(written.rfind("<?xml", 0), 0u);
  EXPECT_NE(written.find("<LayerName>WALLS</LayerName>\r\n"), std::string::npos);
  size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) files += entry.is_regular_file();
  EXPECT_EQ(files, 1u);  // no temporary file left behind

  // The description is written the way every replaced file is: a missing
  // folder is named as such, as for the DXF writer.
  status = WriteDescriptionFile(doc, {}, (dir / "missing" / "out.xml").string());
  EXPECT_EQ(status.code, StatusCode::kFolderNotFound);
  EXPECT_NE(status.Text().find((dir / "missing").string()), std::string::npos);
  EXPECT_EQ(WriteDescriptionFile(doc, {}, dir.path().string()).code, StatusCode::kCannotWriteFile);
  EXPECT_EQ(WriteDescriptionFile(doc, {}, "").code, StatusCode::kCannotWriteFile);
}

}  // namespace
}  // namespace vantrove::engine
