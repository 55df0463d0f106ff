#pragma once

#include <vector>

/// State vectors of a platform: times in seconds from a reference epoch, positions in metres and velocities in metres a
/// second, earth-centred and earth-fixed.
struct XOrbitInterpolater {
  struct StateVector {
    double time = 0.0;
    double position[3] = {0.0, 0.0, 0.0};
    double velocity[3] = {0.0, 0.0, 0.0};
  };

  double epoch = 0.0;  ///< Julian date of time 0
  std::vector<StateVector> vectors;
};
