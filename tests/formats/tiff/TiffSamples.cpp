#include "Samples.h"
#include "TiffBuilder.h"
#include "XFormatId.h"

#include <bit>

namespace {

/// Tiles are of 16 x 16, strips of 8 rows; images of 41 x 30 have tiles and strips that overhang them.
TiffBuilder Tiles() {
  return TiffBuilder().Size(41, 30).Tiles(16, 16);
}

TiffBuilder Strips() {
  return TiffBuilder().Size(41, 30).Strips(8);
}

std::uint64_t SmoothPixel(int x, int y, int sample) {
  return static_cast<std::uint64_t>(3 * x + 4 * y + 40 * sample) & 255u;
}

std::uint64_t RealPixel(int x, int y, int sample) {
  return std::bit_cast<std::uint32_t>(static_cast<float>(TiffBuilder::AnyPixel(x, y, sample) % 2000) / 8.0f - 100.0f);
}

/// Sixteen of them, red, green and blue rising at different rates.
std::vector<std::uint16_t> FewColours() {
  std::vector<std::uint16_t> components;
  for (int rate = 1; rate <= 3; ++rate) {
    for (int i = 0; i < 16; ++i) components.push_back(static_cast<std::uint16_t>(i * rate * 5 * 257));
  }
  return components;
}

Sample Tiff(const char* name, std::vector<unsigned char> (*build)(), int blockWidth, int blockHeight) {
  return {name,    kFormatTIF, build,       LevelRule::kDecimatedByBlock, SampleDisk::kPlain, true, 0,
          nullptr, blockWidth, blockHeight, DamageRule::kOwnSuites};
}

Sample TiledTiff(const char* name, std::vector<unsigned char> (*build)()) {
  return Tiff(name, build, 16, 16);
}

Sample StrippedTiff(const char* name, std::vector<unsigned char> (*build)()) {
  return Tiff(name, build, 41, 8);
}

}  // namespace

std::vector<Sample> MakeTiffSamples() {
  return {
      StrippedTiff("TiffStrips", [] { return Strips().Build(); }),
      TiledTiff("TiffTiles", [] { return Tiles().Build(); }),
      StrippedTiff("TiffBig", [] { return Strips().BigTiff().Samples(2).Build(); }),
      TiledTiff("TiffBigEndian", [] { return Tiles().BigEndian().Bits(16).Format(2).Build(); }),
      TiledTiff("TiffPlanes", [] { return Tiles().Samples(3).Photometric(2).Planar().Build(); }),
      TiledTiff("TiffLzw", [] { return Tiles().Samples(3).Photometric(2).Compression(5).Predictor(2).Encode(); }),
      StrippedTiff("TiffDeflate", [] { return Strips().Bits(16).Compression(8).Predictor(2).Encode(); }),
      StrippedTiff("TiffPackBits", [] { return Strips().Compression(32773).Pixel(SmoothPixel).Encode(); }),
      StrippedTiff("TiffReals",
                   [] { return Strips().Bits(32).Format(3).Compression(8).Predictor(3).Pixel(RealPixel).Encode(); }),
      TiledTiff("Tiff12Bits", [] { return Tiles().Bits(12).Samples(2).Build(); }),
      StrippedTiff("Tiff5Bits", [] { return Strips().Bits(5).Build(); }),
      StrippedTiff("TiffBilevel", [] { return Strips().Bits(1).Build(); }),
      StrippedTiff("TiffFax", [] { return Strips().Bits(1).Compression(4).Encode(); }),
      TiledTiff("TiffPalette", [] { return Tiles().Bits(4).Photometric(3).ColourMap(FewColours()).Build(); }),
      TiledTiff("TiffJpeg",
                [] { return Tiles().Samples(3).Photometric(6).Compression(7).Pixel(SmoothPixel).Encode(); }),
      {"TiffOverTwoTiles", kFormatTIF,
       [] { return TiffBuilder().Size(601, 522).Tiles(64, 48).Samples(3).Photometric(2).Compression(5).Encode(); },
       LevelRule::kDecimatedByBlock, SampleDisk::kPlain, false, 0, nullptr, 64, 48},
      {"TiffThroughFile", kFormatTIF, [] { return TiffBuilder().Size(601, 522).Strips(50).Samples(2).Build(); },
       LevelRule::kDecimatedByBlock, SampleDisk::kWithoutMaps, false, 0, nullptr, 601, 50},
  };
}
