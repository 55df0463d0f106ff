#pragma once

#include <tiffio.h>

namespace zrk {

struct TiffJob;

/// The rows of a strip where nothing else asks for more.
inline constexpr int kRowsPerStrip = 32;

/// Sets the tags of the image, its colour map among them; false where one can't be set.
bool SetImageTags(TIFF* tiff, const TiffJob& job);

/// Sets the tags that place the image in the world, and the geokeys of its system; false where it has no system, or
/// that can't be told in full.
bool SetGeoTags(TIFF* tiff, const TiffJob& job);

}  // namespace zrk
