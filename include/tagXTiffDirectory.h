#pragma once

/// One image of a TIFF file, as `ZRMBandGTIFF::GetDirectories` lists them. Values are those of its tags, or the
/// defaults of TIFF for tags that are missing. An image may be listed that the library does not read.
struct tagXTiffDirectory {
  /// Columns and rows, in pixels.
  int width = 0;
  int height = 0;
  /// Channels, an opacity channel counted in.
  int samplesPerPixel = 1;
  /// Bits of one channel of a pixel, not of the pixel.
  int bitsPerSample = 1;
  /// The number of the tag Compression: 1 for samples that are stored plainly.
  int compression = 1;
  /// The tag NewSubfileType: 1 a reduced image, 2 a page, 4 a mask, and sums of them; 0 a full image.
  unsigned subfile = 0;
  /// The shape of a tile in pixels. For an image in strips: its width, and the rows of a strip.
  int blockWidth = 0;
  int blockHeight = 0;
  /// Whether the image is cut into tiles; otherwise into strips.
  bool isTiled = false;
};
