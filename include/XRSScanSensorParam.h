#pragma once

#include <vector>

/// Position and attitude of a scanning sensor over the lines of its image. The order of the six functions is X, Y, Z,
/// omega, phi, kappa. A copy is deep.
struct XRSScanSensorParam {
  int reserved = 0;
  int count = 0;  ///< samples of a grid in sample mode, order of the polynomials in polynomial mode
  int mode = 0;   ///< 0 sample mode, 1 polynomial mode
  double originInEcf[3] = {0.0, 0.0, 0.0};
  double lsrToEcf[9] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};  ///< 3 x 3, row by row
  std::vector<double> gridX, gridY, gridZ, gridOmega, gridPhi, gridKappa;
  int imageLines = 0;
  int imageSamples = 0;
  /// Lowest power first, `count` + 1 long.
  std::vector<double> polyX, polyY, polyZ, polyOmega, polyPhi, polyKappa;
};
