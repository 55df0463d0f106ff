// Compressed blocks of HFA files. Blocks are put together here byte by byte, or by GDAL.

#include "bands/hfa/HfaRuns.h"
#include "bands/hfa/HfaFile.h"
#include "bands/hfa/HfaStoreReader.h"
#include "FaultyDisk.h"
#include "HfaBuilder.h"
#include "OpenRaster.h"
#include "Oracle.h"
#include "WithoutMaps.h"
#include "XFormatId.h"
#include "ZRMBandHFA.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>

namespace {

using RunBytes = std::vector<unsigned char>;

/// A block with its smallest value, number of runs, offset of values and bits of a value in front.
RunBytes RunBlock(std::uint32_t least, std::int32_t numRuns, std::uint32_t values, unsigned char bits,
                  const RunBytes& rest) {
  RunBytes block;
  for (const std::uint32_t number : {least, static_cast<std::uint32_t>(numRuns), values}) {
    for (int shift = 0; shift < 32; shift += 8) block.push_back(static_cast<unsigned char>(number >> shift));
  }
  block.push_back(bits);
  block.insert(block.end(), rest.begin(), rest.end());
  return block;
}

/// The samples of a block; none where it is refused.
template <class Sample>
std::vector<int> UnpackedRuns(const RunBytes& block, std::size_t numSamples) {
  std::vector<Sample> samples(numSamples);
  auto* const out = reinterpret_cast<unsigned char*>(samples.data());
  if (!zrk::UnpackHfaRuns(block, sizeof(Sample), std::ssize(samples), out)) return {};
  return {samples.begin(), samples.end()};
}

/// The pixels that GDAL reads of a file, beside ours in both policies.
void CompareWithGdal(const RunBytes& bytes) {
  OpenRaster<ZRMBandHFA> exact(bytes, "a.img", kFormatHFA, kReadExact), compatible(bytes, "a.img", kFormatHFA);
  const StoredImage image = ReadStoredWithGdal(exact.FilePath());
  ASSERT_TRUE(image.isOpen);
  for (std::size_t i = 0; i < image.planes.size(); ++i) {
    const int layer = static_cast<int>(i);
    EXPECT_TRUE(image.planes[i].bytes == exact.Read(0, exact.Whole(), layer).bytes) << i;
    EXPECT_TRUE(image.planes[i].bytes == compatible.Read(0, compatible.Whole(), layer).bytes) << i;
  }
}

}  // namespace

TEST(HfaRuns, RepeatValuesAndAddTheSmallest) {
  // Runs of 3, 1 and 2 samples with the values 1, 0 and 15 in 4 bits.
  const RunBytes block = RunBlock(100, 3, 16, 4, {3, 1, 2, 0x01, 0x0F});
  EXPECT_EQ((std::vector<int>{101, 101, 101, 100, 115, 115}), UnpackedRuns<std::uint8_t>(block, 6));
  EXPECT_EQ((std::vector<int>{101, 101, 101, 100, 115, 115}), UnpackedRuns<std::int16_t>(block, 6));
  EXPECT_EQ((std::vector<int>{101, 101, 101, 100, 115, 115}), UnpackedRuns<std::int32_t>(block, 6));
}

TEST(HfaRuns, HaveLengthsOfUpToFourBytes) {
  // 70, 300 and 66,000 samples: 0x46 needs a second byte, 0x12C too, 0x101D0 a third one.
  const RunBytes block = RunBlock(0, 3, 21, 8, {0x40, 70, 0x41, 0x2C, 0x81, 0x01, 0xD0, 0x00, 7, 8, 9});
  const std::vector<int> samples = UnpackedRuns<std::uint8_t>(block, 66370);
  ASSERT_EQ(66370u, samples.size());
  EXPECT_EQ(7, samples.at(69));
  EXPECT_EQ(8, samples.at(70));
  EXPECT_EQ(8, samples.at(369));
  EXPECT_EQ(9, samples.at(370));
  EXPECT_EQ(9, samples.back());
  EXPECT_EQ(5u, UnpackedRuns<std::uint8_t>(RunBlock(0, 1, 17, 0, {0xC0, 0, 0, 5}), 5).size());
}

TEST(HfaRuns, MayBeMissing) {
  EXPECT_EQ((std::vector<int>{5, 6, 6, 5, 5, 5, 5, 6, 6}),
            UnpackedRuns<std::uint8_t>(RunBlock(5, -1, 0, 1, {0b10000110, 0b1}), 9));
  EXPECT_EQ((std::vector<int>{4, 1, 2, 3}), UnpackedRuns<std::uint8_t>(RunBlock(1, -1, 0, 2, {0b10010011}), 4));
  EXPECT_EQ((std::vector<int>{0x1235, 0x0101}),
            UnpackedRuns<std::uint16_t>(RunBlock(1, -1, 0, 16, {0x12, 0x34, 0x01, 0x00}), 2));
  EXPECT_EQ((std::vector<int>{-2}), UnpackedRuns<std::int32_t>(RunBlock(0xFFFFFFFE, -1, 0, 32, {0, 0, 0, 0}), 1));
}

TEST(HfaRuns, ThatDoNotFillTheBlockAreRefused) {
  const RunBytes rest = {3, 1, 2, 0x01, 0x0F};
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBlock(100, 3, 16, 4, rest), 7).empty()) << "a sample too few";
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBlock(100, 3, 16, 4, rest), 5).empty()) << "a sample too many";
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBlock(100, 3, 17, 4, rest), 6).empty()) << "values behind the end";
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBlock(100, 3, 0xFFFFFFF0, 4, rest), 6).empty()) << "a negative offset";
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBlock(100, -2, 16, 4, rest), 6).empty()) << "a negative number";
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBlock(100, 3, 16, 3, rest), 6).empty()) << "bits that nobody writes";
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBlock(100, -1, 0, 32, rest), 6).empty()) << "too few values";
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBlock(0, 1, 14, 0, {0xC0, 0}), 1).empty()) << "a length that is cut";
  EXPECT_TRUE(UnpackedRuns<std::uint8_t>(RunBytes(12), 1).empty()) << "a head that is cut";
}

TEST(HfaRuns, GiveThePixelsOfGdalByPositionalReads) {
  const WithoutMaps off;
  CompareWithGdal(HfaBuilder().Size(200, 160).Layers(2).Option("COMPRESSED=YES").Build());
}

TEST(HfaRuns, GiveThePixelsOfGdal) {
  for (const GDALDataType type : {GDT_Byte, GDT_UInt16, GDT_Int16, GDT_UInt32, GDT_Int32, GDT_Float32, GDT_Float64}) {
    CompareWithGdal(HfaBuilder().Size(200, 160).Layers(2).Type(type).Option("COMPRESSED=YES").Build());
  }
  CompareWithGdal(HfaBuilder().Size(200, 160).Option("COMPRESSED=YES").Option("NBITS=4").Build());
}

TEST(HfaRuns, AreUnpackedWithoutGdalWhereTheFileIsCompressed) {
  const TempFolder folder;
  folder.Write("a.img", HfaBuilder().Size(200, 160).Option("COMPRESSED=YES").Build());
  XString reason;
  const auto file = zrk::HfaFile::Open(folder.Path("a.img"), true, reason);
  ASSERT_TRUE(file) << reason.AsStdString();
  const zrk::HfaStore* const store = file->FindStore(0);
  ASSERT_TRUE(store && !store->plain);
  RunBytes block(64 * 64);
  zrk::HfaStoreReader reader(*store, 0, 3);
  ASSERT_TRUE(reader.ReadBlock(1, 2, block.data()));
  EXPECT_EQ(HfaBuilder::Value(64 + 7, 128 + 5, 0), block.at(5 * 64 + 7));
  EXPECT_FALSE(reader.ReadBlock(0, 3, block.data())) << "there are three rows of blocks";
}

TEST(HfaRuns, ComeOutOfAMappingForSmallWindowsOnly) {
  const RunBytes bytes = HfaBuilder().Size(600, 500).Type(GDT_UInt32).Option("COMPRESSED=YES").Build();
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  OpenRaster<ZRMBandHFA> file(bytes, "a.img", kFormatHFA, kReadExact);
  EXPECT_EQ("", file.Failure(0, {0, 0, 0, 0}));
  const int before = disk.GetReadCount();
  EXPECT_EQ("", file.Failure(0, {0, 255, 0, 255}));
  EXPECT_EQ(before, disk.GetReadCount());
  // A file that is cut meanwhile raises a signal where a window comes out of a mapping, and so large ones do not.
  const Pixels pixels = file.Read(0, file.Whole());
  EXPECT_LE(before + 8, disk.GetReadCount());
  EXPECT_GE(before + 10 * 8, disk.GetReadCount()) << "each block once at most";
  ASSERT_EQ(600u * 500u * 4u, pixels.bytes.size());
  EXPECT_EQ(HfaBuilder::Value(599, 499, 0), pixels.bytes.at(pixels.bytes.size() - 4));
}

TEST(HfaRuns, OfADamagedBlockAreLeftToGdalWhichFailsTheRead) {
  RunBytes bytes = HfaBuilder().Size(200, 160).Option("COMPRESSED=YES").Build();
  const TempFolder folder;
  folder.Write("a.img", bytes);
  XString reason;
  const auto file = zrk::HfaFile::Open(folder.Path("a.img"), true, reason);
  ASSERT_TRUE(file && file->FindStore(0)) << reason.AsStdString();
  // The number of bits of a value is one that nobody writes.
  const zrk::HfaStoredBlock& block = file->FindStore(0)->blocks.at(2 * 4 + 1);
  ASSERT_TRUE(block.isCompressed);
  bytes.at(block.offset + 12) = 3;
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    OpenRaster<ZRMBandHFA> damaged(bytes, "a.img", kFormatHFA, policy);
    EXPECT_EQ("The block at column 1 and row 2 of blocks can't be read",
              damaged.Failure(0, {70, 79, 130, 139}).substr(0, 55));
    EXPECT_EQ("", damaged.Failure(0, {0, 63, 0, 159}));
  }
}

TEST(HfaRuns, ServeManyThreadsAtOnce) {
  OpenRaster<ZRMBandHFA> file(HfaBuilder().Size(200, 160).Option("COMPRESSED=YES").Build(), "a.img", kFormatHFA);
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      const Pixels pixels = ReadPixels(file.BandAt(), 0, {3, 190, 5, 150});
      EXPECT_EQ(HfaBuilder::Value(190, 150, 0), pixels.bytes.at(pixels.bytes.size() - 1));
    });
  }
  for (std::thread& thread : threads) thread.join();
}
