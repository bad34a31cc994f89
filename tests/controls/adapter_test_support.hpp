#pragma once
// Helpers of the control adapter tests.
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "vantrove/component.hpp"
#include "vantrove/controls.hpp"

namespace vantrove {

// An allocated, empty array: what callers pass to be filled.
inline Variant EmptyArray() { return Variant(SafeArray({Bounds{0, -1}})); }

// The elements of a one-dimensional array as text.
inline std::vector<std::string> Texts(const Variant& v) {
  std::vector<std::string> out;
  for (const Variant& e : v.array().data()) out.push_back(CStr(e));
  return out;
}

// The rows of a two-dimensional array as text (Empty as "").
inline std::vector<std::vector<std::string>> Rows(const Variant& v) {
  const SafeArray& a = v.array();
  std::vector<std::vector<std::string>> out;
  for (int32_t r = a.LBound(1); r <= a.UBound(1); ++r) {
    std::vector<std::string> row;
    for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) row.push_back(CStr(a.at(r, c)));
    out.push_back(std::move(row));
  }
  return out;
}

inline int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const RuntimeError& e) {
    return e.number();
  }
  return 0;
}

// A fresh folder under the temporary folder, removed at the end.
struct TempFolder {
  std::filesystem::path path;
  TempFolder() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "vantrove-controls-XXXXXX").string();
    path = mkdtemp(tmpl.data());
  }
  ~TempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
  }
};

}  // namespace vantrove
