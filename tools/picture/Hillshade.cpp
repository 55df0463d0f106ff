// Shading goes down the picture with three rows of heights in hand. Steps on the ground come from the place of the
// band, which for heights without a system is taken to be in degrees.
//
// A row can be shaded when the row below it has come. Beyond the edges heights are continued in a straight line, so
// that a slope stays the same slope at the edge.

#include "picture/Hillshade.h"

#include "Place.h"
#include "XFormatTable.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;

/// Asked of the row of the format, which no name or class has to be known for.
bool IsElevationCell(const ZRMBand& band) {
  const tagXFormat* const format = XfnFindFormatOfBand(&band);
  return format && format->holdsHeights;
}

bool IsInDegrees(const ZRMBand& band) {
  return (band.GetCoordinateKind() == kCoordinateWorld && band.GetSR()->IsGeographic()) || IsElevationCell(band);
}

/// A step that a slope can be divided by. A band without a usable pixel size is taken to have pixels of one unit.
double UsableStep(double step) {
  return std::isfinite(step) && step != 0.0 ? step : 1.0;
}

/// Twice the area of the triangle of two steps, with a sign. Nothing can be divided by 0.
double AreaOf(const GroundSteps& steps) {
  return steps.x * steps.y + steps.xDown * steps.yAcross;
}

/// A neighbour without a height is taken to be as high as the pixel itself.
double OrElse(double height, double other) {
  return std::isnan(height) ? other : height;
}

}  // namespace

GroundSteps FindGroundSteps(const ZRMBand& band, const Window& window, int width, int height) {
  const Place place(band);
  const std::array<double, 6>& t = place.GetTransform();
  const double columns = static_cast<double>(window.Width()) / width;
  const double rows = static_cast<double>(window.Height()) / height;
  GroundSteps steps{t[1] * columns, -t[5] * rows, IsInDegrees(band), 0.0, t[2] * rows, t[4] * columns};
  if (!std::isfinite(AreaOf(steps)) || AreaOf(steps) == 0.0) {
    steps = {UsableStep(steps.x), UsableStep(steps.y), steps.areDegrees};
  }
  // Of a row that is turned, the middle stands for all of it.
  steps.topLatitude = place.ToWorld(window.x0, window.y0)[1] + (steps.yAcross * width - steps.y) / 2.0;
  return steps;
}

MetresPerDegree FindMetresPerDegree(double latitude) {
  constexpr double kSemiMajorAxis = 6378137.0, kEccentricitySquared = 0.00669437999014;
  const double angle = std::clamp(latitude, -89.9, 89.9) * kRadiansPerDegree;
  const double root = std::sqrt(1.0 - kEccentricitySquared * std::sin(angle) * std::sin(angle));
  const double acrossMeridian = kSemiMajorAxis / root;
  const double alongMeridian = kSemiMajorAxis * (1.0 - kEccentricitySquared) / (root * root * root);
  return {acrossMeridian * std::cos(angle) * kRadiansPerDegree, alongMeridian * kRadiansPerDegree};
}

/// The light comes along (-1/2, 1/2, root of 1/2): as far from the west as from the north, and as far up as along.
unsigned char ShadeSlope(double eastward, double northward) {
  const double toward = (eastward - northward) / 2.0 + std::numbers::sqrt2 / 2.0;
  const double light = toward / std::sqrt(1.0 + eastward * eastward + northward * northward);
  return light > 0.0 ? static_cast<unsigned char>(1.0 + 254.0 * std::min(light, 1.0) + 0.5) : 1;
}

Hillshade::Hillshade(int width, int height, const GroundSteps& steps, double zFactor)
    : width_(width), height_(height), steps_(steps), zFactor_(zFactor) {}

void Hillshade::Add(const std::vector<double>& heights, std::vector<unsigned char>& pixels) {
  lines_[0] = std::move(lines_[1]);
  lines_[1] = std::move(lines_[2]);
  lines_[2] = Extend(heights);
  ++numTaken_;
  // The row above the first one needs the second to be worked out.
  if (numTaken_ == 2) lines_[0] = Beyond(lines_[1], lines_[2]);
  if (numTaken_ > 1) ShadeMiddle(pixels);
  if (numTaken_ < height_) return;
  Line beyond = height_ > 1 ? Beyond(lines_[2], lines_[1]) : lines_[2];
  lines_[0] = height_ > 1 ? std::move(lines_[1]) : lines_[2];
  lines_[1] = std::move(lines_[2]);
  lines_[2] = std::move(beyond);
  ShadeMiddle(pixels);
}

/// Adds a height at either end.
Hillshade::Line Hillshade::Extend(const std::vector<double>& heights) const {
  Line line;
  line.reserve(heights.size() + 2);
  const std::size_t last = heights.size() - 1;
  line.push_back(last > 0 ? 2.0 * heights[0] - heights[1] : heights[0]);
  line.insert(line.end(), heights.begin(), heights.end());
  line.push_back(last > 0 ? 2.0 * heights[last] - heights[last - 1] : heights[0]);
  return line;
}

Hillshade::Line Hillshade::Beyond(const Line& edge, const Line& inner) {
  Line line(edge.size());
  std::ranges::transform(edge, inner, line.begin(), [](double at, double before) { return 2.0 * at - before; });
  return line;
}

void Hillshade::ShadeMiddle(std::vector<unsigned char>& pixels) {
  GroundSteps steps = steps_;
  // A degree of longitude shrinks towards the poles, so that each row has a step of its own.
  if (steps_.areDegrees) {
    const MetresPerDegree metres = FindMetresPerDegree(steps_.topLatitude - numShaded_ * steps_.y);
    steps.x *= metres.longitude;
    steps.xDown *= metres.longitude;
    steps.y *= metres.latitude;
    steps.yAcross *= metres.latitude;
  }
  ++numShaded_;
  for (std::size_t x = 0; x < static_cast<std::size_t>(width_); ++x) pixels.push_back(ShadeAt(x, steps));
}

/// What the ground rises by from column to column and from row to row is turned into what it rises by to the east and
/// to the north.
unsigned char Hillshade::ShadeAt(std::size_t x, const GroundSteps& metres) const {
  const double here = lines_[1][x + 1];
  if (std::isnan(here)) return 0;
  const auto at = [&](std::size_t row, std::size_t column) { return OrElse(lines_[row][x + column], here); };
  const double left = at(0, 0) + 2.0 * at(1, 0) + at(2, 0), right = at(0, 2) + 2.0 * at(1, 2) + at(2, 2);
  const double above = at(0, 0) + 2.0 * at(0, 1) + at(0, 2), below = at(2, 0) + 2.0 * at(2, 1) + at(2, 2);
  const double across = right - left, up = above - below, scale = zFactor_ / (8.0 * AreaOf(metres));
  const double eastward = (across * metres.y - up * metres.yAcross) * scale;
  const double northward = (up * metres.x + across * metres.xDown) * scale;
  return ShadeSlope(eastward, northward);
}
