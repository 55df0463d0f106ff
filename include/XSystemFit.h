#pragma once

#include "XExport.h"
#include "XString.h"

class XSpatialReference;
class ZRMBand;

/// Whether the coordinates of a band can be coordinates of a system, by their size. The coordinates of a geographic
/// system are angles, and no system reaches farther than some multiples of the earth. Unlikely coordinates pass, and so
/// does a band in pixel coordinates, which has no place. Returns 1, or 0 with the reason in `err`.
ZRKIO_API int XfnCanBePlacedIn(const ZRMBand& band, const XSpatialReference& sr, XString& err);
