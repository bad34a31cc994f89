// The jobs people run, driven through the built tool.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

const std::string kSample = std::string(VANTROVE_SOURCE_DIR) + "/samples/title-blocks.dxf";

struct Result {
  int status = -1;
  std::string out;  // stdout and stderr together
};

Result Tool(const std::string& args) {
  const std::string cmd = std::string("'") + VANTROVE_CLI + "' " + args + " 2>&1 </dev/null";
  Result r;
  FILE* p = popen(cmd.c_str(), "r");
  std::array<char, 4096> buf{};
  size_t n;
  while (p && (n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
  const int st = p ? pclose(p) : -1;
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  return r;
}

std::string Slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

class Jobs : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string t = (fs::temp_directory_path() / "vantrove-jobs-XXXXXX").string();
    dir_ = mkdtemp(t.data());
  }
  void TearDown() override { fs::remove_all(dir_); }
  std::string At(const std::string& name) const { return (dir_ / name).string(); }
  fs::path dir_;
};

TEST_F(Jobs, ExtractWritesTheTitleBlockTable) {
  const Result r = Tool("extract '" + kSample + "' --block TITLE -o '" + At("t.csv") + "'");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(Slurp(At("t.csv")),
            "DWGNO,TITLE,REV,DRAWN,DATE,Layout\r\n"
            "A-101,Ground floor plan,C,J. Smith,2026-03-02,Layout1\r\n"
            "A-102,First floor plan,B,J. Smith,2026-03-09,Layout2\r\n"
            "A-201,Sections A-A and B-B,A,K. Müller,2026-04-14,Layout3\r\n");
}

TEST_F(Jobs, ExtractMergesBlocksAndDrawingsByColumnName) {
  fs::copy_file(kSample, At("a.dxf"));
  fs::copy_file(kSample, At("b.dxf"));
  const Result r = Tool("extract '" + dir_.string() + "' --tags PART,QTY -o '" + At("bom.txt") + "'");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("2 drawings, 2 done, 0 failed"), std::string::npos) << r.out;
  std::istringstream lines(Slurp(At("bom.txt")));
  std::string header;
  std::getline(lines, header);
  EXPECT_EQ(header, "Block\tDrawing\tPART\tQTY\tLayout\r");  // the tags in the order given
  EXPECT_NE(Slurp(At("bom.txt")).find("BOM\tb.dxf\tAnchor bolt M20\t12\tModel"), std::string::npos);
}

TEST_F(Jobs, AFailingDrawingIsReportedAndTheOthersGoOn) {
  std::ofstream(At("broken.dxf")) << "not a drawing";
  const Result r = Tool("extract '" + kSample + "' '" + At("broken.dxf") + "' '" + At("missing.dxf") +
                       "' --block TITLE -f csv");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("broken.dxf: 1201:"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("missing.dxf: File not found"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("3 drawings, 1 done, 2 failed"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("title-blocks.dxf,A-101,"), std::string::npos) << r.out;
  EXPECT_EQ(Tool("extract '" + At("*.nothing") + "'").status, 2);
}

TEST_F(Jobs, ReplaceSavesChangedDrawingsWhereAsked) {
  EXPECT_EQ(Tool("replace '" + kSample + "' --find a --with b").status, 2);  // neither --output-dir nor --in-place
  Result r = Tool("replace '" + kSample + "' --in attributes --tag DRAWN --find Smith --with Jones -d '" + At("out") + "'");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find(": 2 replaced"), std::string::npos) << r.out;
  r = Tool("extract '" + At("out/title-blocks.dxf") + "' --block TITLE --tags DRAWN --no-headings");
  EXPECT_EQ(r.out, "J. Jones,Layout1\r\nJ. Jones,Layout2\r\nK. Müller,Layout3\r\n");
}

TEST_F(Jobs, LayersAndLayerStates) {
  fs::copy_file(kSample, At("s.dxf"));
  ASSERT_EQ(Tool("layer '" + At("s.dxf") + "' --name NOTES --state freeze --in-place").status, 0);
  ASSERT_EQ(Tool("layer '" + At("s.dxf") + "' --name BOM --state off --in-place").status, 0);
  const Result r = Tool("layers '" + At("s.dxf") + "' -f csv");
  EXPECT_NE(r.out.find("NOTES,2,True,True,False"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("BOM,3,False,False,False"), std::string::npos) << r.out;
  EXPECT_EQ(Tool("layer '" + At("s.dxf") + "' --name NO_SUCH_LAYER --state on --in-place").status, 1);
}

TEST_F(Jobs, DescribeAndDxf) {
  ASSERT_EQ(Tool("describe '" + kSample + "' -s layers,xrefs -o '" + At("d.xml") + "'").status, 0);
  const std::string xml = Slurp(At("d.xml"));
  EXPECT_EQ(xml.rfind("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n\r\n<Drawing>", 0), 0u);
  EXPECT_NE(xml.find("<PathName>..\\site\\site-plan.dwg</PathName>"), std::string::npos);
  EXPECT_EQ(xml.find("<TextLiterals>"), std::string::npos);
  const Result r12 = Tool("dxf '" + kSample + "' --version 12 -d '" + At("r12") + "'");
  ASSERT_EQ(r12.status, 0) << r12.out;
  EXPECT_NE(r12.out.find("IMAGE"), std::string::npos) << "says what R12 cannot hold: " << r12.out;
  EXPECT_NE(Slurp(At("r12/title-blocks.dxf")).find("AC1009"), std::string::npos);
  EXPECT_EQ(Tool("dxf '" + kSample + "' -d '" + (fs::path(kSample).parent_path()).string() + "'").status, 1);
}

// A folder of DWG and DXF drawings converts as a whole: every readable one
// is written, the unreadable one is named with its status.
TEST_F(Jobs, DxfConvertsAFolderOfMixedDwgAndDxf) {
  const fs::path corpus = fs::path(VANTROVE_SHARED_DIR) / "corpus" / "dwg";
  if (!fs::exists(corpus / "ldwg_example_2000.dwg")) GTEST_SKIP() << "corpus not present";
  fs::create_directories(At("in"));
  fs::create_symlink(corpus / "ldwg_example_2000.dwg", At("in/plan.dwg"));
  fs::create_symlink(corpus / "acs_sample_AC1032.dwg", At("in/sample.dwg"));
  fs::copy_file(kSample, At("in/title-blocks.dxf"));
  std::ofstream(At("in/broken.dwg")) << "not a drawing";
  const Result r = Tool("dxf '" + At("in") + "' --version 2000 -d '" + At("out") + "'");
  EXPECT_NE(r.out.find("broken.dwg: 1201:"), std::string::npos) << r.out;
  for (const char* name : {"plan.dxf", "sample.dxf", "title-blocks.dxf"}) {
    EXPECT_NE(Slurp(At(std::string("out/") + name)).find("AC1015"), std::string::npos) << name << "\n" << r.out;
  }
  EXPECT_FALSE(fs::exists(At("out/broken.dxf")));
}

TEST_F(Jobs, EveryJobExplainsItselfWithAnExample) {
  for (const char* job : {"extract", "describe", "dxf", "replace", "layers", "layer"}) {
    const Result r = Tool(std::string(job) + " --help");
    EXPECT_EQ(r.status, 0) << job;
    EXPECT_NE(r.out.find("Example"), std::string::npos) << job;
  }
}

}  // namespace
