#pragma once

#include "tagXTileLevel.h"
#include "tiles/StoreAxis.h"

class ZRMBand;

namespace zrk {

/// A window on its way through coordinates, as callers of the compatible policy rely on it. Lengths are in degrees.
struct PbiRequest {
  const ZRMBand& band;
  double west, east, south, north;
  double step;        ///< between samples of the result, on both axes
  int bandStep;       ///< the same in pixels of the band
  int width, height;  ///< of the result
};

/// The side of a pixel of a level, whose tiles count as 256 pixels wide.
double PbiResolution(int level);

/// The tiles of a level that the window touches, and what each gives. Both axes have the same step. Samples that no
/// tile gives stay out, as at the seams of a window whose step is smaller than a pixel of the band.
void PlanPbiColumns(const PbiRequest& request, const tagXTileLevel& level, StoreAxis& axis);
void PlanPbiRows(const PbiRequest& request, const tagXTileLevel& level, StoreAxis& axis);

}  // namespace zrk
