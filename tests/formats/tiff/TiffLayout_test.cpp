// What the tags of a file make of its bands: data types, readers, channels, palettes and the grid of blocks. Each row
// of tags stands beside the answer that is asked for; ramps and palettes are worked out by hand.

#include "bands/tiff/TiffLayout.h"

#include "XDataType.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <utility>

using testing::ElementsAre;
using zrk::PlanTiff;
using zrk::TiffColourMap;
using zrk::TiffLayout;
using zrk::TiffPalette;
using zrk::TiffReader;
using zrk::TiffTags;

namespace {

TiffTags Tags(int bits, int format = 1, int samples = 1) {
  TiffTags tags;
  tags.width = tags.height = tags.blockWidth = 100;
  tags.blockHeight = 10;
  tags.bitsPerSample = bits;
  tags.sampleFormat = format;
  tags.samplesPerPixel = samples;
  return tags;
}

TiffTags Colours(int photometric, int samples, int bits = 8, int compression = 1) {
  TiffTags tags = Tags(bits, 1, samples);
  tags.photometric = photometric;
  tags.compression = compression;
  return tags;
}

/// Tags of an image in which 0 is white.
TiffTags WhiteIsZero(int bits) {
  return Colours(0, 1, bits);
}

TiffTags Strip(std::uint32_t rows) {
  TiffTags tags = Tags(1);
  tags.height = tags.blockHeight = rows;
  return tags;
}

TiffColourMap GreyMap(int bits) {
  TiffColourMap map;
  for (int i = 0; i < 1 << bits; ++i) map.red.push_back(static_cast<std::uint16_t>(i << 8));
  map.green = map.blue = map.red;
  return map;
}

TiffColourMap ColouredMap(int bits) {
  TiffColourMap map = GreyMap(bits);
  std::ranges::reverse(map.blue);
  return map;
}

struct TypeRow {
  int bits;
  int format;
  int dataType;
  TiffReader reader;
};

void ExpectTypes(std::initializer_list<TypeRow> rows) {
  for (const TypeRow& row : rows) {
    const TiffLayout layout = PlanTiff(Tags(row.bits, row.format, 2), {}, false);
    EXPECT_EQ(row.dataType, layout.dataType) << row.bits << " bits of format " << row.format;
    EXPECT_EQ(row.reader, layout.GetReader()) << row.bits << " bits of format " << row.format;
    EXPECT_EQ(row.reader == TiffReader::kOddBits, layout.isOddBits);
  }
}

TEST(TiffLayout, WholeBytesKeepTheirType) {
  constexpr TiffReader kReader = TiffReader::kRaster;
  ExpectTypes({{8, 1, kPint08, kReader},
               {8, 2, kPint08, kReader},
               {16, 1, kPint16, kReader},
               {16, 2, kSint16, kReader},
               {16, 4, kPint16, kReader},
               {16, 5, kPint16, kReader},
               {32, 1, kPint32, kReader},
               {32, 2, kSint32, kReader},
               {32, 3, kReal32, kReader},
               {32, 4, kPint32, kReader},
               {32, 5, kCint16, kReader},
               {32, 6, kPint32, kReader},
               {64, 3, kReal64, kReader},
               {64, 5, kCint32, kReader},
               {64, 6, kCreal32, kReader},
               {128, 6, kCreal64, kReader}});
}

TEST(TiffLayout, WidthsWithoutATypeOfTheirOwnAreBytes) {
  constexpr TiffReader kReader = TiffReader::kRaster;
  ExpectTypes({{64, 1, kPint08, kReader},
               {64, 2, kPint08, kReader},
               {64, 4, kPint08, kReader},
               {128, 1, kPint08, kReader},
               {128, 3, kPint08, kReader},
               {128, 5, kPint08, kReader}});
}

TEST(TiffLayout, OddWidthsAreWidened) {
  for (int bits = 1; bits <= 127; ++bits) {
    if (bits == 8 || bits == 16 || bits == 32 || bits == 64) continue;
    const int type = bits < 9 ? kPint08 : bits < 16 ? kPint16 : kPint32;
    for (const int format : {1, 2, 4, 5, 6}) ExpectTypes({{bits, format, type, TiffReader::kOddBits}});
  }
}

TEST(TiffLayout, ShortRealsAreWidenedTo32Bits) {
  ExpectTypes({{16, 3, kReal32, TiffReader::kOddBits}, {24, 3, kReal32, TiffReader::kOddBits}});
}

TEST(TiffLayout, RealsOfOtherWidthsAreTakenForWholeBytes) {
  constexpr TiffReader kReader = TiffReader::kRaster;
  ExpectTypes({{4, 3, kPint08, kReader},
               {8, 3, kPint08, kReader},
               {9, 3, kPint16, kReader},
               {12, 3, kPint16, kReader},
               {17, 3, kPint08, kReader},
               {48, 3, kPint08, kReader}});
}

TEST(TiffLayout, SamplesWithoutBitsGetNoRamp) {
  TiffTags tags = Tags(0, 1);
  tags.photometric = 0;
  EXPECT_EQ(0, PlanTiff(tags, {}, false).palette.GetSize());
}

TEST(TiffLayout, OneBitOfOneSampleIsBilevel) {
  for (const int format : {1, 3}) {
    const TiffLayout layout = PlanTiff(Tags(1, format), {}, false);
    EXPECT_TRUE(layout.isBilevel);
    EXPECT_FALSE(layout.isOddBits);
    EXPECT_FALSE(layout.isSplitBitmap);
    EXPECT_EQ(kPint08, layout.dataType);
    EXPECT_EQ(TiffReader::kOddBits, layout.GetReader());
  }
  EXPECT_FALSE(PlanTiff(Tags(1, 1, 2), {}, false).isBilevel);
  EXPECT_FALSE(PlanTiff(Tags(2), {}, false).isBilevel);
}

TEST(TiffLayout, ABilevelStripOfMoreThan2000RowsIsSplit) {
  EXPECT_FALSE(PlanTiff(Strip(2000), {}, false).isSplitBitmap);
  const TiffLayout tall = PlanTiff(Strip(2001), {}, false);
  EXPECT_TRUE(tall.isSplitBitmap);
  EXPECT_TRUE(tall.isBilevel);
  EXPECT_EQ(TiffReader::kSplitBitmap, tall.GetReader());
  EXPECT_EQ(kPint08, tall.dataType);
}

TEST(TiffLayout, TilesAndShorterStripsAreNotSplit) {
  TiffTags tiled = Strip(2001);
  tiled.isTiled = true;
  EXPECT_FALSE(PlanTiff(tiled, {}, false).isSplitBitmap);
  TiffTags shorter = Strip(2001);
  shorter.blockHeight = 2000;
  EXPECT_FALSE(PlanTiff(shorter, {}, false).isSplitBitmap);
  TiffTags grey = Strip(2001);
  grey.bitsPerSample = 2;
  EXPECT_FALSE(PlanTiff(grey, {}, false).isSplitBitmap);
}

TEST(TiffLayout, ForeignColoursUpTo8BitsAreLeftToLibtiff) {
  for (const int photometric : {8, 32844, 32845, 5, 6}) {
    const TiffLayout layout = PlanTiff(Colours(photometric, 3), {}, true);
    EXPECT_TRUE(layout.isRgba) << photometric;
    EXPECT_EQ(TiffReader::kRgba, layout.GetReader());
    EXPECT_EQ(4, layout.numChannels);
    EXPECT_EQ(kPint08, layout.dataType);
    EXPECT_FALSE(PlanTiff(Colours(photometric, 3), {}, false).isRgba) << photometric;
    EXPECT_FALSE(PlanTiff(Colours(photometric, 3, 9), {}, true).isRgba) << photometric;
    EXPECT_TRUE(PlanTiff(Colours(photometric, 1, 4), {}, true).isRgba) << photometric;
    EXPECT_FALSE(PlanTiff(Colours(photometric, 1, 4), {}, true).isOddBits) << photometric;
    EXPECT_TRUE(PlanTiff(Colours(photometric, 1, 1), {}, true).isBilevel) << photometric;
    EXPECT_FALSE(PlanTiff(Colours(photometric, 1, 1), {}, true).isRgba) << photometric;
  }
}

TEST(TiffLayout, OtherColoursAreReadAsTheyAre) {
  for (const int photometric : {0, 1, 2, 3, 4, 9, 10, 32803}) {
    EXPECT_FALSE(PlanTiff(Colours(photometric, 3), {}, true).isRgba) << photometric;
  }
}

TEST(TiffLayout, OnlyJpegOfYCbCrComesAsThreeChannels) {
  EXPECT_FALSE(PlanTiff(Colours(6, 3, 8, 7), {}, true).isRgba);
  EXPECT_EQ(3, PlanTiff(Colours(6, 3, 8, 7), {}, true).numChannels);
  EXPECT_TRUE(PlanTiff(Colours(5, 4, 8, 7), {}, true).isRgba);
}

TEST(TiffLayout, EachSampleIsAChannel) {
  for (const int samples : {1, 2, 3, 4, 7, 200}) {
    const TiffLayout layout = PlanTiff(Tags(8, 1, samples), {}, false);
    EXPECT_EQ(samples, layout.numChannels);
    EXPECT_EQ(samples - 1, layout.SampleOf(samples - 1));
    EXPECT_EQ(0, layout.palette.GetSize());
  }
}

TEST(TiffLayout, AColouredPaletteMakesThreeChannelsOfASample) {
  const TiffLayout one = PlanTiff(Colours(3, 1), ColouredMap(8), false);
  EXPECT_EQ(3, one.numChannels);
  EXPECT_EQ(256, one.palette.GetSize());
  for (const int channel : {0, 1, 2}) EXPECT_EQ(0, one.SampleOf(channel));
  const TiffLayout two = PlanTiff(Colours(3, 2), ColouredMap(8), false);
  EXPECT_EQ(6, two.numChannels);
  EXPECT_EQ(0, two.SampleOf(2));
  EXPECT_EQ(1, two.SampleOf(3));
}

TEST(TiffLayout, AGreyPaletteLeavesOneChannel) {
  const TiffLayout layout = PlanTiff(Colours(3, 1), GreyMap(8), false);
  EXPECT_EQ(1, layout.numChannels);
  EXPECT_EQ(256, layout.palette.GetSize());
  EXPECT_EQ(2, PlanTiff(Colours(3, 2), GreyMap(8), false).numChannels);
}

TEST(TiffLayout, AColourMapCountsWhateverThePhotometric) {
  for (const int photometric : {0, 1, 2}) {
    const TiffLayout layout = PlanTiff(Colours(photometric, 1), ColouredMap(8), false);
    EXPECT_EQ(3, layout.numChannels) << photometric;
    EXPECT_EQ(photometric, layout.tags.photometric);
  }
}

TEST(TiffLayout, ForeignColoursHaveNoPalette) {
  const TiffLayout layout = PlanTiff(Colours(5, 4), ColouredMap(8), true);
  EXPECT_EQ(0, layout.palette.GetSize());
  EXPECT_EQ(4, layout.numChannels);
}

TEST(TiffLayout, TheTagsAreThoseOfTheFileExceptForARamp) {
  EXPECT_EQ(Tags(12, 2, 3), PlanTiff(Tags(12, 2, 3), {}, true).tags);
  TiffTags expected = WhiteIsZero(8);
  expected.photometric = 3;
  EXPECT_EQ(expected, PlanTiff(WhiteIsZero(8), {}, true).tags);
}

TEST(TiffLayout, ARampStandsInWhereZeroIsWhite) {
  for (const int bits : {1, 2, 8, 12, 16}) {
    const TiffLayout layout = PlanTiff(WhiteIsZero(bits), {}, false);
    EXPECT_EQ(1 << bits, layout.palette.GetSize()) << bits;
    EXPECT_EQ(3, layout.tags.photometric) << bits;
    EXPECT_EQ(1, layout.numChannels) << bits;
  }
}

TEST(TiffLayout, MoreThan16BitsHaveNoRamp) {
  for (const int bits : {17, 24, 32, 64}) {
    const TiffLayout layout = PlanTiff(WhiteIsZero(bits), {}, false);
    EXPECT_EQ(0, layout.palette.GetSize()) << bits;
    EXPECT_EQ(0, layout.tags.photometric) << bits;
  }
}

TEST(TiffPalette, ComponentsBelow256AreKept) {
  const TiffPalette palette = zrk::MakeTiffPalette({{0, 10}, {255, 20}, {3, 30}});
  EXPECT_THAT(palette.red, ElementsAre(0, 10));
  EXPECT_THAT(palette.green, ElementsAre(255, 20));
  EXPECT_THAT(palette.blue, ElementsAre(3, 30));
  EXPECT_FALSE(palette.IsGrey());
}

TEST(TiffPalette, OneComponentAbove255MakesAllGiveTheirHighByte) {
  const TiffPalette palette = zrk::MakeTiffPalette({{255, 0x1234}, {254, 0xFFFF}, {0x0100, 0x00FF}});
  EXPECT_THAT(palette.red, ElementsAre(0, 0x12));
  EXPECT_THAT(palette.green, ElementsAre(0, 255));
  EXPECT_THAT(palette.blue, ElementsAre(1, 0));
}

TEST(TiffPalette, ALoneComponentOf256Counts) {
  EXPECT_THAT(zrk::MakeTiffPalette({{255, 7}, {0, 0}, {0, 256}}).red, ElementsAre(0, 0));
  EXPECT_THAT(zrk::MakeTiffPalette({{255, 7}, {0, 0}, {0, 255}}).red, ElementsAre(255, 7));
}

TEST(TiffPalette, AMapOfZerosIsBlackAndGrey) {
  const TiffPalette palette = zrk::MakeTiffPalette({{0, 0}, {0, 0}, {0, 0}});
  EXPECT_THAT(palette.red, ElementsAre(0, 0));
  EXPECT_EQ(2, palette.GetSize());
  EXPECT_TRUE(palette.IsGrey());
}

TEST(TiffPalette, GreyIsToldByWhatTheEntriesHaveBecome) {
  EXPECT_TRUE(zrk::MakeTiffPalette({{0x1234}, {0x1256}, {0x1278}}).IsGrey());
  EXPECT_FALSE(zrk::MakeTiffPalette({{0x1234}, {0x1234}, {0x1334}}).IsGrey());
  EXPECT_FALSE(zrk::MakeTiffPalette({{0x1234}, {0x1334}, {0x1234}}).IsGrey());
}

TEST(TiffPalette, RampsFallFrom255To0) {
  EXPECT_THAT(zrk::MakeFallingRamp(1).red, ElementsAre(255, 0));
  EXPECT_THAT(zrk::MakeFallingRamp(2).red, ElementsAre(255, 170, 85, 0));
  EXPECT_THAT(zrk::MakeFallingRamp(4).red,
              ElementsAre(255, 238, 221, 204, 187, 170, 153, 136, 119, 102, 85, 68, 51, 34, 17, 0));
  const TiffPalette bytes = zrk::MakeFallingRamp(8);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(255 - i, bytes.red[static_cast<std::size_t>(i)]);
  EXPECT_TRUE(bytes.IsGrey());
}

TEST(TiffPalette, RampsRoundDown) {
  const std::vector<short> five = zrk::MakeFallingRamp(5).green;
  ASSERT_EQ(32u, five.size());
  EXPECT_EQ(255, five[0]);
  EXPECT_EQ(246, five[1]);  // 30 * 255 / 31 = 246.77
  EXPECT_EQ(8, five[30]);   // 255 / 31 = 8.23
  EXPECT_EQ(0, five[31]);
  const std::vector<short> sixteen = zrk::MakeFallingRamp(16).blue;
  ASSERT_EQ(65536u, sixteen.size());
  EXPECT_EQ(254, sixteen[1]);
  EXPECT_EQ(127, sixteen[32768]);
  EXPECT_EQ(0, sixteen[65535]);
}

TiffTags Blocks(std::uint32_t width, std::uint32_t height, std::uint32_t blockWidth, std::uint32_t blockHeight) {
  TiffTags tags;
  tags.width = width;
  tags.height = height;
  tags.blockWidth = blockWidth;
  tags.blockHeight = blockHeight;
  return tags;
}

/// Across and down.
std::pair<int, int> Count(const TiffTags& tags, int dataType = kPint08) {
  const zrk::TiffGrid grid = zrk::CountTiffBlocks(tags, dataType);
  return {grid.across, grid.down};
}

constexpr std::pair kNone(0, 0);

TEST(TiffGrid, PartsOfBlocksCount) {
  EXPECT_EQ(std::pair(3, 2), Count(Blocks(48, 32, 16, 16)));
  EXPECT_EQ(std::pair(4, 3), Count(Blocks(49, 33, 16, 16)));
  EXPECT_EQ(std::pair(1, 1), Count(Blocks(1, 1, 256, 256)));
  EXPECT_EQ(std::pair(1, 7), Count(Blocks(70, 50, 70, 8)));
}

TEST(TiffGrid, SizesOfZeroMakeNoGrid) {
  EXPECT_EQ(kNone, Count(Blocks(0, 32, 16, 16)));
  EXPECT_EQ(kNone, Count(Blocks(48, 0, 16, 16)));
  EXPECT_EQ(kNone, Count(Blocks(48, 32, 0, 16)));
  EXPECT_EQ(kNone, Count(Blocks(48, 32, 16, 0)));
}

TEST(TiffGrid, LongBlocksMustStayBelow4GiB) {
  EXPECT_EQ(std::pair(1, 1), Count(Blocks(10, 10, 10000, 429496)));
  EXPECT_EQ(kNone, Count(Blocks(10, 10, 10000, 429497)));
  EXPECT_EQ(kNone, Count(Blocks(10, 10, 429497, 10000)));
  EXPECT_EQ(kNone, Count(Blocks(10, 10, 65536, 65536)));
  EXPECT_EQ(kNone, Count(Blocks(10, 10, 1u << 30, 1u << 30)));
}

TEST(TiffGrid, TheSampleSizeCountsForLongBlocks) {
  EXPECT_EQ(std::pair(1, 1), Count(Blocks(10, 10, 10000, 26843), kCreal64));
  EXPECT_EQ(kNone, Count(Blocks(10, 10, 10000, 26844), kCreal64));
  EXPECT_EQ(std::pair(1, 1), Count(Blocks(10, 10, 10000, 26844), kReal64));
  for (const int type : {0, -1}) {
    EXPECT_EQ(std::pair(1, 1), Count(Blocks(10, 10, 10000, 429496), type));
    EXPECT_EQ(kNone, Count(Blocks(10, 10, 10000, 429497), type));
  }
}

TEST(TiffGrid, BlocksMustNotReachPastTheLargestInt) {
  constexpr std::uint32_t kMaxSide = 2147483648u - 16;
  EXPECT_EQ(std::pair(134217727, 1), Count(Blocks(kMaxSide, 16, 16, 16)));
  EXPECT_EQ(kNone, Count(Blocks(kMaxSide + 1, 16, 16, 16)));
  EXPECT_EQ(std::pair(1, 134217727), Count(Blocks(16, kMaxSide, 16, 16)));
  EXPECT_EQ(kNone, Count(Blocks(16, kMaxSide + 1, 16, 16)));
  EXPECT_EQ(kNone, Count(Blocks(4294967295u, 16, 16, 16)));
  EXPECT_EQ(kNone, Count(Blocks(16, 16, 2147483648u, 1)));
}

}  // namespace
