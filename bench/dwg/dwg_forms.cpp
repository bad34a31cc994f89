// Counts, over every corpus DWG the engine reads, the records that have a
// DXF form (and so are written to DXF) and, per record type, those that do
// not: by number of records and of files, most records first.
// Run: build/release/bin/dwg_forms [path/to/shared/corpus]   (not part of ctest)

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_reader.hpp"

namespace fs = std::filesystem;
using namespace vantrove::engine;

int main(int argc, char** argv) {
  const fs::path corpus = argc > 1 ? fs::path(argv[1]) : fs::path(VANTROVE_SHARED_DIR) / "corpus";
  std::vector<fs::path> files;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(corpus / "dwg", ec)) {
    if (entry.path().extension() == ".dwg") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  size_t readable = 0, records = 0, formed = 0;
  std::map<std::string, std::pair<size_t, std::set<std::string>>> missing;
  for (const fs::path& path : files) {
    Document doc;
    if (!ReadDwgFile(path.string(), doc).ok()) continue;
    ++readable;
    for (const auto& object : doc.all_objects()) {
      if (object->synthesized || object->section == Section::kNone || object->section == Section::kClasses) continue;
      ++records;
      if (!doc.Groups(*object).empty()) {
        ++formed;
        continue;
      }
      auto& slot = missing[std::string(object->type_name)];
      ++slot.first;
      slot.second.insert(path.filename().string());
    }
  }
  std::printf("%zu readable DWG files, %zu of %zu records have a DXF form\n", readable, formed, records);
  std::vector<std::pair<std::string, std::pair<size_t, size_t>>> rows;
  for (const auto& [name, slot] : missing) rows.push_back({name, {slot.first, slot.second.size()}});
  std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.second.first > b.second.first; });
  for (const auto& [name, n] : rows) std::printf("%8zu records %3zu files  %s\n", n.first, n.second, name.c_str());
  return 0;
}
