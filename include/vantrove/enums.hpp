#pragma once
// The fourteen public enumerations. Every constant is a signed 32-bit value
// whose name begins with "dwg"; values are kept exactly, duplicates included,
// because several go unchanged to the drawing engine.
//
// Each list is written once and expands both to the C++ enumeration and to
// the table that `vantrove enums` prints.

#include <cstdint>
#include <string_view>
#include <vector>

#define VANTROVE_ENUM_TextType(X) X(dwgSingleLine, 0) X(dwgMultipleLine, 1)

#define VANTROVE_ENUM_DrawingFieldType(X) \
  X(dwgNone, 0)                           \
  X(dwgDrawingName, 1)                    \
  X(dwgDrawingFullName, 2)                \
  X(dwgPathAndDrawing, 3)                 \
  X(dwgUNCDrawingFullName, 4)             \
  X(dwgUNCPathAndDrawing, 5)

#define VANTROVE_ENUM_SortOrderType(X) X(dwgAscending, 0) X(dwgDescending, 1)

#define VANTROVE_ENUM_TableAlignType(X) X(dwgLeft, 0) X(dwgCenter, 1) X(dwgRight, 2)

#define VANTROVE_ENUM_LayerStateType(X) X(dwgOn, 1) X(dwgOff, 2)

#define VANTROVE_ENUM_LayerModeType(X) X(dwgOnOff, 1) X(dwgThaw, 2)

#define VANTROVE_ENUM_OrientationType(X) X(dwgPortrait, 0) X(dwgLandscape, 1)

#define VANTROVE_ENUM_DisplayType(X) X(dwgNormal, 0) X(dwgTranspose, 1)

// Word's table formats, listed in alphabetical order of name.
#define VANTROVE_ENUM_TableType(X) \
  X(dwgFormat3DEffects1, 32)       \
  X(dwgFormat3DEffects2, 33)       \
  X(dwgFormat3DEffects3, 34)       \
  X(dwgFormatClassic1, 4)          \
  X(dwgFormatClassic2, 5)          \
  X(dwgFormatClassic3, 6)          \
  X(dwgFormatClassic4, 7)          \
  X(dwgFormatColorful1, 8)         \
  X(dwgFormatColorful2, 9)         \
  X(dwgFormatColorful3, 10)        \
  X(dwgFormatColumns1, 11)         \
  X(dwgFormatColumns2, 12)         \
  X(dwgFormatColumns3, 13)         \
  X(dwgFormatColumns4, 14)         \
  X(dwgFormatColumns5, 15)         \
  X(dwgFormatContemporary, 35)     \
  X(dwgFormatElegant, 36)          \
  X(dwgFormatGrid1, 16)            \
  X(dwgFormatGrid2, 17)            \
  X(dwgFormatGrid3, 18)            \
  X(dwgFormatGrid4, 19)            \
  X(dwgFormatGrid5, 20)            \
  X(dwgFormatGrid6, 21)            \
  X(dwgFormatGrid7, 22)            \
  X(dwgFormatGrid8, 23)            \
  X(dwgFormatList1, 24)            \
  X(dwgFormatList2, 25)            \
  X(dwgFormatList3, 26)            \
  X(dwgFormatList4, 27)            \
  X(dwgFormatList5, 28)            \
  X(dwgFormatList6, 29)            \
  X(dwgFormatList7, 30)            \
  X(dwgFormatList8, 31)            \
  X(dwgFormatNone, 0)              \
  X(dwgFormatProfessional, 37)     \
  X(dwgFormatSimple1, 1)           \
  X(dwgFormatSimple2, 2)           \
  X(dwgFormatSimple3, 3)           \
  X(dwgFormatSubtle1, 38)          \
  X(dwgFormatSubtle2, 39)          \
  X(dwgFormatWeb1, 40)             \
  X(dwgFormatWeb2, 41)             \
  X(dwgFormatWeb3, 42)

#define VANTROVE_ENUM_AutoCADversionType(X) \
  X(dwgVersion2007, 2007)                   \
  X(dwgVersion2004, 2004)                   \
  X(dwgVersion2002, 2000)                   \
  X(dwgVersion2000, 2000)                   \
  X(dwgRel14, 14)                           \
  X(dwgRel12, 12)                           \
  X(dwgRel11, 11)                           \
  X(dwgRel10, 10)

#define VANTROVE_ENUM_SaveAutoCADversionType(X) \
  X(dwgSaveAsDefault, -1)                       \
  X(dwgSaveAsVersion2007, 2007)                 \
  X(dwgSaveAsVersion2004, 2004)                 \
  X(dwgSaveAsVersion2002, 2000)                 \
  X(dwgSaveAsVersion2000, 2000)                 \
  X(dwgSaveAsVersion2000i, 2000)                \
  X(dwgSaveAsRel14, 14)                         \
  X(dwgSaveAsRel12, 12)

#define VANTROVE_ENUM_ChapterType(X) \
  X(dwgDrawingInfo, 0)               \
  X(dwgLayers, 1)                    \
  X(dwgBlocks, 2)                    \
  X(dwgBlocksAndAttributes, 3)       \
  X(dwgImages, 4)                    \
  X(dwgExternalRefs, 5)              \
  X(dwgLayouts, 6)                   \
  X(dwgAttributeDefs, 7)             \
  X(dwgText, 8)                      \
  X(dwgMultiLineText, 9)

#define VANTROVE_ENUM_OracleProviderType(X) X(dwgMicrosoft, 0) X(dwgOracle, 1)

#define VANTROVE_ENUM_DrawingSpaceType(X) X(dwgBoth, 0) X(dwgPaper, 1) X(dwgModel, 2)

// The enumerations in the order the type library publishes them.
#define VANTROVE_ENUMS(E)   \
  E(TextType)               \
  E(DrawingFieldType)       \
  E(SortOrderType)          \
  E(TableAlignType)         \
  E(LayerStateType)         \
  E(LayerModeType)          \
  E(OrientationType)        \
  E(DisplayType)            \
  E(TableType)              \
  E(AutoCADversionType)     \
  E(SaveAutoCADversionType) \
  E(ChapterType)            \
  E(OracleProviderType)     \
  E(DrawingSpaceType)

namespace vantrove {

#define VANTROVE_ENUMERATOR(name, value) name = value,
#define VANTROVE_DECLARE_ENUM(type) enum type : int32_t { VANTROVE_ENUM_##type(VANTROVE_ENUMERATOR) };
VANTROVE_ENUMS(VANTROVE_DECLARE_ENUM)
#undef VANTROVE_DECLARE_ENUM
#undef VANTROVE_ENUMERATOR

struct EnumConstant {
  std::string_view name;
  int32_t value;
};
struct EnumInfo {
  std::string_view name;
  std::vector<EnumConstant> constants;
};

// The enumerations with their constants, in published order.
const std::vector<EnumInfo>& Enumerations();
// True when `name` is one of the fourteen enumeration names.
bool IsEnumerationName(std::string_view name);

}  // namespace vantrove
