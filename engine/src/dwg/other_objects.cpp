// The typed part of the objects the drawing model needs: dictionaries,
// layouts, raster images and their definitions, XRECORD, groups and
// multi-line styles.

#include "dwg/color.hpp"
#include "dwg/object_streams.hpp"
#include "dwg/xrecord.hpp"

namespace vantrove::engine::dwg {

bool DecodeDictionary(Streams& s, ObjectRecord& rec, bool withDefault) {
  BitReader& d = s.dat;
  DictionaryData dict;
  uint32_t count = d.BL();
  if (s.v == Version::kR14) dict.hardOwner = d.RC();
  if (s.R2000()) {
    dict.cloning = d.BS();
    dict.hardOwner = d.RC();
  }
  if (count > kMaxHandles || !s.hdl.CanRead(count, 8)) return false;
  std::vector<std::string> names;
  for (uint32_t i = 0; i < count && s.Ok(); ++i) names.push_back(s.T());
  std::vector<uint64_t> items;
  s.Refs(count, items);
  for (size_t i = 0; i < names.size() && i < items.size(); ++i) dict.entries.emplace_back(names[i], items[i]);
  if (withDefault) dict.defaultEntry = s.Ref();
  rec.payload = std::move(dict);
  return s.Ok();
}

bool DecodeLayout(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  LayoutData l;
  l.pageSetupName = s.T();
  l.plotConfig = s.T();
  d.BS();
  for (int i = 0; i < 6; ++i) d.BD();
  l.paperSize = s.T();
  d.BD2();
  d.BS();
  d.BS();
  d.BS();
  d.BD2();
  d.BD2();
  if (!s.R2004()) s.T();  // plot view name
  d.BD();
  d.BD();
  s.T();  // style sheet
  d.BS();
  d.BD();
  d.BD2();
  if (s.R2004()) {
    d.BS();
    d.BS();
    d.BS();
  }
  l.name = s.T();
  l.tabOrder = d.BS();
  l.flags = d.BS();
  if (s.R2004()) s.Ref();  // plot view
  if (s.R2007()) s.Ref();  // visual style
  l.blockRecord = s.Ref();
  rec.payload = std::move(l);
  return s.Ok();
}

bool DecodeImageDef(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  ImageDefData def;
  d.BL();
  def.size = d.RD2();
  def.filePath = s.T();
  def.loaded = d.B();
  def.resolutionUnits = d.RC();
  def.pixelSize = d.RD2();
  rec.payload = std::move(def);
  return s.Ok();
}

bool DecodeImage(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  ImageData img;
  d.BL();
  img.origin = d.BD3();
  img.uVector = d.BD3();
  img.vVector = d.BD3();
  img.size = d.RD2();
  img.displayProperties = d.BS();
  img.clipping = d.B();
  img.brightness = d.RC();
  img.contrast = d.RC();
  img.fade = d.RC();
  img.imageDef = s.Ref();
  img.imageDefReactor = s.Ref();
  rec.payload = std::move(img);
  return s.Ok();
}

bool DecodeXrecord(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  const uint32_t count = d.BL();
  if (count > d.remaining() / 8) return false;
  XrecordData x;
  x.data = d.Bytes(count);
  x.utf16 = s.R2007();
  if (!XrecordItemsFit(x.data, x.utf16)) return false;
  x.hasCloning = s.R2000();
  if (x.hasCloning) x.cloning = d.BS();
  rec.payload = std::move(x);
  return s.Ok();
}

bool DecodeGroup(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  FieldData f;
  f.values.Text("description", s.T());
  f.values.Int("unnamed", d.BS());
  f.values.Int("selectable", d.BS());
  std::vector<uint64_t> entities;
  s.Refs(d.BL(), entities);
  for (uint64_t e : entities) f.refs.push_back({"entities", e, false, 340});
  rec.payload = std::move(f);
  return s.Ok();
}

ObjectColor ReadObjectColor(Streams& s) {
  BitReader& d = s.dat;
  ObjectColor color;
  color.index = d.BS();
  if (!s.R2004()) return color;
  const uint32_t rgb = d.BL();
  const uint8_t names = d.RC();
  if (names & 1) s.T();
  if (names & 2) s.T();
  switch (rgb >> 24) {
    case 0xC0: color.index = 256; break;
    case 0xC1: color.index = 0; break;
    case 0xC2:
      color.rgb = static_cast<int32_t>(rgb & 0xFFFFFF);
      color.index = NearestColorIndex(rgb & 0xFFFFFF);
      break;
    case 0xC3: color.index = static_cast<int>(rgb & 0xFF); break;
    default: break;
  }
  return color;
}

bool DecodeMlineStyle(Streams& s, ObjectRecord& rec) {
  BitReader& d = s.dat;
  FieldData f;
  types::FieldValues& v = f.values;
  v.Text("name", s.T());
  v.Text("description", s.T());
  v.Int("flags", d.BS());
  v.Int("fill_color", ReadObjectColor(s).index);
  v.Angle("start_angle", d.BD());
  v.Angle("end_angle", d.BD());
  const uint8_t count = d.RC();
  v.Int("count", count);
  for (uint8_t i = 0; i < count && s.Ok(); ++i) {
    v.Append("elements", 49, types::RealText(d.BD()));
    v.Append("elements", 62, std::to_string(ReadObjectColor(s).index));
    // Before 2018 the line type is a number (the two highest ones BYLAYER
    // and BYBLOCK); from 2018 on a reference.
    if (!s.R2018()) {
      const auto index = static_cast<int16_t>(d.BS());
      v.Append("elements", 6, index == 32766 ? "BYBLOCK" : index == 32767 ? "BYLAYER" : "CONTINUOUS");
    } else {
      v.Append("elements", 6, "BYLAYER");
      f.refs.push_back({"elements", s.Ref(), true, 0, 3 * i + 2});
    }
  }
  rec.payload = std::move(f);
  return s.Ok();
}

}  // namespace vantrove::engine::dwg
