#pragma once

#include <vector>

/// Position and attitude of a scanning sensor over the lines of its image, as six functions of the line: X, Y, Z,
/// omega, phi, kappa. They are given as samples or as polynomials, as `mode` says, and the lists of the other mode are
/// empty. Native files keep the record; the library carries no pixel to the ground by it. A copy is deep.
struct XRSScanSensorParam {
  /// 0; kept as it is.
  int reserved = 0;
  /// In sample mode the number of samples of each function, in polynomial mode the order of each polynomial.
  int count = 0;
  /// 0 sample mode, 1 polynomial mode.
  int mode = 0;
  /// The origin of the local frame, in metres, earth-centred and earth-fixed.
  double originInEcf[3] = {0.0, 0.0, 0.0};
  /// The rotation from the local frame to the earth-fixed one: 3 x 3, row by row.
  double lsrToEcf[9] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  /// Sample mode: `count` values each, spread evenly over the image. Sample i belongs to line `imageLines` * i /
  /// (`count` - 1), so that the last one lies one line past the image. Positions are in metres in the local frame.
  std::vector<double> gridX, gridY, gridZ, gridOmega, gridPhi, gridKappa;
  /// The size of the image in pixels: rows, and columns.
  int imageLines = 0;
  int imageSamples = 0;
  /// Polynomial mode: `count` + 1 coefficients each, lowest power first. The variable is the line divided by
  /// `imageLines`, 0.0 to 1.0.
  std::vector<double> polyX, polyY, polyZ, polyOmega, polyPhi, polyKappa;
};
