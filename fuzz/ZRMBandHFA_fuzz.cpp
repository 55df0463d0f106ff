// The input is an HFA file. The first byte chooses the policy.

#include "RasterFuzz.h"
#include "XFormatId.h"
#include "XLimits.h"
#include "XReadPolicy.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  tagXLimits limits;
  limits.decodedTileBytes = 1 << 22;
  limits.imagePixels = 1 << 24;
  limits.tableBytes = 1 << 20;
  XfnSetLimits(limits);
  ReadAsRaster(data + 1, size - 1, "/fuzz.img", kFormatHFA, data[0] & 1 ? kReadExact : kReadCompatible);
  return 0;
}
