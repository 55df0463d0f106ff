// Stores whose headers lie. A tile is then not there: nothing is read, written, allocated or waited for, and the header
// stays as it is.

#include "ByteFlips.h"
#include "StoreBytes.h"
#include "TempFolder.h"
#include "XLimits.h"
#include "XPBEFile.h"
#include "XPBIFile.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <limits>
#include <memory>

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

namespace {

constexpr std::int32_t kEnds[] = {INT_MIN, -1, 0, 1, INT_MAX};

class HostileStore : public testing::Test {
 protected:
  std::string Path() const { return folder_.Path("store"); }

  /// Tries all that there is on some tiles; answers whether any was read or written.
  template <class Store>
  static bool IsAnyTileThere(Store& store, const StoreRecord& record, int (*tryTile)(Store&, int, int, int)) {
    int numHits = 0;
    for (const int row : {record.llRow, record.urRow, 0, INT_MIN, INT_MAX}) {
      for (const int col : {record.llCol, record.urCol, 0, INT_MIN, INT_MAX}) {
        numHits += tryTile(store, record.level, row, col);
      }
    }
    return numHits > 0;
  }

  static int TryImageTile(XPBIFile& store, int level, int row, int col) {
    static unsigned char data[1 << 16];  // the pixels of 4,096 bytes of blocks are eight times as many
    int size = 0;
    const std::unique_ptr<unsigned char[]> tile(store.GetDXTdata(level, row, col, size));
    XPBIReadBuffer buffer;
    const bool isRead = store.GetDXTdata(level, row, col, &buffer);
    delete[] buffer.data;
    const bool isUpdated = store.UpdateDXT(level, row, col, data) | store.Update(level, row, col, data, kPixelRgba);
    return (tile ? 1 : 0) + (isRead ? 1 : 0) + (isUpdated ? 1 : 0);
  }

  static int TryElevationTile(XPBEFile& store, int level, int row, int col) {
    static float data[1024];
    static tagXVector3f normals[256];
    int size = 0;
    const std::unique_ptr<float[]> tile(store.GetElevationData(level, row, col, size));
    const std::unique_ptr<tagXVector3f[]> ofTile(store.GetNormData(level, row, col, size));
    const bool isUpdated = store.Update(level, row, col, data) | store.UpdateNorm(level, row, col, normals) |
                           store.UpdatePosts(level, row, col, data);
    return (tile || ofTile ? 1 : 0) + (isUpdated ? 1 : 0);
  }

  void ExpectNoImageTile(const StoreRecord& record) const {
    const Bytes bytes = StoreBuilder("PBI").Level(record).Body(Bytes(4096, 1)).Build();
    folder_.Write("store", bytes);
    XPBIFile store;
    ASSERT_TRUE(store.OpenFile(Path(), 2));
    EXPECT_FALSE(IsAnyTileThere(store, record, &TryImageTile));
    int a = 0, b = 0;
    store.GetNumTiles(0, a, b);
    store.Close();
    EXPECT_EQ(bytes, ReadBytes(Path()));
  }

  void ExpectNoElevationTile(const StoreRecord& record, double version) const {
    const Bytes bytes = StoreBuilder("PBE").Version(version).Level(record).Body(Bytes(4096, 1)).Build();
    folder_.Write("store", bytes);
    XPBEFile store(Path(), 2);
    EXPECT_FALSE(IsAnyTileThere(store, record, &TryElevationTile));
    EXPECT_EQ(0.0f, store.GetValue(record.level, 0.0, 0.0));
    store.GetValue(0.0, 0.0);
    EXPECT_FALSE(store.SerilizeToBIP(record.level, folder_.Path("bip"), folder_.Path("hdr")));
    store.Close();
    EXPECT_EQ(bytes, ReadBytes(Path()));
  }

  void ExpectNoTile(const StoreRecord& record) const {
    SCOPED_TRACE(testing::Message() << "level " << record.level << " at " << record.offset);
    ExpectNoImageTile(record);
    for (const double version : {1.0, 1.2, 2.0}) ExpectNoElevationTile(record, version);
  }

  TempFolder folder_;
};

StoreRecord Honest() {
  return {0, 0, 0, 1, 1, 0.0, 8, 8, 32, 1, 51200};
}

template <class Change>
StoreRecord With(Change change) {
  StoreRecord record = Honest();
  change(record);
  return record;
}

}  // namespace

TEST_F(HostileStore, HasNoTilesInTheHeader) {
  for (const std::uint64_t offset : {0u, 1u, 35u, 51199u, 51200u - 3 * 32u}) {
    const StoreRecord record = With([&](StoreRecord& each) { each.offset = offset, each.urRow = each.urCol = 0; });
    ExpectNoTile(record);
  }
}

TEST_F(HostileStore, HasNoTilesBehindTheEndOrBeyondAllFiles) {
  for (const std::uint64_t offset : {std::uint64_t{51200 + 4096 - 31}, std::uint64_t{INT64_MAX},
                                     std::uint64_t{INT64_MAX} + 1, UINT64_MAX, UINT64_MAX - 127}) {
    ExpectNoTile(With([&](StoreRecord& each) { each.offset = offset; }));
  }
}

TEST_F(HostileStore, HasNoTilesOfAnImpossibleSize) {
  for (const std::int32_t storage : {INT_MIN, -32, -1, 0, 4097, INT_MAX}) {
    ExpectNoTile(With([&](StoreRecord& each) { each.storage = storage; }));
  }
}

TEST_F(HostileStore, HasNoTilesInAnInvertedRange) {
  ExpectNoTile(With([](StoreRecord& each) { each.llRow = 5; }));
  ExpectNoTile(With([](StoreRecord& each) { each.llCol = 5; }));
  ExpectNoTile(With([](StoreRecord& each) { each.llRow = INT_MAX, each.urRow = INT_MIN; }));
}

TEST_F(HostileStore, FindsNoTileFarFromTheBeginningOfAVastRange) {
  const StoreRecord record{7, INT_MIN, INT_MIN, INT_MAX, INT_MAX, 0.0, 8, 8, 4096, 1, 51200};
  folder_.Write("store", StoreBuilder("PBI").Level(record).Body(Bytes(4096, 1)).Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  int size = 0;
  EXPECT_EQ(nullptr, store.GetDXTdata(7, INT_MAX, INT_MAX, size));
  EXPECT_EQ(nullptr, store.GetDXTdata(7, 0, 0, size));
  const std::unique_ptr<unsigned char[]> first(store.GetDXTdata(7, INT_MIN, INT_MIN, size));
  EXPECT_NE(nullptr, first);
  EXPECT_EQ(INT64_MAX, store.GetFileInfo()->GetFileSize());
}

TEST_F(HostileStore, PacksNoTileThatIsTooSmallForItsBlocks) {
  for (const auto& [width, height] : {std::pair{9, 8}, {INT_MAX, INT_MAX}, {-1, 8}, {0, 0}, {INT_MIN, INT_MIN}}) {
    const StoreRecord record =
        With([&, w = width, h = height](StoreRecord& each) { each.tileWidth = w, each.tileHeight = h; });
    folder_.Write("store", StoreBuilder("PBI").Level(record).Body(Bytes(4096, 1)).Build());
    XPBIFile store;
    ASSERT_TRUE(store.OpenFile(Path(), 2));
    unsigned char pixels[256] = {};
    EXPECT_FALSE(store.Update(0, 0, 0, pixels, kPixelRgba)) << width;
    int size = 0;
    const std::unique_ptr<unsigned char[]> tile(store.GetDXTdata(0, 0, 0, size));
    EXPECT_EQ(32, size);
  }
}

TEST_F(HostileStore, PacksNothingForAnUnknownTypeOfBlocks) {
  for (const std::int32_t type : {INT_MIN, 0, 3, 5, 6, 256, INT_MAX}) {
    folder_.Write(
        "store",
        StoreBuilder("PBI").Level(With([&](StoreRecord& each) { each.type = type; })).Body(Bytes(4096, 1)).Build());
    XPBIFile store;
    ASSERT_TRUE(store.OpenFile(Path(), 2));
    unsigned char pixels[256] = {};
    EXPECT_FALSE(store.Update(0, 0, 0, pixels, kPixelRgba)) << type;
  }
}

// A level of 2^31 is halved no longer than there is something to halve; all of these open at once.
TEST_F(HostileStore, OpensWithAnyLevelsAndTileSizes) {
  for (const double size :
       {0.0, -1.0, 1e308, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    StoreBuilder images("PBI"), elevations("PBE");
    images.TileSize(size).Body(Bytes(4096, 1));
    elevations.TileSize(size).Version(size).Body(Bytes(4096, 1));
    for (int i = 0; i < 900; ++i) {
      const StoreRecord record = With([&](StoreRecord& each) { each.level = kEnds[i % 5], each.urRow = kEnds[i % 4]; });
      images.Level(record);
      elevations.Level(record);
    }
    folder_.Write("images", images.Build());
    folder_.Write("elevations", elevations.Build());
    XPBIFile image;
    EXPECT_TRUE(image.OpenFile(folder_.Path("images"), 0));
    EXPECT_EQ(900, image.GetFileInfo()->GetNumberOfLevel());
    const XPBEFile elevation(folder_.Path("elevations"), 0);
    EXPECT_EQ(900, elevation.GetFileInfo()->GetNumberOfLevel());
    elevation.GetValue(1.0, 1.0);
  }
}

TEST_F(HostileStore, CutsACountOfLevelsThatTheHeaderHasNoRoomFor) {
  for (const std::int32_t count : {INT_MAX, 984, 1 << 24}) {
    folder_.Write("store", StoreBuilder("PBI").Count(count).Build());
    XPBIFile store;
    ASSERT_TRUE(store.OpenFile(Path(), 0));
    EXPECT_EQ(983, store.GetFileInfo()->GetNumberOfLevel());
  }
  folder_.Write("store", StoreBuilder("PBI").Count(-5).Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_EQ(0, store.GetFileInfo()->GetNumberOfLevel());
}

TEST_F(HostileStore, GivesNoTileBeyondTheLimits) {
  const tagXLimits usual = XfnGetLimits();
  folder_.Write("store", StoreBuilder("PBI").Level(Honest()).Body(Bytes(4096, 1)).Build());
  tagXLimits low = usual;
  low.decodedTileBytes = 31;
  XfnSetLimits(low);
  XPBIFile store;
  EXPECT_TRUE(store.OpenFile(Path(), 0));
  XfnSetLimits(usual);
  int size = 0;
  EXPECT_EQ(nullptr, store.GetDXTdata(0, 0, 0, size));
  EXPECT_TRUE(store.OpenFile(Path(), 0));
  const std::unique_ptr<unsigned char[]> tile(store.GetDXTdata(0, 0, 0, size));
  EXPECT_NE(nullptr, tile);
}

TEST_F(HostileStore, GivesZerosWhereTheFileShrinksUnderIt) {
  folder_.Write("store", StoreBuilder("PBI").Level(Honest()).Body(Bytes(4096, 1)).Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  fs::resize_file(Path(), 51200 + 10);
  int size = 0;
  const std::unique_ptr<unsigned char[]> first(store.GetDXTdata(0, 0, 0, size));
  const std::unique_ptr<unsigned char[]> second(store.GetDXTdata(0, 0, 1, size));
  Bytes expected(32, 0);
  std::fill_n(expected.begin(), 10, 1);
  EXPECT_EQ(expected, Bytes(first.get(), first.get() + 32));
  EXPECT_EQ(Bytes(32, 0), Bytes(second.get(), second.get() + 32));
}

TEST_F(HostileStore, ShorterThanItsHeaderIsReadAsFarAsItGoes) {
  const Bytes whole = StoreBuilder("PBI").Level(Honest()).Level(Honest()).Build();
  for (const std::size_t length : {0u, 1u, 3u, 34u, 35u, 60u, 87u, 138u, 139u, 51199u}) {
    folder_.Write("store", Bytes(whole.begin(), whole.begin() + static_cast<long>(length)));
    XPBIFile store;
    EXPECT_TRUE(store.OpenFile(Path(), 0));
    EXPECT_EQ(length >= 35, store.IsUsable()) << length;
    if (length < 35) continue;
    EXPECT_EQ(length < 87 ? 0 : length < 139 ? 1 : 2, store.GetFileInfo()->GetNumberOfLevel()) << length;
  }
}

TEST_F(HostileStore, WithDamagedBytesNeverReachesItsHeader) {
  const Bytes whole = StoreBuilder("PBI").Level(Honest()).Level(Honest()).Body(Bytes(4096, 1)).Build();
  FlipBytes(whole, TrialCount(20000, 100), {0, 139}, [&](const Bytes& bytes) {
    folder_.Write("store", bytes);
    XPBIFile store;
    if (!store.OpenFile(Path(), 2) || !store.IsUsable()) return;
    for (const XPBILevelInfo* level : store.GetFileInfo()->GetLevelList()) {
      TryImageTile(store, level->GetLevel(), level->GetLLRow(), level->GetLLCol());
      TryImageTile(store, level->GetLevel(), level->GetURRow(), level->GetURCol());
    }
    store.Close();
    const Bytes after = ReadBytes(Path());
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 51200, after.begin()));
    EXPECT_EQ(bytes.size(), after.size());
  });
}
