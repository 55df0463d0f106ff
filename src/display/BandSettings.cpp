#include "display/BandSettings.h"

#include <algorithm>
#include <cstddef>

namespace zrk {

/// Tables that change nothing: each byte is itself, and its colour is the grey of that brightness.
BandSettings::BandSettings() : lut(MakeCurve({})) {
  for (std::size_t i = 0; i < clt.size(); ++i) clt[i] = static_cast<XColour>(i * 0x010101);
}

/// Points and bytes rise together, so that one pass over both is enough.
std::array<unsigned char, 256> MakeCurve(const std::vector<tagXVector2>& points) {
  std::array<unsigned char, 256> curve;
  std::size_t next = 0;  // the first point that does not lie before the byte
  for (std::size_t i = 0; i < curve.size(); ++i) {
    const auto x = static_cast<double>(i);
    while (next < points.size() && points[next].x < x) ++next;
    double y = x;
    if (!points.empty() && next == 0) {
      y = points.front().y;
    } else if (!points.empty() && next == points.size()) {
      y = points.back().y;
    } else if (!points.empty()) {
      const tagXVector2 &before = points[next - 1], &after = points[next];
      y = before.y + (after.y - before.y) * (x - before.x) / (after.x - before.x);
    }
    curve[i] = static_cast<unsigned char>(std::clamp(y, 0.0, 255.0) + 0.5);
  }
  return curve;
}

}  // namespace zrk
