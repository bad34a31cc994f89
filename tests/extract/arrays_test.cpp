// XMLfileToArray, FlatXMLfileToArray, XMLFileToRecordset and
// CreateBlockAttributeArray with their twins: shapes, headings, field
// selection, filters, and what bad input gives.
#include <gtest/gtest.h>

#include "support.hpp"
#include "vantrove/component.hpp"
#include "vantrove/extract.hpp"
#include "vantrove/recordset.hpp"

namespace vantrove {
namespace {

using testing::CrLf;
using testing::Fixture;
using testing::ReadText;
using testing::Rows;
using testing::Table;
using testing::TempDir;
using testing::WriteText;

Variant List(std::initializer_list<const char*> names, int32_t lower = 0) {
  std::vector<Variant> items;
  for (const char* n : names) items.emplace_back(n);
  return Variant(SafeArray::Vector(std::move(items), lower));
}

// XMLfileToArray over a copy of the description fixture. No drawing is open,
// so the component writes nothing and the copy is what is read.
class DescriptionArrays : public ::testing::Test {
 protected:
  int16_t Read(int chapter, bool headings, const std::string& filter = "", const Variant& fields = Variant::Missing(),
               int field = 0, const std::string& fixture = "description.xml") {
    std::filesystem::copy_file(Fixture(fixture), file_, std::filesystem::copy_options::overwrite_existing);
    return v_.XMLfileToArray(file_, static_cast<ChapterType>(chapter), array_, headings, filter, fields,
                             static_cast<DrawingFieldType>(field));
  }
  TempDir dir_;
  std::string file_ = dir_ / "d.xml";
  clsVantrove v_;
  Variant array_;
};

TEST_F(DescriptionArrays, ChapterRowsWithHeadingsAndDrawingColumns) {
  ASSERT_EQ(Read(dwgLayers, true, "", Variant::Missing(), dwgPathAndDrawing), 1);
  EXPECT_EQ(Rows(array_), (Table{{"LayerName", "DrawingPath", "Drawing", "Handle", "On"},
                                 {"0", "/srv/plans/Site & Co", "plan.dwg", "10", "True"},
                                 {"WALLS", "/srv/plans/Site & Co", "plan.dwg", "11", "False"}}));
  // The file now holds the flat chapter.
  EXPECT_EQ(ReadText(file_).find("<DrawingInformation>"), std::string::npos);
  ASSERT_EQ(Read(dwgText, false), 1);
  EXPECT_EQ(Rows(array_), (Table{{"*Model_Space", "Model", "Hello = world", "600", "60"},
                                 {"DETAIL", "", "inside a block", "700", "70"}}));
  ASSERT_EQ(Read(dwgDrawingInfo, true), 1);
  EXPECT_EQ(Rows(array_), (Table{{"DatabaseFilename", "FileVersion", "NumberOfLayers"},
                                 {"/srv/plans/Site & Co/plan.dwg", "AC1018", "2"}}));
}

TEST_F(DescriptionArrays, FieldSelectionKeepsRecordOrder) {
  ASSERT_EQ(Read(dwgLayers, true, "", List({"On", "layername"}), dwgPathAndDrawing), 1);
  EXPECT_EQ(Rows(array_), (Table{{"LayerName", "DrawingPath", "Drawing", "On"},
                                 {"0", "/srv/plans/Site & Co", "plan.dwg", "True"},
                                 {"WALLS", "/srv/plans/Site & Co", "plan.dwg", "False"}}));
  // A name the records lack gives no column; the array keeps its width.
  ASSERT_EQ(Read(dwgLayers, false, "", List({"Nope", "LayerName"})), 1);
  EXPECT_EQ(Rows(array_), (Table{{"0", "(empty)"}, {"WALLS", "(empty)"}}));
  // One name as text: a list of one, which a drawing column joins.
  ASSERT_EQ(Read(dwgLayers, true, "", Variant("LayerName"), dwgDrawingName), 1);
  EXPECT_EQ(Rows(array_), (Table{{"LayerName", "Drawing"}, {"0", "plan.dwg"}, {"WALLS", "plan.dwg"}}));
  ASSERT_EQ(Read(dwgLayers, false, "", Variant("handle")), 1);
  EXPECT_EQ(Rows(array_), (Table{{"10"}, {"11"}}));
  // The last column is the list's upper bound.
  ASSERT_EQ(Read(dwgLayers, false, "", List({"Handle"}, 1)), 1);
  EXPECT_EQ(Rows(array_), (Table{{"10", "(empty)"}, {"11", "(empty)"}}));
}

TEST_F(DescriptionArrays, FiltersNarrowTheRows) {
  ASSERT_EQ(Read(dwgBlocksAndAttributes, true, "Name = 'title' AND Layout = 'Sheet A'",
                 List({"AttributeTag", "AttributeValue"})),
            1);
  EXPECT_EQ(Rows(array_), (Table{{"AttributeTag", "AttributeValue"}, {"DWGNO", "A-102"}, {"REV", "C"}}));
  ASSERT_EQ(Read(dwgBlocksAndAttributes, false, "LayerName = 'walls'", List({"AttributeValue"})), 1);
  EXPECT_EQ(Rows(array_), (Table{{"A-101"}, {"\"B\" & 'C'"}}));
  ASSERT_EQ(Read(dwgBlocksAndAttributes, false, "AttributeValue LIKE 'caf%'", List({"Handle"})), 1);
  EXPECT_EQ(Rows(array_), (Table{{"104"}}));
  ASSERT_EQ(Read(dwgText, false, "Value LIKE '*WORLD' OR Layout = ''", List({"Handle"})), 1);
  EXPECT_EQ(Rows(array_), (Table{{"600"}, {"700"}}));
}

TEST_F(DescriptionArrays, BadInputGivesTheResultCodes) {
  EXPECT_EQ(v_.XMLfileToArray(dir_ / "none.xml", dwgLayers, array_), -1);
  EXPECT_TRUE(array_.IsEmpty());
  array_ = Variant("before");
  EXPECT_EQ(Read(dwgLayers, true, "LayerName = 'x"), 0);  // does not parse
  EXPECT_EQ(CStr(array_), "before");
  EXPECT_EQ(Read(dwgLayers, true, "Colour = 'red'"), 0);  // no such field
  EXPECT_EQ(CStr(array_), "before");

  // An empty chapter: one row of names (none) with headings, no rows without.
  WriteText(file_, CrLf({"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "", "<Drawing>", "<DrawingInformation>",
                         "<DatabaseFilename>/a/b.dwg</DatabaseFilename>", "</DrawingInformation>", "<Layers>",
                         "</Layers>", "</Drawing>"}));
  std::filesystem::copy_file(file_, dir_ / "empty.xml");
  ASSERT_EQ(v_.XMLfileToArray(file_, dwgLayers, array_, true), 1);
  EXPECT_EQ(array_.array().bounds(), (std::vector<Bounds>{{0, 0}, {0, -1}}));
  std::filesystem::copy_file(dir_ / "empty.xml", file_, std::filesystem::copy_options::overwrite_existing);
  ASSERT_EQ(v_.XMLfileToArray(file_, dwgLayers, array_, false), 1);
  EXPECT_EQ(array_.array().bounds(), (std::vector<Bounds>{{0, -1}, {0, -1}}));

  // A description cut short is not XML the reader accepts.
  WriteText(file_, CrLf({"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "", "<Drawing>", "<Layers>", "<Layer>",
                         "<LayerName>0</LayerName>"}));
  array_ = Variant();
  EXPECT_EQ(v_.XMLfileToArray(file_, dwgLayers, array_, true), 0);
  EXPECT_TRUE(array_.IsEmpty());
}

TEST_F(DescriptionArrays, TwinTakesVariants) {
  std::filesystem::copy_file(Fixture("description.xml"), file_);
  Variant file(file_), chapter("6"), headings(true), filter(""), fields = Variant::Missing();
  ASSERT_EQ(v_.Web_XMLfileToArray(file, chapter, array_, headings, filter, fields, Variant(int32_t{1})), 1);
  EXPECT_EQ(Rows(array_), (Table{{"LayoutName", "Drawing", "Handle", "TabOrder"},
                                 {"Model", "plan.dwg", "22", "0"},
                                 {"Sheet A", "plan.dwg", "1E", "1"}}));
  Variant null = Variant::Null();
  EXPECT_EQ(v_.Web_XMLfileToArray(null, chapter, array_, headings, filter, fields, Variant(int32_t{1})), 0);
  // Late bound, with the declared defaults filling what is left out.
  std::filesystem::copy_file(Fixture("description.xml"), file_, std::filesystem::copy_options::overwrite_existing);
  std::vector<Variant> args = {Variant(file_), Variant(int32_t{dwgImages}), Variant()};
  const InvokeResult r = v_.Invoke("XMLfileToArray", args);
  ASSERT_TRUE(r.ok) << r.description;
  EXPECT_EQ(CLng(r.value), 1);
  EXPECT_EQ(Rows(args[2]), (Table{{"*Model_Space", "500", "50", ".\\logo.png"}}));
}

// ---- FlatXMLfileToArray ------------------------------------------------------------------

class FlatArrays : public ::testing::Test {
 protected:
  std::string Flat(int chapter, int field) {
    std::filesystem::copy_file(Fixture("description.xml"), dir_ / "d.xml",
                               std::filesystem::copy_options::overwrite_existing);
    const std::string target = dir_ / ("flat" + std::to_string(chapter) + ".xml");
    EXPECT_EQ(v_.FlattenXMLfile(dir_ / "d.xml", target, static_cast<ChapterType>(chapter),
                                static_cast<DrawingFieldType>(field)),
              1);
    return target;
  }
  TempDir dir_;
  clsVantrove v_;
  Variant array_;
};

TEST_F(FlatArrays, RecordsAndTheSingleDrawingRecord) {
  ASSERT_EQ(v_.FlatXMLfileToArray(Flat(dwgLayers, dwgDrawingName), array_, true), 1);
  EXPECT_EQ(Rows(array_), (Table{{"LayerName", "Drawing", "Handle", "On"},
                                 {"0", "plan.dwg", "10", "True"},
                                 {"WALLS", "plan.dwg", "11", "False"}}));
  ASSERT_EQ(v_.FlatXMLfileToArray(Flat(dwgDrawingInfo, dwgNone), array_, false), 1);
  EXPECT_EQ(Rows(array_), (Table{{"/srv/plans/Site & Co/plan.dwg", "AC1018", "2"}}));
  ASSERT_EQ(v_.FlatXMLfileToArray(Flat(dwgBlocksAndAttributes, dwgNone), array_, true), 1);
  const Table rows = Rows(array_);
  ASSERT_EQ(rows.size(), 6u);
  EXPECT_EQ(rows[0].size(), 17u);
  EXPECT_EQ(rows[0][16], "AttributeValue");
  EXPECT_EQ(rows[3][16], "café");  // Latin-1 as declared
  EXPECT_EQ(rows[2][16], "\"B\" & 'C'");
  Variant file(Flat(dwgLayers, dwgNone)), headings = Variant::Missing();
  ASSERT_EQ(v_.Web_FlatXMLfileToArray(file, array_, headings), 1);
  EXPECT_EQ(Rows(array_), (Table{{"0", "10", "True"}, {"WALLS", "11", "False"}}));
}

TEST_F(FlatArrays, PositionalRules) {
  const std::string head = CrLf({"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", ""});
  WriteText(dir_ / "empty-values.xml",
            head + CrLf({"<Rows>", "<Row>", "<A></A>", "<B />", "<C>x</C>", "</Row>", "<Row>", "<A>1</A>", "",
                         "<B>2</B>", "<C>3</C>", "</Row>", "</Rows>"}));
  ASSERT_EQ(v_.FlatXMLfileToArray(dir_ / "empty-values.xml", array_, true), 1);
  // A column's name is the text up to the first ">" (so "<B />" names "B /").
  EXPECT_EQ(Rows(array_), (Table{{"A", "B /", "C"}, {"", "", "x"}, {"1", "2", "3"}}));
  // Indented records are not counted: no rows, only the names.
  WriteText(dir_ / "indented.xml", head + CrLf({"<Rows>", "  <Row>", "    <A>1</A>", "  </Row>", "</Rows>"}));
  ASSERT_EQ(v_.FlatXMLfileToArray(dir_ / "indented.xml", array_, true), 1);
  EXPECT_EQ(Rows(array_), (Table{{"A"}}));
  // Without a header every line counts.
  WriteText(dir_ / "bare.xml", CrLf({"<Rows>", "<Row>", "<A>1</A>", "</Row>", "</Rows>"}));
  ASSERT_EQ(v_.FlatXMLfileToArray(dir_ / "bare.xml", array_, false), 1);
  EXPECT_EQ(Rows(array_), (Table{{"1"}}));
  WriteText(dir_ / "short.xml", head + CrLf({"<Rows>", "</Rows>"}));
  EXPECT_EQ(v_.FlatXMLfileToArray(dir_ / "short.xml", array_, true), -2);
  EXPECT_EQ(v_.FlatXMLfileToArray(dir_ / "none.xml", array_, true), -1);
  WriteText(dir_ / "broken.xml", head + CrLf({"<Rows>", "<Row>", "no markup here", "</Row>", "</Rows>"}));
  EXPECT_EQ(v_.FlatXMLfileToArray(dir_ / "broken.xml", array_, true), 0);
}

// ---- XMLFileToRecordset -------------------------------------------------------------------

class NotARecordset : public Object {
 public:
  std::string ClassName() const override { return "Thing"; }
};

TEST(XMLFileToRecordset, OpensTheCallersRecordset) {
  TempDir dir;
  clsVantrove v;
  std::filesystem::copy_file(Fixture("description.xml"), dir / "d.xml");
  ASSERT_EQ(v.FlattenXMLfile(dir / "d.xml", dir / "flat.xml", dwgLayers, dwgNone), 1);
  ObjectRef rs = CreateObject("ADODB.Recordset");
  EXPECT_EQ(v.XMLFileToRecordset(dir / "flat.xml", rs), 2);
  EXPECT_EQ(CLng(GetProperty(rs, "State")), kStateOpen);  // left open for the caller
  EXPECT_EQ(CStr(GetProperty(GetProperty(rs, "Fields", {Variant(int32_t{0})}).object(), "Name")), "LayerName");
  // Already open: no connection can be set.
  EXPECT_EQ(v.XMLFileToRecordset(dir / "flat.xml", rs), -1);
  EXPECT_EQ(v.XMLFileToRecordset(dir / "flat.xml", std::make_shared<NotARecordset>()), -1);
  EXPECT_EQ(v.XMLFileToRecordset(dir / "flat.xml", nullptr), -1);
  EXPECT_EQ(v.XMLFileToRecordset(dir / "none.xml", CreateObject("Recordset")), -2);
  WriteText(dir / "bad.xml", "<a><b></a>");
  EXPECT_EQ(v.XMLFileToRecordset(dir / "bad.xml", CreateObject("Recordset")), -2);
  Variant file(dir / "flat.xml"), text("not an object"), object(CreateObject("Recordset"));
  EXPECT_EQ(v.Web_XMLFileToRecordset(file, text), -1);
  EXPECT_EQ(v.Web_XMLFileToRecordset(file, object), 2);
}

// ---- CreateBlockAttributeArray --------------------------------------------------------------

class BlockAttributes : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(v_.OpenDrawing(Fixture("titleblocks.dxf").string()), "OK"); }
  void TearDown() override {
    // Every temporary file is gone, whatever the call gave.
    for (const auto& e : std::filesystem::directory_iterator(extract::TempFolder())) {
      ADD_FAILURE() << "left behind: " << e.path();
    }
  }
  clsVantrove v_;
  Variant array_;
};

const Table kAllTitles = {{"Drawing", "DWGNO", "REV", "SHEET", "(empty)"},
                          {"titleblocks.dxf", "A-101", "A", "1", "(empty)"},
                          {"titleblocks.dxf", "A-102", "B", "2", "(empty)"},
                          {"titleblocks.dxf", "Size = 5 <mm> & \"more\" Ω", "C'", "3", "(empty)"},
                          {"titleblocks.dxf", "S-1", "D", "9", "(empty)"},
                          {"titleblocks.dxf", "S-2", "E", "10", "(empty)"}};

TEST_F(BlockAttributes, OneRowPerReferenceOneColumnPerTag) {
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "TITLE", "", dwgDrawingName, true), 1);
  EXPECT_EQ(Rows(array_), kAllTitles);
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgModel, "", "title", "", dwgNone, false), 1);
  EXPECT_EQ(Rows(array_), (Table{{"A-101", "A", "1", "(empty)"},
                                 {"A-102", "B", "2", "(empty)"},
                                 {"Size = 5 <mm> & \"more\" Ω", "C'", "3", "(empty)"}}));
  // Paper space is the *Paper_Space block only: Sheet A, not Sheet B.
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgPaper, "", "TITLE", "", dwgNone, false), 1);
  EXPECT_EQ(Rows(array_), (Table{{"S-1", "D", "9", "(empty)"}}));
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgPaper, "Sheet A", "TITLE", "", dwgNone, false), 1);
  EXPECT_EQ(Rows(array_), (Table{{"S-1", "D", "9", "(empty)"}}));
  EXPECT_EQ(v_.CreateBlockAttributeArray(array_, dwgPaper, "Sheet B", "", "", dwgNone, false), 0);  // nothing left
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, " Sheet B ", "", "", dwgNone, false), 1);
  EXPECT_EQ(Rows(array_), (Table{{"S-2", "E", "10", "(empty)"}}));
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "", "notes", dwgNone, true), 1);
  EXPECT_EQ(Rows(array_), (Table{{"TEXT", "(empty)"}, {"note 1", "(empty)"}}));
}

TEST_F(BlockAttributes, TagListAndDrawingFields) {
  // Listed tags, matched without case, in the drawing's order.
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "", "", dwgNone, true, List({"sheet", "DWGNO"})), 1);
  EXPECT_EQ(Rows(array_), (Table{{"DWGNO", "SHEET", "(empty)"},
                                 {"A-101", "1", "(empty)"},
                                 {"A-102", "2", "(empty)"},
                                 {"Size = 5 <mm> & \"more\" Ω", "3", "(empty)"},
                                 {"S-1", "9", "(empty)"},
                                 {"S-2", "10", "(empty)"}}));
  Variant withFolder;
  ASSERT_EQ(v_.CreateBlockAttributeArray(withFolder, dwgBoth, "", "TITLE", "", dwgPathAndDrawing, true), 1);
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "TITLE", "", dwgNone, true), 1);
  EXPECT_EQ(Rows(withFolder), Rows(array_));
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "TITLE", "", dwgDrawingFullName, false), 1);
  EXPECT_EQ(CStr(array_.array().at(0, 0)), Fixture("titleblocks.dxf").lexically_normal().string());
}

TEST_F(BlockAttributes, MixedReferencesAndNothingFound) {
  // Different tag sets misalign: the first reference's count rules.
  ASSERT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "NOTE", "", dwgNone, true), 1);
  EXPECT_EQ(Rows(array_), (Table{{"TEXT", "(empty)"}, {"note 1", "(empty)"}}));
  array_ = Variant("untouched");
  EXPECT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "NO SUCH BLOCK", "", dwgNone, true), 0);
  EXPECT_EQ(CStr(array_), "untouched");
  EXPECT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "it's", "", dwgNone, true), 0);  // breaks the filter
  EXPECT_EQ(v_.CloseDrawing(), "OK");
  EXPECT_EQ(v_.CreateBlockAttributeArray(array_, dwgBoth, "", "TITLE", "", dwgNone, true), -1);
}

TEST_F(BlockAttributes, TwinTakesAFilterExpression) {
  Variant filter("Name = 'TITLE' AND LayerName = 'TITLES'"), headings(true);
  ASSERT_EQ(v_.Web_CreateBlockAttributeArray(array_, filter, Variant(int32_t{1}), headings), 1);
  EXPECT_EQ(Rows(array_), Table(kAllTitles.begin(), kAllTitles.begin() + 4));
  Variant paper("Name = 'TITLE' AND Layout LIKE 'Sheet*'"), none(false);
  ASSERT_EQ(v_.Web_CreateBlockAttributeArray(array_, paper, Variant(int32_t{5}), none), 1);
  EXPECT_EQ(Rows(array_), (Table{{"S-1", "D", "9", "(empty)"}, {"S-2", "E", "10", "(empty)"}}));
  Variant bad("Name = "), missing = Variant::Missing();
  EXPECT_EQ(v_.Web_CreateBlockAttributeArray(array_, bad, Variant(int32_t{0}), headings), -1);
  // Late bound, everything after the array left to its default.
  std::vector<Variant> args = {Variant()};
  const InvokeResult r = v_.Invoke("Web_CreateBlockAttributeArray", args);
  ASSERT_TRUE(r.ok) << r.description;
  // No filter: the first reference (a TITLE) sets three values per row, the
  // NOTE's one value shifts the rest, and the last value finds no row.
  EXPECT_EQ(CLng(r.value), 0);
  const Table rows = Rows(args[0]);
  ASSERT_EQ(rows.size(), 6u);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"DWGNO", "REV", "SHEET", "(empty)"}));
  EXPECT_EQ(rows[4], (std::vector<std::string>{"note 1", "S-1", "D", "(empty)"}));
  EXPECT_EQ(rows[5], (std::vector<std::string>{"9", "S-2", "E", "(empty)"}));
}

}  // namespace
}  // namespace vantrove
