// The input is a file of the stand-in for GDAL's MrSID driver, whose words the driver tells on as they are. So a
// decoder that tells anything is what is tried here. The first byte chooses the policy.

#include "../tests/standins/StandInDriver.h"
#include "RasterFuzz.h"
#include "XFormatId.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RegisterStandInDriver("MrSID");
  ReadBehindPolicy(data, size, "/fuzz.sid", kFormatSID);
  return 0;
}
