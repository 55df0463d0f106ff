#include "XSpline.h"

#include "math/SplinePiece.h"

#include <cstddef>
#include <new>
#include <vector>

namespace {

/// The conditions at the inner samples and the two slopes make a system of equations with three diagonals. One pass
/// forward leaves the upper two, and `out` and `rest` hold them; one pass back solves it.
void SolveSpline(const double* t, const double* y, std::size_t n, double firstSlope, double lastSlope, double* out) {
  std::vector<double> rest(n);
  const auto slope = [&](std::size_t i) { return (y[i + 1] - y[i]) / (t[i + 1] - t[i]); };
  out[0] = -0.5;
  rest[0] = 3.0 / (t[1] - t[0]) * (slope(0) - firstSlope);
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const double share = (t[i] - t[i - 1]) / (t[i + 1] - t[i - 1]);
    const double pivot = share * out[i - 1] + 2.0;
    out[i] = (share - 1.0) / pivot;
    rest[i] = (6.0 * (slope(i) - slope(i - 1)) / (t[i + 1] - t[i - 1]) - share * rest[i - 1]) / pivot;
  }
  const double atEnd = 3.0 / (t[n - 1] - t[n - 2]) * (lastSlope - slope(n - 2));
  out[n - 1] = (atEnd - 0.5 * rest[n - 2]) / (0.5 * out[n - 2] + 1.0);
  for (std::size_t i = n - 1; i-- > 0;) out[i] = out[i] * out[i + 1] + rest[i];
}

}  // namespace

void XfnCalcSplineCoeff(const double* t, const double* y, int n, double firstSlope, double lastSlope, double* out) {
  if (n < 2) return;
  try {
    SolveSpline(t, y, static_cast<std::size_t>(n), firstSlope, lastSlope, out);
  } catch (const std::bad_alloc&) {
    // The pass forward had not begun, so that nothing is written.
  }
}

double XfnInterpolateSpline(const double* t, const double* y, const double* table, int n, double at) {
  if (n < 2) return 0.0;
  int low = 0, high = n - 1;
  while (high - low > 1) {
    const int middle = low + (high - low) / 2;
    (t[middle] > at ? high : low) = middle;
  }
  const zrk::SplinePiece piece(t[low], t[high], at);
  return piece.Value(y[low], y[high], table[low], table[high]);
}
