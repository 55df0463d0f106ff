#pragma once

#include "XExport.h"
#include "XString.h"

class XThread;
class ZRMCompManager;

// LXY trees: a quadtree of small files for a map, with an index at `path` and a folder for each level beside it.
// docs/FORMATS.md has the names and the bytes.
//
// Level L, from 0 to `maxLevel`, divides the bounds into 2^L by 2^L cells, row 0 at `minY`. A cell has a file where it
// overlaps the manager's total range; other cells are not visited. The manager's system has to be a projected one.
//
// Both give 1; or 0 with the reason in `err`. The reasons, in the order of the checks: "Invalid ZRM composite manager";
// "Invalid output data level" for a level below 0 or above 27; "Invalid spatial reference : NULL"; "Invalid spatial
// reference : must be Map coordinate system"; "Invalid output image size" for tiles without a pixel, of more than
// 65,500 on a side, or so many that the last level has 2^31 or more; those that each names; "Fail to create output LXY
// index File". A stop that `thread` is asked for gives 0 and an empty reason; the tiles written so far stay, and there
// is no index. A tile that can't be made is left out; in the exact policy (`XfnGetDefaultReadPolicy`) it fails the
// export. As many threads make tiles as `XfnSetWorkerCount` grants, and the bytes are the same for any number.
// Nothing is thrown.

/// Pictures of `tileSize` by `tileSize` pixels as JPEG files of quality 90, see `XfnConvertImage2JPG`. Bounds without
/// an area: "Invalid output image size".
ZRKIO_API int XfnExport2LXYTexture(XString path, ZRMCompManager* manager, int maxLevel, int tileSize, double minX,
                                   double minY, double maxX, double maxY, XString& err, XThread* thread);

/// Heights of band 0 of all composites, the first on top, as REAL32 at `tileSize` + 1 by `tileSize` + 1 posts a tile,
/// from the north; neighbours share the posts of their edge. A post has the height of the pixel that holds it, and 0
/// where no pixel holds it. Further reasons: "Fail to create mosaic DEM data band" where no composite has a band that can
/// be placed; "Fail to create resize DEM data band" for bounds without an area; "Fail to allocate LXY DEM output data
/// memory".
ZRKIO_API int XfnExport2LXYDem(XString path, ZRMCompManager* manager, int maxLevel, int tileSize, double minX,
                               double minY, double maxX, double maxY, XString& err, XThread* thread);
