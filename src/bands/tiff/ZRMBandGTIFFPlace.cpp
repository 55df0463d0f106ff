// Where a TIFF image lies: by its geokeys and the tags that belong to them, or by a world file beside it, or nowhere in
// particular. Nothing of this fails the open.

#include "ZRMBandGTIFF.h"

#include "bands/tiff/TiffPlace.h"
#include "base/Fence.h"
#include "base/WorldLines.h"
#include "XGeoKeys.h"
#include "XSpatialReference.h"

namespace {

using zrk::TiffPlace;

void Place(ZRMBandGTIFF& band, const TiffPlace& place, int coordinateKind) {
  band.SetUpperLeft(place.ulx, place.uly);
  band.SetPixelSize(place.xPixelSize, place.yPixelSize);
  band.SetCoordinateKind(coordinateKind);
}

/// Unlike that of an image in memory, the upper edge of a file in pixel coordinates is its height.
void PlaceAsPixels(ZRMBandGTIFF& band) {
  Place(band, {0.0, static_cast<double>(band.GetYSize()), 1.0, 1.0}, kCoordinatePixel);
  band.GetSR()->Clear();
}

/// The system is taken only along with a place.
int PlaceByGeoKeys(ZRMBandGTIFF& band) {
  TIFF* const tiff = band.GetFileTIFF();
  const zrk::GeoKeys keys = zrk::OpenGeoKeys(tiff);
  if (!zrk::AreUsable(keys.get())) return 0;
  const std::optional<TiffPlace> place = zrk::PlaceByTags(zrk::ReadTiffGeoTags(tiff, keys.get()));
  if (!place) return 0;
  XSpatialReference system;
  band.ExtractProjection(keys.get(), &system);
  Place(band, *place, kCoordinateWorld);
  band.SetSR(system);
  return 1;
}

int PlaceByWorldFile(ZRMBandGTIFF& band) {
  TiffPlace place;
  if (!band.ReadWorldFile(place.ulx, place.uly, place.xPixelSize, place.yPixelSize)) return 0;
  Place(band, place, kCoordinateWorld);
  band.GetSR()->SetCoordinateKind(kReferenceUnknown);
  return 1;
}

std::optional<zrk::WorldLines> FindWorldLines(const XString& path) {
  for (const XString& name : zrk::ListWorldFilesOfTiff(path)) {
    if (const std::optional<zrk::WorldLines> lines = zrk::ReadWorldLines(name)) return lines;
  }
  return std::nullopt;
}

}  // namespace

void ZRMBandGTIFF::ReadCoordinateInfo(XString&) {
  SetCoordinateKind(kCoordinatePixel);
  GetSR()->Clear();
  if (!GetFileTIFF()) return;
  PlaceAsPixels(*this);
  zrk::FencedRead([this] { return PlaceByGeoKeys(*this) || PlaceByWorldFile(*this); });
}

int ZRMBandGTIFF::ExtractProjection(gtiff* gtif, XSpatialReference* sr) {
  if (!gtif || !sr) return -1;
  sr->SetCoordinateKind(kReferenceUnknown);
  zrk::FencedRead([&] {
    const XString wkt = XfnGTIFGetOGISDefn(gtif);
    if (wkt.IsEmpty()) return 0;
    sr->importFromWkt(wkt);
    // A system that is written down is known, also where it can't be made use of here.
    sr->SetCoordinateKind(kReferenceKnown);
    return 1;
  });
  return 1;
}

int ZRMBandGTIFF::ReadWorldFile(double& ulx, double& uly, double& xSize, double& ySize) {
  TIFF* const tiff = GetFileTIFF();
  if (!tiff) return 0;
  return zrk::FencedRead([&] {
    const std::optional<zrk::WorldLines> lines = FindWorldLines(TIFFFileName(tiff));
    const std::optional<TiffPlace> place =
        lines ? zrk::PlaceByWorldLines(*lines, GetXSize(), GetYSize()) : std::nullopt;
    if (!place) return 0;
    ulx = place->ulx;
    uly = place->uly;
    xSize = place->xPixelSize;
    ySize = place->yPixelSize;
    return 1;
  });
}
