// The field lists of the record types the engine understands. Field names
// are the ones the readers use to hand values to the encoder; the order of
// the fields is the order of the groups in a DXF file.

#include "model/type_table.hpp"

#include <array>

#include "model/type_table_graphics.hpp"

namespace vantrove::engine::types {

namespace {

using K = Kind;
using B = Bits;
namespace graphics = types::graphics;

// ---- entities ----------------------------------------------------------------------

constexpr Field kEntity[] = {
    {"paper_space", 67, K::kInt, B::kBB},
    {"layer", 8, K::kName, B::kH, kR12, kLatest, "0"},
    {"linetype", 6, K::kName, B::kH},
    {"color", 62, K::kInt, B::kCMC},
    {"lineweight", 370, K::kInt, B::kRC, k2000},
};
constexpr Part kEntityPart{"AcDbEntity", kEntity};

constexpr Field kLine[] = {
    {"thickness", 39, K::kReal, B::kBT},
    {"start", 10, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"end", 11, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"extrusion", 210, K::kPoint3, B::kBE},
};
constexpr Part kLineParts[] = {{"AcDbLine", kLine}};

constexpr Field kCircle[] = {
    {"center", 10, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"radius", 40, K::kReal, B::kBD, kR12, kLatest, "1"},
    {"thickness", 39, K::kReal, B::kBT},
    {"extrusion", 210, K::kPoint3, B::kBE},
};
constexpr Field kArcAngles[] = {
    {"start_angle", 50, K::kAngle, B::kBD, kR12, kLatest, "0"},
    {"end_angle", 51, K::kAngle, B::kBD, kR12, kLatest, "360"},
};
constexpr Part kCircleParts[] = {{"AcDbCircle", kCircle}};
constexpr Part kArcParts[] = {{"AcDbCircle", kCircle}, {"AcDbArc", kArcAngles}};

constexpr Field kPoint[] = {
    {"location", 10, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"thickness", 39, K::kReal, B::kBT},
    {"extrusion", 210, K::kPoint3, B::kBE},
    {"x_axis_angle", 50, K::kAngle, B::kBD},
};
constexpr Part kPointParts[] = {{"AcDbPoint", kPoint}};

constexpr Field kEllipse[] = {
    {"center", 10, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,0"},
    {"major_axis", 11, K::kPoint3, B::kBD3, kR13, kLatest, "1,0,0"},
    {"extrusion", 210, K::kPoint3, B::kBD3},
    {"ratio", 40, K::kReal, B::kBD, kR13, kLatest, "1"},
    {"start_param", 41, K::kReal, B::kBD, kR13, kLatest, "0"},
    {"end_param", 42, K::kReal, B::kBD, kR13, kLatest, "6.283185307179586"},
};
constexpr Part kEllipseParts[] = {{"AcDbEllipse", kEllipse}};

constexpr Field kRay[] = {
    {"start", 10, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,0"},
    {"direction", 11, K::kPoint3, B::kBD3, kR13, kLatest, "1,0,0"},
};
constexpr Part kRayParts[] = {{"AcDbRay", kRay}};
constexpr Part kXLineParts[] = {{"AcDbXline", kRay}};

// TEXT, and the text part of ATTRIB and ATTDEF.
constexpr Field kText[] = {
    {"thickness", 39, K::kReal, B::kBT},
    {"insertion", 10, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"height", 40, K::kReal, B::kRD, kR12, kLatest, "2.5"},
    {"value", 1, K::kString, B::kTV, kR12, kLatest, ""},
    {"rotation", 50, K::kAngle, B::kRD},
    {"width_factor", 41, K::kReal, B::kRD},
    {"oblique", 51, K::kAngle, B::kRD},
    {"style", 7, K::kName, B::kH, kR12, kLatest, "Standard"},
    {"generation", 71, K::kInt, B::kBS},
    {"horizontal_align", 72, K::kInt, B::kBS},
    {"alignment", 11, K::kPoint3, B::kSpecial},
    {"extrusion", 210, K::kPoint3, B::kBE},
};
constexpr Field kTextEnd[] = {{"vertical_align", 73, K::kInt, B::kBS}};
constexpr Field kAttribEnd[] = {
    {"attribute_version", 280, K::kInt, B::kRC, k2010},
    {"tag", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kRC, kR12, kLatest, "0"},
    {"field_length", 73, K::kInt, B::kBS},
    {"vertical_align", 74, K::kInt, B::kNone},
    {"lock_position", 280, K::kInt, B::kB, k2007},
};
constexpr Field kAttdefEnd[] = {
    {"attribute_version", 280, K::kInt, B::kRC, k2010},
    {"prompt", 3, K::kString, B::kTV, kR12, kLatest, ""},
    {"tag", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kRC, kR12, kLatest, "0"},
    {"field_length", 73, K::kInt, B::kBS},
    {"vertical_align", 74, K::kInt, B::kNone},
    {"lock_position", 280, K::kInt, B::kB, k2007},
};
constexpr Part kTextParts[] = {{"AcDbText", kText}, {"AcDbText", kTextEnd}};
constexpr Part kAttribParts[] = {{"AcDbText", kText}, {"AcDbAttribute", kAttribEnd}};
constexpr Part kAttdefParts[] = {{"AcDbText", kText}, {"AcDbAttributeDefinition", kAttdefEnd}};

constexpr Field kMText[] = {
    {"insertion", 10, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,0"},
    {"height", 40, K::kReal, B::kBD, kR13, kLatest, "2.5"},
    {"width", 41, K::kReal, B::kBD, kR13, kLatest, "0"},
    {"attachment", 71, K::kInt, B::kBS, kR13, kLatest, "1"},
    {"direction", 72, K::kInt, B::kBS, kR13, kLatest, "1"},
    {"value", 1, K::kLongText, B::kTV, kR13, kLatest, ""},
    {"style", 7, K::kName, B::kH, kR13, kLatest, "Standard"},
    {"extrusion", 210, K::kPoint3, B::kBD3},
    {"x_axis", 11, K::kPoint3, B::kBD3},
};
constexpr Part kMTextParts[] = {{"AcDbMText", kMText}};

constexpr Field kInsert[] = {
    {"attributes_follow", 66, K::kInt, B::kB},
    {"block", 2, K::kName, B::kH, kR12, kLatest, ""},
    {"insertion", 10, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"scale_x", 41, K::kReal, B::kSpecial},
    {"scale_y", 42, K::kReal, B::kSpecial},
    {"scale_z", 43, K::kReal, B::kSpecial},
    {"rotation", 50, K::kAngle, B::kBD},
    {"columns", 70, K::kInt, B::kBS},
    {"rows", 71, K::kInt, B::kBS},
    {"column_spacing", 44, K::kReal, B::kBD},
    {"row_spacing", 45, K::kReal, B::kBD},
    {"extrusion", 210, K::kPoint3, B::kBD3},
};
constexpr Part kInsertParts[] = {{"AcDbBlockReference", kInsert}};
constexpr Part kMInsertParts[] = {{"AcDbMInsertBlock", kInsert}};

constexpr Field kBlock[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kNone, kR12, kLatest, "0"},
    {"base", 10, K::kPoint3, B::kNone, kR12, kLatest, "0,0,0"},
    {"name_again", 3, K::kString, B::kNone, kR12, kLatest, ""},
    {"xref_path", 1, K::kString, B::kNone, kR12, kLatest, ""},
    {"description", 4, K::kString, B::kNone, k2000},
};
constexpr Part kBlockParts[] = {{"AcDbBlockBegin", kBlock}};
constexpr Part kEndBlkParts[] = {{"AcDbBlockEnd", {}}};

constexpr Field kImage[] = {
    {"class_version", 90, K::kInt, B::kBL, kR14, kLatest, "0"},
    {"origin", 10, K::kPoint3, B::kBD3, kR14, kLatest, "0,0,0"},
    {"u_vector", 11, K::kPoint3, B::kBD3, kR14, kLatest, "1,0,0"},
    {"v_vector", 12, K::kPoint3, B::kBD3, kR14, kLatest, "0,1,0"},
    {"size", 13, K::kPoint2, B::kRD2, kR14, kLatest, "1,1"},
    {"image_def", 340, K::kHandle, B::kH, kR14, kLatest, ""},
    {"display", 70, K::kInt, B::kBS, kR14, kLatest, "7"},
    {"clipping", 280, K::kInt, B::kB, kR14, kLatest, "0"},
    {"brightness", 281, K::kInt, B::kRC, kR14, kLatest, "50"},
    {"contrast", 282, K::kInt, B::kRC, kR14, kLatest, "50"},
    {"fade", 283, K::kInt, B::kRC, kR14, kLatest, "0"},
    {"reactor", 360, K::kHandle, B::kH, kR14},
    {"clip_boundary", 71, K::kGroups, B::kSpecial, kR14},
};
constexpr Part kImageParts[] = {{"AcDbRasterImage", kImage}};

// ---- table entries ------------------------------------------------------------------

constexpr Field kTableHead[] = {{"table", 2, K::kString, B::kNone, kR12, kLatest, ""}};
constexpr Field kTableCount[] = {{"count", 70, K::kInt, B::kBL, kR12, kLatest, "0"}};
constexpr Part kTableParts[] = {{"AcDbSymbolTable", kTableCount}};

constexpr Field kLayer[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"color", 62, K::kInt, B::kCMC, kR12, kLatest, "7"},
    {"linetype", 6, K::kName, B::kH, kR12, kLatest, "Continuous"},
    {"plot", 290, K::kInt, B::kSpecial, k2000},
    {"lineweight", 370, K::kInt, B::kSpecial, k2000, kLatest, "-3"},
    {"plot_style", 390, K::kHandle, B::kH, k2000},
};
constexpr Field kLtype[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"description", 3, K::kString, B::kTV, kR12, kLatest, ""},
    {"alignment", 72, K::kInt, B::kRC, kR12, kLatest, "65"},
    {"dash_count", 73, K::kInt, B::kRC, kR12, kLatest, "0"},
    {"pattern_length", 40, K::kReal, B::kBD, kR12, kLatest, "0"},
    {"dashes", 49, K::kGroups, B::kSpecial},
};
constexpr Field kStyle[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"height", 40, K::kReal, B::kBD, kR12, kLatest, "0"},
    {"width_factor", 41, K::kReal, B::kBD, kR12, kLatest, "1"},
    {"oblique", 50, K::kAngle, B::kBD, kR12, kLatest, "0"},
    {"generation", 71, K::kInt, B::kRC, kR12, kLatest, "0"},
    {"last_height", 42, K::kReal, B::kBD, kR12, kLatest, "2.5"},
    {"font", 3, K::kString, B::kTV, kR12, kLatest, "txt"},
    {"big_font", 4, K::kString, B::kTV, kR12, kLatest, ""},
};
constexpr Field kView[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"height", 40, K::kReal, B::kBD, kR12, kLatest, "1"},
    {"center", 10, K::kPoint2, B::kRD2, kR12, kLatest, "0,0"},
    {"width", 41, K::kReal, B::kBD, kR12, kLatest, "1"},
    {"direction", 11, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,1"},
    {"target", 12, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"lens", 42, K::kReal, B::kBD, kR12, kLatest, "50"},
    {"front_clip", 43, K::kReal, B::kBD, kR12, kLatest, "0"},
    {"back_clip", 44, K::kReal, B::kBD, kR12, kLatest, "0"},
    {"twist", 50, K::kAngle, B::kBD, kR12, kLatest, "0"},
    {"view_mode", 71, K::kInt, B::kSpecial, kR12, kLatest, "0"},
};
constexpr Field kUcs[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"origin", 10, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"x_axis", 11, K::kPoint3, B::kBD3, kR12, kLatest, "1,0,0"},
    {"y_axis", 12, K::kPoint3, B::kBD3, kR12, kLatest, "0,1,0"},
};
constexpr Field kAppid[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
};
constexpr Field kVport[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"lower_left", 10, K::kPoint2, B::kRD2, kR12, kLatest, "0,0"},
    {"upper_right", 11, K::kPoint2, B::kRD2, kR12, kLatest, "1,1"},
    {"center", 12, K::kPoint2, B::kRD2, kR12, kLatest, "0,0"},
    {"snap_base", 13, K::kPoint2, B::kRD2, kR12, kLatest, "0,0"},
    {"snap_spacing", 14, K::kPoint2, B::kRD2, kR12, kLatest, "0.5,0.5"},
    {"grid_spacing", 15, K::kPoint2, B::kRD2, kR12, kLatest, "0.5,0.5"},
    {"direction", 16, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,1"},
    {"target", 17, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"height", 40, K::kReal, B::kBD, kR12, kLatest, "10"},
    {"aspect", 41, K::kReal, B::kBD, kR12, kLatest, "1"},
    {"lens", 42, K::kReal, B::kBD, kR12, kLatest, "50"},
    {"front_clip", 43, K::kReal, B::kBD, kR12, kLatest, "0"},
    {"back_clip", 44, K::kReal, B::kBD, kR12, kLatest, "0"},
    {"snap_rotation", 50, K::kAngle, B::kBD, kR12, kLatest, "0"},
    {"twist", 51, K::kAngle, B::kBD, kR12, kLatest, "0"},
    {"view_mode", 71, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"circle_zoom", 72, K::kInt, B::kBS, kR12, kLatest, "1000"},
    {"fast_zoom", 73, K::kInt, B::kB, kR12, kLatest, "1"},
    {"ucs_icon", 74, K::kInt, B::kBB, kR12, kLatest, "3"},
    {"snap", 75, K::kInt, B::kB, kR12, kLatest, "0"},
    {"grid", 76, K::kInt, B::kB, kR12, kLatest, "0"},
    {"snap_style", 77, K::kInt, B::kB, kR12, kLatest, "0"},
    {"snap_isopair", 78, K::kInt, B::kBS, kR12, kLatest, "0"},
};
constexpr Field kDimstyle[] = {
    {"name", 2, K::kString, B::kTV, kR12, kLatest, ""},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
};
constexpr Field kBlockRecord[] = {
    {"name", 2, K::kString, B::kTV, kR13, kLatest, ""},
    {"layout", 340, K::kHandle, B::kH, k2000},
    {"units", 70, K::kInt, B::kBS, k2000, kLatest, "0"},
    {"explodable", 280, K::kInt, B::kB, k2000, kLatest, "1"},
    {"scalable", 281, K::kInt, B::kRC, k2000, kLatest, "0"},
};
constexpr Part kLayerParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbLayerTableRecord", kLayer}};
constexpr Part kLtypeParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbLinetypeTableRecord", kLtype}};
constexpr Part kStyleParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbTextStyleTableRecord", kStyle}};
constexpr Part kViewParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbViewTableRecord", kView}};
constexpr Part kUcsParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbUCSTableRecord", kUcs}};
constexpr Part kAppidParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbRegAppTableRecord", kAppid}};
constexpr Part kVportParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbViewportTableRecord", kVport}};
constexpr Part kDimstyleParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbDimStyleTableRecord", kDimstyle}};
constexpr Part kBlockRecordParts[] = {{"AcDbSymbolTableRecord", {}}, {"AcDbBlockTableRecord", kBlockRecord}};

// ---- objects --------------------------------------------------------------------------

constexpr Field kDictionary[] = {
    {"hard_owner", 280, K::kInt, B::kRC, k2000},
    {"cloning", 281, K::kInt, B::kBS, k2000, kLatest, "1"},
    {"entries", 3, K::kGroups, B::kSpecial},
};
constexpr Part kDictionaryParts[] = {{"AcDbDictionary", kDictionary}};
// A dictionary that names a default entry for the names it lacks.
constexpr Field kDictionaryDefault[] = {
    {"default", 340, K::kHandle, B::kH, kR14},
};
constexpr Part kDictionaryWithDefaultParts[] = {{"AcDbDictionary", kDictionary},
                                                {"AcDbDictionaryWithDefault", kDictionaryDefault}};

constexpr Field kImageDef[] = {
    {"class_version", 90, K::kInt, B::kBL, kR14, kLatest, "0"},
    {"path", 1, K::kString, B::kTV, kR14, kLatest, ""},
    {"size", 10, K::kPoint2, B::kRD2, kR14, kLatest, "1,1"},
    {"pixel_size", 11, K::kPoint2, B::kRD2, kR14, kLatest, "1,1"},
    {"loaded", 280, K::kInt, B::kB, kR14, kLatest, "1"},
    {"units", 281, K::kInt, B::kRC, kR14, kLatest, "0"},
};
constexpr Part kImageDefParts[] = {{"AcDbRasterImageDef", kImageDef}};

constexpr Field kPlotSettings[] = {
    {"page_setup", 1, K::kString, B::kTV, k2000, kLatest, ""},
    {"plot_config", 2, K::kString, B::kTV, k2000, kLatest, "none_device"},
    {"paper_size", 4, K::kString, B::kTV, k2000, kLatest, ""},
    {"plot_view", 6, K::kString, B::kTV, k2000, kLatest, ""},
    {"margins", 40, K::kGroups, B::kSpecial, k2000},
    {"plot_flags", 70, K::kInt, B::kBS, k2000, kLatest, "688"},
    {"paper_units", 72, K::kInt, B::kBS, k2000, kLatest, "0"},
    {"plot_rotation", 73, K::kInt, B::kBS, k2000, kLatest, "0"},
    {"plot_type", 74, K::kInt, B::kBS, k2000, kLatest, "5"},
    {"style_sheet", 7, K::kString, B::kTV, k2000, kLatest, ""},
    {"standard_scale", 75, K::kInt, B::kBS, k2000, kLatest, "16"},
};
constexpr Field kLayout[] = {
    {"name", 1, K::kString, B::kTV, k2000, kLatest, ""},
    {"flags", 70, K::kInt, B::kBS, k2000, kLatest, "1"},
    {"tab_order", 71, K::kInt, B::kBS, k2000, kLatest, "0"},
    {"limits_min", 10, K::kPoint2, B::kRD2, k2000, kLatest, "0,0"},
    {"limits_max", 11, K::kPoint2, B::kRD2, k2000, kLatest, "12,9"},
    {"insertion_base", 12, K::kPoint3, B::kBD3, k2000, kLatest, "0,0,0"},
    {"extents_min", 14, K::kPoint3, B::kBD3, k2000, kLatest, "0,0,0"},
    {"extents_max", 15, K::kPoint3, B::kBD3, k2000, kLatest, "0,0,0"},
    {"elevation", 146, K::kReal, B::kBD, k2000, kLatest, "0"},
    {"ucs_origin", 13, K::kPoint3, B::kBD3, k2000, kLatest, "0,0,0"},
    {"ucs_x_axis", 16, K::kPoint3, B::kBD3, k2000, kLatest, "1,0,0"},
    {"ucs_y_axis", 17, K::kPoint3, B::kBD3, k2000, kLatest, "0,1,0"},
    {"ucs_type", 76, K::kInt, B::kBS, k2000, kLatest, "1"},
    {"block_record", 330, K::kHandle, B::kH, k2000},
};
constexpr Part kLayoutParts[] = {{"AcDbPlotSettings", kPlotSettings}, {"AcDbLayout", kLayout}};

// A lightweight polyline: its vertices are a run of groups (10, 20, then
// the vertex's id, widths and bulge where it has them).
constexpr Field kLwPolyline[] = {
    {"count", 90, K::kInt, B::kSpecial, kR14, kLatest, "0"},
    {"flags", 70, K::kInt, B::kSpecial, kR14, kLatest, "0"},
    {"const_width", 43, K::kReal, B::kSpecial, kR14},
    {"elevation", 38, K::kReal, B::kSpecial, kR14},
    {"thickness", 39, K::kReal, B::kSpecial, kR14},
    {"vertices", 10, K::kGroups, B::kSpecial, kR14},
    {"extrusion", 210, K::kPoint3, B::kSpecial, kR14},
};
constexpr Part kLwPolylineParts[] = {{"AcDbPolyline", kLwPolyline}};

// An XRECORD: application data as (group code, value) items.
constexpr Field kXrecord[] = {
    {"cloning", 280, K::kInt, B::kBS, k2000, kLatest, "1"},
    {"items", 1, K::kGroups, B::kSpecial},
};
constexpr Part kXrecordParts[] = {{"AcDbXrecord", kXrecord}};

// A named selection of entities.
constexpr Field kGroup[] = {
    {"description", 300, K::kString, B::kTV, kR13, kLatest, ""},
    {"unnamed", 70, K::kInt, B::kBS, kR13, kLatest, "0"},
    {"selectable", 71, K::kInt, B::kBS, kR13, kLatest, "1"},
    {"entities", 340, K::kGroups, B::kH, kR13},
};
constexpr Part kGroupParts[] = {{"AcDbGroup", kGroup}};

// A multi-line style: its elements are a run of (offset 49, colour 62,
// line type 6) groups.
constexpr Field kMlineStyle[] = {
    {"name", 2, K::kString, B::kTV, kR13, kLatest, "STANDARD"},
    {"flags", 70, K::kInt, B::kBS, kR13, kLatest, "0"},
    {"description", 3, K::kString, B::kTV, kR13, kLatest, ""},
    {"fill_color", 62, K::kInt, B::kCMC, kR13, kLatest, "256"},
    {"start_angle", 51, K::kAngle, B::kBD, kR13, kLatest, "90"},
    {"end_angle", 52, K::kAngle, B::kBD, kR13, kLatest, "90"},
    {"count", 71, K::kInt, B::kRC, kR13, kLatest, "0"},
    {"elements", 49, K::kGroups, B::kSpecial, kR13},
};
constexpr Part kMlineStyleParts[] = {{"AcDbMlineStyle", kMlineStyle}};

// ---- proxies --------------------------------------------------------------------------

// A record of a class the reader has no decoder for, carried with the
// class's own data as stored ("proxy_data", always last: the graphics, data
// bits and references, laid out by the record's maker for the version it
// writes).
constexpr Field kProxyEntity[] = {
    {"proxy_class", 90, K::kInt, B::kNone, kR13, kLatest, "498"},
    {"class_id", 91, K::kInt, B::kNone, kR13, kLatest, "500"},
    {"proxy_data", 92, K::kGroups, B::kSpecial, kR13},
};
constexpr Field kProxyObject[] = {
    {"proxy_class", 90, K::kInt, B::kNone, kR13, kLatest, "499"},
    {"class_id", 91, K::kInt, B::kNone, kR13, kLatest, "500"},
    {"proxy_data", 93, K::kGroups, B::kSpecial, kR13},
};
constexpr Part kProxyEntityParts[] = {{"AcDbProxyEntity", kProxyEntity}};
constexpr Part kProxyObjectParts[] = {{"AcDbProxyObject", kProxyObject}};

// ---- the types ------------------------------------------------------------------------

constexpr TypeDesc kTypes[] = {
    {"LINE", 0x13, true, 5, {}, kLineParts},
    {"CIRCLE", 0x12, true, 5, {}, kCircleParts, true},
    {"ARC", 0x11, true, 5, {}, kArcParts, true},
    {"POINT", 0x1B, true, 5, {}, kPointParts, true},
    {"ELLIPSE", 0x23, true, 5, {}, kEllipseParts, true},
    {"RAY", 0x28, true, 5, {}, kRayParts, true},
    {"XLINE", 0x29, true, 5, {}, kXLineParts, true},
    {"TEXT", 0x01, true, 5, {}, kTextParts},
    {"ATTRIB", 0x02, true, 5, {}, kAttribParts},
    {"ATTDEF", 0x03, true, 5, {}, kAttdefParts},
    {"BLOCK", 0x04, true, 5, {}, kBlockParts},
    {"ENDBLK", 0x05, true, 5, {}, kEndBlkParts},
    {"SEQEND", 0x06, true, 5, {}, {}},
    {"INSERT", 0x07, true, 5, {}, kInsertParts},
    {"MINSERT", 0x08, true, 5, {}, kMInsertParts},
    {"MTEXT", 0x2C, true, 5, {}, kMTextParts},
    {"IMAGE", 0, true, 5, {}, kImageParts},
    {"TABLE", 0, false, 5, kTableHead, kTableParts},
    {"LAYER", 0x33, false, 5, {}, kLayerParts},
    {"LTYPE", 0x39, false, 5, {}, kLtypeParts},
    {"STYLE", 0x35, false, 5, {}, kStyleParts},
    {"VIEW", 0x3D, false, 5, {}, kViewParts},
    {"UCS", 0x3F, false, 5, {}, kUcsParts},
    {"VPORT", 0x41, false, 5, {}, kVportParts},
    {"APPID", 0x43, false, 5, {}, kAppidParts},
    {"DIMSTYLE", 0x45, false, 105, {}, kDimstyleParts},
    {"BLOCK_RECORD", 0x31, false, 5, {}, kBlockRecordParts},
    {"DICTIONARY", 0x2A, false, 5, {}, kDictionaryParts},
    {"IMAGEDEF", 0, false, 5, {}, kImageDefParts},
    {"LAYOUT", 0x52, false, 5, {}, kLayoutParts},
    {"LWPOLYLINE", 0x4D, true, 5, {}, kLwPolylineParts},
    {"ACDBDICTIONARYWDFLT", 0, false, 5, {}, kDictionaryWithDefaultParts},
    {"XRECORD", 0x4F, false, 5, {}, kXrecordParts},
    {"ACDBPLACEHOLDER", 0x50, false, 5, {}, {}},
    {"GROUP", 0x48, false, 5, {}, kGroupParts},
    {"MLINESTYLE", 0x49, false, 5, {}, kMlineStyleParts},
    {"POLYLINE", 0x0F, true, 5, {}, graphics::kPolyline2dParts},
    {"POLYLINE", 0x10, true, 5, {}, graphics::kPolyline3dParts},
    {"POLYLINE", 0x1D, true, 5, {}, graphics::kPolyfaceParts},
    {"POLYLINE", 0x1E, true, 5, {}, graphics::kPolygonMeshParts},
    {"VERTEX", 0x0A, true, 5, {}, graphics::kVertex2dParts},
    {"VERTEX", 0x0B, true, 5, {}, graphics::kVertex3dParts},
    {"VERTEX", 0x0C, true, 5, {}, graphics::kVertexMeshParts},
    {"VERTEX", 0x0D, true, 5, {}, graphics::kVertexPfaceParts},
    {"VERTEX", 0x0E, true, 5, {}, graphics::kFaceRecordParts},
    {"SOLID", 0x1F, true, 5, {}, graphics::kTraceParts},
    {"TRACE", 0x20, true, 5, {}, graphics::kTraceParts},
    {"3DFACE", 0x1C, true, 5, {}, graphics::kFaceParts},
    {"DIMENSION", 0x15, true, 5, {}, graphics::kDimLinearParts},
    {"DIMENSION", 0x16, true, 5, {}, graphics::kDimAlignedParts},
    {"DIMENSION", 0x17, true, 5, {}, graphics::kDimAng3ptParts},
    {"DIMENSION", 0x18, true, 5, {}, graphics::kDimAng2lnParts},
    {"DIMENSION", 0x19, true, 5, {}, graphics::kDimRadiusParts},
    {"DIMENSION", 0x1A, true, 5, {}, graphics::kDimDiameterParts},
    {"DIMENSION", 0x14, true, 5, {}, graphics::kDimOrdinateParts},
    {"VIEWPORT", 0x22, true, 5, {}, graphics::kViewportParts},
    {"TOLERANCE", 0x2E, true, 5, {}, graphics::kToleranceParts},
    {"SPLINE", 0x24, true, 5, {}, graphics::kSplineParts},
    {"MLINE", 0x2F, true, 5, {}, graphics::kMlineParts},
    {"HATCH", 0x4E, true, 5, {}, graphics::kHatchParts},
    {"REGION", 0x25, true, 5, {}, graphics::kBodyParts},
    {"3DSOLID", 0x26, true, 5, {}, graphics::kSolidParts},
    {"BODY", 0x27, true, 5, {}, graphics::kBodyParts},
    {"LEADER", 0x2D, true, 5, {}, graphics::kLeaderParts},
    {"ACAD_PROXY_ENTITY", 0, true, 5, {}, kProxyEntityParts},
    {"ACAD_PROXY_OBJECT", 0, false, 5, {}, kProxyObjectParts},
};

}  // namespace

const TypeDesc* FindType(std::string_view dxf_name) {
  for (const TypeDesc& t : kTypes) {
    if (t.dxf_name == dxf_name) return &t;
  }
  return nullptr;
}

const TypeDesc* FindDwgType(uint16_t type) {
  if (type == 0) return nullptr;
  for (const TypeDesc& t : kTypes) {
    if (t.dwg_type == type) return &t;
  }
  return nullptr;
}

const Field* FindField(const TypeDesc& desc, std::string_view name) {
  for (const Field& f : desc.leading) {
    if (f.name == name) return &f;
  }
  for (const Part& part : desc.parts) {
    for (const Field& f : part.fields) {
      if (f.name == name) return &f;
    }
  }
  return nullptr;
}

const Part& EntityPart() { return kEntityPart; }

bool HoldsCode(const TypeDesc& desc, int32_t code, int rank) {
  auto holds = [&](std::span<const Field> fields) {
    for (const Field& f : fields) {
      if (!f.In(rank)) continue;
      const int axes = f.kind == Kind::kPoint3 ? 3 : f.kind == Kind::kPoint2 ? 2 : 1;
      for (int i = 0; i < axes; ++i) {
        if (f.code + 10 * i == code) return true;
      }
    }
    return false;
  };
  if (holds(desc.leading)) return true;
  for (const Part& part : desc.parts) {
    if (holds(part.fields)) return true;
  }
  return false;
}

std::span<const TypeDesc> AllTypes() { return kTypes; }

}  // namespace vantrove::engine::types
