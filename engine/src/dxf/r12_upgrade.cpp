// Writing an R12 (or R10) drawing as R13 or later: the subclass markers,
// owners, block records, the root dictionary and, from 2000 on, the
// layouts those versions need and R12 files do not have.

#include <algorithm>

#include "dxf/emitter.hpp"

namespace vantrove::engine::dxf {

namespace {

struct TableInfo {
  std::string_view name;
  std::string_view record_type;
  std::string_view subclass;
};

constexpr TableInfo kModernTables[] = {
    {"VPORT", "VPORT", "AcDbViewportTableRecord"},   {"LTYPE", "LTYPE", "AcDbLinetypeTableRecord"},
    {"LAYER", "LAYER", "AcDbLayerTableRecord"},      {"STYLE", "STYLE", "AcDbTextStyleTableRecord"},
    {"VIEW", "VIEW", "AcDbViewTableRecord"},         {"UCS", "UCS", "AcDbUCSTableRecord"},
    {"APPID", "APPID", "AcDbRegAppTableRecord"},     {"DIMSTYLE", "DIMSTYLE", "AcDbDimStyleTableRecord"},
    {"BLOCK_RECORD", "BLOCK_RECORD", "AcDbBlockTableRecord"},
};

// The subclass markers of an R12 entity written as R13 or later, and which
// of them holds each group code.
struct Subclasses {
  std::vector<std::string_view> names;
  int (*part_of)(int32_t code, int32_t flags) = nullptr;
};

int AllInLast(int32_t, int32_t) { return -1; }

Subclasses SubclassesOf(std::string_view type, int32_t flags) {
  Subclasses s;
  s.part_of = AllInLast;
  if (type == "LINE") {
    s.names = {"AcDbLine"};
  } else if (type == "POINT") {
    s.names = {"AcDbPoint"};
  } else if (type == "CIRCLE") {
    s.names = {"AcDbCircle"};
  } else if (type == "ARC") {
    s.names = {"AcDbCircle", "AcDbArc"};
    s.part_of = [](int32_t code, int32_t) { return code == 50 || code == 51 ? 1 : 0; };
  } else if (type == "TRACE" || type == "SOLID") {
    s.names = {"AcDbTrace"};
  } else if (type == "3DFACE") {
    s.names = {"AcDbFace"};
  } else if (type == "SHAPE") {
    s.names = {"AcDbShape"};
  } else if (type == "TEXT") {
    s.names = {"AcDbText", "AcDbText"};
    s.part_of = [](int32_t code, int32_t) { return code == 73 ? 1 : 0; };
  } else if (type == "ATTRIB") {
    s.names = {"AcDbText", "AcDbAttribute"};
    s.part_of = [](int32_t code, int32_t) { return code == 2 || code == 70 || code == 73 || code == 74 ? 1 : 0; };
  } else if (type == "ATTDEF") {
    s.names = {"AcDbText", "AcDbAttributeDefinition"};
    s.part_of = [](int32_t code, int32_t) {
      return code == 3 || code == 2 || code == 70 || code == 73 || code == 74 ? 1 : 0;
    };
  } else if (type == "INSERT") {
    s.names = {"AcDbBlockReference"};
  } else if (type == "POLYLINE") {
    if ((flags & 8) != 0) {
      s.names = {"AcDb3dPolyline"};
    } else if ((flags & 16) != 0) {
      s.names = {"AcDbPolygonMesh"};
    } else if ((flags & 64) != 0) {
      s.names = {"AcDbPolyFaceMesh"};
    } else {
      s.names = {"AcDb2dPolyline"};
    }
  } else if (type == "VERTEX") {
    if ((flags & 128) != 0 && (flags & 64) == 0) {
      s.names = {"AcDbFaceRecord"};
    } else if ((flags & 128) != 0) {
      s.names = {"AcDbVertex", "AcDbPolyFaceMeshVertex"};
    } else if ((flags & 32) != 0) {
      s.names = {"AcDbVertex", "AcDb3dPolylineVertex"};
    } else if ((flags & 64) != 0) {
      s.names = {"AcDbVertex", "AcDbPolygonMeshVertex"};
    } else {
      s.names = {"AcDbVertex", "AcDb2dVertex"};
    }
  } else if (type == "VIEWPORT") {
    s.names = {"AcDbViewport"};
  } else if (type == "DIMENSION") {
    switch (flags & 7) {
      case 0:
        s.names = {"AcDbDimension", "AcDbAlignedDimension", "AcDbRotatedDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return code == 12 || code == 22 || code == 32 || (code >= 13 && code <= 14) || code == 23 || code == 24 ||
                         code == 33 || code == 34 || code == 50 || code == 52
                     ? 1
                     : 0;
        };
        break;
      case 1:
        s.names = {"AcDbDimension", "AcDbAlignedDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return code == 12 || code == 22 || code == 32 || code == 13 || code == 14 || code == 23 || code == 24 ||
                         code == 33 || code == 34 || code == 50
                     ? 1
                     : 0;
        };
        break;
      case 2:
        s.names = {"AcDbDimension", "AcDb2LineAngularDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return (code >= 13 && code <= 16) || (code >= 23 && code <= 26) || (code >= 33 && code <= 36) ? 1 : 0;
        };
        break;
      case 3:
      case 4:
        s.names = {"AcDbDimension", (flags & 7) == 3 ? "AcDbDiametricDimension" : "AcDbRadialDimension"};
        s.part_of = [](int32_t code, int32_t) { return code == 15 || code == 25 || code == 35 || code == 40 ? 1 : 0; };
        break;
      case 5:
        s.names = {"AcDbDimension", "AcDb3PointAngularDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return (code >= 13 && code <= 15) || (code >= 23 && code <= 25) || (code >= 33 && code <= 35) ? 1 : 0;
        };
        break;
      default:
        s.names = {"AcDbDimension", "AcDbOrdinateDimension"};
        s.part_of = [](int32_t code, int32_t) {
          return code == 13 || code == 14 || code == 23 || code == 24 || code == 33 || code == 34 ? 1 : 0;
        };
        break;
    }
  }
  return s;
}

// Codes that stand in the AcDbEntity part of an R13+ entity.
bool IsEntityCommonCode(int32_t code) {
  return code == 8 || code == 6 || code == 62 || code == 67 || code == 48 || code == 60 || code == 370 ||
         code == 420 || code == 430 || code == 440 || code == 390 || code == 284 || code == 347;
}

}  // namespace


std::string_view Emitter::UpBlockName(const Block* block) const {
  if (block == doc_.model_space()) return "*Model_Space";
  if (block == doc_.paper_space()) return "*Paper_Space";
  return block->name;
}

void Emitter::UpTables() {
  // Block records first: their handles are needed by the blocks and layouts.
  block_record_table_ = NewHandle();
  std::vector<const Block*> ordered;
  ordered.push_back(doc_.model_space());
  ordered.push_back(doc_.paper_space());
  for (const Block* block : doc_.blocks) {
    if (block != doc_.model_space() && block != doc_.paper_space()) ordered.push_back(block);
  }
  for (const Block* block : ordered) records_[block] = NewHandle();
  if (target_rank_ >= 15) {
    for (const Layout* layout : doc_.layouts) {
      const Block* block = layout->block;
      if (block == nullptr) block = layout->is_model() ? doc_.model_space() : doc_.paper_space();
      layouts_.emplace_back(layout, block);
    }
  }

  BeginSection("TABLES");
  for (const TableInfo& info : kModernTables) {
    const Table* table = nullptr;
    for (const Table& t : doc_.tables) {
      if (SameName(t.name, info.name)) table = &t;
    }
    const bool is_block_records = info.name == "BLOCK_RECORD";
    const bool is_dimstyle = info.name == "DIMSTYLE";
    const Handle table_handle =
        is_block_records ? block_record_table_ : (table != nullptr && table->head != nullptr ? table->head->handle : NewHandle());

    // Entries every R13+ drawing has, added when the R12 file lacks them.
    std::vector<std::string_view> missing;
    auto has = [&](std::string_view name) {
      if (table == nullptr) return false;
      for (const Object* record : table->records) {
        if (SameName(OwnValue(doc_.Groups(*record), 2), name)) return true;
      }
      return false;
    };
    if (info.name == "LTYPE") {
      for (std::string_view name : {"ByBlock", "ByLayer", "Continuous"}) {
        if (!has(name)) missing.push_back(name);
      }
    }
    if (info.name == "APPID" && !has("ACAD")) missing.push_back("ACAD");
    if (info.name == "STYLE" && !has("Standard")) missing.push_back("Standard");
    if (is_dimstyle && !has("Standard")) missing.push_back("Standard");
    const Layer* synthesized_layer = nullptr;
    if (info.name == "LAYER") {
      for (const Layer* layer : doc_.layers) {
        if (layer->synthesized) synthesized_layer = layer;
      }
    }
    const size_t count = is_block_records ? ordered.size()
                                          : (table != nullptr ? table->records.size() : 0) + missing.size() +
                                                (synthesized_layer != nullptr ? 1 : 0);

    out_.Put(0, "TABLE");
    out_.Put(2, info.name);
    out_.PutHandle(5, table_handle);
    out_.Put(330, "0");
    out_.Put(100, "AcDbSymbolTable");
    out_.PutInt(70, static_cast<int64_t>(count));
    if (is_dimstyle) out_.Put(100, "AcDbDimStyleTable");

    auto record_head = [&](Handle handle) {
      out_.Put(0, info.record_type);
      out_.PutHandle(is_dimstyle ? 105 : 5, handle);
      out_.PutHandle(330, table_handle);
      out_.Put(100, "AcDbSymbolTableRecord");
      out_.Put(100, info.subclass);
    };
    if (is_block_records) {
      for (const Block* block : ordered) {
        record_head(records_[block]);
        out_.Put(2, UpBlockName(block));
        for (const auto& [layout, layout_block] : layouts_) {
          if (layout_block == block) out_.PutHandle(340, layout->handle);
        }
      }
    } else {
      if (synthesized_layer != nullptr) {
        record_head(synthesized_layer->handle);
        out_.Put(2, synthesized_layer->name);
        out_.PutInt(70, synthesized_layer->flags);
        out_.PutInt(62, synthesized_layer->color);
        out_.Put(6, "Continuous");
      }
      for (std::string_view name : missing) {
        record_head(NewHandle());
        out_.Put(2, name);
        out_.Put(70, "0");
        if (info.name == "LTYPE") {
          out_.Put(3, name == "Continuous" ? "Solid line" : "");
          out_.Put(72, "65");
          out_.Put(73, "0");
          out_.Put(40, "0.0");
        } else if (info.name == "STYLE") {
          out_.Put(40, "0.0");
          out_.Put(41, "1.0");
          out_.Put(50, "0.0");
          out_.Put(71, "0");
          out_.Put(42, "2.5");
          out_.Put(3, "txt");
          out_.Put(4, "");
        }
      }
      if (table != nullptr) {
        for (const Object* record : table->records) {
          record_head(record->handle);
          AppGroups app;
          for (const Group& g : doc_.Groups(*record)) {
            if (app.Step(g)) continue;
            if (app.inside() || g.code == 100 || g.code == 330 || g.code == 105 || g.code == 5) continue;
            // R12 named the dimension arrow blocks with 5, 6 and 7; later versions point at block records.
            if (is_dimstyle && (g.code == 6 || g.code == 7)) continue;
            out_.Put(g.code, g.value());
          }
        }
      }
    }
    out_.Put(0, "ENDTAB");
  }
  EndSection();
}

void Emitter::UpBlockBegin(const Block* block, Handle record, bool paper) {
  out_.Put(0, "BLOCK");
  out_.PutHandle(5, block->handle);
  out_.PutHandle(330, record);
  out_.Put(100, "AcDbEntity");
  if (paper) out_.Put(67, "1");
  out_.Put(8, block->layer.empty() ? std::string_view("0") : block->layer);
  out_.Put(100, "AcDbBlockBegin");
  const std::string_view name = UpBlockName(block);
  out_.Put(2, name);
  out_.PutInt(70, block->flags);
  out_.PutReal(10, block->base.x);
  out_.PutReal(20, block->base.y);
  out_.PutReal(30, block->base.z);
  out_.Put(3, name);
  out_.Put(1, block->xref_path);
}

void Emitter::UpBlockEnd(const Block* block, Handle record, bool paper) {
  out_.Put(0, "ENDBLK");
  out_.PutHandle(5, block->end != nullptr ? block->end->handle : NewHandle());
  out_.PutHandle(330, record);
  out_.Put(100, "AcDbEntity");
  if (paper) out_.Put(67, "1");
  out_.Put(8, block->layer.empty() ? std::string_view("0") : block->layer);
  out_.Put(100, "AcDbBlockEnd");
}

void Emitter::UpBlocks() {
  BeginSection("BLOCKS");
  UpBlockBegin(doc_.model_space(), records_[doc_.model_space()], false);
  UpBlockEnd(doc_.model_space(), records_[doc_.model_space()], false);
  UpBlockBegin(doc_.paper_space(), records_[doc_.paper_space()], true);
  UpBlockEnd(doc_.paper_space(), records_[doc_.paper_space()], true);
  for (const Block* block : doc_.blocks) {
    if (block == doc_.model_space() || block == doc_.paper_space()) continue;
    const Handle record = records_[block];
    UpBlockBegin(block, record, false);
    for (const Entity* e : block->entities) UpEntity(e, record, false);
    UpBlockEnd(block, record, false);
  }
  EndSection();
}

void Emitter::UpEntities() {
  BeginSection("ENTITIES");
  for (const Entity* e : SpaceEntities(doc_.model_space())) UpEntity(e, records_[doc_.model_space()], false);
  for (const Entity* e : SpaceEntities(doc_.paper_space())) UpEntity(e, records_[doc_.paper_space()], true);
  EndSection();
}

void Emitter::UpEntity(const Entity* entity, Handle owner, bool paper) {
  if (entity->kind() == ObjectKind::kBlock || entity->kind() == ObjectKind::kEndBlk) return;
  if (HasCode(doc_.Groups(*entity), 100)) {
    // Already in the later form (some R12-labelled files are).
    out_.Put(0, entity->type_name);
    bool owner_written = false;
    bool handle_written = false;
    for (const Group& g : doc_.Groups(*entity)) {
      if (g.code == 5) {
        if (handle_written) continue;
        handle_written = true;
        out_.PutHandle(5, entity->handle);
        continue;
      }
      if (g.code == 330 && !owner_written) {
        owner_written = true;
        out_.PutHandle(330, owner);
        continue;
      }
      if (g.code == 100 && !owner_written) {
        if (!handle_written) out_.PutHandle(5, entity->handle);
        handle_written = true;
        out_.PutHandle(330, owner);
        owner_written = true;
      }
      out_.Put(g.code, g.value());
    }
    return;
  }
  const int32_t flags = static_cast<int32_t>(Group(70, OwnValue(doc_.Groups(*entity), 70, "0")).AsInt());
  const Subclasses subclasses = SubclassesOf(entity->type_name, flags);
  size_t xdata = doc_.Groups(*entity).size();
  for (size_t i = 0; i < doc_.Groups(*entity).size(); ++i) {
    if (doc_.Groups(*entity)[i].code == 1001) {
      xdata = i;
      break;
    }
  }
  const GroupSpan own = doc_.Groups(*entity).first(xdata);
  out_.Put(0, entity->type_name);
  out_.PutHandle(5, entity->handle);
  out_.PutHandle(330, owner);
  out_.Put(100, "AcDbEntity");
  if (paper && !HasCode(own, 67)) out_.Put(67, "1");
  bool layer = false;
  for (const Group& g : own) {
    if (IsEntityCommonCode(g.code)) {
      out_.Put(g.code, g.value());
      layer = layer || g.code == 8;
    }
  }
  if (!layer) out_.Put(8, "0");
  const int parts = static_cast<int>(subclasses.names.size());
  auto part_of = [&](int32_t code) {
    const int part = subclasses.part_of(code, flags);
    return part < 0 || part >= parts ? parts - 1 : part;
  };
  for (int part = 0; part < std::max(parts, 1); ++part) {
    if (parts > 0) out_.Put(100, subclasses.names[static_cast<size_t>(part)]);
    for (const Group& g : own) {
      if (g.code == 5 || g.code == 105 || g.code == 330 || g.code == 102 || IsEntityCommonCode(g.code)) continue;
      if (parts > 0 && part_of(g.code) != part) continue;
      out_.Put(g.code, g.value());
    }
  }
  for (const Group& g : doc_.Groups(*entity).subspan(xdata)) out_.Put(g.code, g.value());
}

void Emitter::UpObjects() {
  root_dictionary_ = NewHandle();
  group_dictionary_ = NewHandle();
  if (target_rank_ >= 15) layout_dictionary_ = NewHandle();
  BeginSection("OBJECTS");
  out_.Put(0, "DICTIONARY");
  out_.PutHandle(5, root_dictionary_);
  out_.Put(330, "0");
  out_.Put(100, "AcDbDictionary");
  out_.Put(281, "1");
  out_.Put(3, "ACAD_GROUP");
  out_.PutHandle(350, group_dictionary_);
  if (layout_dictionary_ != kNoHandle) {
    out_.Put(3, "ACAD_LAYOUT");
    out_.PutHandle(350, layout_dictionary_);
  }
  auto dictionary = [&](Handle handle) {
    out_.Put(0, "DICTIONARY");
    out_.PutHandle(5, handle);
    out_.Put(102, "{ACAD_REACTORS");
    out_.PutHandle(330, root_dictionary_);
    out_.Put(102, "}");
    out_.PutHandle(330, root_dictionary_);
    out_.Put(100, "AcDbDictionary");
    out_.Put(281, "1");
  };
  dictionary(group_dictionary_);
  if (layout_dictionary_ != kNoHandle) {
    dictionary(layout_dictionary_);
    for (const auto& [layout, block] : layouts_) {
      out_.Put(3, layout->name);
      out_.PutHandle(350, layout->handle);
    }
    for (const auto& [layout, block] : layouts_) {
      const bool model = block == doc_.model_space();
      out_.Put(0, "LAYOUT");
      out_.PutHandle(5, layout->handle);
      out_.Put(102, "{ACAD_REACTORS");
      out_.PutHandle(330, layout_dictionary_);
      out_.Put(102, "}");
      out_.PutHandle(330, layout_dictionary_);
      out_.Put(100, "AcDbPlotSettings");
      out_.Put(1, "");
      out_.Put(2, "none_device");
      out_.Put(4, "");
      out_.Put(6, "");
      for (int code = 40; code <= 49; ++code) out_.Put(code, "0.0");
      out_.Put(140, "0.0");
      out_.Put(141, "0.0");
      out_.Put(142, "1.0");
      out_.Put(143, "1.0");
      out_.Put(70, model ? "1712" : "688");
      out_.Put(72, "0");
      out_.Put(73, "0");
      out_.Put(74, "5");
      out_.Put(7, "");
      out_.Put(75, "16");
      out_.Put(147, "1.0");
      out_.Put(76, "0");
      out_.Put(77, "2");
      out_.Put(78, "300");
      out_.Put(148, "0.0");
      out_.Put(149, "0.0");
      out_.Put(100, "AcDbLayout");
      out_.Put(1, layout->name);
      out_.Put(70, "1");
      out_.PutInt(71, layout->tab_order);
      out_.Put(10, "0.0");
      out_.Put(20, "0.0");
      out_.Put(11, "12.0");
      out_.Put(21, "9.0");
      out_.Put(12, "0.0");
      out_.Put(22, "0.0");
      out_.Put(32, "0.0");
      out_.Put(14, "0.0");
      out_.Put(24, "0.0");
      out_.Put(34, "0.0");
      out_.Put(15, "0.0");
      out_.Put(25, "0.0");
      out_.Put(35, "0.0");
      out_.Put(146, "0.0");
      out_.Put(13, "0.0");
      out_.Put(23, "0.0");
      out_.Put(33, "0.0");
      out_.Put(16, "1.0");
      out_.Put(26, "0.0");
      out_.Put(36, "0.0");
      out_.Put(17, "0.0");
      out_.Put(27, "1.0");
      out_.Put(37, "0.0");
      out_.Put(76, "0");
      out_.PutHandle(330, records_[block]);
    }
  }
  EndSection();
}

}  // namespace vantrove::engine::dxf
