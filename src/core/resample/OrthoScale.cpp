#include "core/resample/OrthoScale.h"

#include "XCoordinateTransformation.h"
#include "ZRMBand.h"

#include <cmath>

namespace zrk {
namespace {

/// The step between two places; 0 where it is not known. The date line may lie between them.
double StepBetween(const OrthoPoints& places, std::size_t i, std::size_t j, bool isInDegrees) {
  double east = places.x[j] - places.x[i];
  if (isInDegrees) east = std::remainder(east, 360.0);
  const double step = std::hypot(east, places.y[j] - places.y[i]);
  return std::isfinite(step) ? step : 0.0;
}

}  // namespace

OrthoPoints LocateOnGround(const XSensorModel& model, const OrthoPoints& positions) {
  OrthoPoints places{std::vector<double>(positions.x.size()), std::vector<double>(positions.x.size())};
  std::vector<double> heights(positions.x.size());
  model.LocatePixels(positions.x.data(), positions.y.data(), static_cast<int>(positions.x.size()), places.x.data(),
                     places.y.data(), heights.data());
  return places;
}

/// The middle may lie over a gap in the terrain, so that other places are tried as well.
OrthoStep MeasureStep(const XSensorModel& model, const ZRMBand& band, const XCoordinateTransformation* toSystem) {
  for (const double share : {0.5, 0.4, 0.6, 0.3, 0.7, 0.2, 0.8}) {
    const double x = std::floor(share * (band.GetXSize() - 1)), y = std::floor(share * (band.GetYSize() - 1));
    OrthoPoints places = LocateOnGround(model, {{x, x + 1.0, x}, {y, y, y + 1.0}});
    for (std::size_t i = 0; toSystem && i < places.x.size(); ++i) {
      if (!toSystem->TransformPt(places.x[i], places.y[i])) places.x[i] = NAN;
    }
    const OrthoStep step{StepBetween(places, 0, 1, !toSystem), StepBetween(places, 0, 2, !toSystem)};
    if (step.column > 0.0 && step.line > 0.0) return step;
  }
  return {};
}

}  // namespace zrk
