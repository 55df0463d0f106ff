// What GDAL says of a NITF file, as a record for the bands: their size, their types, and where the image lies. The
// header of the image tells one thing that GDAL does not: whether bytes have a sign.
//
// The place comes as a transform or as four corner points. `FindNitfCorners` gives the corners in longitude and
// latitude. It takes them from the header if the header has them in degrees, then from the transform, and last from the
// points.

#include "bands/nitf/NitfLayout.h"

#include "geo/GdalRaster.h"
#include "XCoordinateTransformation.h"
#include "XDataType.h"
#include "XSpatialReference.h"

#include <gdal_priv.h>

namespace zrk {

namespace {

XColourRole RoleOf(GDALColorInterp colour) {
  switch (colour) {
    case GCI_GrayIndex:
      return kRoleGrey;
    case GCI_RedBand:
      return kRoleRed;
    case GCI_GreenBand:
      return kRoleGreen;
    case GCI_BlueBand:
      return kRoleBlue;
    case GCI_AlphaBand:
      return kRoleAlpha;
    default:
      return kRoleUnknown;
  }
}

/// GDAL does not tell signed bytes apart here, and the header does.
NitfBand BandOf(GDALRasterBand& band, const NitfImage& image) {
  NitfBand described;
  described.dataType = DataTypeOf(band.GetRasterDataType());
  if (described.dataType == kPint08 && image.kind == "SI" && image.numBits == 8) described.dataType = kSint08;
  described.role = RoleOf(band.GetColorInterpretation());
  int hasNull = 0;
  const double nullValue = band.GetNoDataValue(&hasNull);
  if (hasNull) described.nullValue = nullValue;
  return described;
}

/// Four corners that no transform leads to are listed by GDAL as points, in the order that we have.
void TakePoints(GDALDataset& dataset, NitfLayout& layout) {
  constexpr int kNumCorners = 4;
  const GDAL_GCP* const points = dataset.GetGCPs();
  if (dataset.GetGCPCount() != kNumCorners || !points) return;
  const OGRSpatialReference* const system = dataset.GetGCPSpatialRef();
  if (!system || !system->IsGeographic()) return;
  layout.points.emplace();
  for (std::size_t i = 0; i < kNumCorners; ++i) {
    (*layout.points)[2 * i] = points[i].dfGCPX;
    (*layout.points)[2 * i + 1] = points[i].dfGCPY;
  }
}

}  // namespace

bool DescribeNitf(GDALDataset& dataset, NitfLayout& layout, XString& reason) {
  const int count = dataset.GetRasterCount();
  if (count < 1) {
    reason = "The file has no image";
    return false;
  }
  layout.grid = GridOf(*dataset.GetRasterBand(1));
  for (int i = 1; i <= count; ++i) {
    GDALRasterBand& band = *dataset.GetRasterBand(i);
    if (!IsWithinLimits(layout.grid) || GridOf(band) != layout.grid) {
      reason = "The image is too large for the limits";
      return false;
    }
    layout.bands.push_back(BandOf(band, layout.image));
  }
  std::array<double, 6> transform{};
  if (dataset.GetGeoTransform(transform.data()) == CE_None) layout.transform = transform;
  if (!layout.transform) TakePoints(dataset, layout);
  layout.wkt = WktOf(dataset);
  return true;
}

std::optional<std::array<double, 8>> FindNitfCorners(const NitfLayout& layout) {
  if (const auto told = ParseNitfCorners(layout.image)) return told;
  if (!layout.transform) return layout.points;
  XSpatialReference system, wgs84;
  if (!system.importFromWkt(layout.wkt) || !wgs84.SetWellKnownGeogCS("WGS84")) return std::nullopt;
  const auto toDegrees = XfnCreateCoordTrans(system, wgs84);
  if (!toDegrees) return std::nullopt;
  const std::array<double, 6>& t = *layout.transform;
  const double left = 0.5, top = 0.5, right = layout.grid.width - 0.5, bottom = layout.grid.height - 0.5;
  const std::array<std::array<double, 2>, 4> pixels = {{{left, top}, {right, top}, {right, bottom}, {left, bottom}}};
  std::array<double, 8> corners{};
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const auto [column, row] = pixels[i];
    double x = t[0] + column * t[1] + row * t[2], y = t[3] + column * t[4] + row * t[5];
    if (!toDegrees->TransformPt(x, y)) return std::nullopt;
    corners[2 * i] = x;
    corners[2 * i + 1] = y;
  }
  return corners;
}

}  // namespace zrk
