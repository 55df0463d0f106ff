#include "LevelDataset.h"
#include "ReferencePyramid.h"
#include "TempFolder.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <gtest/gtest.h>
#include <atomic>
#include <thread>

namespace {

constexpr int kTile = 16;

/// A dataset on which a level file is built and opened again.
template <class Sample>
class BuiltLevels {
 public:
  BuiltLevels(int width, int height, const std::vector<Sample>& samples, bool isTiled = false)
      : full_{width, height, samples} {
    band_ = &AddDirectBand(file_, width, height, samples, kTile);
    if (isTiled) band_->ClaimTiles();
    file_.SetFilePath(folder_.Path("a.raw"));
    XString err;
    isBuilt_ = XRSFileIO::LoadFileXLD(&file_, folder_.Path("a.raw"), err, kLevelBuild, nullptr);
    numReadsOfBuild_ = band_->GetNumReads();
  }
  int GetNumReadsOfBuild() const { return numReadsOfBuild_; }
  bool IsBuilt() const { return isBuilt_; }
  DirectMemoryBand& Band() { return *band_; }
  const ReferenceImage<Sample>& Full() const { return full_; }
  std::vector<unsigned char> Bytes() const { return ReadBytes(folder_.Path("a.xld")); }
  /// All of a level, as the band serves it.
  std::vector<Sample> Level(int level) {
    tagXArr2* out = nullptr;
    const int numReads = band_->GetNumReads();
    EXPECT_TRUE(band_->ReadSubset(out, level, 0, full_.width - 1, 0, full_.height - 1, nullptr)) << level;
    EXPECT_EQ(numReads + 1, band_->GetNumReads());
    return out ? SamplesOf<Sample>(*out) : std::vector<Sample>();
  }

 private:
  TempFolder folder_;
  ReferenceImage<Sample> full_;
  XRSFile file_;
  DirectMemoryBand* band_ = nullptr;
  bool isBuilt_ = false;
  int numReadsOfBuild_ = 0;
};

template <class Sample>
class LevelImagesOf : public testing::Test {};
using SampleTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(LevelImagesOf, SampleTypes);

TYPED_TEST(LevelImagesOf, AreTheMeansOfAnIndependentPyramid) {
  const int sizes[][2] = {{64, 48}, {66, 98}, {65, 47}, {33, 80}, {100, 37}, {40, 200}, {200, 40}, {257, 129}};
  for (const auto& [width, height] : sizes) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    BuiltLevels<TypeParam> levels(width, height, RandomSamples<TypeParam>(width, height));
    ASSERT_TRUE(levels.IsBuilt());
    const int numLevels = levels.Band().GetLevel();
    const auto images = LevelImages(levels.Full(), numLevels);
    for (int level = 1; level <= numLevels; ++level) {
      SCOPED_TRACE(level);
      ExpectSameSamples(images[static_cast<std::size_t>(level - 1)].samples, levels.Level(level));
    }
  }
}

TYPED_TEST(LevelImagesOf, GiveStatisticsOfTheHalfSizeImage) {
  for (const int width : {64, 65}) {
    BuiltLevels<TypeParam> levels(width, 200, RandomSamples<TypeParam>(width, 200));
    ASSERT_TRUE(levels.IsBuilt());
    const std::vector<TypeParam> half = levels.Level(1);
    long double sum = 0, squares = 0;
    for (const TypeParam sample : half) sum += sample;
    const auto count = static_cast<long double>(half.size());
    for (const TypeParam sample : half) squares += (sample - sum / count) * (sample - sum / count);
    const auto [least, most] = std::ranges::minmax(half);
    const ZRMBand& band = levels.Band();
    EXPECT_EQ(static_cast<double>(least), band.GetBandMin());
    EXPECT_EQ(static_cast<double>(most), band.GetBandMax());
    EXPECT_NEAR(static_cast<double>(sum / count), band.GetBandMean(), std::abs(band.GetBandMean()) * 1e-12);
    const auto deviation = static_cast<double>(std::sqrt(squares / (count - 1)));
    EXPECT_NEAR(deviation, band.GetBandStdDev(), deviation * 1e-12);
  }
}

TYPED_TEST(LevelImagesOf, GiveTheHistogramOfTheHalfSizeImage) {
  BuiltLevels<TypeParam> levels(130, 90, RandomSamples<TypeParam>(130, 90));
  ASSERT_TRUE(levels.IsBuilt());
  const std::vector<TypeParam> half = levels.Level(1);
  const double least = levels.Band().GetBandMin(), range = levels.Band().GetBandMax() - least;
  std::vector<std::int64_t> expected(256, 0);
  for (const TypeParam sample : half) {
    const double place = (static_cast<double>(sample) - least) / range * 256;
    ++expected[static_cast<std::size_t>(std::min(place, 255.0))];
  }
  const std::int64_t* const histogram = levels.Band().GetHistogram();
  EXPECT_EQ(expected, std::vector<std::int64_t>(histogram, histogram + 256));
}

/// Puts the number of workers back.
class WithWorkers {
 public:
  explicit WithWorkers(int count) { XfnSetWorkerCount(count); }
  ~WithWorkers() { XfnSetWorkerCount(1); }
};

TYPED_TEST(LevelImagesOf, AreTheSameBytesForAnyNumberOfThreads) {
  for (const int width : {96, 97}) {
    const auto samples = RandomSamples<TypeParam>(width, 1001);
    std::vector<std::vector<unsigned char>> files;
    for (const int workers : {1, 2, 8}) {
      const WithWorkers with(workers);
      BuiltLevels<TypeParam> levels(width, 1001, samples);
      ASSERT_TRUE(levels.IsBuilt());
      files.push_back(levels.Bytes());
    }
    EXPECT_TRUE(files[0] == files[1]);
    EXPECT_TRUE(files[0] == files[2]);
  }
}

/// Wide enough that a source in tiles is read in several blocks of columns.
TYPED_TEST(LevelImagesOf, AreTheSameWhetherRowsOrTilesAreRead) {
  for (const int width : {40000, 40001}) {
    const auto samples = RandomSamples<TypeParam>(width, 66);
    BuiltLevels<TypeParam> byRows(width, 66, samples), byTiles(width, 66, samples, true);
    ASSERT_TRUE(byRows.IsBuilt() && byTiles.IsBuilt());
    EXPECT_TRUE(byRows.Bytes() == byTiles.Bytes());
    const bool isCutExactly = sizeof(TypeParam) <= 2 && width % 2 == 0;
    EXPECT_EQ(isCutExactly, byTiles.GetNumReadsOfBuild() > byRows.GetNumReadsOfBuild());
  }
}

TEST(LevelImages, TakeTheMostFrequentClassBelowTheHalfSizeImage) {
  TempFolder folder;
  XRSFile file;
  std::vector<std::uint8_t> samples(64 * 64, 4);
  for (int i = 0; i < 64 * 64; ++i) {
    if (i / 2 % 2 == 0 && i / 64 / 2 % 2 == 0) samples[static_cast<std::size_t>(i)] = 200;
  }
  AddDirectBand(file, 64, 64, samples, kTile).SetBandType(kBandTypeThematic);
  file.SetFilePath(folder.Path("a.raw"));
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileXLD(&file, folder.Path("a.raw"), err, kLevelBuild, nullptr));
  tagXArr2* out = nullptr;
  ASSERT_TRUE(file.GetBandAt(0)->ReadSubset(out, 2, 0, 63, 0, 63, nullptr));
  EXPECT_EQ(std::vector<std::uint8_t>(256, 4), SamplesOf<std::uint8_t>(*out));
}

TEST(LevelImages, TakeNullSamplesForSamples) {
  TempFolder folder;
  XRSFile file;
  std::vector<std::uint8_t> samples(64 * 64, 255);
  samples[0] = 55;
  AddDirectBand(file, 64, 64, samples, kTile).SetNullValue(255.0);
  file.SetFilePath(folder.Path("a.raw"));
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileXLD(&file, folder.Path("a.raw"), err, kLevelBuild, nullptr));
  EXPECT_EQ(205.0, file.GetBandAt(0)->GetBandMin());
  EXPECT_EQ(255.0, file.GetBandAt(0)->GetBandMax());
}

TEST(LevelImagesThreads, ReadWhatOneReads) {
  const int width = 130, height = 90;
  BuiltLevels<std::uint16_t> levels(width, height, RandomSamples<std::uint16_t>(width, height));
  ASSERT_TRUE(levels.IsBuilt());
  const auto images = LevelImages(levels.Full(), 2);
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 300; ++i) {
        const int x = (i * 7 + t) % 64 * 2, y = (i * 5 + t) % 44 * 2;
        tagXArr2* out = nullptr;
        if (!levels.Band().ReadSubset(out, 1, x, x + 1, y, y + 1, nullptr) ||
            SamplesOf<std::uint16_t>(*out)[0] != images[0].At(x / 2, y / 2)) {
          ++numWrong;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}

}  // namespace
