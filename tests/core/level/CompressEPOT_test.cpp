// Pyramid stores that are compressed: the error that is allowed, windows, threads and failures. What is expected are
// the samples that were given, to the bit or within the bound.

#include "LevelDataset.h"
#include "ReferencePyramid.h"
#include "TempFolder.h"
#include "XBlockCache.h"
#include "Xepot.h"
#include "XFile.h"
#include "XSystem.h"
#include "ZRMBandEPOT.h"

#include <gtest/gtest.h>
#include <cmath>
#include <limits>

namespace {

class CompressEPOT : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(file_.Open(folder_.Path("store"), XFile::kReadWrite | XFile::kCreate)); }
  template <class Sample>
  std::int64_t Compress(int width, int height, const std::vector<Sample>& samples, int levels, double bound) {
    source_.SetSamples(width, height, samples);
    file_.SetLength(0);
    const std::int64_t size = Xepot::CompressEPOT_CM3(&source_, &file_, 7, 16, levels, bound, nullptr);
    if (size > 0) {
      EXPECT_TRUE(band_.SetImage(&file_, 7, width, height, zrk::kDataTypeOf<Sample>, 16, 16, levels, 3));
      EXPECT_EQ(size, band_.GetEPOT()->GetSize());
      EXPECT_EQ(size + 7, file_.GetLength());
    }
    return size;
  }
  template <class Sample>
  std::vector<Sample> Image(int level) {
    tagXArr2* out = nullptr;
    const int right = band_.GetXSize() - 1, bottom = band_.GetYSize() - 1;
    return band_.ReadSubset(out, level, 0, right, 0, bottom, nullptr) ? SamplesOf<Sample>(*out) : std::vector<Sample>();
  }

  TempFolder folder_;
  XFile file_;
  DirectMemoryBand source_;
  ZRMBandEPOT band_;
};

template <class Sample>
class CompressEPOTOf : public CompressEPOT {};
using SampleTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(CompressEPOTOf, SampleTypes);

TYPED_TEST(CompressEPOTOf, KeepsEverySampleOfEveryLevelWithoutAnError) {
  const auto samples = RandomSamples<TypeParam>(61, 47);
  ASSERT_GT(this->Compress(61, 47, samples, 2, 0.0), 0);
  ReferenceImage<TypeParam> image{61, 47, samples};
  for (int level = 0; level <= 2; ++level) {
    ExpectSameSamples(image.samples, this->template Image<TypeParam>(level));
    image = MeansOfFour(image);
  }
}

TYPED_TEST(CompressEPOTOf, KeepsTheBoundOnEverySampleOfEveryLevel) {
  for (const double bound : {0.4, 2.0, 50.0}) {
    const auto samples = RandomSamples<TypeParam>(61, 47);
    ASSERT_GT(this->Compress(61, 47, samples, 2, bound), 0);
    ReferenceImage<TypeParam> image{61, 47, samples};
    for (int level = 0; level <= 2; ++level) {
      const auto given = this->template Image<TypeParam>(level);
      ASSERT_EQ(image.samples.size(), given.size());
      for (std::size_t i = 0; i < given.size(); ++i) {
        ASSERT_LE(std::abs(static_cast<double>(image.samples[i]) - static_cast<double>(given[i])), bound + 1e-9)
            << level;
      }
      image = MeansOfFour(image);
    }
  }
}

TEST_F(CompressEPOT, KeepsInfinitiesAndNaN) {
  auto samples = RandomSamples<float>(40, 40);
  samples[3] = std::numeric_limits<float>::infinity();
  samples[900] = std::nanf("");
  ASSERT_GT(Compress(40, 40, samples, 0, 1.0), 0);
  const auto given = Image<float>(0);
  EXPECT_EQ(samples[3], given[3]);
  EXPECT_TRUE(std::isnan(given[900]));
}

TEST_F(CompressEPOT, WritesTheSameBytesForAnyNumberOfThreads) {
  const auto samples = RandomSamples<std::int16_t>(300, 200);
  std::vector<std::vector<unsigned char>> files;
  for (const int workers : {1, 2, 8}) {
    XfnSetWorkerCount(workers);
    ASSERT_GT(Compress(300, 200, samples, 3, 2.0), 0);
    files.push_back(ReadBytes(folder_.Path("store")));
  }
  XfnSetWorkerCount(1);
  EXPECT_TRUE(files[0] == files[1]);
  EXPECT_TRUE(files[0] == files[2]);
}

TEST_F(CompressEPOT, DecodesATileOnceWhereMemoryIsGranted) {
  XfnSetBlockCacheBytes(1 << 20);
  const auto samples = RandomSamples<std::uint8_t>(50, 40);
  const std::int64_t size = Compress(50, 40, samples, 0, 0.0);
  tagXArr2* out = nullptr;
  ASSERT_TRUE(band_.ReadSubset(out, 0, 10, 37, 8, 20, nullptr));
  const auto expected = SamplesOf<std::uint8_t>(*out);
  // With zeros in place of all blobs, only what was kept can serve the window.
  std::vector<unsigned char> zeros(static_cast<std::size_t>(size) - 12 * 16 - 16);
  file_.Seek(7 + 12 * 16 + 16, XFile::kBegin);
  file_.Write(zeros.data(), static_cast<unsigned int>(zeros.size()));
  ASSERT_TRUE(band_.ReadSubset(out, 0, 10, 37, 8, 20, nullptr));
  ExpectSameSamples(expected, SamplesOf<std::uint8_t>(*out));
  XfnSetBlockCacheBytes(0);
  EXPECT_FALSE(band_.ReadSubset(out, 0, 10, 37, 8, 20, nullptr));
}

TEST_F(CompressEPOT, ServesAnyWindow) {
  const auto samples = RandomSamples<std::uint8_t>(50, 40);
  ASSERT_GT(Compress(50, 40, samples, 0, 0.0), 0);
  for (int x0 = 0; x0 < 50; x0 += 7) {
    for (int y0 = 0; y0 < 40; y0 += 5) {
      tagXArr2* out = nullptr;
      const int x1 = std::min(x0 + 20, 49), y1 = std::min(y0 + 17, 39);
      ASSERT_TRUE(band_.ReadSubset(out, 0, x0, x1, y0, y1, nullptr));
      ASSERT_EQ(samples[static_cast<std::size_t>(y1 * 50 + x1)], out->Row(y1 - y0)[x1 - x0]);
      ASSERT_EQ(samples[static_cast<std::size_t>(y0 * 50 + x0)], out->Row(0)[0]);
    }
  }
}

TEST_F(CompressEPOT, TellsWhichRowsAreDecodedTogether) {
  ASSERT_GT(Compress(50, 40, RandomSamples<std::uint8_t>(50, 40), 0, 0.0), 0);
  EXPECT_EQ(16, band_.GetDecodeRows());
}

TEST_F(CompressEPOT, CannotBeWrittenTo) {
  ASSERT_GT(Compress(20, 20, RandomSamples<std::uint8_t>(20, 20), 0, 0.0), 0);
  unsigned char sample = 1;
  EXPECT_FALSE(band_.WriteSubset(&sample, 0, 0, 0, 0, false, kNotSet));
}

TEST_F(CompressEPOT, FailsWhereTheSourceCannotBeReadOrTheStoreCannotBe) {
  const auto samples = RandomSamples<std::uint8_t>(20, 20);
  EXPECT_EQ(0, Xepot::CompressEPOT_CM3(nullptr, &file_, 0, 16, 0, 0.0, nullptr));
  source_.SetSamples(20, 20, samples);
  EXPECT_EQ(0, Xepot::CompressEPOT_CM3(&source_, nullptr, 0, 16, 0, 0.0, nullptr));
  EXPECT_EQ(0, Xepot::CompressEPOT_CM3(&source_, &file_, -1, 16, 0, 0.0, nullptr));
  EXPECT_EQ(0, Xepot::CompressEPOT_CM3(&source_, &file_, 0, 0, 0, 0.0, nullptr));
  EXPECT_EQ(0, Xepot::CompressEPOT_CM3(&source_, &file_, 0, 16, 31, 0.0, nullptr));
  source_.FailReads();
  EXPECT_EQ(0, Compress(20, 20, samples, 0, 0.0));
}

TEST_F(CompressEPOT, HearsAStop) {
  source_.SetSamples(20, 200, RandomSamples<std::uint8_t>(20, 200));
  PercentKeeper keeper(3);
  XThread thread(&keeper);
  EXPECT_EQ(0, Xepot::CompressEPOT_CM3(&source_, &file_, 0, 16, 0, 0.0, &thread));
  EXPECT_EQ(3u, keeper.percents.size());
}

}  // namespace
