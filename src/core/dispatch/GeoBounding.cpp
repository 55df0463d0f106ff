// The corners of a file in its own system, or those that its author listed. Of a TIFF file only the tags are read; a
// native raster is loaded, which leaves its pixels alone too.

#include "XRSFileIO.h"

#include "bands/tiff/TiffPlace.h"
#include "codec/TiffHandle.h"
#include "XCoordinateTransformation.h"
#include "XDataType.h"
#include "XFile.h"
#include "XGeoKeys.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XSpatialReference.h"

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>

namespace {

constexpr int kNumCorners = 4;

/// The caller's arrays.
struct Corners {
  double* x;
  double* y;

  void Clear() const {
    std::fill_n(x, kNumCorners, kNotSet);
    std::fill_n(y, kNumCorners, kNotSet);
  }
  void Set(int corner, double cornerX, double cornerY) const {
    x[corner] = cornerX;
    y[corner] = cornerY;
  }
};

/// Every corner becomes the point whose number is the set's own in the list, so all of them are the same place. Callers
/// count on a set that has no such point being told by an exception.
void TakeCornersOfSet(const tagGCPSets& set, int index, const Corners& corners) {
  const int numPoints = static_cast<int>(set.points.size());
  for (int corner = 0; corner < std::min(numPoints, kNumCorners); ++corner) {
    if (index >= numPoints) throw std::invalid_argument("GetGeoBounding: no such point");
    const tagGCP& point = set.points[static_cast<std::size_t>(index)];
    corners.Set(corner, point.mapX, point.mapY);
  }
}

void TakeCornersOfSets(const XRSFile& file, const Corners& corners) {
  for (int i = 0; i < file.GetNumOfGCPSet(); ++i) {
    const tagGCPSets& set = *file.GetGCPSetAt(i);
    if (set.name == "BOUNDING_GCP") TakeCornersOfSet(set, i, corners);
  }
}

void TakeCornersOfRectangle(const XRSFile& file, const Corners& corners) {
  double west = kNotSet, east = kNotSet, south = kNotSet, north = kNotSet;
  file.GetBoundRect(west, east, south, north);
  corners.Set(0, west, south);
  corners.Set(1, east, south);
  corners.Set(2, east, north);
  corners.Set(3, west, north);
}

int BoundNativeRaster(const XString& path, const Corners& corners) {
  XRSFile file;
  XString err;
  if (!XRSFileIO::LoadFileZRM(&file, path, err, nullptr)) return 0;
  const XSpatialReference* const system = file.GetSR();
  if (!system || system->GetCoordinateKind() == kReferenceNone) {
    TakeCornersOfSets(file, corners);
  } else {
    TakeCornersOfRectangle(file, corners);
  }
  return 1;
}

std::unique_ptr<zrk::TiffHandle> OpenTiff(const XString& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyWrite)) return nullptr;
  return zrk::TiffHandle::Open(file.GetDiskFile(), path, std::make_shared<zrk::TiffMessages>(),
                               zrk::TiffHandle::kTableBytes);
}

/// What leads from the system that the keys describe to WGS 84; null where they describe none.
std::unique_ptr<XCoordinateTransformation> MakeTransformation(gtiff* keys) {
  XSpatialReference system, wgs84;
  if (!system.importFromWkt(XfnGTIFGetOGISDefn(keys)) || !wgs84.SetWellKnownGeogCS("WGS84")) return nullptr;
  return XfnCreateCoordTrans(system, wgs84);
}

/// Takes the first tie points, in degrees where the file's system leads there and as they are where it doesn't; in a
/// system that does, a point that lies nowhere on earth is left out. A file that has a pixel scale lists no corners:
/// its one tie point ties the grid.
void TakeTiePoints(const zrk::TiffGeoTags& tags, gtiff* keys, const Corners& corners, bool& isLonLat) {
  constexpr int kNumbersPerPoint = 6, kPlaceInPoint = 3;
  if (!tags.pixelScale.empty()) return;
  const int numPoints = std::min(static_cast<int>(tags.tiePoints.size()) / kNumbersPerPoint, kNumCorners);
  if (numPoints == 0) return;
  const auto transformation = MakeTransformation(keys);
  isLonLat = transformation != nullptr;
  for (int i = 0; i < numPoints; ++i) {
    const double* const place = tags.tiePoints.data() + i * kNumbersPerPoint + kPlaceInPoint;
    double x = place[0], y = place[1];
    if (!transformation || transformation->TransformPt(x, y)) corners.Set(i, x, y);
  }
}

int BoundTiff(const XString& path, const Corners& corners, bool& isLonLat) {
  const std::unique_ptr<zrk::TiffHandle> tiff = OpenTiff(path);
  if (!tiff) return 0;
  const zrk::GeoKeys keys = zrk::OpenGeoKeys(tiff->Get());
  if (!zrk::AreUsable(keys.get())) return 0;
  TakeTiePoints(zrk::ReadTiffGeoTags(tiff->Get(), keys.get()), keys.get(), corners, isLonLat);
  return 1;
}

}  // namespace

int XRSFileIO::GetGeoBounding(XString path, double* const x, double* const y) {
  bool isLonLat = false;
  return GetGeoBounding(path, x, y, isLonLat);
}

int XRSFileIO::GetGeoBounding(XString path, double* const x, double* const y, bool& isLonLat) {
  isLonLat = false;
  if (!x || !y) return 0;
  const Corners corners{x, y};
  corners.Clear();
  // Memory that runs out is a failure; what is raised on purpose goes on to the caller.
  try {
    switch (GetIDFromExt(XfnGetFileExt(path))) {
      case kFormatZRM:
        return BoundNativeRaster(path, corners);
      case kFormatTIF:
        return BoundTiff(path, corners, isLonLat);
      default:
        return 0;
    }
  } catch (const std::bad_alloc&) {
    return 0;
  }
}
