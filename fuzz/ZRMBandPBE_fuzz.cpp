#include "StoreFuzz.h"
#include "XFormatId.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadAsStore(data, size, "/fuzz.pbe", kFormatPBE);
  return 0;
}
