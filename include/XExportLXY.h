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
// Both return 1; or 0 with the reason in `err`. The first checks give "Invalid ZRM composite manager", "Invalid output
// data level" for a level below 0 or above 27, "Invalid spatial reference : NULL", and "Invalid spatial reference :
// must be Map coordinate system". A `tileSize` below 1 then gives "Invalid output image size". Then come the reasons
// that each function names, and last "Fail to create output LXY index File". `thread` may be null. If it is asked to
// stop, the result is 0 with an empty reason; the tiles written so far stay, and there is no index. A tile that can't
// be made is left out. In the exact policy (`XfnGetDefaultReadPolicy`) it fails the export. As many threads make tiles
// as `XfnSetWorkerCount` grants, and the bytes are the same for any number. Nothing is thrown.

/// Pictures of `tileSize` by `tileSize` pixels as JPEG files of quality 90, see `XfnConvertImage2JPG`. Bounds without
/// an area, and a `tileSize` above 65,500, give "Invalid output image size".
ZRKIO_API int XfnExport2LXYTexture(XString path, ZRMCompManager* manager, int maxLevel, int tileSize, double minX,
                                   double minY, double maxX, double maxY, XString& err, XThread* thread);

/// Heights of band 0 of all composites, the first on top, as REAL32. A tile has `tileSize` + 1 by `tileSize` + 1 posts,
/// row by row from the north; neighbours share the posts of their edge. A post has the height of the pixel that holds
/// it, and 0 where no pixel holds it. Further reasons: "Invalid output image size" where the last level would have 2^31
/// posts or more on a side; "Fail to create mosaic DEM data band" where no composite has a band that can be placed;
/// "Fail to create resize DEM data band" for bounds without an area; "Fail to allocate LXY DEM output data memory".
ZRKIO_API int XfnExport2LXYDem(XString path, ZRMCompManager* manager, int maxLevel, int tileSize, double minX,
                               double minY, double maxX, double maxY, XString& err, XThread* thread);
