// Arrays to HTML tables and pages, byte for byte.
#include <gtest/gtest.h>

#include "temp_folder.hpp"
#include "vantrove/component.hpp"

namespace vantrove {
namespace {

using testing_support::Slurp;
using testing_support::TempFolder;

const std::string kOpen = "<TABLE ALIGN=CENTER BORDER=0 CELLSPACING=0 CELLPADDING=0 WIDTH='100%'><TBODY>\r\n";
const std::string kClose = "</TBODY></TABLE>";

size_t Count(const std::string& s, const std::string& what) {
  size_t n = 0;
  for (size_t p = s.find(what); p != std::string::npos; p = s.find(what, p + 1)) ++n;
  return n;
}

TEST(HtmlTable, DefaultsGiveTheDocumentedMarkup) {
  clsVantrove v;
  std::string table;
  EXPECT_EQ(v.TwoDArrayToHTMLTable(Variant(SafeArray::FromRows({{"a", "b"}})), table), 1);
  EXPECT_EQ(table, kOpen + "<TR ALIGN=RIGHT NOWRAP><TD NOWRAP>a</TD><TD NOWRAP>b</TD></TR>\r\n" + kClose);

  Variant web;
  EXPECT_EQ(v.Web_TwoDArrayToHTMLTable(Variant(SafeArray::FromRows({{"a", "b"}})), web), 1);
  EXPECT_EQ(web.str(), table);
}

TEST(HtmlTable, AttributesWrappingAndBoldCells) {
  clsVantrove v;
  std::string table;
  const Variant grid(SafeArray::FromRows({{"h1", "h2"}, {"r1", "<b>&"}}));
  EXPECT_EQ(v.TwoDArrayToHTMLTable(grid, table, dwgLeft, "bg.png", "  ", 1, " #f00", 2, 3, 50, dwgCenter, true, true,
                                   true),
            1);
  EXPECT_EQ(table,
            "<TABLE ALIGN=LEFT BORDER=1 CELLSPACING=2 CELLPADDING=3 WIDTH='50%' BACKGROUND='bg.png' "
            "BORDERCOLOR=' #f00'><TBODY>\r\n"
            "<TR ALIGN=CENTER><TD><STRONG>h1</STRONG></TD><TD><STRONG>h2</STRONG></TD></TR>\r\n"
            "<TR ALIGN=CENTER><TD><STRONG>r1</STRONG></TD><TD><b>&</TD></TR>\r\n" +
                kClose);

  EXPECT_EQ(v.TwoDArrayToHTMLTable(grid, table, dwgRight, "", "navy", 0, "", 0, 0, 100, dwgLeft, false, false, true),
            1);
  EXPECT_EQ(Count(table, "NOWRAP"), 6u);
  EXPECT_EQ(Count(table, "<STRONG>"), 2u);  // the first column only
  EXPECT_NE(table.find(" BGCOLOR='navy'><TBODY>"), std::string::npos);
}

TEST(HtmlTable, OutOfRangeAlignmentsKeepTheirQuirks) {
  clsVantrove v;
  std::string table;
  const Variant one(SafeArray::FromRows({{"a"}}));
  EXPECT_EQ(v.TwoDArrayToHTMLTable(one, table, static_cast<TableAlignType>(5)), 1);
  EXPECT_EQ(table.substr(0, 28), "<TABLE ALIGN= BORDER=0 CELLS");
  // The row alignment word is replaced by the whole opening line.
  EXPECT_EQ(v.TwoDArrayToHTMLTable(one, table, dwgCenter, "", "", 0, "", 0, 0, 100, static_cast<TableAlignType>(-1)), 1);
  EXPECT_EQ(table, kOpen + "<TR ALIGN=" + kOpen + " NOWRAP><TD NOWRAP>a</TD></TR>\r\n" + kClose);
}

TEST(HtmlTable, OneDimensionalRowsAndBadInput) {
  clsVantrove v;
  std::string table = "unchanged";
  EXPECT_EQ(v.OneDArrayToHTMLTable(Variant("x"), table), -1);
  EXPECT_EQ(v.OneDArrayToHTMLTable(Variant(SafeArray::Vector({"a", Variant::Null()})), table), 0);
  EXPECT_EQ(v.TwoDArrayToHTMLTable(Variant(SafeArray::Vector({"a"})), table), 0);
  EXPECT_EQ(table, "unchanged");

  EXPECT_EQ(v.OneDArrayToHTMLTable(Variant(SafeArray::Vector({"a", "b"}, 1)), table, dwgCenter, "", "", 0, "", 0, 0,
                                   100, dwgRight, true, true),
            1);
  EXPECT_EQ(table, kOpen +
                       "<TR ALIGN=RIGHT><TD><STRONG>a</STRONG></TD></TR>\r\n"
                       "<TR ALIGN=RIGHT><TD>b</TD></TR>\r\n" +
                       kClose);
}

TEST(HtmlFile, WritesThePageAroundTheTable) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "page.html";
  const Variant grid(SafeArray::FromRows({{"a"}}));
  const std::string table = kOpen + "<TR ALIGN=RIGHT NOWRAP><TD NOWRAP>a</TD></TR>\r\n" + kClose;
  EXPECT_EQ(v.TwoDArrayToHTMLFile(grid, file, "Heading", "Title", "back.png", "#eee"), 1);
  EXPECT_EQ(Slurp(file),
            "<HTML>\r\n<HEAD>\r\n<STRONG><CENTER>Heading</CENTER></STRONG><BR>\r\n<TITLE>\r\nTitle\r\n</TITLE>\r\n"
            "</HEAD>\r\n<BODY  BGCOLOR='#eee' BACKGROUND='back.png'>\r\n" +
                table + "\r\n</BODY>\r\n</HTML>\r\n\r\n");

  EXPECT_EQ(v.OneDArrayToHTMLFile(Variant(SafeArray::Vector({"a"})), file, " ", ""), 1);
  EXPECT_EQ(Slurp(file), "<HTML>\r\n<HEAD>\r\n<TITLE>\r\n</TITLE>\r\n</HEAD>\r\n<BODY >\r\n" + table +
                             "\r\n</BODY>\r\n</HTML>\r\n\r\n");

  EXPECT_EQ(v.Web_TwoDArrayToHTMLFile(grid, Variant(file), Variant("Überschrift")), 1);
  const std::string page = Slurp(file);
  EXPECT_EQ(page.substr(0, 11), "\xEF\xBB\xBF<HTML>\r\n");  // UTF-8 marked only when needed
  EXPECT_NE(page.find("<CENTER>Überschrift</CENTER>"), std::string::npos);
  EXPECT_EQ(dir.Names(), std::vector<std::string>{"page.html"});
}

TEST(HtmlFile, FailuresWriteNothing) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "page.html";
  EXPECT_EQ(v.TwoDArrayToHTMLFile(Variant(""), file), -1);
  EXPECT_EQ(v.TwoDArrayToHTMLFile(Variant(SafeArray::FromRows({{Variant::Null()}})), file), 0);
  EXPECT_EQ(v.TwoDArrayToHTMLFile(Variant(SafeArray::Vector({"a"})), file), 0);
  EXPECT_EQ(v.Web_TwoDArrayToHTMLFile(Variant(SafeArray::FromRows({{"a"}})), Variant(dir / "none/page.html")), 0);
  EXPECT_TRUE(dir.Names().empty());
}

}  // namespace
}  // namespace vantrove
