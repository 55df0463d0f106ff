#pragma once

#include "geo/GeoKeyFile.h"

struct gtiff;

namespace zrk {

/// The keys of libgeotiff's handle that describe a system. What no writer of such files would say is left out.
GeoKeySet ReadGeoKeys(gtiff* gtif);

/// Gives a handle the keys and the version of a set, beside the keys that it has; whether that was done to the end.
bool SetGeoKeys(gtiff* gtif, const GeoKeySet& set);

}  // namespace zrk
