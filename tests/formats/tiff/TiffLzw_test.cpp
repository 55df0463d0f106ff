// LZW blocks that are decoded without libtiff have the samples that libtiff packed.

#include "TiffChannels.h"
#include "XDataType.h"

#include <tiff.h>

namespace {

class TiffLzwBlocks : public TiffFiles {};

TiffBuilder Lzw(int bits, int samples) {
  return TiffBuilder().Size(300, 210).Bits(bits).Samples(samples).Compression(COMPRESSION_LZW);
}

/// Long strings of equal pixels, and short ones.
std::uint64_t Steps(int x, int y, int sample) {
  return static_cast<std::uint64_t>(x / 40 * 37 + y / 9 * (sample + 3) + (y % 5 == 0 ? x : 0));
}

TEST_F(TiffLzwBlocks, AreAsPackedInAllWidthsAndLayouts) {
  for (const int bits : {8, 16, 32}) {
    const int type = bits == 8 ? kPint08 : bits == 16 ? kPint16 : kPint32;
    const std::string what = std::to_string(bits) + " bits";
    ExpectSamples(Lzw(bits, 1).Tiles(64, 128), type, what + ", tiles");
    ExpectSamples(Lzw(bits, 3).Tiles(128, 64).Pixel(Steps), type, what + ", steps");
    ExpectSamples(Lzw(bits, 4).Strips(50).Planar().Pixel(Steps), type, what + ", planes");
    ExpectSamples(Lzw(bits, 3).Strips(33).BigEndian(), type, what + ", the other order");
  }
}

TEST_F(TiffLzwBlocks, AreAsPackedWithDifferences) {
  for (const int bits : {8, 16, 32}) {
    const int type = bits == 8 ? kPint08 : bits == 16 ? kPint16 : kPint32;
    const std::string what = std::to_string(bits) + " bits";
    ExpectSamples(Lzw(bits, 1).Tiles(64, 128).Predictor(2), type, what + ", tiles");
    ExpectSamples(Lzw(bits, 3).Tiles(128, 64).Predictor(2).Pixel(Steps), type, what + ", steps");
    ExpectSamples(Lzw(bits, 3).Strips(33).Predictor(2).BigEndian(), type, what + ", the other order");
    ExpectSamples(Lzw(bits, 2).Strips(210).Planar().Predictor(2), type, what + ", planes");
  }
}

TEST_F(TiffLzwBlocks, AreAsPackedWithTheLowestBitFirst) {
  ExpectSamples(Lzw(8, 3).Tiles(64, 64).LowBitFirst(), kPint08);
}

}  // namespace
