// Samples of all widths and kinds, in all the ways in which a file can lay them.

#include "TiffChannels.h"
#include "XDataType.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <limits>
#include <string>

namespace {

class ZRMBandGTIFFPixels : public TiffFiles {
 protected:
  /// In strips and tiles, of the orders II and MM, pixel by pixel and plane by plane.
  void ExpectSamplesInAllLayouts(const TiffBuilder& plain, int dataType) {
    for (int i = 0; i < 16; ++i) {
      TiffBuilder file = plain;
      file.Size(37, 29);
      std::string what = std::to_string(plain.GetBits()) + " bits";
      const auto choose = [&](int bit, const char* name) {
        if (i & bit) what += name;
        return (i & bit) != 0;
      };
      if (choose(1, " tiled")) {
        file.Tiles(16, 16);
      } else {
        file.Strips(8);
      }
      file.Samples(choose(2, " of three samples") ? 3 : 1);
      if (choose(4, " in planes")) file.Planar();
      if (choose(8, " MM")) file.BigEndian();
      ExpectSamples(file, dataType, what);
    }
  }

  /// The bits of the singles that a file of short reals gives, which holds them in its first row.
  std::vector<std::uint32_t> Widened(const TiffBuilder& file, int numValues) {
    TiffChannels image(Write(file));
    EXPECT_EQ(kReal32, image.GetMaster().GetDataType());
    std::vector<std::uint32_t> bits;
    for (const std::uint64_t sample : image.Read(0, 0, 0, numValues - 1, 0, 0)) {
      bits.push_back(static_cast<std::uint32_t>(sample));
    }
    EXPECT_EQ(static_cast<std::size_t>(numValues), bits.size());
    return bits;
  }
};

TEST_F(ZRMBandGTIFFPixels, WholeSamplesComeAsTheyAre) {
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(8), kPint08);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(8).Format(2), kPint08);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(16), kPint16);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(16).Format(2), kSint16);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(32), kPint32);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(32).Format(2), kSint32);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(32).Format(3), kReal32);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(64).Format(3), kReal64);
}

TEST_F(ZRMBandGTIFFPixels, PartsOfComplexSamplesKeepTheirOrder) {
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(32).Format(5), kCint16);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(64).Format(5), kCint32);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(64).Format(6), kCreal32);
  for (const bool isBigEndian : {false, true}) {
    auto file = TiffBuilder().Size(37, 29).Strips(8).Bits(64).Format(6).Compression(5);
    if (isBigEndian) file.BigEndian();
    ExpectSamples(file, kCreal32, "LZW");
  }
}

TEST_F(ZRMBandGTIFFPixels, ComplexSamplesOf128BitsHaveTwoDoubles) {
  for (const bool isBigEndian : {false, true}) {
    auto file = TiffBuilder().Size(20, 10).Tiles(16, 16).Bits(128).Format(6).Samples(2);
    if (isBigEndian) file.BigEndian();
    TiffChannels image(Write(file));
    ASSERT_EQ(kCreal64, image.GetMaster().GetDataType());
    tagXArr2* out = nullptr;
    ASSERT_EQ(1, image.At(1).ReadSubset(out, 0, 0, 19, 0, 9, nullptr));
    std::uint64_t parts[2];
    std::memcpy(parts, out->Row(7) + out->colOffsets[18], sizeof parts);
    EXPECT_EQ(TiffBuilder::AnyPixel(18, 7, 2), parts[0]);
    EXPECT_EQ(TiffBuilder::AnyPixel(18, 7, 3), parts[1]);
  }
}

TEST_F(ZRMBandGTIFFPixels, OddWidthsAreUnpackedFromTheHighestBitOn) {
  for (const int bits : {2, 3, 4, 5, 6, 7}) ExpectSamplesInAllLayouts(TiffBuilder().Bits(bits), kPint08);
  for (int bits = 9; bits <= 15; ++bits) ExpectSamplesInAllLayouts(TiffBuilder().Bits(bits), kPint16);
  for (const int bits : {17, 20, 23, 25, 31}) ExpectSamplesInAllLayouts(TiffBuilder().Bits(bits), kPint32);
}

TEST_F(ZRMBandGTIFFPixels, ThreeBytesAreReadWithTheHighestFirst) {
  for (const int samples : {1, 3}) {
    for (const bool isPlanar : {false, true}) {
      auto file = TiffBuilder().Size(37, 29).Strips(8).Bits(24).Samples(samples);
      if (isPlanar) file.Planar();
      ExpectSamples(file, kPint32);
    }
  }
}

TEST_F(ZRMBandGTIFFPixels, ThreeBytesOfTheOrderMmAreTurnedAroundFirst) {
  for (const int samples : {1, 2}) {
    const auto file = TiffBuilder().Size(37, 29).Tiles(16, 16).Bits(24).Samples(samples).BigEndian();
    TiffChannels image(Write(file));
    ReferenceTiff reference(file, samples - 1);
    reference.value = [=](int x, int y) {
      const std::uint64_t value = file.ValueAt(x, y, samples - 1);
      return (value & 0xFF) << 16 | (value & 0xFF00) | value >> 16;
    };
    EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(samples - 1));
  }
}

TEST_F(ZRMBandGTIFFPixels, SingleBitsOfSeveralSamplesAreUnpacked) {
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(1), kPint08);
}

TEST_F(ZRMBandGTIFFPixels, WideOddSamplesGiveTheirLowest32Bits) {
  for (const int bits : {33, 40, 48, 63, 65, 72}) {
    for (const bool isBigEndian : {false, true}) {
      auto file = TiffBuilder().Size(37, 29).Strips(8).Bits(bits).Samples(2);
      if (isBigEndian) file.BigEndian();
      TiffChannels image(Write(file));
      ASSERT_TRUE(image.IsOpen()) << bits << ' ' << image.GetError();
      ASSERT_EQ(kPint32, image.GetMaster().GetDataType());
      ReferenceTiff reference(file, 1);
      reference.value = [](int x, int y) { return TiffBuilder::AnyPixel(x, y, 1) & 0xFFFFFFFFu; };
      EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(1)) << bits << ' ' << isBigEndian;
    }
  }
}

TEST_F(ZRMBandGTIFFPixels, IntegersOf64And128BitsGiveTheirFirstByte) {
  for (const int bits : {64, 128}) {
    for (const int format : {1, 2}) {
      for (const int samples : {1, 2}) {
        TiffBuilder file = TiffBuilder().Size(37, 29).Tiles(16, 16).Bits(bits).Format(format).Samples(samples);
        TiffChannels image(Write(file));
        ASSERT_EQ(kPint08, image.GetMaster().GetDataType());
        const int word = (samples - 1) * (bits / 64);
        ReferenceTiff reference(file, 0);
        reference.value = [word](int x, int y) { return TiffBuilder::AnyPixel(x, y, word) & 0xFFu; };
        EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(samples - 1)) << bits << ' ' << samples;
      }
    }
  }
}

TEST_F(ZRMBandGTIFFPixels, TheLowestBitCanComeFirst) {
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(1).LowBitFirst(), kPint08);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(8).LowBitFirst(), kPint08);
  ExpectSamplesInAllLayouts(TiffBuilder().Bits(12).LowBitFirst(), kPint16);
}

TEST_F(ZRMBandGTIFFPixels, BigTiffIsReadAlike) {
  ExpectSamplesInAllLayouts(TiffBuilder().BigTiff().Bits(16), kPint16);
  ExpectSamplesInAllLayouts(TiffBuilder().BigTiff().Bits(10), kPint16);
}

TEST_F(ZRMBandGTIFFPixels, CompressedBlocksAreReadAlike) {
  for (const int compression : {5, 8, 32773}) {
    for (const int bits : {1, 8, 12, 16, 32}) {
      const int type = bits < 9 ? kPint08 : bits < 17 ? kPint16 : kPint32;
      TiffBuilder strips, tiles;
      strips.Size(37, 29).Strips(8).Bits(bits).Samples(3).Compression(compression);
      tiles.Size(37, 29).Tiles(16, 16).Bits(bits).Compression(compression).BigEndian();
      ExpectSamples(strips, type, std::to_string(compression));
      ExpectSamples(strips.Planar(), type, std::to_string(compression));
      ExpectSamples(tiles, type, std::to_string(compression));
    }
  }
}

TEST_F(ZRMBandGTIFFPixels, PredictorsAreUndone) {
  for (const bool isBigEndian : {false, true}) {
    auto integers = TiffBuilder().Size(37, 29).Strips(8).Bits(16).Samples(3).Compression(5).Predictor(2);
    if (isBigEndian) integers.BigEndian();
    ExpectSamples(integers, kPint16);
  }
  // libtiff can't write these in the order MM.
  const auto reals = TiffBuilder().Size(37, 29).Tiles(16, 16).Bits(32).Format(3).Compression(8).Predictor(3);
  ExpectSamples(reals, kReal32);
}

TEST_F(ZRMBandGTIFFPixels, FaxPagesAreReadAlike) {
  for (const int compression : {2, 3, 4}) {
    const auto file = TiffBuilder().Size(70, 40).Strips(16).Bits(1).Compression(compression);
    ExpectSamples(file, kPint08, std::to_string(compression));
  }
}

std::vector<std::uint32_t> BitsOf(std::initializer_list<double> values) {
  std::vector<std::uint32_t> bits;
  for (const double value : values) bits.push_back(std::bit_cast<std::uint32_t>(static_cast<float>(value)));
  return bits;
}

TiffBuilder ShortReals(int bits, const std::vector<std::uint32_t>& values) {
  return TiffBuilder().Size(static_cast<int>(values.size()), 2).Bits(bits).Format(3).Pixel([values](int x, int, int) {
    return std::uint64_t{values[static_cast<std::size_t>(x)]};
  });
}

constexpr double kInfiniteSample = std::numeric_limits<double>::infinity();

TEST_F(ZRMBandGTIFFPixels, HalfRealsAreWidened) {
  auto file = ShortReals(16, {0, 0x8000, 0x3C00, 0xC000, 0x7BFF, 0x3555, 0x7C00, 0xFC00});
  const auto expected = BitsOf({0.0, -0.0, 1.0, -2.0, 65504.0, 0.333251953125, kInfiniteSample, -kInfiniteSample});
  EXPECT_EQ(expected, Widened(file, 8));
  EXPECT_EQ(expected, Widened(file.BigEndian(), 8));
}

TEST_F(ZRMBandGTIFFPixels, DenormalHalfRealsKeepTheirValue) {
  EXPECT_EQ(
      BitsOf({std::ldexp(1, -24), -std::ldexp(1, -24), std::ldexp(1, -15), std::ldexp(1023, -24), std::ldexp(1, -14)}),
      Widened(ShortReals(16, {1, 0x8001, 0x0200, 0x03FF, 0x0400}), 5));
}

TEST_F(ZRMBandGTIFFPixels, Reals24AreWidened) {
  auto file = ShortReals(24, {0, 0x800000, 0x3F0000, 0xBF8000, 0x7EFFFF, 0x010000, 0x7F0000, 0xFF0000});
  const auto expected =
      BitsOf({0.0, -0.0, 1.0, -1.5, std::ldexp(131071, 47), std::ldexp(1, -62), kInfiniteSample, -kInfiniteSample});
  EXPECT_EQ(expected, Widened(file, 8));
  EXPECT_EQ(expected, Widened(file.BigEndian(), 8));
}

TEST_F(ZRMBandGTIFFPixels, DenormalReals24AreNormalisedByBit13) {
  // 0x2000 is bit 13 itself; 1 is shifted 13 times; 0x6000 keeps bit 14 behind; 0x1FFF is shifted once.
  EXPECT_EQ(
      BitsOf({std::ldexp(1, -62), -std::ldexp(1, -75), std::ldexp(1.25, -62), std::ldexp(1.0 + 0x1FFE / 65536.0, -63)}),
      Widened(ShortReals(24, {0x2000, 0x800001, 0x6000, 0x1FFF}), 4));
}

TEST_F(ZRMBandGTIFFPixels, DenormalReals24WithoutTheLowBitsComeToAnEnd) {
  for (const std::uint32_t bits : Widened(ShortReals(24, {0x4000, 0x8000, 0x80C000}), 3))
    EXPECT_TRUE(std::isfinite(std::bit_cast<float>(bits)));
}

TEST_F(ZRMBandGTIFFPixels, WhatIsNoNumberStaysNone) {
  for (const std::uint32_t bits : Widened(ShortReals(16, {0x7E00, 0xFC01}), 2))
    EXPECT_TRUE(std::isnan(std::bit_cast<float>(bits)));
  for (const std::uint32_t bits : Widened(ShortReals(24, {0x7F8000, 0xFF0001}), 2))
    EXPECT_TRUE(std::isnan(std::bit_cast<float>(bits)));
}

TEST_F(ZRMBandGTIFFPixels, ShortRealsOfSeveralSamplesAreToldApart) {
  for (const int bits : {16, 24}) {
    for (const bool isPlanar : {false, true}) {
      const int exponentBit = bits == 16 ? 10 : 16, one = bits == 16 ? 15 : 63;
      auto file = TiffBuilder().Size(37, 29).Tiles(16, 16).Bits(bits).Format(3).Samples(3).Pixel(
          [=](int x, int y, int sample) { return std::uint64_t(one + (x + 2 * y + 3 * sample) % 8) << exponentBit; });
      if (isPlanar) file.Planar();
      TiffChannels image(Write(file));
      for (int c = 0; c < 3; ++c) {
        ReferenceTiff reference(file, c);
        reference.value = [c](int x, int y) {
          return std::uint64_t{std::bit_cast<std::uint32_t>(std::ldexp(1.0f, (x + 2 * y + 3 * c) % 8))};
        };
        EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(c)) << bits << ' ' << c;
      }
    }
  }
}

TEST_F(ZRMBandGTIFFPixels, ARealWithARampStoresNothing) {
  const auto file = ShortReals(16, {0x3C00, 0x4000}).Photometric(0);
  EXPECT_EQ(65536, TiffChannels(Write(file)).GetMaster().GetNumOfPalette());
  EXPECT_EQ(std::vector<std::uint32_t>({0, 0}), Widened(file, 2));
}

}  // namespace
