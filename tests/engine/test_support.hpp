#pragma once
// Shared helpers for the engine tests: fixture paths, temporary folders,
// reading a fixture into a document.

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "vantrove/engine/dxf_reader.hpp"

namespace vantrove::engine::testing {

inline std::filesystem::path Fixture(const std::string& name) {
  return std::filesystem::path(VANTROVE_SOURCE_DIR) / "tests" / "engine" / "fixtures" / name;
}

inline std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

inline Status ReadText(const std::string& bytes, Document& document) {
  auto buffer = std::make_unique<char[]>(bytes.size() + 1);
  if (!bytes.empty()) std::memcpy(buffer.get(), bytes.data(), bytes.size());
  return ReadDxfBuffer(std::move(buffer), bytes.size(), "memory.dxf", document);
}

// A fresh folder under the system temporary folder, removed at the end.
class TempDir {
 public:
  TempDir() {
    path_ = std::filesystem::temp_directory_path() /
            ("vantrove-engine-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter_++));
    std::filesystem::create_directories(path_);
  }
  ~TempDir() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  static inline int counter_ = 0;
  std::filesystem::path path_;
};

}  // namespace vantrove::engine::testing
