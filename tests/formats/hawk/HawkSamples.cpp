#include "HawkBuilder.h"
#include "Samples.h"
#include "XFormatId.h"

namespace {

std::vector<unsigned char> BytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

}  // namespace

std::vector<Sample> MakeHawkSamples() {
  Sample small{"Hawk",
               kFormatHAWK,
               [] { return BuildHawkImage(41, 37, 0); },
               LevelRule::kDecimated,
               SampleDisk::kPlain,
               true,
               kNoOracle,
               nullptr,
               0,
               0,
               DamageRule::kOwnSuites};
  small.policy = kReadExact;
  small.companion = ".XML";
  small.buildCompanion = [] { return BytesOf(HawkBuilder().Size(37, 41).Build()); };
  small.fileName = "hawk.TIF_1";
  return {small};
}
