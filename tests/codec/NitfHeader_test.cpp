// Headers of NITF files. What is expected of them is what the builder was told.

#include "codec/NitfHeader.h"
#include "NitfBuilder.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using Bytes = NitfBuilder::Bytes;

/// The header of the first image; empty where it can't be parsed.
std::optional<zrk::NitfImage> ImageOf(const Bytes& bytes) {
  zrk::NitfHeader header;
  zrk::NitfImage image;
  if (!zrk::ParseNitfHeader(bytes, header)) return std::nullopt;
  const zrk::NitfSegment& first = header.images.at(0);
  const auto begin = std::min(static_cast<std::size_t>(first.offset), bytes.size());
  const auto count = std::min(static_cast<std::size_t>(first.headerBytes), bytes.size() - begin);
  const std::span<const unsigned char> part = std::span(bytes).subspan(begin, count);
  return zrk::ParseNitfImage(part, header, image) ? std::optional(image) : std::nullopt;
}

NitfBuilder WithEverything() {
  return NitfBuilder()
      .Size(90, 70)
      .Bands(3)
      .Blocks(32, 64)
      .Mode('P')
      .Title("Harbour")
      .Classification('S', 'R')
      .Comments(2);
}

}  // namespace

TEST(NitfHeader, TellsTheFile) {
  zrk::NitfHeader header;
  ASSERT_TRUE(zrk::ParseNitfHeader(WithEverything().FurtherSegments(2, 4).Build(), header));
  EXPECT_EQ("NITF02.10", header.version);
  EXPECT_EQ("Harbour", header.title);
  EXPECT_EQ("S", header.classification);
  EXPECT_EQ(3u, header.images.size());
  EXPECT_EQ(4, header.numTexts);
  EXPECT_EQ(0, header.numGraphics + header.numLabels + header.numExtensions + header.numReserved);
}

TEST(NitfHeader, TellsWhereImagesLie) {
  const NitfBuilder builder = WithEverything().FurtherSegments(1, 0);
  zrk::NitfHeader header;
  ASSERT_TRUE(zrk::ParseNitfHeader(builder.Build(), header));
  EXPECT_EQ(builder.ImageHeaderOffset(), static_cast<std::size_t>(header.images[0].offset));
  EXPECT_EQ(builder.DataOffset(), static_cast<std::size_t>(header.images[0].DataOffset()));
  // Three blocks across and two down, of 32 x 64 pixels of 3 bytes.
  EXPECT_EQ(3 * 2 * 32 * 64 * 3, header.images[0].dataBytes);
  EXPECT_EQ(header.images[0].DataOffset() + header.images[0].dataBytes, header.images[1].offset);
  EXPECT_EQ(1, header.images[1].dataBytes);
}

TEST(NitfHeader, TellsTheImage) {
  const auto image = ImageOf(WithEverything().Build());
  ASSERT_TRUE(image);
  EXPECT_EQ("Image1", image->id);
  EXPECT_EQ("The image", image->title);
  EXPECT_EQ("R", image->classification);
  EXPECT_EQ("MONO", image->representation);
  EXPECT_EQ("VIS", image->category);
  EXPECT_EQ("NC", image->compression);
  EXPECT_EQ("", image->rate);
  EXPECT_EQ('P', image->mode);
  EXPECT_EQ(90, image->width);
  EXPECT_EQ(70, image->height);
  EXPECT_EQ(3, image->numBands);
  EXPECT_EQ(3, image->blocksAcross);
  EXPECT_EQ(2, image->blocksDown);
  EXPECT_EQ(32, image->blockWidth);
  EXPECT_EQ(64, image->blockHeight);
  EXPECT_EQ(8, image->numBits);
}

TEST(NitfHeader, StepsOverTablesOfColours) {
  const auto image = ImageOf(NitfBuilder().Representation("RGB/LUT").Palette(200).Blocks(20, 15).Build());
  ASSERT_TRUE(image);
  EXPECT_EQ('B', image->mode);
  EXPECT_EQ(1, image->blocksAcross);
  EXPECT_EQ(20, image->blockWidth);
}

TEST(NitfHeader, OfMoreThanNineBandsCountsThemInAFieldOfTheirOwn) {
  const auto image = ImageOf(NitfBuilder().Size(4, 4).Bands(12).Build());
  ASSERT_TRUE(image);
  EXPECT_EQ(12, image->numBands);
  EXPECT_EQ(4, image->blockWidth);
}

TEST(NitfHeader, OfAnOldVersionMayHaveADowngradingEvent) {
  for (const bool isDowngraded : {false, true}) {
    NitfBuilder builder = WithEverything().Version("NITF02.00");
    if (isDowngraded) builder.Downgraded();
    EXPECT_EQ(1, zrk::CountNitfImages(builder.Build()));
    const auto image = ImageOf(builder.Build());
    ASSERT_TRUE(image) << isDowngraded;
    EXPECT_EQ(90, image->width);
    EXPECT_EQ(64, image->blockHeight);
    EXPECT_EQ(' ', image->coordinates);
  }
}

TEST(NitfHeader, OfNsifIsLaidOutAsTheNewerOne) {
  const auto image = ImageOf(WithEverything().Version("NSIF01.00").Build());
  ASSERT_TRUE(image);
  EXPECT_EQ(90, image->width);
}

TEST(NitfHeader, TellsCornersInDegreesMinutesAndSeconds) {
  const auto image =
      ImageOf(NitfBuilder().Corners('G', "103000N0201530W103000N0191530E093000S0191530E093000S0201530W").Build());
  ASSERT_TRUE(image);
  const auto corners = zrk::ParseNitfCorners(*image);
  ASSERT_TRUE(corners);
  // 15 minutes and 30 seconds are 0.2583 degrees.
  const double west = -(20 + 15.5 / 60), east = 19 + 15.5 / 60;
  EXPECT_THAT(*corners, testing::Pointwise(testing::DoubleEq(), {west, 10.5, east, 10.5, east, -9.5, west, -9.5}));
}

TEST(NitfHeader, TellsCornersInDecimalDegrees) {
  const auto image =
      ImageOf(NitfBuilder().Corners('D', "+42.999-122.499+42.999+122.000-02.500+122.000-02.500-122.499").Build());
  ASSERT_TRUE(image);
  const auto corners = zrk::ParseNitfCorners(*image);
  ASSERT_TRUE(corners);
  EXPECT_THAT(*corners, testing::ElementsAre(-122.499, 42.999, 122.0, 42.999, 122.0, -2.5, -122.499, -2.5));
}

TEST(NitfHeader, TellsNoCornersThatAreNotInDegrees) {
  const std::string damaged = "1030x0N0201530W103000N0191530E093000S0191530E093000S0201530W";
  for (const char kind : {'U', 'N', 'S', 'G', 'D'}) {
    const auto image = ImageOf(NitfBuilder().Corners(kind, damaged).Build());
    ASSERT_TRUE(image) << kind;
    EXPECT_FALSE(zrk::ParseNitfCorners(*image)) << kind;
  }
  EXPECT_FALSE(zrk::ParseNitfCorners(*ImageOf(NitfBuilder().Build())));
}

TEST(NitfHeader, ThatIsCutShortIsNone) {
  const NitfBuilder builder = WithEverything();
  const Bytes whole = builder.Build();
  for (std::size_t length = 0; length < builder.DataOffset(); ++length) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    zrk::NitfHeader header;
    const bool hasHeader = zrk::ParseNitfHeader(cut, header);
    // Two lengths of further headers end the header, and are not looked at.
    constexpr std::size_t kBehindLists = 5 + 5;
    EXPECT_EQ(length >= builder.ImageHeaderOffset() - kBehindLists, hasHeader) << length;
    // What follows the blocks is not looked at: two fields of levels, a place, a factor and two lengths.
    constexpr std::size_t kBehindBlocks = 3 + 3 + 10 + 4 + 5 + 5;
    if (!hasHeader) continue;
    EXPECT_EQ(length >= builder.DataOffset() - kBehindBlocks, ImageOf(cut).has_value()) << length;
  }
}

TEST(NitfHeader, IsKnownByItsFirstBytes) {
  const Bytes head = NitfBuilder().Build();
  EXPECT_TRUE(zrk::BeginsAsNitf(head));
  EXPECT_TRUE(zrk::BeginsAsNitf(NitfBuilder().Version("NSIF01.00").Build()));
  const Bytes other = {'N', 'I', 'T', 'E'};
  EXPECT_FALSE(zrk::BeginsAsNitf(other));
  EXPECT_FALSE(zrk::BeginsAsNitf(std::span(head).first(3)));
  EXPECT_EQ(std::nullopt, zrk::CountNitfImages(std::span(head).first(362)));
  EXPECT_EQ(1, zrk::CountNitfImages(std::span(head).first(363)));
  EXPECT_EQ(static_cast<std::int64_t>(NitfBuilder().ImageHeaderOffset()), zrk::CountNitfHeaderBytes(head));
}
