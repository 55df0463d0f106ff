#include "bands/bmp/BmpHeader.h"

#include "BmpBuilder.h"

#include <gtest/gtest.h>

namespace {

using zrk::BmpHeader;

std::vector<unsigned char> HeaderOf(const BmpBuilder& builder) {
  std::vector<unsigned char> bytes = builder.Build();
  bytes.resize(static_cast<std::size_t>(builder.HeaderBytes()));
  return bytes;
}

/// The failure sentence for some bytes, empty where they parse.
std::string Failure(const std::vector<unsigned char>& bytes) {
  BmpHeader header;
  XString err;
  return zrk::ParseBmpHeader(bytes, header, err) ? "" : err.AsStdString();
}

TEST(BmpHeader, FindsTheRowsBehindThePalette) {
  BmpHeader header;
  XString err;
  ASSERT_EQ(1, zrk::ParseBmpHeader(HeaderOf(BmpBuilder().Size(7, 5).Bits(8)), header, err));
  EXPECT_EQ(54 + 1024, header.pixelOffset);
  EXPECT_EQ(8, header.rowBytes);
  EXPECT_EQ(40, header.imageBytes);
}

TEST(BmpHeader, ReadsTheColoursOfThePalette) {
  BmpHeader header;
  XString err;
  ASSERT_EQ(1, zrk::ParseBmpHeader(HeaderOf(BmpBuilder().Bits(8)), header, err));
  EXPECT_EQ(BmpBuilder::PaletteRed(200), header.info.bmiColors[200].rgbRed);
  EXPECT_EQ(BmpBuilder::PaletteGreen(200), header.info.bmiColors[200].rgbGreen);
  EXPECT_EQ(BmpBuilder::PaletteBlue(200), header.info.bmiColors[200].rgbBlue);
}

TEST(BmpHeader, NeedsFourteenBytesOfFileHeader) {
  std::vector<unsigned char> bytes = HeaderOf(BmpBuilder());
  bytes.resize(13);
  EXPECT_EQ("Can't read bitmap file header.", Failure(bytes));
}

TEST(BmpHeader, NeedsTheMagic) {
  std::vector<unsigned char> bytes = HeaderOf(BmpBuilder());
  bytes[1] = 'm';
  EXPECT_EQ("Not a valid BMP format", Failure(bytes));
}

TEST(BmpHeader, TellsAShortInfoHeaderAfterTheMagic) {
  std::vector<unsigned char> bytes = HeaderOf(BmpBuilder());
  bytes.resize(53);
  EXPECT_EQ("Can't read bitmap info header", Failure(bytes));
}

TEST(BmpHeader, RefusesFewerThanEightBits) {
  EXPECT_EQ("Not supported bit count: 1", Failure(HeaderOf(BmpBuilder().Bits(1))));
  EXPECT_EQ("Not supported bit count: 4", Failure(HeaderOf(BmpBuilder().Bits(4))));
}

TEST(BmpHeader, RefusesPixelsOfMoreThanFourBytes) {
  EXPECT_EQ("Not supported bit count: 40", Failure(HeaderOf(BmpBuilder().Bits(40))));
  EXPECT_EQ("Not supported bit count: 64", Failure(HeaderOf(BmpBuilder().Bits(64))));
}

TEST(BmpHeader, TellsAPaletteCutShort) {
  std::vector<unsigned char> bytes = HeaderOf(BmpBuilder().Bits(8));
  bytes.pop_back();
  EXPECT_EQ("Can't read palette", Failure(bytes));
}

TEST(BmpHeader, CountsAtMost256Colours) {
  BmpHeader header;
  XString err;
  ASSERT_EQ(1, zrk::ParseBmpHeader(HeaderOf(BmpBuilder().Bits(8).ClrUsed(100000)), header, err));
  EXPECT_EQ(54 + 1024, header.pixelOffset);
}

TEST(BmpHeader, ReadsPastTheColourTableOfADirectImage) {
  BmpHeader header;
  XString err;
  ASSERT_EQ(1, zrk::ParseBmpHeader(HeaderOf(BmpBuilder().Bits(24).Palette(4).ClrUsed(4)), header, err));
  EXPECT_EQ(54 + 16, header.pixelOffset);
}

TEST(BmpHeader, HasNoMemoryForANegativeImage) {
  EXPECT_EQ("Can't allocate memory", Failure(HeaderOf(BmpBuilder().TopDown())));
  EXPECT_EQ("Can't allocate memory", Failure(HeaderOf(BmpBuilder().Claim(-7, 5))));
  EXPECT_EQ("Can't allocate memory", Failure(HeaderOf(BmpBuilder().Claim(-7, -5))));
}

TEST(BmpHeader, HasNoMemoryForAnImageBeyond63Bits) {
  EXPECT_EQ("Can't allocate memory", Failure(HeaderOf(BmpBuilder().Bits(32).Claim(0x7FFFFFFF, 0x7FFFFFFF))));
}

}  // namespace
