// The input is a level file, which lies beside a bitmap that is always the same: 41 x 30 pixels of 24 bits. An input of
// an odd number of bytes is read exactly, and is used where what it tells of the bitmap's bytes agrees. The bands of
// the bitmap have no levels of their own and so take the short form only. Stores are reached through a dataset whose
// bands have levels.

#include "MemoryDisk.h"
#include "RasterFuzz.h"
#include "Xepot.h"
#include "XLimits.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "ZRMBandDRIO.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

namespace {

/// A band of 41 x 30 samples that has levels and no pixels.
class LevelledBand : public ZRMBandDRIO {
 public:
  explicit LevelledBand(int dataType) {
    SetSize(41, 30);
    SetDataType(dataType);
    SetTileSize(16, 16);
    SetUpperLeft(0.0, 30.0);
  }
  int GetLevel() override { return Xepot::CalcProperLevel(GetXSize(), GetYSize(), GetXTileSize(), GetYTileSize()); }
  using ZRMBandDRIO::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    return ReadFromLevelData(out, level, x0, x1, y0, y1, cancel);
  }
  int CalcStatistics(int) override { return CalcStatisticsAtLevel(2, 1); }
  int CleanupMemory(int, int) override { return 1; }
};

std::vector<unsigned char> MakeBitmap() {
  constexpr int kWidth = 41, kHeight = 30, kRowBytes = 124;
  std::vector<unsigned char> bytes(54 + kHeight * kRowBytes, 7);
  std::fill(bytes.begin(), bytes.begin() + 54, 0);
  bytes[0] = 'B';
  bytes[1] = 'M';
  bytes[14] = 40;
  bytes[18] = kWidth;
  bytes[22] = kHeight;
  bytes[26] = 1;
  bytes[28] = 24;
  return bytes;
}

/// The bitmap itself is always the same, so it is looked at once, and levels are read where there are some.
void ReadPixels(XRSFile& dataset) {
  tagXArr2* out = nullptr;
  if (!dataset.GetBandAt(0)->ReadSubset(out, 1, 0, 15, 0, 15, nullptr)) __builtin_trap();
}

void ReadLevels(XRSFile& dataset) {
  for (int i = 0; i < dataset.GetNumOfBands(); ++i) {
    ZRMBand& band = *dataset.GetBandAt(i);
    tagXArr2* out = nullptr;
    for (const int level : {0, 1, 2, 3}) {
      band.ReadSubset(out, level, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, nullptr);
      band.ReadSubset(out, level, 17, band.GetXSize() - 1, 9, band.GetYSize() - 1, nullptr);
    }
    band.CalcStatistics(1);
  }
}

/// The disk is read-only, so an update must say that it failed.
void Update(XRSFile& dataset) {
  XSpatialReference sr;
  XString err;
  if (XRSFileIO::UpdateFileXLD_SR(&dataset, &sr, err) != 0) __builtin_trap();
}

void UseBitmap(XReadPolicy policy) {
  XRSFile dataset;
  dataset.SetReadPolicy(policy);
  XString err;
  if (!XRSFileIO::LoadFileBMP(&dataset, "/fuzz.bmp", err, 0, kLevelNone, nullptr)) __builtin_trap();
  ReadPixels(dataset);
  if (XfnIsValidZRMLevelData(&dataset)) ReadLevels(dataset);
  Update(dataset);
}

/// The level file is that of bands as many and of the type that its text says, so that it seldom fails for these.
void UseLevelledBands(std::string_view bytes, XReadPolicy policy) {
  constexpr std::string_view kBand = "<XRS_TAG_BAND>", kType = "<XRS_TAG_BAND_DATATYPE>";
  const std::size_t place = bytes.find(kType);
  const int dataType = place < bytes.size() - kType.size() ? bytes[place + kType.size()] - '0' : 0;
  XRSFile dataset;
  dataset.SetReadPolicy(policy);
  dataset.SetName("/fuzz.bmp");
  dataset.SetFilePath("/fuzz.bmp");
  for (std::size_t band = bytes.find(kBand); band != bytes.npos && dataset.GetNumOfBands() < 3;
       band = bytes.find(kBand, band + 1)) {
    dataset.AddBand(new LevelledBand(dataType));
    dataset.GetBandAt(dataset.GetNumOfBands() - 1)->SetReadPolicy(policy);
  }
  XString err;
  if (XRSFileIO::LoadFileXLD(&dataset, "/fuzz.bmp", err, kLevelNone, nullptr)) ReadLevels(dataset);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tagXLimits limits;
  limits.xmlBytes = 1 << 20;
  limits.xmlElements = 1 << 14;
  XfnSetLimits(limits);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<unsigned char> kBitmap = MakeBitmap();
  MemoryDisk disk;
  disk.Add("/fuzz.bmp", kBitmap);
  disk.Add("/fuzz.xld", {data, size});
  const zrk::ScopedDisk scope(disk);
  const XReadPolicy policy = PolicyOf(size);
  UseBitmap(policy);
  UseLevelledBands({reinterpret_cast<const char*>(data), size}, policy);
  return 0;
}
