// The way from a pixel of a map to the position that a sensor saw it at. Three steps go over a tile: longitudes and
// latitudes of its pixels, the heights of the ground there, and the positions.
//
// Only the heights are asked for each pixel, since terrain is rough. Longitudes and latitudes are straight between the
// corners of a cell, and so are positions, at each of two heights between which all of the cell lies. Five pixels of a
// cell are worked out exactly as well. A cell that is off there by more than a fiftieth of a pixel is divided.

#include "core/resample/OrthoPlaces.h"

#include "XCoordinateTransformation.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zrk {
namespace {

/// What interpolated positions may be off by, in pixels of the source.
constexpr double kMaxPositionError = 0.02;
/// What interpolated longitudes and latitudes may be off by, in pixels of the grid.
constexpr double kMaxPlaceError = 0.005;
/// Cells of this side are worked out pixel by pixel: their corners and probes would be as many.
constexpr int kExactSide = 4;
/// The least distance of the two heights, in metres.
constexpr double kMinLayerDistance = 1.0;

constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();

/// The share of the way from the first pixel of a row to its last.
double ShareOf(int i, int first, int last) {
  return last > first ? static_cast<double>(i - first) / (last - first) : 0.0;
}

/// Between four values: upper left, upper right, lower left, lower right.
double Between(const double* corners, double u, double v) {
  const double upper = corners[0] + (corners[1] - corners[0]) * u;
  const double lower = corners[2] + (corners[3] - corners[2]) * u;
  return upper + (lower - upper) * v;
}

/// Longitudes beside each other may lie on both sides of the date line.
double NearTo(double lon, double other) {
  if (lon - other > 180.0) return lon - 360.0;
  return lon - other < -180.0 ? lon + 360.0 : lon;
}

double WithinTheEarth(double lon) {
  return lon >= -180.0 && lon < 180.0 ? lon : lon - 360.0 * std::floor((lon + 180.0) / 360.0);
}

}  // namespace

bool OrthoWay::Open(const XSpatialReference& system) {
  XSpatialReference wgs84;
  if (system.IsEmpty() || !wgs84.SetWellKnownGeogCS("WGS84")) return false;
  if (system.IsSame(wgs84)) return true;
  way_ = XfnCreateCoordTrans(system, wgs84);
  return way_ != nullptr;
}

void OrthoWay::ToLonLat(double& x, double& y) const {
  const bool isPlace = way_ ? way_->TransformPt(x, y) != 0 : std::abs(y) <= 90.0;
  if (isPlace) {
    x = WithinTheEarth(x);
  } else {
    x = y = kNowhere;
  }
}

/// Positions of the corners at the lower height, then at the upper one.
struct OrthoPlaces::Corners {
  std::array<double, 8> x;
  std::array<double, 8> y;
  Layers layers;

  double ShareOfHeight(double height) const { return (height - layers.low) / (layers.high - layers.low); }
  double XAt(double u, double v, double t) const {
    const double low = Between(x.data(), u, v);
    return low + (Between(x.data() + 4, u, v) - low) * t;
  }
  double YAt(double u, double v, double t) const {
    const double low = Between(y.data(), u, v);
    return low + (Between(y.data() + 4, u, v) - low) * t;
  }
  bool AreFound() const {
    const auto isFinite = [](double value) { return std::isfinite(value); };
    return std::ranges::all_of(x, isFinite) && std::ranges::all_of(y, isFinite);
  }
};

OrthoPlaces::OrthoPlaces(const OrthoSource& source) : source_(source) {
  constexpr std::size_t kMaxPixels = std::size_t{OrthoTile::kMaxSide} * OrthoTile::kMaxSide;
  for (std::vector<double>* const each : {&lon_, &lat_, &height_, &x_, &y_}) each->resize(kMaxPixels);
}

std::size_t OrthoPlaces::IndexOf(int x, int y) const {
  return static_cast<std::size_t>(y) * static_cast<std::size_t>(tile_.width) + static_cast<std::size_t>(x);
}

void OrthoPlaces::Find(const OrthoTile& tile) {
  tile_ = tile;
  const Cell whole{0, tile.width - 1, 0, tile.height - 1};
  FindPlaces(whole);
  source_.model->FindHeights(lon_.data(), lat_.data(), tile.width * tile.height, height_.data());
  FindPositions(whole);
}

/// Calls the work for the parts of a cell. A side of one pixel stays whole.
template <class Work>
void OrthoPlaces::Divide(const Cell& cell, Work&& work) {
  const int midX = (cell.x0 + cell.x1) / 2, midY = (cell.y0 + cell.y1) / 2;
  work(Cell{cell.x0, midX, cell.y0, midY});
  if (midX < cell.x1) work(Cell{midX + 1, cell.x1, cell.y0, midY});
  if (midY < cell.y1) work(Cell{cell.x0, midX, midY + 1, cell.y1});
  if (midX < cell.x1 && midY < cell.y1) work(Cell{midX + 1, cell.x1, midY + 1, cell.y1});
}

/// Of the centre of a pixel of the tile, whose number may have a fraction.
void OrthoPlaces::PlaceAt(double x, double y, double& lon, double& lat) const {
  const tagXOrthoGrid& grid = source_.grid;
  lon = grid.west + (tile_.x0 + x * tile_.step + 0.5) * grid.pixelSize;
  lat = grid.north - (tile_.y0 + y * tile_.step + 0.5) * grid.pixelSize;
  source_.way.ToLonLat(lon, lat);
}

void OrthoPlaces::FindPlaces(const Cell& cell) {
  const bool isSmall = cell.Width() <= kExactSide && cell.Height() <= kExactSide;
  if (!isSmall && SpreadPlaces(cell)) return;
  if (!isSmall) return Divide(cell, [this](const Cell& part) { FindPlaces(part); });
  for (int y = cell.y0; y <= cell.y1; ++y) {
    for (int x = cell.x0; x <= cell.x1; ++x) PlaceAt(x, y, lon_[IndexOf(x, y)], lat_[IndexOf(x, y)]);
  }
}

/// Fills a cell from its corners; false where the place in its middle is off. The error is told in pixels by the
/// diagonal of the cell.
bool OrthoPlaces::SpreadPlaces(const Cell& cell) {
  std::array<double, 4> lon, lat;
  PlaceAt(cell.x0, cell.y0, lon[0], lat[0]);
  PlaceAt(cell.x1, cell.y0, lon[1], lat[1]);
  PlaceAt(cell.x0, cell.y1, lon[2], lat[2]);
  PlaceAt(cell.x1, cell.y1, lon[3], lat[3]);
  double midLon = 0.0, midLat = 0.0;
  PlaceAt(0.5 * (cell.x0 + cell.x1), 0.5 * (cell.y0 + cell.y1), midLon, midLat);
  for (double& each : lon) each = NearTo(each, midLon);
  const double diagonal = std::hypot(lon[3] - lon[0], lat[3] - lat[0]);
  const double numPixels = std::hypot(cell.Width(), cell.Height());
  const double error = std::hypot(Between(lon.data(), 0.5, 0.5) - midLon, Between(lat.data(), 0.5, 0.5) - midLat);
  if (!(error * numPixels <= kMaxPlaceError * diagonal)) return false;
  for (int y = cell.y0; y <= cell.y1; ++y) {
    const double v = ShareOf(y, cell.y0, cell.y1);
    for (int x = cell.x0; x <= cell.x1; ++x) {
      const double u = ShareOf(x, cell.x0, cell.x1);
      lon_[IndexOf(x, y)] = WithinTheEarth(Between(lon.data(), u, v));
      lat_[IndexOf(x, y)] = Between(lat.data(), u, v);
    }
  }
  return true;
}

/// A cell without any height shows nothing.
void OrthoPlaces::FindPositions(const Cell& cell) {
  Layers layers;
  if (!FindLayers(cell, layers)) return Clear(cell);
  if (cell.Width() <= kExactSide && cell.Height() <= kExactSide) return FindExactly(cell);
  const Corners corners = FindCorners(cell, layers);
  const std::array<double, 10> probes = Probe(cell, layers);
  if (IsOutside(cell, corners, probes)) return Clear(cell);
  if (corners.AreFound() && IsNear(cell, corners, probes)) return Spread(cell, corners);
  Divide(cell, [this](const Cell& part) { FindPositions(part); });
}

bool OrthoPlaces::FindLayers(const Cell& cell, Layers& layers) const {
  double low = std::numeric_limits<double>::infinity(), high = -low;
  for (int y = cell.y0; y <= cell.y1; ++y) {
    for (int x = cell.x0; x <= cell.x1; ++x) {
      const double height = height_[IndexOf(x, y)];
      low = height < low ? height : low;
      high = height > high ? height : high;
    }
  }
  layers = {low, std::max(high, low + kMinLayerDistance)};
  return std::isfinite(low) && std::isfinite(high);
}

OrthoPlaces::Corners OrthoPlaces::FindCorners(const Cell& cell, const Layers& layers) const {
  const std::array<std::size_t, 4> at = {IndexOf(cell.x0, cell.y0), IndexOf(cell.x1, cell.y0),
                                         IndexOf(cell.x0, cell.y1), IndexOf(cell.x1, cell.y1)};
  std::array<double, 8> lon, lat, height;
  for (std::size_t i = 0; i < 8; ++i) {
    lon[i] = lon_[at[i % 4]];
    lat[i] = lat_[at[i % 4]];
    height[i] = i < 4 ? layers.low : layers.high;
  }
  Corners corners;
  corners.layers = layers;
  source_.model->FindPixels(lon.data(), lat.data(), height.data(), 8, corners.x.data(), corners.y.data());
  return corners;
}

namespace {

/// The pixels of a cell that are worked out exactly: its middle, and the middles of its edges.
template <class Cell>
std::array<std::array<int, 2>, 5> ProbesOf(const Cell& cell) {
  const int midX = (cell.x0 + cell.x1) / 2, midY = (cell.y0 + cell.y1) / 2;
  return {{{midX, midY}, {midX, cell.y0}, {midX, cell.y1}, {cell.x0, midY}, {cell.x1, midY}}};
}

}  // namespace

/// The five columns, then the five rows, halfway between the two heights, where a straight line between these is off
/// most.
std::array<double, 10> OrthoPlaces::Probe(const Cell& cell, const Layers& layers) const {
  std::array<double, 5> lon, lat, height;
  const auto pixels = ProbesOf(cell);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const std::size_t at = IndexOf(pixels[i][0], pixels[i][1]);
    lon[i] = lon_[at];
    lat[i] = lat_[at];
    height[i] = 0.5 * (layers.low + layers.high);
  }
  std::array<double, 10> positions;
  source_.model->FindPixels(lon.data(), lat.data(), height.data(), 5, positions.data(), positions.data() + 5);
  return positions;
}

/// Whether nothing of the image can show in a cell: all positions lie beyond one edge. Where none is known the cell has
/// to be small enough for the image not to pass between.
bool OrthoPlaces::IsOutside(const Cell& cell, const Corners& corners, const std::array<double, 10>& probes) const {
  double minX = std::numeric_limits<double>::infinity(), minY = minX, maxX = -minX, maxY = -minX;
  int numFound = 0;
  const auto add = [&](double x, double y) {
    if (!std::isfinite(x) || !std::isfinite(y)) return;
    ++numFound;
    minX = std::min(minX, x), maxX = std::max(maxX, x);
    minY = std::min(minY, y), maxY = std::max(maxY, y);
  };
  for (std::size_t i = 0; i < 8; ++i) add(corners.x[i], corners.y[i]);
  for (std::size_t i = 0; i < 5; ++i) add(probes[i], probes[i + 5]);
  if (numFound == 0) return std::max(cell.Width(), cell.Height()) * tile_.step < 0.5 * source_.thickness;
  constexpr int kNumAsked = 13;
  const bool isBeyond =
      maxX < -1.0 || maxY < -1.0 || minX > source_.band->GetXSize() || minY > source_.band->GetYSize();
  return isBeyond && numFound == kNumAsked;
}

/// Whether the probes lie where their corners say.
bool OrthoPlaces::IsNear(const Cell& cell, const Corners& corners, const std::array<double, 10>& probes) const {
  const auto pixels = ProbesOf(cell);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const auto [x, y] = pixels[i];
    const double u = ShareOf(x, cell.x0, cell.x1), v = ShareOf(y, cell.y0, cell.y1);
    const double error = std::hypot(corners.XAt(u, v, 0.5) - probes[i], corners.YAt(u, v, 0.5) - probes[i + 5]);
    if (!(error <= kMaxPositionError)) return false;
  }
  return true;
}

void OrthoPlaces::Spread(const Cell& cell, const Corners& corners) {
  for (int y = cell.y0; y <= cell.y1; ++y) {
    const double v = ShareOf(y, cell.y0, cell.y1);
    for (int x = cell.x0; x <= cell.x1; ++x) {
      const double u = ShareOf(x, cell.x0, cell.x1);
      const std::size_t at = IndexOf(x, y);
      const double t = corners.ShareOfHeight(height_[at]);
      x_[at] = corners.XAt(u, v, t);
      y_[at] = corners.YAt(u, v, t);
    }
  }
}

void OrthoPlaces::FindExactly(const Cell& cell) {
  for (int y = cell.y0; y <= cell.y1; ++y) {
    const std::size_t at = IndexOf(cell.x0, y);
    source_.model->FindPixels(&lon_[at], &lat_[at], &height_[at], cell.Width(), &x_[at], &y_[at]);
  }
}

void OrthoPlaces::Clear(const Cell& cell) {
  for (int y = cell.y0; y <= cell.y1; ++y) {
    std::fill_n(&x_[IndexOf(cell.x0, y)], cell.Width(), kNowhere);
    std::fill_n(&y_[IndexOf(cell.x0, y)], cell.Width(), kNowhere);
  }
}

}  // namespace zrk
