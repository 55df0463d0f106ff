#include "math/Interleave.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

namespace {

using Planes = std::array<std::vector<unsigned char>, 4>;

constexpr unsigned char kGuard = 0xA5;

std::vector<unsigned char> RandomBytes(std::size_t count) {
  std::mt19937 generator(7);
  std::vector<unsigned char> bytes(count);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(generator());
  return bytes;
}

/// Planes with a guard byte behind the last sample.
Planes MakePlanes(std::size_t count) {
  Planes planes;
  for (auto& plane : planes) plane.assign(count + 1, kGuard);
  return planes;
}

TEST(Interleave, SplittingThreeBytesEqualsItsScalarTwinAtEveryLength) {
  for (std::size_t count = 0; count < 200; ++count) {
    const std::vector<unsigned char> source = RandomBytes(3 * count);
    Planes split = MakePlanes(count), twin = MakePlanes(count);
    zrk::SplitPixels3(source.data(), count, split[0].data(), split[1].data(), split[2].data());
    for (int c = 0; c < 3; ++c) zrk::TakeByte(source.data(), count, 3, 1, c, twin[static_cast<std::size_t>(c)].data());
    ASSERT_EQ(twin, split) << count;
  }
}

TEST(Interleave, SplittingFourBytesEqualsItsScalarTwinAtEveryLength) {
  for (std::size_t count = 0; count < 200; ++count) {
    const std::vector<unsigned char> source = RandomBytes(4 * count);
    Planes split = MakePlanes(count), twin = MakePlanes(count);
    zrk::SplitPixels4(source.data(), count, split[0].data(), split[1].data(), split[2].data(), split[3].data());
    for (int c = 0; c < 4; ++c) zrk::TakeByte(source.data(), count, 4, 1, c, twin[static_cast<std::size_t>(c)].data());
    ASSERT_EQ(twin, split) << count;
  }
}

TEST(Interleave, JoiningThreePlanesIsTheWayBackAtEveryLength) {
  for (std::size_t count = 0; count < 200; ++count) {
    const std::vector<unsigned char> pixels = RandomBytes(3 * count);
    std::array<std::vector<unsigned char>, 3> planes;
    for (std::size_t i = 0; i < pixels.size(); ++i) planes[i % 3].push_back(pixels[i]);
    std::vector<unsigned char> joined(3 * count + 1, kGuard), expected = pixels;
    expected.push_back(kGuard);
    zrk::JoinPixels3(planes[0].data(), planes[1].data(), planes[2].data(), count, joined.data());
    ASSERT_EQ(expected, joined) << count;
  }
}

TEST(Interleave, ScattersSamplesOfAnySize) {
  for (const std::size_t sampleBytes : {1, 2, 3, 4, 8, 16}) {
    const std::vector<unsigned char> plane = RandomBytes(9 * sampleBytes);
    std::vector<unsigned char> target(9 * 53, kGuard), expected = target;
    for (std::size_t i = 0; i < plane.size(); ++i) expected[i / sampleBytes * 53 + i % sampleBytes] = plane[i];
    zrk::ScatterSamples(plane.data(), 9, 53, static_cast<int>(sampleBytes), target.data());
    EXPECT_EQ(expected, target) << sampleBytes;
  }
}

/// As the pixels lie, sample by sample.
std::vector<unsigned char> TakeSlowly(const unsigned char* source, std::size_t count, std::size_t stride,
                                      std::size_t sampleBytes) {
  std::vector<unsigned char> plane;
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t b = 0; b < sampleBytes; ++b) plane.push_back(source[i * stride + b]);
  }
  plane.push_back(kGuard);
  return plane;
}

TEST(Interleave, TakesASampleOfPixelsOfEveryShapeAndLength) {
  for (const std::size_t sampleBytes : {1, 2, 4, 8, 16}) {
    for (const std::size_t numSamples : {1, 2, 3, 4, 5}) {
      const std::size_t pixelBytes = numSamples * sampleBytes;
      for (std::size_t count = 1; count < 140; count += 3) {
        // The pixels begin at an odd place, and are all that there is.
        const std::vector<unsigned char> source = RandomBytes(1 + pixelBytes * count);
        for (std::size_t index = 0; index < numSamples; ++index) {
          std::vector<unsigned char> plane(count * sampleBytes + 1, kGuard);
          zrk::TakeSample(source.data() + 1, count, static_cast<int>(numSamples), static_cast<int>(sampleBytes),
                          static_cast<int>(index), plane.data());
          ASSERT_EQ(TakeSlowly(source.data() + 1 + index * sampleBytes, count, pixelBytes, sampleBytes), plane)
              << numSamples << " of " << sampleBytes << " bytes, " << count << " pixels";
        }
      }
    }
  }
}

TEST(Interleave, SplitsPixelsOfEveryShapeAndLength) {
  for (const std::size_t sampleBytes : {1, 2, 4, 8, 16}) {
    for (const std::size_t numSamples : {1, 2, 3, 4, 5}) {
      const std::size_t pixelBytes = numSamples * sampleBytes;
      for (std::size_t count = 1; count < 140; count += 3) {
        const std::vector<unsigned char> source = RandomBytes(1 + pixelBytes * count);
        std::vector<std::vector<unsigned char>> planes(numSamples);
        std::vector<unsigned char*> places;
        for (auto& plane : planes) {
          plane.assign(count * sampleBytes + 1, kGuard);
          places.push_back(plane.data());
        }
        zrk::SplitSamples(source.data() + 1, count, static_cast<int>(numSamples), static_cast<int>(sampleBytes),
                          places.data());
        for (std::size_t i = 0; i < numSamples; ++i) {
          ASSERT_EQ(TakeSlowly(source.data() + 1 + i * sampleBytes, count, pixelBytes, sampleBytes), planes[i])
              << numSamples << " of " << sampleBytes << " bytes, " << count << " pixels";
        }
      }
    }
  }
}

TEST(Interleave, GathersSamplesFromPlacesFarApart) {
  const std::vector<unsigned char> source = RandomBytes(500);
  for (const std::size_t sampleBytes : {1, 2, 4, 8, 16}) {
    std::vector<unsigned char> plane(9 * sampleBytes + 1, kGuard);
    zrk::GatherSamples(source.data() + 3, 9, 53, static_cast<int>(sampleBytes), plane.data());
    EXPECT_EQ(TakeSlowly(source.data() + 3, 9, 53, sampleBytes), plane);
  }
}

TEST(Interleave, TakesOneByteOfEverySecondPixel) {
  const unsigned char source[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  unsigned char plane[2] = {};
  zrk::TakeByte(source, 2, 3, 2, 1, plane);
  EXPECT_EQ(2, plane[0]);
  EXPECT_EQ(8, plane[1]);
}

}  // namespace
