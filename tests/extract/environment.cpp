// Every test process keeps its temporary XML files in a folder of its own,
// so that test processes running side by side never pick the same name.
#include <gtest/gtest.h>

#include "support.hpp"
#include "vantrove/extract.hpp"

namespace vantrove::testing {
namespace {

class PrivateTempFolder : public ::testing::Environment {
 public:
  void SetUp() override {
    dir_ = std::make_unique<TempDir>();
    extract::SetTempFolderOverride(dir_->path().string());
  }
  void TearDown() override {
    extract::SetTempFolderOverride(std::nullopt);
    dir_.reset();
  }

 private:
  std::unique_ptr<TempDir> dir_;
};

const auto* const registered = ::testing::AddGlobalTestEnvironment(new PrivateTempFolder);

}  // namespace
}  // namespace vantrove::testing
