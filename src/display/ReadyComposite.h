#pragma once

#include "display/BandPainter.h"

#include <array>
#include <optional>

namespace zrk {

/// A composite as it was set up.
struct CompositeSettings {
  struct Band {
    ZRMBand* band = nullptr;
    BandSettings settings;
    std::optional<tagXSubsetStatistics> subset;
    Affine toWorld;                  ///< of its pixels
    std::optional<Affine> toPixels;  ///< of its world
  };

  int mode = kModeColours;
  std::array<Band, kCompositeBands> bands;
  Band opacity;
  double opaqueSample = 0.0;  ///< the type tells it where it is not above 0
  std::optional<Extent> drawRange;

  /// The first band that is there; null without bands.
  const Band* First() const;
  int CountBands() const;
  /// What is drawn; not set without bands.
  Extent GetDrawRange() const;
};

/// The outer edges of a band in its world.
Extent ExtentOf(const CompositeSettings::Band& band);

/// A composite made ready for draws. Nobody changes it, so that any number of threads draw from it.
struct ReadyComposite {
  struct Pixel {
    unsigned char blue;
    unsigned char green;
    unsigned char red;
  };

  std::array<std::optional<BandLook>, kCompositeBands> looks;  ///< of the bands that are shown
  std::array<PaintedBand, kCompositeBands> bands;
  std::optional<BandLook> opacityLook;  ///< of a composite that has opacity
  PaintedBand opacity;
  std::array<int, 3> bandOfByte = {-1, -1, -1};  ///< which band gives blue, green and red; -1 where that is 0
  bool isTable = false;
  std::array<Pixel, 256> table = {};

  /// Returns null where statistics that a stretch needs can't be had, or a band can't be placed.
  static std::unique_ptr<const ReadyComposite> Make(const CompositeSettings& settings);
  bool HasBands() const { return looks[0] || looks[1] || looks[2]; }

 private:
  bool Add(int index, const CompositeSettings& settings);
  bool AddOpacity(const CompositeSettings& settings);
};

}  // namespace zrk
