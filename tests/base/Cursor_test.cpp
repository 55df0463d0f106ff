#include "base/Cursor.h"

#include <gtest/gtest.h>

namespace {

using zrk::Cursor;

constexpr unsigned char kBytes[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xF8};

TEST(Cursor, TakesNumbersOfBothByteOrders) {
  EXPECT_EQ(0x0201, Cursor(kBytes).U16LE());
  EXPECT_EQ(0x0102, Cursor(kBytes).U16BE());
  EXPECT_EQ(0x04030201u, Cursor(kBytes).U32LE());
  EXPECT_EQ(0x01020304u, Cursor(kBytes).U32BE());
  EXPECT_EQ(0xF807060504030201u, Cursor(kBytes).U64LE());
  EXPECT_EQ(0x01020304050607F8u, Cursor(kBytes).U64BE());
}

TEST(Cursor, TakesSignedAndRealNumbers) {
  constexpr unsigned char minusTwo[] = {0xFE, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(-2, Cursor(minusTwo).I32LE());
  EXPECT_EQ(-2, Cursor(minusTwo).I16LE());
  constexpr unsigned char one[] = {0x3F, 0xF0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(1.0, Cursor(one).F64BE());
  constexpr unsigned char half[] = {0, 0, 0, 0x3F};
  EXPECT_EQ(0.5f, Cursor(half).F32LE());
}

TEST(Cursor, ANumberThatDoesNotFitIsZeroAndTheFailureStays) {
  Cursor cursor(kBytes);
  cursor.Seek(6);
  EXPECT_EQ(0u, cursor.U32LE());
  EXPECT_TRUE(cursor.HasFailed());
  EXPECT_EQ(0, cursor.U8());
  cursor.Seek(0);
  EXPECT_EQ(1, cursor.U8());
  EXPECT_TRUE(cursor.HasFailed());
}

TEST(Cursor, SeeksUpToTheEnd) {
  Cursor cursor(kBytes);
  cursor.Seek(8);
  EXPECT_EQ(0u, cursor.Remaining());
  EXPECT_FALSE(cursor.HasFailed());
  cursor.Seek(9);
  EXPECT_TRUE(cursor.HasFailed());
}

TEST(Cursor, HandsOutRangesAndSkipsThem) {
  Cursor cursor(kBytes);
  cursor.Skip(2);
  const auto range = cursor.Bytes(3);
  ASSERT_EQ(3u, range.size());
  EXPECT_EQ(3, range[0]);
  EXPECT_EQ(5u, cursor.Position());
  EXPECT_TRUE(cursor.Bytes(4).empty());
  EXPECT_TRUE(cursor.HasFailed());
}

}  // namespace
