#pragma once

#include <string>

class XRSFile;

/// A flight over longitude 0 on the equator, to the north and nine kilometres high. It looks 52 degrees to the side,
/// and its attitude is shaken.
struct HawkFlight {
  int lines;
  int samples;
  double metresPerPose;  ///< how far it flies from one sample of the pose to the next
  double cellSize;       ///< of the detector, in millimetres; the focal length is 1000

  static constexpr int kPoses = 101;
};

/// The pose of such a flight: X, Y, Z, omega, phi, kappa by number.
double PoseOfFlight(const HawkFlight& flight, int part, int index);

void WriteFlightDocument(const HawkFlight& flight, const std::string& path);

/// Waves in 16 bits around the ground that is seen, square pixels of `step` degrees. The dataset belongs to the caller.
XRSFile* MakeWaves(double step, int side, double mean, double swing);
