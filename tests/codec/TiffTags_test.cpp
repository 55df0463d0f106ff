// What is read out of the tags of a file: its shape, the order of bytes and bits, its compression and its colour map.
// The expected values are those that the builder was told to write, and the defaults that TIFF 6.0 gives to missing
// tags.

#include "codec/TiffTags.h"

#include "TiffBuilder.h"
#include "TiffMemory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

using zrk::TiffColourMap;
using zrk::TiffTags;

namespace {

TiffTags TagsOf(TiffBuilder::Bytes bytes) {
  const TiffPointer tiff = OpenTiffInMemory(bytes, "r");
  if (tiff) return zrk::ReadTiffTags(tiff.get());
  ADD_FAILURE() << "not a TIFF file";
  return {};
}

TiffColourMap MapOf(const TiffBuilder& file, int bits) {
  TiffBuilder::Bytes bytes = file.Build();
  const TiffPointer tiff = OpenTiffInMemory(bytes, "r");
  if (tiff) return zrk::ReadTiffColourMap(tiff.get(), bits);
  ADD_FAILURE() << "not a TIFF file";
  return {};
}

TEST(TiffTags, AreThoseOfAStripedFile) {
  TiffTags expected;
  expected.width = 70;
  expected.height = 50;
  expected.samplesPerPixel = 3;
  expected.bitsPerSample = 16;
  expected.planarConfiguration = 2;
  expected.photometric = 2;
  expected.sampleFormat = 2;
  expected.blockWidth = 70;
  expected.blockHeight = 8;
  const auto file = TiffBuilder().Size(70, 50).Strips(8).Bits(16).Format(2).Samples(3).Planar().Photometric(2);
  EXPECT_EQ(expected, TagsOf(file.Build()));
}

TEST(TiffTags, AreThoseOfATiledFile) {
  const TiffTags tags = TagsOf(TiffBuilder().Size(70, 50).Tiles(16, 32).Build());
  EXPECT_TRUE(tags.isTiled);
  EXPECT_EQ(16u, tags.blockWidth);
  EXPECT_EQ(32u, tags.blockHeight);
}

TEST(TiffTags, AStripIsNotTallerThanTheImage) {
  EXPECT_EQ(50u, TagsOf(TiffBuilder().Size(70, 50).Tag(278, 4, {4294967295u}).Build()).blockHeight);
  EXPECT_EQ(50u, TagsOf(TiffBuilder().Size(70, 50).Tag(278, 4, {51}).Build()).blockHeight);
  EXPECT_EQ(50u, TagsOf(TiffBuilder().Size(70, 50).Build()).blockHeight);
}

TEST(TiffTags, ThoseThatAreMissingCountAsOne) {
  TiffBuilder file;
  file.Size(16, 2).Bits(1);
  for (const int tag : {258, 259, 277, 284, 339}) file.Without(tag);
  const TiffTags tags = TagsOf(file.Build());
  EXPECT_EQ(1, tags.bitsPerSample);
  EXPECT_EQ(1, tags.compression);
  EXPECT_EQ(1, tags.samplesPerPixel);
  EXPECT_EQ(1, tags.planarConfiguration);
  EXPECT_EQ(1, tags.sampleFormat);
  EXPECT_EQ(1, tags.fillOrder);
}

TEST(TiffTags, TellTheOrderOfBytesAndBits) {
  EXPECT_FALSE(TagsOf(TiffBuilder().Build()).isSwapped);
  EXPECT_TRUE(TagsOf(TiffBuilder().BigEndian().Build()).isSwapped);
  EXPECT_TRUE(TagsOf(TiffBuilder().BigEndian().BigTiff().Build()).isSwapped);
  EXPECT_EQ(2, TagsOf(TiffBuilder().LowBitFirst().Build()).fillOrder);
}

TEST(TiffTags, NameTheCompression) {
  EXPECT_EQ(5, TagsOf(TiffBuilder().Compression(5).Encode()).compression);
  EXPECT_EQ(34712, TagsOf(TiffBuilder().Compression(34712).Build()).compression);
}

TEST(TiffTags, AColourMapIsReadAsItIsStored) {
  std::vector<std::uint16_t> components(3 * 16);
  std::iota(components.begin(), components.end(), std::uint16_t{1000});
  for (const bool isBigEndian : {false, true}) {
    TiffBuilder file;
    file.Bits(4).Photometric(3).ColourMap(components);
    if (isBigEndian) file.BigEndian();
    const TiffColourMap map = MapOf(file, 4);
    ASSERT_EQ(16u, map.red.size());
    ASSERT_EQ(16u, map.green.size());
    ASSERT_EQ(16u, map.blue.size());
    EXPECT_EQ(1000, map.red[0]);
    EXPECT_EQ(1015, map.red[15]);
    EXPECT_EQ(1016, map.green[0]);
    EXPECT_EQ(1047, map.blue[15]);
  }
}

TEST(TiffTags, AFileWithoutAColourMapHasAnEmptyOne) {
  EXPECT_TRUE(MapOf(TiffBuilder(), 8).red.empty());
  EXPECT_TRUE(MapOf(TiffBuilder().Photometric(3), 8).blue.empty());
}

TEST(TiffTags, AColourMapOfAnotherLengthIsNotRead) {
  EXPECT_TRUE(MapOf(TiffBuilder().Photometric(3).ColourMap(std::vector<std::uint16_t>(3 * 16)), 8).red.empty());
}

}  // namespace
