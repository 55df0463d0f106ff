#include "ByteFlips.h"
#include "MemoryDisk.h"
#include "OpenStore.h"
#include "Stopwatch.h"

#include <gtest/gtest.h>

#include <climits>

// Hostile and damaged stores: what reads of them give, and that they take neither memory nor time beyond reason.

namespace {

using Bytes = TxidBuilder::Bytes;

TxidBuilder SoundStore() {
  return TxidBuilder().Grid(3, 2, 12).Tile(4).Tile(0).Tile(1).Tile(5).Tile(3);
}

/// Opens the bytes and reads corners and overviews of all channels. What must hold for any bytes is checked on the way.
void TryStore(const Bytes& index, const Bytes& data, XReadPolicy policy) {
  MemoryDisk disk;
  disk.Add("a.txi", index);
  disk.Add("a.txd", data);
  const zrk::ScopedDisk scoped(disk);
  XRSFile file;
  file.SetReadPolicy(policy);
  XString err;
  const int isOpen = XRSFileIO::LoadFileRaster(&file, kFormatTXID, "a.txi", err, 0, kLevelNone, nullptr);
  EXPECT_EQ(isOpen ? 4 : 0, file.GetNumOfBands());
  EXPECT_EQ(isOpen == 0, !err.IsEmpty());
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    const Window whole = WholeWindowOf(band);
    const Window corner{0, std::min(whole.x1, 40), 0, std::min(whole.y1, 40)};
    const Window opposite{std::max(whole.x1 - 40, 0), whole.x1, std::max(whole.y1 - 40, 0), whole.y1};
    for (const Window& window : {corner, opposite}) {
      const Pixels pixels = ReadPixels(band, 0, window);
      EXPECT_EQ(pixels.bytes.empty() ? 0 : window.Width(), pixels.width);
      ReadPixels(band, 2, window);
    }
    for (const int level : {1, 20, 30}) {
      if (std::int64_t{(whole.Width() >> level) + 1} * ((whole.Height() >> level) + 1) < 1 << 20)
        ReadPixels(band, level, whole);
    }
  }
}

void TryBoth(const Bytes& index, const Bytes& data) {
  TryStore(index, data, kReadCompatible);
  TryStore(index, data, kReadExact);
}

TEST(TxidDamage, ToOneByteOfTheIndexIsARefusalOrAReadableStore) {
  const TxidBuilder store = SoundStore();
  FlipBytes(store.BuildIndex(), TrialCount(2000), {0, 48},
            [&](const Bytes& index) { TryBoth(index, store.BuildData()); });
}

TEST(TxidDamage, ByTruncationIsARefusalOrAReadableStore) {
  const TxidBuilder store = SoundStore();
  const Bytes index = store.BuildIndex(), data = store.BuildData();
  for (std::size_t i = 0; i < index.size(); i += TrialStep()) {
    TryBoth({index.begin(), index.begin() + static_cast<std::ptrdiff_t>(i)}, data);
  }
  for (std::size_t i = 0; i < data.size(); i += TrialStep()) {
    TryBoth(index, {data.begin(), data.begin() + static_cast<std::ptrdiff_t>(i)});
  }
}

TEST(TxidDamage, InExactReadsGivesSoundPixelsOrAFailureWhereDataIsCut) {
  const TxidBuilder store = SoundStore();
  OpenStore open(store, kReadExact);
  for (std::size_t i = 0; i < store.BuildData().size(); i += 3 * TrialStep()) {
    Bytes data = store.BuildData();
    data.resize(i);
    open.Folder().Write("a.txd", data);
    XString err;
    ASSERT_EQ(1, open.Band().ReadFile(open.Folder().Path("a.txi"), err, nullptr));
    for (int y = 0; y < 24; y += 5) {
      const Pixels row = open.Read(0, {1, 34, y, y});
      EXPECT_EQ(row.bytes.empty() ? Pixels() : open.Expected(0, {1, 34, y, y}, 0), row) << i;
    }
  }
}

TEST(TxidHostile, OffsetsAndSizesThatWrapAreNotRead) {
  for (const std::uint64_t offset : {~0ULL, ~0ULL - 31, 1ULL << 63, (1ULL << 63) - 1, 0xFFFFFFFFULL, 33ULL}) {
    for (const int size : {INT_MAX, INT_MIN, -1, 0, 32, 31}) {
      const TxidBuilder store = TxidBuilder().Grid(2, 2, 8).Record(0, offset, size).Record(3, offset, size);
      TryBoth(store.BuildIndex(), TxidBuilder::AnyBlocks(1, 64));
      OpenStore open(store, kReadExact);
      EXPECT_NE("", open.Failure(0, {0, 3, 0, 3})) << offset;
    }
  }
}

TEST(TxidHostile, KeysOutsideTheGridAreNotSeen) {
  TxidBuilder store = TxidBuilder().Grid(2, 2, 8);
  for (const int key : {-1, 4, 5, INT_MAX, INT_MIN}) store.Record(key, 0, 32);
  OpenStore open(store, kReadExact);
  EXPECT_EQ(std::vector<unsigned char>(256, 0), open.Read(0, open.Whole()).bytes);
  EXPECT_EQ(1, open.Band().IsBlankSubset());
}

TEST(TxidHostile, KeysOfGridsBeyondAnIntDoNotWrap) {
  // Key 2^32 + 1 of the last tiles has the low half of the key of tile 1.
  const TxidBuilder store = TxidBuilder().Grid(0x10000, 0x10001, 1).PixelSize(1, 1).Record(1, 0, 8);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    OpenStore open(store, policy);
    ASSERT_TRUE(open.IsOpen());
    const Pixels pixels = open.Read(0, {0, 9, 0x10000, 0x10000});
    EXPECT_EQ(std::vector<unsigned char>(10, 0), pixels.bytes);
  }
}

TEST(TxidHostile, AWholeOfBillionsOfTilesTakesNoTime) {
  const TxidBuilder store =
      TxidBuilder().Grid(INT_MAX, INT_MAX, 1).PixelSize(1, 1).Gap(8).Record(0, 0, 8).Record(INT_MAX, 0, 8);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    const Stopwatch watch;
    OpenStore open(store, policy);
    ASSERT_TRUE(open.IsOpen());
    EXPECT_EQ(255, open.Read(23, open.Whole()).width);
    EXPECT_EQ(1, open.Read(30, open.Whole()).width);
    EXPECT_EQ(300, open.Read(22, {5, 5 + (300 << 22), INT_MAX - (300 << 22) - 2, INT_MAX - 3}).width);
    EXPECT_LT(watch.Seconds(), 10.0);
  }
}

TEST(TxidHostile, CornersFarOutsideOfTheWorldAreReadSomehow) {
  for (const double corner : {1e300, -1e18, 1e-300, std::numeric_limits<double>::max()}) {
    const TxidBuilder store = TxidBuilder().Grid(3, 2, 12).Corner(corner, -corner).Tile(0).Tile(5);
    TryBoth(store.BuildIndex(), store.BuildData());
    OpenStore open(store, kReadExact);
    EXPECT_EQ(open.Expected(0, open.Whole(), 0), open.Read(0, open.Whole())) << "exact reads need no coordinates";
  }
}

TEST(TxidHostile, PixelSizesOfBothSignsAndAllMagnitudesAreRead) {
  for (const std::int64_t size : {INT64_MAX / 36, INT64_MIN / 36, std::int64_t{1}, std::int64_t{-1}}) {
    const TxidBuilder store = TxidBuilder().Grid(3, 2, 12).PixelSize(size, size).Tile(0).Tile(5);
    TryBoth(store.BuildIndex(), store.BuildData());
  }
}

}  // namespace
