// The encoder in vectors beside the plain one. With ZRK_TRIALS=all each of the two tests takes more than ten million
// blocks, and then for each set of instructions:
//
//   ZRK_TRIALS=all build/release/tests/tiles_tests --gtest_filter='BlockEncoderTwins.*'

#include "BlockPictures.h"
#include "ByteFlips.h"
#include "Oracle.h"
#include "TempFolder.h"
#include "tiles/BlockEncoder.h"

#include <gtest/gtest.h>

namespace {

using zrk::BlockStrip;

constexpr std::size_t kBlocks = BlockStrip::kMaxBlocks;

testing::AssertionResult Agree(const BlockStrip& strip) {
  Bytes vectors(8 * strip.numBlocks), plain(vectors.size());
  EncodeStrip(strip, vectors.data());
  EncodeStripPlainly(strip, plain.data());
  if (vectors == plain) return testing::AssertionSuccess();
  for (std::size_t i = 0; i < vectors.size(); ++i) {
    if (vectors[i] != plain[i]) return testing::AssertionFailure() << "block " << i / 8 << " of " << strip.numBlocks;
  }
  return testing::AssertionFailure();
}

/// Samples that are anything, or lie near each other, or have few values, so that all ways are taken.
void FillPlane(BlockStrip::Plane& plane, int kind, std::mt19937_64& random) {
  constexpr std::uint8_t kMasks[] = {0xFF, 0x1F, 0x03, 0x80};
  FillAtRandom(plane[0].data(), sizeof(plane), random);
  const auto base = static_cast<std::uint8_t>(random());
  if (kind % 4 == 0) return;
  for (auto& row : plane) {
    for (std::uint8_t& sample : row) sample = static_cast<std::uint8_t>((sample & kMasks[kind % 4]) + base);
  }
}

void FillStrip(BlockStrip& strip, int kind, std::mt19937_64& random) {
  for (BlockStrip::Plane* plane : {&strip.red, &strip.green, &strip.blue}) FillPlane(*plane, kind, random);
  strip.hasTransparent = kind / 4 % 2 == 1;
  strip.numBlocks = kind % 9 ? kBlocks : 1 + random() % kBlocks;
  FillAtRandom(strip.alpha[0].data(), sizeof(strip.alpha), random);
  for (auto& row : strip.alpha) {
    for (std::uint8_t& alpha : row) alpha = alpha < random() % 256 ? 0 : 200;
  }
}

TEST(BlockEncoderTwins, AgreeOnRandomBlocks) {
  BlockStrip strip{};
  WithAllInstructions([&] {
    std::mt19937_64 random(7);
    const int count = TrialCount(10'500'000, 60'000) / static_cast<int>(kBlocks);
    for (int i = 0; i < count && !testing::Test::HasFailure(); ++i) {
      FillStrip(strip, i, random);
      ASSERT_TRUE(Agree(strip)) << "strip " << i;
    }
  });
}

struct Photograph {
  Bytes rgb;
  int width = 0;
  int height = 0;
};

Photograph ReadPhotograph(const std::string& path) {
  const OracleImage image = ReadWithGdal(path);
  if (image.channels.size() < 3) return {};
  Photograph photograph{{}, image.width, image.height};
  for (std::size_t i = 0; i < image.channels[0].size(); ++i) {
    for (std::size_t k = 0; k < 3; ++k) photograph.rgb.push_back(image.channels[k][i]);
  }
  return photograph;
}

/// The blocks of all rows that begin at `x0` and so many pixels apart. Blocks are read in both orders of colour, as
/// gray, and with dark pixels taken for transparent ones. Answers how many there were.
int CompareFrom(const Photograph& photograph, int x0, int rowStep) {
  BlockStrip strip{};
  int count = 0;
  const zrk::PixelPicture rgb{photograph.rgb.data(), zrk::LayoutOf(kPixelRgb), photograph.width, photograph.height};
  const zrk::PixelPicture bgr{photograph.rgb.data(), zrk::LayoutOf(kPixelBgr), photograph.width, photograph.height};
  for (int y0 = 0; y0 + 4 <= photograph.height; y0 += rowStep) {
    for (int x = x0; x + 4 <= photograph.width; x += 4 * static_cast<int>(kBlocks)) {
      strip.Take(bgr, x, y0);
      EXPECT_TRUE(Agree(strip)) << x << " " << y0;
      strip.Take(rgb, x, y0);
      EXPECT_TRUE(Agree(strip)) << x << " " << y0;
      strip.hasTransparent = true;
      for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t i = 0; i < 4 * kBlocks; ++i) strip.alpha[row][i] = strip.green[row][i] < 64 ? 0 : 255;
      }
      EXPECT_TRUE(Agree(strip)) << x << " " << y0;
      strip.red = strip.blue = strip.green;
      EXPECT_TRUE(Agree(strip)) << x << " " << y0;
      count += 4 * static_cast<int>(strip.numBlocks);
    }
  }
  return count;
}

TEST(BlockEncoderTwins, AgreeOnRealBlocks) {
  const bool isShort = TrialCount(2, 1) == 1;
  for (const char* name : {"jpeg/testorig.jpg", "jpeg/rgb.jpg", "tiff/L7_ETMs.tif", "jpeg/a39se10.jpg",
                           "tiff/tiled-jpeg-ycbcr.tif", "tiff/quad-tile.tif"}) {
    const Photograph photograph = ReadPhotograph(SharedDataDir() + "/" + name);
    if (photograph.rgb.empty()) GTEST_SKIP() << "no shared data";
    WithAllInstructions([&] {
      int count = 0;
      for (int x0 = 0; x0 < (isShort ? 1 : 4); ++x0) count += CompareFrom(photograph, x0, isShort ? 37 : 1);
      RecordProperty(std::string("blocks of ") + (std::strrchr(name, '/') + 1), count);
    });
  }
}

}  // namespace
