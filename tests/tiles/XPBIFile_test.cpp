// Image stores: files that are written are read by a reader of the test's own, and files that are read are built byte
// by byte. What a damaged or hostile header must not do is in HostileStores_test.cpp.

#include "XPBIFile.h"

#include "FaultyDisk.h"
#include "StoreBytes.h"
#include "TempFolder.h"
#include "tiles/BlockCoder.h"

#include <gtest/gtest.h>
#include <squish.h>

#include <climits>
#include <filesystem>
#include <memory>
#include <random>

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

namespace {

class ImageStore : public testing::Test {
 protected:
  std::string Path() const { return folder_.Path("a.pbi"); }
  StoreReader Written() const { return StoreReader(ReadBytes(Path())); }

  /// Two by three tiles of 8 x 8 pixels, at level 4 from row 10 and column 20 on; 32 bytes a tile.
  void CreateSmall(_XDXTTYPE type = kDxt1) {
    ASSERT_TRUE(store_.AddLevel(4, 10, 20, 11, 22, 8, 8, type));
    ASSERT_TRUE(store_.Create(Path()));
  }
  /// The same as a file of another's, its tiles numbered.
  static StoreBuilder Small(const char* mark = "PBI") {
    Bytes body;
    for (unsigned i = 0; i < 6; ++i) {
      const Bytes tile = TileOf(32, i);
      body.insert(body.end(), tile.begin(), tile.end());
    }
    return StoreBuilder(mark).Level({4, 10, 20, 11, 22, 0.0, 8, 8, 32, 1, 51200}).Body(body);
  }
  static Bytes Tile(const XPBIFile& store, int level, int row, int col) {
    int size = -7;
    const std::unique_ptr<unsigned char[]> tile(store.GetDXTdata(level, row, col, size));
    if (tile) return Bytes(tile.get(), tile.get() + size);
    EXPECT_EQ(-7, size);
    return {};
  }

  TempFolder folder_;
  XPBIFile store_{1.0, 18.0};
};

using PBIFileCreate = ImageStore;
using PBIFileOpen = ImageStore;
using PBIFileUpdate = ImageStore;
using PBIFileRead = ImageStore;
using PBIFileCopies = ImageStore;

Bytes RandomPixels(int width, int height, int bytesPerPixel, unsigned seed = 1) {
  std::mt19937 random(seed);
  Bytes pixels(static_cast<std::size_t>(width * height * bytesPerPixel));
  for (unsigned char& each : pixels) each = static_cast<unsigned char>(random());
  return pixels;
}

}  // namespace

TEST(PBIFile, BeginsEmptyOrAsANewStore) {
  const XPBIFile empty;
  EXPECT_FALSE(empty.IsUsable());
  EXPECT_EQ(nullptr, empty.GetFileInfo());
  const XPBIFile store(1.5, 9.0);
  EXPECT_TRUE(store.IsUsable());
  ASSERT_NE(nullptr, store.GetFileInfo());
  EXPECT_EQ(1.5, store.GetFileInfo()->GetVersion());
  EXPECT_EQ(9.0, store.GetFileInfo()->GetTileSize());
  EXPECT_EQ(51200, store.GetFileInfo()->GetHeaderSize());
}

TEST(PBIFile, WithoutAHeaderDoesNothing) {
  TempFolder folder;
  XPBIFile empty;
  unsigned char data[64] = {};
  int size = 0, other = 0;
  EXPECT_FALSE(empty.AddLevel(0, 8, 8, kDxt1));
  EXPECT_FALSE(empty.AddLevel(0, 0, 0, 1, 1, 8, 8, kDxt1));
  EXPECT_FALSE(empty.Create(folder.Path("a.pbi")));
  EXPECT_FALSE(empty.Update(0, 0, 0, data, kPixelRgba));
  EXPECT_FALSE(empty.UpdateDXT(0, 0, 0, data));
  EXPECT_EQ(nullptr, empty.GetDXTdata(0, 0, 0, size));
  EXPECT_EQ(-1, empty.GetNumTiles(0, size, other));
  EXPECT_FALSE(empty.GetTileRange(0, size, size, size, size));
  EXPECT_TRUE(empty.Close());
  EXPECT_FALSE(fs::exists(folder.Path("a.pbi")));
}

TEST(PBIFile, KnowsTheBytesOfATile) {
  EXPECT_EQ(32768, XPBIFile::GetStorageRequirements(256, 256, kDxt1));
  EXPECT_EQ(8, XPBIFile::GetStorageRequirements(2, 2, kDxt1));
  EXPECT_EQ(32, XPBIFile::GetStorageRequirements(5, 5, kDxt1));
  EXPECT_EQ(16, XPBIFile::GetStorageRequirements(2, 2, kDxt3));
  EXPECT_EQ(64, XPBIFile::GetStorageRequirements(5, 5, kDxt3));
  EXPECT_EQ(64, XPBIFile::GetStorageRequirements(5, 5, kDxt5));
  EXPECT_EQ(24, XPBIFile::GetStorageRequirements(3, 9, kDxt1));
}

TEST(PBIFile, HasNoBytesForATileThatCannotBe) {
  EXPECT_EQ(8, XPBIFile::GetStorageRequirements(0, -5, kDxt1));  // both below 4
  EXPECT_EQ(0, XPBIFile::GetStorageRequirements(0, 8, kDxt1));
  EXPECT_EQ(0, XPBIFile::GetStorageRequirements(-1, 8, kDxt3));
  EXPECT_EQ(0, XPBIFile::GetStorageRequirements(INT_MAX, INT_MAX, kDxt5));
}

/// libsquish takes flags that name none of its methods, or several, for the first method.
TEST(PBIFile, CountsTheBytesOfOtherTypesAsSquishDoes) {
  for (const int type : {0, 3, 5, 6, 7, 1024}) {
    EXPECT_EQ(32, XPBIFile::GetStorageRequirements(5, 5, static_cast<_XDXTTYPE>(type))) << type;
  }
  EXPECT_EQ(8, XPBIFile::GetStorageRequirements(2, 2, kDxtNone));
  EXPECT_EQ(0, XPBIFile::GetStorageRequirements(0, 2, kDxtNone));
  EXPECT_EQ(0, XPBIFile::GetStorageRequirements(INT_MAX, INT_MAX, kDxtNone));
}

TEST_F(PBIFileCreate, WritesTheHeaderAndRoomForAllTiles) {
  ASSERT_TRUE(store_.AddLevel(1, 256, 256, kDxt1));
  ASSERT_TRUE(store_.AddLevel(4, 10, 20, 11, 22, 5, 5, kDxt5));
  ASSERT_TRUE(store_.Create(Path()));
  EXPECT_EQ(Path(), store_.GetFileName());
  const StoreReader file = Written();
  EXPECT_EQ("PBI", file.Mark());
  EXPECT_EQ(1.0, file.Version());
  EXPECT_EQ(18.0, file.TileSize());
  EXPECT_EQ(2, file.Count());
  EXPECT_EQ(51200, file.HeaderSize());
  EXPECT_EQ((StoreRecord{1, 0, 0, 19, 39, 9.0, 256, 256, 32768, 1, 51200}), file.Record(0));
  EXPECT_EQ((StoreRecord{4, 10, 20, 11, 22, 1.125, 5, 5, 64, 4, 51200 + 800 * 32768}), file.Record(1));
  EXPECT_TRUE(file.IsZeroFrom(35 + 2 * 52));
  EXPECT_EQ(51200u + 800 * 32768 + 6 * 64, file.Size());
  EXPECT_EQ(static_cast<std::int64_t>(file.Size()), file.FileSize());
  EXPECT_EQ(Bytes(800 * 32768 + 6 * 64, 0), file.Bytes(51200, 800 * 32768 + 6 * 64));
}

TEST_F(PBIFileCreate, MayHaveNoLevels) {
  ASSERT_TRUE(store_.Create(Path()));
  EXPECT_EQ(51200u, fs::file_size(Path()));
  XPBIFile read;
  EXPECT_TRUE(read.OpenFile(Path(), 0));
  EXPECT_TRUE(read.IsUsable());
  EXPECT_EQ(0, read.GetFileInfo()->GetNumberOfLevel());
}

TEST_F(PBIFileCreate, EmptiesAnOldFile) {
  folder_.Write("a.pbi", TileOf(51200 + 6 * 32, 5));
  CreateSmall();
  EXPECT_EQ(Bytes(6 * 32, 0), Written().Bytes(51200, 6 * 32));
}

TEST_F(PBIFileCreate, ForgetsLevelsThatAreAddedLater) {
  CreateSmall();
  EXPECT_TRUE(store_.AddLevel(5, 0, 0, 0, 0, 8, 8, kDxt1));
  EXPECT_EQ(2, store_.GetFileInfo()->GetNumberOfLevel());
  EXPECT_EQ(1, Written().Count());
  unsigned char data[32] = {};
  EXPECT_FALSE(store_.UpdateDXT(5, 0, 0, data));
}

TEST_F(PBIFileCreate, FailsWhereNoFileCanBeMade) {
  store_.AddLevel(0, 8, 8, kDxt1);
  EXPECT_FALSE(store_.Create(folder_.Path("no/folder/a.pbi")));
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailOpen(1, EROFS);
  EXPECT_FALSE(store_.Create(Path()));
  EXPECT_FALSE(fs::exists(Path()));
}

TEST_F(PBIFileCreate, FailsOnAFullDiskAndLeavesNoFile) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  store_.AddLevel(0, 256, 256, kDxt1);
  disk.SetFreeBytes(51200 + 6553600 - 1);
  EXPECT_FALSE(store_.Create(Path()));
  EXPECT_FALSE(fs::exists(Path()));
  disk.SetFreeBytes(51200 + 6553600);
  disk.FailWrite(1);
  EXPECT_FALSE(store_.Create(Path()));
  EXPECT_FALSE(fs::exists(Path()));
  EXPECT_TRUE(store_.Create(Path()));
}

TEST_F(PBIFileCreate, FailsForMoreThanAnyDiskHolds) {
  for (int level = 0; level < 40; ++level) store_.AddLevel(20, 256, 256, kDxt1);
  EXPECT_FALSE(store_.Create(Path()));
  EXPECT_FALSE(fs::exists(Path()));
}

TEST_F(PBIFileCreate, FailsWithMoreLevelsThanTheHeaderHolds) {
  for (int i = 0; i < 983; ++i) store_.AddLevel(9, 0, 0, 0, 0, 4, 4, kDxt1);
  EXPECT_TRUE(store_.Create(Path()));
  store_.AddLevel(9, 0, 0, 0, 0, 4, 4, kDxt1);
  EXPECT_FALSE(store_.Create(folder_.Path("b.pbi")));
  EXPECT_FALSE(fs::exists(folder_.Path("b.pbi")));
}

TEST_F(PBIFileOpen, ReadsTheHeader) {
  folder_.Write("a.pbi", Small().Version(3.0).TileSize(9.0).HeaderSize(777).Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_TRUE(store.IsUsable());
  EXPECT_EQ(Path(), store.GetFileName());
  const XPBIFileInfo* info = store.GetFileInfo();
  EXPECT_EQ(3.0, info->GetVersion());
  EXPECT_EQ(9.0, info->GetTileSize());
  EXPECT_EQ(777, info->GetHeaderSize());
  EXPECT_EQ(777 + 6 * 32, info->GetFileSize());  // added up anew, and not the field of the header
  ASSERT_EQ(1, info->GetNumberOfLevel());
  EXPECT_EQ(9.0 / 16, info->GetLevelInfo(4)->GetTileSize());
  EXPECT_EQ(51200u, info->GetLevelInfo(4)->GetStartPos());
}

TEST_F(PBIFileOpen, CutsTheVersionToAWholeNumber) {
  folder_.Write("a.pbi", Small().Version(1.9).Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_EQ(1.0, store.GetFileInfo()->GetVersion());
}

TEST_F(PBIFileOpen, TakesTheMarkPEI) {
  folder_.Write("a.pbi", Small("PEI").Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_TRUE(store.IsUsable());
  EXPECT_EQ(TileOf(32, 5), Tile(store, 4, 11, 22));
}

TEST_F(PBIFileOpen, SucceedsWithAFileThatIsNoStoreWhichIsNotUsable) {
  folder_.Write("a.pbi", Small("PBX").Build());
  XPBIFile store(1.0, 18.0);
  EXPECT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_FALSE(store.IsUsable());
  EXPECT_EQ(nullptr, store.GetFileInfo());
  folder_.Write("a.pbi", "");
  EXPECT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_FALSE(store.IsUsable());
  folder_.Write("a.pbi", "PBI");
  EXPECT_TRUE(store.OpenFile(Path(), 2));
  EXPECT_FALSE(store.IsUsable());
}

TEST_F(PBIFileOpen, FailsWithoutAFileAndMakesNone) {
  XPBIFile store(1.0, 18.0);
  for (const unsigned mode : {0u, 2u, 3u}) {
    EXPECT_FALSE(store.OpenFile(Path(), mode));
    EXPECT_FALSE(store.IsUsable());
    EXPECT_FALSE(fs::exists(Path()));
  }
  EXPECT_EQ(Path(), store.GetFileName());
}

TEST_F(PBIFileOpen, DoesNotAskForTheFileInOtherModes) {
  XPBIFile store;
  EXPECT_TRUE(store.OpenFile(Path(), 1));
  EXPECT_FALSE(store.IsUsable());
  EXPECT_TRUE(fs::exists(Path()));
}

TEST_F(PBIFileOpen, LaysAGridOverTheWorldByTheFirstLevel) {
  const StoreRecord first{1, 2, 3, 4, 7, 0.0, 256, 128, 8, 1, 51200};
  const StoreRecord second{4, 10, 20, 11, 22, 0.0, 8, 8, 32, 1, 51200};
  folder_.Write("a.pbi", StoreBuilder("PBI").Level(first).Level(second).Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  const tagVirtualTileGrid grid = store.GetVirtualTileGrid();
  EXPECT_EQ(3 * 9.0 - 180.0, grid.originX);
  EXPECT_EQ(2 * 9.0 - 90.0, grid.originY);
  EXPECT_EQ(9.0 / 256, grid.stepX);
  EXPECT_EQ(9.0 / 128, grid.stepY);
  EXPECT_EQ(45, grid.width);  // five tiles of nine degrees: whole degrees and not pixels
  EXPECT_EQ(27, grid.height);
}

TEST_F(PBIFileOpen, HandsTheGridToADerivedClass) {
  struct Recorder : XPBIFile {
    void SetVirtualTileGrid(double, double, double, double, int, int) override { ++numCalls; }
    int numCalls = 0;
  } store;
  folder_.Write("a.pbi", Small().Build());
  EXPECT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_EQ(1, store.numCalls);
}

TEST_F(PBIFileOpen, TellsTheRangesOfLevelsByTheirPlace) {
  folder_.Write("a.pbi", Small().Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  int llCol = 0, urCol = 0, llRow = 0, urRow = 0;
  EXPECT_TRUE(store.GetTileRange(0, llCol, urCol, llRow, urRow));
  EXPECT_EQ(20, llCol);
  EXPECT_EQ(22, urCol);
  EXPECT_EQ(10, llRow);
  EXPECT_EQ(11, urRow);
  EXPECT_FALSE(store.GetTileRange(1, llCol, urCol, llRow, urRow));
  EXPECT_EQ(6, store.GetNumTiles(0, llCol, urCol));
  EXPECT_EQ(-1, store.GetNumTiles(1, llCol, urCol));
  EXPECT_EQ(20, llCol);
}

TEST_F(PBIFileOpen, EndsWithClose) {
  folder_.Write("a.pbi", Small().Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_TRUE(store.Close());
  EXPECT_FALSE(store.IsUsable());
  EXPECT_EQ(nullptr, store.GetFileInfo());
  EXPECT_TRUE(Tile(store, 4, 10, 20).empty());
}

TEST_F(PBIFileRead, GivesEachTileInANewArray) {
  folder_.Write("a.pbi", Small().Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  for (int i = 0; i < 6; ++i) EXPECT_EQ(TileOf(32, static_cast<unsigned>(i)), Tile(store, 4, 10 + i / 3, 20 + i % 3));
}

TEST_F(PBIFileRead, GivesNothingForUnknownLevelsAndTilesOutside) {
  folder_.Write("a.pbi", Small().Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  XPBIReadBuffer buffer;
  for (const auto& [level, row, col] : {std::tuple{5, 10, 20}, {0, 0, 0}, {4, 9, 20}, {4, 12, 20}, {4, 10, 23}}) {
    EXPECT_TRUE(Tile(store, level, row, col).empty());
    EXPECT_FALSE(store.GetDXTdata(level, row, col, &buffer));
  }
  EXPECT_FALSE(store.GetDXTdata(4, 10, 20, nullptr));
  EXPECT_EQ(nullptr, buffer.data);
  EXPECT_EQ(0, buffer.tileWidth);
}

TEST_F(PBIFileRead, FillsABufferThatGrowsOnlyWhereItIsTooSmall) {
  folder_.Write("a.pbi", StoreBuilder("PBI")
                             .Level({4, 0, 0, 0, 0, 0.0, 8, 4, 16, 1, 51200})
                             .Level({5, 0, 0, 0, 0, 0.0, 16, 8, 64, 4, 51216})
                             .Body(TileOf(80, 3))
                             .Build());
  XPBIFile store;
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  XPBIReadBuffer buffer;
  ASSERT_TRUE(store.GetDXTdata(5, 0, 0, &buffer));
  EXPECT_EQ(64, buffer.capacity);
  EXPECT_EQ(64, buffer.usedLength);
  EXPECT_EQ(16, buffer.tileWidth);
  EXPECT_EQ(8, buffer.tileHeight);
  EXPECT_EQ(4, buffer.dxtType);
  const unsigned char* const array = buffer.data;
  ASSERT_TRUE(store.GetDXTdata(4, 0, 0, &buffer));
  EXPECT_EQ(array, buffer.data);
  EXPECT_EQ(64, buffer.capacity);
  EXPECT_EQ(16, buffer.usedLength);
  EXPECT_EQ(1, buffer.dxtType);
  const Bytes body = TileOf(80, 3);
  EXPECT_EQ(Bytes(body.begin(), body.begin() + 16), Bytes(buffer.data, buffer.data + 16));
  delete[] buffer.data;
}

TEST_F(PBIFileUpdate, PassesBlocksThroughToTheirTile) {
  CreateSmall();
  for (unsigned i = 0; i < 6; ++i) {
    Bytes tile = TileOf(32, i);
    const int row = 10 + static_cast<int>(i) / 3, col = 20 + static_cast<int>(i) % 3;
    EXPECT_TRUE(i % 2 ? store_.UpdateDXT(4, row, col, tile.data())
                      : store_.Update(4, row, col, tile.data(), kPixelDxt1));
  }
  const StoreReader file = Written();
  for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(TileOf(32, i), file.Bytes(51200 + 32 * i, 32));
  EXPECT_EQ(1, file.Count());
}

TEST_F(PBIFileUpdate, PassesBothKindsOfBlocksThroughToOtherLevels) {
  for (const _XPIXELFORMAT format : {kPixelDxt3, kPixelDxt5}) {
    XPBIFile store(1.0, 18.0);
    store.AddLevel(0, 0, 0, 0, 0, 4, 4, kDxt3);
    ASSERT_TRUE(store.Create(Path()));
    Bytes tile = TileOf(16, 9);
    EXPECT_TRUE(store.Update(0, 0, 0, tile.data(), format));
    EXPECT_EQ(tile, Written().Bytes(51200, 16));
  }
}

// Red is (255 + 4) / 8, cut to 31, in the top five bits. A block of one colour has white as the other and codes of 0.
TEST_F(PBIFileUpdate, PacksPixelsForALevelOfDxt1) {
  CreateSmall();
  Bytes red;
  for (int i = 0; i < 64; ++i) red.insert(red.end(), {255, 0, 0, 255});
  EXPECT_TRUE(store_.Update(4, 11, 21, red.data(), kPixelRgba));
  Bytes expected;
  for (int i = 0; i < 4; ++i) expected.insert(expected.end(), {0x00, 0xF8, 0xFF, 0xFF, 0, 0, 0, 0});
  EXPECT_EQ(expected, Written().Bytes(51200 + 4 * 32, 32));
  Bytes blue;
  for (int i = 0; i < 64; ++i) blue.insert(blue.end(), {255, 0, 0});
  EXPECT_TRUE(store_.Update(4, 11, 21, blue.data(), kPixelBgr));
  EXPECT_EQ(0x1F, Written().Bytes(51200 + 4 * 32, 1)[0]);
}

/// Beside a colour other than black the encoder has no transparent code, and so the pixel becomes a third of it.
TEST_F(PBIFileUpdate, MakesATransparentPixelOfASolidRedBlockDarkRed) {
  CreateSmall();
  Bytes pixels;
  for (int i = 0; i < 64; ++i) pixels.insert(pixels.end(), {255, 0, 0, 255});
  pixels[4 * 27 + 3] = 0;  // in the row 3 from the bottom and the column 3
  ASSERT_TRUE(store_.Update(4, 10, 20, pixels.data(), kPixelRgba));
  Bytes unpacked(8 * 8 * 4);
  ASSERT_TRUE(zrk::DecodeBlocksAs(Tile(store_, 4, 10, 20), {kDxt1, 8, 8}, kPixelRgba, unpacked));
  for (std::size_t i = 0; i < 64; ++i) {
    const auto red = static_cast<unsigned char>(i == 27 ? 82 : 248);
    EXPECT_EQ((Bytes{red, 0, 0, 255}), Bytes(&unpacked[4 * i], &unpacked[4 * i] + 4)) << i;
  }
}

TEST_F(PBIFileUpdate, PacksRgbaBySquishForOtherLevels) {
  for (const _XDXTTYPE type : {kDxt3, kDxt5}) {
    XPBIFile store(1.0, 18.0);
    store.AddLevel(0, 0, 0, 0, 0, 8, 8, type);
    ASSERT_TRUE(store.Create(Path()));
    Bytes pixels = RandomPixels(8, 8, 4);
    Bytes expected(64);
    squish::CompressImage(pixels.data(), 8, 8, expected.data(), type);
    EXPECT_TRUE(store.Update(0, 0, 0, pixels.data(), kPixelRgba));
    EXPECT_EQ(expected, Written().Bytes(51200, 64));
  }
}

TEST_F(PBIFileUpdate, WritesNothingForAFormatThatTheLevelCannotTake) {
  store_.AddLevel(0, 0, 0, 0, 0, 8, 8, kDxt1);
  store_.AddLevel(1, 0, 0, 0, 0, 8, 8, kDxt5);
  ASSERT_TRUE(store_.Create(Path()));
  const Bytes before = ReadBytes(Path());
  Bytes pixels = RandomPixels(8, 8, 4);
  for (const int format : {0, 8, 13, 15, 16, 99, -1}) {
    EXPECT_FALSE(store_.Update(0, 0, 0, pixels.data(), static_cast<_XPIXELFORMAT>(format))) << format;
  }
  for (const int format : {0, 1, 2, 3, 5, 6, 7, 8, 14, 99}) {
    EXPECT_FALSE(store_.Update(1, 0, 0, pixels.data(), static_cast<_XPIXELFORMAT>(format))) << format;
  }
  EXPECT_EQ(before, ReadBytes(Path()));
}

TEST_F(PBIFileUpdate, LeavesFileAndHeaderAloneForUnknownLevelsAndTilesOutside) {
  CreateSmall();
  const Bytes before = ReadBytes(Path());
  Bytes pixels = RandomPixels(8, 8, 4);
  for (const auto& [level, row, col] : {std::tuple{5, 10, 20}, {0, 0, 0}, {4, 9, 20}, {4, 12, 20}, {4, 10, 23}}) {
    EXPECT_FALSE(store_.UpdateDXT(level, row, col, pixels.data()));
    EXPECT_FALSE(store_.Update(level, row, col, pixels.data(), kPixelDxt1));
    EXPECT_FALSE(store_.Update(level, row, col, pixels.data(), kPixelRgba));
  }
  EXPECT_FALSE(store_.Update(4, 10, 20, nullptr, kPixelRgba));
  EXPECT_FALSE(store_.UpdateDXT(4, 10, 20, nullptr));
  EXPECT_EQ(before, ReadBytes(Path()));
}

TEST_F(PBIFileUpdate, ChangesAFileThatIsOpenForWriting) {
  folder_.Write("a.pbi", Small().Build());
  XPBIFile store;
  Bytes tile = TileOf(32, 77);
  ASSERT_TRUE(store.OpenFile(Path(), 0));
  EXPECT_FALSE(store.UpdateDXT(4, 10, 21, tile.data()));
  EXPECT_FALSE(store.Update(4, 10, 21, RandomPixels(8, 8, 4).data(), kPixelRgba));
  ASSERT_TRUE(store.OpenFile(Path(), 2));
  EXPECT_TRUE(store.UpdateDXT(4, 10, 21, tile.data()));
  Bytes expected = Small().Build();
  std::copy(tile.begin(), tile.end(), expected.begin() + 51200 + 32);
  EXPECT_EQ(expected, ReadBytes(Path()));
}

TEST_F(PBIFileUpdate, FailsOnAFullDisk) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  CreateSmall();
  disk.FailWrite(1 + 2);  // the header took two
  Bytes tile = TileOf(32, 77);
  EXPECT_FALSE(store_.UpdateDXT(4, 10, 21, tile.data()));
  EXPECT_TRUE(store_.UpdateDXT(4, 10, 21, tile.data()));
}

TEST_F(PBIFileCopies, ShareHeaderAndFile) {
  CreateSmall();
  XPBIFile copy = store_;
  EXPECT_EQ(store_.GetFileInfo(), copy.GetFileInfo());
  EXPECT_EQ(store_.GetFileName(), copy.GetFileName());
  Bytes tile = TileOf(32, 3);
  EXPECT_TRUE(copy.UpdateDXT(4, 10, 20, tile.data()));
  EXPECT_EQ(tile, Tile(store_, 4, 10, 20));
}

TEST_F(PBIFileCopies, LiveOnWhenTheOtherIsClosed) {
  auto first = std::make_unique<XPBIFile>();
  folder_.Write("a.pbi", Small().Build());
  ASSERT_TRUE(first->OpenFile(Path(), 0));
  XPBIFile copy(*first);
  XPBIFile assigned;
  assigned = copy;
  first->Close();
  first.reset();
  EXPECT_TRUE(copy.IsUsable());
  EXPECT_EQ(TileOf(32, 0), Tile(copy, 4, 10, 20));
  copy.Close();
  EXPECT_EQ(TileOf(32, 0), Tile(assigned, 4, 10, 20));
}

TEST(PBIFile, ParsesAHeaderInMemory) {
  const Bytes bytes = StoreBuilder("PEI").TileSize(9.0).Level({1, 2, 3, 4, 5, 0.0, 256, 256, 32768, 4, 60000}).Build();
  XPBIFileInfo info(7.0, 18.0, 51200);
  ASSERT_TRUE(XPBIFile::ParseHeaderInfo(bytes.data(), &info));
  EXPECT_EQ(7.0, info.GetVersion());  // only the levels are taken
  ASSERT_EQ(1, info.GetNumberOfLevel());
  EXPECT_EQ(9.0, info.GetLevelInfo(1)->GetTileSize());  // 18 of the info halved once
  EXPECT_EQ(60000u, info.GetLevelInfo(1)->GetStartPos());
  EXPECT_EQ(kDxt5, info.GetLevelInfo(1)->GetDXTType());
}

TEST(PBIFile, ParsesNoOtherHeader) {
  XPBIFileInfo info;
  const Bytes bytes = StoreBuilder("PBE").Build();
  EXPECT_FALSE(XPBIFile::ParseHeaderInfo(bytes.data(), &info));
  EXPECT_FALSE(XPBIFile::ParseHeaderInfo(nullptr, &info));
  EXPECT_FALSE(XPBIFile::ParseHeaderInfo(StoreBuilder("PBI").Build().data(), nullptr));
}
