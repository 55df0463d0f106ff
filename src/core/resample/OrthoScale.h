#pragma once

#include "XSensorModel.h"

#include <vector>

class XCoordinateTransformation;
class ZRMBand;

namespace zrk {

/// Places of a system. What has none is not a number.
struct OrthoPoints {
  std::vector<double> x;
  std::vector<double> y;
};

/// The ground under positions of an image, in longitude and latitude.
OrthoPoints LocateOnGround(const XSensorModel& model, const OrthoPoints& positions);

/// How long the steps to the next column and to the next line are on the ground, about the middle of the image. In the
/// unit of the system that `toSystem` leads to, or in degrees where that is null. Both are 0 where no ground is found.
struct OrthoStep {
  double column = 0.0;
  double line = 0.0;
};
OrthoStep MeasureStep(const XSensorModel& model, const ZRMBand& band, const XCoordinateTransformation* toSystem);

}  // namespace zrk
