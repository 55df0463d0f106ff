#include "DrawnPicture.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace {

constexpr XColour kRed = 0x000000FF;
constexpr XColour kBlue = 0x00FF0000;

using Bytes = std::vector<unsigned char>;

Bytes ReadDib(const XBackBuffer& buffer, int width, int height, int rowBytes) {
  Bytes bytes(static_cast<std::size_t>(rowBytes * height), 77);
  EXPECT_EQ(1, buffer.ReadDIB24(width, height, rowBytes, bytes.data()));
  return bytes;
}

TEST(XBackBuffer, HasNoPixelsBeforeItIsCreatedAndResized) {
  XBackBuffer buffer;
  unsigned char pixel[3] = {};
  EXPECT_EQ(0, buffer.Resize(nullptr, 2, 2));
  EXPECT_EQ(0, buffer.Create(nullptr, 1));
  EXPECT_EQ(1, buffer.Create(nullptr, kBackBufferInMemory));
  EXPECT_EQ(0, buffer.ReadDIB24(1, 1, 3, pixel));
  EXPECT_EQ(nullptr, buffer.GetPixels());
}

TEST(XBackBuffer, RefusesSizesThatNoMemoryHas) {
  XBackBuffer buffer;
  buffer.Create(nullptr, kBackBufferInMemory);
  ASSERT_EQ(1, buffer.Resize(nullptr, 3, 2));
  EXPECT_EQ(0, buffer.Resize(nullptr, 0, 2));
  EXPECT_EQ(0, buffer.Resize(nullptr, 2, -1));
  EXPECT_EQ(0, buffer.Resize(nullptr, INT_MAX, INT_MAX));
  EXPECT_EQ(3, buffer.GetWidth());
  EXPECT_EQ(2, buffer.GetHeight());
}

TEST(XBackBuffer, GivesRowsFromTheBottomWithBlueFirst) {
  Picture picture(2, 2, 0, 0, 1, kRed);
  const RECT upperLeft{0, 0, 1, 1};
  picture.buffer.Clear(kBlue, &upperLeft);
  EXPECT_EQ((Bytes{0, 0, 255, 0, 0, 255, 255, 0, 0, 0, 0, 255}), ReadDib(picture.buffer, 2, 2, 6));
  EXPECT_EQ(kBlue, picture.At(0, 0));
}

TEST(XBackBuffer, FillsRowsOfABitmapWithZeros) {
  const Picture picture(1, 1, 0, 0, 1, 0x00030201);
  EXPECT_EQ((Bytes{3, 2, 1, 0}), ReadDib(picture.buffer, 1, 1, 4));
}

TEST(XBackBuffer, GivesZerosBeyondItsPixels) {
  const Picture picture(1, 1, 0, 0, 1, 0x00030201);
  EXPECT_EQ((Bytes{3, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}), ReadDib(picture.buffer, 2, 2, 6));
}

TEST(XBackBuffer, RefusesRowsThatAreTooShort) {
  const Picture picture(2, 1, 0, 0, 1);
  unsigned char bytes[6] = {};
  EXPECT_EQ(0, picture.buffer.ReadDIB24(2, 1, 5, bytes));
  EXPECT_EQ(0, picture.buffer.ReadDIB24(2, 1, 6, nullptr));
}

TEST(XBackBuffer, ClearsWithTheSetColourAtItsOpacity) {
  Picture picture(1, 1, 0, 0, 1, 0x00000000);
  picture.buffer.SetBackColor(0x000064C8, 0.5);
  picture.buffer.Clear(kSetBackColour, nullptr);
  EXPECT_EQ(0x00003264u, picture.At(0, 0));
  picture.buffer.SetBackColor(0x000064C8, 1.0);
  picture.buffer.Clear(kSetBackColour, nullptr);
  EXPECT_EQ(0x000064C8u, picture.At(0, 0));
}

TEST(XBackBuffer, TakesOpacitiesOutsideOfTheirRangeAsItsEnds) {
  Picture picture(1, 1, 0, 0, 1, kBlue);
  picture.buffer.SetBackColor(kRed, -3.0);
  picture.buffer.Clear(kSetBackColour, nullptr);
  EXPECT_EQ(kBlue, picture.At(0, 0));
  picture.buffer.SetBackColor(kRed, NAN);
  picture.buffer.Clear(kSetBackColour, nullptr);
  EXPECT_EQ(kRed, picture.At(0, 0));
}

TEST(XBackBuffer, PassesOverWhatLiesOutside) {
  Picture picture(2, 1, 0, 0, 1);
  const RECT wide{1, -5, INT_MAX, INT_MAX}, beside{5, 0, 9, 1};
  picture.buffer.Clear(kRed, &wide);
  picture.buffer.Clear(kBlue, &beside);
  EXPECT_EQ(0u, picture.At(0, 0));
  EXPECT_EQ(kRed, picture.At(1, 0));
}

TEST(XBackBuffer, TellsItsEdgesInTheWorld) {
  const Picture picture(4, 2, 10.0, 20.0, 0.5);
  double west = 0, east = 0, south = 0, north = 0;
  picture.buffer.GetWorldRange(west, east, south, north);
  EXPECT_EQ(10.0, west);
  EXPECT_EQ(12.0, east);
  EXPECT_EQ(19.0, south);
  EXPECT_EQ(20.0, north);
}

}  // namespace
