#include "codec/TiffOutput.h"

#include "FaultyDisk.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Result = zrk::TiffOutput::Result;

/// What a test file is like.
struct Shape {
  int width = 33;
  int height = 70;
  int rowsPerStrip = 32;
  int numBands = 2;
  bool isPlanar = true;
};

void SetTags(TIFF* tiff, const Shape& shape) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, shape.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, shape.height);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, shape.rowsPerStrip);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, shape.isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, shape.numBands);
}

Bytes MakeSamples(const Shape& shape) {
  Bytes samples(static_cast<std::size_t>(shape.width * shape.height * shape.numBands));
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<unsigned char>(i * 7 + i / 251);
  return samples;
}

/// The file as libtiff writes it, row by row.
void WriteByRows(const std::string& path, const Shape& shape, const char* mode) {
  Bytes samples = MakeSamples(shape);
  TIFF* const tiff = TIFFOpen(path.c_str(), mode);
  ASSERT_NE(nullptr, tiff);
  SetTags(tiff, shape);
  const auto rowBytes = static_cast<std::size_t>(TIFFScanlineSize(tiff));
  for (std::size_t row = 0; row * rowBytes < samples.size(); ++row) {
    const auto y = static_cast<std::uint32_t>(row % static_cast<std::size_t>(shape.height));
    const auto plane = static_cast<std::uint16_t>(row / static_cast<std::size_t>(shape.height));
    ASSERT_EQ(1, TIFFWriteScanline(tiff, samples.data() + row * rowBytes, y, plane));
  }
  TIFFClose(tiff);
}

class TiffOutputTest : public testing::Test {
 protected:
  std::string Path() const { return folder_.Path("a.tif"); }
  Bytes BytesOf(const std::string& path) const {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }
  std::unique_ptr<zrk::TiffOutput> Create(const Shape& shape, bool isBig = false) const {
    zrk::DiskOpen how;
    how.write = how.create = true;
    std::shared_ptr<zrk::DiskFile> file;
    EXPECT_EQ(0, zrk::CurrentDisk().Open(Path(), how, file));
    auto output = zrk::TiffOutput::Create(std::move(file), isBig);
    if (output) SetTags(output->Get(), shape);
    return output;
  }
  /// Writes the samples in pieces of some bytes, from the end on.
  bool WriteAll(zrk::TiffOutput& output, const Bytes& samples, std::size_t step) const {
    for (std::size_t end = samples.size(); end > 0;) {
      const std::size_t begin = end > step ? end - step : 0;
      if (!output.WriteSamples(static_cast<std::int64_t>(begin), samples.data() + begin,
                               static_cast<std::int64_t>(end - begin)))
        return false;
      end = begin;
    }
    return output.Finish();
  }

  TempFolder folder_;
};

TEST_F(TiffOutputTest, IsWhatLibtiffWritesRowByRow) {
  for (const bool isPlanar : {false, true}) {
    for (const int height : {1, 31, 32, 33, 70}) {
      for (const int numBands : {1, 2, 5}) {
        for (const bool isBig : {false, true}) {
          const Shape shape = {33, height, 32, numBands, isPlanar};
          WriteByRows(folder_.Path("b.tif"), shape, isBig ? "w8" : "w");
          const auto output = Create(shape, isBig);
          ASSERT_NE(nullptr, output);
          ASSERT_EQ(Result::kDone, output->LayOut());
          ASSERT_TRUE(WriteAll(*output, MakeSamples(shape), 1000));
          ASSERT_EQ(BytesOf(folder_.Path("b.tif")), BytesOf(Path())) << height << " rows, " << numBands << " bands";
        }
      }
    }
  }
}

TEST_F(TiffOutputTest, IsNoTiffBeforeItIsFinished) {
  const Shape shape;
  const auto output = Create(shape);
  ASSERT_EQ(Result::kDone, output->LayOut());
  const Bytes samples = MakeSamples(shape);
  ASSERT_TRUE(output->WriteSamples(0, samples.data(), std::ssize(samples)));
  const Bytes unfinished = BytesOf(Path());
  EXPECT_THAT(Bytes(unfinished.begin(), unfinished.begin() + 8), testing::Each(0));
  ASSERT_TRUE(output->Finish());
  EXPECT_EQ(unfinished.size(), BytesOf(Path()).size());
  EXPECT_EQ('I', BytesOf(Path())[0]);
}

TEST_F(TiffOutputTest, TakesNoSamplesBeyondItsStrips) {
  const Shape shape = {10, 10, 5, 1, true};
  const auto output = Create(shape);
  ASSERT_EQ(Result::kDone, output->LayOut());
  const Bytes samples(200);
  EXPECT_TRUE(output->WriteSamples(0, samples.data(), 100));
  EXPECT_FALSE(output->WriteSamples(0, samples.data(), 101));
  EXPECT_FALSE(output->WriteSamples(100, samples.data(), 1));
  EXPECT_FALSE(output->WriteSamples(-1, samples.data(), 1));
  EXPECT_FALSE(output->WriteSamples(INT64_MAX, samples.data(), 1));
}

TEST_F(TiffOutputTest, HasNoHandleOnceItIsLaidOut) {
  const auto output = Create({});
  EXPECT_NE(nullptr, output->Get());
  EXPECT_EQ(Result::kDone, output->LayOut());
  EXPECT_EQ(nullptr, output->Get());
  EXPECT_EQ(Result::kFailed, output->LayOut());
}

TEST_F(TiffOutputTest, WithoutAnImageCannotBeLaidOut) {
  EXPECT_EQ(Result::kFailed, Create({0, 0, 0, 0, false})->LayOut());
  EXPECT_EQ(Result::kFailed, Create({0, 70, 32, 1, true})->LayOut());
  EXPECT_EQ(Result::kFailed, Create({33, 0, 32, 1, true})->LayOut());
}

TEST_F(TiffOutputTest, TellsThatTheDiskIsFull) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailSetSize(1);
  EXPECT_EQ(Result::kDiskFull, Create({})->LayOut());
}

TEST_F(TiffOutputTest, FailsWithTheDisk) {
  const Shape shape = {10, 10, 5, 1, true};
  const Bytes samples(100);
  for (int nth = 1; nth <= 4; ++nth) {
    FaultyDisk disk;
    const zrk::ScopedDisk scope(disk);
    disk.FailWrite(nth);
    const auto output = Create(shape);
    ASSERT_EQ(Result::kDone, output->LayOut());
    EXPECT_EQ(nth == 4, output->WriteSamples(0, samples.data(), 100) && output->Finish()) << nth;
  }
}

TEST_F(TiffOutputTest, IsFinishedOnceAllIsWritten) {
  const Shape shape = {10, 10, 5, 1, true};
  const auto output = Create(shape);
  ASSERT_EQ(Result::kDone, output->LayOut());
  ASSERT_TRUE(output->WriteSamples(0, Bytes(100).data(), 100));
  EXPECT_FALSE(output->IsFinished());
  ASSERT_TRUE(output->Finish());
  EXPECT_TRUE(output->IsFinished());
}

TEST_F(TiffOutputTest, KeepsLibtiffQuiet) {
  testing::internal::CaptureStderr();
  Create({-1, -1, 0, 70000, true})->LayOut();
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(NeedsBigTiff, FromWhereItsDirectoryMayPassFourGigabytes) {
  constexpr std::int64_t kMaxBytes = std::int64_t{UINT32_MAX} - 262144;
  EXPECT_FALSE(zrk::NeedsBigTiff(1000, 1, 1));
  EXPECT_FALSE(zrk::NeedsBigTiff(kMaxBytes - 8 - 6, 1, 1));
  EXPECT_TRUE(zrk::NeedsBigTiff(kMaxBytes - 8 - 6 + 1, 1, 1));
  EXPECT_FALSE(zrk::NeedsBigTiff(kMaxBytes - 80 - 24, 10, 4));
  EXPECT_TRUE(zrk::NeedsBigTiff(kMaxBytes - 80 - 23, 10, 4));
  EXPECT_TRUE(zrk::NeedsBigTiff(INT64_MAX, 1, 1));
  EXPECT_TRUE(zrk::NeedsBigTiff(1, INT64_MAX, 1));
}

}  // namespace
