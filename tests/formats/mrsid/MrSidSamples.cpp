#include "Samples.h"
#include "StandInBytes.h"
#include "StandIns.h"
#include "XCodecFolder.h"
#include "XFormatId.h"
#include "ZRMBandMrSID.h"

// The samples are files of the stand-in library, which programs that use samples find from here on.

std::vector<Sample> MakeMrSidSamples() {
  XfnSetCodecFolder(StandInFolder("whole"));
  return {
      {"MrSid", kFormatSID, [] { return StandInBytes("width=41 height=31 bands=1 type=4"); }, LevelRule::kOwn,
       SampleDisk::kPlain, false, kNoOracle, &ResultOf<ZRMBandMrSID>, 0, 0, DamageRule::kOwnSuites},
      {"MrSidThreeChannels", kFormatSID, [] { return StandInBytes("width=310 height=203 bands=3"); }, LevelRule::kOwn,
       SampleDisk::kPlain, false, kNoOracle, &ResultOf<ZRMBandMrSID>, 0, 0, DamageRule::kOwnSuites},
  };
}
