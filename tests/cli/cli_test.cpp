// Runs the built vantrove tool as a user would and reads what it prints.
#include <gtest/gtest.h>
#include <unistd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using nlohmann::json;

struct Outcome {
  int status = -1;
  std::string out;
};

// Runs `vantrove ARGS` with `input` on stdin; stderr is discarded.
Outcome Vantrove(const std::string& args, const std::string& input = "") {
  // Tests run in parallel processes: each run gets its own input file.
  std::string in = testing::TempDir() + "vantrove-cli-XXXXXX";
  const int fd = mkstemp(in.data());
  if (fd < 0) return {};
  close(fd);
  std::ofstream(in, std::ios::binary) << input;
  const std::string cmd = std::string("'") + VANTROVE_CLI + "' " + args + " < '" + in + "' 2>/dev/null";
  Outcome r;
  FILE* p = popen(cmd.c_str(), "r");
  if (p == nullptr) return r;
  std::array<char, 4096> buf{};
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
  const int st = pclose(p);
  std::remove(in.c_str());
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  return r;
}

std::vector<json> Lines(const std::string& text) {
  std::vector<json> out;
  std::istringstream s(text);
  for (std::string line; std::getline(s, line);) out.push_back(json::parse(line));
  return out;
}

TEST(Cli, MethodsListsTheInterfaceInOrder) {
  const Outcome r = Vantrove("methods");
  ASSERT_EQ(r.status, 0);
  std::istringstream s(r.out);
  std::vector<std::string> lines;
  for (std::string l; std::getline(s, l);) lines.push_back(l);
  ASSERT_EQ(lines.size(), 127u);
  EXPECT_NE(lines.front().find("0x60030000  String   Version()"), std::string::npos) << lines.front();
  EXPECT_NE(lines.back().find("0x6003007E  Object   CreateRecordsetFromArray("), std::string::npos) << lines.back();

  const json all = json::parse(Vantrove("methods --json").out);
  ASSERT_EQ(all.size(), 127u);
  EXPECT_EQ(all[1]["params"][0], json({{"name", "strFile"}, {"type", "String"}, {"byref", false}, {"optional", false}}));
}

std::string Fixture(const std::string& name) {
  std::ifstream in(std::string(VANTROVE_SOURCE_DIR) + "/tests/cli/fixtures/" + name, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The interface as the tool printed it before the members were declared in
// their areas (tests/cli/fixtures), byte for byte. A member that this build
// implements and the fixture lists as not available is the one difference
// allowed: attaching an implementation needs no new fixture.
TEST(Cli, InterfaceListingsAreUnchanged) {
  const Outcome json_out = Vantrove("methods --json");
  ASSERT_EQ(json_out.status, 0);
  const json actual = json::parse(json_out.out);
  json expected = json::parse(Fixture("methods.json"));
  ASSERT_EQ(expected.dump() + "\n", Fixture("methods.json")) << "the fixture is not in the tool's own layout";
  ASSERT_EQ(actual.size(), expected.size());

  std::istringstream lines(Fixture("methods.txt"));
  std::string text;
  size_t i = 0;
  for (std::string line; std::getline(lines, line); ++i) {
    const std::string suffix = "  [not available in this build]";
    if (i < actual.size() && actual[i]["available"] == true && expected[i]["available"] == false) {
      expected[i]["available"] = true;
      if (line.ends_with(suffix)) line.resize(line.size() - suffix.size());
    }
    text += line + "\n";
  }
  EXPECT_EQ(json_out.out, expected.dump() + "\n");
  EXPECT_EQ(Vantrove("methods").out, text);
  EXPECT_EQ(Vantrove("enums").out, Fixture("enums.txt"));
  EXPECT_EQ(Vantrove("enums --json").out, Fixture("enums.json"));
}

TEST(Cli, EnumsListsFourteenEnumerations) {
  const json all = json::parse(Vantrove("enums --json").out);
  ASSERT_EQ(all.size(), 14u);
  EXPECT_EQ(all[10]["name"], "SaveAutoCADversionType");
  EXPECT_EQ(all[10]["constants"][0], json({{"name", "dwgSaveAsDefault"}, {"value", -1}}));
  EXPECT_NE(Vantrove("enums").out.find("Enum TableType\n  dwgFormat3DEffects1 = 32\n"), std::string::npos);
}

TEST(Cli, CallPrintsTheResultAndTheArguments) {
  Outcome r = Vantrove("call Version");
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(json::parse(r.out), json({{"result", "1.0.1"}, {"params", json::array()}}));
  r = Vantrove("call FileExists '\"/tmp\"'");
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(json::parse(r.out), json({{"result", true}, {"params", {"/tmp"}}}));
}

TEST(Cli, CallFailsWithANonZeroExitOnBadInput) {
  EXPECT_EQ(Vantrove("call NoSuchMethod").status, 1);
  EXPECT_EQ(Vantrove("call FileExists").status, 1);                  // argument not optional
  EXPECT_EQ(Vantrove("call Version 1").status, 1);                    // too many arguments
  EXPECT_EQ(Vantrove("call FileExists '{\"broken'").status, 2);       // not JSON
  EXPECT_EQ(Vantrove("call FileExists '{\"object\":9}'").status, 1);  // unknown object id
  EXPECT_NE(Vantrove("").status, 0);
}

TEST(Cli, RpcAnswersEveryLineAndSurvivesBadRequests) {
  const Outcome r = Vantrove("rpc",
                         "{\"id\":1,\"method\":\"FileExists\",\"params\":[\"/tmp\"]}\n"
                         "this is not json\n"
                         "\n"
                         "[1,2]\n"
                         "{\"id\":\"x\",\"method\":\"Nope\"}\n"
                         "{\"id\":3,\"dispid\":1610809344}\n"
                         "{\"id\":4,\"method\":\"$create\",\"params\":[\"No.Such.Class\"]}\n"
                         "{\"id\":5,\"method\":\"FileExists\",\"params\":[{\"missing\":true}]}\n");
  ASSERT_EQ(r.status, 0);
  const auto answers = Lines(r.out);
  ASSERT_EQ(answers.size(), 7u);
  EXPECT_EQ(answers[0], json({{"id", 1}, {"result", true}, {"params", {"/tmp"}}}));
  EXPECT_EQ(answers[1]["error"]["number"], 5);
  EXPECT_EQ(answers[2]["error"]["number"], 5);
  EXPECT_EQ(answers[3]["id"], "x");
  EXPECT_EQ(answers[3]["error"]["number"], 438);
  EXPECT_EQ(answers[4], json({{"id", 3}, {"result", "1.0.1"}, {"params", json::array()}}));
  EXPECT_EQ(answers[5]["error"]["number"], 429);
  EXPECT_EQ(answers[6]["error"]["number"], 449);
}

TEST(Cli, NotYetAvailableMethodsAnswer445) {
  const Outcome r = Vantrove("rpc", "{\"method\":\"CreateRecordsetFromArray\",\"params\":[[[\"a\"]]]}\n");
  EXPECT_EQ(Lines(r.out).at(0)["error"]["number"], 445);
}

}  // namespace
