#include "XBits.h"

#include <gtest/gtest.h>

namespace {

TEST(XBits, BitNineIsMask0x40OfByteOne) {
  unsigned char buffer[2] = {0, 0};
  XfnSetBitBuffer(buffer, 9, 5);
  EXPECT_EQ(0, buffer[0]);
  EXPECT_EQ(0x40, buffer[1]);
  EXPECT_EQ(1, XfnGetBitBuffer(buffer, 9));
  EXPECT_EQ(0, XfnGetBitBuffer(buffer, 8));
}

TEST(XBits, ClearingABitLeavesItsNeighbours) {
  unsigned char buffer[1] = {0xFF};
  XfnSetBitBuffer(buffer, 0, 0);
  EXPECT_EQ(0x7F, buffer[0]);
  XfnSetBitBuffer(buffer, 7, 0);
  EXPECT_EQ(0x7E, buffer[0]);
}

TEST(XBits, NearestPowerIsTheLargestNotAbove) {
  EXPECT_EQ(0, XfnGetNearest2nValue(0));
  EXPECT_EQ(1, XfnGetNearest2nValue(1));
  EXPECT_EQ(512, XfnGetNearest2nValue(1000));
  EXPECT_EQ(1024, XfnGetNearest2nValue(1024));
}

TEST(XBits, NearestPowerGoesUpWhereAFloatDoes) {
  EXPECT_EQ(1 << 24, XfnGetNearest2nValue((1 << 25) - 2));
  EXPECT_EQ(1 << 25, XfnGetNearest2nValue((1 << 25) - 1));
}

TEST(XBits, PowerIsTheIndexOfTheHighestBit) {
  EXPECT_EQ(0, XfnGetPowerOf2nValue(1));
  EXPECT_EQ(10, XfnGetPowerOf2nValue(1024));
  EXPECT_EQ(9, XfnGetPowerOf2nValue(1023));
  EXPECT_EQ(30, XfnGetPowerOf2nValue(0x7FFFFFFF));
  EXPECT_EQ(-1, XfnGetPowerOf2nValue(0));
  EXPECT_EQ(-1, XfnGetPowerOf2nValue(-8));
}

}  // namespace
