#include "tagXArr1.h"
#include "tagXArr2.h"
#include "tagXArr3.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

namespace {

TEST(tagXArr2, StartsWithoutData) {
  const tagXArr2 buffer;
  EXPECT_EQ(nullptr, buffer.data);
  EXPECT_EQ(0, buffer.xSize * buffer.ySize);
}

TEST(tagXArr2, OffsetsGiveThePlacesOfPackedRows) {
  const tagXArr2 buffer(5, 3, 2);
  ASSERT_NE(nullptr, buffer.data);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) ASSERT_EQ((y * 5 + x) * 2, buffer.rowOffsets[y] + buffer.colOffsets[x]);
  }
  EXPECT_EQ(buffer.data + 20, buffer.Row(2));
}

TEST(tagXArr2, DataIsAlignedTo64Bytes) {
  for (const int width : {1, 63, 1000}) {
    const tagXArr2 buffer(width, 1, 1);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(buffer.data) % 64);
  }
}

TEST(tagXArr2, ImpossibleShapesLeaveTheRecordAlone) {
  tagXArr2 buffer(4, 4, 1);
  const unsigned char* data = buffer.data;
  EXPECT_EQ(0, buffer.Alloc(0, 4, 1));
  EXPECT_EQ(0, buffer.Alloc(4, -1, 1));
  EXPECT_EQ(0, buffer.Alloc(4, 4, 0));
  EXPECT_EQ(0, buffer.Alloc(65536, 32768, 1));
  EXPECT_EQ(0, buffer.Alloc(INT_MAX, INT_MAX, 8));
  EXPECT_EQ(data, buffer.data);
  EXPECT_EQ(4, buffer.xSize);
  EXPECT_EQ(12, buffer.rowOffsets[3]);
}

TEST(tagXArr2, KeepsStorageThatIsLargeEnough) {
  tagXArr2 buffer(100, 100, 1);
  const unsigned char* data = buffer.data;
  ASSERT_EQ(1, buffer.Alloc(50, 40, 2));
  EXPECT_EQ(data, buffer.data);
  EXPECT_EQ(50, buffer.xSize);
  EXPECT_EQ(40, buffer.ySize);
  EXPECT_EQ(100, buffer.rowOffsets[1]);
}

TEST(tagXArr2, MovesItsBufferAndFreesIt) {
  tagXArr2 first(4, 4, 1);
  const unsigned char* data = first.data;
  tagXArr2 second = std::move(first);
  EXPECT_EQ(data, second.data);
  EXPECT_EQ(12, second.rowOffsets[3]);
  second.Free();
  EXPECT_EQ(nullptr, second.data);
  EXPECT_EQ(0, second.xSize);
  EXPECT_EQ(1, second.Alloc(2, 2, 1));
}

TEST(tagXArr1, HoldsALine) {
  tagXArr1 line(10, 4);
  ASSERT_NE(nullptr, line.data);
  EXPECT_EQ(10, line.size);
  EXPECT_EQ(4, line.elementSize);
  EXPECT_EQ(0, line.Alloc(INT_MAX, 2));
  EXPECT_EQ(10, line.size);
  line.Free();
  EXPECT_EQ(nullptr, line.data);
}

TEST(tagXArr3, HoldsThreePlanesOrNone) {
  tagXArr3 planes(6, 5, 1);
  for (const tagXArr2& plane : planes.planes) {
    ASSERT_NE(nullptr, plane.data);
    EXPECT_EQ(6, plane.xSize);
  }
  EXPECT_EQ(0, planes.Alloc(65536, 65536, 1));
  EXPECT_EQ(6, planes.planes[2].xSize);
  planes.Free();
  EXPECT_EQ(nullptr, planes.planes[1].data);
}

}  // namespace
