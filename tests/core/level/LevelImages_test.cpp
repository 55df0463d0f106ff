#include "base/DataTypeVisit.h"
#include "base/Window.h"
#include "LevelDataset.h"
#include "ReferencePyramid.h"
#include "TempFolder.h"
#include "XEPOT2D.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <gtest/gtest.h>
#include <atomic>
#include <filesystem>
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

/// Some rows and columns of blocks, of which the last ones are cut by the edges of the image or have no pair.
TYPED_TEST(LevelImagesOf, AreTheSameForAnyNumberOfRowsAndColumnsOfTiles) {
  const int sizes[][2] = {{64, 48}, {66, 98}, {100, 38}, {40, 200}, {258, 130}, {17000, 162}, {34, 2050}};
  for (const auto& [width, height] : sizes) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    const auto samples = RandomSamples<TypeParam>(width, height);
    BuiltLevels<TypeParam> byRows(width, height, samples), byTiles(width, height, samples, true);
    ASSERT_TRUE(byRows.IsBuilt() && byTiles.IsBuilt());
    EXPECT_TRUE(byRows.Bytes() == byTiles.Bytes());
  }
}

/// Null samples and classes make images of a native raster other than by means of four.
struct NativeKind {
  int dataType, bandType;
  double nullValue;
};
class NativeImages : public testing::TestWithParam<NativeKind> {
 protected:
  static constexpr int kWidth = 300, kHeight = 210;

  /// A dataset of a kind of bands over tiny classes, so that null samples are many.
  void Fill(XRSFile& file) {
    const auto classes = RandomSamples<std::uint8_t>(kWidth, kHeight);
    zrk::VisitDataType(GetParam().dataType, [&](auto zero) {
      std::vector<decltype(zero)> samples;
      for (const std::uint8_t number : classes) samples.push_back(static_cast<decltype(zero)>(number % 4));
      auto& band = AddDirectBand(file, kWidth, kHeight, samples, kTile);
      band.SetBandType(GetParam().bandType);
      band.SetNullValue(GetParam().nullValue);
    });
  }
  /// Saves a part of a dataset as a native raster with images.
  std::vector<unsigned char> Save(XRSFile& file, const char* name, const zrk::Window& part) {
    XString err;
    EXPECT_TRUE(XRSFileIO::SaveFileZRM(&file, folder_.Path(name), 1, part.x0, part.x1, part.y0, part.y1, err, nullptr,
                                       kCompressionPlain, 0, 1))
        << err.GetText();
    return ReadBytes(folder_.Path(name));
  }

  TempFolder folder_;
};

/// A native raster is read tile by tile, unless its part begins within a tile; memory is read by rows.
TEST_P(NativeImages, AreTheSameFromANativeRasterAsFromMemory) {
  XRSFile memory, native;
  Fill(memory);
  Save(memory, "all.zrm", {0, kWidth - 1, 0, kHeight - 1});
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileZRM(&native, folder_.Path("all.zrm"), err, nullptr)) << err.GetText();
  for (const zrk::Window& part : {zrk::Window{0, kWidth - 1, 0, kHeight - 1}, zrk::Window{32, 250, 48, 200},
                                  zrk::Window{16, 299, 5, 180}, zrk::Window{7, 250, 16, 209}}) {
    SCOPED_TRACE(testing::Message() << part.x0 << " " << part.y0);
    EXPECT_TRUE(Save(memory, "a.zrm", part) == Save(native, "a.zrm", part));
  }
}

INSTANTIATE_TEST_SUITE_P(OfEveryKind, NativeImages,
                         testing::Values(NativeKind{kPint08, kBandTypeThematic, -1}, NativeKind{kPint08, 0, 0},
                                         NativeKind{kPint08, 0, 1000}, NativeKind{kReal32, kBandTypeThematic, -1},
                                         NativeKind{kReal32, 0, 0}, NativeKind{kReal64, 0, 1000}));

TEST(LevelImages, OfABandThatIsLargerThanItsStoreFail) {
  TempFolder folder;
  XRSFile memory, native;
  AddDirectBand(memory, 64, 64, RandomSamples<std::uint8_t>(64, 64), kTile);
  XString err;
  ASSERT_TRUE(
      XRSFileIO::SaveFileZRM(&memory, folder.Path("a.zrm"), 1, 0, 63, 0, 63, err, nullptr, kCompressionPlain, 0, 1));
  ASSERT_TRUE(XRSFileIO::LoadFileZRM(&native, folder.Path("a.zrm"), err, nullptr));
  native.GetBandAt(0)->SetSize(64, 96);
  EXPECT_FALSE(XRSFileIO::CreateFileXLD(&native, folder.Path("a.zrm"), err, kLevelBuild, nullptr));
  EXPECT_EQ(XString("Fail to read data"), err);
}

TEST(LevelImages, OfANativeRasterFailWhereItsFileHasBeenCut) {
  TempFolder folder;
  XRSFile memory, native;
  AddDirectBand(memory, 300, 210, RandomSamples<std::uint8_t>(300, 210), kTile);
  XString err;
  ASSERT_TRUE(
      XRSFileIO::SaveFileZRM(&memory, folder.Path("a.zrm"), 1, 0, 299, 0, 209, err, nullptr, kCompressionPlain, 0, 1));
  ASSERT_TRUE(XRSFileIO::LoadFileZRM(&native, folder.Path("a.zrm"), err, nullptr));
  std::filesystem::resize_file(folder.Path("a.zrm"), 40000);
  EXPECT_FALSE(XRSFileIO::CreateFileXLD(&native, folder.Path("a.zrm"), err, kLevelBuild, nullptr));
  EXPECT_EQ(XString("Fail to read data"), err);
  EXPECT_FALSE(std::filesystem::exists(folder.Path("a.xld")));
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

/// The first level of a band of the classes 4 and 200, of which 200 is in the upper left of each four pixels.
std::vector<std::uint8_t> FirstLevelOfClasses(XReadPolicy policy, int width, int height, bool isTiled) {
  TempFolder folder;
  XRSFile file;
  file.SetReadPolicy(policy);
  std::vector<std::uint8_t> samples;
  for (int i = 0; i < width * height; ++i) samples.push_back(i % width % 2 == 0 && i / width % 2 == 0 ? 200 : 4);
  DirectMemoryBand& band = AddDirectBand(file, width, height, samples, kTile);
  band.SetReadPolicy(policy);
  band.SetBandType(kBandTypeThematic);
  if (isTiled) band.ClaimTiles();
  file.SetFilePath(folder.Path("a.raw"));
  XString err;
  EXPECT_TRUE(XRSFileIO::LoadFileXLD(&file, folder.Path("a.raw"), err, kLevelBuild, nullptr)) << err.GetText();
  tagXArr2* out = nullptr;
  EXPECT_TRUE(band.ReadSubset(out, 1, 0, width - 1, 0, height - 1, nullptr));
  return out ? SamplesOf<std::uint8_t>(*out) : std::vector<std::uint8_t>();
}

TEST(LevelImages, OfClassesAreMeansInTheHalfSizeImageOfTheCompatiblePolicy) {
  // (200 + 3 * 4) / 4 = 53.
  EXPECT_EQ(std::vector<std::uint8_t>(32 * 32, 53), FirstLevelOfClasses(kReadCompatible, 64, 64, false));
}

TEST(LevelImages, OfClassesHaveTheMostFrequentOneInTheHalfSizeImageOfTheExactPolicy) {
  for (const bool isTiled : {false, true}) {
    EXPECT_EQ(std::vector<std::uint8_t>(32 * 32, 4), FirstLevelOfClasses(kReadExact, 64, 64, isTiled));
    EXPECT_EQ(std::vector<std::uint8_t>(32 * 35, 4), FirstLevelOfClasses(kReadExact, 65, 71, isTiled));
  }
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
