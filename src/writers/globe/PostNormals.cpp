#include "writers/globe/PostNormals.h"

#include "writers/globe/TileShapes.h"
#include "XTileGrid.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zrk {

namespace {

constexpr double kRadiansOfDegree = 0.017453292519943295;

SpacePoint Between(const SpacePoint& from, const SpacePoint& to) {
  return {to.x - from.x, to.y - from.y, to.z - from.z};
}

SpacePoint Cross(const SpacePoint& a, const SpacePoint& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double Dot(const SpacePoint& a, const SpacePoint& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// The direction as a vector of length 1, turned outward; `up` where it has no length.
tagXVector3f Unit(const SpacePoint& direction, const SpacePoint& up) {
  const double length = std::sqrt(Dot(direction, direction));
  const bool hasLength = length > 0.0 && std::isfinite(length);
  const double scale = Dot(direction, up) < 0.0 ? -1.0 / length : 1.0 / length;
  const SpacePoint unit = hasLength ? SpacePoint{direction.x * scale, direction.y * scale, direction.z * scale} : up;
  return {static_cast<float>(unit.x), static_cast<float>(unit.y), static_cast<float>(unit.z)};
}

}  // namespace

LevelPosts::LevelPosts(int level)
    : step(XfnGetTileSize3D(level) / kPostSteps),
      numColumns(std::int64_t{20 * kPostSteps} << std::clamp(level, 0, 40)),
      numRows(numColumns / 2) {}

Angle PostNormals::LatitudeOf(std::int64_t row) const {
  return Angle::OfRadians((90.0 - static_cast<double>(row) * posts_.step) * kRadiansOfDegree);
}

/// Columns are counted around the earth, so that the post on longitude 180 is the one on -180.
void PostNormals::FindMeridians(std::int64_t column, int width) {
  meridians_.resize(static_cast<std::size_t>(width) + 2);
  for (std::size_t i = 0; i < meridians_.size(); ++i) {
    const std::int64_t passed = (column - 1 + static_cast<std::int64_t>(i)) % posts_.numColumns;
    const std::int64_t around = passed < 0 ? passed + posts_.numColumns : passed;
    meridians_[i] = Angle::OfRadians((static_cast<double>(around) * posts_.step - 180.0) * kRadiansOfDegree);
  }
}

void PostNormals::FindRow(std::int64_t row, const float* heights, std::vector<SpacePoint>& points) const {
  const Angle lat = LatitudeOf(row);
  const double normalRadius = NormalRadius(lat);
  points.resize(meridians_.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const double height = std::isfinite(heights[i]) ? static_cast<double>(heights[i]) : 0.0;
    points[i] = ToSpace(meridians_[i], lat, normalRadius, height);
  }
}

void PostNormals::MakeRow(const Angle& lat, tagXVector3f* normals) const {
  for (std::size_t i = 0; i + 2 < middle_.size(); ++i) {
    const SpacePoint eastward = Between(middle_[i], middle_[i + 2]);
    const SpacePoint northward = Between(south_[i + 1], north_[i + 1]);
    const Angle& lon = meridians_[i + 1];
    normals[i] = Unit(Cross(eastward, northward), {lat.cosine * lon.cosine, lat.cosine * lon.sine, lat.sine});
  }
}

void PostNormals::Make(std::int64_t column, std::int64_t row, int width, int height, const float* heights,
                       tagXVector3f* normals) {
  const std::int64_t stride = std::int64_t{width} + 2;
  FindMeridians(column, width);
  FindRow(row - 1, heights, north_);
  FindRow(row, heights + stride, middle_);
  for (int j = 0; j < height; ++j, normals += width) {
    FindRow(row + j + 1, heights + (j + 2) * stride, south_);
    if (row + j == 0 || row + j == posts_.numRows) {
      std::fill_n(normals, width, tagXVector3f{0.0f, 0.0f, row + j == 0 ? 1.0f : -1.0f});
    } else {
      MakeRow(LatitudeOf(row + j), normals);
    }
    std::swap(north_, middle_);
    std::swap(middle_, south_);
  }
}

}  // namespace zrk
