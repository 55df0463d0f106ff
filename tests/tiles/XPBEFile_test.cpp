// Elevation stores: files that are written are read by a reader of the test's own, and files that are read are built
// byte by byte.

#include "XPBEFile.h"

#include "FaultyDisk.h"
#include "StoreBytes.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

namespace {

template <class Number>
Bytes BytesOf(const std::vector<Number>& numbers) {
  Bytes bytes(numbers.size() * sizeof(Number));
  std::memcpy(bytes.data(), numbers.data(), bytes.size());
  return bytes;
}

/// Posts of a tile of 31 x 31: 1000 * tile + its place in the tile.
std::vector<float> PostsOf(int tile) {
  std::vector<float> posts;
  for (int i = 0; i < 961; ++i) posts.push_back(static_cast<float>(1000 * tile + i));
  return posts;
}

class ElevationStore : public testing::Test {
 protected:
  std::string Path() const { return folder_.Path("a.pbe"); }
  StoreReader Written() const { return StoreReader(ReadBytes(Path())); }

  /// Two by three tiles of 31 x 31 posts at level 0, from row 5 and column 10 on, which begins at (0, 0) degrees.
  void WriteSmall(const char* mark = "PBE") const {
    Bytes body;
    for (int i = 0; i < 6; ++i) {
      const Bytes tile = BytesOf(PostsOf(i));
      body.insert(body.end(), tile.begin(), tile.end());
    }
    folder_.Write(
        "a.pbe",
        StoreBuilder(mark).Version(1.2).Level({0, 5, 10, 6, 12, 0.0, 31, 31, 3844, 0, 51200}).Body(body).Build());
  }
  static std::vector<float> Tile(const XPBEFile& store, int level, int row, int col) {
    int size = -7;
    const std::unique_ptr<float[]> tile(store.GetElevationData(level, row, col, size));
    if (tile) return {tile.get(), tile.get() + size / 4};
    EXPECT_EQ(-7, size);
    return {};
  }

  TempFolder folder_;
};

using PBEFileCreate = ElevationStore;
using PBEFileOpen = ElevationStore;
using PBEFileRead = ElevationStore;
using PBEFileValue = ElevationStore;
using PBEFileUpdate = ElevationStore;
using PBEFileBip = ElevationStore;

}  // namespace

TEST(PBEFile, HasNormalsFromVersionTwoOn) {
  XPBEFile plain(1.2, 18.0), withNormals(2.0, 18.0);
  EXPECT_TRUE(plain.IsUsable());
  EXPECT_TRUE(plain.AddLevel(0, 31, 31));
  EXPECT_TRUE(withNormals.AddLevel(0, 31, 31));
  EXPECT_EQ(3844, plain.GetFileInfo()->GetTileStorageRequirement(0));
  EXPECT_EQ(15376, withNormals.GetFileInfo()->GetTileStorageRequirement(0));
  tagXVector3f normals[961] = {};
  EXPECT_FALSE(plain.UpdateNorm(0, 0, 0, normals));
}

TEST(PBEFile, AddsNoLevelOfTilesThatCannotBe) {
  XPBEFile store(2.0, 18.0);
  for (const auto& [width, height] : {std::pair{INT_MAX, INT_MAX}, {11586, 11586}}) {
    EXPECT_FALSE(store.AddLevel(0, width, height));
    EXPECT_FALSE(store.AddLevel(0, 0, 0, 1, 1, width, height));
  }
  EXPECT_EQ(0, store.GetFileInfo()->GetNumberOfLevel());
}

TEST_F(PBEFileCreate, AddsALevelOfTilesWithoutPosts) {
  XPBEFile store(1.2, 18.0);
  EXPECT_TRUE(store.AddLevel(0, 0, 31));
  EXPECT_TRUE(store.AddLevel(1, 0, 0, 1, 1, 31, -1));
  EXPECT_EQ(0, store.GetFileInfo()->GetTileStorageRequirement(0));
  EXPECT_EQ(0, store.GetFileInfo()->GetTileStorageRequirement(1));
  EXPECT_TRUE(store.Create(Path()));
  EXPECT_TRUE(store.IsUsable());
  EXPECT_EQ(51200u, fs::file_size(Path()));
  EXPECT_TRUE(Tile(store, 0, 0, 0).empty());
}

TEST_F(PBEFileCreate, WritesTheHeaderAndRoomForAllTiles) {
  XPBEFile store(1.2, 18.0);
  store.AddLevel(0, 31, 31);
  store.AddLevel(3, 4, 5, 6, 7, 31, 31);
  EXPECT_TRUE(store.Create(Path()));
  EXPECT_TRUE(store.IsUsable());
  EXPECT_EQ(Path(), store.GetFileName());
  const StoreReader file = Written();
  EXPECT_EQ("PBE", file.Mark());
  EXPECT_EQ(1.2, file.Version());
  EXPECT_EQ(2, file.Count());
  EXPECT_EQ(18.0, file.TileSize());
  EXPECT_EQ(51200, file.HeaderSize());
  EXPECT_EQ((StoreRecord{0, 0, 0, 9, 19, 18.0, 31, 31, 3844, 0, 51200}), file.Record(0));
  EXPECT_EQ((StoreRecord{3, 4, 5, 6, 7, 2.25, 31, 31, 3844, 0, 51200 + 200 * 3844}), file.Record(1));
  EXPECT_TRUE(file.IsZeroFrom(35 + 2 * 48));
  EXPECT_EQ(51200u + 209 * 3844, file.Size());
  EXPECT_EQ(static_cast<std::int64_t>(file.Size()), file.FileSize());
}

TEST_F(PBEFileCreate, IsTrueAsEverWithAStoreThatIsNotUsable) {
  XPBEFile store(1.2, 18.0);
  store.AddLevel(0, 31, 31);
  EXPECT_TRUE(store.Create(folder_.Path("no/folder/a.pbe")));
  EXPECT_FALSE(store.IsUsable());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.SetFreeBytes(1000);
  EXPECT_TRUE(store.Create(Path()));
  EXPECT_FALSE(store.IsUsable());
  EXPECT_FALSE(fs::exists(Path()));
  float posts[961] = {};
  EXPECT_FALSE(store.Update(0, 0, 0, posts));
  disk.SetFreeBytes(1 << 24);
  EXPECT_TRUE(store.Create(Path()));
  EXPECT_TRUE(store.IsUsable());
}

TEST_F(PBEFileCreate, IsNotUsableWithMoreLevelsThanTheHeaderHolds) {
  XPBEFile store(1.2, 18.0);
  for (int i = 0; i < 1065; ++i) store.AddLevel(9, 0, 0, 0, 0, 2, 2);
  EXPECT_TRUE(store.Create(Path()));
  EXPECT_TRUE(store.IsUsable());
  store.AddLevel(9, 0, 0, 0, 0, 2, 2);
  EXPECT_TRUE(store.Create(folder_.Path("b.pbe")));
  EXPECT_FALSE(store.IsUsable());
  EXPECT_FALSE(fs::exists(folder_.Path("b.pbe")));
}

TEST_F(PBEFileOpen, ReadsTheHeaderWithItsVersionWhole) {
  folder_.Write("a.pbe", StoreBuilder("PEE")
                             .Version(1.75)
                             .TileSize(9.0)
                             .HeaderSize(777)
                             .Level({1, 0, 0, 1, 1, 0.0, 31, 31, 3844, 0, 51200})
                             .Build());
  const XPBEFile store(Path(), 0);
  EXPECT_TRUE(store.IsUsable());
  ASSERT_NE(nullptr, store.GetFileInfo());
  EXPECT_EQ(1.75, store.GetFileInfo()->GetVersion());
  EXPECT_EQ(777, store.GetFileInfo()->GetHeaderSize());
  EXPECT_EQ(777 + 4 * 3844, store.GetFileInfo()->GetFileSize());
  EXPECT_EQ(4.5, store.GetFileInfo()->GetLevelInfo(1)->GetTileSize());
}

TEST_F(PBEFileOpen, IsUsableWithoutAHeader) {
  WriteSmall("PBI");
  const XPBEFile store(Path(), 0);
  EXPECT_TRUE(store.IsUsable());
  EXPECT_EQ(nullptr, store.GetFileInfo());
  EXPECT_TRUE(Tile(store, 0, 5, 10).empty());
  EXPECT_EQ(0.0f, store.GetValue(0, 1.0, 1.0));
}

TEST_F(PBEFileOpen, MakesAnEmptyFileOfOneThatIsNotThere) {
  const XPBEFile store(Path(), 0);
  EXPECT_TRUE(store.IsUsable());
  EXPECT_EQ(nullptr, store.GetFileInfo());
  EXPECT_EQ(0u, fs::file_size(Path()));
}

TEST_F(PBEFileOpen, FailsForWritingWithoutAFileAndMakesNone) {
  const XPBEFile store(Path(), 2);
  EXPECT_FALSE(store.IsUsable());
  EXPECT_EQ(nullptr, store.GetFileInfo());
  EXPECT_FALSE(fs::exists(Path()));
}

TEST_F(PBEFileOpen, KeepsTheHeaderWhenItIsClosed) {
  WriteSmall();
  XPBEFile store(Path(), 0);
  EXPECT_TRUE(store.Close());
  EXPECT_FALSE(store.IsUsable());
  EXPECT_NE(nullptr, store.GetFileInfo());
  EXPECT_TRUE(Tile(store, 0, 5, 10).empty());
}

TEST_F(PBEFileRead, GivesTheFloatsOfATile) {
  WriteSmall();
  const XPBEFile store(Path(), 0);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(PostsOf(i), Tile(store, 0, 5 + i / 3, 10 + i % 3));
}

TEST_F(PBEFileRead, GivesNothingForUnknownLevelsAndTilesOutside) {
  WriteSmall();
  const XPBEFile store(Path(), 0);
  XPBEReadBuffer buffer;
  for (const auto& [level, row, col] : {std::tuple{1, 5, 10}, {0, 4, 10}, {0, 7, 10}, {0, 5, 9}, {0, 5, 13}}) {
    EXPECT_TRUE(Tile(store, level, row, col).empty());
    EXPECT_FALSE(store.GetElevationData(level, row, col, &buffer));
  }
  EXPECT_FALSE(store.GetElevationData(0, 5, 10, nullptr));
  EXPECT_EQ(nullptr, buffer.data);
}

TEST_F(PBEFileRead, MakesFloatsOfShortPostsBelowVersionOnePointOne) {
  const std::vector<std::int16_t> posts = {0, -5, 32767, -32768, 100, 7};
  folder_.Write(
      "a.pbe",
      StoreBuilder("PBE").Version(1.05).Level({0, 0, 0, 0, 0, 0.0, 3, 2, 12, 0, 51200}).Body(BytesOf(posts)).Build());
  const XPBEFile store(Path(), 0);
  EXPECT_EQ((std::vector<float>{0, -5, 32767, -32768, 100, 7}), Tile(store, 0, 0, 0));
  XPBEReadBuffer buffer;
  ASSERT_TRUE(store.GetElevationData(0, 0, 0, &buffer));
  EXPECT_EQ(12, buffer.usedLength);  // the bytes as they are, whatever the version
  EXPECT_EQ(3, buffer.tileWidth);
  EXPECT_EQ(2, buffer.tileHeight);
  EXPECT_EQ(BytesOf(posts), Bytes(buffer.data, buffer.data + 12));
  delete[] buffer.data;
}

TEST_F(PBEFileRead, MakesNoPostOfAnOddByteBelowVersionOnePointOne) {
  folder_.Write("a.pbe", StoreBuilder("PBE")
                             .Version(1.0)
                             .Level({0, 0, 0, 0, 0, 0.0, 3, 1, 7, 0, 51200})
                             .Body(BytesOf(std::vector<std::int16_t>{1, -2, 3, 4}))
                             .Build());
  EXPECT_EQ((std::vector<float>{1, -2, 3}), Tile(XPBEFile(Path(), 0), 0, 0, 0));
}

TEST_F(PBEFileRead, GivesNormalsFromTheLastThreeQuarters) {
  const Bytes body = TileOf(15376, 1);
  folder_.Write(
      "a.pbe",
      StoreBuilder("PBE").Version(2.0).Level({0, 0, 0, 0, 0, 0.0, 31, 31, 15376, 0, 51200}).Body(body).Build());
  const XPBEFile store(Path(), 0);
  int size = 0;
  const std::unique_ptr<tagXVector3f[]> normals(store.GetNormData(0, 0, 0, size));
  ASSERT_NE(nullptr, normals);
  EXPECT_EQ(11532, size);
  EXPECT_EQ(0, std::memcmp(body.data() + 3844, normals.get(), 11532));
  EXPECT_EQ(15376u / 4, Tile(store, 0, 0, 0).size());  // posts and normals
  EXPECT_EQ(nullptr, store.GetNormData(0, 0, 1, size));
}

TEST_F(PBEFileRead, GivesNoNormalsBelowVersionTwo) {
  WriteSmall();
  int size = 5;
  EXPECT_EQ(nullptr, XPBEFile(Path(), 0).GetNormData(0, 5, 10, size));
  EXPECT_EQ(5, size);
}

// The tile at row 5 and column 10 begins at (0, 0) and is 18 degrees wide. A 31st of it is 18 / 31 = 0.5806 degrees.
TEST_F(PBEFileValue, CountsThirtyFirstsOfATileFromTheSouth) {
  WriteSmall();
  const XPBEFile store(Path(), 0);
  EXPECT_EQ(0.0f, store.GetValue(0, 0.0, 0.0));
  EXPECT_EQ(0.0f, store.GetValue(0, 0.58, 0.58));
  EXPECT_EQ(1.0f, store.GetValue(0, 0.59, 0.58));
  EXPECT_EQ(31.0f, store.GetValue(0, 0.58, 0.59));
  EXPECT_EQ(960.0f, store.GetValue(0, 17.99, 17.99));
  EXPECT_EQ(1000.0f, store.GetValue(0, 18.0, 0.0));  // the next tile in the east
  EXPECT_EQ(3000.0f, store.GetValue(0, 0.0, 18.0));  // the next in the north
}

TEST_F(PBEFileValue, IsZeroOutsideTheRangeAndForUnknownLevels) {
  WriteSmall();
  const XPBEFile store(Path(), 0);
  EXPECT_EQ(0.0f, store.GetValue(0, -0.1, 1.0));
  EXPECT_EQ(0.0f, store.GetValue(0, 1.0, 36.1));
  EXPECT_EQ(0.0f, store.GetValue(1, 1.0, 1.0));
  EXPECT_EQ(0.0f, store.GetValue(0, std::numeric_limits<double>::quiet_NaN(), 1.0));
  EXPECT_EQ(0.0f, store.GetValue(0, 1e300, 1.0));
}

TEST_F(PBEFileValue, MakesZeroOfShortPostsBelowZero) {
  std::vector<std::int16_t> posts(961, -5);
  posts[32] = 1234;
  folder_.Write("a.pbe", StoreBuilder("PBE")
                             .Version(1.05)
                             .Level({0, 5, 10, 5, 10, 0.0, 31, 31, 1922, 0, 51200})
                             .Body(BytesOf(posts))
                             .Build());
  const XPBEFile store(Path(), 0);
  EXPECT_EQ(0.0f, store.GetValue(0, 0.0, 0.0));
  EXPECT_EQ(1234.0f, store.GetValue(0, 0.6, 0.6));
  EXPECT_EQ(-5.0f, Tile(store, 0, 5, 10)[0]);
}

// Rows are 31 posts long whatever the tile width is, so that the post north of the first of a tile of 16 x 16 is its
// 32nd, which stands in row 1 and column 15.
TEST_F(PBEFileValue, TakesRowsToHaveThirtyOnePosts) {
  std::vector<float> posts;
  for (int i = 0; i < 256; ++i) posts.push_back(static_cast<float>(i));
  folder_.Write("a.pbe", StoreBuilder("PBE")
                             .Version(1.2)
                             .Level({0, 5, 10, 5, 10, 0.0, 16, 16, 1024, 0, 51200})
                             .Body(BytesOf(posts))
                             .Build());
  const XPBEFile store(Path(), 0);
  EXPECT_EQ(31.0f, store.GetValue(0, 0.0, 0.6));
  EXPECT_EQ(0.0f, store.GetValue(0, 17.9, 17.9));  // behind the end of the file
}

TEST_F(PBEFileValue, ComesFromTheHighestLevelAlone) {
  const Bytes low = BytesOf(std::vector<float>(961, 10.0f)), high = BytesOf(std::vector<float>(961, 20.0f));
  Bytes body = low;
  body.insert(body.end(), high.begin(), high.end());
  folder_.Write("a.pbe", StoreBuilder("PBE")
                             .Version(1.2)
                             .Level({0, 5, 10, 5, 10, 0.0, 31, 31, 3844, 0, 51200})
                             .Level({1, 10, 20, 10, 20, 0.0, 31, 31, 3844, 0, 51200 + 3844})
                             .Body(body)
                             .Build());
  const XPBEFile store(Path(), 0);
  EXPECT_EQ(20.0f, store.GetValue(1.0, 1.0));
  EXPECT_EQ(0.0f, store.GetValue(10.0, 10.0));  // level 0 has it, level 1 has not
  EXPECT_EQ(10.0f, store.GetValue(0, 10.0, 10.0));
}

TEST_F(PBEFileValue, IsAVeryLargeNumberWithoutLevels) {
  const XPBEFile store(1.2, 18.0);
  EXPECT_EQ(0x7F7FC99Eu, std::bit_cast<std::uint32_t>(store.GetValue(1.0, 1.0)));
}

TEST_F(PBEFileUpdate, WritesAllBytesOfATile) {
  XPBEFile store(1.2, 18.0);
  store.AddLevel(0, 5, 10, 6, 12, 31, 31);
  ASSERT_TRUE(store.Create(Path()));
  std::vector<float> posts = PostsOf(4);
  EXPECT_TRUE(store.Update(0, 6, 11, posts.data()));
  EXPECT_EQ(BytesOf(posts), Written().Bytes(51200 + 4 * 3844, 3844));
  EXPECT_EQ(Bytes(4 * 3844, 0), Written().Bytes(51200, 4 * 3844));
  EXPECT_EQ(posts, Tile(store, 0, 6, 11));
}

TEST_F(PBEFileUpdate, WritesPostsAndNormalsTogetherOrApart) {
  XPBEFile store(2.0, 18.0);
  store.AddLevel(0, 5, 10, 6, 12, 31, 31);
  ASSERT_TRUE(store.Create(Path()));
  std::vector<float> whole(961 * 4, 3.0f);
  std::vector<tagXVector3f> normals(961, {0.0f, 0.5f, 1.0f});
  EXPECT_TRUE(store.Update(0, 5, 11, whole.data()));
  EXPECT_EQ(BytesOf(whole), Written().Bytes(51200 + 15376, 15376));
  EXPECT_TRUE(store.UpdateNorm(0, 5, 11, normals.data()));
  EXPECT_EQ(BytesOf(normals), Written().Bytes(51200 + 15376 + 3844, 11532));
  EXPECT_TRUE(store.UpdatePosts(0, 5, 11, PostsOf(1).data()));
  EXPECT_EQ(BytesOf(PostsOf(1)), Written().Bytes(51200 + 15376, 3844));
  EXPECT_EQ(BytesOf(normals), Written().Bytes(51200 + 15376 + 3844, 11532));
  EXPECT_EQ(Bytes(15376, 0), Written().Bytes(51200 + 2 * 15376, 15376));
}

TEST_F(PBEFileUpdate, LeavesFileAndHeaderAloneForUnknownLevelsAndTilesOutside) {
  XPBEFile store(2.0, 18.0);
  store.AddLevel(0, 5, 10, 6, 12, 31, 31);
  ASSERT_TRUE(store.Create(Path()));
  const Bytes before = ReadBytes(Path());
  std::vector<float> whole(961 * 4, 3.0f);
  std::vector<tagXVector3f> normals(961);
  for (const auto& [level, row, col] : {std::tuple{1, 5, 10}, {0, 4, 10}, {0, 7, 10}, {0, 5, 9}, {0, 5, 13}}) {
    EXPECT_FALSE(store.Update(level, row, col, whole.data()));
    EXPECT_FALSE(store.UpdatePosts(level, row, col, whole.data()));
    EXPECT_FALSE(store.UpdateNorm(level, row, col, normals.data()));
  }
  EXPECT_FALSE(store.Update(0, 5, 10, nullptr));
  EXPECT_FALSE(store.UpdateNorm(0, 5, 10, nullptr));
  EXPECT_EQ(before, ReadBytes(Path()));
}

TEST_F(PBEFileUpdate, IsSeenByCopies) {
  XPBEFile store(1.2, 18.0);
  store.AddLevel(0, 5, 10, 6, 12, 31, 31);
  ASSERT_TRUE(store.Create(Path()));
  const XPBEFile copy = store;
  EXPECT_EQ(store.GetFileInfo(), copy.GetFileInfo());
  EXPECT_TRUE(store.Update(0, 5, 10, PostsOf(2).data()));
  store.Close();
  EXPECT_EQ(PostsOf(2), Tile(copy, 0, 5, 10));
}

TEST_F(PBEFileBip, DescribesTheLevelInAText) {
  WriteSmall();
  ASSERT_TRUE(XPBEFile(Path(), 0).SerilizeToBIP(0, folder_.Path("a.bip"), folder_.Path("a.hdr")));
  const Bytes text = ReadBytes(folder_.Path("a.hdr"));
  // Six tiles of 3,600 bytes. The upper corner is the lower corner of the last tile. 21600 / 1024 / 1024 = 0.020599.
  EXPECT_EQ(
      "nLevel: 0\n lllat: 0.000000\n lllon: 0.000000\n urlat: 18.000000\n urlon: 36.000000\n size(byte): 21600\n "
      "size(mega): 0.020599  type(float)\n",
      std::string(text.begin(), text.end()));
}

TEST_F(PBEFileBip, WritesThirtyPostsOfTheSecondRowThirtyTimes) {
  WriteSmall();
  ASSERT_TRUE(XPBEFile(Path(), 0).SerilizeToBIP(0, folder_.Path("a.bip"), folder_.Path("a.hdr")));
  std::vector<float> expected;
  for (const int firstTile : {3, 0}) {  // the row of tiles in the north comes first
    for (int line = 0; line < 30; ++line) {
      for (int tile = firstTile; tile < firstTile + 3; ++tile) {
        const std::vector<float> posts = PostsOf(tile);
        expected.insert(expected.end(), posts.begin() + 31, posts.begin() + 61);
      }
    }
  }
  EXPECT_EQ(21600u, expected.size() * sizeof(float));
  EXPECT_EQ(BytesOf(expected), ReadBytes(folder_.Path("a.bip")));
}

TEST_F(PBEFileBip, WidensShortPosts) {
  std::vector<std::int16_t> posts(961);
  for (int i = 0; i < 961; ++i) posts[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(-i);
  folder_.Write("a.pbe", StoreBuilder("PBE")
                             .Version(1.0)
                             .Level({0, 5, 10, 5, 10, 0.0, 31, 31, 1922, 0, 51200})
                             .Body(BytesOf(posts))
                             .Build());
  ASSERT_TRUE(XPBEFile(Path(), 0).SerilizeToBIP(0, folder_.Path("a.bip"), folder_.Path("a.hdr")));
  std::vector<float> line;
  for (int i = 31; i < 61; ++i) line.push_back(static_cast<float>(-i));
  const Bytes bytes = ReadBytes(folder_.Path("a.bip"));
  ASSERT_EQ(3600u, bytes.size());
  EXPECT_EQ(BytesOf(line), Bytes(bytes.begin(), bytes.begin() + 120));
  EXPECT_EQ(BytesOf(line), Bytes(bytes.end() - 120, bytes.end()));
}

TEST_F(PBEFileBip, FailsForUnknownLevelsAndWritesNothing) {
  WriteSmall();
  const XPBEFile store(Path(), 0);
  EXPECT_FALSE(store.SerilizeToBIP(1, folder_.Path("a.bip"), folder_.Path("a.hdr")));
  EXPECT_FALSE(XPBEFile(1.2, 18.0).SerilizeToBIP(0, folder_.Path("a.bip"), folder_.Path("a.hdr")));
  EXPECT_FALSE(fs::exists(folder_.Path("a.hdr")));
}

TEST_F(PBEFileBip, FailsForTilesThatAreNotAllThere) {
  const StoreRecord small{0, 0, 0, 0, 0, 0.0, 8, 7, 224, 0, 51200};
  const StoreRecord beyond{1, 0, 0, 0, 1, 0.0, 31, 31, 3844, 0, 51200};
  const StoreRecord vast{2, 0, 0, INT_MAX, INT_MAX, 0.0, 31, 31, 3844, 0, 51200};
  const StoreRecord inverted{3, 1, 1, 0, 0, 0.0, 31, 31, 3844, 0, 51200};
  folder_.Write("a.pbe", StoreBuilder("PBE")
                             .Version(1.2)
                             .Level(small)
                             .Level(beyond)
                             .Level(vast)
                             .Level(inverted)
                             .Body(TileOf(3844, 1))
                             .Build());
  const XPBEFile store(Path(), 0);
  for (int level = 0; level < 4; ++level) {
    EXPECT_FALSE(store.SerilizeToBIP(level, folder_.Path("a.bip"), folder_.Path("a.hdr"))) << level;
  }
  EXPECT_FALSE(fs::exists(folder_.Path("a.bip")));
}

TEST_F(PBEFileBip, FailsWhereAFileCannotBeWritten) {
  WriteSmall();
  const XPBEFile store(Path(), 0);
  EXPECT_FALSE(store.SerilizeToBIP(0, folder_.Path("a.bip"), folder_.Path("no/a.hdr")));
  EXPECT_FALSE(fs::exists(folder_.Path("a.bip")));
  EXPECT_FALSE(store.SerilizeToBIP(0, folder_.Path("no/a.bip"), folder_.Path("a.hdr")));
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailWrite(2);
  EXPECT_FALSE(store.SerilizeToBIP(0, folder_.Path("a.bip"), folder_.Path("a.hdr")));
}

TEST(PBEFile, ParsesAHeaderInMemory) {
  const Bytes bytes = StoreBuilder("PEE").Level({1, 2, 3, 4, 5, 0.0, 31, 30, 3844, 0, 60000}).Build();
  XPBEFileInfo info(7.0, 18.0, 51200);
  ASSERT_TRUE(XPBEFile::ParseHeaderInfo(bytes.data(), &info));
  ASSERT_EQ(1, info.GetNumberOfLevel());
  EXPECT_EQ(30, info.GetLevelInfo(1)->GetTileHeight());
  EXPECT_EQ(60000u, info.GetLevelInfo(1)->GetStartPos());
  EXPECT_FALSE(XPBEFile::ParseHeaderInfo(StoreBuilder("PBI").Build().data(), &info));
  EXPECT_FALSE(XPBEFile::ParseHeaderInfo(nullptr, &info));
  EXPECT_FALSE(XPBEFile::ParseHeaderInfo(bytes.data(), nullptr));
}
