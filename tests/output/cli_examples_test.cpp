// The writers driven through the built vantrove tool, as scripts drive them.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>

#include "temp_folder.hpp"

namespace {

using nlohmann::json;

std::string Vantrove(const std::string& args, const std::string& input = "") {
  const std::string in = testing::TempDir() + "output-cli-input-" + std::to_string(getpid()) + ".txt";
  vantrove::testing_support::Spit(in, input);
  const std::string cmd = std::string("'") + VANTROVE_CLI + "' " + args + " < '" + in + "' 2>/dev/null";
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  if (p == nullptr) return out;
  std::array<char, 4096> buf{};
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) out.append(buf.data(), n);
  pclose(p);
  return out;
}

TEST(OutputCli, CallJoinsATableWithQuotes) {
  const json r = json::parse(Vantrove(R"(call TwoDArrayToText '[["a","b"],["c","d"]]' '""' '","' '";"' true)"));
  EXPECT_EQ(r["result"], 1);
  EXPECT_EQ(r["params"][1], "\"a\",\"b\";\"c\",\"d\";");

  const json h = json::parse(Vantrove(R"(call TwoDArrayToHTMLTable '[["a","b"]]' '""')"));
  EXPECT_EQ(h["params"][1],
            "<TABLE ALIGN=CENTER BORDER=0 CELLSPACING=0 CELLPADDING=0 WIDTH='100%'><TBODY>\r\n"
            "<TR ALIGN=RIGHT NOWRAP><TD NOWRAP>a</TD><TD NOWRAP>b</TD></TR>\r\n</TBODY></TABLE>");
}

TEST(OutputCli, RpcCarriesByReferenceResultsBack) {
  const std::string out = Vantrove("rpc",
                              R"({"id":1,"method":"TwoDArrayToText","params":[[["a","b"]],"old"," ",""]})"
                              "\n"
                              R"({"id":2,"method":"$create","params":["TextBox"]})"
                              "\n"
                              R"({"id":3,"method":"$set","params":[{"object":1},"Text","x\r\ny"]})"
                              "\n"
                              R"({"id":4,"method":"TextBoxToOneDArray","params":[{"object":1},[]]})"
                              "\n");
  std::istringstream lines(out);
  std::vector<json> answers;
  for (std::string line; std::getline(lines, line);) answers.push_back(json::parse(line));
  ASSERT_EQ(answers.size(), 4u) << out;
  EXPECT_EQ(answers[0]["result"], 1);
  EXPECT_EQ(answers[0]["params"], json::parse(R"([[["a","b"]],"a\tb\r\n","\t","\r\n"])"));
  EXPECT_EQ(answers[3]["result"], 1);
  EXPECT_EQ(answers[3]["params"][1], json::parse(R"(["x","y"])"));
}

}  // namespace
