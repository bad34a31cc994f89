#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"

namespace vantrove {
namespace {

namespace fs = std::filesystem;

// Records every message box instead of showing it.
class RecordingSink : public MessageSink {
 public:
  struct Box {
    std::string title, text;
    int style;
  };
  void Show(std::string_view title, std::string_view text, int style) override {
    boxes.push_back({std::string(title), std::string(text), style});
  }
  std::vector<Box> boxes;
};

class TempDir {
 public:
  TempDir() {
    std::string tmpl = (fs::temp_directory_path() / "vantrove-test-XXXXXX").string();
    path_ = mkdtemp(tmpl.data());
  }
  ~TempDir() { fs::remove_all(path_); }
  const fs::path& path() const { return path_; }
  void Touch(const std::string& name) const { std::ofstream(path_ / name) << "x"; }

 private:
  fs::path path_;
};

class FrameTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sink_ = std::make_shared<RecordingSink>();
    SetMessageSink(sink_);
  }
  void TearDown() override {
    SetMessageSink(nullptr);
    ResetComponentEnvironment();
  }
  std::shared_ptr<RecordingSink> sink_;
};

TEST_F(FrameTest, NormalConstructionShowsNothingAndHasAComponent) {
  clsVantrove v;
  EXPECT_TRUE(sink_->boxes.empty());
  EXPECT_FALSE(v.component_missing());
  EXPECT_NE(v.component(), nullptr);
  EXPECT_FALSE(v.drawing_open());
}

TEST_F(FrameTest, MissingComponentFileShowsTheBoxAndStillCreatesTheComponent) {
  TempDir empty;
  SetComponentEnvironment({empty.path().string(), nullptr});
  clsVantrove v;
  ASSERT_EQ(sink_->boxes.size(), 1u);
  EXPECT_EQ(sink_->boxes[0].title, "Missing DLL File");
  EXPECT_EQ(sink_->boxes[0].text, "File " + empty.path().string() +
                                      "\\DToolsXDWG2007.DLL not found. This file must exist in Windows System32 "
                                      "folder. Please reinstall Vantrove DLL.");
  EXPECT_EQ(sink_->boxes[0].style, 48);
  EXPECT_TRUE(v.component_missing());
  EXPECT_NE(v.component(), nullptr);  // creation is attempted anyway
}

TEST_F(FrameTest, FailedCreationAfterMissingFileShowsBothBoxesAndVersionStillWorks) {
  TempDir empty;
  SetComponentEnvironment({empty.path().string(), []() -> std::unique_ptr<engine::DrawingComponent> {
                             Raise(err::kCannotCreateObject);
                           }});
  clsVantrove v;
  ASSERT_EQ(sink_->boxes.size(), 2u);
  EXPECT_EQ(sink_->boxes[0].title, "Missing DLL File");
  EXPECT_EQ(sink_->boxes[1].title, "Error");
  EXPECT_EQ(sink_->boxes[1].text,
            "Unable to create instance of DToolsX-DWG.\r\n429 : ActiveX component can't create object");
  EXPECT_EQ(v.component(), nullptr);
  EXPECT_EQ(v.Version(), "1.0.1");
}

TEST_F(FrameTest, AFactoryThatReturnsNothingCountsAsAFailedCreation) {
  SetComponentEnvironment({std::nullopt, [] { return std::unique_ptr<engine::DrawingComponent>(); }});
  clsVantrove v;
  ASSERT_EQ(sink_->boxes.size(), 1u);
  EXPECT_EQ(sink_->boxes[0].title, "Error");
  EXPECT_FALSE(v.component_missing());
}

TEST(Frame, VersionReportsMajorMinorRevision) {
  EXPECT_EQ(FormatVersionRecord(2, 4, 0, 58), "2.4.58");
  clsVantrove v;
  EXPECT_EQ(v.Version(), "1.0.1");
}

TEST(Frame, StripAtNull) {
  EXPECT_EQ(StripAtNull(std::string("abc\0def", 7)), "abc");
  EXPECT_EQ(StripAtNull(""), "");
  EXPECT_EQ(StripAtNull("plain"), "plain");
}

TEST(Frame, SystemFolderHoldsTheEngineModule) {
  const std::string folder = GetSpecialFolderPath(37);
  ASSERT_FALSE(folder.empty());
  EXPECT_TRUE(fs::exists(fs::path(folder) / ComponentFileName()));
  EXPECT_EQ(GetSpecialFolderPath(12345), "");
}

TEST(FileExists, FilesFoldersWildcardsAndHiddenNames) {
  TempDir dir;
  dir.Touch("plan.dwg");
  dir.Touch("notes");
  dir.Touch(".hidden");
  fs::create_directory(dir.path() / "sub");
  clsVantrove v;
  auto exists = [&](const std::string& p) {
    Variant arg(p);
    return v.FileExists(arg);
  };
  const std::string d = dir.path().string();
  EXPECT_TRUE(exists(d));
  EXPECT_TRUE(exists(d + "/"));
  EXPECT_TRUE(exists(d + "/plan.dwg"));
  EXPECT_TRUE(exists(d + "/sub"));
  EXPECT_TRUE(exists(d + "\\plan.dwg"));  // either separator
  EXPECT_TRUE(exists(d + "/*.dwg"));
  EXPECT_TRUE(exists(d + "/pl?n.*"));
  EXPECT_TRUE(exists(d + "/notes.*"));  // "x.*" also matches "x"
  EXPECT_TRUE(exists(d + "/s*"));       // folders count
  EXPECT_FALSE(exists(d + "/*.dxf"));
  EXPECT_FALSE(exists(d + "/.hidden"));
  EXPECT_FALSE(exists(d + "/.hid*"));
  EXPECT_FALSE(exists(d + "/missing.dwg"));
  EXPECT_FALSE(exists(d + "/*/plan.dwg"));  // wildcards only in the last part
  EXPECT_FALSE(exists("Z:\\drawings\\plan.dwg"));
  EXPECT_FALSE(exists(""));
  EXPECT_FALSE(exists(std::string("/tmp\0x", 6)));
  Variant null = Variant::Null();
  EXPECT_FALSE(v.FileExists(null));
  Variant arr(SafeArray::Vector({1}));
  EXPECT_FALSE(v.FileExists(arr));
}

TEST(FileExists, UnreadableFolderAnswersFalse) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads every folder";
  TempDir dir;
  dir.Touch("a.txt");
  fs::permissions(dir.path(), fs::perms::none);
  clsVantrove v;
  Variant pattern(dir.path().string() + "/*.txt");
  EXPECT_FALSE(v.FileExists(pattern));
  fs::permissions(dir.path(), fs::perms::owner_all);
}

}  // namespace
}  // namespace vantrove
