#include "MemoryBand.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XRSFileIO.h"

#include <memory>

namespace {

/// A native raster file of 41 x 30 bytes a band, with all the levels that tiles of 8 x 8 give.
std::vector<unsigned char> BuildNative(int numBands, bool isCompressed) {
  constexpr int kWidth = 41, kHeight = 30, kLevels = 3;
  XRSFile dataset;
  for (int i = 0; i < numBands; ++i) {
    auto band = std::make_unique<MemoryBand>();
    std::vector<unsigned char> samples;
    for (int k = 0; k < kWidth * kHeight; ++k) samples.push_back(static_cast<unsigned char>(k * (7 + 2 * i) + k / 41));
    band->SetSamples(kWidth, kHeight, samples);
    band->SetTileSize(8, 8);
    dataset.AddBand(band.release());
  }
  const TempFolder folder;
  const XString path = folder.Path("native.zrm");
  XString err;
  constexpr int kRight = kWidth - 1, kBottom = kHeight - 1;
  if (isCompressed) {
    XRSFileIO::SaveFileZRMComp(&dataset, path, kLevels, 0, kRight, 0, kBottom, 0.0, err, nullptr, 0);
  } else {
    XRSFileIO::SaveFileZRM(&dataset, path, kLevels, 0, kRight, 0, kBottom, err, nullptr, 100, 0, 1);
  }
  return ReadBytes(path.AsStdString());
}

Sample Native(const char* name, bool isSmall, std::vector<unsigned char> (*build)()) {
  return {name, kFormatZRM, build, LevelRule::kMeans, SampleDisk::kPlain, isSmall, kNoOracle, nullptr};
}

}  // namespace

std::vector<Sample> MakeZrmSamples() {
  return {
      Native("NativePlain", true, [] { return BuildNative(1, false); }),
      Native("NativePlain3Bands", false, [] { return BuildNative(3, false); }),
      Native("NativeCompressed", true, [] { return BuildNative(1, true); }),
      Native("NativeCompressed3Bands", false, [] { return BuildNative(3, true); }),
  };
}
