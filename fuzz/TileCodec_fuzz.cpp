// The input is one compressed tile with its shape. The decoder writes to room for just that tile. Checksums are set
// right most of the time, since the decoder would stop at a wrong one.

#include "codec/TileCodec.h"
#include "LercChecksum.h"
#include "XDataType.h"

#include <cstddef>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  const std::size_t newSize = LLVMFuzzerMutate(data, size, maxSize);
  if (seed % 8) FixLercChecksums({data, newSize});
  return newSize;
}

/// The input is a byte each for the coding, the data type, the columns and the rows of a tile, and then its blob.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kHeadBytes = 4;
  if (size < kHeadBytes) return 0;
  const auto coding = static_cast<zrk::TileCoding>(data[0] % 4);
  const int dataType = kPint08 + data[1] % (kReal64 - kPint08 + 1);
  const int width = data[2] + 1, height = data[3] + 1;
  // The blob and the samples have a place of their own, so that a step beyond either is seen.
  const std::vector<unsigned char> blob(data + kHeadBytes, data + size);
  std::vector<unsigned char> samples(static_cast<std::size_t>(width * height * XfnGetDataSize(dataType)));
  zrk::TileRoom room;
  zrk::DecodeTile(blob, coding, dataType, width, height, samples.data(), room);
  return 0;
}
