// Headers of tile stores in memory: levels and what is worked out from them, copies, and the bytes of a header.

#include "StoreBytes.h"
#include "tiles/StoreHeader.h"
#include "XPBEFileInfo.h"
#include "XPBIFileInfo.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <memory>

namespace {

std::vector<unsigned char> BindInfoOf(const auto& info) {
  const std::unique_ptr<unsigned char[]> bytes(info.GetBindInfo());
  if (!bytes) return {};
  return {bytes.get(), bytes.get() + info.GetHeaderSize()};
}

}  // namespace

TEST(PBILevelInfo, HasItsFieldsInTheOrderOfItsConstructor) {
  const XPBILevelInfo info(3, 2.25, 10, 20, 12, 24, 256, 128, kDxt5, 4096, 51200);
  EXPECT_EQ(3, info.GetLevel());
  EXPECT_EQ(2.25, info.GetTileSize());
  EXPECT_EQ(10, info.GetLLRow());
  EXPECT_EQ(20, info.GetLLCol());
  EXPECT_EQ(12, info.GetURRow());
  EXPECT_EQ(24, info.GetURCol());
  EXPECT_EQ(256, info.GetTileWidth());
  EXPECT_EQ(128, info.GetTileHeight());
  EXPECT_EQ(kDxt5, info.GetDXTType());
  EXPECT_EQ(4096, info.GetTileStorageSize());
  EXPECT_EQ(51200u, info.GetStartPos());
  EXPECT_EQ(15, info.GetNumTiles());
}

TEST(PBILevelInfo, BeginsWithZeros) {
  const XPBILevelInfo info;
  EXPECT_EQ(0, info.GetLevel());
  EXPECT_EQ(0.0, info.GetTileSize());
  EXPECT_EQ(kDxtNone, info.GetDXTType());
  EXPECT_EQ(0u, info.GetStartPos());
}

TEST(PBILevelInfo, FindsTilesRowByRowFromTheLowerLeft) {
  const XPBILevelInfo info(3, 2.25, 10, 20, 12, 24, 256, 256, kDxt1, 1000, 51200);
  EXPECT_EQ(51200, info.GetOffset(10, 20));
  EXPECT_EQ(51200 + 1000, info.GetOffset(10, 21));
  EXPECT_EQ(51200 + 5 * 1000, info.GetOffset(11, 20));
  EXPECT_EQ(51200 + 14 * 1000, info.GetOffset(12, 24));
}

TEST(PBILevelInfo, HasBothEndsOfItsRangeAndNothingBeyond) {
  const XPBILevelInfo info(3, 2.25, 10, 20, 12, 24, 256, 256, kDxt1, 1000, 51200);
  EXPECT_TRUE(info.GetAvailable(10, 20));
  EXPECT_TRUE(info.GetAvailable(12, 24));
  for (const auto& [row, col] : {std::pair{9, 20}, {13, 20}, {10, 19}, {10, 25}}) {
    EXPECT_FALSE(info.GetAvailable(row, col));
    EXPECT_EQ(0, info.GetOffset(row, col));
  }
}

TEST(PBILevelInfo, WorksOutOffsetsBeyondFourGigabytes) {
  const XPBILevelInfo info(8, 0.0703125, 0, 0, 2559, 5119, 256, 256, kDxt1, 32768, 51200);
  EXPECT_EQ(51200 + (std::int64_t{2559} * 5120 + 5119) * 32768, info.GetOffset(2559, 5119));
}

TEST(PBILevelInfo, HasNoOffsetWhereNumbersOverflow) {
  const XPBILevelInfo far(0, 18.0, INT_MIN, INT_MIN, INT_MAX, INT_MAX, 1, 1, kDxt1, INT_MAX, 51200);
  EXPECT_TRUE(far.GetAvailable(INT_MAX, INT_MAX));
  EXPECT_EQ(0, far.GetOffset(INT_MAX, INT_MAX));
  EXPECT_EQ(51200, far.GetOffset(INT_MIN, INT_MIN));
  EXPECT_EQ(INT_MAX, far.GetNumTiles());
  const XPBILevelInfo wrapping(0, 18.0, 0, 0, 1, 1, 1, 1, kDxt1, 100, UINT64_MAX - 100);
  EXPECT_EQ(0, wrapping.GetOffset(0, 0));
  EXPECT_EQ(0, wrapping.GetOffset(1, 1));
}

TEST(PBILevelInfo, HasNoTilesInAnInvertedRange) {
  EXPECT_EQ(0, XPBILevelInfo(0, 18.0, 5, 5, 1, 1, 1, 1, kDxt1, 8, 51200).GetNumTiles());
  EXPECT_EQ(0, XPBILevelInfo(0, 18.0, INT_MAX, 0, INT_MIN, 9, 1, 1, kDxt1, 8, 51200).GetNumTiles());
}

TEST(PBILevelInfo, DescribesItselfInLines) {
  const XPBILevelInfo info(3, 2.25, 10, 20, 12, 24, 256, 128, kDxt5, 4096, 18446744073709551615u);
  EXPECT_EQ(
      "___________________________\r\n Level:3   LLRow:10  LLCol:20  URRow:12  URCol:24\r\n Tile Width:256  Height128 "
      "\r\n tile Storage Size:4096\r\nDxtType:4     StartPos: 18446744073709551615\r\n",
      info.ToString());
}

TEST(PBELevelInfo, HasItsFieldsInTheOrderOfItsConstructor) {
  const XPBELevelInfo info(3, 10, 20, 12, 24, 2.25, 31, 30, 3844, 51200);
  EXPECT_EQ(3, info.GetLevel());
  EXPECT_EQ(10, info.GetLLRow());
  EXPECT_EQ(24, info.GetURCol());
  EXPECT_EQ(2.25, info.GetTileSize());
  EXPECT_EQ(31, info.GetTileWidth());
  EXPECT_EQ(30, info.GetTileHeight());
  EXPECT_EQ(3844, info.GetTileStorageSize());
  EXPECT_EQ(51200u, info.GetStartPos());
  EXPECT_EQ(0, XPBELevelInfo().GetTileStorageSize());
}

TEST(PBELevelInfo, DescribesItselfInLines) {
  EXPECT_EQ(
      "___________________________\r\n Level:3   LLRow:10  LLCol:20  URRow:12  URCol:24\r\n Tile Width:31  Height30 "
      "\r\n tile Storage Size:3844\r\nStartPos: 51200\r\n",
      XPBELevelInfo(3, 10, 20, 12, 24, 2.25, 31, 30, 3844, 51200).ToString());
}

TEST(PBIFileInfo, BeginsWithAHeaderAndNoLevels) {
  const XPBIFileInfo empty;
  EXPECT_EQ(0.0, empty.GetVersion());
  EXPECT_EQ(0.0, empty.GetTileSize());
  EXPECT_EQ(51200, empty.GetHeaderSize());
  EXPECT_EQ(51200, empty.GetFileSize());
  EXPECT_EQ(51200, empty.GetNextPos());
  EXPECT_EQ(0, empty.GetNumberOfLevel());
  const XPBIFileInfo other(1.5, 9.0, 1000);
  EXPECT_EQ(1.5, other.GetVersion());
  EXPECT_EQ(9.0, other.GetTileSize());
  EXPECT_EQ(1000, other.GetHeaderSize());
  EXPECT_EQ(1000, other.GetFileSize());
  EXPECT_EQ(1000, other.GetNextPos());
}

TEST(PBIFileInfo, CoversTheEarthWithALevel) {
  XPBIFileInfo info(1.0, 18.0, 51200);
  EXPECT_TRUE(info.AddLevel(0, 256, 256, kDxt1, 32768));
  EXPECT_EQ(51200 + 6553600, info.GetNextPos());
  EXPECT_EQ(51200 + 6553600, info.GetFileSize());
  EXPECT_TRUE(info.AddLevel(2, 256, 256, kDxt1, 32768));
  const XPBILevelInfo* level = info.GetLevelInfoAt(1);
  EXPECT_EQ(0, level->GetLLRow());
  EXPECT_EQ(0, level->GetLLCol());
  EXPECT_EQ(39, level->GetURRow());
  EXPECT_EQ(79, level->GetURCol());
  EXPECT_EQ(4.5, level->GetTileSize());
  EXPECT_EQ(51200u + 6553600u, level->GetStartPos());
}

TEST(PBIFileInfo, KeepsTheTileSizeBelowLevelZero) {
  XPBIFileInfo info(1.0, 18.0, 51200);
  info.AddLevel(-3, 256, 256, kDxt1, 8);
  EXPECT_EQ(18.0, info.GetLevelInfo(-3)->GetTileSize());
}

TEST(PBIFileInfo, CountsTheTilesOfALevelThatHasAnOffsetOfItsOwn) {
  XPBIFileInfo info(1.0, 18.0, 51200);
  EXPECT_TRUE(info.AddLevel(1, 0, 0, 1, 2, 4, 4, kDxt1, 100, 777777));
  EXPECT_EQ(777777u, info.GetLevelInfo(1)->GetStartPos());
  EXPECT_EQ(51200 + 600, info.GetNextPos());
  EXPECT_EQ(51200 + 600, info.GetFileSize());
}

TEST(PBIFileInfo, FindsTheFirstLevelOfANumber) {
  XPBIFileInfo info(1.0, 18.0, 51200);
  info.AddLevel(4, 0, 0, 1, 1, 4, 4, kDxt1, 8);
  info.AddLevel(4, 5, 5, 6, 6, 8, 8, kDxt3, 64);
  EXPECT_EQ(2, info.GetNumberOfLevel());
  EXPECT_EQ(info.GetLevelInfoAt(0), info.GetLevelInfo(4));
  EXPECT_EQ(info.GetLevelList().front(), info.GetLevelInfo(4));
  EXPECT_EQ(info.GetLevelList().back(), info.GetLevelInfoAt(1));
  EXPECT_EQ(8, info.GetTileStorageRequirement(4));
  EXPECT_EQ(nullptr, info.GetLevelInfo(5));
  EXPECT_EQ(nullptr, info.GetLevelInfoAt(2));
  EXPECT_EQ(nullptr, info.GetLevelInfoAt(-1));
  EXPECT_EQ(-1, info.GetTileStorageRequirement(5));
}

TEST(PBIFileInfo, TellsAnUnknownLevelFromATileOutside) {
  XPBIFileInfo info(1.0, 18.0, 51200);
  info.AddLevel(4, 0, 0, 1, 1, 4, 4, kDxt1, 8);
  info.AddLevel(4, 5, 5, 6, 6, 4, 4, kDxt1, 8);
  EXPECT_EQ(51200 + 24, info.GetOffset(4, 1, 1));
  EXPECT_EQ(0, info.GetOffset(5, 1, 1));
  EXPECT_EQ(-1, info.GetOffset(4, 2, 1));
  EXPECT_EQ(-1, info.GetOffset(4, 5, 5));  // the first of equal numbers is asked
  EXPECT_TRUE(info.IsAvailable(4, 5, 5));  // and here any of them
  EXPECT_FALSE(info.IsAvailable(4, 2, 1));
  EXPECT_FALSE(info.IsAvailable(5, 0, 0));
}

TEST(PBEFileInfo, HasNoOffsetForATileOutsideEither) {
  XPBEFileInfo info(1.2, 18.0, 51200);
  info.AddLevel(4, 0, 0, 1, 1, 31, 31, 3844);
  EXPECT_EQ(51200 + 3 * 3844, info.GetOffset(4, 1, 1));
  EXPECT_EQ(0, info.GetOffset(4, 2, 1));
  EXPECT_EQ(0, info.GetOffset(5, 1, 1));
  EXPECT_TRUE(info.GetAvailable(4, 1, 1));
  EXPECT_FALSE(info.GetAvailable(4, 2, 1));
  EXPECT_FALSE(info.GetAvailable(5, 1, 1));
}

TEST(PBEFileInfo, AddsLevelsInThreeWays) {
  XPBEFileInfo info(2.0, 18.0, 51200);
  EXPECT_TRUE(info.AddLevel(1, 31, 31, 15376));
  EXPECT_TRUE(info.AddLevel(2, 3, 4, 5, 6, 31, 31, 15376));
  EXPECT_TRUE(info.AddLevel(3, 3, 4, 5, 6, 31, 31, 15376, 99999999));
  EXPECT_EQ(19, info.GetLevelInfo(1)->GetURRow());
  EXPECT_EQ(39, info.GetLevelInfo(1)->GetURCol());
  EXPECT_EQ(51200u + 800 * 15376, info.GetLevelInfo(2)->GetStartPos());
  EXPECT_EQ(99999999u, info.GetLevelInfo(3)->GetStartPos());
  EXPECT_EQ(51200 + (800 + 9 + 9) * 15376, info.GetFileSize());
}

TEST(PBIFileInfo, ForgetsTheFileSizeInACopyAndKeepsTheOffsets) {
  XPBIFileInfo info(1.5, 9.0, 51200);
  info.AddLevel(0, 4, 4, kDxt1, 8);
  info.AddLevel(1, 4, 4, kDxt1, 8);
  XPBIFileInfo assigned(2.5, 18.0, 99);
  assigned.AddLevel(7, 4, 4, kDxt1, 8);
  assigned = info;
  for (const XPBIFileInfo& copy : {XPBIFileInfo(info), assigned}) {
    EXPECT_EQ(1.5, copy.GetVersion());
    EXPECT_EQ(9.0, copy.GetTileSize());
    EXPECT_EQ(51200, copy.GetFileSize());
    EXPECT_EQ(51200, copy.GetNextPos());
    ASSERT_EQ(2, copy.GetNumberOfLevel());
    EXPECT_NE(info.GetLevelInfoAt(1), copy.GetLevelInfoAt(1));
    EXPECT_EQ(info.GetLevelInfoAt(1)->GetStartPos(), copy.GetLevelInfoAt(1)->GetStartPos());
  }
  EXPECT_EQ(nullptr, assigned.GetLevelInfo(7));
}

TEST(PBIFileInfo, BindsAHeaderOfFixedFields) {
  XPBIFileInfo info(1.25, 18.0, 51200);
  info.AddLevel(2, 3, 4, 5, 6, 256, 128, kDxt5, 32768);
  info.AddLevel(1, 256, 256, kDxt1, 32768);
  const StoreReader header(BindInfoOf(info));
  ASSERT_EQ(51200u, header.Size());
  EXPECT_EQ("PBI", header.Mark());
  EXPECT_EQ(1.25, header.Version());
  EXPECT_EQ(2, header.Count());
  EXPECT_EQ(18.0, header.TileSize());
  EXPECT_EQ(51200 + (9 + 800) * 32768, header.FileSize());
  EXPECT_EQ(51200, header.HeaderSize());
  EXPECT_EQ((StoreRecord{2, 3, 4, 5, 6, 4.5, 256, 128, 32768, 4, 51200}), header.Record(0));
  EXPECT_EQ((StoreRecord{1, 0, 0, 19, 39, 9.0, 256, 256, 32768, 1, 51200 + 9 * 32768}), header.Record(1));
  EXPECT_TRUE(header.IsZeroFrom(35 + 2 * 52));
}

TEST(PBEFileInfo, BindsAHeaderWithoutBlockTypes) {
  XPBEFileInfo info(2.0, 18.0, 51200);
  info.AddLevel(2, 3, 4, 5, 6, 31, 31, 15376);
  info.AddLevel(0, 31, 31, 15376);
  const StoreReader header(BindInfoOf(info));
  EXPECT_EQ("PBE", header.Mark());
  EXPECT_EQ(2, header.Count());
  EXPECT_EQ((StoreRecord{2, 3, 4, 5, 6, 4.5, 31, 31, 15376, 0, 51200}), header.Record(0));
  EXPECT_EQ((StoreRecord{0, 0, 0, 9, 19, 18.0, 31, 31, 15376, 0, 51200 + 9 * 15376}), header.Record(1));
  EXPECT_TRUE(header.IsZeroFrom(35 + 2 * 48));
}

TEST(PBIFileInfo, BindsNoMoreLevelsThanTheHeaderHolds) {
  XPBIFileInfo images(1.0, 18.0, 51200);
  for (int i = 0; i < 983; ++i) images.AddLevel(i, 0, 0, 0, 0, 4, 4, kDxt1, 8);
  EXPECT_EQ(51200u, BindInfoOf(images).size());
  images.AddLevel(983, 0, 0, 0, 0, 4, 4, kDxt1, 8);
  EXPECT_EQ(nullptr, images.GetBindInfo());
  XPBEFileInfo elevations(1.2, 18.0, 51200);
  for (int i = 0; i < 1065; ++i) elevations.AddLevel(i, 0, 0, 0, 0, 31, 31, 3844);
  EXPECT_EQ(51200u, BindInfoOf(elevations).size());
  elevations.AddLevel(1065, 0, 0, 0, 0, 31, 31, 3844);
  EXPECT_EQ(nullptr, elevations.GetBindInfo());
}

TEST(PBIFileInfo, BindsNoHeaderOfAnImpossibleSize) {
  for (const int size : {INT_MIN, -1, 0, 34, INT_MAX}) EXPECT_EQ(nullptr, XPBIFileInfo(1.0, 18.0, size).GetBindInfo());
  EXPECT_EQ(35u, BindInfoOf(XPBIFileInfo(1.0, 18.0, 35)).size());
}

TEST(PBIFileInfo, ReachesTheLargestSizeAndNotBeyond) {
  XPBIFileInfo info(1.0, 18.0, 51200);
  info.AddLevel(0, INT_MIN, INT_MIN, INT_MAX, INT_MAX, 4, 4, kDxt1, INT_MAX);
  EXPECT_EQ(INT64_MAX, info.GetFileSize());
  info.AddLevel(1, 0, 0, 9, 9, 4, 4, kDxt1, 8);
  EXPECT_EQ(INT64_MAX, info.GetFileSize());
  XPBIFileInfo inverted(1.0, 18.0, 51200);
  inverted.AddLevel(0, 9, 9, 0, 0, 4, 4, kDxt1, 8);
  inverted.AddLevel(1, 0, 0, 9, 9, 4, 4, kDxt1, -8);
  EXPECT_EQ(51200, inverted.GetFileSize());
}

TEST(PBIFileInfo, CoversTheEarthWithAnyTileSize) {
  const double sizes[] = {0.0, -18.0, std::numeric_limits<double>::quiet_NaN(),
                          std::numeric_limits<double>::infinity()};
  for (const double size : sizes) {
    XPBIFileInfo info(1.0, size, 51200);
    EXPECT_TRUE(info.AddLevel(INT_MAX, 4, 4, kDxt1, 8));
    EXPECT_EQ(0, info.GetLevelInfoAt(0)->GetLLRow());
  }
}

TEST(StoreHeader, IsParsedFieldByField) {
  const StoreRecord first{2, 3, 4, 5, 6, 99.0, 256, 128, 32768, 4, 51200};
  const StoreRecord second{1, -1, -2, 19, 39, 0.0, 255, 254, -7, 77, UINT64_MAX};
  const std::vector<unsigned char> bytes =
      StoreBuilder("PEI").Version(1.75).TileSize(9.0).HeaderSize(1234).Level(first).Level(second).Build();
  const auto header = zrk::ParseStoreHeader(bytes, zrk::StoreKind::kImage);
  ASSERT_TRUE(header);
  EXPECT_EQ(1.75, header->version);
  EXPECT_EQ(9.0, header->tileSize);
  EXPECT_EQ(1234, header->headerSize);
  EXPECT_EQ(51200, header->fileSize);
  ASSERT_EQ(2u, header->levels.size());
  EXPECT_EQ(6, header->levels[0].urCol);
  EXPECT_EQ(128, header->levels[0].tileHeight);
  EXPECT_EQ(2.25, header->levels[0].tileSize);  // 9 halved twice, and not what the record says
  EXPECT_EQ(77, header->levels[1].blockType);
  EXPECT_EQ(-7, header->levels[1].storageSize);
  EXPECT_EQ(UINT64_MAX, header->levels[1].startPos);
}

TEST(StoreHeader, KnowsTheMarksOfItsKind) {
  const auto isParsed = [](const char* mark, zrk::StoreKind kind) {
    return zrk::ParseStoreHeader(StoreBuilder(mark).Build(), kind).has_value();
  };
  for (const char* mark : {"PBI", "PEI"}) EXPECT_TRUE(isParsed(mark, zrk::StoreKind::kImage));
  for (const char* mark : {"PBE", "PEE"}) EXPECT_TRUE(isParsed(mark, zrk::StoreKind::kElevation));
  for (const char* mark : {"PBX", "XBI", "PXI", "PBE", "PEE"}) EXPECT_FALSE(isParsed(mark, zrk::StoreKind::kImage));
  for (const char* mark : {"PBI", "PEI", "pbe"}) EXPECT_FALSE(isParsed(mark, zrk::StoreKind::kElevation));
}

TEST(StoreHeader, IsCutToTheRecordsThatAreThere) {
  const StoreRecord record{1, 0, 0, 1, 1, 0.0, 4, 4, 8, 1, 51200};
  std::vector<unsigned char> bytes = StoreBuilder("PBI").Level(record).Level(record).Count(INT_MAX).Build();
  const auto count = [&] { return zrk::ParseStoreHeader(bytes, zrk::StoreKind::kImage)->levels.size(); };
  EXPECT_EQ(983u, count());
  bytes.resize(35 + 2 * 52 + 51);
  EXPECT_EQ(2u, count());
  bytes.resize(35);
  EXPECT_EQ(0u, count());
  bytes.resize(34);
  EXPECT_FALSE(zrk::ParseStoreHeader(bytes, zrk::StoreKind::kImage));
}

TEST(StoreHeader, OfElevationsHasRoomForMoreRecords) {
  const auto header = zrk::ParseStoreHeader(StoreBuilder("PBE").Count(INT_MAX).Build(), zrk::StoreKind::kElevation);
  EXPECT_EQ(1065u, header->levels.size());
  EXPECT_EQ(INT_MAX, header->numStated);
}

TEST(StoreHeader, WithANegativeCountHasNoRecords) {
  const auto header = zrk::ParseStoreHeader(StoreBuilder("PBI").Count(INT_MIN).Build(), zrk::StoreKind::kImage);
  EXPECT_EQ(0u, header->levels.size());
}
