// The model a DWG file gives: structure (which block holds what, attributes
// after their insert, each entity once), source bytes that still pass their
// check value, and the fields converted to the model's units.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "dwg/checksum.hpp"
#include "vantrove/engine/dwg_reader.hpp"
#include "vantrove/engine/dxf_reader.hpp"
#include "vantrove/engine/dxf_writer.hpp"

namespace vantrove::engine {
namespace {

namespace fs = std::filesystem;

fs::path Dwg(const std::string& name) { return fs::path(VANTROVE_SHARED_DIR) / "corpus" / "dwg" / name; }

class DwgModel : public ::testing::TestWithParam<const char*> {};

TEST_P(DwgModel, StructureIsConsistent) {
  const fs::path path = Dwg(GetParam());
  if (!fs::exists(path)) GTEST_SKIP() << "corpus not available: " << path;
  Document doc;
  ASSERT_TRUE(ReadDwgFile(path.string(), doc).ok());
  // Each entity sits in exactly one block, and knows it.
  std::set<const Entity*> seen;
  for (const Block* block : doc.blocks) {
    for (const Entity* entity : block->entities) {
      EXPECT_TRUE(seen.insert(entity).second) << FormatHandle(entity->handle) << " listed twice";
      EXPECT_EQ(entity->block, block) << FormatHandle(entity->handle);
      EXPECT_FALSE(entity->layer.empty()) << FormatHandle(entity->handle) << " has no layer";
    }
  }
  // Attributes follow their insert in the block's list and point back.
  size_t attribs = 0;
  for (const Block* block : doc.blocks) {
    for (size_t i = 0; i < block->entities.size(); ++i) {
      if (block->entities[i]->kind() != ObjectKind::kInsert) continue;
      const auto* insert = static_cast<const Insert*>(block->entities[i]);
      EXPECT_FALSE(insert->block_name.empty());
      EXPECT_NE(doc.FindBlock(insert->block_name), nullptr) << insert->block_name;
      for (size_t k = 0; k < insert->attribs.size(); ++k) {
        ++attribs;
        EXPECT_EQ(insert->attribs[k]->insert, insert);
        ASSERT_LT(i + 1 + k, block->entities.size());
        EXPECT_EQ(block->entities[i + 1 + k], insert->attribs[k]);
      }
      if (insert->attributes_follow) {
        EXPECT_NE(insert->seqend, nullptr) << FormatHandle(insert->handle);
      }
    }
  }
  EXPECT_GT(attribs, 0u);
  // Every layout shows a block; model space is the Model layout's.
  for (const Layout* layout : doc.layouts) EXPECT_NE(layout->block, nullptr) << layout->name;
  ASSERT_FALSE(doc.layouts.empty());
  EXPECT_EQ(doc.layouts.front()->name, "Model");
  EXPECT_EQ(doc.layouts.front()->block, doc.model_space());
}

TEST_P(DwgModel, SourceBytesPassTheirCheckValue) {
  const fs::path path = Dwg(GetParam());
  if (!fs::exists(path)) GTEST_SKIP() << "corpus not available: " << path;
  Document doc;
  ASSERT_TRUE(ReadDwgFile(path.string(), doc).ok());
  size_t checked = 0;
  for (const auto& object : doc.all_objects()) {
    const DwgSource* source = DwgSourceOf(*object);
    if (source == nullptr) continue;
    const auto* bytes = reinterpret_cast<const uint8_t*>(source->bits.data());
    const size_t n = source->bits.size();
    ASSERT_GE(n, 4u);
    const uint16_t stored = static_cast<uint16_t>(bytes[n - 2] | (bytes[n - 1] << 8));
    EXPECT_EQ(dwg::Crc16(0xC0C1, bytes, n - 2), stored) << FormatHandle(object->handle);
    ++checked;
  }
  EXPECT_GT(checked, 100u);
}

INSTANTIATE_TEST_SUITE_P(Versions, DwgModel,
                         ::testing::Values("ldwg_example_r13.dwg", "ldwg_example_r14.dwg", "ldwg_example_2000.dwg",
                                           "ldwg_example_2004.dwg", "ldwg_example_2010.dwg", "ldwg_example_2013.dwg",
                                           "ldwg_example_2018.dwg", "acs_sample_AC1032.dwg"));

TEST(DwgModelFields, AnglesInDegreesAndNamesResolved) {
  const fs::path path = Dwg("ldwg_example_2000.dwg");
  if (!fs::exists(path)) GTEST_SKIP() << "corpus not available: " << path;
  Document doc;
  ASSERT_TRUE(ReadDwgFile(path.string(), doc).ok());
  const Object* object = doc.Find(Handle{0x756});
  ASSERT_NE(object, nullptr);
  ASSERT_EQ(object->kind(), ObjectKind::kInsert);
  const auto* insert = static_cast<const Insert*>(object);
  EXPECT_NEAR(insert->rotation, 311.347, 0.01);  // stored as 5.43398 radians
  EXPECT_EQ(insert->block_name, "bloko");
  EXPECT_NEAR(insert->scale.x, 3256.52, 0.01);
  const Layer* layer = doc.FindLayer("Tavolo 3");
  ASSERT_NE(layer, nullptr);
  EXPECT_EQ(layer->color, 4);
  EXPECT_FALSE(layer->linetype.empty());
  EXPECT_EQ(doc.codepage, "ANSI_1252");
  EXPECT_EQ(doc.HeaderText("$ACADVER"), "AC1015");
}

// XRECORD items decoded from DWG equal those of the drawing's DXF twin
// (reals compared by value: the twin's writer rounds them).
TEST(DwgXrecords, ItemsMatchTheDxfTwin) {
  const fs::path path = Dwg("ldwg_example_r14.dwg");
  const fs::path twin_path = Dwg("ldwg_example_r14.dwg.ld.dxf");
  if (!fs::exists(path) || !fs::exists(twin_path)) GTEST_SKIP() << "corpus not available: " << path;
  Document doc, twin;
  ASSERT_TRUE(ReadDwgFile(path.string(), doc).ok());
  ASSERT_TRUE(ReadDxfFile(twin_path.string(), twin).ok());
  auto items = [](const Document& d, const Object& o) {
    GroupSpan g = d.Groups(o);
    size_t at = 0;
    while (at < g.size() && !(g[at].code == 100 && g[at].value() == "AcDbXrecord")) ++at;
    return at < g.size() ? g.subspan(at + 1) : GroupSpan();
  };
  size_t compared = 0;
  for (const auto& o : doc.all_objects()) {
    if (o->type_name != "XRECORD" || doc.Groups(*o).empty()) continue;
    const Object* other = twin.Find(o->handle);
    ASSERT_NE(other, nullptr) << FormatHandle(o->handle);
    // An R14 drawing has no cloning flag; the DXF form made for it (the
    // 2000 form) opens with the default one.
    GroupSpan a = items(doc, *o);
    const GroupSpan b = items(twin, *other);
    ASSERT_FALSE(a.empty());
    EXPECT_EQ(a[0].code, 280);
    a = a.subspan(1);
    ASSERT_EQ(a.size(), b.size()) << FormatHandle(o->handle);
    for (size_t i = 0; i < a.size(); ++i) {
      ASSERT_EQ(a[i].code, b[i].code) << FormatHandle(o->handle) << " item " << i;
      const GroupType type = GroupTypeOf(a[i].code);
      if (type == GroupType::kDouble) {
        EXPECT_NEAR(a[i].AsDouble(), b[i].AsDouble(), 1e-9 * (1 + std::abs(b[i].AsDouble())));
      } else if (type == GroupType::kInt16 || type == GroupType::kInt32 || type == GroupType::kInt64 ||
                 type == GroupType::kBool) {
        EXPECT_EQ(a[i].AsInt(), b[i].AsInt(-999999)) << FormatHandle(o->handle) << " item " << i;
      } else {
        EXPECT_EQ(a[i].value(), b[i].value()) << FormatHandle(o->handle) << " item " << i;
      }
    }
    ++compared;
  }
  EXPECT_GT(compared, 300u);
}

// LWPOLYLINE vertices (with widths and bulges), flags and extrusion
// decoded from DWG equal those the drawing's own DXF export holds.
TEST(DwgLwPolylines, VerticesMatchTheDrawingsOwnDxf) {
  const fs::path path = Dwg("acs_sample_AC1015.dwg");
  const fs::path dxf_path = fs::path(VANTROVE_SHARED_DIR) / "corpus" / "dxf" / "acs_sample_AC1015_ascii.dxf";
  if (!fs::exists(path) || !fs::exists(dxf_path)) GTEST_SKIP() << "corpus not available: " << path;
  Document doc, dxf;
  ASSERT_TRUE(ReadDwgFile(path.string(), doc).ok());
  ASSERT_TRUE(ReadDxfFile(dxf_path.string(), dxf).ok());
  auto body = [](const Document& d, const Object& o) {
    std::vector<Group> out;
    bool in = false;
    for (const Group& g : d.Groups(o)) {
      if (g.code == 100) in = g.value() == "AcDbPolyline";
      else if (in && g.code != 91) out.push_back(g);  // vertex ids: 2010 and later only
    }
    return out;
  };
  size_t compared = 0;
  for (const auto& o : doc.all_objects()) {
    if (o->type_name != "LWPOLYLINE") continue;
    ASSERT_FALSE(doc.Groups(*o).empty()) << FormatHandle(o->handle);
    const Object* other = dxf.Find(o->handle);
    ASSERT_NE(other, nullptr) << FormatHandle(o->handle);
    std::vector<Group> a = body(doc, *o), b = body(dxf, *other);
    // The export lists zero bulges and widths; the form leaves them out.
    std::erase_if(b, [](const Group& g) { return (g.code >= 40 && g.code <= 43) && g.AsDouble() == 0.0; });
    std::erase_if(a, [](const Group& g) { return (g.code >= 40 && g.code <= 43) && g.AsDouble() == 0.0; });
    ASSERT_EQ(a.size(), b.size()) << FormatHandle(o->handle);
    for (size_t i = 0; i < a.size(); ++i) {
      ASSERT_EQ(a[i].code, b[i].code) << FormatHandle(o->handle) << " group " << i;
      EXPECT_NEAR(a[i].AsDouble(), b[i].AsDouble(), 1e-9 * (1 + std::abs(b[i].AsDouble())))
          << FormatHandle(o->handle) << " group " << i;
    }
    ++compared;
  }
  EXPECT_GE(compared, 20u);
}

// Objects of classes the reader has no decoder for keep their data as
// proxies: the class number names a CLASS of the drawing, the data bits
// match their count, and the DXF writer counts the graphics in the codes
// of the target version.
TEST(DwgProxies, UndecodedClassesTravelAsProxies) {
  const fs::path path = Dwg("acs_sample_AC1032.dwg");
  if (!fs::exists(path)) GTEST_SKIP() << "corpus not available: " << path;
  Document doc;
  ASSERT_TRUE(ReadDwgFile(path.string(), doc).ok());
  size_t entities = 0, objects = 0;
  for (const auto& o : doc.all_objects()) {
    if (!o->type_name.starts_with("ACAD_PROXY_") || doc.Groups(*o).empty()) continue;
    (o->is_entity() ? entities : objects) += 1;
    int64_t class_id = 0, bits = -1;
    size_t hex = 0;
    bool in_data = false;
    for (const Group& g : doc.Groups(*o)) {
      if (g.code == 91) class_id = g.AsInt();
      in_data = (in_data && g.code == 310) || g.code == 93 || g.code == 161;
      if (g.code == 93 || g.code == 161) bits = g.AsInt();
      if (in_data && g.code == 310) hex += g.size;
    }
    ASSERT_GE(class_id, 500) << FormatHandle(o->handle);
    ASSERT_LT(static_cast<size_t>(class_id - 500), doc.classes.size());
    ASSERT_GE(bits, 0);
    EXPECT_EQ(hex, static_cast<size_t>((bits + 7) / 8 * 2)) << FormatHandle(o->handle);
  }
  EXPECT_GT(entities, 0u);
  EXPECT_GT(objects, 10u);

  for (const int32_t version : {2018, 2000}) {
    DxfWriteOptions options;
    options.version = version;
    std::string text;
    const Status status = WriteDxfToString(doc, options, text);
    ASSERT_TRUE(status.ok() || status.code == StatusCode::kWrittenWithLosses) << status.Text();
    EXPECT_EQ(status.message.find("VISUALSTYLE"), std::string::npos) << status.Text();
    size_t with_graphics = 0, wrong_code = 0;
    for (size_t at = text.find("AcDbProxyEntity"); at != std::string::npos; at = text.find("AcDbProxyEntity", at + 1)) {
      const std::string_view record = std::string_view(text).substr(at, text.find("\r\n  0\r\n", at) - at);
      with_graphics += record.find(version == 2018 ? "\r\n160\r\n" : "\r\n 92\r\n") != std::string_view::npos;
      wrong_code += record.find(version == 2018 ? "\r\n 92\r\n" : "\r\n160\r\n") != std::string_view::npos;
    }
    EXPECT_GT(with_graphics, 0u) << version;
    EXPECT_EQ(wrong_code, 0u) << version;
  }
}

}  // namespace
}  // namespace vantrove::engine
