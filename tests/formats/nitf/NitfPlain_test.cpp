// Plain blocks of NITF files, which are copied straight out of the file. Pixels are worked out by the builder's
// formula.

#include "bands/nitf/NitfFile.h"
#include "FaultyDisk.h"
#include "JpegBuilder.h"
#include "NitfBuilder.h"
#include "OpenRaster.h"
#include "Oracle.h"
#include "WithoutMaps.h"
#include "XFormatId.h"
#include "ZRMBandNITF.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <utility>

namespace {

class PlainNitf : public OpenRaster<ZRMBandNITF> {
 public:
  explicit PlainNitf(const NitfBuilder& builder, XReadPolicy policy = kReadExact)
      : OpenRaster(builder.Build(), "a.ntf", kFormatNITFIMG, policy) {}
};

/// The pixels of a window as the formula has them.
template <class Sample>
std::vector<unsigned char> NitfPixelsOf(int level, const Window& window, int band) {
  const int step = 1 << level;
  const int width = (window.x1 - window.x0 + 1) >> level, height = (window.y1 - window.y0 + 1) >> level;
  std::vector<Sample> samples;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      samples.push_back(static_cast<Sample>(NitfBuilder::Value(window.x0 + x * step, window.y0 + y * step, band)));
    }
  }
  std::vector<unsigned char> bytes(samples.size() * sizeof(Sample));
  std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

/// Reads windows at some levels from images with each order of bands.
template <class Sample>
void CompareOrders(const char* kind) {
  for (const char mode : {'B', 'P', 'R', 'S'}) {
    PlainNitf file(
        NitfBuilder().Size(90, 70).Bands(3).Type(kind, 8 * static_cast<int>(sizeof(Sample))).Blocks(32, 16).Mode(mode));
    ASSERT_TRUE(file.IsOpen()) << mode << file.Error();
    for (int level = 0; level < 4; ++level) {
      for (const Window& window : {Window{0, 89, 0, 69}, Window{30, 81, 22, 69}, Window{5, 60, 17, 40}}) {
        EXPECT_EQ(NitfPixelsOf<Sample>(level, window, 2), file.Read(level, window, 2).bytes) << mode << kind << level;
      }
    }
  }
}

void CompareAll() {
  CompareOrders<std::uint8_t>("INT");
  CompareOrders<std::int16_t>("SI");
  CompareOrders<std::uint32_t>("INT");
  CompareOrders<float>("R");
  CompareOrders<double>("R");
}

/// The bytes that a window of a file costs, once one has been read before.
std::int64_t CountBytesOf(const NitfBuilder& builder, int level, const Window& window) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  PlainNitf file(builder);
  EXPECT_EQ("", file.Failure(0, {0, 0, 0, 0}));
  const std::int64_t before = disk.GetBytesRead();
  EXPECT_EQ("", file.Failure(level, window));
  return disk.GetBytesRead() - before;
}

/// Pictures of one size one behind the other, as the blocks of an image have them.
NitfBuilder::Bytes JpegBlocks(int count) {
  NitfBuilder::Bytes all;
  for (int i = 0; i < count; ++i) {
    const std::vector<unsigned char> one = JpegBuilder().Size(32, 24).Grey().Quality(60 + 10 * i).Build();
    all.insert(all.end(), one.begin(), one.end());
  }
  return all;
}

NitfBuilder OfJpegBlocks(const NitfBuilder::Bytes& blocks) {
  return NitfBuilder().Size(60, 40).Blocks(32, 24).Coded("C3", blocks);
}

/// The pixels of the image as GDAL has them.
std::vector<unsigned char> PixelsByGdal(const NitfBuilder& builder) {
  const TempFolder folder;
  folder.Write("a.ntf", builder.Build());
  return ReadStoredWithGdal(folder.Path("a.ntf")).planes.at(0).bytes;
}

}  // namespace

TEST(NitfPlain, ReadsEveryOrderOfBandsAndKindOfSamplesOutOfAMapping) {
  CompareAll();
}

TEST(NitfPlain, ReadsEveryOrderOfBandsAndKindOfSamplesByPositionalReads) {
  const WithoutMaps off;
  CompareAll();
}

TEST(NitfPlain, ReadsLargeWindowsOfSmallBlocksAndOfLargeOnes) {
  for (const auto& [side, mode] : {std::pair(64, 'B'), std::pair(256, 'P'), std::pair(0, 'B')}) {
    PlainNitf file(NitfBuilder().Size(1100, 1000).Bands(2).Blocks(side, side).Mode(mode));
    const Window window = {7, 1099, 3, 999};
    EXPECT_TRUE(NitfPixelsOf<std::uint8_t>(0, window, 1) == file.Read(0, window, 1).bytes) << side << mode;
  }
}

TEST(NitfPlain, AFewRowsOfABlockCostTheirBytesAlone) {
  const WithoutMaps off;
  EXPECT_GE(600, CountBytesOf(NitfBuilder().Size(600, 400).Blocks(200, 200), 0, {0, 599, 10, 10}));
  EXPECT_GE(5000, CountBytesOf(NitfBuilder().Size(600, 400).Blocks(200, 200), 6, {0, 599, 0, 399}));
}

TEST(NitfPlain, ACompatibleReadGivesTheSamePixels) {
  PlainNitf file(NitfBuilder().Size(90, 70).Type("INT", 16).Blocks(32, 32), kReadCompatible);
  const Window window = {3, 80, 5, 66};
  EXPECT_EQ(NitfPixelsOf<std::uint16_t>(0, window, 0), file.Read(0, window).bytes);
  EXPECT_EQ(NitfPixelsOf<std::uint16_t>(2, window, 0), file.Read(2, window).bytes);
}

TEST(NitfPlain, ABlockThatIsCutBehindTheRowsOfAWindowFailsNevertheless) {
  const NitfBuilder builder = NitfBuilder().Size(90, 70).Blocks(32, 32);
  NitfBuilder::Bytes bytes = builder.Build();
  bytes.resize(bytes.size() - 1);
  OpenRaster<ZRMBandNITF> file(bytes, "a.ntf", kFormatNITFIMG, kReadExact);
  EXPECT_EQ("", file.Failure(0, {0, 63, 64, 64}));
  EXPECT_EQ("The block at column 2 and row 2 of blocks can't be read", file.Failure(0, {64, 70, 64, 64}).substr(0, 55));
}

TEST(NitfPlain, LeavesImagesToGdalThatAreNotPlain) {
  const TempFolder folder;
  const auto isPlain = [&](const NitfBuilder& builder) {
    folder.Write("a.ntf", builder.Build());
    XString reason;
    const auto file = zrk::NitfFile::Open(folder.Path("a.ntf"), true, reason);
    EXPECT_TRUE(file) << reason.AsStdString();
    return file && file->FindPlain(0);
  };
  EXPECT_TRUE(isPlain(NitfBuilder().Size(90, 70).Blocks(32, 32)));
  EXPECT_FALSE(isPlain(NitfBuilder().Size(90, 70).Blocks(32, 32).WithoutBlock(4, 77)));
  EXPECT_FALSE(isPlain(NitfBuilder().Size(64, 48).Coded("C3", JpegBuilder().Size(64, 48).Grey().Build())));
  EXPECT_FALSE(isPlain(NitfBuilder().Size(8, 2).Type("INT", 12).Coded("NC", NitfBuilder::Bytes(24))));
  EXPECT_FALSE(isPlain(NitfBuilder().Size(64, 2).Type("B", 1).Coded("NC", NitfBuilder::Bytes(16))));
}

TEST(NitfJpeg, GivesThePixelsOfGdalWhateverTheWindow) {
  const NitfBuilder builder = OfJpegBlocks(JpegBlocks(4));
  const std::vector<unsigned char> expected = PixelsByGdal(builder);
  ASSERT_EQ(60u * 40u, expected.size());
  PlainNitf exact(builder), compatible(builder, kReadCompatible);
  EXPECT_EQ(expected, exact.Read(0, exact.Whole()).bytes);
  EXPECT_EQ(expected, compatible.Read(0, compatible.Whole()).bytes);
  const std::vector<unsigned char> corner = exact.Read(0, {50, 59, 30, 39}).bytes;
  EXPECT_EQ(expected.back(), corner.back());
  EXPECT_EQ(expected.at(30 * 60 + 50), corner.front());
}

TEST(NitfJpeg, ADamagedBlockIsLeftToGdalAndOthersAreNot) {
  NitfBuilder::Bytes blocks = JpegBlocks(4);
  // The end of the last block comes too early.
  blocks.at(blocks.size() - 60) = 0xFF;
  blocks.at(blocks.size() - 59) = 0xD9;
  const NitfBuilder builder = OfJpegBlocks(blocks);
  PlainNitf exact(builder), compatible(builder, kReadCompatible);
  EXPECT_EQ("", exact.Failure(0, {0, 31, 0, 39}));
  EXPECT_EQ("The block at column 1 and row 1 of blocks is damaged: ", exact.Failure(0, {40, 49, 30, 39}).substr(0, 54));
  EXPECT_EQ("", compatible.Failure(0, {40, 49, 30, 39}));
}

TEST(NitfJpeg, ABlockOfWhichTheDecoderWarnsIsLeftToGdal) {
  NitfBuilder::Bytes blocks = JpegBlocks(4);
  constexpr std::size_t kNumStray = 32;  // more than the decoder reads ahead
  blocks.insert(blocks.begin() + std::ssize(JpegBlocks(1)) - 2, kNumStray, 0x55);
  const TempFolder folder;
  folder.Write("a.ntf", OfJpegBlocks(blocks).Build());
  XString reason;
  const auto file = zrk::NitfFile::Open(folder.Path("a.ntf"), true, reason);
  ASSERT_TRUE(file && file->GetJpeg()) << reason.AsStdString();
  std::vector<unsigned char> block(32 * 24);
  EXPECT_FALSE(file->GetJpeg()->ReadBlock(0, block.data()));
  EXPECT_TRUE(file->GetJpeg()->ReadBlock(1, block.data()));
}

TEST(NitfJpeg, BlocksAreLeftToGdalWhereTheirNumberIsNotThatOfTheMarkers) {
  // A comment in the head of the second block has a marker in it that begins no block.
  NitfBuilder::Bytes blocks = JpegBlocks(2);
  const std::vector<unsigned char> comment = {0xFF, 0xFE, 0x00, 0x06, 0xFF, 0xD8, 0xFF, 0xFE};
  blocks.insert(blocks.begin() + std::ssize(JpegBlocks(1)) + 2, comment.begin(), comment.end());
  const TempFolder folder;
  folder.Write("a.ntf", NitfBuilder().Size(60, 20).Blocks(32, 24).Coded("C3", blocks).Build());
  XString reason;
  const auto file = zrk::NitfFile::Open(folder.Path("a.ntf"), true, reason);
  ASSERT_TRUE(file && file->GetJpeg()) << reason.AsStdString();
  std::vector<unsigned char> block(32 * 24);
  EXPECT_FALSE(file->GetJpeg()->ReadBlock(0, block.data()));
}

TEST(NitfJpeg, AnImageOfOneBlockOrOfColourIsReadByGdal) {
  const TempFolder folder;
  const auto hasJpeg = [&](const NitfBuilder& builder) {
    folder.Write("a.ntf", builder.Build());
    XString reason;
    const auto file = zrk::NitfFile::Open(folder.Path("a.ntf"), true, reason);
    return file && file->GetJpeg();
  };
  EXPECT_TRUE(hasJpeg(OfJpegBlocks(JpegBlocks(4))));
  EXPECT_FALSE(hasJpeg(NitfBuilder().Size(32, 24).Coded("C3", JpegBlocks(1))));
  const std::vector<unsigned char> colour = JpegBuilder().Size(32, 24).Build();
  EXPECT_FALSE(hasJpeg(NitfBuilder().Size(32, 48).Bands(3).Mode('P').Blocks(32, 24).Coded("C3", colour)));
}

TEST(NitfJpeg, ServesManyThreadsAtOnce) {
  PlainNitf file(OfJpegBlocks(JpegBlocks(4)));
  const Pixels expected = file.Read(0, file.Whole());
  PlainNitf other(OfJpegBlocks(JpegBlocks(4)));
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int repeat = 0; repeat < 5; ++repeat) EXPECT_EQ(expected, ReadPixels(other.BandAt(), 0, other.Whole()));
    });
  }
  for (std::thread& thread : threads) thread.join();
}
