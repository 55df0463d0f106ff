// Tiles that are kept while callers grant memory for decoded blocks. The decoder is OpenJPEG's, whose calls are
// counted.

#include "base/BlockCache.h"
#include "codec/J2kDecoder.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "ThreadRuns.h"
#include "XBlockCache.h"
#include "XFormatId.h"

#include <gtest/gtest.h>

#include <atomic>
#include <utility>

namespace {

using KeptBytes = std::vector<unsigned char>;

class CountedDecoder final : public zrk::J2kDecoder {
 public:
  static inline std::atomic<int> numDecodes = 0;
  static inline std::int64_t failingWidth = 0;  // of areas that can't be decoded
  static std::unique_ptr<J2kDecoder> Make() { return std::make_unique<CountedDecoder>(); }

  bool LeavesLevelShift() const override { return false; }
  int Open(std::unique_ptr<zrk::J2kStream> stream, const zrk::J2kSettings& settings, XString& err) override {
    return decoder_->Open(std::move(stream), settings, err);
  }
  int Decode(const zrk::J2kRect& area, std::vector<zrk::J2kPlane>& planes, XString& err) override {
    ++numDecodes;
    return area.Width() != failingWidth && decoder_->Decode(area, planes, err);
  }
  void FreePlanes() override { decoder_->FreePlanes(); }
  bool CanDecodeAgain() const override { return decoder_->CanDecodeAgain(); }

 private:
  std::unique_ptr<J2kDecoder> decoder_ = zrk::MakeOpenJpegDecoder();
};

class Jp2KeptTiles : public testing::Test {
 protected:
  Jp2KeptTiles() {
    XfnSetBlockCacheBytes(1 << 22);
    CountedDecoder::numDecodes = 0;
    CountedDecoder::failingWidth = 0;
  }
  ~Jp2KeptTiles() override { XfnSetBlockCacheBytes(0); }

  /// How often the decoder is called for a window.
  static int CountDecodes(LoadedRaster& image, const Window& window) {
    const int before = CountedDecoder::numDecodes;
    EXPECT_EQ("", image.Failure(window));
    return CountedDecoder::numDecodes - before;
  }

  const zrk::ScopedJ2kDecoders scope_{&CountedDecoder::Make};
};

/// Two tiles of 64 x 64 beside each other.
Jp2Builder TwoKept() {
  return Jp2Builder().Size(128, 64).Tiles(64, 64).Components(3);
}

/// Windows over the tile at the left.
Window WindowAt(int x) {
  return {x, x + 9, 5, 30};
}

/// Much of a file, twice over.
std::vector<Pixels> ReadMuch(const KeptBytes& bytes, XReadPolicy policy) {
  LoadedRaster image(bytes, kFormatJP2, policy);
  EXPECT_TRUE(image.IsOpen()) << image.Reason();
  std::vector<Pixels> all;
  for (int i = 0; i < 24; ++i) {
    const int x = i * 17 % 60, y = i * 11 % 50;
    all.push_back(image.Read(i % image.CountBands(), i / 2 % 3, {x, x + 40, y, y + 33}));
    EXPECT_FALSE(all.back().bytes.empty());
  }
  return all;
}

TEST_F(Jp2KeptTiles, AreDecodedWholeTheSecondTimeAndNeverAgain) {
  LoadedRaster image(TwoKept().BuildCodestream(), kFormatJP2);
  for (const int x : {0, 10}) EXPECT_EQ(1, CountDecodes(image, WindowAt(x)));
  for (const int x : {20, 30, 40, 50}) EXPECT_EQ(0, CountDecodes(image, WindowAt(x))) << x;
  EXPECT_EQ(1, CountDecodes(image, WindowAt(70)));
  EXPECT_GE(zrk::BlockCache::OfProcess().CountBytes(), 64 * 64 * 3);
}

TEST_F(Jp2KeptTiles, AreNotKeptWithoutMemoryForThem) {
  for (const int numBytes : {0, 64 * 64 * 2}) {
    XfnSetBlockCacheBytes(numBytes);
    LoadedRaster image(TwoKept().BuildCodestream(), kFormatJP2);
    for (const int x : {0, 10, 20, 30}) EXPECT_EQ(1, CountDecodes(image, WindowAt(x))) << numBytes;
  }
}

TEST_F(Jp2KeptTiles, GoWithTheirFile) {
  {
    LoadedRaster image(TwoKept().BuildCodestream(), kFormatJP2);
    for (const int x : {0, 10}) CountDecodes(image, WindowAt(x));
    EXPECT_GT(zrk::BlockCache::OfProcess().CountBytes(), 0);
  }
  EXPECT_EQ(0, zrk::BlockCache::OfProcess().CountBytes());
}

TEST_F(Jp2KeptTiles, AreNotCopiedWhereAllOfOneIsWanted) {
  LoadedRaster image(TwoKept().BuildCodestream(), kFormatJP2);
  for (const int bottom : {63, 63}) EXPECT_EQ("", image.Failure({0, 63, 0, bottom}));
  image.Band().CleanupMemory(1, 1);
  EXPECT_EQ("", image.Failure({0, 63, 0, 63}));
  EXPECT_EQ(0, zrk::BlockCache::OfProcess().CountBytes());
}

TEST_F(Jp2KeptTiles, GiveWhatDecodingGives) {
  const auto tiled = [] { return Jp2Builder().Size(101, 84).Tiles(48, 32).Levels(2); };
  for (const KeptBytes& bytes :
       {tiled().Components(3).BuildCodestream(), tiled().Components(2, 8, true).BuildCodestream(),
        tiled().Components(1, 12).BuildCodestream(), tiled().Components(2, 16, true).BuildCodestream(),
        tiled().Components(2, 16).Origin(7, 5).BuildCodestream(),
        tiled().Components(2).Component(1, 5, false, 2, 2).BuildCodestream()}) {
    for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
      XfnSetBlockCacheBytes(0);
      const std::vector<Pixels> without = ReadMuch(bytes, policy);
      for (const int numBytes : {1 << 22, 20000}) {
        XfnSetBlockCacheBytes(numBytes);
        EXPECT_EQ(without, ReadMuch(bytes, policy)) << numBytes;
      }
    }
  }
}

/// A window is read by itself then, as without the memory.
TEST_F(Jp2KeptTiles, ThatCannotBeDecodedWholeFailNoWindow) {
  CountedDecoder::failingWidth = 64;
  LoadedRaster image(TwoKept().BuildCodestream(), kFormatJP2);
  EXPECT_EQ(1, CountDecodes(image, WindowAt(0)));
  for (const int x : {10, 20}) EXPECT_EQ(2, CountDecodes(image, WindowAt(x)));
  EXPECT_EQ(0, zrk::BlockCache::OfProcess().CountBytes());
}

TEST_F(Jp2KeptTiles, ThatAreMissingAreStillMissed) {
  KeptBytes bytes = TwoKept().BuildCodestream();
  bytes.resize(bytes.size() / 3);
  LoadedRaster image(bytes, kFormatJP2, kReadCompatible);
  for (const int x : {70, 80, 90}) {
    const Pixels pixels = image.Read(0, 0, WindowAt(x));
    EXPECT_EQ(std::vector<unsigned char>(10 * 26, 0), pixels.bytes) << x;
  }
}

TEST_F(Jp2KeptTiles, AreSharedByThreads) {
  const KeptBytes bytes = Jp2Builder().Size(101, 84).Components(3).Tiles(32, 16).Levels(2).BuildCodestream();
  XfnSetBlockCacheBytes(0);
  const std::vector<Pixels> expected = ReadMuch(bytes, kReadExact);
  XfnSetBlockCacheBytes(40000);
  LoadedRaster image(bytes, kFormatJP2);
  std::atomic<int> numDifferent = 0;
  RunOnThreads(8, [&](int t) {
    for (int k = 0; k < 48; ++k) {
      const int i = (k + 5 * t) % 24, x = i * 17 % 60, y = i * 11 % 50;
      const Pixels pixels = image.Read(i % 3, i / 2 % 3, {x, x + 40, y, y + 33});
      if (pixels != expected[static_cast<std::size_t>(i)]) ++numDifferent;
    }
  });
  EXPECT_EQ(0, numDifferent);
}

}  // namespace
