// Handles, group values, MTEXT plain text and the linking that
// Document::Finish does after a reader has filled the model.

#include <gtest/gtest.h>

#include "vantrove/engine/document.hpp"

namespace vantrove::engine {
namespace {

TEST(Handles, FormatAndParseRoundTrip) {
  EXPECT_EQ(FormatHandle(0x1F3), "1F3");
  EXPECT_EQ(FormatHandle(0), "0");
  EXPECT_EQ(FormatHandle(0xFFFFFFFFFFFFFFFFull), "FFFFFFFFFFFFFFFF");
  EXPECT_EQ(ParseHandle("1f3"), Handle{0x1F3});
  EXPECT_EQ(ParseHandle("  00A \r"), Handle{0xA});
  EXPECT_EQ(ParseHandle(""), std::nullopt);
  EXPECT_EQ(ParseHandle("12G"), std::nullopt);
  EXPECT_EQ(ParseHandle("11112222333344445"), std::nullopt);  // 17 digits overflow
}

TEST(Groups, NumbersToleratesBlanksAndIntegralReals) {
  const std::string text[] = {"  7 ", "1.0", "-2.5e3", "abc", "+4"};
  EXPECT_EQ(Group(70, text[0]).AsInt(), 7);
  EXPECT_EQ(Group(70, text[1]).AsInt(), 1);
  EXPECT_DOUBLE_EQ(Group(40, text[2]).AsDouble(), -2500.0);
  EXPECT_EQ(Group(70, text[3]).AsInt(-9), -9);
  EXPECT_EQ(Group(70, text[4]).AsInt(), 4);
  EXPECT_EQ(GroupTypeOf(10), GroupType::kDouble);
  EXPECT_EQ(GroupTypeOf(330), GroupType::kHandle);
  EXPECT_EQ(GroupTypeOf(290), GroupType::kBool);
  EXPECT_EQ(GroupTypeOf(310), GroupType::kBinary);
  EXPECT_EQ(GroupTypeOf(1071), GroupType::kInt32);
}

TEST(Storage, ArenaAndPoolKeepViewsStableAcrossGrowth) {
  TextArena arena;
  GroupPool pool;
  std::vector<std::string_view> views;
  std::vector<GroupSpan> spans;
  for (int i = 0; i < 20000; ++i) {
    views.push_back(arena.Store("value-" + std::to_string(i)));
    Group g[3] = {Group(1, views.back()), Group(2, views.back()), Group(3, views.back())};
    spans.push_back(pool.Store(GroupSpan(g, 3)));
  }
  views.push_back(arena.Store(std::string(3 << 20, 'x')));  // bigger than a chunk
  EXPECT_EQ(views[123], "value-123");
  EXPECT_EQ(spans[19999][2].code, 3);
  EXPECT_EQ(spans[19999][2].value(), "value-19999");
  EXPECT_EQ(views.back().size(), size_t{3} << 20);
  EXPECT_EQ(pool.groups_stored(), 60000u);
}

TEST(MText, PlainTextRemovesFormattingCodes) {
  EXPECT_EQ(MTextPlainText("{\\fArial|b1;Bold}\\Pnext"), "Bold\nnext");
  EXPECT_EQ(MTextPlainText("\\A1;\\H2.5x;\\C1;red \\Lunder\\l"), "red under");
  EXPECT_EQ(MTextPlainText("a\\~b"), "a\xC2\xA0" "b");
  EXPECT_EQ(MTextPlainText("\\\\ \\{x\\}"), "\\ {x}");
  EXPECT_EQ(MTextPlainText("4'-0\\S1/4;\" {\\H0.7x;\\S1^ 2;}"), "4'-01/4\" 1^2");
  EXPECT_EQ(MTextPlainText("line^Jnext^Itab a^ b"), "line\nnext\ttab a^b");
  EXPECT_EQ(MTextPlainText("%%c10 %%d %%p0.1 100%%%"), "\xC3\x98" "10 \xC2\xB0 \xC2\xB1" "0.1 100%");
  EXPECT_EQ(MTextPlainText("94\\U+00B0"), "94\xC2\xB0");
  // Malformed input ends cleanly.
  EXPECT_EQ(MTextPlainText("\\fArial"), "");
  EXPECT_EQ(MTextPlainText("end\\"), "end\\");
  EXPECT_EQ(MTextPlainText("\\U+12"), "U+12");
}

TEST(Document, FinishAssignsHandlesLinksAndAddsDefaults) {
  Document doc;
  doc.version = "AC1009";
  auto table = std::make_unique<Object>(ObjectKind::kOther);
  table->type_name = "TABLE";
  table->section = Section::kTables;
  Table layers;
  layers.name = "LAYER";
  layers.head = doc.Add(std::move(table));
  auto walls = std::make_unique<Layer>();
  walls->name = "WALLS";
  walls->section = Section::kTables;
  walls->handle = 0x20;
  layers.records.push_back(doc.Add(std::move(walls)));
  doc.tables.push_back(layers);
  for (Handle h : {Handle{0x30}, Handle{0x30}, kNoHandle}) {
    auto text = std::make_unique<Text>();
    text->type_name = "TEXT";
    text->section = Section::kEntities;
    text->handle = h;
    doc.entities.push_back(doc.Add(std::move(text)));
  }
  doc.Finish();

  // The repeated handle and the missing one get fresh handles above the highest.
  EXPECT_EQ(doc.entities[0]->handle, Handle{0x30});
  EXPECT_TRUE(doc.entities[1]->handle_assigned);
  EXPECT_TRUE(doc.entities[2]->handle_assigned);
  EXPECT_GT(doc.entities[1]->handle, Handle{0x30});
  EXPECT_NE(doc.entities[1]->handle, doc.entities[2]->handle);
  EXPECT_EQ(doc.Find(FormatHandle(doc.entities[2]->handle)), doc.entities[2]);
  EXPECT_EQ(doc.Find("30"), doc.entities[0]);
  EXPECT_EQ(doc.Find("zz"), nullptr);

  // Defaults a drawing always has.
  ASSERT_NE(doc.FindLayer("0"), nullptr);
  EXPECT_TRUE(doc.FindLayer("0")->synthesized);
  EXPECT_EQ(doc.FindLayer("walls"), doc.layers[1]);
  ASSERT_NE(doc.model_space(), nullptr);
  ASSERT_NE(doc.paper_space(), nullptr);
  EXPECT_EQ(doc.model_space()->entities.size(), 3u);
  EXPECT_EQ(doc.entities[0]->block, doc.model_space());
  ASSERT_EQ(doc.layouts.size(), 2u);
  EXPECT_EQ(doc.layouts[0]->name, "Model");
  EXPECT_EQ(doc.layouts[0]->block, doc.model_space());
  EXPECT_EQ(doc.LayoutOf(doc.paper_space()), doc.layouts[1]);
}

}  // namespace
}  // namespace vantrove::engine
