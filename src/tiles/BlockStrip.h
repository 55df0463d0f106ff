#pragma once

#include "XPixelFormat.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrk {

/// The bytes in which a pixel has its components.
struct PixelLayout {
  int bytes;  ///< of a pixel; 0 for a format that has no layout
  int red;
  int green;
  int blue;
  int alpha;  ///< -1 where there is none
};

/// The layout of the formats 1 to 7.
PixelLayout LayoutOf(_XPIXELFORMAT format);

/// A picture in memory whose lowest row lies first.
struct PixelPicture {
  const std::uint8_t* pixels;
  PixelLayout layout;
  int width;
  int height;
};

/// Blocks that lie beside each other, before they are packed: the components of their pixels in planes.
struct BlockStrip {
  static constexpr std::size_t kMaxBlocks = 64;
  /// Row 0 is the lowest. Sample 4 * n + i is that of column i of block n.
  using Plane = std::array<std::array<std::uint8_t, 4 * kMaxBlocks>, 4>;

  alignas(64) Plane red;
  alignas(64) Plane green;
  alignas(64) Plane blue;
  alignas(64) Plane alpha;  ///< 0 for transparent pixels; without meaning where there are none
  bool hasTransparent;      ///< whether a pixel of one of the blocks may be transparent
  std::size_t numBlocks;

  /// Takes up to `kMaxBlocks` blocks from column `x0` on, whose lowest row is `y0`. Columns at and behind the picture's
  /// right edge are taken from its last column.
  void Take(const PixelPicture& picture, int x0, int y0);
};

}  // namespace zrk
