#include "RpfFrameBuilder.h"
#include "Samples.h"
#include "XFormatId.h"
#include "ZRMBandCADRG.h"

namespace {

using Frame = RpfFrameBuilder;

/// GDAL has bands other than ours of frames that are not of three colours or not compressed.
Sample Cadrg(const char* name, bool isSmall, int tolerance, std::vector<unsigned char> (*build)()) {
  return {name,
          kFormatCADRG,
          build,
          LevelRule::kFullResolution,
          SampleDisk::kPlain,
          isSmall,
          tolerance,
          &ResultOf<ZRMBandCADRG>,
          0,
          0,
          DamageRule::kOwnSuites};
}

}  // namespace

std::vector<Sample> MakeCadrgSamples() {
  return {
      Cadrg("CadrgWhole", false, 0, [] { return Frame().Build(); }),
      Cadrg("CadrgMasked", true, kNoOracle,
            [] { return Frame().OneLookupTable().Absent(Frame::AllButOne()).Transparent(5).Build(); }),
      Cadrg("CadrgPlain", false, kNoOracle, [] { return Frame().Plain().ColorTable(4, 217, 4).Build(); }),
  };
}
