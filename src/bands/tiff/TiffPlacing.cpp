// Where a TIFF image lies. Geokeys and their tags come first, then a world file beside the image, and last pixel
// coordinates. Failures here leave the open alone, with one exception: an exact load fails if it needs a world file
// that can't be used.

#include "bands/tiff/TiffPlacing.h"

#include "base/WorldLines.h"
#include "XGeoKeys.h"
#include "XSpatialReference.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

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

/// Corner and pixel sizes are set before, since they take a transform back.
void KeepTransform(ZRMBand& band, const std::optional<TiffTransform>& transform) {
  if (transform) band.SetGeoTransform(transform->data());
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
  const TiffGeoTags tags = ReadTiffGeoTags(tiff, keys.get());
  const std::optional<TiffPlace> place = PlaceByTags(tags);
  if (!place) return false;
  XSpatialReference system;
  system.SetCoordinateKind(kReferenceUnknown);
  ReadTiffSystem(keys.get(), system);
  Place(band, *place, kCoordinateWorld);
  KeepTransform(band, TransformByTags(tags));
  band.SetSR(system);
  return true;
}

/// A world file tells a place and no system. Its corner is kept as it is read, which is the centre of a pixel.
void PlaceByWorldLines(ZRMBand& band, const WorldLines& lines) {
  const std::optional<TiffPlace> place = PlaceByWorldLines(lines, band.GetXSize(), band.GetYSize());
  if (!place) return;
  Place(band, *place, kCoordinateWorld);
  band.SetPixelAnchor(kPixelCentre);
  KeepTransform(band, TransformOf(lines));
  band.GetSR()->SetCoordinateKind(kReferenceUnknown);
}

/// The names under which exact reads look for a world file: those of all reads, and others that programs write.
std::vector<XString> ListAllWorldFiles(const XString& path) {
  std::vector<XString> paths = ListWorldFilesOfTiff(path);
  std::ranges::copy(ListWorldFiles(path, ".tfw"), std::back_inserter(paths));
  return paths;
}

/// The corner and the lengths of a pixel's sides.
TiffPlace PlaceByTransform(const TiffTransform& t) {
  return {t[0], t[3], std::hypot(t[1], t[4]), std::hypot(t[2], t[5])};
}

/// Tags place the image also where nothing is said of a system. A system that the keys tell goes with a world file,
/// too, if that is what places the image, and stays where nothing does.
int PlaceExactly(ZRMBand& band, TIFF* tiff, XString& err) {
  const GeoKeys keys = OpenGeoKeys(tiff);
  const TiffGeoTags tags = ReadTiffGeoTags(tiff, keys.get());
  if (const std::optional<TiffTransform> transform = TransformByTags(tags)) {
    const std::optional<TiffPlace> place = PlaceByTags(tags);
    Place(band, place ? *place : PlaceByTransform(*transform), kCoordinateWorld);
    KeepTransform(band, transform);
  } else {
    std::optional<WorldLines> lines;
    if (!FindWorldFile(ListAllWorldFiles(TIFFFileName(tiff)), lines, err)) return 0;
    if (lines) PlaceByWorldLines(band, *lines);
  }
  const bool hasPlace = band.GetCoordinateKind() == kCoordinateWorld;
  XSpatialReference system;
  system.SetCoordinateKind(kReferenceUnknown);
  if (AreUsable(keys.get())) ReadTiffSystem(keys.get(), system);
  if (hasPlace || !system.IsEmpty()) band.SetSR(system);
  return 1;
}

}  // namespace

int PlaceTiff(ZRMBand& band, TIFF* tiff, XString& err) {
  PlaceAsPixels(band);
  band.SetPixelAnchor(kPixelCorner);
  if (band.IsExact()) return PlaceExactly(band, tiff, err);
  if (PlaceByGeoKeys(band, tiff)) return 1;
  if (const std::optional<WorldLines> lines = FindWorldLines(TIFFFileName(tiff))) PlaceByWorldLines(band, *lines);
  return 1;
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
