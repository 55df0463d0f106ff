// Many threads at once on the bands of one TIFF file get what one thread gets.

#include "TiffChannels.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace {

constexpr int kNumThreads = 6;
constexpr int kNumReads = 36;

class ZRMBandGTIFFThreads : public TiffFiles {
 protected:
  using Samples = ReferenceTiff::Samples;
  using Reader = std::function<Samples(int channel, int level, int x0, int x1, int y0, int y1)>;

  void ExpectSameFromThreads(const TiffBuilder& file, const TiffBuilder::Bytes& bytes) {
    ExpectFromThreads(bytes, [&](int c, int level, int x0, int x1, int y0, int y1) {
      return ReferenceTiff(file, c).Read(level, x0, x1, y0, y1);
    });
  }
  /// What the threads get of a file is what one thread got of it before.
  void ExpectFromThreadsAsFromOne(const TiffBuilder::Bytes& bytes) {
    TiffChannels alone(Write(bytes));
    std::mutex mutex;
    ExpectFromThreads(bytes, [&](int c, int level, int x0, int x1, int y0, int y1) {
      const std::lock_guard lock(mutex);
      return alone.Read(c, level, x0, x1, y0, y1);
    });
  }

  void ExpectFromThreads(const TiffBuilder::Bytes& bytes, const Reader& read) {
    TiffChannels image(Write(bytes));
    ASSERT_TRUE(image.IsOpen()) << image.GetError();
    const int numChannels = image.GetNumChannels();
    std::atomic<int> numDifferent = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kNumThreads; ++t) {
      threads.emplace_back([&, t] {
        for (int i = 0; i < kNumReads; ++i) {
          const int n = i + 5 * t, x = n * 7 % 50, y = n * 11 % 40, level = n % 3, c = n % numChannels;
          const Samples expected = read(c, level, x, x + 39, y, y + 31);
          if (expected.empty() || image.Read(c, level, x, x + 39, y, y + 31) != expected) ++numDifferent;
          if (i % 10 == 9) image.At(c).CleanupMemory(1, 1);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, numDifferent);
  }
};

TEST_F(ZRMBandGTIFFThreads, ReadInterleavedLzwTilesAlike) {
  const auto file = TiffBuilder().Size(90, 72).Tiles(16, 16).Samples(3).Compression(5);
  ExpectSameFromThreads(file, file.Encode());
}

TEST_F(ZRMBandGTIFFThreads, ReadPlainStripsAlike) {
  const auto file = TiffBuilder().Size(90, 72).Strips(7).Samples(3).Bits(16).BigEndian();
  ExpectSameFromThreads(file, file.Build());
}

TEST_F(ZRMBandGTIFFThreads, ReadPackedPlanesAlike) {
  const auto file = TiffBuilder().Size(90, 72).Tiles(16, 16).Samples(2).Planar().Bits(12);
  ExpectSameFromThreads(file, file.Build());
}

TEST_F(ZRMBandGTIFFThreads, ReadColoursAlike) {
  const auto file = TiffBuilder().Size(90, 72).Samples(3);
  ExpectFromThreadsAsFromOne(TiffBuilder(file).Tiles(16, 16).Photometric(6).Compression(7).Encode());
  ExpectFromThreadsAsFromOne(TiffBuilder(file).Tiles(16, 16).Photometric(8).Build());
  ExpectFromThreadsAsFromOne(TiffBuilder(file).Strips(9).Photometric(6).Compression(5).Tag(530, 3, {1, 1}).Encode());
}

TEST_F(ZRMBandGTIFFThreads, ReadPalettesAndTallBitmapsAlike) {
  std::vector<std::uint16_t> map(3 * 256);
  for (std::size_t i = 0; i < map.size(); ++i) map[i] = static_cast<std::uint16_t>(977 * i);
  ExpectFromThreadsAsFromOne(TiffBuilder().Size(90, 72).Tiles(16, 16).Photometric(3).ColourMap(map).Build());
  ExpectFromThreadsAsFromOne(TiffBuilder().Size(90, 2001).Bits(1).Strips(2001).Photometric(0).Build());
}

TEST_F(ZRMBandGTIFFThreads, HaveResultsAndBlocksOfTheirOwn) {
  const auto file = TiffBuilder().Size(90, 72).Tiles(16, 16);
  TiffChannels image(Write(file));
  tagXArr2* mine = nullptr;
  ASSERT_EQ(1, image.GetMaster().ReadSubset(mine, 0, 0, 9, 0, 9, nullptr));
  int reserved = 0, size = 0;
  const auto* block = static_cast<const unsigned char*>(image.GetMaster().LoadBlockBuf(0, reserved, size));
  ASSERT_NE(nullptr, block);
  std::thread([&] {
    tagXArr2* other = nullptr;
    EXPECT_EQ(1, image.GetMaster().ReadSubset(other, 0, 50, 59, 50, 59, nullptr));
    EXPECT_NE(mine, other);
    EXPECT_NE(block, image.GetMaster().LoadBlockBuf(7, reserved, size));
  }).join();
  EXPECT_EQ(file.ValueAt(3, 2, 0), mine->Row(2)[3]);
  EXPECT_EQ(file.ValueAt(3, 2, 0), block[2 * 16 + 3]);
}

}  // namespace
