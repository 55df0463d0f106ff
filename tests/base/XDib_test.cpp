#include "XDib.h"

#include <gtest/gtest.h>

namespace {

BITMAPINFOHEADER Header(int bits, std::uint32_t clrUsed) {
  BITMAPINFOHEADER header{};
  header.biBitCount = static_cast<std::uint16_t>(bits);
  header.biClrUsed = clrUsed;
  return header;
}

TEST(XDib, ThePaletteFollowsFromTheBitsUnlessTheHeaderSays) {
  EXPECT_EQ(2, XfnGetDIBPaletteSize(Header(1, 0)));
  EXPECT_EQ(16, XfnGetDIBPaletteSize(Header(4, 0)));
  EXPECT_EQ(256, XfnGetDIBPaletteSize(Header(8, 0)));
  EXPECT_EQ(0, XfnGetDIBPaletteSize(Header(24, 0)));
  EXPECT_EQ(0, XfnGetDIBPaletteSize(Header(32, 0)));
  EXPECT_EQ(10, XfnGetDIBPaletteSize(Header(8, 10)));
  EXPECT_EQ(5, XfnGetDIBPaletteSize(Header(24, 5)));
}

TEST(XDib, ThePaletteHasAtMost256Entries) {
  EXPECT_EQ(256, XfnGetDIBPaletteSize(Header(8, 257)));
  EXPECT_EQ(256, XfnGetDIBPaletteSize(Header(8, 0xFFFFFFFFu)));
  EXPECT_EQ(0, XfnGetDIBPaletteSize(static_cast<const BITMAPINFO*>(nullptr)));
}

TEST(XDib, RowsAreRoundedUpToFourBytes) {
  EXPECT_EQ(4, XfnCalcDIBWidthBytes(1, 8));
  EXPECT_EQ(4, XfnCalcDIBWidthBytes(1, 24));
  EXPECT_EQ(24, XfnCalcDIBWidthBytes(7, 24));
  EXPECT_EQ(4, XfnCalcDIBWidthBytes(32, 1));
  EXPECT_EQ(8, XfnCalcDIBWidthBytes(33, 1));
}

TEST(XDib, RowsOfTheWidestImageDoNotOverflow) {
  EXPECT_EQ(8589934588, XfnCalcDIBWidthBytes(0x7FFFFFFF, 32));
  EXPECT_EQ(0, XfnCalcDIBWidthBytes(-7, 24));
  EXPECT_EQ(0, XfnCalcDIBWidthBytes(0, 24));
}

}  // namespace
