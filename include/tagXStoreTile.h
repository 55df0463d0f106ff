#pragma once

#include "XPixelFormat.h"

#include <vector>

/// A tile as a store keeps it.
struct tagXStoreTile {
  int width = 0;  ///< in pixels or posts
  int height = 0;
  _XDXTTYPE blockType = kDxtNone;    ///< how `bytes` is packed; `kDxtNone` for heights
  std::vector<unsigned char> bytes;  ///< the tile as it lies in the file
  /// Unpacked pixels of an image: red, green, blue and opacity, the uppermost row first. Empty for heights.
  std::vector<unsigned char> rgba;
  /// Heights row by row, the northern edge first. Empty for an image.
  std::vector<float> heights;
};
