// Blocks of which each byte was worked out by hand, one for each way through the encoder. Pictures are given as they
// are seen, the uppermost row first, and are turned over for the encoder.

#include "BlockPictures.h"

#include <gtest/gtest.h>

#include <array>

namespace {

struct Pixel {
  std::uint8_t red, green, blue, alpha = 255;
};
using Picture = std::vector<Pixel>;

constexpr Pixel kBlack{0, 0, 0}, kWhite{255, 255, 255}, kRed{255, 0, 0}, kGreen{0, 255, 0}, kCyan{0, 255, 255};
constexpr Pixel kNothing{77, 177, 7, 0};

constexpr Pixel Gray(std::uint8_t value) {
  return {value, value, value};
}

/// Four equal rows.
Picture Columns(const Pixel& a, const Pixel& b, const Pixel& c, const Pixel& d) {
  Picture picture;
  for (int row = 0; row < 4; ++row) picture.insert(picture.end(), {a, b, c, d});
  return picture;
}

Picture Filled(std::size_t count, const Pixel& pixel) {
  return Picture(count, pixel);
}

/// The pixels in memory, the lowest row first.
Bytes Pack(const Picture& picture, int width, _XPIXELFORMAT format) {
  Bytes bytes;
  for (std::size_t end = picture.size(); end > 0; end -= static_cast<std::size_t>(width)) {
    for (std::size_t i = end - static_cast<std::size_t>(width); i < end; ++i) {
      const auto [r, g, b, a] = picture[i];
      const Bytes inFormats[] = {{}, {r}, {r, g, b}, {b, g, r}, {r, g, b, a}, {b, g, r, a}, {a, r, g, b}, {a, b, g, r}};
      const Bytes& pixel = inFormats[format];
      bytes.insert(bytes.end(), pixel.begin(), pixel.end());
    }
  }
  return bytes;
}

Bytes Encoded(const Picture& picture, int width = 4, _XPIXELFORMAT format = kPixelRgba) {
  return Encode(Pack(picture, width, format), format, width, static_cast<int>(picture.size()) / width);
}

/// Every test runs with each set of instructions.
class BlockEncoder : public testing::TestWithParam<std::int64_t> {
 protected:
  void SetUp() override { UseInstructions(GetParam()); }
  void TearDown() override { UseInstructions(0); }
};

// (255 + 4) / 8 is cut to 31, (0 + 2) / 4 to 0 and (0 + 4) / 8 to 0.
TEST_P(BlockEncoder, GivesOneColourAndItsEndAndNoCodes) {
  EXPECT_EQ((Bytes{0x00, 0xF8, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(Filled(16, kRed)));
  EXPECT_EQ((Bytes{0x00, 0x00, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(Filled(16, kBlack)));
  EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(Filled(16, kWhite)));
}

// Red (3 + 4) / 8 is 0 and (4 + 4) / 8 is 1. Green (1 + 2) / 4 is 0 and (2 + 2) / 4 is 1. Blue 15 / 8 is 1, 16 / 8
// is 2.
TEST_P(BlockEncoder, AddsHalfAStepAndCutsTheRest) {
  EXPECT_EQ((Bytes{0x01, 0x00, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(Filled(16, {3, 1, 11})));
  EXPECT_EQ((Bytes{0x22, 0x08, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(Filled(16, {4, 2, 12})));
}

// Black has the smaller place on the line: its code is 1, and white's, colour 0, is 0.
TEST_P(BlockEncoder, PutsTheLargerColourFirst) {
  EXPECT_EQ((Bytes{0xFF, 0xFF, 0x00, 0x00, 0x05, 0x05, 0x05, 0x05}), Encoded(Columns(kBlack, kBlack, kWhite, kWhite)));
}

TEST_P(BlockEncoder, PutsTheUpperLeftPixelIntoTheLowestBits) {
  Picture upperLeft = Filled(16, kBlack), lowerRight = upperLeft;
  upperLeft.front() = lowerRight.back() = kWhite;
  EXPECT_EQ((Bytes{0xFF, 0xFF, 0x00, 0x00, 0x54, 0x55, 0x55, 0x55}), Encoded(upperLeft));
  EXPECT_EQ((Bytes{0xFF, 0xFF, 0x00, 0x00, 0x55, 0x55, 0x55, 0x15}), Encoded(lowerRight));
}

// The parts 0, 1/3, 2/3 and 1 have the codes 1, 3, 2 and 0.
TEST_P(BlockEncoder, DividesALineThatRisesIntoThirds) {
  EXPECT_EQ((Bytes{0xFF, 0xFF, 0x00, 0x00, 0x2D, 0x2D, 0x2D, 0x2D}),
            Encoded(Columns(Gray(0), Gray(85), Gray(170), Gray(255))));
}

// Red lies below the mean on the first axis, and so has the smaller place, yet its word 0xF800 is above cyan's 0x07FF.
// The codes are 0, 2, 3 and 1.
TEST_P(BlockEncoder, TurnsTheCodesOfALineThatFalls) {
  EXPECT_EQ((Bytes{0x00, 0xF8, 0xFF, 0x07, 0x78, 0x78, 0x78, 0x78}),
            Encoded(Columns(kRed, {170, 85, 85}, {85, 170, 170}, kCyan)));
}

// Red and green differ from their mean at a right angle to the first axis. All differences are then taken away, and
// they add up to nothing. The mean is (127.5, 127.5, 0): 131.5 / 8 is 16 and 129.5 / 4 is 32.
TEST_P(BlockEncoder, TakesTheMeanWhereDifferencesCancelOut) {
  EXPECT_EQ((Bytes{0x00, 0x84, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(Columns(kRed, kGreen, kGreen, kRed)));
}

// The ends 8 and 10 are both 1, 2, 1.
TEST_P(BlockEncoder, TakesTheMeanWhereBothEndsAreOneColour) {
  EXPECT_EQ((Bytes{0x41, 0x08, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(Columns(Gray(8), Gray(9), Gray(9), Gray(9))));
}

// The mean is (100, 100, 0). In the first round (-30, 50, 0) lies above the axis, and the sum is (780, 100, 0); on that
// axis it lies below, and the sum is (900, -100, 0). The ends are (159.3, 93.4, 0) and (40.7, 106.6, 0), which are
// 20, 23, 0 and 5, 27, 0. With the axis of the first round they would be 20, 27, 0 and 5, 23, 0. The parts of the two
// other pixels are 0.204 and 0.796.
TEST_P(BlockEncoder, TurnsTheAxisUntilItStands) {
  const Pixel high{160, 100, 0}, low{40, 100, 0}, aside{70, 150, 0}, across{130, 50, 0};
  EXPECT_EQ((Bytes{0xE0, 0xA2, 0x60, 0x2B, 0x00, 0xC0, 0x95, 0x55}), Encoded({high, high, high, high,   //
                                                                              high, high, high, aside,  //
                                                                              low, low, low, across,    //
                                                                              low, low, low, low}));
}

// Colour 0 is the smaller word, black. Places 0, 1/2 and 1 have the codes 0, 2 and 1; a transparent pixel has 3.
TEST_P(BlockEncoder, DividesALineIntoHalvesBesideTransparentPixels) {
  EXPECT_EQ((Bytes{0x00, 0x00, 0xFF, 0xFF, 0x53, 0x53, 0x53, 0x53}),
            Encoded(Columns(kNothing, kBlack, kWhite, kWhite)));
  EXPECT_EQ((Bytes{0x00, 0x00, 0xFF, 0xFF, 0x63, 0x63, 0x63, 0x63}),
            Encoded(Columns(kNothing, kBlack, Gray(127), kWhite)));
}

// Cyan, 0x07FF, is colour 0. Places 0, 1/2 and 1 have the codes 1, 2 and 0.
TEST_P(BlockEncoder, TurnsTheCodesOfALineThatFallsBesideTransparentPixels) {
  EXPECT_EQ((Bytes{0xFF, 0x07, 0x00, 0xF8, 0x27, 0x27, 0x27, 0x27}),
            Encoded(Columns(kNothing, kRed, {127, 128, 128}, kCyan)));
}

TEST_P(BlockEncoder, GivesOneColourAndBlackBesideTransparentPixels) {
  Picture red = Filled(16, kRed), nearlyBlack = Columns(Gray(0), Gray(1), Gray(1), kNothing);
  red.front() = kNothing;
  EXPECT_EQ((Bytes{0x00, 0xF8, 0, 0, 0x03, 0, 0, 0}), Encoded(red));
  EXPECT_EQ((Bytes{0, 0, 0, 0, 0xC0, 0xC0, 0xC0, 0xC0}), Encoded(nearlyBlack));
}

TEST_P(BlockEncoder, GivesBlackWhereNoPixelIsOpaque) {
  EXPECT_EQ((Bytes{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}), Encoded(Filled(16, kNothing)));
}

// Alone among four pixels, white lies far from the mean of the others; the transparent white does not count.
TEST_P(BlockEncoder, LeavesTransparentPixelsOutOfTheMean) {
  const Pixel clear{255, 255, 255, 0};
  EXPECT_EQ(Encoded(Columns(kNothing, kBlack, Gray(127), kWhite)), Encoded(Columns(clear, kBlack, Gray(127), kWhite)));
}

TEST_P(BlockEncoder, TakesAnyOpacityAboveZeroForOpaque) {
  EXPECT_EQ((Bytes{0x22, 0x08, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(Filled(16, {4, 2, 12, 1})));
}

TEST_P(BlockEncoder, KnowsSevenFormats) {
  const Picture picture = Columns(kRed, {170, 85, 85}, {85, 170, 170}, kCyan);
  const Picture clear = Columns(kNothing, kRed, {127, 128, 128}, kCyan);
  const Bytes expected = {0x00, 0xF8, 0xFF, 0x07, 0x78, 0x78, 0x78, 0x78};
  const Bytes ofClear = {0xFF, 0x07, 0x00, 0xF8, 0x27, 0x27, 0x27, 0x27};
  for (const auto format : {kPixelRgb, kPixelBgr, kPixelRgba, kPixelBgra, kPixelArgb, kPixelAbgr}) {
    EXPECT_EQ(expected, Encoded(picture, 4, format)) << format;
    if (format < kPixelRgba) continue;
    EXPECT_EQ(ofClear, Encoded(clear, 4, format)) << format;
  }
  EXPECT_EQ((Bytes{0xFF, 0xFF, 0x00, 0x00, 0x2D, 0x2D, 0x2D, 0x2D}),
            Encoded(Columns(Gray(0), Gray(85), Gray(170), Gray(255)), 4, kPixelGray));
}

// The second block has one column of the picture, which stands for all four of its own.
TEST_P(BlockEncoder, RepeatsTheLastColumn) {
  Picture picture;
  for (int row = 0; row < 4; ++row) picture.insert(picture.end(), {kBlack, kBlack, kBlack, kBlack, kRed});
  EXPECT_EQ((Bytes{0, 0, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0xF8, 0xFF, 0xFF, 0, 0, 0, 0}), Encoded(picture, 5));
}

TEST_P(BlockEncoder, LeavesTheLowestRowsOutAndTheirBlocksZero) {
  Picture picture = Filled(20, kRed);
  for (std::size_t i = 16; i < 20; ++i) picture[i] = kWhite;
  Bytes expected = {0x00, 0xF8, 0xFF, 0xFF};
  expected.resize(16);
  EXPECT_EQ(expected, Encoded(picture));
  EXPECT_EQ(Bytes(8), Encoded(Filled(12, kRed)));
}

TEST_P(BlockEncoder, PutsTheUpperLeftBlockFirst) {
  Picture picture;
  for (int row = 0; row < 8; ++row) {
    for (int x = 0; x < 600; ++x) {
      picture.push_back({0, 0, static_cast<std::uint8_t>(8 * ((x / 4 + (row < 4 ? 0 : 3)) % 32))});
    }
  }
  const Bytes blocks = Encoded(picture, 600);
  ASSERT_EQ(2u * 150 * 8, blocks.size());
  for (std::size_t i = 0; i < 300; ++i) {
    const std::size_t blue = (i % 150 + (i < 150 ? 0 : 3)) % 32;
    EXPECT_EQ((Bytes{static_cast<std::uint8_t>(blue), 0, 0xFF, 0xFF, 0, 0, 0, 0}),
              Bytes(&blocks[8 * i], &blocks[8 * i] + 8))
        << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Instructions, BlockEncoder, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

}  // namespace
