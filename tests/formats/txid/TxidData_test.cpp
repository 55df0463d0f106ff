#include "OpenStore.h"

#include <gtest/gtest.h>

#include <algorithm>

// The data files of a store, under both policies.

namespace {

bool IsZero(const Pixels& pixels) {
  return !pixels.bytes.empty() && std::ranges::all_of(pixels.bytes, [](unsigned char byte) { return byte == 0; });
}

/// Three tiles beside each other, the last of which has an index that is cut to so many bytes of data.
class StoreOfThree {
 public:
  explicit StoreOfThree(XReadPolicy policy, std::size_t numBytes) : store_(builder_, policy, OpenStore::WithoutData()) {
    Bytes data = builder_.BuildData();
    data.resize(numBytes);
    store_.Folder().Write("a.txd", data);
    XString err;
    EXPECT_EQ(1, store_.Band().ReadFile(store_.Folder().Path("a.txi"), err, nullptr)) << err;
  }
  OpenStore& Store() { return store_; }
  Window TileWindow(int column) const { return {8 * column, 8 * column + 6, 0, 6}; }
  Pixels Expected(int column) const { return store_.Expected(0, TileWindow(column), 0); }
  Pixels Read(int column) { return store_.Read(0, TileWindow(column)); }
  std::string Failure(int column) { return store_.Failure(0, TileWindow(column)); }

  using Bytes = TxidBuilder::Bytes;

 private:
  TxidBuilder builder_ = TxidBuilder().Grid(3, 1, 8).Tile(0).Tile(1).Tile(2);
  OpenStore store_;
};

TEST(TxidData, ThatIsCutLeavesTilesOutInCompatibleReads) {
  for (const std::size_t cut : {64u, 65u, 95u}) {
    StoreOfThree three(kReadCompatible, cut);
    EXPECT_EQ(three.Expected(1), three.Read(1));
    EXPECT_TRUE(IsZero(three.Read(2))) << cut;
    EXPECT_EQ(0, three.Store().Band().IsBlankSubset());
  }
}

TEST(TxidData, ThatIsCutFailsItsTilesInExactReads) {
  StoreOfThree before(kReadExact, 64), within(kReadExact, 72);
  EXPECT_EQ(before.Expected(1), before.Read(1));
  EXPECT_EQ("The data ends before tile 2 of row 0", before.Failure(2));
  EXPECT_EQ("The data ends within tile 2 of row 0", within.Failure(2));
  EXPECT_EQ(within.Store().Expected(0, {16, 19, 0, 3}, 1), within.Store().Read(0, {16, 19, 0, 3}, 1))
      << "the first block is there";
}

TEST(TxidData, ThatIsMissingIsZeroInCompatibleReads) {
  OpenStore store(TxidBuilder().Grid(2, 1, 8).Tile(0), kReadCompatible, OpenStore::WithoutData());
  ASSERT_TRUE(store.IsOpen());
  EXPECT_TRUE(IsZero(store.Read(0, {0, 6, 0, 6})));
  EXPECT_EQ(0, store.Band().IsBlankSubset());
  EXPECT_EQ(0, store.Band().GetNumDataFiles());
}

TEST(TxidData, ThatIsMissingFailsExactReads) {
  OpenStore store(TxidBuilder().Grid(2, 1, 8).Tile(0), kReadExact, OpenStore::WithoutData());
  ASSERT_TRUE(store.IsOpen());
  EXPECT_EQ("The data file is missing, which has tile 0 of row 0", store.Failure(0, {0, 15, 0, 7}));
  EXPECT_TRUE(IsZero(store.Read(0, {8, 15, 0, 7}))) << "no tile is there, and so nothing is missing";
}

TEST(TxidData, OfTilesTooSmallIsLeftOutInCompatibleReads) {
  for (const int size : {31, 0, -5}) {
    OpenStore store(TxidBuilder().Grid(2, 1, 8).TellSize(size).Tile(0));
    EXPECT_TRUE(IsZero(store.Read(0, {0, 6, 0, 6}))) << size;
  }
}

TEST(TxidData, OfTilesTooSmallFailsExactReads) {
  for (const int size : {31, 0, -5}) {
    OpenStore store(TxidBuilder().Grid(2, 1, 8).TellSize(size).Tile(0), kReadExact);
    EXPECT_EQ("The index tells too few bytes for tile 0 of row 0", store.Failure(0, {0, 6, 0, 6})) << size;
  }
}

TEST(TxidData, MayHaveMoreBytesForATileThanItsBlocks) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    OpenStore store(TxidBuilder().Grid(2, 1, 8).TellSize(40).Tile(0).Gap(8).Tile(1).Gap(8), policy);
    EXPECT_EQ(store.Expected(0, {0, 14, 0, 6}, 2), store.Read(0, {0, 14, 0, 6}, 2));
  }
}

TEST(TxidData, WithoutTheBytesBehindTheBlocksIsLeftOutInCompatibleReads) {
  OpenStore store(TxidBuilder().Grid(2, 1, 8).TellSize(40).Tile(0));
  EXPECT_TRUE(IsZero(store.Read(0, {0, 6, 0, 6})));
}

TEST(TxidData, WithoutTheBytesBehindTheBlocksIsReadExactly) {
  OpenStore store(TxidBuilder().Grid(2, 1, 8).TellSize(40).Tile(0), kReadExact);
  EXPECT_EQ(store.Expected(0, {0, 6, 0, 6}, 0), store.Read(0, {0, 6, 0, 6}));
}

TEST(TxidData, OfAKeyThatComesTwiceIsThatOfTheLastRecord) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    // The builder remembers the last blocks of a key too.
    const TxidBuilder builder = TxidBuilder().Grid(2, 1, 8).Tile(1).Tile(0, TxidBuilder::AnyBlocks(77, 32)).Tile(0);
    OpenStore store(builder, policy);
    EXPECT_EQ(store.Expected(0, {0, 6, 0, 6}, 0), store.Read(0, {0, 6, 0, 6}));
  }
}

TEST(TxidData, AReadErrorLeavesATileOutOrFails) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    FaultyDisk disk;
    const zrk::ScopedDisk scoped(disk);
    OpenStore store(TxidBuilder().Grid(1, 2, 8).Tile(0).Tile(1), policy);
    disk.FailRead(disk.GetReadCount() + 1);
    const Pixels pixels = store.Read(0, {0, 6, 0, 14});
    EXPECT_EQ(policy == kReadExact, pixels.bytes.empty());
    if (policy == kReadCompatible) {
      EXPECT_EQ(0, pixels.bytes[0]);
      EXPECT_EQ(store.Expected(0, {0, 6, 14, 14}, 0).bytes[3], pixels.bytes[14 * 7 + 3]);
    }
    EXPECT_FALSE(store.Read(0, {0, 6, 0, 14}).bytes.empty()) << "the disk works again";
  }
}

TEST(TxidData, ThatCannotBeReadLeavesTheRimOfItsNeighbourAndZeros) {
  // Level 1 takes the first column of a tile that can't be read from the last one of the tile before.
  const TxidBuilder builder = TxidBuilder().Grid(2, 1, 8).Tile(0).Tile(1),
                    onlyFirst = TxidBuilder().Grid(2, 1, 8).Tile(0);
  OpenStore damaged(builder), sparse(onlyFirst);
  TxidBuilder::Bytes data = builder.BuildData();
  data.resize(40);
  damaged.Folder().Write("a.txd", data);
  const Window window{0, 13, 0, 7};
  ASSERT_FALSE(damaged.Read(0, {1, 6, 1, 6}).bytes.empty());
  for (int channel = 0; channel < 3; ++channel) {
    EXPECT_EQ(sparse.Read(1, window, channel), damaged.Read(1, window, channel));
  }
  const Pixels red = damaged.Read(1, window);
  const std::vector<unsigned char> rim = {red.bytes[4], red.bytes[11], red.bytes[18], red.bytes[25]};
  EXPECT_EQ(
      (std::vector<unsigned char>{builder.At(7, 0)[0], builder.At(7, 2)[0], builder.At(7, 4)[0], builder.At(7, 6)[0]}),
      rim);
  EXPECT_NE(std::vector<unsigned char>(4, 0), rim);
}

/// A store of six tiles, two of which are in each of three data files.
class NumberedFiles {
 public:
  explicit NumberedFiles(XReadPolicy policy) : store_(builder_, policy, OpenStore::WithoutData()) {
    const TxidBuilder::Bytes& data = builder_.BuildData();
    for (int i = 0; i < 3; ++i) {
      store_.Folder().Write("a_" + std::to_string(i) + ".txd", {data.begin() + 64 * i, data.begin() + 64 * (i + 1)});
    }
    XString err;
    EXPECT_EQ(1, store_.Band().ReadFile(store_.Folder().Path("a.txi"), err, nullptr)) << err;
  }
  /// The samples of a tile without its last row and column.
  Pixels Read(int column) { return store_.Read(0, {8 * column, 8 * column + 6, 0, 6}); }
  Pixels Expected(int column) const { return store_.Expected(0, {8 * column, 8 * column + 6, 0, 6}, 0); }
  OpenStore& Store() { return store_; }

 private:
  TxidBuilder builder_ = TxidBuilder().Grid(6, 1, 8).Tile(0).Tile(1).Tile(2).Tile(3).Tile(4).Tile(5);
  OpenStore store_;
};

TEST(TxidData, InNumberedFilesIsAlwaysThatOfTheFirstInCompatibleReads) {
  NumberedFiles numbered(kReadCompatible);
  EXPECT_EQ(1, numbered.Store().Band().GetNumDataFiles());
  for (int column = 0; column < 6; ++column) {
    // Two tiles are in a file; the third one comes out of the first file again.
    const Pixels pixels = numbered.Read(column);
    std::vector<unsigned char> inner, expected;
    for (int y = 1; y < 6; ++y) {
      for (int x = 1; x < 6; ++x) {
        inner.push_back(pixels.bytes[static_cast<std::size_t>(7 * y + x)]);
        expected.push_back(numbered.Expected(column % 2).bytes[static_cast<std::size_t>(7 * y + x)]);
      }
    }
    EXPECT_EQ(expected, inner) << column;
  }
}

TEST(TxidData, InNumberedFilesIsReadFromEachInExactReads) {
  NumberedFiles numbered(kReadExact);
  EXPECT_EQ(3, numbered.Store().Band().GetNumDataFiles());
  EXPECT_EQ(192, numbered.Store().Band().GetDataBytes());
  for (int column = 0; column < 6; ++column) EXPECT_EQ(numbered.Expected(column), numbered.Read(column)) << column;
}

TEST(TxidData, OfNumberedFilesOpensOneHandleWhateverTheOffsets) {
  OpenStore store(TxidBuilder().Grid(3, 1, 8).Record(0, 0, 32).Record(1, (1ULL << 63) + 64, 32).Record(2, ~0ULL, 32),
                  kReadCompatible, OpenStore::WithoutData());
  store.Folder().Write("a_0.txd", TxidBuilder::AnyBlocks(1, 33));
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  XString err;
  ASSERT_EQ(1, store.Band().ReadFile(store.Folder().Path("a.txi"), err, nullptr));
  EXPECT_EQ(3, disk.GetOpenCount()) << "the index, a.txd and a_0.txd";
  EXPECT_FALSE(store.Read(0, store.Whole()).bytes.empty());
}

TEST(TxidData, OfANumberedFileWithoutBytesEndsTheFiles) {
  OpenStore store(TxidBuilder().Grid(3, 1, 8).Record(0, 0, 32).Record(1, 32, 32), kReadCompatible,
                  OpenStore::WithoutData());
  store.Folder().Write("a_0.txd", TxidBuilder::Bytes());
  XString err;
  ASSERT_EQ(1, store.Band().ReadFile(store.Folder().Path("a.txi"), err, nullptr));
  EXPECT_TRUE(IsZero(store.Read(0, store.Whole())));
}

TEST(TxidData, AtOffsetZeroAloneIsNotLookedForInNumberedFilesOfCompatibleReads) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    const TxidBuilder builder = TxidBuilder().Grid(1, 1, 8).Tile(0);
    OpenStore store(builder, policy, OpenStore::WithoutData());
    store.Folder().Write("a_0.txd", builder.BuildData());
    XString err;
    ASSERT_EQ(1, store.Band().ReadFile(store.Folder().Path("a.txi"), err, nullptr));
    EXPECT_EQ(policy == kReadExact ? 1 : 0, store.Band().GetNumDataFiles());
  }
}

TEST(TxidData, ThatShrinksOrGrowsIsReadAsItIs) {
  StoreOfThree three(kReadCompatible, 64);
  EXPECT_TRUE(IsZero(three.Read(2)));
  StoreOfThree grown(kReadCompatible, 70);
  TxidBuilder::Bytes whole = TxidBuilder().Grid(3, 1, 8).Tile(0).Tile(1).Tile(2).BuildData();
  grown.Store().Folder().Write("a.txd", whole);
  EXPECT_EQ(grown.Expected(2), grown.Read(2));
  whole.resize(20);
  grown.Store().Folder().Write("a.txd", whole);
  EXPECT_TRUE(IsZero(grown.Read(0)));
}

}  // namespace
