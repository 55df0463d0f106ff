// Tiles there and back through every coding. What is expected is the tile itself, to the bit where no error is allowed
// and otherwise within the bound. The tiles hold what breaks coders: infinities, zeros with a sign and coarse floats.

#include "codec/TileCodec.h"

#include "base/DataTypeVisit.h"

#include <gtest/gtest.h>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using zrk::TileBlob;
using zrk::TileCoding;

namespace {

template <class Sample>
std::vector<Sample> Terrain(int width, int height) {
  std::mt19937 random(9);
  std::normal_distribution<double> noise(0.0, 2.0);
  std::vector<Sample> samples;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      samples.push_back(static_cast<Sample>(60.0 + 40.0 * std::sin(x / 9.0) * std::cos(y / 7.0) + noise(random)));
    }
  }
  return samples;
}

template <class Sample>
std::vector<Sample> ThereAndBack(const std::vector<Sample>& samples, int width, int height, double maxError,
                                 TileBlob& blob) {
  constexpr int kType = zrk::kDataTypeOf<Sample>;
  EXPECT_TRUE(zrk::EncodeTile(samples.data(), kType, width, height, maxError, blob));
  std::vector<Sample> decoded(samples.size());
  zrk::TileRoom room;
  EXPECT_TRUE(zrk::DecodeTile(blob.bytes, blob.coding, kType, width, height, decoded.data(), room));
  return decoded;
}

template <class Sample>
class TileCodecOf : public testing::Test {};
using SampleTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(TileCodecOf, SampleTypes);

TYPED_TEST(TileCodecOf, KeepsEverySampleWithoutAnError) {
  const auto samples = Terrain<TypeParam>(61, 43);
  TileBlob blob;
  EXPECT_EQ(samples, ThereAndBack(samples, 61, 43, 0.0, blob));
  EXPECT_LT(blob.bytes.size(), samples.size() * sizeof(TypeParam));
}

TYPED_TEST(TileCodecOf, KeepsTheEndsOfTheRange) {
  using Limits = std::numeric_limits<TypeParam>;
  const std::vector<TypeParam> samples = {Limits::max(), Limits::lowest(), Limits::min(), 0, 1, Limits::max()};
  TileBlob blob;
  EXPECT_EQ(samples, ThereAndBack(samples, 3, 2, 0.0, blob));
}

TYPED_TEST(TileCodecOf, KeepsTheBoundOnEverySample) {
  for (const double bound : {0.01, 0.5, 1.0, 3.7}) {
    const auto samples = Terrain<TypeParam>(64, 64);
    TileBlob blob;
    const auto decoded = ThereAndBack(samples, 64, 64, bound, blob);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      ASSERT_LE(std::abs(static_cast<double>(samples[i]) - static_cast<double>(decoded[i])), bound) << i;
    }
  }
}

TYPED_TEST(TileCodecOf, KeepsRandomBitsAndOneSample) {
  std::mt19937_64 random(3);
  std::vector<TypeParam> samples(100);
  for (auto& sample : samples) {
    const std::uint64_t bits = random();
    std::memcpy(&sample, &bits, sizeof(sample));
  }
  TileBlob blob;
  const auto decoded = ThereAndBack(samples, 100, 1, 0.0, blob);
  EXPECT_EQ(0, std::memcmp(samples.data(), decoded.data(), samples.size() * sizeof(TypeParam)));
  EXPECT_EQ(std::vector<TypeParam>{5}, ThereAndBack<TypeParam>({5}, 1, 1, 0.0, blob));
}

TEST(TileCodec, KeepsInfinitiesAndEveryBitOfNaN) {
  std::vector<double> samples = {1.5, std::numeric_limits<double>::infinity(), -0.0, 0.0};
  std::uint64_t bits = 0x7FF0000000000123;
  std::memcpy(&samples[3], &bits, sizeof(bits));
  TileBlob blob;
  const auto decoded = ThereAndBack(samples, 2, 2, 10.0, blob);
  EXPECT_EQ(TileCoding::kPlanesZstd, blob.coding);
  EXPECT_EQ(0, std::memcmp(samples.data(), decoded.data(), 32));
}

TEST(TileCodec, KeepsTheBoundWhereFloatsAreCoarserThanIt) {
  std::mt19937 random(4);
  std::uniform_real_distribution<double> anywhere(1e7, 3e8);
  std::vector<float> samples(64 * 64);
  for (float& sample : samples) sample = static_cast<float>(anywhere(random));
  for (const double bound : {1e-6, 0.01, 3.0, 17.0, 100.0}) {
    TileBlob blob;
    const auto decoded = ThereAndBack(samples, 64, 64, bound, blob);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      ASSERT_LE(std::abs(double{samples[i]} - double{decoded[i]}), bound) << i;
    }
  }
}

TEST(TileCodec, KeepsTheSignOfZeroWithoutAnError) {
  const std::vector<float> samples = {-0.0F, 0.0F, 1.0F, -0.0F};
  TileBlob blob;
  const auto decoded = ThereAndBack(samples, 2, 2, 0.0, blob);
  EXPECT_EQ(0, std::memcmp(samples.data(), decoded.data(), 16));
}

TEST(TileCodec, GivesTheSameBytesForTheSameSamples) {
  const auto samples = Terrain<std::uint8_t>(37, 29);
  TileBlob first, other, second;
  for (TileBlob* blob : {&first, &second}) {
    EXPECT_TRUE(zrk::EncodeTile(samples.data(), kPint08, 37, 29, 0.0, *blob));
    const auto noise = Terrain<double>(64, 64);
    EXPECT_TRUE(zrk::EncodeTile(noise.data(), kReal64, 64, 64, 0.0, other));
  }
  EXPECT_EQ(first.bytes, second.bytes);
}

TEST(TileCodec, RefusesBlobsOfAnotherShape) {
  const auto samples = Terrain<std::uint8_t>(16, 8);
  TileBlob blob;
  ThereAndBack(samples, 16, 8, 0.0, blob);
  std::vector<unsigned char> out(4096);
  zrk::TileRoom room;
  EXPECT_FALSE(zrk::DecodeTile(blob.bytes, blob.coding, kPint08, 8, 16, out.data(), room));
  EXPECT_FALSE(zrk::DecodeTile(blob.bytes, blob.coding, kPint16, 16, 8, out.data(), room));
  EXPECT_FALSE(zrk::DecodeTile(blob.bytes, static_cast<TileCoding>(3), kPint08, 16, 8, out.data(), room));
  EXPECT_FALSE(zrk::DecodeTile({}, TileCoding::kLerc, kPint08, 16, 8, out.data(), room));
}

}  // namespace
