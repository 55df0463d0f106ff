#include "HdfBuilder.h"
#include "Samples.h"
#include "XFormatId.h"

std::vector<Sample> MakeHdf4Samples() {
  return {
      {"Hdf4", kFormatHDF4, [] { return HdfBuilder().Size(41, 30).Build(); }, LevelRule::kFullResolution,
       SampleDisk::kPlain, true, 0, nullptr, 0, 0, DamageRule::kFillsUp},
      {"Hdf4Blocks", kFormatHDF4, [] { return HdfBuilder().Size(41, 30).BlockSize(2).Build(); },
       LevelRule::kFullResolution, SampleDisk::kPlain, true, 0, nullptr, 0, 0, DamageRule::kFillsUp},
      {"Hdf4OverTwoTiles", kFormatHDF4, [] { return HdfBuilder().Size(601, 522).Build(); }, LevelRule::kFullResolution,
       SampleDisk::kPlain, false, 0, nullptr},
  };
}
