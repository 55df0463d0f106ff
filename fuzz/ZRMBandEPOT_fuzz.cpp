#include "LercChecksum.h"
#include "RasterFuzz.h"
#include "XLimits.h"

#include <cstddef>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

/// Limits are small, so that memory that is taken wrongly stands out from memory that a file may rightly ask for.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tagXLimits limits;
  limits.imagePixels = 1 << 22;
  limits.decodedTileBytes = 1 << 20;
  limits.tableBytes = 1 << 20;
  limits.xmlBytes = 1 << 20;
  limits.xmlElements = 1 << 14;
  XfnSetLimits(limits);
  return 0;
}

/// Damaged tiles get their checksum set right half of the time, so that the decoder does not stop there.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  const std::size_t newSize = LLVMFuzzerMutate(data, size, maxSize);
  if (seed % 2) FixLercChecksums({data, newSize});
  return newSize;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadAsRaster(data, size, "/fuzz.zrm");
  return 0;
}
