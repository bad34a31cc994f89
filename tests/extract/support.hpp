#pragma once
// Shared helpers for the extraction tests: fixture paths, a private
// temporary folder per test process, file text, arrays as rows of text.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "vantrove/runtime.hpp"

namespace vantrove::testing {

namespace fs = std::filesystem;

inline fs::path Fixture(const std::string& name) {
  return fs::path(VANTROVE_SOURCE_DIR) / "tests" / "extract" / "fixtures" / name;
}
inline fs::path Corpus() { return fs::path(VANTROVE_SHARED_DIR) / "corpus"; }

inline std::string ReadText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}
inline void WriteText(const fs::path& path, std::string_view text) {
  std::ofstream(path, std::ios::binary) << text;
}
// Lines joined with CR LF, each ended by one.
inline std::string CrLf(std::initializer_list<std::string_view> lines) {
  std::string out;
  for (std::string_view l : lines) out.append(l).append("\r\n");
  return out;
}

// A fresh folder, removed with everything in it at the end.
class TempDir {
 public:
  TempDir() {
    path_ = fs::temp_directory_path() /
            ("vantrove-extract-" + std::to_string(::getpid()) + "-" + std::to_string(counter_++));
    fs::create_directories(path_);
  }
  ~TempDir() {
    std::error_code error;
    fs::remove_all(path_, error);
  }
  const fs::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  size_t Count() const {
    size_t n = 0;
    for ([[maybe_unused]] const auto& e : fs::directory_iterator(path_)) ++n;
    return n;
  }

 private:
  static inline int counter_ = 0;
  fs::path path_;
};

// A two-dimensional array as rows of text ("(empty)" for Empty cells).
inline std::vector<std::vector<std::string>> Rows(const Variant& v) {
  std::vector<std::vector<std::string>> rows;
  if (!v.IsArray()) return rows;
  const SafeArray& a = v.array();
  for (int32_t r = a.LBound(1); r <= a.UBound(1); ++r) {
    std::vector<std::string> row;
    for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) {
      const Variant& cell = a.at(r, c);
      row.push_back(cell.IsEmpty() ? "(empty)" : CStr(cell));
    }
    rows.push_back(std::move(row));
  }
  return rows;
}
using Table = std::vector<std::vector<std::string>>;

}  // namespace vantrove::testing
