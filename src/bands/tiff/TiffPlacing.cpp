// Where a TIFF image lies: by its geokeys and the tags that belong to them, by a world file beside it, or in pixel
// coordinates where it has neither. None of this fails the open.

#include "bands/tiff/TiffPlacing.h"

#include "base/WorldLines.h"
#include "XGeoKeys.h"
#include "XSpatialReference.h"
#include "ZRMBand.h"

namespace zrk {
namespace {

void Place(ZRMBand& band, const TiffPlace& place, int coordinateKind) {
  band.SetUpperLeft(place.ulx, place.uly);
  band.SetPixelSize(place.xPixelSize, place.yPixelSize);
  band.SetCoordinateKind(coordinateKind);
}

/// Unlike that of an image in memory, the upper edge of a file in pixel coordinates is its height.
void PlaceAsPixels(ZRMBand& band) {
  Place(band, {0.0, static_cast<double>(band.GetYSize()), 1.0, 1.0}, kCoordinatePixel);
  band.GetSR()->Clear();
}

/// A world file that can't be read gives way to the next name.
std::optional<WorldLines> FindWorldLines(const XString& path) {
  for (const XString& name : ListWorldFilesOfTiff(path)) {
    if (const std::optional<WorldLines> lines = ReadWorldLines(name)) return lines;
  }
  return std::nullopt;
}

/// The system is taken only along with a place.
bool PlaceByGeoKeys(ZRMBand& band, TIFF* tiff) {
  const GeoKeys keys = OpenGeoKeys(tiff);
  if (!AreUsable(keys.get())) return false;
  const std::optional<TiffPlace> place = PlaceByTags(ReadTiffGeoTags(tiff, keys.get()));
  if (!place) return false;
  XSpatialReference system;
  system.SetCoordinateKind(kReferenceUnknown);
  ReadTiffSystem(keys.get(), system);
  Place(band, *place, kCoordinateWorld);
  band.SetSR(system);
  return true;
}

/// A world file tells a place and no system.
bool PlaceByWorldFile(ZRMBand& band, TIFF* tiff) {
  const std::optional<TiffPlace> place = FindWorldPlace(TIFFFileName(tiff), band.GetXSize(), band.GetYSize());
  if (!place) return false;
  Place(band, *place, kCoordinateWorld);
  band.GetSR()->SetCoordinateKind(kReferenceUnknown);
  return true;
}

}  // namespace

void PlaceTiff(ZRMBand& band, TIFF* tiff) {
  PlaceAsPixels(band);
  if (!PlaceByGeoKeys(band, tiff)) PlaceByWorldFile(band, tiff);
}

void ReadTiffSystem(gtiff* keys, XSpatialReference& system) {
  const XString wkt = XfnGTIFGetOGISDefn(keys);
  if (wkt.IsEmpty()) return;
  system.importFromWkt(wkt);
  // A system that is written down counts as known, also where nothing can be made of it here.
  system.SetCoordinateKind(kReferenceKnown);
}

std::optional<TiffPlace> FindWorldPlace(const XString& path, int width, int height) {
  const std::optional<WorldLines> lines = FindWorldLines(path);
  return lines ? PlaceByWorldLines(*lines, width, height) : std::nullopt;
}

}  // namespace zrk
