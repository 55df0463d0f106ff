#pragma once

#include "XDeviceContext.h"
#include "XExport.h"
#include "XString.h"

class XThread;
class ZRMCompManager;

// L0 files: one large image or elevation grid of a map, cut into square tiles, with a report beside it under the path
// with ".info" added. docs/FORMATS.md has the bytes.
//
// `tileSize` is the side of a tile in pixels, and is raised to 64 if it is smaller. (llx, lly) is the lower left corner
// of the bounds, and (urx, ury) the upper right corner. Both are in the manager's system, which has to be a projected
// one. The image has as many whole pixels as fit between them.
//
// Both return 1; or 0 with the reason in `err`, and then neither file is left. The common reasons, in the order of the
// checks, are "Invalid ZRM composite manager", "Invalid spatial reference : NULL" and "Invalid spatial reference : must
// be Map coordinate system". Each function names its further reasons. `thread` may be null; if it is asked to stop, the
// result is 0 with an empty reason. Bands that can't be read and tiles that can't be written are passed over. In the
// exact policy (`XfnGetDefaultReadPolicy`) they fail the export. The files are written under their names from the
// beginning. As many threads make tiles as `XfnSetWorkerCount` grants, and the bytes are the same for any number.
// Nothing is thrown.

/// The picture of all composites, three planes of bytes: blue, green, red. Composites are drawn from the last to the
/// first over `backColour`.
///
/// Rows of tiles run from the south, and rows of pixels in a tile too. In the compatible policy the first row of tiles
/// ends at the lower edge of the bounds. With a `tileSize` below 64, pictures of that size then lie in the lower left
/// of their tiles. In the exact policy the first row begins at the lower edge, and pictures fill their tiles.
///
/// Further reasons: "Fail to allocate L0 data memory" for pixel sizes that are not positive numbers, bounds without a
/// pixel, and tiles or images beyond what memory and files hold; "Fail to create backbuffer for exporting L0 Data";
/// "Fail to resize backbuffer for exporting L0 Data"; "Fail to create output L0 File".
ZRKIO_API int XfnExport2L0Data_Image(XString path, ZRMCompManager* manager, double xPixelSize, double yPixelSize,
                                     double llx, double lly, double urx, double ury, int tileSize, XColour backColour,
                                     XString& err, XThread* thread);

/// The heights of band 0 of all composites at the centres of the pixels; the first composite is on top. The heights
/// have the data type of the bands, or REAL32 if the types of the bands differ. Pixels without a height are 0. Tiles
/// and their rows run from the north. The back colour is ignored.
///
/// Further reasons: "Fail to create mosaic DEM data band" where no composite has a band that can be placed, for pixel
/// sizes that are not positive numbers, and for bounds without a pixel; "Fail to create output L0 DEM File"; "Fail to
/// allocate L0 data memory".
ZRKIO_API int XfnExport2L0Data_DEM(XString path, ZRMCompManager* manager, double xPixelSize, double yPixelSize,
                                   double llx, double lly, double urx, double ury, int tileSize, XColour backColour,
                                   XString& err, XThread* thread);
