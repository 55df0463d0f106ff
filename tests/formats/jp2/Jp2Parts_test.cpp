// Tile-parts of JPEG 2000 files: what is missing of a tile, and where a tile may say how it is coded. A tile whose
// parts end with each resolution looks whole without its last ones, only poorer.

#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "XFormatId.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using PartBytes = std::vector<unsigned char>;

constexpr std::size_t kHeadBytes = 12, kCodBytes = 14;
const PartBytes kCod = {0xFF, 0x52, 0, 12}, kPart = {0xFF, 0x90, 0, 10}, kData = {0xFF, 0x93};

std::size_t FindPlace(const PartBytes& bytes, const PartBytes& what, std::size_t from = 0) {
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(from);
  return static_cast<std::size_t>(std::search(first, bytes.end(), what.begin(), what.end()) - bytes.begin());
}

PartBytes Cut(const PartBytes& bytes, std::size_t place) {
  return PartBytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(place));
}

/// One tile of four parts, one for each resolution.
Jp2Builder FourParts() {
  return Jp2Builder().Levels(3).PartPerResolution().Samples([](int, int x, int y) { return (7 * x + 3 * y) % 251; });
}

std::string WhyNotRead(const PartBytes& bytes) {
  return LoadedRaster(bytes, kFormatJP2, kReadExact).Failure(0, {0, 63, 0, 47});
}

/// The number of parts that each head tells; 0 leaves it open.
PartBytes WithCount(PartBytes bytes, unsigned char count) {
  for (std::size_t at = FindPlace(bytes, kPart); at < bytes.size(); at = FindPlace(bytes, kPart, at + 1)) {
    bytes[at + kHeadBytes - 1] = count;
  }
  return bytes;
}

TEST(Jp2Parts, OfATileAreReadTogether) {
  EXPECT_EQ("", WhyNotRead(FourParts().BuildCodestream()));
  EXPECT_EQ("", WhyNotRead(FourParts().TileLengths().BuildCodestream()));
  EXPECT_EQ("", WhyNotRead(WithCount(FourParts().BuildCodestream(), 0)));
}

TEST(Jp2Parts, ThatAreMissingBehindAWholeOneFailAnExactRead) {
  for (const bool isListed : {false, true}) {
    Jp2Builder builder = FourParts();
    if (isListed) builder.TileLengths();
    const PartBytes bytes = builder.BuildCodestream();
    std::size_t place = FindPlace(bytes, kPart);
    for (int i = 1; i < 4; ++i) {
      place = FindPlace(bytes, kPart, place + 1);
      ASSERT_LT(place, bytes.size());
      EXPECT_EQ("The file lacks a part of tile 0", WhyNotRead(Cut(bytes, place))) << i;
      PartBytes ended = Cut(bytes, place);
      ended.insert(ended.end(), {0xFF, 0xD9});
      EXPECT_EQ("The file lacks a part of tile 0", WhyNotRead(ended)) << i;
    }
  }
}

TEST(Jp2Parts, OfAnUnknownNumberNeedTheEndOfTheCodestream) {
  const PartBytes bytes = WithCount(FourParts().BuildCodestream(), 0);
  const std::size_t second = FindPlace(bytes, kPart, FindPlace(bytes, kPart) + 1);
  EXPECT_EQ("The file lacks a part of tile 0", WhyNotRead(Cut(bytes, second)));
}

TEST(Jp2Parts, BehindTheFirstMayNotSayHowATileIsCoded) {
  PartBytes bytes = FourParts().BuildCodestream();
  const std::size_t cod = FindPlace(bytes, kCod);
  const PartBytes segment(bytes.begin() + static_cast<std::ptrdiff_t>(cod),
                          bytes.begin() + static_cast<std::ptrdiff_t>(cod + kCodBytes));
  const std::size_t second = FindPlace(bytes, kPart, FindPlace(bytes, kPart) + 1);
  bytes[second + 9] = static_cast<unsigned char>(bytes[second + 9] + kCodBytes);
  ASSERT_GE(bytes[second + 9], kCodBytes);
  bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(second + kHeadBytes), segment.begin(), segment.end());
  ASSERT_EQ(second + kHeadBytes + kCodBytes, FindPlace(bytes, kData, second));
  EXPECT_EQ("The header of tile 0 is damaged", WhyNotRead(bytes));
}

/// Without the last entry the list would end where a tile-part begins.
TEST(Jp2Parts, AreAllFoundWhereTheListOfLengthsLacksItsLastEntry) {
  const Jp2Builder builder = Jp2Builder().Size(64, 64).Tiles(32, 32).TileLengths();
  LoadedRaster sound(builder.BuildCodestream(), kFormatJP2, kReadExact);
  PartBytes bytes = builder.BuildCodestream();
  const std::size_t list = FindPlace(bytes, {0xFF, 0x55}), length = bytes[list + 2] * 256U + bytes[list + 3];
  constexpr std::size_t kTiles = 4, kBeforeEntries = 4;  // length, number and form
  ASSERT_EQ(0U, (length - kBeforeEntries) % kTiles);
  const std::size_t entry = (length - kBeforeEntries) / kTiles;
  bytes[list + 3] = static_cast<unsigned char>(length - entry);
  const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(list + 2 + length);
  bytes.erase(end - static_cast<std::ptrdiff_t>(entry), end);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    LoadedRaster image(bytes, kFormatJP2, policy);
    EXPECT_EQ(sound.Read(0, 0, {0, 63, 0, 63}), image.Read(0, 0, {0, 63, 0, 63}));
  }
}

/// What is said of component 0 is true, and what is said of all is not: its code blocks have 4 x 4 samples.
PartBytes WithOwnCoding(bool isInFront) {
  PartBytes bytes = Jp2Builder().Samples([](int, int x, int y) { return (7 * x + 3 * y) % 251; }).BuildCodestream();
  const std::size_t cod = FindPlace(bytes, kCod);
  PartBytes own = {0xFF, 0x53, 0, 9, 0, bytes[cod + 4]};
  own.insert(own.end(), bytes.begin() + static_cast<std::ptrdiff_t>(cod + 9),
             bytes.begin() + static_cast<std::ptrdiff_t>(cod + kCodBytes));
  bytes[cod + 10] = bytes[cod + 11] = 0;
  bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(isInFront ? cod : cod + kCodBytes), own.begin(), own.end());
  return bytes;
}

TEST(Jp2Parts, AComponentIsCodedByItsOwnWordsInAnyOrder) {
  for (const bool isInFront : {false, true}) {
    LoadedRaster image(WithOwnCoding(isInFront), kFormatJP2, kReadExact);
    const Pixels pixels = image.Read(0, 0, {0, 63, 0, 47});
    ASSERT_EQ(64U * 48U, pixels.bytes.size());
    for (std::size_t i = 0; i < pixels.bytes.size(); ++i) {
      ASSERT_EQ((7 * (i % 64) + 3 * (i / 64)) % 251, pixels.bytes[i]) << isInFront << " " << i;
    }
  }
}

}  // namespace
