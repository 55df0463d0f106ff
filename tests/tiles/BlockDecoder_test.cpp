// The decoder beside colours worked out by hand, a plain decoder of the test's own, and libsquish.

#include "tiles/BlockDecoder.h"
#include "BlockPictures.h"
#include "ByteFlips.h"

#include <gtest/gtest.h>
#include <squish.h>

#include <array>
#include <climits>

namespace {

/// Every test runs with each set of instructions.
class BlockDecoder : public testing::TestWithParam<std::int64_t> {
 protected:
  void SetUp() override { UseInstructions(GetParam()); }
  void TearDown() override { UseInstructions(0); }
};

/// The first four pixels of a block.
Bytes UpperRow(const Bytes& block, _XDXTTYPE type = kDxt1) {
  Bytes rgba = Decode(block, 4, 4, type);
  rgba.resize(16);
  return rgba;
}

Bytes UpperRowAs(const Bytes& block, _XPIXELFORMAT format) {
  const auto pixelBytes = static_cast<std::size_t>(zrk::PixelBytes(format));
  Bytes pixels(16 * pixelBytes);
  EXPECT_TRUE(zrk::DecodeBlocksAs(block, {kDxt1, 4, 4}, format, pixels));
  return Bytes(pixels.end() - static_cast<std::ptrdiff_t>(4 * pixelBytes), pixels.end());
}

// 0xE4 has the codes 0, 1, 2 and 3 from the left. Red of 5 bits and green of 6 fill 8 bits.
constexpr std::uint8_t kAllCodes = 0xE4;

TEST_P(BlockDecoder, MixesFourColoursWhereTheFirstIsLarger) {
  const Bytes block = {0x00, 0xF8, 0xE0, 0x07, kAllCodes, 0, 0, 0};
  EXPECT_EQ((Bytes{255, 0, 0, 255, 0, 255, 0, 255, 170, 85, 0, 255, 85, 170, 0, 255}), UpperRow(block));
}

TEST_P(BlockDecoder, MixesThreeColoursWhereTheFirstIsNotLarger) {
  const Bytes block = {0xE0, 0x07, 0x00, 0xF8, kAllCodes, 0, 0, 0};
  EXPECT_EQ((Bytes{0, 255, 0, 255, 255, 0, 0, 255, 127, 127, 0, 255, 0, 0, 0, 0}), UpperRow(block));
  const Bytes equal = {0x00, 0xF8, 0x00, 0xF8, kAllCodes, 0, 0, 0};
  EXPECT_EQ((Bytes{255, 0, 0, 255, 255, 0, 0, 255, 255, 0, 0, 255, 0, 0, 0, 0}), UpperRow(equal));
}

// 0x8410 is 16, 32, 16: the bits 10000 become 10000100, and 100000 become 10000010.
TEST_P(BlockDecoder, RepeatsTheHighBitsOfAComponentBelowIt) {
  const Bytes block = {0x10, 0x84, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ((Bytes{132, 130, 132, 255, 132, 130, 132, 255, 132, 130, 132, 255, 132, 130, 132, 255}), UpperRow(block));
}

TEST_P(BlockDecoder, TakesRowsFromTheTopAndPixelsFromTheLowestBits) {
  const Bytes rgba = Decode({0xFF, 0xFF, 0x00, 0x00, 0x54, 0x55, 0x55, 0x15}, 4, 4);
  for (std::size_t pixel = 0; pixel < 16; ++pixel) {
    EXPECT_EQ(pixel == 0 || pixel == 15 ? 255 : 0, rgba[4 * pixel]) << pixel;
  }
}

// The nibbles of the first two bytes, the lower first, are 0, 1, 8 and 15, each times 17.
TEST_P(BlockDecoder, TakesFourBitsOfOpacityForAPixel) {
  const Bytes block = {0x10, 0xF8, 0, 0, 0, 0, 0, 0, 0xE0, 0x07, 0x00, 0xF8, kAllCodes, 0, 0, 0};
  EXPECT_EQ((Bytes{0, 255, 0, 0, 255, 0, 0, 17, 85, 170, 0, 136, 170, 85, 0, 255}), UpperRow(block, kDxt3));
}

/// Opacities of a block whose first eight pixels have the codes 0 to 7, and the others the same again.
Bytes OpacitiesBetween(std::uint8_t a, std::uint8_t b) {
  // 0, 1, 2 ... 7 in three bits each from the lowest on: 0xFAC688.
  const Bytes rgba = Decode({a, b, 0x88, 0xC6, 0xFA, 0x88, 0xC6, 0xFA, 0, 0, 0, 0, 0, 0, 0, 0}, 4, 4, kDxt5);
  Bytes opacities;
  for (std::size_t i = 0; i < 8; ++i) {
    opacities.push_back(rgba[4 * i + 3]);
    EXPECT_EQ(rgba[4 * i + 3], rgba[4 * (i + 8) + 3]);
  }
  return opacities;
}

TEST_P(BlockDecoder, DividesOpacitiesIntoSevenOrFiveSteps) {
  EXPECT_EQ((Bytes{255, 0, 218, 182, 145, 109, 72, 36}), OpacitiesBetween(255, 0));
  EXPECT_EQ((Bytes{0, 255, 51, 102, 153, 204, 0, 255}), OpacitiesBetween(0, 255));
  EXPECT_EQ((Bytes{9, 9, 9, 9, 9, 9, 0, 255}), OpacitiesBetween(9, 9));
}

// Without the low bits red is 248 and green 252. (2 * 248 + 0) / 3 is 165, 252 / 3 is 84, 248 / 3 is 82.
TEST_P(BlockDecoder, MirrorsTheEncoderWithoutTheLowBits) {
  const Bytes four = {0x00, 0xF8, 0xE0, 0x07, kAllCodes, 0, 0, 0}, three = {0xE0, 0x07, 0x00, 0xF8, kAllCodes, 0, 0, 0};
  EXPECT_EQ((Bytes{248, 0, 0, 255, 0, 252, 0, 255, 165, 84, 0, 255, 82, 168, 0, 255}), UpperRowAs(four, kPixelRgba));
  EXPECT_EQ((Bytes{0, 252, 0, 255, 248, 0, 0, 255, 124, 126, 0, 255, 0, 0, 0, 0}), UpperRowAs(three, kPixelRgba));
}

TEST_P(BlockDecoder, MirrorsTheEncoderWithFourColoursOutOfEqualOnes) {
  const Bytes equal = {0x00, 0xF8, 0x00, 0xF8, kAllCodes, 0, 0, 0};
  EXPECT_EQ((Bytes{248, 0, 0, 255, 248, 0, 0, 255, 248, 0, 0, 255, 248, 0, 0, 255}), UpperRowAs(equal, kPixelRgba));
}

// 248 / 3 is 82.
TEST_P(BlockDecoder, ShowsATransparentPixelBesideSolidRedAsDarkRed) {
  Bytes picture;
  for (int i = 0; i < 16; ++i) picture.insert(picture.end(), {255, 0, 0, static_cast<std::uint8_t>(i == 12 ? 0 : 255)});
  const Bytes row = UpperRowAs(Encode(picture, kPixelRgba, 4, 4), kPixelRgba);
  EXPECT_EQ((Bytes{82, 0, 0, 255, 248, 0, 0, 255}), Bytes(row.data(), row.data() + 8));
}

// 0x0C61 is red 1, green 35 and blue 1, and colour 1 is larger; code 3 of three colours is nothing.
TEST_P(BlockDecoder, MirrorsEachFormat) {
  const Bytes block = {0x61, 0x0C, 0xFF, 0xFF, 0x03, 0, 0, 0};
  const std::uint8_t r = 8, g = 140, b = 8;
  EXPECT_EQ((Bytes{0, b, b, b}), UpperRowAs(block, kPixelGray));
  EXPECT_EQ((Bytes{0, 0, 0, r, g, b, r, g, b, r, g, b}), UpperRowAs(block, kPixelRgb));
  EXPECT_EQ((Bytes{0, 0, 0, b, g, r, b, g, r, b, g, r}), UpperRowAs(block, kPixelBgr));
  EXPECT_EQ((Bytes{0, 0, 0, 0, r, g, b, 255, r, g, b, 255, r, g, b, 255}), UpperRowAs(block, kPixelRgba));
  EXPECT_EQ((Bytes{0, 0, 0, 0, b, g, r, 255, b, g, r, 255, b, g, r, 255}), UpperRowAs(block, kPixelBgra));
  EXPECT_EQ((Bytes{0, 0, 0, 0, 255, r, g, b, 255, r, g, b, 255, r, g, b}), UpperRowAs(block, kPixelArgb));
  EXPECT_EQ((Bytes{0, 0, 0, 0, 255, b, g, r, 255, b, g, r, 255, b, g, r}), UpperRowAs(block, kPixelAbgr));
}

TEST_P(BlockDecoder, MirrorsAPictureAndLeavesTheLowestRowsAlone) {
  // Gray of six rows and five columns in steps that no bit is lost of, each block of one colour.
  Bytes picture(5 * 6), back(picture.size(), 0xEE), expected = picture;
  for (std::size_t i = 0; i < picture.size(); ++i) picture[i] = i % 5 < 4 ? 64 : 128;
  for (std::size_t i = 0; i < picture.size(); ++i) expected[i] = i < 10 ? 0xEE : picture[i];
  const Bytes blocks = Encode(picture, kPixelGray, 5, 6);
  EXPECT_TRUE(zrk::DecodeBlocksAs(blocks, {kDxt1, 5, 6}, kPixelGray, back));
  EXPECT_EQ(expected, back);
}

/// A decoder of a pixel that has nothing in common with the library's.
class PlainPixel {
 public:
  PlainPixel(const std::uint8_t* block, _XDXTTYPE type, int index) : block_(block), type_(type), index_(index) {}

  std::array<int, 4> Rgba() const {
    const std::uint8_t* colours = type_ == kDxt1 ? block_ : block_ + 8;
    const int a = colours[0] + 256 * colours[1], b = colours[2] + 256 * colours[3];
    const int code = colours[4 + index_ / 4] / (1 << 2 * (index_ % 4)) % 4;
    const bool isThree = type_ == kDxt1 && a <= b;
    std::array<int, 4> rgba = {Mix(a / 2048, b / 2048, 32, code, isThree),
                               Mix(a / 32 % 64, b / 32 % 64, 64, code, isThree), Mix(a % 32, b % 32, 32, code, isThree),
                               isThree && code == 3 ? 0 : 255};
    if (type_ == kDxt3) rgba[3] = block_[index_ / 2] / (index_ % 2 ? 16 : 1) % 16 * 17;
    if (type_ == kDxt5) rgba[3] = ScaledOpacity();
    return rgba;
  }

 private:
  /// A component, from whole numbers below `range`.
  static int Mix(int a, int b, int range, int code, bool isThree) {
    const auto wide = [range](int value) { return value * 256 / range + value * 256 / range / range; };
    const int x = wide(a), y = wide(b);
    const int four[] = {x, y, (2 * x + y) / 3, (x + 2 * y) / 3}, three[] = {x, y, (x + y) / 2, 0};
    return isThree ? three[code] : four[code];
  }

  int ScaledOpacity() const {
    int code = 0;
    for (int bit = 0; bit < 3; ++bit) {
      const int at = 16 + 3 * index_ + bit;
      code += (block_[at / 8] >> at % 8 & 1) << bit;
    }
    const int a = block_[0], b = block_[1], steps = a > b ? 7 : 5;
    if (code < 2) return code == 0 ? a : b;
    if (code > steps) return code == 6 ? 0 : 255;
    return ((steps + 1 - code) * a + (code - 1) * b) / steps;
  }

  const std::uint8_t* block_;
  _XDXTTYPE type_;
  int index_;
};

Bytes DecodePlainly(const Bytes& blocks, int width, int height, _XDXTTYPE type) {
  Bytes rgba;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int block = y / 4 * ((width + 3) / 4) + x / 4;
      for (const int component :
           PlainPixel(&blocks[std::size_t(block) * (type == kDxt1 ? 8 : 16)], type, y % 4 * 4 + x % 4).Rgba()) {
        rgba.push_back(static_cast<std::uint8_t>(component));
      }
    }
  }
  return rgba;
}

/// Blocks of which some have equal colours or opacities, which is rare by chance.
Bytes RandomBlocks(const zrk::BlockShape& shape, std::mt19937_64& random) {
  Bytes blocks = RandomBytes(zrk::BlockBytes(shape), random);
  for (std::size_t i = 0; i < blocks.size(); i += 8) {
    if (random() % 8 == 0) std::memcpy(&blocks[i], &blocks[i + 2], 2);
    if (random() % 8 == 0) blocks[i] = blocks[i + 1];
  }
  return blocks;
}

TEST_P(BlockDecoder, AgreesWithAPlainDecoderAndWithSquish) {
  std::mt19937_64 random(11);
  for (const auto type : {kDxt1, kDxt3, kDxt5}) {
    for (int i = 0; i < TrialCount(60, 10); ++i) {
      const int width = 1 + static_cast<int>(random() % 90), height = 1 + static_cast<int>(random() % 12);
      const Bytes blocks = RandomBlocks({type, width, height}, random);
      const Bytes rgba = Decode(blocks, width, height, type);
      EXPECT_EQ(DecodePlainly(blocks, width, height, type), rgba) << type << " " << width << " x " << height;
      Bytes bySquish(rgba.size());
      squish::DecompressImage(bySquish.data(), width, height, blocks.data(), type);
      EXPECT_EQ(bySquish, rgba) << type << " " << width << " x " << height;
    }
  }
}

TEST_P(BlockDecoder, GivesThePixelsOfItsPlainTwin) {
  std::mt19937_64 random(12);
  for (int i = 0; i < TrialCount(1'000'000, 400); ++i) {
    const auto type = static_cast<_XDXTTYPE>(1 << i % 3);
    const auto colours = static_cast<zrk::BlockColours>(i / 3 % (type == kDxt1 ? 3 : 2));
    const std::size_t count = 1 + random() % 70;
    const Bytes blocks = RandomBlocks({type, 4 * static_cast<int>(count), 4}, random);
    Bytes vectors(64 * count), plain(64 * count);
    const auto rowBytes = static_cast<std::ptrdiff_t>(16 * count);
    zrk::DecodeRun({blocks.data(), count, type, colours}, vectors.data(), rowBytes);
    zrk::DecodeRunPlainly({blocks.data(), count, type, colours}, plain.data(), rowBytes);
    ASSERT_EQ(plain, vectors) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Instructions, BlockDecoder, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

}  // namespace
