#pragma once

#include "tagXGlobeExport.h"

#include <array>
#include <optional>

/// Levels, inclusive.
struct LevelSpan {
  int first = 0;
  int last = 0;
};

/// A box in degrees.
struct LonLatBox {
  double west = 0.0;
  double south = 0.0;
  double east = 0.0;
  double north = 0.0;
};

/// As many levels of pictures as one pyramid has. With more the last tiles of the finest one would be left out.
constexpr int kMaxPictureLevels = 9;

/// The extent of sources, cut to the globe. One that reaches over longitude 180 becomes that of all longitudes. Half a
/// pixel is taken off all around where the sources are heights, which stand in the middle of their pixels.
LonLatBox CutToGlobe(const LonLatBox& box, double halfPixel);

/// The levels for sources with pixels of `finestPixel` degrees: up to the first that is as fine, from the first whose
/// tiles are no larger than the box.
LevelSpan ChooseLevels(const LonLatBox& box, double finestPixel, bool areHeights);

/// Sets levels and extent. The extent ends on edges of tiles of the first level that lie on the box or around it, so
/// that no tile is left out or only in part covered. The upper right corner of pictures lies just inside.
void SetExtent(const LonLatBox& box, const LevelSpan& levels, tagXGlobeExport& what);
