// The clipboard writers against a real X server (Xvfb), read back with xclip.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "temp_folder.hpp"
#include "vantrove/component.hpp"
#include "vantrove/output.hpp"

extern char** environ;

namespace vantrove {
namespace {

// Sets environment variables for one test and restores them afterwards.
class EnvScope {
 public:
  void Set(const char* name, std::optional<std::string> value) {
    const char* old = std::getenv(name);
    saved_.push_back({name, old ? std::optional<std::string>(old) : std::nullopt});
    if (value) setenv(name, value->c_str(), 1);
    else unsetenv(name);
  }
  ~EnvScope() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
      if (it->second) setenv(it->first.c_str(), it->second->c_str(), 1);
      else unsetenv(it->first.c_str());
    }
  }

 private:
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

class RecordingSink : public MessageSink {
 public:
  void Show(std::string_view title, std::string_view text, int) override {
    shown.push_back(std::string(title) + ": " + std::string(text));
  }
  std::vector<std::string> shown;
};

// An Xvfb server on a free display for the test's lifetime.
class VirtualDisplay {
 public:
  VirtualDisplay() {
    int fds[2];
    if (pipe(fds) != 0) return;
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_addopen(&fa, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&fa, 2, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&fa, fds[1], 1);
    posix_spawn_file_actions_addclose(&fa, fds[0]);
    const char* argv[] = {"Xvfb", "-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp", nullptr};
    if (posix_spawn(&pid_, "/usr/bin/Xvfb", &fa, nullptr, const_cast<char**>(argv), environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&fa);
    close(fds[1]);
    std::string number;
    char c;
    while (pid_ > 0 && read(fds[0], &c, 1) == 1 && c != '\n') number += c;
    close(fds[0]);
    if (!number.empty()) display_ = ":" + number;
  }
  ~VirtualDisplay() {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
  }
  const std::string& display() const { return display_; }

 private:
  pid_t pid_ = -1;
  std::string display_;
};

std::string ReadClipboard() {
  std::string out;
  FILE* p = popen("/usr/bin/xclip -selection clipboard -o 2>/dev/null", "r");
  if (p == nullptr) return out;
  std::array<char, 4096> buf{};
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) out.append(buf.data(), n);
  pclose(p);
  return out;
}

TEST(Clipboard, WithoutADesktopTheWritersFailAndSayWhyOnlyWhenAsked) {
  EnvScope env;
  env.Set("DISPLAY", std::nullopt);
  env.Set("WAYLAND_DISPLAY", std::nullopt);
  env.Set("VANTROVE_DIAGNOSTICS", std::nullopt);
  auto sink = std::make_shared<RecordingSink>();
  SetMessageSink(sink);
  clsVantrove v;
  sink->shown.clear();
  std::string delimiter = ",", endOfRow = ";";
  const Variant grid(SafeArray::FromRows({{"a"}}));
  EXPECT_EQ(v.TwoDArrayToClipboard(grid, delimiter, endOfRow), 0);
  EXPECT_TRUE(sink->shown.empty());

  env.Set("VANTROVE_DIAGNOSTICS", "1");
  EXPECT_EQ(v.OneDArrayToClipboard(Variant(SafeArray::Vector({"a"})), endOfRow), 0);
  ASSERT_EQ(sink->shown.size(), 1u);
  EXPECT_NE(sink->shown[0].find("no desktop"), std::string::npos) << sink->shown[0];

  env.Set("DISPLAY", ":99");
  env.Set("PATH", testing::TempDir());  // no helper program there
  std::string why;
  EXPECT_FALSE(SetClipboardText("x", &why));
  EXPECT_NE(why.find("no clipboard program"), std::string::npos) << why;
  EXPECT_EQ(v.TwoDArrayToClipboard(Variant("no array"), delimiter, endOfRow), -1);
  SetMessageSink(nullptr);
}

TEST(Clipboard, TextArrivesOnARealXServer) {
  if (!std::filesystem::exists("/usr/bin/Xvfb") || !std::filesystem::exists("/usr/bin/xclip") ||
      !std::filesystem::exists("/usr/bin/xsel")) {
    GTEST_SKIP() << "Xvfb, xclip or xsel is not installed (scripts/setup.sh installs them)";
  }
  VirtualDisplay x;
  ASSERT_FALSE(x.display().empty()) << "Xvfb did not start";
  EnvScope env;
  env.Set("DISPLAY", x.display());
  env.Set("WAYLAND_DISPLAY", std::nullopt);
  clsVantrove v;

  std::string delimiter = " ", endOfRow = "";
  const Variant grid(SafeArray::FromRows({{"Grüße", "✓"}, {int32_t{1}, 2.5}}));
  ASSERT_EQ(v.TwoDArrayToClipboard(grid, delimiter, endOfRow, true), 1);
  EXPECT_EQ(ReadClipboard(), "\"Grüße\"\t\"✓\"\r\n\"1\"\t\"2.5\"\r\n");
  EXPECT_EQ(delimiter, "\t");

  Variant d(","), e(";");
  ASSERT_EQ(v.Web_TwoDArrayToClipboard(grid, d, e), 1);
  EXPECT_EQ(ReadClipboard(), "Grüße,✓;1,2.5;");

  // Without xclip the writer falls back to xsel.
  testing_support::TempFolder bin;
  std::filesystem::create_symlink("/usr/bin/xsel", bin / "xsel");
  env.Set("PATH", bin.path());
  std::string eor = "|";
  ASSERT_EQ(v.OneDArrayToClipboard(Variant(SafeArray::Vector({"x", "y"})), eor, "."), 1);
  EXPECT_EQ(ReadClipboard(), "x|y.");
}

}  // namespace
}  // namespace vantrove
