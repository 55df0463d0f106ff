// Windows that are read in strips. Strips together must be what one read of the same window gives, from the image and
// from level data; the rows asked for are counted by hand.

#include "Strips.h"
#include "BmpBuilder.h"
#include "JpegBuilder.h"
#include "MemoryBand.h"
#include "TempFolder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "ZRMBandJPG.h"

#include <gtest/gtest.h>
#include <filesystem>

namespace {

template <class Sample>
std::vector<Sample> ReadAll(ZRMBand& band, int level, const Window& window, int& numStrips) {
  StripReader strips(band, level, window);
  XThread thread;
  std::string err;
  std::vector<Sample> samples;
  for (numStrips = 0; strips.HasMore(); ++numStrips) {
    const tagXArr2* strip = strips.ReadNext(thread, err);
    if (!strip) return {};
    const std::vector<Sample> more = SamplesOf<Sample>(*strip);
    samples.insert(samples.end(), more.begin(), more.end());
  }
  EXPECT_EQ(samples.size(), static_cast<std::size_t>(strips.GetWidth()) * static_cast<std::size_t>(strips.GetHeight()));
  EXPECT_EQ(1.0, strips.GetShareDone());
  return samples;
}

TEST(StripReader, StripsTogetherAreWhatOneReadGives) {
  MemoryBand band;
  band.SetRamp<std::int32_t>(13, 2000);
  const Window window{2, 12, 3, 1999};
  for (const int level : {0, 1, 2, 3}) {
    tagXArr2* whole = nullptr;
    ASSERT_EQ(1, band.ReadSubset(whole, level, window.x0, window.x1, window.y0, window.y1, nullptr));
    const std::vector<std::int32_t> expected = SamplesOf<std::int32_t>(*whole);
    int numStrips = 0;
    EXPECT_EQ(expected, ReadAll<std::int32_t>(band, level, window, numStrips)) << level;
    EXPECT_EQ(4, numStrips);
  }
}

/// Answers every level at full resolution.
class FullBand : public MemoryBand {
 public:
  using MemoryBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int, int x0, int x1, int y0, int y1, int* cancel) override {
    return MemoryBand::ReadSubset(out, 0, x0, x1, y0, y1, cancel);
  }
};

TEST(StripReader, TakesFullResolutionWhereTheBandAnswersThat) {
  FullBand band;
  band.SetRamp<std::int32_t>(5, 1200);
  int numStrips = 0;
  const std::vector<std::int32_t> samples = ReadAll<std::int32_t>(band, 2, WholeOf(band), numStrips);
  ASSERT_EQ(6000u, samples.size());
  EXPECT_EQ(4 + 100 * 1199, samples.back());
  EXPECT_EQ(3, numStrips);
}

TEST(StripReader, SaysWhereALevelLeavesNoPixel) {
  MemoryBand band;
  band.SetRamp<std::uint8_t>(7, 7);
  StripReader strips(band, 3, WholeOf(band));
  XThread thread;
  std::string err;
  EXPECT_EQ(nullptr, strips.ReadNext(thread, err));
  EXPECT_EQ("level 3 leaves no pixel of the window", err);
}

TEST(StripReader, FailsWhereTheBandDoes) {
  MemoryBand band;
  band.SetRamp<std::uint8_t>(7, 7);
  band.FailReads();
  StripReader strips(band, 0, WholeOf(band));
  XThread thread;
  std::string err;
  EXPECT_EQ(nullptr, strips.ReadNext(thread, err));
  EXPECT_EQ("the pixels can't be read", err);
}

TEST(StripReader, HearsAStopBetweenStrips) {
  MemoryBand band;
  band.SetRamp<std::uint8_t>(7, 1000);
  StripReader strips(band, 0, WholeOf(band));
  XThread thread;
  std::string err;
  EXPECT_NE(nullptr, strips.ReadNext(thread, err));
  thread.SetState(XThread::kStateStop);
  EXPECT_EQ(nullptr, strips.ReadNext(thread, err));
  EXPECT_EQ("", err);
}

/// Tells which rows were asked for.
class TiledBand : public MemoryBand {
 public:
  explicit TiledBand(int tileRows) { SetDecodeRows(tileRows); }
  using MemoryBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    firstRows.push_back(y0);
    return MemoryBand::ReadSubset(out, level, x0, x1, y0, y1, cancel);
  }
  std::vector<int> firstRows;
};

TEST(StripReader, EndsWhereRowsThatAreDecodedTogetherDo) {
  TiledBand band(100);
  band.SetRamp<std::int32_t>(3, 2500);
  int numStrips = 0;
  ReadAll<std::int32_t>(band, 0, {0, 2, 130, 1499}, numStrips);
  // 512 rows are wanted, and 500 are the hundreds in them.
  EXPECT_EQ((std::vector<int>{130, 600, 1100}), band.firstRows);
  band.firstRows.clear();
  // Rows of the level are decoded together: its row 0 stands for 0 to 1, its row 200 for 400 to 401.
  ReadAll<std::int32_t>(band, 1, {0, 2, 30, 2499}, numStrips);
  EXPECT_EQ((std::vector<int>{30, 400, 800, 1200, 1600, 2000, 2400}), band.firstRows);
}

TEST(StripReader, ALevelHasTheSamePixelsWhereverStripsAreCut) {
  const Window window{5, 60, 3, 1990};
  for (const int together : {1, 7, 100, 511}) {
    TiledBand band(together);
    band.SetRamp<std::int32_t>(61, 2000);
    for (const int level : {1, 2, 3, 4}) {
      int numStrips = 0;
      const std::vector<std::int32_t> samples = ReadAll<std::int32_t>(band, level, window, numStrips);
      const int width = window.Width() >> level, height = window.Height() >> level;
      ASSERT_EQ(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), samples.size());
      for (int i = 0; i < width * height; ++i) {
        const int x = 5 + ((i % width) << level), y = 3 + ((i / width) << level);
        ASSERT_EQ(x + 100 * y, samples[static_cast<std::size_t>(i)]) << level << " of " << together;
      }
    }
  }
}

class LevelStrips : public testing::Test {
 protected:
  /// Odd sizes, so that pixels of the level data are a little more than twice as large.
  LevelStrips() {
    const auto pixel = [](int x, int y) { return static_cast<std::uint32_t>((7 * x + 13 * y) ^ (y << 8) ^ (x * y)); };
    folder_.Write("a.bmp", BmpBuilder().Size(261, 4003).Pixel(pixel).Build());
    XRSFileIO::LoadFileBMP(&file_, folder_.Path("a.bmp"), err_, 0, kLevelBuild, nullptr);
  }
  /// One read of the level data.
  static std::vector<unsigned char> ReadAtOnce(ZRMBandDRIO& band, int level, const Window& window) {
    tagXArr2* out = nullptr;
    const int isRead = band.GetBandXLD()->ReadSubset(out, level, window.x0, window.x1, window.y0, window.y1, nullptr);
    return isRead ? SamplesOf<unsigned char>(*out) : std::vector<unsigned char>();
  }
  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

TEST_F(LevelStrips, TogetherAreWhatOneReadOfTheLevelDataGives) {
  auto& band = dynamic_cast<ZRMBandDRIO&>(*file_.GetBandAt(1));
  ASSERT_NE(nullptr, band.GetBandXLD());
  for (const Window& window : {WholeOf(band), Window{3, 257, 1, 4001}, Window{6, 259, 501, 4002}}) {
    for (const int level : {1, 2}) {
      int numStrips = 0;
      const std::vector<unsigned char> expected = ReadAtOnce(band, level, window);
      ASSERT_FALSE(expected.empty());
      EXPECT_EQ(expected, ReadAll<unsigned char>(band, level, window, numStrips)) << level;
      EXPECT_GT(numStrips, 1);
    }
  }
}

TEST_F(LevelStrips, TheImageIsReadWhereTheLevelDataCannotBe) {
  auto& band = dynamic_cast<ZRMBandDRIO&>(*file_.GetBandAt(1));
  int numStrips = 0;
  const Window window = WholeOf(band);
  ASSERT_FALSE(StripReader(band, 1, window).ReadsImage());
  std::filesystem::resize_file(folder_.Path("a.xld"), 100);
  EXPECT_EQ(261u * 4003u, ReadAll<unsigned char>(band, 1, window, numStrips).size());
}

TEST(StripReader, ReadsAGreyJpegAtOnceBecauseEachReadDecodesIt) {
  const TempFolder folder;
  XThread thread;
  std::string err;
  for (const bool isGrey : {true, false}) {
    JpegBuilder builder;
    builder.Size(16, 600);
    if (isGrey) builder.Grey();
    folder.Write("a.jpg", builder.Build());
    ZRMBandJPG band(nullptr);
    XString reason;
    ASSERT_EQ(1, band.ReadFile(folder.Path("a.jpg"), reason, nullptr));
    StripReader strips(band, 0, WholeOf(band));
    ASSERT_NE(nullptr, strips.ReadNext(thread, err));
    EXPECT_EQ(isGrey, !strips.HasMore());
  }
}

}  // namespace
