// The extent of a rectangle of one system in another system. Edges bend under a transform, and a pole may lie within
// the rectangle. So places are taken in a grid all over it, and closely along its edges.
//
// Longitudes begin anew at 180 degrees. Each longitude is therefore counted on from that of a neighbour, so that the
// extent has no gap. That fails around a pole, because no edge tells of it. The poles are therefore transformed back to
// the first system and looked for in the rectangle. In a system of degrees a pole is a whole edge, and the places on
// that edge meet it.

#include "display/TakenExtent.h"

#include "display/SystemBridge.h"
#include "XSpatialReference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>

namespace zrk {

namespace {

constexpr int kGridSteps = 32;
constexpr int kEdgeSteps = 512;
/// Longitudes mean nothing nearer to a pole than this, in degrees.
constexpr double kPoleReach = 1e-7;

/// How the pole lies in an extent.
enum class PolePlace { kOutside, kOnEdge, kWithin };

/// Between two edges, or less than a millionth of their distance beside one of them.
PolePlace PlaceBetween(double value, double low, double high) {
  const double near = (high - low) * 1e-6;
  if (!(value >= low - near && value <= high + near)) return PolePlace::kOutside;
  return value > low + near && value < high - near ? PolePlace::kWithin : PolePlace::kOnEdge;
}

/// A pole is a point where all meridians meet in one. Otherwise it is a line or nowhere, which counts as outside.
PolePlace FindPole(const SystemBridge& back, double latitude, const Extent& extent) {
  constexpr double kMeridians[] = {0.0, 90.0, -90.0, 180.0};
  const double same = 1e-6 * (std::abs(extent.maxX - extent.minX) + std::abs(extent.maxY - extent.minY));
  double firstX = 0.0, firstY = 0.0;
  if (!back.transformation) return PolePlace::kOutside;
  for (const double& meridian : kMeridians) {
    double x = meridian, y = latitude;
    if (!back.Take(x, y) || !std::isfinite(x + y)) return PolePlace::kOutside;
    if (&meridian == std::begin(kMeridians)) {
      firstX = x;
      firstY = y;
    }
    if (std::hypot(x - firstX, y - firstY) > same) return PolePlace::kOutside;
  }
  const PolePlace across = PlaceBetween(firstX, extent.minX, extent.maxX);
  const PolePlace along = PlaceBetween(firstY, extent.minY, extent.maxY);
  return std::min(across, along);
}

/// What is known of the other side before places are taken there.
struct TakenSystem {
  bool isCircling = false;  ///< x are longitudes
  PolePlace south = PolePlace::kOutside;
  PolePlace north = PolePlace::kOutside;

  /// Whether a place is a pole that has all longitudes at once.
  bool IsPole(double latitude) const {
    return isCircling && std::abs(latitude) > 90.0 - kPoleReach &&
           (latitude < 0.0 ? south : north) != PolePlace::kOutside;
  }
};

/// Takes places of an extent over, and spans them.
class ExtentTaker {
 public:
  ExtentTaker(const SystemBridge& bridge, const Extent& extent, const TakenSystem& system)
      : bridge_(bridge), extent_(extent), system_(system) {}

  Extent Take() {
    std::array<double, 4> corners{};  // lower left, lower right, upper left, upper right
    for (int j = 0; j <= kGridSteps; ++j) {
      last_ = j == 0 ? kUnknown : corners[2];
      corners[2] = kUnknown;
      for (int i = 0; i <= kGridSteps; ++i) {
        TakeAt(Share(i, kGridSteps), Share(j, kGridSteps));
        if (std::isnan(corners[2])) corners[2] = last_;
      }
      if (j == 0) corners = {corners[2], last_, corners[2], last_};
    }
    TakeEdge(corners[0], {0.0, 0.0}, {0.0, 1.0});
    TakeEdge(corners[1], {1.0, 0.0}, {1.0, 1.0});
    TakeEdge(corners[0], {0.0, 0.0}, {1.0, 0.0});
    TakeEdge(corners[2], {0.0, 1.0}, {1.0, 1.0});
    return taken_;
  }

 private:
  static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();
  static double Share(int i, int numSteps) { return static_cast<double>(i) / numSteps; }

  void TakeEdge(double longitude, const std::array<double, 2>& from, const std::array<double, 2>& to) {
    last_ = longitude;
    for (int i = 0; i <= kEdgeSteps; ++i) {
      const double share = Share(i, kEdgeSteps);
      TakeAt(from[0] + (to[0] - from[0]) * share, from[1] + (to[1] - from[1]) * share);
    }
  }

  void TakeAt(double shareX, double shareY) {
    double x = extent_.minX + (extent_.maxX - extent_.minX) * shareX;
    double y = extent_.minY + (extent_.maxY - extent_.minY) * shareY;
    if (!bridge_.Take(x, y) || !std::isfinite(x + y) || system_.IsPole(y)) return;
    if (system_.isCircling && !std::isnan(last_)) x += 360.0 * std::round((last_ - x) / 360.0);
    last_ = x;
    taken_.GrowTo(x, y);
  }

  const SystemBridge& bridge_;
  const Extent& extent_;
  const TakenSystem& system_;
  Extent taken_;
  double last_ = kUnknown;  // the longitude of the neighbour
};

/// Counts longitudes from -180 where they go around the earth, and otherwise so that the middle lies between -180 and
/// 180.
void CountFromDateLine(Extent& taken, bool isAround) {
  // The last step around the earth may lack some bits.
  if (isAround || taken.maxX - taken.minX >= 360.0 - 1e-9) {
    taken.minX = -180.0;
    taken.maxX = 180.0;
    return;
  }
  const double turns = 360.0 * std::floor((0.5 * (taken.minX + taken.maxX) + 180.0) / 360.0);
  taken.minX -= turns;
  taken.maxX -= turns;
}

}  // namespace

Extent TakeExtent(const XSpatialReference& from, const XSpatialReference& to, const Extent& extent) {
  const auto bridge = SystemBridge::Make(from, to);
  if (!bridge->isPossible) return {};
  if (!bridge->transformation) return extent;
  TakenSystem system{to.IsGeographic() != 0};
  if (system.isCircling) {
    const auto back = SystemBridge::Make(to, from);
    system.south = FindPole(*back, -90.0, extent);
    system.north = FindPole(*back, 90.0, extent);
  }
  Extent taken = ExtentTaker(*bridge, extent, system).Take();
  if (!system.isCircling || !taken.isSet) return taken;
  if (system.south != PolePlace::kOutside) taken.minY = -90.0;
  if (system.north != PolePlace::kOutside) taken.maxY = 90.0;
  CountFromDateLine(taken, system.south == PolePlace::kWithin || system.north == PolePlace::kWithin);
  return taken;
}

}  // namespace zrk
