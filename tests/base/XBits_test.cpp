#include "XBits.h"

#include <gtest/gtest.h>
#include <climits>

TEST(XBits, BitZeroIsTheHighestOfTheFirstByte) {
  unsigned char bytes[] = {0x80, 0x01};
  EXPECT_EQ(XfnGetBitBuffer(bytes, 0), 1);
  EXPECT_EQ(XfnGetBitBuffer(bytes, 1), 0);
  EXPECT_EQ(XfnGetBitBuffer(bytes, 7), 0);
  EXPECT_EQ(XfnGetBitBuffer(bytes, 15), 1);
}

TEST(XBits, BitNineIsMask40OfTheSecondByte) {
  unsigned char bytes[] = {0, 0, 0};
  XfnSetBitBuffer(bytes, 9, 1);
  EXPECT_EQ(bytes[0], 0);
  EXPECT_EQ(bytes[1], 0x40);
  EXPECT_EQ(bytes[2], 0);
  EXPECT_EQ(XfnGetBitBuffer(bytes, 9), 1);
}

TEST(XBits, ClearingLeavesTheOtherBits) {
  unsigned char bytes[] = {0xFF, 0xFF};
  XfnSetBitBuffer(bytes, 9, 0);
  EXPECT_EQ(bytes[0], 0xFF);
  EXPECT_EQ(bytes[1], 0xBF);
}

TEST(XBits, AnyValueButZeroSets) {
  unsigned char byte = 0;
  XfnSetBitBuffer(&byte, 7, -256);
  EXPECT_EQ(byte, 0x01);
}

TEST(XBits, NearestPowerIsTheLargestNotAbove) {
  EXPECT_EQ(XfnGetNearest2nValue(0), 0);
  EXPECT_EQ(XfnGetNearest2nValue(1), 1);
  EXPECT_EQ(XfnGetNearest2nValue(3), 2);
  EXPECT_EQ(XfnGetNearest2nValue(1000), 512);
  EXPECT_EQ(XfnGetNearest2nValue(1023), 512);
  EXPECT_EQ(XfnGetNearest2nValue(1024), 1024);
}

TEST(XBits, NearestPowerIsTheNextWhereAFloatRoundsUpToIt) {
  // A float has 24 bits: 2^24 - 1 is exact; 2^25 - 1 and 2^30 - 1 round up.
  EXPECT_EQ(XfnGetNearest2nValue((1 << 24) - 1), 1 << 23);
  EXPECT_EQ(XfnGetNearest2nValue((1 << 25) - 2), 1 << 24);
  EXPECT_EQ(XfnGetNearest2nValue((1 << 25) - 1), 1 << 25);
  EXPECT_EQ(XfnGetNearest2nValue((1 << 30) - 1), 1 << 30);
  EXPECT_EQ(XfnGetNearest2nValue((1 << 30) - 33), 1 << 29);
  EXPECT_EQ(XfnGetNearest2nValue(INT_MAX), INT_MIN);  // bit 31 alone
}

TEST(XBits, NearestPowerOfANegativeNumberIsZero) {
  EXPECT_EQ(XfnGetNearest2nValue(-1), 0);
  EXPECT_EQ(XfnGetNearest2nValue(INT_MIN), 0);
}

TEST(XBits, PowerIsTheIndexOfTheHighestSetBit) {
  EXPECT_EQ(XfnGetPowerOf2nValue(1), 0);
  EXPECT_EQ(XfnGetPowerOf2nValue(1023), 9);
  EXPECT_EQ(XfnGetPowerOf2nValue(1024), 10);
  EXPECT_EQ(XfnGetPowerOf2nValue(INT_MAX), 30);
}

TEST(XBits, NumbersThatAreNotPositiveHaveNoPower) {
  EXPECT_EQ(XfnGetPowerOf2nValue(0), -1);
  EXPECT_EQ(XfnGetPowerOf2nValue(-8), -1);
}
