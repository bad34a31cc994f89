// Replacing a file through a temporary file: links, owner and mode, pipes,
// and what a failure leaves behind.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <thread>

#include "test_support.hpp"
#include "vantrove/engine/replacing_file.hpp"

namespace vantrove::engine::testing {
namespace {

namespace fs = std::filesystem;
using io::ReplaceFileContent;
using io::ReplacingFile;

std::string Read(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

size_t Entries(const fs::path& folder) {
  size_t n = 0;
  for ([[maybe_unused]] const auto& e : fs::directory_iterator(folder)) ++n;
  return n;
}

TEST(ReplacingFile, KeepsModeOwnerAndLeavesNoTemporaryFile) {
  TempDir dir;
  const fs::path file = dir / "plan.txt";
  std::ofstream(file) << "old";
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  const bool root = ::geteuid() == 0;
  if (root) {
    ASSERT_EQ(::chown(file.c_str(), 1234, 2345), 0);
  }
  ASSERT_TRUE(ReplaceFileContent(file.string(), "new").ok());
  EXPECT_EQ(Read(file), "new");
  struct stat st {};
  ASSERT_EQ(::stat(file.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  if (root) {
    EXPECT_EQ(st.st_uid, 1234u);
    EXPECT_EQ(st.st_gid, 2345u);
  }
  EXPECT_EQ(Entries(dir.path()), 1u);
}

TEST(ReplacingFile, ReplacesWhatALinkPointsToAndKeepsTheLink) {
  TempDir dir;
  fs::create_directories(dir / "real");
  std::ofstream(dir / "real" / "plan.dxf") << "old";
  fs::create_symlink("real/plan.dxf", dir / "link.dxf");
  ReplacingFile file;
  ASSERT_TRUE(file.Open((dir / "link.dxf").string()).ok());
  EXPECT_EQ(file.target(), (dir / "real" / "plan.dxf").string());
  file.Write("new");
  ASSERT_TRUE(file.Commit().ok());
  EXPECT_TRUE(fs::is_symlink(dir / "link.dxf"));
  EXPECT_EQ(Read(dir / "real" / "plan.dxf"), "new");
  EXPECT_EQ(Entries(dir / "real"), 1u);

  // A link to a file that does not exist yet creates that file.
  fs::create_symlink("real/new.dxf", dir / "dangling.dxf");
  ASSERT_TRUE(ReplaceFileContent((dir / "dangling.dxf").string(), "made").ok());
  EXPECT_TRUE(fs::is_symlink(dir / "dangling.dxf"));
  EXPECT_EQ(Read(dir / "real" / "new.dxf"), "made");
}

TEST(ReplacingFile, WritesStraightThroughAPipe) {
  TempDir dir;
  const fs::path fifo = dir / "pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::string received;
  std::thread reader([&] { received = Read(fifo); });
  const Status status = ReplaceFileContent(fifo.string(), "through");
  reader.join();
  EXPECT_TRUE(status.ok()) << status.Text();
  EXPECT_EQ(received, "through");
  EXPECT_TRUE(fs::is_fifo(fifo));
  EXPECT_EQ(Entries(dir.path()), 1u);
}

TEST(ReplacingFile, AnAbandonedOrFailedWriteLeavesTheOldFile) {
  TempDir dir;
  const fs::path file = dir / "plan.txt";
  std::ofstream(file) << "old";
  {
    ReplacingFile abandoned;
    ASSERT_TRUE(abandoned.Open(file.string()).ok());
    abandoned.Write("half");
  }
  EXPECT_EQ(Read(file), "old");
  EXPECT_EQ(Entries(dir.path()), 1u);

  EXPECT_EQ(ReplaceFileContent((dir / "missing" / "x.txt").string(), "x").code, StatusCode::kFolderNotFound);
  EXPECT_EQ(ReplaceFileContent(dir.path().string(), "x").code, StatusCode::kCannotWriteFile);
  ReplacingFile unopened;
  EXPECT_FALSE(unopened.Commit().ok());
}

}  // namespace
}  // namespace vantrove::engine::testing
