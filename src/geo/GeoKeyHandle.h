#pragma once

#include "geo/GeoKeyFile.h"

#include <memory>

struct gtiff;

namespace zrk {

struct GeoKeysFree {
  void operator()(gtiff* gtif) const;
};
/// libgeotiff's handle for the geokeys of a directory. It must not outlive the TIFF handle.
using GeoKeys = std::unique_ptr<gtiff, GeoKeysFree>;

/// The keys of libgeotiff's handle that describe a system. Keys that no writer of such files would give are left out.
GeoKeySet ReadGeoKeys(gtiff* gtif);

/// Gives a handle the keys and the version of a set, beside the keys that it has. False where that failed, and then the
/// handle may have some of them.
bool SetGeoKeys(gtiff* gtif, const GeoKeySet& set);

}  // namespace zrk
