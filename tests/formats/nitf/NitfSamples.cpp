#include "NitfBuilder.h"
#include "Samples.h"
#include "XFormatId.h"

std::vector<Sample> MakeNitfSamples() {
  return {
      {"NitfBytes", kFormatNITFIMG,
       [] {
         return NitfBuilder()
             .Size(41, 31)
             .Corners('G', "100000N0100000E100000N0120000E080000N0120000E080000N0100000E")
             .Build();
       },
       LevelRule::kDecimated, SampleDisk::kPlain, true, 0, nullptr, 0, 0, DamageRule::kOwnSuites, kReadExact},
      {"NitfThreeBandsInBlocks", kFormatNITFIMG,
       [] { return NitfBuilder().Size(150, 131).Bands(3).Type("INT", 16).Mode('P').Blocks(64, 32).Build(); },
       LevelRule::kDecimated, SampleDisk::kPlain, false, 0, nullptr, 0, 0, DamageRule::kOwnSuites},
  };
}
