#pragma once

#include "formats/hawk/HawkActions.h"

#include <array>
#include <string>
#include <vector>

/// A flight that looks at a target, and the document that a data set of it has.
class SimulatedFlight {
 public:
  /// `ground` is the height of the ground at the target, in metres.
  SimulatedFlight(const HawkOptions& options, double ground);

  std::string GetDocument() const;
  /// The size of a pixel in metres, across the line of sight.
  double GetPixelOnGround() const { return pixel_; }
  double GetHeight() const { return height_; }
  /// The angle of the look against the vertical, in degrees.
  double GetAngleAside() const { return aside_; }

 private:
  void FlyAlong(double ground);
  void SetPose(int index, int count, double range);

  const HawkOptions& options_;
  double height_;
  double aside_;
  double pixel_;
  double focalLength_ = 0.0;  // in millimetres
  std::array<double, 3> origin_{};
  std::array<double, 9> rotation_{};
  std::array<std::vector<double>, 6> grids_;  // X, Y, Z, omega, phi, kappa
};
