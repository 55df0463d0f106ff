// The input is a TIFF file. It is read as any raster is, and then by what only bands of this format have: directories,
// single blocks by every reader, and corners.

#include "RasterFuzz.h"

#include "XLimits.h"
#include "XMessageBox.h"
#include "ZRMBandGTIFF.h"

#include <vector>

namespace {

constexpr const char* kPath = "/fuzz.tif";

/// Every reader of single blocks, whether it is the one of the file or not, each into room for just one block.
void ReadBlocks(ZRMBandGTIFF& band) {
  const std::int64_t blockPixels = std::int64_t{band.GetBlockWidth()} * band.GetBlockHeight();
  constexpr std::int64_t kMaxPixels = 1 << 16, kWidestSample = 16;
  if (band.GetBlocksAcross() == 0 || blockPixels > kMaxPixels) return;
  std::vector<unsigned char> room(static_cast<std::size_t>(blockPixels * kWidestSample));
  const int right = band.GetBlocksAcross() - 1, bottom = band.GetBlocksDown() - 1;
  const int channel = band.GetNumChannels() - 1;
  int reserved = 0, size = 0;
  XString err;
  for (const int block : {0, right, right + 1, INT32_MAX}) band.LoadBlockBuf(block, reserved, size);
  band.ReadBlockRaster(0, bottom, channel, room.data(), err);
  for (const int dataType : {1, 3, 5, 7}) band.ReadBlockOddBits(right, 0, channel, dataType, room.data(), err);
  band.ReadBlockRGBA(right, bottom, 3, room.data(), err);
  band.ReadBlockSplitBitmap(0, 0, room.data(), err);
}

/// What only bands of this format do.
void UseAsTiff(const std::uint8_t* data, std::size_t size) {
  MemoryDisk disk;
  disk.Add(kPath, {data, size});
  const zrk::ScopedDisk scope(disk);
  ZRMBandGTIFF band(nullptr);
  XString err;
  if (!band.ReadFile(kPath, err, nullptr)) return;
  band.GetDirectories(8);
  ReadBlocks(band);
  double x[4], y[4];
  XRSFileIO::GetGeoBounding(kPath, x, y);
}

}  // namespace

/// Work grows with the pixels of a block and with the channels, so those of a fuzz run are held small. What the
/// operator is told is not printed.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tagXLimits limits;
  limits.imagePixels = 1 << 20;
  limits.decodedTileBytes = 4 << 20;
  limits.channels = 64;
  XfnSetLimits(limits);
  XfnSetMessageBoxHandler([](const XString&, const XString&, unsigned) { return static_cast<int>(kAnswerOk); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadAsRaster(data, size, kPath);
  UseAsTiff(data, size);
  return 0;
}
