#include "ZRMBandHDF4.h"
#include "Sanitizers.h"

#include "FaultyDisk.h"
#include "HdfBuilder.h"
#include "TempFolder.h"
#include "XLimits.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <thread>

namespace {

using Bytes = std::vector<unsigned char>;

class ZRMBandHDF4Files : public testing::Test {
 protected:
  std::string Write(const Bytes& bytes) {
    folder_.Write("a.hdf", bytes);
    return folder_.Path("a.hdf");
  }
  int Open(const Bytes& bytes) { return band_.ReadFile(Write(bytes), err_, nullptr); }
  int Open(const HdfBuilder& builder) { return Open(builder.Build()); }
  /// As above, of a file that goes on with zeros up to a length, which take no room on disk.
  int OpenExtended(const HdfBuilder& builder, std::int64_t numBytes) {
    const std::string path = Write(builder.Build());
    EXPECT_EQ(0, truncate(path.c_str(), numBytes));
    return band_.ReadFile(path, err_, nullptr);
  }
  void ExpectRefused(const Bytes& bytes) {
    EXPECT_EQ(0, Open(bytes));
    EXPECT_EQ("Can't open file : " + folder_.Path("a.hdf"), err_.AsStdString());
    EXPECT_TRUE(Read(0, 0, 0, 0).empty());
  }
  void ExpectSize(int width, int height) {
    EXPECT_EQ(width, band_.GetXSize());
    EXPECT_EQ(height, band_.GetYSize());
    EXPECT_EQ(height - 1, band_.GetULY());
  }
  /// The samples of a window; empty where the read fails.
  Bytes Read(int x0, int x1, int y0, int y1, int level = 0) {
    tagXArr2* out = nullptr;
    if (!band_.ReadSubset(out, level, x0, x1, y0, y1, nullptr)) return {};
    EXPECT_EQ(x1 - x0 + 1, out->xSize);
    EXPECT_EQ(y1 - y0 + 1, out->ySize);
    return {out->data, out->data + out->xSize * out->ySize};
  }

  TempFolder folder_;
  ZRMBandHDF4 band_;
  XString err_ = "left over";
};

Bytes PixelsOf(int x0, int x1, int y0, int y1) {
  Bytes pixels;
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) pixels.push_back(HdfBuilder::Pixel(x, y));
  }
  return pixels;
}

/// A place in the first block: 0 is its count, 2 its next block, 6 + 12 * n its descriptor n.
constexpr std::size_t InBlock(std::size_t place) {
  return 4 + place;
}

TEST_F(ZRMBandHDF4Files, ReadsWindowsAndWholeRowsOfTheRaster) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(70, 9)));
  EXPECT_EQ("", err_.AsStdString());
  EXPECT_EQ(PixelsOf(0, 69, 0, 8), Read(0, 69, 0, 8));
  EXPECT_EQ(PixelsOf(0, 69, 3, 7), Read(0, 69, 3, 7));
  EXPECT_EQ(PixelsOf(5, 66, 2, 8), Read(5, 66, 2, 8));
  EXPECT_EQ(PixelsOf(69, 69, 8, 8), Read(69, 69, 8, 8));
}

TEST_F(ZRMBandHDF4Files, IsPlacedInPixelsWithUnsignedBytes) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5)));
  ExpectSize(7, 5);
  EXPECT_EQ(kPint08, band_.GetDataType());
  EXPECT_EQ(1.0, band_.GetXPixelSize());
  EXPECT_EQ(1.0, band_.GetYPixelSize());
  EXPECT_EQ(0.0, band_.GetULX());
  EXPECT_EQ(4.0, band_.GetULY());
  EXPECT_EQ(kCoordinatePixel, band_.GetCoordinateKind());
  EXPECT_TRUE(band_.GetSR()->IsEmpty());
}

TEST_F(ZRMBandHDF4Files, GivesFullResolutionAtEveryLevel) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(20, 12)));
  for (const int level : {1, 5, 40, -1, INT_MAX, INT_MIN}) EXPECT_EQ(PixelsOf(3, 18, 2, 9), Read(3, 18, 2, 9, level));
}

TEST_F(ZRMBandHDF4Files, RefusesWindowsThatAreNotInside) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5)));
  EXPECT_TRUE(Read(0, 7, 0, 0).empty());
  EXPECT_TRUE(Read(0, 0, 0, 5).empty());
  EXPECT_TRUE(Read(-1, 0, 0, 0).empty());
  EXPECT_TRUE(Read(0, 0, -1, 0).empty());
  EXPECT_TRUE(Read(3, 2, 0, 0).empty());
  EXPECT_TRUE(Read(INT_MIN, INT_MAX, 0, INT_MAX).empty());
}

TEST_F(ZRMBandHDF4Files, ABandMadeLargerThanItsRasterIsStillBoundedByIt) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5)));
  band_.SetSize(1000, 1000);
  EXPECT_TRUE(Read(0, 7, 0, 0).empty());
  EXPECT_TRUE(Read(0, 0, 0, 5).empty());
  EXPECT_EQ(PixelsOf(0, 6, 0, 4), Read(0, 6, 0, 4));
}

TEST_F(ZRMBandHDF4Files, HasNoPixelsBeforeTheFirstOpen) {
  band_.SetSize(10, 10);
  EXPECT_TRUE(Read(0, 0, 0, 0).empty());
}

TEST_F(ZRMBandHDF4Files, KnowsAFileByItsFirstFourBytes) {
  EXPECT_EQ(1, band_.IsValidFormat(Write({0x0E, 0x03, 0x13, 0x01})));
  EXPECT_EQ(0, band_.IsValidFormat(Write({0x0E, 0x03, 0x13, 0x02, 0, 0, 0, 0})));
  EXPECT_EQ(0, band_.IsValidFormat(Write({0x0E, 0x03, 0x13})));
  EXPECT_EQ(0, band_.IsValidFormat(folder_.Path("missing.hdf")));
}

TEST_F(ZRMBandHDF4Files, NamesTheFileThatCannotBeOpened) {
  EXPECT_EQ(0, band_.ReadFile(folder_.Path("missing.hdf"), err_, nullptr));
  EXPECT_EQ("Can't open file : " + folder_.Path("missing.hdf"), err_.AsStdString());
}

TEST_F(ZRMBandHDF4Files, RefusesAnotherMagic) {
  Bytes bytes = HdfBuilder().Build();
  bytes[3] = 2;
  ExpectRefused(bytes);
}

TEST_F(ZRMBandHDF4Files, RefusesANumberTypeOtherThanThree) {
  for (const std::uint8_t code : {0, 4, 5, 20, 21, 22}) ExpectRefused(HdfBuilder().NumberType(code).Build());
}

TEST_F(ZRMBandHDF4Files, RefusesAnyNumberTypeThatIsNotThreeAlsoAmongOthers) {
  ASSERT_EQ(1, Open(HdfBuilder().Also(HdfBuilder::kNumberType, 0)));  // its second byte is that of the magic, a 3
  ExpectRefused(HdfBuilder().Also(HdfBuilder::kNumberType, 1).Build());
}

TEST_F(ZRMBandHDF4Files, TakesAFileWithoutANumberTypeAsBytes) {
  ASSERT_EQ(1, Open(HdfBuilder().Without(HdfBuilder::kNumberType)));
  EXPECT_EQ(kPint08, band_.GetDataType());
  EXPECT_EQ(PixelsOf(0, 6, 0, 4), Read(0, 6, 0, 4));
}

TEST_F(ZRMBandHDF4Files, TakesTheLastDimensionsAndTheLastRaster) {
  Bytes bytes = HdfBuilder().Size(7, 5).Also(HdfBuilder::kDimensions, 200).Also(HdfBuilder::kRaster, 208).Build();
  bytes.resize(208);
  bytes.resize(220, 9);
  const Bytes dimensions = {0, 0, 0, 4, 0, 0, 0, 3};
  std::copy(dimensions.begin(), dimensions.end(), bytes.begin() + 200);
  ASSERT_EQ(1, Open(bytes));
  ExpectSize(4, 3);
  EXPECT_EQ(Bytes(12, 9), Read(0, 3, 0, 2));
}

TEST_F(ZRMBandHDF4Files, FollowsTheChainOfBlocks) {
  for (const std::size_t blockSize : {1, 2, 3}) {
    ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5).BlockSize(blockSize))) << blockSize;
    EXPECT_EQ(PixelsOf(0, 6, 0, 4), Read(0, 6, 0, 4));
  }
}

TEST_F(ZRMBandHDF4Files, DimensionsBeyondTheFileGiveTheFixedSize) {
  const HdfBuilder builder = HdfBuilder().Size(7, 5).Claim(100, 100);
  const auto numBytes = static_cast<std::int64_t>(builder.Build().size());
  ASSERT_LT(numBytes, 10000);
  ASSERT_EQ(1, Open(builder));
  ExpectSize(2592, 2796);
  ASSERT_EQ(1, OpenExtended(builder, 9999));
  ExpectSize(2592, 2796);
  ASSERT_EQ(1, OpenExtended(builder, 10000));  // enough by the length of the whole file
  ExpectSize(100, 100);
}

TEST_F(ZRMBandHDF4Files, DimensionsWhoseProductPassesThirtyTwoBitsGiveTheFixedSize) {
  for (const std::int32_t size : {65536, 46341, INT_MAX}) {
    ASSERT_EQ(1, Open(HdfBuilder().Claim(size, size)));
    ExpectSize(2592, 2796);
  }
}

TEST_F(ZRMBandHDF4Files, NegativeDimensionsGiveTheFixedSize) {
  for (const auto& [width, height] : {std::pair(-7, 5), std::pair(7, -5), std::pair(-7, -5)}) {
    ASSERT_EQ(1, Open(HdfBuilder().Claim(width, height)));
    ExpectSize(2592, 2796);
  }
}

TEST_F(ZRMBandHDF4Files, NoDimensionsGiveTheFixedSize) {
  ASSERT_EQ(1, Open(HdfBuilder().Without(HdfBuilder::kDimensions)));
  ExpectSize(2592, 2796);
}

TEST_F(ZRMBandHDF4Files, NoPixelsAreAnEmptyImage) {
  ASSERT_EQ(1, Open(HdfBuilder().Claim(0, 5)));
  ExpectSize(0, 5);
  EXPECT_TRUE(Read(0, 0, 0, 0).empty());
  EXPECT_EQ(0, band_.CalcStatistics(1));
}

TEST_F(ZRMBandHDF4Files, ReadsAnImageOfTheFixedSizeThatIsAllThere) {
  ASSERT_EQ(1, OpenExtended(HdfBuilder().Without(HdfBuilder::kDimensions).RasterAt(308), 308 + 2592 * 2796));
  EXPECT_EQ(PixelsOf(0, 6, 0, 0), Read(0, 6, 0, 0));
  EXPECT_EQ(Bytes(2592, 0), Read(0, 2591, 2795, 2795));
}

/// Bytes with zeros behind them.
Bytes Padded(Bytes bytes, std::size_t size) {
  bytes.resize(size);
  return bytes;
}

TEST_F(ZRMBandHDF4Files, PixelsThatTheFileDoesNotHaveAreZero) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5).Without(HdfBuilder::kDimensions)));
  const Bytes row = Read(0, 34, 0, 0);  // the 35 bytes of the raster
  EXPECT_EQ(PixelsOf(0, 6, 0, 4), row);
  EXPECT_EQ(Padded(row, 37), Read(0, 36, 0, 0));
  EXPECT_EQ((Bytes{row[0], 0}), Read(0, 0, 0, 1));
  EXPECT_EQ(Padded(row, 2592 * 2796), Read(0, 2591, 0, 2795));
  EXPECT_EQ(1, band_.CalcStatistics(1));
}

TEST_F(ZRMBandHDF4Files, ARasterThatTheFileCutsShortIsZeroBehindIt) {
  Bytes bytes = HdfBuilder().Size(7, 5).Build();
  bytes.pop_back();
  ASSERT_EQ(1, Open(bytes));
  ExpectSize(7, 5);
  EXPECT_EQ(PixelsOf(0, 6, 0, 3), Read(0, 6, 0, 3));
  EXPECT_EQ(PixelsOf(0, 5, 4, 4), Read(0, 5, 4, 4));
  EXPECT_EQ(Bytes{0}, Read(6, 6, 4, 4));
  EXPECT_EQ(Padded(PixelsOf(0, 5, 4, 4), 7), Read(0, 6, 4, 4));
}

TEST_F(ZRMBandHDF4Files, ARasterBeyondTheFileIsReadFromTheFixedPlace) {
  const HdfBuilder builder = HdfBuilder().Size(7, 5).RasterAt(308);
  const auto numBytes = static_cast<std::uint32_t>(builder.Build().size());
  for (const std::uint32_t place : {numBytes + 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    ASSERT_EQ(1, Open(HdfBuilder(builder).ClaimRasterAt(place)));
    EXPECT_EQ(PixelsOf(0, 6, 0, 4), Read(0, 6, 0, 4)) << place;
  }
}

TEST_F(ZRMBandHDF4Files, ARasterAtTheVeryEndIsZero) {
  const HdfBuilder builder = HdfBuilder().Size(7, 5).RasterAt(308);
  ASSERT_EQ(1, Open(HdfBuilder(builder).ClaimRasterAt(static_cast<std::uint32_t>(builder.Build().size()))));
  ExpectSize(7, 5);
  EXPECT_EQ(Bytes(35), Read(0, 6, 0, 4));
}

TEST_F(ZRMBandHDF4Files, ARasterWithinTheMagicIsReadFromTheFixedPlace) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5).RasterAt(308).ClaimRasterAt(3)));
  EXPECT_EQ(PixelsOf(0, 6, 0, 4), Read(0, 6, 0, 4));
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5).RasterAt(308).ClaimRasterAt(4)));
  EXPECT_EQ((Bytes{0, 5, 0, 0, 0, 0, 0}), Read(0, 6, 0, 0));  // the head of the first block
}

TEST_F(ZRMBandHDF4Files, NoRasterIsReadFromTheFixedPlace) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5).Without(HdfBuilder::kRaster).RasterAt(308)));
  EXPECT_EQ(PixelsOf(0, 6, 0, 4), Read(0, 6, 0, 4));
}

TEST_F(ZRMBandHDF4Files, TheFixedPlaceMayLieBeyondTheFile) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5).Without(HdfBuilder::kRaster)));
  ExpectSize(7, 5);
  EXPECT_EQ(Bytes(35), Read(0, 6, 0, 4));
}

TEST_F(ZRMBandHDF4Files, RefusesAChainThatComesBackToItself) {
  ExpectRefused(HdfBuilder().LastLeadsTo(4).Build());
  ExpectRefused(HdfBuilder().BlockSize(1).LastLeadsTo(4).Build());
  ExpectRefused(HdfBuilder().BlockSize(1).LastLeadsTo(4 + 18).Build());
}

TEST_F(ZRMBandHDF4Files, RefusesABlockBeyondTheFile) {
  const auto numBytes = static_cast<std::uint32_t>(HdfBuilder().Build().size());
  for (const std::uint32_t place : {numBytes - 5, numBytes, numBytes + 100, 0x80000000u, 0xFFFFFFFFu}) {
    ExpectRefused(HdfBuilder().LastLeadsTo(place).Build());
  }
}

TEST_F(ZRMBandHDF4Files, RefusesMoreDescriptorsThanTheFileHolds) {
  Bytes bytes = HdfBuilder().Build();
  bytes[InBlock(0)] = 0xFF;
  ExpectRefused(bytes);
  ExpectRefused({0x0E, 0x03, 0x13, 0x01});
  ExpectRefused({0x0E, 0x03, 0x13, 0x01, 0, 1, 0, 0, 0, 0});
}

TEST_F(ZRMBandHDF4Files, RefusesRecordsBeyondTheFile) {
  const auto numBytes = static_cast<std::uint32_t>(HdfBuilder().Also(0, 0).Build().size());
  ASSERT_EQ(1, Open(HdfBuilder().Also(HdfBuilder::kDimensions, numBytes - 8)));
  for (const std::uint32_t place : {numBytes - 7, numBytes, 0xFFFFFFFFu}) {
    ExpectRefused(HdfBuilder().Also(HdfBuilder::kDimensions, place).Build());
  }
  ExpectRefused(HdfBuilder().Also(HdfBuilder::kNumberType, numBytes - 1).Build());
}

/// A chain of blocks without descriptors, each of which names the one behind it.
Bytes BuildEmptyBlocks(std::size_t count) {
  Bytes bytes = {0x0E, 0x03, 0x13, 0x01};
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t next = i + 1 < count ? bytes.size() + 6 : 0;
    bytes.insert(bytes.end(), {0, 0});
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<unsigned char>(next >> shift));
  }
  return bytes;
}

TEST_F(ZRMBandHDF4Files, RefusesMoreBlocksThanAnyFileHas) {
  EXPECT_EQ(1, Open(BuildEmptyBlocks(65536)));
  ExpectRefused(BuildEmptyBlocks(65537));
}

/// Blocks of 32,768 descriptors, all of them empty places.
Bytes BuildFullBlocks(std::size_t count) {
  Bytes bytes = {0x0E, 0x03, 0x13, 0x01};
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t next = i + 1 < count ? bytes.size() + 6 + 32768 * 12 : 0;
    bytes.insert(bytes.end(), {0x80, 0});
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<unsigned char>(next >> shift));
    for (int k = 0; k < 32768; ++k) bytes.insert(bytes.end(), {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  }
  return bytes;
}

TEST_F(ZRMBandHDF4Files, RefusesMoreDescriptorsThanAnyFileHas) {
  EXPECT_EQ(1, Open(BuildFullBlocks(32)));
  ExpectRefused(BuildFullBlocks(33));
}

TEST_F(ZRMBandHDF4Files, RefusesMorePixelsThanTheLimit) {
  const tagXLimits before = XfnGetLimits();
  tagXLimits limits = before;
  limits.imagePixels = 34;
  XfnSetLimits(limits);
  ExpectRefused(HdfBuilder().Size(7, 5).Build());
  XfnSetLimits(before);
}

TEST_F(ZRMBandHDF4Files, SaysThatMemoryRanOut) {
  if (IsSanitized()) GTEST_SKIP() << "a sanitizer ends the program where memory runs out";
  rlimit before{};
  getrlimit(RLIMIT_AS, &before);
  const rlimit small{rlim_t{8} << 30, before.rlim_max};
  setrlimit(RLIMIT_AS, &small);
  const int isOpen = OpenExtended(HdfBuilder().Claim(1 << 17, 1 << 17), std::int64_t{1} << 35);
  setrlimit(RLIMIT_AS, &before);
  EXPECT_EQ(0, isOpen);
  EXPECT_EQ("Fail to allocate memory", err_.AsStdString());
  EXPECT_TRUE(Read(0, 0, 0, 0).empty());
}

TEST_F(ZRMBandHDF4Files, FailsWhereverTheDiskDoes) {
  const std::string path = Write(HdfBuilder().Size(7, 5).Build());
  int numFailed = 0;
  for (int nth = 1; nth < 100; ++nth) {
    FaultyDisk disk;
    disk.FailRead(nth);
    const zrk::ScopedDisk scoped(disk);
    if (band_.ReadFile(path, err_, nullptr)) break;
    EXPECT_EQ("Can't open file : " + path, err_.AsStdString());
    EXPECT_TRUE(Read(0, 0, 0, 0).empty());
    ++numFailed;
  }
  EXPECT_EQ(6, numFailed);  // magic, block, descriptors, number type, dimensions, raster
  EXPECT_EQ(PixelsOf(0, 6, 0, 4), Read(0, 6, 0, 4));
}

TEST_F(ZRMBandHDF4Files, AnotherFileTakesThePlaceOfTheFirst) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(70, 50)));
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5)));
  ExpectSize(7, 5);
  EXPECT_EQ(PixelsOf(0, 6, 0, 4), Read(0, 6, 0, 4));
  ExpectRefused({});
}

TEST_F(ZRMBandHDF4Files, OpenAloneTellsTheSizeAndHasNoPixels) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(70, 50)));
  ASSERT_EQ(1, band_.Open(Write(HdfBuilder().Size(7, 5).Build())));
  ExpectSize(7, 5);
  EXPECT_TRUE(Read(0, 0, 0, 0).empty());
}

TEST_F(ZRMBandHDF4Files, TakesLevelsForATargetFromTilesOfAFixedSize) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(600, 400)));
  EXPECT_EQ(2, band_.GetLevel());
  EXPECT_EQ(2, band_.GetHighestLevelForTarget(0, 599, 0, 399, 150, 100));
  EXPECT_EQ(1, band_.GetHighestLevelForTarget(0, 599, 0, 399, 151, 100));
  EXPECT_EQ(0, band_.GetHighestLevelForTarget(0, 599, 0, 399, 600, 400));
}

TEST_F(ZRMBandHDF4Files, CountsAllPixelsIntoStatistics) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(3, 2)));
  ASSERT_EQ(1, band_.CalcStatistics(0));  // 1, 4, 7 and 8, 12, 16
  EXPECT_EQ(1.0, band_.GetBandMin());
  EXPECT_EQ(16.0, band_.GetBandMax());
  EXPECT_EQ(8.0, band_.GetBandMean());
}

TEST_F(ZRMBandHDF4Files, KeepsAResultUntilItIsAskedToFreeIt) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(7, 5)));
  tagXArr2* out = nullptr;
  ASSERT_EQ(1, band_.ReadSubset(out, 0, 0, 6, 0, 4, nullptr));
  band_.CleanupMemory(0, 1);
  EXPECT_EQ(HdfBuilder::Pixel(6, 4), out->data[34]);
  band_.CleanupMemory(1, 1);
  EXPECT_EQ(PixelsOf(1, 2, 1, 2), Read(1, 2, 1, 2));
}

TEST_F(ZRMBandHDF4Files, IsTheOnlyBandOfItsFile) {
  folder_.Write("a.hdf", HdfBuilder().Size(7, 5).Build());
  XRSFile file;
  ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatHDF4, folder_.Path("a.hdf"), err_, 1, kLevelNone, nullptr));
  ASSERT_EQ(1, file.GetNumOfBands());
  EXPECT_EQ("a.hdf : Channel 1", file.GetBandAt(0)->GetBandName().AsStdString());
  EXPECT_EQ(folder_.Path("a.hdf"), file.GetFilePath().AsStdString());
  EXPECT_NE(nullptr, dynamic_cast<ZRMBandHDF4*>(file.GetBandAt(0)));
  EXPECT_EQ(1.0, file.GetBandAt(0)->GetBandMin());
}

TEST_F(ZRMBandHDF4Files, ReadsPastItsLevelData) {
  const XString path = Write(HdfBuilder().Size(600, 400).Build());
  XRSFile file;
  ASSERT_EQ(1, XRSFileIO::LoadFileHDF4(&file, path, err_, 0, kLevelBuild, nullptr)) << err_;
  auto& band = dynamic_cast<ZRMBandHDF4&>(*file.GetBandAt(0));
  ASSERT_NE(nullptr, band.GetBandXLD());
  tagXArr2* out = nullptr;
  ASSERT_EQ(1, band.ReadSubset(out, 1, 0, 599, 0, 399, nullptr));
  EXPECT_EQ(600, out->xSize);
  EXPECT_EQ(HdfBuilder::Pixel(599, 399), out->data[600 * 400 - 1]);
}

TEST_F(ZRMBandHDF4Files, AFailedLoadAddsNoBand) {
  XRSFile file;
  EXPECT_EQ(0, XRSFileIO::LoadFileHDF4(&file, Write({1, 2, 3}), err_, 0, kLevelNone, nullptr));
  EXPECT_EQ(0, file.GetNumOfBands());
}

using ZRMBandHDF4Threads = ZRMBandHDF4Files;

TEST_F(ZRMBandHDF4Threads, ReadTheirOwnWindows) {
  ASSERT_EQ(1, Open(HdfBuilder().Size(200, 150)));
  std::atomic<int> numDifferent = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int k = 0; k < 60; ++k) {
        const int x = (k * 13 + t * 29) % 100, y = (k * 7 + t * 11) % 75;
        if (Read(x, x + 99, y, y + 74) != PixelsOf(x, x + 99, y, y + 74)) ++numDifferent;
      }
      band_.CleanupMemory(1, 1);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numDifferent);
}

}  // namespace
