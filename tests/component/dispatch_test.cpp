#include <gtest/gtest.h>

#include <set>

#include "vantrove/component.hpp"

namespace vantrove {
namespace {

const ParamInfo& Param(const MethodInfo& m, std::string_view name) {
  for (const ParamInfo& p : m.params) {
    if (p.name == name) return p;
  }
  throw std::runtime_error("no parameter " + std::string(name) + " in " + m.name);
}

TEST(Interface, HundredTwentySevenMethodsInOrderWithTheirDispIds) {
  const auto& methods = InterfaceMethods();
  ASSERT_EQ(methods.size(), 127u);
  std::set<std::string> names;
  for (size_t i = 0; i < methods.size(); ++i) {
    EXPECT_EQ(methods[i].position, static_cast<int>(i));
    EXPECT_EQ(methods[i].dispid, 0x60030000 + static_cast<int32_t>(i));
    EXPECT_TRUE(names.insert(methods[i].name).second) << methods[i].name;
  }
  EXPECT_EQ(methods.front().name, "Version");
  EXPECT_EQ(methods.back().name, "CreateRecordsetFromArray");
  EXPECT_EQ(methods.back().dispid, 0x6003007E);
  // A few fixed points of the order.
  EXPECT_EQ(FindMethod("Web_OpenDrawing")->position, 16);
  EXPECT_EQ(FindMethod("FixXML")->position, 97);
  EXPECT_EQ(FindMethod("fileexists")->position, 98);  // names compare without case
  EXPECT_EQ(FindMethod(0x60030001)->name, "OpenDrawing");
  EXPECT_EQ(FindMethod(0x6003007F), nullptr);
  EXPECT_EQ(FindMethod("NoSuchMethod"), nullptr);
}

TEST(Interface, ResultTypes) {
  EXPECT_EQ(FindMethod("Version")->result.kind, TypeKind::String);
  EXPECT_EQ(FindMethod("FindAndReplaceText")->result.kind, TypeKind::Long);
  EXPECT_EQ(FindMethod("FileExists")->result.kind, TypeKind::Boolean);
  EXPECT_EQ(FindMethod("SystemDSNsToOneDArray")->result.kind, TypeKind::Variant);
  EXPECT_EQ(FindMethod("CreateRecordsetFromArray")->result.kind, TypeKind::Object);
  EXPECT_EQ(FindMethod("CloseExcelHiddenInstances")->result.kind, TypeKind::None);
  EXPECT_EQ(FindMethod("FixXML")->result.kind, TypeKind::None);
  // Every twin returns what its plain method returns.
  for (const MethodInfo& m : InterfaceMethods()) {
    if (!m.name.starts_with("Web_")) continue;
    const MethodInfo* plain = FindMethod(m.name.substr(4));
    ASSERT_NE(plain, nullptr) << m.name;
    EXPECT_EQ(plain->result.name, m.result.name) << m.name;
  }
}

TEST(Interface, TwinsTakeTheSameParametersAsVariantsSaveTheKnownExceptions) {
  const std::set<std::string> fewer = {"Web_FindAndReplaceBlockAttributes", "Web_TwoDArrayToTextFile",
                                       "Web_CreateBlockAttributeArray"};
  for (const MethodInfo& m : InterfaceMethods()) {
    if (!m.name.starts_with("Web_") || fewer.count(m.name)) continue;
    const MethodInfo* plain = FindMethod(m.name.substr(4));
    ASSERT_EQ(plain->params.size(), m.params.size()) << m.name;
    for (size_t i = 0; i < m.params.size(); ++i) {
      EXPECT_EQ(plain->params[i].name, m.params[i].name) << m.name;
      EXPECT_EQ(plain->params[i].byRef, m.params[i].byRef) << m.name << " " << m.params[i].name;
      if (m.name != "Web_TextFileToDatabaseTable") {
        EXPECT_EQ(m.params[i].type.kind, TypeKind::Variant) << m.name << " " << m.params[i].name;
      }
    }
  }
  EXPECT_EQ(FindMethod("FindAndReplaceBlockAttributes")->params.size(),
            FindMethod("Web_FindAndReplaceBlockAttributes")->params.size() + 1);
  EXPECT_EQ(Param(*FindMethod("Web_TextFileToDatabaseTable"), "blnOverwrite").type.kind, TypeKind::Boolean);
}

TEST(Interface, DeclaredParametersAndDefaults) {
  const MethodInfo& open = *FindMethod("OpenDrawing");
  ASSERT_EQ(open.params.size(), 2u);
  EXPECT_FALSE(open.params[0].byRef);
  EXPECT_TRUE(open.params[1].optional);
  EXPECT_FALSE(open.params[1].declaredDefault.has_value());
  EXPECT_EQ(CStr(*Param(*FindMethod("Web_OpenDrawing"), "strPassword").declaredDefault), "");

  EXPECT_EQ(CLng(*Param(*FindMethod("CreateDXF"), "lngVersion").declaredDefault), 2004);
  EXPECT_EQ(Param(*FindMethod("CreateDXF"), "lngVersion").type.name, "AutoCADversionType");
  EXPECT_FALSE(Param(*FindMethod("CreateDXF"), "intPrecision").byRef);
  const Variant& saveDefault = *Param(*FindMethod("Web_SaveDrawing"), "lngVersion").declaredDefault;
  EXPECT_EQ(saveDefault.type(), VarType::Integer);  // the 16-bit -1
  EXPECT_EQ(CLng(saveDefault), -1);
  EXPECT_EQ(CLng(*Param(*FindMethod("SaveDrawing"), "lngVersion").declaredDefault), -1);
  EXPECT_TRUE(CBool(*Param(*FindMethod("CreateBlockAttributeArray"), "blnIncludeHeadings").declaredDefault));
  const MethodInfo& table = *FindMethod("TwoDArrayToHTMLTable");
  EXPECT_EQ(CLng(*Param(table, "lngTableAlign").declaredDefault), 1);
  EXPECT_EQ(CLng(*Param(table, "intWidthPct").declaredDefault), 100);
  EXPECT_EQ(CLng(*Param(table, "lngTableCellAlign").declaredDefault), 2);
  EXPECT_EQ(table.params.size(), 14u);
  EXPECT_EQ(FindMethod("TwoDArrayToHTMLFile")->params.size(), 18u);
  EXPECT_EQ(FindMethod("OneDArrayToHTMLFile")->params.size(), 17u);
  EXPECT_EQ(CStr(*Param(*FindMethod("TwoDArrayToWord"), "strFont").declaredDefault), "Times New Roman");
  EXPECT_EQ(FindMethod("ArrayToExcel")->params.size(), 17u);
  EXPECT_TRUE(CBool(*Param(*FindMethod("ArrayToExcel"), "blnFormatAsText").declaredDefault));
  const ParamInfo& fields = Param(*FindMethod("Web_XMLfileToArray"), "varFields");
  EXPECT_TRUE(fields.optional);
  EXPECT_FALSE(fields.declaredDefault.has_value());
  EXPECT_TRUE(FindMethod("SortTwoDArray")->params.back().paramArray);
  EXPECT_TRUE(FindMethod("Web_SortTwoDArray")->params.back().paramArray);
  EXPECT_EQ(FindMethod("TextFileToOneDArray")->help, "Method to copy a TextBox to a one dimensional array.");
  EXPECT_EQ(FindMethod("SetReferenceFilePath")->help,
            "Method to set the file path for an external reference a drawing (DWG) file.");
}

TEST(Interface, OmittedOptionalsTakeTheirTypesZeroOrTheMissingMarker) {
  EXPECT_EQ(CStr(OmittedValue(Param(*FindMethod("OpenDrawing"), "strPassword"))), "");
  EXPECT_EQ(OmittedValue(Param(*FindMethod("CreateXML"), "intBlocks")).type(), VarType::Integer);
  EXPECT_TRUE(OmittedValue(Param(*FindMethod("XMLfileToArray"), "varFields")).IsMissing());
  EXPECT_EQ(CLng(OmittedValue(Param(*FindMethod("CreateDXF"), "lngVersion"))), 2004);
}

TEST(Enumerations, FourteenWithEveryConstant) {
  const auto& all = Enumerations();
  ASSERT_EQ(all.size(), 14u);
  EXPECT_EQ(all.front().name, "TextType");
  EXPECT_EQ(all.back().name, "DrawingSpaceType");
  size_t total = 0;
  for (const EnumInfo& e : all) {
    total += e.constants.size();
    for (const EnumConstant& c : e.constants) EXPECT_TRUE(c.name.starts_with("dwg")) << c.name;
  }
  EXPECT_EQ(total, 2u + 6 + 2 + 3 + 2 + 2 + 2 + 2 + 43 + 8 + 8 + 10 + 2 + 3);
  const EnumInfo& tables = all[8];
  ASSERT_EQ(tables.name, "TableType");
  for (size_t i = 1; i < tables.constants.size(); ++i) {
    EXPECT_LT(tables.constants[i - 1].name, tables.constants[i].name);  // alphabetical, not by value
  }
  static_assert(dwgVersion2002 == dwgVersion2000 && dwgSaveAsVersion2000i == 2000 && dwgSaveAsDefault == -1);
  static_assert(dwgOn == 1 && dwgOnOff == 1 && dwgThaw == 2 && dwgFormatProfessional == 37);
}

TEST(Invoke, FillsDefaultsChecksArgumentsAndReportsErrors) {
  clsVantrove v;
  std::vector<Variant> none;
  InvokeResult r = v.Invoke("version", none);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(CStr(r.value), "1.0.1");

  std::vector<Variant> byDispid;
  EXPECT_EQ(CStr(v.Invoke(0x60030000, byDispid).value), "1.0.1");

  std::vector<Variant> tooMany = {Variant(1)};
  r = v.Invoke("Version", tooMany);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error, err::kWrongArgumentCount);

  std::vector<Variant> missing = {Variant::Missing()};
  EXPECT_EQ(v.Invoke("FileExists", missing).error, err::kArgumentNotOptional);
  EXPECT_EQ(v.Invoke("NoSuchMethod", none).error, err::kNoSuchMember);
  EXPECT_EQ(v.Invoke(0x12345678, none).error, err::kNoSuchMember);

  std::vector<Variant> folder = {Variant("/")};
  r = v.Invoke("FileExists", folder);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.value.type(), VarType::Boolean);
  EXPECT_TRUE(CBool(r.value));
}

// Arguments are moved into the call and back: a large array comes back in
// the same storage, by-value arguments come back as given, by-reference ones
// as the member left them, and a failed call still hands every argument back.
TEST(Invoke, ArgumentsTravelWithoutCopiesAndComeBack) {
  clsVantrove v;
  SafeArray grid = SafeArray::Matrix(1000, 3);
  for (int32_t r = 0; r < 1000; ++r) {
    for (int32_t c = 0; c < 3; ++c) grid.at(r, c) = Variant(std::to_string(r * 3 + c));
  }
  std::vector<Variant> args = {Variant(grid), Variant(std::string()), Variant(","), Variant(";")};
  const Variant* storage = args[0].array().data().data();
  InvokeResult r = v.Invoke("TwoDArrayToText", args);
  ASSERT_TRUE(r.ok) << r.description;
  EXPECT_EQ(CInt(r.value), 1);
  EXPECT_EQ(args[0].array().data().data(), storage);
  EXPECT_EQ(CStr(args[0].array().at(999, 2)), "2999");
  EXPECT_TRUE(CStr(args[1]).starts_with("0,1,2;3,4,5;"));
  EXPECT_EQ(CStr(args[2]), ",");

  // By value: the text and the delimiter come back unchanged; by reference:
  // the array is the member's.
  std::vector<Variant> split = {Variant("a|b|c"), Variant(SafeArray()), Variant("|")};
  r = v.Invoke("MultiLineTextToOneDArray", split);
  ASSERT_TRUE(r.ok) << r.description;
  EXPECT_EQ(CStr(split[0]), "a|b|c");
  EXPECT_EQ(CStr(split[2]), "|");
  EXPECT_EQ(split[1].array().UBound(1), 3);
  EXPECT_EQ(CStr(split[1].array().at(1)), "b");

  // A by-value argument that cannot be converted fails the call before the
  // member runs; the array given with it is handed back intact.
  std::vector<Variant> bad = {Variant(SafeArray::Vector({Variant(3), Variant(1)})), Variant("not a number")};
  const Variant* before = bad[0].array().data().data();
  r = v.Invoke("SortOneDArray", bad);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error, err::kTypeMismatch);
  ASSERT_TRUE(bad[0].IsArray());
  EXPECT_EQ(bad[0].array().data().data(), before);
  EXPECT_EQ(CLng(bad[0].array().at(0)), 3);
  EXPECT_EQ(CStr(bad[1]), "not a number");
}

TEST(Invoke, MembersWithoutAnImplementationAnswer445) {
  clsVantrove v;
  for (const MethodInfo& m : InterfaceMethods()) {
    if (clsVantrove::IsImplemented(m.position)) continue;
    std::vector<Variant> args;
    const InvokeResult r = v.Invoke(m.name, args);
    EXPECT_FALSE(r.ok) << m.name;
    EXPECT_EQ(r.error, err::kActionNotSupported) << m.name;
  }
  EXPECT_TRUE(clsVantrove::IsImplemented(0));
}

}  // namespace
}  // namespace vantrove
