// How the tool treats a user's files: special and linked outputs, a full
// disk, read-only folders, in-place edits of one drawing by many jobs at
// once, drawings cut short, names that look like patterns, and the run's
// temporary folder when the run is killed.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "tool_process.hpp"

namespace {

namespace fs = std::filesystem;
using vantrove::testing::CanSwitchUser;
using vantrove::testing::kNobody;
using vantrove::testing::RunTool;
using vantrove::testing::StartTool;
using vantrove::testing::ToolOptions;
using vantrove::testing::ToolRun;
using vantrove::testing::WaitTool;

const std::string kSample = std::string(VANTROVE_SOURCE_DIR) + "/samples/title-blocks.dxf";
const fs::path kCorpusDwg = fs::path(VANTROVE_SHARED_DIR) / "corpus" / "dwg";

std::string Slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void Spit(const fs::path& p, const std::string& bytes) { std::ofstream(p, std::ios::binary) << bytes; }

struct Identity {
  ino_t inode = 0;
  int64_t mtime_ns = 0;
  mode_t mode = 0;
  uid_t uid = 0;
  gid_t gid = 0;
  bool operator==(const Identity&) const = default;
};

Identity IdentityOf(const fs::path& p) {
  struct stat st {};
  if (lstat(p.c_str(), &st) != 0) return {};
  return {st.st_ino, int64_t{st.st_mtim.tv_sec} * 1000000000 + st.st_mtim.tv_nsec, st.st_mode, st.st_uid, st.st_gid};
}

class Trust : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string t = (fs::temp_directory_path() / "vantrove-trust-XXXXXX").string();
    dir_ = mkdtemp(t.data());
    // Reachable by the unprivileged user some tests switch to.
    fs::permissions(dir_, fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
  }
  void TearDown() override {
    std::error_code ec;
    for (auto& e : fs::recursive_directory_iterator(dir_, ec)) {
      if (e.is_directory()) fs::permissions(e.path(), fs::perms::owner_all, fs::perm_options::add, ec);
    }
    fs::remove_all(dir_, ec);
  }
  std::string At(const std::string& name) const { return (dir_ / name).string(); }
  // A folder owned by the unprivileged user.
  std::string NobodyFolder(const std::string& name) const {
    fs::create_directories(At(name));
    if (chown(At(name).c_str(), kNobody, kNobody) != 0) ADD_FAILURE() << "chown " << name;
    return At(name);
  }
  ToolRun Tool(const std::vector<std::string>& args, ToolOptions o = {}) const {
    if (o.folder.empty()) o.folder = dir_.string();
    o.env.emplace_back("TMPDIR", dir_.string());
    return RunTool(args, o);
  }
  // The run's temporary folders left in this test's folder.
  std::vector<std::string> LeftoverTempFolders() const {
    std::vector<std::string> out;
    for (auto& e : fs::directory_iterator(dir_)) {
      if (e.path().filename().string().rfind("vantrove-", 0) == 0) out.push_back(e.path().string());
    }
    return out;
  }
  fs::path dir_;
};

// ---- Special and linked outputs ---------------------------------------------------------------

TEST_F(Trust, AnOutputLinkIsFollowedAndKept) {
  Spit(At("real.csv"), "old\n");
  fs::create_symlink("real.csv", At("link.csv"));
  const ToolRun r = Tool({"layers", kSample, "-o", At("link.csv")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(fs::is_symlink(At("link.csv")));
  EXPECT_NE(Slurp(At("real.csv")).find("NOTES,2,True,False,False"), std::string::npos) << Slurp(At("real.csv"));
}

TEST_F(Trust, AnOutputKeepsItsOwnerGroupAndMode) {
  if (!CanSwitchUser()) GTEST_SKIP() << "needs root to give the output another owner";
  Spit(At("owned.csv"), "old\n");
  ASSERT_EQ(chown(At("owned.csv").c_str(), kNobody, kNobody), 0);
  fs::permissions(At("owned.csv"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  const Identity before = IdentityOf(At("owned.csv"));
  ASSERT_EQ(Tool({"layers", kSample, "-o", At("owned.csv")}).status, 0);
  const Identity after = IdentityOf(At("owned.csv"));
  EXPECT_EQ(after.mode, before.mode);
  EXPECT_EQ(after.uid, kNobody);
  EXPECT_EQ(after.gid, kNobody);
  EXPECT_NE(after.inode, before.inode) << "replaced through a temporary file";
}

TEST_F(Trust, DevicesAndPipesAreWrittenStraightThrough) {
  // A FIFO: the tool writes into it, a reader gets the table, it stays a FIFO.
  ASSERT_EQ(mkfifo(At("pipe").c_str(), 0644), 0);
  std::string read;
  std::thread reader([&] { read = Slurp(At("pipe")); });
  const ToolRun r = Tool({"layers", kSample, "-f", "csv", "-o", At("pipe")});
  reader.join();
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(read.find("NOTES,2,True,False,False"), std::string::npos) << read;
  EXPECT_TRUE(fs::is_fifo(At("pipe")));
  // Every kind of output through a pipe: none leaves a file of its own.
  for (const char* format : {"txt", "html", "xlsx", "docx"}) {
    std::string bytes;
    std::thread r2([&] { bytes = Slurp(At("pipe")); });
    EXPECT_EQ(Tool({"layers", kSample, "-f", format, "-o", At("pipe")}).status, 0) << format;
    r2.join();
    EXPECT_GT(bytes.size(), 100u) << format;
    EXPECT_TRUE(fs::is_fifo(At("pipe"))) << format;
  }
  for (auto& e : fs::directory_iterator(dir_)) EXPECT_EQ(e.path().filename(), "pipe");

  // A character device of our own (the machine's /dev/null stays out of
  // harm's way): still a device afterwards, as root and as another user.
  if (!CanSwitchUser()) GTEST_SKIP() << "needs root to make a device node";
  ASSERT_EQ(mknod(At("null").c_str(), S_IFCHR | 0666, makedev(1, 3)), 0);
  ASSERT_EQ(chmod(At("null").c_str(), 0666), 0);
  EXPECT_EQ(Tool({"layers", kSample, "-o", At("null")}).status, 0);
  EXPECT_TRUE(fs::is_character_file(At("null")));
  ToolOptions nobody;
  nobody.uid = kNobody;
  nobody.folder = NobodyFolder("home");
  const ToolRun n = Tool({"describe", kSample, "-o", At("null")}, nobody);
  EXPECT_EQ(n.status, 0) << n.err;
  EXPECT_TRUE(fs::is_character_file(At("null")));
  EXPECT_EQ(Tool({"dxf", kSample, "-o", "/dev/null"}, nobody).status, 0);
}

TEST_F(Trust, StandardOutputIsADashForEveryJobThatWritesOne) {
  ToolRun r = Tool({"describe", kSample, "-s", "layers", "-o", "-"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.rfind("<?xml", 0), 0u) << r.out.substr(0, 80);
  r = Tool({"dxf", kSample, "-o", "-", "--version", "2000"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("AC1015"), std::string::npos);
  EXPECT_EQ(r.err.find("vantrove-"), std::string::npos) << "notes name the output, not a temporary file: " << r.err;
  r = Tool({"layers", kSample, "-o", "-", "-f", "xlsx"});
  EXPECT_EQ(r.out.rfind("PK", 0), 0u) << "a workbook on standard output";
  r = Tool({"extract", kSample, "--block", "TITLE", "-o", "-"});
  EXPECT_NE(r.out.find("A-101"), std::string::npos);
  EXPECT_FALSE(fs::exists(At("-"))) << "no file named -";
  // One drawing per -o.
  fs::copy_file(kSample, At("b.dxf"));
  EXPECT_EQ(Tool({"dxf", kSample, At("b.dxf"), "-o", "-"}).status, 2);
}

TEST_F(Trust, AnOutputKindTheToolCannotWriteIsRefused) {
  ToolRun r = Tool({"layers", kSample, "-o", At("table.pdf")});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("csv, txt, html, xlsx, docx"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(At("table.pdf")));
  // Refused before any drawing is read: the drawing's failure is not reached.
  r = Tool({"extract", At("missing.dxf"), "-o", At("table.odt")});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err.find("missing.dxf"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(At("table.odt")));
  r = Tool({"sql", "NoSuchDsn", "SELECT 1", "-o", At("table.xlsx")});
  EXPECT_EQ(r.status, 2) << "sql writes csv, html and txt only: " << r.err;
  EXPECT_NE(r.err.find("csv, html, txt"), std::string::npos) << r.err;
  // A named kind wins over the extension; no extension takes the default.
  EXPECT_EQ(Tool({"layers", kSample, "-f", "csv", "-o", At("table.pdf")}).status, 0);
  EXPECT_EQ(Tool({"layers", kSample, "-o", At("plain")}).status, 0);
  EXPECT_NE(Slurp(At("plain")).find("NOTES\t2"), std::string::npos) << "text, the default of layers";
}

TEST_F(Trust, ARunThatProducedNothingLeavesTheOldOutput) {
  Spit(At("keep.csv"), "precious\n");
  Spit(At("broken.dxf"), "not a drawing");
  const Identity before = IdentityOf(At("keep.csv"));
  for (const auto& job : std::vector<std::vector<std::string>>{
           {"layers", At("broken.dxf"), "-o", At("keep.csv")},
           {"extract", At("broken.dxf"), "-o", At("keep.csv")},
           {"describe", At("broken.dxf"), "-o", At("keep.csv")},
           {"dxf", At("broken.dxf"), "-o", At("keep.csv")},
           {"layers", At("missing.dxf"), "-o", At("keep.csv")}}) {
    const ToolRun r = Tool(job);
    EXPECT_EQ(r.status, 1) << job[0] << ": " << r.err;
    EXPECT_EQ(Slurp(At("keep.csv")), "precious\n") << job[0];
    EXPECT_EQ(IdentityOf(At("keep.csv")), before) << job[0];
  }
  // Drawings that fail in the output folder leave the older copies too.
  fs::create_directories(At("out"));
  Spit(At("out/broken.dxf"), "older copy");
  EXPECT_EQ(Tool({"dxf", At("broken.dxf"), "-d", At("out")}).status, 1);
  EXPECT_EQ(Slurp(At("out/broken.dxf")), "older copy");
}

// ---- A full disk and read-only folders ---------------------------------------------------------

TEST_F(Trust, AFullDiskIsAnErrorNotASuccess) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  ToolRun r = Tool({"layers", kSample, "-o", "/dev/full"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("No space left"), std::string::npos) << r.err;
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
  for (const auto& job : std::vector<std::vector<std::string>>{{"layers", kSample, "-f", "html"},
                                                               {"describe", kSample, "-o", "-"},
                                                               {"dxf", kSample, "-o", "-"},
                                                               {"extract", kSample, "--block", "TITLE"}}) {
    ToolOptions full;
    full.output = "/dev/full";
    r = Tool(job, full);
    EXPECT_EQ(r.status, 1) << job[0] << ": " << r.err;
    EXPECT_NE(r.err.find("No space left"), std::string::npos) << job[0] << ": " << r.err;
  }
}

TEST_F(Trust, ReadOnlyFoldersAreReportedAndLeftAlone) {
  if (!CanSwitchUser()) GTEST_SKIP() << "root writes anywhere; needs root to switch to an unprivileged user";
  const std::string home = NobodyFolder("home");
  const std::string locked = NobodyFolder("home/locked");
  fs::copy_file(kSample, locked + "/plan.dxf");
  Spit(locked + "/old.csv", "old\n");
  ASSERT_EQ(chown((locked + "/plan.dxf").c_str(), kNobody, kNobody), 0);
  ASSERT_EQ(chown((locked + "/old.csv").c_str(), kNobody, kNobody), 0);
  ASSERT_EQ(chmod(locked.c_str(), 0555), 0);
  ToolOptions nobody;
  nobody.uid = kNobody;
  nobody.folder = home;
  const Identity drawing = IdentityOf(locked + "/plan.dxf");
  ToolRun r = Tool({"layer", locked + "/plan.dxf", "-n", "NOTES", "-s", "freeze", "--in-place"}, nobody);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("Permission denied"), std::string::npos) << r.err;
  EXPECT_EQ(IdentityOf(locked + "/plan.dxf"), drawing);
  r = Tool({"layers", locked + "/plan.dxf", "-o", locked + "/old.csv"}, nobody);
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_EQ(Slurp(locked + "/old.csv"), "old\n");
  EXPECT_NE(r.err.find("Permission denied"), std::string::npos) << r.err;
  r = Tool({"dxf", locked + "/plan.dxf", "-d", locked + "/out"}, nobody);
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_NE(r.err.find("cannot create " + locked + "/out: Permission denied"), std::string::npos) << r.err;
  // Nothing was left behind: no temporary files beside the outputs.
  std::vector<std::string> names;
  for (auto& e : fs::directory_iterator(locked)) names.push_back(e.path().filename().string());
  EXPECT_EQ(names.size(), 2u);
  EXPECT_TRUE(LeftoverTempFolders().empty());
}

// ---- In-place edits -------------------------------------------------------------------------------

// Seven jobs change seven values of one drawing at once, some of them
// through a link to it: every edit lands, and the drawing stays a file
// behind its link with its mode.
TEST_F(Trust, ConcurrentInPlaceJobsAllLand) {
  fs::copy_file(kSample, At("plan.dxf"));
  fs::permissions(At("plan.dxf"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  fs::create_symlink("plan.dxf", At("link.dxf"));
  const std::vector<std::pair<std::string, std::string>> edits = {
      {"A-101", "X1"},    {"A-102", "X2"},      {"A-201", "X3"},      {"Smith", "Jones"},
      {"Ground", "Base"}, {"First", "Upper"},   {"Sections", "Cuts"}};
  std::vector<pid_t> jobs;
  std::vector<int> inputs;
  for (size_t i = 0; i < edits.size(); ++i) {
    ToolOptions o;
    o.folder = dir_.string();
    o.env.emplace_back("TMPDIR", dir_.string());
    int fd = -1;
    jobs.push_back(StartTool({"replace", At(i % 2 ? "link.dxf" : "plan.dxf"), "--in", "attributes", "--find",
                              edits[i].first, "--with", edits[i].second, "--in-place"},
                             o, fd));
    inputs.push_back(fd);
  }
  // And a layer switched at the same time.
  ToolOptions o;
  o.folder = dir_.string();
  int fd = -1;
  jobs.push_back(StartTool({"layer", At("link.dxf"), "-n", "NOTES", "-s", "freeze", "--in-place"}, o, fd));
  inputs.push_back(fd);
  for (int in : inputs) close(in);
  for (pid_t pid : jobs) EXPECT_EQ(WaitTool(pid).status, 0);
  const ToolRun r = Tool({"extract", At("plan.dxf"), "--block", "TITLE", "--no-headings"});
  EXPECT_EQ(r.out,
            "X1,Base floor plan,C,J. Jones,2026-03-02,Layout1\r\n"
            "X2,Upper floor plan,B,J. Jones,2026-03-09,Layout2\r\n"
            "X3,Cuts A-A and B-B,A,K. Müller,2026-04-14,Layout3\r\n");
  EXPECT_NE(Tool({"layers", At("plan.dxf"), "-f", "csv"}).out.find("NOTES,2,True,True,False"), std::string::npos);
  EXPECT_TRUE(fs::is_symlink(At("link.dxf")));
  EXPECT_EQ(IdentityOf(At("plan.dxf")).mode & 0777, 0640u);
}

TEST_F(Trust, InPlaceJobsLeaveUnchangedDrawingsUntouched) {
  fs::copy_file(kSample, At("plan.dxf"));
  const Identity before = IdentityOf(At("plan.dxf"));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  ToolRun r = Tool({"replace", At("plan.dxf"), "--find", "NO SUCH TEXT", "--with", "x", "--in-place"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("0 replaced"), std::string::npos) << r.err;
  r = Tool({"layer", At("plan.dxf"), "-n", "NOTES", "-s", "on", "--in-place"});  // already on
  EXPECT_EQ(r.status, 0) << r.err;
  r = Tool({"layer", At("plan.dxf"), "-n", "NOTES", "-s", "thaw", "--in-place"});  // already thawed
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(IdentityOf(At("plan.dxf")), before);
  EXPECT_EQ(Slurp(At("plan.dxf")), Slurp(kSample));
  // A change is saved, and then the same switch again changes nothing.
  ASSERT_EQ(Tool({"layer", At("plan.dxf"), "-n", "NOTES", "-s", "off", "--in-place"}).status, 0);
  const Identity changed = IdentityOf(At("plan.dxf"));
  EXPECT_NE(changed.inode, before.inode);
  ASSERT_EQ(Tool({"layer", At("plan.dxf"), "-n", "NOTES", "-s", "off", "--in-place"}).status, 0);
  EXPECT_EQ(IdentityOf(At("plan.dxf")), changed);
}

// ---- Drawings cut short ----------------------------------------------------------------------------

// The sample cut after each of its sections: every copy opens with a
// warning and is counted as incomplete; an in-place job refuses it unless
// forced.
TEST_F(Trust, ADxfCutAtASectionEndIsIncomplete) {
  const std::string whole = Slurp(kSample);
  size_t cuts = 0;
  for (size_t at = whole.find("ENDSEC"); at != std::string::npos; at = whole.find("ENDSEC", at + 1)) {
    const std::string part = whole.substr(0, whole.find('\n', at) + 1);
    if (part.size() == whole.size()) break;
    Spit(At("cut.dxf"), part);
    ToolRun r = Tool({"layers", At("cut.dxf"), "-f", "csv"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("warning: " + At("cut.dxf") + ": 1003:The drawing is incomplete"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("1 drawing, 1 done (1 incomplete), 0 failed"), std::string::npos) << r.err;
    const Identity before = IdentityOf(At("cut.dxf"));
    r = Tool({"replace", At("cut.dxf"), "--find", "*", "--with", "x", "--in", "attributes", "--in-place"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("--force"), std::string::npos) << r.err;
    EXPECT_EQ(IdentityOf(At("cut.dxf")), before);
    ++cuts;
  }
  EXPECT_EQ(cuts, 6u);
  // Forced: saved with what was read, and the saved drawing is whole again.
  EXPECT_EQ(Tool({"layer", At("cut.dxf"), "-n", "NOTES", "-s", "off", "--in-place", "--force"}).status, 0);
  EXPECT_NE(Slurp(At("cut.dxf")).find("EOF"), std::string::npos);
  // -q keeps the warning out, the exit code stays 0.
  Spit(At("cut2.dxf"), whole.substr(0, whole.rfind("ENDSEC") + 7));
  const ToolRun quiet = Tool({"layers", At("cut2.dxf"), "-q"});
  EXPECT_EQ(quiet.status, 0);
  EXPECT_EQ(quiet.err, "");
}

TEST_F(Trust, ADxfCutInsideASectionFailsSayingWhere) {
  const std::string whole = Slurp(kSample);
  Spit(At("cut.dxf"), whole.substr(0, whole.size() / 2));
  const ToolRun r = Tool({"layers", At("cut.dxf"), At("missing.dxf"), kSample});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("1202:"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("3 drawings, 1 done, 2 failed"), std::string::npos) << r.err;
}

TEST_F(Trust, ADwgThatRunsShortSaysSo) {
  const fs::path source = kCorpusDwg / "ldwg_example_2007.dwg";
  if (!fs::exists(source)) GTEST_SKIP() << "corpus not present at " << kCorpusDwg;
  const std::string whole = Slurp(source);
  // The last kilobyte gone: the drawing opens, incomplete.
  Spit(At("short.dwg"), whole.substr(0, whole.size() - 1000));
  ToolRun r = Tool({"layers", At("short.dwg")});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("1003:The drawing is incomplete"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("(1 incomplete)"), std::string::npos) << r.err;
  // Cut anywhere else: never reported as a whole drawing.
  for (size_t keep : {size_t{100}, size_t{4096}, whole.size() / 3, whole.size() / 2, whole.size() - 20000}) {
    Spit(At("short.dwg"), whole.substr(0, keep));
    r = Tool({"layers", At("short.dwg")});
    const bool refused = r.status == 1 && r.err.find(": 120") != std::string::npos;
    const bool incomplete = r.status == 0 && r.err.find("1003:") != std::string::npos;
    EXPECT_TRUE(refused || incomplete) << keep << ": " << r.err;
  }
}

// ---- Names that look like patterns ------------------------------------------------------------------

TEST_F(Trust, ALiteralNameWinsOverPatternExpansion) {
  fs::create_directories(At("d"));
  for (const char* name : {"plan[1].dxf", "a*b.dxf", "what?.dxf", "-dash.dxf", "it's here.dxf", "plan1.dxf"}) {
    fs::copy_file(kSample, At(std::string("d/") + name));
  }
  for (const char* name : {"plan[1].dxf", "a*b.dxf", "what?.dxf", "it's here.dxf"}) {
    const ToolRun r = Tool({"layers", At(std::string("d/") + name), "-v"});
    EXPECT_EQ(r.status, 0) << name << ": " << r.err;
    EXPECT_NE(r.out.find("NOTES"), std::string::npos) << name;
    // Only the drawing named, not plan1.dxf that the pattern would match.
    EXPECT_NE(r.err.find("1 drawing, 1 done"), std::string::npos) << name << ": " << r.err;
  }
  ToolOptions here;
  here.folder = At("d");
  EXPECT_EQ(Tool({"layers", "./-dash.dxf"}, here).status, 0);
  EXPECT_EQ(Tool({"layers", "--", "-dash.dxf"}, here).status, 0);
  // A hidden name is not found by the drawing methods: the tool says why.
  fs::copy_file(kSample, At("d/.hidden.dxf"));
  const ToolRun hidden = Tool({"layers", At("d/.hidden.dxf")});
  EXPECT_EQ(hidden.status, 1);
  EXPECT_NE(hidden.err.find("names start with a dot"), std::string::npos) << hidden.err;
  // A real pattern still expands.
  const ToolRun all = Tool({"layers", At("d/plan*.dxf")});
  EXPECT_NE(all.err.find("2 drawings, 2 done"), std::string::npos) << all.err;
}

// ---- The run's temporary folder ----------------------------------------------------------------------

// A temporary folder appears while the run works and is gone however the
// run ends: killed by SIGINT, SIGTERM or SIGHUP (it then dies of that
// signal as before), or by SIGPIPE when its reader went away.
TEST_F(Trust, TheTemporaryFolderGoesOnEveryExit) {
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
    ToolOptions o;
    o.env.emplace_back("TMPDIR", dir_.string());
    int input = -1;
    const pid_t pid = StartTool({"rpc"}, o, input);
    std::vector<std::string> folders;
    for (int i = 0; i < 500 && folders.empty(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      folders = LeftoverTempFolders();
    }
    ASSERT_EQ(folders.size(), 1u) << sig;
    Spit(folders[0] + "/11232026101010.xml", "a temporary description");
    fs::create_directories(folders[0] + "/sub");
    Spit(folders[0] + "/sub/part.xml", "x");
    kill(pid, sig);
    const ToolRun r = WaitTool(pid);
    close(input);
    EXPECT_EQ(r.signal, sig);
    EXPECT_TRUE(LeftoverTempFolders().empty()) << sig;
  }
  ToolOptions closed;
  closed.closedOutput = true;
  const ToolRun piped = Tool({"layers", kSample, "-o", "-"}, closed);
  EXPECT_EQ(piped.signal, SIGPIPE);
  EXPECT_TRUE(LeftoverTempFolders().empty());
  EXPECT_EQ(Tool({"layers", kSample}).status, 0);
  EXPECT_EQ(Tool({"layers", At("missing.dxf")}).status, 1);
  EXPECT_EQ(Tool({"nonsense"}).status, 2);
  EXPECT_TRUE(LeftoverTempFolders().empty());
}

}  // namespace
