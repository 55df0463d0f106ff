#pragma once

#include "XDeviceContext.h"
#include "XExport.h"
#include "XString.h"

class XThread;
class ZRMCompManager;

/// Renders a rectangle of the manager's world to a JPEG file of quality 90: its width over `xPixelSize` by its height
/// over `yPixelSize` pixels, rounded, at least 1 each. Composites are drawn from the last to the first over black,
/// pixels that are larger than those of the source as means. The device context is ignored. A file that was there is
/// replaced.
///
/// Returns 1; or 0 with the reason in `err`, and then no file is left. The reasons are "Invalid ZRM composite manager"
/// and "Fail to create output JPEG File", and what the encoder says. "Invalid output image size" stands for a rectangle
/// without an area, pixel sizes that are not positive, and more than 65,500 pixels on a side. A band that can't be read
/// is left out. In the exact policy (`XfnGetDefaultReadPolicy`) it fails the call with its reason. A stop that `thread`
/// is asked for gives 0 and an empty reason. Several threads may render pictures of one manager at once. Nothing is
/// thrown.
ZRKIO_API int XfnConvertImage2JPG(XString path, XString& err, HDC dc, ZRMCompManager* manager, double minX, double minY,
                                  double maxX, double maxY, double xPixelSize, double yPixelSize, XThread* thread);
