#include "Strips.h"
#include "JpegBuilder.h"
#include "MemoryBand.h"
#include "TempFolder.h"
#include "ZRMBandJPG.h"

#include <gtest/gtest.h>

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
