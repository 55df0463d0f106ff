// Exported pictures, read and unpacked by a reader of the test's own. What a pixel should be follows from its place and
// the function that the source was made by, up to what blocks of four by four pixels with two colours can hold.

#include "FaultyDisk.h"
#include "GlobeSources.h"
#include "tiles/BlockCoder.h"

#include <gtest/gtest.h>

#include <array>

namespace {

constexpr int kSide = 256;

/// Pixels of a tile: row 0 is the lowest, three bytes of red, green and blue each.
struct Picture {
  std::vector<std::uint8_t> rgb = std::vector<std::uint8_t>(3 * kSide * kSide);
  std::uint8_t* At(int x, int y) { return &rgb[static_cast<std::size_t>(3 * (y * kSide + x))]; }
};

/// Unpacks a tile as the format has it: components are shifted, and colour 1 <= colour 0 means four colours.
Picture Unpack(const std::vector<unsigned char>& blocks) {
  Picture picture;
  for (int block = 0; block < 64 * 64; ++block) {
    const unsigned char* const b = &blocks[static_cast<std::size_t>(8 * block)];
    std::array<std::array<int, 3>, 4> colours{};
    for (std::size_t i = 0; i < 2; ++i) {
      const int word = b[2 * i] | b[2 * i + 1] << 8;
      colours[i] = {word >> 8 & 0xF8, word >> 3 & 0xFC, word << 3 & 0xF8};
    }
    const bool hasFour = (b[2] | b[3] << 8) <= (b[0] | b[1] << 8);
    for (std::size_t k = 0; k < 3; ++k) {
      colours[2][k] = hasFour ? (2 * colours[0][k] + colours[1][k]) / 3 : (colours[0][k] + colours[1][k]) / 2;
      colours[3][k] = hasFour ? (colours[0][k] + 2 * colours[1][k]) / 3 : 0;
    }
    for (int i = 0; i < 16; ++i) {
      const auto& colour = colours[static_cast<std::size_t>(b[4 + i / 4] >> (2 * (i % 4)) & 3)];
      std::uint8_t* const pixel = picture.At(block % 64 * 4 + i % 4, 255 - (block / 64 * 4 + i / 4));
      for (std::size_t k = 0; k < 3; ++k) pixel[k] = static_cast<std::uint8_t>(colour[k]);
    }
  }
  return picture;
}

/// Colours that change slowly from pixel to pixel: blocks hold them well.
double SlowColour(int band, int x, int y) {
  return band == 0 ? x / 2.0 + 20 : band == 1 ? y + 30 : (x + y) / 3.0;
}

class ExportedPictures : public testing::Test {
 protected:
  ExportedStore Export(int minLevel, int maxLevel, std::array<double, 4> box, unsigned long background = 0) {
    XString error;
    EXPECT_EQ(1, XfnExport2PBI(folder_.Path("a.pbi"), &sources_.manager, minLevel, maxLevel, box[0], box[1], box[2],
                               box[3], background, error, nullptr))
        << error.GetText();
    return ExportedStore(folder_.Path("a.pbi"));
  }

  TempFolder folder_;
  GlobeSources sources_;
};

constexpr std::array<double, 4> kEarth{-180.0, -90.0, 179.99, 89.99};

/// The byte that a sample is stored as, at most half a step of five bits off.
void ExpectColour(const std::array<double, 3>& expected, const std::uint8_t* pixel, double tolerance) {
  for (std::size_t k = 0; k < 3; ++k) ASSERT_NEAR(std::floor(expected[k]), pixel[k], tolerance);
}

}  // namespace

TEST_F(ExportedPictures, HaveTheLayoutOfAnImageStore) {
  sources_.AddPicture(kWholeEarth, SlowColour);
  const ExportedStore store = Export(0, 1, {0.0, 0.0, 17.0, 17.0});
  EXPECT_EQ("PBI", store.Mark());
  EXPECT_EQ(1.0, store.Version());
  ASSERT_EQ(2, store.Count());
  EXPECT_EQ((StoreRecord{0, 5, 10, 5, 10, 18.0, 256, 256, 32768, 1, 51200}), store.Record(0));
  EXPECT_EQ((StoreRecord{1, 10, 20, 11, 21, 9.0, 256, 256, 32768, 1, 51200 + 32768}), store.Record(1));
  EXPECT_EQ(static_cast<std::size_t>(51200 + 5 * 32768), store.Size());
}

TEST_F(ExportedPictures, ShowTheSampleUnderEachPixelWithinTheErrorOfBlocks) {
  sources_.AddPicture(kWholeEarth, SlowColour);
  const ExportedStore store = Export(0, 0, kEarth);
  for (const auto& [row, col] : {std::pair{0, 0}, {9, 19}, {5, 10}, {9, 0}, {3, 19}}) {
    Picture picture = Unpack(store.Blocks(0, row, col));
    for (int i = 0; i < kSide * kSide; ++i) {
      const double lon = -180.0 + (col + (i % kSide + 0.5) / kSide) * 18.0;
      const double lat = -90.0 + (row + (i / kSide + 0.5) / kSide) * 18.0;
      const int x = static_cast<int>(std::floor(lon + 180.0)), y = static_cast<int>(std::floor(90.0 - lat));
      ASSERT_NO_FATAL_FAILURE(ExpectColour({SlowColour(0, x, y), SlowColour(1, x, y), SlowColour(2, x, y)},
                                           picture.At(i % kSide, i / kSide), 6.0))
          << lon << " " << lat;
    }
  }
}

// The mean of four unpacked pixels, rounded, packed once more.
TEST_F(ExportedPictures, AreMadeOfTheUnpackedLevelAboveWhereTheyAreCoarser) {
  sources_.AddPicture(kWholeEarth, [](int band, int x, int y) { return (x * (3 + band) + y * 5) % 250; });
  const ExportedStore store = Export(0, 2, {0.0, 0.0, 17.0, 17.0});
  for (const auto& [level, row, col] : {std::array{1, 10, 20}, {1, 11, 20}, {1, 11, 21}, {0, 5, 10}}) {
    Picture expected;
    for (int child = 0; child < 4; ++child) {
      Picture finer = Unpack(store.Blocks(level + 1, 2 * row + child / 2, 2 * col + child % 2));
      for (int i = 0; i < 128 * 128; ++i) {
        const int x = i % 128, y = i / 128;
        for (int k = 0; k < 3; ++k) {
          const int sum = finer.At(2 * x, 2 * y)[k] + finer.At(2 * x + 1, 2 * y)[k] + finer.At(2 * x, 2 * y + 1)[k] +
                          finer.At(2 * x + 1, 2 * y + 1)[k];
          expected.At(x + child % 2 * 128, y + child / 2 * 128)[k] = static_cast<std::uint8_t>((sum + 2) / 4);
        }
      }
    }
    std::vector<std::uint8_t> blocks(32768);
    ASSERT_TRUE(zrk::EncodeBlocks(expected.rgb, kPixelRgb, {kDxt1, kSide, kSide}, blocks));
    EXPECT_TRUE(blocks == store.Blocks(level, row, col)) << level << " " << row << " " << col;
  }
}

TEST_F(ExportedPictures, HaveTheBackgroundWhereNoCompositeIs) {
  sources_.AddPicture({0.0, 18.0, 1.0, 1.0, 9, 18}, [](int, int, int) { return 200.0; });
  const ExportedStore store = Export(0, 0, {0.0, 0.0, 17.0, 17.0}, 0x00F0A050);
  Picture picture = Unpack(store.Blocks(0, 5, 10));
  ExpectColour({200, 200, 200}, picture.At(100, 100), 4.0);
  ExpectColour({0x50, 0xA0, 0xF0}, picture.At(200, 100), 4.0);
}

TEST_F(ExportedPictures, HaveTheFirstCompositeOnTop) {
  sources_.AddPicture({0.0, 18.0, 1.0, 1.0, 9, 18}, [](int, int, int) { return 200.0; });
  sources_.AddPicture({0.0, 18.0, 1.0, 1.0, 18, 18}, [](int, int, int) { return 40.0; });
  Picture picture = Unpack(Export(0, 0, {0.0, 0.0, 17.0, 17.0}).Blocks(0, 5, 10));
  ExpectColour({200, 200, 200}, picture.At(100, 100), 4.0);
  ExpectColour({40, 40, 40}, picture.At(200, 100), 4.0);
}

TEST_F(ExportedPictures, ShowOneBandInGrey) {
  sources_.Add<std::uint8_t>(kWholeEarth, [](int, int) { return 96.0; });
  Picture picture = Unpack(Export(0, 0, {0.0, 0.0, 17.0, 17.0}).Blocks(0, 5, 10));
  ExpectColour({96, 96, 96}, picture.At(13, 250), 4.0);
}

// The corner on 180 and 90 degrees counts as lying in a further column and a further row, which show the background
// but for the earth beginning anew.
TEST_F(ExportedPictures, HaveOneMoreColumnAndRowWhereTheCornerIsThatOfTheEarth) {
  sources_.AddPicture(kWholeEarth, SlowColour);
  const ExportedStore store = Export(0, 0, {-180.0, -90.0, 180.0, 90.0}, 0x000000FF);
  EXPECT_EQ((StoreRecord{0, 0, 0, 10, 20, 18.0, 256, 256, 32768, 1, 51200}), store.Record(0));
  Picture beyond = Unpack(store.Blocks(0, 10, 5));
  ExpectColour({255, 0, 0}, beyond.At(128, 128), 8.0);
}

// A corner below the south pole is cut to whole tiles and then moved down by one more row, as the function that finds
// rows has it: tiles there have three rows of children.
TEST_F(ExportedPictures, AreMadeOfThreeRowsBelowTheSouthPole) {
  sources_.AddPicture(kWholeEarth, SlowColour);
  const ExportedStore store = Export(0, 1, {0.0, -100.0, 1.0, -95.0}, 0x00806040);
  EXPECT_EQ((StoreRecord{0, -2, 10, -1, 10, 18.0, 256, 256, 32768, 1, 51200}), store.Record(0));
  EXPECT_EQ(-3, store.Record(1).llRow);
  Picture picture = Unpack(store.Blocks(0, -1, 10));
  for (const int y : {0, 100, 200, 255}) ExpectColour({0x40, 0x60, 0x80}, picture.At(9, y), 4.0);
}

TEST_F(ExportedPictures, NeedAnExtentWithATile) {
  sources_.AddPicture(kWholeEarth, SlowColour);
  XString error;
  EXPECT_EQ(0, XfnExport2PBI(folder_.Path("a.pbi"), &sources_.manager, 0, 0, 90.0, 0.0, 10.0, 10.0, 0, error, nullptr));
  EXPECT_EQ("Invalid PBI File : NULL", error);
}

TEST_F(ExportedPictures, CannotHaveMoreLevelsThanAHeaderHolds) {
  sources_.AddPicture(kWholeEarth, SlowColour);
  XString error;
  EXPECT_EQ(
      0, XfnExport2PBI(folder_.Path("a.pbi"), &sources_.manager, 0, 2000000000, 0.0, 0.0, 1.0, 1.0, 0, error, nullptr));
  EXPECT_EQ("Fail to crate PBI file", error);
}

TEST_F(ExportedPictures, GoWithoutACompositeThatCannotBeReadInTheCompatiblePolicy) {
  MemoryBand& band = sources_.Add<std::uint8_t>(kWholeEarth, [](int, int) { return 200.0; });
  band.SetReadPolicy(kReadCompatible);
  band.FailReads();
  Picture picture = Unpack(Export(0, 0, {0.0, 0.0, 17.0, 17.0}, 0x00404040).Blocks(0, 5, 10));
  ExpectColour({0x40, 0x40, 0x40}, picture.At(10, 10), 4.0);
}

TEST_F(ExportedPictures, FailWhereACompositeCannotBeReadInTheExactPolicy) {
  MemoryBand& band = sources_.Add<std::uint8_t>(kWholeEarth, [](int, int) { return 200.0; });
  band.SetReadPolicy(kReadExact);
  band.FailReads();
  XString error;
  EXPECT_EQ(0, XfnExport2PBI(folder_.Path("a.pbi"), &sources_.manager, 0, 0, 0.0, 0.0, 17.0, 17.0, 0, error, nullptr));
  EXPECT_FALSE(error.IsEmpty());
}

namespace {

/// Four tiles and the one made of them, on a disk whose N-th read fails. The last reads are those of the four.
class PicturesReadBack : public ExportedPictures {
 protected:
  int Export(FaultyDisk& disk, XReadPolicy policy) {
    const zrk::ScopedDisk scope(disk);
    GlobeSources sources;
    sources.Add<std::uint8_t>(kWholeEarth, [](int, int) { return 200.0; }).SetReadPolicy(policy);
    return XfnExport2PBI(folder_.Path("a.pbi"), &sources.manager, 0, 1, 0.0, 0.0, 17.0, 17.0, 0, error_, nullptr);
  }
  int FailLastRead(XReadPolicy policy) {
    FaultyDisk sound, faulty;
    EXPECT_EQ(1, Export(sound, policy));
    faulty.FailRead(sound.GetReadCount());
    return Export(faulty, policy);
  }
  XString error_;
};

}  // namespace

TEST_F(PicturesReadBack, HaveABlackQuarterWhereATileCannotBeReadBackInTheCompatiblePolicy) {
  EXPECT_EQ(1, FailLastRead(kReadCompatible));
  Picture picture = Unpack(ExportedStore(folder_.Path("a.pbi")).Blocks(0, 5, 10));
  ExpectColour({0, 0, 0}, picture.At(200, 200), 0.0);
  ExpectColour({200, 200, 200}, picture.At(200, 100), 4.0);
}

TEST_F(PicturesReadBack, FailWhereATileCannotBeReadBackInTheExactPolicy) {
  EXPECT_EQ(0, FailLastRead(kReadExact));
  EXPECT_EQ("A tile of the finer level can't be read", error_);
}
