#pragma once

#include "codec/TiffGeoTags.h"

#include <optional>

namespace zrk {

struct WorldLines;

/// Where an image lies: the outer corner of its first pixel, and the pixel sizes.
struct TiffPlace {
  double ulx = 0.0;
  double uly = 0.0;
  double xPixelSize = 1.0;
  double yPixelSize = 1.0;
  friend bool operator==(const TiffPlace&, const TiffPlace&) = default;
};

// Each of the following is empty where it can't place the image: a number is missing or is not finite.

/// By the pixel scale and the first tie point. The size in y keeps the sign that is stored. The corner is worked out
/// without that sign.
std::optional<TiffPlace> PlaceByScale(const TiffGeoTags& tags);
/// By the matrix. The sizes are the absolute values on its diagonal.
std::optional<TiffPlace> PlaceByMatrix(const TiffGeoTags& tags);
/// By the scale, or else by the matrix.
std::optional<TiffPlace> PlaceByTags(const TiffGeoTags& tags);
/// By a world file, for an image of that size. A line that is missing counts as 0. The origin is a corner as it is
/// read. It is the lower corner where the pixel size in y is not negative.
std::optional<TiffPlace> PlaceByWorldLines(const WorldLines& lines, int width, int height);

}  // namespace zrk
