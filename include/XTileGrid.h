#pragma once

#include "XExport.h"

// The global grid of the tile stores, in degrees. A tile of level L is a square of 18 / 2^L degrees. Rows count
// upward from latitude -90, columns eastward from longitude -180, so that level L has 10 * 2^L rows and 20 * 2^L
// columns. The lower left corner of a tile is (column * size - 180, row * size - 90). All functions are pure and serve
// any number of threads.

/// The side of a tile of the level: 18.0, halved as many times as the level says. 18.0 for a level of 0 or below.
ZRKIO_API double XfnGetTileSize3D(int level);

/// The tile of a level that a place lies in, its lower and left edges included. A place below latitude -90 or west of
/// longitude -180 is in row or column -1 or below. Nothing is cut at the other end: latitude 90 is in row 10 * 2^L, one
/// past the last. A number beyond the range of an int gives the nearest int, and NaN gives INT_MIN.
ZRKIO_API void XfnGetRowColFromGeo(int level, double lon, double lat, int& row, int& col);

/// The same for tiles of `tileSize` degrees, but a place on an edge of a tile belongs to the tile below or west of it:
/// 1e-09 is taken off both coordinates first. Use this form for the upper right corner of a range, so that it lies in
/// the last tile of the range. Use the form by level for the lower left corner.
ZRKIO_API void XfnGetRowColFromGeo(double tileSize, double lon, double lat, int& row, int& col);
