// The drawing methods of clsVantrove over the real engine: lifecycle,
// export, edits by handle, the Web_ twins' conversions and late binding.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "vantrove/component.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove {
namespace {

namespace fs = std::filesystem;

// Version codes beyond the listed ones go to the engine unchanged.
constexpr auto k2018 = static_cast<AutoCADversionType>(2018);
const fs::path kFixture = fs::path(VANTROVE_SOURCE_DIR) / "tests" / "engine" / "fixtures" / "r2018_ascii.dxf";

std::string Bytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

class Drawing : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("vantrove-drawing-test-" + std::to_string(::getpid()));
    fs::create_directories(dir_);
    ASSERT_EQ(v_.OpenDrawing(kFixture.string()), "OK");
  }
  void TearDown() override {
    std::error_code error;
    fs::remove_all(dir_, error);
  }
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  const engine::Document& doc() { return *v_.component()->document(); }

  clsVantrove v_;
  fs::path dir_;
};

TEST_F(Drawing, OpenExportSaveAndClose) {
  EXPECT_TRUE(v_.drawing_open());
  EXPECT_EQ(v_.CreateXML(Path("d.xml"), 1, 0, 0, 1), "OK");
  EXPECT_NE(Bytes(Path("d.xml")).find("<Layers>"), std::string::npos);
  EXPECT_EQ(v_.CreateDXF(Path("default.dxf")), "OK");  // 2004 when no version is given
  EXPECT_NE(Bytes(Path("default.dxf")).find("AC1018"), std::string::npos);
  EXPECT_EQ(v_.SaveDrawing(Path("same.dxf")), "OK");  // the drawing's own version
  EXPECT_NE(Bytes(Path("same.dxf")).find("AC1032"), std::string::npos);
  EXPECT_EQ(v_.SaveDrawing(Path("plan.dwg"), dwgSaveAsVersion2004),
            "1405:Writing DWG 2004 (AC1018) files from a drawing read from DXF is not supported yet; only a drawing "
            "read from DWG AC1018 is written in that version: " +
                Path("plan.dwg"));
  EXPECT_EQ(v_.CreateDXF(Path("r12.dxf"), 0, dwgRel12).rfind("1002:Written as DXF R12 without", 0), 0u);
  EXPECT_EQ(v_.CloseDrawing(), "OK");
  EXPECT_FALSE(v_.drawing_open());
  EXPECT_EQ(v_.CloseDrawing(), "1301:No drawing is open");
  EXPECT_EQ(v_.CreateDXF(Path("closed.dxf")), "1301:No drawing is open: cannot write " + Path("closed.dxf"));
}

TEST_F(Drawing, PrecisionOutsideZeroToSixteenWritesWithZero) {
  ASSERT_EQ(v_.CreateDXF(Path("p0.dxf"), 0, k2018), "OK");
  ASSERT_EQ(v_.CreateDXF(Path("p17.dxf"), 17, k2018), "OK");
  ASSERT_EQ(v_.CreateDXF(Path("pm1.dxf"), -1, k2018), "OK");
  ASSERT_EQ(v_.CreateDXF(Path("p16.dxf"), 16, k2018), "OK");
  EXPECT_EQ(Bytes(Path("p17.dxf")), Bytes(Path("p0.dxf")));
  EXPECT_EQ(Bytes(Path("pm1.dxf")), Bytes(Path("p0.dxf")));
  // The twin makes the same test on its variant.
  Variant file(Path("w17.dxf")), version(int32_t{2018});
  EXPECT_EQ(v_.Web_CreateDXF(file, Variant(int16_t{17}), version), "OK");
  EXPECT_EQ(Bytes(Path("w17.dxf")), Bytes(Path("p0.dxf")));
}

TEST_F(Drawing, Version2002IsVersion2000) {
  ASSERT_EQ(v_.CreateDXF(Path("a.dxf"), 0, dwgVersion2002), "OK");
  ASSERT_EQ(v_.CreateDXF(Path("b.dxf"), 0, dwgVersion2000), "OK");
  EXPECT_EQ(Bytes(Path("a.dxf")), Bytes(Path("b.dxf")));
  EXPECT_NE(Bytes(Path("a.dxf")).find("AC1015"), std::string::npos);
}

TEST_F(Drawing, EditsReportTheComponentStatus) {
  // A failing edit gives the component's text, the next one "OK".
  EXPECT_EQ(v_.UpdateText("x", "FFFF"), "1303:No object has the handle FFFF");
  EXPECT_EQ(v_.UpdateText("changed", "105"), "OK");
  EXPECT_EQ(v_.UpdateBlockAttribute("B-7", "101"), "OK");
  EXPECT_EQ(v_.UpdateBlockAttribute("B-7", "105"), "1304:The object with the handle 105 is a TEXT, not an ATTRIB");
  // An empty handle still reaches the component, which names the fault.
  EXPECT_EQ(v_.DeleteObject(""), "1302:The handle is empty");
  EXPECT_EQ(v_.DeleteObject("100"), "OK");
  EXPECT_EQ(v_.SetImagePath("/img/a.png", "107"), "OK");
  EXPECT_EQ(v_.SetReferenceFilePath("../x.dwg", "SITE_PLAN"), "OK");
  EXPECT_EQ(v_.SetLayerState("WALLS", dwgOff, dwgOnOff), "OK");
  EXPECT_EQ(v_.SetLayerState("WALLS", dwgOn, dwgThaw), "OK");
  EXPECT_EQ(v_.SetLayerState("WALLS", static_cast<LayerStateType>(5), dwgThaw).substr(0, 5), "1307:");
  EXPECT_EQ(static_cast<const engine::Text*>(doc().Find("105"))->value, "changed");
  EXPECT_EQ(doc().Find("100"), nullptr);
  EXPECT_FALSE(doc().FindLayer("WALLS")->on());
  EXPECT_FALSE(doc().FindLayer("WALLS")->frozen());
  EXPECT_EQ(v_.SaveDrawing(Path("edited.dxf"), dwgSaveAsVersion2007), "OK");
  const std::string saved = Bytes(Path("edited.dxf"));
  EXPECT_NE(saved.find("changed"), std::string::npos);
  EXPECT_NE(saved.find("/img/a.png"), std::string::npos);
  EXPECT_EQ(saved.find("A-101"), std::string::npos);  // the deleted reference's attribute
}

TEST_F(Drawing, TwinsConvertOrKeepThePreviousStatus) {
  EXPECT_EQ(v_.UpdateText("x", "FFFF").substr(0, 5), "1303:");
  // A version that is not a number: the component is not called, the
  // answer is the previous operation's status.
  Variant file(Path("web.dxf")), version("abc");
  EXPECT_EQ(v_.Web_SaveDrawing(file, version), "1303:No object has the handle FFFF");
  EXPECT_FALSE(fs::exists(Path("web.dxf")));
  Variant null_precision = Variant::Null();
  Variant dxf(Path("web2.dxf")), dxf_version(int32_t{2004});
  EXPECT_EQ(v_.Web_CreateDXF(dxf, null_precision, dxf_version), "1303:No object has the handle FFFF");
  EXPECT_FALSE(fs::exists(Path("web2.dxf")));
  Variant name("WALLS"), state("2"), mode(int16_t{1});
  EXPECT_EQ(v_.Web_SetLayerState(name, state, mode), "OK");  // "2" converts to 2: off
  EXPECT_FALSE(doc().FindLayer("WALLS")->on());
  Variant bad_mode = Variant::Null();
  EXPECT_EQ(v_.Web_SetLayerState(name, state, bad_mode), "OK");  // skipped: previous status
  Variant value("v"), handle(int32_t{0x105});
  EXPECT_EQ(v_.Web_UpdateText(value, handle), "1303:No object has the handle 261");  // the number as text
  Variant text_handle("105");
  EXPECT_EQ(v_.Web_UpdateText(value, text_handle), "OK");
  Variant empty("");
  EXPECT_EQ(v_.Web_DeleteObject(empty), "1302:The handle is empty");
  EXPECT_EQ(v_.Web_SaveDrawing(file, version = Variant(int16_t{-1})), "OK");
  EXPECT_TRUE(fs::exists(Path("web.dxf")));
}

TEST_F(Drawing, LateBoundCallsReachTheEngine) {
  // SaveDrawing without a version passes -1: the drawing's own version.
  std::vector<Variant> args{Variant(Path("late.dxf"))};
  InvokeResult result = v_.Invoke("SaveDrawing", args);
  ASSERT_TRUE(result.ok) << result.description;
  EXPECT_EQ(result.value.str(), "OK");
  EXPECT_NE(Bytes(Path("late.dxf")).find("AC1032"), std::string::npos);

  args = {Variant(Path("late2004.dxf"))};
  result = v_.Invoke("Web_CreateDXF", args);
  ASSERT_TRUE(result.ok) << result.description;
  EXPECT_EQ(result.value.str(), "OK");
  EXPECT_NE(Bytes(Path("late2004.dxf")).find("AC1018"), std::string::npos);

  args = {Variant("")};
  result = v_.Invoke("DeleteObject", args);
  ASSERT_TRUE(result.ok) << result.description;
  EXPECT_EQ(result.value.str(), "1302:The handle is empty");

  args = {Variant("WALLS"), Variant(int32_t{2}), Variant(int32_t{2})};
  result = v_.Invoke("SetLayerState", args);
  ASSERT_TRUE(result.ok) << result.description;
  EXPECT_EQ(result.value.str(), "OK");
  EXPECT_TRUE(doc().FindLayer("WALLS")->frozen());

  for (const char* name : {"UpdateText", "UpdateBlockAttribute", "SetImagePath", "SetReferenceFilePath",
                           "Web_UpdateText", "Web_UpdateBlockAttribute", "Web_SetImagePath",
                           "Web_SetReferenceFilePath", "Web_SetLayerState", "Web_DeleteObject", "CreateDXF",
                           "Web_SaveDrawing", "CreateXML", "Web_CreateXML", "OpenDrawing", "CloseDrawing"}) {
    EXPECT_TRUE(clsVantrove::IsImplemented(FindMethod(name)->position)) << name;
  }
}

}  // namespace
}  // namespace vantrove
