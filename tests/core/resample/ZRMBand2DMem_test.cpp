// Bands over memory of the caller's: reads, writes, levels and what they refuse. Every window at every level is
// compared with that of a band that the tests have for the same samples.

#include "ZRMBand2DMem.h"
#include "ReadSamples.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

template <class Sample>
class ZRMBand2DMemOf : public testing::Test {};
using AllSamples =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(ZRMBand2DMemOf, AllSamples);

TYPED_TEST(ZRMBand2DMemOf, ReadsEveryWindowAtEveryLevel) {
  MemoryBand reference;
  reference.SetRamp<TypeParam>(9, 6);
  tagXArr2* samples = nullptr;
  ASSERT_EQ(1, reference.ReadSubset(samples, 0, 0, 8, 0, 5, nullptr));
  tagXArr2 memory(9, 6, sizeof(TypeParam));
  std::memcpy(memory.data, samples->data, 54 * sizeof(TypeParam));
  ZRMBand2DMem band;
  ASSERT_EQ(1, band.SetSourceMemory(&memory, zrk::kDataTypeOf<TypeParam>));
  for (int level = 0; level <= 2; ++level) {
    for (int y0 = 0; y0 < 6; ++y0) {
      for (int y1 = y0; y1 < 6; ++y1) {
        for (int x0 = 0; x0 < 9; ++x0) {
          for (int x1 = x0; x1 < 9; ++x1) {
            ASSERT_EQ(Read<TypeParam>(reference, level, x0, x1, y0, y1), Read<TypeParam>(band, level, x0, x1, y0, y1));
          }
        }
      }
    }
  }
}

TYPED_TEST(ZRMBand2DMemOf, WritesAWindow) {
  ZRMBand2DMem band;
  ASSERT_EQ(1, band.SetSourceMemory(3, 2, zrk::kDataTypeOf<TypeParam>));
  TypeParam column[] = {5, 7};
  ASSERT_EQ(1, band.WriteLineV(column, 1, false, 0.0));
  EXPECT_EQ((std::vector<TypeParam>{0, 5, 0, 0, 7, 0}), Read<TypeParam>(band, 0, 0, 2, 0, 1));
  TypeParam row[] = {9, 1, 8};
  ASSERT_EQ(1, band.WriteLineH(row, 1, true, 1.0));
  EXPECT_EQ((std::vector<TypeParam>{0, 5, 0, 9, 7, 8}), Read<TypeParam>(band, 0, 0, 2, 0, 1));
  ASSERT_EQ(1, band.WriteLineH(row, 0, true, kNotSet));
  EXPECT_EQ((std::vector<TypeParam>{9, 1, 8, 9, 7, 8}), Read<TypeParam>(band, 0, 0, 2, 0, 1));
}

TEST(ZRMBand2DMem, WritesIntoTheCallersMemory) {
  tagXArr2 memory(2, 2, 2);
  std::memset(memory.data, 0, 8);
  ZRMBand2DMem band;
  ASSERT_EQ(1, band.SetSourceMemory(&memory, kSint16));
  EXPECT_EQ(&memory, band.GetSourceMemory());
  tagXArr2 pixel(1, 1, 2);
  const std::int16_t sample = -9;
  std::memcpy(pixel.data, &sample, 2);
  ASSERT_EQ(1, band.WriteSubset(&pixel, 1, 1, 0, 0, false, 0.0));
  EXPECT_EQ((std::vector<std::int16_t>{0, -9, 0, 0}), SamplesOf<std::int16_t>(memory));
}

TEST(ZRMBand2DMem, KeepsResultsAsTheyWereRead) {
  ZRMBand2DMem band;
  ASSERT_EQ(1, band.SetSourceMemory(2, 1, kPint08));
  tagXArr2* out = nullptr;
  ASSERT_EQ(1, band.ReadSubset(out, 0, 0, 1, 0, 0, nullptr));
  unsigned char ones[] = {1, 1};
  ASSERT_EQ(1, band.WriteLineH(ones, 0, false, 0.0));
  EXPECT_EQ(0, out->data[0]);
}

TEST(ZRMBand2DMem, RefusesMemoryThatIsNoImage) {
  ZRMBand2DMem band;
  tagXArr2 empty, bytes(2, 2, 1);
  EXPECT_EQ(0, band.SetSourceMemory(nullptr, kPint08));
  EXPECT_EQ(0, band.SetSourceMemory(&empty, kPint08));
  EXPECT_EQ(0, band.SetSourceMemory(&bytes, kPint16));
  EXPECT_EQ(0, band.SetSourceMemory(&bytes, 0));
  EXPECT_EQ(0, band.SetSourceMemory(0, 1, kPint08));
  EXPECT_EQ(0, band.SetSourceMemory(60000, 60000, kPint08));
  EXPECT_EQ(0, band.SetSourceMemory(1, 1, 9));
  EXPECT_EQ(nullptr, band.GetSourceMemory());
}

TEST(ZRMBand2DMem, RefusesCallsThatReachOutside) {
  ZRMBand2DMem band;
  tagXArr2 untouched;
  tagXArr2* out = &untouched;
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 0, 0, 0, nullptr));
  ASSERT_EQ(1, band.SetSourceMemory(4, 3, kPint08));
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 4, 0, 2, nullptr));
  EXPECT_EQ(0, band.ReadSubset(out, 2, 0, 3, 0, 2, nullptr));
  EXPECT_EQ(0, band.ReadSubset(out, 31, 0, 3, 0, 2, nullptr));
  int stop = XThread::kStateStop;
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 3, 0, 2, &stop));
  tagXArr2 two(2, 1, 1), wide(2, 1, 2);
  EXPECT_EQ(0, band.WriteSubset(&two, 3, 4, 0, 0, false, 0.0));
  EXPECT_EQ(0, band.WriteSubset(&two, 0, 2, 0, 0, false, 0.0));
  EXPECT_EQ(0, band.WriteSubset(&wide, 0, 1, 0, 0, false, 0.0));
  EXPECT_EQ(0, band.WriteSubset(static_cast<tagXArr2*>(nullptr), 0, 1, 0, 0, false, 0.0));
  band.SetSize(5, 3);
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 4, 0, 2, nullptr));
  band.SetDataType(kReal64);
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 0, 0, 0, nullptr));
  EXPECT_EQ(&untouched, out);
}

TEST(ZRMBand2DMemThreads, ReadAlike) {
  ZRMBand2DMem band;
  ASSERT_EQ(1, band.SetSourceMemory(64, 64, kPint16));
  for (std::uint16_t y = 0; y < 64; ++y) {
    std::vector<std::uint16_t> row(64, y);
    ASSERT_EQ(1, band.WriteLineH(row.data(), y, false, 0.0));
  }
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int k = 0; k < 60; ++k) {
        const int y = (k + 13 * t) % 64;
        const auto expected = std::vector<std::uint16_t>(64, static_cast<std::uint16_t>(y));
        if (Read<std::uint16_t>(band, 0, 0, 63, y, y) != expected) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}

}  // namespace
