#pragma once

#include <cstdint>

/// A level of a tile store as the store's header has it. Rows count upward from latitude -90, columns eastward from
/// longitude -180; both ends of the ranges are inclusive. Tiles lie in the file row by row, from the lowest row and the
/// lowest column on, with nothing between them.
struct tagXTileLevel {
  int level = 0;
  int llRow = 0;
  int llCol = 0;
  int urRow = 0;
  int urCol = 0;
  double tileSize = 0.0;  ///< the side of a tile in degrees
  int tileWidth = 0;      ///< in pixels, or in posts of an elevation store
  int tileHeight = 0;
  int storageSize = 0;         ///< bytes of a tile
  int blockType = 0;           ///< `_XDXTTYPE` of an image store; 0 in an elevation store
  std::uint64_t startPos = 0;  ///< offset of the first tile in the file
};
