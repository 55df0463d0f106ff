#include "BmpBuilder.h"
#include "Samples.h"
#include "XFormatId.h"
#include "ZRMBandBMP.h"

namespace {

Sample SmallBmp(const char* name, std::vector<unsigned char> (*build)()) {
  return {name, kFormatBMP, build, LevelRule::kFullResolution, SampleDisk::kPlain, true, 0, &ResultOf<ZRMBandBMP>};
}

/// 4000 x 2700 pixels of 3 bytes are 32,400,000 bytes, and so are mapped.
std::vector<unsigned char> BuildLargeBmp() {
  return BmpBuilder().Size(4000, 2700).Build();
}

}  // namespace

std::vector<Sample> MakeBmpSamples() {
  return {
      SmallBmp("Bmp8", [] { return BmpBuilder().Size(41, 30).Bits(8).Build(); }),
      SmallBmp("Bmp8ShortPalette",
               [] {
                 const auto index = [](int x, int y) { return static_cast<std::uint32_t>((x + y) % 6); };
                 return BmpBuilder().Size(41, 30).Bits(8).Palette(6).ClrUsed(6).Pixel(index).Build();
               }),
      SmallBmp("Bmp24", [] { return BmpBuilder().Size(41, 30).Build(); }),
      SmallBmp("Bmp32", [] { return BmpBuilder().Size(41, 30).Bits(32).Build(); }),
      {"Bmp24OverTwoTiles", kFormatBMP, [] { return BmpBuilder().Size(601, 522).Build(); }, LevelRule::kFullResolution,
       SampleDisk::kPlain, false, 0, &ResultOf<ZRMBandBMP>},
      {"Bmp24Mapped", kFormatBMP, &BuildLargeBmp, LevelRule::kFullResolution, SampleDisk::kPlain, false, 0,
       &ResultOf<ZRMBandBMP>},
      {"Bmp24ThroughFile", kFormatBMP, &BuildLargeBmp, LevelRule::kDecimated, SampleDisk::kWithoutMaps, false, 0,
       &ResultOf<ZRMBandBMP>},
  };
}
