#include "dwg/table_records_r2000.hpp"

#include <charconv>
#include <cmath>
#include <numbers>
#include <string>

#include "dwg/record_data_encoder.hpp"

namespace vantrove::engine::dwg {

namespace {

using HB = HeaderBits;

constexpr EntryField kVport[] = {
    {40, HB::kBD, "1"},          {41, HB::kBD, "1"},          {12, HB::kRD2, "0,0"},       {17, HB::kBD3, "0,0,0"},
    {16, HB::kBD3, "0,0,1"},     {51, HB::kBD, "0"},          {42, HB::kBD, "50"},         {43, HB::kBD, "0"},
    {44, HB::kBD, "0"},          {71, HB::kB, "0", 0},        {71, HB::kB, "0", 1},        {71, HB::kB, "0", 2},
    {71, HB::kB, "0", 3},        {281, HB::kRC, "0"},         {10, HB::kRD2, "0,0"},       {11, HB::kRD2, "1,1"},
    {71, HB::kB, "0", 3},        {72, HB::kBS, "1000"},       {73, HB::kB, "1"},           {74, HB::kBB, "3"},
    {76, HB::kB, "0"},           {15, HB::kRD2, "10,10"},     {75, HB::kB, "0"},           {77, HB::kB, "0"},
    {78, HB::kBS, "0"},          {50, HB::kBD, "0"},          {13, HB::kRD2, "0,0"},       {14, HB::kRD2, "10,10"},
    {0, HB::kB, "0"},            {65, HB::kB, "1"},           {110, HB::kBD3, "0,0,0"},    {111, HB::kBD3, "1,0,0"},
    {112, HB::kBD3, "0,1,0"},    {146, HB::kBD, "0"},         {79, HB::kBS, "0"},          {345, HB::kH, ""},
    {346, HB::kH, ""},
};

constexpr EntryField kDimstyle[] = {
    {3, HB::kTV, ""},        {4, HB::kTV, ""},        {40, HB::kBD, "1"},      {41, HB::kBD, "0.18"},
    {42, HB::kBD, "0.0625"}, {43, HB::kBD, "0.38"},   {44, HB::kBD, "0.18"},   {45, HB::kBD, "0"},
    {46, HB::kBD, "0"},      {47, HB::kBD, "0"},      {48, HB::kBD, "0"},      {71, HB::kB, "0"},
    {72, HB::kB, "0"},       {73, HB::kB, "1"},       {74, HB::kB, "1"},       {75, HB::kB, "0"},
    {76, HB::kB, "0"},       {77, HB::kBS, "0"},      {78, HB::kBS, "0"},      {79, HB::kBS, "0"},
    {140, HB::kBD, "0.18"},  {141, HB::kBD, "0.09"},  {142, HB::kBD, "0"},     {143, HB::kBD, "25.4"},
    {144, HB::kBD, "1"},     {145, HB::kBD, "0"},     {146, HB::kBD, "1"},     {147, HB::kBD, "0.09"},
    {148, HB::kBD, "0"},     {170, HB::kB, "0"},      {171, HB::kBS, "2"},     {172, HB::kB, "0"},
    {173, HB::kB, "0"},      {174, HB::kB, "0"},      {175, HB::kB, "0"},      {176, HB::kCMC, "0"},
    {177, HB::kCMC, "0"},    {178, HB::kCMC, "0"},    {179, HB::kBS, "0"},     {271, HB::kBS, "4"},
    {272, HB::kBS, "4"},     {273, HB::kBS, "2"},     {274, HB::kBS, "2"},     {275, HB::kBS, "0"},
    {276, HB::kBS, "0"},     {277, HB::kBS, "2"},     {278, HB::kBS, "46"},    {279, HB::kBS, "0"},
    {280, HB::kBS, "0"},     {281, HB::kB, "0"},      {282, HB::kB, "0"},      {283, HB::kBS, "1"},
    {284, HB::kBS, "0"},     {285, HB::kBS, "0"},     {286, HB::kBS, "0"},     {288, HB::kB, "0"},
    {289, HB::kBS, "3"},     {371, HB::kBS, "-2"},    {372, HB::kBS, "-2"},    {0, HB::kB, "0"},
    {340, HB::kH, ""},       {341, HB::kH, ""},       {342, HB::kH, ""},       {343, HB::kH, ""},
    {344, HB::kH, ""},
};

double Number(std::string_view text) {
  double v = 0;
  std::from_chars(text.data(), text.data() + text.size(), v);
  return v;
}

bool IsAngle(int16_t code) { return code == 50 || code == 51; }

}  // namespace

std::span<const EntryField> VportFieldsR2000() { return kVport; }
std::span<const EntryField> DimstyleFieldsR2000() { return kDimstyle; }

void WriteEntryFields(ObjectWriter& w, const GroupView& g, std::span<const EntryField> fields,
                      const std::function<uint64_t(int16_t code, std::string_view value)>& handleOf) {
  WriteEntryStart(w, g.Text(2), g.Int(70, 0));
  BitWriter& d = w.data();
  w.Ref(5, 0);  // external block
  for (const EntryField& f : fields) {
    const bool given = f.code != 0 && g.Has(f.code);
    const double value = given ? g.Real(f.code) : Number(f.fallback);
    switch (f.bits) {
      case HB::kB:
        if (f.bit >= 0) {
          d.B(((given ? g.Int(f.code) : static_cast<int64_t>(value)) >> f.bit & 1) != 0);
        } else {
          d.B(value != 0);
        }
        break;
      case HB::kBB: d.BB(static_cast<uint8_t>(value)); break;
      case HB::kRC: d.RC(static_cast<uint8_t>(value)); break;
      case HB::kBS:
      case HB::kCMC: d.BS(static_cast<uint16_t>(static_cast<int16_t>(value))); break;
      case HB::kBD: d.BD(IsAngle(f.code) ? value * std::numbers::pi / 180.0 : value); break;
      case HB::kTV: w.Text(given ? g.Text(f.code) : f.fallback); break;
      case HB::kRD2:
      case HB::kBD3: {
        double c[3] = {0, 0, 0};
        std::string_view rest = f.fallback;
        for (double& v : c) {
          const size_t comma = rest.find(',');
          v = Number(rest.substr(0, comma));
          rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        }
        const engine::Point3 p = g.Point(f.code, {c[0], c[1], c[2]});
        if (f.bits == HB::kRD2) {
          d.RD2({p.x, p.y});
        } else {
          d.BD3({p.x, p.y, p.z});
        }
        break;
      }
      case HB::kH: w.Ref(5, given ? handleOf(f.code, g.Text(f.code)) : 0); break;
      default: break;
    }
  }
}

}  // namespace vantrove::engine::dwg
