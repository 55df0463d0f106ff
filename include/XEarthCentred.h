#pragma once

#include "XExport.h"

// Places on the ellipsoid of WGS 84 as places in space, and back. Space has its origin in the centre of the earth. Its
// x axis goes through longitude 0 on the equator, its y axis through 90 degrees east, and its z axis through the north
// pole. Longitudes and latitudes are in radians, heights above the ellipsoid and coordinates in metres. Both functions
// are pure and serve any number of threads.

/// The place in space of a longitude, a latitude and a height.
ZRKIO_API void XfnGeoToEcr(double lon, double lat, double height, double& x, double& y, double& z);

/// The reverse, in place: x becomes the longitude, y the latitude and z the height. Longitudes are from -pi to pi. On
/// the axis the longitude is 0. It is exact to a millionth of a metre from 10 kilometres above the centre of the earth
/// on.
ZRKIO_API void XfnEcrToGeo(double& x, double& y, double& z);
