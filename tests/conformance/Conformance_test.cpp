#include "SampleName.h"
#include "Samples.h"
#include "XFormatTable.h"
#include "XRSFileIO.h"
#include "ZRMBandBMP.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <thread>
#include <vector>

namespace {

class Conformance : public testing::TestWithParam<Sample> {
 protected:
  Conformance() : image_(GetParam()) {}
  void SetUp() override { ASSERT_TRUE(image_.IsOpen()) << image_.GetError().GetText(); }

  OpenSample image_;
};

/// The windows that a test reads: corners, a row, a column, the middle, and the whole of a small image.
std::vector<Window> WindowsOf(const ZRMBand& band) {
  const int right = band.GetXSize() - 1;
  const int bottom = band.GetYSize() - 1;
  return {{0, 0, 0, 0},
          {right, right, bottom, bottom},
          {0, right, bottom / 2, bottom / 2},
          {right / 2, right / 2, 0, bottom},
          {right / 3, right / 2 + 1, bottom / 4, bottom / 2},
          {0, std::min(right, 700), 0, std::min(bottom, 600)}};
}

/// The samples of these columns and rows. Suites are compiled without optimisation, and this runs for all samples.
Pixels Pick(const Pixels& whole, const std::vector<int>& columns, const std::vector<int>& rows) {
  if (columns.empty() || rows.empty()) return {};
  const auto size = static_cast<std::size_t>(whole.sampleBytes);
  Pixels picked{static_cast<int>(columns.size()), static_cast<int>(rows.size()), {}, whole.sampleBytes};
  picked.bytes.resize(columns.size() * rows.size() * size);
  unsigned char* to = picked.bytes.data();
  for (const int y : rows) {
    const unsigned char* const row =
        &whole.bytes[static_cast<std::size_t>(y) * static_cast<std::size_t>(whole.width) * size];
    for (const int x : columns) {
      std::memcpy(to, row + static_cast<std::size_t>(x) * size, size);
      to += size;
    }
  }
  return picked;
}

/// The places in the image of the samples of a row or column of a window.
std::vector<int> PlacesByStep(int first, int last, int level) {
  std::vector<int> places(static_cast<std::size_t>((last - first + 1) >> level));
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = first + (static_cast<int>(i) << level);
  return places;
}

/// The samples of a window, taken out of a larger read, 2^level apart in both directions.
Pixels CutOut(const Pixels& whole, const Window& window, int level) {
  return Pick(whole, PlacesByStep(window.x0, window.x1, level), PlacesByStep(window.y0, window.y1, level));
}

/// Half the size each way: means of four bytes, rounded half up.
Pixels HalfOf(const Pixels& image) {
  Pixels half{image.width / 2, image.height / 2, {}};
  for (int y = 0; y < half.height; ++y) {
    for (int x = 0; x < half.width; ++x) {
      const unsigned char* const upper = &image.bytes[static_cast<std::size_t>(2 * y * image.width + 2 * x)];
      const unsigned char* const lower = upper + image.width;
      half.bytes.push_back(static_cast<unsigned char>((upper[0] + upper[1] + lower[0] + lower[1] + 2) / 4));
    }
  }
  return half;
}

/// The place in the image of each sample of a row or column of the window, blocks being `blockSize` long: as many fall
/// to a block as lie in it by the step, and they are counted from where the window enters the block.
std::vector<int> PlacesByBlock(int first, int last, int level, int blockSize) {
  std::vector<int> places;
  const int step = 1 << level, count = (last - first + 1) >> level;
  int inBlock = 0;
  for (int i = 0; i < count; ++i) {
    const int block = (first + i * step) / blockSize;
    const bool isNew = i == 0 || block != (first + (i - 1) * step) / blockSize;
    inBlock = isNew ? 0 : inBlock + 1;
    places.push_back(std::max(first, block * blockSize) + inBlock * step);
  }
  return places;
}

Pixels CutOutByBlock(const Pixels& whole, const Window& window, int level, const Sample& sample) {
  return Pick(whole, PlacesByBlock(window.x0, window.x1, level, sample.blockWidth),
              PlacesByBlock(window.y0, window.y1, level, sample.blockHeight));
}

/// What a window at a level shall be, by the sample's rule, from the whole at level 0.
Pixels ExpectedAt(const Sample& sample, int numLevels, const Pixels& whole, const Window& window, int level) {
  const LevelRule rule = sample.levels;
  if (rule == LevelRule::kDecimatedByBlock) return CutOutByBlock(whole, window, level, sample);
  if (rule != LevelRule::kMeans) return CutOut(whole, window, rule == LevelRule::kDecimated ? level : 0);
  const int width = window.Width() >> level, height = window.Height() >> level;
  if (level > numLevels || width < 1 || height < 1) return {};
  Pixels image = whole;
  for (int i = 0; i < level; ++i) image = HalfOf(image);
  const int left = window.x0 >> level, top = window.y0 >> level;
  return CutOut(image, {left, left + width - 1, top, top + height - 1}, 0);
}

TEST_P(Conformance, HasBandsOfOneSize) {
  ASSERT_GT(image_.GetNumBands(), 0);
  for (int i = 1; i < image_.GetNumBands(); ++i) {
    EXPECT_EQ(image_.Band(0).GetXSize(), image_.Band(i).GetXSize());
    EXPECT_EQ(image_.Band(0).GetYSize(), image_.Band(i).GetYSize());
    EXPECT_EQ(image_.Band(0).GetDataType(), image_.Band(i).GetDataType());
  }
}

TEST_P(Conformance, RefusesWindowsThatAreNotInside) {
  const int width = image_.Band(0).GetXSize();
  const int height = image_.Band(0).GetYSize();
  const Window outside[] = {{0, width, 0, 0},     {0, 0, 0, height},   {-1, 0, 0, 0},
                            {0, 0, -1, 0},        {2, 1, 0, 0},        {0, 0, 2, 1},
                            {width, width, 0, 0}, {0, INT_MAX, 0, 0},  {INT_MIN, INT_MAX, 0, 0},
                            {0, 0, 0, INT_MAX},   {0, 0, INT_MIN, -1}, {INT_MAX, INT_MIN, 0, 0}};
  for (int i = 0; i < image_.GetNumBands(); ++i) {
    for (const Window& w : outside) {
      tagXArr2 untouched;
      tagXArr2* out = &untouched;
      EXPECT_EQ(0, image_.Band(i).ReadSubset(out, 0, w.x0, w.x1, w.y0, w.y1, nullptr)) << w;
      EXPECT_EQ(&untouched, out);
    }
  }
}

TEST_P(Conformance, ReadsAfterARefusalAsBefore) {
  ZRMBand& band = image_.Band(0);
  const Pixels before = ReadPixels(band, 0, {0, 3, 0, 3});
  EXPECT_EQ(Pixels(), ReadPixels(band, 0, {0, band.GetXSize(), 0, 3}));
  EXPECT_EQ(before, ReadPixels(band, 0, {0, 3, 0, 3}));
}

TEST_P(Conformance, GivesWindowsTheirOwnShape) {
  for (int i = 0; i < image_.GetNumBands(); ++i) {
    for (const Window& window : WindowsOf(image_.Band(i))) {
      const Pixels pixels = ReadPixels(image_.Band(i), 0, window);
      EXPECT_EQ(window.Width(), pixels.width) << window;
      EXPECT_EQ(window.Height(), pixels.height) << window;
    }
  }
}

TEST_P(Conformance, CutsWindowsOutOfTheWhole) {
  for (int i = 0; i < image_.GetNumBands(); ++i) {
    const Pixels whole = ReadPixels(image_.Band(i), 0, WholeWindowOf(image_.Band(i)));
    for (const Window& window : WindowsOf(image_.Band(i))) {
      EXPECT_EQ(CutOut(whole, window, 0), ReadPixels(image_.Band(i), 0, window)) << window;
    }
  }
}

TEST_P(Conformance, StitchesToTheWhole) {
  ZRMBand& band = image_.Band(image_.GetNumBands() - 1);
  const Pixels whole = ReadPixels(band, 0, WholeWindowOf(band));
  const int xStep = std::max(band.GetXSize() / 3, 1);
  const int yStep = std::max(band.GetYSize() / 4, 1);
  for (int y = 0; y < band.GetYSize(); y += yStep) {
    for (int x = 0; x < band.GetXSize(); x += xStep) {
      const Window tile{x, std::min(x + xStep, band.GetXSize()) - 1, y, std::min(y + yStep, band.GetYSize()) - 1};
      ASSERT_EQ(CutOut(whole, tile, 0), ReadPixels(band, 0, tile)) << tile;
    }
  }
}

TEST_P(Conformance, AnswersEveryLevelAsItsRuleSays) {
  if (GetParam().levels == LevelRule::kOwn) GTEST_SKIP() << "levels that the format's own suites look at";
  ZRMBand& band = image_.Band(0);
  const Pixels whole = ReadPixels(band, 0, WholeWindowOf(band));
  for (int level = 1; level <= 13; ++level) {
    for (const Window& window : WindowsOf(band)) {
      EXPECT_EQ(ExpectedAt(GetParam(), band.GetLevel(), whole, window, level), ReadPixels(band, level, window))
          << level << ": " << window;
    }
  }
}

TEST_P(Conformance, SurvivesLevelsThatCannotBe) {
  ZRMBand& band = image_.Band(0);
  const Pixels whole = ReadPixels(band, 0, {0, 3, 0, 3});
  const Pixels expected = GetParam().levels == LevelRule::kFullResolution ? whole : Pixels();
  for (const int level : {-1, 31, 32, 64, INT_MAX, INT_MIN}) {
    EXPECT_EQ(expected, ReadPixels(band, level, {0, 3, 0, 3})) << level;
  }
}

TEST_P(Conformance, GivesFollowersTheMastersResult) {
  if (!GetParam().resultOfMaster) GTEST_SKIP() << "bands that have nothing to do with each other";
  for (const Window& window : WindowsOf(image_.Band(0))) {
    tagXArr2* ofMaster = nullptr;
    ASSERT_TRUE(image_.Band(0).ReadSubset(ofMaster, 0, window.x0, window.x1, window.y0, window.y1, nullptr));
    for (int c = 0; c < image_.GetNumBands(); ++c) {
      tagXArr2* out = nullptr;
      ASSERT_TRUE(image_.Band(c).ReadSubset(out, 0, window.x0, window.x1, window.y0, window.y1, nullptr));
      EXPECT_EQ(GetParam().resultOfMaster(image_.Band(0), c), out) << c;
    }
  }
}

TEST_P(Conformance, GivesFollowersThatReadFirstWhatTheyGetSecond) {
  const Window window{1, 8, 2, 6};
  std::vector<Pixels> afterMaster;
  afterMaster.reserve(static_cast<std::size_t>(image_.GetNumBands()));
  for (int c = 0; c < image_.GetNumBands(); ++c) afterMaster.push_back(ReadPixels(image_.Band(c), 0, window));
  OpenSample again(GetParam());
  for (int c = image_.GetNumBands() - 1; c >= 0; --c) {
    EXPECT_EQ(afterMaster[static_cast<std::size_t>(c)], ReadPixels(again.Band(c), 0, window)) << c;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, Conformance, testing::ValuesIn(AllSamples()), NameOf);

constexpr int kNumThreads = 8;
constexpr int kNumReads = 24;

/// Window `i` of a series in which neighbours overlap.
Window OverlappingWindow(const ZRMBand& band, int i) {
  const int width = std::clamp(band.GetXSize() / 3, 1, 300);
  const int height = std::clamp(band.GetYSize() / 3, 1, 200);
  const int x0 = i * 11 % (band.GetXSize() - width + 1);
  const int y0 = i * 7 % (band.GetYSize() - height + 1);
  return {x0, x0 + width - 1, y0, y0 + height - 1};
}

/// Calls `work(0)`, `work(1)` and so on at once, each on its own thread.
template <class Work>
void RunOnThreads(const Work& work) {
  std::vector<std::thread> threads;
  threads.reserve(kNumThreads);
  for (int t = 0; t < kNumThreads; ++t) threads.emplace_back(work, t);
  for (std::thread& thread : threads) thread.join();
}

class ConformanceThreads : public Conformance {
 protected:
  /// Read `i` of a series that goes through the bands.
  static Pixels Read(OpenSample& image, int i) {
    return ReadPixels(image.Band(i % image.GetNumBands()), 0, OverlappingWindow(image.Band(0), i));
  }
};

TEST_P(ConformanceThreads, GetWhatOneThreadGets) {
  OpenSample alone(GetParam());
  std::vector<Pixels> expected(kNumReads);
  for (int i = 0; i < kNumReads; ++i) expected[static_cast<std::size_t>(i)] = Read(alone, i);
  ASSERT_FALSE(expected.back().bytes.empty());
  std::atomic<int> numDifferent = 0;
  RunOnThreads([&](int t) {
    for (int k = 0; k < kNumReads; ++k) {
      const int i = (k + 3 * t) % kNumReads;
      if (Read(image_, i) != expected[static_cast<std::size_t>(i)]) ++numDifferent;
    }
  });
  EXPECT_EQ(0, numDifferent);
}

TEST_P(ConformanceThreads, MayOpenTheSameFileAtOnce) {
  const Pixels expected = ReadPixels(image_.Band(0), 0, {0, 5, 0, 5});
  const std::string path = PathOf(GetParam());
  std::atomic<int> numDifferent = 0;
  RunOnThreads([&](int) {
    XRSFile file;
    file.SetReadPolicy(GetParam().policy);
    XString err;
    const int isOpen = XRSFileIO::LoadFileRaster(&file, GetParam().formatId, path, err, 0, kLevelNone, nullptr);
    if (!isOpen || ReadPixels(*file.GetBandAt(0), 0, {0, 5, 0, 5}) != expected) ++numDifferent;
  });
  EXPECT_EQ(0, numDifferent);
}

INSTANTIATE_TEST_SUITE_P(Samples, ConformanceThreads, testing::ValuesIn(AllSamples()), NameOf);

TEST(Samples, CoverEveryRasterFormatThatCanBeRead) {
  for (const tagXFormat& format : XfnGetFormats()) {
    if (!format.isRaster || !format.canRead) continue;
    EXPECT_TRUE(std::ranges::any_of(AllSamples(), [&](const Sample& s) { return s.formatId == format.id; }))
        << format.name;
  }
}

TEST(Samples, ReachEverySourceOfABitmap) {
  std::vector<int> sources;
  for (const Sample& sample : AllSamples()) {
    OpenSample image(sample);
    ASSERT_TRUE(image.IsOpen()) << sample;
    if (const auto* band = dynamic_cast<ZRMBandBMP*>(&image.Band(0))) sources.push_back(band->GetSourceType());
  }
  for (const int source : {ZRMBandBMP::kSourceMemory, ZRMBandBMP::kSourceView, ZRMBandBMP::kSourceFile}) {
    EXPECT_TRUE(std::ranges::find(sources, source) != sources.end()) << source;
  }
}

}  // namespace
