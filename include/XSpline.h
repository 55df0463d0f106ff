#pragma once

#include "XExport.h"

// Cubic splines through samples at ascending places. Both functions are pure and serve any number of threads.

/// The second derivatives of the spline at its samples, for `XfnInterpolateSpline`. `t` holds the `n` places, each
/// above the one before, `y` the values, and `out` receives `n` numbers. The spline leaves its first sample and
/// reaches its last one with the slopes given. Nothing is written for fewer than two samples.
ZRKIO_API void XfnCalcSplineCoeff(const double* t, const double* y, int n, double firstSlope, double lastSlope,
                                  double* out);

/// The value at a place, from the arrays above. At the place of a sample it is that sample exactly. Outside the samples
/// the first or the last piece is continued. Returns 0.0 for fewer than two samples.
ZRKIO_API double XfnInterpolateSpline(const double* t, const double* y, const double* table, int n, double at);
