#include "StoreFuzz.h"
#include "XFormatId.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadAsStore(data, size, "/fuzz.pbi", kFormatPBI);
  return 0;
}
