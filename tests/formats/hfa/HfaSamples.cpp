#include "HfaBuilder.h"
#include "Samples.h"
#include "XFormatId.h"

std::vector<Sample> MakeHfaSamples() {
  return {
      // Compatible loads tell no reasons, and give the first band no statistics.
      {"Hfa", kFormatHFA, [] { return HfaBuilder().Size(41, 31).Place(10.0, 0.5, 50.0, 0.25).Epsg(4326).Build(); },
       LevelRule::kDecimated, SampleDisk::kPlain, true, 0, nullptr, 0, 0, DamageRule::kOwnSuites, kReadExact},
      {"HfaThreeLayersCompressed", kFormatHFA,
       [] { return HfaBuilder().Size(150, 131).Layers(3).Option("COMPRESSED=YES").Build(); },
       LevelRule::kDecimatedByBlock, SampleDisk::kPlain, false, 0, nullptr, 64, 64, DamageRule::kOwnSuites},
  };
}
