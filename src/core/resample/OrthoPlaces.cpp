// From the pixels of a map to the positions at which a sensor saw them. A tile of the map goes through three steps:
// longitudes and latitudes of its pixels, the heights of the ground there, and the positions.
//
// The sensor model is slow to ask, so most places are interpolated (docs/decisions/0035). Heights are asked for each
// pixel, since terrain is rough. Longitudes and latitudes are straight between the corners of a cell. Positions lie on
// a surface of second degree through nine pixels of a cell, and change linearly between two heights that enclose the
// ground of the cell. Four more pixels of a cell test the surface. A cell is divided if it is off by more than a
// fiftieth of a pixel there.

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

/// Positions that a cell is worked out from: what a surface takes, and those that it is held against.
struct OrthoPlaces::Lattice {
  static constexpr std::size_t kCorners = 4, kFirstLow = 9, kFirstHigh = kFirstLow + kCorners;
  static constexpr std::size_t kFirstProbe = kFirstHigh + kCorners, kProbes = 4, kCount = kFirstProbe + kProbes;

  Cell cell;
  Layers layers;
  std::array<double, kCount> x{};
  std::array<double, kCount> y{};
  OrthoBounds bounds;  ///< of those that are found
  int numFound = 0;

  double MiddleU() const { return ShareOf(cell.MiddleX(), cell.x0, cell.x1); }
  double MiddleV() const { return ShareOf(cell.MiddleY(), cell.y0, cell.y1); }
  OrthoSurface SurfaceOfX() const { return {x.data(), MiddleU(), MiddleV()}; }
  OrthoSurface SurfaceOfY() const { return {y.data(), MiddleU(), MiddleV()}; }
  bool IsFound() const { return numFound == static_cast<int>(kCount); }
  bool IsNear() const;
};

namespace {

/// A pixel of a cell that its surface is held against, away from the nodes and at no even distance from them.
struct OrthoProbe {
  int x, y;
  double t;  ///< at the lower height or at the upper one, see `OrthoSurface::At`

  OrthoProbe(const OrthoCell& cell, std::size_t index) {
    constexpr double kShares[][3] = {{0.22, 0.27, -0.5}, {0.77, 0.24, 0.5}, {0.26, 0.78, 0.5}, {0.73, 0.74, -0.5}};
    x = cell.x0 + static_cast<int>(std::lround(kShares[index][0] * (cell.x1 - cell.x0)));
    y = cell.y0 + static_cast<int>(std::lround(kShares[index][1] * (cell.y1 - cell.y0)));
    t = kShares[index][2];
  }
};

}  // namespace

/// Whether the probes lie on the surfaces, and the corners halfway between the heights.
bool OrthoPlaces::Lattice::IsNear() const {
  constexpr std::size_t kCornerNodes[kCorners] = {0, 2, 6, 8};
  for (std::size_t i = 0; i < kCorners; ++i) {
    const std::size_t low = kFirstLow + i, high = kFirstHigh + i, middle = kCornerNodes[i];
    const double error = std::hypot(0.5 * (x[low] + x[high]) - x[middle], 0.5 * (y[low] + y[high]) - y[middle]);
    if (!(error <= kMaxPositionError)) return false;
  }
  const OrthoSurface toX = SurfaceOfX(), toY = SurfaceOfY();
  for (std::size_t i = 0; i < kProbes; ++i) {
    const OrthoProbe probe(cell, i);
    const double u = ShareOf(probe.x, cell.x0, cell.x1), v = ShareOf(probe.y, cell.y0, cell.y1);
    const double error =
        std::hypot(toX.At(u, v, probe.t) - x[kFirstProbe + i], toY.At(u, v, probe.t) - y[kFirstProbe + i]);
    if (!(error <= kMaxPositionError)) return false;
  }
  return true;
}

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
  Lattice lattice;
  FindLattice(cell, layers, lattice);
  if (IsOutside(cell, lattice)) return Clear(cell);
  if (lattice.IsFound() && lattice.IsNear()) return Spread(cell, lattice);
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

void OrthoPlaces::FindLattice(const Cell& cell, const Layers& layers, Lattice& lattice) const {
  std::array<double, Lattice::kCount> lon, lat, height;
  std::size_t count = 0;
  const auto add = [&](int x, int y, double metres) {
    lon[count] = lon_[IndexOf(x, y)];
    lat[count] = lat_[IndexOf(x, y)];
    height[count++] = metres;
  };
  for (const int y : {cell.y0, cell.MiddleY(), cell.y1}) {
    for (const int x : {cell.x0, cell.MiddleX(), cell.x1}) add(x, y, layers.Middle());
  }
  for (const double metres : {layers.low, layers.high}) {
    for (const int y : {cell.y0, cell.y1}) {
      for (const int x : {cell.x0, cell.x1}) add(x, y, metres);
    }
  }
  for (std::size_t i = 0; i < Lattice::kProbes; ++i) {
    const OrthoProbe probe(cell, i);
    add(probe.x, probe.y, probe.t < 0.0 ? layers.low : layers.high);
  }
  lattice.cell = cell;
  lattice.layers = layers;
  source_.model->FindPixels(lon.data(), lat.data(), height.data(), static_cast<int>(count), lattice.x.data(),
                            lattice.y.data());
  for (std::size_t i = 0; i < count; ++i) lattice.numFound += lattice.bounds.Add(lattice.x[i], lattice.y[i]);
}

/// Whether nothing of the image can show in a cell: all positions lie beyond one edge. Where none is known the cell has
/// to be small enough for the image not to pass between.
bool OrthoPlaces::IsOutside(const Cell& cell, const Lattice& lattice) const {
  if (lattice.numFound == 0) return std::max(cell.Width(), cell.Height()) * tile_.step < 0.5 * source_.thickness;
  const OrthoBounds& bounds = lattice.bounds;
  const bool isBeyond = bounds.maxX < -1.0 || bounds.maxY < -1.0 || bounds.minX > source_.band->GetXSize() ||
                        bounds.minY > source_.band->GetYSize();
  return isBeyond && lattice.IsFound();
}

/// A surface of second degree reaches beyond its nodes by less than twice its bend.
void OrthoPlaces::Spread(const Cell& cell, const Lattice& lattice) {
  const int width = cell.Width();
  const double perPixel = width > 1 ? 1.0 / (width - 1) : 0.0;
  const double middle = lattice.layers.Middle(), perMetre = 1.0 / (lattice.layers.high - lattice.layers.low);
  const OrthoSurface surfaceOfX = lattice.SurfaceOfX(), surfaceOfY = lattice.SurfaceOfY();
  for (int y = cell.y0; y <= cell.y1; ++y) {
    const double v = ShareOf(y, cell.y0, cell.y1);
    const OrthoRow toX = surfaceOfX.RowAt(v, perPixel, perMetre), toY = surfaceOfY.RowAt(v, perPixel, perMetre);
    const std::size_t first = IndexOf(cell.x0, y);
    const double* const heights = &height_[first];
    double* const xs = &x_[first];
    double* const ys = &y_[first];
    for (int i = 0; i < width; ++i) {
      const double metres = heights[i] - middle;
      xs[i] = toX.At(i, metres);
      ys[i] = toY.At(i, metres);
    }
  }
  bounds_.Add(lattice.bounds, 2.0 * surfaceOfX.FindBend() + kMaxPositionError,
              2.0 * surfaceOfY.FindBend() + kMaxPositionError);
  isWhole_ = isWhole_ && lattice.layers.isWhole;
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
