#pragma once

#include "XString.h"

#include <cstdint>

class XFile;

namespace zrk {

/// The one raster of an HDF4 file, which lies plainly in it, row by row from the top.
struct HdfRaster {
  int width = 0;
  int height = 0;
  int dataType = 0;  ///< a code of `XDataType.h`
  bool isLittleEndian = false;
  std::int64_t offset = 0;
  std::int64_t length = 0;  ///< of the raster, as its descriptor says
};

/// Finds the raster of a file that has just one: a raster image or a scientific data set of two dimensions. Returns 1,
/// or 0 with a sentence in `err` and `raster` as it was. It fails for a file without such a raster or with several, for
/// pixels that are compressed or in chunks, for several samples a pixel, and for numbers that no data type holds.
int FindHdfRaster(const XFile& file, HdfRaster& raster, XString& err);

}  // namespace zrk
