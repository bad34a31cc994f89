#pragma once
// A fresh folder for one test, removed with everything in it afterwards.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vantrove::testing_support {

class TempFolder {
 public:
  TempFolder() {
    std::string tmpl = ::testing::TempDir() + "vantrove-XXXXXX";
    path_ = mkdtemp(tmpl.data()) ? tmpl : std::string();
  }
  ~TempFolder() {
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove_all(path_, ec);
  }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }
  // Names in the folder, sorted.
  std::vector<std::string> Names() const {
    std::vector<std::string> out;
    for (const auto& e : std::filesystem::directory_iterator(path_)) out.push_back(e.path().filename().string());
    std::sort(out.begin(), out.end());
    return out;
  }

 private:
  std::string path_;
};

inline std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

inline void Spit(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

}  // namespace vantrove::testing_support
