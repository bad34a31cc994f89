// Writing a drawing of R13 or later as R12 (or R10): the tables and
// entities those versions know with the groups they hold, lightweight
// polylines as POLYLINE/VERTEX, MTEXT as one TEXT per line, dimensions as
// references to their blocks; everything else is counted as left out.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "dxf/emitter.hpp"
#include "model/type_table.hpp"

namespace vantrove::engine::dxf {

namespace {

constexpr double kPi = std::numbers::pi;

// Group codes an R12 entity may carry (5, the handle, is written apart).
bool IsR12EntityCode(int32_t code, bool with_xdata) {
  if (code >= 1000) return with_xdata && code <= 1071;
  return (code >= 1 && code <= 4) || (code >= 6 && code <= 47) || (code >= 49 && code <= 59) ||
         (code >= 62 && code <= 79) || (code >= 210 && code <= 239);
}

// What each R12 table keeps: the fields the type table gives that version;
// dimension styles list their variables here (the type table knows their
// names only).
bool IsR12TableCode(std::string_view table, int32_t code) {
  if (table == "DIMSTYLE") {
    return code == 2 || code == 70 || code == 3 || code == 4 || (code >= 40 && code <= 48) ||
           (code >= 140 && code <= 147) || (code >= 71 && code <= 78) || (code >= 170 && code <= 178);
  }
  const types::TypeDesc* desc = types::FindType(table);
  return desc != nullptr && !desc->entity && types::HoldsCode(*desc, code, types::kR12);
}

}  // namespace


void Emitter::R12Tables() {
  const bool r10 = target_rank_ < 9;
  BeginSection("TABLES");
  static constexpr std::string_view kOrder[] = {"VPORT", "LTYPE", "LAYER", "STYLE", "VIEW", "UCS", "APPID", "DIMSTYLE"};
  for (std::string_view name : kOrder) {
    if (r10 && (name == "APPID" || name == "DIMSTYLE")) continue;
    const Table* table = nullptr;
    for (const Table& t : doc_.tables) {
      if (SameName(t.name, name)) table = &t;
    }
    std::vector<const Object*> records;
    if (table != nullptr) {
      for (const Object* record : table->records) {
        if (Unwritable(record)) continue;
        const std::string_view record_name = OwnValue(doc_.Groups(*record), 2);
        if (name == "LTYPE" && (SameName(record_name, "BYBLOCK") || SameName(record_name, "BYLAYER"))) continue;
        records.push_back(record);
      }
    }
    const Layer* synthesized_layer = nullptr;
    if (name == "LAYER") {
      for (const Layer* layer : doc_.layers) {
        if (layer->synthesized) synthesized_layer = layer;
      }
    }
    out_.Put(0, "TABLE");
    out_.Put(2, name);
    out_.PutInt(70, static_cast<int64_t>(records.size() + (synthesized_layer != nullptr ? 1 : 0)));
    if (synthesized_layer != nullptr) {
      out_.Put(0, "LAYER");
      out_.PutHandle(5, synthesized_layer->handle);
      out_.PutName(2, synthesized_layer->name);
      out_.PutInt(70, synthesized_layer->flags & 0x77);
      out_.PutInt(62, synthesized_layer->color);
      out_.Put(6, "CONTINUOUS");
    }
    for (const Object* record : records) {
      out_.Put(0, name);
      out_.PutHandle(name == "DIMSTYLE" ? 105 : 5, record->handle);
      AppGroups app;
      for (const Group& g : doc_.Groups(*record)) {
        if (g.code == 1001) {
          if (r10) break;
          // Extended data stays.
        }
        if (app.Step(g)) continue;
        if (app.inside()) continue;
        if (g.code >= 1000) {
          if (!r10 && g.code <= 1071) out_.Put(g.code, g.value());
          continue;
        }
        if (!IsR12TableCode(name, g.code)) continue;
        if (name == "LAYER" && g.code == 70) {
          out_.PutInt(70, g.AsInt() & 0x77);
          continue;
        }
        if (g.code == 2 || (name == "LAYER" && g.code == 6)) {
          out_.PutName(g.code, g.value());
          continue;
        }
        out_.Put(g.code, g.value());
      }
    }
    out_.Put(0, "ENDTAB");
  }
  EndSection();
}

void Emitter::R12Blocks() {
  BeginSection("BLOCKS");
  for (int paper = 0; paper < 2; ++paper) {
    const std::string_view name = paper != 0 ? "$PAPER_SPACE" : "$MODEL_SPACE";
    out_.Put(0, "BLOCK");
    if (paper != 0) out_.Put(67, "1");
    out_.Put(8, "0");
    out_.Put(2, name);
    out_.Put(70, "0");
    out_.Put(10, "0.0");
    out_.Put(20, "0.0");
    out_.Put(30, "0.0");
    out_.Put(3, name);
    out_.Put(1, "");
    out_.Put(0, "ENDBLK");
    if (paper != 0) out_.Put(67, "1");
    out_.Put(8, "0");
  }
  for (const Block* block : doc_.blocks) {
    if (IsLayoutBlock(block)) {
      if (block != doc_.model_space() && block != doc_.paper_space() && !block->entities.empty()) {
        Drop("entity in another paper space layout", block->entities.size());
      }
      continue;
    }
    if (block->synthesized) continue;
    const std::string_view layer = block->layer.empty() ? std::string_view("0") : block->layer;
    out_.Put(0, "BLOCK");
    out_.PutName(8, layer);
    out_.PutName(2, block->name);
    out_.PutInt(70, block->flags & 0x77);
    out_.PutReal(10, block->base.x);
    out_.PutReal(20, block->base.y);
    out_.PutReal(30, block->base.z);
    out_.PutName(3, block->name);
    out_.Put(1, block->xref_path);
    for (const Entity* e : block->entities) R12Entity(e, false);
    out_.Put(0, "ENDBLK");
    out_.PutName(8, layer);
  }
  EndSection();
}

void Emitter::R12Entities() {
  BeginSection("ENTITIES");
  for (const Entity* e : SpaceEntities(doc_.model_space())) R12Entity(e, false);
  const std::vector<const Entity*> paper = SpaceEntities(doc_.paper_space());
  if (target_rank_ < 9) {
    if (!paper.empty()) Drop("paper space entity", paper.size());
  } else {
    for (const Entity* e : paper) R12Entity(e, true);
  }
  EndSection();
}

void Emitter::R12Entity(const Entity* entity, bool paper) {
  if (Unwritable(entity)) return;
  const std::string_view type = entity->type_name;
  static constexpr std::string_view kNative[] = {"LINE",   "POINT",  "CIRCLE", "ARC",      "TRACE",  "SOLID",
                                                 "3DFACE", "SHAPE",  "TEXT",   "INSERT",   "ATTRIB", "ATTDEF",
                                                 "POLYLINE", "VERTEX", "SEQEND"};
  for (std::string_view native : kNative) {
    if (type == native) {
      R12Filtered(entity, paper);
      return;
    }
  }
  if (type == "VIEWPORT" && source_rank_ <= 9 && target_rank_ >= 9) {
    R12Filtered(entity, paper);
    return;
  }
  if (type == "LWPOLYLINE") {
    R12LwPolyline(entity, paper);
  } else if (entity->kind() == ObjectKind::kMText) {
    R12MText(static_cast<const MText*>(entity), paper);
  } else if (type == "DIMENSION") {
    R12Dimension(entity, paper);
  } else if (entity->kind() != ObjectKind::kBlock && entity->kind() != ObjectKind::kEndBlk) {
    Drop(type);
  }
}

// An R12 entity: the groups R12 knows, without subclass markers, owners and
// application groups; the handle and the paper space flag written afresh.
void Emitter::R12Filtered(const Entity* entity, bool paper) {
  const bool xdata = target_rank_ >= 9;
  const bool attribute = entity->kind() == ObjectKind::kAttrib || entity->kind() == ObjectKind::kAttDef;
  const bool multiline = attribute && static_cast<const Attrib*>(entity)->multiline;
  std::string flat;
  if (multiline) {
    flat = MTextPlainText(static_cast<const Attrib*>(entity)->mtext_value);
    for (char& c : flat) {
      if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    }
  }
  out_.Put(0, entity->type_name);
  out_.PutHandle(5, entity->handle);
  if (paper) out_.Put(67, "1");
  if (entity->type_name == "POLYLINE") out_.Put(66, "1");
  bool in_attribute_part = false;
  bool skipping = false;
  bool value_done = false;
  AppGroups app;
  for (const Group& g : doc_.Groups(*entity)) {
    if (skipping) {
      if (g.code != 1001) continue;
      skipping = false;
    }
    if (app.Step(g)) continue;
    if (app.inside()) continue;
    if (g.code == 100) {
      in_attribute_part = g.value() == "AcDbAttribute" || g.value() == "AcDbAttributeDefinition";
      continue;
    }
    if (g.code == 101) {
      skipping = true;
      continue;
    }
    if (g.code == 67 || (g.code == 66 && entity->type_name == "POLYLINE")) continue;
    if (!IsR12EntityCode(g.code, xdata)) continue;
    if (multiline && in_attribute_part &&
        (g.code == 71 || g.code == 72 || g.code == 11 || g.code == 21 || g.code == 31)) {
      continue;
    }
    if (multiline && g.code == 1 && !value_done) {
      value_done = true;
      out_.Put(1, g.value().empty() ? std::string_view(flat) : g.value());
      continue;
    }
    if (g.code == 8 || g.code == 6 || g.code == 7 || (g.code == 2 && entity->kind() == ObjectKind::kInsert)) {
      out_.PutName(g.code, g.value());
      continue;
    }
    out_.Put(g.code, g.value());
  }
}

// Layer, line type and colour of an entity, for the entities made from it.
void Emitter::R12Common(const Entity* entity, bool paper) {
  if (paper) out_.Put(67, "1");
  out_.PutName(8, entity->layer.empty() ? std::string_view("0") : entity->layer);
  const std::string_view linetype = OwnValue(doc_.Groups(*entity), 6);
  if (!linetype.empty()) out_.PutName(6, linetype);
  const std::string_view color = OwnValue(doc_.Groups(*entity), 62);
  if (!color.empty()) out_.Put(62, color);
}

void Emitter::R12LwPolyline(const Entity* entity, bool paper) {
  struct Vertex {
    std::string_view x, y, start_width, end_width, bulge;
  };
  std::vector<Vertex> vertices;
  std::string_view elevation = "0.0", constant_width, flags_text = "0", thickness;
  std::string_view extrusion[3];
  AppGroups app;
  for (const Group& g : doc_.Groups(*entity)) {
    if (g.code == 1001) break;
    if (app.Step(g)) continue;
    if (app.inside()) continue;
    switch (g.code) {
      case 10: vertices.push_back({g.value(), {}, {}, {}, {}}); break;
      case 20: if (!vertices.empty()) vertices.back().y = g.value(); break;
      case 40: if (!vertices.empty()) vertices.back().start_width = g.value(); break;
      case 41: if (!vertices.empty()) vertices.back().end_width = g.value(); break;
      case 42: if (!vertices.empty()) vertices.back().bulge = g.value(); break;
      case 38: elevation = g.value(); break;
      case 39: thickness = g.value(); break;
      case 43: constant_width = g.value(); break;
      case 70: flags_text = g.value(); break;
      case 210: extrusion[0] = g.value(); break;
      case 220: extrusion[1] = g.value(); break;
      case 230: extrusion[2] = g.value(); break;
      default: break;
    }
  }
  const int64_t flags = Group(70, flags_text).AsInt() & (1 | 128);
  out_.Put(0, "POLYLINE");
  out_.PutHandle(5, entity->handle);
  R12Common(entity, paper);
  out_.Put(66, "1");
  out_.Put(10, "0.0");
  out_.Put(20, "0.0");
  out_.Put(30, elevation);
  if (!thickness.empty()) out_.Put(39, thickness);
  out_.PutInt(70, flags);
  if (!constant_width.empty()) {
    out_.Put(40, constant_width);
    out_.Put(41, constant_width);
  }
  if (!extrusion[2].empty()) {
    out_.Put(210, extrusion[0].empty() ? std::string_view("0.0") : extrusion[0]);
    out_.Put(220, extrusion[1].empty() ? std::string_view("0.0") : extrusion[1]);
    out_.Put(230, extrusion[2]);
  }
  for (const Vertex& v : vertices) {
    out_.Put(0, "VERTEX");
    out_.PutHandle(5, NewHandle());
    R12Common(entity, paper);
    out_.Put(10, v.x);
    out_.Put(20, v.y.empty() ? std::string_view("0.0") : v.y);
    out_.Put(30, elevation);
    if (!v.start_width.empty()) out_.Put(40, v.start_width);
    if (!v.end_width.empty()) out_.Put(41, v.end_width);
    if (!v.bulge.empty() && Group(42, v.bulge).AsDouble() != 0.0) out_.Put(42, v.bulge);
    out_.Put(70, "0");
  }
  out_.Put(0, "SEQEND");
  out_.PutHandle(5, NewHandle());
  R12Common(entity, paper);
}

// One TEXT per line of the MTEXT's readable text, stacked from the top of
// the text block as the attachment point places it.
void Emitter::R12MText(const MText* mtext, bool paper) {
  std::string plain = MTextPlainText(mtext->value);
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t i = 0; i <= plain.size(); ++i) {
    if (i == plain.size() || plain[i] == '\n') {
      std::string line = plain.substr(start, i - start);
      for (char& c : line) {
        if (static_cast<unsigned char>(c) < 0x20) c = ' ';
      }
      lines.push_back(std::move(line));
      start = i + 1;
    }
  }
  const double height = mtext->height > 0 ? mtext->height : 2.5;
  const double factor = OwnReal(doc_.Groups(*mtext), 44, 1.0);
  const double spacing = height * 5.0 / 3.0 * (factor > 0 ? factor : 1.0);
  double angle = OwnReal(doc_.Groups(*mtext), 50, 0.0);  // radians
  if (!OwnValue(doc_.Groups(*mtext), 11).empty()) {
    const double dx = OwnReal(doc_.Groups(*mtext), 11, 1.0);
    const double dy = OwnReal(doc_.Groups(*mtext), 21, 0.0);
    if (dx != 0.0 || dy != 0.0) angle = std::atan2(dy, dx);
  }
  int attachment = static_cast<int>(Group(71, OwnValue(doc_.Groups(*mtext), 71, "1")).AsInt(1));
  if (attachment < 1 || attachment > 9) attachment = 1;
  const int row = (attachment - 1) / 3;     // 0 top, 1 middle, 2 bottom
  const int column = (attachment - 1) % 3;  // 0 left, 1 centre, 2 right
  const double total = height + spacing * static_cast<double>(lines.size() - 1);
  const double offset = row == 0 ? 0.0 : (row == 1 ? total / 2 : total);
  // "Down" along the text's own frame.
  const double down_x = std::sin(angle);
  const double down_y = -std::cos(angle);
  const double top_x = mtext->point.x - down_x * offset;
  const double top_y = mtext->point.y - down_y * offset;
  const std::string_view style = mtext->style;
  std::string_view extrusion[3] = {OwnValue(doc_.Groups(*mtext), 210), OwnValue(doc_.Groups(*mtext), 220),
                                   OwnValue(doc_.Groups(*mtext), 230)};
  bool first = true;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].empty()) continue;
    const double x = top_x + down_x * spacing * static_cast<double>(i);
    const double y = top_y + down_y * spacing * static_cast<double>(i);
    out_.Put(0, "TEXT");
    out_.PutHandle(5, first ? mtext->handle : NewHandle());
    first = false;
    R12Common(mtext, paper);
    out_.PutReal(10, x);
    out_.PutReal(20, y);
    out_.PutReal(30, mtext->point.z);
    out_.PutReal(40, height);
    out_.Put(1, lines[i]);
    if (angle != 0.0) out_.PutReal(50, angle * 180.0 / kPi);
    if (!style.empty()) out_.PutName(7, style);
    if (column != 0) out_.PutInt(72, column);
    out_.PutReal(11, x);
    out_.PutReal(21, y);
    out_.PutReal(31, mtext->point.z);
    if (!extrusion[2].empty()) {
      out_.Put(210, extrusion[0].empty() ? std::string_view("0.0") : extrusion[0]);
      out_.Put(220, extrusion[1].empty() ? std::string_view("0.0") : extrusion[1]);
      out_.Put(230, extrusion[2]);
    }
    out_.Put(73, "3");
  }
}

// A dimension is shown by its block; R12 gets a reference to that block.
void Emitter::R12Dimension(const Entity* entity, bool paper) {
  const std::string_view block = OwnValue(doc_.Groups(*entity), 2);
  if (block.empty() || doc_.FindBlock(block) == nullptr) {
    Drop("DIMENSION without its block");
    return;
  }
  out_.Put(0, "INSERT");
  out_.PutHandle(5, entity->handle);
  R12Common(entity, paper);
  out_.PutName(2, block);
  out_.Put(10, "0.0");
  out_.Put(20, "0.0");
  out_.Put(30, "0.0");
  const std::string_view ez = OwnValue(doc_.Groups(*entity), 230);
  if (!ez.empty()) {
    out_.Put(210, OwnValue(doc_.Groups(*entity), 210, "0.0"));
    out_.Put(220, OwnValue(doc_.Groups(*entity), 220, "0.0"));
    out_.Put(230, ez);
  }
}

}  // namespace vantrove::engine::dxf
