#pragma once

#include "XString.h"

#include <tiffio.h>

namespace zrk {

struct TiffJob;

/// The rows of a strip where nothing else asks for more.
inline constexpr int kRowsPerStrip = 32;

/// Sets the tags of the image, its colour map among them; false where one can't be set.
bool SetImageTags(TIFF* tiff, const TiffJob& job);

/// Sets what an exact save keeps beside the image: the null value, what the bands show, scale and offset of their
/// samples, and the texts of the file. False with the reason in `err` where the file can't hold it.
bool SetExactTags(TIFF* tiff, const TiffJob& job, XString& err);

/// As `SetGeoTags` by the full transform of the image: as a matrix where it is turned or its rows go north, and without
/// geokeys where only the place is known. False with the reason in `err` where a system has no keys; true for an image
/// without a system and a place.
bool SetExactGeoTags(TIFF* tiff, const TiffJob& job, XString& err);

/// Sets the tags that place the image in the world, and the geokeys of its system; false where it has no system, or
/// that can't be told in full.
bool SetGeoTags(TIFF* tiff, const TiffJob& job);

}  // namespace zrk
