#include "JpegBuilder.h"
#include "Samples.h"
#include "XFormatId.h"
#include "ZRMBandJPG.h"

namespace {

Sample SmallJpeg(const char* name, std::vector<unsigned char> (*build)(), int tolerance) {
  return {name,      kFormatJPG,           build, LevelRule::kFullResolution, SampleDisk::kPlain, true,
          tolerance, &ResultOf<ZRMBandJPG>};
}

}  // namespace

std::vector<Sample> MakeJpegSamples() {
  return {
      SmallJpeg(
          "JpegGrey", [] { return JpegBuilder().Size(45, 37).Grey().Build(); }, 0),
      SmallJpeg(
          "JpegColour", [] { return JpegBuilder().Size(45, 37).Build(); }, 0),
      SmallJpeg(
          "JpegProgressive", [] { return JpegBuilder().Size(45, 37).Progressive().Build(); }, 0),
      // GDAL cuts the product of an ink and black where we round it.
      SmallJpeg(
          "JpegCmyk", [] { return JpegBuilder().Size(45, 37).Cmyk().Build(); }, 1),
      {"JpegOverTwoTiles", kFormatJPG, [] { return JpegBuilder().Size(601, 522).Build(); }, LevelRule::kFullResolution,
       SampleDisk::kPlain, false, 0, &ResultOf<ZRMBandJPG>},
  };
}
