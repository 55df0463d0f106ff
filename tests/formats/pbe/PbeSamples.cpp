#include "PbeBuilder.h"
#include "Samples.h"
#include "XFormatId.h"

namespace {

PbeBuilder SmallPyramid() {
  return PbeBuilder().Smooth().Level(
      {.level = 2, .llRow = 20, .llCol = 40, .urRow = 21, .urCol = 42, .width = 9, .height = 9});
}

PbeBuilder LargePyramid() {
  return PbeBuilder().Smooth().Level({.level = 3, .llRow = 40, .llCol = 80, .urRow = 52, .urCol = 99});
}

}  // namespace

std::vector<Sample> MakePbeSamples() {
  Sample small{"PbeOfSmallTiles",
               kFormatPBE,
               [] { return SmallPyramid().Build(); },
               LevelRule::kDecimated,
               SampleDisk::kPlain,
               true,
               kNoOracle,
               nullptr,
               0,
               0,
               DamageRule::kOwnSuites};
  Sample large{"PbeOfManyTiles",
               kFormatPBE,
               [] { return LargePyramid().Build(); },
               LevelRule::kDecimated,
               SampleDisk::kPlain,
               false,
               kNoOracle,
               nullptr};
  small.policy = kReadExact;
  large.policy = kReadExact;
  return {small, large};
}
