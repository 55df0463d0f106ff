#pragma once

#include "display/Affine.h"
#include "display/PictureGrid.h"
#include "display/SystemBridge.h"

namespace zrk {

/// A place within the pixels of a band: (0.5, 0.5) is the centre of the first pixel.
struct BandPlace {
  double u = 0.0;
  double v = 0.0;
};

/// Tells which position of a band lies under a position of a picture. The way leads from the picture's pixels to its
/// world, from there to the band's world, and from there to the band's pixels.
class PlaceMap {
 public:
  /// `shift` is added to the x of the band's world, and `toPixels` leads from there to the band's pixels. The bridge is
  /// not owned.
  PlaceMap(const PictureGrid& grid, const SystemBridge& bridge, double shift, const Affine& toPixels);

  /// The whole map where no systems differ; null otherwise.
  const Affine* GetAffine() const { return bridge_.transformation ? nullptr : &whole_; }
  /// What lies under a place of the picture, (0.5, 0.5) being the centre of its first pixel. Not a number where it has
  /// no place in the band's world.
  BandPlace At(double x, double y) const;
  /// How many pixels of the band lie along the shorter side of a picture's pixel at the centre of a window; 1.0 where
  /// that has no place in the band.
  double StepAt(const Window& window) const;

 private:
  const SystemBridge& bridge_;
  Affine toWorld_;
  Affine toPixels_;  // the shift included
  Affine whole_;     // for a bridge that changes nothing
};

}  // namespace zrk
