#pragma once

#include "XString.h"

#include <vector>

/// A region of interest: polygons in pixel coordinates under one name and colour.
struct XROI {
  struct Point {
    double x = 0.0;
    double y = 0.0;
  };
  using Polygon = std::vector<Point>;

  XString name;
  unsigned char red = 255;
  unsigned char green = 0;
  unsigned char blue = 0;
  std::vector<Polygon> polygons;
};
