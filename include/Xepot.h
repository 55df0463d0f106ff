#pragma once

#include "XExport.h"

#include <cstdint>

class XFile;
class XThread;
class ZRMBand;

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

  /// Writes the band's pixels as a compressed pyramid store at `offset` of a file that is open for writing. The store
  /// has images 0 to `level` in square tiles of `tileSize`. Its pyramid is one of means, or of the most frequent
  /// samples for a thematic band. No sample is off from that pyramid by more than `quality`; 0.0 keeps every bit.
  /// Answers the bytes of the store, or 0 where the band can't be read, the file can't be written, the store can't be,
  /// or `thread` stops it. The bytes are the same for every number of workers.
  static std::int64_t CompressEPOT_CM3(ZRMBand* band, XFile* file, std::int64_t offset, int tileSize, int level,
                                       double quality, XThread* thread);
  /// The same of a window of the band.
  static std::int64_t CompressEPOT_CM3(ZRMBand* band, XFile* file, std::int64_t offset, int x0, int x1, int y0, int y1,
                                       int tileSize, int level, double quality, XThread* thread);
};
