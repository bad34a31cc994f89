#include "dwg/header_vars_r2000.hpp"

#include <charconv>
#include <cmath>
#include <cstring>
#include <vector>

#include "dwg/bit_writer.hpp"
#include "dwg/checksum.hpp"
#include "dwg/container.hpp"

namespace vantrove::engine::dwg {

namespace {

using HB = HeaderBits;

// Names starting with '#' are not DXF variables: values the format keeps
// without a DXF counterpart.
constexpr HeaderVarDesc kVars[] = {
    {"#UNKNOWN1", HB::kBD, "412148564080"}, {"#UNKNOWN2", HB::kBD, "1"}, {"#UNKNOWN3", HB::kBD, "1"},
    {"#UNKNOWN4", HB::kBD, "1"}, {"#UNKNOWN5", HB::kTV, "m"}, {"#UNKNOWN6", HB::kTV, ""},
    {"#UNKNOWN7", HB::kTV, ""}, {"#UNKNOWN8", HB::kTV, ""}, {"#UNKNOWN9", HB::kBL, "24"},
    {"#UNKNOWN10", HB::kBL, "0"}, {"#VIEWPORT_ENTITY_HEADER", HB::kH, ""},
    {"DIMASO", HB::kB, "1"}, {"DIMSHO", HB::kB, "1"}, {"PLINEGEN", HB::kB, "0"}, {"ORTHOMODE", HB::kB, "0"},
    {"REGENMODE", HB::kB, "1"}, {"FILLMODE", HB::kB, "1"}, {"QTEXTMODE", HB::kB, "0"},
    {"PSLTSCALE", HB::kB, "1"}, {"LIMCHECK", HB::kB, "0"}, {"USRTIMER", HB::kB, "1"}, {"SKPOLY", HB::kB, "0"},
    {"ANGDIR", HB::kB, "0"}, {"SPLFRAME", HB::kB, "0"}, {"MIRRTEXT", HB::kB, "0"}, {"WORLDVIEW", HB::kB, "1"},
    {"TILEMODE", HB::kB, "1"}, {"PLIMCHECK", HB::kB, "0"}, {"VISRETAIN", HB::kB, "1"},
    {"DISPSILH", HB::kB, "0"}, {"PELLIPSE", HB::kB, "0"},
    {"PROXYGRAPHICS", HB::kBS, "1"}, {"TREEDEPTH", HB::kBS, "3020"}, {"LUNITS", HB::kBS, "2"},
    {"LUPREC", HB::kBS, "4"}, {"AUNITS", HB::kBS, "0"}, {"AUPREC", HB::kBS, "0"}, {"ATTMODE", HB::kBS, "1"},
    {"PDMODE", HB::kBS, "0"}, {"USERI1", HB::kBS, "0"}, {"USERI2", HB::kBS, "0"}, {"USERI3", HB::kBS, "0"},
    {"USERI4", HB::kBS, "0"}, {"USERI5", HB::kBS, "0"}, {"SPLINESEGS", HB::kBS, "8"}, {"SURFU", HB::kBS, "6"},
    {"SURFV", HB::kBS, "6"}, {"SURFTYPE", HB::kBS, "6"}, {"SURFTAB1", HB::kBS, "6"}, {"SURFTAB2", HB::kBS, "6"},
    {"SPLINETYPE", HB::kBS, "6"}, {"SHADEDGE", HB::kBS, "3"}, {"SHADEDIF", HB::kBS, "70"},
    {"UNITMODE", HB::kBS, "0"}, {"MAXACTVP", HB::kBS, "64"}, {"ISOLINES", HB::kBS, "4"},
    {"CMLJUST", HB::kBS, "0"}, {"TEXTQLTY", HB::kBS, "50"},
    {"LTSCALE", HB::kBD, "1"}, {"TEXTSIZE", HB::kBD, "2.5"}, {"TRACEWID", HB::kBD, "1"},
    {"SKETCHINC", HB::kBD, "1"}, {"FILLETRAD", HB::kBD, "0"}, {"THICKNESS", HB::kBD, "0"},
    {"ANGBASE", HB::kBD, "0"}, {"PDSIZE", HB::kBD, "0"}, {"PLINEWID", HB::kBD, "0"}, {"USERR1", HB::kBD, "0"},
    {"USERR2", HB::kBD, "0"}, {"USERR3", HB::kBD, "0"}, {"USERR4", HB::kBD, "0"}, {"USERR5", HB::kBD, "0"},
    {"CHAMFERA", HB::kBD, "0"}, {"CHAMFERB", HB::kBD, "0"}, {"CHAMFERC", HB::kBD, "0"},
    {"CHAMFERD", HB::kBD, "0"}, {"FACETRES", HB::kBD, "0.5"}, {"CMLSCALE", HB::kBD, "1"},
    {"CELTSCALE", HB::kBD, "1"}, {"MENU", HB::kTV, "acad"},
    {"TDCREATE", HB::kTime, "2451544.5"}, {"TDUPDATE", HB::kTime, "2451544.5"}, {"TDINDWG", HB::kTime, "0"},
    {"TDUSRTIMER", HB::kTime, "0"}, {"CECOLOR", HB::kCMC, "256"}, {"HANDSEED", HB::kHandSeed, ""},
    {"CLAYER", HB::kH, ""}, {"TEXTSTYLE", HB::kH, ""}, {"CELTYPE", HB::kH, ""}, {"DIMSTYLE", HB::kH, ""},
    {"CMLSTYLE", HB::kH, ""}, {"PSVPSCALE", HB::kBD, "0"},
    {"PINSBASE", HB::kBD3, "0,0,0"}, {"PEXTMIN", HB::kBD3, "1e20,1e20,1e20"},
    {"PEXTMAX", HB::kBD3, "-1e20,-1e20,-1e20"}, {"PLIMMIN", HB::kRD2, "0,0"}, {"PLIMMAX", HB::kRD2, "12,9"},
    {"PELEVATION", HB::kBD, "0"}, {"PUCSORG", HB::kBD3, "0,0,0"}, {"PUCSXDIR", HB::kBD3, "1,0,0"},
    {"PUCSYDIR", HB::kBD3, "0,1,0"}, {"PUCSNAME", HB::kH, ""}, {"PUCSORTHOREF", HB::kH, ""},
    {"PUCSORTHOVIEW", HB::kBS, "0"}, {"PUCSBASE", HB::kH, ""}, {"PUCSORGTOP", HB::kBD3, "0,0,0"},
    {"PUCSORGBOTTOM", HB::kBD3, "0,0,0"}, {"PUCSORGLEFT", HB::kBD3, "0,0,0"},
    {"PUCSORGRIGHT", HB::kBD3, "0,0,0"}, {"PUCSORGFRONT", HB::kBD3, "0,0,0"},
    {"PUCSORGBACK", HB::kBD3, "0,0,0"},
    {"INSBASE", HB::kBD3, "0,0,0"}, {"EXTMIN", HB::kBD3, "1e20,1e20,1e20"},
    {"EXTMAX", HB::kBD3, "-1e20,-1e20,-1e20"}, {"LIMMIN", HB::kRD2, "0,0"}, {"LIMMAX", HB::kRD2, "12,9"},
    {"ELEVATION", HB::kBD, "0"}, {"UCSORG", HB::kBD3, "0,0,0"}, {"UCSXDIR", HB::kBD3, "1,0,0"},
    {"UCSYDIR", HB::kBD3, "0,1,0"}, {"UCSNAME", HB::kH, ""}, {"UCSORTHOREF", HB::kH, ""},
    {"UCSORTHOVIEW", HB::kBS, "0"}, {"UCSBASE", HB::kH, ""}, {"UCSORGTOP", HB::kBD3, "0,0,0"},
    {"UCSORGBOTTOM", HB::kBD3, "0,0,0"}, {"UCSORGLEFT", HB::kBD3, "0,0,0"}, {"UCSORGRIGHT", HB::kBD3, "0,0,0"},
    {"UCSORGFRONT", HB::kBD3, "0,0,0"}, {"UCSORGBACK", HB::kBD3, "0,0,0"},
    {"DIMPOST", HB::kTV, ""}, {"DIMAPOST", HB::kTV, ""}, {"DIMSCALE", HB::kBD, "1"}, {"DIMASZ", HB::kBD, "0.18"},
    {"DIMEXO", HB::kBD, "0.0625"}, {"DIMDLI", HB::kBD, "0.38"}, {"DIMEXE", HB::kBD, "0.18"},
    {"DIMRND", HB::kBD, "0"}, {"DIMDLE", HB::kBD, "0"}, {"DIMTP", HB::kBD, "0"}, {"DIMTM", HB::kBD, "0"},
    {"DIMTOL", HB::kB, "0"}, {"DIMLIM", HB::kB, "0"}, {"DIMTIH", HB::kB, "1"}, {"DIMTOH", HB::kB, "1"},
    {"DIMSE1", HB::kB, "0"}, {"DIMSE2", HB::kB, "0"}, {"DIMTAD", HB::kBS, "0"}, {"DIMZIN", HB::kBS, "0"},
    {"DIMAZIN", HB::kBS, "0"}, {"DIMTXT", HB::kBD, "0.18"}, {"DIMCEN", HB::kBD, "0.09"},
    {"DIMTSZ", HB::kBD, "0"}, {"DIMALTF", HB::kBD, "25.4"}, {"DIMLFAC", HB::kBD, "1"}, {"DIMTVP", HB::kBD, "0"},
    {"DIMTFAC", HB::kBD, "1"}, {"DIMGAP", HB::kBD, "0.09"}, {"DIMALTRND", HB::kBD, "0"}, {"DIMALT", HB::kB, "0"},
    {"DIMALTD", HB::kBS, "2"}, {"DIMTOFL", HB::kB, "0"}, {"DIMSAH", HB::kB, "0"}, {"DIMTIX", HB::kB, "0"},
    {"DIMSOXD", HB::kB, "0"}, {"DIMCLRD", HB::kCMC, "0"}, {"DIMCLRE", HB::kCMC, "0"},
    {"DIMCLRT", HB::kCMC, "0"}, {"DIMADEC", HB::kBS, "0"}, {"DIMDEC", HB::kBS, "4"}, {"DIMTDEC", HB::kBS, "4"},
    {"DIMALTU", HB::kBS, "2"}, {"DIMALTTD", HB::kBS, "2"}, {"DIMAUNIT", HB::kBS, "0"}, {"DIMFRAC", HB::kBS, "0"},
    {"DIMLUNIT", HB::kBS, "2"}, {"DIMDSEP", HB::kBS, "46"}, {"DIMTMOVE", HB::kBS, "0"}, {"DIMJUST", HB::kBS, "0"},
    {"DIMSD1", HB::kB, "0"}, {"DIMSD2", HB::kB, "0"}, {"DIMTOLJ", HB::kBS, "1"}, {"DIMTZIN", HB::kBS, "0"},
    {"DIMALTZ", HB::kBS, "0"}, {"DIMALTTZ", HB::kBS, "0"}, {"DIMUPT", HB::kB, "0"}, {"DIMATFIT", HB::kBS, "3"},
    {"DIMTXSTY", HB::kH, ""}, {"DIMLDRBLK", HB::kH, ""}, {"DIMBLK", HB::kH, ""}, {"DIMBLK1", HB::kH, ""},
    {"DIMBLK2", HB::kH, ""}, {"DIMLWD", HB::kBS, "-2"}, {"DIMLWE", HB::kBS, "-2"},
    {"#BLOCK_CONTROL", HB::kH, ""}, {"#LAYER_CONTROL", HB::kH, ""}, {"#STYLE_CONTROL", HB::kH, ""},
    {"#LTYPE_CONTROL", HB::kH, ""}, {"#VIEW_CONTROL", HB::kH, ""}, {"#UCS_CONTROL", HB::kH, ""},
    {"#VPORT_CONTROL", HB::kH, ""}, {"#APPID_CONTROL", HB::kH, ""}, {"#DIMSTYLE_CONTROL", HB::kH, ""},
    {"#VX_CONTROL", HB::kH, ""}, {"#ACAD_GROUP", HB::kH, ""}, {"#ACAD_MLINESTYLE", HB::kH, ""},
    {"#NAMED_OBJECTS", HB::kH, ""}, {"TSTACKALIGN", HB::kBS, "1"}, {"TSTACKSIZE", HB::kBS, "70"},
    {"HYPERLINKBASE", HB::kTV, ""}, {"STYLESHEET", HB::kTV, ""}, {"#ACAD_LAYOUT", HB::kH, ""},
    {"#ACAD_PLOTSETTINGS", HB::kH, ""}, {"#ACAD_PLOTSTYLENAME", HB::kH, ""}, {"#FLAGS", HB::kFlags, ""},
    {"INSUNITS", HB::kBS, "0"}, {"CEPSNTYPE", HB::kBS, "0"}, {"FINGERPRINTGUID", HB::kTV, ""},
    {"VERSIONGUID", HB::kTV, ""}, {"#PAPER_SPACE", HB::kH, ""}, {"#MODEL_SPACE", HB::kH, ""},
    {"#BYLAYER", HB::kH, ""}, {"#BYBLOCK", HB::kH, ""}, {"#CONTINUOUS", HB::kH, ""},
    {"#UNKNOWN11", HB::kBS, "0"}, {"#UNKNOWN12", HB::kBS, "0"}, {"#UNKNOWN13", HB::kBS, "0"},
    {"#UNKNOWN14", HB::kBS, "0"},
};

double Number(std::string_view text, double fallback) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  double v = fallback;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
  return ec == std::errc() ? v : fallback;
}

// The coordinates of a point given as "x,y,z".
void Coordinates(std::string_view text, double (&out)[3]) {
  for (double& c : out) {
    const size_t comma = text.find(',');
    c = Number(text.substr(0, comma), 0.0);
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
  }
}

// The value of DXF variable `name` as text, or the fallback; points as "x,y,z".
std::string ValueText(const Document& doc, const HeaderVarDesc& v) {
  if (v.name.front() == '#') return std::string(v.fallback);
  std::string name = "$";
  name.append(v.name);
  const HeaderVariable* var = doc.FindHeader(name);
  if (var == nullptr || var->values.empty()) return std::string(v.fallback);
  if (v.bits != HB::kBD3 && v.bits != HB::kRD2) return std::string(var->values.front().value());
  double c[3] = {0, 0, 0};
  Coordinates(v.fallback, c);
  for (const Group& g : var->values) {
    const int axis = g.code / 10 - 1;
    if (g.code % 10 == 0 && axis >= 0 && axis < 3) c[axis] = g.AsDouble(c[axis]);
  }
  return std::to_string(c[0]) + "," + std::to_string(c[1]) + "," + std::to_string(c[2]);
}

uint32_t FlagsValue(const Document& doc) {
  auto get = [&](std::string_view name, int64_t fallback) {
    const HeaderVariable* var = doc.FindHeader(name);
    return var == nullptr || var->values.empty() ? fallback : var->values.front().AsInt(fallback);
  };
  // Line weights as the index the format keeps: -1 by layer (29), -2 by
  // block (30), -3 default (31).
  const int64_t weight = get("$CELWEIGHT", -1);
  uint32_t index = weight == -2 ? 30 : weight == -3 ? 31 : 29;
  static const int32_t kWeights[] = {0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                     53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
  for (uint32_t i = 0; i < std::size(kWeights); ++i) {
    if (kWeights[i] == weight) index = i;
  }
  uint32_t flags = index & 0x1F;
  flags |= static_cast<uint32_t>(get("$ENDCAPS", 0) & 3) << 5;
  flags |= static_cast<uint32_t>(get("$JOINSTYLE", 0) & 3) << 7;
  if (get("$LWDISPLAY", 0) == 0) flags |= 0x200;
  if (get("$XEDIT", 1) == 0) flags |= 0x400;
  if (get("$EXTNAMES", 1) != 0) flags |= 0x800;
  if (get("$PSTYLEMODE", 1) != 0) flags |= 0x2000;
  if (get("$OLESTARTUP", 0) != 0) flags |= 0x4000;
  return flags;
}

void WriteVar(BitWriter& w, const Document& doc, const HeaderVarDesc& v, const HandleOf& handleOf,
              uint64_t handseed) {
  const std::string text = ValueText(doc, v);
  switch (v.bits) {
    case HB::kB: w.B(Number(text, 0) != 0); break;
    case HB::kBB: w.BB(static_cast<uint8_t>(Number(text, 0))); break;
    case HB::kRC: w.RC(static_cast<uint8_t>(Number(text, 0))); break;
    case HB::kBS:
    case HB::kCMC: w.BS(static_cast<uint16_t>(static_cast<int16_t>(Number(text, 0)))); break;
    case HB::kBL: w.BL(static_cast<uint32_t>(static_cast<int64_t>(Number(text, 0)))); break;
    case HB::kBD: w.BD(Number(text, 0)); break;
    case HB::kTV: w.TV(text, !text.empty()); break;
    case HB::kBD3:
    case HB::kRD2: {
      double c[3] = {0, 0, 0};
      Coordinates(text, c);
      if (v.bits == HB::kBD3) {
        w.BD3({c[0], c[1], c[2]});
      } else {
        w.RD2({c[0], c[1]});
      }
      break;
    }
    case HB::kTime: {
      const double days = Number(text, 0);
      const double whole = std::floor(days);
      w.BL(static_cast<uint32_t>(whole));
      w.BL(static_cast<uint32_t>(std::lround((days - whole) * 86400000.0)));
      break;
    }
    case HB::kH: w.H(5, handleOf(v.name.front() == '#' ? v.name.substr(1) : v.name)); break;
    case HB::kHandSeed: w.H(0, handseed); break;
    case HB::kFlags: w.BL(FlagsValue(doc)); break;
  }
}

}  // namespace

std::span<const HeaderVarDesc> HeaderVarsR2000() { return kVars; }

std::string EncodeHeaderR2000(const Document& doc, const HandleOf& handleOf, uint64_t handseed) {
  BitWriter w;
  w.RL(0);  // the size, set below
  for (const HeaderVarDesc& v : kVars) WriteVar(w, doc, v, handleOf, handseed);
  return FramedSection(kSentinelHeaderBegin, w);
}

std::string FramedSection(const uint8_t (&sentinel)[16], BitWriter& body) {
  body.AlignByte();
  body.PatchRL(0, static_cast<uint32_t>(body.bytes().size() - 4));
  const std::vector<uint8_t>& bytes = body.bytes();
  std::string out(reinterpret_cast<const char*>(sentinel), 16);
  out.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const uint16_t crc = Crc16(0xC0C1, bytes.data(), bytes.size());
  out.push_back(static_cast<char>(crc & 0xFF));
  out.push_back(static_cast<char>(crc >> 8));
  for (uint8_t b : sentinel) out.push_back(static_cast<char>(~b));
  return out;
}

}  // namespace vantrove::engine::dwg
