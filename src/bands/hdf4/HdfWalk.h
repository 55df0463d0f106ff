#pragma once

#include <cstdint>

class XFile;

namespace zrk {

/// Where the raster of an HDF4 file lies, one byte a pixel, row by row from the top.
struct HdfImage {
  int width = 0;
  int height = 0;
  std::int64_t rasterOffset = 0;

  std::int64_t CountPixels() const { return std::int64_t{width} * height; }
};

/// Whether the file begins as HDF4 files do.
bool HasHdfMagic(const XFile& file);

/// Follows the descriptor blocks of a file to the last one. False, with `image` as it was, if the chain comes back to
/// itself or is longer than any real chain. False also if a block or a record does not lie in the file, if the numbers
/// are not unsigned bytes, and for more pixels than the limits allow. The pixels of the answer need not all lie in the
/// file.
bool FindHdfImage(const XFile& file, HdfImage& image);

}  // namespace zrk
