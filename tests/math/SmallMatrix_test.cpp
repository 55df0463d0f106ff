#include "math/SmallMatrix.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using zrk::Matrix3;

TEST(SmallMatrix, IsInverted) {
  const Matrix3 matrix = {2.0, 0.0, 1.0, 0.0, 4.0, 0.0, 1.0, 0.0, 1.0};
  Matrix3 inverse{};
  double determinant = 0.0;
  ASSERT_TRUE(zrk::Invert(matrix, inverse, determinant));
  EXPECT_DOUBLE_EQ(4.0, determinant);
  const Matrix3 expected = {1.0, 0.0, -1.0, 0.0, 0.25, 0.0, -1.0, 0.0, 2.0};
  for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(expected[i], inverse[i], 1e-15);
}

TEST(SmallMatrix, WithoutAnInverseIsRefused) {
  Matrix3 inverse = {7.0};
  double determinant = 0.0;
  EXPECT_FALSE(zrk::Invert({1.0, 2.0, 3.0, 2.0, 4.0, 6.0, 0.0, 0.0, 1.0}, inverse, determinant));
  EXPECT_FALSE(zrk::Invert({NAN, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}, inverse, determinant));
  EXPECT_EQ(7.0, inverse[0]);
}

TEST(SmallMatrix, IsMultipliedRowsTimesColumns) {
  const Matrix3 a = {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0};
  const Matrix3 b = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0, 0.0};
  const Matrix3 expected = {3.0, 1.0, 2.0, 6.0, 4.0, 5.0, 9.0, 7.0, 8.0};
  EXPECT_EQ(expected, zrk::Multiply(a, b));
}

TEST(PseudoInverse, IsTheInverseOfARegularMatrix) {
  const std::vector<double> inverse = zrk::PseudoInverse({4.0, 1.0, 1.0, 3.0}, 2);
  const double expected[] = {3.0 / 11.0, -1.0 / 11.0, -1.0 / 11.0, 4.0 / 11.0};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(expected[i], inverse[i], 1e-14);
}

/// All entries 1: the singular values are 2 and 0, and the inverse has a quarter everywhere.
TEST(PseudoInverse, LeavesOutWhatHasNoInverse) {
  const std::vector<double> inverse = zrk::PseudoInverse({1.0, 1.0, 1.0, 1.0}, 2);
  for (const double value : inverse) EXPECT_NEAR(0.25, value, 1e-14);
}

TEST(PseudoInverse, OfNothingIsNothing) {
  for (const double value : zrk::PseudoInverse({0.0, 0.0, 0.0, 0.0}, 2)) EXPECT_EQ(0.0, value);
}

/// Sums of powers, as polynomials have them, are the hardest that come here.
TEST(PseudoInverse, SolvesThePowersOfAPolynomial) {
  constexpr int kSize = 6;
  std::vector<double> sums(kSize * kSize);
  for (int i = 0; i < kSize; ++i) {
    for (int j = 0; j < kSize; ++j) sums[static_cast<std::size_t>(i * kSize + j)] = 1.0 / (i + j + 1);
  }
  const std::vector<double> inverse = zrk::PseudoInverse(sums, kSize);
  EXPECT_NEAR(36.0, inverse[0], 1e-6);  // known of this matrix, which is Hilbert's
  EXPECT_NEAR(698544.0, inverse[35], 1e-2);
}

}  // namespace
