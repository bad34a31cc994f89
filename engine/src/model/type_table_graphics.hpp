#pragma once
// Field lists of the drawing entities that carry geometry beyond the
// simple ones (polylines with their vertices, filled faces, dimensions),
// kept apart from type_table.cpp to keep that file to its size. Included
// by type_table.cpp only.

#include "model/type_table.hpp"

namespace vantrove::engine::types::graphics {

using K = Kind;
using B = Bits;

// POLYLINE (2D, 3D, polygon mesh, polyface mesh): the header of the
// VERTEX records that follow it, ended by a SEQEND. The elevation is a
// point whose x and y are 0.
inline constexpr Field kPolyline[] = {
    {"vertices_follow", 66, K::kInt, B::kNone, kR12, kLatest, "1"},
    {"elevation", 10, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"thickness", 39, K::kReal, B::kBT},
    {"flags", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"start_width", 40, K::kReal, B::kBD},
    {"end_width", 41, K::kReal, B::kBD},
    {"m_count", 71, K::kInt, B::kBS},
    {"n_count", 72, K::kInt, B::kBS},
    {"m_density", 73, K::kInt, B::kBS},
    {"n_density", 74, K::kInt, B::kBS},
    {"curve_type", 75, K::kInt, B::kBS},
    {"extrusion", 210, K::kPoint3, B::kBE},
};
inline constexpr Part kPolyline2dParts[] = {{"AcDb2dPolyline", kPolyline}};
inline constexpr Part kPolyline3dParts[] = {{"AcDb3dPolyline", kPolyline}};
inline constexpr Part kPolyfaceParts[] = {{"AcDbPolyFaceMesh", kPolyline}};
inline constexpr Part kPolygonMeshParts[] = {{"AcDbPolygonMesh", kPolyline}};

// VERTEX: the kind of polyline it belongs to is in its flags (32 3D
// polyline, 64 polygon mesh, 128 polyface mesh, 192 polyface vertex, 128
// alone a face record) and in its second subclass marker.
inline constexpr Field kVertex[] = {
    {"location", 10, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"start_width", 40, K::kReal, B::kSpecial},
    {"end_width", 41, K::kReal, B::kSpecial},
    {"bulge", 42, K::kReal, B::kBD},
    {"flags", 70, K::kInt, B::kRC, kR12, kLatest, "0"},
    {"tangent", 50, K::kAngle, B::kBD},
    {"id", 91, K::kInt, B::kBL, k2010},
};
// A polyface mesh face: the (1-based, negative when the edge is hidden)
// numbers of its three or four vertices.
inline constexpr Field kFaceRecord[] = {
    {"location", 10, K::kPoint3, B::kNone, kR12, kLatest, "0,0,0"},
    {"flags", 70, K::kInt, B::kNone, kR12, kLatest, "128"},
    {"vertex_1", 71, K::kInt, B::kBS},
    {"vertex_2", 72, K::kInt, B::kBS},
    {"vertex_3", 73, K::kInt, B::kBS},
    {"vertex_4", 74, K::kInt, B::kBS},
};
inline constexpr Part kVertex2dParts[] = {{"AcDbVertex", {}}, {"AcDb2dVertex", kVertex}};
inline constexpr Part kVertex3dParts[] = {{"AcDbVertex", {}}, {"AcDb3dPolylineVertex", kVertex}};
inline constexpr Part kVertexMeshParts[] = {{"AcDbVertex", {}}, {"AcDbPolygonMeshVertex", kVertex}};
inline constexpr Part kVertexPfaceParts[] = {{"AcDbVertex", {}}, {"AcDbPolyFaceMeshVertex", kVertex}};
inline constexpr Part kFaceRecordParts[] = {{"AcDbFaceRecord", kFaceRecord}};

// SOLID and TRACE: four corners at the entity's elevation.
inline constexpr Field kTrace[] = {
    {"corner_1", 10, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"corner_2", 11, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"corner_3", 12, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"corner_4", 13, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"thickness", 39, K::kReal, B::kBT},
    {"extrusion", 210, K::kPoint3, B::kBE},
};
inline constexpr Part kTraceParts[] = {{"AcDbTrace", kTrace}};

// 3DFACE: four corners in world coordinates and the hidden edges.
inline constexpr Field kFace[] = {
    {"corner_1", 10, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"corner_2", 11, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"corner_3", 12, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"corner_4", 13, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"hidden_edges", 70, K::kInt, B::kSpecial},
};
inline constexpr Part kFaceParts[] = {{"AcDbFace", kFace}};

// DIMENSION: the part every kind shares, then the kind's own points. The
// picture is the anonymous block named in group 2.
inline constexpr Field kDimension[] = {
    {"class_version", 280, K::kInt, B::kRC, k2010},
    {"block", 2, K::kName, B::kH, kR12, kLatest, ""},
    {"dimstyle", 3, K::kName, B::kH, kR12, kLatest, "Standard"},
    {"definition_point", 10, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"text_midpoint", 11, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
    {"clone_insertion", 12, K::kPoint3, B::kSpecial},
    {"dimension_type", 70, K::kInt, B::kSpecial, kR12, kLatest, "0"},
    {"attachment", 71, K::kInt, B::kBS, k2000},
    {"line_spacing_style", 72, K::kInt, B::kBS, k2000},
    {"line_spacing_factor", 41, K::kReal, B::kBD, k2000},
    {"measurement", 42, K::kReal, B::kBD, k2000},
    {"unknown", 73, K::kInt, B::kB, k2007},
    {"flip_arrow_1", 74, K::kInt, B::kB, k2007},
    {"flip_arrow_2", 75, K::kInt, B::kB, k2007},
    {"text", 1, K::kString, B::kTV},
    {"text_rotation", 53, K::kAngle, B::kBD},
    {"horizontal_direction", 51, K::kAngle, B::kBD},
    {"extrusion", 210, K::kPoint3, B::kBD3},
};
inline constexpr Field kDimAligned[] = {
    {"extension_1", 13, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"extension_2", 14, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"rotation", 50, K::kAngle, B::kBD},
    {"oblique", 52, K::kAngle, B::kBD},
};
inline constexpr Field kDimAngular[] = {
    {"extension_1", 13, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"extension_2", 14, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"vertex", 15, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"arc_point", 16, K::kPoint3, B::kSpecial, kR12, kLatest, "0,0,0"},
};
inline constexpr Field kDimRadial[] = {
    {"chord_point", 15, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"leader_length", 40, K::kReal, B::kBD, kR12, kLatest, "0"},
};
inline constexpr Field kDimOrdinate[] = {
    {"feature", 13, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"leader_end", 14, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
};
inline constexpr Part kDimLinearParts[] = {
    {"AcDbDimension", kDimension}, {"AcDbAlignedDimension", kDimAligned}, {"AcDbRotatedDimension", {}}};
inline constexpr Part kDimAlignedParts[] = {{"AcDbDimension", kDimension}, {"AcDbAlignedDimension", kDimAligned}};
inline constexpr Part kDimAng3ptParts[] = {{"AcDbDimension", kDimension}, {"AcDb3PointAngularDimension", kDimAngular}};
inline constexpr Part kDimAng2lnParts[] = {{"AcDbDimension", kDimension}, {"AcDb2LineAngularDimension", kDimAngular}};
inline constexpr Part kDimRadiusParts[] = {{"AcDbDimension", kDimension}, {"AcDbRadialDimension", kDimRadial}};
inline constexpr Part kDimDiameterParts[] = {{"AcDbDimension", kDimension}, {"AcDbDiametricDimension", kDimRadial}};
inline constexpr Part kDimOrdinateParts[] = {{"AcDbDimension", kDimension}, {"AcDbOrdinateDimension", kDimOrdinate}};

// VIEWPORT: a window on model space in a paper space layout. Its number
// (69) is its place in the layout (1 the layout's own view), its status
// (68) the same while it is on; neither is stored in DWG.
inline constexpr Field kViewport[] = {
    {"center", 10, K::kPoint3, B::kBD3, kR12, kLatest, "0,0,0"},
    {"width", 40, K::kReal, B::kBD, kR12, kLatest, "1"},
    {"height", 41, K::kReal, B::kBD, kR12, kLatest, "1"},
    {"status", 68, K::kInt, B::kNone, kR12, kLatest, "1"},
    {"id", 69, K::kInt, B::kNone, kR12, kLatest, "1"},
    {"view_center", 12, K::kPoint2, B::kRD2, k2000, kLatest, "0,0"},
    {"snap_base", 13, K::kPoint2, B::kRD2, k2000, kLatest, "0,0"},
    {"snap_spacing", 14, K::kPoint2, B::kRD2, k2000, kLatest, "10,10"},
    {"grid_spacing", 15, K::kPoint2, B::kRD2, k2000, kLatest, "10,10"},
    {"view_direction", 16, K::kPoint3, B::kBD3, k2000, kLatest, "0,0,1"},
    {"view_target", 17, K::kPoint3, B::kBD3, k2000, kLatest, "0,0,0"},
    {"lens", 42, K::kReal, B::kBD, k2000, kLatest, "50"},
    {"front_clip", 43, K::kReal, B::kBD, k2000, kLatest, "0"},
    {"back_clip", 44, K::kReal, B::kBD, k2000, kLatest, "0"},
    {"view_height", 45, K::kReal, B::kBD, k2000, kLatest, "1"},
    {"snap_angle", 50, K::kAngle, B::kBD, k2000, kLatest, "0"},
    {"twist", 51, K::kAngle, B::kBD, k2000, kLatest, "0"},
    {"circle_zoom", 72, K::kInt, B::kBS, k2000, kLatest, "1000"},
    {"frozen_layers", 331, K::kGroups, B::kH, k2000},
    {"flags", 90, K::kInt, B::kBL, k2000, kLatest, "0"},
    {"clip_boundary", 340, K::kHandle, B::kH, k2000},
    {"style_sheet", 1, K::kString, B::kTV, k2000, kLatest, ""},
    {"render_mode", 281, K::kInt, B::kRC, k2000, kLatest, "0"},
    {"ucs_per_viewport", 71, K::kInt, B::kB, k2000, kLatest, "0"},
    {"ucs_icon", 74, K::kInt, B::kB, k2000, kLatest, "0"},
    {"ucs_origin", 110, K::kPoint3, B::kBD3, k2000, kLatest, "0,0,0"},
    {"ucs_x_axis", 111, K::kPoint3, B::kBD3, k2000, kLatest, "1,0,0"},
    {"ucs_y_axis", 112, K::kPoint3, B::kBD3, k2000, kLatest, "0,1,0"},
    {"ucs", 345, K::kHandle, B::kH, k2000},
    {"base_ucs", 346, K::kHandle, B::kH, k2000},
    {"ortho_type", 79, K::kInt, B::kBS, k2000, kLatest, "0"},
    {"elevation", 146, K::kReal, B::kBD, k2000, kLatest, "0"},
    {"shade_plot_mode", 170, K::kInt, B::kBS, k2004},
    {"grid_major", 61, K::kInt, B::kBS, k2007},
    {"background", 332, K::kHandle, B::kH, k2007},
    {"shade_plot", 333, K::kHandle, B::kH, k2007},
    {"visual_style", 348, K::kHandle, B::kH, k2007},
    {"default_lighting", 292, K::kInt, B::kB, k2007},
    {"lighting_type", 282, K::kInt, B::kRC, k2007},
    {"brightness", 141, K::kReal, B::kBD, k2007},
    {"contrast", 142, K::kReal, B::kBD, k2007},
    {"ambient_color", 63, K::kInt, B::kCMC, k2007},
    {"ambient_rgb", 421, K::kInt, B::kCMC, k2007},
};
inline constexpr Part kViewportParts[] = {{"AcDbViewport", kViewport}};

// TOLERANCE: a feature control frame, its text in the dimension style.
inline constexpr Field kTolerance[] = {
    {"dimstyle", 3, K::kName, B::kH, kR13, kLatest, "Standard"},
    {"insertion", 10, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,0"},
    {"text", 1, K::kString, B::kTV, kR13, kLatest, ""},
    {"extrusion", 210, K::kPoint3, B::kBD3},
    {"x_axis", 11, K::kPoint3, B::kBD3, kR13, kLatest, "1,0,0"},
};
inline constexpr Part kToleranceParts[] = {{"AcDbFcf", kTolerance}};

// SPLINE: by control points (knots 40, weights 41, points 10) or by fit
// points (11) with their tolerance and end tangents.
inline constexpr Field kSpline[] = {
    {"flags", 70, K::kInt, B::kSpecial, kR13, kLatest, "8"},
    {"degree", 71, K::kInt, B::kBL, kR13, kLatest, "3"},
    {"knot_count", 72, K::kInt, B::kSpecial, kR13, kLatest, "0"},
    {"control_count", 73, K::kInt, B::kSpecial, kR13, kLatest, "0"},
    {"fit_count", 74, K::kInt, B::kSpecial, kR13, kLatest, "0"},
    {"knot_tolerance", 42, K::kReal, B::kBD},
    {"control_tolerance", 43, K::kReal, B::kBD},
    {"fit_tolerance", 44, K::kReal, B::kBD},
    {"start_tangent", 12, K::kPoint3, B::kBD3},
    {"end_tangent", 13, K::kPoint3, B::kBD3},
    {"points", 40, K::kGroups, B::kSpecial},
};
inline constexpr Part kSplineParts[] = {{"AcDbSpline", kSpline}};

// MLINE: a multi-line, its vertices each with their direction, miter and
// per element the segment and fill parameters (a run of groups).
inline constexpr Field kMline[] = {
    {"style_name", 2, K::kName, B::kH, kR13, kLatest, "STANDARD"},
    {"style", 340, K::kHandle, B::kH, kR13},
    {"scale", 40, K::kReal, B::kBD, kR13, kLatest, "1"},
    {"justification", 70, K::kInt, B::kRC, kR13, kLatest, "0"},
    {"flags", 71, K::kInt, B::kBS, kR13, kLatest, "1"},
    {"vertex_count", 72, K::kInt, B::kBS, kR13, kLatest, "0"},
    {"element_count", 73, K::kInt, B::kRC, kR13, kLatest, "0"},
    {"start", 10, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,0"},
    {"extrusion", 210, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,1"},
    {"vertices", 11, K::kGroups, B::kSpecial},
};
inline constexpr Part kMlineParts[] = {{"AcDbMline", kMline}};

// HATCH: its boundary paths (91 and what follows), pattern lines (78 and
// what follows), seed points (98) and gradient (450 on) are runs of
// groups.
inline constexpr Field kHatch[] = {
    {"elevation", 10, K::kPoint3, B::kSpecial, kR13, kLatest, "0,0,0"},
    {"extrusion", 210, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,1"},
    {"pattern_name", 2, K::kString, B::kTV, kR13, kLatest, "SOLID"},
    {"solid", 70, K::kInt, B::kB, kR13, kLatest, "1"},
    {"associative", 71, K::kInt, B::kB, kR13, kLatest, "0"},
    {"paths", 91, K::kGroups, B::kSpecial, kR13},
    {"style", 75, K::kInt, B::kBS, kR13, kLatest, "0"},
    {"pattern_type", 76, K::kInt, B::kBS, kR13, kLatest, "1"},
    {"pattern_angle", 52, K::kAngle, B::kBD},
    {"pattern_scale", 41, K::kReal, B::kBD},
    {"pattern_double", 77, K::kInt, B::kB},
    {"pattern_lines", 78, K::kGroups, B::kSpecial},
    {"pixel_size", 47, K::kReal, B::kBD},
    {"seeds", 98, K::kGroups, B::kSpecial, kR13},
    {"gradient", 450, K::kGroups, B::kSpecial, k2004},
};
inline constexpr Part kHatchParts[] = {{"AcDbHatch", kHatch}};

// 3DSOLID, REGION, BODY: the solid modeler's data as text lines (obscured
// as the modeler writes them) of at most 255 bytes, longer ones carried on
// in group 3. 3DSOLID links its history from 2007 on.
inline constexpr Field kModelerGeometry[] = {
    {"version", 70, K::kInt, B::kBS, kR13, kLatest, "1"},
    {"data", 1, K::kGroups, B::kSpecial, kR13},
};
inline constexpr Field kSolidHistory[] = {{"history", 350, K::kHandle, B::kH, k2007}};
inline constexpr Part kBodyParts[] = {{"AcDbModelerGeometry", kModelerGeometry}};
inline constexpr Part kSolidParts[] = {{"AcDbModelerGeometry", kModelerGeometry},
                                       {"AcDb3dSolid", kSolidHistory, k2007}};

// LEADER: its vertices are a run of groups (10, 20, 30 each).
inline constexpr Field kLeader[] = {
    {"dimstyle", 3, K::kName, B::kH, kR13, kLatest, "Standard"},
    {"arrowhead", 71, K::kInt, B::kB, kR13, kLatest, "1"},
    {"path_type", 72, K::kInt, B::kBS, kR13, kLatest, "0"},
    {"annotation_type", 73, K::kInt, B::kBS, kR13, kLatest, "3"},
    {"hookline_direction", 74, K::kInt, B::kB},
    {"text_height", 40, K::kReal, B::kBD},
    {"text_width", 41, K::kReal, B::kBD},
    {"vertex_count", 76, K::kInt, B::kBL, kR13, kLatest, "0"},
    {"vertices", 10, K::kGroups, B::kSpecial},
    {"block_color", 77, K::kInt, B::kBS},
    {"annotation", 340, K::kHandle, B::kH},
    {"normal", 210, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,1"},
    {"x_axis", 211, K::kPoint3, B::kBD3, kR13, kLatest, "1,0,0"},
    {"block_offset", 212, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,0"},
    {"annotation_offset", 213, K::kPoint3, B::kBD3, kR13, kLatest, "0,0,0"},
};
inline constexpr Part kLeaderParts[] = {{"AcDbLeader", kLeader}};

}  // namespace vantrove::engine::types::graphics
