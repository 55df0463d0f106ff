// Reads of compressed files while decoded blocks are kept.

#include "base/BlockCache.h"
#include "FaultyDisk.h"
#include "TiffChannels.h"
#include "XBlockCache.h"
#include "XJointReader.h"
#include "XReadPolicy.h"

#include <tiff.h>
#include <array>
#include <thread>

namespace {

using Samples = ReferenceTiff::Samples;

/// The cache is on for the time of a test.
class TiffBlockCache : public TiffFiles {
 protected:
  TiffBlockCache() { XfnSetBlockCacheBytes(1 << 20); }
  ~TiffBlockCache() override { XfnSetBlockCacheBytes(0); }

  /// Everything of all channels, at level 0 and 1 and in a part, twice over.
  static std::vector<Samples> ReadMuch(const std::string& path, XReadPolicy policy) {
    TiffChannels image(path, policy);
    EXPECT_TRUE(image.IsOpen()) << image.GetError();
    const int right = image.GetMaster().GetXSize() - 1, bottom = image.GetMaster().GetYSize() - 1;
    std::vector<Samples> all;
    for (int i = 0; i < 2 * image.GetNumChannels(); ++i) {
      const int c = i % image.GetNumChannels();
      all.push_back(image.ReadAll(c));
      all.push_back(image.Read(c, 1, 3, right, 5, bottom));
      all.push_back(image.Read(c, 0, 17, 40, 9, 30));
    }
    return all;
  }

  void ExpectTheSame(const TiffBuilder& file, const std::string& what) {
    const std::string path = Write(BytesOf(file));
    for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
      XfnSetBlockCacheBytes(0);
      const std::vector<Samples> without = ReadMuch(path, policy);
      for (const int numBytes : {1 << 20, 6000}) {
        XfnSetBlockCacheBytes(numBytes);
        EXPECT_EQ(without, ReadMuch(path, policy)) << what << ", " << numBytes << " bytes";
      }
    }
  }
};

TiffBuilder Compressed(int compression) {
  return TiffBuilder().Size(90, 70).Samples(3).Photometric(PHOTOMETRIC_RGB).Compression(compression);
}

/// Disk reads while all channels of a window are read, one after the other.
int CountReadsOf(TiffChannels& image, const FaultyDisk& disk) {
  const int before = disk.GetReadCount();
  for (int c = 0; c < 3; ++c) EXPECT_FALSE(image.Read(c, 0, 10, 60, 10, 40).empty());
  return disk.GetReadCount() - before;
}

TEST_F(TiffBlockCache, DecodesEachBlockOnceForAllBands) {
  const std::string path = Write(Compressed(COMPRESSION_LZW).Tiles(32, 32).Encode());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  TiffChannels image(path);
  // A window over columns 10 to 60 and rows 10 to 40 meets two tiles each way. libtiff reads a tile's bytes at once.
  image.Read(0, 0, 70, 80, 60, 65);
  EXPECT_EQ(4, CountReadsOf(image, disk));
  EXPECT_EQ(0, CountReadsOf(image, disk));
  XfnSetBlockCacheBytes(0);
  EXPECT_EQ(3 * 4, CountReadsOf(image, disk)) << "without the cache each band decodes for itself";
}

TEST_F(TiffBlockCache, DecodesEachBlockOnceForExactReads) {
  const std::string path = Write(Compressed(COMPRESSION_ADOBE_DEFLATE).Tiles(32, 32).Encode());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  TiffChannels image(path, kReadExact);
  image.Read(0, 0, 70, 80, 60, 65);
  EXPECT_EQ(4, CountReadsOf(image, disk));
}

TEST_F(TiffBlockCache, ServesReadsOfAllBandsTogether) {
  const std::string path = Write(Compressed(COMPRESSION_LZW).Tiles(32, 32).Encode());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  TiffChannels image(path);
  const Samples expected = image.ReadAll(1);
  const int before = disk.GetReadCount();
  std::array<ZRMBand*, 3> bands = {&image.At(0), &image.At(1), &image.At(2)};
  std::array<tagXArr2*, 3> out{};
  ASSERT_TRUE(XfnReadBands(bands, 0, 89, 0, 69, nullptr, out));
  EXPECT_EQ(before, disk.GetReadCount());
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out[1]->data));
}

TEST_F(TiffBlockCache, GivesTheSamplesThatAreGivenWithoutIt) {
  for (const int compression : {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
    const std::string what = "compression " + std::to_string(compression);
    ExpectTheSame(Compressed(compression).Tiles(32, 16), what + ", tiles");
    ExpectTheSame(Compressed(compression).Strips(9), what + ", strips");
    ExpectTheSame(Compressed(compression).Strips(9).Planar(), what + ", planar");
    ExpectTheSame(Compressed(compression).Tiles(32, 16).Bits(16).BigEndian(), what + ", words turned around");
    ExpectTheSame(Compressed(compression).Strips(7).Bits(12), what + ", 12 bits");
    ExpectTheSame(Compressed(compression).Strips(7).Bits(32).Format(SAMPLEFORMAT_IEEEFP), what + ", reals");
  }
}

TEST_F(TiffBlockCache, GivesTheColoursThatAreGivenWithoutIt) {
  ExpectTheSame(Compressed(COMPRESSION_JPEG).Photometric(PHOTOMETRIC_YCBCR).Tiles(32, 32), "JPEG");
  ExpectTheSame(Compressed(COMPRESSION_LZW).Photometric(PHOTOMETRIC_CIELAB).Tiles(32, 32), "CIELab tiles");
  ExpectTheSame(Compressed(COMPRESSION_LZW).Photometric(PHOTOMETRIC_CIELAB).Strips(9), "CIELab strips");
}

TEST_F(TiffBlockCache, DoesNotKeepWhatCanNotBeDecoded) {
  const std::string path = Write(Compressed(COMPRESSION_LZW).Tiles(32, 32).Block(0, {0x80, 0x7f, 0xff, 0xff}).Encode());
  TiffChannels image(path, kReadExact);
  ASSERT_TRUE(image.IsOpen()) << image.GetError();
  EXPECT_TRUE(image.Read(0, 0, 0, 20, 0, 20).empty());
  EXPECT_EQ(0, zrk::BlockCache::OfProcess().CountBytes());
  EXPECT_TRUE(image.Read(1, 0, 0, 20, 0, 20).empty()) << "the next read hears of the damage too";
}

TEST_F(TiffBlockCache, DecodesAgainWhatTheDiskDidNotGive) {
  const std::string path = Write(Compressed(COMPRESSION_LZW).Tiles(32, 32).Encode());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  TiffChannels image(path, kReadExact);
  const Samples expected = image.Read(0, 0, 40, 60, 40, 60);
  disk.FailRead(disk.GetReadCount() + 1);
  EXPECT_TRUE(image.Read(0, 0, 0, 20, 0, 20).empty());
  EXPECT_EQ(21u * 21u, image.Read(0, 0, 0, 20, 0, 20).size());
  EXPECT_EQ(expected, image.Read(0, 0, 40, 60, 40, 60));
}

TEST_F(TiffBlockCache, IsEmptiedOfAFileThatCloses) {
  const std::string path = Write(Compressed(COMPRESSION_LZW).Tiles(32, 32).Encode());
  {
    TiffChannels image(path);
    image.ReadAll(0);
    EXPECT_GT(zrk::BlockCache::OfProcess().CountBytes(), 3 * 90 * 70);
  }
  EXPECT_EQ(0, zrk::BlockCache::OfProcess().CountBytes());
}

TEST_F(TiffBlockCache, TakesNothingForPlainFiles) {
  TiffChannels image(Write(Compressed(COMPRESSION_NONE).Tiles(32, 32).Build()));
  image.ReadAll(0);
  int reserved = 0, size = 0;
  EXPECT_NE(nullptr, image.GetMaster().LoadBlockBuf(0, reserved, size));
  EXPECT_EQ(0, zrk::BlockCache::OfProcess().CountBytes());
}

TEST_F(TiffBlockCache, LeavesSingleBlocksAsLibtiffPacksThem) {
  const std::string path = Write(Compressed(COMPRESSION_LZW).Tiles(32, 32).Encode());
  TiffChannels image(path);
  image.ReadAll(0);
  int reserved = 0, size = 0;
  const auto* const bytes = static_cast<const unsigned char*>(image.GetMaster().LoadBlockBuf(0, reserved, size));
  ASSERT_EQ(32 * 32 * 3, size);
  for (int x = 0; x < 32; ++x) {
    for (int c = 0; c < 3; ++c) EXPECT_EQ(TiffBuilder::AnyPixel(x, 0, c) & 0xff, bytes[3 * x + c]);
  }
}

using TiffBlockCacheThreads = TiffBlockCache;

TEST_F(TiffBlockCacheThreads, GetTheSamplesOfTheirWindows) {
  const std::string path = Write(Compressed(COMPRESSION_LZW).Tiles(16, 16).Encode());
  // There is room for few of the 30 blocks, so that they come and go all the time.
  XfnSetBlockCacheBytes(8 * zrk::BlockCache::Measure(16 * 16 * 3));
  TiffChannels image(path);
  const std::array expected = {image.ReadAll(0), image.ReadAll(1), image.ReadAll(2)};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 30; ++i) EXPECT_EQ(expected[std::size_t(t + i) % 3], image.ReadAll((t + i) % 3));
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
