// Compressed blocks of HFA files that share calls of the system. Pixels are worked out by the builder's formula.

#include "bands/hfa/HfaStoreReader.h"
#include "bands/hfa/HfaFile.h"
#include "FaultyDisk.h"
#include "HfaBuilder.h"
#include "TempFolder.h"
#include "WithoutMaps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace {

constexpr int kWidth = 300, kHeight = 500, kAcross = 5, kDown = 8;

using BlockPixels = std::array<std::uint16_t, 64 * 64>;

/// An image of 5 x 8 blocks of 16-bit samples, which GDAL writes row by row. Their values take 8 bits each.
class RunsOnDisk {
 public:
  RunsOnDisk() : scope_(disk_) {
    folder_.Write("a.img", HfaBuilder().Size(kWidth, kHeight).Type(GDT_UInt16).Option("COMPRESSED=YES").Build());
    XString reason;
    file_ = zrk::HfaFile::Open(folder_.Path("a.img"), true, reason);
    store_ = file_ ? file_->FindStore(0) : nullptr;
  }
  const zrk::HfaStore& Store() const { return *store_; }
  bool IsCompressed() const {
    return store_ && std::ssize(store_->blocks) == kAcross * kDown &&
           std::ranges::all_of(store_->blocks, [](const zrk::HfaStoredBlock& block) { return block.isCompressed; });
  }
  FaultyDisk& Disk() { return disk_; }

 private:
  const WithoutMaps off_;
  FaultyDisk disk_;
  const zrk::ScopedDisk scope_;
  const TempFolder folder_;
  std::shared_ptr<zrk::HfaFile> file_;
  const zrk::HfaStore* store_ = nullptr;
};

bool ReadBlock(zrk::HfaStoreReader& reader, int blockX, int blockY, BlockPixels& pixels) {
  return reader.ReadBlock(blockX, blockY, reinterpret_cast<unsigned char*>(pixels.data()));
}

/// Whether a block is read and has the pixels of the formula.
bool ReadsRight(zrk::HfaStoreReader& reader, int blockX, int blockY) {
  BlockPixels pixels;
  if (!ReadBlock(reader, blockX, blockY, pixels)) return false;
  for (int y = 0; y < 64 && blockY * 64 + y < kHeight; ++y) {
    for (int x = 0; x < 64 && blockX * 64 + x < kWidth; ++x) {
      const auto i = static_cast<std::size_t>(y * 64 + x);
      if (pixels[i] != HfaBuilder::Value(blockX * 64 + x, blockY * 64 + y, 0)) return false;
    }
  }
  return true;
}

}  // namespace

TEST(HfaStoreReader, FetchesTheBlocksOfARowTogether) {
  RunsOnDisk image;
  ASSERT_TRUE(image.IsCompressed());
  zrk::HfaStoreReader reader(image.Store(), 0, kAcross - 1);
  const int before = image.Disk().GetReadCount();
  for (int y = 0; y < kDown; ++y) {
    for (int x = 0; x < kAcross; ++x) EXPECT_TRUE(ReadsRight(reader, x, y)) << x << ' ' << y;
  }
  EXPECT_EQ(before + kDown, image.Disk().GetReadCount());
}

TEST(HfaStoreReader, FetchesNoBlockBesideTheWindow) {
  RunsOnDisk image;
  ASSERT_TRUE(image.IsCompressed());
  zrk::HfaStoreReader reader(image.Store(), 0, 3);
  const std::int64_t before = image.Disk().GetBytesRead();
  std::int64_t wanted = 0;
  for (int y = 0; y < kDown; ++y) {
    for (int x = 2; x <= 3; ++x) {
      EXPECT_TRUE(ReadsRight(reader, x, y)) << x << ' ' << y;
      wanted += image.Store().blocks.at(static_cast<std::size_t>(y * kAcross + x)).bytes;
    }
  }
  EXPECT_EQ(before + wanted, image.Disk().GetBytesRead());
}

TEST(HfaStoreReader, FetchesABlockByItselfWhereItsNeighboursCannotBeRead) {
  for (const int shortBy : {0, 1}) {
    RunsOnDisk image;
    ASSERT_TRUE(image.IsCompressed());
    zrk::HfaStoreReader reader(image.Store(), 0, kAcross - 1);
    const int before = image.Disk().GetReadCount();
    image.Disk().FailRead(before + 1, shortBy);
    EXPECT_TRUE(ReadsRight(reader, 0, 2));
    EXPECT_EQ(before + 2, image.Disk().GetReadCount()) << "together, and then by itself";
    EXPECT_TRUE(ReadsRight(reader, 1, 2));
  }
}

TEST(HfaStoreReader, FetchesABlockAnewAfterAFailure) {
  RunsOnDisk image;
  ASSERT_TRUE(image.IsCompressed());
  zrk::HfaStoreReader reader(image.Store(), 0, 0);
  EXPECT_TRUE(ReadsRight(reader, 0, 0));
  BlockPixels pixels;
  // Both the call for the blocks together and that for the one fail, and what was in memory is not taken for it.
  image.Disk().FailRead(image.Disk().GetReadCount() + 2);
  image.Disk().FailCall(1, DiskFault::kError);
  EXPECT_FALSE(ReadBlock(reader, 0, 1, pixels));
  EXPECT_TRUE(ReadsRight(reader, 0, 1));
  EXPECT_FALSE(ReadBlock(reader, 0, kDown, pixels)) << "there are eight rows of blocks";
}

TEST(HfaStoreReader, LeavesBlocksThatTheFileDoesNotHoldToOthers) {
  RunsOnDisk image;
  ASSERT_TRUE(image.IsCompressed());
  zrk::HfaStore store = image.Store();
  store.blocks.at(1).isThere = false;
  store.blocks.at(2).bytes = 1 << 20;  // more than runs of 4,096 samples can take
  zrk::HfaStoreReader reader(store, 0, kAcross - 1);
  BlockPixels pixels;
  EXPECT_TRUE(ReadsRight(reader, 0, 0));
  EXPECT_FALSE(ReadBlock(reader, 1, 0, pixels));
  EXPECT_FALSE(ReadBlock(reader, 2, 0, pixels));
  EXPECT_TRUE(ReadsRight(reader, 3, 0));
}

TEST(HfaStoreReader, FetchesBlocksInAnyOrderOfTheFile) {
  RunsOnDisk image;
  ASSERT_TRUE(image.IsCompressed());
  zrk::HfaStoreReader reader(image.Store(), 0, kAcross - 1);
  for (int y = kDown - 1; y >= 0; --y) {
    for (int x = kAcross - 1; x >= 0; --x) EXPECT_TRUE(ReadsRight(reader, x, y)) << x << ' ' << y;
  }
}
