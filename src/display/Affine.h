#pragma once

#include <array>

namespace zrk {

/// A straight transform of a plane: u = c[0] + x * c[1] + y * c[2], v = c[3] + x * c[4] + y * c[5], as the geotransform
/// of a band is.
struct Affine {
  std::array<double, 6> c = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

  double U(double x, double y) const { return c[0] + x * c[1] + y * c[2]; }
  double V(double x, double y) const { return c[3] + x * c[4] + y * c[5]; }
  /// Whether u follows from x alone and v from y alone.
  bool IsUnturned() const { return c[2] == 0.0 && c[4] == 0.0; }
  /// This one, and then the other.
  Affine Then(const Affine& next) const;
  /// The way back; false where there is none.
  bool Invert(Affine& inverse) const;
};

/// An extent of the world. `GrowTo` begins with the first place.
struct Extent {
  double minX = 0.0;
  double maxX = 0.0;
  double minY = 0.0;
  double maxY = 0.0;
  bool isSet = false;

  void GrowTo(double x, double y);
  void GrowTo(const Extent& other);
};

}  // namespace zrk
