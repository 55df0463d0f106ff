#pragma once

#include "geo/EarthCentred.h"

#include <vector>

namespace zrk {

/// How the camera moves over a short stretch of lines. Both vectors are in the camera's own frame, in which it looks
/// along y, and count per line. A slack is the longest way from a vector to that of any other line of the stretch.
struct CameraMotion {
  double lines = 0.0;  ///< of the stretch
  SpacePoint turn{};   ///< in radians
  double turnSlack = 0.0;
  SpacePoint move{};  ///< in metres
  double moveSlack = 0.0;
};

/// What a camera looks at. Tangents are those of the angle against its axis.
struct CameraView {
  double across = 0.0;         ///< the greatest tangent of a column
  double along = 0.0;          ///< the greatest tangent of a line
  double tangentOfLine = 0.0;  ///< by how much the tangent grows from line to line
  double stretch = 0.0;        ///< by how much, at most, the local frame changes the square of a length of 1
  double depth = 0.0;          ///< how far the ground is, in metres along the axis
};

/// The part of space of which a flight is known to see each place on one line at most, whatever way the line is found.
class OnceSeen {
 public:
  /// Knows nothing of any place.
  OnceSeen() = default;
  /// What can be proven of a flight, whose stretches follow one another. It is as much of the depth as possible.
  OnceSeen(const std::vector<CameraMotion>& flight, const CameraView& view);

  bool IsEmpty() const { return farthest_ < nearest_; }
  /// Whether a place is of that part, where it lies on the line that sees it: so many metres before the camera, and
  /// under that tangent across the flight.
  bool Has(double depth, double across) const {
    return depth >= nearest_ && depth <= farthest_ && across >= -across_ && across <= across_;
  }

 private:
  double nearest_ = 0.0;
  double farthest_ = -1.0;
  double across_ = 0.0;
};

}  // namespace zrk
