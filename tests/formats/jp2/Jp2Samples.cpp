#include "Jp2Builder.h"
#include "Samples.h"
#include "XFormatId.h"
#include "ZRMBandJ2K.h"

namespace {

/// Damage has suites of its own: under the compatible policy tiles that are missing are 0.
Sample MakeJp2Sample(const char* name, std::vector<unsigned char> (*build)(), XReadPolicy policy, bool isSmall = true) {
  return {.name = name,
          .formatId = kFormatJP2,
          .build = build,
          .levels = LevelRule::kOwn,
          .disk = SampleDisk::kPlain,
          .isSmall = isSmall,
          .oracleTolerance = 0,
          .resultOfMaster = &ResultOf<ZRMBandJ2K>,
          .damage = DamageRule::kOwnSuites,
          .policy = policy};
}

}  // namespace

/// Under the compatible policy the first read of a master is that of another channel, so that only images of one
/// channel keep to what all formats have in common.
std::vector<Sample> MakeJp2Samples() {
  return {
      MakeJp2Sample(
          "Jp2Grey", [] { return Jp2Builder().Size(45, 37).Build(); }, kReadCompatible),
      MakeJp2Sample(
          "Jp2Colour", [] { return Jp2Builder().Size(45, 37).Components(3).Build(); }, kReadExact),
      MakeJp2Sample(
          "Jp2SignedWords", [] { return Jp2Builder().Size(45, 37).Components(2, 16, true).Build(); }, kReadExact),
      MakeJp2Sample(
          "Jp2Codestream",
          [] { return Jp2Builder().Size(45, 37).Components(1, 12).Origin(5, 3).Tiles(16, 16).BuildCodestream(); },
          kReadCompatible),
      MakeJp2Sample(
          "Jp2OverManyTiles", [] { return Jp2Builder().Size(601, 522).Components(3).Tiles(128, 96).Build(); },
          kReadExact, false),
  };
}
