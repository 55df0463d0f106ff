// The model of a scanning sensor: sensor, terrain and geoid together, forward from pixels to the ground and back. In
// the exact policy the reverse is direct, because the ground at a longitude and a latitude has one height. In the
// compatible policy the forward way ends at a height that may differ from the terrain's by a metre. The compatible
// reverse therefore looks for the height at which both ways meet.

#include "bands/hawk/HawkModel.h"

#include "XEarthCentred.h"

#include <cmath>

namespace zrk {
namespace {

constexpr const char* kNotFinite = "The place is not finite";
constexpr const char* kOutsideImage = "The place lies outside the image";
constexpr const char* kPixelOutside = "The pixel lies outside the image";
constexpr const char* kNoSight = "The line of sight misses the earth";

constexpr double kOnePixel = 1.0;
constexpr double kDegree = 3.141592653589793 / 180.0;

}  // namespace

bool HawkModel::IsInside(double column, double line) const {
  return column >= -1.0 && column <= samples_ && line >= -1.0 && line <= lines_;
}

const char* HawkModel::FindGround(double column, double line, Place& place) const {
  if (!std::isfinite(column) || !std::isfinite(line)) return kNotFinite;
  if (isExact_ && !IsInside(column, line)) return kPixelOutside;
  sensor_.Flip(column, line);
  const SightLine sight = sensor_.SightOf(column, line);
  Place found;
  if (isExact_) {
    if (const char* const reason = ground_.FindExactly(sight, found)) return reason;
  } else if (!ground_.FindCompatibly(sight, found)) {
    return kNoSight;
  }
  if (!std::isfinite(found.lon) || !std::isfinite(found.lat) || !std::isfinite(found.height)) return kNoSight;
  place = found;
  return nullptr;
}

void HawkModel::Warp(double& x, double& y) const {
  sensor_.Flip(x, y);
  Place place;
  if (!ground_.FindCompatibly(sensor_.SightOf(x, y), place)) return;
  x = place.lon;
  y = place.lat;
}

const char* HawkModel::FindPixelWithin(double margin, const Place& place, double& column, double& line) {
  const bool isPlace = std::isfinite(place.lon) && std::isfinite(place.height) && std::abs(place.lat) <= 90.0;
  if (!isPlace) return kNotFinite;
  SpacePoint point{};
  XfnGeoToEcr(place.lon * kDegree, place.lat * kDegree, place.height, point.x, point.y, point.z);
  if (!sensor_.FindPixel(point, margin, trace_, column, line)) return kOutsideImage;
  sensor_.Flip(column, line);
  return nullptr;
}

const char* HawkModel::FindPixelAt(const Place& place, double& column, double& line) {
  return FindPixelWithin(kOnePixel, place, column, line);
}

/// On the way to the height at which both ways meet, a pixel may lie outside the image. Where the steps of compatible
/// heights leave no such height, the last pixel is as good as any. There the least difference of the first pixel may
/// lead far away, and so the first search does not follow the place before.
const char* HawkModel::FindPixel(double lon, double lat, double& column, double& line) {
  constexpr int kMaxRounds = 12;
  constexpr double kNear = 1e-4;  // metres
  const double margin = isExact_ ? kOnePixel : sensor_.GetWidestMargin();
  if (!isExact_) trace_ = {};
  Place place{lon, lat, 0.0};
  if (const char* const reason = FindHeight(lon, lat, place.height)) return reason;
  double x = 0.0, y = 0.0;
  for (int i = 0; i < kMaxRounds; ++i) {
    if (const char* const reason = FindPixelWithin(margin, place, x, y)) return reason;
    if (isExact_) break;
    Place forward;
    if (const char* const reason = FindGround(x, y, forward)) return reason;
    if (std::abs(forward.height - place.height) < kNear) break;
    place.height = forward.height;
  }
  if (!IsInside(x, y)) return kOutsideImage;
  column = x;
  line = y;
  return nullptr;
}

const char* HawkModel::FindHeight(double lon, double lat, double& height) const {
  if (!std::isfinite(lon) || !std::isfinite(lat)) return kNotFinite;
  if (isExact_) return ground_.FindExactHeight(lon, lat, height);
  height = ground_.GetCompatibleHeight(lon, lat);
  return nullptr;
}

void HawkModel::FindHeights(const double* lon, const double* lat, int count, double* heights) const {
  if (isExact_) return ground_.FindExactHeights(lon, lat, count, heights);
  for (int i = 0; i < count; ++i) {
    if (FindHeight(lon[i], lat[i], heights[i])) heights[i] = NAN;
  }
}

}  // namespace zrk
