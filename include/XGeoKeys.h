#pragma once

#include "XExport.h"
#include "XString.h"

struct gtiff;

/// The coordinate system that the geokeys of a TIFF file describe, as WKT 1, from libgeotiff's key handle.
///
/// Empty for a null handle, where the keys name no system, and where they only give it a name: a system is known when
/// its datum or its projection is. Two handles may be asked on two threads at once.
ZRKIO_API XString XfnGTIFGetOGISDefn(gtiff* gtif);

/// Gives libgeotiff's key handle the geokeys of a coordinate system in WKT, and replaces keys of the same ids. The
/// caller still has to write the keys to the file, and sets key 1025. Returns 1, or 0 for a null handle, for a text
/// that is empty or no system, and for a system that has no keys. Two handles may be given theirs on two threads at
/// once.
ZRKIO_API int XfnGTIFSetFromOGISDefn(gtiff* gtif, const XString& wkt);
