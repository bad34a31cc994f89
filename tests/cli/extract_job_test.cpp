// The extract job's attribute tables read straight from the model, against
// the tables the extraction methods give through the description, and the
// job's selectors, tag lists and filters.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "attribute_table.hpp"
#include "extract_selectors.hpp"
#include "job_runner.hpp"
#include "table.hpp"
#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/extract.hpp"

namespace {

namespace fs = std::filesystem;
using namespace vantrove;
using namespace vantrove::cli;

const std::string kSample = std::string(VANTROVE_SOURCE_DIR) + "/samples/title-blocks.dxf";

// The attribute table as the job made it through the methods: the block
// names from the description, then CreateBlockAttributeArray per block.
std::string ThroughMethods(clsVantrove& v, const std::string& block, DrawingFieldType field, DrawingSpaceType space,
                           Table& table) {
  std::vector<std::string> blocks;
  if (!block.empty()) {
    blocks.push_back(block);
  } else {
    Variant names;
    const std::string error =
        ReadChapter(v, dwgBlocksAndAttributes, "", Variant(SafeArray::Vector({"Name"})), dwgNone, names);
    if (!error.empty()) return error;
    std::set<std::string> seen;
    const SafeArray& a = names.array();
    for (int32_t r = a.LBound(1) + 1; r <= a.UBound(1); ++r) {
      const std::string name = CStr(a.at(r, a.LBound(2)));
      if (seen.insert(name).second) blocks.push_back(name);
    }
  }
  for (const std::string& b : blocks) {
    Variant rows;
    if (v.CreateBlockAttributeArray(rows, space, "", b, "", field, true, Variant::Missing()) == -1) {
      return "no description";
    }
    if (!rows.IsArray()) continue;
    if (block.empty()) table.Append(rows.array(), {{"Block", b}});
    else table.Append(rows.array());
  }
  return "";
}

std::string FromModel(clsVantrove& v, const std::string& block, DrawingFieldType field, Space space, Table& table) {
  AttributeSelection s;
  s.block = block;
  s.blockColumn = block.empty();
  s.drawingField = field;
  s.space = space;
  s.layoutColumn = false;
  AppendAttributeTable(*v.component()->document(), s, table);
  return "";
}

// Whether every reference of each block carries the same tags in the same
// order: the methods' reshaping assumes it, and only then are the two
// tables meant to be equal (otherwise the job puts each value under its own
// tag where the methods shift them).
bool UniformTags(const engine::Document& doc) {
  std::map<std::string, std::vector<std::string_view>> first;
  for (const auto& object : doc.all_objects()) {
    const engine::Object* o = object.get();
    if (o->kind() != engine::ObjectKind::kInsert || o->erased) continue;
    const auto* insert = static_cast<const engine::Insert*>(o);
    if (insert->attribs.empty()) continue;
    std::vector<std::string_view> tags;
    for (const auto* a : insert->attribs) tags.push_back(a->tag);
    auto [it, added] = first.emplace(FoldCase(insert->block_name), tags);
    if (!added && it->second != tags) return false;
  }
  return true;
}

std::vector<std::string> Drawings() {
  std::vector<std::string> out = {kSample};
  const fs::path corpus = fs::path(VANTROVE_SHARED_DIR) / "corpus";
  for (const char* folder : {"dxf", "dwg"}) {
    std::error_code ec;
    std::vector<std::string> found;
    for (const auto& e : fs::directory_iterator(corpus / folder, ec)) {
      if (IsDrawingName(e.path())) found.push_back(e.path().string());
    }
    std::sort(found.begin(), found.end());
    out.insert(out.end(), found.begin(), found.end());
  }
  return out;
}

TEST(ExtractJobModel, GivesTheTablesOfTheMethodsOnEveryReadableDrawing) {
  const std::vector<std::string> drawings = Drawings();
  if (drawings.size() == 1) std::cout << "[ NOTE     ] " << VANTROVE_SHARED_DIR << "/corpus is absent: the sample only\n";
  clsVantrove v;
  size_t compared = 0, blocks = 0, unreadable = 0, mixed = 0;
  for (const std::string& file : drawings) {
    if (!Open(v, file).empty()) {
      ++unreadable;
      continue;
    }
    const engine::Document& doc = *v.component()->document();
    if (!UniformTags(doc)) {
      ++mixed;  // compared by the tests of mixed tags below
      v.CloseDrawing();
      continue;
    }
    ++compared;
    // Every block, with and without a drawing column.
    for (DrawingFieldType field : {dwgNone, dwgDrawingName, dwgDrawingFullName}) {
      Table before, after;
      ASSERT_EQ(ThroughMethods(v, "", field, dwgBoth, before), "") << file;
      FromModel(v, "", field, Space::kBoth, after);
      ASSERT_EQ(after.ToCsv(true), before.ToCsv(true)) << file << " drawing field " << field;
    }
    // Each block on its own, as --block gives it.
    Table all;
    FromModel(v, "", dwgNone, Space::kBoth, all);
    std::set<std::string> names;
    const SafeArray rows = all.ToArray(true);
    for (int32_t r = 1; r <= rows.UBound(1); ++r) names.insert(CStr(rows.at(r, 0)));
    for (const std::string& name : names) {
      Table before, after;
      ASSERT_EQ(ThroughMethods(v, name, dwgDrawingName, dwgBoth, before), "") << file;
      FromModel(v, name, dwgDrawingName, Space::kBoth, after);
      ASSERT_EQ(after.ToCsv(true), before.ToCsv(true)) << file << " block " << name;
      ++blocks;
    }
    v.CloseDrawing();
  }
  std::cout << "[ COMPARED ] " << compared << " drawings (" << blocks << " blocks on their own); " << mixed
            << " with mixed tags; " << unreadable << " unreadable\n";
  EXPECT_GE(compared, 1u);
}

}  // namespace
