// The Word writer's steps on our own documents, checked with python-docx and
// LibreOffice.
#include "output/word_writer.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "output/docx_formats.hpp"
#include "office_support.hpp"

namespace vantrove {
namespace {

using namespace testing_support;
using nlohmann::json;

bool Exists(const std::string& p) {
  struct stat st;
  return ::stat(p.c_str(), &st) == 0;
}

const office::FileTest kExists = [](const std::string& p) { return Exists(p); };

Variant Table() {
  return Variant(SafeArray::FromRows({{"Tag", "Value", "Note"},
                                      {"A-101", 12.5, "<&> \"quoted\""},
                                      {"B-7", int32_t{3}, "Grüße ✓"},
                                      {"Total", 15.5, ""}}));
}

int16_t Write(office::Application& app, const Variant& v, const office::WordRequest& r, bool oneD = false) {
  try {
    return office::ArrayToWord(app, v, oneD, r, kExists);
  } catch (...) {
    return 0;
  }
}

office::WordRequest SaveTo(const std::string& file) {
  office::WordRequest r;
  r.document = file;
  r.save = true;
  r.close = true;
  return r;
}

TEST(ArrayToWord, EveryFormatHasANamedStyleAndALook) {
  int named = 0;
  for (int32_t t = 0; t <= 42; ++t) {
    const docx::TableFormat* f = docx::FindTableFormat(t);
    ASSERT_NE(f, nullptr) << t;
    EXPECT_EQ(f->type, t);
    named += !std::string(f->name).empty();
  }
  EXPECT_EQ(named, 42);
  EXPECT_EQ(docx::FindTableFormat(43), nullptr);
  EXPECT_EQ(docx::FindTableFormat(-1), nullptr);
  EXPECT_EQ(docx::TableFormatName(18), "Table Grid 3");
  // The flags decide which parts of a format show.
  docx::TableFlags all{true, true, true, true, true, true, true, true, false};
  const docx::CellLook head = docx::LookOf(*docx::FindTableFormat(37), all, 0, 1, 4, 3);
  EXPECT_EQ(head.fill, "000000");
  EXPECT_EQ(head.color, "FFFFFF");
  EXPECT_TRUE(head.bold);
  docx::TableFlags noColor = all;
  noColor.color = false;
  EXPECT_EQ(docx::LookOf(*docx::FindTableFormat(23), noColor, 0, 0, 4, 3).fill, "0E0E0E");
  const docx::CellLook plain = docx::LookOf(*docx::FindTableFormat(37), docx::TableFlags{}, 0, 1, 4, 3);
  EXPECT_EQ(plain.fill, "");
  EXPECT_FALSE(plain.bold);
  EXPECT_STREQ(plain.top.val, "nil");
}

TEST(ArrayToWord, ResultCodes) {
  TempFolder tmp;
  office::Application app;
  EXPECT_EQ(Write(app, Variant("no array"), SaveTo(tmp / "a.docx")), -2);
  EXPECT_EQ(Write(app, Variant(SafeArray()), SaveTo(tmp / "b.docx")), 0) << "an unallocated array";
  EXPECT_EQ(Write(app, Variant(SafeArray::Vector({"x"})), SaveTo(tmp / "c.docx")), 0) << "1-D into the 2-D writer";
  office::WordRequest badType = SaveTo(tmp / "d.docx");
  badType.tableType = 43;
  EXPECT_EQ(Write(app, Table(), badType), 0);
  EXPECT_EQ(Write(app, Table(), SaveTo(tmp / "missing-dir/e.docx")), 0);
  EXPECT_EQ(tmp.Names(), std::vector<std::string>{});
  // As with a word processor that met an error: the documents of the calls
  // that failed after opening them stay open, unsaved.
  EXPECT_EQ(app.document_count(), 2u);
}

TEST(ArrayToWord, TablesOfSeveralFormatsReadBackAndRender) {
  REQUIRE_PYTHON_MODULE("docx");
  TempFolder tmp;
  office::Application app;
  const std::string file = tmp / "formats.docx";
  int32_t formats[] = {18, 37, 8, 29, 35, 40};
  for (size_t i = 0; i < std::size(formats); ++i) {
    office::WordRequest r;
    r.document = file;
    r.save = true;
    r.close = true;
    r.tableType = formats[i];
    r.flags = {true, true, true, true, true, true, true, false, i % 2 == 1};
    r.font = "DejaVu Sans";
    r.size = 10;
    r.spaceAfter = 2;
    r.paragraphAlign = static_cast<int32_t>(i % 3);
    r.pageOrientation = 1;
    ASSERT_EQ(Write(app, Table(), r), 1) << formats[i];
  }
  office::WordRequest oneD = SaveTo(file);
  oneD.bold = true;
  oneD.pageOrientation = 1;
  ASSERT_EQ(Write(app, Variant(SafeArray::Vector({"first", 2.5, "third"}, 1)), oneD, true), 1);
  const json d = ReadWith("read_docx.py", file);
  ASSERT_EQ(d["tables"].size(), std::size(formats) + 1);
  EXPECT_TRUE(d["landscape"]);
  EXPECT_EQ(d["tables"][0]["style"], "Table Grid 3");
  EXPECT_EQ(d["tables"][1]["style"], "Table Professional");
  const json& t = d["tables"][2];
  EXPECT_EQ(t["cells"][0], json({"Tag", "Value", "Note"}));
  EXPECT_EQ(t["cells"][1], json({"A-101", "12.5", "<&> \"quoted\""}));
  EXPECT_EQ(t["cells"][2][2], "Grüße ✓");
  EXPECT_TRUE(t["bold"][0][0]) << "the heading row of Colorful 1 is bold";
  EXPECT_EQ(d["tables"][6]["cells"], json({{"first"}, {"2.5"}, {"third"}}));
  EXPECT_TRUE(d["tables"][6]["bold"][0][0]);
  // Each table is followed by the paragraph that keeps the former formatting.
  const json& order = d["body_order"];
  for (size_t i = 0; i + 1 < order.size(); ++i) {
    if (order[i] == "tbl") {
      EXPECT_EQ(order[i + 1], "p");
    }
  }
  if (!HaveSoffice()) GTEST_SKIP() << "no LibreOffice (scripts/setup.sh installs it)";
  std::string log;
  ASSERT_TRUE(ConvertTo(tmp, {file}, "pdf", tmp / "pdf", log)) << log;
  EXPECT_TRUE(Exists(tmp / "pdf/formats.pdf")) << log;
  EXPECT_EQ(log.find("Error"), std::string::npos) << log;
  KeepForInspection(tmp / "pdf/formats.pdf");
}

TEST(ArrayToWord, AppendingToAnExistingDocumentKeepsItsContent) {
  REQUIRE_PYTHON_MODULE("docx");
  TempFolder tmp;
  const std::string file = tmp / "existing.docx";
  int status = 0;
  RunShell(std::string(kPython) + " " + Quote(std::string(VANTROVE_OFFICE_TESTS) + "/make_styled_document.py") + " " +
               Quote(file),
           status);
  ASSERT_EQ(status, 0);
  const json before = ReadWith("read_docx.py", file);
  office::Application app;
  office::WordRequest r;
  r.document = file;
  r.tableType = 16;
  r.flags.borders = true;
  ASSERT_EQ(Write(app, Table(), r), 1);
  EXPECT_EQ(app.document_count(), 1u) << "left open: neither saved nor closed";
  EXPECT_EQ(ReadWith("read_docx.py", file), before) << "nothing saved yet";
  r.save = true;
  r.close = true;
  r.tableType = 0;
  ASSERT_EQ(Write(app, Table(), r), 1) << "the held document takes the second table";
  EXPECT_EQ(app.document_count(), 0u);
  const json after = ReadWith("read_docx.py", file);
  EXPECT_EQ(after["header"], "Project header");
  ASSERT_EQ(after["tables"].size(), 3u);
  EXPECT_EQ(after["tables"][0], before["tables"][0]);
  EXPECT_EQ(after["tables"][1]["style"], "Table Grid 1");
  EXPECT_EQ(after["tables"][2]["cells"][3][0], "Total");
  for (size_t i = 0; i < before["paragraphs"].size(); ++i) EXPECT_EQ(after["paragraphs"][i], before["paragraphs"][i]);
  EXPECT_FALSE(after["landscape"]);
}

TEST(ArrayToWord, NewDocumentWithoutAFileIsDiscardedOnClose) {
  office::Application app;
  office::WordRequest r;
  r.save = true;  // nothing names a file: nothing is written
  r.close = true;
  EXPECT_EQ(Write(app, Table(), r), 1);
  EXPECT_EQ(app.document_count(), 0u);
}

TEST(ArrayToWord, DamagedDocumentsGiveZeroAndStayUntouched) {
  TempFolder tmp;
  office::Application app;
  Spit(tmp / "text.docx", "plain text");
  {
    auto wb = xlsx::Workbook::Create();
    wb->SaveAs(tmp / "book.docx");  // a workbook under a Word name
  }
  const std::string book = Slurp(tmp / "book.docx");
  for (const char* name : {"text.docx", "book.docx"}) {
    EXPECT_EQ(Write(app, Table(), SaveTo(tmp / name)), 0) << name;
  }
  EXPECT_EQ(Slurp(tmp / "text.docx"), "plain text");
  EXPECT_EQ(Slurp(tmp / "book.docx"), book);
}

}  // namespace
}  // namespace vantrove
