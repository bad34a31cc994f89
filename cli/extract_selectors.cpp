#include "extract_selectors.hpp"

#include <algorithm>
#include <unordered_set>

#include "attribute_table.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::cli {

std::vector<std::string> ChapterFields(ChapterType chapter, bool drawingColumn) {
  std::vector<std::string> fields;
  switch (chapter) {
    case dwgDrawingInfo:
      return {"DatabaseFilename", "FileVersion", "FileFormat", "CodePage", "MaintenanceVersion", "LastSavedBy",
              "NumberOfLayers", "NumberOfLayouts", "NumberOfBlocks", "NumberOfObjects"};
    case dwgLayers:
      fields = {"LayerName", "Handle", "Color", "On", "Frozen", "Locked", "Linetype", "Lineweight", "Plot",
                "ElementId"};
      break;
    case dwgBlocks:
      fields = {"Block", "Layout", "Name", "Handle", "ElementId", "LayerName", "X", "Y", "Z", "NumberAttributes",
                "NumberConstantAttributes", "Rows", "Columns"};
      break;
    case dwgBlocksAndAttributes: return AttributeRecordFields();
    case dwgImages:
      fields = {"Block", "Handle", "ElementId", "PathName", "LayerName", "ImageDefinitionHandle", "X", "Y", "Z"};
      break;
    case dwgExternalRefs: fields = {"Name", "PathName", "Loaded", "Status", "Overlay", "Handle", "ElementId"}; break;
    case dwgLayouts: fields = {"LayoutName", "Handle", "TabOrder", "BlockName", "ModelSpace", "ElementId"}; break;
    case dwgAttributeDefs:
      fields = {"Block", "Handle", "AttributeTag", "AttributePrompt", "AttributeValue", "Constant", "Invisible",
                "Verify", "Preset", "MultiLine", "ElementId", "LayerName"};
      break;
    case dwgText: fields = {"Block", "Layout", "Value", "Handle", "ElementId", "LayerName", "X", "Y", "Z", "Height"}; break;
    case dwgMultiLineText:
      fields = {"Block", "Layout", "Value", "Handle", "PlainText", "ElementId", "LayerName", "X", "Y", "Z", "Height"};
      break;
  }
  if (drawingColumn) fields.insert(fields.begin(), "Drawing");
  return fields;
}

namespace {

// The cells of one row of an array, by the fields a filter was bound to.
class ArrayCells : public filter::CellSource {
 public:
  ArrayCells(const SafeArray& a, std::vector<int32_t> columns) : a_(a), columns_(std::move(columns)) {}
  void Row(int32_t row) { row_ = row; }
  bool Text(int field, std::string_view& out) const override {
    const int32_t c = columns_[static_cast<size_t>(field)];
    if (c < 0) return false;
    if (const auto* s = a_.at(row_, c).get_if<std::string>()) {
      out = *s;
      return true;
    }
    return false;
  }
  Variant Value(int field) const override {
    const int32_t c = columns_[static_cast<size_t>(field)];
    return c < 0 ? Variant::Null() : a_.at(row_, c);
  }

 private:
  const SafeArray& a_;
  std::vector<int32_t> columns_;
  int32_t row_ = 0;
};

}  // namespace

SafeArray FilterRows(const SafeArray& a, const filter::Expression& expression, const std::vector<std::string>& fields) {
  if (!a.allocated() || a.dims() != 2 || a.UBound(1) < a.LBound(1)) return a;
  const int32_t top = a.LBound(1);
  std::vector<int32_t> columns;
  for (const std::string& f : fields) {
    int32_t found = -1;
    for (int32_t c = a.LBound(2); c <= a.UBound(2) && found < 0; ++c) {
      if (a.at(top, c).IsString() && FoldCase(CStr(a.at(top, c))) == FoldCase(f)) found = c;
    }
    columns.push_back(found);
  }
  ArrayCells cells(a, columns);
  std::vector<int32_t> kept;
  for (int32_t r = top + 1; r <= a.UBound(1); ++r) {
    cells.Row(r);
    if (expression.Matches(cells)) kept.push_back(r);
  }
  const int32_t width = a.UBound(2) - a.LBound(2) + 1;
  SafeArray out = SafeArray::Matrix(static_cast<int32_t>(kept.size()) + 1, width);
  for (int32_t c = 0; c < width; ++c) {
    out.at(0, c) = a.at(top, a.LBound(2) + c);
    for (size_t k = 0; k < kept.size(); ++k) out.at(static_cast<int32_t>(k) + 1, c) = a.at(kept[k], a.LBound(2) + c);
  }
  return out;
}

std::string FilterQuote(const std::string& value) {
  std::string out = "'";
  for (const char c : value) {
    if (c == '\'') out += '\'';
    out += c;
  }
  return out + "'";
}

namespace {

// Edits from one name to the other: letters inserted, removed, changed or
// two neighbours swapped.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

std::vector<std::string> CloseMatches(const std::string& wanted, const std::set<std::string>& candidates) {
  const std::string w = FoldCase(Trim(wanted));
  const size_t allowed = w.size() <= 3 ? 1 : std::min<size_t>(3, std::max<size_t>(2, w.size() / 3));
  std::vector<std::pair<size_t, std::string>> close;
  for (const std::string& c : candidates) {
    const std::string f = FoldCase(c);
    size_t d = Distance(w, f);
    if (d > allowed && w.size() >= 2 && (f.find(w) != std::string::npos || w.find(f) != std::string::npos)) d = allowed;
    if (d <= allowed) close.emplace_back(d, c);
  }
  std::stable_sort(close.begin(), close.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> out;
  for (size_t i = 0; i < close.size() && i < 5; ++i) out.push_back(close[i].second);
  return out;
}

NameCheck::NameCheck(std::string block, std::string layout, std::string layer)
    : block_{"block", Trim(block), {}, false},
      layout_{"layout", Trim(layout), {}, false},
      layer_{"layer", Trim(layer), {}, false} {}

void NameCheck::Look(Selector& s, std::string_view name, bool candidate) {
  if (s.name.empty() || s.found) return;
  const std::string text = DescribedText(name);
  if (FoldCase(text) == FoldCase(s.name)) s.found = true;
  else if (candidate) s.seen.insert(text);
}

void NameCheck::Read(const engine::Document& doc) {
  for (const engine::Block* b : doc.blocks) {
    // Layout blocks and anonymous blocks are no names to suggest.
    Look(block_, b->name, doc.LayoutOf(b) == nullptr && !b->name.empty() && b->name.front() != '*');
  }
  for (const engine::Layout* l : doc.layouts) Look(layout_, l->name, true);
  for (const engine::Layer* l : doc.layers) Look(layer_, l->name, true);
  // Entities may name layers the layer table lacks (files without tables).
  if (!layer_.name.empty() && !layer_.found) {
    std::unordered_set<std::string_view> layers;
    for (const auto& object : doc.all_objects()) {
      if (object->is_entity() && !object->erased) layers.insert(static_cast<const engine::Entity&>(*object).layer);
    }
    for (const std::string_view name : layers) Look(layer_, name, true);
  }
}

std::vector<std::string> NameCheck::Warnings() const {
  std::vector<std::string> out;
  for (const Selector* s : {&block_, &layout_, &layer_}) {
    if (s->name.empty() || s->found) continue;
    std::string text = std::string("no ") + s->what + " named \"" + s->name + "\" in ";
    text += "the drawings read";
    const std::vector<std::string> close = CloseMatches(s->name, s->seen);
    if (close.empty()) {
      text += "; nothing comes close";
    } else {
      text += "; close matches: ";
      for (size_t i = 0; i < close.size(); ++i) text += (i ? ", " : "") + close[i];
    }
    out.push_back(text);
  }
  return out;
}

}  // namespace vantrove::cli
