#include "dwg/color.hpp"

#include <array>
#include <cmath>

namespace vantrove::engine::dwg {

namespace {

// Indexes 10..249 are 24 hues 15 degrees apart, each in five brightness
// levels, at full and at half saturation; 250..255 are greys; 1..9 are the
// named colours.
std::array<uint32_t, 256> MakePalette() {
  std::array<uint32_t, 256> p{};
  const uint32_t named[10] = {0,        0xFF0000, 0xFFFF00, 0x00FF00, 0x00FFFF,
                              0x0000FF, 0xFF00FF, 0xFFFFFF, 0x808080, 0xC0C0C0};
  for (int i = 1; i < 10; ++i) p[i] = named[i];
  const double levels[5] = {255, 204, 153, 127, 76};
  for (int i = 10; i < 250; ++i) {
    const int hueStep = (i - 10) / 10;
    const int variant = (i - 10) % 10;
    const double hue = hueStep * 15.0;
    // Fractions of the channel at full saturation and brightness.
    auto channel = [&](double offset) {
      double h = std::fmod(hue - offset + 360.0, 360.0);
      if (h > 180.0) h = 360.0 - h;
      if (h <= 60.0) return 1.0;
      if (h >= 120.0) return 0.0;
      return (120.0 - h) / 60.0;
    };
    const double f[3] = {channel(0.0), channel(120.0), channel(240.0)};
    const double v = levels[variant / 2];
    const bool half = variant % 2 == 1;
    uint32_t rgb = 0;
    for (int c = 0; c < 3; ++c) {
      double value = half ? v / 2.0 + f[c] * v / 2.0 : f[c] * v;
      rgb = (rgb << 8) | static_cast<uint32_t>(std::floor(value + 1e-9));
    }
    p[i] = rgb;
  }
  const uint32_t greys[6] = {0x33, 0x50, 0x69, 0x82, 0xBE, 0xFF};
  for (int i = 0; i < 6; ++i) p[250 + i] = greys[i] * 0x010101u;
  return p;
}

const std::array<uint32_t, 256>& Palette() {
  static const std::array<uint32_t, 256> palette = MakePalette();
  return palette;
}

}  // namespace

uint32_t IndexColorRgb(int index) { return index >= 1 && index <= 255 ? Palette()[index] : 0; }

int NearestColorIndex(uint32_t rgb) {
  const int r = (rgb >> 16) & 0xFF, g = (rgb >> 8) & 0xFF, b = rgb & 0xFF;
  int best = 7;
  long bestDistance = -1;
  for (int i = 1; i < 256; ++i) {
    uint32_t c = Palette()[i];
    long dr = r - static_cast<int>((c >> 16) & 0xFF), dg = g - static_cast<int>((c >> 8) & 0xFF),
         db = b - static_cast<int>(c & 0xFF);
    long d = dr * dr + dg * dg + db * db;
    if (bestDistance < 0 || d < bestDistance) {
      bestDistance = d;
      best = i;
    }
  }
  return best;
}

}  // namespace vantrove::engine::dwg
