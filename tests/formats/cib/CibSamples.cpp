#include "RpfFrameBuilder.h"
#include "Samples.h"
#include "XFormatId.h"

namespace {

using Frame = RpfFrameBuilder;

Sample Cib(const char* name, bool isSmall, std::vector<unsigned char> (*build)()) {
  return {name,    kFormatCIB, build, LevelRule::kFullResolution, SampleDisk::kPlain, isSmall, kNoOracle,
          nullptr, 0,          0,     DamageRule::kOwnSuites};
}

}  // namespace

std::vector<Sample> MakeCibSamples() {
  return {
      Cib("CibWhole", false, [] { return Frame().LittleEndian().Grey().Build(); }),
      Cib("CibMasked", true, [] { return Frame().Plain().Grey().Absent(Frame::AllButOne()).Build(); }),
  };
}
