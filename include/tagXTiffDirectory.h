#pragma once

/// One image of a TIFF file, as `ZRMBandGTIFF::GetDirectories` lists them.
struct tagXTiffDirectory {
  int width = 0;  ///< in pixels
  int height = 0;
  int samplesPerPixel = 1;
  int bitsPerSample = 1;
  int compression = 1;   ///< the number of the tag Compression
  unsigned subfile = 0;  ///< the tag NewSubfileType: 1 a reduced image, 2 a page, 4 a mask, and sums of them
  int blockWidth = 0;    ///< of a tile, or of a strip
  int blockHeight = 0;
  bool isTiled = false;
};
