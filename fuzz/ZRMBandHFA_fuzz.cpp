// The input is an HFA file. The first byte chooses the policy.

#include "RasterFuzz.h"
#include "XFormatId.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadBehindPolicy(data, size, "/fuzz.img", kFormatHFA);
  return 0;
}
