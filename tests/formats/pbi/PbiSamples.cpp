#include "PbiBuilder.h"
#include "Samples.h"
#include "XFormatId.h"
#include "ZRMBandPBI.h"

namespace {

PbiBuilder SmallPyramid() {
  return PbiBuilder().Level(
      {.level = 2, .llRow = 20, .llCol = 40, .urRow = 21, .urCol = 42, .width = 12, .height = 12});
}

/// A tile size that ends within a block, and transparency of its own.
PbiBuilder LargePyramid() {
  return PbiBuilder().Level(
      {.level = 1, .llRow = 7, .llCol = 3, .urRow = 10, .urCol = 5, .width = 151, .height = 149, .type = 4});
}

}  // namespace

std::vector<Sample> MakePbiSamples() {
  Sample small{"PbiOfSmallTiles",
               kFormatPBI,
               [] { return SmallPyramid().Build(); },
               LevelRule::kDecimated,
               SampleDisk::kPlain,
               true,
               kNoOracle,
               &ResultOf<ZRMBandPBI>,
               0,
               0,
               DamageRule::kOwnSuites};
  Sample large{"PbiOfOddTiles",
               kFormatPBI,
               [] { return LargePyramid().Build(); },
               LevelRule::kDecimated,
               SampleDisk::kPlain,
               false,
               kNoOracle,
               &ResultOf<ZRMBandPBI>};
  small.policy = kReadExact;
  large.policy = kReadExact;
  return {small, large};
}
