#pragma once

#include "base/Window.h"

namespace zrk {

/// The pixels of a picture and their place in the world. The centre of the pixel in column i and row j lies at the
/// world's centre + (i + 0.5 - width / 2) * xStep, and likewise downward.
struct PictureGrid {
  int width = 0;
  int height = 0;
  double xStep = 1.0;
  double yStep = 1.0;
  double xCentre = 0.0;
  double yCentre = 0.0;

  double Left() const { return xCentre - 0.5 * width * xStep; }
  double Top() const { return yCentre + 0.5 * height * yStep; }
  /// Whether the steps and the centre are numbers that pixels can be placed by.
  bool IsPlaced() const;
  /// The pixels whose centres lie between the edges; a window without pixels has x1 < x0 or y1 < y0.
  Window Within(double west, double south, double east, double north) const;
};

}  // namespace zrk
