#pragma once

#include "XString.h"

#include <vector>

/// A ground control point: a place in the image and the same place in the world.
struct tagGCP {
  XString name;
  double pixelX = 0.0;
  double pixelY = 0.0;
  double mapX = 0.0;
  double mapY = 0.0;
  double mapZ = 0.0;
  int enabled = 1;
};

/// A named set of ground control points.
struct tagGCPSets {
  XString name;
  XString projectionWkt;  ///< the system of the map coordinates
  std::vector<tagGCP> points;
};
