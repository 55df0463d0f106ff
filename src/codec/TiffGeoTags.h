#pragma once

#include "geo/GeoKeyHandle.h"

#include <array>
#include <optional>
#include <vector>

#include <tiffio.h>

namespace zrk {

/// The geokeys of the current directory. Returns null where they are not laid out as they should be. A directory
/// without geokeys has a handle too.
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

/// As `ZRMBand::GetGeoTransform`: of outer corners, with rotation, shear and rows that go north.
using TiffTransform = std::array<double, 6>;
/// By the pixel scale and the first tie point, with the signs of the scale, or else by the matrix. Empty where a number
/// is missing or not finite, and where all pixels would fall on a line.
std::optional<TiffTransform> TransformByTags(const TiffGeoTags& tags);

}  // namespace zrk
