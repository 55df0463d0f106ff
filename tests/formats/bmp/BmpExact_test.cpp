#include "BmpBuilder.h"
#include "BmpKind.h"
#include "ByteFlips.h"
#include "LoadedRaster.h"
#include "Stopwatch.h"
#include "XFormatId.h"
#include "ZRMBandBMP.h"

#include <gtest/gtest.h>

// Bitmaps under the exact policy. The expected colours are those of the picture that a file was built from.

namespace {

/// A bitmap that is loaded by the exact policy.
class ExactBmp : public LoadedRaster {
 public:
  explicit ExactBmp(const std::vector<unsigned char>& bytes) : LoadedRaster(bytes, kFormatBMP) {}
};

void ExpectColours(ExactBmp& image, const BmpKind& kind, int level, const Window& window) {
  const int step = 1 << level;
  for (int c = 0; c < kind.NumChannels(); ++c) {
    const Pixels pixels = image.Read(c, level, window);
    ASSERT_EQ(window.Width() >> level, pixels.width);
    ASSERT_EQ(window.Height() >> level, pixels.height);
    for (int i = 0; i < pixels.width * pixels.height; ++i) {
      const int x = window.x0 + i % pixels.width * step, y = window.y0 + i / pixels.width * step;
      ASSERT_EQ(kind.ColourAt(c, x, y), int{pixels.bytes[static_cast<std::size_t>(i)]})
          << "channel " << c << ": " << x << ", " << y;
    }
  }
}

class BmpExactKinds : public testing::TestWithParam<BmpKind> {};

TEST_P(BmpExactKinds, HaveTheColoursThatWereStored) {
  const BmpKind& kind = GetParam();
  ExactBmp image(kind.Build());
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  ASSERT_EQ(kind.NumChannels(), image.File().GetNumOfBands());
  ASSERT_EQ(kind.width, image.Band(0).GetXSize());
  ASSERT_EQ(kind.height, image.Band(0).GetYSize());
  ExpectColours(image, kind, 0, {0, kind.width - 1, 0, kind.height - 1});
  ExpectColours(image, kind, 0, {13, 101, 5, 30});
}

TEST_P(BmpExactKinds, AreThinnedFromTheCornerOfTheWindow) {
  ExactBmp image(GetParam().Build());
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  ExpectColours(image, GetParam(), 1, {0, 126 - 3, 0, 31});
  ExpectColours(image, GetParam(), 2, {3, 119, 7, 30});
}

TEST_P(BmpExactKinds, TellWhatTheirChannelsShow) {
  ExactBmp image(GetParam().Build());
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  const XColourRole roles[] = {kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha};
  for (int c = 0; c < GetParam().NumChannels(); ++c) EXPECT_EQ(roles[c], image.Band(c).GetColourRole());
}

INSTANTIATE_TEST_SUITE_P(Good, BmpExactKinds, testing::ValuesIn(GoodBmpKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

BmpKind KindOf(const std::string& name) {
  for (const BmpKind& kind : GoodBmpKinds()) {
    if (kind.name == name) return kind;
  }
  ADD_FAILURE() << name;
  return {};
}

TEST(BmpExact, RowsBeforeTheEndOfACutFileAreRead) {
  const BmpKind kind = KindOf("pal4");
  std::vector<unsigned char> bytes = kind.Build();
  // Bottom-up, so that the ten uppermost rows go.
  bytes.resize(static_cast<std::size_t>(kind.PixelOffset() + kind.RowBytes() * (kind.height - 10)));
  ExactBmp image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  ExpectColours(image, kind, 0, {0, 126, 10, 63});
  EXPECT_EQ("The file ends before the bitmap's row 9", image.Failure({0, 126, 0, 63}));
  EXPECT_EQ("The file ends before the bitmap's row 4", image.Failure({0, 0, 2, 4}));
}

TEST(BmpExact, RowsBeforeTheEndOfACutFileFromTheTopDownAreRead) {
  const BmpKind kind = KindOf("rgb24topdown");
  std::vector<unsigned char> bytes = kind.Build();
  bytes.resize(static_cast<std::size_t>(kind.PixelOffset() + kind.RowBytes() * 50));
  ExactBmp image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  ExpectColours(image, kind, 0, {0, 126, 0, 49});
  EXPECT_EQ("The file ends before the bitmap's row 50", image.Failure({0, 126, 0, 63}));
}

TEST(BmpExact, RunLengthCodesAreReadUpToTheEndOfACutFile) {
  const BmpKind kind = KindOf("pal8rle");
  std::vector<unsigned char> bytes = kind.Build();
  bytes.resize(bytes.size() / 2);
  ExactBmp image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  int numWhole = 0;
  for (int y = 63; y >= 0; --y) {
    const bool isWhole = image.Failure({0, 126, y, y}).empty();
    if (!isWhole) continue;
    EXPECT_EQ(63 - y, numWhole++) << "rows lie from the bottom up, so that whole ones come first";
    ExpectColours(image, kind, 0, {0, 126, y, y});
  }
  EXPECT_GT(numWhole, 25);
  EXPECT_LT(numWhole, 40);
  EXPECT_EQ("The codes end before the bitmap's row 0", image.Failure({0, 126, 0, 0}));
  const std::string cut = std::to_string(63 - numWhole);
  EXPECT_EQ("The codes are damaged in the bitmap's row " + cut, image.Failure({0, 126, 63 - numWhole, 63}));
}

TEST(BmpExact, ARunBeyondTheEndOfARowFailsThatRowAlone) {
  const BmpKind kind{.name = "",
                     .bits = 8,
                     .compression = BmpKind::kRle8,
                     .numColours = 4,
                     .writtenColours = 4,
                     .clrUsed = 4,
                     .width = 6,
                     .height = 2};
  std::vector<unsigned char> bytes = kind.Build();
  bytes.resize(static_cast<std::size_t>(kind.PixelOffset()));
  for (const int byte : {7, 1, 0, 0, 6, 2, 0, 1}) bytes.push_back(static_cast<unsigned char>(byte));
  ExactBmp image(bytes);
  EXPECT_EQ("The codes are damaged in the bitmap's row 1", image.Failure({0, 5, 1, 1}));
  EXPECT_EQ("", image.Failure({0, 5, 0, 0}));
}

// A row that was decoded as a whole took a fifth of a second.
TEST(BmpExact, WindowsOfARowThatIsVeryWideTakeTheTimeOfTheirOwnPixels) {
  const BmpKind kind{.name = "",
                     .bits = 8,
                     .compression = BmpKind::kRle8,
                     .numColours = 4,
                     .writtenColours = 4,
                     .clrUsed = 4,
                     .width = 6,
                     .height = 1};
  std::vector<unsigned char> bytes = kind.Build();
  bytes.resize(static_cast<std::size_t>(kind.PixelOffset()));
  for (const int byte : {3, 1, 0, 1}) bytes.push_back(static_cast<unsigned char>(byte));
  bytes[21] = 0x10;  // the highest byte of the width, which is 268,435,462 then
  ExactBmp image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  ASSERT_EQ(0x10000006, image.Band().GetXSize());
  const Stopwatch watch;
  for (int i = 0; i < 100; ++i) EXPECT_EQ("", image.Failure({i, i + 31, 0, 0}));
  EXPECT_LT(watch.Seconds(), 5.0);
}

TEST(BmpExact, AColourBeyondThePaletteFailsItsRow) {
  const auto index = [](int x, int y) { return static_cast<std::uint32_t>(y == 1 && x == 3 ? 2 : x % 2); };
  ExactBmp image(BmpBuilder().Size(4, 3).Bits(8).Palette(2).ClrUsed(2).Pixel(index).Build());
  EXPECT_EQ("", image.Failure({0, 3, 0, 0}));
  EXPECT_EQ("", image.Failure({0, 2, 1, 1}));
  EXPECT_EQ("The palette lacks a colour of the bitmap's row 1", image.Failure({0, 3, 0, 2}));
}

TEST(BmpExact, TakesPixelsFromTheOffsetThatTheHeaderNames) {
  BmpKind kind{.name = "", .gap = 4000, .width = 5, .height = 2};
  ExactBmp image(kind.Build());
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  ExpectColours(image, kind, 0, {0, 4, 0, 1});
}

TEST(BmpExact, TakesPixelsBehindThePaletteWhereTheHeaderNamesNoOffset) {
  BmpKind kind = KindOf("pal8");
  std::vector<unsigned char> bytes = kind.Build();
  std::fill_n(bytes.begin() + 10, 4, static_cast<unsigned char>(0));
  ExactBmp image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  ExpectColours(image, kind, 0, {0, 126, 0, 63});
}

TEST(BmpExact, ReadsLargeWindowsWithoutAMapping) {
  const BmpKind kind{.name = "", .width = 900, .height = 700};
  ExactBmp image(kind.Build());
  ExpectColours(image, kind, 0, {0, 899, 0, 699});
  ExpectColours(image, kind, 3, {5, 899, 6, 699});
}

std::string ReasonOf(BmpKind kind) {
  return ExactBmp(kind.Build()).Reason();
}

TEST(BmpExact, RefusesKindsThatItCannotReadWithASentence) {
  EXPECT_EQ("Not supported bit count: 23", ReasonOf({.name = "", .bits = 23, .numColours = 2}));
  EXPECT_EQ("Not supported: a bitmap with a JPEG or PNG image inside", ReasonOf({.name = "", .compression = 4}));
  EXPECT_EQ("Not supported: a bitmap with a JPEG or PNG image inside", ReasonOf({.name = "", .compression = 5}));
  EXPECT_EQ("Not supported: run-length codes of rows from the top down",
            ReasonOf({.name = "", .bits = 8, .compression = 1, .numColours = 2, .isTopDown = true}));
  EXPECT_EQ("Not a valid compression for the bits of the bitmap",
            ReasonOf({.name = "", .bits = 8, .compression = 2, .numColours = 2}));
  EXPECT_EQ("Not a valid compression for the bits of the bitmap", ReasonOf({.name = "", .compression = 1}));
  EXPECT_EQ("Not supported bitmap header of 70 bytes", ReasonOf({.name = "", .headerBytes = 70}));
  EXPECT_EQ("Not supported: a bitmap of another system with Huffman or 24-bit run-length codes",
            ReasonOf({.name = "", .headerBytes = 64, .bits = 1, .compression = 3, .numColours = 2}));
  EXPECT_EQ("Not supported: a bit field of a bitmap with more than 8 bits",
            ReasonOf({.name = "", .bits = 32, .compression = 3, .masks = {0x3FF00000, 0xFFC00, 0x3FF, 0}}));
  EXPECT_EQ("Not supported: a bit field of a bitmap with gaps",
            ReasonOf({.name = "", .bits = 16, .compression = 3, .masks = {0xF800, 0x0750, 0x1F, 0}}));
  EXPECT_EQ("Not a valid size of a bitmap: 0 x 64", ReasonOf({.name = "", .width = 0}));
}

TEST(BmpExact, NamesWhatIsMissingOfACutHeader) {
  const std::vector<unsigned char> bytes = KindOf("pal8").Build();
  const auto reason = [&](std::ptrdiff_t count) {
    return ExactBmp(std::vector<unsigned char>(bytes.begin(), bytes.begin() + count)).Reason();
  };
  EXPECT_EQ("Can't read bitmap file header.", reason(13));
  EXPECT_EQ("Can't read bitmap info header", reason(30));
  EXPECT_EQ("Can't read palette", reason(700));
}

/// A file that claims a large image costs no more memory than its codes do, and the rows that it has are there.
TEST(BmpExact, AFewCodesOfALargeImageCostLittle) {
  BmpKind kind = KindOf("pal8rle");
  std::vector<unsigned char> bytes = kind.Build();
  bytes.resize(static_cast<std::size_t>(kind.PixelOffset()));
  for (const int byte : {3, 1, 0, 2, 255, 255, 0, 1}) bytes.push_back(static_cast<unsigned char>(byte));
  bytes[20] = bytes[24] = 0x08;  // more than 0x80000 columns and rows
  ExactBmp image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  const int last = image.Band(0).GetYSize() - 1;
  const Pixels pixels = image.Read(0, 0, {0, 3, last, last});
  const unsigned char one = bytes[54 + 4 + 2], none = bytes[54 + 2];  // red of the entries 1 and 0
  EXPECT_EQ((std::vector<unsigned char>{one, one, one, none}), pixels.bytes);
  EXPECT_EQ("", image.Failure({0, 3, 0, 0}));
}

/// A flipped byte gives a refusal, a failed read, or pixels of the size that the header then says.
TEST_P(BmpExactKinds, SurviveFlippedBytes) {
  BmpKind kind = GetParam();
  kind.height = 16;
  const HeaderRange header{0, static_cast<std::size_t>(kind.PixelOffset())};
  FlipBytes(kind.Build(), TrialCount(200, 40), header, [](const std::vector<unsigned char>& bytes) {
    ExactBmp image(bytes);
    if (!image.IsOpen()) {
      EXPECT_NE("", image.Reason());
      return;
    }
    const int width = image.Band(0).GetXSize(), height = image.Band(0).GetYSize();
    const Window window{std::max(width - 50, 0), width - 1, std::max(height - 50, 0), height - 1};
    const Pixels pixels = image.Read(0, 0, window);
    EXPECT_TRUE(pixels.bytes.empty() || window.Width() * window.Height() == std::ssize(pixels.bytes));
  });
}

}  // namespace
