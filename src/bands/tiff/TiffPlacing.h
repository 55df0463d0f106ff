#pragma once

#include "bands/tiff/TiffPlace.h"
#include "XString.h"

class XSpatialReference;
class ZRMBand;

namespace zrk {

/// Places a band that has the image's size by the geokeys of the open directory, by a world file beside the image, or
/// as plain pixels, whichever is found first. 1; but 0 with a sentence where the band reads exactly and the world file
/// that would place it can't.
int PlaceTiff(ZRMBand& band, TIFF* tiff, XString& err);
/// The coordinate system that geokeys tell. `system` stays as it was where they tell none.
void ReadTiffSystem(gtiff* keys, XSpatialReference& system);
/// By the world file beside the image of that path and size. Nothing without a world file that can be used.
std::optional<TiffPlace> FindWorldPlace(const XString& path, int width, int height);

}  // namespace zrk
