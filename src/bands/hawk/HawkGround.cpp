// Two ways to the ground.
//
// The compatible one cuts the line of sight with the ellipsoid, looks up the terrain there, raises the ellipsoid by
// that and cuts again, four times at most. It may settle on the far side of a hill, or nowhere.
//
// The exact one walks down the line of sight from above all mountains. Where the line is above the highest sample of a
// block of cells, it goes on to the end of the block or down to that height, whichever comes first. Below it goes from
// cell to cell. The ground of a cell is a surface of second degree, so the height above it along the line is nearly a
// parabola. Three values of that height tell whether the line dips into the ground between two borders. The place is
// then narrowed down between a point above the ground and a point beneath it.

#include "bands/hawk/HawkGround.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zrk {
namespace {

constexpr double kPolarAxis = 6356752.314245163;
constexpr double kPi = 3.141592653589793;
constexpr double kInfinite = std::numeric_limits<double>::infinity();

// No ground of the earth lies above the first or below the second, with the geoid on it.
constexpr double kAboveMountains = 9500.0;
constexpr double kBelowTrenches = -12500.0;

constexpr const char* kMissesEarth = "The line of sight misses the earth";
constexpr const char* kMissesGround = "The line of sight meets no ground of the terrain model";
constexpr const char* kBeneathGround =
    "The line of sight comes from beneath the terrain model, or from where it has no height";
constexpr const char* kGeoidUnknown = "The geoid is not known there";

/// A line of sight against the ellipsoid raised by a height, as a quadratic equation for the distance.
struct RaisedCut {
  double p, q, d;

  RaisedCut(const SightLine& sight, double height) {
    const SpacePoint &s = sight.origin, &l = sight.direction;
    const double a = height + kEarthRadius, b = height + kPolarAxis;
    const double a2 = a * a, b2 = b * b;
    p = (l.x * l.x + l.y * l.y) * b2 + l.z * l.z * a2;
    q = 2.0 * ((l.x * s.x + l.y * s.y) * b2 + l.z * s.z * a2);
    const double r = (s.z * s.z * a2 + (s.x * s.x + s.y * s.y) * b2) - a2 * b2;
    d = q * q - 4.0 * p * r;
  }
  bool IsMissed() const { return d < 0.0; }
  double First() const { return (-q - std::sqrt(d)) / (2.0 * p); }
  double Second() const { return (std::sqrt(d) - q) / (2.0 * p); }
  /// The cut that is nearer to the sensor, be it behind it.
  double Nearer() const {
    if (d == 0.0) return q / (p * -2.0);
    const double first = First(), second = Second();
    return std::abs(second) < std::abs(first) ? second : first;
  }
};

HawkGround::Place PlaceAt(const SightLine& sight, double distance) {
  const GroundPlace place = ToGround(sight.At(distance));
  return {place.lon * 180.0 / kPi, place.lat * 180.0 / kPi, place.height};
}

const char* Explain(HawkGrid::Answer answer) {
  switch (answer) {
    case HawkGrid::Answer::kVoid:
      return "The terrain model has no height there";
    case HawkGrid::Answer::kOutside:
      return "The place lies outside the terrain model";
    case HawkGrid::Answer::kUnreadable:
      return "The terrain model can't be read there";
    default:
      return nullptr;
  }
}

}  // namespace

/// How high a place of a line of sight lies above the ground, and where in the terrain model.
struct HawkGround::Clearance {
  double height = 0.0;
  HawkGrid::Value ground;
};

/// A walk down a line of sight. Distances are along it, in metres.
struct HawkGround::March {
  const SightLine& sight;
  double at;                  ///< where the walk is
  double end;                 ///< where it ends without having met any ground
  double above = -kInfinite;  ///< the last distance that is known to be above the ground
  Place place = {};           ///< at `at`
  double columnRate = 0.0;    ///< cells a metre
  double rowRate = 0.0;
  double sinkRate = 0.0;  ///< metres a metre

  void TakePlace(double columnsPerDegree, double rowsPerDegree);
  double DistanceToLeave(double column, double row, const HawkGrid::Block& block) const;
  double DistanceOfCells(double cells) const {
    return cells / std::max({std::abs(columnRate), std::abs(rowRate), 1e-9});
  }
};

HawkGround::HawkGround(const HawkTerrain& terrain) {
  if (terrain.dem) dem_.emplace(*terrain.dem);
  if (terrain.dem && terrain.geoid) geoid_.emplace(*terrain.geoid);
}

double HawkGround::GetCompatibleHeight(double lon, double lat) const {
  double height = 0.0, undulation = 0.0;
  if (!dem_ || !dem_->ReadPixel(lon, lat, height)) return 0.0;
  // Both are whole metres, the geoid's being those of a grid of centimetres.
  height = std::trunc(height);
  if (geoid_ && geoid_->ReadPixel(lon, lat, undulation)) height += std::trunc(std::trunc(undulation) / 100.0);
  return height;
}

const char* HawkGround::FindGround(double lon, double lat, HawkGrid::Value& ground) const {
  HawkGrid::Value undulation;
  if (dem_) {
    const HawkGrid::Answer answer = dem_->Interpolate(lon, lat, ground);
    if (answer != HawkGrid::Answer::kKnown) return Explain(answer);
  }
  if (geoid_ && geoid_->Interpolate(lon, lat, undulation) != HawkGrid::Answer::kKnown) return kGeoidUnknown;
  ground.value += undulation.value / 100.0;
  return nullptr;
}

const char* HawkGround::FindExactHeight(double lon, double lat, double& height) const {
  HawkGrid::Value ground;
  if (const char* const reason = FindGround(lon, lat, ground)) return reason;
  height = ground.value;
  return nullptr;
}

void HawkGround::FindExactHeights(const double* lon, const double* lat, int count, double* heights) const {
  constexpr int kTogether = 256;
  if (!dem_) {
    const auto heightAt = [](double x, double y) { return std::isfinite(x) && std::isfinite(y) ? 0.0 : NAN; };
    std::transform(lon, lon + count, lat, heights, heightAt);
    return;
  }
  dem_->InterpolateAll(lon, lat, count, heights);
  for (int first = 0; geoid_ && first < count; first += kTogether) {
    double undulations[kTogether];
    const int end = std::min(first + kTogether, count);
    geoid_->InterpolateAll(lon + first, lat + first, end - first, undulations);
    for (int i = first; i < end; ++i) heights[i] += undulations[i - first] / 100.0;
  }
}

bool HawkGround::FindCompatibly(const SightLine& sight, Place& place) const {
  constexpr int kPasses = 4;
  constexpr double kNear = 1.0;  // metres
  double height = 0.0;
  bool isMet = false;
  for (int i = 0; i < kPasses; ++i) {
    const RaisedCut cut(sight, height);
    if (cut.IsMissed()) break;
    place = PlaceAt(sight, cut.Nearer());
    isMet = true;
    const double terrain = GetCompatibleHeight(place.lon, place.lat);
    if (std::abs(place.height - terrain) < kNear) break;
    height = terrain;
  }
  return isMet;
}

const char* HawkGround::FindExactly(const SightLine& sight, Place& place) const {
  const RaisedCut top(sight, dem_ ? kAboveMountains : 0.0);
  if (!(top.d >= 0.0) || top.Second() < 0.0) return kMissesEarth;
  if (!dem_) {
    if (top.First() < 0.0) return kBeneathGround;
    place = PlaceAt(sight, top.First());
    return nullptr;
  }
  const RaisedCut bottom(sight, kBelowTrenches);
  const bool isDeep = !bottom.IsMissed() && bottom.First() > 0.0;
  March march{sight, std::max(top.First(), 0.0), isDeep ? bottom.First() : top.Second()};
  return Walk(march, place);
}

/// The place, and how fast the walk crosses cells and sinks there.
void HawkGround::March::TakePlace(double columnsPerDegree, double rowsPerDegree) {
  const GroundPlace ground = ToGround(sight.At(at));
  place = {ground.lon * 180.0 / kPi, ground.lat * 180.0 / kPi, ground.height};
  const Angle lon = ground.lonAngle, lat = ground.latAngle;
  const SpacePoint& l = sight.direction;
  const double outward = lon.cosine * l.x + lon.sine * l.y;
  const double east = lon.cosine * l.y - lon.sine * l.x;
  const double north = lat.cosine * l.z - lat.sine * outward;
  const double radius = NormalRadius(lat);
  const double bend = 1.0 - kEarthEccentricity2 * lat.sine * lat.sine;
  const double meridianRadius = radius * (1.0 - kEarthEccentricity2) / bend;
  const double fromAxis = std::max((radius + ground.height) * lat.cosine, 1.0);
  columnRate = east / fromAxis * 180.0 / kPi * columnsPerDegree;
  rowRate = north / (meridianRadius + ground.height) * 180.0 / kPi * rowsPerDegree;
  sinkRate = -(lat.cosine * outward + lat.sine * l.z);
}

/// How far it is from a place to the border of the block that it lies in, and a hair beyond.
double HawkGround::March::DistanceToLeave(double column, double row, const HawkGrid::Block& block) const {
  constexpr double kBeyond = 0.001;  // cells
  const auto toLeave = [](double cell, int firstCell, int endCell, double rate) {
    if (rate == 0.0) return kInfinite;
    return rate > 0.0 ? (endCell - cell + kBeyond) / rate : (firstCell - cell - kBeyond) / rate;
  };
  return std::min(toLeave(column, block.firstColumn, block.endColumn, columnRate),
                  toLeave(row, block.firstRow, block.endRow, rowRate));
}

/// A bound of the geoid around a place. Where it is not known, the heights there will tell.
double HawkGround::FindHighestGeoid(double lon, double lat) const {
  HawkGrid::Block block;
  const bool isKnown = geoid_ && geoid_->FindBlock(lon, lat, -kInfinite, block) == HawkGrid::Answer::kKnown &&
                       block.highest > -kInfinite;
  return isKnown ? block.highest / 100.0 : 0.0;
}

const char* HawkGround::Walk(March& march, Place& place) const {
  constexpr int kMaxSteps = 200'000;
  constexpr double kLeastStep = 0.01;    // metres
  constexpr double kCellsOutside = 8.0;  // at a time
  for (int i = 0; i < kMaxSteps && march.at <= march.end; ++i) {
    march.TakePlace(dem_->GetColumnsPerDegree(), dem_->GetRowsPerDegree());
    const double geoid = FindHighestGeoid(march.place.lon, march.place.lat);
    HawkGrid::Block block;
    if (dem_->FindBlock(march.place.lon, march.place.lat, march.place.height - geoid, block) !=
        HawkGrid::Answer::kKnown) {
      march.above = -kInfinite;
      march.at += std::max(march.DistanceOfCells(kCellsOutside), kLeastStep);
      continue;
    }
    const double clear = march.place.height - geoid - block.highest;
    if (clear > 0.0) {
      march.above = block.highest > -kInfinite ? march.at : -kInfinite;
      const double down = march.sinkRate > 0.0 ? clear / march.sinkRate : kInfinite;
      march.at += std::max(std::min(down, march.DistanceToLeave(block.column, block.row, block)), kLeastStep);
      continue;
    }
    bool isFound = false;
    const char* const reason = CrossCells(march, block, isFound);
    if (reason) return reason;
    if (isFound) return Narrow(march, place);
  }
  return kMissesGround;
}

const char* HawkGround::FindClearance(const SightLine& sight, double distance, Clearance& clearance) const {
  const Place place = PlaceAt(sight, distance);
  const char* const reason = FindGround(place.lon, place.lat, clearance.ground);
  clearance.height = place.height - clearance.ground.value;
  return reason;
}

/// Goes from cell to cell until the block ends, or a place beneath the ground is found. `at` is then there, and `above`
/// the last place above the ground.
const char* HawkGround::CrossCells(March& march, const HawkGrid::Block& block, bool& isFound) const {
  constexpr double kLeastStep = 0.01, kMostStep = 1000.0;  // metres
  Clearance begin, end;
  if (const char* const reason = FindClearance(march.sight, march.at, begin)) return reason;
  isFound = begin.height <= 0.0;
  if (isFound) return std::isfinite(march.above) ? nullptr : kBeneathGround;
  for (bool isInBlock = true; isInBlock && !isFound && march.at <= march.end;) {
    march.above = march.at;
    const int column = static_cast<int>(begin.ground.column), row = static_cast<int>(begin.ground.row);
    const HawkGrid::Block cell = {0.0, 0.0, 0.0, column, column + 1, row, row + 1};
    const double toLeave = march.DistanceToLeave(begin.ground.column, begin.ground.row, cell);
    const double step = std::clamp(toLeave, kLeastStep, kMostStep);
    if (const char* const reason = FindClearance(march.sight, march.at + step, end)) return reason;
    if (end.height > 0.0) {
      if (const char* const reason = LookForDip(march, begin, end, step, isFound)) return reason;
    } else {
      isFound = true;
    }
    if (!isFound || end.height <= 0.0) march.at += step;
    begin = end;
    isInBlock = end.ground.column >= block.firstColumn && end.ground.column < block.endColumn &&
                end.ground.row >= block.firstRow && end.ground.row < block.endRow;
  }
  return nullptr;
}

/// Between two places above the ground of one cell the line of sight may dip into it, by a quarter of the twist at
/// most. Then `at` is in the dip.
const char* HawkGround::LookForDip(March& march, const Clearance& begin, const Clearance& end, double step,
                                   bool& isFound) const {
  constexpr double kMayDip = 0.05;  // metres
  const double deepest = 0.25 * std::abs(begin.ground.twist) + kMayDip;
  if (std::min(begin.height, end.height) > deepest) return nullptr;
  Clearance middle;
  if (const char* const reason = FindClearance(march.sight, march.at + 0.5 * step, middle)) return reason;
  const double bend = 2.0 * (begin.height - 2.0 * middle.height + end.height);
  const double slope = 4.0 * middle.height - 3.0 * begin.height - end.height;
  const double lowest = bend > 0.0 ? -slope / (2.0 * bend) : 0.0;
  if (!(lowest > 0.0 && lowest < 1.0 && begin.height - slope * slope / (4.0 * bend) < kMayDip)) return nullptr;
  if (const char* const reason = FindClearance(march.sight, march.at + lowest * step, middle)) return reason;
  isFound = middle.height <= 0.0;
  if (isFound) march.at += lowest * step;
  return nullptr;
}

/// The secant between a place above the ground and one beneath it; see `HawkSensor::FindPixel`.
const char* HawkGround::Narrow(March& march, Place& place) const {
  constexpr int kMaxSteps = 80;
  constexpr double kNear = 1e-6;  // metres
  double low = march.above, high = march.at;
  Clearance atLow, atHigh, clearance;
  if (const char* const reason = FindClearance(march.sight, low, atLow)) return reason;
  if (const char* const reason = FindClearance(march.sight, high, atHigh)) return reason;
  double found = high;
  clearance = atHigh;
  for (int i = 0; i < kMaxSteps && std::abs(clearance.height) > kNear; ++i) {
    found = low + (high - low) * atLow.height / (atLow.height - atHigh.height);
    if (const char* const reason = FindClearance(march.sight, found, clearance)) return reason;
    if (clearance.height * atHigh.height < 0.0) {
      low = high;
      atLow = atHigh;
    } else {
      atLow.height *= 0.5;
    }
    high = found;
    atHigh = clearance;
  }
  place = PlaceAt(march.sight, found);
  return nullptr;
}

}  // namespace zrk
