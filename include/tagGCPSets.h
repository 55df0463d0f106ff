#pragma once

#include "XString.h"

#include <vector>

/// A ground control point: a pixel of the image and the same point in the world. The library keeps such points and
/// writes them; it corrects no image by them.
struct tagGCP {
  /// For people; it may be empty, and several may have the same.
  XString name;
  /// The position in the image, in full-resolution pixels: x is the column, y the row, row 0 at the top. Fractions are
  /// allowed.
  double pixelX = 0.0;
  double pixelY = 0.0;
  /// The place in the world, in the system that `tagGCPSets::projectionWkt` names: x before y, then the height.
  double mapX = 0.0;
  double mapY = 0.0;
  double mapZ = 0.0;
  /// 0 for a point that a user has switched off. The library keeps the flag and uses all points alike.
  int enabled = 1;
};

/// A named set of ground control points. A dataset that a set is added to owns it. `XRSFileIO::GetGeoBounding` looks
/// for the name "BOUNDING_GCP".
struct tagGCPSets {
  XString name;
  /// The system of the map coordinates as WKT; empty for an unknown one. The text is kept as it is and not checked.
  XString projectionWkt;
  /// In the order in which the source lists them; it may be empty.
  std::vector<tagGCP> points;
};
