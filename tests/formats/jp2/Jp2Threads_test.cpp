#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "ThreadRuns.h"
#include "XFormatId.h"
#include "XSystem.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <atomic>

// Eight threads over one file get what one thread gets.

namespace {

constexpr int kNumThreads = 8;
constexpr int kNumReads = 24;

class SharedJ2k : public LoadedRaster {
 public:
  explicit SharedJ2k(const std::vector<unsigned char>& bytes) : LoadedRaster(bytes, kFormatJP2, kReadExact) {}
  /// Read `i` of a series that goes through channels, levels and places.
  Pixels ReadOne(int i) {
    const int x = i * 17 % 60, y = i * 11 % 50, level = i % 3;
    return Read(i % CountBands(), level, {x, x + 40, y, y + 33});
  }
};

void ExpectFromThreadsAsFromOne(const std::vector<unsigned char>& bytes) {
  SharedJ2k alone(bytes), image(bytes);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  std::vector<Pixels> expected;
  for (int i = 0; i < kNumReads; ++i) expected.push_back(alone.ReadOne(i));
  ASSERT_FALSE(expected.back().bytes.empty());
  std::atomic<int> numDifferent = 0;
  RunOnThreads(kNumThreads, [&](int t) {
    for (int k = 0; k < kNumReads; ++k) {
      const int i = (k + 5 * t) % kNumReads;
      if (image.ReadOne(i) != expected[static_cast<std::size_t>(i)]) ++numDifferent;
      if (k % 10 == 9) image.Band().CleanupMemory(1, 1);
    }
  });
  EXPECT_EQ(0, numDifferent);
}

TEST(Jp2Threads, ShareAnImageInOneTile) {
  ExpectFromThreadsAsFromOne(Jp2Builder().Size(101, 84).Components(3).Build());
}

TEST(Jp2Threads, ShareAnImageInTiles) {
  ExpectFromThreadsAsFromOne(Jp2Builder().Size(101, 84).Components(3).Tiles(32, 16).Levels(2).Build());
}

TEST(Jp2Threads, ShareAListThatLies) {
  std::vector<unsigned char> bytes = Jp2Builder().Size(101, 84).Tiles(32, 32).Levels(2).TileLengths().BuildCodestream();
  const std::vector<unsigned char> list = {0xFF, 0x55};
  *(std::search(bytes.begin(), bytes.end(), list.begin(), list.end()) + 10) ^= 0x04;
  ExpectFromThreadsAsFromOne(bytes);
}

TEST(Jp2Threads, MayEachHaveWorkers) {
  XfnSetWorkerCount(3);
  ExpectFromThreadsAsFromOne(Jp2Builder().Size(101, 84).Components(2).Tiles(48, 48).Levels(2).Build());
  XfnSetWorkerCount(1);
}

}  // namespace
