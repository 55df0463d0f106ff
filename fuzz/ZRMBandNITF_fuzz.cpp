// The input is a NITF file. The first byte chooses the policy. GDAL is kept from its table of tagged records, which it
// would parse anew for each file that has some: that takes a hundred times as long as the rest, and the table is no
// input.

#include "RasterFuzz.h"
#include "XFormatId.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return setenv("GDAL_DATA", "/nowhere", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadBehindPolicy(data, size, "/fuzz.ntf", kFormatNITFIMG);
  return 0;
}
