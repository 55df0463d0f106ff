#pragma once

#include "XExport.h"

/// Level arithmetic of tiled pyramids.
class ZRKIO_API Xepot {
 public:
  /// The smallest n >= 0 with (xSize >> n) <= xTileSize and (ySize >> n) <= yTileSize; 0 where a tile size is not
  /// positive.
  static int CalcProperLevel(int xSize, int ySize, int xTileSize, int yTileSize);

  /// The largest n in 0..levels for which ((x1 - x0 + 1) >> n) >= width and ((y1 - y0 + 1) >> n) >= height; 0 if none
  /// is.
  static int GetHighestLevelForTarget(int xSize, int ySize, int levels, int xTileSize, int yTileSize, int x0, int x1,
                                      int y0, int y1, int width, int height);
};
