#pragma once

#include <array>
#include <vector>

namespace zrk {

/// Three rows of three, row by row.
using Matrix3 = std::array<double, 9>;

Matrix3 Multiply(const Matrix3& a, const Matrix3& b);
/// The inverse, and the determinant of `matrix`. False, with `inverse` as it was, where the determinant is nearly 0 or
/// not finite.
bool Invert(const Matrix3& matrix, Matrix3& inverse, double& determinant);

/// The inverse of a square symmetric matrix of `n` rows, as far as it has one: parts of it whose singular value lies
/// below 1e-14 are left out.
std::vector<double> PseudoInverse(const std::vector<double>& symmetric, int n);

}  // namespace zrk
