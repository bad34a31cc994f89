// Delimited text files, strings and text boxes into arrays.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>

#include "../output/temp_folder.hpp"
#include "vantrove/component.hpp"
#include "vantrove/controls.hpp"

namespace vantrove {
namespace {

using testing_support::Spit;
using testing_support::TempFolder;

// Cells as text, Empty shown as "<E>".
std::vector<std::vector<std::string>> Rows(const Variant& v) {
  std::vector<std::vector<std::string>> out;
  const SafeArray& a = v.array();
  for (int32_t r = a.LBound(1); r <= a.UBound(1); ++r) {
    out.emplace_back();
    for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) {
      const Variant& x = a.at(r, c);
      out.back().push_back(x.IsEmpty() ? "<E>" : x.str());
    }
  }
  return out;
}

std::vector<std::string> Items(const Variant& v) {
  std::vector<std::string> out;
  for (const Variant& x : v.array().data()) out.push_back(x.IsEmpty() ? "<E>" : x.str());
  return out;
}

Variant Dynamic() { return Variant(SafeArray()); }

TEST(TextFileToArray, OneRowPerLineOneColumnPerField) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "in.csv";
  Variant a = Dynamic();
  Spit(file, "a,b\r\nc");
  ASSERT_EQ(v.TextFileToArray(file, a, ""), 1);
  EXPECT_EQ(Rows(a), (std::vector<std::vector<std::string>>{{"a", "b"}, {"c", "<E>"}}));

  // A trailing delimiter counts for the width but ends the last field; an
  // empty line is one empty field; LF alone ends a line, CR alone does not.
  Spit(file, "a,b,\n\r\nx\ry\n");
  ASSERT_EQ(v.TextFileToArray(file, a, ","), 1);
  EXPECT_EQ(Rows(a), (std::vector<std::vector<std::string>>{{"a", "b", "<E>"}, {"", "<E>", "<E>"},
                                                            {"x\ry", "<E>", "<E>"}}));

  Spit(file, "\xEF\xBB\xBFk\xC2\xA7v\xC2\xA7\r\n");  // byte order mark, then k§v§
  ASSERT_EQ(v.TextFileToArray(file, a, "\xC2\xA7"), 1);
  EXPECT_EQ(Rows(a), (std::vector<std::vector<std::string>>{{"k", "v", "<E>"}}));
  ASSERT_EQ(v.TextFileToArray(file, a, "k\xC2\xA7"), 1);  // longer than one character: never matches
  EXPECT_EQ(Rows(a), (std::vector<std::vector<std::string>>{{"<E>"}}));

  Spit(file, "");
  ASSERT_EQ(v.TextFileToArray(file, a, ","), 1);
  EXPECT_EQ(a.array().UBound(1), -1);
}

// An array of the file's shape is filled in place: the result must be the
// same as reading into a fresh array, on success and after a failure.
TEST(TextFileToArray, AnArrayOfTheSameShapeEndsAsAFreshOneWould) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "in.csv";
  const auto prefilled = [] {
    return Variant(SafeArray::FromRows({{"old", Variant(int32_t{7}), "old"}, {"old", "old", Variant(1.5)}}));
  };
  for (const char* text : {"a,b,c\r\nd", "a,b,c\r\n\",q,r", "\"a\",b\r\nc,d,e"}) {
    Spit(file, text);
    Variant fresh = Dynamic(), reused = prefilled();
    const int16_t expected = v.TextFileToArray(file, fresh, ",", true);
    EXPECT_EQ(v.TextFileToArray(file, reused, ",", true), expected) << text;
    const SafeArray& f = fresh.array();
    const SafeArray& r = reused.array();
    ASSERT_EQ(f.bounds(), r.bounds()) << text;
    for (size_t i = 0; i < f.size(); ++i) {
      EXPECT_EQ(f.data()[i].type(), r.data()[i].type()) << text << " cell " << i;
      if (f.data()[i].IsString()) {
        EXPECT_EQ(f.data()[i].str(), r.data()[i].str()) << text << " cell " << i;
      }
    }
  }
}

// The table the reading rules give, worked out line by line: a line ends at
// LF (a CR just before it is dropped), one delimiter is added unless the line
// ends in one, and every delimiter ends a field.
std::vector<std::vector<std::string>> TableByRules(const std::string& text, char d) {
  std::vector<std::string> lines;
  for (size_t pos = 0; pos < text.size();) {
    const size_t lf = text.find('\n', pos);
    std::string line = text.substr(pos, lf == std::string::npos ? std::string::npos : lf - pos);
    if (lf != std::string::npos && !line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
    pos = lf == std::string::npos ? text.size() : lf + 1;
  }
  size_t width = 1;
  for (const std::string& line : lines) width = std::max(width, 1 + static_cast<size_t>(std::count(line.begin(), line.end(), d)));
  std::vector<std::vector<std::string>> rows;
  for (std::string line : lines) {
    if (line.empty() || line.back() != d) line += d;
    rows.emplace_back();
    std::string field;
    for (char c : line) {
      if (c != d) field += c;
      else rows.back().push_back(std::exchange(field, std::string()));
    }
    rows.back().resize(width, "<E>");
  }
  return rows;
}

// Random texts around the 64-byte blocks the reader scans by.
TEST(TextFileToArray, SplitsAsTheRulesSayAcrossBlockEdges) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "r.csv";
  std::mt19937 rng(3);
  Variant a = Dynamic();
  for (int i = 0; i < 200; ++i) {
    std::string text(rng() % 300, 'a');
    for (char& c : text) c = "ab,;\r\n\n"[rng() % 7];
    Spit(file, text);
    for (const char d : {',', ';'}) {
      ASSERT_EQ(v.TextFileToArray(file, a, std::string(1, d)), 1) << text;
      if (text.empty()) continue;
      ASSERT_EQ(Rows(a), TableByRules(text, d)) << text;
    }
  }
}

TEST(TextFileToArray, QuotesGoOnlyWhenTheyWrapTheWholeField) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "q.csv";
  Variant a = Dynamic();
  Spit(file, "\"x,y\"\r\n\"a\",\"\",\"say \"\"hi\"\"\"\r\n");
  ASSERT_EQ(v.TextFileToArray(file, a, ",", true), 1);
  EXPECT_EQ(Rows(a), (std::vector<std::vector<std::string>>{{"\"x", "y\"", "<E>"}, {"a", "", "say \"\"hi\"\""}}));
  ASSERT_EQ(v.Web_TextFileToArray(Variant(file), a), 1);  // default delimiter, quotes kept
  EXPECT_EQ(Rows(a)[1][0], "\"a\"");

  Spit(file, "a,\",b\r\n");  // a field that is one quote alone
  EXPECT_EQ(v.TextFileToArray(file, a, ",", true), 0);
  EXPECT_EQ(v.TextFileToArray(file, a, ",", false), 1);
}

TEST(TextFileToArray, ResultCodes) {
  TempFolder dir;
  clsVantrove v;
  Variant a = Dynamic();
  Variant notArray("x");
  EXPECT_EQ(v.TextFileToArray(dir / "missing.csv", a, ","), -1);
  EXPECT_EQ(v.TextFileToArray(dir / "missing.csv", notArray, ","), -1);  // opening comes first
  EXPECT_EQ(v.TextFileToArray(dir.path(), a, ","), -1);
  const std::string file = dir / "f.csv";
  Spit(file, "a");
  EXPECT_EQ(v.TextFileToArray(file, notArray, ","), -2);

  std::string line(32766, ',');  // 32767 fields fit the 16-bit column counter
  Spit(file, line + "\r\n");
  EXPECT_EQ(v.TextFileToArray(file, a, ","), 1);
  EXPECT_EQ(a.array().UBound(2), 32766);
  Spit(file, line + ",\r\n" + line + ",x\r\n");  // 32768 fields overflow it
  EXPECT_EQ(v.TextFileToArray(file, a, ","), 0);
}

TEST(TextFileToArray, ReadsWhatTheTextFileWriterWrote) {
  TempFolder dir;
  clsVantrove v;
  const std::string file = dir / "round.csv";
  const Variant table(SafeArray::FromRows({{"Grüße", "1"}, {"", "x y"}}));
  ASSERT_EQ(v.TwoDArrayToTextFile(table, file, ";", true), 1);
  Variant back = Dynamic();
  ASSERT_EQ(v.TextFileToArray(file, back, ";", true), 1);
  EXPECT_EQ(Rows(back), Rows(table));
}

TEST(TextFileToOneDArray, ReadsEveryLineThroughThePathVariable) {
  TempFolder dir;
  clsVantrove v;
  std::string path = dir / "lines.txt";
  Spit(path, "one\r\ntwo\nthree");
  Variant a = Dynamic();
  ASSERT_EQ(v.TextFileToOneDArray(path, a), 1);
  EXPECT_EQ(Items(a), (std::vector<std::string>{"one", "two", "three"}));
  EXPECT_EQ(path, "three");

  path = dir / "empty.txt";
  Spit(path, "");
  Variant kept = Variant(SafeArray::Vector({"old"}));
  ASSERT_EQ(v.TextFileToOneDArray(path, kept), 1);
  EXPECT_EQ(Items(kept), std::vector<std::string>{"old"});
  EXPECT_EQ(path, dir / "empty.txt");

  path = dir / "lines.txt";
  Variant grid(SafeArray::FromRows({{"a"}}));
  EXPECT_EQ(v.TextFileToOneDArray(path, grid), 0);  // a 2-D array cannot grow this way
  EXPECT_EQ(path, "one");
  path = dir / "lines.txt";
  Variant notArray(1.0);
  EXPECT_EQ(v.TextFileToOneDArray(path, notArray), -2);
  path = dir / "missing.txt";
  EXPECT_EQ(v.TextFileToOneDArray(path, a), -1);
}

TEST(MultiLineTextToOneDArray, LeavesOneEmptyElementAtTheEnd) {
  clsVantrove v;
  Variant a = Dynamic();
  ASSERT_EQ(v.MultiLineTextToOneDArray("a,b", a), 1);
  EXPECT_EQ(Items(a), (std::vector<std::string>{"a", "b", "<E>"}));
  ASSERT_EQ(v.MultiLineTextToOneDArray("a;b;", a, ";"), 1);
  EXPECT_EQ(Items(a), (std::vector<std::string>{"a", "b", "<E>"}));
  ASSERT_EQ(v.MultiLineTextToOneDArray("a\r\nb", a, "\r\n"), 1);  // two characters never match
  EXPECT_EQ(Items(a), std::vector<std::string>{"<E>"});
  ASSERT_EQ(v.MultiLineTextToOneDArray("", a), 1);
  EXPECT_EQ(Items(a), (std::vector<std::string>{"", "<E>"}));
  Variant notArray;
  EXPECT_EQ(v.MultiLineTextToOneDArray("a", notArray), -1);
}

TEST(TextBoxToOneDArray, SplitsLinesAndDropsCarriageReturns) {
  clsVantrove v;
  Variant a = Dynamic();
  auto box = std::make_shared<MemoryTextBox>("a\r\nb");
  ASSERT_EQ(v.TextBoxToOneDArray(box, a), 1);
  EXPECT_EQ(Items(a), (std::vector<std::string>{"a", "b"}));
  box->SetText("x\r\n\r\ny\rz\n");
  ASSERT_EQ(v.TextBoxToOneDArray(box, a), 1);
  EXPECT_EQ(Items(a), (std::vector<std::string>{"x", "", "yz"}));
  box->SetText("");
  ASSERT_EQ(v.TextBoxToOneDArray(box, a), 1);
  EXPECT_EQ(Items(a), std::vector<std::string>{""});

  Variant notArray;
  EXPECT_EQ(v.TextBoxToOneDArray(box, notArray), -2);
  EXPECT_EQ(v.TextBoxToOneDArray(std::make_shared<Dictionary>(), a), -1);
  EXPECT_EQ(v.TextBoxToOneDArray(nullptr, a), -1);
}

}  // namespace
}  // namespace vantrove
