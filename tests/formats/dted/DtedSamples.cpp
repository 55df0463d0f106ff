#include "DtedBuilder.h"
#include "Samples.h"
#include "XFormatId.h"

std::vector<Sample> MakeDtedSamples() {
  return {
      // GDAL mistakes the two middle rows of a cell of an even number of them.
      {"Dted", kFormatDTED, [] { return DtedBuilder().Size(41, 31).Build(); }, LevelRule::kDecimated,
       SampleDisk::kPlain, true, 0, nullptr, 0, 0, DamageRule::kOwnSuites},
      {"DtedOverTwoTiles", kFormatDTED, [] { return DtedBuilder().Size(601, 523).Build(); }, LevelRule::kDecimated,
       SampleDisk::kPlain, false, 0, nullptr},
  };
}
