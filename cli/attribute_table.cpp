#include "attribute_table.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <unordered_map>

#include "vantrove/engine/description.hpp"
#include "vantrove/engine/handle.hpp"
#include "vantrove/extract.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::cli {

namespace {

using engine::Attrib;
using engine::Block;
using engine::Document;
using engine::Insert;

enum Field : int {
  kDrawing, kDrawingPath, kBlock, kLayout, kName, kHandle, kElementId, kLayerName, kX, kY, kZ,
  kNumberAttributes, kNumberConstantAttributes, kRows, kColumns, kAttributeHandle, kAttributeElementId,
  kAttributeTag, kAttributeValue, kFieldCount
};

bool PlainAscii(std::string_view s) {
  for (const char c : s) {
    if (c < 0x20 || c > 0x7E) return false;
  }
  return true;
}

void AssignDescribed(std::string& out, std::string_view text) {
  if (PlainAscii(text)) out.assign(text);
  else out = DescribedText(text);
}

std::string Number(double value) {
  if (!std::isfinite(value) || value == 0.0) return "0";
  char buffer[64];
  const auto r = std::to_chars(buffer, buffer + sizeof(buffer), value);
  return std::string(buffer, r.ptr);
}

// A reference found in the drawing with the layout and block that hold it.
struct Found {
  const Insert* insert;
  std::string_view layout;
  const Block* holder;
};

// Reads the cells of one attribute record (a reference and one of its
// attributes) as the filter asks for them.
class RecordCells : public filter::CellSource {
 public:
  RecordCells(const Document& doc, const std::string& drawing, const std::string& folder)
      : doc_(doc), drawing_(drawing), folder_(folder) {}
  void Point(const Found& found, const Attrib* attrib) {
    found_ = &found;
    attrib_ = attrib;
    known_.fill(false);
  }
  bool Text(int field, std::string_view& out) const override {
    if (!known_[static_cast<size_t>(field)]) {
      cells_[static_cast<size_t>(field)] = Make(field);
      known_[static_cast<size_t>(field)] = true;
    }
    out = cells_[static_cast<size_t>(field)];
    return true;
  }
  Variant Value(int field) const override {
    std::string_view text;
    Text(field, text);
    return Variant(std::string(text));
  }

 private:
  std::string Make(int field) const {
    const Insert& insert = *found_->insert;
    switch (field) {
      case kDrawing: return drawing_;
      case kDrawingPath: return folder_;
      case kBlock: return DescribedText(found_->holder->name);
      case kLayout: return DescribedText(found_->layout);
      case kName: return DescribedText(insert.block_name);
      case kHandle: return engine::FormatHandle(insert.handle);
      case kElementId: return std::to_string(insert.element_id);
      case kLayerName: return DescribedText(insert.layer);
      case kX: return Number(insert.point.x);
      case kY: return Number(insert.point.y);
      case kZ: return Number(insert.point.z);
      case kNumberAttributes: return std::to_string(insert.attribs.size());
      case kNumberConstantAttributes: return std::to_string(ConstantAttributes(insert.block_name));
      case kRows: return std::to_string(insert.rows);
      case kColumns: return std::to_string(insert.columns);
      case kAttributeHandle: return engine::FormatHandle(attrib_->handle);
      case kAttributeElementId: return std::to_string(attrib_->element_id);
      case kAttributeTag: return DescribedText(attrib_->tag);
      case kAttributeValue: return DescribedText(attrib_->display_value());
      default: return std::string();
    }
  }
  size_t ConstantAttributes(std::string_view name) const {
    auto it = constants_.find(name);
    if (it != constants_.end()) return it->second;
    size_t count = 0;
    if (const Block* block = doc_.FindBlock(name)) {
      for (const engine::Entity* e : block->entities) {
        if (e->kind() == engine::ObjectKind::kAttDef && static_cast<const engine::AttDef*>(e)->constant()) ++count;
      }
    }
    constants_.emplace(name, count);
    return count;
  }

  const Document& doc_;
  const std::string& drawing_;
  const std::string& folder_;
  const Found* found_ = nullptr;
  const Attrib* attrib_ = nullptr;
  mutable std::array<bool, kFieldCount> known_{};
  mutable std::array<std::string, kFieldCount> cells_;
  mutable std::unordered_map<std::string_view, size_t> constants_;
};

bool SameName(std::string_view name, const std::string& foldedWanted) {
  return FoldCase(DescribedText(name)) == foldedWanted;
}

// Every reference with attributes that the selectors take, in the order of
// the description: each layout's block in tab order, then the block
// definitions.
std::vector<Found> FindReferences(const Document& doc, const AttributeSelection& s) {
  const std::string block = FoldCase(Trim(s.block)), layout = FoldCase(Trim(s.layout)),
                    layer = FoldCase(Trim(s.layer));
  std::vector<Found> found;
  auto scan = [&](const Block* holder, std::string_view layoutName) {
    for (const engine::Entity* e : holder->entities) {
      if (e->kind() != engine::ObjectKind::kInsert) continue;
      const auto* insert = static_cast<const Insert*>(e);
      if (insert->attribs.empty()) continue;
      if (!block.empty() && !SameName(insert->block_name, block)) continue;
      if (!layer.empty() && !SameName(insert->layer, layer)) continue;
      found.push_back(Found{insert, layoutName, holder});
    }
  };
  std::vector<const Block*> layoutBlocks;
  for (const engine::Layout* l : doc.layouts) {
    if (l->block == nullptr) continue;
    layoutBlocks.push_back(l->block);
    if (s.space == Space::kModel && !l->is_model()) continue;
    if (s.space == Space::kPaper && l->is_model()) continue;
    if (!layout.empty() && !SameName(l->name, layout)) continue;
    scan(l->block, l->name);
  }
  // Block definitions belong to no layout: only without a space or layout.
  if (s.space != Space::kBoth || !layout.empty()) return found;
  for (const Block* b : doc.blocks) {
    bool isLayoutBlock = false;
    for (const Block* used : layoutBlocks) isLayoutBlock = isLayoutBlock || used == b;
    if (isLayoutBlock || doc.LayoutOf(b) != nullptr) continue;
    scan(b, std::string_view());
  }
  return found;
}

// The references grouped by block name (without case), groups in the order
// their first reference comes.
std::vector<std::vector<const Found*>> GroupByBlock(const std::vector<Found>& found) {
  std::vector<std::vector<const Found*>> groups;
  std::unordered_map<std::string_view, size_t> exact;
  std::unordered_map<std::string, size_t> folded;
  for (const Found& f : found) {
    const std::string_view name = f.insert->block_name;
    auto it = exact.find(name);
    if (it == exact.end()) {
      auto [at, added] = folded.emplace(FoldCase(DescribedText(name)), groups.size());
      if (added) groups.emplace_back();
      it = exact.emplace(name, at->second).first;
    }
    groups[it->second].push_back(&f);
  }
  return groups;
}

}  // namespace

const std::vector<std::string>& AttributeRecordFields() {
  static const std::vector<std::string> fields = {
      "Drawing", "DrawingPath", "Block", "Layout", "Name", "Handle", "ElementId", "LayerName", "X", "Y", "Z",
      "NumberAttributes", "NumberConstantAttributes", "Rows", "Columns", "AttributeHandle", "AttributeElementId",
      "AttributeTag", "AttributeValue"};
  return fields;
}

std::string DescribedText(std::string_view text) {
  if (PlainAscii(text)) return std::string(text);
  return extract::DecodeXmlText(engine::EscapeDescriptionValue(text), true);
}

std::string DescribedPath(const Document& doc) {
  std::string path = doc.source_path;
  if (!path.empty()) {
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error);
    if (!error) path = absolute.lexically_normal().string();
  }
  return DescribedText(path);
}

size_t AppendAttributeTable(const Document& doc, const AttributeSelection& s, Table& table) {
  const std::vector<Found> found = FindReferences(doc, s);
  const std::string path = DescribedPath(doc);
  const size_t sep = path.find_last_of("/\\");
  const std::string name = sep == std::string::npos ? path : path.substr(sep + 1);
  const std::string folder = sep == std::string::npos ? std::string() : path.substr(0, sep);
  const bool drawing = s.drawingField == dwgDrawingName || s.drawingField == dwgDrawingFullName;
  const std::string drawingValue = s.drawingField == dwgDrawingFullName ? path : name;
  std::vector<std::string> wanted;  // the listed tags, folded
  for (const std::string& t : s.tags) wanted.push_back(FoldCase(t));

  RecordCells cells(doc, name, folder);
  auto kept = [&](const Found& f) {
    if (s.filter == nullptr) return true;
    for (const Attrib* a : f.insert->attribs) {
      cells.Point(f, a);
      if (s.filter->Matches(cells)) return true;
    }
    return false;
  };

  size_t added = 0;
  const auto skip = static_cast<size_t>(-1);
  std::vector<size_t> columns;  // where each attribute of a reference goes
  for (const auto& group : GroupByBlock(found)) {
    const std::string blockName = DescribedText(group.front()->insert->block_name);
    // The columns of the group's first reference (or of the listed tags), resolved once.
    const Insert& first = *group.front()->insert;
    std::vector<size_t> firstColumns, listedColumns;
    for (const Found* f : group) {
      if (!kept(*f)) continue;
      const Insert& insert = *f->insert;
      const size_t blockColumn = s.blockColumn ? table.Column("Block") : skip;
      const size_t drawingColumn = drawing ? table.Column("Drawing") : skip;
      columns.assign(insert.attribs.size(), skip);
      if (!wanted.empty()) {
        if (listedColumns.empty()) {
          for (const std::string& t : s.tags) listedColumns.push_back(table.Column(t));
        }
        bool any = false;
        for (size_t i = 0; i < insert.attribs.size(); ++i) {
          const std::string tag = FoldCase(DescribedText(insert.attribs[i]->tag));
          for (size_t k = 0; k < wanted.size(); ++k) {
            if (wanted[k] == tag) columns[i] = listedColumns[k], any = true;
          }
        }
        if (!any) continue;
      } else {
        if (firstColumns.empty()) {
          for (const Attrib* a : first.attribs) {
            const std::string tag = DescribedText(a->tag);
            firstColumns.push_back(tag.empty() ? skip : table.Column(tag));
          }
        }
        bool sameTags = insert.attribs.size() == first.attribs.size();
        for (size_t i = 0; sameTags && i < insert.attribs.size(); ++i) {
          sameTags = insert.attribs[i]->tag == first.attribs[i]->tag;
        }
        for (size_t i = 0; i < insert.attribs.size(); ++i) {
          if (sameTags) {
            columns[i] = firstColumns[i];
          } else if (const std::string tag = DescribedText(insert.attribs[i]->tag); !tag.empty()) {
            columns[i] = table.Column(tag);
          }
        }
      }
      const size_t layoutColumn = s.layoutColumn ? table.Column("Layout") : skip;
      std::vector<std::string> row(table.header().size());
      if (blockColumn != skip) row[blockColumn] = blockName;
      if (drawingColumn != skip) row[drawingColumn] = drawingValue;
      // A later attribute with the same tag wins, as it does in the methods' tables.
      for (size_t i = 0; i < columns.size(); ++i) {
        if (columns[i] != skip) AssignDescribed(row[columns[i]], insert.attribs[i]->display_value());
      }
      if (layoutColumn != skip) AssignDescribed(row[layoutColumn], f->layout);
      table.AddRow(std::move(row));
      ++added;
    }
  }
  return added;
}

}  // namespace vantrove::cli
