#pragma once

#include <vector>

/// State vectors of a platform, earth-centred and earth-fixed. The record only holds them: a caller interpolates
/// between them. They are kept in the order in which they are given, which should be that of time. An empty list stands
/// for an unknown orbit. A copy is deep.
struct XOrbitInterpolater {
  /// Where the platform is at one time, and how it moves: X, Y, Z each.
  struct StateVector {
    /// In seconds from `epoch`; it may be negative.
    double time = 0.0;
    /// In metres.
    double position[3] = {0.0, 0.0, 0.0};
    /// In metres a second.
    double velocity[3] = {0.0, 0.0, 0.0};
  };

  /// The Julian date of time 0, in days.
  double epoch = 0.0;
  std::vector<StateVector> vectors;
};
