#include "dxf/record_decoder.hpp"

#include <cmath>
#include <cstring>
#include <string>

namespace vantrove::engine::dxf {

namespace {

int32_t ClampInt(int64_t value) {
  if (value > INT32_MAX) return INT32_MAX;
  if (value < INT32_MIN) return INT32_MIN;
  return static_cast<int32_t>(value);
}

double Finite(double value) { return std::isfinite(value) ? value : 0.0; }

Handle HandleOf(const Group& g) { return ParseHandle(g.value()).value_or(kNoHandle); }

// Walks the groups that describe the record itself: it stops at extended
// data (1001) and skips application groups ({ACAD_REACTORS ... }).
template <class Fn>
void ForEachOwnGroup(GroupSpan groups, Fn&& fn) {
  int depth = 0;
  for (size_t i = 0; i < groups.size(); ++i) {
    const Group& g = groups[i];
    if (g.code == 1001) break;
    if (g.code == 102) {
      std::string_view v = g.value();
      if (!v.empty() && v.front() == '{') {
        ++depth;
      } else if (!v.empty() && v.front() == '}' && depth > 0) {
        --depth;
      }
      continue;
    }
    if (depth > 0) continue;
    if (!fn(i, g)) break;
  }
}

void DecodeCommon(Object& object, GroupSpan groups) {
  bool owner_seen = false;
  const int handle_code = object.type_name == "DIMSTYLE" ? 105 : 5;
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    if (g.code == handle_code && object.handle == kNoHandle) {
      object.handle = HandleOf(g);
    } else if (g.code == 330 && !owner_seen) {
      object.owner = HandleOf(g);
      owner_seen = true;
    }
    return true;
  });
}

void DecodeEntity(Entity& entity, GroupSpan groups) {
  bool layer_seen = false;
  bool space_seen = false;
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    if (g.code == 8 && !layer_seen) {
      entity.layer = g.value();
      layer_seen = true;
    }
    if (g.code == 67 && !space_seen) {
      entity.paper_space = g.AsInt() == 1;
      space_seen = true;
    }
    return true;
  });
}

void SetPoint(Point3& p, const Group& g, int base) {
  if (g.code == base) p.x = Finite(g.AsDouble());
  if (g.code == base + 10) p.y = Finite(g.AsDouble());
  if (g.code == base + 20) p.z = Finite(g.AsDouble());
}

void DecodeLayer(Layer& layer, GroupSpan groups) {
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    switch (g.code) {
      case 2: layer.name = g.value(); break;
      case 62: layer.color = ClampInt(g.AsInt(7)); break;
      case 70: layer.flags = ClampInt(g.AsInt()); break;
      case 6: layer.linetype = g.value(); break;
      case 370: layer.lineweight = ClampInt(g.AsInt(-3)); break;
      case 290: layer.plot = g.AsInt(1) != 0; break;
      default: break;
    }
    return true;
  });
}

void DecodeBlockRecord(BlockRecord& record, GroupSpan groups) {
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    if (g.code == 2) record.name = g.value();
    if (g.code == 340) record.layout_handle = HandleOf(g);
    return true;
  });
}

void DecodeBlock(Block& block, GroupSpan groups) {
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    switch (g.code) {
      case 2: block.name = g.value(); break;
      case 3: if (block.name.empty()) block.name = g.value(); break;
      case 70: block.flags = ClampInt(g.AsInt()); break;
      case 1: block.xref_path = g.value(); break;
      case 4: block.description = g.value(); break;
      default: SetPoint(block.base, g, 10); break;
    }
    return true;
  });
}

void DecodeInsert(Insert& insert, GroupSpan groups) {
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    switch (g.code) {
      case 2: insert.block_name = g.value(); break;
      case 41: insert.scale.x = Finite(g.AsDouble(1.0)); break;
      case 42: insert.scale.y = Finite(g.AsDouble(1.0)); break;
      case 43: insert.scale.z = Finite(g.AsDouble(1.0)); break;
      case 44: insert.column_spacing = Finite(g.AsDouble()); break;
      case 45: insert.row_spacing = Finite(g.AsDouble()); break;
      case 50: insert.rotation = Finite(g.AsDouble()); break;
      case 66: insert.attributes_follow = g.AsInt() != 0; break;
      case 70: insert.columns = ClampInt(g.AsInt(1)); break;
      case 71: insert.rows = ClampInt(g.AsInt(1)); break;
      default: SetPoint(insert.point, g, 10); break;
    }
    return true;
  });
}

void DecodeTextFields(TextEntity& text, const Group& g) {
  switch (g.code) {
    case 1: text.value = g.value(); break;
    case 7: text.style = g.value(); break;
    case 40: text.height = Finite(g.AsDouble()); break;
    case 50: text.rotation = Finite(g.AsDouble()); break;
    default: SetPoint(text.point, g, 10); break;
  }
}

// Joins the 3 groups and the final 1 group of an MTEXT text.
std::string_view JoinMText(GroupSpan groups, size_t from, TextArena& arena) {
  size_t total = 0;
  size_t pieces = 0;
  std::string_view single;
  for (size_t i = from; i < groups.size(); ++i) {
    const Group& g = groups[i];
    if (g.code == 1001) break;
    if (g.code == 3 || g.code == 1) {
      total += g.size;
      ++pieces;
      single = g.value();
    }
    if (g.code == 1) break;
  }
  if (pieces <= 1) return single;
  char* out = arena.Allocate(total);
  size_t at = 0;
  for (size_t i = from; i < groups.size(); ++i) {
    const Group& g = groups[i];
    if (g.code == 1001) break;
    if (g.code == 3 || g.code == 1) {
      if (g.size > 0) std::memcpy(out + at, g.data, g.size);
      at += g.size;
    }
    if (g.code == 1) break;
  }
  return {out, total};
}

void DecodeAttrib(Attrib& attrib, GroupSpan groups, TextArena& arena) {
  const bool is_attdef = attrib.kind() == ObjectKind::kAttDef;
  ForEachOwnGroup(groups, [&](size_t i, const Group& g) {
    if (g.code == 101) {
      // An embedded MTEXT (multi-line attribute) follows; its groups are not the attribute's.
      attrib.multiline = true;
      attrib.mtext_value = JoinMText(groups, i + 1, arena);
      return false;
    }
    switch (g.code) {
      case 2: attrib.tag = g.value(); break;
      case 3: if (is_attdef) static_cast<AttDef&>(attrib).prompt = g.value(); break;
      case 70: attrib.flags = ClampInt(g.AsInt()); break;
      default: DecodeTextFields(attrib, g); break;
    }
    return true;
  });
}

void DecodeMText(MText& mtext, GroupSpan groups, TextArena& arena) {
  size_t first_text = groups.size();
  ForEachOwnGroup(groups, [&](size_t i, const Group& g) {
    if (g.code == 101) return false;
    switch (g.code) {
      case 1:
      case 3: if (first_text == groups.size()) first_text = i; break;
      case 7: mtext.style = g.value(); break;
      case 40: mtext.height = Finite(g.AsDouble()); break;
      case 41: mtext.width = Finite(g.AsDouble()); break;
      default: SetPoint(mtext.point, g, 10); break;
    }
    return true;
  });
  if (first_text < groups.size()) mtext.value = JoinMText(groups, first_text, arena);
}

void DecodeImage(Image& image, GroupSpan groups) {
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    switch (g.code) {
      case 340: image.image_def = HandleOf(g); break;
      case 360: image.image_def_reactor = HandleOf(g); break;
      case 13: image.width_pixels = Finite(g.AsDouble()); break;
      case 23: image.height_pixels = Finite(g.AsDouble()); break;
      case 70: image.display_flags = ClampInt(g.AsInt()); break;
      default: SetPoint(image.point, g, 10); break;
    }
    return true;
  });
}

void DecodeImageDef(ImageDef& def, GroupSpan groups) {
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    switch (g.code) {
      case 1: def.path = g.value(); break;
      case 10: def.width_pixels = Finite(g.AsDouble()); break;
      case 20: def.height_pixels = Finite(g.AsDouble()); break;
      case 280: def.loaded = g.AsInt(1) != 0; break;
      default: break;
    }
    return true;
  });
}

void DecodeLayout(Layout& layout, GroupSpan groups) {
  // The layout's own fields follow its "AcDbLayout" marker; the plot
  // settings before it reuse codes 1 and 70.
  size_t start = 0;
  for (size_t i = 0; i < groups.size(); ++i) {
    if (groups[i].code == 100 && groups[i].value() == "AcDbLayout") {
      start = i + 1;
      break;
    }
  }
  ForEachOwnGroup(groups.subspan(start), [&](size_t, const Group& g) {
    switch (g.code) {
      case 1: layout.name = g.value(); break;
      case 70: layout.flags = ClampInt(g.AsInt()); break;
      case 71: layout.tab_order = ClampInt(g.AsInt()); break;
      case 330: if (start > 0) layout.block_record_handle = HandleOf(g); break;
      default: break;
    }
    return true;
  });
}

void DecodeDictionary(Dictionary& dictionary, GroupSpan groups) {
  std::string_view pending_name;
  bool has_name = false;
  ForEachOwnGroup(groups, [&](size_t, const Group& g) {
    if (g.code == 3) {
      pending_name = g.value();
      has_name = true;
    } else if ((g.code == 350 || g.code == 360) && has_name) {
      dictionary.entries.push_back({pending_name, HandleOf(g), g.code == 360});
      has_name = false;
    }
    return true;
  });
}

}  // namespace

Object* MakeObject(Document& doc, std::string_view type, Section section) {
  Object* object = nullptr;
  const bool entity_section = section == Section::kBlocks || section == Section::kEntities;
  if (section == Section::kTables) {
    if (type == "LAYER") {
      object = doc.New<Layer>();
    } else if (type == "BLOCK_RECORD") {
      object = doc.New<BlockRecord>();
    }
  } else if (section == Section::kObjects) {
    if (type == "LAYOUT") {
      object = doc.New<Layout>();
    } else if (type == "DICTIONARY" || type == "ACDBDICTIONARYWDFLT") {
      object = doc.New<Dictionary>();
    } else if (type == "IMAGEDEF") {
      object = doc.New<ImageDef>();
    }
  } else if (entity_section) {
    if (type == "INSERT") {
      object = doc.New<Insert>();
    } else if (type == "ATTRIB") {
      object = doc.New<Attrib>();
    } else if (type == "ATTDEF") {
      object = doc.New<AttDef>();
    } else if (type == "TEXT") {
      object = doc.New<Text>();
    } else if (type == "MTEXT") {
      object = doc.New<MText>();
    } else if (type == "IMAGE") {
      object = doc.New<Image>();
    } else if (type == "BLOCK") {
      object = doc.New<Block>();
    } else if (type == "ENDBLK") {
      object = doc.New<Entity>(ObjectKind::kEndBlk);
    } else if (type == "SEQEND") {
      object = doc.New<Entity>(ObjectKind::kSeqEnd);
    } else {
      object = doc.New<Entity>(ObjectKind::kOther);
    }
  }
  if (object == nullptr) object = doc.New<Object>(ObjectKind::kOther);
  object->section = section;
  return object;
}

void DecodeFields(Object& object, GroupSpan groups, TextArena& arena) {
  DecodeCommon(object, groups);
  if (object.is_entity()) DecodeEntity(static_cast<Entity&>(object), groups);
  switch (object.kind()) {
    case ObjectKind::kLayer: DecodeLayer(static_cast<Layer&>(object), groups); break;
    case ObjectKind::kBlockRecord: DecodeBlockRecord(static_cast<BlockRecord&>(object), groups); break;
    case ObjectKind::kBlock: DecodeBlock(static_cast<Block&>(object), groups); break;
    case ObjectKind::kInsert: DecodeInsert(static_cast<Insert&>(object), groups); break;
    case ObjectKind::kAttrib:
    case ObjectKind::kAttDef: DecodeAttrib(static_cast<Attrib&>(object), groups, arena); break;
    case ObjectKind::kText:
      ForEachOwnGroup(groups, [&](size_t, const Group& g) {
        DecodeTextFields(static_cast<Text&>(object), g);
        return true;
      });
      break;
    case ObjectKind::kMText: DecodeMText(static_cast<MText&>(object), groups, arena); break;
    case ObjectKind::kImage: DecodeImage(static_cast<Image&>(object), groups); break;
    case ObjectKind::kImageDef: DecodeImageDef(static_cast<ImageDef&>(object), groups); break;
    case ObjectKind::kLayout: DecodeLayout(static_cast<Layout&>(object), groups); break;
    case ObjectKind::kDictionary: DecodeDictionary(static_cast<Dictionary&>(object), groups); break;
    default: break;
  }
}

}  // namespace vantrove::engine::dxf
