// What a check of a whole store finds. Stores are built byte by byte, sound ones first; each test then spoils one
// thing.

#include "Stopwatch.h"
#include "StoreBytes.h"
#include "TempFolder.h"
#include "TxidBuilder.h"
#include "XLimits.h"
#include "XThread.h"
#include "XTileStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class StoreCheck : public testing::Test {
 protected:
  std::vector<std::string> Check(const char* name, const std::vector<unsigned char>& bytes) {
    folder_.Write(name, bytes);
    return CheckFile(name);
  }
  std::vector<std::string> CheckFile(const char* name) {
    XString err;
    EXPECT_EQ(1, XfnCheckStore(folder_.Path(name), report_, err)) << err.GetText();
    std::vector<std::string> findings;
    for (const XString& each : report_.findings) findings.push_back(each.AsStdString());
    return findings;
  }

  TempFolder folder_;
  tagXStoreReport report_;
};

/// Blocks of two unequal colours.
std::vector<unsigned char> SoundBlocks(std::size_t numBytes) {
  std::vector<unsigned char> bytes(numBytes);
  for (std::size_t i = 0; i < numBytes; ++i) bytes[i] = static_cast<unsigned char>(i % 8 < 4 ? i % 8 * 40 + 1 : i * 3);
  return bytes;
}

/// Level 1 with two rows of three tiles of 8 by 8 pixels.
StoreRecord ImageLevel() {
  return {
      .level = 1, .urRow = 1, .urCol = 2, .tileWidth = 8, .tileHeight = 8, .storage = 32, .type = 1, .offset = 51200};
}

std::vector<unsigned char> TinyStore(const StoreRecord& record, std::size_t numBytes = 6 * 32) {
  return StoreBuilder("PBI").Level(record).Body(SoundBlocks(numBytes)).Build();
}

using Posts = std::vector<float>;

std::vector<unsigned char> BytesOf(const Posts& posts) {
  std::vector<unsigned char> bytes(posts.size() * sizeof(float));
  std::memcpy(bytes.data(), posts.data(), bytes.size());
  return bytes;
}

/// Two by two tiles of 3 by 3 posts over a slope, so that all seams meet. A tile's first row is its north edge.
Posts Slope() {
  Posts posts;
  for (int row = 0; row < 2; ++row) {
    for (int col = 0; col < 2; ++col) {
      for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 3; ++x) {
          posts.push_back(static_cast<float>(100 * (2 * row + 2 - y) + 7 * (2 * col + x) + 1));
        }
      }
    }
  }
  return posts;
}

std::vector<unsigned char> SlopeStore(const Posts& posts, double version = 1.2, int storage = 36) {
  const StoreRecord record = {
      .urRow = 1, .urCol = 1, .tileWidth = 3, .tileHeight = 3, .storage = storage, .offset = 51200};
  return StoreBuilder("PBE").Version(version).Level(record).Body(BytesOf(posts)).Build();
}

}  // namespace

TEST_F(StoreCheck, FindsNothingWrongWithASoundImageStore) {
  EXPECT_THAT(Check("a.pbi", TinyStore(ImageLevel())), IsEmpty());
  EXPECT_EQ(6, report_.numTiles);
  EXPECT_EQ(0, report_.numEmptyTiles);
}

TEST_F(StoreCheck, CountsTilesThatWereNeverWritten) {
  std::vector<unsigned char> bytes = TinyStore(ImageLevel());
  std::fill_n(bytes.begin() + 51200 + 32, 64, static_cast<unsigned char>(0));
  EXPECT_THAT(Check("a.pbi", bytes), IsEmpty());
  EXPECT_EQ(2, report_.numEmptyTiles);
}

TEST_F(StoreCheck, TellsAHeaderThatContradictsItsFile) {
  std::vector<unsigned char> bytes = TinyStore(ImageLevel());
  bytes[23] = static_cast<unsigned char>(bytes[23] + 1);  // the length of the file
  bytes[31] = 1;                                          // of the header
  EXPECT_THAT(Check("a.pbi", bytes), ElementsAre("The header says that it has 51201 bytes; it has 51200",
                                                 "The header says that the file has 51393 bytes; it has 51392"));
}

TEST_F(StoreCheck, TellsLevelsThatTheHeaderHasNoRoomFor) {
  const auto bytes = StoreBuilder("PBI").Level(ImageLevel()).Count(984).Body(SoundBlocks(192)).Build();
  EXPECT_THAT(Check("a.pbi", bytes),
              testing::Contains("The header says that there are 984 levels; it has room for 983"));
  EXPECT_EQ(tagXStoreReport::kMaxFindings, report_.findings.size());
  EXPECT_GT(report_.numFindings, 1000);
}

TEST_F(StoreCheck, TellsSizesThatAreNoNumbers) {
  const auto bytes = StoreBuilder("PBI")
                         .Version(-1.0)
                         .TileSize(std::numeric_limits<double>::quiet_NaN())
                         .Level(ImageLevel())
                         .Body(SoundBlocks(192))
                         .Build();
  const auto findings = Check("a.pbi", bytes);
  EXPECT_THAT(findings, testing::Contains("The version is -1"));
  EXPECT_THAT(findings, testing::Contains(HasSubstr("The tile size of level 0 is")));
}

TEST_F(StoreCheck, TellsRangesThatAreInvertedOrReachBeyondTheGlobe) {
  StoreRecord record = ImageLevel();
  record.urCol = -1;
  EXPECT_THAT(Check("a.pbi", TinyStore(record)),
              ElementsAre("Level 1: the range is inverted: rows 0 to 1, columns 0 to -1"));
  record = ImageLevel();
  record.llRow = 20, record.urRow = 21;
  EXPECT_THAT(Check("a.pbi", TinyStore(record)),
              ElementsAre("Level 1: rows 20 to 21 and columns 0 to 2 reach beyond the globe"));
}

TEST_F(StoreCheck, AllowsTheRowThatAnExportOfImagesAddsAtTheRim) {
  StoreRecord record = ImageLevel();
  record.llRow = 19, record.urRow = 20;
  EXPECT_THAT(Check("a.pbi", TinyStore(record)), IsEmpty());
}

TEST_F(StoreCheck, ReadsNoMoreThanTheFileHasWhereLevelsShareTheirTiles) {
  StoreBuilder store("PBI");
  for (int i = 0; i < 900; ++i) store.Level(ImageLevel());
  const auto findings = Check("a.pbi", store.Body(SoundBlocks(192)).Build());
  EXPECT_LE(report_.numTiles, (51200 + 192) / 32 + 1);
  EXPECT_GT(report_.numFindings, 900);
}

TEST_F(StoreCheck, TellsTilesBehindTheEndAndInTheHeader) {
  StoreRecord record = ImageLevel();
  EXPECT_THAT(Check("a.pbi", TinyStore(record, 5 * 32)),
              ElementsAre("Level 1: tiles lie behind the end of the file: 192 bytes from byte 51200 on"));
  EXPECT_EQ(5, report_.numTiles);
  record.offset = 51000;
  EXPECT_THAT(Check("a.pbi", TinyStore(record)), ElementsAre("Level 1: its tiles begin in the header, at byte 51000"));
}

TEST_F(StoreCheck, TellsLevelsThatOverlapAreMissingOrThereTwice) {
  StoreRecord other = ImageLevel();
  other.level = 4;
  other.offset = 51200 + 191;
  const auto bytes = StoreBuilder("PBI").Level(ImageLevel()).Level(other).Level(ImageLevel()).Body(SoundBlocks(400));
  EXPECT_THAT(Check("a.pbi", bytes.Build()), ElementsAre("Level 1 is there twice; the first one counts",
                                                         "2 levels are missing between level 1 and level 4",
                                                         "The tiles of the levels 1 and 1 overlap in the file",
                                                         "The tiles of the levels 1 and 4 overlap in the file"));
}

TEST_F(StoreCheck, SaysOneOfAThingAsOneSaysIt) {
  StoreRecord record = ImageLevel(), above = ImageLevel();
  above.level = 3;
  record.storage = 1;
  EXPECT_THAT(Check("a.pbi", StoreBuilder("PBI").Level(record).Level(above).Body(SoundBlocks(192)).Build()),
              testing::IsSupersetOf({"Level 1: a tile of 8 by 8 has 1 byte; it needs 32",
                                     "1 level is missing between level 1 and level 3"}));
}

TEST_F(StoreCheck, TellsTilesOfTheWrongLengthOrOfAnUnknownType) {
  StoreRecord record = ImageLevel();
  record.storage = 24;
  EXPECT_THAT(Check("a.pbi", TinyStore(record)), ElementsAre("Level 1: a tile of 8 by 8 has 24 bytes; it needs 32"));
  record = ImageLevel();
  record.type = 3;
  EXPECT_THAT(Check("a.pbi", TinyStore(record)), ElementsAre("Level 1: a tile of 8 by 8 has 32 bytes; it needs 0"));
}

TEST_F(StoreCheck, TellsBlocksThatNoEncoderMakes) {
  std::vector<unsigned char> bytes = TinyStore(ImageLevel());
  const std::vector<unsigned char> equalColours = {1, 2, 1, 2, 0x04, 0, 0, 0};  // the second pixel has code 1
  std::ranges::copy(equalColours, bytes.begin() + 51200 + 4 * 32 + 8);
  EXPECT_THAT(Check("a.pbi", bytes), ElementsAre("Level 1, row 1, column 1: 1 block is none that an encoder makes"));
  // Code 3 of equal colours is a pixel that is not there, and code 0 the colour.
  bytes[51200 + 4 * 32 + 12] = 0x0C;
  EXPECT_THAT(Check("a.pbi", bytes), IsEmpty());
}

TEST_F(StoreCheck, AHugeRangeCostsNoMoreThanTheFileHas) {
  StoreRecord record = ImageLevel();
  record.urRow = record.urCol = 0x7FFFFFFF;
  EXPECT_EQ(2u, Check("a.pbi", TinyStore(record)).size());
  EXPECT_EQ(6, report_.numTiles);
}

TEST_F(StoreCheck, RowsWithoutColumnsAreNotWalked) {
  StoreRecord record = ImageLevel();
  record.llRow = std::numeric_limits<std::int32_t>::min();
  record.urRow = std::numeric_limits<std::int32_t>::max();
  record.urCol = -1;
  folder_.Write("a.pbi", TinyStore(record));
  XThread thread;
  XString err;
  const Stopwatch watch;
  EXPECT_EQ(1, XfnCheckStore(folder_.Path("a.pbi"), report_, err, &thread));
  EXPECT_LT(watch.Seconds(), 1.0);
  EXPECT_EQ(0, report_.numTiles);
}

TEST_F(StoreCheck, TilesOfMorePostsThanCanBeCountedAreNone) {
  const StoreRecord record = {.tileWidth = 0x7FFFFFFF, .tileHeight = 0x7FFFFFFF, .storage = 16, .offset = 51200};
  const auto bytes = StoreBuilder("PBE").Version(2.0).Level(record).Body(SoundBlocks(16)).Build();
  EXPECT_THAT(Check("a.pbe", bytes),
              ElementsAre("Level 0: a tile of 2147483647 by 2147483647 has 16 bytes; it needs 0"));
}

TEST_F(StoreCheck, FindsNothingWrongWhereSeamsMeet) {
  EXPECT_THAT(Check("a.pbe", SlopeStore(Slope())), IsEmpty());
  EXPECT_EQ(4, report_.numTiles);
}

TEST_F(StoreCheck, TellsSeamsThatDoNotMeet) {
  Posts posts = Slope();
  posts[9 + 3] += 1.0F;  // row 0, column 1, the western edge in the middle
  EXPECT_THAT(Check("a.pbe", SlopeStore(posts)),
              ElementsAre("Level 0, row 0, column 1: the western edge does not meet the tile beside it"));
  posts = Slope();
  posts[18 + 7] += 1.0F;  // row 1, column 0, the southern edge in the middle
  EXPECT_THAT(Check("a.pbe", SlopeStore(posts)),
              ElementsAre("Level 0, row 1, column 0: the southern edge does not meet the tile below it"));
}

TEST_F(StoreCheck, TilesThatWereNeverWrittenHaveNoSeams) {
  Posts posts = Slope();
  std::fill_n(posts.begin() + 9, 9, 0.0F);
  EXPECT_THAT(Check("a.pbe", SlopeStore(posts)), IsEmpty());
  EXPECT_EQ(1, report_.numEmptyTiles);
}

TEST_F(StoreCheck, ATileWithoutATileBeforeItHasNoSeams) {
  Posts posts = Slope();
  std::fill_n(posts.begin(), 9, 0.0F);
  EXPECT_THAT(Check("a.pbe", SlopeStore(posts)), IsEmpty());
  EXPECT_EQ(3, report_.numTiles - report_.numEmptyTiles);
}

TEST_F(StoreCheck, TellsHeightsThatAreNoNumbersAndNormalsOfOtherLengths) {
  Posts posts;
  for (int tile = 0; tile < 4; ++tile) {
    posts.insert(posts.end(), 9, 5.0F);
    for (int post = 0; post < 9; ++post) posts.insert(posts.end(), {0.6F, 0.0F, 0.8F});
  }
  EXPECT_THAT(Check("a.pbe", SlopeStore(posts, 2.0, 144)), IsEmpty());
  posts[4] = NAN;             // the middle of the first tile
  posts[3 * 36 + 9] = 0.65F;  // the first normal of the last one
  EXPECT_THAT(Check("a.pbe", SlopeStore(posts, 2.0, 144)),
              ElementsAre("Level 0, row 0, column 0: a height is no number",
                          "Level 0, row 1, column 1: 1 normal is not of unit length"));
}

TEST_F(StoreCheck, TellsKeysThatAreDoubleOrOfNoTileAndDataThatIsNotThere) {
  TxidBuilder store;
  store.Grid(3, 2, 8).Tile(0, SoundBlocks(32)).Tile(4, SoundBlocks(32)).Tile(4, SoundBlocks(32));
  store.Tile(6, SoundBlocks(32)).Record(5, 1000, 32);
  folder_.Write("a.txd", store.BuildData());
  EXPECT_THAT(Check("a.txi", store.BuildIndex()),
              ElementsAre("The key 4 is there more than once; the last one counts",
                          "The key 6 is none of a grid of 3 by 2 tiles",
                          "Level 0, row 1, column 2: the tile lies behind the end of the data"));
  EXPECT_EQ(2, report_.numTiles);
}

TEST_F(StoreCheck, TellsTilesThatOverlapInTheData) {
  TxidBuilder store;
  store.Grid(3, 2, 8).Tile(0, SoundBlocks(32)).Tile(1, SoundBlocks(32)).Record(2, 8, 32).Record(3, 0, 32);
  folder_.Write("a.txd", store.BuildData());
  EXPECT_THAT(Check("a.txi", store.BuildIndex()), ElementsAre("The tiles of the keys 3 and 2 overlap in the data",
                                                              "The tiles of the keys 2 and 1 overlap in the data"));
}

TEST_F(StoreCheck, RefusesWhatIsNoStore) {
  XString err;
  folder_.Write("a.bmp", SoundBlocks(100));
  EXPECT_EQ(0, XfnCheckStore(folder_.Path("a.bmp"), report_, err));
  EXPECT_EQ("Not a tile store", err.AsStdString());
  EXPECT_EQ(0, XfnCheckStore(folder_.Path("none.pbi"), report_, err));
  EXPECT_EQ("No such file", err.AsStdString());
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("none.pbi")));
}

TEST_F(StoreCheck, StopsWhenItIsAskedTo) {
  folder_.Write("a.pbi", TinyStore(ImageLevel()));
  XThread thread;
  thread.SetState(1);
  XString err("before");
  EXPECT_EQ(0, XfnCheckStore(folder_.Path("a.pbi"), report_, err, &thread));
  EXPECT_EQ("", err.AsStdString());
}

TEST_F(StoreCheck, TakesTilesOutAsTheyLieInTheFile) {
  folder_.Write("a.pbi", TinyStore(ImageLevel()));
  tagXStoreTile tile;
  XString err;
  ASSERT_EQ(1, XfnReadStoreTile(folder_.Path("a.pbi"), 1, 1, 2, tile, err)) << err.GetText();
  const std::vector<unsigned char> all = SoundBlocks(192);
  EXPECT_EQ(std::vector<unsigned char>(all.end() - 32, all.end()), tile.bytes);
  EXPECT_EQ(8 * 8 * 4u, tile.rgba.size());
  EXPECT_EQ(kDxt1, tile.blockType);
}

TEST_F(StoreCheck, RefusesTilesThatAreNotThere) {
  folder_.Write("a.pbi", TinyStore(ImageLevel()));
  tagXStoreTile tile;
  tile.width = 77;
  XString err;
  EXPECT_EQ(0, XfnReadStoreTile(folder_.Path("a.pbi"), 0, 0, 0, tile, err));
  EXPECT_EQ("The store has no such level", err.AsStdString());
  EXPECT_EQ(0, XfnReadStoreTile(folder_.Path("a.pbi"), 1, 2, 0, tile, err));
  EXPECT_EQ("Level 1 has the rows 0 to 1 and the columns 0 to 2", err.AsStdString());
  EXPECT_EQ(77, tile.width);
}

TEST_F(StoreCheck, RefusesTilesOfWhatHasNone) {
  StoreRecord inverted = ImageLevel();
  inverted.urCol = -1;
  folder_.Write("a.pbi", TinyStore(inverted));
  folder_.Write("a.txi", TxidBuilder().Grid(3, 0, 8).BuildIndex());
  tagXStoreTile tile;
  XString err;
  EXPECT_EQ(0, XfnReadStoreTile(folder_.Path("a.pbi"), 1, 0, 0, tile, err));
  EXPECT_EQ("Level 1 has no tiles", err.AsStdString());
  EXPECT_EQ(0, XfnReadStoreTile(folder_.Path("a.txi"), 0, 0, 0, tile, err));
  EXPECT_EQ("The store has no tiles", err.AsStdString());
}

TEST_F(StoreCheck, RefusesTilesWhosePixelsPassTheLimits) {
  folder_.Write("a.pbi", TinyStore(ImageLevel()));
  const tagXLimits before = XfnGetLimits();
  tagXLimits limits = before;
  limits.decodedTileBytes = 8 * 8 * 4 - 1;  // the blocks of a tile have 32 bytes
  tagXStoreTile tile;
  XString err;
  XfnSetLimits(limits);
  const int isRead = XfnReadStoreTile(folder_.Path("a.pbi"), 1, 0, 0, tile, err);
  XfnSetLimits(before);
  EXPECT_EQ(0, isRead);
  EXPECT_EQ("The tiles are larger than the limits allow", err.AsStdString());
}

/// The number of tile (32768, 0) in a grid of 65536 columns is 2^31, one more than a key can be.
TEST_F(StoreCheck, ATileWhoseNumberNoKeyHoldsIsNotThere) {
  TxidBuilder store;
  store.Grid(65536, 65536, 1).Tile(std::numeric_limits<std::int32_t>::min(), SoundBlocks(8));
  folder_.Write("a.txd", store.BuildData());
  folder_.Write("a.txi", store.BuildIndex());
  tagXStoreTile tile;
  XString err;
  EXPECT_EQ(0, XfnReadStoreTile(folder_.Path("a.txi"), 0, 32768, 0, tile, err));
  EXPECT_EQ("The store does not have this tile", err.AsStdString());
}

TEST_F(StoreCheck, TakesHeightsOfWordsOutAsFloats) {
  const StoreRecord record = {.urCol = 0, .tileWidth = 2, .tileHeight = 1, .storage = 4, .offset = 51200};
  folder_.Write("a.pbe", StoreBuilder("PBE").Version(1.05).Level(record).Body({0xFB, 0xFF, 7, 0}).Build());
  tagXStoreTile tile;
  XString err;
  ASSERT_EQ(1, XfnReadStoreTile(folder_.Path("a.pbe"), 0, 0, 0, tile, err)) << err.GetText();
  EXPECT_EQ((Posts{-5.0F, 7.0F}), tile.heights);
}

/// The tiles of a store without any have a size, too. One of 60,000 by 60,000 has 1,800,000,000 bytes.
TEST_F(StoreCheck, TellsTilesOfAnIndexThatAreLargerThanTheLimits) {
  for (const int tileSize : {60000, 200000}) {
    EXPECT_THAT(Check("a.txi", TxidBuilder().Grid(1, 1, tileSize).BuildIndex()),
                ElementsAre("The tiles are larger than the limits allow"));
  }
  TxidBuilder store;
  store.Grid(1, 1, 60000).Record(0, 0, 32);
  EXPECT_THAT(Check("a.txi", store.BuildIndex()),
              ElementsAre("A tile of 60000 by 60000 has 32 bytes; it needs 1800000000",
                          "The tiles are larger than the limits allow"));
}
