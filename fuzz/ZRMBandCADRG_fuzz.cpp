#include "RasterFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadAsRaster(data, size, "/fuzz.on1");
  FindFormat(data, size);
  return 0;
}
