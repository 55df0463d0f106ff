// Inverses of small matrices: of three rows by the determinant, and of symmetric ones by singular values. For the
// latter, pairs of columns are rotated until all columns are at right angles to each other. The lengths of the columns
// are then the singular values. Other methods are quicker, but this one keeps small singular values exact, and the
// matrices here have some ten columns.

#include "math/SmallMatrix.h"

#include <cmath>
#include <cstddef>

namespace zrk {
namespace {

/// A square matrix by columns.
class Columns {
 public:
  explicit Columns(int n)
      : n_(static_cast<std::size_t>(n)), values_(static_cast<std::size_t>(n) * static_cast<std::size_t>(n)) {}

  double& At(std::size_t row, std::size_t column) { return values_[column * n_ + row]; }
  double Dot(std::size_t one, std::size_t other) {
    double sum = 0.0;
    for (std::size_t i = 0; i < n_; ++i) sum += At(i, one) * At(i, other);
    return sum;
  }
  void Rotate(std::size_t one, std::size_t other, double cosine, double sine) {
    for (std::size_t i = 0; i < n_; ++i) {
      const double before = At(i, one);
      At(i, one) = cosine * before - sine * At(i, other);
      At(i, other) = sine * before + cosine * At(i, other);
    }
  }

 private:
  std::size_t n_;
  std::vector<double> values_;
};

/// Turns two columns so that they stand at right angles; whether they did not before.
bool MakeUpright(Columns& product, Columns& turns, std::size_t one, std::size_t other) {
  const double a = product.Dot(one, one), b = product.Dot(other, other), c = product.Dot(one, other);
  if (!(std::abs(c) > 1e-16 * std::sqrt(a * b))) return false;
  const double slant = (b - a) / (2.0 * c);
  const double tangent = std::copysign(1.0, slant) / (std::abs(slant) + std::sqrt(1.0 + slant * slant));
  const double cosine = 1.0 / std::sqrt(1.0 + tangent * tangent);
  product.Rotate(one, other, cosine, cosine * tangent);
  turns.Rotate(one, other, cosine, cosine * tangent);
  return true;
}

void MakeAllUpright(Columns& product, Columns& turns, std::size_t n) {
  constexpr int kMaxRounds = 60;
  bool isChanged = true;
  for (int round = 0; isChanged && round < kMaxRounds; ++round) {
    isChanged = false;
    for (std::size_t one = 0; one + 1 < n; ++one) {
      for (std::size_t other = one + 1; other < n; ++other) {
        if (MakeUpright(product, turns, one, other)) isChanged = true;
      }
    }
  }
}

}  // namespace

Matrix3 Multiply(const Matrix3& a, const Matrix3& b) {
  Matrix3 product{};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      product[3 * row + column] =
          a[3 * row] * b[column] + a[3 * row + 1] * b[column + 3] + a[3 * row + 2] * b[column + 6];
    }
  }
  return product;
}

bool Invert(const Matrix3& m, Matrix3& inverse, double& determinant) {
  constexpr double kLeast = 1e-12;
  const Matrix3 adjugate = {m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                            m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                            m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
  determinant = m[0] * adjugate[0] + m[1] * adjugate[3] + m[2] * adjugate[6];
  if (!std::isfinite(determinant) || std::abs(determinant) < kLeast) return false;
  for (std::size_t i = 0; i < adjugate.size(); ++i) inverse[i] = adjugate[i] / determinant;
  return true;
}

/// With the matrix A and the turns V, the columns of A V are those of U times the singular values. The inverse is V
/// times the reciprocal values times U transposed.
std::vector<double> PseudoInverse(const std::vector<double>& symmetric, int n) {
  constexpr double kLeastSingular = 1e-14;
  const auto size = static_cast<std::size_t>(n);
  Columns product(n), turns(n);
  for (std::size_t i = 0; i < size; ++i) {
    turns.At(i, i) = 1.0;
    for (std::size_t j = 0; j < size; ++j) product.At(i, j) = symmetric[i * size + j];
  }
  MakeAllUpright(product, turns, size);
  std::vector<double> inverse(size * size);
  for (std::size_t k = 0; k < size; ++k) {
    const double square = product.Dot(k, k);
    if (!(std::sqrt(square) >= kLeastSingular)) continue;
    for (std::size_t i = 0; i < size; ++i) {
      for (std::size_t j = 0; j < size; ++j) inverse[i * size + j] += turns.At(i, k) * product.At(j, k) / square;
    }
  }
  return inverse;
}

}  // namespace zrk
