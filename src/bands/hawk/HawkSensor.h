#pragma once

#include "bands/hawk/HawkDocument.h"
#include "bands/hawk/OnceSeen.h"
#include "geo/EarthCentred.h"

#include <vector>

namespace zrk {

/// A line of sight in space: where it begins, and its direction, which has the length 1.
struct SightLine {
  SpacePoint origin;
  SpacePoint direction;

  SpacePoint At(double distance) const {
    return {origin.x + distance * direction.x, origin.y + distance * direction.y, origin.z + distance * direction.z};
  }
};

/// The sensor of a data set: pixels to lines of sight, and places in space to pixels. It does not change once it is
/// made, and serves any number of threads.
class HawkSensor {
 public:
  /// The document has to be free of faults, see `FindHawkFault`.
  explicit HawkSensor(const HawkDocument& document);

  /// Columns and lines counted from the corner that the sensor counts from. It is its own reverse.
  void Flip(double& column, double& line) const;
  /// The line of sight of a column and a line as the sensor counts them.
  SightLine SightOf(double column, double line) const;
  /// Where a search ended, so that the one for a place near by may begin there.
  struct Trace {
    bool isSet = false;
    double line = 0.0;
    double slope = 0.0;  ///< of the miss, see `MissOf`, from line to line
  };
  /// The column and the line, as the sensor counts them, that see a place. False where the place lies more than
  /// `margin` pixels outside the image, behind the sensor, or on the other side of the earth. The trace is that of the
  /// last search for a place near by, which makes this one shorter and leads to the same line, or one that is not set.
  bool FindPixel(const SpacePoint& place, double margin, Trace& trace, double& column, double& line) const;

  /// The greatest margin for which a trace makes searches shorter.
  double GetWidestMargin() const { return 8.0 + 0.05 * lines_; }
  /// The places that one line at most sees, within that margin.
  const OnceSeen& GetOnceSeen() const { return onceSeen_; }

  const Matrix3& GetLsrToEcf() const { return lsrToEcf_; }
  /// The line of each sample.
  const std::vector<double>& GetTimes() const { return times_; }

 private:
  /// The samples of the six functions at one line, and their second derivatives.
  struct Knot {
    double value[kNumPoseParts];
    double bend[kNumPoseParts];
  };
  /// Where the platform is at a line, and how it is turned: from the camera to the earth-centred frame.
  struct Pose {
    SpacePoint position;
    Matrix3 turn;
  };
  /// A place as the camera sees it, in metres in the plane of the detector, and where the platform is then.
  struct Seen {
    double across;
    double along;
    double depth;    ///< in metres before the camera
    double tangent;  ///< across the flight
    SpacePoint origin;
  };

  void AddSpline(const std::vector<double>& samples, std::size_t part);
  void Evaluate(double line, double (&parts)[kNumPoseParts]) const;
  Matrix3 LocalTurnOf(const double (&parts)[kNumPoseParts]) const;
  SpacePoint PositionOf(const double (&parts)[kNumPoseParts]) const;
  double AlongOf(double line) const;
  CameraMotion MotionOver(std::size_t piece, double begin, double end) const;
  std::vector<CameraMotion> MotionOfFlight() const;
  CameraView FindView() const;
  void MakeGuess(double depth);
  Trace GuessOf(const SpacePoint& place) const;
  Seen Look(const SpacePoint& place, double line) const;
  double MissOf(const SpacePoint& place, double line, Seen& seen) const;
  bool FollowLine(const SpacePoint& place, double margin, Trace& trace, Seen& seen) const;
  bool SearchLine(const SpacePoint& place, double margin, Trace& trace, Seen& seen) const;

  std::vector<double> times_;
  std::vector<Knot> knots_;
  SpacePoint origin_{};
  Matrix3 lsrToEcf_{};
  Matrix3 ecfToLsr_{};
  double timesPerLine_ = 0.0;
  double lines_ = 0.0;
  double samples_ = 0.0;
  double axisColumn_ = 0.0;
  double axisLine_ = 0.0;
  double focalLength_ = 0.0;  ///< in metres
  double cellSize_ = 0.0;     ///< in metres
  double cellsPerLine_ = 0.0;
  bool isFromBelow_ = false;
  bool isFromLeft_ = false;
  OnceSeen onceSeen_;
  // A first guess of the line that sees a place, which grows evenly from the place in the middle of the image on.
  SpacePoint guessPlace_{};
  SpacePoint guessRate_{};  ///< in lines a metre
  double guessSlope_ = 0.0;
};

}  // namespace zrk
