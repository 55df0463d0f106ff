#include "tagXArr1.h"
#include "tagXArr2.h"
#include "tagXArr3.h"

#include <gtest/gtest.h>
#include <climits>
#include <cstdint>
#include <utility>

namespace {

bool IsAligned(const unsigned char* data) {
  return reinterpret_cast<std::uintptr_t>(data) % 64 == 0;
}

}  // namespace

TEST(tagXArr1, StartsEmptyOrWithALine) {
  const tagXArr1 empty;
  EXPECT_EQ(empty.data, nullptr);
  EXPECT_EQ(empty.size, 0);
  const tagXArr1 line(5, 4);
  EXPECT_TRUE(IsAligned(line.data));
  EXPECT_EQ(line.size, 5);
  EXPECT_EQ(line.elementSize, 4);
}

TEST(tagXArr1, KeepsStorageThatIsLargeEnough) {
  tagXArr1 line(100, 8);
  const unsigned char* const data = line.data;
  EXPECT_NE(line.Alloc(200, 4), 0);
  EXPECT_EQ(line.data, data);
  EXPECT_EQ(line.size, 200);
  EXPECT_EQ(line.elementSize, 4);
}

TEST(tagXArr1, ImpossibleSizesLeaveItAsItWas) {
  tagXArr1 line(5, 4);
  const unsigned char* const data = line.data;
  EXPECT_EQ(line.Alloc(0, 4), 0);
  EXPECT_EQ(line.Alloc(-5, 4), 0);
  EXPECT_EQ(line.Alloc(5, 0), 0);
  EXPECT_EQ(line.Alloc(5, -4), 0);
  EXPECT_EQ(line.Alloc(INT_MAX / 2 + 1, 2), 0);  // 2^31 bytes
  EXPECT_EQ(line.Alloc(INT_MAX, INT_MAX), 0);
  EXPECT_EQ(line.data, data);
  EXPECT_EQ(line.size, 5);
  EXPECT_EQ(line.elementSize, 4);
}

TEST(tagXArr1, MovesAndFrees) {
  tagXArr1 from(5, 4);
  const unsigned char* const data = from.data;
  tagXArr1 to(std::move(from));
  EXPECT_EQ(to.data, data);
  EXPECT_EQ(from.data, nullptr);  // NOLINT(bugprone-use-after-move): what is left is empty
  EXPECT_EQ(from.size, 0);
  to.Free();
  EXPECT_EQ(to.data, nullptr);
  EXPECT_EQ(to.size, 0);
  EXPECT_NE(to.Alloc(1, 1), 0);
}

TEST(tagXArr2, StartsEmptyOrWithASize) {
  const tagXArr2 empty;
  EXPECT_EQ(empty.data, nullptr);
  EXPECT_EQ(empty.rowOffsets, nullptr);
  const tagXArr2 buffer(7, 3, 2);
  EXPECT_TRUE(IsAligned(buffer.data));
  EXPECT_EQ(buffer.xSize, 7);
  EXPECT_EQ(buffer.ySize, 3);
  EXPECT_EQ(buffer.elementSize, 2);
}

TEST(tagXArr2, OffsetsLeadToThePackedPlaceOfEachSample) {
  const tagXArr2 buffer(7, 3, 8);
  for (int y = 0; y < 3; ++y) {
    EXPECT_EQ(buffer.Row(y), buffer.data + y * 56);
    for (int x = 0; x < 7; ++x) {
      EXPECT_EQ(buffer.rowOffsets[y] + buffer.colOffsets[x], (y * 7 + x) * 8) << x << ' ' << y;
    }
  }
}

TEST(tagXArr2, ASmallerRequestKeepsTheStorage) {
  tagXArr2 buffer(100, 100, 4);
  const unsigned char* const data = buffer.data;
  EXPECT_NE(buffer.Alloc(100, 100, 4), 0);
  EXPECT_NE(buffer.Alloc(3, 5, 1), 0);
  EXPECT_EQ(buffer.data, data);
  EXPECT_EQ(buffer.xSize, 3);
  EXPECT_EQ(buffer.rowOffsets[4], 12);
  EXPECT_EQ(buffer.colOffsets[2], 2);
}

TEST(tagXArr2, ALargerRequestGetsAllItsBytes) {
  tagXArr2 buffer(3, 5, 1);
  ASSERT_NE(buffer.Alloc(1000, 700, 4), 0);
  buffer.data[0] = 1;
  buffer.data[1000 * 700 * 4 - 1] = 2;
  EXPECT_EQ(buffer.Row(699)[3999], 2);
}

TEST(tagXArr2, SizesThatAreNotPositiveAreRefused) {
  tagXArr2 buffer;
  EXPECT_EQ(buffer.Alloc(0, 5, 1), 0);
  EXPECT_EQ(buffer.Alloc(5, 0, 1), 0);
  EXPECT_EQ(buffer.Alloc(5, 5, 0), 0);
  EXPECT_EQ(buffer.Alloc(-5, -5, 1), 0);
  EXPECT_EQ(buffer.Alloc(INT_MIN, 5, 1), 0);
  EXPECT_EQ(buffer.data, nullptr);
}

TEST(tagXArr2, MoreBytesThanAnIntCanSayAreRefused) {
  tagXArr2 buffer(3, 5, 2);
  const unsigned char* const data = buffer.data;
  EXPECT_EQ(buffer.Alloc(65536, 32768, 1), 0);  // 2^31
  EXPECT_EQ(buffer.Alloc(65536, 65536, 1), 0);  // 2^32, 0 in 32 bits
  EXPECT_EQ(buffer.Alloc(INT_MAX, INT_MAX, INT_MAX), 0);
  EXPECT_EQ(buffer.data, data);
  EXPECT_EQ(buffer.xSize, 3);
  EXPECT_EQ(buffer.ySize, 5);
  EXPECT_EQ(buffer.rowOffsets[4], 24);
}

TEST(tagXArr2, AFailedConstructionLeavesNoData) {
  EXPECT_EQ(tagXArr2(-1, 1, 1).data, nullptr);
}

TEST(tagXArr2, MovesWithItsOffsets) {
  tagXArr2 from(4, 4, 1);
  const unsigned char* const data = from.data;
  tagXArr2 to(9, 9, 9);
  to = std::move(from);
  EXPECT_EQ(to.data, data);
  EXPECT_EQ(to.xSize, 4);
  EXPECT_EQ(to.Row(3), data + 12);
  EXPECT_EQ(from.data, nullptr);  // NOLINT(bugprone-use-after-move): what is left is empty
  EXPECT_EQ(from.rowOffsets, nullptr);
  EXPECT_EQ(from.colOffsets, nullptr);
}

TEST(tagXArr2, CanBeUsedAgainAfterFree) {
  tagXArr2 buffer(4, 4, 1);
  buffer.Free();
  EXPECT_EQ(buffer.data, nullptr);
  EXPECT_EQ(buffer.xSize, 0);
  EXPECT_EQ(buffer.colOffsets, nullptr);
  EXPECT_NE(buffer.Alloc(4, 4, 1), 0);
  EXPECT_NE(buffer.data, nullptr);
}

TEST(tagXArr3, HasThreePlanesOfOneShape) {
  const tagXArr3 image(4, 3, 2);
  for (const tagXArr2& plane : image.planes) {
    EXPECT_TRUE(IsAligned(plane.data));
    EXPECT_EQ(plane.xSize, 4);
    EXPECT_EQ(plane.ySize, 3);
    EXPECT_EQ(plane.elementSize, 2);
  }
  EXPECT_NE(image.planes[0].data, image.planes[1].data);
  EXPECT_NE(image.planes[1].data, image.planes[2].data);
}

TEST(tagXArr3, TakesANewShapeInAllPlanesOrNone) {
  tagXArr3 image(4, 3, 2);
  EXPECT_EQ(image.Alloc(65536, 65536, 1), 0);
  for (const tagXArr2& plane : image.planes) EXPECT_EQ(plane.xSize, 4);
  EXPECT_NE(image.Alloc(5, 6, 1), 0);
  for (const tagXArr2& plane : image.planes) EXPECT_EQ(plane.ySize, 6);
}

TEST(tagXArr3, KeepsItsStorageForTheSameShape) {
  tagXArr3 image(4, 3, 2);
  const unsigned char* const data = image.planes[2].data;
  EXPECT_NE(image.Alloc(4, 3, 2), 0);
  EXPECT_EQ(image.planes[2].data, data);
}

TEST(tagXArr3, FreesAllPlanes) {
  tagXArr3 image(4, 3, 2);
  image.Free();
  for (const tagXArr2& plane : image.planes) EXPECT_EQ(plane.data, nullptr);
}
