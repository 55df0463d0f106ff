#pragma once

namespace zrk {

/// One place within a piece of a cubic spline, for any number of splines over the same samples.
class SplinePiece {
 public:
  SplinePiece(double begin, double end, double at) {
    const double length = end - begin;
    before_ = (end - at) / length;
    behind_ = (at - begin) / length;
    const double scale = length * length / 6.0;
    bendBefore_ = (before_ * before_ * before_ - before_) * scale;
    bendBehind_ = (behind_ * behind_ * behind_ - behind_) * scale;
  }

  /// From the samples at both ends and the second derivatives there.
  double Value(double begin, double end, double bendAtBegin, double bendAtEnd) const {
    return before_ * begin + behind_ * end + (bendBefore_ * bendAtBegin + bendBehind_ * bendAtEnd);
  }
  /// How fast the value changes, in a piece of that length.
  double Slope(double length, double begin, double end, double bendAtBegin, double bendAtEnd) const {
    const double bent = (3.0 * behind_ * behind_ - 1.0) * bendAtEnd - (3.0 * before_ * before_ - 1.0) * bendAtBegin;
    return (end - begin) / length + bent * length / 6.0;
  }
  /// How fast the slope changes.
  double Bend(double bendAtBegin, double bendAtEnd) const { return before_ * bendAtBegin + behind_ * bendAtEnd; }

 private:
  double before_;
  double behind_;
  double bendBefore_;
  double bendBehind_;
};

}  // namespace zrk
