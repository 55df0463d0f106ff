#include "tiles/txid/TxidPlanes.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>

// The buffers of a window, which lie in one memory.

namespace {

using zrk::TxidPlanes;

/// Fills each plane with a number of its own and looks whether all are still there.
void ExpectApart(TxidPlanes& planes, int width, int height) {
  ASSERT_TRUE(planes.Alloc(width, height));
  const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  for (std::size_t k = 0; k < 4; ++k) std::memset(planes[k].data, static_cast<int>(k + 1), count);
  for (std::size_t k = 0; k < 4; ++k) {
    const tagXArr2& plane = planes[k];
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(plane.data) % 64);
    EXPECT_EQ(width, plane.xSize);
    EXPECT_EQ(height, plane.ySize);
    EXPECT_EQ(1, plane.elementSize);
    EXPECT_TRUE(plane.isLent);
    EXPECT_EQ(width * (height - 1), plane.rowOffsets[height - 1]);
    EXPECT_EQ(width - 1, plane.colOffsets[width - 1]);
    EXPECT_EQ(k + 1, plane.Row(0)[0]);
    EXPECT_EQ(k + 1, plane.Row(height - 1)[width - 1]);
  }
}

}  // namespace

TEST(TxidPlanes, LieApartWhateverTheirSize) {
  TxidPlanes planes;
  EXPECT_FALSE(planes.HasData());
  for (const auto& [width, height] : {std::pair{1, 1}, {7, 5}, {64, 1}, {1, 65}, {1024, 1024}, {1500, 1401}, {3, 2}}) {
    ExpectApart(planes, width, height);
  }
}

TEST(TxidPlanes, KeepTheirPixelsWhereTheSizeIsTheSame) {
  TxidPlanes planes;
  ExpectApart(planes, 9, 4);
  const unsigned char* const data = planes[2].data;
  ASSERT_TRUE(planes.Alloc(9, 4));
  EXPECT_EQ(data, planes[2].data);
  EXPECT_EQ(3, planes[2].Row(3)[8]);
}

TEST(TxidPlanes, KeepTheirPixelsWhereTheyAreMoved) {
  TxidPlanes planes;
  ExpectApart(planes, 9, 4);
  const TxidPlanes moved = std::move(planes);
  EXPECT_TRUE(moved.HasSize(9, 4));
  EXPECT_EQ(4, moved[3].Row(3)[8]);
}

TEST(TxidPlanes, AreEmptyAfterAFailedAllocation) {
  TxidPlanes planes;
  for (const auto& [width, height] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {INT_MAX, 2}, {1 << 16, 1 << 16}}) {
    ExpectApart(planes, 9, 4);
    EXPECT_FALSE(planes.Alloc(width, height));
    EXPECT_FALSE(planes.HasData());
  }
}

/// A caller may give up a buffer that it was handed.
TEST(TxidPlanes, AreMadeAnewWhereOneWasGivenUp) {
  TxidPlanes planes;
  ExpectApart(planes, 9, 4);
  planes[1].Free();
  EXPECT_FALSE(planes.HasData());
  ExpectApart(planes, 9, 4);
}
