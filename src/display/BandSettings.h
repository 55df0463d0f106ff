#pragma once

#include "tagXVector2.h"
#include "XDataType.h"
#include "ZRMComposite.h"

#include <array>
#include <vector>

namespace zrk {

/// How a band of a composite is shown, as it was set.
struct BandSettings {
  BandSettings();

  bool isHidden = false;
  int stretchType = kStretchNone;
  double coverage = 100.0;
  int cutType = kCutNone;
  double cutMin = 0.0;
  double cutMax = 255.0;
  double transparentValue = kNotSet;
  std::array<unsigned char, 256> lut;
  std::array<XColour, 256> clt;
  std::vector<tagXVector2> points;
};

/// A lookup table of straight lines between points, level beyond them. Each byte by itself without points.
std::array<unsigned char, 256> MakeCurve(const std::vector<tagXVector2>& points);

}  // namespace zrk
