// The XML table reader: rows, fields in first-seen order, chapters, the
// $Text field, encodings, streaming across block boundaries, and refusals of
// what is not well-formed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "vantrove/recordset.hpp"

namespace vantrove {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> FieldNames(const Recordset& rs) {
  std::vector<std::string> names;
  for (int f = 0; f < rs.FieldCount(); ++f) names.push_back(rs.FieldName(f));
  return names;
}

std::string Cell(Recordset& rs, std::string_view field) {
  const Variant v = rs.Value(field);
  return v.IsEmpty() ? "(empty)" : CStr(v);
}

int32_t ErrorOf(const std::function<void()>& f, std::string* description = nullptr) {
  try {
    f();
  } catch (const RuntimeError& e) {
    if (description) *description = e.description();
    return e.number();
  }
  return 0;
}

class TempPath {
 public:
  explicit TempPath(const std::string& name)
      : path_(fs::temp_directory_path() / ("vantrove-xml-" + std::to_string(::getpid()) + "-" + name)) {}
  ~TempPath() { fs::remove(path_); }
  std::string Write(std::string_view bytes) const {
    std::ofstream(path_, std::ios::binary) << bytes;
    return path_.string();
  }

 private:
  fs::path path_;
};

using Strings = std::vector<std::string>;

TEST(XmlReader, RowsFieldsAndText) {
  RecordsetRef rs = ReadXmlRecordsetFromText(
      "<?xml version=\"1.0\"?>\n<!-- parts -->\n<Parts>\n"
      "<Part id='7'><Name>bolt</Name><Qty>4</Qty>loose</Part>\n"
      "<Part><Qty>9</Qty><Name>nut &amp; washer</Name><Note><![CDATA[<raw>]]></Note><Name>second</Name></Part>\n"
      "<Part/>\n"
      "</Parts>\n");
  EXPECT_EQ(FieldNames(*rs), (Strings{"id", "Name", "Qty", "Note", "$Text"}));
  EXPECT_EQ(rs->FieldType(1), adtype::kVarWChar);
  EXPECT_EQ(rs->RecordCount(), 3);
  EXPECT_EQ(Cell(*rs, "id"), "7");
  EXPECT_EQ(Cell(*rs, "name"), "bolt");
  EXPECT_EQ(Cell(*rs, "Note"), "(empty)");  // first seen in a later row
  EXPECT_EQ(Cell(*rs, "$Text"), "loose");
  rs->MoveNext();
  EXPECT_EQ(Cell(*rs, "Name"), "nut & washer");  // the first of two wins
  EXPECT_EQ(Cell(*rs, "Qty"), "9");
  EXPECT_EQ(Cell(*rs, "Note"), "<raw>");
  rs->MoveNext();
  EXPECT_EQ(Cell(*rs, "Name"), "(empty)");
}

TEST(XmlReader, NestedElementsAreChapters) {
  RecordsetRef rs = ReadXmlRecordsetFromText(
      "<Inserts><Insert><Name>A</Name><Attribute><Tag>T1</Tag><Value>1</Value></Attribute>"
      "<Attribute><Tag>T2</Tag><Value>2</Value></Attribute><Layer>0</Layer></Insert>"
      "<Insert><Name>B</Name><Layer>L</Layer></Insert></Inserts>");
  EXPECT_EQ(FieldNames(*rs), (Strings{"Name", "Attribute", "Layer", "$Text"}));
  EXPECT_EQ(rs->FieldType(1), adtype::kChapter);
  const Variant chapter = rs->Value(1);
  ASSERT_TRUE(chapter.IsObject());
  auto child = std::static_pointer_cast<Recordset>(chapter.object());
  EXPECT_EQ(child->RecordCount(), 2);
  EXPECT_EQ(FieldNames(*child), (Strings{"Tag", "Value", "$Text"}));
  child->MoveLast();
  EXPECT_EQ(Cell(*child, "Tag"), "T2");
  child->Close();
  // Closing one chapter recordset leaves the rows for the next reader.
  EXPECT_EQ(std::static_pointer_cast<Recordset>(rs->Value(1).object())->RecordCount(), 2);
  rs->MoveNext();
  RecordsetRef none = rs->ChildRecordset(1);
  EXPECT_EQ(none->RecordCount(), 0);
  EXPECT_EQ(FieldNames(*none), (Strings{"Tag", "Value", "$Text"}));
  rs->SetFilter(Variant("Layer = 'l'"));
  EXPECT_EQ(rs->RecordCount(), 1);
}

TEST(XmlReader, LeafChildrenOfTheRootAreOneRecord) {
  RecordsetRef info = ReadXmlRecordsetFromText(
      "<DrawingInformation><DatabaseFilename>/a/b.dwg</DatabaseFilename><FileVersion>AC1018</FileVersion>"
      "</DrawingInformation>");
  EXPECT_EQ(info->RecordCount(), 1);
  EXPECT_EQ(FieldNames(*info), (Strings{"DatabaseFilename", "FileVersion", "$Text"}));
  EXPECT_EQ(Cell(*info, "FileVersion"), "AC1018");
  // Repeated names are rows again.
  RecordsetRef list = ReadXmlRecordsetFromText("<L><i>1</i><i>2</i></L>");
  EXPECT_EQ(list->RecordCount(), 2);
  EXPECT_EQ(FieldNames(*list), (Strings{"$Text"}));
  RecordsetRef empty = ReadXmlRecordsetFromText("<?xml version=\"1.0\"?>\r\n\r\n<Layers>\r\n</Layers>\r\n");
  EXPECT_EQ(empty->RecordCount(), 0);
  EXPECT_EQ(FieldNames(*empty), (Strings{"$Text"}));
}

TEST(XmlReader, EncodingsAndEntities) {
  // Latin-1 bytes as declared; references beyond it; no entity from a DTD.
  RecordsetRef rs = ReadXmlRecordsetFromText(
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n"
      "<!DOCTYPE r [<!ENTITY secret SYSTEM \"file:///etc/passwd\"> <!ENTITY x \"expanded\">]>\r\n"
      "<r><row><v>caf\xe9 &#937;&#61;1</v><w>&secret;&x;</w></row></r>");
  EXPECT_EQ(Cell(*rs, "v"), "café Ω=1");
  EXPECT_EQ(Cell(*rs, "w").find("root:"), std::string::npos);
  EXPECT_EQ(Cell(*rs, "w").find("expanded"), std::string::npos);
  RecordsetRef utf8 = ReadXmlRecordsetFromText("\xEF\xBB\xBF<r><row><v>caf\xC3\xA9</v></row></r>");
  EXPECT_EQ(Cell(*utf8, "v"), "café");
  // UTF-16 (little-endian, with its mark) is parsed whole.
  std::string wide = "\xFF\xFE";
  for (char c : std::string("<r><row><v>ok</v></row></r>")) {
    wide.push_back(c);
    wide.push_back('\0');
  }
  TempPath file("utf16.xml");
  RecordsetRef u16 = ReadXmlRecordset(file.Write(wide));
  EXPECT_EQ(Cell(*u16, "v"), "ok");
}

TEST(XmlReader, RefusesDocumentsThatAreNotWellFormed) {
  const std::pair<const char*, const char*> bad[] = {
      {"<r><row><v>1</w></row></r>", "not well-formed"},
      {"<r><row><v>1</v></row>", "before the root element is closed"},
      {"<r><row/></q>", "does not close <r>"},
      {"<r></r>trailing", "text outside the root element"},
      {"<r></r><r></r>", "markup after the end"},
      {"just text", "text outside the root element"},
      {"", "no root element"},
      {"<?xml version=\"1.0\"?>", "no root element"},
      {"<r><row a='1></row></r>", "the file ends inside markup"},
      {"<r><row><!- x --></row></r>", "unknown markup"},
      {"<r>< row/></r>", "not followed by an element name"},
  };
  for (const auto& [text, why] : bad) {
    std::string description;
    EXPECT_EQ(ErrorOf([&] { ReadXmlRecordsetFromText(text); }, &description), aderr::kReadFile) << text;
    EXPECT_NE(description.find(why), std::string::npos) << text << " -> " << description;
  }
  std::string description;
  EXPECT_EQ(ErrorOf([&] { ReadXmlRecordset("/nonexistent/x.xml"); }, &description), aderr::kOpeningFile);
  EXPECT_NE(description.find("/nonexistent/x.xml"), std::string::npos);
  EXPECT_EQ(ErrorOf([&] { ReadXmlRecordset("/"); }), aderr::kReadFile);
}

TEST(XmlReader, StreamsRowsAcrossBlockBoundaries) {
  // Rows of growing size, one of them larger than the reading block.
  std::string xml = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n\r\n<Rows>\r\n";
  const int rows = 30000;
  for (int i = 0; i < rows; ++i) {
    xml += "<Row>\r\n<N>" + std::to_string(i) + "</N>\r\n<Pad>" + std::string(static_cast<size_t>(i % 97), 'x') +
           "</Pad>\r\n";
    if (i == 777) xml += "<Big>" + std::string(3u << 20, 'b') + "</Big>\r\n";
    xml += "<!-- a comment > with markup < inside --></Row>\r\n";
  }
  xml += "</Rows>\r\n";
  TempPath file("big.xml");
  RecordsetRef rs = ReadXmlRecordset(file.Write(xml));
  EXPECT_EQ(rs->RecordCount(), rows);
  EXPECT_EQ(FieldNames(*rs), (Strings{"N", "Pad", "Big", "$Text"}));
  rs->Move(777);
  EXPECT_EQ(Cell(*rs, "N"), "777");
  EXPECT_EQ(Cell(*rs, "Big").size(), 3u << 20);
  rs->MoveLast();
  EXPECT_EQ(Cell(*rs, "N"), std::to_string(rows - 1));
  EXPECT_EQ(Cell(*rs, "Pad").size(), static_cast<size_t>((rows - 1) % 97));
  rs->SetFilter(Variant("N >= 29990 AND Pad LIKE 'xx%'"));
  EXPECT_EQ(rs->RecordCount(), 10);
}

// Plain records are read without pugixml; a comment in a row sends that row
// to pugixml. Both must give the same cells.
TEST(XmlReader, PlainRecordsReadAsPugixmlReadsThem) {
  const std::vector<std::string> values = {
      "plain", "", " ", "  two  spaces ", "a&amp;b", "&lt;tag&gt;", "&quot;q&quot; &apos;a&apos;",
      "&#61;&#x3A9;&#937;", "caf\xe9", "x>y", "tab\there", "&#10;line&#13;", "&unknown;", "a\r\nb", "\r\n"};
  for (const char* declaration : {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "<?xml version=\"1.0\"?>"}) {
    std::string xml = std::string(declaration) + "\r\n<Rows>\r\n";
    for (const std::string& v : values) {
      xml += "<Row>\r\n<V>" + v + "</V>\r\n<W/>\r\n</Row>\r\n";
      xml += "<Row><!-- by pugixml -->\r\n<V>" + v + "</V>\r\n<W/>\r\n</Row>\r\n";
    }
    xml += "</Rows>\r\n";
    TempPath file("plain.xml");
    RecordsetRef rs = ReadXmlRecordset(file.Write(xml));
    ASSERT_EQ(rs->RecordCount(), static_cast<int64_t>(2 * values.size()));
    EXPECT_EQ(FieldNames(*rs), (Strings{"V", "W", "$Text"}));
    for (const std::string& v : values) {
      const std::string plain = Cell(*rs, "V");
      EXPECT_EQ(Cell(*rs, "W"), "");
      rs->MoveNext();
      EXPECT_EQ(plain, Cell(*rs, "V")) << v << " declared " << declaration;
      rs->MoveNext();
    }
  }
}

TEST(XmlReader, KeepsOnlyTheNamedFields) {
  TempPath file("keep.xml");
  const std::string path = file.Write(
      "<R><Row><A>1</A><B>2</B><C>3</C></Row><Row><!-- x --><C>6</C><b>x</b><B>5</B><N><X>1</X></N></Row></R>");
  RecordsetRef rs = ReadXmlRecordset(path, {"b", "c", "Nope"});
  EXPECT_EQ(FieldNames(*rs), (Strings{"B", "C", "b", "$Text"}));
  EXPECT_EQ(Cell(*rs, "C"), "3");
  rs->MoveNext();
  EXPECT_EQ(Cell(*rs, "B"), "5");
  EXPECT_EQ(ErrorOf([&] { rs->SetFilter(Variant("A = '1'")); }), aderr::kInvalidArgument);
}

}  // namespace
}  // namespace vantrove
