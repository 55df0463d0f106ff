// Codestreams that are put together of tiles, beside those that OpenJPEG itself writes of whole images.

#include "codec/J2kEncoder.h"
#include "LevelDataset.h"
#include "OpjImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace {

using zrk::J2kEncoder;
using zrk::J2kPlan;
using Bytes = J2kEncoder::Bytes;

/// Components of random samples, and the tiles of them.
class J2kEncoderTest : public testing::Test {
 protected:
  void SetUp(int width, int height, int tileSide, int numComponents, int precision = 8) {
    plan_ = {.width = width, .height = height, .tileSide = tileSide};
    components_.clear();
    for (int i = 0; i < numComponents; ++i) {
      plan_.components.push_back({precision, false});
      const auto samples = RandomSamples<std::uint16_t>(width, height, static_cast<unsigned>(i));
      components_.push_back({precision, false, width, height, {}});
      for (const std::uint16_t sample : samples) components_.back().samples.push_back(sample & ((1 << precision) - 1));
    }
  }
  /// The samples of a tile as the encoder takes them.
  Bytes SamplesOf(int tile) const {
    const zrk::Window window = plan_.TileAt(tile);
    Bytes bytes;
    for (const OpjImage::Component& component : components_) {
      for (int y = window.y0; y <= window.y1; ++y) {
        for (int x = window.x0; x <= window.x1; ++x) {
          const int sample = component.samples[static_cast<std::size_t>(y * plan_.width + x)];
          bytes.push_back(static_cast<unsigned char>(sample));
          if (component.precision > 8) bytes.push_back(static_cast<unsigned char>(sample >> 8));
        }
      }
    }
    return bytes;
  }
  Bytes Encode() {
    J2kEncoder encoder(plan_);
    XString err;
    EXPECT_TRUE(encoder.Prepare(err)) << err;
    Bytes parts;
    std::vector<std::uint32_t> lengths;
    for (int tile = 0; tile < plan_.CountTiles(); ++tile) {
      Bytes samples = SamplesOf(tile), part;
      EXPECT_TRUE(encoder.EncodeTile(tile, samples, 1, part, err)) << err;
      lengths.push_back(static_cast<std::uint32_t>(part.size()));
      parts.insert(parts.end(), part.begin(), part.end());
    }
    Bytes stream = encoder.MakeHeader(lengths);
    EXPECT_EQ(encoder.CountHeaderBytes(), stream.size());
    stream.insert(stream.end(), parts.begin(), parts.end());
    const Bytes end = J2kEncoder::MakeEnd();
    stream.insert(stream.end(), end.begin(), end.end());
    return stream;
  }
  /// From the first tile-part on.
  static Bytes TailOf(const Bytes& stream) {
    std::size_t offset = 2;
    while (offset + 4 < stream.size() && !(stream[offset] == 0xFF && stream[offset + 1] == 0x90)) {
      offset += 2 + static_cast<std::size_t>(stream[offset + 2] << 8 | stream[offset + 3]);
    }
    return {stream.begin() + static_cast<std::ptrdiff_t>(offset), stream.end()};
  }

  J2kPlan plan_;
  std::vector<OpjImage::Component> components_;
};

TEST_F(J2kEncoderTest, TilesHaveTheBytesThatTheyHaveInAnImageOfAllTiles) {
  for (const bool isReversible : {true, false}) {
    for (const auto& [tileSide, numComponents] : {std::pair{64, 1}, {64, 3}, {50, 2}, {33, 4}}) {
      SetUp(150, 110, tileSide, numComponents);
      plan_.isReversible = isReversible;
      plan_.numLevels = 3;
      const Bytes expected = EncodeByOpj(components_, {tileSide, 3, isReversible});
      ASSERT_FALSE(expected.empty());
      EXPECT_TRUE(TailOf(expected) == TailOf(Encode())) << tileSide << " " << numComponents << " " << isReversible;
    }
  }
}

TEST_F(J2kEncoderTest, SamplesComeBack) {
  for (const int precision : {1, 7, 8, 9, 12, 16}) {
    SetUp(70, 50, 32, 2, precision);
    const OpjImage image = DecodeByOpj(Encode(), {.hasBoxes = false});
    EXPECT_TRUE(image.isOpen);
    EXPECT_THAT(image.complaints, testing::IsEmpty());
    EXPECT_EQ(components_, image.components) << precision;
  }
}

TEST_F(J2kEncoderTest, TheEnvironmentHasNoSayInTheBytes) {
  SetUp(70, 50, 32, 3);
  const Bytes expected = Encode();
  ::setenv("OPJ_NUM_THREADS", "4", 1);
  EXPECT_TRUE(expected == Encode());
  ::unsetenv("OPJ_NUM_THREADS");
}

TEST_F(J2kEncoderTest, APlanThatTheCodecDoesNotTakeIsRefusedInItsWords) {
  SetUp(70, 50, 64, 1);
  plan_.numLevels = 40;
  J2kEncoder encoder(plan_);
  XString err;
  EXPECT_FALSE(encoder.Prepare(err));
  EXPECT_THAT(err.AsStdString(), testing::StartsWith("The JPEG 2000 codec refuses the image: "));
}

TEST_F(J2kEncoderTest, TooFewSamplesAreRefused) {
  SetUp(70, 50, 64, 1);
  J2kEncoder encoder(plan_);
  XString err;
  ASSERT_TRUE(encoder.Prepare(err)) << err;
  Bytes samples(10), part;
  EXPECT_FALSE(encoder.EncodeTile(0, samples, 1, part, err));
  EXPECT_FALSE(err.IsEmpty());
}

TEST_F(J2kEncoderTest, LengthsOfManyTilesTakeTwoSegments) {
  constexpr std::size_t kNumTiles = 11000, kInFirst = 10921;
  plan_ = {.width = kNumTiles, .height = 1, .tileSide = 1, .components = {{8, false}}, .numLevels = 0};
  J2kEncoder encoder(plan_);
  XString err;
  ASSERT_TRUE(encoder.Prepare(err)) << err;
  const Bytes header = encoder.MakeHeader(std::vector<std::uint32_t>(kNumTiles, 7));
  ASSERT_EQ(encoder.CountHeaderBytes(), header.size());
  const auto second = header.end() - 6 - 6 * (kNumTiles - kInFirst), first = second - 6 - 6 * kInFirst;
  const auto segment = [](auto at) { return Bytes(at, at + 12); };
  EXPECT_THAT(segment(first), testing::ElementsAre(0xFF, 0x55, 0xFF, 0xFA, 0, 0x60, 0, 0, 0, 0, 0, 7));
  EXPECT_THAT(segment(second), testing::ElementsAre(0xFF, 0x55, 1, 222, 1, 0x60, 0x2A, 0xA9, 0, 0, 0, 7));
}

TEST(J2kPlanTest, TilesCoverTheImageRowByRow) {
  const J2kPlan plan = {.width = 100, .height = 70, .tileSide = 40};
  EXPECT_EQ(3, plan.CountTileColumns());
  EXPECT_EQ(6, plan.CountTiles());
  EXPECT_EQ((zrk::Window{0, 39, 0, 39}), plan.TileAt(0));
  EXPECT_EQ((zrk::Window{80, 99, 0, 39}), plan.TileAt(2));
  EXPECT_EQ((zrk::Window{40, 79, 40, 69}), plan.TileAt(4));
}

TEST(J2kPlanTest, TilesOfTheLargestImageStayWithinAnInt) {
  const J2kPlan plan = {.width = INT32_MAX, .height = 1, .tileSide = 1 << 20};
  EXPECT_EQ(2048, plan.CountTiles());
  EXPECT_EQ((zrk::Window{2047 << 20, INT32_MAX - 1, 0, 0}), plan.TileAt(2047));
}

}  // namespace
