// The grid of a map that shows the whole of an image. The image is located at a lattice of positions, and densely along
// its rim. The map reaches from the outermost of these places to the opposite ones, and some pixels beyond, because
// terrain between them may lean further out.

#include "base/Failure.h"
#include "base/Fence.h"
#include "core/resample/OrthoScale.h"
#include "XCoordinateTransformation.h"
#include "ZRMBandOrtho.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

namespace zrk {
namespace {

/// Steps of the lattice along each side of the image.
constexpr int kLatticeSteps = 64;
/// Pixels of the map beyond the outermost places.
constexpr double kMapMargin = 2.0;

/// Positions spread evenly over the image, from the outer edge of its first pixels to that of the last.
OrthoPoints SpreadPositions(const ZRMBand& band) {
  OrthoPoints positions;
  for (int j = 0; j <= kLatticeSteps; ++j) {
    for (int i = 0; i <= kLatticeSteps; ++i) {
      positions.x.push_back(static_cast<double>(band.GetXSize()) * i / kLatticeSteps - 0.5);
      positions.y.push_back(static_cast<double>(band.GetYSize()) * j / kLatticeSteps - 0.5);
    }
  }
  return positions;
}

/// A place about the middle of those that were found; false where none was.
bool FindMiddle(const OrthoPoints& places, double& lon, double& lat) {
  const std::size_t middle = places.x.size() / 2;
  for (std::size_t i = 0; i < places.x.size(); ++i) {
    // Outward from the middle, to both sides in turn.
    const std::size_t at = i % 2 == 0 ? middle - i / 2 : middle + (i + 1) / 2;
    if (at >= places.x.size() || !std::isfinite(places.x[at])) continue;
    lon = places.x[at];
    lat = places.y[at];
    return true;
  }
  return false;
}

/// UTM ends at 84 degrees north and 80 south.
bool ChooseSystem(double lon, double lat, XSpatialReference& system) {
  // Codes of EPSG: universal polar stereographic with the easting first, and what lies before zone 1.
  constexpr int kArctic = 5041, kAntarctic = 5042, kNorthernZones = 32600, kSouthernZones = 32700;
  constexpr double kZoneWidth = 6.0;
  if (lat >= 84.0 || lat < -80.0) return system.importFromEPSG(lat > 0.0 ? kArctic : kAntarctic) != 0;
  const int zone = static_cast<int>(std::floor((lon + 180.0) / kZoneWidth)) % 60 + 1;
  return system.importFromEPSG(zone + (lat >= 0.0 ? kNorthernZones : kSouthernZones)) != 0;
}

/// Three digits are as many as the place of a pixel is worth.
double RoundToThreeDigits(double value) {
  const double unit = std::pow(10.0, std::floor(std::log10(value)) - 2.0);
  return std::round(value / unit) * unit;
}

struct MapBounds {
  double west = std::numeric_limits<double>::infinity();
  double east = -west;
  double south = west;
  double north = -west;

  void Add(double x, double y) {
    west = std::min(west, x), east = std::max(east, x);
    south = std::min(south, y), north = std::max(north, y);
  }
  bool IsEmpty() const { return !(west <= east && south <= north); }
};

/// In degrees, longitudes are those nearest to `lon`, so that an image across the date line stays in one piece.
MapBounds FindBounds(const OrthoPoints& places, const XCoordinateTransformation* toSystem, double lon) {
  MapBounds bounds;
  for (std::size_t i = 0; i < places.x.size(); ++i) {
    double x = places.x[i], y = places.y[i];
    if (!std::isfinite(x) || !std::isfinite(y) || (toSystem && !toSystem->TransformPt(x, y))) continue;
    bounds.Add(toSystem ? x : lon + std::remainder(x - lon, 360.0), y);
  }
  return bounds;
}

/// Edges are multiples of the pixel size, so that maps of one pixel size fit onto each other.
bool SetGridEdges(const MapBounds& bounds, tagXOrthoGrid& grid, XString& err) {
  const double west = std::floor(bounds.west / grid.pixelSize - kMapMargin);
  const double north = std::ceil(bounds.north / grid.pixelSize + kMapMargin);
  const double width = std::ceil(bounds.east / grid.pixelSize + kMapMargin) - west;
  const double height = north - std::floor(bounds.south / grid.pixelSize - kMapMargin);
  if (!(width < INT_MAX && height < INT_MAX)) return FailWith(err, "The map would have too many pixels");
  grid.west = west * grid.pixelSize;
  grid.north = north * grid.pixelSize;
  grid.xSize = static_cast<int>(width);
  grid.ySize = static_cast<int>(height);
  return true;
}

bool PlanOrtho(const ZRMBand& source, const XSensorModel& model, tagXOrthoGrid& grid, XString& err) {
  const OrthoPoints places = LocateOnGround(model, SpreadPositions(source));
  double lon = 0.0, lat = 0.0;
  if (!FindMiddle(places, lon, lat)) return FailWith(err, "No pixel of the image shows the ground");
  XSpatialReference wgs84;
  const bool hasSystem = !grid.sr.IsEmpty() || ChooseSystem(lon, lat, grid.sr);
  if (!hasSystem || !wgs84.SetWellKnownGeogCS("WGS84")) return FailWith(err, "The system of the map isn't known");
  const bool isInDegrees = grid.sr.IsSame(wgs84) != 0;
  const auto toSystem = isInDegrees ? nullptr : XfnCreateCoordTrans(wgs84, grid.sr);
  if (!isInDegrees && !toSystem) return FailWith(err, "No way leads from longitude and latitude to the map's system");
  if (grid.pixelSize == 0.0) {
    const OrthoStep step = MeasureStep(model, source, toSystem.get());
    if (!(step.column > 0.0)) return FailWith(err, "The pixel size can't be told from the image");
    grid.pixelSize = RoundToThreeDigits(std::min(step.column, step.line));
  }
  const MapBounds bounds = FindBounds(places, toSystem.get(), lon);
  if (bounds.IsEmpty()) return FailWith(err, "The system of the map does not have the places of the image");
  return SetGridEdges(bounds, grid, err);
}

}  // namespace
}  // namespace zrk

int XfnPlanOrtho(ZRMBand* source, tagXOrthoGrid& grid, XString& err) {
  return zrk::Fenced(err, [&] {
    const XSensorModel* const model = XfnFindSensorModel(source);
    if (!model) return zrk::FailWith(err, "The image has no sensor model");
    if (!(grid.pixelSize >= 0.0 && std::isfinite(grid.pixelSize))) {
      return zrk::FailWith(err, "The map has no pixels");
    }
    tagXOrthoGrid planned = grid;
    if (!zrk::PlanOrtho(*source, *model, planned, err)) return 0;
    grid = planned;
    return 1;
  });
}
