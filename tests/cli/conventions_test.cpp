// The habits every job shares: exit codes, --version, -q and -v, -r, and
// `vantrove methods NAME`.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tool_process.hpp"

namespace {

namespace fs = std::filesystem;
using vantrove::testing::RunTool;
using vantrove::testing::ToolRun;

const std::string kSample = std::string(VANTROVE_SOURCE_DIR) + "/samples/title-blocks.dxf";

TEST(Conventions, ExitCodesAreZeroOneAndTwo) {
  // Usage errors of every kind exit 2, whatever the parser's own numbers.
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {},
           {"nonsense"},
           {"layers"},                                          // a required argument missing
           {"layers", kSample, "--no-such-option"},             // an unknown option
           {"layer", kSample, "-n", "X", "-s", "sideways", "--in-place"},  // a value outside its set
           {"dxf", kSample, "--version", "twenty"},             // not a number
           {"replace", kSample, "--find", "a", "--with", "b"},  // neither -d nor --in-place
           {"layers", "/no/such/folder/*.dxf"},                 // nothing to work on
           {"layers", kSample, "-q", "-v"}}) {
    const ToolRun r = RunTool(args);
    std::string line;
    for (const auto& a : args) line += a + " ";
    EXPECT_EQ(r.status, 2) << line << "\n" << r.err;
    EXPECT_FALSE(r.err.empty()) << line;
  }
  EXPECT_EQ(RunTool({"layers", kSample}).status, 0);
  EXPECT_EQ(RunTool({"layers", kSample, "/no/such.dxf"}).status, 1);
  EXPECT_EQ(RunTool({"--help"}).status, 0);
  EXPECT_EQ(RunTool({"layers", "--help"}).status, 0);
}

TEST(Conventions, HelpStatesTheConventions) {
  const ToolRun r = RunTool({"--help"});
  for (const char* words : {"Exit codes: 0 done, 1 some drawings failed", "2 usage", "-q", "-v", "-o -", "--force",
                            "lock each drawing", "--version"}) {
    EXPECT_NE(r.out.find(words), std::string::npos) << words << "\n" << r.out;
  }
}

TEST(Conventions, VersionQuietAndVerbose) {
  ToolRun r = RunTool({"--version"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "1.0.1\n");
  // The job's own --version (a DXF version) is not the tool's.
  EXPECT_EQ(RunTool({"dxf", kSample, "--version", "12", "-o", "/dev/null"}).status, 0);

  std::string t = (fs::temp_directory_path() / "vantrove-conv-XXXXXX").string();
  const fs::path dir = mkdtemp(t.data());
  fs::copy_file(kSample, dir / "a.dxf");
  fs::copy_file(kSample, dir / "b.dxf");
  std::ofstream(dir / "broken.dxf") << "nothing";
  const std::string folder = dir.string();
  // -q: the table, and errors only.
  r = RunTool({"layers", folder + "/a.dxf", folder + "/b.dxf", "-q"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_NE(r.out.find("NOTES"), std::string::npos);
  r = RunTool({"-q", "replace", folder + "/a.dxf", "--find", "Smith", "--with", "Jones", "--in", "attributes",
               "--in-place"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "") << "no per-file note with -q";
  r = RunTool({"layers", folder, "-q"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("broken.dxf: 1201:"), std::string::npos) << r.err;
  EXPECT_EQ(r.err.find("drawings,"), std::string::npos) << "no summary with -q: " << r.err;
  // -v: each drawing with its time, and the summary even for one drawing.
  r = RunTool({"layers", folder + "/a.dxf", "-v"});
  EXPECT_NE(r.err.find("a.dxf: done in "), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("1 drawing, 1 done, 0 failed"), std::string::npos) << r.err;
  fs::remove_all(dir);
}

TEST(Conventions, RecursiveOnEveryJobThatTakesFolders) {
  std::string t = (fs::temp_directory_path() / "vantrove-conv-XXXXXX").string();
  const fs::path dir = mkdtemp(t.data());
  fs::create_directories(dir / "sub" / "deeper");
  fs::copy_file(kSample, dir / "sub" / "deeper" / "plan.dxf");
  const std::string folder = dir.string();
  EXPECT_EQ(RunTool({"layers", folder}).status, 2) << "no drawings without -r";
  EXPECT_EQ(RunTool({"layers", folder, "-r"}).status, 0);
  EXPECT_EQ(RunTool({"extract", folder, "-r", "--block", "TITLE"}).status, 0);
  EXPECT_EQ(RunTool({"dxf", folder, "-r", "-d", folder + "/out"}).status, 0);
  EXPECT_TRUE(fs::exists(dir / "out" / "plan.dxf"));
  EXPECT_EQ(RunTool({"layer", folder, "-r", "-n", "NOTES", "-s", "off", "--in-place"}).status, 0);
  EXPECT_EQ(RunTool({"replace", folder, "-r", "--find", "Smith", "--with", "X", "--in", "attributes", "--in-place"})
                .status,
            0);
  const ToolRun r = RunTool({"layers", folder, "-r", "-f", "csv"});
  EXPECT_NE(r.out.find("NOTES,plan.dxf,2,False"), std::string::npos) << r.out;
  fs::remove_all(dir);
}

TEST(Conventions, MethodsNameShowsOneMethod) {
  ToolRun r = RunTool({"methods", "savedrawing"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.rfind("Function SaveDrawing(ByRef strDWGfile As String, Optional ByRef lngVersion As "
                        "SaveAutoCADversionType = -1) As String\n",
                        0),
            0u)
      << r.out;
  EXPECT_NE(r.out.find("Position 61, DISPID 0x6003003D"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("lngVersion                   SaveAutoCADversionType by reference, optional, default -1"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("Result (String): \"OK\" when done"), std::string::npos) << r.out;

  r = RunTool({"methods", "SortTwoDArray", "--json"});
  ASSERT_EQ(r.status, 0);
  const nlohmann::json j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["name"], "SortTwoDArray");
  EXPECT_EQ(j["returns"], "Integer");
  EXPECT_FALSE(j["help"].get<std::string>().empty());
  EXPECT_NE(j["result"].get<std::string>().find("1 when done"), std::string::npos) << j.dump();
  EXPECT_EQ(j["params"][0]["byref"], true);

  r = RunTool({"methods", "FindAndReplaceText"});
  EXPECT_NE(r.out.find("-1 the drawing's description could not be written"), std::string::npos) << r.out;

  r = RunTool({"methods", "Drawing"});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("OpenDrawing"), std::string::npos) << "close names: " << r.err;
  EXPECT_NE(r.err.find("SaveDrawing"), std::string::npos) << r.err;
}

}  // namespace
