#include "XSpline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

/// A cubic, which a cubic spline with the right slopes at its ends is itself.
double Cubic(double t) {
  return 2.0 - 3.0 * t + 0.5 * t * t + 0.25 * t * t * t;
}
double SlopeOfCubic(double t) {
  return -3.0 + t + 0.75 * t * t;
}

std::vector<double> CubicAt(const std::vector<double>& t) {
  std::vector<double> y;
  for (const double at : t) y.push_back(Cubic(at));
  return y;
}

class XSpline : public testing::Test {
 protected:
  XSpline() {
    XfnCalcSplineCoeff(t_.data(), y_.data(), Count(), SlopeOfCubic(t_.front()), SlopeOfCubic(t_.back()), bends_.data());
  }
  int Count() const { return static_cast<int>(t_.size()); }
  double At(double at) const { return XfnInterpolateSpline(t_.data(), y_.data(), bends_.data(), Count(), at); }

  std::vector<double> t_ = {-1.0, 0.5, 1.0, 4.0, 4.5};
  std::vector<double> y_ = CubicAt(t_);
  std::vector<double> bends_ = std::vector<double>(5);
};

TEST_F(XSpline, HasTheSecondDerivativesOfACubic) {
  for (std::size_t i = 0; i < t_.size(); ++i) EXPECT_NEAR(1.0 + 1.5 * t_[i], bends_[i], 1e-12);
}

TEST_F(XSpline, IsACubicThroughItsSamples) {
  for (double at = -1.0; at <= 4.5; at += 0.1) EXPECT_NEAR(Cubic(at), At(at), 1e-12);
}

TEST_F(XSpline, ContinuesItsOuterPieces) {
  EXPECT_NEAR(Cubic(-3.0), At(-3.0), 1e-11);
  EXPECT_NEAR(Cubic(7.0), At(7.0), 1e-10);
}

TEST_F(XSpline, MeetsItsSamplesExactly) {
  for (std::size_t i = 0; i < t_.size(); ++i) EXPECT_EQ(y_[i], At(t_[i]));
}

TEST(XSplineOfFewSamples, IsACubicBetweenTwo) {
  const double t[] = {0.0, 2.0}, y[] = {Cubic(0.0), Cubic(2.0)};
  double bends[2];
  XfnCalcSplineCoeff(t, y, 2, SlopeOfCubic(0.0), SlopeOfCubic(2.0), bends);
  EXPECT_NEAR(Cubic(1.3), XfnInterpolateSpline(t, y, bends, 2, 1.3), 1e-13);
}

TEST(XSplineOfFewSamples, DoesNothingForOne) {
  const double t[] = {0.0}, y[] = {5.0};
  double bends[] = {7.0};
  XfnCalcSplineCoeff(t, y, 1, 0.0, 0.0, bends);
  EXPECT_EQ(7.0, bends[0]);
  EXPECT_EQ(0.0, XfnInterpolateSpline(t, y, bends, 1, 0.0));
}

}  // namespace
