// The normaliser, flattening of every chapter of a description fixture,
// network path names, the tag-list copy and temporary file names.
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "support.hpp"
#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"

namespace vantrove {
namespace {

using testing::CrLf;
using testing::Fixture;
using testing::ReadText;
using testing::TempDir;
using testing::WriteText;

const std::string kHead = CrLf({"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", ""});

// Flattens a copy of the description fixture and returns the target text
// after the declaration and its empty line.
std::string Flat(int chapter, int field, int16_t expected = 1) {
  TempDir dir;
  const std::string source = dir / "description.xml";
  const std::string target = dir / "flat.xml";
  std::filesystem::copy_file(Fixture("description.xml"), source);
  clsVantrove v;
  EXPECT_EQ(v.FlattenXMLfile(source, target, static_cast<ChapterType>(chapter), static_cast<DrawingFieldType>(field)),
            expected);
  const std::string text = ReadText(target);
  EXPECT_EQ(text.substr(0, kHead.size()), kHead);
  return text.substr(std::min(text.size(), kHead.size()));
}

TEST(FixXML, SplitsNamesAndOpensSelfClosingElements) {
  TempDir dir;
  const std::string file = dir / "d.xml";
  WriteText(file, "<Drawing>\r\n  <Block name='*Model_Space'>\r\n<LayoutName NAME=\"A \"\"B\">\n<Empty />\r\n"
                  "<Value>kept as it is</Value>");
  clsVantrove v;
  Variant path(file);
  v.FixXML(path);
  EXPECT_EQ(ReadText(file), CrLf({"<Drawing>", "  <Block>", "<Name>*Model_Space</Name>", "<LayoutName>",
                                  "<Name>A B</Name>", "<Empty></Empty>", "<Value>kept as it is</Value>", ""}));
  Variant missing(dir / "none.xml");
  v.FixXML(missing);  // nothing to do, nothing raised
  EXPECT_FALSE(std::filesystem::exists(dir / "none.xml"));
}

TEST(Flatten, BlocksAndAttributesCarryTheirReference) {
  const std::string flat = Flat(dwgBlocksAndAttributes, dwgPathAndDrawing);
  const std::string first = CrLf({"<Attributes>", "<Attribute>", "<DrawingPath>/srv/plans/Site &amp; Co</DrawingPath>",
                                  "<Drawing>plan.dwg</Drawing>", "<Block>*Model_Space</Block>", "<Layout>Model</Layout>",
                                  "<Name>TITLE</Name>", "<Handle>100</Handle>", "<ElementId>24</ElementId>",
                                  "<LayerName>WALLS</LayerName>", "<X>100</X>", "<Y>50.5</Y>", "<Z>0</Z>",
                                  "<NumberAttributes>2</NumberAttributes>",
                                  "<NumberConstantAttributes>0</NumberConstantAttributes>", "<Rows>2</Rows>",
                                  "<Columns>3</Columns>", "<AttributeHandle>101</AttributeHandle>",
                                  "<AttributeElementId>25</AttributeElementId>", "<AttributeTag>DWGNO</AttributeTag>",
                                  "<AttributeValue>A-101</AttributeValue>", "</Attribute>"});
  EXPECT_EQ(flat.substr(0, first.size()), first);
  EXPECT_NE(flat.find("<AttributeValue>\"B\" &amp; 'C'</AttributeValue>"), std::string::npos);
  // The NOTE reference has no <Rows> line: it keeps the previous reference's.
  const size_t note = flat.find("<Name>NOTE</Name>");
  ASSERT_NE(note, std::string::npos);
  EXPECT_EQ(flat.substr(note).find("<Rows>2</Rows>"), flat.substr(note).find("<Rows>"));
  EXPECT_NE(flat.find("<AttributeValue>caf\xe9</AttributeValue>"), std::string::npos);
  EXPECT_NE(flat.find("<Block>*Paper_Space</Block>\r\n<Layout>Sheet A</Layout>"), std::string::npos);
  size_t records = 0;
  for (size_t at = flat.find("</Attribute>\r\n"); at != std::string::npos; at = flat.find("</Attribute>\r\n", at + 1)) {
    ++records;
  }
  EXPECT_EQ(records, 5u);
  EXPECT_EQ(flat.substr(flat.size() - 29), "</Attribute>\r\n</Attributes>\r\n");
}

TEST(Flatten, BlocksWithoutAttributes) {
  const std::string expected =
      CrLf({"<Attributes>", "<Insert>", "<Drawing>/srv/plans/Site &amp; Co/plan.dwg</Drawing>",
            "<Block>*Model_Space</Block>", "<Layout>Model</Layout>", "", "<Name>TITLE</Name>", "<Handle>100</Handle>",
            "<ElementId>24</ElementId>", "<LayerName>WALLS</LayerName>", "<X>100</X>", "<Y>50.5</Y>", "<Z>0</Z>",
            "<NumberAttributes>2</NumberAttributes>", "<NumberConstantAttributes>0</NumberConstantAttributes>",
            "<Rows>2</Rows>", "<Columns>3</Columns>", "</Insert>", "<Insert>"});
  const std::string flat = Flat(dwgBlocks, dwgDrawingFullName);
  EXPECT_EQ(flat.substr(0, expected.size()), expected);
  EXPECT_EQ(flat.find("Attribute>"), std::string::npos);  // attributes are left out
  EXPECT_EQ(flat.find("InsertionPoint"), std::string::npos);
}

TEST(Flatten, LayersLayoutsReferencesImages) {
  EXPECT_EQ(Flat(dwgLayers, dwgDrawingName),
            CrLf({"<Layers>", "<Layer>", "<LayerName>0</LayerName>", "<Drawing>plan.dwg</Drawing>", "",
                  "<Handle>10</Handle>", "<On>True</On>", "</Layer>", "<Layer>", "<LayerName>WALLS</LayerName>",
                  "<Drawing>plan.dwg</Drawing>", "", "<Handle>11</Handle>", "<On>False</On>", "</Layer>",
                  "</Layers>"}));
  EXPECT_EQ(Flat(dwgLayouts, dwgNone),
            CrLf({"<Layouts>", "<Layout>", "<LayoutName>Model</LayoutName>", "", "<Handle>22</Handle>",
                  "<TabOrder>0</TabOrder>", "</Layout>", "<Layout>", "<LayoutName>Sheet A</LayoutName>", "",
                  "<Handle>1E</Handle>", "<TabOrder>1</TabOrder>", "</Layout>", "</Layouts>"}));
  // The folder of the drawing comes without its trailing separator.
  EXPECT_EQ(Flat(dwgExternalRefs, dwgPathAndDrawing),
            CrLf({"<ExternalReferences>", "<Reference>", "<DrawingPath>/srv/plans/Site &amp; Co</DrawingPath>",
                  "<Drawing>plan.dwg</Drawing>", "", "<Name>GRID</Name>", "<PathName>..\\xref\\grid.dwg</PathName>",
                  "<Loaded>True</Loaded>", "</Reference>", "</ExternalReferences>"}));
  EXPECT_EQ(Flat(dwgImages, dwgNone),
            CrLf({"<Images>", "<Image>", "<Block>*Model_Space</Block>", "", "<Handle>500</Handle>",
                  "<ElementId>50</ElementId>", "<PathName>.\\logo.png</PathName>", "</Image>", "</Images>"}));
  // An out-of-range drawing field is no drawing field.
  EXPECT_EQ(Flat(dwgImages, 9), Flat(dwgImages, dwgNone));
}

TEST(Flatten, TextAndMultiLineTextSplitOneChapter) {
  EXPECT_EQ(Flat(dwgText, dwgDrawingName),
            CrLf({"<TextLiterals>", "<Text>", "<Drawing>plan.dwg</Drawing>", "<Block>*Model_Space</Block>",
                  "<Layout>Model</Layout>", "", "<Value>Hello &#61; world</Value>", "<Handle>600</Handle>",
                  "<ElementId>60</ElementId>", "</Text>", "<Text>", "<Drawing>plan.dwg</Drawing>",
                  "<Block>DETAIL</Block>", "<Layout></Layout>", "", "<Value>inside a block</Value>",
                  "<Handle>700</Handle>", "<ElementId>70</ElementId>", "</Text>", "</TextLiterals>"}));
  EXPECT_EQ(Flat(dwgMultiLineText, dwgNone),
            CrLf({"<TextLiterals>", "<MText>", "<Block>*Model_Space</Block>", "<Layout>Model</Layout>", "",
                  "<Value>{\\fArial;Room}\\P101</Value>", "<Handle>601</Handle>", "<PlainText>Room&#10;101</PlainText>",
                  "</MText>", "</TextLiterals>"}));
}

TEST(Flatten, AttributeDefinitionsReadTheSourceAsWritten) {
  TempDir dir;
  const std::string source = dir / "description.xml";
  std::filesystem::copy_file(Fixture("description.xml"), source);
  const std::string before = ReadText(source);
  clsVantrove v;
  EXPECT_EQ(v.FlattenXMLfile(source, dir / "flat.xml", dwgAttributeDefs, dwgPathAndDrawing), 1);
  EXPECT_EQ(ReadText(source), before);  // not normalised
  EXPECT_EQ(ReadText(dir / "flat.xml"),
            kHead + CrLf({"<AttributeDefinitions>", "<AttributeDefinition>",
                          "<DrawingPath>/srv/plans/Site &amp; Co</DrawingPath>\r\n<Drawing>plan.dwg</Drawing>\r\n"
                          "<Block>TITLE</Block>",
                          "<Handle>300</Handle>", "<AttributeTag>DWGNO</AttributeTag>",
                          "<AttributePrompt>Drawing number</AttributePrompt>", "</AttributeDefinition>",
                          "<AttributeDefinition>", "<DrawingPath>/srv/plans/Site &amp; Co</DrawingPath>",
                          "<Drawing>plan.dwg</Drawing>", "<Block>TITLE</Block>", "<Handle>301</Handle>",
                          "<AttributeTag>REV</AttributeTag>", "<AttributePrompt>Revision</AttributePrompt>",
                          "</AttributeDefinition>", "</AttributeDefinitions>"}));
  // Every other chapter normalises the source in place.
  EXPECT_EQ(v.FlattenXMLfile(source, dir / "flat.xml", dwgLayers, dwgNone), 1);
  EXPECT_NE(ReadText(source).find("<Block>\r\n<Name>*Model_Space</Name>\r\n"), std::string::npos);
}

TEST(Flatten, DrawingInformationDropsCustomProperties) {
  EXPECT_EQ(Flat(dwgDrawingInfo, dwgNone),
            CrLf({"<DrawingInformation>", "<DatabaseFilename>/srv/plans/Site &amp; Co/plan.dwg</DatabaseFilename>",
                  "<FileVersion>AC1018</FileVersion>", "<NumberOfLayers>2</NumberOfLayers>",
                  "</DrawingInformation>"}));
}

TEST(Flatten, MissingSourceAbsentChapterAndTwin) {
  TempDir dir;
  clsVantrove v;
  EXPECT_EQ(v.FlattenXMLfile(dir / "none.xml", dir / "flat.xml", dwgLayers, dwgNone), -1);
  EXPECT_FALSE(std::filesystem::exists(dir / "flat.xml"));
  // A chapter the description does not hold: only the declaration.
  WriteText(dir / "layers-only.xml", CrLf({"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "", "<Drawing>",
                                          "<DrawingInformation>", "<DatabaseFilename>/a/b.dwg</DatabaseFilename>",
                                          "</DrawingInformation>", "</Drawing>"}));
  EXPECT_EQ(v.FlattenXMLfile(dir / "layers-only.xml", dir / "flat.xml", dwgImages, dwgDrawingName), 1);
  EXPECT_EQ(ReadText(dir / "flat.xml"), kHead);
  // The twin takes variants, numbers as text included.
  std::filesystem::copy_file(Fixture("description.xml"), dir / "d.xml");
  Variant source(dir / "d.xml"), target(dir / "web.xml"), chapter("1"), field(int16_t{1});
  EXPECT_EQ(v.Web_FlattenXMLfile(source, target, chapter, field), 1);
  EXPECT_EQ(ReadText(dir / "web.xml"), kHead + Flat(dwgLayers, dwgDrawingName));
  Variant bad = Variant::Null();
  EXPECT_EQ(v.Web_FlattenXMLfile(source, target, bad, field), -2);
}

TEST(Flatten, LineTestsAndTheCustomBlockLimit) {
  TempDir dir;
  std::vector<std::string_view> lines = {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "", "<Drawing>",
                                         "<DrawingInformation>",
                                         "<DatabaseFilename>C:\\plans\\site\\a.dwg</DatabaseFilename>",
                                         "<Custom>"};
  std::vector<std::string> custom;
  for (int i = 1; i <= 22; ++i) custom.push_back("<P" + std::to_string(i) + ">x</P" + std::to_string(i) + ">");
  for (const std::string& c : custom) lines.push_back(c);
  for (std::string_view l : {"</Custom>", "</DrawingInformation>", "<TextLiterals>", "<LayoutName name='Model'>",
                             "<Block name='*Model_Space'>", "<Text>", "<Value>a</Value>", "</Text>", "</block>",
                             "  <Block>  ", "<Name>B2</Name>", "<Text>", "<Value>b</Value>", "</Text>", "</Block>",
                             "</LayoutName>", "</TextLiterals>", "</Drawing>"}) {
    lines.push_back(l);
  }
  std::string text;
  for (std::string_view l : lines) text.append(l).append("\r\n");
  WriteText(dir / "d.xml", text);
  clsVantrove v;
  ASSERT_EQ(v.FlattenXMLfile(dir / "d.xml", dir / "info.xml", dwgDrawingInfo, dwgNone), 1);
  // The custom block is dropped for 20 lines only; what follows is read as usual.
  EXPECT_EQ(ReadText(dir / "info.xml"),
            kHead + CrLf({"<DrawingInformation>", "<DatabaseFilename>C:\\plans\\site\\a.dwg</DatabaseFilename>",
                          "<P21>x</P21>", "<P22>x</P22>", "</Custom>", "</DrawingInformation>"}));
  // Both separators split the drawing's path; "</block>" is not the exact
  // line "</Block>" and stays, "  <Block>  " trimmed opens a block.
  ASSERT_EQ(v.FlattenXMLfile(dir / "d.xml", dir / "text.xml", dwgText, dwgPathAndDrawing), 1);
  const std::string flat = ReadText(dir / "text.xml");
  EXPECT_NE(flat.find("<DrawingPath>C:\\plans\\site</DrawingPath>\r\n<Drawing>a.dwg</Drawing>"), std::string::npos);
  EXPECT_NE(flat.find("</Text>\r\n</block>\r\n<Text>"), std::string::npos);
  EXPECT_NE(flat.find("<Block>B2</Block>\r\n<Layout>Model</Layout>\r\n\r\n<Value>b</Value>"), std::string::npos);
}

// ---- Network paths -------------------------------------------------------------------------

class NetworkPaths : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteText(dir_ / "mounts",
              "/dev/sda1 / ext4 rw,relatime 0 0\n"
              "//fs01/plans /srv/plans cifs rw,vers=3.0 0 0\n"
              "nas:/export/cad /mnt/cad nfs4 rw 0 0\n"
              "//fs01/deep\\040share /srv/with\\040space smb3 rw 0 0\n"
              "tmpfs /srv/plans/local tmpfs rw 0 0\n"
              "odd /mnt/odd nfs rw 0 0\n");
    extract::SetMountTableOverride(dir_ / "mounts");
  }
  void TearDown() override { extract::SetMountTableOverride(std::nullopt); }
  TempDir dir_;
};

TEST_F(NetworkPaths, SharesReplaceMountPoints) {
  EXPECT_EQ(extract::UncPath("/srv/plans/Site & Co/plan.dwg"), "//fs01/plans/Site & Co/plan.dwg");
  EXPECT_EQ(extract::UncPath("/mnt/cad/a.dwg"), "//nas/export/cad/a.dwg");
  EXPECT_EQ(extract::UncPath("/srv/with space/x.dwg"), "//fs01/deep share/x.dwg");
  EXPECT_EQ(extract::UncPath("/srv/plans/local/x.dwg"), "/srv/plans/local/x.dwg");  // a local mount inside
  EXPECT_EQ(extract::UncPath("/srv/plansX/y.dwg"), "/srv/plansX/y.dwg");
  const extract::NetworkPathResult ok = extract::NetworkPathLookup("/mnt/cad/a.dwg");
  EXPECT_EQ(ok.code, 0);
  EXPECT_EQ(ok.unc, "//nas/export/cad");
  EXPECT_EQ(ok.mountPoint, "/mnt/cad");
  EXPECT_EQ(ok.error, "");
}

TEST_F(NetworkPaths, LookupErrorsInTheirWords) {
  const std::pair<std::string, std::pair<int32_t, std::string>> cases[] = {
      {"/home/me/x.dwg", {2250, "The drive is Not connected"}},
      {"relative/x.dwg", {87, "Invalid local device name"}},
      {"C:\\plans\\x.dwg", {87, "Invalid local device name"}},
      {"/mnt/odd/x.dwg", {487, "The network path is invalid"}},
  };
  for (const auto& [path, expected] : cases) {
    const extract::NetworkPathResult r = extract::NetworkPathLookup(path);
    EXPECT_EQ(r.code, expected.first) << path;
    EXPECT_EQ(r.error, expected.second) << path;
    EXPECT_EQ(r.unc, "") << path;
  }
  EXPECT_EQ(extract::NetworkErrorText(8), "The System is Out of Memory.");
  EXPECT_EQ(extract::NetworkErrorText(59), "An error occurred On the network");
  EXPECT_EQ(extract::NetworkErrorText(234), "The buffer was too small to return the file service name");
  EXPECT_EQ(extract::NetworkErrorText(1234), "Unrecognized Error - 1234.");
  extract::SetMountTableOverride(dir_ / "no-such-table");
  EXPECT_EQ(extract::NetworkPathLookup("/srv/plans/x").code, 50);
  EXPECT_EQ(extract::NetworkPathLookup("/srv/plans/x").error, "This Function is Not supported");
}

TEST_F(NetworkPaths, UncDrawingColumns) {
  EXPECT_NE(Flat(dwgLayers, dwgUNCDrawingFullName).find("<Drawing>//fs01/plans/Site &amp; Co/plan.dwg</Drawing>"),
            std::string::npos);
  const std::string both = Flat(dwgLayers, dwgUNCPathAndDrawing);
  EXPECT_NE(both.find("<DrawingPath>//fs01/plans/Site &amp; Co</DrawingPath>\r\n<Drawing>plan.dwg</Drawing>"),
            std::string::npos);
  EXPECT_NE(Flat(dwgDrawingInfo, dwgUNCDrawingFullName)
                .find("<DatabaseFilename>//fs01/plans/Site &amp; Co/plan.dwg</DatabaseFilename>"),
            std::string::npos);
  // Only field 4 renames the database file name of the drawing information.
  EXPECT_NE(Flat(dwgDrawingInfo, dwgUNCPathAndDrawing).find("<DatabaseFilename>/srv/plans/"), std::string::npos);
}

// ---- The tag-list copy -------------------------------------------------------------------------

TEST(TaggedCopy, KeepsOnlyListedTagsWithoutCase) {
  TempDir dir;
  std::filesystem::copy_file(Fixture("description.xml"), dir / "d.xml");
  clsVantrove v;
  ASSERT_EQ(v.FlattenXMLfile(dir / "d.xml", dir / "flat.xml", dwgBlocksAndAttributes, dwgNone), 1);
  ASSERT_TRUE(extract::CopyTaggedAttributeRecords(dir / "flat.xml", dir / "rev.xml", {"rev", "TEXT"}));
  const std::string kept = ReadText(dir / "rev.xml");
  EXPECT_EQ(kept.find("<AttributeTag>DWGNO</AttributeTag>"), std::string::npos);
  EXPECT_NE(kept.find("<AttributeTag>REV</AttributeTag>"), std::string::npos);
  EXPECT_NE(kept.find("<AttributeTag>TEXT</AttributeTag>"), std::string::npos);
  EXPECT_EQ(kept.substr(0, kHead.size() + 14), kHead + "<Attributes>\r\n");
  EXPECT_EQ(kept.substr(kept.size() - 15), "</Attributes>\r\n");
  // A tag matches the whole element text only.
  ASSERT_TRUE(extract::CopyTaggedAttributeRecords(dir / "flat.xml", dir / "part.xml", {"RE"}));
  EXPECT_EQ(ReadText(dir / "part.xml").find("<Attribute>"), std::string::npos);
  EXPECT_FALSE(extract::CopyTaggedAttributeRecords(dir / "none.xml", dir / "x.xml", {"REV"}));
}

// ---- Temporary names ------------------------------------------------------------------------------

TEST(TempNames, TimeStampedAndFree) {
  EXPECT_EQ(extract::TimeStampName(2024, 3, 9, 7, 5, 4), "03092024070504");
  EXPECT_EQ(extract::TimeStampName(1999, 12, 31, 23, 59, 58), "12311999235958");
  TempDir dir;
  const std::string saved = extract::TempFolder();
  extract::SetTempFolderOverride(dir.path().string());
  const std::string first = extract::TempXmlFileName();
  const std::string name = std::filesystem::path(first).filename().string();
  EXPECT_EQ(name.size(), 18u) << name;
  EXPECT_EQ(name.find_first_not_of("0123456789"), 14u) << name;
  EXPECT_EQ(name.substr(14), ".xml");
  EXPECT_EQ(std::filesystem::path(first).parent_path(), dir.path());
  // The name is claimed by an empty file; the next name waits for the clock
  // to move on.
  EXPECT_TRUE(std::filesystem::exists(first));
  EXPECT_FALSE(extract::WrittenFile(first));
  WriteText(first, "x");
  EXPECT_TRUE(extract::WrittenFile(first));
  const std::string second = extract::TempXmlFileName();
  EXPECT_NE(second, first);
  EXPECT_TRUE(std::filesystem::is_empty(second));
  extract::SetTempFolderOverride(std::nullopt);
  // By default: the library's own folder when it can be written to.
  const std::string library = extract::LibraryFolder();
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(library) / "libvantrove.so")) << library;
  EXPECT_EQ(extract::TempFolder(), library);
  extract::SetTempFolderOverride(saved);
}

// Workers sharing the library's folder (processes of a cluster, threads of a
// host) ask for names in the same second: each must get a name of its own,
// or one description is written over another's.
TEST(TempNames, SimultaneousClaimsNeverShareAName) {
  TempDir dir;
  const std::string saved = extract::TempFolder();
  extract::SetTempFolderOverride(dir.path().string());
  constexpr int kThreads = 4;  // a name a second: a few seconds at most
  constexpr int kEach = 1;
  std::vector<std::vector<std::string>> names(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&names, t] {
      for (int i = 0; i < kEach; ++i) names[t].push_back(extract::TempFileName(".csv"));
    });
  }
  for (std::thread& t : threads) t.join();
  std::set<std::string> distinct;
  for (const auto& list : names) distinct.insert(list.begin(), list.end());
  EXPECT_EQ(distinct.size(), size_t{kThreads * kEach});
  for (const std::string& n : distinct) EXPECT_EQ(std::filesystem::path(n).extension(), ".csv") << n;
  extract::SetTempFolderOverride(saved);
}

}  // namespace
}  // namespace vantrove
