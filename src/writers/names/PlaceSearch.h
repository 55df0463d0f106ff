#pragma once

#include "tagXPlace.h"

#include <vector>

namespace zrk {

class PbpFile;

// Searches in a PBP file, as `XPBPReader` has them. What is asked has to make sense. A file that can't be read or whose
// tables name what is not there raises `PbpFault`.

std::vector<int> FindPlacesInBox(const PbpFile& file, const tagXPlaceBox& box);

std::vector<tagXPlace> FindNearestPlaces(const PbpFile& file, double longitude, double latitude, int count);

/// The angle in degrees between two places on a sphere, each a longitude and a latitude in degrees.
double FindAngle(double longitude, double latitude, double otherLongitude, double otherLatitude);

}  // namespace zrk
