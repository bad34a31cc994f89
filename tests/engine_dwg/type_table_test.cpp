// The type table and the DXF form encoded from it: group order, versions,
// fallbacks, long text; and the geometry the DWG reader decodes from the
// table against the DXF twin of the same drawing.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <filesystem>
#include <string>
#include <vector>

#include "model/record_encoder.hpp"
#include "model/type_table.hpp"
#include "vantrove/engine/document.hpp"
#include "vantrove/engine/dwg_reader.hpp"
#include "vantrove/engine/dxf_reader.hpp"

namespace vantrove::engine {
namespace {

std::vector<std::string> Lines(const std::vector<Group>& groups) {
  std::vector<std::string> out;
  for (const Group& g : groups) out.push_back(std::to_string(g.code) + "=" + std::string(g.value()));
  return out;
}

TEST(TypeTable, EncodesPartsInOrderWithFallbacksAndVersions) {
  const types::TypeDesc* text = types::FindType("TEXT");
  ASSERT_NE(text, nullptr);
  types::FieldValues v;
  v.Text("layer", "Walls");
  v.Point("insertion", 1, 2.5, 0);
  v.Real("height", 3);
  v.Text("value", "Hello");
  v.Angle("rotation", std::acos(-1.0) / 2);
  types::RecordHead head;
  head.handle = 0x2A;
  head.owner = 0x1F;
  TextArena arena;
  EXPECT_EQ(Lines(types::EncodeRecord(*text, head, v, types::k2000, arena)),
            (std::vector<std::string>{"5=2A", "330=1F", "100=AcDbEntity", "8=Walls", "100=AcDbText", "10=1.0",
                                      "20=2.5", "30=0.0", "40=3.0", "1=Hello", "50=90.0", "7=Standard",
                                      "100=AcDbText"}));
  // R12 has no owners and no subclass markers.
  EXPECT_EQ(Lines(types::EncodeRecord(*text, head, v, types::kR12, arena)),
            (std::vector<std::string>{"5=2A", "8=Walls", "10=1.0", "20=2.5", "30=0.0", "40=3.0", "1=Hello", "50=90.0",
                                      "7=Standard"}));
  // A part a later version added (a solid's history, 2007) is left out before.
  const types::TypeDesc* solid = types::FindDwgType(0x26);
  ASSERT_NE(solid, nullptr);
  types::FieldValues data;
  data.Append("data", 1, "line");
  EXPECT_EQ(Lines(types::EncodeRecord(*solid, head, data, types::k2000, arena)),
            (std::vector<std::string>{"5=2A", "330=1F", "100=AcDbEntity", "8=0", "100=AcDbModelerGeometry", "70=1",
                                      "1=line"}));
  const auto modern = Lines(types::EncodeRecord(*solid, head, data, types::k2007, arena));
  EXPECT_EQ(modern.back(), "100=AcDb3dSolid");
}

TEST(TypeTable, LongTextSplitsIntoChunksOnCharacterBoundaries) {
  const types::TypeDesc* mtext = types::FindType("MTEXT");
  ASSERT_NE(mtext, nullptr);
  std::string value(249, 'a');
  value += "\xC3\xA4";  // a two-byte character across the 250-byte boundary
  value += std::string(10, 'b');
  types::FieldValues v;
  v.Text("value", value);
  TextArena arena;
  std::string joined;
  for (const Group& g : types::EncodeRecord(*mtext, {}, v, types::k2018, arena)) {
    if (g.code == 3) {
      EXPECT_EQ(g.value().size(), 249u);
      joined += g.value();
    }
    if (g.code == 1) joined += g.value();
  }
  EXPECT_EQ(joined, value);
}

TEST(TypeTable, TellsWhichGroupsAVersionHolds) {
  const types::TypeDesc* layer = types::FindType("LAYER");
  ASSERT_NE(layer, nullptr);
  EXPECT_TRUE(types::HoldsCode(*layer, 62, types::kR12));
  EXPECT_FALSE(types::HoldsCode(*layer, 370, types::kR12));
  EXPECT_TRUE(types::HoldsCode(*layer, 370, types::k2000));
  const types::TypeDesc* view = types::FindType("VIEW");
  ASSERT_NE(view, nullptr);
  EXPECT_TRUE(types::HoldsCode(*view, 31, types::kR12));   // z of the 3D direction
  EXPECT_FALSE(types::HoldsCode(*view, 30, types::kR12));  // the center is 2D
  EXPECT_EQ(types::RealText(1e-7), "1.0E-07");
  EXPECT_EQ(types::RealText(-0.0), "0.0");
  EXPECT_EQ(types::FindDwgType(0x13)->dxf_name, "LINE");
}

// Lines, circles and arcs decoded from the type table carry the same
// geometry as the drawing's DXF twin.
TEST(TypeTable, DwgGeometryMatchesTheDxfTwin) {
  const std::filesystem::path dir = std::filesystem::path(VANTROVE_SHARED_DIR) / "corpus" / "dwg";
  if (!std::filesystem::exists(dir / "ldwg_example_2000.dwg")) GTEST_SKIP() << "corpus not present";
  size_t compared = 0;
  for (const char* name : {"ldwg_example_2000.dwg", "ldwg_example_r14.dwg", "ldwg_example_2018.dwg"}) {
    Document dwg, dxf;
    ASSERT_TRUE(ReadDwgFile((dir / name).string(), dwg).ok()) << name;
    ASSERT_TRUE(ReadDxfFile((dir / (std::string(name) + ".ld.dxf")).string(), dxf).ok()) << name;
    for (const Entity* e : dwg.entities) {
      if (e->type_name != "LINE" && e->type_name != "CIRCLE" && e->type_name != "ARC") continue;
      const Object* twin = dxf.Find(e->handle);
      if (twin == nullptr) continue;
      for (int32_t code : {10, 20, 30, 11, 21, 40, 50, 51}) {
        const Group* a = nullptr;
        const Group* b = nullptr;
        for (const Group& g : dwg.Groups(*e)) a = g.code == code && a == nullptr ? &g : a;
        for (const Group& g : dxf.Groups(*twin)) b = g.code == code && b == nullptr ? &g : b;
        if (b == nullptr) continue;
        ASSERT_NE(a, nullptr) << name << " " << FormatHandle(e->handle) << " group " << code;
        EXPECT_NEAR(a->AsDouble(), b->AsDouble(), 1e-9) << name << " " << FormatHandle(e->handle) << " " << code;
      }
      ++compared;
    }
  }
  EXPECT_GT(compared, 10u);
}

// The entities whose DWG encoding is decoded by code written for them
// (polylines with their vertices, faces, dimensions, viewports, hatches,
// multi-lines, tolerances) hold the values of the DXF file the same
// program saved from the same drawing: the first group of each code.
TEST(TypeTable, MixedEncodingsMatchTheDxfTwin) {
  const std::filesystem::path corpus = std::filesystem::path(VANTROVE_SHARED_DIR) / "corpus";
  if (!std::filesystem::exists(corpus / "dwg" / "ldwg_example_2000.dwg")) GTEST_SKIP() << "corpus not present";
  const std::vector<std::string_view> types = {"POLYLINE", "VERTEX",   "SOLID", "3DFACE",    "DIMENSION",
                                               "VIEWPORT", "HATCH",    "MLINE", "TOLERANCE"};
  std::map<std::string, size_t> compared;
  const std::pair<const char*, const char*> pairs[] = {{"ldwg_example_2000.dwg", "ldwg_example_2000.dxf"},
                                                       {"acs_sample_AC1015.dwg", "acs_sample_AC1015_ascii.dxf"},
                                                       {"acs_sample_AC1032.dwg", "acs_sample_AC1032_ascii.dxf"}};
  for (const auto& [dwgName, dxfName] : pairs) {
    Document dwg, dxf;
    ASSERT_TRUE(ReadDwgFile((corpus / "dwg" / dwgName).string(), dwg).ok()) << dwgName;
    ASSERT_TRUE(ReadDxfFile((corpus / "dxf" / dxfName).string(), dxf).ok()) << dxfName;
    for (const auto& object : dwg.all_objects()) {
      if (std::find(types.begin(), types.end(), object->type_name) == types.end()) continue;
      const Object* twin = dxf.Find(object->handle);
      if (twin == nullptr || twin->type_name != object->type_name) continue;
      const std::string where = std::string(dwgName) + " " + FormatHandle(object->handle);
      ASSERT_FALSE(dwg.Groups(*object).empty()) << where;
      for (int32_t code : {10, 20, 30, 11, 21, 31, 12, 22, 13, 23, 14, 24, 15, 25, 16, 26, 40, 41, 42, 50, 70, 71,
                           72, 73, 74, 75, 91, 92, 93, 98}) {
        const Group* a = nullptr;
        const Group* b = nullptr;
        for (const Group& g : dwg.Groups(*object)) a = g.code == code && a == nullptr ? &g : a;
        for (const Group& g : dxf.Groups(*twin)) b = g.code == code && b == nullptr ? &g : b;
        if (b == nullptr) continue;
        ASSERT_NE(a, nullptr) << where << " group " << code;
        EXPECT_NEAR(a->AsDouble(), b->AsDouble(), 1e-6 * std::max(1.0, std::abs(b->AsDouble())))
            << where << " group " << code;
      }
      ++compared[std::string(object->type_name)];
    }
  }
  for (std::string_view type : types) EXPECT_GT(compared[std::string(type)], 0u) << type;
}

}  // namespace
}  // namespace vantrove::engine
