#pragma once

#include "XCIBframe.h"
#include "ZRMBand.h"

#include <cstdint>
#include <cstring>

namespace zrk {

/// Whether a window lies on the pixels of a frame, which a band's size that was set to another does not tell.
inline bool IsOnFrame(int x0, int x1, int y0, int y1) {
  return 0 <= x0 && x0 <= x1 && x1 < XCIBframe::kSide && 0 <= y0 && y0 <= y1 && y1 < XCIBframe::kSide;
}

/// Copies a window of one plane of a frame; in one piece where it has whole rows.
inline void CopyFromPlane(const unsigned char* plane, int x0, int x1, int y0, int y1, unsigned char* target) {
  const auto width = static_cast<std::size_t>(x1 - x0 + 1);
  const auto height = static_cast<std::size_t>(y1 - y0 + 1);
  const unsigned char* source = plane + static_cast<std::ptrdiff_t>(y0) * XCIBframe::kSide + x0;
  if (width == XCIBframe::kSide) {
    std::memcpy(target, source, width * height);
    return;
  }
  for (std::size_t row = 0; row < height; ++row) {
    std::memcpy(target + row * width, source + row * XCIBframe::kSide, width);
  }
}

/// Gives a band the size of a frame, and its place on the earth. The corner is that of the upper left pixel's outer
/// edges as the coverage has it.
inline void PlaceAsFrame(ZRMBand& band, double ulx, double uly, double xPixelSize, double yPixelSize) {
  band.SetSize(XCIBframe::kSide, XCIBframe::kSide);
  band.SetDataType(kPint08);
  band.SetPixelSize(xPixelSize, yPixelSize);
  band.SetUpperLeft(ulx, uly);
  band.SetCoordinateKind(kCoordinateWorld);
  XSpatialReference wgs84;
  wgs84.SetWellKnownGeogCS("WGS84");
  band.SetSR(wgs84);
}

/// Sets the band's transform by the four corners, where these make a rectangle along the axes, since intervals are
/// rounded in some products. Otherwise it is that of the north-west corner and the intervals.
inline void PlaceByCorners(ZRMBand& band, const tagCoverageSectionSubheaderRPF& c) {
  const bool isUpright = c.nwLatitude == c.neLatitude && c.swLatitude == c.seLatitude &&
                         c.nwLongitude == c.swLongitude && c.neLongitude == c.seLongitude;
  const double width = c.neLongitude - c.nwLongitude, height = c.nwLatitude - c.swLatitude;
  const bool areCorners = isUpright && width > 0.0 && height > 0.0;
  const double xStep = areCorners ? width / XCIBframe::kSide : c.horizontalInterval;
  const double yStep = areCorners ? height / XCIBframe::kSide : c.verticalInterval;
  const double transform[6] = {c.nwLongitude, xStep, 0.0, c.nwLatitude, 0.0, -yStep};
  band.SetGeoTransform(transform);
}

}  // namespace zrk
