#pragma once

#include "geo/GeoKeyHandle.h"

#include <array>
#include <optional>
#include <vector>

#include <tiffio.h>

namespace zrk {

struct WorldLines;

/// The geokeys of the current directory. Null where they are not laid out as they should be. A directory without
/// geokeys has a handle too.
GeoKeys OpenGeoKeys(TIFF* tiff);
/// Whether there are keys of a version that is known, with a model type among them.
bool AreUsable(gtiff* keys);

/// The geo tags of a directory as they are stored. The list of a missing tag is empty.
struct TiffGeoTags {
  bool isPoint = false;            ///< whether places are those of pixel centres and not of corners
  std::vector<double> tiePoints;   ///< six numbers each: column, row and 0, then x, y and z in the world
  std::vector<double> pixelScale;  ///< in x, y and z
  std::vector<double> toWorld;     ///< a matrix of four rows
};

TiffGeoTags ReadTiffGeoTags(TIFF* tiff, gtiff* keys);

/// Where an image lies: the outer corner of its first pixel, and the pixel sizes.
struct TiffPlace {
  double ulx = 0.0;
  double uly = 0.0;
  double xPixelSize = 1.0;
  double yPixelSize = 1.0;
  friend bool operator==(const TiffPlace&, const TiffPlace&) = default;
};

/// As `ZRMBand::GetGeoTransform`: of outer corners, with rotation, shear and rows that go north.
using TiffTransform = std::array<double, 6>;
/// By the pixel scale and the first tie point, with the signs of the scale, or else by the matrix. Empty where a number
/// is missing or not finite, and where all pixels would fall on a line.
std::optional<TiffTransform> TransformByTags(const TiffGeoTags& tags);

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
