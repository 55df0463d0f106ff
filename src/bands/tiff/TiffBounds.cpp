// The corners that a TIFF file lists: its first tie points. A file whose grid is tied by one point and a pixel scale
// lists none.

#include "bands/tiff/TiffBounds.h"

#include "bands/tiff/TiffPlace.h"
#include "codec/TiffHandle.h"
#include "XCoordinateTransformation.h"
#include "XFile.h"
#include "XGeoKeys.h"
#include "XSpatialReference.h"

#include <algorithm>
#include <memory>

namespace zrk {
namespace {

std::unique_ptr<TiffHandle> OpenTiff(const XString& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyWrite)) return nullptr;
  return TiffHandle::Open(file.GetDiskFile(), path, std::make_shared<TiffMessages>(), TiffHandle::kTableBytes);
}

/// Leads from the system of the keys to WGS 84. Null where the keys describe no system, or nothing leads there.
std::unique_ptr<XCoordinateTransformation> MakeTransformation(gtiff* keys) {
  XSpatialReference system, wgs84;
  if (!system.importFromWkt(XfnGTIFGetOGISDefn(keys)) || !wgs84.SetWellKnownGeogCS("WGS84")) return nullptr;
  return XfnCreateCoordTrans(system, wgs84);
}

/// Takes the first tie points: in degrees where the file's system leads there, and otherwise as they are. A point that
/// has no place in degrees is left out. A file with a pixel scale lists no corners, since its one tie point ties the
/// grid.
void TakeTiePoints(const TiffGeoTags& tags, gtiff* keys, const Corners& corners, bool& isLonLat) {
  constexpr int kNumbersPerPoint = 6, kPlaceInPoint = 3;
  if (!tags.pixelScale.empty()) return;
  const int numPoints = std::min(static_cast<int>(tags.tiePoints.size()) / kNumbersPerPoint, Corners::kCount);
  if (numPoints == 0) return;
  const auto transformation = MakeTransformation(keys);
  isLonLat = transformation != nullptr;
  for (int i = 0; i < numPoints; ++i) {
    const double* const place = tags.tiePoints.data() + i * kNumbersPerPoint + kPlaceInPoint;
    double x = place[0], y = place[1];
    if (!transformation || transformation->TransformPt(x, y)) corners.Set(i, x, y);
  }
}

}  // namespace

int BoundTiff(const XString& path, const Corners& corners, bool& isLonLat) {
  const std::unique_ptr<TiffHandle> tiff = OpenTiff(path);
  if (!tiff) return 0;
  const GeoKeys keys = OpenGeoKeys(tiff->Get());
  if (!AreUsable(keys.get())) return 0;
  TakeTiePoints(ReadTiffGeoTags(tiff->Get(), keys.get()), keys.get(), corners, isLonLat);
  return 1;
}

}  // namespace zrk
