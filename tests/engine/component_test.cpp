// The component's operations and their status texts.

#include <gtest/gtest.h>

#include "test_support.hpp"
#include "vantrove/engine/component.hpp"
#include "vantrove/engine/document.hpp"

namespace vantrove::engine {
namespace {

using testing::Fixture;

std::string StatusOf(const DrawingComponent& component) {
  std::string status;
  component.LastStatus(status);
  return status;
}

TEST(Component, OpenWriteAndClose) {
  DrawingComponent component;
  int32_t result = 0;
  component.OpenDrawing(result, Fixture("r2018_ascii.dxf").string(), "");
  EXPECT_GT(result, 0);
  EXPECT_EQ(StatusOf(component), "1000:Ok");
  ASSERT_NE(component.document(), nullptr);

  testing::TempDir dir;
  component.WriteXmlDescription((dir / "d.xml").string(), 1, 0, 0, 1, 0, 0, 0, 0);
  EXPECT_EQ(StatusOf(component), "1000:Ok");
  const std::string xml = testing::ReadBytes(dir / "d.xml");
  EXPECT_NE(xml.find("<Attributes>"), std::string::npos);
  EXPECT_NE(xml.find("<Layers>"), std::string::npos);
  EXPECT_EQ(xml.find("<TextLiterals>"), std::string::npos);

  component.WriteXmlDescription((dir / "no" / "d.xml").string(), 1, 1, 1, 1, 1, 1, 1, 1);
  EXPECT_EQ(StatusOf(component).rfind("1403:", 0), 0u) << StatusOf(component);

  component.CloseDrawing();
  EXPECT_EQ(StatusOf(component), "1000:Ok");
  EXPECT_EQ(component.document(), nullptr);
  component.CloseDrawing();
  EXPECT_EQ(StatusOf(component).rfind("1301:", 0), 0u);
  component.WriteXmlDescription((dir / "d.xml").string(), 1, 0, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(StatusOf(component).rfind("1301:", 0), 0u);
}

TEST(Component, OpenChecksPathTypeAndContent) {
  DrawingComponent component;
  testing::TempDir dir;
  int32_t result = 7;
  component.OpenDrawing(result, (dir / "a.txt").string(), "");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(StatusOf(component), "1101:File not found: " + (dir / "a.txt").string());

  std::ofstream(dir / "a.dwgx") << "x";
  component.OpenDrawing(result, (dir / "a.dwgx").string(), "");
  EXPECT_EQ(StatusOf(component).rfind("1102:", 0), 0u);

  std::ofstream(dir / "PLAN.DWG") << "AC1018";
  component.OpenDrawing(result, (dir / "PLAN.DWG").string(), "");
  // An upper-case extension reaches the DWG reader, which finds the file cut short.
  EXPECT_EQ(StatusOf(component).rfind("1202:", 0), 0u) << StatusOf(component);
  EXPECT_NE(StatusOf(component).find("truncated"), std::string::npos) << StatusOf(component);

  std::ofstream(dir / "bad.DXF") << "  0\nSECTION\n  2\nENTITIES\n  0\nTEXT\nxx\n";
  component.OpenDrawing(result, (dir / "bad.DXF").string(), "");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(StatusOf(component).rfind("1202:", 0), 0u);
  EXPECT_NE(StatusOf(component).find("line 7"), std::string::npos) << StatusOf(component);
  EXPECT_EQ(component.document(), nullptr);

  // A path cut at its first NUL opens the part before it.
  const std::string with_nul = Fixture("r12_codepage1252.dxf").string() + std::string("\0garbage", 8);
  component.OpenDrawing(result, with_nul, "");
  EXPECT_EQ(result, 1) << StatusOf(component);
  // A failed open drops the drawing that was open.
  component.OpenDrawing(result, (dir / "bad.DXF").string(), "");
  EXPECT_EQ(component.document(), nullptr);
}

}  // namespace
}  // namespace vantrove::engine
