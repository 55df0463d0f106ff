// The input is an index file. The same bytes are its data file, so that offsets lead to blocks of all kinds. Bits of
// the last byte, which seldom belongs to a record, choose the policy and the name of the data file.

#include "RasterFuzz.h"
#include "XFormatId.h"
#include "XLimits.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  tagXLimits limits;
  limits.decodedTileBytes = 1 << 20;
  XfnSetLimits(limits);
  MemoryDisk disk;
  disk.Add("/fuzz.txi", {data, size});
  disk.Add(data[size - 1] & 2 ? "/fuzz_0.txd" : "/fuzz.txd", {data, size});
  const zrk::ScopedDisk scope(disk);

  XRSFile file;
  file.SetReadPolicy(data[size - 1] & 1 ? kReadExact : kReadCompatible);
  XString err;
  if (!XRSFileIO::LoadFileRaster(&file, kFormatTXID, "/fuzz.txi", err, 0, kLevelNone, nullptr)) return 0;
  for (const int level : {0, 1, 3}) {
    for (const bool isAtEnd : {false, true}) {
      for (const int channel : {0, 3}) ReadCorner(*file.GetBandAt(channel), level, isAtEnd);
    }
  }
  ZRMBand& band = *file.GetBandAt(1);
  const int right = band.GetXSize() - 1, bottom = band.GetYSize() - 1;
  tagXArr2* out = nullptr;
  // Wide enough for whole blocks to go straight to the result.
  band.ReadSubset(out, 0, std::max(right - 150, 0), right, std::max(bottom - 10, 0), bottom, nullptr);
  for (const int level : {2, 1, 5, 24, 30}) {
    const std::int64_t pixels = ((std::int64_t{right} >> level) + 1) * ((std::int64_t{bottom} >> level) + 1);
    if (pixels < 1 << 11) band.ReadSubset(out, level, 0, right, 0, bottom, nullptr);
    band.ReadSubset(out, 0, right / 2, right / 2, bottom / 3, bottom / 3, nullptr);
  }
  return 0;
}
