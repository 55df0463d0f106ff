#pragma once

#include "base/Window.h"

#include <cstdint>
#include <vector>

namespace zrk {

/// The samples of one component: how many bits they have, 1 to 16, and whether they have a sign.
struct J2kDepth {
  int precision = 8;
  bool isSigned = false;

  int SampleBytes() const { return precision > 8 ? 2 : 1; }
  friend bool operator==(const J2kDepth&, const J2kDepth&) = default;
};

/// An image and how it is to be coded. All components have its size.
struct J2kPlan {
  int width = 0;
  int height = 0;
  int tileSide = 1024;
  std::vector<J2kDepth> components = {};
  bool isReversible = true;
  int numLevels = 5;  ///< of the wavelet: so many reduced resolutions can be read
  /// The bits of a pixel up to each layer, components together, in ascending order. 0, in the last place, is
  /// everything.
  std::vector<double> rates = {0.0};
  /// In place of the rates: the ratio of the peak signal to the noise up to each layer, in decibels and ascending.
  std::vector<double> decibels = {};

  // Tiles begin at the upper left corner of the image. They are counted row by row.

  int TileWidth() const;
  int TileHeight() const;
  int CountTileColumns() const;
  std::int64_t CountTiles() const;
  /// The pixels of a tile. Tiles at the right and lower edges end with the image.
  Window TileAt(int tile) const;

  /// Bytes of a pixel, all components together.
  std::int64_t PixelBytes() const;
  std::int64_t CountSampleBytes(const Window& part) const { return PixelBytes() * part.Width() * part.Height(); }
  /// Whether the first three components are alike, so that they can be coded as one brightness and two colours.
  bool HasColourTransform() const;
};

}  // namespace zrk
