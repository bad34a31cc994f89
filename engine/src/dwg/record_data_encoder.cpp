#include "dwg/record_data_encoder.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <numbers>
#include <vector>

#include "vantrove/engine/handle.hpp"

namespace vantrove::engine::dwg {

namespace {

double Radians(double degrees) { return degrees * std::numbers::pi / 180.0; }

dwg::Point3 P3(const engine::Point3& p) { return {p.x, p.y, p.z}; }

bool IsPointCode(int32_t code) {
  return (code >= 10 && code <= 17) || (code >= 110 && code <= 112) || code == 210 || (code >= 1010 && code <= 1013);
}

uint8_t HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<uint8_t>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<uint8_t>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
  return 0;
}

// One XRECORD item: its code, then the value in the form its code carries.
void AppendXrecordItem(GroupSpan groups, size_t& i, std::string& out) {
  const Group& g = groups[i];
  AppendLe(out, static_cast<uint16_t>(g.code), 2);
  if (IsPointCode(g.code)) {
    double c[3] = {g.AsDouble(), 0, 0};
    for (int axis = 1; axis < 3 && i + 1 < groups.size() && groups[i + 1].code == g.code + 10 * axis; ++axis) {
      c[axis] = groups[++i].AsDouble();
    }
    for (double v : c) AppendReal(out, v);
    return;
  }
  const GroupType type = g.code >= 280 && g.code <= 289 ? GroupType::kBool : GroupTypeOf(g.code);
  switch (type) {
    case GroupType::kString: {
      std::string text = EscapedText(g.value());
      if (text.size() > 0xFFFF) text.resize(0xFFFF);
      AppendLe(out, text.size(), 2);
      out.push_back(30);  // ANSI_1252
      out += text;
      return;
    }
    case GroupType::kBinary: {
      const std::string_view hex = g.value();
      const size_t n = std::min<size_t>(hex.size() / 2, 255);
      out.push_back(static_cast<char>(n));
      for (size_t k = 0; k < n; ++k) out.push_back(static_cast<char>(HexDigit(hex[2 * k]) << 4 | HexDigit(hex[2 * k + 1])));
      return;
    }
    case GroupType::kDouble: AppendReal(out, g.AsDouble()); return;
    case GroupType::kHandle: AppendLe(out, ParseHandle(g.value()).value_or(0), 8); return;
    case GroupType::kBool: AppendLe(out, static_cast<uint64_t>(g.AsInt()), 1); return;
    case GroupType::kInt16: AppendLe(out, static_cast<uint64_t>(g.AsInt()), 2); return;
    case GroupType::kInt32: AppendLe(out, static_cast<uint64_t>(g.AsInt()), 4); return;
    case GroupType::kInt64: AppendLe(out, static_cast<uint64_t>(g.AsInt()), 8); return;
  }
}

}  // namespace

void WriteXrecord(ObjectWriter& w, const GroupView& g) {
  const GroupSpan part = g.Part("AcDbXrecord").all();
  size_t i = 0;
  int64_t cloning = 1;
  if (!part.empty() && part[0].code == 280) {
    cloning = part[0].AsInt(1);
    i = 1;
  }
  std::string data;
  for (; i < part.size(); ++i) AppendXrecordItem(part, i, data);
  w.data().BL(static_cast<uint32_t>(data.size()));
  w.data().Bytes(data);
  w.data().BS(static_cast<uint16_t>(cloning));
}

void WriteDictionaryVar(ObjectWriter& w, const GroupView& g) {
  w.data().RC(static_cast<uint8_t>(g.Int(280, 0)));
  w.Text(g.Text(1));
}

void WriteRasterVariables(ObjectWriter& w, const GroupView& g) {
  BitWriter& d = w.data();
  d.BL(static_cast<uint32_t>(g.Int(90, 0)));
  d.BS(static_cast<uint16_t>(g.Int(70, 0)));
  d.BS(static_cast<uint16_t>(g.Int(71, 1)));
  d.BS(static_cast<uint16_t>(g.Int(72, 0)));
}

void WriteGroup(ObjectWriter& w, const GroupView& g, const std::unordered_set<uint64_t>& written) {
  std::vector<uint64_t> members;
  for (const Group& group : g.Part("AcDbGroup").all()) {
    if (group.code != 340) continue;
    const uint64_t h = ParseHandle(group.value()).value_or(0);
    if (written.count(h) != 0) members.push_back(h);
  }
  BitWriter& d = w.data();
  w.Text(g.Text(300));
  d.BS(static_cast<uint16_t>(g.Int(70, 0)));
  d.BS(static_cast<uint16_t>(g.Int(71, 1)));
  d.BL(static_cast<uint32_t>(members.size()));
  for (uint64_t h : members) w.Ref(5, h);
}

void WriteMlineStyle(ObjectWriter& w, const GroupView& g) {
  BitWriter& d = w.data();
  w.Text(g.Text(2));
  w.Text(g.Text(3));
  d.BS(static_cast<uint16_t>(g.Int(70, 0)));
  d.BS(static_cast<uint16_t>(g.Int(62, 256)));
  d.BD(Radians(g.Real(51, 90)));
  d.BD(Radians(g.Real(52, 90)));
  // The elements: each 49 group opens one, with its colour and line type.
  struct Element {
    double offset = 0;
    int64_t color = 256;
    uint16_t linetype = 0x7FFF;  // by layer
  };
  std::vector<Element> elements;
  for (const Group& group : g.all()) {
    if (group.code == 49) elements.push_back({group.AsDouble()});
    if (elements.empty()) continue;
    if (group.code == 62) elements.back().color = group.AsInt(256);
    if (group.code == 6 && group.value() == "BYBLOCK") elements.back().linetype = 0x7FFE;
  }
  d.RC(static_cast<uint8_t>(elements.size()));
  for (const Element& e : elements) {
    d.BD(e.offset);
    d.BS(static_cast<uint16_t>(e.color));
    d.BS(e.linetype);
  }
}

uint8_t LineweightIndex(int64_t weight) {
  static const int32_t kWeights[] = {0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                     53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
  for (uint8_t i = 0; i < std::size(kWeights); ++i) {
    if (kWeights[i] == weight) return i;
  }
  return weight == -2 ? 30 : weight == -3 ? 31 : 29;
}

void WriteEntryStart(ObjectWriter& w, std::string_view name, int64_t flags) {
  w.Text(name);
  w.data().B((flags & 64) != 0);
  w.data().BS(0);
  w.data().B((flags & 16) != 0);
}

void WriteLayer(ObjectWriter& w, const Layer& layer, uint64_t linetype) {
  WriteEntryStart(w, layer.name, layer.flags);
  uint16_t flags = 0;
  if (layer.frozen()) flags |= 1;
  if (!layer.on()) flags |= 2;
  if (layer.flags & 2) flags |= 4;
  if (layer.locked()) flags |= 8;
  if (layer.plot) flags |= 16;
  flags = static_cast<uint16_t>(flags | (LineweightIndex(layer.lineweight) & 0x1F) << 5);
  w.data().BS(flags);
  w.data().BS(static_cast<uint16_t>(static_cast<int16_t>(layer.color)));
  w.Ref(5, 0);  // external block
  w.Ref(5, 0);  // plot style
  w.Ref(5, linetype);
}

void WriteLtype(ObjectWriter& w, const GroupView& g) {
  WriteEntryStart(w, g.Text(2), g.Int(70, 0));
  BitWriter& d = w.data();
  w.Text(g.Text(3));
  d.BD(g.Real(40, 0));
  d.RC(static_cast<uint8_t>(g.Int(72, 65)));
  // The dashes: each 49 group opens one, its shape fields follow.
  struct Dash {
    double length = 0, scale = 1, rotation = 0, x = 0, y = 0;
    int64_t shape = 0, flags = 0;
  };
  std::vector<Dash> dashes;
  for (const Group& group : g.all()) {
    if (group.code == 49) dashes.push_back({group.AsDouble()});
    if (dashes.empty()) continue;
    Dash& dash = dashes.back();
    switch (group.code) {
      case 74: dash.flags = group.AsInt(); break;
      case 75: dash.shape = group.AsInt(); break;
      case 46: dash.scale = group.AsDouble(1); break;
      case 50: dash.rotation = Radians(group.AsDouble()); break;
      case 44: dash.x = group.AsDouble(); break;
      case 45: dash.y = group.AsDouble(); break;
      default: break;
    }
  }
  // Shapes and text in dashes need the text area filled: such dashes
  // are written as plain dashes.
  d.RC(static_cast<uint8_t>(dashes.size()));
  for (const Dash& dash : dashes) {
    d.BD(dash.length);
    d.BS(0);
    d.RD(dash.x);
    d.RD(dash.y);
    d.BD(dash.scale);
    d.BD(dash.rotation);
    d.BS(0);
  }
  for (int i = 0; i < 256; ++i) d.RC(0);  // the text area
  w.Ref(5, 0);  // external block
  for (size_t i = 0; i < dashes.size(); ++i) w.Ref(5, 0);
}

void WriteStyle(ObjectWriter& w, const GroupView& g) {
  const int64_t flags = g.Int(70, 0);
  WriteEntryStart(w, g.Text(2), flags);
  BitWriter& d = w.data();
  d.B((flags & 4) != 0);
  d.B((flags & 1) != 0);
  d.BD(g.Real(40, 0));
  d.BD(g.Real(41, 1));
  d.BD(Radians(g.Real(50, 0)));
  d.RC(static_cast<uint8_t>(g.Int(71, 0)));
  d.BD(g.Real(42, 2.5));
  w.Text(g.Text(3, "txt"));
  w.Text(g.Text(4));
  w.Ref(5, 0);
}

void WriteAppid(ObjectWriter& w, const GroupView& g) {
  WriteEntryStart(w, g.Text(2), g.Int(70, 0));
  w.data().RC(0);
  w.Ref(5, 0);
}

void WriteDictionary(ObjectWriter& w, const Dictionary& dict, const GroupView& g,
                     const std::unordered_set<uint64_t>& written) {
  std::vector<const Dictionary::Entry*> entries;
  for (const Dictionary::Entry& e : dict.entries) {
    if (written.count(e.handle) != 0) entries.push_back(&e);
  }
  BitWriter& d = w.data();
  d.BL(static_cast<uint32_t>(entries.size()));
  d.BS(static_cast<uint16_t>(g.Int(281, 1)));
  const bool hard = g.Int(280, 0) != 0;
  d.RC(hard ? 1 : 0);
  for (const Dictionary::Entry* e : entries) w.Text(e->name);
  for (const Dictionary::Entry* e : entries) w.Ref(e->hard_owner || hard ? 3 : 2, e->handle);
}

void WriteLayout(ObjectWriter& w, const Layout& layout, const GroupView& g, uint64_t blockRecord) {
  BitWriter& d = w.data();
  const GroupView plot = g.Part("AcDbPlotSettings");
  const GroupView lay = g.Part("AcDbLayout");
  w.Text(plot.Text(1));
  w.Text(plot.Text(2));
  d.BS(static_cast<uint16_t>(plot.Int(70, 688)));
  for (int code = 40; code <= 45; ++code) d.BD(plot.Real(code, 0));
  w.Text(plot.Text(4));
  d.BD2({plot.Real(46, 0), plot.Real(47, 0)});
  d.BS(static_cast<uint16_t>(plot.Int(72, 0)));
  d.BS(static_cast<uint16_t>(plot.Int(73, 0)));
  d.BS(static_cast<uint16_t>(plot.Int(74, 5)));
  d.BD2({plot.Real(48, 0), plot.Real(49, 0)});
  d.BD2({plot.Real(140, 0), plot.Real(141, 0)});
  w.Text(plot.Text(6));
  d.BD(plot.Real(142, 1));
  d.BD(plot.Real(143, 1));
  w.Text(plot.Text(7));
  d.BS(static_cast<uint16_t>(plot.Int(75, 0)));
  d.BD(plot.Real(147, 1));
  d.BD2({plot.Real(148, 0), plot.Real(149, 0)});
  w.Text(layout.name);
  d.BS(static_cast<uint16_t>(layout.tab_order));
  d.BS(static_cast<uint16_t>(layout.flags));
  d.BD3(P3(lay.Point(13)));
  d.RD2({lay.Real(10, 0), lay.Real(20, 0)});
  d.RD2({lay.Real(11, 12), lay.Real(21, 9)});
  d.BD3(P3(lay.Point(12)));
  d.BD3(P3(lay.Point(16, {1, 0, 0})));
  d.BD3(P3(lay.Point(17, {0, 1, 0})));
  d.BD(lay.Real(146, 0));
  d.BS(static_cast<uint16_t>(lay.Int(76, 0)));
  d.BD3(P3(lay.Point(14)));
  d.BD3(P3(lay.Point(15)));
  w.Ref(4, blockRecord);
  w.Ref(4, 0);  // last active viewport
  w.Ref(5, 0);  // base UCS
  w.Ref(5, 0);  // named UCS
}

void WriteImageDef(ObjectWriter& w, const GroupView& g) {
  BitWriter& d = w.data();
  d.BL(static_cast<uint32_t>(g.Int(90, 0)));
  d.RD2({g.Real(10, 1), g.Real(20, 1)});
  w.Text(g.Text(1));
  d.B(g.Int(280, 1) != 0);
  d.RC(static_cast<uint8_t>(g.Int(281, 0)));
  d.RD2({g.Real(11, 1), g.Real(21, 1)});
}

}  // namespace vantrove::engine::dwg
