// The input is a file of the stand-in for GDAL's MrSID driver, whose words the driver tells on as they are. So a
// decoder that tells anything is what is tried here. The first byte chooses the policy.

#include "../tests/standins/StandInDriver.h"
#include "RasterFuzz.h"
#include "XLimits.h"
#include "XReadPolicy.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  RegisterStandInDriver("MrSID");
  tagXLimits limits;
  limits.decodedTileBytes = 1 << 22;
  limits.imagePixels = 1 << 24;
  XfnSetLimits(limits);
  XfnSetDefaultReadPolicy(data[0] & 1 ? kReadExact : kReadCompatible);
  ReadAsRaster(data + 1, size - 1, "/fuzz.sid");
  return 0;
}
