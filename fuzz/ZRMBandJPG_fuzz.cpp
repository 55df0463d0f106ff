#include "RasterFuzz.h"

#include "XLimits.h"

/// The decoder's own work grows with the pixels promised, so an image of a fuzz run is held small.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tagXLimits limits;
  limits.imagePixels = 1 << 16;
  limits.jpegScans = 20;
  XfnSetLimits(limits);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadAsRaster(data, size, "/fuzz.jpg");
  return 0;
}
