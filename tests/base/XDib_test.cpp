#include "XDib.h"

#include <gtest/gtest.h>
#include <climits>

namespace {

BITMAPINFO MakeInfo(int width, std::uint16_t bitCount, std::uint32_t numColours) {
  BITMAPINFO info = {};
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biBitCount = bitCount;
  info.bmiHeader.biClrUsed = numColours;
  return info;
}

int PaletteSize(std::uint16_t bitCount, std::uint32_t numColours) {
  const BITMAPINFO info = MakeInfo(1, bitCount, numColours);
  EXPECT_EQ(XfnGetDIBPaletteSize(&info), XfnGetDIBPaletteSize(info.bmiHeader));
  return XfnGetDIBPaletteSize(&info);
}

}  // namespace

TEST(XDib, ThePaletteIsAsLongAsTheBitsNeedWhereTheHeaderIsSilent) {
  EXPECT_EQ(PaletteSize(1, 0), 2);
  EXPECT_EQ(PaletteSize(4, 0), 16);
  EXPECT_EQ(PaletteSize(8, 0), 256);
}

TEST(XDib, MoreThanEightBitsNeedNoPalette) {
  for (const std::uint16_t bitCount : {16, 24, 32}) EXPECT_EQ(PaletteSize(bitCount, 0), 0) << bitCount;
}

TEST(XDib, OddBitCountsNeedNoPalette) {
  for (const std::uint16_t bitCount : {0, 2, 3, 31, 65535}) EXPECT_EQ(PaletteSize(bitCount, 0), 0) << bitCount;
}

TEST(XDib, TheHeaderSaysHowLongThePaletteIs) {
  EXPECT_EQ(PaletteSize(8, 3), 3);
  EXPECT_EQ(PaletteSize(24, 7), 7);
}

TEST(XDib, APaletteHasAtMost256Colours) {
  EXPECT_EQ(PaletteSize(8, 256), 256);
  EXPECT_EQ(PaletteSize(8, 257), 256);
  EXPECT_EQ(PaletteSize(24, 0xFFFFFFFF), 256);
}

TEST(XDib, RowsAreRoundedUpToFourBytes) {
  EXPECT_EQ(XfnCalcDIBWidthBytes(1, 1), 4);
  EXPECT_EQ(XfnCalcDIBWidthBytes(32, 1), 4);
  EXPECT_EQ(XfnCalcDIBWidthBytes(33, 1), 8);
  EXPECT_EQ(XfnCalcDIBWidthBytes(7, 24), 24);  // 21 bytes
  EXPECT_EQ(XfnCalcDIBWidthBytes(8, 24), 24);
  EXPECT_EQ(XfnCalcDIBWidthBytes(3, 16), 8);
}

TEST(XDib, RowsMayBeLongerThanAnIntCanSay) {
  EXPECT_EQ(XfnCalcDIBWidthBytes(INT_MAX, 32), 8589934588);  // 4 * (2^31 - 1)
  const BITMAPINFO info = MakeInfo(INT_MAX, 32, 0);
  EXPECT_EQ(XfnCalcDIBWidthBytes(&info), 8589934588);
}

TEST(XDib, AWidthThatIsNotPositiveGivesNoBytes) {
  EXPECT_LE(XfnCalcDIBWidthBytes(0, 24), 0);
  EXPECT_LE(XfnCalcDIBWidthBytes(-5, 24), 0);
  EXPECT_LE(XfnCalcDIBWidthBytes(INT_MIN, INT_MAX), 0);
  EXPECT_LE(XfnCalcDIBWidthBytes(5, INT_MIN), 0);
}

TEST(XDib, NoHeaderHasNothing) {
  EXPECT_EQ(XfnGetDIBPaletteSize(nullptr), 0);
  EXPECT_EQ(XfnCalcDIBWidthBytes(nullptr), 0);
}
