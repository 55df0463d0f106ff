// The input is a JPEG 2000 file or a codestream. It is read as any raster is, under both policies, and its boxes are
// listed.

#include "RasterFuzz.h"

#include "XLimits.h"
#include "ZRMBandJ2K.h"

namespace {

constexpr const char* kPath = "/fuzz.jp2";

/// What only bands of this format do.
void ListBoxesOf(const std::uint8_t* data, std::size_t size) {
  MemoryDisk disk;
  disk.Add(kPath, {data, size});
  const zrk::ScopedDisk scope(disk);
  ZRMBandJ2K band(nullptr);
  band.SetReadPolicy(kReadExact);
  XString err;
  if (!band.ReadFile(kPath, err, nullptr)) return;
  band.ListBoxes();
  band.GetCodestreamInfo();
  tagXArr2* out = nullptr;
  band.ReadSubset(out, 0, 0, band.GetXSize() / 2, 0, band.GetYSize() / 2, nullptr);
}

}  // namespace

/// Work grows with the samples, so those of a fuzz run are held few.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tagXLimits limits;
  limits.imagePixels = 1 << 18;
  limits.decodedTileBytes = 8 << 20;
  limits.channels = 16;
  XfnSetLimits(limits);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadAsRaster(data, size, kPath);
  ListBoxesOf(data, size);
  return 0;
}
