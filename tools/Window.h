#pragma once

#include "ZRMBand.h"

#include <vector>

/// An inclusive window of a band in full-resolution pixels.
struct Window {
  int x0 = 0;
  int x1 = 0;
  int y0 = 0;
  int y1 = 0;
  int Width() const { return x1 - x0 + 1; }
  int Height() const { return y1 - y0 + 1; }
};

/// The window that a user asks for: by pixels, by coordinates, or the whole band where neither is given.
struct WindowRequest {
  std::vector<int> pixels;  ///< x0, x1, y0, y1
  std::vector<double> box;  ///< west, south, east, north
  bool isLonLat = false;    ///< the box is in degrees on WGS 84, and not in the system of the band
};

/// The whole of a band.
Window WholeOf(const ZRMBand& band);

/// The window that is asked for. Of a box all pixels are taken that it meets, and a part beyond the image is cut off
/// with a remark. Throws `BadCommand` for pixels outside the image, for a box that does not meet it, and for a box
/// where the band has no place.
Window FindWindow(const ZRMBand& band, const WindowRequest& wanted);
