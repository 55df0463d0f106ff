#pragma once

#include "XString.h"

#include <vector>

/// A region of interest: polygons under one name and colour. A dataset that a region is added to owns it. Native files
/// keep regions; the library neither draws nor measures them.
struct XROI {
  /// A corner in full-resolution pixels: x is the column, y the row, row 0 at the top. Fractions, and positions outside
  /// the image, are allowed.
  struct Point {
    double x = 0.0;
    double y = 0.0;
  };
  /// The corners in their order. The last one is joined to the first. A polygon of fewer than three corners has no
  /// area.
  using Polygon = std::vector<Point>;

  /// For people; it may be empty, and several regions may have the same.
  XString name;
  /// The colour that the region is drawn in, 0 to 255 each; red at first.
  unsigned char red = 255;
  unsigned char green = 0;
  unsigned char blue = 0;
  /// The region is all of them together. No order or direction is asked for, and they may overlap.
  std::vector<Polygon> polygons;
};
