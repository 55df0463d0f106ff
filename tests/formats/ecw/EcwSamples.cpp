#include "Samples.h"
#include "StandInBytes.h"
#include "StandIns.h"
#include "XCodecFolder.h"
#include "XFormatId.h"

// The samples are files of the stand-in library, which programs that use samples find from here on.

std::vector<Sample> MakeEcwSamples() {
  XfnSetCodecFolder(StandInFolder("whole"));
  return {
      {"Ecw", kFormatECW, [] { return EcwStandInBytes("width=41 height=31 bands=1"); }, LevelRule::kOwn,
       SampleDisk::kPlain, false, kNoOracle, nullptr, 0, 0, DamageRule::kOwnSuites},
      {"EcwThreeChannels", kFormatECW, [] { return EcwStandInBytes("width=310 height=203 bands=3 projection=NUTM52"); },
       LevelRule::kOwn, SampleDisk::kPlain, false, kNoOracle, nullptr, 0, 0, DamageRule::kOwnSuites},
  };
}
