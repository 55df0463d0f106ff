// A place has for the camera a tangent across the flight, one along it, and a depth, and all three change as the camera
// moves and turns. A line sees the place where its own tangent along the flight is that of the place. When the
// difference of the two tangents only grows, or only falls, over all lines, then one line at most sees the place.
//
// The proof is by ranges. Places begin within the view. The rates at which their numbers change, added up over the
// flight, bound how far they ever get: a box that holds the view and this drift, with rates taken over the whole box,
// holds the places on all lines. In the box, the rate of the difference must have one sign on all stretches. No place
// of the box gets behind the camera, because its tangents would become infinite before.

#include "bands/hawk/OnceSeen.h"

#include <algorithm>
#include <cmath>

namespace zrk {
namespace {

/// All numbers between two.
struct Range {
  double low = 0.0, high = 0.0;

  static Range About(double middle, double slack) { return {middle - slack, middle + slack}; }
  double Farthest() const { return std::max(std::abs(low), std::abs(high)); }
};

Range operator+(const Range& a, const Range& b) {
  return {a.low + b.low, a.high + b.high};
}

Range operator-(const Range& a, const Range& b) {
  return {a.low - b.high, a.high - b.low};
}

Range operator*(const Range& a, const Range& b) {
  const auto [low, high] = std::minmax({a.low * b.low, a.low * b.high, a.high * b.low, a.high * b.high});
  return {low, high};
}

/// How far numbers of places get from where they began. That of the depth is of its logarithm.
struct Drift {
  double across = 0.0, along = 0.0, depth = 0.0;
};

/// Numbers of places, with the reciprocal of the depth.
struct PlaceBox {
  Range across, along, nearness;

  PlaceBox(const CameraView& view, double depthFactor, const Drift& drift)
      : across(Range::About(0.0, view.across + drift.across)), along(Range::About(0.0, view.along + drift.along)) {
    const double factor = depthFactor * std::exp(drift.depth);
    nearness = {1.0 / (view.depth * factor), factor / view.depth};
  }
};

/// The rates at which numbers of the places of a box change on a stretch of lines.
struct PlaceRates {
  Range across, along, depth;

  PlaceRates(const CameraMotion& motion, const PlaceBox& box) {
    const Range turnX = Range::About(motion.turn.x, motion.turnSlack);
    const Range turnY = Range::About(motion.turn.y, motion.turnSlack);
    const Range turnZ = Range::About(motion.turn.z, motion.turnSlack);
    const Range moveX = Range::About(motion.move.x, motion.moveSlack);
    const Range moveY = Range::About(motion.move.y, motion.moveSlack);
    const Range moveZ = Range::About(motion.move.z, motion.moveSlack);
    const Range one = {1.0, 1.0};
    const Range &u = box.across, &w = box.along;
    const Range u2 = {0.0, u.high * u.high}, w2 = {0.0, w.high * w.high};
    across = turnZ * (one + u2) - w * (turnY + turnX * u) - box.nearness * (moveX - u * moveY);
    along = u * (turnY + turnZ * w) - turnX * (one + w2) - box.nearness * (moveZ - w * moveY);
    depth = turnX * w - turnZ * u - box.nearness * moveY;
  }
};

Drift FindDrift(const std::vector<CameraMotion>& flight, const PlaceBox& box) {
  Drift drift;
  for (const CameraMotion& motion : flight) {
    const PlaceRates rates(motion, box);
    drift.across += motion.lines * rates.across.Farthest();
    drift.along += motion.lines * rates.along.Farthest();
    drift.depth += motion.lines * rates.depth.Farthest();
  }
  return drift;
}

bool IsWithin(const Drift& drift, const Drift& allowed) {
  return drift.across <= allowed.across && drift.along <= allowed.along && drift.depth <= allowed.depth;
}

/// Whether the tangent of a line gets away from those of all places of a box in one direction. A frame that stretches
/// lengths changes the tangent of a place, and lets it change as the camera turns.
bool GoesOneWay(const std::vector<CameraMotion>& flight, const CameraView& view, const PlaceBox& box) {
  const Range stretched = {1.0 / std::sqrt(1.0 + view.stretch), 1.0 / std::sqrt(1.0 - view.stretch)};
  const Range perLine = Range{1.0 / view.tangentOfLine, 1.0 / view.tangentOfLine} * stretched;
  bool isGrowing = true, isFalling = true;
  for (const CameraMotion& motion : flight) {
    const SpacePoint& turn = motion.turn;
    const double turned = std::sqrt(turn.x * turn.x + turn.y * turn.y + turn.z * turn.z) + motion.turnSlack;
    const Range bent = Range::About(0.0, box.along.high * turned * view.stretch / (1.0 - view.stretch));
    const Range rate = Range{1.0, 1.0} - perLine * (PlaceRates(motion, box).along + bent);
    constexpr double kLeastRate = 1e-3;  // far above all roundings
    isGrowing = isGrowing && rate.low > kLeastRate;
    isFalling = isFalling && rate.high < -kLeastRate;
  }
  return isGrowing || isFalling;
}

/// A larger box lets its places drift farther, so that the box is looked for in a few rounds.
bool IsProven(const std::vector<CameraMotion>& flight, const CameraView& view, double depthFactor) {
  constexpr int kRounds = 6;
  constexpr double kSpare = 1.25, kMostDrift = 3.0;
  Drift allowed;
  for (int i = 0; i < kRounds; ++i) {
    const PlaceBox box(view, depthFactor, allowed);
    const Drift drift = FindDrift(flight, box);
    if (IsWithin(drift, allowed)) return GoesOneWay(flight, view, box);
    if (!IsWithin(drift, {kMostDrift, kMostDrift, kMostDrift})) return false;
    allowed = {kSpare * drift.across, kSpare * drift.along, kSpare * drift.depth};
  }
  return false;
}

/// Numbers far beyond those of any flight would make infinite ranges, which have no signs.
constexpr double kMostNumber = 1e9;

bool IsUsable(const CameraView& view) {
  constexpr double kMostStretch = 0.1, kMostTangent = 10.0;
  return view.depth > 1.0 && view.depth < kMostNumber && view.across > 0.0 && view.across < kMostTangent &&
         view.along >= 0.0 && view.along < kMostTangent && std::abs(view.tangentOfLine) > 1.0 / kMostNumber &&
         view.stretch >= 0.0 && view.stretch < kMostStretch;
}

bool IsUsableMotion(const CameraMotion& motion) {
  const auto isBelow = [](double number) { return std::abs(number) < kMostNumber; };
  const auto isSmall = [&](const SpacePoint& v) { return isBelow(v.x) && isBelow(v.y) && isBelow(v.z); };
  return isBelow(motion.lines) && isSmall(motion.turn) && isBelow(motion.turnSlack) && isSmall(motion.move) &&
         isBelow(motion.moveSlack);
}

}  // namespace

OnceSeen::OnceSeen(const std::vector<CameraMotion>& flight, const CameraView& view) {
  if (!IsUsable(view) || !std::ranges::all_of(flight, &IsUsableMotion)) return;
  for (const double factor : {3.0, 1.5, 1.2}) {
    if (!IsProven(flight, view, factor)) continue;
    nearest_ = view.depth / factor;
    farthest_ = view.depth * factor;
    across_ = view.across;
    return;
  }
}

}  // namespace zrk
