// Writing a worksheet part: the sheet's own XML (views, columns, dimension)
// edited as a tree, and its rows streamed with the written blocks merged in.
#include <algorithm>
#include <memory>
#include <sstream>

#include "sheet_cells.hpp"

namespace vantrove::xlsx {

namespace {

// The order of the worksheet's children that matter here.
constexpr std::string_view kOrder[] = {"sheetPr", "dimension", "sheetViews", "sheetFormatPr", "cols", "sheetData"};

pugi::xml_node EnsureChild(pugi::xml_node root, std::string_view local) {
  if (pugi::xml_node n = ooxml::ChildLocal(root, local)) return n;
  const std::string name = ooxml::PrefixOf(root) + std::string(local);
  // Insert before the first present child that comes later in the order.
  const auto me = std::find(std::begin(kOrder), std::end(kOrder), local);
  for (auto it = me + 1; it != std::end(kOrder); ++it) {
    if (pugi::xml_node later = ooxml::ChildLocal(root, *it)) return root.insert_child_before(name.c_str(), later);
  }
  return root.append_child(name.c_str());
}

pugi::xml_node FirstView(pugi::xml_node root) {
  pugi::xml_node views = EnsureChild(root, "sheetViews");
  pugi::xml_node view = ooxml::ChildLocal(views, "sheetView");
  if (!view) {
    view = views.append_child((ooxml::PrefixOf(root) + "sheetView").c_str());
    view.append_attribute("workbookViewId") = "0";
  }
  return view;
}

void SetAttr(pugi::xml_node n, const char* name, const std::string& value) {
  pugi::xml_attribute a = n.attribute(name);
  if (!a) a = n.append_attribute(name);
  a.set_value(value.c_str());
}

void ApplyTabSelection(pugi::xml_node root, const SheetState& s) {
  pugi::xml_node view = FirstView(root);
  if (s.selectTab) SetAttr(view, "tabSelected", "1");
  if (s.unselectTab) view.remove_attribute("tabSelected");
}

void ApplyFreeze(pugi::xml_node root, int64_t row, int32_t col) {
  pugi::xml_node view = FirstView(root);
  for (pugi::xml_node c = view.first_child(); c;) {
    pugi::xml_node next = c.next_sibling();
    if (ooxml::LocalName(c) == "pane" || ooxml::LocalName(c) == "selection") view.remove_child(c);
    c = next;
  }
  if (row <= 1 && col <= 1) return;
  const std::string p = ooxml::PrefixOf(root);
  const char* active = row > 1 && col > 1 ? "bottomRight" : row > 1 ? "bottomLeft" : "topRight";
  pugi::xml_node pane = view.prepend_child((p + "pane").c_str());
  if (col > 1) pane.append_attribute("xSplit") = std::to_string(col - 1).c_str();
  if (row > 1) pane.append_attribute("ySplit") = std::to_string(row - 1).c_str();
  pane.append_attribute("topLeftCell") = CellRef(row, col).c_str();
  pane.append_attribute("activePane") = active;
  pane.append_attribute("state") = "frozen";
  pugi::xml_node sel = view.insert_child_after((p + "selection").c_str(), pane);
  sel.append_attribute("pane") = active;
  sel.append_attribute("activeCell") = CellRef(row, col).c_str();
  sel.append_attribute("sqref") = CellRef(row, col).c_str();
}

struct ColRange {
  int32_t min, max;
  pugi::xml_node node;  // its attributes are copied to the pieces
};

void ApplyWidths(pugi::xml_node root, const std::map<int32_t, double>& widths) {
  if (widths.empty()) return;
  pugi::xml_node cols = EnsureChild(root, "cols");
  pugi::xml_document keep;  // the former ranges, copied out
  std::vector<ColRange> ranges;
  for (pugi::xml_node c : cols.children()) {
    if (ooxml::LocalName(c) != "col") continue;
    ranges.push_back({c.attribute("min").as_int(), c.attribute("max").as_int(), keep.append_copy(c)});
  }
  cols.remove_children();
  const std::string colName = ooxml::PrefixOf(root) + "col";
  auto emit = [&](int32_t lo, int32_t hi, pugi::xml_node from, const double* width) {
    if (lo > hi) return;
    pugi::xml_node n = cols.append_child(colName.c_str());
    if (from) {
      for (pugi::xml_attribute a : from.attributes()) n.append_attribute(a.name()) = a.value();
    }
    SetAttr(n, "min", std::to_string(lo));
    SetAttr(n, "max", std::to_string(hi));
    if (width) {
      char buf[32];
      std::snprintf(buf, sizeof buf, "%.4g", *width);
      SetAttr(n, "width", buf);
      SetAttr(n, "customWidth", "1");
      SetAttr(n, "bestFit", "1");
    }
  };
  // Every column from 1 to the last mentioned, range by range.
  int32_t last = widths.rbegin()->first;
  for (const ColRange& r : ranges) last = std::max(last, r.max);
  for (int32_t c = 1; c <= last;) {
    const ColRange* in = nullptr;
    for (const ColRange& r : ranges) {
      if (c >= r.min && c <= r.max) in = &r;
    }
    auto w = widths.find(c);
    if (w != widths.end()) {
      emit(c, c, in ? in->node : pugi::xml_node(), &w->second);
      ++c;
      continue;
    }
    // Up to the next column with a width or the end of this range.
    int32_t stop = last;
    auto nextW = widths.upper_bound(c);
    if (nextW != widths.end()) stop = std::min(stop, nextW->first - 1);
    for (const ColRange& r : ranges) {
      if (in && &r == in) stop = std::min(stop, r.max);
      else if (r.min > c) stop = std::min(stop, r.min - 1);
    }
    if (in) emit(c, stop, in->node, nullptr);
    c = stop + 1;
  }
}

void ApplyDimension(pugi::xml_node root, const SheetState& s) {
  if (s.blocks.empty()) return;
  int64_t r1 = kMaxRows, r2 = 1;
  int32_t c1 = kMaxColumns, c2 = 1;
  pugi::xml_node dim = EnsureChild(root, "dimension");
  std::string ref = dim.attribute("ref").value();
  bool known = false;
  if (!ref.empty()) {
    const size_t colon = ref.find(':');
    int64_t ra, rb;
    int32_t ca, cb;
    const std::string a = ref.substr(0, colon), b = colon == std::string::npos ? a : ref.substr(colon + 1);
    if (ParseCellRef(a, ra, ca) && ParseCellRef(b, rb, cb) && !(ref == "A1")) {
      r1 = ra, c1 = ca, r2 = rb, c2 = cb;
      known = true;
    }
  }
  for (const Block& b : s.blocks) {
    r1 = std::min(r1, b.row), c1 = std::min(c1, b.col);
    r2 = std::max(r2, b.lastRow()), c2 = std::max(c2, b.lastCol());
  }
  (void)known;
  SetAttr(dim, "ref", CellRef(r1, c1) + ":" + CellRef(r2, c2));
}

std::string Print(const pugi::xml_node& n) {
  std::ostringstream os;
  n.print(os, "", pugi::format_raw, pugi::encoding_utf8);
  return os.str();
}

std::string StartTag(const pugi::xml_node& n) {
  std::string s = "<";
  s += n.name();
  for (pugi::xml_attribute a : n.attributes()) {
    s += ' ';
    s += a.name();
    s += "=\"";
    ooxml::AppendEscaped(s, a.value());
    s += '"';
  }
  s += '>';
  return s;
}

// Streams the rows of one sheet: the existing rows of the tree merged with
// the blocks, in row order.
class RowStreamer {
 public:
  RowStreamer(std::shared_ptr<pugi::xml_document> doc, pugi::xml_node sheetData, SheetState& s)
      : doc_(std::move(doc)), s_(s), next_(sheetData.first_child()) {
    for (const Block& b : s.blocks) {
      firstBlockRow_ = std::min(firstBlockRow_, b.row);
      lastBlockRow_ = std::max(lastBlockRow_, b.lastRow());
    }
    SkipToRow();
  }

  // Appends the next rows to `out`; false when all are out.
  bool More(std::string& out) {
    while (out.size() < (1u << 16)) {
      const int64_t blockRow = row_ < firstBlockRow_ ? firstBlockRow_ : row_;
      const bool haveExisting = static_cast<bool>(next_);
      const bool haveBlock = blockRow <= lastBlockRow_;
      if (!haveExisting && !haveBlock) return false;
      if (haveExisting && (!haveBlock || nextRow_ <= blockRow)) {
        const bool merge = haveBlock && nextRow_ == blockRow;
        EmitRow(out, nextRow_, next_, merge);
        row_ = std::max(row_, nextRow_ + 1);
        next_ = next_.next_sibling();
        SkipToRow();
      } else {
        EmitRow(out, blockRow, pugi::xml_node(), true);
        row_ = blockRow + 1;
      }
    }
    return true;
  }

 private:
  void SkipToRow() {
    while (next_ && (next_.type() != pugi::node_element || ooxml::LocalName(next_) != "row")) next_ = next_.next_sibling();
    if (next_) nextRow_ = next_.attribute("r") ? next_.attribute("r").as_llong() : lastExisting_ + 1;
    if (next_) lastExisting_ = nextRow_;
  }

  bool Bold(int64_t r, int32_t c) const {
    for (const Area& a : s_.bold) {
      if (r >= a.row1 && r <= a.row2 && c >= a.col1 && c <= a.col2) return true;
    }
    return false;
  }

  void EmitRow(std::string& out, int64_t r, pugi::xml_node existing, bool merge);

  std::shared_ptr<pugi::xml_document> doc_;
  SheetState& s_;
  pugi::xml_node next_;
  int64_t nextRow_ = 0;
  int64_t lastExisting_ = 0;
  int64_t row_ = 1;
  int64_t firstBlockRow_ = kMaxRows + 1;
  int64_t lastBlockRow_ = 0;
  std::vector<std::pair<int32_t, pugi::xml_node>> cells_;
};

void RowStreamer::EmitRow(std::string& out, int64_t r, pugi::xml_node existing, bool merge) {
  if (existing && !merge && s_.bold.empty()) {
    out += Print(existing);
    return;
  }
  cells_.clear();
  if (existing) {
    int32_t col = 0;
    for (pugi::xml_node c : existing.children()) {
      if (ooxml::LocalName(c) != "c") continue;
      int64_t rr;
      int32_t cc;
      col = c.attribute("r") && ParseCellRef(c.attribute("r").value(), rr, cc) ? cc : col + 1;
      cells_.emplace_back(col, c);
    }
  }
  // Columns in order: existing cells and block columns.
  std::vector<int32_t> cols;
  for (const auto& e : cells_) cols.push_back(e.first);
  for (const Block& b : s_.blocks) {
    if (r < b.row || r > b.lastRow()) continue;
    for (int32_t c = b.col; c <= b.lastCol(); ++c) cols.push_back(c);
  }
  std::sort(cols.begin(), cols.end());
  cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
  if (cols.empty() && !existing) return;
  const std::string p = existing ? ooxml::PrefixOf(existing) : std::string();
  out += '<';
  out += p;
  out += "row r=\"";
  out += std::to_string(r);
  out += '"';
  if (existing) {
    for (pugi::xml_attribute a : existing.attributes()) {
      const std::string_view n = a.name();
      if (n == "r" || n == "spans") continue;
      out += ' ';
      out += n;
      out += "=\"";
      ooxml::AppendEscaped(out, a.value());
      out += '"';
    }
  }
  out += '>';
  // Which block writes column c of this row: the last one covering it.
  auto blockAt = [&](int32_t c) -> const Block* {
    const Block* hit = nullptr;
    for (const Block& b : s_.blocks) {
      if (r >= b.row && r <= b.lastRow() && c >= b.col && c <= b.lastCol()) hit = &b;
    }
    return hit;
  };
  size_t ei = 0;
  for (int32_t c : cols) {
    pugi::xml_node old;
    while (ei < cells_.size() && cells_[ei].first < c) ++ei;
    if (ei < cells_.size() && cells_[ei].first == c) old = cells_[ei].second;
    const Block* b = blockAt(c);
    const bool bold = Bold(r, c);
    uint32_t style = old ? old.attribute("s").as_uint() : 0;
    if (!b) {
      if (!bold) {
        out += Print(old);
        continue;
      }
      pugi::xml_document tmp;
      pugi::xml_node copy = tmp.append_copy(old);
      SetAttr(copy, "s", std::to_string(s_.wb->styles.Derive(style, true, -1)));
      out += Print(copy);
      continue;
    }
    const CellValue v = Classify(b->src->at(r - b->row, c - b->col), b->asText);
    int numFmt = -1;
    if (b->asText) numFmt = kTextFormat;
    else if (v.kind == CellValue::DateTime && s_.wb->styles.NumberFormatOf(style) == 0)
      numFmt = v.number == static_cast<double>(static_cast<int64_t>(v.number)) ? 14 : 22;
    if (numFmt >= 0 || bold) style = s_.wb->styles.Derive(style, bold, numFmt);
    if (v.kind == CellValue::None && style == 0 && !old) continue;
    AppendCellXml(out, CellRef(r, c), v, style);
  }
  out += "</";
  out += p;
  out += "row>";
}

}  // namespace

void StoreSheet(SheetState& s) {
  auto doc = std::make_shared<pugi::xml_document>();
  if (!s.original && !s.fresh) s.original = s.wb->pkg.Get(s.part);
  if (s.fresh) {
    pugi::xml_node ws = doc->append_child("worksheet");
    ws.append_attribute("xmlns") = kMainNs;
    ws.append_attribute("xmlns:r") = ooxml::kOfficeRelNs;
    ws.append_child("dimension").append_attribute("ref") = "A1";
    ws.append_child("sheetViews").append_child("sheetView").append_attribute("workbookViewId") = "0";
    ws.append_child("sheetFormatPr").append_attribute("defaultRowHeight") = "15";
    ws.append_child("sheetData");
    pugi::xml_node m = ws.append_child("pageMargins");
    for (auto [k, v] : {std::pair{"left", "0.7"}, {"right", "0.7"}, {"top", "0.75"}, {"bottom", "0.75"},
                        {"header", "0.3"}, {"footer", "0.3"}}) {
      m.append_attribute(k) = v;
    }
  } else {
    ooxml::ParseXml(*doc, *s.original, s.part);
  }
  pugi::xml_node root = doc->document_element();
  if (ooxml::LocalName(root) != "worksheet") Raise(kAppError, "The part " + s.part + " is no worksheet");
  ApplyTabSelection(root, s);
  if (s.freeze) ApplyFreeze(root, s.freeze->first, s.freeze->second);
  ApplyWidths(root, s.widths);
  ApplyDimension(root, s);
  pugi::xml_node sheetData = EnsureChild(root, "sheetData");

  std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n" + StartTag(root);
  std::string tail;
  bool after = false;
  for (pugi::xml_node c : root.children()) {
    if (c == sheetData) {
      after = true;
      continue;
    }
    (after ? tail : head) += Print(c);
  }
  head += StartTag(sheetData);
  tail = "</" + std::string(sheetData.name()) + ">" + tail + "</" + std::string(root.name()) + ">";
  auto streamer = std::make_shared<RowStreamer>(doc, sheetData, s);
  int stage = 0;
  s.wb->pkg.PutGenerated(s.part, [=](std::string& out) mutable {
    if (stage == 0) {
      out += head;
      stage = 1;
      return true;
    }
    if (stage == 1) {
      if (streamer->More(out)) return true;
      stage = 2;
    }
    out += tail;
    return false;
  });
}

}  // namespace vantrove::xlsx
