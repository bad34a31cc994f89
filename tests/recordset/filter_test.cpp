// The filter language: what parses (and how it groups), what is refused
// and why, and what each comparison selects on a recordset.
#include <gtest/gtest.h>

#include "vantrove/recordset.hpp"
#include "vantrove/recordset/filter.hpp"

namespace vantrove {
namespace {

std::string Canonical(std::string_view text) { return filter::Expression::Parse(text).ToString(); }

// The description of the error a bad expression raises (3001).
std::string Refusal(std::string_view text) {
  try {
    filter::Expression::Parse(text);
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), aderr::kInvalidArgument) << text;
    return e.description();
  }
  ADD_FAILURE() << "parsed: " << text;
  return {};
}

TEST(FilterParse, GroupsAndLiterals) {
  EXPECT_EQ(Canonical("Name = 'A'"), "([Name] = 'A')");
  EXPECT_EQ(Canonical("  name='O''Brien'  "), "([name] = 'O''Brien')");
  EXPECT_EQ(Canonical("a = 1 OR b = 2 AND c = 3"), "(([a] = 1) OR (([b] = 2) AND ([c] = 3)))");
  EXPECT_EQ(Canonical("(a = 1 or b = 2) and c <> 'x'"), "((([a] = 1) OR ([b] = 2)) AND ([c] <> 'x'))");
  EXPECT_EQ(Canonical("[Layer Name] >= -1.5e2 AND x<=.5 AND y<3 AND z>+4"),
            "(((([Layer Name] >= -150) AND ([x] <= 0.5)) AND ([y] < 3)) AND ([z] > 4))");
  EXPECT_EQ(Canonical("d > #2024-03-01#"), "([d] > #2024-03-01#)");
  EXPECT_EQ(Canonical("Value LIKE '%abc*'"), "([Value] LIKE '%abc*')");
  EXPECT_EQ(Canonical("Value like 'x' and Block = NULL"), "(([Value] LIKE 'x') AND ([Block] = NULL))");
  EXPECT_EQ(Canonical("$Text = ''"), "([$Text] = '')");
  EXPECT_EQ(Canonical("((((a = 1))))"), "([a] = 1)");
}

TEST(FilterParse, RefusesWhatItCannotRead) {
  EXPECT_NE(Refusal("").find("empty"), std::string::npos);
  EXPECT_NE(Refusal("Name").find("ends after the field name Name"), std::string::npos);
  EXPECT_NE(Refusal("Name = ").find("expected a value"), std::string::npos);
  EXPECT_NE(Refusal("Name = 'abc").find("never closed"), std::string::npos);
  EXPECT_NE(Refusal("(Name = 'a'").find("never closed"), std::string::npos);
  EXPECT_NE(Refusal("Name = 'a')").find("closing parenthesis"), std::string::npos);
  EXPECT_NE(Refusal("Name == 'a'").find("expected a value"), std::string::npos);
  EXPECT_NE(Refusal("Name = \"a\"").find("quoted with '"), std::string::npos);
  EXPECT_NE(Refusal("Name = 'a' XOR b = 1").find("expected AND, OR"), std::string::npos);
  EXPECT_NE(Refusal("= 'a'").find("expected a field name"), std::string::npos);
  EXPECT_NE(Refusal("AND = 1").find("keyword AND"), std::string::npos);
  EXPECT_NE(Refusal("Name LIKE 5").find("quoted pattern"), std::string::npos);
  EXPECT_NE(Refusal("Name LIKE 'a*b'").find("wildcard inside"), std::string::npos);
  EXPECT_NE(Refusal("d = #not a date#").find("is not a date"), std::string::npos);
  EXPECT_NE(Refusal("d = #2024-01-01").find("never closed"), std::string::npos);
  EXPECT_NE(Refusal("x = 12abc").find("expected a value"), std::string::npos);
  EXPECT_NE(Refusal("[Name = 'a'").find("never closed"), std::string::npos);
  EXPECT_NE(Refusal("Name = 'a' AND").find("filter ends"), std::string::npos);
  // The position of the problem is part of the description.
  EXPECT_NE(Refusal("Name = 'a' AND b ! 1").find("position 18"), std::string::npos);
  EXPECT_NE(Refusal(std::string(300, '(') + "a = 1" + std::string(300, ')')).find("nested too deeply"),
            std::string::npos);
}

// A recordset of names, sizes (text and numbers) and dates.
RecordsetRef Sample() {
  RecordsetRef rs = Recordset::Create();
  rs->AppendField("Name", adtype::kVarChar, 40);
  rs->AppendField("Size", adtype::kVarChar, 10);
  rs->AppendField("Count", adtype::kInteger);
  rs->AppendField("When", adtype::kDate);
  rs->Open();
  struct Row {
    const char* name;
    const char* size;
    int32_t count;
    Date when;
  };
  const Row rows[] = {{"TitleBlock", "10", 3, DateSerial(2024, 1, 15)},
                      {"titleblock_a", "9", 12, DateSerial(2024, 3, 1)},
                      {"Note", "n/a", 0, DateSerial(2023, 12, 31)},
                      {"Straße", "100", -4, DateSerial(2024, 3, 1, 12)},
                      {"O'Brien", "", 7, DateSerial(2025, 6, 1)}};
  for (const Row& r : rows) {
    rs->AddNew();
    rs->SetValue(0, Variant(r.name));
    rs->SetValue(1, Variant(r.size));
    rs->SetValue(2, Variant(r.count));
    rs->SetValue(3, Variant(r.when));
    rs->Update();
  }
  rs->AddNew();  // a record with nothing in it
  rs->Update();
  return rs;
}

std::vector<std::string> Names(const std::string& filter) {
  RecordsetRef rs = Sample();
  rs->SetFilter(Variant(filter));
  std::vector<std::string> names;
  for (rs->MoveFirst(); !rs->IsEOF(); rs->MoveNext()) {
    const Variant v = rs->Value(0);
    names.push_back(v.IsEmpty() ? "(empty)" : CStr(v));
  }
  return names;
}

using Names_ = std::vector<std::string>;

TEST(FilterEvaluate, TextComparesWithoutCase) {
  EXPECT_EQ(Names("Name = 'TITLEBLOCK'"), (Names_{"TitleBlock"}));
  EXPECT_EQ(Names("name <> 'note' AND Name <> ''"), (Names_{"TitleBlock", "titleblock_a", "Straße", "O'Brien"}));
  EXPECT_EQ(Names("Name = 'STRASSE' OR Name = 'o''brien'"), (Names_{"O'Brien"}));  // ß is not "ss"
  EXPECT_EQ(Names("Name = 'STRAßE'"), (Names_{"Straße"}));
  EXPECT_EQ(Names("Name < 'P' AND Name > 'M'"), (Names_{"Note", "O'Brien"}));
}

TEST(FilterEvaluate, LikeAnchorsAtEitherEnd) {
  EXPECT_EQ(Names("Name LIKE 'title*'"), (Names_{"TitleBlock", "titleblock_a"}));
  EXPECT_EQ(Names("Name LIKE '%BLOCK'"), (Names_{"TitleBlock"}));
  EXPECT_EQ(Names("Name LIKE '*LOCK%'"), (Names_{"TitleBlock", "titleblock_a"}));
  EXPECT_EQ(Names("Name LIKE 'note'"), (Names_{"Note"}));
  EXPECT_EQ(Names("Name LIKE '%ß%'"), (Names_{"Straße"}));
  EXPECT_EQ(Names("Name LIKE '*'").size(), 5u);  // not the record without a name
}

TEST(FilterEvaluate, NumbersDatesAndNull) {
  // Text that reads as a number compares as one; other text as text ("n/a" > "9.5").
  EXPECT_EQ(Names("Size > 9.5"), (Names_{"TitleBlock", "Note", "Straße"}));
  EXPECT_EQ(Names("Size = 'n/a'"), (Names_{"Note"}));
  EXPECT_EQ(Names("Count >= 7"), (Names_{"titleblock_a", "O'Brien"}));
  EXPECT_EQ(Names("Count < 0 OR Count = '12'"), (Names_{"titleblock_a", "Straße"}));
  EXPECT_EQ(Names("When = #2024-03-01#"), (Names_{"titleblock_a"}));
  EXPECT_EQ(Names("When > #2024-03-01# AND When < #2025-01-01#"), (Names_{"Straße"}));
  EXPECT_EQ(Names("When < '2024-01-01'"), (Names_{"Note"}));
  EXPECT_EQ(Names("Name = NULL"), (Names_{"(empty)"}));
  EXPECT_EQ(Names("Name <> NULL").size(), 5u);
}

TEST(FilterEvaluate, UnknownFieldsAndClearing) {
  RecordsetRef rs = Sample();
  try {
    rs->SetFilter(Variant("Nmae = 'x'"));
    FAIL() << "an unknown field was accepted";
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), aderr::kInvalidArgument);
    EXPECT_NE(e.description().find("no field named Nmae"), std::string::npos) << e.description();
    EXPECT_NE(e.description().find("Nmae = 'x'"), std::string::npos);
  }
  EXPECT_EQ(rs->RecordCount(), 6);  // a refused filter leaves the records as they were
  rs->SetFilter(Variant("Count > 5"));
  EXPECT_EQ(rs->RecordCount(), 2);
  EXPECT_EQ(CStr(rs->Filter()), "Count > 5");
  rs->SetFilter(Variant(""));
  EXPECT_EQ(rs->RecordCount(), 6);
  rs->SetFilter(Variant("Count > 5"));
  rs->SetFilter(Variant(int32_t{0}));
  EXPECT_EQ(rs->RecordCount(), 6);
  EXPECT_THROW(rs->SetFilter(Variant(int32_t{1})), RuntimeError);
}

}  // namespace
}  // namespace vantrove
