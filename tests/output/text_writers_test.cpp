// Arrays to delimited text, as a string and as text files.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "temp_folder.hpp"
#include "vantrove/component.hpp"
#include "vantrove/output.hpp"

namespace vantrove {
namespace {

using testing_support::Slurp;
using testing_support::Spit;
using testing_support::TempFolder;

Variant Grid() { return Variant(SafeArray::FromRows({{"a", "b"}, {"c", "d"}})); }

TEST(TwoDArrayToText, JoinsCellsAndWritesBlankSeparatorsBack) {
  clsVantrove v;
  std::string text, delimiter = ",", endOfRow = ";";
  EXPECT_EQ(v.TwoDArrayToText(Grid(), text, delimiter, endOfRow, true), 1);
  EXPECT_EQ(text, "\"a\",\"b\";\"c\",\"d\";");

  delimiter = " ";  // blank once trimmed: becomes a tab, and the caller sees it
  endOfRow = "";
  EXPECT_EQ(v.TwoDArrayToText(Grid(), text, delimiter, endOfRow), 1);
  EXPECT_EQ(delimiter, "\t");
  EXPECT_EQ(endOfRow, "\r\n");
  EXPECT_EQ(text, "a\tb\r\nc\td\r\n");

  // Any lower bounds; numbers, Booleans and Empty in their text forms.
  SafeArray a({Bounds{1, 1}, Bounds{5, 7}});
  a.at(1, 5) = Variant(1.5);
  a.at(1, 6) = Variant(true);
  delimiter = "|";
  endOfRow = "#";
  EXPECT_EQ(v.TwoDArrayToText(Variant(a), text, delimiter, endOfRow), 1);
  EXPECT_EQ(text, "1.5|True|#");
}

TEST(TwoDArrayToText, BadInputGivesItsCodeAndLeavesTheOutputAlone) {
  clsVantrove v;
  std::string text = "before", delimiter = ",", endOfRow = ";";
  EXPECT_EQ(v.TwoDArrayToText(Variant("not an array"), text, delimiter, endOfRow), -1);
  Variant withNull(SafeArray::FromRows({{"a", Variant::Null()}}));
  EXPECT_EQ(v.TwoDArrayToText(withNull, text, delimiter, endOfRow), 0);
  EXPECT_EQ(v.TwoDArrayToText(Variant(SafeArray::Vector({"a", "b"})), text, delimiter, endOfRow), 0);
  EXPECT_EQ(v.TwoDArrayToText(Variant(SafeArray()), text, delimiter, endOfRow), 0);  // unallocated
  EXPECT_EQ(text, "before");
}

TEST(TwoDArrayToText, WebTwinWritesBackOnlyWhatItReplaced) {
  clsVantrove v;
  Variant text, delimiter(int32_t{5}), endOfRow("");
  EXPECT_EQ(v.Web_TwoDArrayToText(Grid(), text, delimiter, endOfRow), 1);
  EXPECT_EQ(text.str(), "a5b\r\nc5d\r\n");
  EXPECT_EQ(delimiter.type(), VarType::Long);  // used as "5", left as it was
  EXPECT_EQ(endOfRow.str(), "\r\n");
}

TEST(OneDArrayToText, EndsTheLastElementWithTheEndOfArrayText) {
  clsVantrove v;
  const Variant xy(SafeArray::Vector({"x", "y"}));
  std::string text, endOfRow = ",";
  EXPECT_EQ(v.OneDArrayToText(xy, text, endOfRow, "."), 1);
  EXPECT_EQ(text, "x,y.");
  EXPECT_EQ(v.OneDArrayToText(xy, text, endOfRow), 1);
  EXPECT_EQ(text, "x,y");
  endOfRow = "  ";
  EXPECT_EQ(v.OneDArrayToText(xy, text, endOfRow, "", true), 1);
  EXPECT_EQ(text, "\"x\"\r\n\"y\"");
  EXPECT_EQ(endOfRow, "\r\n");
  EXPECT_EQ(v.OneDArrayToText(Grid(), text, endOfRow), 0);  // two indices needed
}

TEST(TwoDArrayToTextFile, WritesOneCrLfLinePerRowAndAppendsOnRequest) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "out.csv";
  EXPECT_EQ(v.TwoDArrayToTextFile(Grid(), file, ""), 1);  // empty delimiter: a comma
  EXPECT_EQ(Slurp(file), "a,b\r\nc,d\r\n");
  EXPECT_EQ(v.TwoDArrayToTextFile(Grid(), file, " ", true, true), 1);  // spaces stay here
  EXPECT_EQ(Slurp(file), "a,b\r\nc,d\r\n\"a\" \"b\"\r\n\"c\" \"d\"\r\n");
  EXPECT_EQ(v.Web_TwoDArrayToTextFile(Grid(), Variant(file), Variant(";")), 1);  // always replaces
  EXPECT_EQ(Slurp(file), "a;b\r\nc;d\r\n");
  EXPECT_EQ(dir.Names(), std::vector<std::string>{"out.csv"});

  const Variant utf8(SafeArray::FromRows({{"Grüße", "✓"}}));
  EXPECT_EQ(v.TwoDArrayToTextFile(utf8, file), 1);
  EXPECT_EQ(Slurp(file), "Grüße,✓\r\n");
}

// Each line is what the string builder makes of the row, including its cut
// of a piece over 15000 characters that does not fit behind a longer text.
TEST(TwoDArrayToTextFile, LongCellsAreCutAsTheStringBuilderCutsThem) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "long.csv";
  const std::vector<std::string> cells{std::string(34990, 'x'), std::string(14990, 'y'), std::string(16000, 'z')};
  const Variant rows(SafeArray::FromRows({{cells[0], cells[1], cells[2]}, {"short", "row", Variant(int32_t{-42})}}));
  clsConcat line;
  for (size_t i = 0; i < cells.size(); ++i) {
    line.SConcat(cells[i]);
    if (i + 1 < cells.size()) line.SConcat(",");
  }
  const std::string built = line.GetString();
  ASSERT_LT(built.size(), 34990u + 14990u + 16000u + 2u);  // the builder did cut
  EXPECT_EQ(v.TwoDArrayToTextFile(rows, file), 1);
  EXPECT_EQ(Slurp(file), built + "\r\nshort,row,-42\r\n");
}

TEST(TwoDArrayToTextFile, NumbersReadAsTheirOrdinaryConversion) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "numbers.csv";
  const std::vector<Variant> values{Variant(0.1), Variant(1.0 / 3), Variant(-0.0), Variant(1e20), Variant(-1e-10),
                                    Variant(123456789012345678.0), Variant(2.5), Variant(int32_t{-2147483647}),
                                    Variant(int16_t{-32768}), Variant(uint8_t{255}), Variant(1.5f), Variant(true)};
  SafeArray row = SafeArray::Matrix(1, static_cast<int32_t>(values.size()));
  std::string expected;
  for (size_t i = 0; i < values.size(); ++i) {
    row.at(0, static_cast<int32_t>(i)) = values[i];
    if (i > 0) expected += ',';
    expected += CStr(values[i]);
  }
  EXPECT_EQ(v.TwoDArrayToTextFile(Variant(row), file), 1);
  EXPECT_EQ(Slurp(file), expected + "\r\n");
}

// Doubles of every magnitude, with short and with full-length digits, and
// the edges of the fixed and exponent forms: each written as CStr writes it.
TEST(TwoDArrayToTextFile, DoublesOfEveryMagnitudeReadAsCStr) {
  TempFolder dir;
  clsVantrove v;
  std::vector<double> values{1e-5,   1e-4,   9.99999999999999e-5, 0.000123, 1e14, 1e15, 999999999999999.0,
                             1e15 + 2, 123456789012345.0, 1234567890123456.0, 0.30000000000000004, 5e-324,
                             1.7976931348623157e308, 2.2250738585072014e-308, 100.0, 1234.5, 0.5, 7.0,
                             9.9999999999999995e14, 0.1 + 0.2, 1.0 / 7, -0.05, 99999999999999.9,
                             12345678.9012345, 0.000999999999999999, -1e-4, 0.00010000000000000002};
  std::mt19937_64 rng(7);
  for (int i = 0; i < 3000; ++i) {
    // Random bit patterns cover every exponent; rounded decimals cover the
    // short digit strings tables usually hold.
    double d;
    const uint64_t bits = rng();
    std::memcpy(&d, &bits, sizeof d);
    if (std::isfinite(d)) values.push_back(d);
    values.push_back(static_cast<double>(static_cast<int64_t>(rng() % 2000000) - 1000000) /
                     std::pow(10.0, static_cast<double>(rng() % 24) - 6));
    // Up to 15 significant digits at every decimal position.
    values.push_back(static_cast<double>(rng() % 1000000000000000) / std::pow(10.0, static_cast<double>(rng() % 20)));
  }
  SafeArray column = SafeArray::Matrix(static_cast<int32_t>(values.size()), 1);
  std::string expected;
  for (size_t i = 0; i < values.size(); ++i) {
    column.at(static_cast<int32_t>(i), 0) = Variant(values[i]);
    expected += CStr(Variant(values[i])) + "\r\n";
  }
  const std::string file = dir / "doubles.csv";
  EXPECT_EQ(v.TwoDArrayToTextFile(Variant(column), file), 1);
  EXPECT_EQ(Slurp(file), expected);
}

TEST(TextFileWriters, FailuresLeaveNoFileAndNoHalfWrittenOne) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "keep.txt";
  Spit(file, "old\r\n");
  SafeArray bad = SafeArray::FromRows({{"a", "b"}, {"c", Variant::Null()}});
  EXPECT_EQ(v.TwoDArrayToTextFile(Variant(bad), file), 0);
  EXPECT_EQ(v.TwoDArrayToTextFile(Variant(bad), file, ",", false, true), 0);
  EXPECT_EQ(v.OneDArrayToTextFile(Variant(SafeArray::Vector({"x", Variant::Null()})), file), 0);
  EXPECT_EQ(v.TwoDArrayToTextFile(Variant(SafeArray::Vector({"x"})), file), 0);
  EXPECT_EQ(Slurp(file), "old\r\n");
  EXPECT_EQ(v.TwoDArrayToTextFile(Variant(bad), dir / "new.txt", ",", false, true), 0);  // appending creates
  EXPECT_EQ(dir.Names(), std::vector<std::string>{"keep.txt"});

  EXPECT_EQ(v.TwoDArrayToTextFile(Grid(), dir / "no/such/folder.txt"), 0);
  EXPECT_EQ(v.TwoDArrayToTextFile(Grid(), dir.path()), 0);  // a folder
  EXPECT_EQ(v.TwoDArrayToTextFile(Grid(), file + "/below-a-file.txt"), 0);
  EXPECT_EQ(v.OneDArrayToTextFile(Variant(SafeArray::Vector({"x"})), ""), 0);
  EXPECT_EQ(v.TwoDArrayToTextFile(Variant(7), dir / "never.txt"), -1);
  EXPECT_EQ(dir.Names(), std::vector<std::string>{"keep.txt"});
}

TEST(OneDArrayToTextFile, WritesEachElementOnItsOwnLine) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "list.txt";
  const Variant items(SafeArray::Vector({"x", int32_t{2}, Variant()}, 3));
  EXPECT_EQ(v.OneDArrayToTextFile(items, file, true), 1);
  EXPECT_EQ(Slurp(file), "\"x\"\r\n\"2\"\r\n\"\"\r\n");
  EXPECT_EQ(v.OneDArrayToTextFile(items, file), 1);
  EXPECT_EQ(Slurp(file), "x\r\n2\r\n\r\n");
}

TEST(TextFileWriters, DevicesAreWrittenNotReplaced) {
  clsVantrove v;
  EXPECT_EQ(v.TwoDArrayToTextFile(Grid(), "/dev/null"), 1);
  EXPECT_EQ(v.OneDArrayToTextFile(Variant(SafeArray::Vector({"x"})), "/dev/null"), 1);
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST(TextFileWriters, ReplacingFollowsALinkAndKeepsTheFileMode) {
  TempFolder dir;
  clsVantrove v;
  const std::string target = dir / "target.txt", link = dir / "link.txt";
  Spit(target, "old");
  std::filesystem::permissions(target, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  std::filesystem::create_symlink(target, link);
  EXPECT_EQ(v.TwoDArrayToTextFile(Grid(), link), 1);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(Slurp(target), "a,b\r\nc,d\r\n");
  EXPECT_EQ(std::filesystem::status(target).permissions() & std::filesystem::perms::all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

}  // namespace
}  // namespace vantrove
