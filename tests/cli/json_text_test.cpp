// The protocol's JSON writer and reader, without the tool around them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <random>

#include "json_text.hpp"
#include "json_variant.hpp"
#include "line_reader.hpp"

namespace {

using namespace vantrove;
using namespace vantrove::cli;

std::string Double(double d) {
  std::string s;
  AppendJsonDouble(s, d);
  return s;
}

std::string Dumped(double d) { return nlohmann::json(d).dump(); }

TEST(JsonText, DoublesKeepTheProtocolsLayout) {
  for (double d : {0.0, -0.0, 1.0, -2.5, 0.1, 1e-4, 1e-5, 1.5e-7, 123456789012345.0, 1e15, 1e16, 1e20, -1e300,
                   5e-324, 1.7976931348623157e308, 2147483648.0, 0.30000000000000004}) {
    EXPECT_EQ(Double(d), Dumped(d)) << d;
  }
}

TEST(JsonText, DoublesAreShortestAndReadBackExactly) {
  std::mt19937_64 gen(7);
  std::uniform_real_distribution<double> mantissa(1.0, 10.0);
  std::uniform_int_distribution<int> exponent(-30, 30);
  for (int i = 0; i < 20000; ++i) {
    const double d = mantissa(gen) * std::pow(10.0, exponent(gen)) * (i % 2 ? -1 : 1);
    const std::string ours = Double(d);
    const std::string reference = Dumped(d);
    ASSERT_EQ(std::strtod(ours.c_str(), nullptr), d) << ours;
    ASSERT_LE(ours.size(), reference.size()) << ours << " vs " << reference;
    ASSERT_EQ(ours.find('e') != std::string::npos, reference.find('e') != std::string::npos) << ours;
  }
}

TEST(JsonText, StringsEscapeLikeTheReferenceWriter) {
  for (std::string s : {std::string("plain"), std::string("q\"b\\s/"), std::string("\b\f\n\r\t\x01\x1f\x7f"),
                        std::string("caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"), std::string("bad \xff\xfe end"),
                        std::string("cut \xe2\x82"), std::string("\0x", 2)}) {
    std::string ours;
    AppendJsonString(ours, s);
    EXPECT_EQ(ours, nlohmann::json(s).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  }
}

std::string RoundTrip(const std::string& text) {
  simdjson::dom::parser parser;
  simdjson::dom::element e;
  if (parser.parse(text).get(e) != simdjson::SUCCESS) return "not JSON";
  ObjectTable objects;
  return ToJsonText(FromJson(e, objects), objects);
}

TEST(JsonVariant, ArraysAndTypedValuesComeBackAsTheyWent) {
  for (const char* text : {"[[1,\"a\"],[2.5,null]]", "{\"array\":[[1,2],[3,4]],\"lbound\":[1,0]}",
                           "{\"array\":[7,8],\"lbound\":[-3]}", "[]", "[[],[]]", "[1,[2,3],{\"empty\":true}]",
                           "{\"unallocated\":true}", "{\"currency\":\"1.5\"}", "{\"date\":\"2024-01-31T13:05:00\"}",
                           "{\"missing\":true}", "true", "-2147483648"}) {
    EXPECT_EQ(RoundTrip(text), text);
  }
  EXPECT_EQ(RoundTrip("2147483648"), "2147483648.0");
  EXPECT_EQ(RoundTrip("{\"type\":\"Integer\",\"value\":5}"), "5");
}

TEST(JsonVariant, RaggedOrUnknownFormsAreTypeMismatches) {
  for (const char* text : {"[[1,2],[3]]", "{\"type\":\"Nope\"}", "{\"array\":5}", "{\"object\":\"x\"}",
                           "{\"something\":1}", "{\"array\":[1],\"lbound\":[1,2]}"}) {
    try {
      RoundTrip(text);
      ADD_FAILURE() << text;
    } catch (const RuntimeError& e) {
      EXPECT_EQ(e.number(), 13) << text;
    }
  }
}

TEST(LineReader, SkipsLinesPastTheLimitWithoutHoldingThem) {
  FILE* f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  const std::string big(5000, 'x');
  const std::string text = "one\n" + big + "\ntwo\r\n\n" + big + "\nlast";
  std::fwrite(text.data(), 1, text.size(), f);
  std::fflush(f);
  std::rewind(f);
  LineReader reader(fileno(f), 100);
  std::string_view line;
  std::vector<std::string> got;
  for (auto st = reader.Next(line); st != LineReader::Status::kEnd; st = reader.Next(line)) {
    got.push_back(st == LineReader::Status::kTooLong ? "<too long>" : std::string(line));
  }
  EXPECT_EQ(got, (std::vector<std::string>{"one", "<too long>", "two\r", "", "<too long>", "last"}));
  std::fclose(f);
}

}  // namespace
