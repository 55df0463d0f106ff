// The input is the data of a GeoJP2 box, and of an MSIG box.

#include "bands/jp2/Jp2Place.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zrk::ParseGeoJp2({data, size});
  zrk::ParseMsig({data, size});
  return 0;
}
