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

/// Longitudes beside each other may lie on both sides of the date line.
double NearTo(double lon, double other) {
  if (lon - other > 180.0) return lon - 360.0;
  return lon - other < -180.0 ? lon + 360.0 : lon;
}

double WithinTheEarth(double lon) {
  return lon >= -180.0 && lon < 180.0 ? lon : lon - 360.0 * std::floor((lon + 180.0) / 360.0);
}

/// Values at even steps from the first to the last.
void FillEvenly(double first, double last, int count, double* values) {
  const double step = count > 1 ? (last - first) / (count - 1) : 0.0;
  for (int i = 0; i < count; ++i) values[i] = first + i * step;
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

  /// Halfway between the heights.
  static double HalfwayAt(const std::array<double, 8>& corners, double u, double v) {
    return 0.5 * (Between(corners.data(), u, v) + Between(corners.data() + 4, u, v));
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
  bounds_ = {};
  isWhole_ = true;
  const Cell whole{0, tile.width - 1, 0, tile.height - 1};
  FindPlaces(whole);
  source_.model->FindHeights(lon_.data(), lat_.data(), tile.width * tile.height, height_.data());
  FindPositions(whole);
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
  if (!isSmall) return cell.Divide([this](const Cell& part) { FindPlaces(part); });
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
  const bool isOnOneTurn = std::ranges::all_of(lon, [](double each) { return WithinTheEarth(each) == each; });
  for (int y = cell.y0; y <= cell.y1; ++y) {
    const double v = ShareOf(y, cell.y0, cell.y1);
    double* const lons = &lon_[IndexOf(cell.x0, y)];
    FillEvenly(Between(lon.data(), 0.0, v), Between(lon.data(), 1.0, v), cell.Width(), lons);
    FillEvenly(Between(lat.data(), 0.0, v), Between(lat.data(), 1.0, v), cell.Width(), &lat_[IndexOf(cell.x0, y)]);
    if (!isOnOneTurn) std::transform(lons, lons + cell.Width(), lons, WithinTheEarth);
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
  cell.Divide([this](const Cell& part) { FindPositions(part); });
}

bool OrthoPlaces::FindLayers(const Cell& cell, Layers& layers) const {
  double low = std::numeric_limits<double>::infinity(), high = -low;
  int numKnown = 0;
  for (int y = cell.y0; y <= cell.y1; ++y) {
    const double* const heights = &height_[IndexOf(cell.x0, y)];
    for (int i = 0; i < cell.Width(); ++i) {
      low = heights[i] < low ? heights[i] : low;
      high = heights[i] > high ? heights[i] : high;
      numKnown += heights[i] == heights[i];
    }
  }
  layers = {low, std::max(high, low + kMinLayerDistance), numKnown == cell.Width() * cell.Height()};
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
  OrthoBounds bounds;
  int numFound = 0;
  for (std::size_t i = 0; i < 8; ++i) numFound += bounds.Add(corners.x[i], corners.y[i]);
  for (std::size_t i = 0; i < 5; ++i) numFound += bounds.Add(probes[i], probes[i + 5]);
  if (numFound == 0) return std::max(cell.Width(), cell.Height()) * tile_.step < 0.5 * source_.thickness;
  constexpr int kNumAsked = 13;
  const bool isBeyond = bounds.maxX < -1.0 || bounds.maxY < -1.0 || bounds.minX > source_.band->GetXSize() ||
                        bounds.minY > source_.band->GetYSize();
  return isBeyond && numFound == kNumAsked;
}

/// Whether the probes lie where their corners say.
bool OrthoPlaces::IsNear(const Cell& cell, const Corners& corners, const std::array<double, 10>& probes) const {
  const auto pixels = ProbesOf(cell);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const auto [x, y] = pixels[i];
    const double u = ShareOf(x, cell.x0, cell.x1), v = ShareOf(y, cell.y0, cell.y1);
    const double error = std::hypot(Corners::HalfwayAt(corners.x, u, v) - probes[i],
                                    Corners::HalfwayAt(corners.y, u, v) - probes[i + 5]);
    if (!(error <= kMaxPositionError)) return false;
  }
  return true;
}

void OrthoPlaces::Spread(const Cell& cell, const Corners& corners) {
  const int width = cell.Width();
  const double perPixel = width > 1 ? 1.0 / (width - 1) : 0.0;
  const double low = corners.layers.low, perMetre = 1.0 / (corners.layers.high - low);
  for (int y = cell.y0; y <= cell.y1; ++y) {
    const double v = ShareOf(y, cell.y0, cell.y1);
    const OrthoRamp toX(corners.x, v, perPixel, perMetre), toY(corners.y, v, perPixel, perMetre);
    const std::size_t first = IndexOf(cell.x0, y);
    const double* const heights = &height_[first];
    double* const xs = &x_[first];
    double* const ys = &y_[first];
    for (int i = 0; i < width; ++i) {
      const double metres = heights[i] - low;
      xs[i] = toX.At(i, metres);
      ys[i] = toY.At(i, metres);
    }
  }
  for (std::size_t i = 0; i < 8; ++i) bounds_.Add(corners.x[i], corners.y[i]);
  isWhole_ = isWhole_ && corners.layers.isWhole;
}

void OrthoPlaces::FindExactly(const Cell& cell) {
  const int width = cell.Width();
  for (int y = cell.y0; y <= cell.y1; ++y) {
    const std::size_t at = IndexOf(cell.x0, y);
    source_.model->FindPixels(&lon_[at], &lat_[at], &height_[at], width, &x_[at], &y_[at]);
    for (std::size_t i = at; i < at + static_cast<std::size_t>(width); ++i) {
      if (!bounds_.Add(x_[i], y_[i])) isWhole_ = false;
    }
  }
}

void OrthoPlaces::Clear(const Cell& cell) {
  isWhole_ = false;
  for (int y = cell.y0; y <= cell.y1; ++y) {
    std::fill_n(&x_[IndexOf(cell.x0, y)], cell.Width(), kNowhere);
    std::fill_n(&y_[IndexOf(cell.x0, y)], cell.Width(), kNowhere);
  }
}

}  // namespace zrk
