#pragma once

#include "XExport.h"
#include "XString.h"

struct gtiff;

/// The coordinate system that the geokeys of a TIFF file describe, as WKT 1, from libgeotiff's key handle.
///
/// Empty for a null handle, where the keys name no system, and where they only give it a name: a system is known when
/// its datum or its projection is. Two handles may be asked on two threads at once.
ZRKIO_API XString XfnGTIFGetOGISDefn(gtiff* gtif);
